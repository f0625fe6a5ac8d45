// Handle registry, bitmaps, device contexts and blits of the window-system
// graphics layer.
#include "platform/gdi/gdi.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <variant>

#include "platform/gdi/picture.h"
#include "runtime/numeric.h"

namespace tarko::platform::gdi {
namespace {

struct Bitmap {
    int width = 0;
    int height = 0;
    int bpp = 32;
    int stride = 0;
    bool bottom_up = false;
    bool is_stock = false;
    bool is_dib = false;
    std::vector<std::uint8_t> memory;
    HDC selected_in = 0;

    BitmapView view() {
        return BitmapView{width, height, bpp, stride, bottom_up, memory.data()};
    }
};

struct Palette {
    LOGPALETTE log;
};

struct Dc {
    enum class Kind { Memory, Screen, Target } kind = Kind::Memory;
    HBITMAP bitmap = 0;                   // memory DCs
    std::shared_ptr<DcTarget> target;     // target DCs
};

using Object = std::variant<std::shared_ptr<Bitmap>, std::shared_ptr<Palette>, std::shared_ptr<Dc>>;

constexpr HWND kDesktop = 0x7FFF0010;

struct Registry {
    std::recursive_mutex mutex;
    std::map<Long, Object> objects;
    Long next = 0x04000000;
    HBITMAP stock_bitmap = 0;
    bool clipboard_open = false;
    Long clipboard = 0;
    std::map<testing::Call, int> failures;

    Registry() {
        auto stock = std::make_shared<Bitmap>();
        stock->width = stock->height = 1;
        stock->stride = 4;
        stock->memory.assign(4, 0);
        stock->is_stock = true;
        stock_bitmap = add(stock);
    }
    Long add(Object object) {
        const Long handle = next;
        next += 4;
        objects.emplace(handle, std::move(object));
        return handle;
    }
    template <class T> std::shared_ptr<T> get(Long handle) {
        auto it = objects.find(handle);
        if (it == objects.end()) return nullptr;
        if (auto* p = std::get_if<std::shared_ptr<T>>(&it->second)) return *p;
        return nullptr;
    }
    bool should_fail(testing::Call call) {
        auto it = failures.find(call);
        if (it == failures.end() || it->second <= 0) return false;
        --it->second;
        return true;
    }
};

Registry& reg() {
    static Registry r;
    return r;
}

std::uint32_t read_px(const BitmapView& v, int x, int y) {
    const std::uint8_t* p = v.row(y) + static_cast<std::ptrdiff_t>(x) * (v.bits_per_pixel / 8);
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16;
}

void write_px(const BitmapView& v, int x, int y, std::uint32_t rgb) {
    std::uint8_t* p = v.row(y) + static_cast<std::ptrdiff_t>(x) * (v.bits_per_pixel / 8);
    p[0] = static_cast<std::uint8_t>(rgb);
    p[1] = static_cast<std::uint8_t>(rgb >> 8);
    p[2] = static_cast<std::uint8_t>(rgb >> 16);
}

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

std::shared_ptr<Bitmap> make_bitmap(std::int64_t width, std::int64_t height, int bpp, bool bottom_up) {
    if (width <= 0 || height <= 0 || width > kMaxBitmapSide || height > kMaxBitmapSide ||
        width * height > kMaxBitmapPixels)
        return nullptr;
    auto bm = std::make_shared<Bitmap>();
    bm->width = static_cast<int>(width);
    bm->height = static_cast<int>(height);
    bm->bpp = bpp;
    bm->stride = static_cast<int>(dib_stride(width, bpp));
    bm->bottom_up = bottom_up;
    bm->memory.assign(static_cast<std::size_t>(bm->stride) * bm->height, 0);
    return bm;
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

// Reads pixel (x, y from the top) of a DIB held in memory, 0x00RRGGBB.
struct DibReader {
    const BITMAPINFO* info = nullptr;
    std::span<const std::uint8_t> bits;
    std::int64_t width = 0, height = 0, stride = 0;
    int bpp = 0;
    bool bottom_up = true;

    bool init(const BITMAPINFO& i, std::span<const std::uint8_t> b) {
        const auto& h = i.bmiHeader;
        if (h.biCompression != BI_RGB || (h.biBitCount != 8 && h.biBitCount != 24 && h.biBitCount != 32)) return false;
        if (h.biWidth <= 0 || h.biHeight == 0 || h.biWidth > kMaxBitmapSide) return false;
        info = &i;
        bits = b;
        width = h.biWidth;
        height = std::abs(static_cast<std::int64_t>(h.biHeight));
        if (height > kMaxBitmapSide) return false;
        bpp = h.biBitCount;
        bottom_up = h.biHeight > 0;
        stride = dib_stride(width, bpp);
        // The last row needs only its pixel bytes, not its padding.
        const std::int64_t need = stride * (height - 1) + (width * bpp + 7) / 8;
        return static_cast<std::int64_t>(bits.size()) >= need;
    }
    std::uint32_t get(std::int64_t x, std::int64_t y) const {
        const std::int64_t row = bottom_up ? height - 1 - y : y;
        const std::uint8_t* p = bits.data() + row * stride;
        if (bpp == 8) return static_cast<std::uint32_t>(info->bmiColors[p[x]]) & 0xFFFFFF;
        p += x * (bpp / 8);
        return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
               static_cast<std::uint32_t>(p[2]) << 16;
    }
};

}  // namespace

std::int64_t dib_stride(std::int64_t width, int bits_per_pixel) { return (width * bits_per_pixel + 31) / 32 * 4; }

HDC CreateCompatibleDC(HDC) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (r.should_fail(testing::Call::CreateCompatibleDC)) return 0;
    auto dc = std::make_shared<Dc>();
    dc->bitmap = r.stock_bitmap;
    return r.add(dc);
}

bool DeleteDC(HDC hdc) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto dc = r.get<Dc>(hdc);
    if (!dc || dc->kind != Dc::Kind::Memory) return false;
    if (auto bm = r.get<Bitmap>(dc->bitmap)) bm->selected_in = 0;
    r.objects.erase(hdc);
    return true;
}

