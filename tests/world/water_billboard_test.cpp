// The water quad (corners, effect, texture scale, sway by the frame clock,
// collision, calls) and the billboard (calls and corners for a camera at a
// known heading), on a 6 x 6 grid at p = 10: the water is 60 by 60.
#include <cmath>
#include <string>

#include "bmp_writer.h"
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
    cTarko_landScape land;
};

TEST_F(Water, LoadTerrainBuildsTheStripFromTheLocalOrigin) {
    load();
    struct Corner { float x, z, tu, tv; };
    const Corner expected[] = {{60, 0, 1, 1}, {0, 0, 0, 1}, {60, 60, 1, 0}, {0, 60, 0, 0}};
    for (int k = 1; k <= 4; ++k) {
        const Corner& e = expected[k - 1];
        EXPECT_EQ(corner(k).x, e.x) << k;
        EXPECT_EQ(corner(k).y, 0) << k;
        EXPECT_EQ(corner(k).z, e.z) << k;
        EXPECT_EQ(corner(k).tu, e.tu) << k;
        EXPECT_EQ(corner(k).tv, e.tv) << k;
        EXPECT_EQ(corner(k).color, -1) << k;      // opaque white
        EXPECT_EQ(corner(k).specular, -1) << k;
    }
    EXPECT_FLOAT_EQ(land.water_phase(), 0.05f);
}

