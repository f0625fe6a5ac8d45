// Makers of small image files for the tests and the fuzz seed corpus: each
// writes exactly the bytes the format asks for, nothing clever.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/gdi/gdi.h"
#include "platform/gdi/picture.h"

namespace tarko::test {

using Bytes = std::vector<std::uint8_t>;

inline std::uint8_t u8(long long v) { return static_cast<std::uint8_t>(v); }
inline void put16(Bytes& b, std::size_t at, int v) { b[at] = u8(v), b[at + 1] = u8(v >> 8); }
inline void put32(Bytes& b, std::size_t at, std::uint32_t v) {
    put16(b, at, int(v & 0xFFFF)), put16(b, at + 2, int(v >> 16));
}
inline void append(Bytes& b, const Bytes& tail) { b.insert(b.end(), tail.begin(), tail.end()); }

// A PCX header: xmin = ymin = 0, so width and height give xmax and ymax.
inline Bytes pcx_header(int bits, int planes, int width, int height, int bytes_per_line) {
    Bytes b(128, 0);
    b[0] = 10, b[1] = 5, b[2] = 1, b[3] = u8(bits), b[65] = u8(planes);
    put16(b, 8, width - 1), put16(b, 10, height - 1), put16(b, 66, bytes_per_line);
    return b;
}

// 8-bit PCX: header, the encoded body, the marker and palette entry i = (i, 255 - i, i / 2).
inline Bytes pcx8(int width, int height, int bytes_per_line, const Bytes& body, int marker = 12) {
    Bytes b = pcx_header(8, 1, width, height, bytes_per_line);
    append(b, body);
    b.push_back(u8(marker));
    for (int i = 0; i < 256; ++i) append(b, {u8(i), u8(255 - i), u8(i / 2)});
    return b;
}

inline Bytes pcx24(int width, int height, int bytes_per_line, const Bytes& body) {
    Bytes b = pcx_header(8, 3, width, height, bytes_per_line);
    append(b, body);
    return b;
}

inline Bytes tga(int type, int width, int height, const Bytes& body, int depth = 24, int id_length = 0) {
    Bytes b(18, 0);
    b[0] = u8(id_length), b[2] = u8(type), b[16] = u8(depth);
    put16(b, 12, width), put16(b, 14, height);
    append(b, body);
    return b;
}

// The 54-byte BMP file and info headers; the file-size field is left to the caller.
inline Bytes bmp_header(std::size_t size, std::size_t offset, int width, int height, int bpp) {
    Bytes b(size, 0);
    b[0] = 'B', b[1] = 'M';
    put32(b, 10, std::uint32_t(offset)), put32(b, 14, 40), put32(b, 18, std::uint32_t(width));
    put32(b, 22, std::uint32_t(height)), put16(b, 26, 1), put16(b, 28, bpp);
    return b;
}

// 24-bit bottom-up BMP of 0x00RRGGBB pixels given top row first.
inline Bytes bmp24(int width, int height, const std::vector<std::uint32_t>& rgb) {
    const int stride = (width * 3 + 3) & ~3;
    Bytes b = bmp_header(54 + static_cast<std::size_t>(stride) * height, 54, width, height, 24);
    put32(b, 2, static_cast<std::uint32_t>(b.size()));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < 3; ++c)
                b[54 + std::size_t(height - 1 - y) * stride + 3 * x + c] = u8(rgb[std::size_t(y) * width + x] >> 8 * c);
    return b;
}

// A run-length BMP: `palette` (0x00RRGGBB) as the colour table, then `codes`.
inline Bytes rle_bmp(int bpp, int width, int height, const std::vector<std::uint32_t>& palette, const Bytes& codes) {
    const std::size_t offset = 54 + 4 * palette.size();
    Bytes b = bmp_header(offset, offset, width, height, bpp);
    put32(b, 30, bpp == 8 ? 1 : 2), put32(b, 46, std::uint32_t(palette.size()));
    for (std::size_t i = 0; i < palette.size(); ++i) put32(b, 54 + 4 * i, palette[i]);
    append(b, codes);
    return b;
}

