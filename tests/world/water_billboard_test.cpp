// The water quad (corners, effect, texture scale, sway by the frame clock,
// collision, calls) and the billboard (calls and corners for a camera at a
// known heading), on a 6 x 6 grid at p = 10: the water is 60 by 60.
#include <cmath>
#include <sstream>
#include <string>

#include "world_helpers.h"
#include "platform/constants.h"
#include "support/engine_test_support.h"
#include "world/cTarko_landScape.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

class Water : public EngineFixture {
protected:
    void load() {
        const auto path = test::scratch_dir("water") / "flat.bmp";
        test::write_bmp(path, 60, 60, [](int, int) { return 0u; });
        land.INITIALIZE(engine);
        land.LoadTerrain(path.string(), Variant(10), Variant(1), 1, 1);
    }
    const D3DLVERTEX& corner(int k) const { return land.water_vertices()[static_cast<std::size_t>(k)]; }
    Calls water_calls() {
        platform::trace().clear();
        land.Water_Render();
        return device_calls();
    }
    cTarko_landScape land;
};

TEST_F(Water, LoadTerrainBuildsTheStripFromTheLocalOrigin) {
    load();
    struct Corner { float x, z, tu, tv; };
    const Corner expected[] = {{60, 0, 1, 1}, {0, 0, 0, 1}, {60, 60, 1, 0}, {0, 60, 0, 0}};
    for (int k = 1; k <= 4; ++k) {
        const Corner& e = expected[k - 1];
        const D3DLVERTEX& c = corner(k);
        EXPECT_EQ((std::vector<float>{c.x, c.y, c.z, c.tu, c.tv}), (std::vector<float>{e.x, 0, e.z, e.tu, e.tv})) << k;
        EXPECT_EQ((std::vector<std::int32_t>{c.color, c.specular}), (std::vector<std::int32_t>{-1, -1})) << k;   // opaque white
    }
}

TEST_F(Water, EffectAltitudeAndScaleChangeTheCorners) {
    load();
    land.SetWaterEffect(true);   // alpha 0.4 x 255 = 102 = 0x66, not animated
    land.SetWaterAltitude(12.5f);
    EXPECT_EQ((std::vector<std::int32_t>{corner(3).color, corner(3).specular}), (std::vector<std::int32_t>{0x66FFFFFF, -1}));
    EXPECT_EQ(corner(4).y, 12.5f);
    land.SetWaterTextureScale(4);   // 0/1 -> 0/4, then 0/16
    EXPECT_EQ((std::vector<float>{corner(1).tu, corner(2).tu}), (std::vector<float>{4, 0}));
    land.SetWaterTextureScale(4);
    EXPECT_EQ(corner(1).tv, 16);
    // Animated, the scale waits for the next draw.
    land.SetWaterEffect(false, 0.4f, true);
    land.SetWaterTextureScale(2);
    EXPECT_EQ(corner(1).tv, 16);
}

TEST_F(Water, SwaysAlongUByTheFrameClock) {
    open();
    load();
    land.SetWaterEffect(true, 0.4f, true);
    land.SetWaterTextureScale(2);
    land.SetWaterEnable(false);   // enables all the same
    engine.FLIPP(hwnd);
    for (int frame = 0; frame < 3; ++frame) {
        services.clock().advance(19);   // ElapseFrame = 19 + 1 = 20 ms
        engine.FLIPP(hwnd);
        land.Water_Render();
    }
    // Phase 0.05 + 3 x 20 x 0.001 = 0.11; o = cos(0.11) x 2 / 100 = 0.0198791.
    EXPECT_NEAR(land.water_phase(), 0.11f, 1e-6);
    const float o = 0.0198791f;
    test::expect_floats({corner(1).tu, corner(1).tv, corner(2).tu, corner(3).tu, corner(4).tu}, {2 + o, 2, o, 2 + o, o}, 1e-6);
    EXPECT_EQ((std::vector<float>{corner(3).tv, corner(4).tv}), (std::vector<float>{0, 0}));

    // Past 1080 the frame draws with that phase, then it falls to -720:
    // 0.11 + 1080 = 1080.11, cos = 0.82653 (1080.11 - 171 x 2 pi = 5.68531).
    services.clock().advance(1080000 - 1);
    engine.FLIPP(hwnd);
    land.Water_Render();
    EXPECT_EQ(land.water_phase(), -720);
    EXPECT_NEAR(corner(2).tu, 0.82653f * 2 / 100, 1e-5);
}

