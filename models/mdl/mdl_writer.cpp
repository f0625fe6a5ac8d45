// Studio model writing: the header's tables filled in as the records are laid
// out, the companion files, the sample walker.
#include "models/mdl/mdl_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tarko::mdl {

namespace {

struct Out {
    Bytes b;
    std::size_t size() const { return b.size(); }
    void u8(std::uint8_t v) { b.push_back(v); }
    void i16(std::int16_t v) { u8(static_cast<std::uint8_t>(v & 0xFF)), u8(static_cast<std::uint8_t>((v >> 8) & 0xFF)); }
    void i32(std::int32_t v) {
        for (int i = 0; i < 4; ++i) u8(static_cast<std::uint8_t>((static_cast<std::uint32_t>(v) >> (8 * i)) & 0xFF));
    }
    void f32(float f) {
        std::int32_t v;
        std::memcpy(&v, &f, 4);
        i32(v);
    }
    void vec(const D3DVECTOR& v) { f32(v.x), f32(v.y), f32(v.z); }
    void text(const std::string& s, std::size_t n) {
        for (std::size_t i = 0; i < n; ++i) u8(i < s.size() ? static_cast<std::uint8_t>(s[i]) : 0);
    }
    void zeros(std::size_t n) { b.insert(b.end(), n, 0); }
    void put32(std::size_t at, std::int32_t v) {
        for (int i = 0; i < 4; ++i) b[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>((static_cast<std::uint32_t>(v) >> (8 * i)) & 0xFF);
    }
    void put16(std::size_t at, std::int16_t v) {
        b[at] = static_cast<std::uint8_t>(v & 0xFF);
        b[at + 1] = static_cast<std::uint8_t>((v >> 8) & 0xFF);
    }
    std::int32_t here() const { return static_cast<std::int32_t>(b.size()); }
    // A header's count and offset pair: `count` records starting here.
    void table(std::size_t at, std::size_t count) { put32(at, static_cast<std::int32_t>(count)), put32(at + 4, here()); }
};

// Header field offsets.
enum : std::size_t {
    kBones = 140, kControllers = 148, kHitBoxes = 156, kSequences = 164, kGroups = 172, kTextures = 180,
    kBodyParts = 204
};

void header(Out& o, const char* id = "IDST") {
    o.text(id, 4);
    o.i32(10);
    o.text("test", 64);
    o.zeros(244 - 72);
}

void textures(Out& o, const std::vector<TextureDesc>& list) {
    o.table(kTextures, list.size());
    const std::size_t table = o.size();
    for (const TextureDesc& t : list) {
        o.text(t.name, 64);
        o.i32(0), o.i32(t.width), o.i32(t.height), o.i32(0);
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        const TextureDesc& t = list[i];
        o.put32(table + 80 * i + 76, o.here());
        for (std::int32_t k = 0; k < t.width * t.height; ++k)
            o.u8(static_cast<std::size_t>(k) < t.indices.size() ? t.indices[static_cast<std::size_t>(k)] : 0);
        o.b.insert(o.b.end(), t.palette.begin(), t.palette.end());
    }
}

// The bone records and tracks of one sequence, at the end of `o`; returns their offset.
std::int32_t animation(Out& o, const SequenceDesc& s, std::size_t bone_count) {
    const std::int32_t base = o.here();
    o.zeros(12 * bone_count);
    for (std::size_t b = 0; b < s.bones.size() && b < bone_count; ++b)
        for (std::size_t ch = 0; ch < 6; ++ch) {
            const Track& track = s.bones[b][ch];
            if (track.empty()) continue;
            o.put16(static_cast<std::size_t>(base) + 12 * b + 2 * ch,
                    static_cast<std::int16_t>(o.here() - (base + static_cast<std::int32_t>(12 * b))));
            for (const TrackRun& r : track) {
                o.u8(static_cast<std::uint8_t>(r.values.size()));
                o.u8(r.total);
                for (std::int16_t v : r.values) o.i16(v);
            }
        }
    return base;
}

}  // namespace


std::int32_t triangles_of(const MeshDesc& m) {
    if (m.triangles >= 0) return m.triangles;
    std::int32_t n = 0;
    for (const Run& r : m.runs) n += static_cast<std::int32_t>(r.points.size()) - 2;
    return n;
}

StudioFiles write_studio(const StudioDesc& desc) {
    StudioFiles files;
    Out o;
    header(o);

    o.table(kBones, desc.bones.size());
    for (const BoneDesc& b : desc.bones) {
        o.text(b.name, 32);
        o.i32(b.parent), o.i32(0);
        for (std::int32_t c : b.controller) o.i32(c);
        for (float v : b.value) o.f32(v);
        for (float v : b.scale) o.f32(v);
    }
    o.table(kControllers, desc.controllers.size());
    for (const ControllerDesc& c : desc.controllers) o.i32(c.bone), o.i32(c.type), o.f32(c.start), o.f32(c.end), o.i32(0), o.i32(c.index);
    o.table(kHitBoxes, desc.hitboxes.size());
    for (const auto& h : desc.hitboxes) o.i32(0), o.i32(0), o.vec(h[0]), o.vec(h[1]);

    // Body parts, then their models, vertices, bones, meshes and commands.
    o.table(kBodyParts, desc.body_parts.size());
    const std::size_t parts = o.size();
    for (const BodyPartDesc& p : desc.body_parts) {
        o.text(p.name, 64);
        o.i32(static_cast<std::int32_t>(p.models.size())), o.i32(1), o.i32(0);
    }
    for (std::size_t p = 0; p < desc.body_parts.size(); ++p) {
        const auto& models = desc.body_parts[p].models;
        o.put32(parts + 76 * p + 72, o.here());
        const std::size_t table = o.size();
        for (const ModelDesc& m : models) {
            o.text(m.name, 64);
            o.i32(0), o.f32(0), o.i32(static_cast<std::int32_t>(m.meshes.size())), o.i32(0);
            o.i32(static_cast<std::int32_t>(m.vertices.size()));
            o.zeros(112 - 84);
        }
        for (std::size_t k = 0; k < models.size(); ++k) {
            const ModelDesc& m = models[k];
            const std::size_t rec = table + 112 * k;
            const auto vertex_bones = [&](std::size_t at) {
                o.put32(at, o.here());
                for (std::size_t v = 0; v < m.vertices.size(); ++v) o.u8(v < m.bones.size() ? m.bones[v] : 0);
            };
            o.put32(rec + 88, o.here());
            for (const D3DVECTOR& v : m.vertices) o.vec(v);
            vertex_bones(rec + 84);
            // one normal a vertex, (0, 0, 1), on the vertex's bone (other readers want them)
            o.put32(rec + 92, static_cast<std::int32_t>(m.vertices.size()));
            vertex_bones(rec + 96);
            o.put32(rec + 100, o.here());
            for (std::size_t v = 0; v < m.vertices.size(); ++v) o.vec({0, 0, 1});
            o.put32(rec + 76, o.here());
            const std::size_t meshes = o.size();
            for (const MeshDesc& mesh : m.meshes) o.i32(triangles_of(mesh)), o.i32(0), o.i32(mesh.skin), o.i32(0), o.i32(0);
            for (std::size_t i = 0; i < m.meshes.size(); ++i) {
                o.put32(meshes + 20 * i + 4, o.here());
                for (const Run& r : m.meshes[i].runs) {
                    const auto n = static_cast<std::int16_t>(r.points.size());
                    o.i16(r.fan ? static_cast<std::int16_t>(-n) : n);
                    for (const Point& pt : r.points) o.i16(pt.v), o.i16(pt.v), o.i16(pt.s), o.i16(pt.t);
                }
                o.i16(0);
            }
        }
    }

    // The skin table: one family, skin reference i is texture i.
    o.put32(192, static_cast<std::int32_t>(desc.textures.size()));
    o.put32(196, 1);
    o.put32(200, o.here());
    for (std::size_t t = 0; t < desc.textures.size(); ++t) o.i16(static_cast<std::int16_t>(t));

    if (desc.textures_in_companion) {
        Out t;
        header(t);
        textures(t, desc.textures);
        files.textures = t.b;
    } else {
        textures(o, desc.textures);
    }

    // Sequence groups: group 0's data offset is 0 (the main file), the others'
    // files start with an 8-byte tag.
    files.groups.resize(static_cast<std::size_t>(std::max(desc.group_count - 1, 0)));
    std::vector<Out> group_out(files.groups.size());
    for (Out& g : group_out) g.text("IDSQ", 8);
    std::vector<std::int32_t> anim(desc.sequences.size());
    for (std::size_t i = 0; i < desc.sequences.size(); ++i) {
        const SequenceDesc& s = desc.sequences[i];
        Out& target = s.group >= 1 && static_cast<std::size_t>(s.group) <= group_out.size()
                          ? group_out[static_cast<std::size_t>(s.group - 1)]
                          : o;
        anim[i] = animation(target, s, desc.bones.size());
    }
    for (std::size_t g = 0; g < group_out.size(); ++g) files.groups[g] = group_out[g].b;

    o.table(kGroups, static_cast<std::size_t>(desc.group_count));
    for (std::int32_t g = 0; g < desc.group_count; ++g) {
        o.text(g == 0 ? "default" : "group", 32);
        o.text("", 64);
        o.i32(0), o.i32(0);
    }
    o.table(kSequences, desc.sequences.size());
    for (std::size_t i = 0; i < desc.sequences.size(); ++i) {
        const SequenceDesc& s = desc.sequences[i];
        o.text(s.label, 32);
        o.f32(s.fps);
        o.zeros(20);
        o.i32(s.frames);
        o.zeros(120 - 60);
        o.i32(1), o.i32(anim[i]);
        o.zeros(156 - 128);
        o.i32(s.group);
        o.zeros(176 - 160);
    }
    o.put32(72, o.here());  // length
    files.main = o.b;
    return files;
}

std::array<std::uint8_t, 768> palette(std::initializer_list<std::array<std::uint8_t, 3>> colours) {
    std::array<std::uint8_t, 768> p{};
    std::size_t i = 0;
    for (const auto& c : colours) {
        p[3 * i] = c[0], p[3 * i + 1] = c[1], p[3 * i + 2] = c[2];
        ++i;
    }
    return p;
}

StudioDesc walker(int rings, int sides, float size) {
    StudioDesc s;
    const float pi = 3.14159265f;
    // pelvis 0, torso 1, left leg 2, right leg 3, head 4 (z up, x forward)
    const auto bone = [&](const char* name, std::int32_t parent, float x, float y, float z) {
        BoneDesc b;
        b.name = name;
        b.parent = parent;
        b.value = {x * size, y * size, z * size, 0, 0, 0};
        b.scale = {0.01f * size, 0.01f * size, 0.01f * size, 0.01f, 0.01f, 0.01f};
        return b;
    };
    s.bones = {bone("pelvis", -1, 0, 0, 0.95f), bone("torso", 0, 0, 0, 0.05f), bone("leg_l", 0, 0, 0.16f, 0),
               bone("leg_r", 0, 0, -0.16f, 0), bone("head", 1, 0, 0, 0.7f)};
    s.bones[4].controller = {-1, -1, -1, 1, -1, 0};
    s.controllers = {{4, 0x20, -45, 45, 0}, {4, 0x08, 0, 10, 4}};
    ModelDesc m;
    m.name = "figure";
    MeshDesc body{0, -1, {}}, head{1, -1, {}};
    // tube for bone b from z0 to z1 (bone space), radius r
    const auto tube = [&](std::uint8_t b, float z0, float z1, float r, MeshDesc& mesh) {
        const auto first = static_cast<std::int16_t>(m.vertices.size());
        for (int i = 0; i <= rings; ++i)
            for (int j = 0; j <= sides; ++j) {
                const float a = 2 * pi * static_cast<float>(j) / static_cast<float>(sides);
                const float z = z0 + (z1 - z0) * static_cast<float>(i) / static_cast<float>(rings);
                const float bulge = r * (0.8f + 0.2f * std::sin(pi * static_cast<float>(i) / static_cast<float>(rings)));
                m.vertices.push_back({size * bulge * std::cos(a), size * bulge * std::sin(a), size * z});
                m.bones.push_back(b);
            }
        for (int i = 0; i < rings; ++i) {
            Run run;
            for (int j = 0; j <= sides; ++j)
                for (int k : {i + 1, i}) {
                    const auto v = static_cast<std::int16_t>(first + k * (sides + 1) + j);
                    run.points.push_back({v, static_cast<std::int16_t>(8 * j / sides), static_cast<std::int16_t>(8 * k / rings)});
                }
            mesh.runs.push_back(run);
        }
    };
    tube(0, -0.1f, 0.1f, 0.2f, body);
    tube(1, 0.0f, 0.65f, 0.22f, body);
    tube(2, -0.95f, 0.0f, 0.08f, body);
    tube(3, -0.95f, 0.0f, 0.08f, body);
    tube(4, 0.0f, 0.3f, 0.14f, head);
    m.meshes = {body, head};
    s.body_parts = {{"body", {m}}};
    TextureDesc check{"body.bmp", 8, 8, {}, palette({{40, 90, 200}, {230, 200, 60}})};
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) check.indices.push_back(static_cast<std::uint8_t>((x / 2 + y / 2) % 2));
    TextureDesc face{"head.bmp", 4, 4, std::vector<std::uint8_t>(16, 0), palette({{240, 180, 150}})};
    s.textures = {check, face};

    const auto swing = [](int frames, float amplitude, float phase) {
        TrackRun run{static_cast<std::uint8_t>(frames), {}};
        for (int f = 0; f < frames; ++f)
            run.values.push_back(static_cast<std::int16_t>(std::lround(
                amplitude * std::sin(2 * 3.14159265f * static_cast<float>(f) / static_cast<float>(frames) + phase))));
        return Track{run};
    };
    SequenceDesc idle{"idle", 8, 8, 0, std::vector<std::array<Track, 6>>(5)};
    idle.bones[4][5] = swing(8, 30, 0);          // head: +-0.3 rad about z
    SequenceDesc walk{"walk", 16, 16, 0, std::vector<std::array<Track, 6>>(5)};
    walk.bones[2][4] = swing(16, 50, 0);         // legs: +-0.5 rad about y, opposite
    walk.bones[3][4] = swing(16, 50, pi);
    walk.bones[0][2] = swing(16, 4, 0);          // pelvis bobs 0.04
    walk.bones[1][4] = swing(16, 8, pi / 2);     // torso sways
    s.sequences = {idle, walk};
    return s;
}

}  // namespace tarko::mdl
