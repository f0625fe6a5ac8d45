// Performances on the recording port, with the music clock driven by a
// ManualClock (120 bpm is 768 ticks per 500 ms), and one through FluidSynth.
#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "platform/dx_root.h"
#include "platform/music/dmusic.h"
#include "platform/music/midi_port.h"
#include "platform/music/smf_writer.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

using namespace tarko::platform::music;
namespace platform = tarko::platform;
using tarko::test::error_of;

namespace {

class PerformanceTest : public ::testing::Test {
protected:
    tarko::Ref<DirectMusicPerformance> make_performance() {
        auto p = DirectX7().directMusicPerformanceCreate();
        p->init(tarko::Ref<DirectSound>(), 0);
        p->setPort(-1, 80);
        return p;
    }
    // Four quarter notes at 120 bpm unless told otherwise: 3072 ticks, 2 seconds.
    tarko::Ref<DirectMusicSegment> load(const std::vector<std::uint8_t>& smf = make_scale_smf(4, 500000, 480)) {
        return DirectX7().directMusicLoaderCreate()->loadSegment(tarko::test::write_file(dir_ / "piece.mid", smf));
    }
    int note_ons() const { return port_->count(0x90); }
    void advance(std::int64_t ms) { services_.clock().advance(ms); }

    tarko::runtime::ScopedTestServices services_;
    std::shared_ptr<RecordingPort> port_ = std::make_shared<RecordingPort>();
    ScopedPortFactory factory_{[this] { return port_; }};
    std::filesystem::path dir_ = tarko::test::scratch_dir("performance");
};

}  // namespace

TEST_F(PerformanceTest, FollowsTheTempoMapAndKeepsTheLastTempoWhenIdle) {
    // One quarter at 120 bpm (500 ms) then one at 60 bpm (1000 ms).
    SmfTrackWriter tempo;
    tempo.tempo(0, 500000).tempo(96, 1000000).end(96);
    SmfTrackWriter notes;
    notes.note_on(0, 0, 60, 90).note_off(96, 0, 60).note_on(0, 0, 62, 90).note_off(96, 0, 62).end();
    auto perf = make_performance();
    auto seg = load(make_smf(1, 96, {tempo, notes}));
    auto state = perf->playSegment(seg, 0, 0);
    advance(1000);  // 500 ms at 120 (768 ticks), 500 ms at 60 (384 ticks)
    EXPECT_EQ(perf->getMusicTime(), 1152);
    advance(499);
    EXPECT_TRUE(perf->isPlaying(seg, state));
    advance(1);
    EXPECT_FALSE(perf->isPlaying(seg, state));
    advance(1000);  // idle: the last tempo (60) goes on
    EXPECT_EQ(perf->getMusicTime(), 1536 + 768);
}

TEST_F(PerformanceTest, StopSilencesOnlyItsOwnChannels) {
    auto first = make_performance();
    auto second = make_performance();
    auto seg = load();
    second->playSegment(seg, 0, 0);
    port_->messages.clear();
    second->stop(seg, tarko::Ref<DirectMusicSegmentState>(), 0);
    ASSERT_EQ(port_->messages.size(), 32u);  // sustain off and all notes off on 16 channels
    for (const auto& m : port_->messages) {
        EXPECT_GE(m.channel, 16);  // the second performance's group
        EXPECT_LT(m.channel, 32);
    }
}

TEST_F(PerformanceTest, StartPointSkipsNotesButKeepsTheInstrumentAndRepeatsLoop) {
    auto perf = make_performance();
    auto seg = load();  // program change at 0, notes at 0, 768, 1536, 2304
    seg->setStartPoint(1000);
    auto first = perf->playSegment(seg, 0, 0);
    EXPECT_EQ(port_->count(0xC0), 1);
    EXPECT_EQ(note_ons(), 0);
    advance(2000);
    EXPECT_FALSE(perf->isPlaying(seg, first));
    EXPECT_EQ(note_ons(), 2);  // 1536 and 2304

    auto again = load();
    again->setLoopPoints(0, again->getLength());
    again->setRepeats(2);  // three passes of 2 s
    auto state = perf->playSegment(again, 0, 0);
    advance(5999);
    EXPECT_TRUE(perf->isPlaying(again, state));
    advance(1);
    EXPECT_FALSE(perf->isPlaying(again, state));
}

