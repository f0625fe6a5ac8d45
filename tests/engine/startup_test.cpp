// Device start-up: call order on the platform, console lines, fallbacks and
// the failures a host can provoke.
#include "support/engine_test_support.h"
#include "platform/constants.h"
#include "platform/profile.h"
#include "platform/status.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {
// Index of each prefix in the trace, each searched after the previous one; -1 when missing.
std::vector<int> positions(const std::vector<std::string>& prefixes) {
    std::vector<int> out;
    int from = 0;
    for (const auto& p : prefixes) {
        const int at = platform::trace().find(p, from);
        out.push_back(at);
        if (at >= 0) from = at + 1;
    }
    return out;
}

std::vector<std::string> last_console(const std::vector<std::string>& trace) {
    // The lines drawn by the last redraw: the drawText calls after the last fill.
    std::vector<std::string> lines;
    for (const auto& e : trace) {
        if (e.rfind("DirectDrawSurface7.bltColorFill", 0) == 0) lines.clear();
        if (e.rfind("DirectDrawSurface7.drawText", 0) == 0) lines.push_back(e);
    }
    return lines;
}
}  // namespace

class Startup : public EngineFixture {};

TEST_F(Startup, WindowedOpensInTheOrderOfTheDrawInputAndDeviceObjects) {
    EXPECT_FALSE(engine.Initialize_Windowed(open_window(300, 200)));  // no path sets the result
    EXPECT_EQ(engine.wType, Windowed);
    ASSERT_TRUE(engine.D3D_DEV);
    EXPECT_EQ(engine.MEMORY, 2048);  // no hardware device: the software one
    EXPECT_TRUE(engine.Check_Mouse_cam);

    const auto h = std::to_string(hwnd);
    const auto at = positions({
        "DirectX7.directDrawCreate \"\"",
        "DirectDraw7.setCooperativeLevel " + h + ", 8",
        "DirectDraw7.createSurface 1, 512",
        "DirectX7.getWindowRect " + h,
        "DirectDraw7.createSurface 7, 8256, 300, 200",
        "DirectDraw7.createClipper 0",
        "DirectDrawClipper.setHWnd " + h,
        "DirectDrawSurface7.setClipper",
        "DirectX7.directInputCreate",
        "DirectInput.createDevice \"GUID_SysKeyboard\"",
        "DirectInputDevice.setCommonDataFormat 1",
        "DirectInputDevice.setCooperativeLevel " + h + ", 10",
        "DirectInputDevice.acquire \"GUID_SysKeyboard\"",
        "DirectInput.createDevice \"GUID_SysMouse\"",
        "DirectInputDevice.setCooperativeLevel 0, 10",  // the mouse gets handle 0
        "DirectDrawSurface7.getSurfaceDesc",
        "DirectDraw7.getDirect3D",
        "DirectDraw7.getDisplayMode",
        "Direct3D7.getEnumZBufferFormats \"IID_IDirect3DHALDevice\"",
        "DirectDraw7.createSurface 4103, " + std::to_string(0x20000 + 0x4000) + ", 300, 200",
        "DirectDrawSurface7.addAttachedSurface",
        "Direct3D7.createDevice \"IID_IDirect3DHALDevice\"",
        "Direct3D7.createDevice \"IID_IDirect3DRGBDevice\"",
        "Direct3DDevice7.setViewport 0, 0, 300, 200, 0, 1",
        "Direct3DDevice7.setMaterial 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 0",  // specular, emissive = ambient
        "Direct3DDevice7.setRenderState 139, -1",
        "Direct3DDevice7.setTransform 3",
        "Direct3DDevice7.setTextureStageState 0, 2, 2",
        "Direct3DDevice7.setTextureStageState 0, 3, 0",
        "Direct3DDevice7.setTextureStageState 0, 1, 4",
        "Direct3DDevice7.setTextureStageState 0, 4, 2",
        "Direct3DDevice7.setTextureStageState 0, 5, 2",
        "Direct3DDevice7.setTextureStageState 0, 17, 2",
        "Direct3DDevice7.setTextureStageState 0, 16, 2",
        "Direct3DDevice7.setRenderState 26, -1",
        "Direct3DDevice7.getCaps",
    });
    for (std::size_t i = 0; i < at.size(); ++i) EXPECT_GE(at[i], 0) << "step " << i << " missing or out of order";
}

TEST_F(Startup, ConsoleHoldsTheStartupLinesInOrder) {
    engine.Initialize_Windowed(open_window(300, 200));
    const auto lines = last_console(trace.entries());
    const std::vector<std::string> expected = {
        "Direct Draw en mode fenetré est activé....",
        "Direct input est activé....",
        "Zbuffer trouvé et activé....",
        "Zbuffer attaché ....",
        "Direct3D activé....",
        "Viewport DE  300 x  200 Activé.....",  // Str puts a blank before each number
        "matériel de rendu créé et activé....",
        "Matrix de projection activé....",
        "Mélange Alpha autorisé.......True",
    };
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto y = 15 * static_cast<int>(i + 1) + 10;
        EXPECT_EQ(lines[i], "DirectDrawSurface7.drawText 10, " + std::to_string(y) + ", \"" + expected[i] + "\", False");
    }
}

TEST_F(Startup, FullscreenDefaultsTo640x480At16BitsAndReturnsTrue) {
    EXPECT_TRUE(engine.Initialize_fullscreen(open_window(320, 240)));
    EXPECT_EQ(engine.wType, FullScreeen);
    EXPECT_EQ(engine.BAK->width(), 640);
    EXPECT_EQ(engine.BAK->format().bits(), 16);
    EXPECT_GE(platform::trace().find("DirectDraw7.setDisplayMode 640, 480, 16, 0, 0"), 0);
}

TEST_F(Startup, EightBitDisplayShowsTheMessageOnceAndBuildsNoDevice) {
    engine.Initialize_Windowed(open_window(300, 200, 8));
    ASSERT_EQ(services.messages().size(), 1u);
    EXPECT_EQ(services.messages()[0].text,
              "This application does not support screen display modes lower than 16-bit.");
    EXPECT_FALSE(engine.D3D_DEV);
}

TEST_F(Startup, BadHandlesAndSizesRaiseTheDrawStatus) {
    EXPECT_EQ(error_of([&] { engine.WriteLOG("early", 0); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.Clear_3D(); }), 0);  // resume-next: never raises
    EXPECT_EQ(error_of([&] { engine.Initialize_Windowed(424242); }), platform::DDERR_INVALIDPARAMS);
    tarko_DX7 zero_size;
    EXPECT_EQ(error_of([&] { zero_size.Initialize_Windowed(open_window(0, 0)); }), platform::DDERR_INVALIDPARAMS);
}
