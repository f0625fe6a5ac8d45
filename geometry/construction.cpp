// Constructions: the seven quads, what each value builds, the wall tests.
#include "geometry/construction.h"

#include "geometry/host_array.h"
#include "platform/base/dx_math.h"

namespace tarko::geometry {
namespace {

// Corner picks (0: a, 1: b) per axis, and texture corners: 0, 1 (the tile)
// or, for Q, the literal 0 and 1 (2 stands for a literal 1).
struct Corner {
    unsigned char x, y, z, u, v;
};
struct QuadRows {
    signed char nx, ny, nz;
    std::array<Corner, 4> corners;
};

constexpr std::array<QuadRows, 7> kQuads{{
    {1, 0, 0, {{{0, 1, 0, 0, 0}, {0, 1, 1, 1, 0}, {0, 0, 0, 0, 1}, {0, 0, 1, 1, 1}}}},    // W
    {-1, 0, 0, {{{1, 1, 0, 1, 0}, {1, 0, 0, 1, 1}, {1, 1, 1, 0, 0}, {1, 0, 1, 0, 1}}}},   // E
    {0, 0, -1, {{{0, 1, 1, 0, 0}, {1, 1, 1, 1, 0}, {0, 0, 1, 0, 1}, {1, 0, 1, 1, 1}}}},   // N
    {0, 0, 1, {{{0, 1, 0, 1, 0}, {0, 0, 0, 1, 1}, {1, 1, 0, 0, 0}, {1, 0, 0, 0, 1}}}},    // S
    {0, 1, 0, {{{0, 0, 1, 1, 1}, {1, 0, 1, 1, 0}, {0, 0, 0, 0, 1}, {1, 0, 0, 0, 0}}}},    // F
    {0, -1, 0, {{{0, 1, 1, 0, 0}, {0, 1, 0, 1, 0}, {1, 1, 1, 0, 1}, {1, 1, 0, 1, 1}}}},   // R
    {0, 0, 1, {{{0, 1, 1, 2, 0}, {0, 0, 1, 2, 2}, {1, 1, 1, 0, 0}, {1, 0, 1, 0, 2}}}},    // Q
}};

using Q = Quad;
constexpr std::array<std::array<Quad, 4>, 16> kBuilds{{
    {},                              // 0: nothing
    {{Q::E, Q::F, Q::R, Q::W}},      // 1 MUR_EST
    {{Q::N, Q::F, Q::R, Q::Q}},      // 2 MUR_NORD
    {{Q::W, Q::F, Q::R, Q::E}},      // 3 MUR_OUEST
    {{Q::S, Q::F, Q::R, Q::N}},      // 4 MUR_SUD
    {{Q::W, Q::E, Q::F, Q::R}},      // 5 MUR_EST_OUEST
    {{Q::S, Q::N, Q::F, Q::R}},      // 6 MUR_NORD_SUD
    {}, {}, {}, {},                  // 7 to 10: nothing
    {{Q::F, Q::R}},                  // 11 MUR_PLAFOND_SOL: two quads
    {{Q::S, Q::W, Q::F, Q::R}},      // 12 MUR_SUD_OUEST
    {{Q::W, Q::N, Q::F, Q::R}},      // 13 MUR_OUEST_NORD
    {{Q::E, Q::N, Q::F, Q::R}},      // 14 MUR_NORD_EST
    {{Q::E, Q::S, Q::F, Q::R}},      // 15 MUR_EST_SUD
}};

float texture_corner(unsigned char pick, float tile) { return pick == 2 ? 1.0f : (pick ? tile : 0.0f); }

}  // namespace

QuadVertices construction_quad(Quad q, const D3DVECTOR& a, const D3DVECTOR& b, float tu, float tv) {
    const QuadRows& rows = kQuads[static_cast<std::size_t>(q)];
    QuadVertices out{};
    for (std::size_t i = 0; i < 4; ++i) {
        const Corner& c = rows.corners[i];
        dxmath::createD3DVertex(c.x ? b.x : a.x, c.y ? b.y : a.y, c.z ? b.z : a.z, rows.nx, rows.ny, rows.nz,
                                texture_corner(c.u, tu), texture_corner(c.v, tv), out[i]);
    }
    return out;
}

std::span<const Quad> construction_quads(Long orientation) {
    if (orientation < 1 || orientation > 15) return {};
    const auto& build = kBuilds[static_cast<std::size_t>(orientation)];
    if (orientation == MUR_PLAFOND_SOL) return std::span<const Quad>(build.data(), 2);
    if (orientation >= MUR_SUD_OUEST_NORD && orientation <= MUR_EST_SUD_OUEST) return {};
    return std::span<const Quad>(build.data(), 4);
}

void write_construction(SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& a, const D3DVECTOR& b, Long orientation,
                        float tu, float tv) {
    const auto quads = construction_quads(orientation);
    if (quads.empty()) return;
    prepare_host_array(vertices, static_cast<Long>(quads.size() * 4) - 1);
    Long k = 0;
    for (const Quad q : quads)
        for (const D3DVERTEX& v : construction_quad(q, a, b, tu, tv)) vertices(k++) = v;
}

bool box_wall_collision(const D3DVECTOR& pos, const D3DRMBOX& box, Long orientation, Long style, double s) {
    const double x = pos.x, y = pos.y, z = pos.z;
    const D3DVECTOR& lo = box.min;
    const D3DVECTOR& hi = box.max;
    if (style == OUTTER_BLOX) {
        switch (orientation) {
            case MUR_EST: return x - s <= hi.x;
            case MUR_NORD: return z - s <= hi.z;
            case MUR_OUEST: return x + s >= lo.x;
            case MUR_SUD: return z + s >= lo.z;
            default: return false;
        }
    }
    if (style != IN_BLOX) return false;
    const bool inside = x + s > lo.x && x - s < hi.x && z + s > lo.z && z - s < hi.z && y > lo.y && y < hi.y;
    if (!inside) return false;
    const bool east = x + s >= hi.x, west = x - s <= lo.x, north = z + s >= hi.z, south = z - s <= lo.z;
    switch (orientation) {
        case MUR_EST: return east;
        case MUR_NORD: return north;
        case MUR_OUEST: return west;
        case MUR_SUD: return south;
        case MUR_EST_OUEST: return east || west;
        case MUR_NORD_SUD: return north || south;
        case MUR_SUD_OUEST: return south || west;
        case MUR_OUEST_NORD: return west || north;
        case MUR_NORD_EST: return north || east;
        case MUR_EST_SUD: return east || south;
        default: return false;
    }
}

}  // namespace tarko::geometry
