// Render-state recipes: which states each one sends, with which values, in
// which order, on a windowed engine whose device records every call.
#include <functional>
#include <string>

#include "support/engine_test_support.h"
#include "platform/constants.h"
#include "platform/profile.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

namespace {

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
    Ref<DirectDrawSurface7> texture() {
        DDSURFACEDESC2 d;
        d.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT;
        d.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
        d.lWidth = 8;
        d.lHeight = 8;
        return engine.ddraw->createSurface(d);
    }
};

TEST_F(RenderState, EachRecipeSendsItsWholeListInOrder) {
    using E = tarko_DX7;
    using T = const Ref<DirectDrawSurface7>&;
    struct Row {
        const char* what;
        std::function<void(E&, T)> run;
        Calls expected;
    };
    const Calls rs = default_renderstate();
    const Row rows[] = {
        {"default render state, twice: no state cache",
         [](E& e, T) {
             e.USE_default_RENDERSTATE();
             e.USE_default_RENDERSTATE();
         },
         rs + rs},
        {"enable blend stage 3", [](E& e, T) { e.Enable_Blendstage(3); }, default_stage(3)},
        // diffuse (1,1,1,0), ambient (1,1,1,0), specular 0, emissive 0, power 1;
        // AMBIENT = createColorRGBA(1, 1, 1, 1) = 0xFFFFFFFF = -1.
        {"default material", [](E& e, T) { e.USE_defaultMaterial(); },
         {"Direct3DDevice7.setMaterial 1, 1, 1, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1", RS(139, -1)}},
        {"gamma sends nothing; null texture; pass-through",
         [](E& e, T) {
             e.SET_Gamma(2.2f);
             e.USE_NULLTEXTURE();
             e.Set_TextureSTATE(2, dx::D3DTSS_COLOROP, dx::D3DTOP_ADDSIGNED);
         },
         {TEX(0, false), TSS(2, 1, 8)}},
        // SPECULAR 0, LIGHTING 0, ALPHABLEND 1 (not -1), SRCCOLOR 3, INVSRCCOLOR 4.
        {"alpha blend 1 on", [](E& e, T) { e.alphaBLEND_1(true); },
         {RS(29, 0), RS(137, 0), RS(27, 1), RS(19, 3), RS(20, 4), TSS(0, 2, 2), TSS(0, 3, 0), TSS(0, 1, 4)}},
        {"multitexturing", [](E& e, T) { e.Make_Multitexturing(); },
         {RS(27, 1), RS(19, 6), RS(20, 5), TSS(0, 2, 2), TSS(0, 5, 2), TSS(0, 1, 2), TSS(0, 4, 2)}},
        {"frame transparency, on by default, then off",
         [](E& e, T) {
             e.FX_alphaBlend_FrameTransparency();
             e.FX_alphaBlend_FrameTransparency(false);
         },
         {RS(27, -1), RS(19, 3), RS(20, 4), RS(27, 0)}},
        {"trans alpha off", [](E& e, T) { e.TransAlpha_Disable(); }, {RS(15, 0), RS(27, 0)}},
        // The default device compares greater-or-equal: the test goes on.
        {"trans alpha on", [](E& e, T) { e.TransAlpha_Enable(); },
         {RS(27, -1), RS(19, 5), RS(20, 6), RS(15, -1), RS(24, 8), RS(25, 7)}},
        {"dark mapping on", [](E& e, T t) { e.MULTITEXTURE_FX_Dark_Mapping(true, t); },
         default_stage(1) + Calls{TSS(0, 2, 2), TSS(0, 1, 2), TEX(1, true), TSS(1, 2, 2), TSS(1, 3, 1)}},
        {"dark mapping off ignores the texture", [](E& e, T t) { e.MULTITEXTURE_FX_Dark_Mapping(false, t); },
         Calls{TSS(1, 2, 1)} + rs + disable_stage(1)},
        // The two differ only in stage 1's operation: ADD 7, MODULATE2X 5.
        {"smooth satur on", [](E& e, T t) { e.MULTITEXTURE_FX_smooth_satur(true, t); },
         default_stage(1) + Calls{TSS(0, 2, 2), TSS(0, 1, 4), TSS(0, 3, 0), TSS(0, 4, 3), TSS(0, 6, 0), TEX(1, true),
                                  TSS(1, 2, 2), TSS(1, 1, 7), TSS(1, 3, 1), TSS(1, 5, 2), TSS(1, 4, 2)}},
        {"detail modulate on", [](E& e, T t) { e.MULTITEXTURE_FX_DetailMODULATE(true, t); },
         default_stage(1) + Calls{TSS(0, 2, 2), TSS(0, 1, 4), TSS(0, 3, 0), TSS(0, 4, 3), TSS(0, 6, 0), TEX(1, true),
                                  TSS(1, 2, 2), TSS(1, 1, 5), TSS(1, 3, 1), TSS(1, 5, 2), TSS(1, 4, 2)}},
        {"smooth satur off", [](E& e, T t) { e.MULTITEXTURE_FX_smooth_satur(false, t); }, rs + disable_stage(1)},
        // COLORARG2 is sent twice on stage 0, as the recipe lists it; ADDSIGNED 8.
        {"normal", [](E& e, T t) { e.MULTITEXTURE_Normal(t); },
         {TSS(0, 2, 2), TSS(0, 3, 0), TSS(0, 1, 8), TSS(0, 3, 0), TEX(1, true), TSS(1, 2, 2), TSS(1, 3, 0)}},
        {"dark diffuse colour light on", [](E& e, T t) { e.MULTITEXTURE_Dark_Diffu_color_ligh(true, t); },
         default_stage(1) + Calls{TSS(0, 2, 2), TSS(0, 3, 0), TSS(0, 1, 8), TEX(1, true), TSS(1, 2, 2), TSS(1, 3, 1),
                                  TSS(1, 1, 4)}},
        {"specular mapping", [](E& e, T t) { e.MULTITEXTURE_Specular_mapping(t, t); },
         {TEX(0, true), TSS(0, 2, 2), TSS(0, 3, 0), TSS(0, 1, 4), TEX(1, true), TSS(1, 2, 2), TSS(1, 3, 1),
          TSS(1, 1, 7)}},
        // ALPHAOP DISABLE twice, as listed.
        {"disable FX blend 3", [](E& e, T) { e.Disable_FX_blend(3); },
         Calls{TSS(3, 1, 1), TSS(3, 4, 1), TSS(3, 3, 1), TSS(3, 5, 1), TSS(3, 4, 1)} + rs},
        {"colour lighting on stage 2", [](E& e, T) { e.FX_blend_COLOR_lighting(true, 2); },
         {TSS(2, 2, 2), TSS(2, 3, 0), TSS(2, 1, 7)}},
        {"colour lighting off", [](E& e, T) { e.FX_blend_COLOR_lighting(false, 2); },
         Calls{TSS(2, 2, 1), TSS(2, 3, 1), TSS(2, 1, 1)} + disable_stage(1) + rs},
        // BUMPENVMAT00..11 (7..10) rounded to whole numbers: pi / 4 gives cos =
        // sin = 0.707 -> 1; 0.5 rad cos 0.878 -> 1, sin 0.479 -> 0; pi gives
        // cos -1, sin 1.2e-16 -> 0 (and -0 -> 0).
        {"bump matrix",
         [](E& e, T) {
             EXPECT_TRUE(e.MAke_BumpmapinG(0.78539816339744831).is_empty());
             e.MAke_BumpmapinG(0.5);
             e.MAke_BumpmapinG(3.1415926535897931);
         },
         {TSS(0, 7, 1), TSS(0, 8, 1), TSS(0, 9, -1), TSS(0, 10, 1), TSS(0, 7, 1), TSS(0, 8, 0), TSS(0, 9, 0),
          TSS(0, 10, 1), TSS(0, 7, -1), TSS(0, 8, 0), TSS(0, 9, 0), TSS(0, 10, -1)}},
    };
    EXPECT_EQ(error_of([&] { engine.USE_default_RENDERSTATE(); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.TransAlpha_Enable(); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.SET_Gamma(1); }), 0);
    open();
    const auto tex = texture();
    for (const auto& r : rows) {
        platform::trace().clear();
        r.run(engine, tex);
        EXPECT_EQ(device_calls(), r.expected) << r.what;
    }
}

