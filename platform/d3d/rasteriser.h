// The drawing half of the device: clears and draws into the render target and
// its z-buffer from the device state.
#pragma once

#include <cstddef>
#include <span>

#include "platform/d3d/device_state.h"
#include "platform/surface.h"

namespace tarko::platform::d3d {

class Rasteriser {
public:
    explicit Rasteriser(DirectDrawSurface7& target) : target_(target) {}
    void clear(const DeviceState& state, std::span<const D3DRECT> rects, Long flags, std::uint32_t colour, float z);
    void draw(const DeviceState& state, Long primitive_type, Long vertex_type, std::span<const std::byte> vertices,
              std::size_t vertex_count, std::span<const Integer> indices);
    void set_threads(int threads) { threads_ = threads; }

private:
    DirectDrawSurface7& target_;
    int threads_ = 0;
};

}  // namespace tarko::platform::d3d
