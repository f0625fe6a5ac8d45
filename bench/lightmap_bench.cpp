// Light-map baking: a room of 64 wall groups, each baked at 256 x 256 (the
// largest map the ladder gives), under the 32 point lights the bake reads, on
// 1 and 2 threads. Counter: texels a second.
#include <benchmark/benchmark.h>

#include <memory>

#include "mesh/mesh.h"

namespace {

// 64 walls, 16 units wide and high, along a zigzag: at Density 160 (10 texels
// a unit) each is 160 -> 256 texels a side.
void build(tarko::Mesh& room) {
    for (tarko::Integer g = 1; g <= 64; ++g) {
        room.SetGroupPointer(g);
        const float x = static_cast<float>(g % 8) * 16, z = static_cast<float>(g / 8) * 16;
        room.AddWall(x, z, x + 16, z, 16, 0, 1, 1);
    }
    for (tarko::Integer i = 0; i < 32; ++i) {
        D3DLIGHT7 l;
        l.dltType = D3DLIGHT_POINT;
        l.position = D3DVECTOR{static_cast<float>(i % 8) * 16 + 8, 4, static_cast<float>(i / 8) * 32 + 8};
        l.range = 40;
        l.diffuse = D3DCOLORVALUE{0.3f, 0.25f, 0.2f, 1};
        tarko::Mesh::SetBakeLight(i, l, true);
    }
}

void BM_BakeRoom64Groups(benchmark::State& state) {
    tarko::mesh::reset_module();
    tarko::mesh::set_bake_threads(static_cast<int>(state.range(0)));
    auto room = std::make_unique<tarko::Mesh>();
    build(*room);
    for (auto _ : state) room->GenerateLightMap(160, tarko::Variant(), 0x00202020);
    state.counters["texels/s"] =
        benchmark::Counter(64.0 * 256 * 256 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    room.reset();
    tarko::mesh::reset_module();
}
BENCHMARK(BM_BakeRoom64Groups)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
