// Render-state recipes: which states each one sends, with which values, in
// which order, on a windowed engine whose device records every call.
#include <cmath>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include "engine_test_support.h"
#include "platform/constants.h"
#include "platform/profile.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {
using Calls = std::vector<std::string>;

std::string TSS(int stage, int type, int value) {
    return "Direct3DDevice7.setTextureStageState " + std::to_string(stage) + ", " + std::to_string(type) + ", " +
           std::to_string(value);
}
std::string RS(int state, int value) {
    return "Direct3DDevice7.setRenderState " + std::to_string(state) + ", " + std::to_string(value);
}
std::string TEX(int stage, bool set) {
    return "Direct3DDevice7.setTexture " + std::to_string(stage) + (set ? ", \"surface\"" : ", \"Nothing\"");
}
Calls operator+(Calls a, const Calls& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
// Stage states 1 COLOROP, 2 COLORARG1, 3 COLORARG2, 4 ALPHAOP, 5 ALPHAARG1,
// 6 ALPHAARG2, 16 MAGFILTER, 17 MINFILTER; args 0 DIFFUSE, 1 CURRENT, 2 TEXTURE.
Calls default_stage(int n) {
    return {TSS(n, 2, 2), TSS(n, 3, 0), TSS(n, 1, 4), TSS(n, 4, 2), TSS(n, 5, 2), TSS(n, 17, 2), TSS(n, 16, 2)};
}
Calls default_renderstate() {
    return default_stage(0) + Calls{RS(26, -1), RS(15, 0), RS(27, 0), RS(29, 0), RS(14, -1)};
}
Calls disable_stage(int n) { return {TSS(n, 2, 1), TSS(n, 1, 1), TSS(n, 3, 1), TSS(n, 5, 1), TSS(n, 4, 1)}; }
}  // namespace

class RenderState : public EngineFixture {
protected:
    void open() {
        engine.Initialize_Windowed(open_window(64, 48));
        platform::trace().clear();
    }
    static Calls device_calls() { return platform::trace().matching("Direct3DDevice7."); }
    tarko::Ref<DirectDrawSurface7> texture() {
        DDSURFACEDESC2 d;
        d.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT;
        d.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
        d.lWidth = 8;
        d.lHeight = 8;
        auto s = engine.ddraw->createSurface(d);
        platform::trace().clear();
        return s;
    }
    tarko_DX7 engine;
};

TEST_F(RenderState, BaseRecipesSendTheirListsInOrder) {
    open();
    engine.USE_default_RENDERSTATE();
    EXPECT_EQ(device_calls(), (default_renderstate()));

    platform::trace().clear();
    engine.USE_default_Blendstage0();
    EXPECT_EQ(device_calls(), (default_stage(0) + Calls{RS(26, -1)}));

    platform::trace().clear();
    engine.Enable_Blendstage(3);
    EXPECT_EQ(device_calls(), (default_stage(3)));
}

TEST_F(RenderState, EveryCallSendsItsWholeListAgain) {
    open();
    engine.USE_default_RENDERSTATE();
    engine.USE_default_RENDERSTATE();
    EXPECT_EQ(device_calls(), (default_renderstate() + default_renderstate()));  // no state cache
}

TEST_F(RenderState, DefaultMaterialIsWhiteWithPowerOneAndWhiteAmbientLight) {
    open();
    engine.USE_defaultMaterial();
    // diffuse (1,1,1,0), ambient (1,1,1,0), specular 0, emissive 0, power 1;
    // AMBIENT = createColorRGBA(1, 1, 1, 1) = 0xFFFFFFFF = -1.
    EXPECT_EQ(device_calls(),
              (Calls{"Direct3DDevice7.setMaterial 1, 1, 1, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1", RS(139, -1)}));
}

TEST_F(RenderState, DefaultProjectionRestoresTheStartUpProjection) {
    open();
    D3DMATRIX startup, after;
    engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_PROJECTION, startup);
    engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, D3DMATRIX{});
    platform::trace().clear();
    engine.USE_defaultPROJECTION();
    engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_PROJECTION, after);
    EXPECT_EQ(std::memcmp(&startup, &after, sizeof startup), 0);
    ASSERT_EQ(device_calls().size(), 1u);
    EXPECT_EQ(device_calls()[0].rfind("Direct3DDevice7.setTransform 3,", 0), 0u);
}

