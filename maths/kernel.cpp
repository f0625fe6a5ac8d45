// Vector and matrix kernel.
#include "maths/kernel.h"

#include <cmath>

#include "platform/base/dx_math.h"

namespace tarko::maths {

namespace {
float f(double v) { return static_cast<float>(v); }
double d(float v) { return static_cast<double>(v); }
}  // namespace

D3DVECTOR make_vector(double x, double y, double z) { return {f(x), f(y), f(z)}; }

D3DVECTOR add(const D3DVECTOR& a, const D3DVECTOR& b) {
    return make_vector(d(a.x) + b.x, d(a.y) + b.y, d(a.z) + b.z);
}

D3DVECTOR subtract(const D3DVECTOR& a, const D3DVECTOR& b) {
    return make_vector(d(a.x) - b.x, d(a.y) - b.y, d(a.z) - b.z);
}

D3DVECTOR cross(const D3DVECTOR& a, const D3DVECTOR& b) {
    return make_vector(d(a.y) * b.z - d(a.z) * b.y, d(a.z) * b.x - d(a.x) * b.z, d(a.x) * b.y - d(a.y) * b.x);
}

float dot(const D3DVECTOR& a, const D3DVECTOR& b) { return f(d(a.x) * b.x + d(a.y) * b.y + d(a.z) * b.z); }

D3DVECTOR scale(const D3DVECTOR& v, double s) { return make_vector(v.x * s, v.y * s, v.z * s); }

D3DVECTOR add_scaled(double s1, const D3DVECTOR& a, double s2, const D3DVECTOR& b) {
    return make_vector(s1 * a.x + s2 * b.x, s1 * a.y + s2 * b.y, s1 * a.z + s2 * b.z);
}

D3DVECTOR negate(const D3DVECTOR& v) { return {-v.x, -v.y, -v.z}; }

D3DVECTOR absolute(const D3DVECTOR& v) { return {std::fabs(v.x), std::fabs(v.y), std::fabs(v.z)}; }

D3DVECTOR midpoint(const D3DVECTOR& a, const D3DVECTOR& b) {
    return make_vector((d(a.x) + b.x) / 2, (d(a.y) + b.y) / 2, (d(a.z) + b.z) / 2);
}

double distance_double(const D3DVECTOR& a, const D3DVECTOR& b) {
    const double dx = d(a.x) - b.x, dy = d(a.y) - b.y, dz = d(a.z) - b.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

float distance(const D3DVECTOR& a, const D3DVECTOR& b) { return f(distance_double(a, b)); }

void normalize_in_place(D3DVECTOR& v) {
    const double l = std::sqrt(d(v.x) * v.x + d(v.y) * v.y + d(v.z) * v.z);
    if (l != 0.0)
        v = make_vector(v.x / l, v.y / l, v.z / l);
    else
        v = {};
}

D3DVECTOR normalized(D3DVECTOR v) {
    normalize_in_place(v);
    return v;
}

D3DVECTOR triangle_normal(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2) {
    return normalized(cross(subtract(p1, p0), subtract(p2, p0)));
}

D3DVECTOR rotate_planes(const D3DVECTOR& v, double xa, double ya, double za) {
    const double x = v.x, y = v.y, z = v.z;
    const double x1 = x * std::cos(xa) + y * std::sin(xa);
    const double y1 = y * std::cos(xa) - x * std::sin(xa);
    const double x2 = x1 * std::cos(ya) + z * std::sin(ya);
    const double z1 = z * std::cos(ya) - x1 * std::sin(ya);
    const double y2 = y1 * std::cos(za) - z1 * std::sin(za);
    const double z2 = z1 * std::cos(za) + y1 * std::sin(za);
    return make_vector(x2, y2, z2);
}

D3DMATRIX identity() {
    D3DMATRIX m;
    dxmath::identityMatrix(m);
    return m;
}

D3DMATRIX translation(float x, float y, float z) {
    D3DMATRIX m = identity();
    m.rc41 = x;
    m.rc42 = y;
    m.rc43 = z;
    return m;
}

D3DMATRIX scaling(float x, float y, float z) {
    D3DMATRIX m = identity();
    m.rc11 = x;
    m.rc22 = y;
    m.rc33 = z;
    return m;
}

namespace {
// The one axis table: the two axes other than `axis` get c on the diagonal;
// the element above the diagonal in the X and Z factors takes -s, in Y +s.
D3DMATRIX axis_rotation(int axis, double radians) {
    const float c = f(std::cos(radians)), s = f(std::sin(radians));
    D3DMATRIX m = identity();
    switch (axis) {
    case 0: m.rc22 = c; m.rc23 = -s; m.rc32 = s; m.rc33 = c; break;
    case 1: m.rc11 = c; m.rc13 = s; m.rc31 = -s; m.rc33 = c; break;
    default: m.rc11 = c; m.rc12 = -s; m.rc21 = s; m.rc22 = c; break;
    }
    return m;
}
}  // namespace

D3DMATRIX rotation_x(double radians) { return axis_rotation(0, radians); }
D3DMATRIX rotation_y(double radians) { return axis_rotation(1, radians); }
D3DMATRIX rotation_z(double radians) { return axis_rotation(2, radians); }

D3DMATRIX multiply(const D3DMATRIX& a, const D3DMATRIX& b) {
    D3DMATRIX r;
    dxmath::matrixMultiply(r, a, b);
    return r;
}

D3DMATRIX translate(const D3DMATRIX& src, float x, float y, float z, D3DMATRIX& scratch) {
    scratch = translation(x, y, z);
    return multiply(src, scratch);
}

D3DMATRIX scale(const D3DMATRIX& src, float x, float y, float z, D3DMATRIX& scratch) {
    scratch = scaling(x, y, z);
    return multiply(src, scratch);
}

D3DMATRIX rotate_degrees(const D3DMATRIX& src, float x, float y, float z, float factor, D3DMATRIX& scratch) {
    D3DMATRIX current = src;
    const float angles[3] = {x, y, z};
    for (int axis = 0; axis < 3; ++axis) {
        if (angles[axis] == 0.0f) continue;  // a zero angle costs nothing and changes nothing
        scratch = axis_rotation(axis, d(angles[axis]) * factor);
        current = multiply(current, scratch);
    }
    return current;
}

D3DMATRIX scale_rotate_move(const D3DVECTOR& scal, const D3DVECTOR& rot, const D3DVECTOR& mov, float factor,
                            D3DMATRIX& scratch) {
    const D3DMATRIX s = scale(identity(), scal.x, scal.y, scal.z, scratch);
    const D3DMATRIX r = rotate_degrees(identity(), rot.x, rot.y, rot.z, factor, scratch);
    const D3DMATRIX t = translate(identity(), mov.x, mov.y, mov.z, scratch);
    return multiply(multiply(s, r), t);
}

D3DMATRIX matrix_create(const D3DVECTOR& rot, const D3DVECTOR& scal, const D3DVECTOR& trans) {
    const double k = kMatrixCreateDegreeFactor;
    const double cx = f(std::cos(rot.x * k)), sx = f(std::sin(rot.x * k));
    const double cy = f(std::cos(rot.y * k)), sy = f(std::sin(rot.y * k));
    const double cz = f(std::cos(rot.z * k)), sz = f(std::sin(rot.z * k));
    const double X = scal.x, Y = scal.y, Z = scal.z;
    D3DMATRIX m;
    m.rc11 = f(X * cy * cz);
    m.rc12 = f(X * cy * sz);
    m.rc13 = f(-sy * X);
    m.rc21 = f(sx * Y * sy * cz - Y * cx * sz);
    m.rc22 = f(sx * Y * sy * sz + Y * cx * cz);
    m.rc23 = f(sx * Y * cy);
    m.rc31 = f(Z * cx * sy * cz + sx * Z * sz);
    m.rc32 = f(Z * cx * sy * sz - sx * Z * cz);
    m.rc33 = f(Z * cx * cy);
    m.rc41 = trans.x;
    m.rc42 = trans.y;
    m.rc43 = trans.z;
    m.rc44 = 1.0f;
    return m;
}

bool transform_point(D3DVECTOR& dest, const D3DVECTOR& src, const D3DMATRIX& m, double tolerance) {
    float out[4];
    for (int c = 1; c <= 4; ++c)
        out[c - 1] = f(d(src.x) * m.at(1, c) + d(src.y) * m.at(2, c) + d(src.z) * m.at(3, c) + m.at(4, c));
    const double w = out[3];
    if (!(std::fabs(w) >= tolerance)) return false;  // NaN counts as too small
    dest = make_vector(out[0] / w, out[1] / w, out[2] / w);
    return true;
}

namespace {
void grow(D3DRMBOX& box, const D3DVERTEX& v) {
    const float p[3] = {v.x, v.y, v.z};
    float* lo[3] = {&box.min.x, &box.min.y, &box.min.z};
    float* hi[3] = {&box.max.x, &box.max.y, &box.max.z};
    for (int i = 0; i < 3; ++i) {
        if (p[i] > *hi[i]) *hi[i] = p[i];
        if (p[i] < *lo[i]) *lo[i] = p[i];
    }
}
}  // namespace

D3DRMBOX bounds_from_seeds(const SafeArray<D3DVERTEX>& vertices) {
    D3DRMBOX box;
    // Eight nines for x, nine for y and z, as Singles.
    box.min = {99999999.0f, 999999999.0f, 999999999.0f};
    box.max = {-999999999.0f, -999999999.0f, -999999999.0f};
    for (Long i = vertices.LBound(); i <= vertices.UBound(); ++i) grow(box, vertices(i));
    return box;
}

D3DRMBOX bounds_from_first(const SafeArray<D3DVERTEX>& vertices) {
    const Long lo = vertices.LBound();
    const D3DVECTOR first = position_of(vertices(lo));
    D3DRMBOX box{first, first};
    for (Long i = lo + 1; i <= vertices.UBound(); ++i) grow(box, vertices(i));
    return box;
}

Long round_texture_side(Long v) {
    if (v <= 2) return v;
    for (Long step = 4; step <= 128; step *= 2)
        if (v <= step) return step;
    return 256;
}

}  // namespace tarko::maths
