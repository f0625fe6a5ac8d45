// The chunk walk: a loop per level over explicit positions, a recursive call
// for nested chunks, payloads read on a reader bounded to the chunk.
#include "models/3ds/chunk_reader.h"

#include <algorithm>
#include <string>
#include <utility>

#include "models/3ds/normals.h"
#include "runtime/errors.h"
#include "runtime/files.h"

namespace tarko::threeds {
namespace {

constexpr std::size_t kHeader = 6;

struct Header {
    std::uint16_t id = 0;
    std::uint32_t length = 0;
};

bool is_flat(std::uint16_t id) { return id == chunk::Main || id == chunk::Editor || id == chunk::MaterialBlock; }

// Chunks whose children start right after the header.
bool is_nested(std::uint16_t id) {
    switch (id) {
    case chunk::SolidBackground: case 0x3000: case chunk::TriMesh: case chunk::TextureMap:
    case 0xA204: case 0xA210: case 0xA220: case 0xA230:
        return true;
    default:
        return id >= 0xA001 && id <= 0xA07F;  // ambient, diffuse, specular, shininess, transparency...
    }
}

[[noreturn]] void subscript_out_of_range() { raise_error(err::SubscriptOutOfRange); }

class ChunkWalk {
public:
    ChunkWalk(std::span<const std::uint8_t> file, Model& model) : file_(file), m_(model) {}

    // Reads chunks from `pos` while a whole header fits before `end`.
    void read_level(std::size_t pos, std::size_t end, const Header& parent, int depth) {
        if (depth > kMaxChunkDepth) throw io::ParseError("chunks nested too deep", pos);
        while (pos < end && end - pos >= kHeader) {
            io::ByteReader head = file_.range(pos, kHeader);
            const Header h{head.u16(), head.u32()};
            if (is_flat(h.id)) {
                pos += kHeader;
                continue;
            }
            if (h.length < kHeader) return;  // would never advance
            const std::size_t length = std::min<std::size_t>(h.length, end - pos);
            io::ByteReader body = file_.range(pos + kHeader, length - kHeader);
            read_chunk(h, parent, pos, pos + length, body, depth);
            pos += h.length;  // past `end` when it lied: this level ends
        }
    }

    // Each face list recomputes its mesh's normals from scratch, so only the
    // last one counts: they are computed once, when the mesh is done, which
    // keeps a file of many face lists from costing a pass over the mesh each.
    void flush_normals() {
        if (!normals_due_) return;
        normals_due_ = false;
        compute_vertex_normals(m_.MeshObjects[static_cast<std::size_t>(m_.MeshCount - 1)].Vertices,
                               std::span(m_.FaceIndices).first(static_cast<std::size_t>(m_.FaceIndexCount)));
    }

private:
    void read_chunk(const Header& h, const Header& parent, std::size_t pos, std::size_t end, io::ByteReader& in,
                    int depth) {
        if (is_nested(h.id)) return read_level(pos + kHeader, end, h, depth + 1);
        switch (h.id) {
        case chunk::Version: case chunk::MeshVersion:
            in.i32();
            return;
        case chunk::MasterScale:
            m_.MasterScale = in.f32();
            return;
        case chunk::ColourF: case chunk::LinColourF:
        case 0x3010: case 0x3020: case 0x3030: case 0x3040: case 0x3050: case 0x3060: case 0x3070:
            in.skip(12);
            return;
        case chunk::Colour24: {
            const std::uint8_t r = in.u8(), g = in.u8(), b = in.u8();
            return colour(parent.id, r, g, b);
        }
        case chunk::PercentI:
            return percentage(parent.id, in.i16(), true);
        case chunk::PercentF:
            return percentage(parent.id, in.f32(), false);
        case chunk::BackgroundBitmap: case chunk::MaterialName: case chunk::MapName:
            return open_slot(in.zstring());
        case chunk::SelfIllum: {
            D3DMATERIAL7& mat = slot_material();
            mat.emissive = mat.diffuse;
            return;
        }
        case chunk::TwoSided:
            m_.Materials.CullMode[current_slot()] = 1;
            return;
        case chunk::Shading:
            m_.Materials.ShadeMode[current_slot()] = in.i16() == 0 ? 1 : 2;
            return;
        case chunk::Object:
            return object(h, pos, end, in, depth);
        case chunk::VertexList:
            return vertex_list(in);
        case chunk::FaceList:
            return face_list(h, pos, end, in, depth);
        case chunk::MaterialGroup:
            return material_group(in);
        case chunk::TexCoords:
            in.i16();  // the coordinates behind it are not kept
            return;
        case chunk::MeshTextureInfo:
            in.i16();
            in.skip(21 * 4);
            return;
        default:
            return;
        }
    }

