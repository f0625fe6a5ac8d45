// Surfaces: memory, blits, text, flip chain and locked access.
#include "platform/surface.h"

#include <algorithm>
#include <cstring>

#include "platform/constants.h"
#include "platform/ddraw.h"
#include "platform/status.h"
#include "platform/trace.h"
#include "platform/window.h"
#include "runtime/files.h"

namespace {
const std::uint8_t kFont[256][13] = {
#include "platform/font_8x13.inc"
};
constexpr int kGlyphWidth = 8;
constexpr int kGlyphHeight = 13;

bool is_zero(const RECT& r) { return r.Left == 0 && r.Top == 0 && r.Right == 0 && r.Bottom == 0; }
}  // namespace

using tarko::Long;
namespace platform = tarko::platform;

DirectDrawSurface7::DirectDrawSurface7(std::shared_ptr<platform::DisplayState> display, const DDSURFACEDESC2& desc,
                                       const platform::PixelFormat& format)
    : display_(std::move(display)), desc_(desc), format_(format) {
    desc_.ddpfPixelFormat = format_.dd();
    if (!is_windowed_primary()) {
        const int bpp = std::max(1, format_.bytes_per_pixel());
        pitch_ = (desc_.lWidth * bpp + 3) & ~3;
        pixels_.assign(static_cast<std::size_t>(pitch_) * static_cast<std::size_t>(desc_.lHeight), 0);
    }
    desc_.lPitch = pitch_;
}

DirectDrawSurface7::~DirectDrawSurface7() = default;

bool DirectDrawSurface7::is_windowed_primary() const {
    return (desc_.ddsCaps.lCaps & dx::DDSCAPS_PRIMARYSURFACE) && !(desc_.ddsCaps.lCaps & dx::DDSCAPS_FLIP);
}

std::shared_ptr<platform::Window> DirectDrawSurface7::target_window() const {
    Long hwnd = clipper_ ? clipper_->getHWnd() : 0;
    if (!hwnd && display_) hwnd = display_->hwnd;
    return platform::windows().find(hwnd);
}

tarko::Ref<DirectDrawSurface7> DirectDrawSurface7::getAttachedSurface(const DDSCAPS2& caps) {
    platform::record("DirectDrawSurface7", "getAttachedSurface", caps.lCaps);
    for (const auto& s : attached_)
        if ((s->caps() & caps.lCaps) == caps.lCaps) return tarko::Ref<DirectDrawSurface7>(s);
    platform::fail(platform::DDERR_NOTFOUND, "getAttachedSurface");
}

void DirectDrawSurface7::addAttachedSurface(const tarko::Ref<DirectDrawSurface7>& surface) {
    platform::record("DirectDrawSurface7", "addAttachedSurface", surface ? surface->caps() : 0);
    if (!surface || surface.get() == this) platform::fail(platform::DDERR_INVALIDPARAMS, "addAttachedSurface");
    if (surface->format().is_zbuffer() &&
        (surface->width() < width() || surface->height() < height()))
        platform::fail(platform::DDERR_INVALIDPARAMS, "addAttachedSurface");
    attached_.push_back(surface.shared());
}

void DirectDrawSurface7::deleteAttachedSurface(const tarko::Ref<DirectDrawSurface7>& surface) {
    std::erase(attached_, surface.shared());
}

std::shared_ptr<DirectDrawSurface7> DirectDrawSurface7::zbuffer() const {
    for (const auto& s : attached_)
        if (s->format().is_zbuffer()) return s;
    return nullptr;
}

void DirectDrawSurface7::flip(const tarko::Ref<DirectDrawSurface7>& target_override, Long flags) {
    settle();
    platform::record("DirectDrawSurface7", "flip", flags);
    if (lost_) platform::fail(platform::DDERR_SURFACELOST, "flip");
    std::shared_ptr<DirectDrawSurface7> back = target_override.shared();
    if (!back) {
        for (const auto& s : attached_)
            if (s->caps() & dx::DDSCAPS_BACKBUFFER) back = s;
    }
    if (!back || back->pixels_.size() != pixels_.size()) platform::fail(platform::DDERR_INVALIDOBJECT, "flip");
    if (back->lost_) platform::fail(platform::DDERR_SURFACELOST, "flip");
    back->settle();
    std::swap(pixels_, back->pixels_);
    touch();
    back->touch();
    if (auto w = target_window()) w->present(to_frame(), 0, 0);
}

