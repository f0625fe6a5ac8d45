// Actors: a crowd of animated studio models walking and idling on a floor,
// each with its ground shadow, and frame models (MD2) standing and swaying
// among them, in a window or off screen, writing PNG frames.
//
//   tarko_actors [--headless] [--frames N] [--out DIR] [--width W] [--height H] [--count N]
//   tarko_actors --write-sample DIR
//
// The actors are made by the project's own studio writer (a figure of 1,000
// triangles, 36 units tall, five bones, "idle" and "walk"); every third
// actor is a frame model from the MD2 writer (a 40-unit cylinder of 800
// triangles, "stand" and "run", a striped BMP skin). --write-sample writes
// DIR/walker.mdl, DIR/actor.md2 and DIR/actor.bmp and stops. Studio models stand z up, so each
// actor turns 90 degrees about x; its shadow lies 2 units above its
// position, so the floor is drawn just below that. In a window it runs until
// closed, or for --frames N; headless for --frames N (default 60). Every
// 30th frame and the last go to DIR/frame_NNNN.png when --out is given.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "examples/host_options.h"
#include "models/md2/md2_writer.h"
#include "models/mdl/cTarko_MDLfile.h"
#include "models/mdl/mdl_writer.h"
#include "platform/constants.h"
#include "platform/window.h"
#include "runtime/errors.h"

namespace platform = tarko::platform;
using tarko::Variant;

namespace {

bool write_file(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream f(path, std::ios::binary);
    f.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(f);
}

// A 16 x 16 24-bit BMP (rows blue, green, red) of red and cream bands.
std::vector<std::uint8_t> stripes_bmp() {
    std::vector<std::uint8_t> b = {'B', 'M'};
    const auto u32 = [&](std::uint32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    };
    const auto u16 = [&](std::uint16_t v) { b.push_back(static_cast<std::uint8_t>(v)), b.push_back(static_cast<std::uint8_t>(v >> 8)); };
    u32(54 + 16 * 16 * 3), u32(0), u32(54), u32(40), u32(16), u32(16), u16(1), u16(24), u32(0), u32(16 * 16 * 3), u32(2835),
        u32(2835), u32(0), u32(0);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const bool band = (y / 4) % 2 == 0;
            b.insert(b.end(), {static_cast<std::uint8_t>(band ? 40 : 200), static_cast<std::uint8_t>(band ? 40 : 230),
                               static_cast<std::uint8_t>(band ? 200 : 240)});
        }
    return b;
}

// The sample files into `dir`: walker.mdl, actor.md2, actor.bmp.
bool write_samples(const std::filesystem::path& dir) {
    std::filesystem::create_directories(dir);
    return write_file(dir / "walker.mdl", tarko::mdl::write_studio(tarko::mdl::walker(10, 10, 18)).main) &&
           write_file(dir / "actor.md2", tarko::md2::write_md2(tarko::md2::actor(21, 20, 8, 40, "actor.bmp"))) &&
           write_file(dir / "actor.bmp", stripes_bmp());
}

// The floor: one grey square at height y, drawn unlit.
void draw_floor(tarko_DX7& engine, float half, float y) {
    D3DLVERTEX v[6];
    const float corners[6][2] = {{-half, -half}, {-half, half}, {half, half}, {-half, -half}, {half, half}, {half, -half}};
    for (int i = 0; i < 6; ++i) {
        v[i].x = corners[i][0], v[i].y = y, v[i].z = corners[i][1];
        v[i].color = static_cast<std::int32_t>(0xFF6A7A6A);
    }
    engine.CLearMATRIX();
    engine.D3D_DEV->setTexture(0, {});
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_CULLMODE, 1);
    engine.D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_LVERTEX, std::span<D3DLVERTEX>(v, 6), 6, 0);
}

}  // namespace

