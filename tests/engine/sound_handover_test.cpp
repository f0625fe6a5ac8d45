// FLIPP moves a listener that a host handed over to the camera, deferred.
#include "support/engine_test_support.h"
#include "platform/constants.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/dsound.h"

using namespace tarko;
using tarko::test::EngineFixture;

class SoundHandover : public EngineFixture {};

TEST_F(SoundHandover, ListenerFollowsTheCameraOnlyOnceCommittedAndFreeDXReleasesTheSound) {
    engine.Initialize_Windowed(open_window(64, 48));
    auto audio = std::make_shared<platform::sound::RecordingAudio>();
    engine.DsounD = Ref<DirectSound>(std::make_shared<DirectSound>(audio));
    DSBUFFERDESC desc;
    desc.lFlags = dx::DSBCAPS_PRIMARYBUFFER | dx::DSBCAPS_CTRL3D;
    WAVEFORMATEX format;
    auto listener = engine.DsounD->createSoundBuffer(desc, format)->getDirectSound3dListener();
    engine.DS_Listener = listener;
    engine.FLIPP(hwnd);
    // Deferred: nothing reaches the device until the host commits.
    EXPECT_EQ(audio->last_listener().at, (platform::sound::Vec3{0, 0, -1}));
    listener->commitDeferredSettings();
    // Camera angle 0: front (cos 0, sin 0, sin 0) = (1, 0, 0), top (0, 1, 0), eye at the origin.
    EXPECT_EQ(audio->last_listener().at, (platform::sound::Vec3{1, 0, 0}));
    EXPECT_EQ(audio->last_listener().up, (platform::sound::Vec3{0, 1, 0}));
    EXPECT_EQ(audio->last_listener().position, (platform::sound::Vec3{0, 0, 0}));
    engine.FreeDX(hwnd);
    EXPECT_FALSE(engine.DsounD);
}
