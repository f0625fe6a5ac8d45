// The sky sphere: strip sizes per quality, vertices worked by hand, the
// draw's calls, and the sphere seen from inside with and without the dome.
#include <cmath>

#include "platform/constants.h"
#include "world_helpers.h"
#include "support/engine_test_support.h"
#include "world/cTarko_Sphere.h"

using namespace tarko;
using tarko::test::EngineFixture;

class Sphere : public EngineFixture {
protected:
    cTarko_Sphere sky;
};

TEST_F(Sphere, EachQualityGivesTwoRingsTimesSectionsPlusOneVertices) {
    struct Row { Tarko_SPHERE_QUALITY q; Long count; };
    // 2 x 10 x 11, 2 x 15 x 16, 2 x 20 x 21, 2 x 28 x 29.
    for (const Row r : {Row{LOW_QUALITY, 220}, Row{NORMAL_QUALITY, 480}, Row{HIGH_QUALITY, 840}, Row{SMOOTH_QUALITY, 1624}}) {
        EXPECT_TRUE(sky.InitSPhere(engine, "", r.q));
        EXPECT_EQ(sky.vertex_count(), r.count) << r.q;
        EXPECT_EQ(sky.vertices().UBound(), r.count) << r.q;   // one spare element
    }
}

TEST_F(Sphere, LowQualityVerticesFollowTheRingsWithYscaleOnZAndZscaleOnY) {
    ASSERT_TRUE(sky.InitSPhere(engine, "", LOW_QUALITY, 2, 3, 5));
    const auto& v = sky.vertices();
    struct Expect { Long n; float x, y, z, nx, ny, nz, tu, tv; };
    // dt = dp = pi / 10 and 2 pi / 10. Element 2 (i 10 + j) + k is ring i,
    // section j, k = 1 for the lower edge.
    const Expect rows[] = {
        {0, 0, 5, 0, 0, 1, 0, 0, 0},                                       // the pole, times BaseZscale
        {1, 0, 0.9510565f * 5, 0.3090170f * 3, 0, 0.9510565f, 0.3090170f, 0, 0.1f},  // cos dt, sin dt
        // Ring 5 (equator, r 1, y 0), section 3: s = sin 0.6 pi = 0.9510565,
        // c = -0.3090170; tu = -3/10, tv = 5/10.
        {116, 0.9510565f * 2, 0, -0.3090170f * 3, 0.9510565f, 0, -0.3090170f, -0.3f, 0.5f},
        // Last of the strip: ring 9's lower edge at the south pole, j = 10.
        {219, 0, -5, 0, 0, -1, 0, -1, 1},
    };
    for (const Expect& e : rows) {
        SCOPED_TRACE(e.n);
        const D3DVERTEX& p = v(e.n);
        test::expect_floats({p.x, p.y, p.z, p.nx, p.ny, p.nz}, {e.x, e.y, e.z, e.nx, e.ny, e.nz}, 1e-5);
        test::expect_floats({p.tu, p.tv}, {e.tu, e.tv}, 1e-6);
    }
}

TEST_F(Sphere, AnOmittedQualityIsADivisionByZeroAndKeepsTheMesh) {
    EXPECT_EQ(error_of([&] { sky.InitSPhere(engine); }), err::DivisionByZero);
    sky.InitSPhere(engine, "", NORMAL_QUALITY);
    EXPECT_EQ(error_of([&] { sky.InitSPhere(engine); }), err::DivisionByZero);
    EXPECT_EQ(sky.vertex_count(), 480);
}

TEST_F(Sphere, RenderBindsTurnsCullingOffPlacesDrawsOneStripAndPutsCullingBack) {
    open();
    EXPECT_EQ(error_of([&] { sky.Render(engine); }), err::SubscriptOutOfRange);   // no mesh yet
    ASSERT_TRUE(sky.InitSPhere(engine, "", LOW_QUALITY));
    sky.Set_Scale(Variant(50.0), Variant(20.0), Variant(50.0));
    sky.Set_Position(Variant(1.0), Variant(-2.0), Variant(3.0));
    sky.Set_Rotation(Variant(30.0), Variant(40.0), Variant(50.0));   // nothing reads it
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_CULLMODE, dx::D3DCULL_CW);
    platform::trace().clear();
    sky.Render(engine);
    // The last puts back D3DCULL_CW, as it was.
    test::expect_calls(device_calls(), {"setTexture 0, \"Nothing\"", "setRenderState 22, 1", "setTransform 1, 1, 0, 0, 0, 0, 1,*",
                                        "setTransform 1, 50, 0, 0, 0, 0, 20, 0, 0, 0, 0, 50, 0, 1, -2, 3, 1",
                                        "drawPrimitive 5, 274, 220, 0", "setTransform 1, 1, 0, 0, 0, 0, 1,*", "setRenderState 22, 2"});

    platform::trace().clear();
    sky.Render(engine, false);   // no cull traffic at all
    test::expect_calls(device_calls(), {"*", "*", "*", "drawPrimitive 5, 274, 220, 0", "*"});
}

TEST_F(Sphere, FromInsideOnlyTheDomeShowsWithCullingOn) {
    // An untextured sphere of radius 100 round the start-up camera, white
    // ambient on white material: with ForceDomeSky the view is all sphere;
    // without, default CCW culling drops the inside faces: background stays.
    open(32, 24);
    engine.device_CLEAR_COLOR = 0x000040;
    engine.USE_default_RENDERSTATE();
    engine.SetMaterial(D3DCOLORVALUE{1, 1, 1, 1}, D3DCOLORVALUE{1, 1, 1, 1});
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, -1);
    ASSERT_TRUE(sky.InitSPhere(engine, "", HIGH_QUALITY, 100, 100, 100));
    auto frame = [&](bool dome) {
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        sky.Render(engine, dome);
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
        return window->frame().at(16, 12) & 0xFFFFFF;
    };
    EXPECT_NE(frame(true), 0x000040u);
    EXPECT_EQ(engine.D3D_DEV->getRenderState(dx::D3DRENDERSTATE_CULLMODE), dx::D3DCULL_CCW);
    EXPECT_EQ(frame(false), 0x000040u);
}
