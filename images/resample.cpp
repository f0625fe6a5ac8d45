// Bilinear resampling of 24-bit DIBs.
#include "images/resample.h"

#include <algorithm>
#include <cmath>

#include "runtime/numeric.h"

namespace tarko::images {
namespace {

int round_clamped(double v) {
    return static_cast<int>(std::clamp(runtime::round_half_even(v), 0.0, 255.0));
}

}  // namespace

void resample_bilinear(const DibPixels& source, const DibPixels& target) {
    if (source.empty() || target.empty()) return;
    const float x_scale = static_cast<float>(static_cast<double>(source.width - 1) / target.width);
    const float y_scale = static_cast<float>(static_cast<double>(source.height - 1) / target.height);
    const int last_x = source.width - 1, last_y = source.height - 1;
    for (int y = 0; y < target.height; ++y) {
        const float fy = static_cast<float>(static_cast<double>(y_scale) * y);
        const int iy = static_cast<int>(std::floor(fy));
        const double dy = static_cast<double>(fy - static_cast<float>(iy));
        const int iy1 = std::min(iy + 1, last_y);
        for (int x = 0; x < target.width; ++x) {
            const float fx = static_cast<float>(static_cast<double>(x_scale) * x);
            const int ix = static_cast<int>(std::floor(fx));
            const double dx = static_cast<double>(fx - static_cast<float>(ix));
            const int ix1 = std::min(ix + 1, last_x);
            for (int c = 0; c < 3; ++c) {
                const double a = source.at(3 * ix + c, iy), b = source.at(3 * ix1 + c, iy);
                const double cc = source.at(3 * ix + c, iy1), d = source.at(3 * ix1 + c, iy1);
                // Down the columns first; the intermediates are whole numbers.
                const double left = runtime::round_half_even((1.0 - dy) * a + dy * cc);
                const double right = runtime::round_half_even((1.0 - dy) * b + dy * d);
                target.at(3 * x + c, y) = static_cast<std::uint8_t>(round_clamped((1.0 - dx) * left + dx * right));
            }
        }
    }
}

}  // namespace tarko::images