HWND GetDesktopWindow() { return kDesktop; }

HDC GetDC(HWND) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (r.should_fail(testing::Call::GetDC)) return 0;
    auto dc = std::make_shared<Dc>();
    dc->kind = Dc::Kind::Screen;
    return r.add(dc);
}

Long ReleaseDC(HWND, HDC hdc) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto dc = r.get<Dc>(hdc);
    if (!dc || dc->kind != Dc::Kind::Screen) return 0;
    r.objects.erase(hdc);
    return 1;
}

HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto dc = r.get<Dc>(hdc);
    auto bm = r.get<Bitmap>(object);
    if (!dc || dc->kind != Dc::Kind::Memory || !bm) return 0;
    if (dc->bitmap == object) return object;
    if (bm->selected_in != 0 && !bm->is_stock) return 0;
    const HBITMAP previous = dc->bitmap;
    if (auto old = r.get<Bitmap>(previous)) old->selected_in = 0;
    bm->selected_in = hdc;
    dc->bitmap = object;
    return previous;
}

bool DeleteObject(HGDIOBJ object) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (auto bm = r.get<Bitmap>(object)) {
        if (bm->is_stock || bm->selected_in != 0) return false;
        if (r.clipboard == object) r.clipboard = 0;
        r.objects.erase(object);
        return true;
    }
    if (r.get<Palette>(object)) {
        r.objects.erase(object);
        return true;
    }
    return false;
}

HBITMAP CreateDIBSection(HDC, const BITMAPINFO& info, Long, std::uint8_t*& bits, Long, Long) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    bits = nullptr;
    const auto& h = info.bmiHeader;
    if (r.should_fail(testing::Call::CreateDIBSection)) return 0;
    if (h.biSize < 40 || h.biPlanes != 1 || h.biCompression != BI_RGB || (h.biBitCount != 24 && h.biBitCount != 32))
        return 0;
    auto bm = make_bitmap(h.biWidth, std::abs(static_cast<std::int64_t>(h.biHeight)), h.biBitCount, h.biHeight > 0);
    if (!bm) return 0;
    bm->is_dib = true;
    bits = bm->memory.data();
    return r.add(bm);
}

HBITMAP CreateCompatibleBitmap(HDC, Long width, Long height) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (r.should_fail(testing::Call::CreateCompatibleBitmap)) return 0;
    auto bm = make_bitmap(width, height, 32, false);
    return bm ? r.add(bm) : 0;
}

HBITMAP CreateDIBitmap(HDC, const BITMAPINFOHEADER& header, Long init, std::span<const std::uint8_t> bits,
                       const BITMAPINFO& info, Long) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto bm = make_bitmap(header.biWidth, std::abs(static_cast<std::int64_t>(header.biHeight)), 32, false);
    if (!bm) return 0;
    if (init & CBM_INIT) {
        DibReader dib;
        if (!dib.init(info, bits)) return 0;
        const BitmapView v = bm->view();
        const std::int64_t w = std::min<std::int64_t>(dib.width, v.width);
        const std::int64_t h = std::min<std::int64_t>(dib.height, v.height);
        for (std::int64_t y = 0; y < h; ++y)
            for (std::int64_t x = 0; x < w; ++x)
                write_px(v, static_cast<int>(x), static_cast<int>(y), dib.get(x, y));
    }
    return r.add(bm);
}

