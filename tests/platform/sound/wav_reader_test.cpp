// The RIFF/PCM reader: padding, partial frames, downmix, and hostile sizes and
// formats refused. The layouts it accepts are pinned by the seed corpus test.
#include <gtest/gtest.h>

#include "platform/sound/wav_reader.h"
#include "platform/sound/wav_writer.h"

using namespace tarko::platform::sound;

namespace {
void set(std::vector<std::uint8_t>& b, std::size_t at, int width, std::uint32_t v) {
    for (int i = 0; i < width; ++i) b[at + i] = static_cast<std::uint8_t>(v >> (8 * i));
}
// Offsets in a plain 44-byte header: RIFF size 4, fmt size 16, tag 20, channels 22,
// rate 24, align 32, bits 34, data tag 36, data size 40, samples from 44.
}  // namespace

TEST(WavReader, SkipsAnOddChunkWithItsPadAndDropsAPartialLastFrame) {
    auto wav = make_wav(1, 8000, 8, std::vector<std::uint8_t>(4, 0x80));
    // An odd-sized "LIST" chunk (3 bytes + pad) between "fmt " and "data".
    const std::vector<std::uint8_t> list = {'L', 'I', 'S', 'T', 3, 0, 0, 0, 'a', 'b', 'c', 0};
    wav.insert(wav.begin() + 36, list.begin(), list.end());
    set(wav, 4, 4, static_cast<std::uint32_t>(wav.size() - 8));
    EXPECT_EQ(parse_wav(wav).frames(), 4u);
    // 16-bit stereo frames are 4 bytes: 10 bytes hold 2 whole frames.
    EXPECT_EQ(parse_wav(make_wav(2, 8000, 16, std::vector<std::uint8_t>(10, 1))).samples.size(), 8u);
}

TEST(WavReader, RefusesEveryTruncation) {
    const auto wav = make_wav(1, 8000, 16, std::vector<std::uint8_t>(64, 7));
    // Any cut leaves the RIFF size pointing past the end.
    for (std::size_t n = 0; n < wav.size(); ++n) {
        std::vector<std::uint8_t> cut(wav.begin(), wav.begin() + static_cast<std::ptrdiff_t>(n));
        EXPECT_THROW(parse_wav(cut), WavError) << "cut at " << n;
    }
}

TEST(WavReader, RefusesHostileSizesAndFormatsItCannotPlay) {
    const auto good = make_wav(1, 8000, 16, std::vector<std::uint8_t>(64, 7));
    struct Patch { int at, width; std::uint32_t value; };
    struct Case { const char* what; std::vector<Patch> patches; };
    const Case cases[] = {
        {"RIFF size", {{4, 4, 0xFFFFFFFF}}},
        {"fmt size", {{16, 4, 0xFFFFFFF0}}},
        {"data size", {{40, 4, 0x7FFFFFFF}}},
        {"data one over", {{40, 4, 65}}},  // 64 bytes present
        {"ADPCM", {{20, 2, 2}}},
        {"six channels", {{22, 2, 6}, {32, 2, 12}}},
        {"24-bit", {{34, 2, 24}, {32, 2, 3}}},
        {"99 Hz", {{24, 4, 99}}},          // below 100 Hz
        {"align", {{32, 2, 4}}},           // mono 16-bit is 2 bytes a frame
        {"AVI", {{8, 4, 0x20495641}}},     // "AVI " for "WAVE"
    };
    for (const Case& c : cases) {
        auto wav = good;
        for (const Patch& p : c.patches) set(wav, static_cast<std::size_t>(p.at), p.width, p.value);
        EXPECT_THROW(parse_wav(wav), WavError) << c.what;
    }
    EXPECT_THROW(parse_wav(make_wav(1, 8000, 16, {})), WavError);
    // RIFF WAVE, then "data" (2 bytes), then "fmt ".
    std::vector<std::uint8_t> early = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E',
                                       'd', 'a', 't', 'a', 2, 0, 0, 0, 0, 0};
    early.insert(early.end(), good.begin() + 12, good.begin() + 36);
    set(early, 4, 4, static_cast<std::uint32_t>(early.size() - 8));
    EXPECT_THROW(parse_wav(early), WavError);
}

TEST(WavReader, DownmixAveragesChannels) {
    // 16-bit stereo frame (1000, -3000) -> -1000; 8-bit (200, 101) -> 151 (rounded up).
    const WavData mono = downmix_to_mono(parse_wav(make_wav(2, 8000, 16, {0xE8, 0x03, 0x48, 0xF4})));
    ASSERT_EQ(mono.samples.size(), 2u);
    EXPECT_EQ(static_cast<std::int16_t>(mono.samples[0] | mono.samples[1] << 8), -1000);
    const WavData mono8 = downmix_to_mono(parse_wav(make_wav(2, 8000, 8, {200, 101})));
    ASSERT_EQ(mono8.samples.size(), 1u);
    EXPECT_EQ(mono8.samples[0], 151);
}
