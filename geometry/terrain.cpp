// Random terrain: grid size, vertices, index list.
#include "geometry/terrain.h"

#include <cmath>

#include "geometry/host_array.h"
#include "platform/base/dx_math.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace tarko::geometry {

TerrainGrid terrain_grid(const D3DVECTOR& from, const D3DVECTOR& to, double x_step, double z_step) {
    const Integer dx = runtime::CInt(std::fabs(static_cast<double>(to.x) - from.x));
    const Integer dz = runtime::CInt(std::fabs(static_cast<double>(to.z) - from.z));
    return TerrainGrid{runtime::CLng(runtime::Int(runtime::Div(dx, x_step))),
                       runtime::CLng(runtime::Int(runtime::Div(dz, z_step)))};
}

void write_random_terrain(const D3DVECTOR& from, const TerrainGrid& grid, SafeArray<D3DLVERTEX>& vertices,
                          SafeArray<Integer>& indices, double x_step, double z_step, double y_factor, float tu,
                          float tv) {
    const Long W = grid.columns, H = grid.rows;
    if (W < 0 || H < 0) raise_error(err::SubscriptOutOfRange);
    if (static_cast<long long>(W) * H > kTerrainMaxPoints) raise_error(err::Overflow);
    prepare_host_array(vertices, W * H + 1);

    const std::int32_t white = dxmath::createColorRGBA(1, 1, 1, 1);
    for (Long i = 1; i <= W; ++i)
        for (Long j = 1; j <= H; ++j) {
            auto steps = runtime::Int(static_cast<double>(runtime::Rnd()) * kTerrainSteps);
            if (i == 1 || i == W || j == 1 || j == H) steps = 0;   // the rim lies flat
            dxmath::createD3DLVertex(runtime::CSng(from.x + x_step * i), runtime::CSng(from.y + steps * y_factor),
                                     runtime::CSng(from.z + z_step * j), white, white,
                                     static_cast<float>(tu * (static_cast<double>(i) / W)),
                                     static_cast<float>(tv * (static_cast<double>(j) / H)),
                                     vertices(terrain_vertex(grid, i, j)));
        }

    indices.ReDim(0, 6 * W * H);
    Long n = 0;
    auto put = [&](Long k) { indices(n++) = runtime::CInt(k); };
    for (Long i = 1; i <= W - 1; ++i)
        for (Long j = 1; j <= H - 1; ++j) {
            put(terrain_vertex(grid, i, j + 1)), put(terrain_vertex(grid, i + 1, j)), put(terrain_vertex(grid, i, j));
            put(terrain_vertex(grid, i, j + 1)), put(terrain_vertex(grid, i + 1, j + 1));
            put(terrain_vertex(grid, i + 1, j));
        }
    indices.ReDimPreserve(n);
}

}  // namespace tarko::geometry
