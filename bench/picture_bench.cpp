// Picture loading: JPEG decoding alone, and a file becoming a texture through
// CreateTextureEX (decode, bring to size, fill the surface) for JPG and TGA.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "platform/image/jpeg_writer.h"
#include "platform/image/picture_loader.h"
#include "platform/window.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// A picture with smooth areas and detail, as photographs have.
std::vector<std::uint32_t> scene(int side) {
    std::vector<std::uint32_t> rgb(static_cast<std::size_t>(side) * side);
    std::uint32_t noise = 12345;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            noise = noise * 1103515245u + 12345u;
            const std::uint32_t r = static_cast<std::uint32_t>(x * 255 / side);
            const std::uint32_t g = static_cast<std::uint32_t>(y * 255 / side);
            const std::uint32_t b = ((x / 16 + y / 16) % 2 ? 200u : 40u) + (noise >> 28);
            rgb[static_cast<std::size_t>(y) * side + x] = r << 16 | g << 8 | (b & 255);
        }
    return rgb;
}

std::filesystem::path bench_file(const std::string& name) {
    return std::filesystem::temp_directory_path() / ("tarko-bench-" + name);
}

// Made once and kept in the temp folder, so that runs of different builds
// (before and after a change of the encoder) decode the same bytes.
const Bytes& jpeg(int side) {
    static std::vector<std::pair<int, Bytes>> made;
    for (const auto& [s, bytes] : made)
        if (s == side) return bytes;
    const auto path = bench_file("source" + std::to_string(side) + ".jpg");
    Bytes bytes;
    if (std::ifstream in{path, std::ios::binary}) {
        bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    } else {
        bytes = tarko::platform::image::encode_jpeg(side, side, scene(side), 90);
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    made.emplace_back(side, std::move(bytes));
    return made.back().second;
}

Bytes tga(int side) {
    Bytes b(18, 0);
    b[2] = 2;
    b[12] = static_cast<std::uint8_t>(side), b[13] = static_cast<std::uint8_t>(side >> 8);
    b[14] = b[12], b[15] = b[13];
    b[16] = 24;
    for (const std::uint32_t p : scene(side))
        b.insert(b.end(), {static_cast<std::uint8_t>(p), static_cast<std::uint8_t>(p >> 8),
                           static_cast<std::uint8_t>(p >> 16)});
    return b;
}

std::string write(const std::string& name, const Bytes& bytes) {
    const auto path = bench_file(name);
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path.string();
}

void JpegDecode(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    const Bytes& bytes = jpeg(side);
    for (auto _ : state) {
        auto picture = tarko::platform::image::decode_picture(bytes);
        benchmark::DoNotOptimize(picture);
    }
    state.SetItemsProcessed(state.iterations() * side * side);
    state.counters["file_bytes"] = static_cast<double>(bytes.size());
}
BENCHMARK(JpegDecode)->Arg(512)->Arg(2048)->Unit(benchmark::kMillisecond);

// An engine on a headless window, made once.
tarko_DX7& engine() {
    static auto window = std::make_shared<tarko::platform::HeadlessWindow>(640, 480, 32, 0, 0);
    static const tarko::Long hwnd = tarko::platform::windows().add(window);
    static tarko_DX7 dx;
    static const bool opened = (dx.Initialize_Windowed(hwnd), true);
    (void)opened;
    return dx;
}

void TextureFromFile(benchmark::State& state, const std::string& file, int side) {
    tarko_DX7& dx = engine();
    for (auto _ : state) {
        auto texture = dx.CreateTextureEX(file, side, side);
        benchmark::DoNotOptimize(texture);
    }
    state.SetItemsProcessed(state.iterations() * side * side);
}

void TextureFromJpeg(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    TextureFromFile(state, write("texture" + std::to_string(side) + ".jpg", jpeg(side)), side);
}
BENCHMARK(TextureFromJpeg)->Arg(512)->Arg(2048)->Unit(benchmark::kMillisecond);

void TextureFromTga(benchmark::State& state) {
    const int side = static_cast<int>(state.range(0));
    TextureFromFile(state, write("texture" + std::to_string(side) + ".tga", tga(side)), side);
}
BENCHMARK(TextureFromTga)->Arg(256)->Unit(benchmark::kMillisecond);

// The bilinear road: a 512 x 512 picture brought to 256 x 256.
void TextureFromJpegResampled(benchmark::State& state) {
    TextureFromFile(state, write("texture512r.jpg", jpeg(512)), 256);
}
BENCHMARK(TextureFromJpegResampled)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
