// 3DS files in tarko-view: the chunk reader's meshes and materials, drawn by
// cTarko_3DSfile (view_3ds.h).
#include <algorithm>
#include <limits>

#include "models/3ds/chunk_reader.h"
#include "runtime/files.h"
#include "view_3ds.h"
#include "view_format.h"

namespace tarko::view {

namespace {

bool detect(std::span<const std::uint8_t> bytes) { return is_3ds(bytes); }

std::string colour(const D3DCOLORVALUE& c) {
    char b[64];
    std::snprintf(b, sizeof b, "(%g, %g, %g, %g)", static_cast<double>(c.r), static_cast<double>(c.g),
                  static_cast<double>(c.b), static_cast<double>(c.a));
    return b;
}

Info info(const std::string& path) {
    threeds::Model m;
    const auto read = threeds::read_3ds(runtime::read_file(path), m);  // a run-time error propagates
    Info i;
    i.format = "3DS";
    constexpr float inf = std::numeric_limits<float>::infinity();
    i.min = {inf, inf, inf}, i.max = {-inf, -inf, -inf};
    for (int k = 0; k < m.MeshCount; ++k) {
        const auto& mesh = m.MeshObjects[static_cast<std::size_t>(k)];
        i.vertices += static_cast<std::size_t>(mesh.VertexCount);
        for (int v = 0; v < mesh.VertexCount; ++v) {
            const D3DVERTEX& p = mesh.Vertices[static_cast<std::size_t>(v)];
            i.min = {std::min(i.min.x, p.x), std::min(i.min.y, p.y), std::min(i.min.z, p.z)};
            i.max = {std::max(i.max.x, p.x), std::max(i.max.y, p.y), std::max(i.max.z, p.z)};
        }
        for (int g = 0; g < mesh.GroupCount; ++g) {
            const auto& group = mesh.Groups[static_cast<std::size_t>(g)];
            const auto faces = static_cast<std::size_t>(group.IndexCount / 3);
            i.faces += faces;
            i.groups.push_back({m.Materials.Name[static_cast<std::size_t>(group.MaterialSlot)], "", faces});
        }
    }
    if (i.vertices == 0) i.min = i.max = {};
    for (int s = 1; s <= m.Materials.MaterialCount; ++s) {
        const auto& mat = m.Materials.Material[static_cast<std::size_t>(s)];
        i.details.push_back("material " + std::to_string(s) + " \"" + m.Materials.Name[static_cast<std::size_t>(s)] +
                            "\": ambient " + colour(mat.ambient) + ", diffuse " + colour(mat.diffuse) + ", specular " +
                            colour(mat.specular));
    }
    if (read.stopped)
        i.details.push_back("read stopped at byte " + std::to_string(read.stopped->offset()) + ": " +
                            read.stopped->reason());
    return i;
}

void load_and_draw(tarko_DX7& engine, const std::string& path) { render_3ds(engine, path); }

}  // namespace

extern const ViewFormat kThreeDsFormat{"3ds", detect, info, load_and_draw};

}  // namespace tarko::view
