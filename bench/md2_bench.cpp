// MD2 frame models. Load time of a Quake II sized actor (529 vertices, 1,020
// triangles, 198 frames, from models/md2/md2_writer.h), and of the same
// actor with its first frame alone: our reader against Debian's assimp
// importer, both from the same bytes in memory, no post-processing. Assimp
// decodes one key frame (its default, frame 0) of either file; ours decodes
// every frame, which Render needs. Then the per-frame vertex build of one
// actor, the SSE2 build against the plain one.
// Usage: tarko_md2_bench [Google Benchmark flags]
#include <benchmark/benchmark.h>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cstdio>

#include "models/md2/md2.h"
#include "models/md2/md2_writer.h"

namespace {

namespace md2 = tarko::md2;
using md2::Bytes;

const Bytes& actor_file() {
    static const Bytes bytes = write_md2(md2::actor(17, 30, 99));
    return bytes;
}
// The same actor with its first frame only: the work assimp does on either file.
const Bytes& still_file() {
    static const Bytes bytes = [] {
        auto m = md2::actor(17, 30, 99);
        m.frames.resize(1);
        return write_md2(m);
    }();
    return bytes;
}
const Bytes& file_of(const benchmark::State& state) { return state.range(0) ? actor_file() : still_file(); }

void TarkoMd2Load(benchmark::State& state) {
    const Bytes& bytes = file_of(state);
    md2::Md2Data d;
    for (auto _ : state) {
        const md2::ReadResult r = md2::read_md2(bytes, d);
        if (r.stopped) {
            state.SkipWithError(r.stopped->what());
            return;
        }
        benchmark::DoNotOptimize(d.Frames.data());
    }
    state.counters["frames"] = static_cast<double>(d.Frames.size());
    state.counters["vertices"] = d.Header.VertexCount;
    state.counters["triangles"] = d.Header.TriangleCount;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void AssimpMd2Load(benchmark::State& state) {
    const Bytes& bytes = file_of(state);
    Assimp::Importer importer;
    const aiScene* scene = nullptr;
    for (auto _ : state) {
        scene = importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, "md2");
        benchmark::DoNotOptimize(scene);
    }
    if (!scene) {
        state.SkipWithError(importer.GetErrorString());
        return;
    }
    state.counters["vertices"] = scene->mMeshes[0]->mNumVertices;  // one a triangle corner
    state.counters["triangles"] = scene->mMeshes[0]->mNumFaces;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

template <void (*Build)(const md2::Md2Data&, const md2::Blend&, std::int32_t, std::vector<D3DLVERTEX>&)>
void Md2VertexBuild(benchmark::State& state) {
    md2::Md2Data d;
    if (md2::read_md2(actor_file(), d).stopped) {
        state.SkipWithError("actor did not load");
        return;
    }
    std::vector<D3DLVERTEX> out;
    for (auto _ : state) {
        // 100 frames a second at 10 frames a second of animation: 0.1 frame a step
        Build(d, md2::advance(d, 10, 10), -1, out);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.counters["corners/s"] = benchmark::Counter(static_cast<double>(state.iterations() * out.size()), benchmark::Counter::kIsRate);
}

// Argument 1: the 198-frame actor; 0: its first frame alone.
BENCHMARK(TarkoMd2Load)->ArgName("frames198")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond)->MinTime(2.0);
BENCHMARK(AssimpMd2Load)->ArgName("frames198")->Arg(1)->Arg(0)->Unit(benchmark::kMicrosecond)->MinTime(2.0);
BENCHMARK(Md2VertexBuild<md2::build_md2_vertices>)->Name("Md2VertexBuildSse2")->Unit(benchmark::kMicrosecond)->MinTime(1.0);
BENCHMARK(Md2VertexBuild<md2::build_md2_vertices_reference>)->Name("Md2VertexBuildPlain")->Unit(benchmark::kMicrosecond)->MinTime(1.0);

}  // namespace

int main(int argc, char** argv) {
    std::printf("files: %zu bytes (198 frames), %zu bytes (1 frame)\n", actor_file().size(), still_file().size());
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
