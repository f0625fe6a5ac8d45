// cTarko_Sound's MIDI piece on the recording port with a manual clock:
// 120 bpm is 768 ticks per 500 ms.
#include <functional>

#include "platform/music/smf_writer.h"
#include "runtime/errors.h"
#include "sound_fixture.h"

using namespace tarko::platform::music;

namespace {

class SoundMidi : public SoundFixture {
protected:
    void SetUp() override {
        SoundFixture::SetUp();
        ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
        scale_ = write("scale.mid", make_scale_smf(4, 500000, 480));  // 3072 ticks, 2 s
    }
    std::string scale_;
    cTarko_Sound snd_;
};

}  // namespace

TEST_F(SoundMidi, PlayWithNothingOpenShowsTheMessage) {
    EXPECT_FALSE(snd_.DMusic_PlayMidi());
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_EQ(boxes()[0].text, "Please open a segment or MIDI file before playing");
    EXPECT_FALSE(snd_.Midi_IS_Playing);
    EXPECT_FALSE(snd_.DMusic_PauseMidi());
    EXPECT_FALSE(snd_.DMusic_StopMidi());
    EXPECT_EQ(boxes().size(), 1u);
}

TEST_F(SoundMidi, RepeatsFlagSticksEvenWhenNothingIsOpen) {
    snd_.DMusic_PlayMidi(true);
    EXPECT_TRUE(snd_.Loop_it);
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    snd_.DMusic_PlayMidi(false);
    EXPECT_TRUE(snd_.Loop_it);  // never cleared
    EXPECT_TRUE(traced("DirectMusicSegment.setRepeats 0"));
}

TEST_F(SoundMidi, VolumeIsHeldToPercentAndMappedOntoTheMasterLevel) {
    // value * 42 - 3000, read back as round(level / 42 + 71)
    snd_.Dmusic_volume(150);
    EXPECT_TRUE(traced("DirectMusicPerformance.setMasterVolume 1200"));   // held to 100
    EXPECT_EQ(snd_.Dmusic_volume(), 100);                                 // 1200/42 + 71 = 99.57
    snd_.Dmusic_volume(-5);
    EXPECT_TRUE(traced("DirectMusicPerformance.setMasterVolume -3000"));  // held to 0
    EXPECT_EQ(snd_.Dmusic_volume(), 0);                                   // -71.43 + 71 = -0.43
    snd_.Dmusic_volume(50);
    EXPECT_TRUE(traced("DirectMusicPerformance.setMasterVolume -900"));
    EXPECT_EQ(snd_.Dmusic_volume(), 50);                                  // -21.43 + 71 = 49.57
    snd_.Dmusic_volume(1);
    EXPECT_EQ(snd_.Dmusic_volume(), 1);                                   // -2958: -70.43 + 71 = 0.57
}

TEST_F(SoundMidi, LengthIsMeasuredAtTheFirstTempoAndRoundedToTwoDecimals) {
    // 10 quarters at 567800 us each (105.67 bpm): 7680 ticks, 10 * 0.5678 = 5.678 s -> 5.68
    SmfTrackWriter t;
    t.tempo(0, 567800).note_on(0, 0, 60, 100).note_off(96, 0, 60).end(96 * 9);
    const auto file = write("long.mid", make_smf(0, 96, {t}));
    ASSERT_TRUE(snd_.DMusic_OpenMidi(file));
    EXPECT_DOUBLE_EQ(snd_.Dmusic_LengthInSeconds(), 5.68);
    // A later tempo change does not count: the length uses the tempo at the start.
    SmfTrackWriter two;
    two.tempo(0, 500000).note_on(0, 0, 60, 100).tempo(96, 1000000).note_off(96, 0, 60).end();
    ASSERT_TRUE(snd_.DMusic_OpenMidi(write("two.mid", make_smf(0, 96, {two}))));
    EXPECT_DOUBLE_EQ(snd_.Dmusic_LengthInSeconds(), 1.0);  // 1536 ticks at 120 bpm, not 1.5 s
}

TEST_F(SoundMidi, OpeningRunsASilentTrial) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    EXPECT_TRUE(traced("DirectMusicPerformance.playSegment 0, 2000"));  // 2000 ticks ahead of 0
    EXPECT_TRUE(traced("DirectMusicSegment.setStandardMidiFile"));
    services_.clock().advance(5000);
    snd_.DMusic_StopMidi();
    EXPECT_EQ(port_->count(0x90), 0);  // nothing was heard
}

TEST_F(SoundMidi, PercentageFollowsTheMusicClockAndStopsAtAHundred) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    ASSERT_TRUE(snd_.DMusic_PlayMidi());
    EXPECT_TRUE(snd_.Midi_IS_Playing);
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 0);
    services_.clock().advance(1000);  // 1536 ticks = 1 s of 2 s
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 50);
    services_.clock().advance(990);   // 1.99 s: Int(99.5) = 99
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 99);
    services_.clock().advance(2000);
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 100);
    EXPECT_EQ(port_->count(0x90), 4);
    EXPECT_TRUE(snd_.Midi_IS_Playing);  // never cleared
}

