// Creation of the engine object and the root it makes on first use.
#include "engine/tarko_dx7.h"

#include "platform/d3d/direct3d.h"

tarko_DX7::tarko_DX7() : PIFactor(static_cast<float>(3.141592653 / 180.0)) {}

tarko_DX7::~tarko_DX7() = default;

void tarko_DX7::ensure_root() {
    if (!DX_7) DX_7 = tarko::Ref<DirectX7>(std::make_shared<DirectX7>());
}
