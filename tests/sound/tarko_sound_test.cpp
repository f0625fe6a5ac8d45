// cTarko_Sound on recording backends with a manual clock: the numbers at the
// boundary (positions, volumes, music volume and progress), failures and messages.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "platform/constants.h"
#include "platform/music/midi_port.h"
#include "platform/music/smf_writer.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/wav_writer.h"
#include "platform/trace.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "sound/tarko_sound.h"
#include "support/test_support.h"

using namespace tarko::platform::music;
using tarko::test::error_of;
namespace err = tarko::err;
namespace snd = tarko::platform::sound;

namespace {

class SoundTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = tarko::test::scratch_dir(::testing::UnitTest::GetInstance()->current_test_info()->name());
        tone_ = write("tone.wav", snd::make_tone_wav(440, 0.5, 8000));
        scale_ = write("scale.mid", make_scale_smf(4, 500000, 480));  // 3072 ticks, 2 s
    }
    std::string write(const std::string& name, const std::vector<std::uint8_t>& bytes) {
        std::ofstream(dir_ / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
        return (dir_ / name).string();
    }
    bool traced(const std::string& entry) const {
        const auto& e = trace_.entries();
        return std::find(e.begin(), e.end(), entry) != e.end();
    }
    const std::vector<tarko::MessageBoxRequest>& boxes() const { return services_.messages(); }
    void advance(std::int64_t ms) { services_.clock().advance(ms); }
    void open_and_play() {
        ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
        ASSERT_TRUE(snd_.DMusic_OpenMidi(scale_));
        ASSERT_TRUE(snd_.DMusic_PlayMidi());
    }

    tarko::runtime::ScopedTestServices services_;
    tarko::platform::ScopedTrace trace_;
    std::shared_ptr<snd::RecordingAudio> audio_ = std::make_shared<snd::RecordingAudio>();
    std::shared_ptr<RecordingPort> port_ = std::make_shared<RecordingPort>();
    snd::ScopedAudioFactory audio_factory_{[this] { return audio_; }};
    ScopedPortFactory port_factory_{[this] { return port_; }};
    std::filesystem::path dir_;
    std::string tone_, scale_;
    cTarko_Sound snd_;
};

}  // namespace

TEST_F(SoundTest, PositionsAreDividedByTheUnitFactorAndReadBack) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    snd_.Set_ListenerPosition({100, 0, 50});
    // 100/50 = 2, 50/50 = 1; applied at once (DS3D_IMMEDIATE = 0)
    EXPECT_TRUE(traced("DirectSound3DListener.setPosition 2, 0, 1, 0"));
    EXPECT_EQ(snd_.Get_ListenerPosition().x, 100.0f);  // read back times 50

    cTarko_Sound four, zero;
    ASSERT_TRUE(four.INIT_SoundENGINE(1, tarko::Variant(4.0)));
    const auto n = four.Load_Wav(tone_, true, 8, -4, 2);  // 8/4, -4/4, 2/4
    EXPECT_TRUE(traced("DirectSound3DBuffer.setPosition 2, -1, 0.5, 0"));
    EXPECT_EQ(four.Get_BufferPosition(n).z, 2.0f);

    ASSERT_TRUE(zero.INIT_SoundENGINE(1, tarko::Integer{0}));
    EXPECT_EQ(error_of([&] { zero.Set_ListenerPosition({1, 1, 1}); }), err::DivisionByZero);
}

TEST_F(SoundTest, VolumePercentBecomesHundredthsOfADecibel) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    const auto n = snd_.Load_Wav(tone_);
    // -(10000 - round(p / 100 * 10000)): 0 -> -10000,
    // 33.333 -> round(3333.3) = 3333 -> -6667, 99.99 -> round(9999.0002) = 9999 -> -1
    struct Case { float percent; int sent; };
    for (const Case c : {Case{0, -10000}, Case{33.333f, -6667}, Case{99.99f, -1}}) {
        snd_.Set_BufferVolume(n, c.percent);
        EXPECT_TRUE(traced("DirectSoundBuffer.setVolume " + std::to_string(c.sent))) << c.percent;
    }
    // 150 % is sent as +5000 and refused by the buffer.
    EXPECT_EQ(error_of([&] { snd_.Set_BufferVolume(n, 150); }), tarko::platform::DSERR_INVALIDPARAM);
    EXPECT_TRUE(traced("DirectSoundBuffer.setVolume 5000"));
    EXPECT_EQ(error_of([&] { snd_.Play_BUF(0); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { snd_.Get_BufferPosition(n); }), err::ObjectNotSet);  // a 2D buffer
}

