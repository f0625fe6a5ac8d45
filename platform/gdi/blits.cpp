// Blits and pixels of the window-system graphics layer: BitBlt, StretchBlt,
// StretchDIBits, GetPixel and SetPixel, on memory, surface and screen DCs.
#include <algorithm>
#include <cstdlib>

#include "platform/gdi/gdi.h"
#include "platform/gdi/registry.h"

namespace tarko::platform::gdi {
using namespace detail;
namespace {

// What a DC draws into, resolved for one call.
struct Canvas {
    BitmapView view;                      // memory DCs
    std::shared_ptr<DcTarget> target;     // target DCs
    bool screen = false;                  // accepts drawing, keeps nothing
    bool valid = false;

    int width() const { return target ? target->width() : view.width; }
    int height() const { return target ? target->height() : view.height; }
    std::uint32_t get(int x, int y) const { return target ? target->get(x, y) : read_px(view, x, y); }
    void set(int x, int y, std::uint32_t rgb) const {
        if (target) target->set(x, y, rgb);
        else write_px(view, x, y, rgb);
    }
};

Canvas canvas_of(HDC hdc) {
    Canvas c;
    auto dc = reg().get<Dc>(hdc);
    if (!dc) return c;
    c.valid = true;
    switch (dc->kind) {
    case Dc::Kind::Screen: c.screen = true; break;
    case Dc::Kind::Target: c.target = dc->target; break;
    case Dc::Kind::Memory:
        if (auto bm = reg().get<Bitmap>(dc->bitmap)) c.view = bm->view();
        break;
    }
    return c;
}

std::uint32_t apply_rop(Long rop, std::uint32_t src, std::uint32_t dst, bool& ok) {
    ok = true;
    switch (rop) {
    case SRCCOPY: return src;
    case NOTSRCCOPY: return ~src & 0xFFFFFF;
    case SRCPAINT: return src | dst;
    case SRCAND: return src & dst;
    case SRCINVERT: return src ^ dst;
    case BLACKNESS: return 0;
    case WHITENESS: return 0xFFFFFF;
    default: ok = false; return dst;
    }
}

std::uint32_t colorref_to_rgb(COLORREF c) {
    const auto u = static_cast<std::uint32_t>(c);
    return (u & 0xFF) << 16 | (u & 0xFF00) | (u >> 16 & 0xFF);
}
COLORREF rgb_to_colorref(std::uint32_t rgb) { return static_cast<COLORREF>(colorref_to_rgb(static_cast<COLORREF>(rgb))); }


}  // namespace

bool BitBlt(HDC dest, Long x, Long y, Long width, Long height, HDC source, Long sx, Long sy, Long rop) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    const Canvas d = canvas_of(dest);
    const bool needs_source = rop != BLACKNESS && rop != WHITENESS;
    const Canvas s = needs_source ? canvas_of(source) : Canvas{};
    if (!d.valid || (needs_source && !s.valid)) return false;
    bool ok = false;
    apply_rop(rop, 0, 0, ok);
    if (!ok) return false;
    if (width <= 0 || height <= 0 || d.screen) return true;
    // Clip to the target, then to the source, moving both origins together.
    std::int64_t x0 = x, y0 = y, sx0 = sx, sy0 = sy, w = width, h = height;
    auto clip = [&](std::int64_t& a, std::int64_t& b, std::int64_t& len, std::int64_t limit) {
        if (a < 0) { b -= a; len += a; a = 0; }
        if (a + len > limit) len = limit - a;
    };
    clip(x0, sx0, w, d.width());
    clip(y0, sy0, h, d.height());
    if (needs_source && !s.screen) {
        clip(sx0, x0, w, s.width());
        clip(sy0, y0, h, s.height());
    }
    if (w <= 0 || h <= 0) return true;
    // The source is read whole first, so a copy within one bitmap cannot smear.
    std::vector<std::uint32_t> source_pixels(static_cast<std::size_t>(w * h), 0);
    if (needs_source && !s.screen)
        for (std::int64_t j = 0; j < h; ++j)
            for (std::int64_t i = 0; i < w; ++i)
                source_pixels[static_cast<std::size_t>(j * w + i)] =
                    s.get(static_cast<int>(sx0 + i), static_cast<int>(sy0 + j));
    for (std::int64_t j = 0; j < h; ++j)
        for (std::int64_t i = 0; i < w; ++i) {
            const int dx = static_cast<int>(x0 + i), dy = static_cast<int>(y0 + j);
            const std::uint32_t dst = rop == SRCCOPY || !needs_source ? 0 : d.get(dx, dy);
            d.set(dx, dy, apply_rop(rop, source_pixels[static_cast<std::size_t>(j * w + i)], dst, ok));
        }
    return true;
}

