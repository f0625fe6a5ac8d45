// The level example: a room of constructions, a pillar from the engine's cube
// list, a sphere and a rug. Headless, the camera walks north into the far wall,
// is held back, and turns; in a window, arrows or WASD walk and turn, the mouse
// looks around, Escape quits. Writes every 15th frame (and the last) as PNG
// and prints the frame rate.
//
//   tarko_level [--headless] [--frames N] [--out DIR] [--width W] [--height H]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <tarko/tarko.h>

#include "examples/host_options.h"
#include "level.h"

namespace {

// Keys and mouse, the walk held back by the walls as in the scripted run.
bool steer(tarko_DX7& engine, level::Level& room) {
    if (engine.GetKEY(Tarko_KEY_ESCAPE)) return false;
    const float ms = std::max(1.0f, engine.ElapseFrame());
    const float step = 0.15f * std::min(ms, 100.0f);
    if (engine.GetKEY(Tarko_KEY_UP) || engine.GetKEY(Tarko_KEY_W)) room.walk(step);
    if (engine.GetKEY(Tarko_KEY_DOWN) || engine.GetKEY(Tarko_KEY_S)) room.walk(-step);
    if (engine.GetKEY(Tarko_KEY_LEFT) || engine.GetKEY(Tarko_KEY_A)) engine.Camera_Move_Left(tarko::Variant(0.002));
    if (engine.GetKEY(Tarko_KEY_RIGHT) || engine.GetKEY(Tarko_KEY_D)) engine.Camera_Move_Right(tarko::Variant(0.002));
    const double dx = engine.Mouse_X().to_double();
    if (dx != 0) engine.Camera_Move_Right(tarko::Variant(dx * 0.004 / ms));
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    examples::HostOptions options;
    examples::parse_host_options(argc, argv, options,
                                 "usage: tarko_level [--headless] [--frames N] [--out DIR] [--width W] [--height H]");
    namespace platform = tarko::platform;
    const bool windowed = !options.headless && platform::display_available();
    const bool until_escape = windowed && !options.frames_given;
    tarko::Long hwnd = 0;
    try {
        hwnd = windowed ? platform::create_sdl_window("Tarko level", options.width, options.height)
                        : platform::create_headless_window(options.width, options.height);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "cannot open a window: %s\n", e.what());
        return 1;
    }
    if (!options.out.empty()) std::filesystem::create_directories(options.out);

    tarko_DX7 engine;
    int frames_run = 0;
    try {
        engine.Initialize_Windowed(hwnd);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        const auto window = platform::windows().get(hwnd);
        level::Level room(engine);
        engine.CAM_angle(tarko::Variant(level::kNorth));
        engine.SET_cameraEYE(level::kStart);

        const auto start = std::chrono::steady_clock::now();
        for (int frame = 0; until_escape || frame < options.frames; ++frame) {
            if (!platform::pump_events()) break;
            if (windowed) {
                if (!steer(engine, room)) break;
            } else {
                level::scripted_step(engine, room, frame);
            }
            engine.Clear_3D();
            engine.D3D_DEV->beginScene();
            room.draw();
            engine.D3D_DEV->endScene();
            engine.FLIPP(hwnd);
            ++frames_run;
            if (!options.out.empty() && (frame % 15 == 0 || (!until_escape && frame + 1 == options.frames))) {
                char name[64];
                std::snprintf(name, sizeof name, "/level_%04d.png", frame);
                platform::write_png(window->frame(), options.out + name);
            }
        }
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        const D3DVECTOR eye = engine.GET_CameraEYE();
        std::printf("%d frames in %.3f s: %.1f frames per second; eye at (%.1f, %.1f, %.1f)%s\n", frames_run, seconds,
                    seconds > 0 ? frames_run / seconds : 0.0, eye.x, eye.y, eye.z,
                    engine.Colision_CUBE ? ", stopped by the pillar once" : "");
        engine.FreeDX(hwnd);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "engine error %d: %s\n", e.number(), e.what());
        return 1;
    }
    return 0;
}
