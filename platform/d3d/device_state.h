// The device state a draw reads: everything set through the device's
// published operations.
#pragma once

#include <array>
#include <map>

#include "platform/d3d/device.h"

namespace tarko::platform::d3d {

struct LightSlot {
    D3DLIGHT7 light;
    bool enabled = false;
};

struct DeviceState {
    DeviceState();

    std::array<Long, Direct3DDevice7::kRenderStateCount> render{};
    std::array<std::array<Long, Direct3DDevice7::kStageStateCount>, Direct3DDevice7::kMaxStages> stage{};
    std::array<Ref<DirectDrawSurface7>, Direct3DDevice7::kMaxStages> textures;
    D3DMATRIX world, view, projection;
    D3DVIEWPORT7 viewport;
    D3DMATERIAL7 material;
    std::map<Long, LightSlot> lights;

    float render_single(Long state) const;  // a render state that holds a Single's bits
};

}  // namespace tarko::platform::d3d