TEST_F(RenderState, GammaNullTextureAndPassThrough) {
    open();
    engine.SET_Gamma(2.2f);
    EXPECT_TRUE(device_calls().empty());
    engine.USE_NULLTEXTURE();
    engine.Set_TextureSTATE(2, dx::D3DTSS_COLOROP, dx::D3DTOP_ADDSIGNED);
    EXPECT_EQ(device_calls(), (Calls{TEX(0, false), TSS(2, 1, 8)}));
}

TEST_F(RenderState, AlphaBlendRecipes) {
    open();
    engine.alphaBLEND_1(true);
    // SPECULAR 0, LIGHTING 0, ALPHABLEND 1 (not -1), SRCCOLOR 3, INVSRCCOLOR 4.
    EXPECT_EQ(device_calls(), (Calls{RS(29, 0), RS(137, 0), RS(27, 1), RS(19, 3), RS(20, 4), TSS(0, 2, 2),
                                     TSS(0, 3, 0), TSS(0, 1, 4)}));
    platform::trace().clear();
    engine.alphaBLEND_1(false);
    EXPECT_EQ(device_calls(), (Calls{RS(27, 0)}));

    platform::trace().clear();
    engine.Make_Multitexturing();
    EXPECT_EQ(device_calls(), (Calls{RS(27, 1), RS(19, 6), RS(20, 5), TSS(0, 2, 2), TSS(0, 5, 2), TSS(0, 1, 2),
                                     TSS(0, 4, 2)}));

    platform::trace().clear();
    engine.FX_alphaBlend_FrameTransparency();  // Activate defaults to True
    engine.FX_alphaBlend_FrameTransparency(false);
    EXPECT_EQ(device_calls(), (Calls{RS(27, -1), RS(19, 3), RS(20, 4), RS(27, 0)}));

    platform::trace().clear();
    engine.TransAlpha_Disable();
    EXPECT_EQ(device_calls(), (Calls{RS(15, 0), RS(27, 0)}));
}

TEST_F(RenderState, TransAlphaTestsOnlyWhereTheDeviceComparesGreaterOrEqual) {
    open();  // the default device has every comparison
    engine.TransAlpha_Enable();
    const Calls with_test{RS(27, -1), RS(19, 5), RS(20, 6), RS(15, -1), RS(24, 8), RS(25, 7)};
    EXPECT_EQ(device_calls(), (with_test));
}

TEST_F(RenderState, TransAlphaWithoutGreaterOrEqualKeepsBlendingAndSendsTheTestOff) {
    auto p = platform::default_profile();
    for (auto& d : p.devices) d.caps.dpcTriCaps.lAlphaCmpCaps &= ~dx::D3DPCMPCAPS_GREATEREQUAL;
    platform::ScopedProfile scoped(p);
    open();
    engine.TransAlpha_Enable();
    EXPECT_EQ(device_calls(), (Calls{RS(27, -1), RS(19, 5), RS(20, 6), RS(15, 0), RS(24, 8), RS(25, 7)}));
}

TEST_F(RenderState, DarkMappingOnAndOff) {
    open();
    const auto tex = texture();
    engine.MULTITEXTURE_FX_Dark_Mapping(true, tex);
    EXPECT_EQ(device_calls(),
              (default_stage(1) + Calls{TSS(0, 2, 2), TSS(0, 1, 2), TEX(1, true), TSS(1, 2, 2), TSS(1, 3, 1)}));
    EXPECT_TRUE(engine.D3D_DEV->getTexture(1) == tex);

    platform::trace().clear();
    engine.MULTITEXTURE_FX_Dark_Mapping(false, tex);  // the texture is ignored
    EXPECT_EQ(device_calls(), (Calls{TSS(1, 2, 1)} + default_renderstate() + disable_stage(1)));
}

TEST_F(RenderState, DarkMappingWithoutATexturePassesNothing) {
    open();
    engine.MULTITEXTURE_FX_Dark_Mapping();
    const auto calls = device_calls();
    ASSERT_EQ(calls.size(), 12u);
    EXPECT_EQ(calls[9], TEX(1, false));
}

