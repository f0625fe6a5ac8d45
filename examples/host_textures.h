// Textures the example hosts draw themselves, texel by texel.
#pragma once

#include <cstdint>
#include <functional>

#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "platform/pixel_format.h"

namespace examples {

// An opaque A8R8G8B8 colour, each channel clamped to 0..255.
inline std::uint32_t rgb(double r, double g, double b) {
    auto c = [](double v) { return static_cast<std::uint32_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); };
    return 0xFF000000u | (c(r) << 16) | (c(g) << 8) | c(b);
}

// The device's first 32-bit texture format with alpha, else its first one.
inline DDPIXELFORMAT alpha_texture_format(tarko_DX7& engine) {
    auto formats = engine.D3D_DEV->getTextureFormatsEnum();
    DDPIXELFORMAT pf, chosen;
    for (tarko::Long i = 1; i <= formats->getCount(); ++i) {
        formats->getItem(i, pf);
        if ((pf.lFlags & dx::DDPF_ALPHAPIXELS) && pf.lRGBBitCount == 32) return pf;
        if (i == 1) chosen = pf;
    }
    return chosen;
}

// A `size` x `size` texture of texel(x, y) (A8R8G8B8) in `format`, or in the
// device's first texture format when none is given.
inline tarko::Ref<DirectDrawSurface7> make_texture(tarko_DX7& engine, int size,
                                                   const std::function<std::uint32_t(int, int)>& texel,
                                                   const DDPIXELFORMAT* format = nullptr) {
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.lWidth = desc.lHeight = size;
    if (format) desc.ddpfPixelFormat = *format;
    else engine.D3D_DEV->getTextureFormatsEnum()->getItem(1, desc.ddpfPixelFormat);
    auto texture = engine.ddraw->createSurface(desc);
    const tarko::platform::PixelFormat pixels(desc.ddpfPixelFormat);
    texture->lock(RECT{}, desc, 0, 0);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            texture->setLockedPixel(x, y, static_cast<tarko::Long>(pixels.from_argb(texel(x, y))));
    texture->unlock(RECT{});
    return texture;
}

}  // namespace examples
