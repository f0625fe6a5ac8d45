// Colour, material and light records, the engine's light list, and fog.
#include <numbers>

#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "runtime/numeric.h"
#include "runtime/services.h"

using tarko::Long;
using tarko::Variant;
namespace rt = tarko::runtime;

namespace {
// Cone of a spot light: a third and two thirds of a right angle.
constexpr float kSpotTheta = static_cast<float>(std::numbers::pi / 6);
constexpr float kSpotPhi = static_cast<float>(std::numbers::pi / 3);

void fill_light(D3DLIGHT7& light, const D3DCOLORVALUE& ambient, const D3DCOLORVALUE& diffuse) {
    light.ambient = ambient;
    light.diffuse = diffuse;
    light.attenuation0 = 1;
    light.attenuation1 = 1;
    light.attenuation2 = 0;
}
}  // namespace

D3DCOLORVALUE tarko_DX7::D3Dcolor(const Variant& R, const Variant& G, const Variant& B, const Variant& A) {
    return {R.to_single(), G.to_single(), B.to_single(), A.to_single()};
}

D3DCOLORVALUE tarko_DX7::Create_RND_D3Dcolor() {
    rt::Randomize();
    D3DCOLORVALUE c;
    c.r = rt::Rnd();
    c.g = rt::Rnd();
    c.b = rt::Rnd();
    c.a = rt::Rnd();
    return c;
}

D3DMATERIAL7 tarko_DX7::Create_Material(const Variant& R, const Variant& G, const Variant& B, const Variant&) {
    D3DMATERIAL7 m;
    m.diffuse = {R.to_single(), G.to_single(), B.to_single(), 0};
    m.ambient = m.diffuse;
    return m;
}

D3DMATERIAL7 tarko_DX7::Create_Material2(const D3DCOLORVALUE& Difu, const D3DCOLORVALUE& AMB) {
    D3DMATERIAL7 m;
    m.diffuse = Difu;
    m.ambient = AMB;
    return m;
}

void tarko_DX7::SetMaterial(const D3DCOLORVALUE& Difu, const D3DCOLORVALUE& AMB) {
    D3D_DEV->setMaterial(Create_Material2(Difu, AMB));
    Set_Light(true);
}

Variant tarko_DX7::Set_Light(bool OnN) {
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, tarko::bool_to_long(OnN));
    return {};
}

D3DLIGHT7 tarko_DX7::Getlight(Long TYP, const D3DVECTOR& Position, const D3DCOLORVALUE& AMB,
                              const D3DCOLORVALUE& DIFFU, float Rayon, const D3DVECTOR& Directio) {
    D3DLIGHT7 light;
    if (TYP == D3DLIGHT_POINT) {
        fill_light(light, AMB, DIFFU);
        light.range = Rayon;
        light.position = Position;
    } else if (TYP == D3DLIGHT_DIRECTIONAL) {
        fill_light(light, AMB, DIFFU);
        light.direction = Directio;
    }
    light.dltType = TYP;
    return light;
}

tarko::Integer tarko_DX7::ADD_light(Long TYP, const D3DVECTOR& Position, const D3DCOLORVALUE& AMB,
                                    const D3DCOLORVALUE& DIFFU, float Rayon, const D3DVECTOR& Directio) {
    LightCount = rt::CInt(static_cast<double>(LightCount) + 1);  // the 32768th raises 6
    LightRecords.ReDimPreserve(LightCount);                       // one spare last record
    D3DLIGHT7& light = LightRecords(LightCount - 1);
    light = D3DLIGHT7{};
    if (TYP == D3DLIGHT_POINT) {
        light = Getlight(TYP, Position, AMB, DIFFU, Rayon, Directio);
    } else if (TYP == D3DLIGHT_DIRECTIONAL) {
        light = Getlight(TYP, Position, AMB, DIFFU, Rayon, Directio);
        light.position = Position;
    } else if (TYP == D3DLIGHT_SPOT) {
        fill_light(light, AMB, DIFFU);
        light.falloff = 1;
        light.direction = Directio;
        light.position = Position;
        light.theta = kSpotTheta;
        light.phi = kSpotPhi;
    }
    light.dltType = TYP;
    NextLightIndex = rt::CInt(static_cast<double>(NextLightIndex) + 1);
    D3D_DEV->setLight(NextLightIndex, light);
    D3D_DEV->lightEnable(NextLightIndex, true);
    return rt::CInt(static_cast<double>(LightCount) - 1);
}

Variant tarko_DX7::LIGHT_enable(const Variant& Pindex, bool isON) {
    D3D_DEV->lightEnable(Pindex.to_long(), isON);
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, tarko::kTrue);
    return {};
}

void tarko_DX7::LIGHT_Position(const Variant& Pindex, const D3DVECTOR& Position) {
    const Long index = Pindex.to_long();
    D3DLIGHT7& light = LightRecords(index);  // 9 outside the list or before any light
    light.position = Position;
    D3D_DEV->setLight(index, light);
    D3D_DEV->lightEnable(index, true);
}

Variant tarko_DX7::LIGHT_GETFreeINDEX() {
    if (NextLightIndex < 0) NextLightIndex = 0;
    return Variant(NextLightIndex);
}

Variant tarko_DX7::LIGHT_SetFreeINDEX(const Variant& FreeIndex) {
    NextLightIndex = FreeIndex.to_integer();
    return {};
}

void tarko_DX7::SetFog(bool ON_it, double Density, Long color, Long FogMode) {
    if (Density > 0) {
        FOGdensity = Density;
        D3D_DEV->setRenderStateSingle(dx::D3DRENDERSTATE_FOGDENSITY, rt::CSng(Density));
    }
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_FOGCOLOR, color);
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, FogMode);
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_FOGENABLE, tarko::bool_to_long(ON_it));
}

void tarko_DX7::SetFog_EX(const Variant& FogStart, const Variant& FogEnd, double Density, Long color) {
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_FOGENABLE, tarko::kTrue);
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_FOGCOLOR, color);
    D3D_DEV->setRenderStateSingle(dx::D3DRENDERSTATE_FOGDENSITY, rt::CSng(Density));
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_LINEAR);
    D3D_DEV->setRenderStateSingle(dx::D3DRENDERSTATE_FOGSTART, FogStart.to_single());
    D3D_DEV->setRenderStateSingle(dx::D3DRENDERSTATE_FOGEND, FogEnd.to_single());
}

void tarko_DX7::Kill_Fog() { D3D_DEV->setRenderState(dx::D3DRENDERSTATE_FOGENABLE, 0); }
