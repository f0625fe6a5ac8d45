// Rays against the landscape's triangles: the Moller-Trumbore test and the
// search over the three-by-three block of cells around a point. Grid space
// only; the landscape class maps world points and checks is_ACTIVE.
#pragma once

#include "platform/records.h"
#include "runtime/numeric.h"
#include "world/height_field.h"

namespace tarko::world {

// Out values the test did not reach keep what they held; t, u and v are
// Doubles worked from Single vectors and products. Returns 1 on a hit.
// Both faces count (no culling); |det| < 0.0001 is a miss.
Byte intersect_triangle(const D3DVECTOR& origin, const D3DVECTOR& direction, const D3DVECTOR& c0,
                        const D3DVECTOR& c1, const D3DVECTOR& c2, double& t, double& u, double& v);

// What an upward ray from (x, 0, z) answers.
enum class AltitudeAnswer { Height, U, V };

// Cells cx - 1 .. cx + 1 by cz - 1 .. cz + 1 around the point, x outer,
// admitted when 1 < i < nX and 0 <= j < nZ - 1; the first cell where either
// triangle is hit at t >= 0 answers: t1 (or u1, v1) when t1 is not 0, else
// t2. 0 when no cell answers.
float altitude(const HeightField& grid, const D3DVECTOR& point, AltitudeAnswer answer);

// True when a triangle of the block around `origin` lies along `direction`
// at 0 <= t < reach.
bool ray_hits(const HeightField& grid, const D3DVECTOR& origin, const D3DVECTOR& direction, float reach);

}  // namespace tarko::world
