// The studio reader: the header, then each table in the order the format's
// loader has always read them, every count and offset checked against the
// bytes before anything is allocated.
#include "models/mdl/studio_file.h"

#include <cstdio>
#include <cstring>
#include <cstdlib>

namespace tarko::mdl {

namespace {

using io::ByteReader;
using io::ParseError;

D3DVECTOR vec3(ByteReader& in) {
    D3DVECTOR v;
    v.x = in.f32();
    v.y = in.f32();
    v.z = in.f32();
    return v;
}

// A reader at `offset` of `file` holding `count` records of `size` bytes;
// ParseError when the table is not wholly inside the file.
ByteReader table(const Bytes& file, Long offset, Long count, std::size_t size, const char* what) {
    ByteReader whole(file);
    if (count < 0) whole.fail_at(0, std::string(what) + ": negative count " + std::to_string(count));
    if (offset < 0 || static_cast<std::size_t>(offset) > file.size())
        whole.fail_at(0, std::string(what) + ": offset " + std::to_string(offset) + " outside the file");
    ByteReader in = whole.range(static_cast<std::size_t>(offset), file.size() - static_cast<std::size_t>(offset));
    in.count_fits(static_cast<std::uint64_t>(count), size, what);
    return in;
}

StudioHeader read_header(ByteReader in) {
    in.need(kHeaderSize, "header cut short");
    StudioHeader h;
    h.id = in.fixed_string(4);
    h.version = in.i32();
    h.name = in.fixed_string(64);
    h.length = in.i32();
    h.eye = vec3(in), h.min = vec3(in), h.max = vec3(in), h.bbmin = vec3(in), h.bbmax = vec3(in);
    h.flags = in.i32();
    Long* fields[] = {&h.bone_count, &h.bone_offset, &h.controller_count, &h.controller_offset,
                      &h.hitbox_count, &h.hitbox_offset, &h.sequence_count, &h.sequence_offset,
                      &h.group_count, &h.group_offset, &h.texture_count, &h.texture_offset,
                      &h.texture_data_offset, &h.skin_ref_count, &h.skin_family_count, &h.skin_offset,
                      &h.body_part_count, &h.body_part_offset, &h.attachment_count, &h.attachment_offset,
                      &h.sound_table, &h.sound_offset, &h.sound_groups, &h.sound_group_offset,
                      &h.transition_count, &h.transition_offset};
    for (Long* f : fields) *f = in.i32();
    return h;
}

std::vector<Bone> read_bones(const Bytes& file, const StudioHeader& h) {
    ByteReader in = table(file, h.bone_offset, h.bone_count, 112, "bone table");
    std::vector<Bone> out(static_cast<std::size_t>(h.bone_count));
    for (Bone& b : out) {
        b.name = in.fixed_string(32);
        b.parent = in.i32();
        b.flags = in.i32();
        for (Long& c : b.controller) c = in.i32();
        for (float& v : b.value) v = in.f32();
        for (float& s : b.scale) s = in.f32();
    }
    return out;
}

std::vector<BoneController> read_controllers(const Bytes& file, const StudioHeader& h) {
    ByteReader in = table(file, h.controller_offset, h.controller_count, 24, "bone controller table");
    std::vector<BoneController> out(static_cast<std::size_t>(h.controller_count));
    for (BoneController& c : out) {
        c.bone = in.i32();
        c.type = in.i32();
        c.start = in.f32();
        c.end = in.f32();
        c.rest = in.i32();
        c.index = in.i32();
    }
    return out;
}

std::vector<HitBox> read_hitboxes(const Bytes& file, const StudioHeader& h) {
    ByteReader in = table(file, h.hitbox_offset, h.hitbox_count, 32, "hit box table");
    std::vector<HitBox> out(static_cast<std::size_t>(h.hitbox_count));
    for (HitBox& b : out) {
        b.bone = in.i32();
        b.group = in.i32();
        b.bbmin = vec3(in);
        b.bbmax = vec3(in);
    }
    return out;
}

HitBoxMesh hitbox_mesh(const HitBox& b) {
    const D3DVECTOR& lo = b.bbmin;
    const D3DVECTOR& hi = b.bbmax;
    // Corners 1..8: bit 4 picks max x, bit 2 max y, bit 1 max z (corner - 1).
    const auto corner = [&](int n) {
        const int k = n - 1;
        return D3DVECTOR{(k & 4) ? hi.x : lo.x, (k & 2) ? hi.y : lo.y, (k & 1) ? hi.z : lo.z};
    };
    static constexpr int order[36] = {1, 3, 7, 1, 7, 5, 5, 7, 8, 5, 8, 6, 2, 4, 3, 2, 3, 1,
                                      6, 8, 4, 6, 4, 2, 3, 4, 8, 3, 8, 7, 6, 5, 1, 6, 1, 2};
    HitBoxMesh m;
    m.min = lo;
    m.max = hi;
    for (int i = 0; i < 36; ++i) m.positions[static_cast<std::size_t>(i)] = corner(order[i]);
    return m;
}

std::vector<BodyPart> read_body_parts(const Bytes& file, const StudioHeader& h) {
    ByteReader in = table(file, h.body_part_offset, h.body_part_count, 76, "body part table");
    std::vector<BodyPart> out(static_cast<std::size_t>(h.body_part_count));
    for (BodyPart& p : out) {
        p.name = in.fixed_string(64);
        p.model_count = in.i32();
        p.base = in.i32();
        p.model_offset = in.i32();
    }
    return out;
}

std::vector<TextureRecord> read_texture_records(const Bytes& file, const StudioHeader& h) {
    ByteReader in = table(file, h.texture_offset, h.texture_count, 80, "texture table");
    std::vector<TextureRecord> out(static_cast<std::size_t>(h.texture_count));
    for (TextureRecord& t : out) {
        t.name = in.fixed_string(64);
        t.flags = in.i32();
        t.width = in.i32();
        t.height = in.i32();
        t.data_offset = in.i32();
    }
    return out;
}

TexturePixels read_texture_pixels(const Bytes& file, const TextureRecord& t) {
    if (t.width < 0 || t.height < 0)
        ByteReader(file).fail_at(0, "texture \"" + t.name + "\" has a negative size");
    const auto count = static_cast<std::uint64_t>(t.width) * static_cast<std::uint64_t>(t.height);
    ByteReader whole(file);
    if (t.data_offset < 0 || static_cast<std::size_t>(t.data_offset) > file.size())
        whole.fail_at(0, "texture data offset " + std::to_string(t.data_offset) + " outside the file");
    ByteReader in = whole.range(static_cast<std::size_t>(t.data_offset), file.size() - static_cast<std::size_t>(t.data_offset));
    if (count > in.remaining() || in.remaining() - count < 768) in.fail("texture data runs past the end");
    TexturePixels p;
    const auto indices = in.bytes(static_cast<std::size_t>(count));
    p.indices.assign(indices.begin(), indices.end());
    const auto palette = in.bytes(768);
    std::memcpy(p.palette.data(), palette.data(), 768);
    p.read = true;
    return p;
}

ModelRecord read_model_record(ByteReader& in) {
    ModelRecord m;
    m.name = in.fixed_string(64);
    m.type = in.i32();
    m.radius = in.f32();
    m.mesh_count = in.i32();
    m.mesh_offset = in.i32();
    m.vertex_count = in.i32();
    m.vertex_bone_offset = in.i32();
    m.vertex_offset = in.i32();
    m.normal_count = in.i32();
    m.normal_bone_offset = in.i32();
    m.normal_offset = in.i32();
    m.group_count = in.i32();
    m.group_offset = in.i32();
    return m;
}

std::vector<SequenceGroup> read_groups(const Bytes& file, const StudioHeader& h) {
    ByteReader in = table(file, h.group_offset, h.group_count, 104, "sequence group table");
    std::vector<SequenceGroup> out(static_cast<std::size_t>(h.group_count));
    for (SequenceGroup& g : out) {
        g.label = in.fixed_string(32);
        g.name = in.fixed_string(64);
        g.cache = in.i32();
        g.data_offset = in.i32();
    }
    return out;
}

std::vector<Sequence> read_sequences(const Bytes& file, const StudioHeader& h) {
    ByteReader in = table(file, h.sequence_offset, h.sequence_count, 176, "sequence table");
    std::vector<Sequence> out(static_cast<std::size_t>(h.sequence_count));
    for (Sequence& s : out) {
        const auto label = in.bytes(32);
        s.label.assign(reinterpret_cast<const char*>(label.data()), 32);
        s.fps = in.f32();
        s.flags = in.i32();
        s.activity = in.i32();
        s.activity_weight = in.i32();
        s.event_count = in.i32();
        s.event_offset = in.i32();
        s.frame_count = in.i32();
        s.pivot_count = in.i32();
        s.pivot_offset = in.i32();
        s.motion_type = in.i32();
        s.motion_bone = in.i32();
        s.linear_movement = vec3(in);
        s.automove_pos_offset = in.i32();
        s.automove_angle_offset = in.i32();
        s.bbmin = vec3(in);
        s.bbmax = vec3(in);
        s.blend_count = in.i32();
        s.anim_offset = in.i32();
        for (Long& t : s.blend_type) t = in.i32();
        for (float& v : s.blend_start) v = in.f32();
        for (float& v : s.blend_end) v = in.f32();
        s.blend_parent = in.i32();
        s.group = in.i32();
        s.entry_node = in.i32();
        s.exit_node = in.i32();
        s.node_flags = in.i32();
        s.next_sequence = in.i32();
    }
    return out;
}

// Runs one step of the read; a failure is kept and the read goes on.
template <class F>
void step(StudioModel& m, F&& body) {
    try {
        body();
    } catch (const ParseError& e) {
        m.skipped.push_back(e);
    }
}

}  // namespace

bool is_studio(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= 4 && std::memcmp(bytes.data(), "IDST", 4) == 0;
}

std::string texture_file_name(const std::string& filename) {
    return filename.substr(0, filename.size() >= 4 ? filename.size() - 4 : 0) + "t.mdl";
}

std::string group_file_name(const std::string& filename, int group) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%02d", group);
    return filename.substr(0, filename.size() >= 4 ? filename.size() - 4 : 0) + digits + ".mdl";
}