TEST_F(SoundTest, BadFilesGiveTheirNumberAndReason) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    auto cut = snd::make_tone_wav(440, 0.1, 8000);
    cut.resize(cut.size() - 10);
    SmfTrackWriter open, huge;
    open.note_on(0, 0, 60, 100).note_off(96, 0, 60);  // no end of track
    huge.note_on(0x0FFFFFFF, 0, 60, 100).end();       // at division 1: 2.06e11 music ticks
    const std::string midi = "(" + std::to_string(tarko::platform::DMUS_E_UNSUPPORTED_STREAM) + ") - Bad MIDI file";
    const std::string wave = "(" + std::to_string(tarko::platform::DSERR_BADFORMAT) + ") - Bad wave file";
    struct Case { std::string file; std::string starts, says; };
    const Case cases[] = {
        {(dir_ / "missing.wav").string(), "(53) - ", "File not found"},
        {write("cut.wav", cut), wave, "RIFF size"},
        {(dir_ / "missing.mid").string(), "(53) - ", "File not found"},
        {write("open.mid", make_smf(0, 96, {open})), midi, "end-of-track"},
        {write("huge.mid", make_smf(0, 1, {huge})), midi, "beyond the music clock"},
    };
    for (const Case& c : cases) {
        std::string text;
        if (c.file.ends_with(".wav")) {
            try {
                snd_.Load_Wav(c.file);
            } catch (const tarko::RuntimeError& e) {
                text = "(" + std::to_string(e.number()) + ") - " + e.description();
            }
        } else {
            EXPECT_FALSE(snd_.DMusic_OpenMidi(c.file));
            text = boxes().empty() ? "" : boxes().back().text;
        }
        EXPECT_EQ(text.rfind(c.starts, 0), 0u) << c.file << ": " << text;
        EXPECT_NE(text.find(c.says), std::string::npos) << c.file << ": " << text;
    }
    // Failed loads keep their numbers, empty.
    EXPECT_EQ(snd_.Total_SoundBUF, 2);
    EXPECT_EQ(error_of([&] { snd_.Play_BUF(1); }), err::ObjectNotSet);
}

TEST_F(SoundTest, MissingDevicesShowTheirMessage) {
    {
        snd::ScopedAudioFactory none([] { return nullptr; });
        EXPECT_FALSE(snd_.INIT_SoundENGINE(1));
        ASSERT_EQ(boxes().size(), 1u);
        EXPECT_EQ(boxes()[0].text, "Unable to initialise; Either bad soundcard or bad drivers. Quiting");
        EXPECT_EQ(snd_.Load_Wav(tone_), 0);
    }
    // A performance that cannot start fails the music setup: true, but no waves either.
    ScopedPortFactory broken([]() -> std::shared_ptr<MidiPort> { tarko::raise_error(-5, "no synthesiser"); });
    EXPECT_TRUE(snd_.INIT_SoundENGINE(1));
    ASSERT_EQ(boxes().size(), 2u);
    EXPECT_EQ(boxes()[1].text, "(-5) - no synthesiser");
    EXPECT_EQ(snd_.Load_Wav(tone_), 0);
}

// The MIDI piece: 120 bpm is 768 ticks per 500 ms.

TEST_F(SoundTest, MusicWithNothingOpenShowsTheMessageOnce) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    EXPECT_FALSE(snd_.DMusic_PlayMidi(true));
    EXPECT_FALSE(snd_.DMusic_StopMidi());
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_EQ(boxes()[0].text, "Please open a segment or MIDI file before playing");
}

TEST_F(SoundTest, MusicVolumeIsHeldToPercentAndMappedOntoTheMasterLevel) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    // value * 42 - 3000, read back as round(level / 42 + 71)
    snd_.Dmusic_volume(150);
    EXPECT_TRUE(traced("DirectMusicPerformance.setMasterVolume 1200"));   // held to 100
    EXPECT_EQ(snd_.Dmusic_volume(), 100);                                 // 1200/42 + 71 = 99.57
    snd_.Dmusic_volume(-5);
    EXPECT_TRUE(traced("DirectMusicPerformance.setMasterVolume -3000"));  // held to 0
    EXPECT_EQ(snd_.Dmusic_volume(), 0);                                   // -71.43 + 71 = -0.43
    snd_.Dmusic_volume(1);
    EXPECT_EQ(snd_.Dmusic_volume(), 1);                                   // -2958: -70.43 + 71 = 0.57
}

TEST_F(SoundTest, LengthIsMeasuredAtTheFirstTempoAndRoundedToTwoDecimals) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    // 10 quarters at 567800 us each, then a slower tempo that does not count:
    // 10 * 0.5678 = 5.678 s -> 5.68
    SmfTrackWriter t;
    t.tempo(0, 567800).note_on(0, 0, 60, 100).tempo(96, 1000000).note_off(0, 0, 60).end(96 * 9);
    ASSERT_TRUE(snd_.DMusic_OpenMidi(write("long.mid", make_smf(0, 96, {t}))));
    EXPECT_DOUBLE_EQ(snd_.Dmusic_LengthInSeconds(), 5.68);
}

TEST_F(SoundTest, PercentageIsTruncatedAndStopsAtAHundred) {
    open_and_play();
    advance(1990);  // 1.99 s of 2 s: Int(99.5) = 99
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 99);
    advance(2000);
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 100);
}

TEST_F(SoundTest, PauseResumeDriftsOneTickPerCycle) {
    open_and_play();                         // starts at music time 0
    advance(500);                            // 768 ticks
    ASSERT_TRUE(snd_.DMusic_PauseMidi());    // PauseTime 768, SegmentStart 0
    advance(250);                            // idle: 384 ticks pass, the piece stands
    ASSERT_TRUE(snd_.DMusic_PauseMidi());    // resume from 768 - 0 + 0 + 1 = 769
    EXPECT_TRUE(traced("DirectMusicSegment.setStartPoint 769"));
    advance(500);
    ASSERT_TRUE(snd_.DMusic_PauseMidi());    // paused 768 ticks after the resume at 1152
    ASSERT_TRUE(snd_.DMusic_PlayMidi());     // resume from 1920 - 1152 + 769 + 1 = 1538
    EXPECT_TRUE(traced("DirectMusicSegment.setStartPoint 1538"));
    // Progress counts from the resume point: 1538 ticks is 1.0013 s of 2 s.
    EXPECT_EQ(snd_.Dmusic_Percentage_Done(), 50);
    advance(998);                            // 1534 ticks remain: 998.7 ms
    EXPECT_EQ(port_->count(0x90), 3);        // the note at 2304 came; none was played twice
}
