// cTarko_landScape: loading, placement, drawing and the altitude queries.
#include "world/cTarko_landScape.h"

#include "images/dib_section.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "platform/gdi/gdi.h"
#include "platform/image/picture_loader.h"
#include "runtime/errors.h"
#include "world/altitude.h"

using tarko::Long;
using tarko::Variant;
namespace rt = tarko::runtime;
namespace world = tarko::world;
namespace gdi = tarko::platform::gdi;

cTarko_landScape::cTarko_landScape() = default;

tarko_DX7& cTarko_landScape::engine() {
    if (!Engine) tarko::raise_error(tarko::err::ObjectNotSet);
    return *Engine;
}

void cTarko_landScape::INITIALIZE(tarko_DX7& cTKX) {
    Engine = &cTKX;
    Position = {0, 0, 0};
    Scale = {1, 1, 1};
}

void cTarko_landScape::LoadTerrain(const std::string& HeightMapFile, const Variant& precision, const Variant& YFactor,
                                   float tu, float tv, const std::string& TexTurefile) {
    tarko_DX7& dx = engine();
    const auto picture = tarko::platform::LoadPicture(HeightMapFile);
    cDIBSection bitmap;   // temporary: released when the grid is built
    bitmap.CreateFromPicture(picture);
    if (!TexTurefile.empty()) TerrainTexture = dx.CreateTextureEX(TexTurefile, 256, 256);
    const gdi::HDC hdc = bitmap.hDC();
    world::HeightField grid = world::build_height_field(
        bitmap.width(), bitmap.Height(), [hdc](Long x, Long y) { return hdc ? gdi::GetPixel(hdc, x, y) : 0; },
        precision, YFactor, tu, tv);

    Grid = std::move(grid);
    const double p = precision.to_double();
    WaterSizeX = rt::CSng(Grid.columns * p);
    WaterSizeZ = rt::CSng(Grid.rows * p);
    build_water_and_billboard();
    WaterAltitude = 0;
    WaterPhase = 0.05f;
    WaterTextureScale = 1.0f;
    PrecisionCollide = 5.0f;
    VertexKind = Tarko_VERTEX;
    is_ACTIVE = true;
}

bool cTarko_landScape::CheckIfVisible() {
    const Long r = engine().D3D_DEV->computeSphereVisibility(Grid.centre, Grid.radius);
    if (r & 0xFFF000) {
        Visible = 0;
        return false;
    }
    Visible = (r & 0xFFF) ? 1 : 2;
    return true;
}

void cTarko_landScape::RenderAll(bool LIGH) {
    tarko_DX7& dx = engine();
    dx.CLearMATRIX();
    dx.OBJECT_Scale_MOV(Variant(Scale.x), Variant(Scale.y), Variant(Scale.z), Variant(Position.x),
                        Variant(Position.y), Variant(Position.z));
    if (!CheckIfVisible()) return;
    if (TerrainTexture) dx.D3D_DEV->setTexture(0, TerrainTexture);
    const Long vertex_count = Grid.vertices.UBound();
    const Long index_count = Grid.indices.UBound() - 2;
    if (!LIGH) {
        dx.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, tarko::kTrue);
        dx.D3D_DEV->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX, Grid.vertices.from(0),
                                         vertex_count, Grid.indices.from(0), index_count, 0);
    } else {
        dx.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, tarko::kFalse);
        dx.D3D_DEV->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_LVERTEX, Grid.lit_vertices.from(0),
                                         vertex_count, Grid.indices.from(0), index_count, 0);
    }
    dx.CLearMATRIX();
}

void cTarko_landScape::SetTextureCoordinates(const Variant& tu, const Variant& tv) {
    world::set_texture_coordinates(Grid, tu.to_double(), tv.to_double());
}

void cTarko_landScape::SetVertexType(CONST_Tarko_VERTEX_TYPE vertextype) { VertexKind = vertextype; }

// ---- queries

float cTarko_landScape::Get_Altitude_U(const D3DVECTOR& VEC) {
    return is_ACTIVE ? world::altitude(Grid, VEC, world::AltitudeAnswer::U) : 0;
}

float cTarko_landScape::Get_Altitude_V(const D3DVECTOR& VEC) {
    return is_ACTIVE ? world::altitude(Grid, VEC, world::AltitudeAnswer::V) : 0;
}