Long texture_side(Long side) {
    if (side <= 2) return side;
    Long out = 4;
    while (out < side && out < 256) out *= 2;
    return out;
}

void convert_commands(ByteReader& in, Long triangle_count, Long vertex_count, const std::array<float, 2>* skin_size,
                      DrawMesh& out, std::size_t& budget) {
    const std::size_t capacity = 3 * static_cast<std::size_t>(triangle_count);
    out.Indices.assign(capacity, 0);
    out.TexCoords.assign(capacity, {0.0f, 0.0f});
    std::size_t c = 0;
    struct Point {
        Integer v, s, t;
    };
    std::vector<Point> points;
    for (;;) {
        const std::size_t run_at = in.offset();
        const int n = in.i16();
        if (n == 0) break;
        const auto m = static_cast<std::size_t>(std::abs(n));
        if (m > budget) in.fail_at(run_at, "more triangle command points than the file can hold");
        budget -= m;
        in.need(8 * m, "triangle command run past the end");
        points.resize(m);
        for (Point& p : points) {
            p.v = in.i16();
            in.i16();  // normal number
            p.s = in.i16();
            p.t = in.i16();
            if (p.v < 0 || p.v >= vertex_count)
                in.fail_at(in.offset() - 8, "vertex number " + std::to_string(p.v) + " outside the model");
        }
        for (std::size_t k = 1; k + 2 <= m; ++k) {
            if (c + 3 > capacity) break;  // more triangles than the mesh declares: dropped
            const std::size_t tri[3] = {n < 0 ? 1 : k, k + 1, k + 2};
            for (const std::size_t j : tri) {
                const Point& p = points[j - 1];
                out.Indices[c] = p.v;
                if (skin_size) {
                    if ((*skin_size)[0] != 0) out.TexCoords[c][0] = static_cast<float>(p.s) / (*skin_size)[0];
                    if ((*skin_size)[1] != 0) out.TexCoords[c][1] = static_cast<float>(p.t) / (*skin_size)[1];
                }
                ++c;
            }
        }
    }
}