    std::size_t current_slot() const { return static_cast<std::size_t>(m_.Materials.MaterialCount); }
    D3DMATERIAL7& slot_material() { return m_.Materials.Material[current_slot()]; }

    void open_slot(const std::string& raw_name) {
        MaterialTable& t = m_.Materials;
        if (t.MaterialCount >= kMaterialSlots - 1) subscript_out_of_range();
        ++t.MaterialCount;
        t.Name[current_slot()] = runtime::latin1_to_utf8(raw_name);
        t.CullMode[current_slot()] = 3;
        t.ShadeMode[current_slot()] = 1;
    }

    void colour(std::uint16_t parent, std::uint8_t r, std::uint8_t g, std::uint8_t b) {
        D3DCOLORVALUE* target = nullptr;
        switch (parent) {
        case chunk::Ambient:
            target = &slot_material().ambient;
            if ((r | g | b) == 0) r = g = b = 255;  // black ambient loads as white
            break;
        case chunk::Diffuse: target = &slot_material().diffuse; break;
        case chunk::Specular: target = &slot_material().specular; break;
        default: return;
        }
        *target = {static_cast<float>(r / 255.0), static_cast<float>(g / 255.0), static_cast<float>(b / 255.0), 1.0f};
    }

    // An Integer percentage p or a Single fraction f.
    void percentage(std::uint16_t parent, float value, bool whole) {
        D3DMATERIAL7& mat = slot_material();
        if (parent == chunk::Shininess) {
            mat.power = value * 10.0f;
        } else if (parent == chunk::Transparency) {
            // The Single form is taken as the opacity itself, not 1 - f.
            const float alpha = whole ? static_cast<float>((100.0 - value) / 100.0) : value;
            mat.ambient.a = mat.diffuse.a = alpha;
        }
    }

    void object(const Header& h, std::size_t pos, std::size_t end, io::ByteReader& in, int depth) {
        const std::string name = in.zstring();  // not kept
        m_.PendingGroupCount = 0;
        const Integer meshes_before = m_.MeshCount;
        read_level(pos + kHeader + name.size() + 1, end, h, depth + 1);
        // Only an object that held a vertex list gives its mesh groups: a camera
        // or light after a mesh leaves that mesh's groups alone.
        if (m_.MeshCount == 0 || m_.MeshCount == meshes_before) return;
        MeshObject& mesh = m_.MeshObjects[static_cast<std::size_t>(m_.MeshCount - 1)];
        if (m_.PendingGroupCount != 0) {
            mesh.Groups.assign(m_.PendingGroups.begin(), m_.PendingGroups.begin() + m_.PendingGroupCount);
            mesh.GroupCount = m_.PendingGroupCount;
        } else {
            MeshGroup all;  // slot 0, cull and shade mode 0
            all.Indices = m_.FaceIndices;
            all.IndexCount = m_.FaceIndexCount;
            mesh.Groups.assign(1, std::move(all));
            mesh.GroupCount = 1;
        }
    }

    void vertex_list(io::ByteReader& in) {
        const Integer count = in.i16();
        flush_normals();
        if (m_.MeshCount >= kMeshes || count < 0) subscript_out_of_range();
        in.count_fits(static_cast<std::uint64_t>(count), 12, "vertex list");
        MeshObject& mesh = m_.MeshObjects[static_cast<std::size_t>(m_.MeshCount)];
        ++m_.MeshCount;
        mesh.VertexCount = count;
        mesh.Vertices.assign(static_cast<std::size_t>(count) + 1, D3DVERTEX{});
        const float s = m_.MasterScale;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            const float x = in.f32(), y = in.f32(), z = in.f32();
            D3DVERTEX& v = mesh.Vertices[i];
            v.x = x * s;
            v.y = z * s;  // the file's second and third axes change places
            v.z = y * s;
        }
        mesh.GroupCount = 0;
        mesh.Groups.clear();
        m_.FaceIndices.assign(1, 0);
        m_.FaceIndexCount = 0;
    }