TEST_F(PerformanceTest, NotesHeldAcrossTheLoopEndAreSwitchedOffBeforeTheLoopStarts) {
    // At 96 ticks a quarter each file tick is 8 music ticks. Key 60 sounds
    // from 0 to 192 (1536); the loop ends at 768, half-way through the note.
    SmfTrackWriter notes;
    notes.note_on(0, 0, 60, 100).note_off(192, 0, 60).end();
    auto perf = make_performance();
    auto seg = load(make_smf(0, 96, {notes}));
    seg->setLoopPoints(0, 768);
    seg->setRepeats(1);
    perf->playSegment(seg, 0, 0);
    ASSERT_EQ(port_->messages.size(), 1u);  // the first note-on
    advance(499);  // 766.464 ticks: the loop end (768 ticks = 500 ms) not reached
    perf->service();
    EXPECT_EQ(port_->messages.size(), 1u);
    advance(1);
    perf->service();
    // At the loop end: sustain off and all notes off on the performance's 16
    // channels, then the note at the loop start again.
    std::vector<std::array<int, 4>> expected;
    for (int c = 0; c < 16; ++c) {
        expected.push_back({c, 0xB0, 64, 0});
        expected.push_back({c, 0xB0, 123, 0});
    }
    expected.push_back({0, 0x90, 60, 100});
    std::vector<std::array<int, 4>> got;
    for (std::size_t i = 1; i < port_->messages.size(); ++i) {
        const auto& m = port_->messages[i];
        got.push_back({m.channel, m.command, m.data1, m.data2});
    }
    EXPECT_EQ(got, expected);
}

TEST_F(PerformanceTest, TheSequencerKeepsTheClockAliveWhileItReadsIt) {
    auto perf = make_performance();
    tarko::test::SelfReplacingClock::install();
    perf->service();  // what the conductor thread does every 4 ms
    EXPECT_FALSE(tarko::test::SelfReplacingClock::read_after_free);
}

TEST_F(PerformanceTest, RangesAreCheckedAndMasterVolumeSetsThePortGain) {
    auto seg = load();
    EXPECT_EQ(error_of([&] { seg->setLoopPoints(0, 3073); }), platform::DMUS_E_OUT_OF_RANGE);
    EXPECT_EQ(error_of([&] { seg->setLoopPoints(10, 5); }), platform::DMUS_E_OUT_OF_RANGE);
    EXPECT_THROW(seg->setStartPoint(3072), tarko::RuntimeError);
    auto perf = DirectX7().directMusicPerformanceCreate();
    EXPECT_EQ(error_of([&] { perf->getMusicTime(); }), platform::DMUS_E_NOT_INIT);
    make_performance()->setMasterVolume(1200);  // port gain 10^(1200/2000) = 10^0.6 = 3.98
    EXPECT_NEAR(port_->gains.at(0), 3.981071705534972, 1e-12);
}

TEST_F(PerformanceTest, FluidSynthRenderIsAudibleAndLastsItsLength) {
    auto port = open_render_port(22050);
    if (!port) GTEST_SKIP() << "no soundfont installed";
    ScopedPortFactory fluid([&] { return std::static_pointer_cast<MidiPort>(port); });
    auto perf = DirectX7().directMusicPerformanceCreate();
    perf->init(tarko::Ref<DirectSound>(), 0);
    auto seg = load();
    auto state = perf->playSegment(seg, 0, 0);
    // 50 ms blocks: move the clock, send what is due, render.
    std::vector<float> block(2 * 1102);
    double peak = 0;
    int blocks_playing = 0;
    for (; blocks_playing < 60 && perf->isPlaying(seg, state); ++blocks_playing) {
        port->render(block);
        for (float s : block) peak = std::max(peak, static_cast<double>(std::fabs(s)));
        advance(50);
    }
    EXPECT_GT(peak, 0.01);
    EXPECT_EQ(blocks_playing, 40);  // 2000 ms in blocks of 50
}
