// Bilinear resampling of 24-bit DIBs and of images.
#include "images/resample.h"

#include <algorithm>
#include <cmath>

#include "runtime/numeric.h"

namespace tarko::images {
namespace {

int round_clamped(double v) {
    return static_cast<int>(std::clamp(runtime::round_half_even(v), 0.0, 255.0));
}

// Rows are counted from the bottom of the picture, as a DIB stores them; the
// scales and roundings below decide every texture's pixels, so both holders
// of pixels share this one routine. get(x, row, channel) reads blue (0),
// green (1) or red (2); put(x, row, channel, value) writes.
template <class Get, class Put>
void resample(int sw, int sh, int tw, int th, const Get& get, const Put& put) {
    const float x_scale = static_cast<float>(static_cast<double>(sw - 1) / tw);
    const float y_scale = static_cast<float>(static_cast<double>(sh - 1) / th);
    const int last_x = sw - 1, last_y = sh - 1;
    for (int y = 0; y < th; ++y) {
        const float fy = static_cast<float>(static_cast<double>(y_scale) * y);
        const int iy = static_cast<int>(std::floor(fy));
        const double dy = static_cast<double>(fy - static_cast<float>(iy));
        const int iy1 = std::min(iy + 1, last_y);
        for (int x = 0; x < tw; ++x) {
            const float fx = static_cast<float>(static_cast<double>(x_scale) * x);
            const int ix = static_cast<int>(std::floor(fx));
            const double dx = static_cast<double>(fx - static_cast<float>(ix));
            const int ix1 = std::min(ix + 1, last_x);
            for (int c = 0; c < 3; ++c) {
                const double a = get(ix, iy, c), b = get(ix1, iy, c);
                const double cc = get(ix, iy1, c), d = get(ix1, iy1, c);
                // Down the columns first; the intermediates are whole numbers.
                const double left = runtime::round_half_even((1.0 - dy) * a + dy * cc);
                const double right = runtime::round_half_even((1.0 - dy) * b + dy * d);
                put(x, y, c, round_clamped((1.0 - dx) * left + dx * right));
            }
        }
    }
}

}  // namespace

void resample_bilinear(const DibPixels& source, const DibPixels& target) {
    if (source.empty() || target.empty()) return;
    resample(
        source.width, source.height, target.width, target.height,
        [&](int x, int row, int c) { return source.at(3 * x + c, row); },
        [&](int x, int row, int c, int v) { target.at(3 * x + c, row) = static_cast<std::uint8_t>(v); });
}

Image resample_bilinear(const Image& source, int width, int height) {
    Image target(width, height);
    if (source.empty() || target.empty()) return target;
    const int sh = source.height, th = height;
    resample(
        source.width, sh, width, th,
        [&](int x, int row, int c) { return static_cast<int>(source.at(x, sh - 1 - row) >> (8 * c) & 0xFFu); },
        [&](int x, int row, int c, int v) {
            std::uint32_t& px = target.at(x, th - 1 - row);
            px = (px & ~(0xFFu << (8 * c))) | static_cast<std::uint32_t>(v) << (8 * c);
        });
    return target;
}

}  // namespace tarko::images