static void stretch_copy(const DirectDrawSurface7& src, const RECT& s, DirectDrawSurface7& dst, const RECT& d,
                         bool same_format) {
    const int dw = d.Right - d.Left, dh = d.Bottom - d.Top;
    const int sw = s.Right - s.Left, sh = s.Bottom - s.Top;
    if (same_format && sw == dw && sh == dh) {
        // A plain copy: whole rows, cut to the destination.
        const int x0 = std::max(0, -d.Left), x1 = std::min(dw, dst.width() - d.Left);
        const int bpp = dst.format().bytes_per_pixel();
        for (int y = std::max(0, -d.Top); y < std::min(dh, dst.height() - d.Top) && x0 < x1; ++y)
            std::memmove(dst.pixels() + static_cast<std::size_t>(d.Top + y) * dst.pitch() +
                             static_cast<std::size_t>(d.Left + x0) * bpp,
                         src.pixels() + static_cast<std::size_t>(s.Top + y) * src.pitch() +
                             static_cast<std::size_t>(s.Left + x0) * bpp,
                         static_cast<std::size_t>(x1 - x0) * bpp);
        return;
    }
    for (int y = 0; y < dh; ++y) {
        const int ty = d.Top + y;
        if (ty < 0 || ty >= dst.height()) continue;
        const int sy = s.Top + static_cast<int>((static_cast<long long>(y) * sh) / dh);
        if (sy < 0 || sy >= src.height()) continue;
        for (int x = 0; x < dw; ++x) {
            const int tx = d.Left + x;
            if (tx < 0 || tx >= dst.width()) continue;
            const int sx = s.Left + static_cast<int>((static_cast<long long>(x) * sw) / dw);
            if (sx < 0 || sx >= src.width()) continue;
            const std::uint32_t raw = src.raw_at(sx, sy);
            dst.set_raw(tx, ty, same_format ? raw : dst.format().from_argb(src.format().to_argb(raw)));
        }
    }
}

Long DirectDrawSurface7::blt(const RECT& destRect, const tarko::Ref<DirectDrawSurface7>& source, const RECT& srcRect,
                             Long flags) {
    settle();
    if (source) source->settle();
    platform::record("DirectDrawSurface7", "blt", destRect.Left, destRect.Top, destRect.Right, destRect.Bottom,
                     srcRect.Left, srcRect.Top, srcRect.Right, srcRect.Bottom, flags);
    if (forced_blt_status_ != 0) return forced_blt_status_;
    if (lost_ || (source && source->lost_)) return platform::DDERR_SURFACELOST;
    if (!source) return platform::DDERR_INVALIDPARAMS;
    const RECT s = is_zero(srcRect) ? source->whole() : srcRect;
    if (s.Right <= s.Left || s.Bottom <= s.Top || s.Left < 0 || s.Top < 0 || s.Right > source->width() ||
        s.Bottom > source->height())
        return platform::DDERR_INVALIDRECT;

    if (is_windowed_primary()) {
        auto window = target_window();
        if (!window) return platform::DDERR_NOCLIPLIST;
        const RECT client = window->client_rect_on_screen();
        RECT d = is_zero(destRect) ? client : destRect;
        const int dw = d.Right - d.Left, dh = d.Bottom - d.Top;
        if (dw <= 0 || dh <= 0) return platform::DDERR_INVALIDRECT;
        platform::Frame frame;
        frame.width = dw;
        frame.height = dh;
        frame.pixels.resize(static_cast<std::size_t>(dw) * static_cast<std::size_t>(dh));
        const int sw = s.Right - s.Left, sh = s.Bottom - s.Top;
        std::vector<int> cols(static_cast<std::size_t>(dw));
        for (int x = 0; x < dw; ++x)
            cols[static_cast<std::size_t>(x)] = s.Left + static_cast<int>((static_cast<long long>(x) * sw) / dw);
        for (int y = 0; y < dh; ++y) {
            const int sy = s.Top + static_cast<int>((static_cast<long long>(y) * sh) / dh);
            source->read_rgb_row(sy, cols.data(), dw, frame.pixels.data() + static_cast<std::size_t>(y) * dw);
        }
        window->present(frame, d.Left - client.Left, d.Top - client.Top);
        return platform::DD_OK;
    }

    const RECT d = is_zero(destRect) ? whole() : destRect;
    if (d.Right <= d.Left || d.Bottom <= d.Top) return platform::DDERR_INVALIDRECT;
    if (source.get() == this) {
        // Overlapping copy inside one surface: go through a snapshot.
        DirectDrawSurface7 copy(display_, desc_, format_);
        copy.pixels_ = pixels_;
        stretch_copy(copy, s, *this, d, true);
    } else {
        stretch_copy(*source, s, *this, d, source->format() == format_);
    }
    touch();
    return platform::DD_OK;
}

