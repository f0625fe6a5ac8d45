// Screen effects: the flash and fade quads, and the rain pass with the drops
// a host makes for it.
#include <cmath>
#include <span>

#include "engine/tarko_dx7.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace rt = tarko::runtime;
using tarko::Long;

void tarko_DX7::build_flash_quad(Long colour) {
    // Taken anew from the size at every call; strip order (0,h) (0,0) (w,h) (w,0).
    const float w = static_cast<float>(lWidth - 1), h = static_cast<float>(lheight - 1);
    const float corner[4][2] = {{0, h}, {0, 0}, {w, h}, {w, 0}};
    for (std::size_t i = 0; i < 4; ++i)
        tarko::dxmath::createD3DTLVertex(corner[i][0], corner[i][1], 0, 0.5f, colour, 0, 0, 0, FlashQuad[i + 1]);
}

void tarko_DX7::draw_flash_quad() {
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, -1);
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ONE);
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ONE);
    D3D_DEV->setTexture(0, {});
    D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX,
                           std::span<const D3DTLVERTEX>(FlashQuad).subspan(1), 4, 0);
    D3D_DEV->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
}

void tarko_DX7::Flashing(Long color) {
    build_flash_quad(color);
    draw_flash_quad();
    alphaBLEND_1(false);
}

void tarko_DX7::FaDE_IN(bool) {
    rt::Randomize();
    const float r = rt::Rnd();
    build_flash_quad(RGBA(tarko::Variant(0.0f), tarko::Variant(0.0f), tarko::Variant(0.0f), tarko::Variant(1.0f - r)));
    draw_flash_quad();
}

tarko::Variant tarko_DX7::RENDER_RAIN() {
    const D3DCOLORVALUE colour{0, 0.4f, 0.5f, 1};
    SetMaterial(colour, colour);
    const auto n = static_cast<std::size_t>(RainCount);
    for (std::size_t i = 0; i < n; i += 8) {
        if (i + 8 > RainVertices.size()) tarko::raise_error(tarko::err::SubscriptOutOfRange);
        for (std::size_t k = i; k < i + 8; ++k) {
            D3DVERTEX& v = RainVertices[k];
            v.y = static_cast<float>(static_cast<double>(v.y) - std::floor(static_cast<double>(rt::Rnd()) * 50));
            if (v.y <= RainFloor) v.y = RainTop;
        }
        D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX,
                               std::span<const D3DVERTEX>(RainVertices).subspan(i), 8, 0);
    }
    USE_defaultMaterial();
    return {};
}

tarko::Ref<DirectDrawSurface7> tarko_DX7::Ciel_TEXTURE() const { return SkyTexture; }

void tarko_DX7::RAIN_Setup(Long Drops, const D3DVECTOR& Centre, float Width, float Depth, float Floor, float Top,
                           float DropLength, float DropWidth) {
    if (Drops < 0 || !(Top > Floor) || !(Width >= 0) || !(Depth >= 0) || !(DropLength >= 0) || !(DropWidth >= 0))
        tarko::raise_error(tarko::err::InvalidCall);
    if (Drops > 65535) tarko::raise_error(tarko::err::Overflow);
    std::vector<D3DVERTEX> drops(static_cast<std::size_t>(Drops) * 8);
    for (std::size_t d = 0; d < drops.size(); d += 8) {
        const double x = Centre.x + (static_cast<double>(rt::Rnd()) - 0.5) * Width;
        const double z = Centre.z + (static_cast<double>(rt::Rnd()) - 0.5) * Depth;
        const double top = Floor + static_cast<double>(rt::Rnd()) * (static_cast<double>(Top) - Floor);
        // Left and right edge, four rows down the drop.
        for (std::size_t k = 0; k < 8; ++k) {
            D3DVERTEX& v = drops[d + k];
            v.x = static_cast<float>(x + ((k & 1) ? DropWidth : 0.0f));
            v.y = static_cast<float>(top - static_cast<double>(k / 2) * DropLength / 3);
            v.z = static_cast<float>(z);
            v.nx = 0, v.ny = 1, v.nz = 0;
            v.tu = (k & 1) ? 1.0f : 0.0f;
            v.tv = static_cast<float>(k / 2) / 3.0f;
        }
    }
    RainVertices = std::move(drops);
    RainCount = Drops * 8;
    RainFloor = Floor;
    RainTop = Top;
}
