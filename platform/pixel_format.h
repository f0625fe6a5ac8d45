// Pixel formats of surfaces: the published DDPIXELFORMAT plus conversion to and
// from 32-bit ARGB. Narrowing drops low bits (as window-system drawing does);
// widening replicates the top bits so 0 and 255 survive a round trip.
#pragma once

#include <cstdint>

#include "platform/records.h"

namespace tarko::platform {

class PixelFormat {
public:
    PixelFormat() = default;
    explicit PixelFormat(const DDPIXELFORMAT& pf);

    static PixelFormat r5g6b5();
    static PixelFormat x1r5g5b5();
    static PixelFormat a1r5g5b5();
    static PixelFormat a4r4g4b4();
    static PixelFormat x8r8g8b8();
    static PixelFormat a8r8g8b8();
    static PixelFormat bump_du_dv_8_8();   // 16-bit signed du (low byte) and dv (high byte)
    static PixelFormat z(int bits);        // 16, 24 or 32-bit depth
    static PixelFormat rgb_of_depth(int bits);  // 16 -> R5G6B5, 32 (or 24) -> X8R8G8B8

    const DDPIXELFORMAT& dd() const { return pf_; }
    int bits() const { return pf_.lRGBBitCount; }
    int bytes_per_pixel() const { return bytes_; }
    bool valid() const { return bytes_ > 0; }
    bool has_alpha() const { return alpha_.bits > 0; }
    bool is_zbuffer() const;
    bool is_bump() const;
    bool is_fourcc() const;

    // Raw pixel value <-> 0xAARRGGBB. Formats without alpha read as opaque.
    std::uint32_t to_argb(std::uint32_t raw) const;
    std::uint32_t from_argb(std::uint32_t argb) const;
    // The same colour with the alpha bits left 0, as window-system drawing writes it.
    std::uint32_t from_rgb_no_alpha(std::uint32_t argb) const;

    bool operator==(const PixelFormat& o) const;

private:
    struct Channel {
        std::uint32_t mask = 0;
        int shift = 0;
        int bits = 0;
    };
    static Channel channel(std::int32_t mask);
    static std::uint32_t expand(std::uint32_t value, int bits);
    DDPIXELFORMAT pf_{};
    int bytes_ = 0;
    Channel r_, g_, b_, alpha_;
};

}  // namespace tarko::platform