TEST_F(SoundMidi, LoopingPieceKeepsPlayingAndStaysAtAHundred) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    ASSERT_TRUE(snd_.DMusic_PlayMidi(true));
    EXPECT_TRUE(traced("DirectMusicSegment.setRepeats -1"));
    EXPECT_TRUE(traced("DirectMusicSegment.setLoopPoints 0, 3072"));
    services_.clock().advance(10'000);
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 100);
    EXPECT_EQ(port_->count(0x90), 21);  // five passes and the first note of the sixth
}

TEST_F(SoundMidi, PauseResumeDriftsOneTickPerCycle) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    ASSERT_TRUE(snd_.DMusic_PlayMidi());     // starts at music time 0
    services_.clock().advance(500);          // 768 ticks
    ASSERT_TRUE(snd_.DMusic_PauseMidi());    // PauseTime 768, SegmentStart 0
    services_.clock().advance(250);          // idle: 384 ticks pass, the piece stands
    ASSERT_TRUE(snd_.DMusic_PauseMidi());    // resume from 768 - 0 + 0 + 1 = 769
    EXPECT_TRUE(traced("DirectMusicSegment.setStartPoint 769"));
    services_.clock().advance(500);
    ASSERT_TRUE(snd_.DMusic_PauseMidi());    // paused 768 ticks after the resume at 1152
    ASSERT_TRUE(snd_.DMusic_PlayMidi());     // resume from 1920 - 1152 + 769 + 1 = 1538
    EXPECT_TRUE(traced("DirectMusicSegment.setStartPoint 1538"));
    // Progress counts from the resume point: 1538 ticks is 1.0013 s of 2 s.
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 50);
    // 1534 ticks remain: 998.7 ms.
    services_.clock().advance(998);
    EXPECT_EQ(port_->count(0x90), 3);        // the note at 2304 came; none was played twice
    services_.clock().advance(2);
    snd_.DMusic_PauseMidi();                 // it ended, so this resumes: 1920 - 1152 + 1538 + 1
    EXPECT_TRUE(traced("DirectMusicSegment.setStartPoint 2307"));
}

TEST_F(SoundMidi, StopThenPlayStartsOver) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    ASSERT_TRUE(snd_.DMusic_PlayMidi());
    services_.clock().advance(600);
    ASSERT_TRUE(snd_.DMusic_PauseMidi());
    ASSERT_TRUE(snd_.DMusic_StopMidi());     // stopped, not paused
    tarko::platform::trace().clear();
    ASSERT_TRUE(snd_.DMusic_PlayMidi());
    EXPECT_TRUE(traced("DirectMusicSegment.setStartPoint 0"));
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 0);
}

TEST_F(SoundMidi, PlayWhilePlayingRestartsFromZero) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    ASSERT_TRUE(snd_.DMusic_PlayMidi());
    services_.clock().advance(700);
    ASSERT_TRUE(snd_.DMusic_PlayMidi());
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 0);
    EXPECT_EQ(port_->count(0x90), 3);  // 0 and 768 of the first play, 0 of the second
}

TEST_F(SoundMidi, BadFilesShowNumberAndDescription) {
    EXPECT_FALSE(snd_.DMusic_OpenMidi((dir_ / "missing.mid").string()));
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_EQ(boxes()[0].text.rfind("(53) - ", 0), 0u) << boxes()[0].text;

    SmfTrackWriter t;
    t.note_on(0, 0, 60, 100).note_off(96, 0, 60);  // no end of track
    EXPECT_FALSE(snd_.DMusic_OpenMidi(write("open.mid", make_smf(0, 96, {t}))));
    ASSERT_EQ(boxes().size(), 2u);
    const std::string expected = "(" + std::to_string(tarko::platform::DMUS_E_UNSUPPORTED_STREAM) + ") - Bad MIDI file";
    EXPECT_EQ(boxes()[1].text.rfind(expected, 0), 0u) << boxes()[1].text;

    SmfTrackWriter huge;
    huge.note_on(0x0FFFFFFF, 0, 60, 100).end();
    EXPECT_FALSE(snd_.DMusic_OpenMidi(write("huge.mid", make_smf(0, 1, {huge}))));
    EXPECT_EQ(boxes().size(), 3u);
}

TEST_F(SoundMidi, ANameWithoutAFolderFailsAfterLoading) {
    write("bare.mid", make_scale_smf(2));
    const auto previous = std::filesystem::current_path();
    std::filesystem::current_path(dir_);
    const bool opened = snd_.DMusic_OpenMidi("bare.mid");
    std::filesystem::current_path(previous);
    EXPECT_FALSE(opened);
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_EQ(boxes()[0].text, "(5) - Invalid procedure call or argument");
    EXPECT_TRUE(snd_.DMusic_PlayMidi());  // the segment was loaded all the same
}

TEST_F(SoundMidi, ProgressWithoutAPlayIsAnUnsetObject) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    try {
        snd_.Dmusic_Percentage_Done();
        ADD_FAILURE();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), tarko::err::ObjectNotSet);
    }
}

TEST_F(SoundMidi, EngineFreeStopsTheMusic) {
    ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
    ASSERT_TRUE(snd_.DMusic_PlayMidi());
    snd_.Engine_Free();
    const int notes = port_->count(0x90);
    services_.clock().advance(5000);
    EXPECT_EQ(port_->count(0x90), notes);
    EXPECT_EQ(port_->count(0xB0) > 0, true);  // all notes off went out
}
