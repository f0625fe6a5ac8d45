// cTarko_landScape: the water quad and the billboard quad.
#include <cmath>

#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "runtime/numeric.h"
#include "world/cTarko_landScape.h"

using tarko::Variant;
namespace rt = tarko::runtime;

void cTarko_landScape::build_water_and_billboard() {
    const std::int32_t white = tarko::dxmath::createColorRGBA(1, 1, 1, 1);
    const float w = WaterSizeX, d = WaterSizeZ;
    // A strip from the local origin: the grid starts one step further in.
    WaterVertices[1] = {w, 0, 0, 0, white, white, 1, 1};
    WaterVertices[2] = {0, 0, 0, 0, white, white, 0, 1};
    WaterVertices[3] = {w, 0, d, 0, white, white, 1, 0};
    WaterVertices[4] = {0, 0, d, 0, white, white, 0, 0};
    BillboardQuad[0] = {-1, 1, -1, 0, 0, -1, 0, 0};
    BillboardQuad[1] = {1, 1, -1, 0, 0, -1, 1, 0};
    BillboardQuad[2] = {-1, -1, -1, 0, 0, -1, 0, 1};
    BillboardQuad[3] = {1, -1, -1, 0, 0, -1, 1, 1};
}

void cTarko_landScape::SetWaterAltitude(float ALTITUDE) {
    WaterAltitude = ALTITUDE;
    for (int k = 1; k <= 4; ++k) WaterVertices[static_cast<std::size_t>(k)].y = ALTITUDE;
}

void cTarko_landScape::Load_Watertexture(const std::string& WtexFile) {
    try {
        WaterTexture = engine().CreateTextureEX(WtexFile, 256, 256);
        WaterTextureLoaded = true;
    } catch (const tarko::RuntimeError&) {
        WaterTextureLoaded = false;
    }
}

void cTarko_landScape::SetWaterEffect(bool alpha, float AlphaFactor, bool Animated) {
    WaterAlpha = alpha;
    WaterAlphaFactor = AlphaFactor;
    WaterAnimated = Animated;
    const std::int32_t colour = tarko::dxmath::createColorRGBA(1, 1, 1, AlphaFactor);
    for (int k = 1; k <= 4; ++k) WaterVertices[static_cast<std::size_t>(k)].color = colour;
}

void cTarko_landScape::SetWaterEnable(bool) { WaterEnabled = true; }

void cTarko_landScape::SetWaterTextureScale(float ScaleTexture) {
    if (!WaterAnimated) {
        for (int k = 1; k <= 4; ++k) {
            D3DLVERTEX& v = WaterVertices[static_cast<std::size_t>(k)];
            v.tu = rt::CSng(static_cast<double>(v.tu) * ScaleTexture);
            v.tv = rt::CSng(static_cast<double>(v.tv) * ScaleTexture);
        }
    }
    WaterTextureScale = ScaleTexture;
}

void cTarko_landScape::Water_Render() {
    if (!WaterEnabled) return;
    tarko_DX7& dx = engine();
    auto& dev = *dx.D3D_DEV;
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, tarko::kFalse);
    dx.OBJECT_Scale_MOV(Variant(WaterScale.x), Variant(WaterScale.y), Variant(WaterScale.z), Variant(WaterPlace.x),
                        Variant(WaterPlace.y), Variant(WaterPlace.z));
    if (WaterTextureLoaded) dev.setTexture(0, WaterTexture);
    if (WaterAnimated) {
        // The phase grows with elapsed time, so the sway keeps its speed
        // whatever the frame rate; it moves u by at most 1% of the scale.
        WaterPhase = rt::CSng(WaterPhase + static_cast<double>(dx.ElapseFrame()) * 0.001);
        const double s = WaterTextureScale;
        const double o = std::cos(static_cast<double>(WaterPhase)) * s / 100;
        const float su = rt::CSng(s + o), ou = rt::CSng(o), sv = rt::CSng(s);
        WaterVertices[1].tu = su, WaterVertices[1].tv = sv;
        WaterVertices[2].tu = ou, WaterVertices[2].tv = sv;
        WaterVertices[3].tu = su, WaterVertices[3].tv = 0;
        WaterVertices[4].tu = ou, WaterVertices[4].tv = 0;
        if (WaterPhase > 1080) WaterPhase = -720;
    }
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, tarko::bool_to_long(WaterAlpha));
    dev.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
    dev.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ONE);   // additive, not inverse alpha
    dev.drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_LVERTEX, std::span<const D3DLVERTEX>(WaterVertices).subspan(1),
                      4, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, tarko::kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, tarko::kFalse);
}

bool cTarko_landScape::Water_Collision(const D3DVECTOR& vPOS, float Max_OverWaterAltitude) {
    // Water_Position.y is the level that counts, not WaterAltitude.
    const double x0 = WaterPlace.x, z0 = WaterPlace.z;
    return vPOS.y < static_cast<double>(WaterPlace.y) + Max_OverWaterAltitude && x0 <= vPOS.x &&
           vPOS.x <= static_cast<double>(WaterSizeX) * WaterScale.x + x0 && z0 <= vPOS.z &&
           vPOS.z <= static_cast<double>(WaterSizeZ) * WaterScale.z + z0;
}

void cTarko_landScape::Render_BilBoard(const D3DVECTOR& ObJPOS, float Widt, float Heig) {
    tarko_DX7& dx = engine();
    const Variant heading = dx.CAM_angleBilBOARD();
    auto& dev = *dx.D3D_DEV;
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, tarko::kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
    dev.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHATESTENABLE, tarko::kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHAREF, 8);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHAFUNC, dx::D3DCMP_GREATEREQUAL);
    // The quad spans -1..1: a third of the size as scale gives two thirds
    // drawn, and the lift by a third puts its foot at ObJPOS.y.
    dx.OBJECT_Scale_Rotate_MOV(Variant(Widt / 3.0), Variant(Heig / 3.0), Variant(1.0), Variant(0.0), heading,
                               Variant(0.0), Variant(ObJPOS.x), Variant((1.0 / 3.0) * Heig + ObJPOS.y),
                               Variant(ObJPOS.z));
    dev.drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, std::span<const D3DVERTEX>(BillboardQuad), 4, 0);
    dx.CLearMATRIX();
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHATESTENABLE, tarko::kFalse);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, tarko::kFalse);
}
