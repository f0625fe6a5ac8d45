// Geometric tests of the collision class.
#include "collision/geometry_tests.h"

#include <cmath>

#include "maths/kernel.h"
#include "maths/scalar.h"
#include "runtime/errors.h"

namespace tarko::collision {

namespace {
double d(float v) { return static_cast<double>(v); }
double dot_d(const D3DVECTOR& a, const D3DVECTOR& b) { return d(a.x) * b.x + d(a.y) * b.y + d(a.z) * b.z; }
constexpr double kDegreesPerRadian = 57.2957795;
constexpr double kEdgeReach = 3.0;  // fixed: no argument changes it
}  // namespace

double arccos_or_zero(double x) {
    try {
        return maths::arccos(x);
    } catch (const RuntimeError&) {
        return 0.0;  // the failing assignment is skipped and the value stays 0
    }
}

bool segment_triangle(const D3DVECTOR& start, const D3DVECTOR& end, const D3DVECTOR& v1, const D3DVECTOR& v2,
                      const D3DVECTOR& v3, D3DVECTOR& hit_point) {
    D3DVECTOR n = maths::cross(maths::subtract(v2, v1), maths::subtract(v3, v1));
    maths::normalize_in_place(n);
    const double plane_d = -dot_d(n, v1);
    const double sx = d(end.x) - start.x, sy = d(end.y) - start.y, sz = d(end.z) - start.z;
    const double denom = n.x * sx + n.y * sy + n.z * sz;
    if (!(std::fabs(denom) >= 1e-07)) return false;  // parallel, degenerate, or NaN
    const double mu = -(plane_d + dot_d(n, start)) / denom;
    hit_point = maths::make_vector(start.x + mu * sx, start.y + mu * sy, start.z + mu * sz);
    if (mu < 0 || mu > 1) return false;

    D3DVECTOR pa1 = maths::subtract(v1, hit_point);
    D3DVECTOR pa2 = maths::subtract(v2, hit_point);
    D3DVECTOR pa3 = maths::subtract(v3, hit_point);
    maths::normalize_in_place(pa1);
    maths::normalize_in_place(pa2);
    maths::normalize_in_place(pa3);
    const double a1 = dot_d(pa2, pa1), a2 = dot_d(pa3, pa2), a3 = dot_d(pa3, pa1);
    double total = (arccos_or_zero(a1) + arccos_or_zero(a2) + arccos_or_zero(a3)) * kDegreesPerRadian;
    if (total > 359.99 && total < 360.00005) total = 360.0;
    return std::fabs(total - 360.0) <= 1e-07;
}

bool ray_triangle(const D3DVECTOR& orig, const D3DVECTOR& dir, const D3DVECTOR& v0, const D3DVECTOR& v1,
                  const D3DVECTOR& v2, double& t, double& u, double& v) {
    const D3DVECTOR edge1 = maths::subtract(v1, v0);
    const D3DVECTOR edge2 = maths::subtract(v2, v0);
    const D3DVECTOR pvec = maths::cross(dir, edge2);
    const float det = maths::dot(edge1, pvec);
    if ((det > -0.0001 && det < 0.0001) || det == 0.0f || std::isnan(det)) return false;
    const double inv_det = 1.0 / det;
    const D3DVECTOR tvec = maths::subtract(orig, v0);
    u = maths::dot(tvec, pvec) * inv_det;
    if (u < 0 || u > 1) return false;
    const D3DVECTOR qvec = maths::cross(tvec, edge1);
    v = maths::dot(dir, qvec) * inv_det;
    if (v < 0 || u + v > 1) return false;
    t = maths::dot(edge2, qvec) * inv_det;
    return true;
}

bool point_in_box(const D3DRMBOX& box, const D3DVECTOR& p) {
    return box.min.x < p.x && p.x < box.max.x && box.min.y < p.y && p.y < box.max.y && box.min.z < p.z &&
           p.z < box.max.z;
}

bool box_corner_in_box(const D3DRMBOX& box, const D3DRMBOX& other) {
    const D3DVECTOR& lo = other.min;
    const D3DVECTOR& hi = other.max;
    const D3DVECTOR corners[8] = {
        hi, lo, {lo.x, lo.y, hi.z}, {hi.x, lo.y, hi.z}, {lo.x, hi.y, lo.z},
        {lo.x, hi.y, hi.z}, {hi.x, lo.y, lo.z}, {hi.x, hi.y, lo.z},
    };
    for (const D3DVECTOR& c : corners)
        if (point_in_box(box, c)) return true;
    return false;
}

bool point_in_sphere(const D3DVECTOR& p, const D3DVECTOR& centre, float radius) {
    const double dx = d(p.x) - centre.x, dy = d(p.y) - centre.y, dz = d(p.z) - centre.z;
    return d(radius) * radius >= dx * dx + dy * dy + dz * dz;
}

bool point_near_edge(float a, float b, float c) {
    const double x = (d(a) * a + d(c) * c - d(b) * b) / (2.0 * c);
    if (x < c && b - x < c) {
        const double h = std::sqrt(static_cast<double>(static_cast<float>(std::fabs(d(a) * a - x * x))));
        if (h < kEdgeReach) return true;
    }
    return false;
}

float xz_distance(const D3DVECTOR& p, const D3DVECTOR& q) {
    const double dx = d(p.x) - q.x, dz = d(p.z) - q.z;
    return static_cast<float>(std::sqrt(dx * dx + dz * dz));
}

bool edge_near_point(const D3DVECTOR& p, const D3DVECTOR& q, const D3DVECTOR& point) {
    const float a = xz_distance(p, point);
    const float b = xz_distance(q, point);
    const float c = xz_distance(p, q);
    // The gate compares Singles: c squared from the Single c, a + b rounded.
    const float c2 = static_cast<float>(d(c) * c);
    const float ab = static_cast<float>(d(a) + b);
    return c2 > ab && point_near_edge(a, b, c);
}

bool edge_near_point_exact(const D3DVECTOR& p, const D3DVECTOR& q, const D3DVECTOR& point) {
    auto dist = [](const D3DVECTOR& u, const D3DVECTOR& w) {
        const double dx = d(u.x) - w.x, dz = d(u.z) - w.z;
        return std::sqrt(dx * dx + dz * dz);
    };
    const double a = dist(p, point), b = dist(q, point), c = dist(p, q);
    if (!(a + b < c * c)) return false;
    const double x = (a * a + c * c - b * b) / (2 * c);
    return x < c && b - x < c && std::sqrt(std::fabs(a * a - x * x)) < kEdgeReach;
}

bool polyline_near_point(const SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& point) {
    const long long lo = vertices.LBound(), hi = vertices.UBound();
    for (long long i = lo; i <= hi - 1; i += 2) {
        const D3DVECTOR p = maths::position_of(vertices(static_cast<Long>(i)));
        const D3DVECTOR q = maths::position_of(vertices(static_cast<Long>(i + 1)));
        if (edge_near_point(p, q, point)) return true;
    }
    return false;
}

bool triangle_edges_near_point(const SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& point,
                               const D3DVECTOR& offset, const D3DVECTOR& scale) {
    auto placed = [&](const D3DVERTEX& v) {
        return maths::make_vector(d(v.x) * scale.x + offset.x, d(v.y) * scale.y + offset.y,
                                  d(v.z) * scale.z + offset.z);
    };
    const long long lo = vertices.LBound(), hi = vertices.UBound();
    for (long long i = lo; i <= hi - 3; i += 3) {
        const D3DVECTOR p = placed(vertices(static_cast<Long>(i)));
        const D3DVECTOR q = placed(vertices(static_cast<Long>(i + 2)));
        if (edge_near_point(p, q, point)) return true;
    }
    return false;
}

}  // namespace tarko::collision