bool StretchBlt(HDC dest, Long x, Long y, Long width, Long height, HDC source, Long sx, Long sy, Long swidth,
                Long sheight, Long rop) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    const Canvas d = canvas_of(dest);
    const Canvas s = canvas_of(source);
    if (!d.valid || !s.valid) return false;
    bool ok = false;
    apply_rop(rop, 0, 0, ok);
    if (!ok) return false;
    if (width == 0 || height == 0 || swidth == 0 || sheight == 0 || d.screen) return true;
    const std::int64_t dw = std::abs(static_cast<std::int64_t>(width)), dh = std::abs(static_cast<std::int64_t>(height));
    const std::int64_t sw = std::abs(static_cast<std::int64_t>(swidth)), sh = std::abs(static_cast<std::int64_t>(sheight));
    const std::int64_t left = width < 0 ? static_cast<std::int64_t>(x) + width + 1 : x;
    const std::int64_t top = height < 0 ? static_cast<std::int64_t>(y) + height + 1 : y;
    const std::int64_t sleft = swidth < 0 ? static_cast<std::int64_t>(sx) + swidth + 1 : sx;
    const std::int64_t stop = sheight < 0 ? static_cast<std::int64_t>(sy) + sheight + 1 : sy;
    const bool flip_x = (width < 0) != (swidth < 0), flip_y = (height < 0) != (sheight < 0);
    const std::int64_t i0 = std::max<std::int64_t>(0, -left), i1 = std::min<std::int64_t>(dw, d.width() - left);
    const std::int64_t j0 = std::max<std::int64_t>(0, -top), j1 = std::min<std::int64_t>(dh, d.height() - top);
    for (std::int64_t j = j0; j < j1; ++j) {
        const std::int64_t jj = flip_y ? dh - 1 - j : j;
        const std::int64_t syy = stop + (2 * jj + 1) * sh / (2 * dh);
        if (syy < 0 || syy >= s.height()) continue;
        for (std::int64_t i = i0; i < i1; ++i) {
            const std::int64_t ii = flip_x ? dw - 1 - i : i;
            const std::int64_t sxx = sleft + (2 * ii + 1) * sw / (2 * dw);
            if (sxx < 0 || sxx >= s.width()) continue;
            const int dx = static_cast<int>(left + i), dy = static_cast<int>(top + j);
            const std::uint32_t src = s.screen ? 0 : s.get(static_cast<int>(sxx), static_cast<int>(syy));
            const std::uint32_t dst = rop == SRCCOPY ? 0 : d.get(dx, dy);
            d.set(dx, dy, apply_rop(rop, src, dst, ok));
        }
    }
    return true;
}

Long StretchDIBits(HDC dest, Long x, Long y, Long width, Long height, Long sx, Long sy, Long swidth, Long sheight,
                   std::span<const std::uint8_t> bits, const BITMAPINFO& info, Long, Long rop) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    const Canvas d = canvas_of(dest);
    DibReader dib;
    if (!d.valid || !dib.init(info, bits)) return 0;
    bool ok = false;
    apply_rop(rop, 0, 0, ok);
    if (!ok || width <= 0 || height <= 0 || swidth <= 0 || sheight <= 0) return 0;
    if (d.screen) return height;
    const std::int64_t dw = width, dh = height, sw = swidth, sh = sheight;
    for (std::int64_t j = std::max<std::int64_t>(0, -static_cast<std::int64_t>(y));
         j < std::min<std::int64_t>(dh, static_cast<std::int64_t>(d.height()) - y); ++j) {
        const std::int64_t syy = sy + (2 * j + 1) * sh / (2 * dh);
        if (syy < 0 || syy >= dib.height) continue;
        for (std::int64_t i = std::max<std::int64_t>(0, -static_cast<std::int64_t>(x));
             i < std::min<std::int64_t>(dw, static_cast<std::int64_t>(d.width()) - x); ++i) {
            const std::int64_t sxx = sx + (2 * i + 1) * sw / (2 * dw);
            if (sxx < 0 || sxx >= dib.width) continue;
            const int dx = static_cast<int>(x + i), dy = static_cast<int>(y + j);
            const std::uint32_t dst = rop == SRCCOPY ? 0 : d.get(dx, dy);
            d.set(dx, dy, apply_rop(rop, dib.get(sxx, syy), dst, ok));
        }
    }
    return height;
}

COLORREF GetPixel(HDC hdc, Long x, Long y) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    const Canvas c = canvas_of(hdc);
    if (!c.valid || c.screen || x < 0 || y < 0 || x >= c.width() || y >= c.height()) return CLR_INVALID;
    return rgb_to_colorref(c.get(x, y));
}

COLORREF SetPixel(HDC hdc, Long x, Long y, COLORREF colour) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    const Canvas c = canvas_of(hdc);
    if (!c.valid || c.screen || x < 0 || y < 0 || x >= c.width() || y >= c.height()) return CLR_INVALID;
    c.set(x, y, colorref_to_rgb(colour));
    return rgb_to_colorref(c.get(x, y));
}

}  // namespace tarko::platform::gdi
