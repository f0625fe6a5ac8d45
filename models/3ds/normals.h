// Vertex normals of a 3DS mesh: each face's unit normal added to its three
// vertices, whatever its area, and the sums normalised.
#pragma once

#include <span>

#include "platform/records.h"
#include "runtime/numeric.h"

namespace tarko::threeds {

// For each triple (i0, i1, i2) of `indices`: n = unit((p1 - p0) x (p2 - p1)),
// added to the three vertices; each sum then normalised into the vertex's
// normal (a zero sum stays zero). An index outside `vertices` raises Subscript
// out of range (9) before any normal changes. A trailing partial triple is
// ignored.
void compute_vertex_normals(std::span<D3DVERTEX> vertices, std::span<const Integer> indices);

}  // namespace tarko::threeds
