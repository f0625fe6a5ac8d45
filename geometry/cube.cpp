// Textured cube: one table of corners, normals and texture corners.
#include "geometry/cube.h"

#include "geometry/host_array.h"
#include "platform/base/dx_math.h"

namespace tarko::geometry {
namespace {

// Corner signs pick -half (A) or +half (B) per axis; u and v pick 0 or the tile.
struct CubeCorner {
    signed char x, y, z;
    signed char nx, ny, nz;
    unsigned char u, v;
};

constexpr std::array<CubeCorner, 24> kCorners{{
    {-1, +1, -1, 0, 0, -1, 0, 0}, {+1, +1, -1, 0, 0, -1, 1, 0},   // -z
    {-1, -1, -1, 0, 0, -1, 0, 1}, {+1, -1, -1, 0, 0, -1, 1, 1},
    {-1, +1, +1, 0, 0, +1, 1, 0}, {-1, -1, +1, 0, 0, +1, 1, 1},   // +z
    {+1, +1, +1, 0, 0, +1, 0, 0}, {+1, -1, +1, 0, 0, +1, 0, 1},
    {-1, +1, +1, 0, +1, 0, 0, 0}, {+1, +1, +1, 0, +1, 0, 1, 0},   // +y
    {-1, +1, -1, 0, +1, 0, 0, 1}, {+1, +1, -1, 0, +1, 0, 1, 1},
    {-1, -1, +1, 0, -1, 0, 0, 0}, {-1, -1, -1, 0, -1, 0, 0, 1},   // -y
    {+1, -1, +1, 0, -1, 0, 1, 0}, {+1, -1, -1, 0, -1, 0, 1, 1},
    {+1, +1, -1, +1, 0, 0, 0, 0}, {+1, +1, +1, +1, 0, 0, 1, 0},   // +x
    {+1, -1, -1, +1, 0, 0, 0, 1}, {+1, -1, +1, +1, 0, 0, 1, 1},
    {-1, +1, -1, -1, 0, 0, 1, 0}, {-1, -1, -1, -1, 0, 0, 1, 1},   // -x
    {-1, +1, +1, -1, 0, 0, 0, 0}, {-1, -1, +1, -1, 0, 0, 0, 1},
}};

float pick(signed char sign, float half) { return sign < 0 ? -half : half; }

}  // namespace

std::array<D3DVERTEX, 24> textured_cube(const D3DVECTOR& half, float tile_u, float tile_v) {
    std::array<D3DVERTEX, 24> out{};
    for (std::size_t i = 0; i < kCorners.size(); ++i) {
        const CubeCorner& c = kCorners[i];
        dxmath::createD3DVertex(pick(c.x, half.x), pick(c.y, half.y), pick(c.z, half.z), c.nx, c.ny, c.nz,
                                c.u ? tile_u : 0.0f, c.v ? tile_v : 0.0f, out[i]);
    }
    return out;
}

void write_textured_cube(SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& half, float tile_u, float tile_v) {
    const auto cube = textured_cube(half, tile_u, tile_v);
    prepare_host_array(vertices, kCubeUpperBound);
    for (Long i = 0; i <= kCubeUpperBound; ++i) vertices(i) = cube[static_cast<std::size_t>(i)];
}

}  // namespace tarko::geometry