Long DirectDrawSurface7::bltColorFill(const RECT& destRect, Long colour) {
    settle();
    platform::record("DirectDrawSurface7", "bltColorFill", destRect.Left, destRect.Top, destRect.Right,
                     destRect.Bottom, colour);
    if (lost_) return platform::DDERR_SURFACELOST;
    if (pixels_.empty()) return platform::DD_OK;
    RECT d = is_zero(destRect) ? whole() : destRect;
    d.Left = std::max(0, d.Left);
    d.Top = std::max(0, d.Top);
    d.Right = std::min(width(), d.Right);
    d.Bottom = std::min(height(), d.Bottom);
    for (int y = d.Top; y < d.Bottom; ++y)
        for (int x = d.Left; x < d.Right; ++x) set_raw(x, y, static_cast<std::uint32_t>(colour));
    touch();
    return platform::DD_OK;
}

void DirectDrawSurface7::setForeColor(Long colour) {
    platform::record("DirectDrawSurface7", "setForeColor", colour);
    fore_colour_ = colour;
}

void DirectDrawSurface7::drawText(Long x, Long y, const std::string& text, bool use_current_position) {
    settle();
    platform::record("DirectDrawSurface7", "drawText", x, y, text, use_current_position);
    if (pixels_.empty()) return;
    // The fore colour is a window-system colour: red in the low byte.
    const auto c = static_cast<std::uint32_t>(fore_colour_);
    const std::uint32_t argb = 0xFF000000u | ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
    const std::uint32_t raw = format_.from_rgb_no_alpha(argb);
    long long pen_x = x;
    for (char32_t cp : tarko::runtime::utf8_to_codepoints(text)) {
        const unsigned glyph = cp < 256 ? static_cast<unsigned>(cp) : '?';
        for (int row = 0; row < kGlyphHeight; ++row) {
            const long long py = static_cast<long long>(y) + row;
            if (py < 0 || py >= height()) continue;
            const std::uint8_t bits = kFont[glyph][row];
            for (int col = 0; col < kGlyphWidth; ++col) {
                const long long px = pen_x + col;
                if (px < 0 || px >= width() || !(bits & (0x80 >> col))) continue;
                set_raw(static_cast<int>(px), static_cast<int>(py), raw);
            }
        }
        pen_x += kGlyphWidth;
        if (pen_x >= width()) break;
    }
    touch();
}

void DirectDrawSurface7::getSurfaceDesc(DDSURFACEDESC2& desc) const {
    platform::record("DirectDrawSurface7", "getSurfaceDesc");
    desc = desc_;
}

void DirectDrawSurface7::setClipper(const tarko::Ref<DirectDrawClipper>& clipper) {
    platform::record("DirectDrawSurface7", "setClipper");
    clipper_ = clipper;
}

void DirectDrawSurface7::setColorKey(Long, const DDCOLORKEY& key) {
    colour_key_ = key;
    has_colour_key_ = true;
    touch();
}

DDCOLORKEY DirectDrawSurface7::getColorKey(Long) const {
    if (!has_colour_key_) tarko::platform::fail(tarko::platform::DDERR_NOTFOUND, "getColorKey");
    return colour_key_;
}

void DirectDrawSurface7::lock(const RECT& rect, DDSURFACEDESC2& desc, Long flags, Long) {
    settle();
    platform::record("DirectDrawSurface7", "lock", rect.Left, rect.Top, rect.Right, rect.Bottom, flags);
    if (lost_) platform::fail(platform::DDERR_SURFACELOST, "lock");
    if (pixels_.empty()) platform::fail(platform::DDERR_UNSUPPORTED, "lock");
    locked_ = true;
    desc = desc_;
}

Long DirectDrawSurface7::getLockedPixel(Long x, Long y) {
    settle();
    if (!locked_) platform::fail(platform::DDERR_NOTLOCKED, "getLockedPixel");
    if (x < 0 || y < 0 || x >= width() || y >= height()) return 0;
    return static_cast<Long>(raw_at(x, y));
}

