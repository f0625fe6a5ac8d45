// The frame cycle: the two frame-rate measures and the frame time on a
// manual clock, the console layout, the blit failure, FreeDX, and the
// listener a host handed over, moved with the camera.
#include "support/engine_test_support.h"
#include "platform/constants.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/dsound.h"
#include "platform/status.h"

using namespace tarko;
using tarko::test::EngineFixture;

class Frame : public EngineFixture {};

TEST_F(Frame, RatesAtASteadyTwentyMilliseconds) {
    const Long h = open_window(64, 64);  // FLIPP needs only the window until a device is open
    std::vector<float> fps, whole;
    for (int i = 0; i < 120; ++i) {
        engine.FLIPP(h);
        fps.push_back(engine.FramesPerSec());
        whole.push_back(engine.ImparSeconde());
        services.clock().advance(20);
    }
    // Flips 31 and 61 are 30 frames of 20 ms apart: 30 / 0.6 s = 50, within the
    // resolution of a Single holding seconds since midnight.
    for (int i = 0; i < 60; ++i) EXPECT_EQ(fps[static_cast<std::size_t>(i)], 0.0f) << "flip " << i + 1;
    EXPECT_NEAR(fps[60], 50.0f, 0.5f);
    // Flips at 0, 20, ..., 1020 ms: the 52nd sees 1020 - 1000 > 0 and measures
    // Int(52 / 1.02) = 50, held until the next measure.
    for (int i = 0; i < 51; ++i) EXPECT_EQ(whole[static_cast<std::size_t>(i)], 0.0f);
    for (int i = 51; i < 103; ++i) EXPECT_EQ(whole[static_cast<std::size_t>(i)], 50.0f);
}

TEST_F(Frame, FrameTimeIsMillisecondsPlusOne) {
    const Long h = open_window(64, 64);
    services.clock().now = 5000;
    engine.FLIPP(h);
    EXPECT_EQ(engine.NBFrame.to_long(), 5001);  // the first step is measured from tick 0
    services.clock().advance(20);
    engine.FLIPP(h);
    EXPECT_EQ(engine.ElapseFrame(), 21.0f);
    engine.FLIPP(h);  // two frames in one tick
    EXPECT_EQ(engine.ElapseFrame(), 1.0f);
}

TEST_F(Frame, ConsoleOpensASecondColumnPastTheBottomOfA200HighWindow) {
    const Long h = open_window(300, 200);
    engine.Initialize_Windowed(h);  // nine start-up lines
    for (int i = 10; i <= 15; ++i) engine.WriteLOG("line " + std::to_string(i), h);
    platform::trace().clear();
    engine.WriteLOG("", h);  // adds nothing, redraws
    const auto texts = platform::trace().matching("DirectDrawSurface7.drawText");
    ASSERT_EQ(texts.size(), 15u);
    // Line 14: 15 * 14 - 15 = 195 <= 200, first column at y = 220 (off the
    // surface, clipped). Line 15: 210 > 200, second column at x = Int(300 / 2.7)
    // = 111, y = 225 + 10 - 200 = 35.
    EXPECT_EQ(texts[13], "DirectDrawSurface7.drawText 10, 220, \"line 14\", False");
    EXPECT_EQ(texts[14], "DirectDrawSurface7.drawText 111, 35, \"line 15\", False");
}

TEST_F(Frame, WindowedBlitFailureShowsTheStatusInHexadecimal) {
    const Long h = open_window(64, 48);
    engine.Initialize_Windowed(h);
    engine.Prim->force_blt_status(platform::DDERR_SURFACELOST);
    engine.FLIPP(h);
    ASSERT_EQ(services.messages().size(), 1u);
    EXPECT_EQ(services.messages()[0].text,
              "Couldn't copy the source rectangle to the destination surface.\r887601C2");
}

TEST_F(Frame, FreeDXReleasesInOrderAndKeepsTheRest) {
    engine.FreeDX(0);  // unopened: does nothing
    EXPECT_TRUE(trace.entries().empty());
    EXPECT_EQ(engine.wType, NOt_init);

    const Long h = open_window(64, 48);
    engine.Initialize_Windowed(h);
    platform::trace().clear();
    engine.FreeDX(h);
    const std::vector<std::string> expected = {
        "DirectDraw7.setCooperativeLevel " + std::to_string(h) + ", 8",
        "DirectDraw7.restoreDisplayMode",
        "tarko_DX7.release \"ZBuffer\"",
        "tarko_DX7.release \"D3D_DEV\"",
        "tarko_DX7.release \"Prim\"",
        "tarko_DX7.release \"ddraw\"",
        "DirectInputDevice.unacquire \"GUID_SysKeyboard\"",
        "DirectInputDevice.unacquire \"GUID_SysMouse\"",
        "tarko_DX7.release \"MouseDevice\"",
    };
    EXPECT_EQ(platform::trace().entries(), expected);
    EXPECT_EQ(engine.wType, Windowed);
    EXPECT_TRUE(engine.BAK && engine.d3d && engine.DX_7 && engine.Dinput_DEV);
    // A second FreeDX meets the released draw object.
    EXPECT_EQ(error_of([&] { engine.FreeDX(h); }), err::ObjectNotSet);
}

TEST_F(Frame, ListenerFollowsTheCameraOnlyOnceCommittedAndFreeDXReleasesTheSound) {
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
