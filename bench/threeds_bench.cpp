// Load time of a large 3DS file: our chunk reader (vertex normals included)
// against Debian's assimp importer (no post-processing steps; its 3DS loader
// computes normals from the smoothing groups itself), both from the same
// bytes in memory. The file is made here: 40 objects, each a 100 x 100 quad
// grid in two material groups, 10,201 vertices and 20,000 faces an object.
// Usage: tarko_threeds_bench [Google Benchmark flags]
#include <benchmark/benchmark.h>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cstdio>
#include <string>

#include "models/3ds/chunk_reader.h"
#include "models/3ds/threeds_writer.h"

namespace {

using namespace tarko::threeds;

const Bytes& large_file() {
    static const Bytes bytes = [] {
        Bytes objects;
        for (int i = 0; i < 40; ++i)
            objects = cat({objects, grid_object("grid" + std::to_string(i), 100, static_cast<float>(i), "Red", "Blue")});
        return file({material("Red", {40, 0, 0}, {200, 0, 0}), material("Blue", {0, 0, 40}, {0, 0, 200}), objects});
    }();
    return bytes;
}

void Tarko3ds(benchmark::State& state) {
    const Bytes& bytes = large_file();
    tarko::threeds::Model model;
    for (auto _ : state) {
        tarko::threeds::read_3ds(bytes, model);
        benchmark::DoNotOptimize(model.MeshObjects[0].Vertices.data());
    }
    long vertices = 0, faces = 0;
    for (int m = 0; m < model.MeshCount; ++m) {
        vertices += model.MeshObjects[static_cast<std::size_t>(m)].VertexCount;
        for (const auto& g : model.MeshObjects[static_cast<std::size_t>(m)].Groups) faces += g.IndexCount / 3;
    }
    state.counters["meshes"] = model.MeshCount;
    state.counters["vertices"] = static_cast<double>(vertices);
    state.counters["faces"] = static_cast<double>(faces);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void Assimp3ds(benchmark::State& state) {
    const Bytes& bytes = large_file();
    Assimp::Importer importer;
    const aiScene* scene = nullptr;
    for (auto _ : state) {
        scene = importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, "3ds");
        benchmark::DoNotOptimize(scene);
    }
    long vertices = 0, faces = 0;
    if (!scene) {
        state.SkipWithError(importer.GetErrorString());
        return;
    }
    for (unsigned m = 0; m < scene->mNumMeshes; ++m) {
        vertices += scene->mMeshes[m]->mNumVertices;  // one vertex a face corner: 3ds corners are not shared
        faces += scene->mMeshes[m]->mNumFaces;
    }
    state.counters["meshes"] = scene->mNumMeshes;
    state.counters["vertices"] = static_cast<double>(vertices);
    state.counters["faces"] = static_cast<double>(faces);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

BENCHMARK(Tarko3ds)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(Assimp3ds)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

int main(int argc, char** argv) {
    std::printf("file: %zu bytes\n", large_file().size());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
