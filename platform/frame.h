// A 32-bit XRGB picture as a window shows it.
#pragma once

#include <cstdint>
#include <vector>

namespace tarko::platform {

struct Frame {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;  // 0x00RRGGBB, rows top to bottom
    std::uint32_t at(int x, int y) const { return pixels[static_cast<std::size_t>(y) * width + x]; }
};

}  // namespace tarko::platform
