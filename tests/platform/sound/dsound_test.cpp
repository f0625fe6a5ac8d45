// DirectSound objects over the recording backend: what reaches the audio
// layer (z negated, gains from hundredths of a decibel), deferred settings,
// control checks, status and the no-device path.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "platform/constants.h"
#include "platform/dx_root.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/dsound.h"
#include "platform/sound/wav_writer.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

using namespace tarko::platform::sound;
namespace platform = tarko::platform;

namespace {

std::string write_file(const std::filesystem::path& dir, const std::string& name, const std::vector<std::uint8_t>& bytes) {
    const auto path = dir / name;
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
    return path.string();
}

class DirectSoundTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = tarko::test::scratch_dir("dsound");
        tone_ = write_file(dir_, "tone.wav", make_tone_wav(440, 0.5, 8000));  // 4000 frames, 500 ms
        stereo_ = write_file(dir_, "stereo.wav", make_tone_wav(440, 0.25, 8000, 2));
        ds_ = DirectX7().directSoundCreate("");
        ds_->setCooperativeLevel(1, dx::DSSCL_PRIORITY);
        DSBUFFERDESC desc;
        desc.lFlags = dx::DSBCAPS_PRIMARYBUFFER | dx::DSBCAPS_CTRL3D;
        WAVEFORMATEX fmt;
        primary_ = ds_->createSoundBuffer(desc, fmt);
        listener_ = primary_->getDirectSound3dListener();
    }
    tarko::Ref<DirectSoundBuffer> load(const std::string& file, tarko::Long flags) {
        DSBUFFERDESC desc;
        desc.lFlags = flags;
        WAVEFORMATEX fmt;
        return ds_->createSoundBufferFromFile(file, desc, fmt);
    }

    int created_source() const {
        for (const auto& c : audio_->calls)
            if (c.what == "create") return c.source;
        return 0;
    }

    tarko::runtime::ScopedTestServices services_;
    std::shared_ptr<RecordingAudio> audio_ = std::make_shared<RecordingAudio>();
    ScopedAudioFactory factory_{[this] { return audio_; }};
    std::filesystem::path dir_;
    std::string tone_, stereo_;
    tarko::Ref<DirectSound> ds_;
    tarko::Ref<DirectSoundBuffer> primary_;
    tarko::Ref<DirectSound3DListener> listener_;
};

constexpr tarko::Long k3d = 242, k2d = 226;

}  // namespace

TEST_F(DirectSoundTest, FileBufferReportsItsFormat) {
    DSBUFFERDESC desc;
    desc.lFlags = k2d;
    WAVEFORMATEX fmt;
    ds_->createSoundBufferFromFile(tone_, desc, fmt);
    EXPECT_EQ(fmt.nChannels, 1);
    EXPECT_EQ(fmt.lSamplesPerSec, 8000);
    EXPECT_EQ(fmt.nBitsPerSample, 16);
    EXPECT_EQ(fmt.nBlockAlign, 2);
    EXPECT_EQ(fmt.lAvgBytesPerSec, 16000);
    EXPECT_EQ(desc.lBufferBytes, 8000);  // 4000 frames of 2 bytes
}

TEST_F(DirectSoundTest, PositionsReachTheAudioLayerWithZNegated) {
    auto buf = load(tone_, k3d);
    auto b3 = buf->getDirectSound3dBuffer();
    b3->setPosition(2, 0, 1, dx::DS3D_IMMEDIATE);
    const int source = created_source();
    const SourceSettings s = audio_->last_settings(source);
    EXPECT_FALSE(s.relative);
    EXPECT_EQ(s.position, (Vec3{2, 0, -1}));
    EXPECT_EQ(s.direction, (Vec3{0, 0, -1}));  // cone orientation (0, 0, 1), z negated

    listener_->setPosition(-3, 4, 5, dx::DS3D_IMMEDIATE);
    listener_->setOrientation(0, 0, 1, 0, 1, 0, dx::DS3D_IMMEDIATE);
    const ListenerSettings l = audio_->last_listener();
    EXPECT_EQ(l.position, (Vec3{-3, 4, -5}));
    EXPECT_EQ(l.at, (Vec3{0, 0, -1}));
    EXPECT_EQ(l.up, (Vec3{0, 1, 0}));
}