void DirectDrawSurface7::setLockedPixel(Long x, Long y, Long value) {
    settle();
    if (!locked_) platform::fail(platform::DDERR_NOTLOCKED, "setLockedPixel");
    if (x < 0 || y < 0 || x >= width() || y >= height()) return;
    set_raw(x, y, static_cast<std::uint32_t>(value));
}

void DirectDrawSurface7::unlock(const RECT&) {
    platform::record("DirectDrawSurface7", "unlock");
    if (!locked_) platform::fail(platform::DDERR_NOTLOCKED, "unlock");
    locked_ = false;
    touch();
}

std::uint32_t DirectDrawSurface7::raw_at(int x, int y) const {
    settle();
    const std::uint8_t* p = pixels_.data() + static_cast<std::size_t>(y) * pitch_ +
                            static_cast<std::size_t>(x) * format_.bytes_per_pixel();
    switch (format_.bytes_per_pixel()) {
    case 1: return p[0];
    case 2: { std::uint16_t v; std::memcpy(&v, p, 2); return v; }
    default: { std::uint32_t v; std::memcpy(&v, p, 4); return v; }
    }
}

void DirectDrawSurface7::set_raw(int x, int y, std::uint32_t value) {
    settle();
    std::uint8_t* p = pixels_.data() + static_cast<std::size_t>(y) * pitch_ +
                      static_cast<std::size_t>(x) * format_.bytes_per_pixel();
    switch (format_.bytes_per_pixel()) {
    case 1: p[0] = static_cast<std::uint8_t>(value); break;
    case 2: { const auto v = static_cast<std::uint16_t>(value); std::memcpy(p, &v, 2); break; }
    default: std::memcpy(p, &value, 4); break;
    }
}

std::uint32_t DirectDrawSurface7::argb_at(int x, int y) const { return format_.to_argb(raw_at(x, y)); }

platform::Frame DirectDrawSurface7::to_frame() const {
    platform::Frame f;
    f.width = width();
    f.height = height();
    f.pixels.assign(static_cast<std::size_t>(f.width) * static_cast<std::size_t>(f.height), 0);
    if (pixels_.empty()) return f;
    std::vector<int> cols(static_cast<std::size_t>(f.width));
    for (int x = 0; x < f.width; ++x) cols[static_cast<std::size_t>(x)] = x;
    for (int y = 0; y < f.height; ++y)
        read_rgb_row(y, cols.data(), f.width, f.pixels.data() + static_cast<std::size_t>(y) * f.width);
    return f;
}

void DirectDrawSurface7::read_rgb_row(int y, const int* cols, int n, std::uint32_t* out) const {
    settle();
    const std::uint8_t* row = pixels_.data() + static_cast<std::size_t>(y) * pitch_;
    if (format_ == platform::PixelFormat::x8r8g8b8() || format_ == platform::PixelFormat::a8r8g8b8()) {
        for (int i = 0; i < n; ++i) {
            std::uint32_t v;
            std::memcpy(&v, row + static_cast<std::size_t>(cols[i]) * 4, 4);
            out[i] = v & 0xFFFFFFu;
        }
    } else if (format_ == platform::PixelFormat::r5g6b5()) {
        for (int i = 0; i < n; ++i) {
            std::uint16_t v;
            std::memcpy(&v, row + static_cast<std::size_t>(cols[i]) * 2, 2);
            // Widening replicates the top bits.
            const std::uint32_t r = (v >> 11) & 31u, g = (v >> 5) & 63u, b = v & 31u;
            out[i] = ((r << 3 | r >> 2) << 16) | ((g << 2 | g >> 4) << 8) | (b << 3 | b >> 2);
        }
    } else {
        for (int i = 0; i < n; ++i) out[i] = argb_at(cols[i], y) & 0xFFFFFFu;
    }
}

void DirectDrawClipper::setHWnd(Long hwnd) {
    platform::record("DirectDrawClipper", "setHWnd", hwnd);
    if (!platform::windows().find(hwnd)) platform::fail(platform::DDERR_INVALIDPARAMS, "setHWnd");
    hwnd_ = hwnd;
}

void DirectDrawSurface7::set_pending_writer(const void* owner, std::function<void()> settle) {
    if (writer_ != owner) this->settle();
    writer_ = owner;
    settle_ = std::move(settle);
}

void DirectDrawSurface7::clear_pending_writer(const void* owner) {
    if (writer_ != owner) return;
    writer_ = nullptr;
    settle_ = nullptr;
}
