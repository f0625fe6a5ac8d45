// A 24-bit BMP writer for the landscape tests: pictures made from a colour
// function, rows stored bottom-up as the format has them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <vector>

namespace tarko::test {

// colour(x, y) gives 0xRRGGBB for the pixel at column x, row y from the top.
inline void write_bmp(const std::filesystem::path& path, int width, int height,
                      const std::function<std::uint32_t(int, int)>& colour) {
    const int row = (width * 3 + 3) & ~3;
    const std::uint32_t image = static_cast<std::uint32_t>(row * height), size = 54 + image;
    std::vector<std::uint8_t> b(size, 0);
    auto put32 = [&](std::size_t at, std::uint32_t v) {
        for (int k = 0; k < 4; ++k) b[at + static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(v >> (8 * k));
    };
    b[0] = 'B', b[1] = 'M';
    put32(2, size);
    put32(10, 54);
    put32(14, 40);
    put32(18, static_cast<std::uint32_t>(width));
    put32(22, static_cast<std::uint32_t>(height));
    b[26] = 1, b[28] = 24;
    put32(34, image);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const std::uint32_t c = colour(x, y);
            const std::size_t at = 54 + static_cast<std::size_t>((height - 1 - y) * row + x * 3);
            b[at] = static_cast<std::uint8_t>(c), b[at + 1] = static_cast<std::uint8_t>(c >> 8);
            b[at + 2] = static_cast<std::uint8_t>(c >> 16);
        }
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

}  // namespace tarko::test