StudioModel read_studio(Bytes main_file, const std::string& filename, const FileLoader& load) {
    StudioModel m;
    m.FileBlocks.push_back(std::move(main_file));
    const Bytes& file = m.FileBlocks[0];
    bool header_read = false;
    step(m, [&] {
        m.header = read_header(ByteReader(file));
        header_read = true;
    });
    if (!header_read) return m;
    const StudioHeader& h = m.header;

    step(m, [&] { m.Bones = read_bones(file, h); });
    if (h.controller_count != 0) step(m, [&] { m.BoneControllers = read_controllers(file, h); });
    if (h.hitbox_count > 0)
        step(m, [&] {
            m.HitBoxes = read_hitboxes(file, h);
            for (const HitBox& b : m.HitBoxes) m.HitBoxMeshes.push_back(hitbox_mesh(b));
        });
    step(m, [&] { m.BodyParts = read_body_parts(file, h); });

    // Textures, from this file or from its companion.
    Bytes companion;
    const Bytes* texture_file = &file;
    StudioHeader texture_header = h;
    if (h.texture_count <= 0) {
        companion = load(texture_file_name(filename));
        texture_file = &companion;
        texture_header.texture_count = 0;  // unless the companion's header says otherwise
        step(m, [&] { texture_header = read_header(ByteReader(companion)); });
    }
    if (texture_header.texture_count > 0) {
        step(m, [&] { m.Textures = read_texture_records(*texture_file, texture_header); });
        m.TexturePictures.resize(m.Textures.size());
        // Real textures do not share their pixels: all of them together fit in the file.
        std::size_t pixel_budget = texture_file->size();
        for (std::size_t i = 0; i < m.Textures.size(); ++i) {
            const TextureRecord& t = m.Textures[i];
            m.TextureSizes.push_back({static_cast<float>(t.width), static_cast<float>(t.height)});
            step(m, [&] {
                TexturePixels p = read_texture_pixels(*texture_file, t);
                if (p.indices.size() + 768 > pixel_budget)
                    ByteReader(*texture_file).fail_at(static_cast<std::size_t>(t.data_offset),
                                                      "texture \"" + t.name + "\": more pixels than the file holds");
                pixel_budget -= p.indices.size() + 768;
                m.TexturePictures[i] = std::move(p);
            });
        }
    }

    // Models: a legitimate file holds each command point once, so the whole
    // file's points (and triangles) stay below its size / 8.
    std::size_t point_budget = file.size() / 8 + 1;
    std::size_t triangle_budget = file.size() / 8 + 1;
    m.Models.resize(m.BodyParts.size());
    for (std::size_t b = 0; b < m.BodyParts.size(); ++b) {
        const BodyPart& part = m.BodyParts[b];
        std::vector<ModelMesh>& models = m.Models[b];
        step(m, [&] {
            ByteReader in = table(file, part.model_offset, part.model_count, 112, "model table");
            models.resize(static_cast<std::size_t>(part.model_count));
            for (ModelMesh& model : models) model.record = read_model_record(in);
        });
        for (ModelMesh& model : models) {
            const ModelRecord& r = model.record;
            if (r.vertex_count <= 0) continue;
            step(m, [&] {
                ByteReader in = table(file, r.vertex_offset, r.vertex_count, 12, "vertex table");
                model.Positions.resize(static_cast<std::size_t>(r.vertex_count));
                for (D3DVECTOR& p : model.Positions) p = vec3(in);
            });
            step(m, [&] {
                ByteReader in = table(file, r.vertex_bone_offset, r.vertex_count, 1, "vertex bone table");
                const auto bytes = in.bytes(static_cast<std::size_t>(r.vertex_count));
                model.VertexBones.assign(bytes.begin(), bytes.end());
            });
            step(m, [&] {
                ByteReader in = table(file, r.mesh_offset, r.mesh_count, 20, "mesh table");
                model.MeshRecords.resize(static_cast<std::size_t>(r.mesh_count));
                for (MeshRecord& mr : model.MeshRecords) {
                    mr.triangle_count = in.i32();
                    mr.command_offset = in.i32();
                    mr.skin_ref = in.i32();
                    mr.normal_count = in.i32();
                    mr.normal_offset = in.i32();
                }
                model.MeshCount = static_cast<Integer>(std::min<Long>(r.mesh_count, 32767));
            });
            model.DrawMeshes.resize(model.MeshRecords.size());
            for (std::size_t k = 0; k < model.MeshRecords.size(); ++k) {
                const MeshRecord& mr = model.MeshRecords[k];
                DrawMesh& dm = model.DrawMeshes[k];
                dm.Skin = mr.skin_ref;
                step(m, [&] {
                    ByteReader in = table(file, mr.command_offset, mr.triangle_count, 0, "triangle commands");
                    if (static_cast<std::size_t>(mr.triangle_count) > triangle_budget)
                        in.fail("triangle count " + std::to_string(mr.triangle_count) + " beyond what the file holds");
                    triangle_budget -= static_cast<std::size_t>(mr.triangle_count);
                    const bool known = mr.skin_ref >= 0 && static_cast<std::size_t>(mr.skin_ref) < m.TextureSizes.size();
                    convert_commands(in, mr.triangle_count, r.vertex_count,
                                     known ? &m.TextureSizes[static_cast<std::size_t>(mr.skin_ref)] : nullptr, dm,
                                     point_budget);
                });
            }
        }
    }

    step(m, [&] { m.SequenceGroups = read_groups(file, h); });
    step(m, [&] { m.Sequences = read_sequences(file, h); });
    // Last: adding blocks moves the main file's bytes (`file` is not used after).
    for (std::size_t g = 1; g < m.SequenceGroups.size(); ++g)
        m.FileBlocks.push_back(load(group_file_name(filename, static_cast<int>(g))));
    return m;
}

}  // namespace tarko::mdl
