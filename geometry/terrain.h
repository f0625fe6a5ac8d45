// Random terrain: a W by H grid of white pre-lit vertices, the rim flat and
// the inside raised by whole steps of 0 to 39 drawn from the runtime's
// generator, and a triangle list whose indices count from 1 like the
// vertices (element 0 stays out of the mesh).
#pragma once

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::geometry {

inline constexpr int kTerrainSteps = 40;          // heights 0..39 steps
// Grids above this many points are refused before any array changes: their
// indices could never be stored, and they would cost memory out of proportion.
inline constexpr long long kTerrainMaxPoints = 1 << 20;

struct TerrainGrid {
    Long columns = 0;   // W, along +x
    Long rows = 0;      // H, along +z
};

// W = Int(CInt(abs(to.x - from.x)) / x_step), H likewise on z. A step of 0
// raises Division by zero (11); a difference beyond an Integer Overflow (6).
TerrainGrid terrain_grid(const D3DVECTOR& from, const D3DVECTOR& to, double x_step, double z_step);

// Vertex K(i, j) = H (i - 1) + j of the grid point (i, j), i in 1..W, j in 1..H.
inline Long terrain_vertex(const TerrainGrid& g, Long i, Long j) { return g.rows * (i - 1) + j; }

// Writes the grid (VertexX to upper bound W H + 1, contents kept; IndEXX to
// upper bound 6 (W - 1) (H - 1), or 0 for a grid of one row or column). One
// Rnd is drawn per point, in column order, rim points included. A negative
// extent raises Subscript out of range (9), a grid above kTerrainMaxPoints
// Overflow (6), both before anything changes; an index above 32767 raises
// Overflow (6) where it is stored.
void write_random_terrain(const D3DVECTOR& from, const TerrainGrid& grid, SafeArray<D3DLVERTEX>& vertices,
                          SafeArray<Integer>& indices, double x_step, double z_step, double y_factor, float tu,
                          float tv);

}  // namespace tarko::geometry
