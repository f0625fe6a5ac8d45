// The geometric tests behind cCOLLISION, as plain functions on records.
// Singles in, work in double, results rounded once where they are stored.
#pragma once

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::collision {

// Arc cosine that gives 0 where the formula fails (x = 1, x = -1, abs(x) > 1).
double arccos_or_zero(double x);

// Segment PStart-PEnd against a triangle, by the sum of the angles seen from
// the point where the segment meets the triangle's plane. `hit_point` is
// written once that point is known (also when the result is false); a
// segment parallel to the plane (or a degenerate triangle) leaves it alone.
bool segment_triangle(const D3DVECTOR& start, const D3DVECTOR& end, const D3DVECTOR& v1, const D3DVECTOR& v2,
                      const D3DVECTOR& v3, D3DVECTOR& hit_point);

// Two-sided ray against triangle, tolerance 1e-4 on the determinant. `dir` is
// used as given. u and v are written as soon as they are known, t only on a
// hit; a triangle behind the origin is a hit with t < 0.
bool ray_triangle(const D3DVECTOR& orig, const D3DVECTOR& dir, const D3DVECTOR& v0, const D3DVECTOR& v1,
                  const D3DVECTOR& v2, double& t, double& u, double& v);

// Strictly inside on each axis: a point on a face is outside.
bool point_in_box(const D3DRMBOX& box, const D3DVECTOR& p);
// True when one of the eight corners of `other` lies inside `box` (one-sided).
bool box_corner_in_box(const D3DRMBOX& box, const D3DRMBOX& other);
// Squared distance at most the squared radius.
bool point_in_sphere(const D3DVECTOR& p, const D3DVECTOR& centre, float radius);

// A point near a segment from its distances a and b to the ends and the
// segment's length c: the foot of the perpendicular within reach and the
// height below the fixed distance 3.
bool point_near_edge(float a, float b, float c);
// XZ distance, rounded to Single.
float xz_distance(const D3DVECTOR& p, const D3DVECTOR& q);
// Gate then point_near_edge, for one segment.
bool edge_near_point(const D3DVECTOR& p, const D3DVECTOR& q, const D3DVECTOR& point);

// The same edge test held in doubles throughout: distances unrounded, the
// gate a + b < c^2, the height's radicand unrounded (the engine's form).
bool edge_near_point_exact(const D3DVECTOR& p, const D3DVECTOR& q, const D3DVECTOR& point);

// Vertex pairs (i, i + 1), i in steps of 2, against the point in the XZ plane.
bool polyline_near_point(const SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& point);
// Triangle list edges (i, i + 2) after scaling and offset, in the XZ plane.
bool triangle_edges_near_point(const SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& point,
                               const D3DVECTOR& offset, const D3DVECTOR& scale);

}  // namespace tarko::collision
