// The sphere of CreateSphere: n rings of 2n + 1 vertices (the seam column
// repeated with tu 1 and 0), a north and a south pole, and a triangle list of
// 16-bit indices: two triangles per ring quad, a fan to each pole.
#pragma once

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::geometry {

inline constexpr double kSpherePi = 3.141592653;
// Beyond this many rings an index is certain to overflow; the arrays are then
// refused before they are sized, so a hostile count costs no memory.
inline constexpr Long kSphereRingsSized = 255;

struct SphereCounts {
    Long vertices = 0;   // n (2n + 1) + 2
    Long indices = 0;    // 12 n^2
};

// Fills both arrays (redimensioned from 0 without keeping their content, one
// spare element at the top of each). Rings 0 raise Division by zero (11),
// negative rings Subscript out of range (9), both before anything changes.
// Above 127 rings an index no longer fits an Integer: Overflow (6) when it is
// stored, or at once above kSphereRingsSized.
SphereCounts write_sphere(SafeArray<D3DVERTEX>& vertices, SafeArray<Integer>& indices, float radius, Long rings);

}  // namespace tarko::geometry
