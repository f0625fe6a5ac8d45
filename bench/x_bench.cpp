// X load speed: our reader against assimp's X importer on the same bytes in
// memory, a large text file and a large binary one made here (a 400 x 400
// grid of quads, 160801 vertices with texture coordinates, one material).
// Counters: MB/s of file bytes; the ratio is ours over assimp's from one run.
#include <benchmark/benchmark.h>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "models/x/mesh_builder.h"
#include "models/x/x_file.h"
#include "models/x/x_writer.h"

namespace {

namespace x = tarko::x;
using Bytes = std::vector<std::uint8_t>;

x::File grid(int n) {
    x::Mesh m;
    m.name = "Grid";
    for (int j = 0; j <= n; ++j)
        for (int i = 0; i <= n; ++i) {
            m.positions.push_back({static_cast<float>(i) * 0.125f, std::sin(i * 0.1f) * std::cos(j * 0.07f),
                                   static_cast<float>(j) * 0.125f});
            m.uvs.push_back({static_cast<float>(i) / n, static_cast<float>(j) / n});
        }
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i) {
            const auto a = static_cast<std::uint32_t>(j * (n + 1) + i);
            m.indices.insert(m.indices.end(), {a, a + static_cast<std::uint32_t>(n + 1), a + static_cast<std::uint32_t>(n + 2), a + 1});
            m.face_start.push_back(static_cast<std::uint32_t>(m.indices.size()));
        }
    x::Material mat;
    mat.name = "Ground";
    m.materials = {mat};
    m.face_material.assign(m.face_count(), 0);
    x::File f;
    f.meshes.push_back(std::move(m));
    return f;
}

const Bytes& file(x::Form form) {
    static std::map<x::Form, Bytes> files;
    auto& b = files[form];
    if (b.empty()) b = x::write(grid(400), form);
    return b;
}

void report(benchmark::State& state, const Bytes& b) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * b.size()));
    state.counters["MB/s"] = benchmark::Counter(static_cast<double>(b.size()) / 1e6, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["file_MB"] = static_cast<double>(b.size()) / 1e6;
}

void BM_Tarko(benchmark::State& state, x::Form form) {
    const Bytes& b = file(form);
    for (auto _ : state) {
        auto f = x::parse(b);
        benchmark::DoNotOptimize(f.meshes.data());
    }
    report(state, b);
}

// The reader and the mesh builder: what cTarko_Xfile::Load does before the groups reach the arrays.
void BM_TarkoWithGroups(benchmark::State& state, x::Form form) {
    const Bytes& b = file(form);
    for (auto _ : state) {
        auto g = x::create_groups(x::gather(x::parse(b), x::Route::Mesh));
        benchmark::DoNotOptimize(g.data());
    }
    report(state, b);
}

void BM_Assimp(benchmark::State& state, x::Form form) {
    const Bytes& b = file(form);
    for (auto _ : state) {
        Assimp::Importer importer;
        const aiScene* scene = importer.ReadFileFromMemory(b.data(), b.size(), 0, "x");
        if (!scene || scene->mNumMeshes == 0 || scene->mMeshes[0]->mNumVertices == 0) {
            state.SkipWithError(("assimp cannot read it: " + std::string(importer.GetErrorString())).c_str());
            return;
        }
        benchmark::DoNotOptimize(scene);
    }
    report(state, b);
}

}  // namespace

BENCHMARK_CAPTURE(BM_Tarko, text, x::Form::Text)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Assimp, text, x::Form::Text)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Tarko, binary, x::Form::Binary32)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Assimp, binary, x::Form::Binary32)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TarkoWithGroups, text, x::Form::Text)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_TarkoWithGroups, binary, x::Form::Binary32)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
