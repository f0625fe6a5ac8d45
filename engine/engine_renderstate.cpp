// Render-state recipes: fixed lists of render and texture-stage states,
// sent whole and in order at every call.
#include <cmath>

#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "runtime/numeric.h"

using tarko::Long;
using tarko::kTrue;
using Surface = tarko::Ref<DirectDrawSurface7>;

void tarko_DX7::stage_state(Long stage, Long type, Long value) { D3D_DEV->setTextureStageState(stage, type, value); }
void tarko_DX7::render_state(Long state, Long value) { D3D_DEV->setRenderState(state, value); }

void tarko_DX7::default_stage(Long stage) {
    stage_state(stage, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(stage, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    stage_state(stage, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE);
    stage_state(stage, dx::D3DTSS_ALPHAOP, dx::D3DTOP_SELECTARG1);
    stage_state(stage, dx::D3DTSS_ALPHAARG1, dx::D3DTA_TEXTURE);
    stage_state(stage, dx::D3DTSS_MINFILTER, dx::D3DTFN_LINEAR);
    stage_state(stage, dx::D3DTSS_MAGFILTER, dx::D3DTFG_LINEAR);
}

// ---- base states

void tarko_DX7::USE_default_Blendstage0() {
    default_stage(0);
    render_state(dx::D3DRENDERSTATE_DITHERENABLE, kTrue);
}

void tarko_DX7::Enable_Blendstage(Long Stage) { default_stage(Stage); }

void tarko_DX7::USE_default_RENDERSTATE() {
    default_stage(0);
    render_state(dx::D3DRENDERSTATE_DITHERENABLE, kTrue);
    render_state(dx::D3DRENDERSTATE_ALPHATESTENABLE, 0);
    render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
    render_state(dx::D3DRENDERSTATE_SPECULARENABLE, 0);
    render_state(dx::D3DRENDERSTATE_ZWRITEENABLE, kTrue);
}

void tarko_DX7::Set_TextureSTATE(Long STATE, Long levelSTATE, Long Blend_effect) {
    stage_state(STATE, levelSTATE, Blend_effect);
}

void tarko_DX7::USE_NULLTEXTURE() { D3D_DEV->setTexture(0, Surface()); }

void tarko_DX7::USE_defaultPROJECTION() {
    ensure_root();
    D3DMATRIX projection;
    DX_7->identityMatrix(projection);
    DX_7->projectionMatrix(projection, NearPlane, FarPlane, static_cast<float>(FieldOfView));
    D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection);
}

void tarko_DX7::USE_defaultMaterial() {
    ensure_root();
    D3DMATERIAL7 material;
    material.diffuse = D3DCOLORVALUE{1, 1, 1, 0};
    material.ambient = D3DCOLORVALUE{1, 1, 1, 0};
    material.power = 1;
    D3D_DEV->setMaterial(material);
    render_state(dx::D3DRENDERSTATE_AMBIENT, DX_7->createColorRGBA(1, 1, 1, 1));
}

void tarko_DX7::SET_Gamma(float) {}

// ---- alpha blending

void tarko_DX7::alphaBLEND_1(bool Is_on) {
    if (!Is_on) {
        render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
        return;
    }
    render_state(dx::D3DRENDERSTATE_SPECULARENABLE, 0);
    render_state(dx::D3DRENDERSTATE_LIGHTING, 0);
    render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    render_state(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCCOLOR);
    render_state(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCCOLOR);
    stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE);
}

void tarko_DX7::Make_Multitexturing() {
    render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    render_state(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_INVSRCALPHA);
    render_state(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_SRCALPHA);
    stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_ALPHAARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_SELECTARG1);
    stage_state(0, dx::D3DTSS_ALPHAOP, dx::D3DTOP_SELECTARG1);
}

void tarko_DX7::FX_alphaBlend_FrameTransparency(bool Activate) {
    if (!Activate) {
        render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
        return;
    }
    render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, kTrue);
    render_state(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCCOLOR);
    render_state(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCCOLOR);
}

