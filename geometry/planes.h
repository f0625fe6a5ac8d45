// Planes and the shaded auxiliary cube: pre-lit rectangles of eight
// D3DLVERTEX (two strips of four, each vertex with its own shade), and the
// lit floor and ceiling quads of four D3DVERTEX.
#pragma once

#include <array>
#include <optional>

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"

namespace tarko::geometry {

inline constexpr Long kPlaneUpperBound = 7;       // 8 pre-lit vertices
inline constexpr Long kAuxCubeUpperBound = 47;    // six planes of 8
inline constexpr Long kFlatQuadUpperBound = 3;    // 4 lit vertices
// Factor of each of the eight shades, applied to R, G and B.
inline constexpr std::array<double, 8> kShadeFactors{0.8, 1, 0.5, 1, 0.15, 0.45, 0.35, 0.65};

using PlaneVertices = std::array<D3DLVERTEX, 8>;
using Shades = std::array<Long, 8>;

// Ci = Int(R f) + 256 Int(G f) + 65536 Int(B f), f the i-th factor (each
// part clamped to 0..255 as the colour function packs it).
Shades shades(Long r, Long g, Long b);

// The three patterns, one per axis the rectangle lies across. `at` is the
// plane's coordinate; lo and hi are the corners on the two other axes. The x
// pattern puts its second half 0.5 further along +x.
PlaneVertices plane_across_z(float at, const D3DVECTOR& lo, const D3DVECTOR& hi, const Shades& c, float tu,
                             float tv);
PlaneVertices plane_across_y(float at, const D3DVECTOR& lo, const D3DVECTOR& hi, const Shades& c, float tu,
                             float tv);
PlaneVertices plane_across_x(float at, const D3DVECTOR& lo, const D3DVECTOR& hi, const Shades& c, float tu,
                             float tv);

// The rectangle between two corners: the z pattern if their z are equal, then
// the y pattern if their y are equal, then the x pattern; the last that
// applies wins. None when the corners differ on every axis.
std::optional<PlaneVertices> plane_between(const D3DVECTOR& from, const D3DVECTOR& to, const Shades& c, float tu,
                                           float tv);

// Six planes around the box from..from + size: z = Z0, Z1, y = Y0, Y1, x = X0, X1.
std::array<D3DLVERTEX, 48> aux_solid_cube(const D3DVECTOR& from, const D3DVECTOR& size, const Shades& c, float tu,
                                          float tv);

// The floor quad at y = +half.y with normal +y, and the ceiling quad at
// y = -half.y with normal -y, centred on the origin.
std::array<D3DVERTEX, 4> floor_quad(const D3DVECTOR& half, float tu, float tv);
std::array<D3DVERTEX, 4> roof_quad(const D3DVECTOR& half, float tu, float tv);

}  // namespace tarko::geometry
