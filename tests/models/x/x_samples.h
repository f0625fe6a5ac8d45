// Small X models for the tests, built as data and written by the X writer.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "models/x/x_file.h"
#include "models/x/x_writer.h"

namespace tarko::test::xs {

using Bytes = std::vector<std::uint8_t>;
using x::Material;
using x::Mesh;
using x::Vec3;

inline Bytes bytes(const std::string& s) { return Bytes(s.begin(), s.end()); }

inline void face(Mesh& m, std::initializer_list<std::uint32_t> idx) {
    m.indices.insert(m.indices.end(), idx);
    m.face_start.push_back(static_cast<std::uint32_t>(m.indices.size()));
}

// The cube from (-1, -1, -1) to (1, 1, 1) on 8 shared corners, faces clockwise
// from outside; faces 0..2 (-z, +x, +z) red, 3..5 (-x, +y, -y) green.
inline Mesh cube() {
    Mesh m;
    m.name = "Cube";
    m.positions = {{-1, -1, -1}, {-1, 1, -1}, {1, 1, -1}, {1, -1, -1},
                   {-1, -1, 1},  {-1, 1, 1},  {1, 1, 1},  {1, -1, 1}};
    face(m, {0, 1, 2, 3});   // -z
    face(m, {3, 2, 6, 7});   // +x
    face(m, {7, 6, 5, 4});   // +z
    face(m, {4, 5, 1, 0});   // -x
    face(m, {1, 5, 6, 2});   // +y
    face(m, {4, 0, 3, 7});   // -y
    m.uvs = {{0, 1}, {0, 0}, {1, 0}, {1, 1}, {1, 1}, {1, 0}, {0, 0}, {0, 1}};
    Material red, green;
    red.face = {1, 0, 0, 1};
    red.power = 8;
    red.specular = {0.5f, 0.5f, 0.5f, 1};
    green.face = {0, 1, 0, 0.5f};
    green.emissive = {0, 0.25f, 0, 1};
    m.materials = {red, green};
    m.face_material = {0, 0, 0, 1, 1, 1};
    return m;
}

inline x::File file_of(const Mesh& m) {
    x::File f;
    f.meshes.push_back(m);
    return f;
}

inline std::filesystem::path write_file(const std::filesystem::path& dir, const std::string& name, const Bytes& b) {
    std::filesystem::create_directories(dir);
    const auto path = dir / name;
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(b.data()),
                                                static_cast<std::streamsize>(b.size()));
    return path;
}

}  // namespace tarko::test::xs
