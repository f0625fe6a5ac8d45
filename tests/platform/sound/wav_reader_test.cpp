// The RIFF/PCM reader: formats accepted, hostile sizes refused.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/sound/wav_reader.h"
#include "platform/sound/wav_writer.h"

using namespace tarko::platform::sound;

namespace {
std::vector<std::uint8_t> bytes_of(std::initializer_list<int> values) {
    std::vector<std::uint8_t> out;
    for (int v : values) out.push_back(static_cast<std::uint8_t>(v));
    return out;
}
void set32(std::vector<std::uint8_t>& b, std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}
void set16(std::vector<std::uint8_t>& b, std::size_t at, std::uint16_t v) {
    b[at] = static_cast<std::uint8_t>(v);
    b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}
// Offsets in a plain 44-byte header: RIFF size 4, fmt size 16, tag 20, channels 22,
// rate 24, align 32, bits 34, data tag 36, data size 40, samples from 44.
}  // namespace

TEST(WavReader, ReadsEachPcmLayout) {
    struct Case { int channels, bits, rate; };
    for (const Case c : {Case{1, 8, 8000}, Case{1, 16, 22050}, Case{2, 8, 11025}, Case{2, 16, 44100}}) {
        const int align = c.channels * c.bits / 8;
        std::vector<std::uint8_t> samples(static_cast<std::size_t>(align) * 10, 0x40);
        const auto wav = make_wav(c.channels, c.rate, c.bits, samples);
        const WavData d = parse_wav(wav);
        EXPECT_EQ(d.channels, c.channels);
        EXPECT_EQ(d.bits, c.bits);
        EXPECT_EQ(d.sample_rate, c.rate);
        EXPECT_EQ(d.frames(), 10u);
    }
}

TEST(WavReader, SkipsUnknownChunksWithTheirPadByte) {
    auto wav = make_wav(1, 8000, 8, std::vector<std::uint8_t>(4, 0x80));
    // An odd-sized "LIST" chunk (3 bytes + pad) between "fmt " and "data".
    const auto list = bytes_of({'L', 'I', 'S', 'T', 3, 0, 0, 0, 'a', 'b', 'c', 0});
    wav.insert(wav.begin() + 36, list.begin(), list.end());
    set32(wav, 4, static_cast<std::uint32_t>(wav.size() - 8));
    EXPECT_EQ(parse_wav(wav).frames(), 4u);
}

TEST(WavReader, DropsAPartialLastFrame) {
    // 16-bit stereo frames are 4 bytes: 10 bytes hold 2 whole frames.
    const auto wav = make_wav(2, 8000, 16, std::vector<std::uint8_t>(10, 1));
    EXPECT_EQ(parse_wav(wav).samples.size(), 8u);
}

TEST(WavReader, AcceptsExtensiblePcm) {
    auto wav = make_wav(1, 8000, 16, std::vector<std::uint8_t>(8, 0));
    // Grow "fmt " to 40 bytes: tag 0xFFFE, cbSize 22, valid bits, mask, PCM GUID.
    std::vector<std::uint8_t> ext = bytes_of({22, 0, 16, 0, 4, 0, 0, 0, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                              0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
    wav.insert(wav.begin() + 36, ext.begin(), ext.end());
    set32(wav, 16, 40);
    set16(wav, 20, 0xFFFE);
    set32(wav, 4, static_cast<std::uint32_t>(wav.size() - 8));
    EXPECT_EQ(parse_wav(wav).frames(), 4u);
}

TEST(WavReader, RefusesEveryTruncation) {
    const auto wav = make_wav(1, 8000, 16, std::vector<std::uint8_t>(64, 7));
    // Any cut leaves the RIFF size pointing past the end.
    for (std::size_t n = 0; n < wav.size(); ++n) {
        std::vector<std::uint8_t> cut(wav.begin(), wav.begin() + static_cast<std::ptrdiff_t>(n));
        EXPECT_THROW(parse_wav(cut), WavError) << "cut at " << n;
    }
}

TEST(WavReader, RefusesHostileSizes) {
    const auto good = make_wav(1, 8000, 16, std::vector<std::uint8_t>(64, 7));
    auto riff = good;
    set32(riff, 4, 0xFFFFFFFF);
    EXPECT_THROW(parse_wav(riff), WavError);
    auto fmt = good;
    set32(fmt, 16, 0xFFFFFFF0);
    EXPECT_THROW(parse_wav(fmt), WavError);
    auto data = good;
    set32(data, 40, 0x7FFFFFFF);
    EXPECT_THROW(parse_wav(data), WavError);
    auto data_one_over = good;
    set32(data_one_over, 40, 65);  // 64 bytes present
    EXPECT_THROW(parse_wav(data_one_over), WavError);
}

TEST(WavReader, RefusesFormatsItCannotPlay) {
    const auto good = make_wav(1, 8000, 16, std::vector<std::uint8_t>(64, 7));
    auto adpcm = good;
    set16(adpcm, 20, 2);
    EXPECT_THROW(parse_wav(adpcm), WavError);
    auto surround = good;
    set16(surround, 22, 6);
    set16(surround, 32, 12);
    EXPECT_THROW(parse_wav(surround), WavError);
    auto bits24 = good;
    set16(bits24, 34, 24);
    set16(bits24, 32, 3);
    EXPECT_THROW(parse_wav(bits24), WavError);
    auto slow = good;
    set32(slow, 24, 99);  // below 100 Hz
    EXPECT_THROW(parse_wav(slow), WavError);
    auto align = good;
    set16(align, 32, 4);  // mono 16-bit is 2 bytes a frame
    EXPECT_THROW(parse_wav(align), WavError);
    auto empty = make_wav(1, 8000, 16, {});
    EXPECT_THROW(parse_wav(empty), WavError);
    auto not_wave = good;
    std::memcpy(not_wave.data() + 8, "AVI ", 4);
    EXPECT_THROW(parse_wav(not_wave), WavError);
}

TEST(WavReader, RefusesDataBeforeFormat) {
    // RIFF WAVE, then "data" (2 bytes), then "fmt ".
    auto wav = bytes_of({'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E', 'd', 'a', 't', 'a', 2, 0, 0, 0, 0, 0});
    const auto fmt = make_wav(1, 8000, 16, {0, 0});
    wav.insert(wav.end(), fmt.begin() + 12, fmt.begin() + 36);
    set32(wav, 4, static_cast<std::uint32_t>(wav.size() - 8));
    EXPECT_THROW(parse_wav(wav), WavError);
}

TEST(WavReader, DownmixAveragesChannels) {
    // 16-bit stereo frame (1000, -3000) -> -1000; 8-bit (200, 101) -> 151 (rounded up).
    std::vector<std::uint8_t> s16 = {0xE8, 0x03, 0x48, 0xF4};
    WavData stereo = parse_wav(make_wav(2, 8000, 16, s16));
    WavData mono = downmix_to_mono(stereo);
    ASSERT_EQ(mono.samples.size(), 2u);
    EXPECT_EQ(static_cast<std::int16_t>(mono.samples[0] | mono.samples[1] << 8), -1000);
    WavData mono8 = downmix_to_mono(parse_wav(make_wav(2, 8000, 8, {200, 101})));
    ASSERT_EQ(mono8.samples.size(), 1u);
    EXPECT_EQ(mono8.samples[0], 151);
}
