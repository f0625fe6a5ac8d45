// A view of a 24-bit DIB's memory as the filters and the resampler address
// it: byte x of memory row y, rows from the bottom of the picture.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarko::images {

struct DibPixels {
    std::uint8_t* bits = nullptr;
    int width = 0;    // pixels
    int height = 0;   // rows
    int stride = 0;   // bytes per row, a multiple of 4

    bool empty() const { return bits == nullptr || width <= 0 || height <= 0; }
    std::uint8_t& at(int x_byte, int row) const {
        return bits[static_cast<std::ptrdiff_t>(row) * stride + x_byte];
    }
};

}  // namespace tarko::images