// One image block of a GIF: its place on the screen, its indices in the
// order the file stores them (interlaced rows in pass order), a local colour
// table when `local` is not empty, and a graphic control block before it when
// `delay` or `transparent` is set.
struct GifBlock {
    int left = 0, top = 0, width = 0, height = 0;
    std::vector<std::uint8_t> indices;
    std::vector<std::uint32_t> local = {};
    bool interlaced = false;
    int transparent = -1;
    int delay = -1;
};

// 256 entries of 0x00RRGGBB, zeros past the given ones.
inline void append_palette(Bytes& b, const std::vector<std::uint32_t>& palette) {
    for (std::size_t i = 0; i < 256; ++i) {
        const std::uint32_t p = i < palette.size() ? palette[i] : 0;
        append(b, {u8(p >> 16), u8(p >> 8), u8(p)});
    }
}

// GIF89a: a width x height screen, a 256-entry global palette unless
// `global` is empty, then the blocks. The LZW streams use 9-bit codes only: a
// clear code every 200 pixels keeps the table from growing past them.
inline Bytes gif_blocks(int width, int height, const std::vector<std::uint32_t>& global,
                        const std::vector<GifBlock>& blocks) {
    Bytes b = {'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, u8(global.empty() ? 0 : 0xF7), 0, 0};
    put16(b, 6, width), put16(b, 8, height);
    if (!global.empty()) append_palette(b, global);
    for (const GifBlock& k : blocks) {
        if (k.delay >= 0 || k.transparent >= 0)
            append(b, {0x21, 0xF9, 4, u8(k.transparent >= 0 ? 1 : 0), u8(std::max(k.delay, 0)),
                       u8(std::max(k.delay, 0) >> 8), u8(std::max(k.transparent, 0)), 0});
        Bytes d = {0x2C, 0, 0, 0, 0, 0, 0, 0, 0, u8((k.local.empty() ? 0 : 0x87) | (k.interlaced ? 0x40 : 0))};
        put16(d, 1, k.left), put16(d, 3, k.top), put16(d, 5, k.width), put16(d, 7, k.height);
        append(b, d);
        if (!k.local.empty()) append_palette(b, k.local);
        b.push_back(8);  // minimum code size
        Bytes packed;
        std::uint32_t acc = 0;
        int nbits = 0;
        auto emit = [&](int code) {
            acc |= std::uint32_t(code) << nbits;
            for (nbits += 9; nbits >= 8; nbits -= 8, acc >>= 8) packed.push_back(u8(acc));
        };
        for (std::size_t i = 0; i < k.indices.size(); ++i) {
            if (i % 200 == 0) emit(256);
            emit(k.indices[i]);
        }
        emit(257);
        if (nbits > 0) packed.push_back(u8(acc));
        for (std::size_t i = 0; i < packed.size(); i += 255) {
            const std::size_t n = std::min<std::size_t>(255, packed.size() - i);
            b.push_back(u8(n));
            b.insert(b.end(), packed.begin() + std::ptrdiff_t(i), packed.begin() + std::ptrdiff_t(i + n));
        }
        b.push_back(0);
    }
    b.push_back(0x3B);
    return b;
}

// One full-screen block over a 256-entry global palette.
inline Bytes gif(int width, int height, const std::vector<std::uint32_t>& palette,
                 const std::vector<std::uint8_t>& indices, int transparent_index = -1) {
    return gif_blocks(width, height, palette, {{0, 0, width, height, indices, {}, false, transparent_index}});
}

// The COLORREF at (x, y) of a picture, read through a memory DC.
inline platform::gdi::COLORREF picture_pixel(const Ref<platform::gdi::StdPicture>& picture, int x, int y) {
    namespace gdi = platform::gdi;
    const gdi::HDC dc = gdi::CreateCompatibleDC(0);
    const auto previous = gdi::SelectObject(dc, picture->Handle());
    const gdi::COLORREF pixel = gdi::GetPixel(dc, x, y);
    gdi::SelectObject(dc, previous);
    gdi::DeleteDC(dc);
    return pixel;
}

}  // namespace tarko::test
