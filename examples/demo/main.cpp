// The main demo host. Its first scene is the landscape (examples/landscape);
// with --scene room it shows a room of textured cubes, lit and fogged, seen
// by the engine's camera. It opens the engine in a window (or off screen), writes the
// start-up log to the console, runs frames, prints the frame rates and writes
// every 30th frame as PNG.
//
//   tarko_demo [--scene landscape|room] [--headless] [--frames N] [--out DIR] [--width W] [--height H] [--dialog[=SCRIPT]]
//
// --dialog starts on the driver, device and mode picked in the device dialog;
// SCRIPT ("select Combo3 3; click Command1") picks unattended, and with --out
// the dialog's picture is written as dialog.png.
//
// Headless, the camera walks a scripted path, one step per frame, so the
// pictures are the same on every run. In a window: arrows or WASD walk and
// turn, the mouse looks around, space jumps, Escape quits; it runs until
// Escape, or for --frames N when that is given.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <tarko/tarko.h>

#include "examples/host_textures.h"
#include "landscape/landscape_app.h"

namespace {

// ---- procedural textures

using landscape::noise;

using examples::make_texture;
using examples::rgb;

// Bricks 32 x 16 texels, every other row shifted by half a brick, in mortar.
std::uint32_t brick(int x, int y) {
    const int row = y / 16;
    const int bx = (x + (row % 2) * 16) % 64;
    const int col = (x + (row % 2) * 16) / 32;
    if (y % 16 < 2 || bx % 32 < 2) return rgb(170, 165, 155);
    const float tone = 0.75f + 0.25f * noise(row, col) + 0.08f * (noise(x, y) - 0.5f);
    return rgb(165 * tone, 70 * tone, 50 * tone);
}

// Planks with rings and a dark frame: the crates.
std::uint32_t crate(int x, int y) {
    if (x < 4 || y < 4 || x > 59 || y > 59 || std::abs(x - y) < 3) return rgb(90, 55, 25);
    const float ring = 0.5f + 0.5f * std::sin(static_cast<float>(x) * 0.35f + 3.0f * std::sin(y * 0.09f));
    const float grain = 0.85f + 0.15f * noise(x / 2, y);
    return rgb((150 + 50 * ring) * grain, (95 + 30 * ring) * grain, (45 + 15 * ring) * grain);
}

// Floor tiles: a light and a dark stone, 32 texels each.
std::uint32_t tiles(int x, int y) {
    if (x % 32 == 0 || y % 32 == 0) return rgb(60, 60, 60);
    const bool light = ((x / 32) + (y / 32)) % 2 == 0;
    const float n = 0.9f + 0.1f * noise(x, y);
    return light ? rgb(200 * n, 195 * n, 180 * n) : rgb(70 * n, 85 * n, 95 * n);
}

// Blue panels with a bright grid and rivets.
std::uint32_t panel(int x, int y) {
    const int px = x % 32, py = y % 32;
    if (px < 2 || py < 2) return rgb(180, 220, 255);
    if ((px == 5 || px == 28) && (py == 5 || py == 28)) return rgb(230, 230, 230);
    const float n = 0.85f + 0.15f * noise(x, y);
    return rgb(40 * n, 80 * n, 150 * n);
}

std::uint32_t plaster(int x, int y) {
    const float n = 0.9f + 0.1f * noise(x, y);
    return rgb(215 * n, 210 * n, 195 * n);
}

// ---- the scene

constexpr float kRoomHalf = 400;     // the room spans -400..400 in x and z
constexpr float kRoomHeight = 300;   // floor at 0
constexpr float kEyeHeight = 110;
constexpr tarko::Long kFogColour = 0x506070;

struct Block {
    D3DVECTOR position;   // centre
    float size;
    int texture;          // 0 crate, 1 panel, 2 brick
    float spin;           // degrees per frame about y
};

// Cubes standing on the floor (one on top of another), and two floating.
const std::vector<Block> kBlocks = {
    {{0, 40, 0}, 80, 1, 0.8f},      {{150, 30, 100}, 60, 0, 0},    {{150, 90, 100}, 60, 0, 0},
    {{-180, 50, 150}, 100, 0, 0},   {{-150, 25, -200}, 50, 0, 0},  {{200, 45, -150}, 90, 2, 0},
    {{-280, 35, -20}, 70, 1, 0},    {{60, 25, -120}, 50, 0, 0},    {{280, 30, 280}, 60, 2, 0},
    {{-60, 170, 60}, 40, 1, 1.5f},  {{100, 200, -60}, 30, 0, -2.0f},
};

class Scene {
public:
    explicit Scene(tarko_DX7& engine) : engine_(engine) {
        textures_ = {make_texture(engine, 64, crate), make_texture(engine, 64, panel),
                     make_texture(engine, 64, brick)};
        floor_texture_ = make_texture(engine, 64, tiles);
        ceiling_texture_ = make_texture(engine, 64, plaster);
        // A negative size turns the box inside out: its faces show, and are
        // lit, from inside. Walls tile bricks 10 x 4; the floor 8 x 8.
        engine.CreateCubeEX(walls_, D3DVECTOR{-2 * kRoomHalf, -kRoomHeight, -2 * kRoomHalf}, tarko::Variant(10.0),
                            tarko::Variant(4.0));
        engine.CreateCubeEX(floor_, D3DVECTOR{-2 * kRoomHalf, -kRoomHeight, -2 * kRoomHalf}, tarko::Variant(8.0),
                            tarko::Variant(8.0));
        engine.CreateCube(cube_, 1);   // scaled per block

        // Sunlight from above at a slant, a weaker fill from the other side,
        // and a material that keeps a quarter of the ambient light.
        engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0},
                         D3DCOLORVALUE{1.0f, 0.95f, 0.85f, 1}, 0, D3DVECTOR{0.4f, -1.0f, 0.3f});
        engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0},
                         D3DCOLORVALUE{0.35f, 0.4f, 0.5f, 1}, 0, D3DVECTOR{-0.6f, -0.2f, -0.8f});
    }

    void draw(int frame) {
        engine_.USE_default_RENDERSTATE();
        engine_.SetMaterial(D3DCOLORVALUE{1, 1, 1, 1}, D3DCOLORVALUE{0.3f, 0.3f, 0.3f, 1});
        engine_.device_CLEAR_COLOR = kFogColour;
        engine_.SetFog_EX(tarko::Variant(60.0), tarko::Variant(900.0), 0.001, kFogColour);

        // The room: walls (the four side strips), floor and ceiling, each with
        // its own texture, drawn from the host's arrays.
        engine_.OBJECT_move(tarko::Variant(0.0), tarko::Variant(kRoomHeight / 2), tarko::Variant(0.0));
        engine_.D3D_DEV->setTexture(0, textures_[2]);
        for (tarko::Long first : {0, 4, 16, 20}) strip(walls_, first);
        engine_.D3D_DEV->setTexture(0, floor_texture_);
        strip(floor_, 8);   // inside out, the +y strip lies at the bottom
        engine_.D3D_DEV->setTexture(0, ceiling_texture_);
        strip(floor_, 12);

        for (const Block& b : kBlocks) {
            engine_.D3D_DEV->setTexture(0, textures_[static_cast<std::size_t>(b.texture)]);
            const float turn = std::fmod(b.spin * static_cast<float>(frame), 360.0f);
            engine_.OBJECT_Scale_Rotate_MovEX(D3DVECTOR{b.size, b.size, b.size}, D3DVECTOR{0, turn, 0}, b.position);
            engine_.RenderCUBE(cube_);
        }
        engine_.CLearMATRIX();
    }

