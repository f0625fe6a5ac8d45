// RLE8 and RLE4 BMP decoding. Every code consumes at least two bytes, so the
// loop ends with the data; writes outside the picture are dropped.
#include "platform/image/bmp_rle.h"

#include <vector>

#include "platform/gdi/gdi.h"
#include "runtime/errors.h"

namespace tarko::platform::image {
namespace {

[[noreturn]] void invalid() { raise_error(err::InvalidPicture); }

std::uint32_t u16(std::span<const std::uint8_t> b, std::size_t at) {
    return static_cast<std::uint32_t>(b[at]) | static_cast<std::uint32_t>(b[at + 1]) << 8;
}
std::uint32_t u32(std::span<const std::uint8_t> b, std::size_t at) { return u16(b, at) | u16(b, at + 2) << 16; }

}  // namespace

bool is_rle_bmp(std::span<const std::uint8_t> b) {
    if (b.size() < 54 || b[0] != 'B' || b[1] != 'M' || u32(b, 14) < 40) return false;
    const std::uint32_t compression = u32(b, 30);
    return compression == 1 || compression == 2;
}

DecodedPicture decode_rle_bmp(std::span<const std::uint8_t> b) {
    if (!is_rle_bmp(b)) invalid();
    const bool rle8 = u32(b, 30) == 1;
    const std::uint32_t header_size = u32(b, 14);
    const std::int64_t width = static_cast<std::int32_t>(u32(b, 18));
    const std::int64_t height = static_cast<std::int32_t>(u32(b, 22));  // run-length files are bottom-up
    const std::uint32_t bpp = u16(b, 28);
    if (bpp != (rle8 ? 8u : 4u) || width <= 0 || height <= 0 || width > kMaxPictureSide ||
        height > kMaxPictureSide || width * height > gdi::kMaxBitmapPixels)
        invalid();

    const std::uint32_t table_size = 1u << bpp;
    std::uint32_t colours = u32(b, 46);
    if (colours == 0 || colours > table_size) colours = table_size;
    const std::uint64_t table_at = 14ull + header_size;
    if (table_at + 4ull * colours > b.size()) invalid();
    std::vector<std::uint32_t> palette(table_size, 0);
    for (std::uint32_t i = 0; i < colours; ++i) {
        const std::size_t at = static_cast<std::size_t>(table_at) + 4 * i;
        palette[i] = static_cast<std::uint32_t>(b[at + 2]) << 16 | static_cast<std::uint32_t>(b[at + 1]) << 8 | b[at];
    }
    const std::uint64_t offset = u32(b, 10);
    if (offset > b.size()) invalid();

    DecodedPicture out;
    out.width = static_cast<int>(width);
    out.height = static_cast<int>(height);
    out.rgb.assign(static_cast<std::size_t>(width * height), 0);
    std::int64_t x = 0, y = 0;  // y counts rows from the bottom
    auto put = [&](std::uint32_t index) {
        if (x >= 0 && x < width && y >= 0 && y < height)
            out.rgb[static_cast<std::size_t>((height - 1 - y) * width + x)] = palette[index];
        ++x;
    };
    std::size_t pos = static_cast<std::size_t>(offset);
    const std::size_t end = b.size();
    for (;;) {
        if (end - pos < 2) {
            // Codes may stop without an end-of-bitmap once the last row is full.
            if (y >= height || (y == height - 1 && x >= width)) break;
            invalid();
        }
        const std::uint8_t count = b[pos], value = b[pos + 1];
        pos += 2;
        if (count > 0) {
            for (int i = 0; i < count; ++i) put(rle8 ? value : (i % 2 == 0 ? value >> 4 : value & 15));
            continue;
        }
        if (value == 0) {          // end of line
            x = 0;
            ++y;
        } else if (value == 1) {   // end of bitmap
            break;
        } else if (value == 2) {   // delta
            if (end - pos < 2) invalid();
            x += b[pos];
            y += b[pos + 1];
            pos += 2;
        } else {                   // absolute run of `value` pixels, padded to a word
            const std::size_t bytes = rle8 ? value : (value + 1u) / 2;
            const std::size_t padded = bytes + (bytes & 1);
            if (end - pos < bytes) invalid();
            for (int i = 0; i < value; ++i)
                put(rle8 ? b[pos + i] : (i % 2 == 0 ? b[pos + i / 2] >> 4 : b[pos + i / 2] & 15));
            pos += std::min(padded, end - pos);
        }
    }
    return out;
}

}  // namespace tarko::platform::image
