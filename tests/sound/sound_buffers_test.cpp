// cTarko_Sound's buffers: numbers at the boundary (positions over the unit
// factor, percent to hundredths of a decibel), numbering, failures and release.
#include <functional>

#include "platform/constants.h"
#include "platform/sound/wav_writer.h"
#include "runtime/errors.h"
#include "sound_fixture.h"

using tarko::RuntimeError;
namespace err = tarko::err;

namespace {

int error_of(const std::function<void()>& f) {
    try {
        f();
    } catch (const RuntimeError& e) {
        return e.number();
    }
    return 0;
}

class SoundBuffers : public SoundFixture {
protected:
    void SetUp() override {
        SoundFixture::SetUp();
        tone_ = write("tone.wav", tarko::platform::sound::make_tone_wav(440, 0.5, 8000));
    }
    std::string tone_;
    cTarko_Sound snd_;
};

}  // namespace

TEST_F(SoundBuffers, ListenerPositionIsDividedByTheUnitFactorAndReadBack) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    snd_.Set_ListenerPosition({100, 0, 50});
    // 100/50 = 2, 50/50 = 1; applied at once (DS3D_IMMEDIATE = 0)
    EXPECT_TRUE(traced("DirectSound3DListener.setPosition 2, 0, 1, 0"));
    EXPECT_EQ(audio_->last_listener().position, (tarko::platform::sound::Vec3{2, 0, -1}));  // z flips for OpenAL
    const D3DVECTOR p = snd_.Get_ListenerPosition();
    EXPECT_EQ(p.x, 100.0f);
    EXPECT_EQ(p.y, 0.0f);
    EXPECT_EQ(p.z, 50.0f);
}

TEST_F(SoundBuffers, AnotherUnitFactorScalesBothWays) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1, tarko::Variant(4.0)));
    const auto n = snd_.Load_Wav(tone_, true, 8, -4, 2);
    EXPECT_TRUE(traced("DirectSound3DBuffer.setPosition 2, -1, 0.5, 0"));
    snd_.Set_BufferPosition(n, {1, 2, 3});
    EXPECT_TRUE(traced("DirectSound3DBuffer.setPosition 0.25, 0.5, 0.75, 0"));
    const D3DVECTOR p = snd_.Get_BufferPosition(n);
    EXPECT_EQ(p.z, 3.0f);
}

TEST_F(SoundBuffers, UnitFactorZeroIsADivisionError) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1, tarko::Integer{0}));
    EXPECT_EQ(error_of([&] { snd_.Set_ListenerPosition({1, 1, 1}); }), err::DivisionByZero);
    EXPECT_EQ(error_of([&] { snd_.Get_ListenerPosition(); }), 0);  // multiplying by 0 is fine
}

TEST_F(SoundBuffers, StartUpMakesThe3dPrimaryBufferAndItsListener) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(77));
    EXPECT_TRUE(traced("DirectX7.directSoundCreate \"\""));
    EXPECT_TRUE(traced("DirectSound.setCooperativeLevel 77, 2"));
    EXPECT_TRUE(traced("DirectSound.createSoundBuffer 17"));
    EXPECT_FALSE(snd_.DS_Listener.is_nothing());
    EXPECT_EQ(snd_.Total_SoundBUF, 0);
}

TEST_F(SoundBuffers, BuffersAreNumberedFromOneWithTheirFlags) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    EXPECT_EQ(snd_.Load_Wav(tone_), 1);
    EXPECT_EQ(snd_.Load_Wav(tone_, true), 2);
    EXPECT_EQ(snd_.Total_SoundBUF, 2);
    const auto loads = traced_prefix("DirectSound.createSoundBufferFromFile");
    ASSERT_EQ(loads.size(), 2u);
    EXPECT_NE(loads[0].find(", 226"), std::string::npos) << loads[0];
    EXPECT_NE(loads[1].find(", 242"), std::string::npos) << loads[1];
}