TEST_F(RenderState, SmoothSaturAndDetailModulateDifferOnlyInTheStageOneOperation) {
    open();
    const auto tex = texture();
    engine.MULTITEXTURE_FX_smooth_satur(true, tex);
    const Calls stage0 = default_stage(1) + Calls{TSS(0, 2, 2), TSS(0, 1, 4), TSS(0, 3, 0), TSS(0, 4, 3),
                                                  TSS(0, 6, 0), TEX(1, true)};
    // ADD 7 for smooth_satur, MODULATE2X 5 for the detail map.
    EXPECT_EQ(device_calls(), (stage0 + Calls{TSS(1, 2, 2), TSS(1, 1, 7), TSS(1, 3, 1), TSS(1, 5, 2), TSS(1, 4, 2)}));
    platform::trace().clear();
    engine.MULTITEXTURE_FX_DetailMODULATE(true, tex);
    EXPECT_EQ(device_calls(), (stage0 + Calls{TSS(1, 2, 2), TSS(1, 1, 5), TSS(1, 3, 1), TSS(1, 5, 2), TSS(1, 4, 2)}));

    for (int detail = 0; detail < 2; ++detail) {
        platform::trace().clear();
        if (detail)
            engine.MULTITEXTURE_FX_DetailMODULATE(false, tex);
        else
            engine.MULTITEXTURE_FX_smooth_satur(false, tex);
        EXPECT_EQ(device_calls(), (default_renderstate() + disable_stage(1))) << detail;
    }
}

TEST_F(RenderState, NormalDarkDiffuseAndSpecularRecipes) {
    open();
    const auto tex = texture();
    engine.MULTITEXTURE_Normal(tex);
    // COLORARG2 is sent twice on stage 0, as the recipe lists it; ADDSIGNED 8.
    EXPECT_EQ(device_calls(), (Calls{TSS(0, 2, 2), TSS(0, 3, 0), TSS(0, 1, 8), TSS(0, 3, 0), TEX(1, true),
                                     TSS(1, 2, 2), TSS(1, 3, 0)}));

    platform::trace().clear();
    engine.MULTITEXTURE_Dark_Diffu_color_ligh(true, tex);
    EXPECT_EQ(device_calls(), (default_stage(1) + Calls{TSS(0, 2, 2), TSS(0, 3, 0), TSS(0, 1, 8), TEX(1, true),
                                                       TSS(1, 2, 2), TSS(1, 3, 1), TSS(1, 1, 4)}));
    platform::trace().clear();
    engine.MULTITEXTURE_Dark_Diffu_color_ligh(false);
    EXPECT_EQ(device_calls(),
              (Calls{TSS(0, 2, 1), TSS(0, 3, 1), TSS(0, 1, 1)} + default_renderstate() + disable_stage(1)));

    platform::trace().clear();
    engine.MULTITEXTURE_Specular_mapping(tex, tex);
    EXPECT_EQ(device_calls(), (Calls{TEX(0, true), TSS(0, 2, 2), TSS(0, 3, 0), TSS(0, 1, 4), TEX(1, true),
                                     TSS(1, 2, 2), TSS(1, 3, 1), TSS(1, 1, 7)}));
}

TEST_F(RenderState, EndingMultitexture) {
    open();
    engine.Disable_MULTITEXTURING(2);
    EXPECT_EQ(device_calls(), (disable_stage(2)));

    platform::trace().clear();
    engine.MULTITEXTURING_OFF();
    engine.Disable_MULTITEXTURE();
    const Calls off = disable_stage(1) + default_renderstate();
    EXPECT_EQ(device_calls(), (off + off));

    platform::trace().clear();
    engine.Disable_FX_blend(3);
    // ALPHAOP DISABLE twice, as listed.
    EXPECT_EQ(device_calls(),
              (Calls{TSS(3, 1, 1), TSS(3, 4, 1), TSS(3, 3, 1), TSS(3, 5, 1), TSS(3, 4, 1)} + default_renderstate()));
}

