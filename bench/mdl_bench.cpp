// Studio models: load time of the reader against Debian's assimp importer on
// the same bytes in memory, and how many animated actors a frame holds at
// 640 x 480 on the software device with 2 threads (goal: 50 studio actors of
// about 1,000 triangles at 100 frames a second, so at most 10 ms a frame).
// The models come from the project's writers: the walking figure of
// models/mdl/mdl_writer.h (1,000 triangles, 5 bones) and the MD2
// cylinder of models/md2/md2_writer.h (800 triangles).
// Usage: tarko_mdl_bench [Google Benchmark flags]
#include <benchmark/benchmark.h>

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "models/md2/md2_writer.h"
#include "models/mdl/cTarko_MDLfile.h"
#include "models/mdl/mdl_writer.h"
#include "models/mdl/studio_file.h"
#include "platform/constants.h"
#include "platform/window.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// The load file: the figure at 40 rings x 40 sides a bone (16,000 triangles,
// 8,405 vertices), the scale of a detailed game character.
const Bytes& load_file() {
    static const Bytes bytes = tarko::mdl::write_studio(tarko::mdl::walker(40, 40, 18)).main;
    return bytes;
}

void TarkoMdlLoad(benchmark::State& state) {
    const Bytes& bytes = load_file();
    std::size_t triangles = 0;
    for (auto _ : state) {
        const auto model = tarko::mdl::read_studio(bytes, "bench.mdl", [](const std::string&) { return Bytes{}; });
        triangles = model.Models[0][0].DrawMeshes[0].Indices.size() / 3 + model.Models[0][0].DrawMeshes[1].Indices.size() / 3;
        benchmark::DoNotOptimize(model.Models.data());
    }
    state.counters["triangles"] = static_cast<double>(triangles);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void AssimpMdlLoad(benchmark::State& state) {
    const Bytes& bytes = load_file();
    Assimp::Importer importer;
    const aiScene* scene = nullptr;
    for (auto _ : state) {
        scene = importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, "mdl");
        benchmark::DoNotOptimize(scene);
    }
    if (!scene) {
        state.SkipWithError(importer.GetErrorString());
        return;
    }
    std::size_t faces = 0;
    for (unsigned m = 0; m < scene->mNumMeshes; ++m) faces += scene->mMeshes[m]->mNumFaces;
    state.counters["triangles"] = static_cast<double>(faces);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

// One engine at 640 x 480 on 2 threads, and N actors of one kind in a grid
// seen from above, all in view.
struct Scene {
    tarko::Long hwnd = tarko::platform::create_headless_window(640, 480);
    tarko_DX7 engine;
    std::vector<std::unique_ptr<cTarko_MDLfile>> actors;
    Scene(int count, bool studio) {
        engine.Initialize_Windowed(hwnd);
        engine.D3D_DEV->set_thread_count(2);
        const auto dir = std::filesystem::temp_directory_path() / "tarko_mdl_bench";
        std::filesystem::create_directories(dir);
        const auto file = dir / (studio ? "walker.mdl" : "actor.md2");
        const Bytes bytes = studio ? tarko::mdl::write_studio(tarko::mdl::walker(10, 10, 18)).main
                                   : tarko::md2::write_md2(tarko::md2::actor(21, 20, 8));
        std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        const int side = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(count))));
        for (int i = 0; i < count; ++i) {
            auto a = std::make_unique<cTarko_MDLfile>();
            a->Load_MDL(file.string(), engine);
            a->SetAnimationName(studio ? "walk" : "run");
            a->SetSpeed(studio ? 1.0f : 10.0f);
            a->SetScale(tarko::Variant(1.0), tarko::Variant(1.0), tarko::Variant(1.0));
            a->SetRotation(tarko::Variant(studio ? 90.0 : 0.0), tarko::Variant(0.0), tarko::Variant(0.0));
            a->SetPosition(tarko::Variant(40.0 * (i % side - (side - 1) / 2.0)), tarko::Variant(0.0),
                           tarko::Variant(40.0 * (i / side - (side - 1) / 2.0)));
            actors.push_back(std::move(a));
        }
        const float d = 40.0f * static_cast<float>(side) + 60;
        engine.SET_camera_DirectioN(D3DVECTOR{0, d * 1.1f, -d * 0.5f}, D3DVECTOR{0, 0, 0});
        D3DMATRIX projection;
        engine.DX_7->projectionMatrix(projection, 5, 4 * d, 3.1456978454f / 4);
        engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection);
    }
    ~Scene() {
        actors.clear();
        engine.FreeDX(hwnd);
        tarko::platform::windows().remove(hwnd);
    }
    void frame() {
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        for (auto& a : actors) a->Render();
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
    }
};

void frames(benchmark::State& state, bool studio) {
    Scene scene(static_cast<int>(state.range(0)), studio);
    scene.frame();  // the first pose fixes each bounding sphere
    for (auto _ : state) scene.frame();
    state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["actors"] = static_cast<double>(state.range(0));
}

void StudioActorsFrame(benchmark::State& state) { frames(state, true); }
void Md2ActorsFrame(benchmark::State& state) { frames(state, false); }

// The host's share of a studio frame: advance, pose, skinning and the triangle
// lists, without the device (the actor is drawn into an engine with no
// rasterising cost: a 1 x 1 window).
void StudioActorsHostOnly(benchmark::State& state) {
    const auto model = tarko::mdl::read_studio(tarko::mdl::write_studio(tarko::mdl::walker(10, 10, 18)).main,
                                               "w.mdl", [](const std::string&) { return Bytes{}; });
    tarko::mdl::StudioPlay play;
    tarko::mdl::start_play(model, play);
    play.AnimSequence = 1;
    std::vector<D3DVECTOR> skinned(model.Models[0][0].Positions.size());
    std::vector<D3DLVERTEX> list;
    float frame = 0;
    for (auto _ : state) {
        for (int a = 0; a < state.range(0); ++a) {
            play.AnimFrame = frame;
            frame = frame > 14 ? 0 : frame + 0.37f;
            tarko::mdl::pose(model, play);
            const auto& m = model.Models[0][0];
            tarko::mdl::skin(m.Positions, m.VertexBones, play.ActorBones, skinned);
            for (const auto& dm : m.DrawMeshes) {
                list.resize(dm.Indices.size());
                for (std::size_t i = 0; i < dm.Indices.size(); ++i) {
                    const D3DVECTOR& p = skinned[static_cast<std::size_t>(dm.Indices[i])];
                    list[i] = {p.x, p.y, p.z, 0, -1, 0, dm.TexCoords[i][0], dm.TexCoords[i][1]};
                }
                benchmark::DoNotOptimize(list.data());
            }
        }
    }
    state.counters["actors/s"] = benchmark::Counter(static_cast<double>(state.iterations() * state.range(0)),
                                                    benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(TarkoMdlLoad)->Unit(benchmark::kMicrosecond);
BENCHMARK(AssimpMdlLoad)->Unit(benchmark::kMicrosecond);
BENCHMARK(StudioActorsHostOnly)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(StudioActorsFrame)->Arg(0)->Arg(25)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Md2ActorsFrame)->Arg(25)->Arg(50)->Arg(100)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_MAIN();
