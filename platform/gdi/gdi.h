// Window-system graphics: device contexts and bitmaps addressed by Long
// handles, the blits between them, DIB sections, palettes and an in-process
// clipboard. Device contexts exist over memory bitmaps (CreateCompatibleDC +
// SelectObject), over surfaces (DirectDrawSurface7::getDC) and over the screen
// (GetDC), which accepts drawing and keeps nothing.
//
// Coordinates in a device context run top-down: y = 0 is the picture's top
// row, which for a bottom-up DIB is the last row in memory.
//
// Bitmap kinds:
//  - DIB sections (CreateDIBSection): 24 or 32 bits, rows bottom-up when
//    biHeight > 0, top-down when < 0, each row padded to 4 bytes. The bits
//    pointer is the very memory the device context draws into.
//  - device bitmaps (CreateCompatibleBitmap, CreateDIBitmap): 32-bit
//    0x00RRGGBB rows top-down, so nothing is quantised.
// Colours (COLORREF) carry red in the low byte: 0x00BBGGRR.
// A failing call returns 0 (or False) the way the window system does; nothing
// here raises.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "runtime/image.h"
#include "runtime/numeric.h"

namespace tarko::platform::gdi {

using HDC = Long;
using HBITMAP = Long;
using HGDIOBJ = Long;
using HPALETTE = Long;
using HWND = Long;
using COLORREF = Long;

inline constexpr Long SRCCOPY = 0xCC0020;
inline constexpr Long SRCPAINT = 0xEE0086;
inline constexpr Long SRCAND = 0x8800C6;
inline constexpr Long SRCINVERT = 0x660046;
inline constexpr Long NOTSRCCOPY = 0x330008;
inline constexpr Long BLACKNESS = 0x42;
inline constexpr Long WHITENESS = 0xFF0062;
inline constexpr Long DIB_RGB_COLORS = 0;
inline constexpr Long DIB_PAL_COLORS = 1;
inline constexpr Long BI_RGB = 0;
inline constexpr Long CBM_INIT = 4;
inline constexpr Long CF_BITMAP = 2;
inline constexpr COLORREF CLR_INVALID = -1;

// Largest side and largest pixel count of any bitmap; bigger requests fail.
inline constexpr Long kMaxBitmapSide = 32767;
inline constexpr std::int64_t kMaxBitmapPixels = std::int64_t{1} << 26;

struct BITMAPINFOHEADER {
    Long biSize = 40;
    Long biWidth = 0;
    Long biHeight = 0;          // > 0 bottom-up rows, < 0 top-down
    Integer biPlanes = 1;
    Integer biBitCount = 0;     // 8 (with bmiColors), 24 or 32
    Long biCompression = BI_RGB;
    Long biSizeImage = 0;
    Long biXPelsPerMeter = 0;
    Long biYPelsPerMeter = 0;
    Long biClrUsed = 0;
    Long biClrImportant = 0;
};

struct BITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    // Colour table of 8-bit bitmaps: Longs with red in bits 16..23, green in
    // 8..15, blue in 0..7.
    std::array<Long, 256> bmiColors{};
};

// GetObjectA's record for a bitmap (24 bytes on the original system).
struct BITMAP {
    Long bmType = 0;
    Long bmWidth = 0;
    Long bmHeight = 0;
    Long bmWidthBytes = 0;
    Integer bmPlanes = 0;
    Integer bmBitsPixel = 0;
    std::uint8_t* bmBits = nullptr;   // DIB sections only
};

struct LOGPALETTE {
    Integer palVersion = 768;
    Integer palNumEntries = 0;
    std::vector<Long> palPalEntry;    // kept as given
};

// --- device contexts
HDC CreateCompatibleDC(HDC hdc);                  // a memory DC holding a 1x1 stock bitmap
bool DeleteDC(HDC hdc);                           // the selected bitmap survives
HWND GetDesktopWindow();
HDC GetDC(HWND hwnd);                             // a screen DC (0 or any window)
Long ReleaseDC(HWND hwnd, HDC hdc);               // 1 when released
// Selects a bitmap into a memory DC and returns the one it held; 0 when the
// DC is not a memory DC, the object is not a bitmap or is selected elsewhere.
HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object);
// Fails (False) for stock objects and for a bitmap still selected into a DC.
bool DeleteObject(HGDIOBJ object);

// --- bitmaps
// A DIB section from a 24- or 32-bit BI_RGB header; `bits` receives the
// pixel memory (zeroed), which lives as long as the bitmap. 0 on failure.
HBITMAP CreateDIBSection(HDC hdc, const BITMAPINFO& info, Long usage, std::uint8_t*& bits, Long section,
                         Long offset);
HBITMAP CreateCompatibleBitmap(HDC hdc, Long width, Long height);
// A device bitmap of the header's size; with CBM_INIT its pixels come from
// `bits` read as the DIB `info` describes (8 bits through the colour table,
// 24 or 32 bits). 0 when the header is unusable or `bits` is too short.
HBITMAP CreateDIBitmap(HDC hdc, const BITMAPINFOHEADER& header, Long init, std::span<const std::uint8_t> bits,
                       const BITMAPINFO& info, Long usage);