TEST_F(DirectSoundTest, VolumesBecomeGainsOfTenToTheVOver2000) {
    auto buf = load(tone_, k3d);
    const int source = created_source();
    // -8750 -> 10^(-4.375) = 4.2170e-5 ; -2000 -> 0.1 ; 0 -> 1
    for (auto [v, g] : {std::pair{-8750, 4.2169650e-5}, std::pair{-2000, 0.1}, std::pair{0, 1.0}}) {
        buf->setVolume(v);
        EXPECT_NEAR(audio_->last_settings(source).gain, g, g * 1e-5) << v;
        EXPECT_EQ(buf->getVolume(), v);
    }
    auto b3 = buf->getDirectSound3dBuffer();
    b3->setConeAngles(0, 100, dx::DS3D_IMMEDIATE);
    b3->setConeOutsideVolume(-400, dx::DS3D_IMMEDIATE);
    const SourceSettings s = audio_->last_settings(source);
    EXPECT_EQ(s.inner_angle, 0.0f);
    EXPECT_EQ(s.outer_angle, 100.0f);
    EXPECT_NEAR(s.outer_gain, 0.630957, 1e-6);  // 10^(-400/2000) = 10^-0.2
}

TEST_F(DirectSoundTest, OutOfRangeValuesAreRefused) {
    auto buf = load(tone_, k3d);
    auto b3 = buf->getDirectSound3dBuffer();
    for (tarko::Long v : {1, -10001}) {
        try {
            buf->setVolume(v);
            ADD_FAILURE() << v;
        } catch (const tarko::RuntimeError& e) {
            EXPECT_EQ(e.number(), platform::DSERR_INVALIDPARAM);
        }
    }
    EXPECT_NO_THROW(buf->setVolume(-10000));
    EXPECT_THROW(b3->setConeAngles(200, 100, dx::DS3D_IMMEDIATE), tarko::RuntimeError);
    EXPECT_THROW(b3->setConeAngles(0, 361, dx::DS3D_IMMEDIATE), tarko::RuntimeError);
    EXPECT_THROW(b3->setPosition(NAN, 0, 0, dx::DS3D_IMMEDIATE), tarko::RuntimeError);
    EXPECT_THROW(b3->setPosition(0, 0, 0, 2), tarko::RuntimeError);  // neither immediate nor deferred
    D3DVECTOR p;
    b3->getPosition(p);
    EXPECT_EQ(p.x, 0.0f);  // the refused calls changed nothing
}

TEST_F(DirectSoundTest, DeferredSettingsWaitForTheCommit) {
    auto buf = load(tone_, k3d);
    auto b3 = buf->getDirectSound3dBuffer();
    const int source = created_source();
    listener_->setPosition(1, 2, 3, dx::DS3D_DEFERRED);
    b3->setPosition(4, 5, 6, dx::DS3D_DEFERRED);
    D3DVECTOR lp, bp;
    listener_->getPosition(lp);
    b3->getPosition(bp);
    EXPECT_EQ(lp.x, 0.0f);  // still the settings in effect
    EXPECT_EQ(bp.x, 0.0f);
    EXPECT_EQ(audio_->last_listener().position, (Vec3{0, 0, 0}));

    listener_->commitDeferredSettings();
    listener_->getPosition(lp);
    b3->getPosition(bp);
    EXPECT_EQ(lp.z, 3.0f);
    EXPECT_EQ(bp.z, 6.0f);
    EXPECT_EQ(audio_->last_listener().position, (Vec3{1, 2, -3}));
    EXPECT_EQ(audio_->last_settings(source).position, (Vec3{4, 5, -6}));
}

TEST_F(DirectSoundTest, AnImmediateCallIsNotUndoneByALaterCommit) {
    auto b3 = load(tone_, k3d)->getDirectSound3dBuffer();
    b3->setPosition(1, 1, 1, dx::DS3D_DEFERRED);
    b3->setConeOutsideVolume(-100, dx::DS3D_DEFERRED);
    b3->setPosition(9, 9, 9, dx::DS3D_IMMEDIATE);
    listener_->commitDeferredSettings();
    D3DVECTOR p;
    b3->getPosition(p);
    EXPECT_EQ(p.x, 9.0f);
    EXPECT_EQ(b3->getConeOutsideVolume(), -100);
}