TEST_F(RenderState, TransAlphaWithoutGreaterOrEqualKeepsBlendingAndSendsTheTestOff) {
    auto p = platform::default_profile();
    for (auto& d : p.devices) d.caps.dpcTriCaps.lAlphaCmpCaps &= ~dx::D3DPCMPCAPS_GREATEREQUAL;
    platform::ScopedProfile scoped(p);
    open();
    engine.TransAlpha_Enable();
    EXPECT_EQ(device_calls(), (Calls{RS(27, -1), RS(19, 5), RS(20, 6), RS(15, 0), RS(24, 8), RS(25, 7)}));
}

TEST_F(RenderState, ColourDarkingCyclesThroughTheModulateStrengths) {
    open();
    // ANIKY 1: frames 1-4 MODULATE (4), 5-8 MODULATE2X (5), 9-12 MODULATE4X
    // (6), 13-16 nothing; frame 17 sees the counter at 16 = 16 A and restarts
    // it (to 0, then + 1), so frames 18-20 are MODULATE again.
    const int ops[20] = {4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 0, 0, 0, 0, 0, 4, 4, 4};
    for (int frame = 1; frame <= 20; ++frame) {
        platform::trace().clear();
        engine.FX_blend_COLOR_darking(true, 2, 1);
        Calls expected = {TSS(2, 2, 2), TSS(2, 3, 0)};  // the arguments go to STAGE_, the op to stage 1
        if (ops[frame - 1] != 0) expected.push_back(TSS(1, 1, ops[frame - 1]));
        EXPECT_EQ(device_calls(), expected) << "frame " << frame;
    }
}

