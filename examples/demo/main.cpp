// The main demo host: opens the engine in a window (or off screen), writes the
// start-up log to the console, runs frames, prints the frame rates and writes
// frames as PNG.
//
//   tarko_demo [--headless] [--frames N] [--out DIR] [--width W] [--height H]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "engine/tarko_dx7.h"
#include "platform/window.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace {

struct Options {
    bool headless = false;
    int frames = 120;
    int width = 640;
    int height = 480;
    std::string out;
};

Options parse(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](const char* name) -> std::string {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "%s needs a value\n", name);
                std::exit(2);
            }
            return argv[++i];
        };
        if (a == "--headless") o.headless = true;
        else if (a == "--frames") o.frames = std::atoi(value("--frames").c_str());
        else if (a == "--out") o.out = value("--out");
        else if (a == "--width") o.width = std::atoi(value("--width").c_str());
        else if (a == "--height") o.height = std::atoi(value("--height").c_str());
        else if (a == "--help" || a == "-h") {
            std::printf("usage: tarko_demo [--headless] [--frames N] [--out DIR] [--width W] [--height H]\n");
            std::exit(0);
        } else {
            std::fprintf(stderr, "unknown argument: %s\n", a.c_str());
            std::exit(2);
        }
    }
    if (o.width <= 0 || o.height <= 0 || o.frames < 0) {
        std::fprintf(stderr, "sizes and frame count must be positive\n");
        std::exit(2);
    }
    return o;
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    namespace platform = tarko::platform;

    const bool windowed = !options.headless && platform::display_available();
    tarko::Long hwnd = 0;
    try {
        hwnd = windowed ? platform::create_sdl_window("Tarko demo", options.width, options.height)
                        : platform::create_headless_window(options.width, options.height);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "cannot open a window: %s\n", e.what());
        return 1;
    }
    std::printf("Tarko demo: %s %dx%d, %d frames\n", windowed ? "window" : "headless", options.width, options.height,
                options.frames);
    if (!options.out.empty()) std::filesystem::create_directories(options.out);

    tarko_DX7 engine;
    try {
        engine.Initialize_Windowed(hwnd);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        engine.WriteLOG("Tarko demo prête.", hwnd);
        const auto window = platform::windows().get(hwnd);
        if (!options.out.empty()) platform::write_png(window->frame(), options.out + "/console.png");

        const auto start = std::chrono::steady_clock::now();
        for (int frame = 0; frame < options.frames; ++frame) {
            if (!platform::pump_events()) break;
            // Cycle the clear colour so frames differ.
            const int shade = (frame * 4) % 256;
            engine.device_CLEAR_COLOR = static_cast<tarko::Long>(0x00100000u | (shade << 8) | (255 - shade));
            engine.Clear_3D();
            engine.D3D_DEV->beginScene();
            engine.D3D_DEV->endScene();
            engine.FLIPP(hwnd);
            if (!options.out.empty() && (frame % 30 == 0 || frame + 1 == options.frames)) {
                char name[64];
                std::snprintf(name, sizeof name, "/frame_%04d.png", frame);
                platform::write_png(window->frame(), options.out + name);
            }
            if ((frame + 1) % 60 == 0)
                std::printf("frame %d: FramesPerSec %.1f, ImparSeconde %.0f, ElapseFrame %.0f ms\n", frame + 1,
                            engine.FramesPerSec(), engine.ImparSeconde(), engine.ElapseFrame());
        }
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::printf("%d frames in %.3f s: %.1f frames per second (wall clock)\n", options.frames, seconds,
                    seconds > 0 ? options.frames / seconds : 0.0);
        engine.FreeDX(hwnd);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "engine error %d: %s\n", e.number(), e.what());
        return 1;
    }
    if (!options.out.empty()) std::printf("frames written to %s\n", options.out.c_str());
    return 0;
}