TEST_F(RenderState, ColourLightingOnTheGivenStageAndOff) {
    open();
    engine.FX_blend_COLOR_lighting(true, 2);
    EXPECT_EQ(device_calls(), (Calls{TSS(2, 2, 2), TSS(2, 3, 0), TSS(2, 1, 7)}));
    platform::trace().clear();
    engine.FX_blend_COLOR_lighting(false, 2);
    EXPECT_EQ(device_calls(),
              (Calls{TSS(2, 2, 1), TSS(2, 3, 1), TSS(2, 1, 1)} + disable_stage(1) + default_renderstate()));
}

TEST_F(RenderState, ColourDarkingCyclesThroughTheModulateStrengths) {
    open();
    // ANIKY 1: frames 1-4 MODULATE (4), 5-8 MODULATE2X (5), 9-12 MODULATE4X
    // (6), 13-16 nothing; frame 17 sees the counter at 16 = 16 A and restarts
    // it (to 0, then + 1), so frames 18-20 are MODULATE again.
    std::vector<int> ops;
    for (int frame = 1; frame <= 20; ++frame) {
        platform::trace().clear();
        engine.FX_blend_COLOR_darking(true, 2, 1);
        const auto calls = device_calls();
        ASSERT_GE(calls.size(), 2u);
        EXPECT_EQ(calls[0], TSS(2, 2, 2));  // the arguments go to STAGE_
        EXPECT_EQ(calls[1], TSS(2, 3, 0));
        if (calls.size() == 3) {
            ASSERT_EQ(calls[2].rfind("Direct3DDevice7.setTextureStageState 1, 1, ", 0), 0u);  // the op to stage 1
            ops.push_back(std::stoi(calls[2].substr(calls[2].rfind(' ') + 1)));
        } else {
            ops.push_back(0);
        }
    }
    EXPECT_EQ(ops, (std::vector<int>{4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 0, 0, 0, 0, 0, 4, 4, 4}));
}

TEST_F(RenderState, ColourDarkingPastTheCycleAfterLoweringTheSpeedNeverRestarts) {
    open();
    for (int i = 0; i < 50; ++i) engine.FX_blend_COLOR_darking(true, 0, 10);  // counter 50
    platform::trace().clear();
    // With ANIKY 3 the cycle ends at 48: 50, 51, ... pass it and never equal it.
    for (int i = 0; i < 100; ++i) engine.FX_blend_COLOR_darking(true, 0, 3);
    EXPECT_TRUE(platform::trace().matching("Direct3DDevice7.setTextureStageState 1, 1,").empty());
}

TEST_F(RenderState, ColourDarkingOffIsTheLightingOff) {
    open();
    engine.FX_blend_COLOR_darking(false, 1, 7);
    EXPECT_EQ(device_calls(),
              (Calls{TSS(1, 2, 1), TSS(1, 3, 1), TSS(1, 1, 1)} + disable_stage(1) + default_renderstate()));
}

TEST_F(RenderState, BumpMatrixEntriesAreRoundedToWholeNumbers) {
    open();
    // pi / 4: cos = sin = 0.707 -> 1; 0.5 rad: cos 0.878 -> 1, sin 0.479 -> 0;
    // pi: cos -1, sin 1.2e-16 -> 0 (and -0 -> 0).
    const auto result = engine.MAke_BumpmapinG(std::numbers::pi / 4);
    EXPECT_TRUE(result.is_empty());
    engine.MAke_BumpmapinG(0.5);
    engine.MAke_BumpmapinG(std::numbers::pi);
    EXPECT_EQ(device_calls(), (Calls{TSS(0, 7, 1), TSS(0, 8, 1), TSS(0, 9, -1), TSS(0, 10, 1),
                                     TSS(0, 7, 1), TSS(0, 8, 0), TSS(0, 9, 0), TSS(0, 10, 1),
                                     TSS(0, 7, -1), TSS(0, 8, 0), TSS(0, 9, 0), TSS(0, 10, -1)}));
}

TEST_F(RenderState, RecipesBeforeStartUpRaiseObjectNotSet) {
    EXPECT_EQ(error_of([&] { engine.USE_default_RENDERSTATE(); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.TransAlpha_Enable(); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.SET_Gamma(1); }), 0);
}
