// Spheres, sphere mapping, random terrain and vertex editing of the engine
// object, over tarko::geometry.
#include "engine/tarko_dx7.h"
#include "geometry/sphere.h"
#include "geometry/terrain.h"
#include "geometry/vertex_edit.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"

#include <cmath>

using tarko::Integer;
using tarko::Long;
using tarko::Variant;
namespace geometry = tarko::geometry;

void tarko_DX7::CreateSphere(tarko::SafeArray<D3DVERTEX>& pVertices, Long& pdwNumVertices,
                             tarko::SafeArray<Integer>& pIndices, Long& pdwNumIndices, float fRadius, Long dwNumRings) {
    const auto counts = geometry::write_sphere(pVertices, pIndices, fRadius, dwNumRings);
    pdwNumVertices = counts.vertices;
    pdwNumIndices = counts.indices;
}

bool tarko_DX7::Create_SPHEREmap(tarko::SafeArray<D3DVERTEX>& lpVERTEX) {
    D3DMATRIX view, world, m;
    D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_VIEW, view);
    D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_WORLD, world);
    tarko::dxmath::matrixMultiply(m, world, view);
    const Long lo = lpVERTEX.LBound(), hi = lpVERTEX.UBound();
    for (long long i = lo; i <= hi; ++i) {
        D3DVERTEX& v = lpVERTEX(static_cast<Long>(i));
        const double nx = v.nx, ny = v.ny, nz = v.nz;
        const auto z = static_cast<float>(nx * m.at(1, 3) + ny * m.at(2, 3) + nz * m.at(3, 3));
        if (z > 0) continue;   // facing away: its coordinates stay
        v.tu = static_cast<float>((nx * m.at(1, 1) + ny * m.at(2, 1) + nz * m.at(3, 1) + 1) * 0.5);
        v.tv = static_cast<float>((1 - (nx * m.at(1, 2) + ny * m.at(2, 2) + nz * m.at(3, 2))) * 0.5);
    }
    return true;
}

Variant tarko_DX7::Load_Random_Terrain(const D3DVECTOR& Vec_From, const D3DVECTOR& VEC_to,
                                       tarko::SafeArray<D3DLVERTEX>& VertexX, tarko::SafeArray<Integer>& IndEXX,
                                       const Variant& XPrecision, const Variant& ZPrecision, const Variant& YFactor,
                                       float tu, float tv, Integer /*RDOM*/) {
    const double xs = XPrecision.to_double(), zs = ZPrecision.to_double(), yf = YFactor.to_double();
    const auto grid = geometry::terrain_grid(Vec_From, VEC_to, xs, zs);
    geometry::write_random_terrain(Vec_From, grid, VertexX, IndEXX, xs, zs, yf, tu, tv);
    return {};
}

Variant tarko_DX7::MOVe_Vertext(tarko::SafeArray<D3DVERTEX>& OBJvert, double TransX, double TransY, double TransZ) {
    geometry::move_positions(OBJvert, TransX, TransY, TransZ);
    return {};
}

Variant tarko_DX7::Rotate_Vertext(tarko::SafeArray<D3DVERTEX>& OBJvert, const Variant& Xangle, const Variant& Yangle,
                                  const Variant& Zangle) {
    const double dx = std::cos(Xangle.to_double()), dy = std::sin(Yangle.to_double()),
                 dz = std::sin(Zangle.to_double());
    geometry::move_positions(OBJvert, dx, dy, dz);
    return {};
}

Variant tarko_DX7::SET_VERTEXT_position(tarko::SafeArray<D3DVERTEX>& OBJvert, float TransX, float TransY,
                                        float TransZ) {
    geometry::push_away_from(OBJvert, TransX, TransY, TransZ);
    return {};
}

Variant tarko_DX7::SET_LVERTEXT_position(tarko::SafeArray<D3DLVERTEX>& OBJvert, float TransX, float TransY,
                                         float TransZ) {
    geometry::place_all_at(OBJvert, TransX, TransY, TransZ);
    return {};
}

Variant tarko_DX7::SCALEvertex(tarko::SafeArray<D3DVERTEX>& OBJvert, float TransX, float TransY, float TransZ) {
    geometry::scale_positions(OBJvert, TransX, TransY, TransZ);
    return {};
}

Variant tarko_DX7::SCALElvertex(tarko::SafeArray<D3DLVERTEX>& OBJvert, float TransX, float TransY, float TransZ) {
    geometry::scale_positions(OBJvert, TransX, TransY, TransZ);
    return {};
}