int main(int argc, char** argv) {
    examples::HostOptions o;
    o.frames = 60;
    int count = 49;
    examples::parse_host_options(
        argc, argv, o,
        "usage: tarko_actors [--headless] [--frames N] [--out DIR] [--width W] [--height H] [--count N]\n"
        "       tarko_actors --write-sample DIR",
        [&](const std::string& a, const examples::NextValue& value) {
            if (a == "--count") count = std::atoi(value().c_str());
            else if (a == "--write-sample") std::exit(write_samples(value()) ? 0 : 1);
            else return false;
            return true;
        });
    if (count < 1 || count > 4000) {
        std::fprintf(stderr, "tarko_actors: 1 to 4000 actors are needed\n");
        return 2;
    }

    // The model files the actors load, beside the pictures or in the temporary folder.
    const std::filesystem::path model_dir =
        o.out.empty() ? std::filesystem::temp_directory_path() / "tarko_actors" : std::filesystem::path(o.out);
    if (!write_samples(model_dir)) {
        std::fprintf(stderr, "tarko_actors: cannot write into %s\n", model_dir.string().c_str());
        return 1;
    }
    const std::string model = (model_dir / "walker.mdl").string();

    const bool windowed = !o.headless && platform::display_available();
    const bool until_closed = windowed && !o.frames_given;
    const tarko::Long hwnd = windowed ? platform::create_sdl_window("Tarko actors", o.width, o.height)
                                      : platform::create_headless_window(o.width, o.height);
    tarko_DX7 engine;
    try {
        engine.Initialize_Windowed(hwnd);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        // A square grid, 40 units apart; every other actor walks forward and
        // comes back round, the others idle, turning their heads.
        const int side = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
        const float spacing = 40, half = spacing * static_cast<float>(side) / 2 + 40;
        std::vector<std::unique_ptr<cTarko_MDLfile>> actors;
        std::vector<D3DVECTOR> places;
        for (int i = 0; i < count; ++i) {
            auto actor = std::make_unique<cTarko_MDLfile>();
            if (i % 3 == 2) {  // a frame model: no shadow of its own
                actor->Load_MDL((model_dir / "actor.md2").string(), engine);
                actor->Load_MD2mainTexture((model_dir / "actor.bmp").string());
                actor->SetAnimationName(i % 2 ? "stand" : "run");
                actor->SetSpeed(8);
            } else {
                actor->Load_MDL(model, engine);
                actor->SetAnimationName(i % 2 == 0 ? "walk" : "idle");
                actor->SetSpeed(0.8f + 0.1f * static_cast<float>(i % 5));
            }
            if (actor->model_kind() == 2) actor->SetScale(Variant(0.4), Variant(0.9), Variant(0.4));
            else actor->SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
            actor->EnableShadowing(true);
            actor->MDL_AssignController(0, static_cast<float>((i * 37) % 256));
            places.push_back({spacing * (static_cast<float>(i % side) - static_cast<float>(side - 1) / 2), i % 3 == 2 ? 1.9f : 0.0f,
                              spacing * (static_cast<float>(i / side) - static_cast<float>(side - 1) / 2)});
            actors.push_back(std::move(actor));
        }
        D3DMATRIX projection;
        engine.DX_7->projectionMatrix(projection, 5, 4 * half + 400, 3.1456978454f / 4);
        engine.device_CLEAR_COLOR = 0x405070;
        D3DMATERIAL7 shadow_material;
        shadow_material.ambient = {1, 1, 1, 1};
        const auto window = platform::windows().get(hwnd);
        if (!o.out.empty()) std::filesystem::create_directories(o.out);
        for (int frame = 0; until_closed || frame < o.frames; ++frame) {
            if (!platform::pump_events()) break;
            const float turn = 0.4f + static_cast<float>(frame) * 0.004f;
            const float d = half * 1.6f;
            engine.SET_camera_DirectioN(D3DVECTOR{d * std::sin(turn), d * 0.6f, -d * std::cos(turn)}, D3DVECTOR{0, 0, 0});
            engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection);
            engine.Clear_3D();
            engine.D3D_DEV->beginScene();
            // The shadows are drawn lit: no emissive light, a dark ambient.
            engine.D3D_DEV->setMaterial(shadow_material);
            engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0x283028);
            draw_floor(engine, half, 1.9f);
            for (std::size_t i = 0; i < actors.size(); ++i) {
                D3DVECTOR p = places[i];
                float heading = static_cast<float>(i * 45 % 360);
                const bool frame_model = actors[i]->model_kind() == 2;
                if (frame_model) heading = 0;  // it stands y up as it is
                else if (i % 2 == 0) {  // walkers go along z and wrap round
                    heading = 90;
                    p.z = std::fmod(p.z + half + static_cast<float>(frame) * 0.6f, 2 * half) - half;
                }
                actors[i]->SetPosition(Variant(p.x), Variant(p.y), Variant(p.z));
                actors[i]->SetRotation(Variant(frame_model ? 0.0 : 90.0), Variant(static_cast<double>(heading)), Variant(0.0));
                actors[i]->MDL_MouthControllerAssign(static_cast<float>(50 + 50 * std::sin(frame * 0.3 + i)));
                actors[i]->Render();
            }
            engine.D3D_DEV->endScene();
            engine.FLIPP(hwnd);
            if (!o.out.empty() && (frame % 30 == 0 || (!until_closed && frame + 1 == o.frames))) {
                char name[32];
                std::snprintf(name, sizeof name, "/frame_%04d.png", frame);
                platform::write_png(window->frame(), o.out + name);
            }
        }
        actors.clear();
        engine.FreeDX(hwnd);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "engine error %d: %s\n", e.number(), e.what());
        return 1;
    }
    return 0;
}