D3DVECTOR cTarko_landScape::world_to_grid(const D3DVECTOR& VEC, bool& inside) const {
    const D3DRMBOX& box = Grid.box;
    const double w = static_cast<double>(box.max.x) - box.min.x;
    const double d = static_cast<double>(box.max.z) - box.min.z;
    // Strictly inside: a point on the edge is outside.
    inside = VEC.x < w * Scale.x + Position.x && VEC.x > Position.x && VEC.z > Position.z &&
             VEC.z < d * Scale.z + Position.z;
    if (!inside) return {};
    const double fx = (static_cast<double>(VEC.x) - Position.x) / (w * Scale.x);
    const double fz = (static_cast<double>(VEC.z) - Position.z) / (d * Scale.z);
    return {rt::CSng(w * fx + box.min.x), 0, rt::CSng(d * fz + box.min.z)};
}

float cTarko_landScape::Get_Altitude_EX(const D3DVECTOR& VEC) {
    bool inside = false;
    const D3DVECTOR g = world_to_grid(VEC, inside);
    if (!inside || !is_ACTIVE) return 0;
    return rt::CSng(static_cast<double>(Scale.y) * world::altitude(Grid, g, world::AltitudeAnswer::Height));
}

float cTarko_landScape::Get_Angle_U(const D3DVECTOR& VEC) {
    bool inside = false;
    const D3DVECTOR g = world_to_grid(VEC, inside);
    return inside ? Get_Altitude_U(g) : 0;
}

float cTarko_landScape::Get_Angle_V(const D3DVECTOR& VEC) {
    bool inside = false;
    const D3DVECTOR g = world_to_grid(VEC, inside);
    return inside ? Get_Altitude_V(g) : 0;
}

bool cTarko_landScape::DetectCollision(D3DVECTOR& Origin, D3DVECTOR& Dest) {
    if (!is_ACTIVE) return false;
    Dest = VSubtract(Dest, Origin);   // the caller's variable now holds the direction
    tarko::dxmath::vectorNormalize(Dest);
    return world::ray_hits(Grid, Origin, Dest, PrecisionCollide);
}

// ---- helpers

D3DVECTOR cTarko_landScape::VCrossProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2) {
    D3DVECTOR r;
    tarko::dxmath::vectorCrossProduct(r, dV1, dV2);
    return r;
}

float cTarko_landScape::VDotProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2) {
    return tarko::dxmath::vectorDotProduct(dV1, dV2);
}

D3DVECTOR cTarko_landScape::VSubtract(const D3DVECTOR& dV1, const D3DVECTOR& dV2) {
    D3DVECTOR r;
    tarko::dxmath::vectorSubtract(r, dV1, dV2);
    return r;
}

D3DVECTOR cTarko_landScape::VectorSETPOS(const D3DVECTOR&) { return {0, 0, 0}; }

D3DLVERTEX cTarko_landScape::vecLVertex(const D3DVECTOR& v, Long color, const Variant& tu, const Variant& tv) {
    return D3DLVERTEX{v.x, v.y, v.z, 0, color, color, tu.to_single(), tv.to_single()};
}

D3DVERTEX cTarko_landScape::vecVertex(const D3DVECTOR& v, const Variant& tu, const Variant& tv) {
    return D3DVERTEX{v.x, v.y, v.z, 0, 0, 0, tu.to_single(), tv.to_single()};
}

D3DVERTEX cTarko_landScape::RVertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv) {
    return D3DVERTEX{Vect.x, Vect.y, Vect.z, vNorm.x, vNorm.y, vNorm.z, tu, tv};
}

void cTarko_landScape::Set_Position(const Variant& X, const Variant& Y, const Variant& z) {
    Position = {X.to_single(), Y.to_single(), z.to_single()};
}

void cTarko_landScape::Set_Rotation(const Variant& X, const Variant& Y, const Variant& z) {
    TerrainRotation = {X.to_single(), Y.to_single(), z.to_single()};
}

void cTarko_landScape::Set_Scale(const Variant& X, const Variant& Y, const Variant& z) {
    Scale = {X.to_single(), Y.to_single(), z.to_single()};
}
