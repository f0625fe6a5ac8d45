// A room baked with three coloured point lights, drawn with its light maps,
// beside the same room lit at its vertices only. Off screen; writes
// lightmaps.png (light maps on the left, per vertex on the right).
//
//   tarko_lightmaps [--out DIR] [--threads N]
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "examples/lightmaps/room.h"
#include "runtime/errors.h"

int main(int argc, char** argv) {
    namespace platform = tarko::platform;
    std::string out = ".";
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--out" && i + 1 < argc) out = argv[++i];
        else if (a == "--threads" && i + 1 < argc) tarko::mesh::set_bake_threads(std::atoi(argv[++i]));
        else {
            std::printf("usage: tarko_lightmaps [--out DIR] [--threads N]\n");
            return a == "--help" ? 0 : 1;
        }
    }
    constexpr int kW = 320, kH = 240;
    try {
        const tarko::Long hwnd = platform::create_headless_window(kW, kH);
        tarko_DX7 engine;
        engine.Initialize_Windowed(hwnd);
        if (!engine.D3D_DEV) {
            std::fprintf(stderr, "no 3D device could be opened\n");
            return 1;
        }
        tarko::Mesh baked;
        lightmaps_example::build_room(baked);
        baked.GenerateLightMap(lightmaps_example::kDensity, tarko::Variant(), lightmaps_example::kAmbient);
        baked.SetLightMapStage(true);
        const platform::Frame left = lightmaps_example::render_room(engine, hwnd, baked);

        tarko::Mesh plain;
        lightmaps_example::build_room(plain);
        lightmaps_example::light_per_vertex(plain);
        const platform::Frame right = lightmaps_example::render_room(engine, hwnd, plain);

        platform::Frame both{2 * kW, kH, std::vector<std::uint32_t>(static_cast<std::size_t>(2 * kW * kH))};
        for (int y = 0; y < kH; ++y)
            for (int x = 0; x < kW; ++x) {
                both.pixels[static_cast<std::size_t>(y * 2 * kW + x)] = left.at(x, y);
                both.pixels[static_cast<std::size_t>(y * 2 * kW + kW + x)] = right.at(x, y);
            }
        std::filesystem::create_directories(out);
        const std::string path = out + "/lightmaps.png";
        if (!platform::write_png(both, path)) {
            std::fprintf(stderr, "cannot write %s\n", path.c_str());
            return 1;
        }
        std::printf("wrote %s\n", path.c_str());
        engine.FreeDX(hwnd);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "engine error %d: %s\n", e.number(), e.what());
        return 1;
    }
    return 0;
}
