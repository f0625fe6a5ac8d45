// The landscape's host loop: options, window, frames, frame rates.
#include "landscape_app.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "landscape_scene.h"

namespace landscape {

namespace {

void write_frame(const tarko::platform::Window& window, const std::string& dir, int n) {
    char name[64];
    std::snprintf(name, sizeof name, "/frame_%04d.png", n);
    tarko::platform::write_png(window.frame(), dir + name);
}

}  // namespace

void WalkControls::run(tarko_DX7& engine) {
    if (engine.GetKEY(Tarko_KEY_ESCAPE)) {
        quit = true;
        return;
    }
    const float ms = std::max(1.0f, engine.ElapseFrame());
    const float step = units_per_ms * std::min(ms, 100.0f);
    if (engine.GetKEY(Tarko_KEY_UP) || engine.GetKEY(Tarko_KEY_W)) engine.Camera_Move_Foward(tarko::Variant(step));
    if (engine.GetKEY(Tarko_KEY_DOWN) || engine.GetKEY(Tarko_KEY_S)) engine.Camera_Move_Backward(tarko::Variant(step));
    if (engine.GetKEY(Tarko_KEY_LEFT)) engine.Camera_Move_Left(tarko::Variant(0.002));
    if (engine.GetKEY(Tarko_KEY_RIGHT)) engine.Camera_Move_Right(tarko::Variant(0.002));
    if (engine.GetKEY(Tarko_KEY_A)) {
        float s = step;
        engine.CAM_step_LEFT(s);
    }
    if (engine.GetKEY(Tarko_KEY_D)) engine.CAM_step_RIGHT(step);
    if (jumps && engine.GetKEY(Tarko_KEY_SPACE)) engine.CAM_jump();
    // Each mouse read gives the movement since the previous one, and a read
    // of one axis loses the other: read x and y on alternate frames.
    if (++mouse_frame % 2) {
        const double dx = engine.Mouse_X().to_double();
        if (dx != 0) engine.Camera_Move_Right(tarko::Variant(dx * 0.004 / ms));
    } else {
        const double dy = engine.Mouse_Y().to_double();
        if (dy != 0) {
            const double pitch = std::clamp(engine.CAM_angleY().to_double() - dy * 0.003, -1.2, 1.2);
            engine.Camera_set_ANGy_DEGREE(tarko::Variant(pitch / engine.RADIAN()));
        }
    }
}

const char* take_scene(int& argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--scene") != 0) continue;
        const char* name = i + 1 < argc ? argv[i + 1] : "";
        const int gone = i + 1 < argc ? 2 : 1;
        for (int k = i; k + gone <= argc; ++k) argv[k] = argv[k + gone];   // argv[argc] is null
        argc -= gone;
        return name;
    }
    return "";
}

std::uint32_t hash(std::uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352dU;
    x ^= x >> 15;
    x *= 0x846ca68bU;
    x ^= x >> 16;
    return x;
}

float noise(int a, int b) {
    return static_cast<float>(hash(static_cast<std::uint32_t>(a * 7919 + b * 104729)) & 1023) / 1023.0f;
}

tarko::Long open_host_window(const char* name, bool windowed, bool until_escape, int width, int height, int frames,
                             const std::string& out) {
    namespace platform = tarko::platform;
    tarko::Long hwnd = 0;
    try {
        hwnd = windowed ? platform::create_sdl_window(name, width, height) : platform::create_headless_window(width, height);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "cannot open a window: %s\n", e.what());
        return 0;
    }
    if (until_escape)
        std::printf("%s: window %dx%d, until Escape\n", name, width, height);
    else
        std::printf("%s: %s %dx%d, %d frames\n", name, windowed ? "window" : "headless", width, height, frames);
    if (!out.empty()) std::filesystem::create_directories(out);
    return hwnd;
}

void start_engine(tarko_DX7& engine, tarko::Long hwnd, bool windowed, bool dialog, const std::string& script,
                  const std::string& out) {
    if (!dialog) {
        engine.Initialize_Windowed(hwnd);
        return;
    }
    namespace dlg = tarko::dialog;
    dlg::set_dialog_options({windowed ? dlg::DialogOptions::Mode::Window : dlg::DialogOptions::Mode::Scripted,
                             dlg::parse_script(script), out.empty() ? "" : out + "/dialog.png"});
    engine.INIT_ShowDialog(hwnd);
}

Options parse_options(int argc, char** argv, const char* program) {
    const bool demo = std::strcmp(program, "tarko_demo") == 0;  // the demo also has the room
    const std::string usage = std::string("usage: ") + program + (demo ? " [--scene landscape|room]" : "") +
                              " [--headless] [--frames N] [--out DIR] [--width W] [--height H] [--dialog[=SCRIPT]]";
    Options o;
    examples::parse_host_options(argc, argv, o, usage.c_str(), [&](const std::string& a, const examples::NextValue&) {
        if (a.rfind("--dialog", 0) == 0 && (a.size() == 8 || a[8] == '=')) {
            o.dialog = true, o.dialog_script = a.size() > 8 ? a.substr(9) : "";
            return true;
        }
        if (a != "--help" && a != "-h") return false;
        std::printf("%s\n", usage.c_str());
        std::exit(0);
    });
    return o;
}

int run(int argc, char** argv, const char* program) {
    const Options options = parse_options(argc, argv, program);
    namespace platform = tarko::platform;

    const bool windowed = !options.headless && platform::display_available();
    const bool until_escape = windowed && !options.frames_given;
    const tarko::Long hwnd = open_host_window("Tarko landscape", windowed, until_escape, options.width, options.height,
                                              options.frames, options.out);
    if (!hwnd) return 1;
    const std::string pictures = (std::filesystem::temp_directory_path() / "tarko_landscape").string();
    write_pictures(pictures);

    tarko_DX7 engine;
    int frames_run = 0;
    try {
        start_engine(engine, hwnd, windowed, options.dialog, options.dialog_script, options.out);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        engine.WriteLOG("Tarko landscape ready.", hwnd);
        const auto window = platform::windows().get(hwnd);
        if (!options.out.empty()) platform::write_png(window->frame(), options.out + "/console.png");

        Scene scene(engine, pictures);
        WalkControls controls;   // 600 units a second
        scene.scripted_camera(0);

        const auto start = std::chrono::steady_clock::now();
        for (int frame = 0; until_escape || frame < options.frames; ++frame) {
            if (!platform::pump_events()) break;
            if (windowed) {
                controls.run(engine);
                if (controls.quit) break;
                scene.keep_on_ground();
            } else {
                scene.scripted_camera(frame);
            }
            engine.Clear_3D();
            engine.D3D_DEV->beginScene();
            scene.draw();
            engine.D3D_DEV->endScene();
            engine.FLIPP(hwnd);
            ++frames_run;
            if (!options.out.empty() && (frame % 30 == 0 || (!until_escape && frame + 1 == options.frames)))
                write_frame(*window, options.out, frame);
            if ((frame + 1) % 60 == 0)
                std::printf("frame %d: FramesPerSec %.1f, ImparSeconde %.0f, ElapseFrame %.0f ms\n", frame + 1,
                            engine.FramesPerSec(), engine.ImparSeconde(), engine.ElapseFrame());
        }
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::printf("%d frames in %.3f s: %.1f frames per second (wall clock)\n", frames_run, seconds,
                    seconds > 0 ? frames_run / seconds : 0.0);
        engine.FreeDX(hwnd);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "engine error %d: %s\n", e.number(), e.what());
        return 1;
    }
    if (!options.out.empty()) std::printf("frames written to %s\n", options.out.c_str());
    return 0;
}

}  // namespace landscape
