// The frame cycle: the two frame-rate measures and the frame time on a
// manual clock, the console layout, presenting and its failure, FreeDX.
#include "engine_test_support.h"
#include "platform/constants.h"
#include "platform/status.h"

using namespace tarko;
using tarko::test::EngineFixture;

class FrameClock : public EngineFixture {};

TEST_F(FrameClock, ThirtyFrameRateAppearsAtTheSixtyFirstFlip) {
    tarko_DX7 engine;  // FLIPP needs only the window until a device is open
    const Long h = open_window(64, 64);
    for (int i = 1; i <= 60; ++i) {
        engine.FLIPP(h);
        EXPECT_EQ(engine.FramesPerSec(), 0.0f) << "flip " << i;
        services.clock().advance(20);
    }
    engine.FLIPP(h);
    // Flips 31 and 61 are 30 frames of 20 ms apart: 30 / 0.6 s = 50, within the
    // resolution of a Single holding seconds since midnight.
    EXPECT_NEAR(engine.FramesPerSec(), 50.0f, 0.5f);
}

TEST_F(FrameClock, FrameTimeIsMillisecondsPlusOne) {
    tarko_DX7 engine;
    const Long h = open_window(64, 64);
    services.clock().now = 5000;
    engine.FLIPP(h);
    EXPECT_EQ(engine.NBFrame.to_long(), 5001);  // the first step is measured from tick 0
    services.clock().advance(20);
    engine.FLIPP(h);
    EXPECT_EQ(engine.NBFrame.to_long(), 21);
    EXPECT_EQ(engine.ElapseFrame(), 21.0f);
    engine.FLIPP(h);  // two frames in one tick
    EXPECT_EQ(engine.ElapseFrame(), 1.0f);
}

TEST_F(FrameClock, SecondRateIsWholeAndHeldBetweenMeasures) {
    tarko_DX7 engine;
    const Long h = open_window(64, 64);
    std::vector<float> rates;
    for (int i = 0; i < 120; ++i) {
        engine.FLIPP(h);
        rates.push_back(engine.ImparSeconde());
        services.clock().advance(20);
    }
    // Flips at 0, 20, ..., 1020 ms: the 52nd sees 1020 - 1000 > 0 and measures
    // Int(52 / 1.02) = 50.
    for (int i = 0; i < 51; ++i) EXPECT_EQ(rates[static_cast<std::size_t>(i)], 0.0f);
    EXPECT_EQ(rates[51], 50.0f);
    for (int i = 52; i < 103; ++i) EXPECT_EQ(rates[static_cast<std::size_t>(i)], 50.0f);
}

TEST_F(FrameClock, ResizedWindowChangesTheSizeFieldsButNotTheViewport) {
    tarko_DX7 engine;
    const Long h = open_window(300, 200);
    engine.Initialize_Windowed(h);
    engine.lWidth = 7;  // a host may overwrite it; the next FLIPP writes it back
    window->resize(400, 250);
    engine.FLIPP(h);
    EXPECT_EQ(engine.lWidth, 400);
    EXPECT_EQ(engine.lheight, 250);
    D3DVIEWPORT7 vp;
    engine.D3D_DEV->getViewport(vp);
    EXPECT_EQ(vp.lWidth, 300);
    EXPECT_EQ(vp.lHeight, 200);
}

class Console : public EngineFixture {};

TEST_F(Console, SecondColumnOpensWhenTheFirstPassesTheWindowBottom) {
    tarko_DX7 engine;
    const Long h = open_window(300, 200);
    engine.Initialize_Windowed(h);  // nine start-up lines
    for (int i = 10; i <= 15; ++i) engine.WriteLOG("line " + std::to_string(i), h);
    trace.entries();
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

TEST_F(Console, LinesShowInWhiteOnBlackInThePresentedFrame) {
    tarko_DX7 engine;
    const Long h = open_window(320, 200);
    engine.Initialize_Windowed(h);
    const auto& frame = window->frame();
    // Line 1 stands at (10, 25): some white pixels there, black at the margin.
    int white = 0;
    for (int y = 25; y < 38; ++y)
        for (int x = 10; x < 200; ++x) white += frame.at(x, y) == 0xFFFFFFu;
    EXPECT_GT(white, 100);
    EXPECT_EQ(frame.at(2, 2), 0u);
    EXPECT_EQ(frame.at(5, 30), 0u);
}

TEST_F(Console, FullscreenConsoleHasNoBackRectangle) {
    tarko_DX7 engine;
    const Long h = open_window(640, 480);
    engine.Initialize_fullscreen(h);
    platform::trace().clear();
    engine.WriteLOG("", h);
    const auto texts = platform::trace().matching("DirectDrawSurface7.drawText");
    ASSERT_GE(texts.size(), 2u);
    // BackRect is only set windowed: the first line goes to (10, 25), the
    // others to (0, 15 i + 10).
    EXPECT_EQ(texts[0].rfind("DirectDrawSurface7.drawText 10, 25,", 0), 0u);
    EXPECT_EQ(texts[1].rfind("DirectDrawSurface7.drawText 0, 40,", 0), 0u);
}

class Present : public EngineFixture {};

TEST_F(Present, WindowedBlitFailureShowsTheStatusInHexadecimal) {
    tarko_DX7 engine;
    const Long h = open_window(64, 48);
    engine.Initialize_Windowed(h);
    engine.Prim->force_blt_status(platform::DDERR_SURFACELOST);
    engine.FLIPP(h);
    ASSERT_EQ(services.messages().size(), 1u);
    EXPECT_EQ(services.messages()[0].text,
              "Couldn't copy the source rectangle to the destination surface.\r887601C2");
}

TEST_F(Present, ClearedFrameReachesTheWindowStretchedAfterAResize) {
    tarko_DX7 engine;
    const Long h = open_window(64, 48);
    engine.Initialize_Windowed(h);
    engine.device_CLEAR_COLOR = 0x00FF8000;
    engine.Clear_3D();
    window->resize(128, 96);
    engine.FLIPP(h);
    EXPECT_EQ(window->frame().at(127, 95), 0xFF8000u);
    EXPECT_EQ(window->frame().at(0, 0), 0xFF8000u);
}

TEST_F(Present, FullscreenFlipShowsTheBackBuffer) {
    tarko_DX7 engine;
    const Long h = open_window(640, 480);
    engine.Initialize_fullscreen(h, 320, 240, 32);
    engine.device_CLEAR_COLOR = 0x000000FF;
    engine.Clear_3D();
    engine.FLIPP(h);
    EXPECT_EQ(window->frame().at(160, 120), 0x0000FFu);
    engine.Prim->set_lost(true);
    EXPECT_EQ(error_of([&] { engine.FLIPP(h); }), platform::DDERR_SURFACELOST);
}

class Release : public EngineFixture {};

TEST_F(Release, FreeDXReleasesInOrderAndKeepsTheRest) {
    tarko_DX7 engine;
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
    EXPECT_TRUE(engine.BAK);
    EXPECT_TRUE(engine.d3d);
    EXPECT_TRUE(engine.DX_7);
    EXPECT_TRUE(engine.Dinput_DEV);
    // A second FreeDX meets the released draw object.
    EXPECT_EQ(error_of([&] { engine.FreeDX(h); }), err::ObjectNotSet);
}

TEST_F(Release, FreeDXOnAnUnopenedEngineDoesNothing) {
    tarko_DX7 engine;
    engine.FreeDX(0);
    EXPECT_TRUE(trace.entries().empty());
    EXPECT_EQ(engine.wType, NOt_init);
}
