// The landscape's grid: samples of a height picture turned into two vertex
// arrays (plain and pre-lit), a 16-bit triangle list and bounding data. A pure
// builder: the picture comes in as a pixel reader, nothing touches a device.
#pragma once

#include <functional>

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

namespace tarko::world {

// Grid point (i, j), 1 <= i <= columns, 1 <= j <= rows, is vertex
// (i - 1) x rows + j; element 0 of both arrays stays zero.
struct HeightField {
    Integer columns = 0;             // nX, along x
    Integer rows = 0;                // nZ, along z
    Variant precision_x, precision_z;  // p, as given
    SafeArray2<float> heights;       // raw samples 0..255, (0 To nX, 0 To nZ)
    SafeArray<D3DVERTEX> vertices;   // (0 To nX x nZ), normals zero
    SafeArray<D3DLVERTEX> lit_vertices;
    SafeArray<Integer> indices;      // six per cell: c, b, a, c, d, b
    D3DVECTOR centre;                // bounding sphere, grid space
    float radius = 0;
    D3DRMBOX box;                    // over `vertices`, element 0 included
};

// COLORREF of the picture pixel at (x, y): red in the low byte.
using PixelReader = std::function<Long(Long x, Long y)>;

// Pre-lit colour of every grid vertex: RGB(153, 153, 153).
inline constexpr Long kGridColour = 153 + 153 * 256 + 153 * 65536;

// Builds the grid of a width x height picture sampled every `precision`
// pixels. Raises DivisionByZero (11) for a precision of 0, Overflow (6) when
// a side leaves an Integer or a vertex number leaves the 16-bit index range
// (nX x nZ above 32767: 181 x 181 loads, 182 x 182 does not), and Subscript
// out of range (9) for a negative side or a grid without a cell (fewer than 2
// columns or rows). Those checks come before any allocation, so a picture too
// large costs no memory.
HeightField build_height_field(Long width, Long height, const PixelReader& pixel, const Variant& precision,
                               const Variant& y_factor, float tu, float tv);

// Overwrites tu and tv of both arrays with (i / nX) tu and (j / nZ) tv.
void set_texture_coordinates(HeightField& grid, double tu, double tv);

}  // namespace tarko::world