HPALETTE CreatePalette(const LOGPALETTE& palette);
// Fills `out` for a bitmap handle when `size` is at least 24; returns the
// bytes written, 0 otherwise.
Long GetObjectA(HGDIOBJ object, Long size, BITMAP& out);

// --- drawing
// Only the copy raster operations are meaningful: SRCCOPY, NOTSRCCOPY,
// SRCPAINT, SRCAND, SRCINVERT, BLACKNESS, WHITENESS; another gives False.
// Both rectangles are clipped to their bitmaps.
bool BitBlt(HDC dest, Long x, Long y, Long width, Long height, HDC source, Long sx, Long sy, Long rop);
// Nearest-sample stretch (the source pixel under the centre of each target
// pixel); a negative size mirrors.
bool StretchBlt(HDC dest, Long x, Long y, Long width, Long height, HDC source, Long sx, Long sy, Long swidth,
                Long sheight, Long rop);
// Draws a DIB held in memory: rows padded to 4 bytes as every DIB's are; the
// source rectangle is in picture coordinates (row 0 at the top). Returns the
// number of rows drawn, 0 on failure (including bits too short for the header).
Long StretchDIBits(HDC dest, Long x, Long y, Long width, Long height, Long sx, Long sy, Long swidth, Long sheight,
                   std::span<const std::uint8_t> bits, const BITMAPINFO& info, Long usage, Long rop);
// COLORREF of a pixel, CLR_INVALID outside the DC's bitmap.
COLORREF GetPixel(HDC hdc, Long x, Long y);
// Writes the colour as the target stores it (a 16-bit surface drops low bits,
// alpha bits stay 0) and returns the colour that was stored, or CLR_INVALID.
COLORREF SetPixel(HDC hdc, Long x, Long y, COLORREF colour);

// --- clipboard (in-process: a bitmap set here is what clipboard_bitmap() gives)
bool OpenClipboard(HWND owner);
bool EmptyClipboard();
// Takes ownership of the bitmap; returns its handle, 0 when the clipboard is
// not open or the format is not CF_BITMAP.
Long SetClipboardData(Long format, Long handle);
bool CloseClipboard();

// --- for the platform layer, the images module and tests
// A view of a bitmap's memory: rows of `stride` bytes, `bits_per_pixel` 24 or
// 32 (B, G, R[, X]), first memory row the bottom one when `bottom_up`.
struct BitmapView {
    int width = 0;
    int height = 0;
    int bits_per_pixel = 0;
    int stride = 0;
    bool bottom_up = false;
    std::uint8_t* bits = nullptr;
    std::uint8_t* row(int y_from_top) const {
        return bits + static_cast<std::ptrdiff_t>(bottom_up ? height - 1 - y_from_top : y_from_top) * stride;
    }
};
bool bitmap_view(HBITMAP bitmap, BitmapView& out);
// The bitmap a memory DC holds (0 for other DCs).
HBITMAP selected_bitmap(HDC hdc);
// A 32-bit device bitmap with the given 0x00RRGGBB pixels, rows top-down.
HBITMAP create_device_bitmap(int width, int height, std::span<const std::uint32_t> rgb);
// A device bitmap over the image's pixels, taken without a copy; 0 past the
// size limits.
HBITMAP create_device_bitmap(Image&& pixels);
// The pixels of a device bitmap (CreateCompatibleBitmap, CreateDIBitmap,
// create_device_bitmap); nullptr for DIB sections and other handles. Valid
// while the bitmap lives; alpha bytes are whatever was last stored there.
const Image* bitmap_image(HBITMAP bitmap);
// Row bytes of a DIB: (bits x width + 31) / 32 x 4.
std::int64_t dib_stride(std::int64_t width, int bits_per_pixel);

// A device context over something else than a bitmap (a surface): pixels in
// top-down coordinates as 0x00RRGGBB.
class DcTarget {
public:
    virtual ~DcTarget() = default;
    virtual int width() const = 0;
    virtual int height() const = 0;
    virtual std::uint32_t get(int x, int y) const = 0;
    virtual void set(int x, int y, std::uint32_t rgb) = 0;
};
HDC register_target_dc(std::shared_ptr<DcTarget> target);
std::shared_ptr<DcTarget> target_of(HDC hdc);
bool unregister_target_dc(HDC hdc);

namespace testing {
// Live handles (DCs, bitmaps, palettes) other than stock objects: leak checks.
int live_objects();
// The bitmap on the clipboard, 0 when none.
Long clipboard_bitmap();
// Makes the next `count` calls of the named kind fail.
enum class Call { CreateCompatibleDC, CreateDIBSection, GetDC, CreateCompatibleBitmap, OpenClipboard };
void fail_next(Call call, int count = 1);
// Empties the clipboard and clears failure injections.
void reset();
}  // namespace testing

}  // namespace tarko::platform::gdi
