// The fuzz seeds for the wave and MIDI readers, made here. Each seed parses to
// its size in frames or music ticks (0: refused); with TARKO_WRITE_SEEDS=<fuzz/corpus>
// set, the test also writes them into <dir>/wav and <dir>/midi. Then the wave
// reader's partial frames, downmix and refusals beyond the seeds.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "platform/music/smf_reader.h"
#include "platform/music/smf_writer.h"
#include "platform/sound/wav_reader.h"
#include "platform/sound/wav_writer.h"
#include "support/test_support.h"

using namespace tarko::platform;
using Bytes = std::vector<std::uint8_t>;

namespace {

struct Seed {
    std::string name;
    Bytes bytes;
    std::size_t size;  // sample frames or music ticks; 0 when the reader refuses it
};

// A chunk inserted after "fmt ", with the RIFF size fixed up.
Bytes with_chunk(Bytes wav, const Bytes& chunk) {
    wav.insert(wav.begin() + 36, chunk.begin(), chunk.end());
    wav[4] = static_cast<std::uint8_t>(wav.size() - 8);
    return wav;
}

std::vector<Seed> wav_seeds() {
    // mono16: 0.005 s * 8000 Hz = 40 frames; stereo16: 0.004 * 11025 = 44.1, 44 whole frames.
    // extensible: fmt grown to 40 bytes with tag 0xFFFE and the PCM sub-format.
    auto ext = with_chunk(sound::make_wav(2, 8000, 16, {0, 1, 2, 3}),
                          {22, 0, 16, 0, 3, 0, 0, 0, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00, 0x80, 0x00,
                           0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
    ext[16] = 40;
    ext[20] = 0xFE;
    ext[21] = 0xFF;
    auto cut = sound::make_tone_wav(440, 0.005, 8000);
    cut.resize(cut.size() - 9);
    return {{"mono8.wav", sound::make_wav(1, 8000, 8, {128, 200, 56, 128, 255, 0}), 6},
            {"mono16.wav", sound::make_tone_wav(440, 0.005, 8000), 40},
            {"stereo8.wav", sound::make_wav(2, 11025, 8, {1, 2, 3, 4, 5, 6}), 3},
            {"stereo16.wav", sound::make_tone_wav(220, 0.004, 11025, 2), 44},
            {"odd_pad.wav", sound::make_wav(1, 8000, 8, {1, 2, 3}), 3},  // odd data size with its pad byte
            {"list_chunk.wav",
             with_chunk(sound::make_wav(1, 8000, 16, {0, 1, 2, 3}), {'L', 'I', 'S', 'T', 4, 0, 0, 0, 'I', 'N', 'F', 'O'}),
             2},
            {"extensible.wav", ext, 1},
            {"truncated.wav", cut, 0}};
}

std::vector<Seed> midi_seeds() {
    using music::SmfTrackWriter;
    // Music ticks are 768 a quarter: 8 quarters = 6144; at division 96 one tick is 8, so
    // 48 + 48 + 10 = 106 ticks is 848 and 192 + 96 = 288 is 2304; SMPTE 25 * 40 = 1000
    // ticks a second at the fixed 120 bpm: 500 ticks = 0.5 s = one quarter.
    SmfTrackWriter zero, meta, smpte, open;
    zero.program(0, 0, 19).note_on(0, 0, 60, 100).raw(48, {64, 100}).raw(48, {60, 0}).raw(0, {64, 0}).end(10);
    meta.raw(0, {0xFF, 0x03, 0x04, 'T', 'u', 'n', 'e'}).sysex(0, {0x7E, 0x7F, 0x09, 0x01, 0xF7});
    meta.time_signature(0, 3, 2).tempo(0, 600000).controller(0, 1, 7, 100).note_on(0, 1, 48, 80);
    meta.raw(0, {0xE1, 0x00, 0x50}).note_off(192, 1, 48).tempo(0, 300000).end(96);
    smpte.note_on(0, 0, 72, 90).note_off(500, 0, 72).end();
    auto smpte_bytes = music::make_smf(0, 0, {smpte});
    smpte_bytes[12] = static_cast<std::uint8_t>(-25);
    smpte_bytes[13] = 40;
    open.note_on(0, 0, 60, 100).note_off(96, 0, 60);
    return {{"scale_format1.mid", music::make_scale_smf(8, 500000, 96), 6144},
            {"running_status_format0.mid", music::make_smf(0, 96, {zero}), 848},
            {"meta_sysex_tempo.mid", music::make_smf(0, 96, {meta}), 2304},
            {"smpte.mid", smpte_bytes, 768},
            {"missing_end.mid", music::make_smf(0, 96, {open}), 0}};
}

void write_all(const std::filesystem::path& dir, const std::vector<Seed>& seeds) {
    std::filesystem::create_directories(dir);
    for (const auto& seed : seeds) tarko::test::write_file(dir / seed.name, seed.bytes);
}

}  // namespace

TEST(SeedCorpus, SeedsParseToTheirSizeOrAreRefused) {
    for (const auto& seed : wav_seeds()) {
        if (seed.size) EXPECT_EQ(sound::parse_wav(seed.bytes).frames(), seed.size) << seed.name;
        else EXPECT_THROW(sound::parse_wav(seed.bytes), sound::WavError) << seed.name;
    }
    for (const auto& seed : midi_seeds()) {
        if (seed.size) EXPECT_EQ(static_cast<std::size_t>(music::parse_smf(seed.bytes).length), seed.size) << seed.name;
        else EXPECT_THROW(music::parse_smf(seed.bytes), music::SmfError) << seed.name;
    }
    if (const char* dir = std::getenv("TARKO_WRITE_SEEDS")) {
        write_all(std::filesystem::path(dir) / "wav", wav_seeds());
        write_all(std::filesystem::path(dir) / "midi", midi_seeds());
    }
}

using namespace tarko::platform::sound;

TEST(WavReader, DropsAPartialLastFrameAndDownmixRoundsUp) {
    // 16-bit stereo frames are 4 bytes: 10 bytes hold 2 whole frames.
    EXPECT_EQ(parse_wav(make_wav(2, 8000, 16, Bytes(10, 1))).samples.size(), 8u);
    // 8-bit (200, 101) -> 150.5 -> 151.
    const WavData mono8 = downmix_to_mono(parse_wav(make_wav(2, 8000, 8, {200, 101})));
    ASSERT_EQ(mono8.samples.size(), 1u);
    EXPECT_EQ(mono8.samples[0], 151);
}

namespace {

// A RIFF WAVE file of the given chunks, each odd-sized one followed by its pad byte.
Bytes riff(const std::vector<std::pair<std::string, Bytes>>& chunks) {
    Bytes b = {'R', 'I', 'F', 'F', 0, 0, 0, 0, 'W', 'A', 'V', 'E'};
    for (const auto& [tag, body] : chunks) {
        b.insert(b.end(), tag.begin(), tag.end());
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(body.size() >> (8 * i)));
        b.insert(b.end(), body.begin(), body.end());
        if (body.size() % 2) b.push_back(0);
    }
    for (int i = 0; i < 4; ++i) b[4 + i] = static_cast<std::uint8_t>((b.size() - 8) >> (8 * i));
    return b;
}
// PCM format body: tag 1, mono, 8000 Hz, 8 bits.
const Bytes kFmt8 = {1, 0, 1, 0, 0x40, 0x1F, 0, 0, 0x40, 0x1F, 0, 0, 1, 0, 8, 0};

}  // namespace

TEST(WavReader, SkipsThePadByteAfterAnOddChunk) {
    // fmt (12..35), LIST of 3 bytes (36..46) and its pad at 47, data from 48
    const auto wav = parse_wav(riff({{"fmt ", kFmt8}, {"LIST", {'a', 'b', 'c'}}, {"data", {10, 20, 30, 40}}}));
    EXPECT_EQ(wav.samples, (Bytes{10, 20, 30, 40}));
    // an odd data chunk whose pad byte the file leaves out at its very end
    auto unpadded = riff({{"fmt ", kFmt8}, {"data", {5, 6, 7}}});
    unpadded.pop_back();
    unpadded[4] = static_cast<std::uint8_t>(unpadded.size() - 8);
    EXPECT_EQ(parse_wav(unpadded).samples, (Bytes{5, 6, 7}));
}

TEST(WavReader, RefusesEveryTruncationHostileSizesAndFormatsItCannotPlay) {
    const auto good = make_wav(1, 8000, 16, Bytes(64, 7));
    for (std::size_t n = 0; n < good.size(); ++n) {  // any cut leaves the RIFF size pointing past the end
        const Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(n));
        EXPECT_TRUE(tarko::test::refused_with([&] { parse_wav(cut); }, n < 12 ? "too short" : "RIFF size", n < 12 ? 0 : 4))
            << "cut at " << n;
    }
    // Offsets in the 44-byte header: RIFF size 4, WAVE 8, fmt size 16, tag 20, channels 22,
    // rate 24, align 32, bits 34, data size 40, samples from 44.
    struct Patch { int at, width; std::uint32_t value; };
    const auto patched = [&](std::vector<Patch> patches, Bytes wav) {
        for (const Patch& p : patches)
            for (int i = 0; i < p.width; ++i) wav[p.at + i] = static_cast<std::uint8_t>(p.value >> (8 * i));
        return wav;
    };
    // extensible fmt body from 20: cbSize at 36, GUID at 44; a cbSize of 0, a GUID of IEEE floats
    const auto ext = wav_seeds()[6].bytes;
    auto with_stray = riff({{"fmt ", kFmt8}});
    with_stray.insert(with_stray.end(), {'d', 'a', 't', 'a'});
    with_stray[4] += 4;
    const tarko::test::Refusal cases[] = {
        {"not WAVE", patched({{8, 1, 'X'}}, good), "not a RIFF WAVE", 0},
        {"fmt size", patched({{16, 4, 0xFFFFFFF0}}, good), "chunk size runs past", 16},
        {"fmt 14 bytes", patched({{16, 4, 14}}, good), "shorter than 16", 16},
        {"data one over", patched({{40, 4, 65}}, good), "chunk size runs past", 40},  // 64 bytes present
        {"ADPCM", patched({{20, 2, 2}}, good), "format 2 is not PCM", 20},
        {"six channels", patched({{22, 2, 6}, {32, 2, 12}}, good), "6 channels", 22},
        {"99 Hz", patched({{24, 4, 99}}, good), "sample rate 99", 24},  // below 100 Hz
        {"align", patched({{32, 2, 4}}, good), "block align", 32},      // mono 16-bit is 2 bytes a frame
        {"24 bits", patched({{34, 2, 24}, {32, 2, 3}}, good), "24-bit samples", 34},
        {"no frame", make_wav(1, 8000, 16, {}), "no whole sample frame", 40},
        {"extensible cut", patched({{36, 2, 0}}, ext), "extensible format chunk cut short", 16},
        {"extensible float", patched({{44, 1, 3}}, ext), "extensible format is not PCM", 44},
        {"data first", riff({{"data", {1, 2}}, {"fmt ", kFmt8}}), "\"data\" chunk before", 12},
        {"two fmt", riff({{"fmt ", kFmt8}, {"fmt ", kFmt8}}), "second \"fmt \"", 36},
        {"no data", riff({{"fmt ", kFmt8}}), "no \"data\"", 36},   // 12 + 8 + 16
        {"no fmt", riff({{"LIST", {1, 2}}}), "no \"fmt \"", 22},    // 12 + 8 + 2
        {"stray bytes", with_stray, "chunk header cut short", 36},   // 4 of the 8 bytes
    };
    for (const auto& c : cases) EXPECT_TRUE(tarko::test::refused_with([&] { parse_wav(c.file); }, c.reason, c.offset)) << c.what;
    // the sound subsystem sees its own error type
    EXPECT_THROW(parse_wav(cases[0].file), WavError);
}