TEST_F(Water, RenderSetsItsStatesDrawsTheStripAndEndsWithLightingOnBlendingOff) {
    open();
    load();
    land.Water_Render();
    EXPECT_TRUE(device_calls().empty());   // not enabled yet
    land.SetWaterEnable(true);
    land.Water_scal(D3DVECTOR{2, 1, 3});
    land.Water_Position(D3DVECTOR{10, 2, 20});
    land.SetWaterEffect(true);
    test::expect_calls(water_calls(), {"setRenderState 137, 0", "setTransform 1, 2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 10, 2, 20, 1*",
                                       "setRenderState 27, -1", "setRenderState 19, 5", "setRenderState 20, 2",
                                       "drawPrimitive 5, 482, 4, 0", "setRenderState 137, -1", "setRenderState 27, 0"});

    // A texture that cannot be read is dropped silently; one that can is bound.
    land.Load_Watertexture("missing.bmp");
    EXPECT_EQ(water_calls().size(), 8u);
    const auto path = test::scratch_dir("water_texture") / "blue.bmp";
    test::write_bmp(path, 8, 8, [](int, int) { return 0x0000FFu; });
    land.Load_Watertexture(path.string());
    const Calls bound = water_calls();
    ASSERT_EQ(bound.size(), 9u);
    EXPECT_EQ(bound[2], "Direct3DDevice7.setTexture 0, \"surface\"");
    land.Load_Watertexture("missing.bmp");   // the earlier texture is no longer bound
    EXPECT_EQ(water_calls().size(), 8u);
    land.SetWaterEffect(false);   // blending off for the draw as well
    EXPECT_EQ(water_calls()[2], "Direct3DDevice7.setRenderState 27, 0");
}

TEST_F(Water, CollisionCountsThePlacedRectangleBelowPositionYPlusTheMargin) {
    load();
    land.Water_Position(D3DVECTOR{10, 2, 20});
    land.Water_scal(D3DVECTOR{2, 1, 3});
    land.SetWaterAltitude(100);   // plays no part
    // x from 10 to 10 + 60 x 2 = 130, z from 20 to 20 + 60 x 3 = 200, y < 2 + 5.
    struct Point { D3DVECTOR p; float margin; bool in; };
    const Point points[] = {
        {{10, 0, 20}, 5, true},      {{130, 0, 200}, 5, true},    {{50, 6.99f, 50}, 5, true},
        {{50, 7, 50}, 5, false},     {{50, -1000, 50}, 5, true},  {{9.9f, 0, 50}, 5, false},
        {{130.1f, 0, 50}, 5, false}, {{50, 0, 200.1f}, 5, false}, {{50, 0, 19.9f}, 5, false},
        {{50, 11, 50}, 10, true},
    };
    for (const Point& pt : points)
        EXPECT_EQ(land.Water_Collision(pt.p, pt.margin), pt.in) << pt.p.x << ", " << pt.p.y << ", " << pt.p.z;
    EXPECT_TRUE(land.Water_Collision(D3DVECTOR{50, 6.99f, 50}));   // default margin 5
}

class Billboard : public Water {};

TEST_F(Billboard, FacesACameraHeadedAlongXWithItsFootOnThePoint) {
    open();
    load();
    engine.CAM_angle(Variant(0.0));   // heading 0: looking along +x, billboard angle -90
    platform::trace().clear();
    land.Render_BilBoard(D3DVECTOR{10, 0, 20}, 3, 6);
    // Call 6 sets the world matrix, replayed below; call 8 clears it.
    test::expect_calls(device_calls(), {"setRenderState 27, -1", "setRenderState 19, 5", "setRenderState 20, 6",
                                        "setRenderState 15, -1", "setRenderState 24, 8", "setRenderState 25, 7", "*",
                                        "drawPrimitive 5, 274, 4, 0", "setTransform 1, 1, 0, 0, 0, 0, 1,*",
                                        "setRenderState 15, 0", "setRenderState 27, 0"});
    EXPECT_EQ(engine.D3D_DEV->getRenderState(dx::D3DRENDERSTATE_ALPHATESTENABLE), 0);

    // The world matrix replayed: scale (1, 2, 1), turn -90 degrees about y,
    // lift by 6 / 3 = 2. Corners 0 (-1, 1, -1) and 3 (1, -1, -1) land at
    // (9, 4, 21) and (9, 0, 19): a 2 by 4 quad in the plane x = 9, foot at
    // y = 0, its normal (0, 0, -1) turned to -x, towards the camera.
    platform::trace().clear();
    land.Render_BilBoard(D3DVECTOR{10, 0, 20}, 3, 6);
    std::istringstream in(device_calls()[6].substr(device_calls()[6].find(' ') + 1));
    float v[17];   // state 1, then the matrix row by row
    char comma = 0;
    for (int i = 0; i < 17; ++i) {
        if (i > 0) in >> comma;
        in >> v[i];
    }
    ASSERT_FALSE(in.fail());
    auto place = [&](const D3DVERTEX& q) {
        std::vector<float> out(3);
        for (int c = 0; c < 3; ++c) out[c] = q.x * v[1 + c] + q.y * v[5 + c] + q.z * v[9 + c] + v[13 + c];
        return out;
    };
    test::expect_floats(place(land.billboard_quad()[0]), {9, 4, 21}, 1e-4);
    test::expect_floats(place(land.billboard_quad()[3]), {9, 0, 19}, 1e-4);
}

TEST_F(Billboard, TheQuadIsTheUnitSquareFacingMinusZ) {
    load();
    const auto& q = land.billboard_quad();
    const float expected[4][4] = {{-1, 1, 0, 0}, {1, 1, 1, 0}, {-1, -1, 0, 1}, {1, -1, 1, 1}};   // x, y, tu, tv
    for (std::size_t k = 0; k < 4; ++k)
        EXPECT_EQ((std::vector<float>{q[k].x, q[k].y, q[k].z, q[k].nz, q[k].tu, q[k].tv}),
                  (std::vector<float>{expected[k][0], expected[k][1], -1, -1, expected[k][2], expected[k][3]})) << k;
}
