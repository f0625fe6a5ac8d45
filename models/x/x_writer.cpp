// Text and binary X writing, and MSZIP compression.
#include "models/x/x_writer.h"

#include "platform/deflate.h"


#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

namespace tarko::x {

namespace {

class TextOut {
public:
    std::string s;
    void num(double v) {
        char b[32];
        std::snprintf(b, sizeof b, "%.6f", v);
        s += b;
    }
    void open(const std::string& type, const std::string& name) { s += type + (name.empty() ? "" : " " + name) + " {\n"; }
    void close() { s += "}\n"; }
    void material(const Material& m) {
        open("Material", m.name);
        for (float v : {m.face.r, m.face.g, m.face.b, m.face.a}) num(v), s += ";";
        s += ";\n";
        num(m.power), s += ";\n";
        for (float v : {m.specular.r, m.specular.g, m.specular.b}) num(v), s += ";";
        s += ";\n";
        for (float v : {m.emissive.r, m.emissive.g, m.emissive.b}) num(v), s += ";";
        s += ";\n";
        if (!m.texture.empty()) s += "TextureFilename {\n    \"" + m.texture + "\";\n}\n";
        close();
    }
    void mesh(const Mesh& m) {
        open("Mesh", m.name);
        s += std::to_string(m.positions.size()) + ";\n";
        for (std::size_t i = 0; i < m.positions.size(); ++i) {
            num(m.positions[i].x), s += ";", num(m.positions[i].y), s += ";", num(m.positions[i].z);
            s += i + 1 < m.positions.size() ? ";,\n" : ";;\n";
        }
        s += std::to_string(m.face_count()) + ";\n";
        for (std::size_t f = 0; f < m.face_count(); ++f) {
            s += std::to_string(m.face_start[f + 1] - m.face_start[f]) + ";";
            for (std::uint32_t i = m.face_start[f]; i < m.face_start[f + 1]; ++i)
                s += std::to_string(m.indices[i]) + (i + 1 < m.face_start[f + 1] ? "," : "");
            s += f + 1 < m.face_count() ? ";,\n" : ";;\n";
        }
        if (!m.uvs.empty()) {
            open("MeshTextureCoords", "");
            s += std::to_string(m.uvs.size()) + ";\n";
            for (std::size_t i = 0; i < m.uvs.size(); ++i) {
                num(m.uvs[i].u), s += ";", num(m.uvs[i].v);
                s += i + 1 < m.uvs.size() ? ";,\n" : ";;\n";
            }
            close();
        }
        if (!m.materials.empty()) {
            open("MeshMaterialList", "");
            s += std::to_string(m.materials.size()) + ";\n" + std::to_string(m.face_material.size()) + ";\n";
            for (std::size_t i = 0; i < m.face_material.size(); ++i)
                s += std::to_string(m.face_material[i]) + (i + 1 < m.face_material.size() ? ",\n" : ";;\n");
            for (const Material& mat : m.materials) material(mat);
            close();
        }
        close();
    }
    void frame(const Frame& f) {
        open("Frame", f.name);
        open("FrameTransformMatrix", "");
        for (int i = 0; i < 16; ++i) num(f.transform[static_cast<std::size_t>(i)]), s += i < 15 ? "," : ";;\n";
        close();
        for (const Mesh& m : f.meshes) mesh(m);
        for (const Frame& c : f.children) frame(c);
        close();
    }
};

class BinaryOut {
public:
    explicit BinaryOut(bool doubles) : doubles_(doubles) {}
    std::vector<std::uint8_t> b;
    void u16(std::uint16_t v) { b.push_back(v & 255), b.push_back(v >> 8); }
    void u32(std::uint32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    }
    void name(const std::string& n) {
        u16(1), u32(static_cast<std::uint32_t>(n.size()));
        b.insert(b.end(), n.begin(), n.end());
    }
    void ints(const std::vector<std::uint32_t>& v) {
        u16(6), u32(static_cast<std::uint32_t>(v.size()));
        for (auto x : v) u32(x);
    }
    void floats(const std::vector<float>& v) {
        u16(7), u32(static_cast<std::uint32_t>(v.size()));
        for (float f : v) {
            if (doubles_) {
                const double d = f;
                std::uint64_t bits;
                std::memcpy(&bits, &d, 8);
                u32(static_cast<std::uint32_t>(bits)), u32(static_cast<std::uint32_t>(bits >> 32));
            } else {
                std::uint32_t bits;
                std::memcpy(&bits, &f, 4);
                u32(bits);
            }
        }
    }
    void open(const std::string& type, const std::string& n) {
        name(type);
        if (!n.empty()) name(n);
        u16(10);
    }
    void close() { u16(11); }
    void material(const Material& m) {
        open("Material", m.name);
        floats({m.face.r, m.face.g, m.face.b, m.face.a, m.power, m.specular.r, m.specular.g, m.specular.b,
                m.emissive.r, m.emissive.g, m.emissive.b});
        if (!m.texture.empty()) {
            open("TextureFilename", "");
            u16(2), u32(static_cast<std::uint32_t>(m.texture.size()));
            b.insert(b.end(), m.texture.begin(), m.texture.end());
            u16(20), u16(0);   // the string's 32-bit terminator
            close();
        }
        close();
    }
    void mesh(const Mesh& m) {
        open("Mesh", m.name);
        ints({static_cast<std::uint32_t>(m.positions.size())});
        std::vector<float> p;
        for (const Vec3& v : m.positions) p.insert(p.end(), {v.x, v.y, v.z});
        floats(p);
        std::vector<std::uint32_t> faces{static_cast<std::uint32_t>(m.face_count())};
        for (std::size_t f = 0; f < m.face_count(); ++f) {
            faces.push_back(m.face_start[f + 1] - m.face_start[f]);
            faces.insert(faces.end(), m.indices.begin() + m.face_start[f], m.indices.begin() + m.face_start[f + 1]);
        }
        ints(faces);
        if (!m.uvs.empty()) {
            open("MeshTextureCoords", "");
            ints({static_cast<std::uint32_t>(m.uvs.size())});
            std::vector<float> t;
            for (const Vec2& v : m.uvs) t.insert(t.end(), {v.u, v.v});
            floats(t);
            close();
        }
        if (!m.materials.empty()) {
            open("MeshMaterialList", "");
            std::vector<std::uint32_t> list{static_cast<std::uint32_t>(m.materials.size()),
                                            static_cast<std::uint32_t>(m.face_material.size())};
            list.insert(list.end(), m.face_material.begin(), m.face_material.end());
            ints(list);
            for (const Material& mat : m.materials) material(mat);
            close();
        }
        close();
    }
    void frame(const Frame& f) {
        open("Frame", f.name);
        open("FrameTransformMatrix", "");
        floats(std::vector<float>(f.transform.begin(), f.transform.end()));
        close();
        for (const Mesh& m : f.meshes) mesh(m);
        for (const Frame& c : f.children) frame(c);
        close();
    }

private:
    bool doubles_;
};

}  // namespace

std::vector<std::uint8_t> deflate_mszip(const std::vector<std::uint8_t>& plain, std::uint32_t total) {
    std::vector<std::uint8_t> out;
    auto u16 = [&](std::size_t v) { out.push_back(v & 255), out.push_back(static_cast<std::uint8_t>(v >> 8)); };
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(total >> (8 * i)));
    constexpr std::size_t kBlock = 32768;
    for (std::size_t at = 0; at < plain.size(); at += kBlock) {
        const std::size_t n = std::min(kBlock, plain.size() - at);
        const std::span<const std::uint8_t> all(plain);
        const auto packed = platform::zip::deflate_block(all.subspan(at, n), all.subspan(at - std::min(at, kBlock), std::min(at, kBlock)));
        u16(n), u16(packed.size() + 2);
        out.push_back('C'), out.push_back('K');
        out.insert(out.end(), packed.begin(), packed.end());
    }
    return out;
}

