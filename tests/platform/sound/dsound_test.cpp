// DirectSound objects over the recording backend: what reaches the audio
// layer (z negated, gains from hundredths of a decibel), deferred settings,
// range and control checks, status on the clock; and real output through
// OpenAL Soft's loopback device.
#include <gtest/gtest.h>

#include <cmath>

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
using tarko::test::error_of;

namespace {

class DirectSoundTest : public ::testing::Test {
protected:
    void SetUp() override {
        tone_ = tarko::test::write_file(dir_ / "tone.wav", make_tone_wav(440, 0.5, 8000));  // 4000 frames, 500 ms
        ds_ = DirectX7().directSoundCreate("");
        ds_->setCooperativeLevel(1, dx::DSSCL_PRIORITY);
        DSBUFFERDESC desc;
        desc.lFlags = dx::DSBCAPS_PRIMARYBUFFER | dx::DSBCAPS_CTRL3D;
        WAVEFORMATEX fmt;
        listener_ = ds_->createSoundBuffer(desc, fmt)->getDirectSound3dListener();
    }
    tarko::Ref<DirectSoundBuffer> load(const std::string& file, tarko::Long flags) {
        DSBUFFERDESC desc;
        desc.lFlags = flags;
        WAVEFORMATEX fmt;
        return ds_->createSoundBufferFromFile(file, desc, fmt);
    }
    SourceSettings settings() const {
        for (const auto& c : audio_->calls)
            if (c.what == "create") return audio_->last_settings(c.source);
        return {};
    }

    tarko::runtime::ScopedTestServices services_;
    std::shared_ptr<RecordingAudio> audio_ = std::make_shared<RecordingAudio>();
    ScopedAudioFactory factory_{[this] { return audio_; }};
    std::filesystem::path dir_ = tarko::test::scratch_dir("dsound");
    std::string tone_;
    tarko::Ref<DirectSound> ds_;
    tarko::Ref<DirectSound3DListener> listener_;
};

constexpr tarko::Long k3d = 242, k2d = 226;

}  // namespace

TEST_F(DirectSoundTest, VolumesBecomeGainsAndZIsNegated) {
    auto buf = load(tone_, k3d);
    buf->setVolume(-8750);  // 10^(-8750/2000) = 10^(-4.375) = 4.2170e-5
    EXPECT_NEAR(settings().gain, 4.2169650e-5, 4.2169650e-5 * 1e-5);
    auto b3 = buf->getDirectSound3dBuffer();
    b3->setConeOutsideVolume(-400, dx::DS3D_IMMEDIATE);
    EXPECT_NEAR(settings().outer_gain, 0.630957, 1e-6);  // 10^(-400/2000) = 10^-0.2
    EXPECT_EQ(settings().direction, (Vec3{0, 0, -1}));  // cone orientation (0, 0, 1), z negated
}

TEST_F(DirectSoundTest, OutOfRangeValuesAndMissingControlsAreRefused) {
    auto buf = load(tone_, k3d);
    auto b3 = buf->getDirectSound3dBuffer();
    EXPECT_EQ(error_of([&] { buf->setVolume(1); }), platform::DSERR_INVALIDPARAM);
    EXPECT_EQ(error_of([&] { buf->setVolume(-10001); }), platform::DSERR_INVALIDPARAM);
    EXPECT_THROW(b3->setPosition(NAN, 0, 0, dx::DS3D_IMMEDIATE), tarko::RuntimeError);
    EXPECT_EQ(error_of([&] { load(tone_, dx::DSBCAPS_STATIC)->setVolume(-100); }), platform::DSERR_CONTROLUNAVAIL);
    EXPECT_THROW(load(tone_, k2d)->getDirectSound3dBuffer(), tarko::RuntimeError);
}

TEST_F(DirectSoundTest, DeferredSettingsWaitForTheCommitButImmediateOnesStand) {
    auto b3 = load(tone_, k3d)->getDirectSound3dBuffer();
    listener_->setPosition(1, 2, 3, dx::DS3D_DEFERRED);
    b3->setPosition(1, 1, 1, dx::DS3D_DEFERRED);
    b3->setPosition(9, 9, 9, dx::DS3D_IMMEDIATE);
    EXPECT_EQ(audio_->last_listener().position, (Vec3{0, 0, 0}));
    listener_->commitDeferredSettings();
    EXPECT_EQ(audio_->last_listener().position, (Vec3{1, 2, -3}));
    D3DVECTOR op;
    b3->getPosition(op);
    EXPECT_EQ(op.x, 9.0f);  // the later immediate call is not undone
}

TEST_F(DirectSoundTest, StatusFollowsTheClockAndLooping) {
    auto buf = load(tone_, k2d);  // 500 ms
    buf->play(0);
    services_.clock().advance(300);
    buf->stop();  // 300 ms in
    services_.clock().advance(1000);
    buf->play(0);  // resumes: 200 ms left
    services_.clock().advance(199);
    EXPECT_EQ(buf->getStatus(), DSBSTATUS_PLAYING);
    services_.clock().advance(1);
    EXPECT_EQ(buf->getStatus(), 0);
    buf->play(dx::DSBPLAY_LOOPING);
    services_.clock().advance(10'000);
    EXPECT_EQ(buf->getStatus(), DSBSTATUS_PLAYING | DSBSTATUS_LOOPING);
}

TEST(LoopbackRender, SourceOnTheLeftIsLouderOnTheLeft) {
    auto loopback = open_loopback_audio(44100);
    if (!loopback) GTEST_SKIP() << "no OpenAL loopback device";
    ScopedAudioFactory factory([&] { return std::static_pointer_cast<AudioBackend>(loopback); });
    const auto path =
        tarko::test::write_file(tarko::test::scratch_dir("loopback") / "tone.wav", make_tone_wav(440, 1.0, 22050));
    auto ds = DirectX7().directSoundCreate("");
    DSBUFFERDESC desc;
    desc.lFlags = dx::DSBCAPS_PRIMARYBUFFER | dx::DSBCAPS_CTRL3D;
    WAVEFORMATEX fmt;
    auto listener = ds->createSoundBuffer(desc, fmt)->getDirectSound3dListener();
    listener->setOrientation(0, 0, 1, 0, 1, 0, dx::DS3D_IMMEDIATE);  // facing +z, y up: -x is left
    desc.lFlags = k3d;
    auto buffer = ds->createSoundBufferFromFile(path, desc, fmt);
    buffer->getDirectSound3dBuffer()->setPosition(-2, 0, 0, dx::DS3D_IMMEDIATE);
    buffer->play(dx::DSBPLAY_LOOPING);
    std::vector<float> out(2 * 13230);  // 300 ms
    loopback->render(out);
    double left = 0, right = 0;
    for (std::size_t i = 0; i < out.size(); i += 2) {
        left += out[i] * out[i];
        right += out[i + 1] * out[i + 1];
    }
    EXPECT_GT(left, 1.0);  // audible: a sine of 0.5 over 13230 frames
    EXPECT_GT(left, 2 * right);
}
