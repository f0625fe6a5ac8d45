// Root helpers: matrices, vectors, colours and vertex records.
#include "platform/base/dx_math.h"

#include <algorithm>
#include <cmath>

namespace tarko::dxmath {

void identityMatrix(D3DMATRIX& ret) {
    ret = D3DMATRIX{};
    ret.rc11 = ret.rc22 = ret.rc33 = ret.rc44 = 1.0f;
}

void matrixMultiply(D3DMATRIX& ret, const D3DMATRIX& a, const D3DMATRIX& b) {
    D3DMATRIX r;
    for (int i = 1; i <= 4; ++i)
        for (int j = 1; j <= 4; ++j) {
            double s = 0;
            for (int k = 1; k <= 4; ++k) s += static_cast<double>(a.at(i, k)) * b.at(k, j);
            r.at(i, j) = static_cast<float>(s);
        }
    ret = r;
}

namespace {
struct V3 { double x, y, z; };
V3 v3(const D3DVECTOR& v) { return {v.x, v.y, v.z}; }
V3 sub(V3 a, V3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
V3 cross(V3 a, V3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double dot(V3 a, V3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
double len(V3 a) { return std::sqrt(dot(a, a)); }
V3 scale(V3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
}  // namespace

void viewMatrix(D3DMATRIX& ret, const D3DVECTOR& from, const D3DVECTOR& at, const D3DVECTOR& up, float roll) {
    identityMatrix(ret);
    V3 view = sub(v3(at), v3(from));
    const double l = len(view);
    if (l < 1e-12) return;
    view = scale(view, 1.0 / l);
    V3 u = v3(up);
    // Up made orthogonal to the view direction.
    u = sub(u, scale(view, dot(u, view)));
    double ul = len(u);
    if (ul < 1e-12) {
        u = sub(V3{0, 1, 0}, scale(view, view.y));
        ul = len(u);
        if (ul < 1e-12) { u = sub(V3{0, 0, 1}, scale(view, view.z)); ul = len(u); }
    }
    u = scale(u, 1.0 / ul);
    V3 right = cross(u, view);
    if (roll != 0.0f) {
        const double c = std::cos(roll), s = std::sin(roll);
        const V3 r2{right.x * c + u.x * s, right.y * c + u.y * s, right.z * c + u.z * s};
        const V3 u2{u.x * c - right.x * s, u.y * c - right.y * s, u.z * c - right.z * s};
        right = r2;
        u = u2;
    }
    const V3 eye = v3(from);
    ret.rc11 = static_cast<float>(right.x); ret.rc12 = static_cast<float>(u.x); ret.rc13 = static_cast<float>(view.x);
    ret.rc21 = static_cast<float>(right.y); ret.rc22 = static_cast<float>(u.y); ret.rc23 = static_cast<float>(view.y);
    ret.rc31 = static_cast<float>(right.z); ret.rc32 = static_cast<float>(u.z); ret.rc33 = static_cast<float>(view.z);
    ret.rc41 = static_cast<float>(-dot(right, eye));
    ret.rc42 = static_cast<float>(-dot(u, eye));
    ret.rc43 = static_cast<float>(-dot(view, eye));
    ret.rc44 = 1.0f;
}

void projectionMatrix(D3DMATRIX& ret, float near_plane, float far_plane, float fov) {
    identityMatrix(ret);
    const double n = near_plane, f = far_plane;
    if (std::fabs(f - n) < 1e-12) return;
    const double s = std::sin(fov / 2.0);
    if (std::fabs(s) < 1e-12) return;
    const double c = std::cos(fov / 2.0) / s;
    const double q = f / (f - n);
    ret = D3DMATRIX{};
    ret.rc11 = static_cast<float>(c);
    ret.rc22 = static_cast<float>(c);
    ret.rc33 = static_cast<float>(q);
    ret.rc34 = 1.0f;
    ret.rc43 = static_cast<float>(-q * n);
}

void rotateXMatrix(D3DMATRIX& ret, float radians) {
    identityMatrix(ret);
    const double c = std::cos(radians), s = std::sin(radians);
    ret.rc22 = static_cast<float>(c); ret.rc23 = static_cast<float>(s);
    ret.rc32 = static_cast<float>(-s); ret.rc33 = static_cast<float>(c);
}

void rotateYMatrix(D3DMATRIX& ret, float radians) {
    identityMatrix(ret);
    const double c = std::cos(radians), s = std::sin(radians);
    ret.rc11 = static_cast<float>(c); ret.rc13 = static_cast<float>(-s);
    ret.rc31 = static_cast<float>(s); ret.rc33 = static_cast<float>(c);
}

void rotateZMatrix(D3DMATRIX& ret, float radians) {
    identityMatrix(ret);
    const double c = std::cos(radians), s = std::sin(radians);
    ret.rc11 = static_cast<float>(c); ret.rc12 = static_cast<float>(s);
    ret.rc21 = static_cast<float>(-s); ret.rc22 = static_cast<float>(c);
}

void vectorAdd(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b) {
    ret = {static_cast<float>(double(a.x) + b.x), static_cast<float>(double(a.y) + b.y),
           static_cast<float>(double(a.z) + b.z)};
}

void vectorSubtract(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b) {
    ret = {static_cast<float>(double(a.x) - b.x), static_cast<float>(double(a.y) - b.y),
           static_cast<float>(double(a.z) - b.z)};
}

void vectorScale(D3DVECTOR& ret, const D3DVECTOR& a, float s) {
    ret = {static_cast<float>(double(a.x) * s), static_cast<float>(double(a.y) * s),
           static_cast<float>(double(a.z) * s)};
}

void vectorCrossProduct(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b) {
    const V3 c = cross(v3(a), v3(b));
    ret = {static_cast<float>(c.x), static_cast<float>(c.y), static_cast<float>(c.z)};
}

float vectorDotProduct(const D3DVECTOR& a, const D3DVECTOR& b) { return static_cast<float>(dot(v3(a), v3(b))); }

float vectorModulus(const D3DVECTOR& a) { return static_cast<float>(len(v3(a))); }

void vectorNormalize(D3DVECTOR& v) {
    const double l = len(v3(v));
    if (l == 0.0 || !std::isfinite(l)) {
        if (l == 0.0) v = {};
        return;
    }
    v = {static_cast<float>(v.x / l), static_cast<float>(v.y / l), static_cast<float>(v.z / l)};
}

static std::uint32_t channel(float c) {
    if (!(c > 0.0f)) return 0;  // NaN and negatives give 0
    const double v = std::nearbyint(static_cast<double>(c) * 255.0);
    return static_cast<std::uint32_t>(std::min(v, 255.0));
}

std::int32_t createColorRGBA(float r, float g, float b, float a) {
    return static_cast<std::int32_t>((channel(a) << 24) | (channel(r) << 16) | (channel(g) << 8) | channel(b));
}

float colorGetAlpha(std::int32_t c) { return static_cast<float>((static_cast<std::uint32_t>(c) >> 24) & 255) / 255.0f; }
float colorGetRed(std::int32_t c) { return static_cast<float>((static_cast<std::uint32_t>(c) >> 16) & 255) / 255.0f; }
float colorGetGreen(std::int32_t c) { return static_cast<float>((static_cast<std::uint32_t>(c) >> 8) & 255) / 255.0f; }
float colorGetBlue(std::int32_t c) { return static_cast<float>(static_cast<std::uint32_t>(c) & 255) / 255.0f; }

void createD3DVertex(float x, float y, float z, float nx, float ny, float nz, float tu, float tv, D3DVERTEX& ret) {
    ret = {x, y, z, nx, ny, nz, tu, tv};
}

void createD3DLVertex(float x, float y, float z, std::int32_t color, std::int32_t specular, float tu, float tv,
                      D3DLVERTEX& ret) {
    ret = {x, y, z, 0, color, specular, tu, tv};
}

void createD3DTLVertex(float sx, float sy, float sz, float rhw, std::int32_t color, std::int32_t specular, float tu,
                       float tv, D3DTLVERTEX& ret) {
    ret = {sx, sy, sz, rhw, color, specular, tu, tv};
}

}  // namespace tarko::dxmath