void tarko_DX7::TransAlpha_Enable() {
    render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, kTrue);
    render_state(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
    render_state(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
    // Without a greater-or-equal compare the test stays off and blending alone remains.
    render_state(dx::D3DRENDERSTATE_ALPHATESTENABLE, tarko::bool_to_long(AlphaTestOK));
    render_state(dx::D3DRENDERSTATE_ALPHAREF, 8);
    render_state(dx::D3DRENDERSTATE_ALPHAFUNC, dx::D3DCMP_GREATEREQUAL);
}

void tarko_DX7::TransAlpha_Disable() {
    render_state(dx::D3DRENDERSTATE_ALPHATESTENABLE, 0);
    render_state(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
}

// ---- two-stage recipes

void tarko_DX7::MULTITEXTURE_FX_Dark_Mapping(bool Activate, const Surface& TEX1) {
    if (!Activate) {
        stage_state(1, dx::D3DTSS_COLORARG1, dx::D3DTA_CURRENT);
        USE_default_RENDERSTATE();
        Disable_MULTITEXTURING(1);
        return;
    }
    Enable_Blendstage(1);
    stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_SELECTARG1);
    D3D_DEV->setTexture(1, TEX1);
    stage_state(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(1, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
}

void tarko_DX7::smooth_satur(bool Activate, const Surface& tex, Long stage1_op) {
    if (!Activate) {
        USE_default_RENDERSTATE();
        Disable_MULTITEXTURING(1);
        return;
    }
    Enable_Blendstage(1);
    stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE);
    stage_state(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    stage_state(0, dx::D3DTSS_ALPHAOP, dx::D3DTOP_SELECTARG2);
    stage_state(0, dx::D3DTSS_ALPHAARG2, dx::D3DTA_DIFFUSE);
    D3D_DEV->setTexture(1, tex);
    stage_state(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(1, dx::D3DTSS_COLOROP, stage1_op);
    stage_state(1, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    stage_state(1, dx::D3DTSS_ALPHAARG1, dx::D3DTA_TEXTURE);
    stage_state(1, dx::D3DTSS_ALPHAOP, dx::D3DTOP_SELECTARG1);
}

void tarko_DX7::MULTITEXTURE_FX_smooth_satur(bool Activate, const Surface& TEX1) {
    smooth_satur(Activate, TEX1, dx::D3DTOP_ADD);
}

void tarko_DX7::MULTITEXTURE_FX_DetailMODULATE(bool Activate, const Surface& TEX1_stage1) {
    smooth_satur(Activate, TEX1_stage1, dx::D3DTOP_MODULATE2X);
}

void tarko_DX7::MULTITEXTURE_Normal(const Surface& Text_LEV_1) {
    stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_ADDSIGNED);
    stage_state(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    D3D_DEV->setTexture(1, Text_LEV_1);
    stage_state(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(1, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
}

void tarko_DX7::MULTITEXTURE_Dark_Diffu_color_ligh(bool Activate, const Surface& TEX1) {
    if (!Activate) {
        stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_CURRENT);
        stage_state(0, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
        stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_DISABLE);
        USE_default_RENDERSTATE();
        Disable_MULTITEXTURING(1);
        return;
    }
    Enable_Blendstage(1);
    stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_ADDSIGNED);
    D3D_DEV->setTexture(1, TEX1);
    stage_state(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(1, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    stage_state(1, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE);
}

void tarko_DX7::MULTITEXTURE_Specular_mapping(const Surface& TEX0, const Surface& TEX1) {
    D3D_DEV->setTexture(0, TEX0);
    stage_state(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    stage_state(0, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE);
    D3D_DEV->setTexture(1, TEX1);
    stage_state(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(1, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    stage_state(1, dx::D3DTSS_COLOROP, dx::D3DTOP_ADD);
}

// ---- ending multi-texture

void tarko_DX7::Disable_MULTITEXTURING(Long Stage) {
    stage_state(Stage, dx::D3DTSS_COLORARG1, dx::D3DTA_CURRENT);
    stage_state(Stage, dx::D3DTSS_COLOROP, dx::D3DTOP_DISABLE);
    stage_state(Stage, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    stage_state(Stage, dx::D3DTSS_ALPHAARG1, dx::D3DTA_CURRENT);
    stage_state(Stage, dx::D3DTSS_ALPHAOP, dx::D3DTOP_DISABLE);
}

void tarko_DX7::MULTITEXTURING_OFF() {
    Disable_MULTITEXTURING(1);
    USE_default_RENDERSTATE();
}

void tarko_DX7::Disable_MULTITEXTURE() { MULTITEXTURING_OFF(); }

void tarko_DX7::Disable_FX_blend(Long Stage) {
    stage_state(Stage, dx::D3DTSS_COLOROP, dx::D3DTOP_DISABLE);
    stage_state(Stage, dx::D3DTSS_ALPHAOP, dx::D3DTOP_DISABLE);
    stage_state(Stage, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    stage_state(Stage, dx::D3DTSS_ALPHAARG1, dx::D3DTA_CURRENT);
    stage_state(Stage, dx::D3DTSS_ALPHAOP, dx::D3DTOP_DISABLE);
    USE_default_RENDERSTATE();
}

// ---- per-stage blends

void tarko_DX7::blend_colour_off(Long stage) {
    stage_state(stage, dx::D3DTSS_COLORARG1, dx::D3DTA_CURRENT);
    stage_state(stage, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    stage_state(stage, dx::D3DTSS_COLOROP, dx::D3DTOP_DISABLE);
    Disable_MULTITEXTURING(1);
    USE_default_RENDERSTATE();
}

void tarko_DX7::FX_blend_COLOR_lighting(bool Activate, Long STAGE_) {
    if (!Activate) {
        blend_colour_off(STAGE_);
        return;
    }
    stage_state(STAGE_, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(STAGE_, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    stage_state(STAGE_, dx::D3DTSS_COLOROP, dx::D3DTOP_ADD);
}

void tarko_DX7::FX_blend_COLOR_darking(bool Activate, Long STAGE_, Long ANIKY) {
    if (!Activate) {
        blend_colour_off(STAGE_);
        return;
    }
    stage_state(STAGE_, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    stage_state(STAGE_, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    // Worked out wide: 16 ANIKY may not fit a Long.
    const long long c = DarkenCounter, a = ANIKY;
    // The modulate strength always goes to stage 1, whatever STAGE_ is.
    if (c < 4 * a)
        stage_state(1, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE);
    else if (c < 8 * a)
        stage_state(1, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE2X);
    else if (c < 12 * a)
        stage_state(1, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE4X);
    else if (c == 16 * a)
        DarkenCounter = 0;
    DarkenCounter = tarko::runtime::CLng(static_cast<double>(DarkenCounter) + 1);
}

tarko::Variant tarko_DX7::MAke_BumpmapinG(double anlge) {
    using tarko::runtime::CLng;
    const double c = std::cos(anlge), s = std::sin(anlge);
    stage_state(0, dx::D3DTSS_BUMPENVMAT00, CLng(c));
    stage_state(0, dx::D3DTSS_BUMPENVMAT01, CLng(s));
    stage_state(0, dx::D3DTSS_BUMPENVMAT10, CLng(-s));
    stage_state(0, dx::D3DTSS_BUMPENVMAT11, CLng(c));
    return {};
}
