// Quake II frame model files ("IDP2") written into memory, for the tests, the
// fuzz seeds, the examples' sample files and the benchmarks (the library itself
// writes no files): the header worked out from the tables, then skins, texture
// coordinates, triangles and frames in that order. `actor` makes a whole
// animated model (a bending, breathing cylinder).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarko::md2 {

using Bytes = std::vector<std::uint8_t>;

// A name in a zero-filled field of `size` bytes (cut to it, without a zero, when as long).
void put_name(Bytes& b, const std::string& s, std::size_t size);
// Overwrites the Long at `offset` (a header field, for damaged files).
void set32(Bytes& b, std::size_t offset, std::int32_t v);

// Header field offsets.
namespace at {
inline constexpr std::size_t SkinWidth = 8, SkinHeight = 12, FrameSize = 16, SkinCount = 20, VertexCount = 24,
                             StCount = 28, TriangleCount = 32, CommandCount = 36, FrameCount = 40, SkinOffset = 44,
                             StOffset = 48, TriangleOffset = 52, FrameOffset = 56, CommandOffset = 60, EndOffset = 64;
}

struct Frame {
    std::array<float, 3> scale{1, 1, 1};
    std::array<float, 3> translate{0, 0, 0};
    std::string name;                                 // 16 characters or more are written without a zero
    std::vector<std::array<std::uint8_t, 3>> points;  // packed x, y, z; normal index 0
};

struct Model {
    std::int32_t skin_width = 64, skin_height = 64;
    std::vector<std::string> skins;
    std::vector<std::array<std::int16_t, 2>> st;        // s, t
    std::vector<std::array<std::int16_t, 6>> triangles;  // three vertex numbers, three s/t numbers
    std::vector<Frame> frames;                          // all with the same number of points
    std::vector<std::int32_t> gl_commands{0};           // after the frames, as Quake II writes them; not read
};

// The file: header, then the tables in file order, frame size 40 + 4 per point,
// the GL commands last.
Bytes write_md2(const Model& m);

// One triangle over three points, in as many frames as names are given; frame k's
// points are packed (k, 2k, 3k), (10, 0, 0), (0, 10, 0) with scale 0.5 and translate (1, 2, 3).
Model triangle_model(const std::vector<std::string>& frame_names);

// An actor for examples and the benchmark: a closed cylinder of `rings` x
// `segments` points (plus two caps), about 2 * rings * segments triangles,
// `height` units tall and centred on its axis, with two animations: "stand"
// (a slow breath, frames stand01..) and "run" (a sway, frames run01..), each
// `frames_each` frames long. The skin is a 256 x 256 picture named `skin`.
Model actor(int rings, int segments, int frames_each, float height = 40.0f, const std::string& skin = "actor.pcx");

}  // namespace tarko::md2
