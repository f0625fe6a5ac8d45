// Clears; drawing lands with the software rasteriser.
#include "platform/d3d/rasteriser.h"

#include <algorithm>

#include "platform/constants.h"

namespace tarko::platform::d3d {

void Rasteriser::clear(const DeviceState& state, std::span<const D3DRECT> rects, Long flags, std::uint32_t colour,
                       float z) {
    const auto zbuffer = target_.zbuffer();
    const D3DVIEWPORT7& vp = state.viewport;
    const D3DRECT whole{vp.lX, vp.lY, vp.lX + vp.lWidth, vp.lY + vp.lHeight};
    const std::span<const D3DRECT> list = rects.empty() ? std::span<const D3DRECT>(&whole, 1) : rects;
    for (const D3DRECT& r : list) {
        if (flags & dx::D3DCLEAR_TARGET) {
            const std::uint32_t raw = target_.format().from_argb(colour);
            for (int y = std::max(0, r.y1); y < std::min(target_.height(), r.y2); ++y)
                for (int x = std::max(0, r.x1); x < std::min(target_.width(), r.x2); ++x) target_.set_raw(x, y, raw);
            target_.touch();
        }
        if ((flags & dx::D3DCLEAR_ZBUFFER) && zbuffer) {
            const int bits = zbuffer->format().bits();
            const double max = bits >= 32 ? 4294967295.0 : static_cast<double>((1ull << bits) - 1);
            const auto raw = static_cast<std::uint32_t>(std::clamp(static_cast<double>(z), 0.0, 1.0) * max);
            for (int y = std::max(0, r.y1); y < std::min(zbuffer->height(), r.y2); ++y)
                for (int x = std::max(0, r.x1); x < std::min(zbuffer->width(), r.x2); ++x) zbuffer->set_raw(x, y, raw);
            zbuffer->touch();
        }
    }
}

void Rasteriser::draw(const DeviceState&, Long, Long, std::span<const std::byte>, std::size_t,
                      std::span<const Integer>) {}

}  // namespace tarko::platform::d3d
