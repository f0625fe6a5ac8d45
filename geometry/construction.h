// Constructions: a box seen from inside, of which a value of
// TARKO_CONSTRUCTION_CONST picks walls, floor and ceiling, and the wall tests
// that keep a position inside the box or outside one wall. EST is the side of
// the maximum x, OUEST the minimum x, NORD the maximum z, SUD the minimum z.
#pragma once

#include <array>
#include <span>

#include "geometry/geometry_enums.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::geometry {

// The seven quads of a construction, four D3DVERTEX each in strip order:
// the west, east, north, south walls, floor and ceiling facing into the box,
// and the north wall's outer face (texture corners 0 and 1 whatever the tiles).
enum class Quad { W, E, N, S, F, R, Q };
using QuadVertices = std::array<D3DVERTEX, 4>;
QuadVertices construction_quad(Quad q, const D3DVECTOR& a, const D3DVECTOR& b, float tu, float tv);

// The quads a value builds, in element order; empty for 7 to 10 and for
// values outside the enumeration.
std::span<const Quad> construction_quads(Long orientation);

// Writes the construction from corner a to corner b into elements 0.. of a
// host array (upper bound 4 n - 1 for n quads, contents kept). Values that
// build nothing leave the array untouched.
void write_construction(SafeArray<D3DVERTEX>& vertices, const D3DVECTOR& a, const D3DVECTOR& b, Long orientation,
                        float tu, float tv);

// The wall test of Colision_BOX: with IN_BLOX the position must lie inside
// the box (x and z within s of it, y strictly between floor and ceiling) and
// within s of a named wall; with OUTTER_BLOX, for a single wall only, within
// s of the wall's plane or beyond it. Anything else is false.
bool box_wall_collision(const D3DVECTOR& pos, const D3DRMBOX& box, Long orientation, Long style, double s);

}  // namespace tarko::geometry
