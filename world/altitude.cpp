// Altitude and collision rays over the grid's cells.
#include "world/altitude.h"

#include <cmath>

#include "platform/base/dx_math.h"
#include "runtime/numeric.h"

namespace tarko::world {

namespace rt = tarko::runtime;

namespace {

D3DVECTOR sub(const D3DVECTOR& a, const D3DVECTOR& b) {
    D3DVECTOR r;
    dxmath::vectorSubtract(r, a, b);
    return r;
}
D3DVECTOR cross(const D3DVECTOR& a, const D3DVECTOR& b) {
    D3DVECTOR r;
    dxmath::vectorCrossProduct(r, a, b);
    return r;
}
double dot(const D3DVECTOR& a, const D3DVECTOR& b) { return dxmath::vectorDotProduct(a, b); }

struct CellHits {
    Byte hit1 = 0, hit2 = 0;
    double t1 = 0, u1 = 0, v1 = 0, t2 = 0, u2 = 0, v2 = 0;   // kept across the cells of one search
};

// Runs the search; `accept` decides on each admitted cell after both tests.
template <class Accept>
bool search(const HeightField& g, const D3DVECTOR& o, const D3DVECTOR& d, CellHits& h, Accept accept) {
    if (!g.lit_vertices.dimensioned() || g.lit_vertices.size() < 2) return false;
    const D3DLVERTEX& first = g.lit_vertices(1);
    const double fx = rt::Int((static_cast<double>(o.x) - first.x) / g.precision_x.to_double());
    const double fz = rt::Int((static_cast<double>(o.z) - first.z) / g.precision_z.to_double());
    const Long nx = g.columns, nz = g.rows;
    // Far outside (or NaN) no cell of the block is admitted.
    if (!(fx >= -2 && fx <= nx + 2 && fz >= -2 && fz <= nz + 2)) return false;
    const Long cx = static_cast<Long>(fx), cz = static_cast<Long>(fz);
    for (Long i = cx - 1; i <= cx + 1; ++i) {
        for (Long j = cz - 1; j <= cz + 1; ++j) {
            if (!(j >= 0 && j < nz - 1 && i > 1 && i < nx)) continue;
            const Long a = (i - 1) * nz + j, b = i * nz + j, c = a + 1, dd = b + 1;
            const D3DLVERTEX &va = g.lit_vertices(a), &vb = g.lit_vertices(b), &vc = g.lit_vertices(c),
                             &vd = g.lit_vertices(dd);
            const D3DVECTOR pa{va.x, va.y, va.z}, pb{vb.x, vb.y, vb.z}, pc{vc.x, vc.y, vc.z}, pd{vd.x, vd.y, vd.z};
            h.hit1 = intersect_triangle(o, d, pc, pb, pa, h.t1, h.u1, h.v1);
            h.hit2 = intersect_triangle(o, d, pc, pd, pb, h.t2, h.u2, h.v2);
            if (accept(h)) return true;
        }
    }
    return false;
}

}  // namespace

Byte intersect_triangle(const D3DVECTOR& o, const D3DVECTOR& d, const D3DVECTOR& c0, const D3DVECTOR& c1,
                        const D3DVECTOR& c2, double& t, double& u, double& v) {
    const D3DVECTOR e1 = sub(c1, c0), e2 = sub(c2, c0);
    const D3DVECTOR pvec = cross(d, e2);
    const float det = dxmath::vectorDotProduct(e1, pvec);
    if (det > -0.0001f && det < 0.0001f) return 0;
    const double inv = 1.0 / det;
    const D3DVECTOR tvec = sub(o, c0);
    u = dot(tvec, pvec) * inv;
    if (!(u >= 0 && u <= 1)) return 0;
    const D3DVECTOR qvec = cross(tvec, e1);
    v = dot(d, qvec) * inv;
    if (!(v >= 0 && u + v <= 1)) return 0;
    t = dot(e2, qvec) * inv;
    return 1;
}

float altitude(const HeightField& g, const D3DVECTOR& point, AltitudeAnswer answer) {
    D3DVECTOR up{0, 1, 0};
    dxmath::vectorNormalize(up);
    const D3DVECTOR o{point.x, 0, point.z};
    CellHits h;
    const bool found = search(g, o, up, h, [](const CellHits& c) {
        return (c.hit1 == 1 && c.t1 >= 0) || (c.hit2 == 1 && c.t2 >= 0);
    });
    if (!found) return 0;
    if (h.t1 == 0) return rt::CSng(h.t2);
    switch (answer) {
        case AltitudeAnswer::U: return rt::CSng(h.u1);
        case AltitudeAnswer::V: return rt::CSng(h.v1);
        case AltitudeAnswer::Height: break;
    }
    return rt::CSng(h.t1);
}

bool ray_hits(const HeightField& g, const D3DVECTOR& origin, const D3DVECTOR& direction, float reach) {
    CellHits h;
    return search(g, origin, direction, h, [reach](const CellHits& c) {
        // Each t rounded to Single for the reach, compared unrounded with 0.
        return (c.hit1 == 1 && static_cast<float>(c.t1) < reach && c.t1 >= 0) ||
               (c.hit2 == 1 && static_cast<float>(c.t2) < reach && c.t2 >= 0);
    });
}

}  // namespace tarko::world
