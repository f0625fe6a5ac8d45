// Particles: the six emitter styles side by side over a floor, with rain and
// a flash, in a window or off screen, writing PNG frames.
//
//   tarko_particles_example [--headless] [--frames N] [--out DIR] [--width W] [--height H] [--rain] [--flash-at N]
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
#include "examples/host_options.h"
#include "particle_scene.h"
#include "platform/window.h"
#include "runtime/errors.h"

int main(int argc, char** argv) {
    namespace platform = tarko::platform;
    examples::HostOptions o;
    bool rain = false;
    int flash_at = -1;
    examples::parse_host_options(
        argc, argv, o,
        "usage: tarko_particles_example [--headless] [--frames N] [--out DIR] [--width W] [--height H] [--rain] "
        "[--flash-at N]",
        [&](const std::string& a, const examples::NextValue& value) {
            if (a == "--rain") rain = true;
            else if (a == "--flash-at") flash_at = std::atoi(value().c_str());
            else return false;
            return true;
        });
    const bool windowed = !o.headless && platform::display_available();
    const bool until_closed = windowed && !o.frames_given;
    const tarko::Long hwnd = windowed ? platform::create_sdl_window("Tarko particles", o.width, o.height)
                                      : platform::create_headless_window(o.width, o.height);
    const std::filesystem::path work = o.out.empty() ? std::filesystem::temp_directory_path() : std::filesystem::path(o.out);
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
        for (int frame = 0; until_closed || frame < o.frames; ++frame) {
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
            if (!o.out.empty() && (frame % 30 == 0 || flash || (!until_closed && frame + 1 == o.frames))) {
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