TEST_F(SoundBuffers, A3dBufferAtTheDefaultsStandsAtTheOriginWithItsCone) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    const auto n = snd_.Load_Wav(tone_, true);
    EXPECT_TRUE(traced("DirectSound3DBuffer.setConeAngles 0, 100, 0"));
    EXPECT_TRUE(traced("DirectSound3DBuffer.setConeOutsideVolume -400, 0"));
    EXPECT_TRUE(traced("DirectSound3DBuffer.setPosition 0, 0, 0, 0"));
    EXPECT_TRUE(traced("DirectSoundBuffer.setVolume 0"));
    const D3DVECTOR p = snd_.Get_BufferPosition(n);
    EXPECT_EQ(p.x, 0.0f);
    EXPECT_EQ(p.z, 0.0f);
    const auto s = audio_->last_settings(audio_->calls.back().source);
    EXPECT_EQ(s.inner_angle, 0.0f);
    EXPECT_EQ(s.outer_angle, 100.0f);
    EXPECT_NEAR(s.outer_gain, 0.630957, 1e-6);  // 10^(-400/2000)
}

TEST_F(SoundBuffers, VolumePercentBecomesHundredthsOfADecibel) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    const auto n = snd_.Load_Wav(tone_);
    // -(10000 - round(p / 100 * 10000)): 100 -> 0, 0 -> -10000, 12.5 -> -8750, 50 -> -5000,
    // 33.333 -> round(3333.3) = 3333 -> -6667, 99.99 -> round(9999.0002) = 9999 -> -1
    struct Case { float percent; int sent; };
    for (const Case c : {Case{100, 0}, Case{0, -10000}, Case{12.5f, -8750}, Case{50, -5000}, Case{33.333f, -6667},
                         Case{99.99f, -1}}) {
        tarko::platform::trace().clear();
        snd_.Set_BufferVolume(n, c.percent);
        EXPECT_TRUE(traced("DirectSoundBuffer.setVolume " + std::to_string(c.sent))) << c.percent;
    }
}

TEST_F(SoundBuffers, VolumeBeyondAHundredIsSentAndRefusedByTheBuffer) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    const auto n = snd_.Load_Wav(tone_);
    EXPECT_EQ(error_of([&] { snd_.Set_BufferVolume(n, 150); }), tarko::platform::DSERR_INVALIDPARAM);
    EXPECT_TRUE(traced("DirectSoundBuffer.setVolume 5000"));
}

TEST_F(SoundBuffers, PlayAndStopReachTheBuffer) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    const auto n = snd_.Load_Wav(tone_);
    snd_.Play_BUF(n, true);
    EXPECT_TRUE(traced("DirectSoundBuffer.play 1"));
    EXPECT_EQ(audio_->calls.back().what, "play");
    EXPECT_TRUE(audio_->calls.back().looping);
    snd_.Stop_BUF(tarko::Variant(1.0));
    EXPECT_EQ(audio_->calls.back().what, "stop");
    snd_.Play_BUF(n);
    EXPECT_TRUE(traced("DirectSoundBuffer.play 0"));
}

TEST_F(SoundBuffers, BadNumbersAreSubscriptErrors) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    EXPECT_EQ(error_of([&] { snd_.Play_BUF(1); }), err::SubscriptOutOfRange);  // before any load
    snd_.Load_Wav(tone_);
    EXPECT_EQ(error_of([&] { snd_.Play_BUF(0); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { snd_.Stop_BUF(2); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { snd_.Set_BufferVolume(-1, 50); }), err::SubscriptOutOfRange);
}

TEST_F(SoundBuffers, PositionOfA2dBufferIsAnUnsetObject) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    const auto n = snd_.Load_Wav(tone_);
    EXPECT_EQ(error_of([&] { snd_.Set_BufferPosition(n, {1, 1, 1}); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { snd_.Get_BufferPosition(n); }), err::ObjectNotSet);
}

TEST_F(SoundBuffers, AFailedLoadKeepsItsNumberEmpty) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    auto wav = tarko::platform::sound::make_tone_wav(440, 0.1, 8000);
    wav.resize(wav.size() - 10);
    const auto cut = write("cut.wav", wav);
    EXPECT_EQ(error_of([&] { snd_.Load_Wav(cut); }), tarko::platform::DSERR_BADFORMAT);
    EXPECT_EQ(error_of([&] { snd_.Load_Wav((dir_ / "missing.wav").string()); }), err::FileNotFound);
    EXPECT_EQ(snd_.Total_SoundBUF, 2);
    EXPECT_EQ(error_of([&] { snd_.Play_BUF(1); }), err::ObjectNotSet);
    EXPECT_EQ(snd_.Load_Wav(tone_), 3);
}

