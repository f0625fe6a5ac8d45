// Pixel format descriptions and conversions.
#include "platform/pixel_format.h"

#include "platform/constants.h"

namespace tarko::platform {

PixelFormat::PixelFormat(const DDPIXELFORMAT& pf) : pf_(pf) {
    int bits = pf.lRGBBitCount;
    if ((pf.lFlags & dx::DDPF_ZBUFFER) && pf.lZBufferBitDepth > 0 && bits == 0) bits = pf.lZBufferBitDepth;
    if ((pf.lFlags & dx::DDPF_BUMPDUDV) && pf.lBumpBitCount > 0 && bits == 0) bits = pf.lBumpBitCount;
    pf_.lRGBBitCount = bits;
    bytes_ = bits <= 0 ? 0 : bits <= 8 ? 1 : bits <= 16 ? 2 : 4;
    if (!(pf.lFlags & (dx::DDPF_ZBUFFER | dx::DDPF_BUMPDUDV))) {
        r_ = channel(pf.lRBitMask);
        g_ = channel(pf.lGBitMask);
        b_ = channel(pf.lBBitMask);
        if (pf.lFlags & dx::DDPF_ALPHAPIXELS) alpha_ = channel(pf.lRGBAlphaBitMask);
    }
}

PixelFormat::Channel PixelFormat::channel(std::int32_t mask_signed) {
    Channel c;
    c.mask = static_cast<std::uint32_t>(mask_signed);
    if (!c.mask) return c;
    while (!((c.mask >> c.shift) & 1u)) ++c.shift;
    while (c.shift + c.bits < 32 && ((c.mask >> (c.shift + c.bits)) & 1u)) ++c.bits;
    return c;
}

static DDPIXELFORMAT rgb(int bits, std::uint32_t a, std::uint32_t r, std::uint32_t g, std::uint32_t b) {
    DDPIXELFORMAT pf;
    pf.lFlags = dx::DDPF_RGB | (a ? dx::DDPF_ALPHAPIXELS : 0);
    pf.lRGBBitCount = bits;
    pf.lRBitMask = static_cast<std::int32_t>(r);
    pf.lGBitMask = static_cast<std::int32_t>(g);
    pf.lBBitMask = static_cast<std::int32_t>(b);
    pf.lRGBAlphaBitMask = static_cast<std::int32_t>(a);
    return pf;
}

PixelFormat PixelFormat::r5g6b5() { return PixelFormat(rgb(16, 0, 0xF800, 0x07E0, 0x001F)); }
PixelFormat PixelFormat::x1r5g5b5() { return PixelFormat(rgb(16, 0, 0x7C00, 0x03E0, 0x001F)); }
PixelFormat PixelFormat::a1r5g5b5() { return PixelFormat(rgb(16, 0x8000, 0x7C00, 0x03E0, 0x001F)); }
PixelFormat PixelFormat::a4r4g4b4() { return PixelFormat(rgb(16, 0xF000, 0x0F00, 0x00F0, 0x000F)); }
PixelFormat PixelFormat::x8r8g8b8() { return PixelFormat(rgb(32, 0, 0xFF0000, 0xFF00, 0xFF)); }
PixelFormat PixelFormat::a8r8g8b8() { return PixelFormat(rgb(32, 0xFF000000u, 0xFF0000, 0xFF00, 0xFF)); }

PixelFormat PixelFormat::bump_du_dv_8_8() {
    DDPIXELFORMAT pf;
    pf.lFlags = dx::DDPF_BUMPDUDV;
    pf.lBumpBitCount = 16;
    pf.lBumpDuBitMask = 255;
    pf.lBumpDvBitMask = 65280;
    pf.lBumpLuminanceBitMask = 0;
    return PixelFormat(pf);
}

PixelFormat PixelFormat::z(int bits) {
    DDPIXELFORMAT pf;
    pf.lFlags = dx::DDPF_ZBUFFER;
    pf.lZBufferBitDepth = bits;
    pf.lRGBBitCount = bits;
    pf.lRBitMask = bits >= 32 ? -1 : static_cast<std::int32_t>((1u << bits) - 1u);
    return PixelFormat(pf);
}

PixelFormat PixelFormat::rgb_of_depth(int bits) { return bits <= 16 ? r5g6b5() : x8r8g8b8(); }

bool PixelFormat::is_zbuffer() const { return (pf_.lFlags & dx::DDPF_ZBUFFER) != 0; }
bool PixelFormat::is_bump() const { return (pf_.lFlags & dx::DDPF_BUMPDUDV) != 0; }
bool PixelFormat::is_fourcc() const { return (pf_.lFlags & dx::DDPF_FOURCC) != 0; }

std::uint32_t PixelFormat::expand(std::uint32_t value, int bits) {
    if (bits <= 0) return 0;
    if (bits >= 8) return value >> (bits - 8);
    std::uint32_t out = 0;
    int filled = 0;
    while (filled < 8) {  // replicate the top bits down
        out = (out << bits) | value;
        filled += bits;
    }
    return (out >> (filled - 8)) & 255u;
}

std::uint32_t PixelFormat::to_argb(std::uint32_t raw) const {
    if (is_zbuffer() || is_bump()) return raw;
    auto get = [raw](const Channel& c) { return expand((raw & c.mask) >> c.shift, c.bits); };
    const std::uint32_t a = alpha_.bits ? get(alpha_) : 255u;
    return (a << 24) | (get(r_) << 16) | (get(g_) << 8) | get(b_);
}

std::uint32_t PixelFormat::from_argb(std::uint32_t argb) const {
    if (is_zbuffer() || is_bump()) return argb;
    auto put = [](std::uint32_t v8, const Channel& c) -> std::uint32_t {
        if (!c.bits) return 0;
        const std::uint32_t v = c.bits >= 8 ? (v8 << (c.bits - 8)) : (v8 >> (8 - c.bits));
        return (v << c.shift) & c.mask;
    };
    return put((argb >> 24) & 255u, alpha_) | put((argb >> 16) & 255u, r_) | put((argb >> 8) & 255u, g_) |
           put(argb & 255u, b_);
}

std::uint32_t PixelFormat::from_rgb_no_alpha(std::uint32_t argb) const {
    return from_argb(argb) & ~alpha_.mask;
}

bool PixelFormat::operator==(const PixelFormat& o) const {
    return pf_.lFlags == o.pf_.lFlags && pf_.lRGBBitCount == o.pf_.lRGBBitCount && pf_.lRBitMask == o.pf_.lRBitMask &&
           pf_.lGBitMask == o.pf_.lGBitMask && pf_.lBBitMask == o.pf_.lBBitMask &&
           pf_.lRGBAlphaBitMask == o.pf_.lRGBAlphaBitMask && pf_.lFourCC == o.pf_.lFourCC;
}

}  // namespace tarko::platform
