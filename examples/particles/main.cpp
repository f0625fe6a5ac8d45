// Particles: the six emitter styles side by side over a floor, with rain and
// a flash, in a window or off screen, writing PNG frames.
//
//   tarko_particles_example [--headless] [--frames N] [--out DIR] [--rain] [--flash-at N]
//
// In a window: R switches the rain, F flashes white, Escape or closing ends.
// Headless it draws --frames N (default 120) frames; --rain starts with rain
// on and --flash-at N flashes white at frame N. Every 30th frame, the last
// and a flashed one go to DIR/frame_NNNN.png when --out is given.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "engine/tarko_dx7.h"
#include "particle_scene.h"
#include "platform/window.h"
#include "runtime/errors.h"

int main(int argc, char** argv) {
    namespace platform = tarko::platform;
    std::string out;
    bool headless = false, frames_given = false, rain = false;
    int frames = 120, flash_at = -1;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&]() -> int {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "%s needs a value\n", a.c_str());
                std::exit(2);
            }
            return std::atoi(argv[++i]);
        };
        if (a == "--headless") headless = true;
        else if (a == "--frames") frames = value(), frames_given = true;
        else if (a == "--flash-at") flash_at = value();
        else if (a == "--rain") rain = true;
        else if (a == "--out" && i + 1 < argc) out = argv[++i];
        else {
            std::fprintf(stderr, "usage: tarko_particles_example [--headless] [--frames N] [--out DIR] [--rain] [--flash-at N]\n");
            return 2;
        }
    }
    if (frames < 0) {
        std::fprintf(stderr, "tarko_particles_example: --frames must not be negative\n");
        return 2;
    }
    const bool windowed = !headless && platform::display_available();
    const bool until_closed = windowed && !frames_given;
    const tarko::Long hwnd = windowed ? platform::create_sdl_window("Tarko particles", 640, 480)
                                      : platform::create_headless_window(640, 480);
    const std::filesystem::path work = out.empty() ? std::filesystem::temp_directory_path() : std::filesystem::path(out);
    std::filesystem::create_directories(work);
    tarko_DX7 engine;
    try {
        engine.Initialize_Windowed(hwnd);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        engine.device_CLEAR_COLOR = 0x101830;
        tarko::examples::ParticleScene scene;
        scene.start(engine, work);
        const auto window = platform::windows().get(hwnd);
        bool r_was_down = false;
        for (int frame = 0; until_closed || frame < frames; ++frame) {
            if (!platform::pump_events()) break;
            bool flash = frame == flash_at;
            if (windowed && engine.Dinput_isINIT) {
                const bool r_down = engine.GetKEY(19);  // DIK_R
                if (r_down && !r_was_down) rain = !rain;
                r_was_down = r_down;
                flash = flash || engine.GetKEY(33);     // DIK_F
                if (engine.GetKEY(1)) break;            // DIK_ESCAPE
            }
            scene.draw(engine, rain, flash ? 0xFFFFFF : 0);
            engine.FLIPP(hwnd);
            if (!out.empty() && (frame % 30 == 0 || flash || (!until_closed && frame + 1 == frames))) {
                char name[32];
                std::snprintf(name, sizeof name, "/frame_%04d.png", frame);
                platform::write_png(window->frame(), out + name);
            }
        }
        engine.FreeDX(hwnd);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "engine error %d: %s\n", e.number(), e.what());
        return 1;
    }
    if (!out.empty()) std::printf("frames written to %s\n", out.c_str());
    return 0;
}
