// Geometry builders of the engine object: textured cubes built into host-owned
// arrays by tarko::geometry, drawn as triangle strips of D3DVERTEX.
#include "engine/tarko_dx7.h"
#include "geometry/cube.h"
#include "geometry/host_array.h"
#include "platform/constants.h"

using tarko::Variant;
namespace geometry = tarko::geometry;

void tarko_DX7::CreateCube(tarko::SafeArray<D3DVERTEX>& Vertices, float Size) {
    const float h = Size / 2;
    geometry::write_textured_cube(Vertices, D3DVECTOR{h, h, h}, 1.0f, 1.0f);
}

void tarko_DX7::CreateCubeEX(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& Vsize, const Variant& TileX,
                             const Variant& TileY) {
    // Both coerced before the array is touched, so a bad tile changes nothing.
    const float tx = geometry::tile_argument(TileX);
    const float ty = geometry::tile_argument(TileY);
    geometry::write_textured_cube(Vertices, D3DVECTOR{Vsize.x / 2, Vsize.y / 2, Vsize.z / 2}, tx, ty);
}

void tarko_DX7::RenderCUBE(const tarko::SafeArray<D3DVERTEX>& VERTIK) {
    for (const tarko::Long first : geometry::kCubeFaceStarts) {
        geometry::require_element(VERTIK, first);
        D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, VERTIK.from(first),
                               geometry::kCubeFaceVertices, 0);
    }
}
