// Fuzz target: the 3DS chunk reader into a model reused across inputs (as a
// reload would), then a check of what a read promises: counts within the
// tables, every group's indices inside its mesh's vertex array.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "models/3ds/chunk_reader.h"
#include "runtime/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static tarko::threeds::Model model;
    try {
        tarko::threeds::read_3ds(std::span(data, size), model);
    } catch (const tarko::RuntimeError& e) {
        if (e.number() != tarko::err::SubscriptOutOfRange) std::abort();  // the only error the tables raise
    }
    if (model.MeshCount < 0 || model.MeshCount > tarko::threeds::kMeshes) std::abort();
    if (model.Materials.MaterialCount < 0 || model.Materials.MaterialCount >= tarko::threeds::kMaterialSlots) std::abort();
    for (int m = 0; m < model.MeshCount; ++m) {
        const auto& mesh = model.MeshObjects[static_cast<std::size_t>(m)];
        if (mesh.Vertices.size() != static_cast<std::size_t>(mesh.VertexCount) + 1) std::abort();
        if (mesh.Groups.size() != static_cast<std::size_t>(mesh.GroupCount)) std::abort();
        for (const auto& g : mesh.Groups) {
            if (g.Indices.size() < static_cast<std::size_t>(g.IndexCount)) std::abort();
            if (g.MaterialSlot < 0 || g.MaterialSlot >= tarko::threeds::kMaterialSlots) std::abort();
        }
    }
    return 0;
}