TEST_F(Water, EffectAltitudeAndScaleChangeTheCorners) {
    load();
    land.SetWaterEffect(true);   // alpha 0.4 x 255 = 102 = 0x66, not animated
    land.SetWaterAltitude(12.5f);
    EXPECT_EQ(corner(3).color, 0x66FFFFFF);
    EXPECT_EQ(corner(3).specular, -1);
    EXPECT_EQ(corner(4).y, 12.5f);
    land.SetWaterTextureScale(4);   // 0/1 -> 0/4, then 0/16
    EXPECT_EQ(corner(1).tu, 4);
    EXPECT_EQ(corner(2).tu, 0);
    land.SetWaterTextureScale(4);
    EXPECT_EQ(corner(1).tv, 16);
    // Animated, the scale waits for the next draw.
    land.SetWaterEffect(false, 0.4f, true);
    land.SetWaterTextureScale(2);
    EXPECT_EQ(corner(1).tv, 16);
    // A new LoadTerrain rebuilds them.
    load();
    EXPECT_EQ(corner(1).tu, 1);
    EXPECT_EQ(corner(1).y, 0);
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
    EXPECT_NEAR(corner(1).tu, 2 + o, 1e-6);
    EXPECT_NEAR(corner(1).tv, 2, 1e-6);
    EXPECT_NEAR(corner(2).tu, o, 1e-6);
    EXPECT_NEAR(corner(3).tu, 2 + o, 1e-6);
    EXPECT_EQ(corner(3).tv, 0);
    EXPECT_NEAR(corner(4).tu, o, 1e-6);
    EXPECT_EQ(corner(4).tv, 0);

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
    platform::trace().clear();
    land.Water_Render();
    const Calls calls = device_calls();
    ASSERT_EQ(calls.size(), 8u);
    EXPECT_EQ(calls[0], "Direct3DDevice7.setRenderState 137, 0");
    EXPECT_EQ(calls[1].rfind("Direct3DDevice7.setTransform 1, 2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 3, 0, 10, 2, 20, 1", 0), 0u)
        << calls[1];
    EXPECT_EQ(calls[2], "Direct3DDevice7.setRenderState 27, -1");
    EXPECT_EQ(calls[3], "Direct3DDevice7.setRenderState 19, 5");
    EXPECT_EQ(calls[4], "Direct3DDevice7.setRenderState 20, 2");
    EXPECT_EQ(calls[5], "Direct3DDevice7.drawPrimitive 5, 482, 4, 0");
    EXPECT_EQ(calls[6], "Direct3DDevice7.setRenderState 137, -1");
    EXPECT_EQ(calls[7], "Direct3DDevice7.setRenderState 27, 0");

    // A texture that cannot be read is dropped silently; one that can is bound.
    land.Load_Watertexture("missing.bmp");
    platform::trace().clear();
    land.Water_Render();
    EXPECT_EQ(device_calls().size(), 8u);
    const auto path = test::scratch_dir("water_texture") / "blue.bmp";
    test::write_bmp(path, 8, 8, [](int, int) { return 0x0000FFu; });
    land.Load_Watertexture(path.string());
    platform::trace().clear();
    land.Water_Render();
    ASSERT_EQ(device_calls().size(), 9u);
    EXPECT_EQ(device_calls()[2], "Direct3DDevice7.setTexture 0, \"surface\"");
    land.Load_Watertexture("missing.bmp");   // the earlier texture is no longer bound
    platform::trace().clear();
    land.Water_Render();
    EXPECT_EQ(device_calls().size(), 8u);
    land.SetWaterEffect(false);   // blending off for the draw as well
    platform::trace().clear();
    land.Water_Render();
    EXPECT_EQ(device_calls()[2], "Direct3DDevice7.setRenderState 27, 0");
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
        {{50, 11, 50}, 10, true},    {{50, 12, 50}, 10, false},
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
    const Calls calls = device_calls();
    ASSERT_EQ(calls.size(), 11u);
    const Calls states(calls.begin(), calls.begin() + 6);
    EXPECT_EQ(states, (Calls{"Direct3DDevice7.setRenderState 27, -1", "Direct3DDevice7.setRenderState 19, 5",
                             "Direct3DDevice7.setRenderState 20, 6", "Direct3DDevice7.setRenderState 15, -1",
                             "Direct3DDevice7.setRenderState 24, 8", "Direct3DDevice7.setRenderState 25, 7"}));
    EXPECT_EQ(calls[7], "Direct3DDevice7.drawPrimitive 5, 274, 4, 0");
    EXPECT_EQ(calls[8].rfind("Direct3DDevice7.setTransform 1, 1, 0, 0, 0, 0, 1,", 0), 0u);   // cleared
    EXPECT_EQ(calls[9], "Direct3DDevice7.setRenderState 15, 0");
    EXPECT_EQ(calls[10], "Direct3DDevice7.setRenderState 27, 0");
    EXPECT_EQ(engine.D3D_DEV->getRenderState(dx::D3DRENDERSTATE_ALPHATESTENABLE), 0);

    // The world matrix in force at the draw, replayed: scale (1, 2, 1), turn
    // -90 degrees about y, lift by 6 / 3 = 2. Corner 0 (-1, 1, -1) lands at
    // (9, 4, 21), corner 3 (1, -1, -1) at (9, 0, 19): a 2 by 4 quad in the
    // plane x = 9, its foot at y = 0, its normal (0, 0, -1) turned to -x,
    // towards the camera.
    platform::trace().clear();
    land.Render_BilBoard(D3DVECTOR{10, 0, 20}, 3, 6);
    D3DMATRIX m;
    std::string t = device_calls()[6];
    t = t.substr(t.find(' ') + 1);
    float v[17];
    ASSERT_EQ(std::sscanf(t.c_str(), "%f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f, %f", &v[0], &v[1],
                          &v[2], &v[3], &v[4], &v[5], &v[6], &v[7], &v[8], &v[9], &v[10], &v[11], &v[12], &v[13],
                          &v[14], &v[15], &v[16]),
              17);
    m = {v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10], v[11], v[12], v[13], v[14], v[15], v[16]};
    auto place = [&](const D3DVERTEX& q) {
        return D3DVECTOR{q.x * m.rc11 + q.y * m.rc21 + q.z * m.rc31 + m.rc41,
                         q.x * m.rc12 + q.y * m.rc22 + q.z * m.rc32 + m.rc42,
                         q.x * m.rc13 + q.y * m.rc23 + q.z * m.rc33 + m.rc43};
    };
    const D3DVECTOR c0 = place(land.billboard_quad()[0]), c3 = place(land.billboard_quad()[3]);
    EXPECT_NEAR(c0.x, 9, 1e-4);
    EXPECT_NEAR(c0.y, 4, 1e-4);
    EXPECT_NEAR(c0.z, 21, 1e-4);
    EXPECT_NEAR(c3.x, 9, 1e-4);
    EXPECT_NEAR(c3.y, 0, 1e-4);
    EXPECT_NEAR(c3.z, 19, 1e-4);
}

TEST_F(Billboard, TheQuadIsTheUnitSquareFacingMinusZ) {
    load();
    const auto& q = land.billboard_quad();
    const float expected[4][4] = {{-1, 1, 0, 0}, {1, 1, 1, 0}, {-1, -1, 0, 1}, {1, -1, 1, 1}};   // x, y, tu, tv
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_EQ(q[k].x, expected[k][0]);
        EXPECT_EQ(q[k].y, expected[k][1]);
        EXPECT_EQ(q[k].z, -1);
        EXPECT_EQ(q[k].nz, -1);
        EXPECT_EQ(q[k].tu, expected[k][2]);
        EXPECT_EQ(q[k].tv, expected[k][3]);
    }
}
