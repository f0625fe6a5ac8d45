// The mesh builder the X model relies on: meshes of a file gathered into one
// (frames' matrices applied down the hierarchy), its box, normals made anew
// with a crease angle, and one group per material with per-group vertices.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "models/x/x_file.h"

namespace tarko::x {

// All the meshes of a model in one: positions in model space, faces as
// polygons, each face with a material of `materials`.
struct MeshBuilder {
    std::vector<Vec3> positions;
    std::vector<Vec2> uvs;                      // one per position (0, 0 when the mesh has none)
    std::vector<std::uint32_t> face_start{0};
    std::vector<std::uint32_t> indices;
    std::vector<std::uint32_t> face_material;   // per face, into `materials`
    std::vector<Material> materials;            // equal materials are one
    std::unordered_map<std::string, std::uint32_t> material_index;   // material bytes -> index
    std::size_t face_count() const { return face_start.size() - 1; }
};

enum class Route { Mesh, Frames };

// Loading as a mesh takes every top-level Mesh of the file (a file may hold
// several, and a person expects to see them all); a file without one loads as
// frames: every mesh under every top-level Frame, each frame's matrix applied
// to its children. A file with neither throws io::ParseError.
MeshBuilder gather(const File& file, Route route);
bool has_route(const File& file, Route route);
// Appends a mesh with every position put through `m`.
void add_mesh(MeshBuilder& builder, const Mesh& mesh, const Matrix& m);

struct Box {
    Vec3 min, max;
};
// The box over every position; all zeros for no positions.
Box box_of(const MeshBuilder& builder);

struct GroupVertex {
    Vec3 p, n;
    float tu = 0, tv = 0;
};
// One material's faces, as the mesh gives them back: with p vertices per
// face, face_data is p indices a face; with p = 0 each face is its count and
// then its indices.
struct Group {
    std::vector<GroupVertex> vertices;
    std::uint32_t vertices_per_face = 0;
    std::uint32_t face_count = 0;
    std::vector<std::uint32_t> face_data;
    Material material;
};

// The crease angle the model uses: 3.14 / 4.
inline constexpr float kCreaseAngle = 3.14f / 4;

// Normals made anew: a corner's normal is the normalised sum of the unit face
// normals around its position (same coordinates, so seams of duplicated
// vertices stay smooth) whose angle to its own face's normal is at most
// `crease`. The sum is unweighted; a position shared by more than 256 faces
// smooths over the first 256 of them. Groups follow the order in which faces
// first use their material; within a group vertices come in the order the
// faces first use them, one per position and normal.
std::vector<Group> create_groups(const MeshBuilder& builder, float crease = kCreaseAngle);

}  // namespace tarko::x
