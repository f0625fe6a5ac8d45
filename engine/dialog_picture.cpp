// The picture of the device dialog's Image1, drawn by code: an evening sky,
// a sun low on the horizon, hills and a chequered plain running to it.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "engine/device_dialog.h"

namespace tarko::dialog {
namespace {

constexpr int kWidth = 475, kHeight = 228;  // Image1's picture size
constexpr int kHorizon = 132;

std::uint32_t pack(double r, double g, double b) {
    auto c = [](double v) { return static_cast<std::uint32_t>(std::clamp(v, 0.0, 255.0) + 0.5); };
    return 0xFF000000u | (c(r) << 16) | (c(g) << 8) | c(b);
}

std::uint32_t pixel(int x, int y) {
    const double sun_x = 350, sun_y = kHorizon - 6, sun_r = 34;
    const double hill = kHorizon - 18 - 14 * std::sin(x * 0.021) - 8 * std::sin(x * 0.057 + 1.3);
    if (y < kHorizon) {
        const double d = std::hypot(x - sun_x, y - sun_y);
        if (y >= hill) return pack(70, 40, 90);             // hills against the sky
        if (d < sun_r) return pack(255, 225, 120);          // the sun
        const double t = static_cast<double>(y) / kHorizon;  // 0 at the top, 1 at the horizon
        const double glow = std::max(0.0, 1.0 - d / 160) * 60;
        return pack(25 + 215 * t + glow, 35 + 110 * t + glow * 0.6, 110 - 40 * t);
    }
    // The plain: squares of one world unit seen from a height, 40 pixels a unit at depth 1.
    const double depth = 60.0 / (y - kHorizon + 1);
    const double u = (x - kWidth / 2.0) * depth / 40.0;
    const bool light = (static_cast<int>(std::floor(u)) + static_cast<int>(std::floor(depth * 2))) % 2 == 0;
    const double fade = std::min(1.0, (y - kHorizon) / 60.0);  // into the haze near the horizon
    const double r = light ? 60 : 25, g = light ? 150 : 90, b = light ? 70 : 40;
    return pack(r * fade + 200 * (1 - fade), g * fade + 140 * (1 - fade), b * fade + 90 * (1 - fade));
}

Image draw() {
    Image picture(kWidth, kHeight);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) picture.at(x, y) = pixel(x, y);
    return picture;
}

}  // namespace

const Image& dialog_picture() {
    static const Image picture = draw();
    return picture;
}

}  // namespace tarko::dialog
