// Gathering meshes, crease normals and material groups.
#include "models/x/mesh_builder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <unordered_map>

#include "runtime/byte_reader.h"

namespace tarko::x {

namespace {

// Materials compare by value: the key is their bytes.
std::string material_key(const Material& m) {
    std::string k(reinterpret_cast<const char*>(&m.face), sizeof m.face);
    k.append(reinterpret_cast<const char*>(&m.power), sizeof m.power);
    k.append(reinterpret_cast<const char*>(&m.specular), sizeof m.specular);
    k.append(reinterpret_cast<const char*>(&m.emissive), sizeof m.emissive);
    k += m.texture;
    return k;
}

void add_frame(MeshBuilder& b, const Frame& f, const Matrix& parent, int depth) {
    if (depth >= kMaxDepth) throw io::ParseError("frames nested too deep", 0);
    const Matrix world = multiply(f.transform, parent);   // the frame's own matrix first, then its parent's
    for (const Mesh& m : f.meshes) add_mesh(b, m, world);
    for (const Frame& c : f.children) add_frame(b, c, world, depth + 1);
}

Vec3 sub(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
float dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec3 unit(const Vec3& v) {
    const double l = std::sqrt(double(v.x) * v.x + double(v.y) * v.y + double(v.z) * v.z);
    if (!(l > 1e-30) || !std::isfinite(l)) return {0, 0, 0};
    return {static_cast<float>(v.x / l), static_cast<float>(v.y / l), static_cast<float>(v.z / l)};
}

struct PosKey {
    std::uint32_t x, y, z;
    bool operator==(const PosKey&) const = default;
};
struct VertKey {
    std::uint32_t pos, nx, ny, nz;
    bool operator==(const VertKey&) const = default;
};
struct Hash {
    std::size_t operator()(const PosKey& k) const {
        return (std::size_t{k.x} * 0x9E3779B97F4A7C15ull) ^ (std::size_t{k.y} * 0xC2B2AE3D27D4EB4Full) ^
               (std::size_t{k.z} * 0x165667B19E3779F9ull);
    }
    std::size_t operator()(const VertKey& k) const {
        return (std::size_t{k.pos} * 0x9E3779B97F4A7C15ull) ^ (std::size_t{k.nx} * 0xC2B2AE3D27D4EB4Full) ^
               (std::size_t{k.ny} * 0x165667B19E3779F9ull) ^ (std::size_t{k.nz} * 0x27D4EB2F165667C5ull);
    }
};
std::uint32_t bits(float f) {
    if (f == 0) f = 0;   // -0 and 0 are one position
    std::uint32_t u;
    std::memcpy(&u, &f, 4);
    return u;
}

constexpr std::size_t kMaxNeighbours = 256;

}  // namespace

bool has_route(const File& file, Route route) {
    return route == Route::Mesh ? !file.meshes.empty() : !file.frames.empty();
}

void add_mesh(MeshBuilder& b, const Mesh& mesh, const Matrix& m) {
    const auto base = static_cast<std::uint32_t>(b.positions.size());
    for (const Vec3& p : mesh.positions) b.positions.push_back(transform_point(p, m));
    if (mesh.uvs.size() == mesh.positions.size()) b.uvs.insert(b.uvs.end(), mesh.uvs.begin(), mesh.uvs.end());
    else b.uvs.resize(b.positions.size());

    std::vector<std::uint32_t> local;   // mesh material -> builder material
    const std::vector<Material> fallback(1);
    const auto& materials = mesh.materials.empty() ? fallback : mesh.materials;
    for (const Material& mat : materials) {
        const auto [it, fresh] =
            b.material_index.emplace(material_key(mat), static_cast<std::uint32_t>(b.materials.size()));
        if (fresh) b.materials.push_back(mat);
        local.push_back(it->second);
    }
    for (std::size_t f = 0; f < mesh.face_count(); ++f) {
        for (std::uint32_t i = mesh.face_start[f]; i < mesh.face_start[f + 1]; ++i)
            b.indices.push_back(base + mesh.indices[i]);
        b.face_start.push_back(static_cast<std::uint32_t>(b.indices.size()));
        b.face_material.push_back(local[mesh.face_material.empty() ? 0 : mesh.face_material[f]]);
    }
}

MeshBuilder gather(const File& file, Route route) {
    MeshBuilder b;
    if (route == Route::Mesh) {
        if (file.meshes.empty()) throw io::ParseError("no mesh at the top of the file", 0);
        for (const Mesh& m : file.meshes) add_mesh(b, m, kIdentity);
    } else {
        if (file.frames.empty()) throw io::ParseError("no frame in the file", 0);
        for (const Frame& f : file.frames) add_frame(b, f, kIdentity, 0);
    }
    return b;
}

Box box_of(const MeshBuilder& b) {
    if (b.positions.empty()) return {};
    Box box{b.positions[0], b.positions[0]};
    for (const Vec3& p : b.positions) {
        box.min = {std::min(box.min.x, p.x), std::min(box.min.y, p.y), std::min(box.min.z, p.z)};
        box.max = {std::max(box.max.x, p.x), std::max(box.max.y, p.y), std::max(box.max.z, p.z)};
    }
    return box;
}

std::vector<Group> create_groups(const MeshBuilder& b, float crease) {
    const std::size_t nf = b.face_count();
    // Face normals: the sum of the fan triangles' cross products, so a quad
    // that is not quite flat gets its mean direction.
    std::vector<Vec3> face_normal(nf);
    for (std::size_t f = 0; f < nf; ++f) {
        const std::uint32_t s = b.face_start[f], e = b.face_start[f + 1];
        Vec3 n{};
        for (std::uint32_t k = s + 1; k + 1 < e; ++k) {
            const Vec3& a = b.positions[b.indices[s]];
            const Vec3 c = cross(sub(b.positions[b.indices[k]], a), sub(b.positions[b.indices[k + 1]], a));
            n = {n.x + c.x, n.y + c.y, n.z + c.z};
        }
        face_normal[f] = unit(n);
    }

    // Positions with equal coordinates form one cluster; the faces around each.
    std::unordered_map<PosKey, std::uint32_t, Hash> cluster_of_key;
    cluster_of_key.reserve(b.positions.size());
    std::vector<std::uint32_t> cluster(b.positions.size());
    for (std::size_t i = 0; i < b.positions.size(); ++i) {
        const Vec3& p = b.positions[i];
        cluster[i] = cluster_of_key.emplace(PosKey{bits(p.x), bits(p.y), bits(p.z)},
                                            static_cast<std::uint32_t>(cluster_of_key.size()))
                         .first->second;
    }
    const std::size_t nc = cluster_of_key.size();
    std::vector<std::uint32_t> start(nc + 1, 0);
    for (const std::uint32_t i : b.indices) ++start[cluster[i] + 1];
    for (std::size_t c = 0; c < nc; ++c) start[c + 1] += start[c];
    std::vector<std::uint32_t> around(b.indices.size());
    {
        std::vector<std::uint32_t> fill(start.begin(), start.end() - 1);
        for (std::size_t f = 0; f < nf; ++f)
            for (std::uint32_t k = b.face_start[f]; k < b.face_start[f + 1]; ++k)
                around[fill[cluster[b.indices[k]]]++] = static_cast<std::uint32_t>(f);
    }

    const float min_cos = std::cos(crease);
    std::vector<Group> groups;
    std::vector<std::int64_t> group_of_material(b.materials.size(), -1);
    std::vector<std::unordered_map<VertKey, std::uint32_t, Hash>> seen;
    for (std::size_t f = 0; f < nf; ++f) {
        const std::uint32_t m = b.face_material[f];
        if (group_of_material[m] < 0) {
            group_of_material[m] = static_cast<std::int64_t>(groups.size());
            groups.emplace_back();
            groups.back().material = b.materials[m];
            seen.emplace_back();
        }
        const auto g = static_cast<std::size_t>(group_of_material[m]);
        Group& group = groups[g];
        const std::uint32_t s = b.face_start[f], e = b.face_start[f + 1];
        const std::uint32_t count = e - s;
        if (group.face_count == 0) group.vertices_per_face = count;
        else if (group.vertices_per_face != count && group.vertices_per_face != 0) {
            // Faces of different sizes: every face gets its count in front.
            std::vector<std::uint32_t> prefixed;
            prefixed.reserve(group.face_data.size() + group.face_count);
            for (std::size_t i = 0; i < group.face_data.size(); i += group.vertices_per_face) {
                prefixed.push_back(group.vertices_per_face);
                prefixed.insert(prefixed.end(), group.face_data.begin() + static_cast<std::ptrdiff_t>(i),
                                group.face_data.begin() + static_cast<std::ptrdiff_t>(i + group.vertices_per_face));
            }
            group.face_data = std::move(prefixed);
            group.vertices_per_face = 0;
        }
        if (group.vertices_per_face == 0) group.face_data.push_back(count);
        ++group.face_count;

        const Vec3& own = face_normal[f];
        for (std::uint32_t k = s; k < e; ++k) {
            const std::uint32_t pos = b.indices[k];
            const std::uint32_t c = cluster[pos];
            Vec3 sum = own;
            const std::uint32_t last = std::min<std::uint32_t>(start[c + 1], start[c] + kMaxNeighbours);
            std::uint32_t previous = UINT32_MAX;
            for (std::uint32_t j = start[c]; j < last; ++j) {
                const std::uint32_t other = around[j];
                if (other == previous || other == f) continue;   // each face once, its own already in
                previous = other;
                const Vec3& n = face_normal[other];
                if (dot(own, n) >= min_cos) sum = {sum.x + n.x, sum.y + n.y, sum.z + n.z};
            }
            const Vec3 normal = unit(sum);
            const VertKey key{pos, bits(normal.x), bits(normal.y), bits(normal.z)};
            const auto [it, fresh] = seen[g].emplace(key, static_cast<std::uint32_t>(group.vertices.size()));
            if (fresh) group.vertices.push_back({b.positions[pos], normal, b.uvs[pos].u, b.uvs[pos].v});
            group.face_data.push_back(it->second);
        }
    }
    return groups;
}

}  // namespace tarko::x
