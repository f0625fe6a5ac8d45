// Planes and the shaded auxiliary cube: one row table per pattern.
#include "geometry/planes.h"

#include "platform/base/dx_math.h"
#include "runtime/numeric.h"

namespace tarko::geometry {
namespace {

// One vertex of a pattern: low (0) or high (1) corner on each free axis, the
// shade, 0 or the tile for tu and tv, and for the x pattern the 0.5 offset.
struct Row {
    unsigned char a, b, shade, u, v, offset;
};
using Pattern = std::array<Row, 8>;

constexpr Pattern kAcrossZ{{{0, 0, 0, 0, 1, 0}, {0, 1, 1, 0, 0, 0}, {1, 0, 2, 1, 1, 0}, {1, 1, 3, 1, 0, 0},
                            {0, 1, 3, 0, 0, 0}, {0, 0, 4, 0, 1, 0}, {1, 1, 5, 1, 0, 0}, {1, 0, 6, 1, 1, 0}}};
constexpr Pattern kAcrossY{{{0, 0, 0, 0, 1, 0}, {0, 1, 1, 0, 0, 0}, {1, 0, 2, 1, 1, 0}, {1, 1, 3, 1, 0, 0},
                            {0, 0, 4, 0, 1, 0}, {0, 1, 5, 0, 0, 0}, {1, 0, 6, 1, 1, 0}, {1, 1, 7, 1, 0, 0}}};
constexpr Pattern kAcrossX{{{0, 0, 0, 1, 1, 0}, {0, 1, 1, 0, 1, 0}, {1, 0, 2, 1, 0, 0}, {1, 1, 3, 0, 0, 0},
                            {1, 0, 4, 0, 0, 1}, {1, 1, 5, 1, 0, 1}, {0, 0, 6, 0, 1, 1}, {0, 1, 7, 1, 1, 1}}};

enum class Axis { X, Y, Z };

float sum(float a, double b) { return static_cast<float>(a + b); }

PlaneVertices plane(Axis across, const Pattern& pattern, float at, const D3DVECTOR& lo, const D3DVECTOR& hi,
                    const Shades& c, float tu, float tv) {
    PlaneVertices out{};
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const Row& r = pattern[i];
        const D3DVECTOR& pa = r.a ? hi : lo;
        const D3DVECTOR& pb = r.b ? hi : lo;
        float x = 0, y = 0, z = 0;
        switch (across) {
            case Axis::Z: x = pa.x, y = pb.y, z = at; break;
            case Axis::Y: x = pa.x, y = at, z = pb.z; break;
            case Axis::X: x = r.offset ? sum(at, 0.5) : at, y = pa.y, z = pb.z; break;
        }
        dxmath::createD3DLVertex(x, y, z, c[r.shade], 0, r.u ? tu : 0.0f, r.v ? tv : 0.0f, out[i]);
    }
    return out;
}

}  // namespace

Shades shades(Long r, Long g, Long b) {
    Shades out{};
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double f = kShadeFactors[i];
        out[i] = runtime::RGB(runtime::Int(r * f), runtime::Int(g * f), runtime::Int(b * f));
    }
    return out;
}

PlaneVertices plane_across_z(float at, const D3DVECTOR& lo, const D3DVECTOR& hi, const Shades& c, float tu,
                             float tv) {
    return plane(Axis::Z, kAcrossZ, at, lo, hi, c, tu, tv);
}
PlaneVertices plane_across_y(float at, const D3DVECTOR& lo, const D3DVECTOR& hi, const Shades& c, float tu,
                             float tv) {
    return plane(Axis::Y, kAcrossY, at, lo, hi, c, tu, tv);
}
PlaneVertices plane_across_x(float at, const D3DVECTOR& lo, const D3DVECTOR& hi, const Shades& c, float tu,
                             float tv) {
    return plane(Axis::X, kAcrossX, at, lo, hi, c, tu, tv);
}

std::optional<PlaneVertices> plane_between(const D3DVECTOR& from, const D3DVECTOR& to, const Shades& c, float tu,
                                           float tv) {
    std::optional<PlaneVertices> out;
    if (from.z == to.z) out = plane_across_z(to.z, from, to, c, tu, tv);
    if (from.y == to.y) out = plane_across_y(to.y, from, to, c, tu, tv);
    if (from.x == to.x) out = plane_across_x(to.x, from, to, c, tu, tv);
    return out;
}

std::array<D3DLVERTEX, 48> aux_solid_cube(const D3DVECTOR& from, const D3DVECTOR& size, const Shades& c, float tu,
                                          float tv) {
    const D3DVECTOR to{sum(from.x, size.x), sum(from.y, size.y), sum(from.z, size.z)};
    const PlaneVertices faces[6] = {
        plane_across_z(from.z, from, to, c, tu, tv), plane_across_z(to.z, from, to, c, tu, tv),
        plane_across_y(from.y, from, to, c, tu, tv), plane_across_y(to.y, from, to, c, tu, tv),
        plane_across_x(from.x, from, to, c, tu, tv), plane_across_x(to.x, from, to, c, tu, tv),
    };
    std::array<D3DLVERTEX, 48> out{};
    for (std::size_t f = 0; f < 6; ++f)
        for (std::size_t i = 0; i < 8; ++i) out[f * 8 + i] = faces[f][i];
    return out;
}

namespace {
// Corner signs (x, z) and tile flags (u, v) of the two flat quads.
struct FlatRow {
    signed char x, z;
    unsigned char u, v;
};
std::array<D3DVERTEX, 4> flat_quad(const std::array<FlatRow, 4>& rows, float y, float ny, const D3DVECTOR& half,
                                   float tu, float tv) {
    std::array<D3DVERTEX, 4> out{};
    for (std::size_t i = 0; i < 4; ++i) {
        const FlatRow& r = rows[i];
        dxmath::createD3DVertex(r.x < 0 ? -half.x : half.x, y, r.z < 0 ? -half.z : half.z, 0, ny, 0,
                                r.u ? tu : 0.0f, r.v ? tv : 0.0f, out[i]);
    }
    return out;
}
}  // namespace

std::array<D3DVERTEX, 4> floor_quad(const D3DVECTOR& half, float tu, float tv) {
    return flat_quad({{{-1, +1, 0, 0}, {+1, +1, 1, 0}, {-1, -1, 0, 1}, {+1, -1, 1, 1}}}, half.y, 1, half, tu, tv);
}

std::array<D3DVERTEX, 4> roof_quad(const D3DVECTOR& half, float tu, float tv) {
    return flat_quad({{{-1, +1, 0, 0}, {-1, -1, 0, 1}, {+1, +1, 1, 0}, {+1, -1, 1, 1}}}, -half.y, -1, half, tu, tv);
}

}  // namespace tarko::geometry
