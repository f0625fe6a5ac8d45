// Handles of the window-system graphics layer: the registry, device
// contexts, bitmaps, palettes and the hooks tests use.
#include <algorithm>
#include <cstdlib>

#include "platform/gdi/gdi.h"
#include "platform/gdi/registry.h"

namespace tarko::platform::gdi {
namespace detail {

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


namespace {
std::shared_ptr<Bitmap> sized_bitmap(std::int64_t width, std::int64_t height, int bpp, bool bottom_up) {
    if (width <= 0 || height <= 0 || width > kMaxBitmapSide || height > kMaxBitmapSide ||
        width * height > kMaxBitmapPixels)
        return nullptr;
    auto bm = std::make_shared<Bitmap>();
    bm->width = static_cast<int>(width);
    bm->height = static_cast<int>(height);
    bm->bpp = bpp;
    bm->stride = static_cast<int>(dib_stride(width, bpp));
    bm->bottom_up = bottom_up;
    return bm;
}
}  // namespace

std::shared_ptr<Bitmap> make_dib(std::int64_t width, std::int64_t height, int bpp, bool bottom_up) {
    auto bm = sized_bitmap(width, height, bpp, bottom_up);
    if (!bm) return nullptr;
    bm->is_dib = true;
    bm->memory.assign(static_cast<std::size_t>(bm->stride) * static_cast<std::size_t>(bm->height), 0);
    return bm;
}

std::shared_ptr<Bitmap> make_device_bitmap(std::int64_t width, std::int64_t height) {
    auto bm = sized_bitmap(width, height, 32, false);
    if (bm) bm->image = Image(bm->width, bm->height, 0);
    return bm;
}

}  // namespace detail

using namespace detail;

namespace {
constexpr HWND kDesktop = 0x7FFF0010;
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
    auto bm = make_dib(h.biWidth, std::abs(static_cast<std::int64_t>(h.biHeight)), h.biBitCount, h.biHeight > 0);
    if (!bm) return 0;
    bits = bm->memory.data();
    return r.add(bm);
}

HBITMAP CreateCompatibleBitmap(HDC, Long width, Long height) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (r.should_fail(testing::Call::CreateCompatibleBitmap)) return 0;
    auto bm = make_device_bitmap(width, height);
    return bm ? r.add(bm) : 0;
}

HBITMAP CreateDIBitmap(HDC, const BITMAPINFOHEADER& header, Long init, std::span<const std::uint8_t> bits,
                       const BITMAPINFO& info, Long) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto bm = make_device_bitmap(header.biWidth, std::abs(static_cast<std::int64_t>(header.biHeight)));
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
    if (width <= 0 || height <= 0 || rgb.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        return 0;
    if (!image_size_allowed(width, height)) return 0;
    Image image(width, height);
    std::copy_n(rgb.begin(), image.pixels.size(), image.pixels.begin());
    return create_device_bitmap(std::move(image));
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

HBITMAP create_device_bitmap(Image&& pixels) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto bm = make_device_bitmap(pixels.width, pixels.height);
    if (!bm || pixels.pixels.size() != bm->image.pixels.size()) return 0;
    bm->image = std::move(pixels);
    return r.add(bm);
}

const Image* bitmap_image(HBITMAP bitmap) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    auto bm = r.get<Bitmap>(bitmap);
    return bm && !bm->is_dib && !bm->is_stock ? &bm->image : nullptr;
}

namespace testing {

int live_objects() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    return static_cast<int>(r.objects.size()) - 1;  // less the stock bitmap
}

void fail_next(Call call, int count) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    r.failures[call] = count;
}

}  // namespace testing
}  // namespace tarko::platform::gdi