TEST_F(DirectSoundTest, ListenerRolloffReachesEvery3dBuffer) {
    auto buf = load(tone_, k3d);
    const int source = created_source();
    listener_->setRolloffFactor(2.5f, dx::DS3D_IMMEDIATE);
    EXPECT_EQ(audio_->last_settings(source).rolloff, 2.5f);
}

TEST_F(DirectSoundTest, ControlsNeedTheirFlags) {
    auto plain = load(tone_, dx::DSBCAPS_STATIC);
    try {
        plain->setVolume(-100);
        ADD_FAILURE();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), platform::DSERR_CONTROLUNAVAIL);
    }
    EXPECT_THROW(load(tone_, k2d)->getDirectSound3dBuffer(), tarko::RuntimeError);
    EXPECT_THROW(load(tone_, k3d)->getDirectSound3dListener(), tarko::RuntimeError);
    DSBUFFERDESC not_primary;
    WAVEFORMATEX fmt;
    EXPECT_THROW(ds_->createSoundBuffer(not_primary, fmt), tarko::RuntimeError);
}

TEST_F(DirectSoundTest, StereoIsFoldedToMonoOnlyFor3dBuffers) {
    load(stereo_, k2d);
    load(stereo_, k3d);
    ASSERT_EQ(audio_->created.size(), 2u);
    EXPECT_EQ(audio_->created[0].channels, 2);
    EXPECT_EQ(audio_->created[1].channels, 1);
}

TEST_F(DirectSoundTest, StatusFollowsTheClockAndLooping) {
    auto buf = load(tone_, k2d);  // 500 ms
    EXPECT_EQ(buf->getStatus(), 0);
    buf->play(0);
    EXPECT_EQ(buf->getStatus(), DSBSTATUS_PLAYING);
    services_.clock().advance(300);
    buf->stop();  // 300 ms in
    services_.clock().advance(1000);
    EXPECT_EQ(buf->getStatus(), 0);
    buf->play(0);  // resumes: 200 ms left
    services_.clock().advance(199);
    EXPECT_EQ(buf->getStatus(), DSBSTATUS_PLAYING);
    services_.clock().advance(1);
    EXPECT_EQ(buf->getStatus(), 0);
    buf->play(dx::DSBPLAY_LOOPING);
    services_.clock().advance(10'000);
    EXPECT_EQ(buf->getStatus(), DSBSTATUS_PLAYING | DSBSTATUS_LOOPING);
    buf->stop();
    EXPECT_EQ(buf->getStatus(), 0);
}

TEST_F(DirectSoundTest, ReleasingTheLastReferenceFreesTheSource) {
    auto buf = load(tone_, k3d);
    auto b3 = buf->getDirectSound3dBuffer();
    buf.reset();
    EXPECT_EQ(audio_->calls.back().what, "apply");  // the 3D interface still holds it
    b3.reset();
    EXPECT_EQ(audio_->calls.back().what, "destroy");
}

TEST_F(DirectSoundTest, BadFilesRaiseClearErrors) {
    try {
        load("/nonexistent/none.wav", k2d);
        ADD_FAILURE();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), tarko::err::FileNotFound);
    }
    auto wav = make_tone_wav(440, 0.1, 8000);
    wav.resize(wav.size() / 2);
    const auto cut = write_file(dir_, "cut.wav", wav);
    try {
        load(cut, k2d);
        ADD_FAILURE();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), platform::DSERR_BADFORMAT);
        EXPECT_NE(e.description().find("RIFF size"), std::string::npos) << e.description();
    }
}

TEST(DirectSoundCreate, FailsWithNoDriverWhenThereIsNoBackend) {
    ScopedAudioFactory none([] { return std::shared_ptr<AudioBackend>(); });
    try {
        DirectX7().directSoundCreate("");
        ADD_FAILURE();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), platform::DSERR_NODRIVER);
    }
}

TEST(DirectSoundCreate, SilentBackendStillOpens) {
    ScopedAudioFactory silent([] { return std::make_shared<SilentAudio>(); });
    auto ds = DirectX7().directSoundCreate("");
    EXPECT_EQ(ds->backend()->name(), "silent");
}
