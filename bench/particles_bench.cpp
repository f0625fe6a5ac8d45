// Particles: whole frames with 8 emitters with INIT's defaults (15 particles
// of size 1, so 120 to 255 draws a frame) over a cleared 640x480 target, on
// 2 device threads, presented headless; with the device's gathering of draws
// on and off. The goal is 200 frames/s with it on.
#include <benchmark/benchmark.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "engine/tarko_dx7.h"
#include "particles/cTarko_Particle.h"
#include "platform/window.h"

namespace {

std::filesystem::path flare() {
    const auto file = std::filesystem::temp_directory_path() / "tarko-bench-flare.tga";
    unsigned char header[18] = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 16, 0, 16, 0, 24, 0x20};
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(header), sizeof header);
    for (int i = 0; i < 16 * 16 * 3; ++i) out.put(static_cast<char>(0x80));
    return file;
}

void EightEmitters(benchmark::State& state) {
    const tarko::Long hwnd = tarko::platform::create_headless_window(640, 480);
    tarko_DX7 engine;
    engine.Initialize_Windowed(hwnd);
    engine.D3D_DEV->set_thread_count(2);
    engine.D3D_DEV->set_batching(state.range(0) != 0);
    const auto texture = flare().string();
    constexpr std::array<Tarko_PARTICLE_STYLE, 8> styles = {Tarko_POINT_emitting, Tarko_EXPLOSION, Tarko_FIRE,
                                                            Tarko_SNOW,           Tarko_SMOKE,     Tarko_FONTAIN,
                                                            Tarko_FIRE,           Tarko_EXPLOSION};
    std::array<cTarko_Particle, 8> emitters;
    for (std::size_t i = 0; i < emitters.size(); ++i)
        emitters[i].INIT(engine, D3DVECTOR{-70.0f + 20.0f * static_cast<float>(i), 0, 0}, texture, 15, 1.0f, styles[i]);
    // The example's view: 260 in front, 50 up, looking along +z slightly down.
    engine.SET_camera_DEGRE(tarko::Variant(90.0));
    engine.SET_camera_ANY_DEGRE(tarko::Variant(-10.0));
    engine.SET_cameraEYE(D3DVECTOR{0, 50, -260});
    for (auto _ : state) {
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        for (auto& e : emitters) e.Render(engine);
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
    }
    state.counters["frames/s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    engine.FreeDX(hwnd);
    tarko::platform::windows().remove(hwnd);
}
BENCHMARK(EightEmitters)->ArgName("gathered")->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
