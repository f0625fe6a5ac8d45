// The vector and matrix kernel behind GLOB, cMATH, cCOLLISION and the engine
// object. Every component is worked out in double and rounded to Single once,
// when it is stored. Matrices take row vectors: the translation lies in row 4
// and multiply(a, b) applied to a point applies a first, then b.
#pragma once

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::maths {

// Degree factors. Each class has its own and they differ on purpose.
inline constexpr float kEngineDegreeFactor = static_cast<float>(3.141592653 / 180.0);     // 0.017453292
inline constexpr float kMathDegreeFactor = static_cast<float>(3.14598745148 / 180.0);     // 0.017477708
inline constexpr double kMatrixCreateDegreeFactor = 3.14564875441112 / 180.0;             // computed as a Double
inline constexpr double kCameraRadian = 0.017443758030437666;                              // not pi / 180

// ---- vectors
D3DVECTOR make_vector(double x, double y, double z);   // plain narrowing, no range check
D3DVECTOR add(const D3DVECTOR& a, const D3DVECTOR& b);
D3DVECTOR subtract(const D3DVECTOR& a, const D3DVECTOR& b);
D3DVECTOR cross(const D3DVECTOR& a, const D3DVECTOR& b);
float dot(const D3DVECTOR& a, const D3DVECTOR& b);
D3DVECTOR scale(const D3DVECTOR& v, double s);
// s1 a + s2 b
D3DVECTOR add_scaled(double s1, const D3DVECTOR& a, double s2, const D3DVECTOR& b);
D3DVECTOR negate(const D3DVECTOR& v);
D3DVECTOR absolute(const D3DVECTOR& v);
D3DVECTOR midpoint(const D3DVECTOR& a, const D3DVECTOR& b);
float distance(const D3DVECTOR& a, const D3DVECTOR& b);
double distance_double(const D3DVECTOR& a, const D3DVECTOR& b);
// Unit vector in place; a vector of length 0 becomes (0, 0, 0).
void normalize_in_place(D3DVECTOR& v);
D3DVECTOR normalized(D3DVECTOR v);
// Unit normal of (p1 - p0) x (p2 - p0); (0, 0, 0) for a degenerate triangle.
D3DVECTOR triangle_normal(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2);
// xa turns the XY plane, then ya the XZ plane, then za the YZ plane (radians).
D3DVECTOR rotate_planes(const D3DVECTOR& v, double xa, double ya, double za);
inline D3DVECTOR position_of(const D3DVERTEX& v) { return {v.x, v.y, v.z}; }
inline D3DVECTOR position_of(const D3DLVERTEX& v) { return {v.x, v.y, v.z}; }

// ---- matrices
D3DMATRIX identity();
D3DMATRIX translation(float x, float y, float z);
D3DMATRIX scaling(float x, float y, float z);
// Axis factors: X has (2,2) = c, (2,3) = -s, (3,2) = s, (3,3) = c; Y has (1,1) = c,
// (1,3) = s, (3,1) = -s, (3,3) = c; Z has (1,1) = c, (1,2) = -s, (2,1) = s,
// (2,2) = c. Cosine and sine are rounded to Single before use.
D3DMATRIX rotation_x(double radians);
D3DMATRIX rotation_y(double radians);
D3DMATRIX rotation_z(double radians);
// a x b: a first, then b.
D3DMATRIX multiply(const D3DMATRIX& a, const D3DMATRIX& b);

// src x T(x, y, z), src x S(x, y, z) and src x Rx x Ry x Rz (degrees times
// `factor`; an angle of exactly 0 skips its factor, so three zeros return src
// bit for bit). `scratch` holds each factor while it is used.
D3DMATRIX translate(const D3DMATRIX& src, float x, float y, float z, D3DMATRIX& scratch);
D3DMATRIX scale(const D3DMATRIX& src, float x, float y, float z, D3DMATRIX& scratch);
D3DMATRIX rotate_degrees(const D3DMATRIX& src, float x, float y, float z, float factor, D3DMATRIX& scratch);
// (S x R) x T from identities, R in degrees times `factor`.
D3DMATRIX scale_rotate_move(const D3DVECTOR& scal, const D3DVECTOR& rot, const D3DVECTOR& mov, float factor,
                            D3DMATRIX& scratch);
// Composite written directly from Euler angles in degrees (factor
// 3.14564875441112 / 180); for a single angle it turns opposite to rotation_*.
D3DMATRIX matrix_create(const D3DVECTOR& rot, const D3DVECTOR& scal, const D3DVECTOR& trans);

// (x, y, z, 1) x m, divided by W. Returns false, leaving dest untouched, when
// abs(W) < tolerance. dest may be src.
bool transform_point(D3DVECTOR& dest, const D3DVECTOR& src, const D3DMATRIX& m, double tolerance);

// ---- boxes and sizes
// Box of the positions, seeded with fixed far values (an empty array gives the
// seeds). Raises Subscript out of range for an array never dimensioned.
D3DRMBOX bounds_from_seeds(const SafeArray<D3DVERTEX>& vertices);
// Box of the positions seeded from the first vertex; raises Subscript out of
// range for an empty or never dimensioned array.
D3DRMBOX bounds_from_first(const SafeArray<D3DVERTEX>& vertices);
// The texture size ladder: <= 2 stays, then 4, 8, ..., 128, and 256 above 128.
Long round_texture_side(Long v);

}  // namespace tarko::maths
