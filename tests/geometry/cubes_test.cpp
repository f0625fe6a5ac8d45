// Cube builders, RenderCUBE's draw calls, and lit, textured, fogged cubes
// rendered headless at 160x120. Start-up field of view 3.1456978454 / 4 =
// 0.786424 rad, so s = cot(0.393212) = 2.41072 on both axes, near 1: a point
// at eye depth d lands on column 80 + 80 s x / d and row 60 - 60 s y / d.
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "support/engine_test_support.h"
#include "platform/constants.h"
#include "platform/pixel_format.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

namespace {

const std::string kDraw = "Direct3DDevice7.drawPrimitive 5, 274, 4, 0";

int red(std::uint32_t c) { return static_cast<int>((c >> 16) & 255); }
int green(std::uint32_t c) { return static_cast<int>((c >> 8) & 255); }
int blue(std::uint32_t c) { return static_cast<int>(c & 255); }

}  // namespace

class CubeBuilders : public EngineFixture {};

TEST_F(CubeBuilders, CreateCubeIsCreateCubeEXWithDefaultTilesAndEXHalvesEachAxis) {
    SafeArray<D3DVERTEX> a, b;
    engine.CreateCube(a, 2);
    engine.CreateCubeEX(b, D3DVECTOR{2, 2, 2}, Variant::missing(), Variant::missing());
    ASSERT_EQ(a.UBound(), 23);
    EXPECT_EQ(std::memcmp(a.data(), b.data(), 24 * sizeof(D3DVERTEX)), 0);
    engine.CreateCubeEX(a, D3DVECTOR{4, 6, 10}, Variant("3"), Variant(0.5));
    // Element 19: (Bx, Ay, Bz) = (2, -3, 5) on the +x face with (TX, TY).
    EXPECT_EQ(a(19).x, 2.0f); EXPECT_EQ(a(19).y, -3.0f); EXPECT_EQ(a(19).z, 5.0f);
    EXPECT_EQ(a(19).tu, 3.0f); EXPECT_EQ(a(19).tv, 0.5f);
}

class Cubes : public EngineFixture {
protected:
    static constexpr int kW = 160, kH = 120;
    static constexpr Long kBackground = 0x000040;   // dark blue, in the 8888 back buffer

    void open() {
        EngineFixture::open(kW, kH);
        ASSERT_TRUE(engine.D3D_DEV);
        engine.device_CLEAR_COLOR = kBackground;
    }
    // Edge-2 cube, eye at z = -5 on the origin, one directional light, a texture
    // of one colour; white material without ambient: a face shows texture x (N.L).
    void scene(const D3DVECTOR& light, std::uint32_t rgb) {
        open();
        engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
        engine.USE_default_RENDERSTATE();
        engine.SetMaterial(D3DCOLORVALUE{1, 1, 1, 1}, D3DCOLORVALUE{0, 0, 0, 0});
        engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0},
                         D3DCOLORVALUE{1, 1, 1, 1}, 0, light);
        engine.CreateCube(cube, 2);
        engine.D3D_DEV->setTexture(0, plain(rgb));
    }
    // A 4 x 4 texture of one opaque colour in the device's first format.
    Ref<DirectDrawSurface7> plain(std::uint32_t rgb) {
        DDPIXELFORMAT pf;
        engine.D3D_DEV->getTextureFormatsEnum()->getItem(1, pf);
        DDSURFACEDESC2 desc;
        desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
        desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
        desc.lWidth = desc.lHeight = 4;
        desc.ddpfPixelFormat = pf;
        auto tex = engine.ddraw->createSurface(desc);
        const platform::PixelFormat format(pf);
        tex->lock(RECT{}, desc, 0, 0);
        const auto texel = static_cast<Long>(format.from_argb(0xFF000000u | rgb));
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) tex->setLockedPixel(x, y, texel);
        tex->unlock(RECT{});
        return tex;
    }
    void frame(const std::function<void()>& draw) {
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        draw();
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
    }
    std::uint32_t at(int x, int y) const { return window->frame().at(x, y); }
    void expect_rgb(int x, int y, int r, int g, int b, int tolerance = 2) {
        const std::uint32_t c = at(x, y);
        SCOPED_TRACE("at " + std::to_string(x) + ", " + std::to_string(y));
        EXPECT_NEAR(red(c), r, tolerance); EXPECT_NEAR(green(c), g, tolerance); EXPECT_NEAR(blue(c), b, tolerance);
    }

    SafeArray<D3DVERTEX> cube;
};