TEST_F(SoundBuffers, WithoutASoundCardTheBoxShowsOncePerCall) {
    tarko::platform::sound::ScopedAudioFactory none([] { return nullptr; });
    EXPECT_FALSE(snd_.INIT_SoundENGINE(1));
    EXPECT_FALSE(snd_.INIT_SoundENGINE(1));
    ASSERT_EQ(boxes().size(), 2u);
    EXPECT_EQ(boxes()[0].text, "Unable to initialise; Either bad soundcard or bad drivers. Quiting");
    EXPECT_EQ(snd_.Load_Wav(tone_), 0);
    EXPECT_EQ(snd_.Total_SoundBUF, 0);
    EXPECT_EQ(error_of([&] { snd_.Play_BUF(0); }), err::SubscriptOutOfRange);
}

TEST_F(SoundBuffers, TheObjectCanStartLaterWhenADeviceAppears) {
    {
        tarko::platform::sound::ScopedAudioFactory none([] { return nullptr; });
        EXPECT_FALSE(snd_.INIT_SoundENGINE(1));
    }
    EXPECT_TRUE(snd_.INIT_SoundENGINE(1));
    EXPECT_EQ(snd_.Load_Wav(tone_), 1);
}

TEST_F(SoundBuffers, NoMusicMeansTrueButNoWaves) {
    // A performance that cannot start (its port factory throws) fails the music setup.
    tarko::platform::music::ScopedPortFactory broken(
        []() -> std::shared_ptr<tarko::platform::music::MidiPort> { tarko::raise_error(-5, "no synthesiser"); });
    EXPECT_TRUE(snd_.INIT_SoundENGINE(1));
    ASSERT_EQ(boxes().size(), 1u);
    EXPECT_EQ(boxes()[0].text, "(-5) - no synthesiser");
    EXPECT_EQ(snd_.Load_Wav(tone_), 0);
}

TEST_F(SoundBuffers, EngineFreeReleasesBuffersButKeepsCountAndListener) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    snd_.Load_Wav(tone_);
    snd_.Load_Wav(tone_, true);
    snd_.Engine_Free();
    EXPECT_EQ(std::count_if(audio_->calls.begin(), audio_->calls.end(), [](const auto& c) { return c.what == "destroy"; }),
              2);
    EXPECT_EQ(snd_.Total_SoundBUF, 2);
    EXPECT_TRUE(snd_.DsounD.is_nothing());
    EXPECT_NO_THROW(snd_.Set_ListenerPosition({50, 50, 50}));  // the listener outlives the device object
    EXPECT_EQ(error_of([&] { snd_.Play_BUF(1); }), err::ObjectNotSet);
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    EXPECT_EQ(snd_.Total_SoundBUF, 0);
    EXPECT_EQ(snd_.Load_Wav(tone_), 1);
}

TEST_F(SoundBuffers, AHostHoldingTheListenerMovesItWithDeferredSettings) {
    ASSERT_TRUE(snd_.INIT_SoundENGINE(1));
    // What tarko_DX7 does with DS_Listener at every present: deferred, uncommitted.
    tarko::Ref<DirectSound3DListener> engine_listener = snd_.DS_Listener;
    engine_listener->setPosition(300.0f / 50, 0, 100.0f / 50, dx::DS3D_DEFERRED);
    engine_listener->setOrientation(1, 0, 0, 0, 1, 0, dx::DS3D_DEFERRED);
    EXPECT_EQ(snd_.Get_ListenerPosition().x, 0.0f);
    engine_listener->commitDeferredSettings();
    const D3DVECTOR p = snd_.Get_ListenerPosition();
    EXPECT_EQ(p.x, 300.0f);
    EXPECT_EQ(p.z, 100.0f);
    EXPECT_EQ(audio_->last_listener().at, (tarko::platform::sound::Vec3{1, 0, 0}));
}
