// Binary 3DS files written into memory, for the tests, the fuzz seeds and the
// benchmark (the library itself writes no files): chunks with their lengths
// worked out, and the usual material and mesh chunks.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace tarko::threeds {

using Bytes = std::vector<std::uint8_t>;

Bytes u16(std::uint16_t v);
Bytes u32(std::uint32_t v);
Bytes f32(float f);
// The characters and a zero.
Bytes str(const std::string& s);
Bytes cat(std::initializer_list<Bytes> parts);

// Header (id, 6 + size of the parts) and the parts one after another.
Bytes chunk_of(std::uint16_t id, std::initializer_list<Bytes> parts = {});
// The same with a length of one's choosing.
Bytes chunk_len(std::uint16_t id, std::uint32_t length, const Bytes& body);

using Vec3 = std::array<float, 3>;          // file axes: x, y, z (z up)
using Face = std::array<std::uint16_t, 4>;  // a, b, c, flags

struct Colour {
    std::uint8_t r = 0, g = 0, b = 0;
};

// A colour chunk `parent` holding a 24-bit colour.
Bytes rgb(std::uint16_t parent, std::uint8_t r, std::uint8_t g, std::uint8_t b);
// A percentage chunk `parent` holding a short.
Bytes percent(std::uint16_t parent, std::int16_t p);
Bytes vertex_list(const std::vector<Vec3>& v);
Bytes material_group(const std::string& name, const std::vector<std::uint16_t>& faces);
Bytes face_list(const std::vector<Face>& faces, const Bytes& children = {});
// An object holding one triangle mesh.
Bytes object(const std::string& name, const Bytes& vertices, const Bytes& faces);
// A material block: name, ambient, diffuse and specular colours, then `more`.
Bytes material(const std::string& name, Colour amb, Colour dif, Colour specular = {}, const Bytes& more = {});
// Main chunk, version, editor chunk around the parts.
Bytes file(std::initializer_list<Bytes> parts);

// A grid mesh of n x n quads (2 n^2 faces, (n + 1)^2 vertices) in the file's
// x-y plane, with two material groups splitting its faces.
Bytes grid_object(const std::string& name, int n, float z, const std::string& mat_a, const std::string& mat_b);

}  // namespace tarko::threeds
