// The landscape: a frame of the landscape example (the largest grid 16-bit
// indices allow, 181 x 181, with sky, trees and water) at 640x480 on two
// device threads, the terrain's draw alone, and LoadTerrain of that grid.
// Goal: at least 100 frames a second. The CPU column is the whole process's
// (the device's workers included), a steadier figure on a loaded machine.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>
#include <string>

#include "landscape/landscape_scene.h"

namespace {

const std::string& pictures() {
    static const std::string folder = [] {
        const auto f = (std::filesystem::temp_directory_path() / "tarko-bench-landscape").string();
        landscape::write_pictures(f);
        return f;
    }();
    return folder;
}

struct Host {
    tarko::Long hwnd = tarko::platform::create_headless_window(640, 480);
    tarko_DX7 engine;
    std::unique_ptr<landscape::Scene> scene;
    Host() {
        engine.Initialize_Windowed(hwnd);
        engine.D3D_DEV->set_thread_count(2);
        scene = std::make_unique<landscape::Scene>(engine, pictures());
    }
    ~Host() {
        scene.reset();
        engine.FreeDX(hwnd);
        tarko::platform::windows().remove(hwnd);
    }
};

template <class Draw>
void frames(benchmark::State& state, Draw draw) {
    Host host;
    int frame = 0;
    for (auto _ : state) {
        host.scene->scripted_camera(frame++ % 600);
        host.engine.Clear_3D();
        host.engine.D3D_DEV->beginScene();
        draw(host);
        host.engine.D3D_DEV->endScene();
        host.engine.FLIPP(host.hwnd);
    }
    state.counters["frames/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_LandscapeFrame(benchmark::State& state) {
    frames(state, [](Host& h) { h.scene->draw(); });
}
BENCHMARK(BM_LandscapeFrame)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void BM_TerrainOnly(benchmark::State& state) {
    frames(state, [](Host& h) { h.scene->land().RenderAll(); });
}
BENCHMARK(BM_TerrainOnly)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void BM_LoadTerrain181(benchmark::State& state) {
    Host host;
    const std::string height = pictures() + "/height.bmp";
    for (auto _ : state) {
        cTarko_landScape land;
        land.INITIALIZE(host.engine);
        land.LoadTerrain(height, tarko::Variant(1), tarko::Variant(0.25), 1, 1);
        benchmark::DoNotOptimize(land.is_ACTIVE);
    }
}
BENCHMARK(BM_LoadTerrain181)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
