// The 3DS chunk reader: walks a binary 3DS file's chunk tree into a Model.
//
// A chunk is a 2-byte identifier and a 4-byte length (header included). The
// main, editor and material chunks (0x4D4D, 0x3D3D, 0xAFFF) are read flat,
// as if 6 bytes long, so their children come in the same loop; material,
// mesh and colour parents are read nested, their children seeing the parent's
// identifier; every other chunk is skipped by its length. What is read:
// master scale, material names, colours (24-bit), shininess and
// transparency percentages, two-sided, self-illumination, shading, objects,
// vertex lists (file y and z swapped, times the master scale), face lists
// (winding from the edge flags) and material groups.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "models/3ds/model.h"
#include "runtime/byte_reader.h"

namespace tarko::threeds {

// Chunk identifiers the reader acts on.
namespace chunk {
inline constexpr std::uint16_t Main = 0x4D4D, Editor = 0x3D3D, MaterialBlock = 0xAFFF;
inline constexpr std::uint16_t Version = 0x0002, MeshVersion = 0x3D3E, MasterScale = 0x0100;
inline constexpr std::uint16_t ColourF = 0x0010, Colour24 = 0x0011, LinColourF = 0x0013;
inline constexpr std::uint16_t PercentI = 0x0030, PercentF = 0x0031;
inline constexpr std::uint16_t BackgroundBitmap = 0x1100, SolidBackground = 0x1200;
inline constexpr std::uint16_t MaterialName = 0xA000, Ambient = 0xA010,
                               Diffuse = 0xA020, Specular = 0xA030, Shininess = 0xA040,
                               Transparency = 0xA050, SelfIllum = 0xA080, TwoSided = 0xA081,
                               Shading = 0xA100, TextureMap = 0xA200, MapName = 0xA300;
inline constexpr std::uint16_t Object = 0x4000, TriMesh = 0x4100, VertexList = 0x4110, FaceList = 0x4120,
                               MaterialGroup = 0x4130, TexCoords = 0x4140, MeshMatrix = 0x4160,
                               MeshTextureInfo = 0x4170;
}  // namespace chunk

// Reader bounds.
inline constexpr int kMaxChunkDepth = 32;

// How a read ended: `stopped` holds where and why when chunk data was missing
// (what came before it stays in the model); empty when the file was read to its end.
struct ReadResult {
    std::optional<io::ParseError> stopped;
};

// Resets the mesh count, material count and master scale of `model` and reads
// every chunk of `file` into it. Old slot contents and pending groups are only
// overwritten as the file reaches them. Table overruns and indices outside
// their arrays raise Subscript out of range (9), see models/3ds/README.md.
ReadResult read_3ds(std::span<const std::uint8_t> file, Model& model);

}  // namespace tarko::threeds
