// 3DS writing: chunks with their lengths, materials, meshes, the sample grid.
#include "models/3ds/threeds_writer.h"

#include "runtime/byte_writer.h"

namespace tarko::threeds {

using io::put_f32, io::put_u16, io::put_u32;

Bytes u16(std::uint16_t v) {
    Bytes b;
    put_u16(b, v);
    return b;
}
Bytes u32(std::uint32_t v) {
    Bytes b;
    put_u32(b, v);
    return b;
}
Bytes f32(float f) {
    Bytes b;
    put_f32(b, f);
    return b;
}
Bytes str(const std::string& s) {
    Bytes b(s.begin(), s.end());
    b.push_back(0);
    return b;
}

Bytes chunk_of(std::uint16_t id, std::initializer_list<Bytes> parts) {
    Bytes body;
    for (const Bytes& p : parts) body.insert(body.end(), p.begin(), p.end());
    Bytes b;
    put_u16(b, id);
    put_u32(b, static_cast<std::uint32_t>(body.size() + 6));
    b.insert(b.end(), body.begin(), body.end());
    return b;
}
Bytes chunk_len(std::uint16_t id, std::uint32_t length, const Bytes& body) {
    Bytes b;
    put_u16(b, id);
    put_u32(b, length);
    b.insert(b.end(), body.begin(), body.end());
    return b;
}
Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes b;
    for (const Bytes& p : parts) b.insert(b.end(), p.begin(), p.end());
    return b;
}

Bytes rgb(std::uint16_t parent, std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    return chunk_of(parent, {chunk_of(0x0011, {Bytes{r, g, b}})});
}
Bytes percent(std::uint16_t parent, std::int16_t p) {
    return chunk_of(parent, {chunk_of(0x0030, {u16(static_cast<std::uint16_t>(p))})});
}
Bytes vertex_list(const std::vector<Vec3>& v) {
    Bytes body = u16(static_cast<std::uint16_t>(v.size()));
    for (const Vec3& p : v)
        for (float c : p) put_f32(body, c);
    return chunk_of(0x4110, {body});
}
Bytes material_group(const std::string& name, const std::vector<std::uint16_t>& faces) {
    Bytes body = cat({str(name), u16(static_cast<std::uint16_t>(faces.size()))});
    for (std::uint16_t f : faces) put_u16(body, f);
    return chunk_of(0x4130, {body});
}
Bytes face_list(const std::vector<Face>& faces, const Bytes& children) {
    Bytes body = u16(static_cast<std::uint16_t>(faces.size()));
    for (const Face& f : faces)
        for (std::uint16_t x : f) put_u16(body, x);
    return chunk_of(0x4120, {body, children});
}
Bytes object(const std::string& name, const Bytes& vertices, const Bytes& faces) {
    return chunk_of(0x4000, {str(name), chunk_of(0x4100, {vertices, faces})});
}
Bytes material(const std::string& name, Colour amb, Colour dif, Colour specular, const Bytes& more) {
    return chunk_of(0xAFFF, {chunk_of(0xA000, {str(name)}), rgb(0xA010, amb.r, amb.g, amb.b),
                             rgb(0xA020, dif.r, dif.g, dif.b), rgb(0xA030, specular.r, specular.g, specular.b), more});
}
Bytes file(std::initializer_list<Bytes> parts) {
    Bytes editor;
    for (const Bytes& p : parts) editor.insert(editor.end(), p.begin(), p.end());
    return chunk_of(0x4D4D, {chunk_of(0x0002, {u32(3)}), chunk_of(0x3D3D, {chunk_of(0x3D3E, {u32(3)}), editor})});
}

Bytes grid_object(const std::string& name, int n, float z, const std::string& mat_a, const std::string& mat_b) {
    std::vector<Vec3> v;
    for (int j = 0; j <= n; ++j)
        for (int i = 0; i <= n; ++i) v.push_back({float(i), float(j), z + 0.01f * float((i * 7 + j * 3) % 5)});
    std::vector<Face> f;
    std::vector<std::uint16_t> a, b;
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            const auto k = static_cast<std::uint16_t>(j * (n + 1) + i);
            const auto up = static_cast<std::uint16_t>(k + n + 1);
            (j < n / 2 ? a : b).push_back(static_cast<std::uint16_t>(f.size()));
            f.push_back({k, up, static_cast<std::uint16_t>(up + 1), 7});
            (j < n / 2 ? a : b).push_back(static_cast<std::uint16_t>(f.size()));
            f.push_back({k, static_cast<std::uint16_t>(up + 1), static_cast<std::uint16_t>(k + 1), 7});
        }
    return object(name, vertex_list(v), face_list(f, cat({material_group(mat_a, a), material_group(mat_b, b)})));
}

}  // namespace tarko::threeds