private:
    void strip(tarko::SafeArray<D3DVERTEX>& v, tarko::Long first) {
        engine_.D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX, v.from(first), 4, 0);
    }

    tarko_DX7& engine_;
    std::vector<tarko::Ref<DirectDrawSurface7>> textures_;
    tarko::Ref<DirectDrawSurface7> floor_texture_, ceiling_texture_;
    tarko::SafeArray<D3DVERTEX> walls_, floor_, cube_;
};

// ---- the camera

constexpr double kPi = 3.14159265358979;

// Headless: a walk round the room between the cubes and the walls, looking
// inward and a little down, one step per frame.
void scripted_camera(tarko_DX7& engine, int frame) {
    const double t = frame * 0.012;
    const double r = 335 + 15 * std::sin(t * 3);
    const D3DVECTOR eye{static_cast<float>(r * std::cos(t)), kEyeHeight + 10 * static_cast<float>(std::sin(t * 5)),
                        static_cast<float>(r * std::sin(t))};
    // Heading: along the walk (t + pi/2) turned 60 degrees towards the centre.
    engine.CAM_angle(tarko::Variant(t + kPi / 2 + kPi / 3));
    engine.Camera_set_ANGy_DEGREE(tarko::Variant(-16.0));
    engine.SET_cameraEYE(eye);
}