HPALETTE CreatePalette(const LOGPALETTE& palette) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (palette.palVersion != 768 || palette.palNumEntries <= 0 ||
        static_cast<std::size_t>(palette.palNumEntries) > palette.palPalEntry.size())
        return 0;
    auto p = std::make_shared<Palette>();
    p->log = palette;
    return r.add(p);
}

Long GetObjectA(HGDIOBJ object, Long size, BITMAP& out) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto bm = r.get<Bitmap>(object);
    if (!bm || size < 24) return 0;
    out.bmType = 0;
    out.bmWidth = bm->width;
    out.bmHeight = bm->height;
    out.bmWidthBytes = bm->stride;
    out.bmPlanes = 1;
    out.bmBitsPixel = static_cast<Integer>(bm->bpp);
    // Only DIB sections show their bits.
    out.bmBits = bm->is_dib ? bm->memory.data() : nullptr;
    return 24;
}

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

bool OpenClipboard(HWND) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (r.clipboard_open || r.should_fail(testing::Call::OpenClipboard)) return false;
    r.clipboard_open = true;
    return true;
}

bool EmptyClipboard() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (!r.clipboard_open) return false;
    if (r.clipboard) {
        const Long old = r.clipboard;
        r.clipboard = 0;
        DeleteObject(old);
    }
    return true;
}

Long SetClipboardData(Long format, Long handle) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (!r.clipboard_open || format != CF_BITMAP || !r.get<Bitmap>(handle)) return 0;
    if (r.clipboard && r.clipboard != handle) DeleteObject(r.clipboard);
    r.clipboard = handle;
    return handle;
}

bool CloseClipboard() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    const bool was_open = r.clipboard_open;
    r.clipboard_open = false;
    return was_open;
}

bool bitmap_view(HBITMAP bitmap, BitmapView& out) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto bm = r.get<Bitmap>(bitmap);
    if (!bm) return false;
    out = bm->view();
    return true;
}

HBITMAP selected_bitmap(HDC hdc) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto dc = r.get<Dc>(hdc);
    return dc && dc->kind == Dc::Kind::Memory ? dc->bitmap : 0;
}

HBITMAP create_device_bitmap(int width, int height, std::span<const std::uint32_t> rgb) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto bm = make_bitmap(width, height, 32, false);
    if (!bm || rgb.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) return 0;
    const BitmapView v = bm->view();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) write_px(v, x, y, rgb[static_cast<std::size_t>(y) * width + x]);
    return r.add(bm);
}

HDC register_target_dc(std::shared_ptr<DcTarget> target) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto dc = std::make_shared<Dc>();
    dc->kind = Dc::Kind::Target;
    dc->target = std::move(target);
    return r.add(dc);
}

std::shared_ptr<DcTarget> target_of(HDC hdc) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto dc = r.get<Dc>(hdc);
    return dc && dc->kind == Dc::Kind::Target ? dc->target : nullptr;
}

bool unregister_target_dc(HDC hdc) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto dc = r.get<Dc>(hdc);
    if (!dc || dc->kind != Dc::Kind::Target) return false;
    r.objects.erase(hdc);
    return true;
}

Long pixels_to_himetric(Long pixels) {
    return runtime::CLng(runtime::round_half_even(static_cast<double>(pixels) * 15000.0 / 567.0));
}

Long himetric_to_pixels(Long himetric) {
    return runtime::CLng(static_cast<double>(himetric) * 0.001 * 567.0 / kTwipsPerPixel);
}

StdPicture::StdPicture(HBITMAP bitmap, HPALETTE palette, bool own) : bitmap_(bitmap), palette_(palette), own_(own) {
    BITMAP info;
    if (GetObjectA(bitmap, 24, info)) {
        pixel_width_ = info.bmWidth;
        pixel_height_ = info.bmHeight;
    }
}

StdPicture::~StdPicture() {
    if (!own_) return;
    if (bitmap_) DeleteObject(bitmap_);
    if (palette_) DeleteObject(palette_);
}

Long OleCreatePictureIndirect(const PICTDESC& desc, bool own, Ref<StdPicture>& picture) {
    BITMAP info;
    if (desc.cbSizeofstruct != 20 || desc.picType != PICTYPE_BITMAP || !GetObjectA(desc.hbitmap, 24, info))
        return E_INVALIDARG;
    picture = Ref<StdPicture>(std::make_shared<StdPicture>(desc.hbitmap, desc.hpal, own));
    return S_OK;
}

namespace testing {

int live_objects() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    return static_cast<int>(r.objects.size()) - 1;  // less the stock bitmap
}

Long clipboard_bitmap() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    return r.clipboard;
}

void fail_next(Call call, int count) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    r.failures[call] = count;
}

void reset() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    r.failures.clear();
    r.clipboard_open = false;
    if (r.clipboard) {
        const Long old = r.clipboard;
        r.clipboard = 0;
        DeleteObject(old);
    }
}

}  // namespace testing
}  // namespace tarko::platform::gdi