    void face_list(const Header& h, std::size_t pos, std::size_t end, io::ByteReader& in, int depth) {
        const Integer count = in.i16();
        if (count < 0 || m_.MeshCount == 0) subscript_out_of_range();
        const auto n = in.count_fits(static_cast<std::uint64_t>(count), 8, "face list");
        m_.FaceIndexCount = static_cast<Long>(3 * n);
        m_.FaceIndices.assign(3 * n + 1, 0);
        for (std::size_t f = 0; f < n; ++f) {
            Integer a = in.i16(), b = in.i16(), c = in.i16();
            const std::uint16_t flags = in.u16();
            // Edge-visibility flags pick the winding.
            if (!(flags & 4)) std::swap(a, b);
            if (!(flags & 2)) std::swap(b, c);
            if (!(flags & 1)) std::swap(a, c);
            m_.FaceIndices[3 * f] = a;
            m_.FaceIndices[3 * f + 1] = b;
            m_.FaceIndices[3 * f + 2] = c;
        }
        const std::size_t vertices = m_.MeshObjects[static_cast<std::size_t>(m_.MeshCount - 1)].Vertices.size();
        for (std::size_t k = 0; k < 3 * n; ++k)
            if (static_cast<std::size_t>(m_.FaceIndices[k]) >= vertices) subscript_out_of_range();  // negatives wrap
        normals_due_ = true;
        read_level(pos + 8 + 8 * n, end, h, depth + 1);
    }

    void material_group(io::ByteReader& in) {
        const std::string name = runtime::latin1_to_utf8(in.zstring());
        const Integer count = in.i16();
        if (m_.PendingGroupCount >= kPendingGroups) subscript_out_of_range();
        MeshGroup& g = m_.PendingGroups[static_cast<std::size_t>(m_.PendingGroupCount)];
        ++m_.PendingGroupCount;
        const MaterialTable& t = m_.Materials;
        g.MaterialSlot = 0;
        g.CullMode = g.ShadeMode = 0;
        for (Integer s = 1; s <= t.MaterialCount; ++s) {
            if (t.Name[static_cast<std::size_t>(s)] == name) {
                g.MaterialSlot = s;
                g.CullMode = t.CullMode[static_cast<std::size_t>(s)];
                g.ShadeMode = t.ShadeMode[static_cast<std::size_t>(s)];
                break;
            }
        }
        if (count < 0) subscript_out_of_range();
        const auto n = in.count_fits(static_cast<std::uint64_t>(count), 2, "material group");
        const auto faces = static_cast<std::size_t>(m_.FaceIndexCount / 3);
        g.IndexCount = static_cast<Long>(3 * n);
        g.Indices.assign(3 * n + 1, 0);
        for (std::size_t k = 0; k < n; ++k) {
            const Integer f = in.i16();
            if (f < 0 || static_cast<std::size_t>(f) >= faces) subscript_out_of_range();
            std::copy_n(m_.FaceIndices.begin() + 3 * f, 3, g.Indices.begin() + static_cast<std::ptrdiff_t>(3 * k));
        }
    }

    io::ByteReader file_;
    Model& m_;
    bool normals_due_ = false;
};

}  // namespace

ReadResult read_3ds(std::span<const std::uint8_t> file, Model& model) {
    model.MeshCount = 0;
    model.Materials.MaterialCount = 0;
    model.MasterScale = 1.0f;
    ReadResult result;
    ChunkWalk walk(file, model);
    try {
        walk.read_level(0, file.size(), Header{}, 0);
    } catch (const io::ParseError& e) {
        result.stopped = e;
    } catch (...) {
        walk.flush_normals();  // what was read before the error stays whole
        throw;
    }
    walk.flush_normals();
    return result;
}

}  // namespace tarko::threeds
