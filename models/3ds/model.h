// What a 3DS file leaves in a cTarko_3DSfile: up to 100 triangle meshes, each
// cut into per-material index groups, and the 101-slot material table. Plain
// data, no device state. Counts are 16-bit as the file's are.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "platform/records.h"
#include "runtime/numeric.h"

namespace tarko::threeds {

inline constexpr int kMaterialSlots = 101;  // slots 0 to 100; a file fills them from 1
inline constexpr int kMeshes = 100;
inline constexpr int kPendingGroups = 101;

struct MeshGroup {
    Integer MaterialSlot = 0;
    std::vector<Integer> Indices;  // three vertex numbers a triangle, IndexCount + 1 entries
    Long IndexCount = 0;           // entries to draw
    Long CullMode = 0;             // render-state values copied from the material slot
    Long ShadeMode = 0;
};

struct MeshObject {
    std::vector<D3DVERTEX> Vertices;  // VertexCount + 1 entries; tu and tv stay 0
    Integer VertexCount = 0;
    Integer GroupCount = 0;
    std::vector<MeshGroup> Groups;
};

// Four parallel arrays. A slot opens with cull mode 3 (counter-clockwise) and
// shade mode 1 (flat); its material is only overwritten by what the file sets.
struct MaterialTable {
    std::array<D3DMATERIAL7, kMaterialSlots> Material{};
    std::array<Long, kMaterialSlots> CullMode{};
    std::array<Long, kMaterialSlots> ShadeMode{};
    std::array<std::string, kMaterialSlots> Name;
    Integer MaterialCount = 0;  // highest slot in use
};

struct Model {
    MaterialTable Materials;
    std::array<MeshObject, kMeshes> MeshObjects;
    Integer MeshCount = 0;
    // The face list of the mesh being read, three entries a face (FaceIndexCount + 1 held).
    std::vector<Integer> FaceIndices;
    Long FaceIndexCount = 0;
    // Groups of the object being read, copied into its mesh when the object ends.
    std::array<MeshGroup, kPendingGroups> PendingGroups;
    Integer PendingGroupCount = 0;
    float MasterScale = 1.0f;
};

}  // namespace tarko::threeds
