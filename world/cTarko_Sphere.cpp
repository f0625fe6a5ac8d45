// cTarko_Sphere: the sky's strip and its draw.
#include "world/cTarko_Sphere.h"

#include <cmath>

#include "platform/constants.h"
#include "runtime/errors.h"

using tarko::Long;
using tarko::Variant;
namespace rt = tarko::runtime;

namespace {

Long rings_of(Tarko_SPHERE_QUALITY q) {
    switch (q) {
        case LOW_QUALITY: return 10;
        case NORMAL_QUALITY: return 15;
        case HIGH_QUALITY: return 20;
        case SMOOTH_QUALITY: return 28;
    }
    return 0;
}

}  // namespace

bool cTarko_Sphere::InitSPhere(tarko_DX7& DXengine, const std::string& TexTurefile, Tarko_SPHERE_QUALITY Quality,
                               float BaseXscale, float BaseYscale, float BaseZscale) {
    if (!TexTurefile.empty()) {
        SkyTexture = DXengine.CreateTextureEX(TexTurefile, 256, 256);
        SkyTextured = true;
    }
    const Long rings = rings_of(Quality), sections = rings;
    Set_Scale(Variant(1.0), Variant(1.0), Variant(1.0));
    Set_Position(Variant(0.0), Variant(0.0), Variant(0.0));

    const double t = 1.0;   // texture scale
    const double dt = rt::Div(3.14159265, rings), dp = rt::Div(6.2831853, sections);
    const Long count = 2 * rings * (sections + 1);
    tarko::SafeArray<D3DVERTEX> strip(0, count);   // one spare last element
    Long n = 0;
    for (Long i = 0; i <= rings - 1; ++i) {
        const double r0 = std::sin(i * dt), r1 = std::sin((i + 1) * dt);
        const double y0 = std::cos(i * dt), y1 = std::cos((i + 1) * dt);
        for (Long j = 0; j <= sections; ++j) {
            const double s = std::sin(j * dp), c = std::cos(j * dp);
            // tu runs negative so that the picture wraps against j.
            const float tu = rt::CSng(-static_cast<double>(j) / sections * t);
            for (int k = 0; k < 2; ++k) {
                const double r = k ? r1 : r0, y = k ? y1 : y0;
                const float tv = rt::CSng(static_cast<double>(i + k) / rings * t);
                // The pole lies on y: BaseZscale stretches y, BaseYscale z.
                strip(n++) = D3DVERTEX{rt::CSng(r * s * BaseXscale), rt::CSng(y * BaseZscale),
                                       rt::CSng(r * c * BaseYscale), rt::CSng(r * s), rt::CSng(y),
                                       rt::CSng(r * c), tu, tv};
            }
        }
    }
    SkyVertices = std::move(strip);
    SkyVertexCount = count;
    return SkyVertexCount > 0;
}

void cTarko_Sphere::Render(tarko_DX7& DXengine, bool ForceDomeSky) {
    if (!DXengine.D3D_DEV) tarko::raise_error(tarko::err::ObjectNotSet);
    auto& dev = *DXengine.D3D_DEV;
    dev.setTexture(0, SkyTexture);   // also Nothing: the stage is left untextured
    Long cull = 0;
    if (ForceDomeSky) {
        cull = dev.getRenderState(dx::D3DRENDERSTATE_CULLMODE);
        dev.setRenderState(dx::D3DRENDERSTATE_CULLMODE, dx::D3DCULL_NONE);
    }
    DXengine.CLearMATRIX();
    DXengine.OBJECT_Scale_MOV(Variant(SkyScale.x), Variant(SkyScale.y), Variant(SkyScale.z), Variant(SkyPosition.x),
                              Variant(SkyPosition.y), Variant(SkyPosition.z));
    if (!SkyVertices.dimensioned()) tarko::raise_error(tarko::err::SubscriptOutOfRange);
    dev.drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, SkyVertices.from(0), SkyVertexCount, 0);
    DXengine.CLearMATRIX();
    if (ForceDomeSky) dev.setRenderState(dx::D3DRENDERSTATE_CULLMODE, cull);
}

void cTarko_Sphere::Set_Position(const Variant& X, const Variant& Y, const Variant& z) {
    SkyPosition = {X.to_single(), Y.to_single(), z.to_single()};
}

void cTarko_Sphere::Set_Rotation(const Variant& X, const Variant& Y, const Variant& z) {
    SkyRotation = {X.to_single(), Y.to_single(), z.to_single()};
}

void cTarko_Sphere::Set_Scale(const Variant& X, const Variant& Y, const Variant& z) {
    SkyScale = {X.to_single(), Y.to_single(), z.to_single()};
}
