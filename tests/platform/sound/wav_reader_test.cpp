// The RIFF/PCM reader: partial frames, downmix, and hostile sizes and formats
// refused. The layouts it accepts are pinned by the seed corpus test.
#include <gtest/gtest.h>

#include "platform/sound/wav_reader.h"
#include "platform/sound/wav_writer.h"

using namespace tarko::platform::sound;

TEST(WavReader, DropsAPartialLastFrameAndDownmixRoundsUp) {
    // 16-bit stereo frames are 4 bytes: 10 bytes hold 2 whole frames.
    EXPECT_EQ(parse_wav(make_wav(2, 8000, 16, std::vector<std::uint8_t>(10, 1))).samples.size(), 8u);
    // 8-bit (200, 101) -> 150.5 -> 151.
    const WavData mono8 = downmix_to_mono(parse_wav(make_wav(2, 8000, 8, {200, 101})));
    ASSERT_EQ(mono8.samples.size(), 1u);
    EXPECT_EQ(mono8.samples[0], 151);
}

TEST(WavReader, RefusesEveryTruncationHostileSizesAndFormatsItCannotPlay) {
    const auto good = make_wav(1, 8000, 16, std::vector<std::uint8_t>(64, 7));
    for (std::size_t n = 0; n < good.size(); ++n)  // any cut leaves the RIFF size pointing past the end
        EXPECT_THROW(parse_wav(std::vector<std::uint8_t>(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(n))),
                     WavError) << "cut at " << n;
    // Offsets in the 44-byte header: RIFF size 4, fmt size 16, tag 20, channels 22,
    // rate 24, align 32, bits 34, data size 40, samples from 44.
    struct Patch { int at, width; std::uint32_t value; };
    struct Case { const char* what; std::vector<Patch> patches; };
    const Case cases[] = {
        {"fmt size", {{16, 4, 0xFFFFFFF0}}},
        {"data size", {{40, 4, 0x7FFFFFFF}}},
        {"data one over", {{40, 4, 65}}},  // 64 bytes present
        {"ADPCM", {{20, 2, 2}}},
        {"six channels", {{22, 2, 6}, {32, 2, 12}}},
        {"99 Hz", {{24, 4, 99}}},          // below 100 Hz
        {"align", {{32, 2, 4}}},           // mono 16-bit is 2 bytes a frame
    };
    for (const Case& c : cases) {
        auto wav = good;
        for (const Patch& p : c.patches)
            for (int i = 0; i < p.width; ++i) wav[p.at + i] = static_cast<std::uint8_t>(p.value >> (8 * i));
        EXPECT_THROW(parse_wav(wav), WavError) << c.what;
    }
    EXPECT_THROW(parse_wav(make_wav(1, 8000, 16, {})), WavError);
}
