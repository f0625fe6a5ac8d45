// Editing the positions of a host-owned vertex array in place, every element
// from the lower to the upper bound; nothing else in a record changes. Each
// new coordinate is worked out in double and stored as a Single (Overflow, 6,
// beyond its range). An array never dimensioned raises 9.
#pragma once

#include <cmath>

#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::geometry {

// Each coordinate replaced by f(axis, coordinate), axis 0, 1, 2 for x, y, z.
template <class Vertex, class F>
void edit_positions(SafeArray<Vertex>& vertices, F f) {
    const Long lo = vertices.LBound(), hi = vertices.UBound();
    for (long long i = lo; i <= hi; ++i) {
        Vertex& v = vertices(static_cast<Long>(i));
        v.x = runtime::CSng(f(0, static_cast<double>(v.x)));
        v.y = runtime::CSng(f(1, static_cast<double>(v.y)));
        v.z = runtime::CSng(f(2, static_cast<double>(v.z)));
    }
}

// (x + dx, y + dy, z + dz).
template <class Vertex>
void move_positions(SafeArray<Vertex>& vertices, double dx, double dy, double dz) {
    const double d[3] = {dx, dy, dz};
    edit_positions(vertices, [&](int axis, double c) { return c + d[axis]; });
}

// (x sx, y sy, z sz).
template <class Vertex>
void scale_positions(SafeArray<Vertex>& vertices, double sx, double sy, double sz) {
    const double s[3] = {sx, sy, sz};
    edit_positions(vertices, [&](int axis, double c) { return c * s[axis]; });
}

// (x + abs(x - tx), y + abs(y - ty), z + abs(z - tz)).
template <class Vertex>
void push_away_from(SafeArray<Vertex>& vertices, double tx, double ty, double tz) {
    const double t[3] = {tx, ty, tz};
    edit_positions(vertices, [&](int axis, double c) { return c + std::fabs(c - t[axis]); });
}

// Every vertex at (x, y, z).
template <class Vertex>
void place_all_at(SafeArray<Vertex>& vertices, double x, double y, double z) {
    const double p[3] = {x, y, z};
    edit_positions(vertices, [&](int axis, double) { return p[axis]; });
}

}  // namespace tarko::geometry
