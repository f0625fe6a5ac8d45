// A MIDI piece played through FluidSynth into memory: not silent, and it ends
// when its length says.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "platform/dx_root.h"
#include "platform/music/dmusic.h"
#include "platform/music/midi_port.h"
#include "platform/music/smf_writer.h"
#include "runtime/services.h"
#include "support/test_support.h"

using namespace tarko::platform::music;

TEST(FluidRender, PieceIsAudibleAndLastsItsLength) {
    auto port = open_render_port(22050);
    if (!port) GTEST_SKIP() << "no soundfont installed";
    tarko::runtime::ScopedTestServices services;
    ScopedPortFactory factory([&] { return std::static_pointer_cast<MidiPort>(port); });

    const auto path = tarko::test::scratch_dir("fluid") / "scale.mid";
    const auto smf = make_scale_smf(4, 500000, 480);  // 4 quarters at 120 bpm: 2 s
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(smf.data()),
                                                static_cast<std::streamsize>(smf.size()));
    auto perf = DirectX7().directMusicPerformanceCreate();
    perf->init(tarko::Ref<DirectSound>(), 0);
    auto seg = DirectX7().directMusicLoaderCreate()->loadSegment(path.string());
    auto state = perf->playSegment(seg, 0, 0);

    // 50 ms blocks: move the clock, send what is due, render.
    std::vector<float> block(2 * 1102);
    double peak = 0;
    int blocks_playing = 0;
    for (int i = 0; i < 60 && perf->isPlaying(seg, state); ++i) {
        port->render(block);
        for (float s : block) peak = std::max(peak, static_cast<double>(std::fabs(s)));
        services.clock().advance(50);
        ++blocks_playing;
    }
    EXPECT_GT(peak, 0.01);
    EXPECT_EQ(blocks_playing, 40);  // 2000 ms in blocks of 50
    EXPECT_FALSE(perf->isPlaying(seg, state));
}
