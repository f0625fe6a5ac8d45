// Pictures for the landscape tests: a 24-bit BMP made from a colour function.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

#include "platform/picture_write.h"

namespace tarko::test {

// colour(x, y) gives 0xRRGGBB for the pixel at column x, row y from the top.
inline void write_bmp(const std::filesystem::path& path, int width, int height,
                      const std::function<std::uint32_t(int, int)>& colour) {
    platform::Frame f{width, height, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) f.pixels.push_back(colour(x, y));
    platform::write_bmp(f, path.string());
}

}  // namespace tarko::test