TEST_F(Cubes, RenderCubeDrawsSixStripsOfFourAndStopsAtTheFirstMissingStart) {
    engine.CreateCube(cube, 2);
    EXPECT_EQ(error_of([&] { engine.RenderCUBE(cube); }), err::ObjectNotSet);  // before start-up
    open();
    engine.RenderCUBE(cube);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7."), Calls(6, kDraw));
    EXPECT_TRUE(platform::trace().matching("DirectDraw").empty());

    platform::trace().clear();
    SafeArray<D3DVERTEX> v(0, 12);  // starts 0, 4, 8, 12 exist; 16 does not
    EXPECT_EQ(error_of([&] { engine.RenderCUBE(v); }), err::SubscriptOutOfRange);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7."), Calls(4, kDraw));
}

TEST_F(Cubes, LitTexturedCubeFillsTheMiddleAndLeavesTheCorners) {
    // Edge 2 at the origin, eye at z = -5: the -z face at depth 4 spans
    // columns 80 -+ 80 s / 4 = 31.8..128.2 and rows 23.8..96.2. Light along
    // +z meets that face head on: N.L = 1, so it shows the texture's yellow.
    scene(D3DVECTOR{0, 0, 1}, 0xFFFF00);
    frame([&] { engine.RenderCUBE(cube); });

    for (auto [x, y] : {std::pair{80, 60}, {34, 26}, {126, 94}}) expect_rgb(x, y, 255, 255, 0);
    for (auto [x, y] : {std::pair{0, 0}, {29, 60}, {131, 60}, {80, 21}, {80, 99}})
        EXPECT_EQ(at(x, y), static_cast<std::uint32_t>(kBackground)) << "at " << x << ", " << y;
}

TEST_F(Cubes, TheLitSideIsBrighterThanTheUnlitSide) {
    // Turned 45 degrees about y, the cube shows two faces meeting at column
    // 80, with world normals (-0.707, 0, -0.707) on the left and (0.707, 0,
    // -0.707) on the right. Light travelling +x: N.L = 0.707 on the left, so
    // 255 x 0.7071 = 180.3; the right face faces away and, with no ambient
    // term, is black. Column 60 meets the left face at depth 4.0, x = -0.41.
    scene(D3DVECTOR{1, 0, 0}, 0xFFFFFF);
    frame([&] {
        engine.OBJECT_rotate(Variant(0.0), Variant(45.0), Variant(0.0));
        engine.RenderCUBE(cube);
        engine.CLearMATRIX();
    });
    expect_rgb(60, 60, 180, 180, 180, 3);
    expect_rgb(100, 60, 0, 0, 0, 1);
    EXPECT_GT(red(at(60, 60)), red(at(100, 60)) + 150);
}

TEST_F(Cubes, FogPullsTheFarCubeTowardsTheFogColour) {
    // Linear fog from 0 to 30 towards blue. Red cubes lit head on: the near
    // one at (-1.5, 0, 0) has its front at depth 4, f = (30 - 4) / 30 =
    // 0.8667: (221, 0, 34). The far one at (4, 0, 15) has its front at depth
    // 19, f = 11 / 30 = 0.3667: (93.5, 0, 161.5), on columns 110..131, rows
    // 52..68. Fog is per vertex on eye depth, flat over each front face.
    scene(D3DVECTOR{0, 0, 1}, 0xFF0000);
    engine.SetFog_EX(Variant(0.0), Variant(30.0), 0.001, 0x0000FF);
    frame([&] {
        engine.OBJECT_move(Variant(-1.5), Variant(0.0), Variant(0.0));
        engine.RenderCUBE(cube);
        engine.OBJECT_move(Variant(4.0), Variant(0.0), Variant(15.0));
        engine.RenderCUBE(cube);
        engine.CLearMATRIX();
    });
    expect_rgb(30, 60, 221, 0, 34);
    expect_rgb(120, 60, 94, 0, 162);
    EXPECT_GT(blue(at(120, 60)), blue(at(30, 60)));
    EXPECT_LT(red(at(120, 60)), red(at(30, 60)));
    EXPECT_EQ(at(0, 0), static_cast<std::uint32_t>(kBackground));   // clears are not fogged
}