std::vector<std::uint8_t> write(const File& file, Form form) {
    const bool text = form == Form::Text || form == Form::TextZip;
    std::vector<std::uint8_t> body;
    if (text) {
        TextOut t;
        for (const Mesh& m : file.meshes) t.mesh(m);
        for (const Frame& f : file.frames) t.frame(f);
        body.assign(t.s.begin(), t.s.end());
    } else {
        BinaryOut b(form == Form::Binary64);
        for (const Mesh& m : file.meshes) b.mesh(m);
        for (const Frame& f : file.frames) b.frame(f);
        body = std::move(b.b);
    }
    const char* head = form == Form::Text       ? "xof 0302txt 0032"
                       : form == Form::Binary32 ? "xof 0302bin 0032"
                       : form == Form::Binary64 ? "xof 0302bin 0064"
                       : form == Form::TextZip  ? "xof 0302tzip0032"
                                                : "xof 0302bzip0032";
    std::vector<std::uint8_t> out(head, head + 16);
    if (text && form == Form::Text) out.push_back('\n');
    if (form == Form::TextZip || form == Form::BinaryZip) {
        const auto packed = deflate_mszip(body, static_cast<std::uint32_t>(body.size() + 16));
        out.insert(out.end(), packed.begin(), packed.end());
    } else {
        out.insert(out.end(), body.begin(), body.end());
    }
    return out;
}

}  // namespace tarko::x
