// X files as data: the reader for the text, binary and compressed forms, and
// the plain description of the file it produces (meshes, materials, frames).
//
// The reader takes what real exporters write: CRLF or LF, "//" and "#"
// comments, commas and semicolons in any mix (or missing between list
// items), names with hyphens, dots or a leading digit, template declarations
// (skipped with their GUIDs and [...] restrictions), references "{ name }" and
// "{ <GUID> }". Objects it does not know (skin weights, animations, vertex
// duplication indices...) are read and dropped. Every count and index is
// checked before it is used; a bad file throws io::ParseError.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tarko::x {

struct Vec2 {
    float u = 0, v = 0;
};
struct Vec3 {
    float x = 0, y = 0, z = 0;
    friend bool operator==(const Vec3&, const Vec3&) = default;
};
struct Color {
    float r = 1, g = 1, b = 1, a = 1;
    friend bool operator==(const Color&, const Color&) = default;
};
// Row vectors, translation in the fourth row, as the device takes them.
using Matrix = std::array<float, 16>;
inline constexpr Matrix kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
// a then b, applied to a point.
Matrix multiply(const Matrix& a, const Matrix& b);
Vec3 transform_point(const Vec3& p, const Matrix& m);

struct Material {
    std::string name;
    Color face;                      // diffuse with alpha
    float power = 0;
    Color specular{0, 0, 0, 1};      // alpha unused
    Color emissive{0, 0, 0, 1};      // alpha unused
    std::string texture;             // TextureFilename, "" when none
    friend bool operator==(const Material&, const Material&) = default;
};

struct Mesh {
    std::string name;
    std::vector<Vec3> positions;
    // Face f uses indices[face_start[f] .. face_start[f + 1]); face_start has one element more than there are faces.
    std::vector<std::uint32_t> face_start{0};
    std::vector<std::uint32_t> indices;
    std::vector<Vec2> uvs;                    // per vertex, or empty
    std::vector<Color> colors;                // per vertex (MeshVertexColors), or empty
    std::size_t file_normals = 0;             // normals the file gave (the builder makes its own)
    std::vector<std::uint32_t> face_material; // per face, or empty (material 0 everywhere)
    std::vector<Material> materials;
    std::size_t face_count() const { return face_start.size() - 1; }
};

struct Frame {
    std::string name;
    Matrix transform = kIdentity;   // relative to the parent
    std::vector<Mesh> meshes;
    std::vector<Frame> children;
};

enum class Encoding { Text, Binary };

struct File {
    std::string format;              // "txt", "bin", "tzip" or "bzip"
    Encoding encoding = Encoding::Text;
    int float_bits = 32;
    bool compressed = false;
    std::vector<Mesh> meshes;        // top-level meshes, in file order
    std::vector<Frame> frames;       // top-level frames, in file order
    std::vector<std::string> animation_sets;
};

// Limits against hostile files: nesting depth of objects.
inline constexpr int kMaxDepth = 64;

// True when the bytes start like an X file ("xof ").
bool looks_like_x(std::span<const std::uint8_t> bytes);
// Reads a whole file. Throws io::ParseError.
File parse(std::span<const std::uint8_t> bytes);

}  // namespace tarko::x