// Windowed: the landscape's walking keys and mouse, slower, with a jump, and
// the room's walls in the way.
struct Controls : landscape::WalkControls {
    Controls() { units_per_ms = 0.25f, jumps = true; }   // 250 units a second

    void run(tarko_DX7& engine) {
        WalkControls::run(engine);
        if (!quit) keep_in_room(engine);
    }

    // The walls stop the eye: the camera itself does not look at them.
    static void keep_in_room(tarko_DX7& engine) {
        D3DVECTOR eye = engine.GET_CameraEYE();
        const float limit = kRoomHalf - 20;
        const D3DVECTOR kept{std::clamp(eye.x, -limit, limit), eye.y, std::clamp(eye.z, -limit, limit)};
        if (kept.x != eye.x || kept.z != eye.z) engine.SET_cameraEYE(kept);
    }
};

void write_frame(const tarko::platform::Window& window, const std::string& dir, const char* pattern, int n) {
    char name[64];
    std::snprintf(name, sizeof name, pattern, n);
    tarko::platform::write_png(window.frame(), dir + name);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string scene = landscape::take_scene(argc, argv);
    if (scene.empty() || scene == "landscape") return landscape::run(argc, argv, "tarko_demo");
    if (scene != "room") {
        std::fprintf(stderr, "unknown scene: %s (landscape or room)\n", scene.c_str());
        return 2;
    }
    const landscape::Options options = landscape::parse_options(argc, argv, "tarko_demo");
    namespace platform = tarko::platform;

    const bool windowed = !options.headless && platform::display_available();
    const bool until_escape = windowed && !options.frames_given;
    const tarko::Long hwnd = landscape::open_host_window("Tarko demo", windowed, until_escape, options.width,
                                                         options.height, options.frames, options.out);
    if (!hwnd) return 1;

    tarko_DX7 engine;
    int frames_run = 0;
    try {
        landscape::start_engine(engine, hwnd, windowed, options.dialog, options.dialog_script, options.out);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        engine.WriteLOG("Tarko demo prête.", hwnd);
        const auto window = platform::windows().get(hwnd);
        if (!options.out.empty()) platform::write_png(window->frame(), options.out + "/console.png");

        Scene scene(engine);
        Controls controls;
        // Start at the south side of the room, facing north (+z).
        engine.CAM_angle(tarko::Variant(kPi / 2));
        engine.SET_cameraEYE(D3DVECTOR{0, kEyeHeight, -300});

        const auto start = std::chrono::steady_clock::now();
        for (int frame = 0; until_escape || frame < options.frames; ++frame) {
            if (!platform::pump_events()) break;
            if (windowed) {
                controls.run(engine);
                if (controls.quit) break;
            } else {
                scripted_camera(engine, frame);
            }
            engine.Clear_3D();
            engine.D3D_DEV->beginScene();
            scene.draw(frame);
            engine.D3D_DEV->endScene();
            engine.FLIPP(hwnd);
            ++frames_run;
            if (!options.out.empty() && (frame % 30 == 0 || (!until_escape && frame + 1 == options.frames)))
                write_frame(*window, options.out, "/frame_%04d.png", frame);
            if ((frame + 1) % 60 == 0)
                std::printf("frame %d: FramesPerSec %.1f, ImparSeconde %.0f, ElapseFrame %.0f ms\n", frame + 1,
                            engine.FramesPerSec(), engine.ImparSeconde(), engine.ElapseFrame());
        }
        const double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
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
