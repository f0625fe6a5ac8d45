// MD2 writing: the header from the table sizes, the tables, the sample actor.
#include "models/md2/md2_writer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "runtime/byte_writer.h"

namespace tarko::md2 {

namespace {
void put16(Bytes& b, std::int16_t v) { io::put_u16(b, static_cast<std::uint16_t>(v)); }
void put32(Bytes& b, std::int32_t v) { io::put_u32(b, static_cast<std::uint32_t>(v)); }
}  // namespace

void put_name(Bytes& b, const std::string& s, std::size_t size) {
    const std::size_t start = b.size();
    b.resize(start + size, 0);
    std::memcpy(b.data() + start, s.data(), std::min(s.size(), size));
}
void set32(Bytes& b, std::size_t offset, std::int32_t v) {
    for (std::size_t i = 0; i < 4; ++i) b.at(offset + i) = static_cast<std::uint8_t>(static_cast<std::uint32_t>(v) >> (8 * i));
}

Bytes write_md2(const Model& m) {
    const auto vertex_count = static_cast<std::int32_t>(m.frames.empty() ? 0 : m.frames[0].points.size());
    const std::int32_t frame_size = 40 + 4 * vertex_count;
    const auto n = [](const auto& v) { return static_cast<std::int32_t>(v.size()); };
    const std::int32_t skins_at = 68, st_at = skins_at + 64 * n(m.skins), tris_at = st_at + 4 * n(m.st),
                       frames_at = tris_at + 12 * n(m.triangles), commands_at = frames_at + frame_size * n(m.frames),
                       end = commands_at + 4 * n(m.gl_commands);
    Bytes b{'I', 'D', 'P', '2'};
    for (std::int32_t v : {8, m.skin_width, m.skin_height, frame_size, n(m.skins), vertex_count, n(m.st),
                           n(m.triangles), n(m.gl_commands), n(m.frames), skins_at, st_at, tris_at, frames_at, commands_at, end})
        put32(b, v);
    for (const std::string& s : m.skins) put_name(b, s, 64);
    for (const auto& c : m.st)
        for (std::int16_t v : c) put16(b, v);
    for (const auto& t : m.triangles)
        for (std::int16_t v : t) put16(b, v);
    for (const Frame& f : m.frames) {
        for (float v : f.scale) io::put_f32(b, v);
        for (float v : f.translate) io::put_f32(b, v);
        put_name(b, f.name, 16);
        for (const auto& p : f.points) b.insert(b.end(), {p[0], p[1], p[2], 0});
    }
    for (std::int32_t c : m.gl_commands) put32(b, c);
    return b;
}

Model triangle_model(const std::vector<std::string>& frame_names) {
    Model m;
    m.skin_width = 8;
    m.skin_height = 4;
    m.skins = {"skin.pcx"};
    m.st = {{0, 0}, {8, 0}, {4, 2}};
    m.triangles = {{0, 1, 2, 0, 1, 2}};
    for (std::size_t k = 0; k < frame_names.size(); ++k) {
        const auto u = static_cast<std::uint8_t>(k);
        m.frames.push_back({{0.5f, 0.5f, 0.5f}, {1, 2, 3}, frame_names[k],
                            {{u, static_cast<std::uint8_t>(2 * u), static_cast<std::uint8_t>(3 * u)}, {10, 0, 0}, {0, 10, 0}}});
    }
    return m;
}

Model actor(int rings, int segments, int frames_each, float height, const std::string& skin) {
    Model m;
    m.skin_width = 256;
    m.skin_height = 256;
    m.skins = {skin};
    const int ring_points = segments + 1;  // the seam repeats its first point for the texture
    for (int r = 0; r < rings; ++r)
        for (int s = 0; s < ring_points; ++s)
            m.st.push_back({static_cast<std::int16_t>(255 * s / segments), static_cast<std::int16_t>(255 * r / (rings - 1))});
    const auto id = [&](int r, int s) { return static_cast<std::int16_t>(r * ring_points + s); };
    const auto bottom = static_cast<std::int16_t>(rings * ring_points), top = static_cast<std::int16_t>(bottom + 1);
    m.st.push_back({128, 255});
    m.st.push_back({128, 0});
    for (int r = 0; r + 1 < rings; ++r)
        for (int s = 0; s < segments; ++s) {
            m.triangles.push_back({id(r, s), id(r + 1, s), id(r + 1, s + 1), id(r, s), id(r + 1, s), id(r + 1, s + 1)});
            m.triangles.push_back({id(r, s), id(r + 1, s + 1), id(r, s + 1), id(r, s), id(r + 1, s + 1), id(r, s + 1)});
        }
    for (int s = 0; s < segments; ++s) {
        m.triangles.push_back({bottom, id(0, s), id(0, s + 1), bottom, id(0, s), id(0, s + 1)});
        m.triangles.push_back({top, id(rings - 1, s + 1), id(rings - 1, s), top, id(rings - 1, s + 1), id(rings - 1, s)});
    }
    const float width = height / 2;  // the packed bytes span -width/2..width/2 across, 0..height up
    for (int a = 0; a < 2; ++a)
        for (int f = 0; f < frames_each; ++f) {
            const double phase = 2 * 3.14159265358979 * f / frames_each;
            Frame fr;
            fr.scale = {width / 255, height / 255, width / 255};
            fr.translate = {-width / 2, 0, -width / 2};
            const std::string number = std::to_string(f + 1);
            fr.name = (a == 0 ? "stand" : "run") + std::string(number.size() < 2 ? "0" : "") + number;
            const auto pack = [](double v) { return static_cast<std::uint8_t>(std::lround(std::fmin(255, std::fmax(0, v)))); };
            for (int r = 0; r < rings; ++r) {
                const double up = static_cast<double>(r) / (rings - 1);
                const double radius = 100 + (a == 0 ? 8 * std::sin(phase) : 0) * std::sin(3.14159 * up);
                const double sway = a == 1 ? 40 * std::sin(phase) * up * up : 0;
                for (int s = 0; s < ring_points; ++s) {
                    const double turn = 2 * 3.14159265358979 * s / segments;
                    fr.points.push_back({pack(127.5 + sway + radius * std::cos(turn)), pack(255 * up),
                                         pack(127.5 + radius * std::sin(turn))});
                }
            }
            fr.points.push_back({128, 0, 128});
            fr.points.push_back({pack(127.5 + (a == 1 ? 40 * std::sin(phase) : 0)), 255, 128});
            m.frames.push_back(std::move(fr));
        }
    return m;
}

}  // namespace tarko::md2
