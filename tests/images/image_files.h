// Makers of small image files for the tests and the fuzz seed corpus: each
// writes exactly the bytes the format asks for, nothing clever.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

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

// GIF89a with a 256-entry global palette (0x00RRGGBB) and the given indices.
// The LZW stream uses 9-bit codes only: a clear code every 200 pixels keeps
// the table from growing past them.
inline Bytes gif(int width, int height, const std::vector<std::uint32_t>& palette,
                 const std::vector<std::uint8_t>& indices, int transparent_index = -1) {
    Bytes b = {'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0xF7, 0, 0};
    put16(b, 6, width), put16(b, 8, height);
    for (int i = 0; i < 256; ++i) {
        const std::uint32_t p = i < static_cast<int>(palette.size()) ? palette[i] : 0;
        append(b, {u8(p >> 16), u8(p >> 8), u8(p)});
    }
    if (transparent_index >= 0) append(b, {0x21, 0xF9, 4, 1, 0, 0, u8(transparent_index), 0});
    Bytes d = {0x2C, 0, 0, 0, 0, 0, 0, 0, 0, 0, 8};  // image descriptor, minimum code size 8
    put16(d, 5, width), put16(d, 7, height);
    append(b, d);
    Bytes packed;
    std::uint32_t acc = 0;
    int nbits = 0;
    auto emit = [&](int code) {
        acc |= std::uint32_t(code) << nbits;
        for (nbits += 9; nbits >= 8; nbits -= 8, acc >>= 8) packed.push_back(u8(acc));
    };
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (i % 200 == 0) emit(256);
        emit(indices[i]);
    }
    emit(257);
    if (nbits > 0) packed.push_back(u8(acc));
    for (std::size_t i = 0; i < packed.size(); i += 255) {
        const std::size_t n = std::min<std::size_t>(255, packed.size() - i);
        b.push_back(u8(n));
        b.insert(b.end(), packed.begin() + std::ptrdiff_t(i), packed.begin() + std::ptrdiff_t(i + n));
    }
    append(b, {0, 0x3B});
    return b;
}

}  // namespace tarko::test
