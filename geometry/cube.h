// The textured cube: 24 lit vertices (position, outward normal, texture
// coordinates), one strip of four for each face, centred on the origin.
#pragma once

#include <array>

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::geometry {

inline constexpr Long kCubeUpperBound = 23;    // elements 0..23
inline constexpr Long kCubeFaceVertices = 4;   // one triangle strip per face
// First element of each face, in drawing order: -z, +z, +y, -y, +x, -x.
inline constexpr std::array<Long, 6> kCubeFaceStarts{0, 4, 8, 12, 16, 20};

// The cube from (-half) to (+half). Each face's strip starts top-left as seen
// from outside (y up, left-handed), so its first triangle runs clockwise from
// outside; texture coordinates take 0 and tile_u along the face's first
// direction, 0 and tile_v from its top (or its +z edge on the y faces).
std::array<D3DVERTEX, 24> textured_cube(const D3DVECTOR& half, float tile_u, float tile_v);

// Writes the cube into elements 0..23 of a host array, after preparing it as
// prepare_host_array does (upper bound 23, contents and lower bound kept; a
// lower bound above 0 raises 9 with the array untouched).
void write_textured_cube(SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& half, float tile_u, float tile_v);

}  // namespace tarko::geometry
