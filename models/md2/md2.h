// Quake II frame models ("IDP2"): the reader into Md2Data, the split of the
// frame names into animations, the frame stepping on the engine's frame clock
// and the per-frame build of pre-lit triangles. No device, no engine object:
// cTarko_MDLfile owns an Md2Data and calls these from Load_MDL and Render.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/records.h"
#include "runtime/byte_reader.h"

namespace tarko::md2 {

inline constexpr std::size_t kHeaderSize = 68;
inline constexpr std::size_t kSkinNameSize = 64;
inline constexpr std::size_t kStCoordSize = 4;       // two Integers, s and t
inline constexpr std::size_t kTriangleSize = 12;     // three vertex numbers, three s/t numbers
inline constexpr std::size_t kFrameHeaderSize = 40;  // scale, translate, 16-char name
inline constexpr std::size_t kFrameNameSize = 16;
inline constexpr std::int32_t kMaxVertices = 2049;
inline constexpr std::int32_t kMaxFrameSize = 8236;  // 40 + 4 * 2049

// The 68-byte header, every Long as the file has it.
struct Md2Header {
    std::int32_t Version = 0;
    std::int32_t SkinWidth = 0, SkinHeight = 0;  // divisors of s and t
    std::int32_t FrameSize = 0;
    std::int32_t SkinCount = 0, VertexCount = 0, StCount = 0, TriangleCount = 0;
    std::int32_t CommandCount = 0, FrameCount = 0;  // the commands are not read
    std::int32_t SkinOffset = 0, StOffset = 0, TriangleOffset = 0, FrameOffset = 0;
    std::int32_t CommandOffset = 0, EndOffset = 0;
};

struct Md2Frame {
    std::string Name;                // cut at its first zero byte
    std::vector<D3DVECTOR> Points;   // one per vertex, scale and translate applied
};

struct Md2StCoord {
    float tu = 0, tv = 0;  // s / skin width, t / skin height
};

struct Md2Animation {
    std::string Name;
    std::int32_t FirstFrame = 0, LastFrame = 0;
};

struct Md2Data {
    Md2Header Header;
    std::vector<Md2Frame> Frames;
    std::vector<Md2StCoord> StCoords;
    std::vector<std::int16_t> VertexIndices;  // three per triangle, as the file says (not checked)
    std::vector<std::int16_t> StIndices;      // parallel to VertexIndices
    std::vector<Md2Animation> Animations;
    float FramePosition = 0, LastPlayFrame = 0, FirstPlayFrame = 0;
    // The skin names of the file. The engine drops them (skins are never
    // loaded); they are kept for tools that list them.
    std::vector<std::string> SkinNames;
};

// True when the file starts with the id "IDP2".
bool is_md2(std::span<const std::uint8_t> file);

// How a read ended. `loaded` is set once the triangles are flattened, the
// point at which the object becomes a frame model (ModelKind 2); `stopped`
// holds where and why the read ended early, if it did.
struct ReadResult {
    bool loaded = false;
    std::optional<io::ParseError> stopped;
};

// Reads `file` into `into`, in this order: header, skin names, texture
// coordinates, triangles, frames, flattened indices (-> loaded), animations,
// play range (FirstPlayFrame 0, LastPlayFrame frame count - 1; FramePosition
// is left alone). A damaged file ends the read at once without an exception:
// each table is replaced only when its step starts, so what came before stays
// (the frame table is sized first and filled frame by frame). Refused:
// a file shorter than the header or without "IDP2"; a negative count; a table
// whose offset or extent lies outside the file; texture coordinates with a skin
// width or height of 0; a vertex count above 2049; a frame size above 8236 or
// too small for its vertices; a frame name of 16 characters without a zero;
// a file without frames (after `loaded`, when the animations are built).
// Triangle numbers are not checked here: build_md2_vertices raises on them.
// Memory stays within a small multiple of the file's size.
ReadResult read_md2(std::span<const std::uint8_t> file, Md2Data& into);

// The animations of a frame name list. A frame's base name is its name less
// its last 2 characters (a shorter name gives an empty base). The running
// animation starts at frame 0 with frame 0's base; each frame i from 1 on
// that is the last one, or whose base differs (case counts), closes the
// running animation with last frame i, and the next one starts at i + 1 with
// frame i's base: the frame that shows a new name still belongs to the
// animation before it. One frame or none gives no animation.
std::vector<Md2Animation> split_animations(std::span<const Md2Frame> frames);

// The first animation whose name holds `text`, both upper-cased (ASCII
// letters only): its number, or nothing. An empty text matches the first.
std::optional<std::size_t> find_animation(const Md2Data& md2, std::string_view text);

// SetAnimation of a frame model: -1 plays the whole file (FirstPlayFrame and
// FramePosition 0, LastPlayFrame frame count - 1); otherwise the play range is
// that animation's frames and FramePosition its first. Raises Subscript out
// of range (9) for any other number beyond the table, changing nothing.
void set_animation(Md2Data& md2, std::int32_t AnimationIndex);

// The two frames a picture blends and the weight of the second.
struct Blend {
    std::int64_t Frame = 0;  // FramePosition rounded down; -1 when that names no frame (below 0, huge, not a number)
    std::int64_t Next = 0;
    float T = 0;             // FramePosition - Frame
};

// The blend at the present FramePosition: Next is Frame + 1 while Frame is at
// most LastPlayFrame - 2, FirstPlayFrame after that (so frame LastPlayFrame
// only shows at exactly that position).
Blend blend_at(const Md2Data& md2);

// The frame step of Render: FramePosition += AnimSpeed (frames per second)
// times ElapseFrame (ms) / 1000, rounded once to a Single; a position above
// LastPlayFrame becomes FirstPlayFrame (the fraction is lost). Returns
// blend_at of the new position.
Blend advance(Md2Data& md2, float AnimSpeed, float ElapseFrame);

// One pre-lit vertex per entry of VertexIndices into `out` (resized to it):
// (1 - T) times the point in frame Frame plus T times the point in frame
// Next, worked out in Doubles and rounded once; `colour` as colour, specular
// 0, tu and tv from the StCoords entry that StIndices names for the same
// place. Raises Subscript out of range (9) when a frame or an index lies
// outside its table (`out` is then partly written). Uses SSE2 where there
// is one; the results are those of build_md2_vertices_reference, bit for bit.
void build_md2_vertices(const Md2Data& md2, const Blend& blend, std::int32_t colour, std::vector<D3DLVERTEX>& out);

// The same, one corner at a time: the plain version the fast one is held to.
void build_md2_vertices_reference(const Md2Data& md2, const Blend& blend, std::int32_t colour,
                                  std::vector<D3DLVERTEX>& out);

}  // namespace tarko::md2
