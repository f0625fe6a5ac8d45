// Cube builders, RenderCUBE's draw calls, and a lit, textured cube rendered
// headless at 160x120. Start-up field of view 3.1456978454 / 4 = 0.786424
// rad, so s = cot(0.393212) = 2.41072 on both axes: a point at eye depth d
// lands on column 80 + 80 s x / d and row 60 - 60 s y / d.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "support/engine_test_support.h"
#include "platform/constants.h"
#include "platform/pixel_format.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

class Cubes : public EngineFixture {
protected:
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
    // Edge-2 cube turned by `yaw` degrees, eye at z = -5 on the origin, one
    // directional light, a texture of one colour; white material without
    // ambient: a face shows texture x (N.L).
    void draw_lit_cube(const D3DVECTOR& light, std::uint32_t rgb, double yaw) {
        open(160, 120);
        engine.device_CLEAR_COLOR = 0x000040;
        engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
        engine.USE_default_RENDERSTATE();
        engine.SetMaterial(D3DCOLORVALUE{1, 1, 1, 1}, D3DCOLORVALUE{0, 0, 0, 0});
        engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0}, D3DCOLORVALUE{1, 1, 1, 1}, 0,
                         light);
        engine.CreateCube(cube, 2);
        engine.D3D_DEV->setTexture(0, plain(rgb));
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        engine.OBJECT_rotate(Variant(0.0), Variant(yaw), Variant(0.0));
        engine.RenderCUBE(cube);
        engine.CLearMATRIX();
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
    }
    std::uint32_t at(int x, int y) const { return window->frame().at(x, y) & 0xFFFFFFu; }
    // Whether each channel of pixel (x, y) lies within `tolerance` of rgb's.
    bool near(int x, int y, std::uint32_t rgb, int tolerance) const {
        for (int shift : {0, 8, 16}) {
            const int got = static_cast<int>((at(x, y) >> shift) & 255), want = static_cast<int>((rgb >> shift) & 255);
            if (std::abs(got - want) > tolerance) return false;
        }
        return true;
    }

    SafeArray<D3DVERTEX> cube;
};

TEST_F(Cubes, CreateCubeIsCreateCubeEXWithDefaultTilesAndEXHalvesEachAxis) {
    SafeArray<D3DVERTEX> b;
    engine.CreateCube(cube, 2);
    engine.CreateCubeEX(b, D3DVECTOR{2, 2, 2}, Variant::missing(), Variant::missing());
    ASSERT_EQ(cube.UBound(), 23);
    EXPECT_EQ(std::memcmp(cube.data(), b.data(), 24 * sizeof(D3DVERTEX)), 0);
    engine.CreateCubeEX(b, D3DVECTOR{4, 6, 10}, Variant("3"), Variant(0.5));
    // Element 19: (Bx, Ay, Bz) = (2, -3, 5) on the +x face with (TX, TY).
    const D3DVERTEX& e = b(19);
    EXPECT_EQ((std::vector<float>{e.x, e.y, e.z, e.tu, e.tv}), (std::vector<float>{2, -3, 5, 3, 0.5f}));
}

TEST_F(Cubes, RenderCubeDrawsSixStripsOfFourAndStopsAtTheFirstMissingStart) {
    const std::string draw = "Direct3DDevice7.drawPrimitive 5, 274, 4, 0";
    engine.CreateCube(cube, 2);
    EXPECT_EQ(error_of([&] { engine.RenderCUBE(cube); }), err::ObjectNotSet);  // before start-up
    open();
    engine.RenderCUBE(cube);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7."), Calls(6, draw));
    EXPECT_TRUE(platform::trace().matching("DirectDraw").empty());

    platform::trace().clear();
    SafeArray<D3DVERTEX> v(0, 12);  // starts 0, 4, 8, 12 exist; 16 does not
    EXPECT_EQ(error_of([&] { engine.RenderCUBE(v); }), err::SubscriptOutOfRange);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7."), Calls(4, draw));
}

TEST_F(Cubes, LitTexturedCubeFillsTheMiddleAndLeavesTheCorners) {
    // Edge 2 at the origin, eye at z = -5: the -z face at depth 4 spans
    // columns 80 -+ 80 s / 4 = 31.8..128.2 and rows 23.8..96.2. Light along
    // +z meets that face head on: N.L = 1, so it shows the texture's yellow.
    draw_lit_cube(D3DVECTOR{0, 0, 1}, 0xFFFF00, 0);
    for (auto [x, y] : {std::pair{80, 60}, {34, 26}, {126, 94}})
        EXPECT_TRUE(near(x, y, 0xFFFF00, 2)) << x << ", " << y << ": " << std::hex << at(x, y);
    for (auto [x, y] : {std::pair{0, 0}, {29, 60}, {131, 60}, {80, 21}, {80, 99}})
        EXPECT_EQ(at(x, y), 0x000040u) << x << ", " << y;
}

TEST_F(Cubes, TheLitSideIsBrighterThanTheUnlitSide) {
    // Turned 45 degrees about y, the cube shows two faces meeting at column
    // 80, with world normals (-0.707, 0, -0.707) on the left and (0.707, 0,
    // -0.707) on the right. Light travelling +x: N.L = 0.707 on the left, so
    // 255 x 0.7071 = 180.3; the right face faces away and, with no ambient
    // term, is black. Column 60 meets the left face at depth 4.0, x = -0.41.
    draw_lit_cube(D3DVECTOR{1, 0, 0}, 0xFFFFFF, 45);
    EXPECT_TRUE(near(60, 60, 0xB4B4B4, 3)) << std::hex << at(60, 60);   // 180 = 0xB4
    EXPECT_TRUE(near(100, 60, 0, 1)) << std::hex << at(100, 60);
}
