// RLE8 and RLE4 BMP decoding. Every code consumes at least two bytes, so the
// loop ends with the data; writes outside the picture are dropped.
#include "platform/image/bmp_rle.h"

#include <algorithm>
#include <vector>


namespace tarko::platform::image {

bool is_rle_bmp(std::span<const std::uint8_t> b) {
    if (b.size() < 54 || b[0] != 'B' || b[1] != 'M') return false;
    io::ByteReader in(b);
    in.seek(14);
    if (in.u32() < 40) return false;
    in.seek(30);
    const std::uint32_t compression = in.u32();
    return compression == 1 || compression == 2;
}

Image decode_rle(std::span<const std::uint8_t> b) {
    io::ByteReader in(b);
    if (!is_rle_bmp(b)) in.fail("not a run-length BMP");
    in.seek(10);
    const std::uint32_t data_at = in.u32();
    const std::uint32_t header_size = in.u32();
    const std::int64_t width = in.i32();
    const std::int64_t height = in.i32();  // run-length files are bottom-up
    in.skip(2);
    const std::uint32_t bpp = in.u16();
    const bool rle8 = in.u32() == 1;
    if (bpp != (rle8 ? 8u : 4u)) in.fail_at(28, std::to_string(bpp) + " bits per pixel in an RLE" + (rle8 ? "8" : "4") + " file");
    if (width <= 0) in.fail_at(18, "width " + std::to_string(width) + " is not positive");
    if (height <= 0) in.fail_at(22, "height " + std::to_string(height) + ": run-length pictures are bottom-up");
    check_image_size(width, height, 18);

    const std::uint32_t table_size = 1u << bpp;
    in.seek(46);
    std::uint32_t colours = in.u32();
    if (colours == 0 || colours > table_size) colours = table_size;
    io::ByteReader table = in.range(14 + std::size_t{header_size}, 4 * colours, "colour table runs past the end");
    std::vector<std::uint32_t> palette(table_size, 0xFF000000u);
    for (std::uint32_t i = 0; i < colours; ++i) palette[i] = 0xFF000000u | (table.u32() & 0xFFFFFF);
    if (data_at > b.size()) in.fail_at(10, "pixel data offset past the end");
    io::ByteReader codes = in.range(data_at, b.size() - data_at);
    if (width * height > std::max(kRleSmallPicture, kRlePixelsPerCodeByte * static_cast<std::int64_t>(codes.size())))
        codes.fail(std::to_string(width * height) + " pixels cannot come from " + std::to_string(codes.size()) +
                   " bytes of codes");

    Image out(static_cast<int>(width), static_cast<int>(height), 0xFF000000u);
    std::int64_t x = 0, y = 0;  // y counts rows from the bottom
    auto put = [&](std::uint32_t index) {
        if (x >= 0 && x < width && y >= 0 && y < height)
            out.at(static_cast<int>(x), static_cast<int>(height - 1 - y)) = palette[index];
        ++x;
    };
    for (;;) {
        if (codes.remaining() < 2) {
            // Codes may stop without an end-of-bitmap once the last row is full.
            if (y >= height || (y == height - 1 && x >= width)) break;
            codes.fail("codes end before the last row");
        }
        const std::uint8_t count = codes.u8(), value = codes.u8();
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
            codes.need(2, "delta cut short");
            x += codes.u8();
            y += codes.u8();
        } else {                   // absolute run of `value` pixels, padded to a word
            const std::size_t bytes = rle8 ? value : (value + 1u) / 2;
            codes.need(bytes, "absolute run past the end");
            const auto run = codes.bytes(bytes);
            for (int i = 0; i < value; ++i) put(rle8 ? run[i] : (i % 2 == 0 ? run[i / 2] >> 4 : run[i / 2] & 15));
            if (bytes % 2 == 1 && !codes.at_end()) codes.skip(1);
        }
    }
    return out;
}

}  // namespace tarko::platform::image
