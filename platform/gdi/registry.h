// The handle registry shared by the window-system graphics sources: every
// bitmap, palette and device context under its Long handle, behind one lock.
#pragma once

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <variant>
#include <vector>

#include "platform/gdi/gdi.h"
#include "runtime/image.h"

namespace tarko::platform::gdi::detail {

// Device bitmaps (32-bit, top-down) keep their pixels in a tarko::Image, so
// that a decoded picture becomes a bitmap without a copy; DIB sections keep
// the padded rows of their header in `memory`.
struct Bitmap {
    int width = 0;
    int height = 0;
    int bpp = 32;
    int stride = 0;
    bool bottom_up = false;
    bool is_stock = false;
    bool is_dib = false;
    std::vector<std::uint8_t> memory;
    Image image;
    HDC selected_in = 0;

    std::uint8_t* bits() {
        return is_dib ? memory.data() : reinterpret_cast<std::uint8_t*>(image.pixels.data());
    }
    BitmapView view() { return BitmapView{width, height, bpp, stride, bottom_up, bits()}; }
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
        stock->image = Image(1, 1, 0);
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


Registry& reg();

// 24- or 32-bit pixel (x, y from the top) of a bitmap view, 0x00RRGGBB.
std::uint32_t read_px(const BitmapView& v, int x, int y);
void write_px(const BitmapView& v, int x, int y, std::uint32_t rgb);
// A zeroed DIB section of that depth and row order; nullptr past the size limits.
std::shared_ptr<Bitmap> make_dib(std::int64_t width, std::int64_t height, int bpp, bool bottom_up);
// A zeroed 32-bit top-down device bitmap over an Image; nullptr past the size limits.
std::shared_ptr<Bitmap> make_device_bitmap(std::int64_t width, std::int64_t height);

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

}  // namespace tarko::platform::gdi::detail
