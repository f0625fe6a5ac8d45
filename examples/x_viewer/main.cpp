// X model viewer: loads an X model with its textures and turns round it,
// in a window or off screen, writing PNG frames.
//
//   tarko_x_viewer FILE.x [--headless] [--frames N] [--out DIR] [--width W] [--height H]
//   tarko_x_viewer --write-sample DIR
//
// --write-sample writes a small textured model (a frame hierarchy with a
// two-material box, two BMP textures) as DIR/sample.x (text),
// sample_bin.x (binary, 64-bit floats) and sample_zip.x (compressed), and stops.
// The camera circles the model; the model's own transform is left alone,
// since Render applies it to the first group only. In a window it runs until
// closed, or for --frames N; headless for --frames N (default 120). Every
// 30th frame and the last go to DIR/frame_NNNN.png when --out is given.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "examples/host_options.h"
#include "models/x/cTarko_Xfile.h"
#include "models/x/mesh_builder.h"
#include "models/x/x_file.h"
#include "models/x/x_writer.h"
#include "platform/constants.h"
#include "platform/window.h"
#include "runtime/errors.h"
#include "runtime/files.h"

namespace {

namespace x = tarko::x;

void write_bytes(const std::filesystem::path& p, const std::vector<std::uint8_t>& b) {
    std::ofstream(p, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

// A 24-bit BMP of 64 x 64 from a colour function.
template <class F>
std::vector<std::uint8_t> bmp(F colour) {
    const int n = 64;
    std::vector<std::uint8_t> b(54 + n * n * 3, 0);
    auto put32 = [&](std::size_t at, std::uint32_t v) {
        for (int i = 0; i < 4; ++i) b[at + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(v >> (8 * i));
    };
    b[0] = 'B', b[1] = 'M';
    put32(2, static_cast<std::uint32_t>(b.size())), put32(10, 54), put32(14, 40), put32(18, n), put32(22, n);
    b[26] = 1, b[28] = 24;
    for (int y = 0; y < n; ++y)
        for (int xx = 0; xx < n; ++xx) {
            const std::uint32_t c = colour(xx, n - 1 - y);
            std::uint8_t* p = &b[54 + static_cast<std::size_t>((y * n + xx) * 3)];
            p[0] = c & 255, p[1] = (c >> 8) & 255, p[2] = (c >> 16) & 255;
        }
    return b;
}

x::File sample() {
    // A box 4 x 2 x 2 on 24 vertices (a quad per side with its own texture
    // coordinates), sides chequered, top and bottom striped; under a frame
    // lifted by 1 inside a root frame.
    x::Mesh m;
    m.name = "Box";
    const float sx = 2, sy = 1, sz = 1;
    const x::Vec3 n[6] = {{0, 0, -1}, {1, 0, 0}, {0, 0, 1}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}};
    for (int f = 0; f < 6; ++f) {
        // Two axes across the face, chosen so the corners run clockwise from outside.
        const x::Vec3 a = n[f].y != 0 ? x::Vec3{1, 0, 0} : x::Vec3{n[f].z, 0, -n[f].x};
        const x::Vec3 u = n[f].y != 0 ? x::Vec3{0, 0, -n[f].y} : x::Vec3{0, 1, 0};
        const float ks[4][2] = {{-1, -1}, {-1, 1}, {1, 1}, {1, -1}};
        const auto base = static_cast<std::uint32_t>(m.positions.size());
        for (const auto& k : ks) {
            m.positions.push_back({(n[f].x + a.x * -k[0] + u.x * k[1]) * sx, (n[f].y + a.y * -k[0] + u.y * k[1]) * sy,
                                   (n[f].z + a.z * -k[0] + u.z * k[1]) * sz});
            m.uvs.push_back({(1 - k[0]) / 2, (1 - k[1]) / 2});
        }
        for (std::uint32_t i = 0; i < 4; ++i) m.indices.push_back(base + i);
        m.face_start.push_back(static_cast<std::uint32_t>(m.indices.size()));
        m.face_material.push_back(f < 4 ? 0 : 1);
    }
    x::Material sides, caps;
    sides.name = "Sides";
    sides.texture = "chequer.bmp";
    caps.name = "Caps";
    caps.texture = "stripes.bmp";
    m.materials = {sides, caps};
    x::Frame root, box;
    root.name = "Root";
    box.name = "BoxFrame";
    box.transform[13] = 1;
    box.meshes.push_back(m);
    root.children.push_back(box);
    x::File file;
    file.frames.push_back(root);
    return file;
}

int write_sample(const std::filesystem::path& dir) {
    std::filesystem::create_directories(dir);
    const x::File f = sample();
    write_bytes(dir / "sample.x", x::write(f, x::Form::Text));
    write_bytes(dir / "sample_bin.x", x::write(f, x::Form::Binary64));
    write_bytes(dir / "sample_zip.x", x::write(f, x::Form::TextZip));
    write_bytes(dir / "chequer.bmp", bmp([](int px, int py) { return ((px / 8 + py / 8) % 2) ? 0xE0E0E0u : 0xC02020u; }));
    write_bytes(dir / "stripes.bmp", bmp([](int px, int) { return (px / 8) % 2 ? 0x2040C0u : 0xF0C020u; }));
    std::printf("sample model written to %s\n", dir.string().c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    namespace platform = tarko::platform;
    examples::HostOptions o;
    std::string file;
    examples::parse_host_options(
        argc, argv, o,
        "usage: tarko_x_viewer FILE.x [--headless] [--frames N] [--out DIR] [--width W] [--height H]\n"
        "       tarko_x_viewer --write-sample DIR",
        [&](const std::string& a, const examples::NextValue& value) {
            if (a == "--write-sample") std::exit(write_sample(value()));
            if (a.empty() || a[0] == '-' || !file.empty()) return false;
            file = a;
            return true;
        });
    if (file.empty()) {
        std::fprintf(stderr, "tarko_x_viewer: a model file is needed\n");
        return 2;
    }

    // The model's box for the camera; a file the reader refuses stops here.
    x::Box box;
    try {
        const auto parsed = x::parse(tarko::runtime::read_file(file));
        box = x::box_of(x::gather(parsed, x::has_route(parsed, x::Route::Mesh) ? x::Route::Mesh : x::Route::Frames));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tarko_x_viewer: %s: %s\n", file.c_str(), e.what());
        return 1;
    }

    const bool windowed = !o.headless && platform::display_available();
    const bool until_closed = windowed && !o.frames_given;
    const tarko::Long hwnd = windowed ? platform::create_sdl_window("Tarko X viewer", o.width, o.height)
                                      : platform::create_headless_window(o.width, o.height);
    if (!o.out.empty()) std::filesystem::create_directories(o.out);
    tarko_DX7 engine;
    try {
        engine.Initialize_Windowed(hwnd);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        cTarko_Xfile model;
        model.Load(engine, file);
        model.Set_Scale(tarko::Variant(1.0), tarko::Variant(1.0), tarko::Variant(1.0));
        const D3DVECTOR c{(box.min.x + box.max.x) / 2, (box.min.y + box.max.y) / 2, (box.min.z + box.max.z) / 2};
        const float dx = box.max.x - box.min.x, dy = box.max.y - box.min.y, dz = box.max.z - box.min.z;
        const float r = std::max(std::sqrt(dx * dx + dy * dy + dz * dz) / 2, 0.01f);
        const float d = r / std::sin(0.786f / 2) * 1.1f;
        D3DMATRIX projection;
        engine.DX_7->projectionMatrix(projection, std::max(d - 1.5f * r, d * 1e-3f), d + 1.5f * r, 3.1456978454f / 4);
        engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0}, D3DCOLORVALUE{1, 1, 1, 1}, 0,
                         D3DVECTOR{0.3f, -0.8f, 0.5f});
        engine.device_CLEAR_COLOR = 0x202030;
        const auto window = platform::windows().get(hwnd);
        for (int frame = 0; until_closed || frame < o.frames; ++frame) {
            if (!platform::pump_events()) break;
            const float turn = static_cast<float>(frame) * 0.05f;
            engine.SET_camera_DirectioN(D3DVECTOR{c.x + d * std::sin(turn) * 0.9f, c.y + d * 0.42f, c.z - d * std::cos(turn) * 0.9f}, c);
            engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection);
            engine.Clear_3D();
            engine.D3D_DEV->beginScene();
            engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0x404040);
            model.Render(engine);
            engine.D3D_DEV->endScene();
            engine.FLIPP(hwnd);
            if (!o.out.empty() && (frame % 30 == 0 || (!until_closed && frame + 1 == o.frames))) {
                char name[32];
                std::snprintf(name, sizeof name, "/frame_%04d.png", frame);
                platform::write_png(window->frame(), o.out + name);
            }
        }
        engine.FreeDX(hwnd);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "engine error %d: %s\n", e.number(), e.what());
        return 1;
    }
    if (!o.out.empty()) std::printf("frames written to %s\n", o.out.c_str());
    return 0;
}
