// Run-length BMPs: every refusal with its reason and byte (their pixels: picture_loader_test).
#include <gtest/gtest.h>

#include "images/image_files.h"
#include "platform/image/bmp_rle.h"
#include "support/test_support.h"

namespace image = tarko::platform::image;
using namespace tarko::test;

namespace {
const std::vector<std::uint32_t> kKRGB = {0x000000, 0xFF0000, 0x00FF00, 0x0000FF};

Bytes patched(Bytes b, std::size_t at, std::uint32_t v) {
    put32(b, at, v);
    return b;
}
}  // namespace

TEST(BmpRle, DamagedFilesAreRefusedSayingWhyAndWhere) {
    // Offsets: pixel data offset 10, header size 14, width 18, height 22, bits 28, colours used 46;
    // with four colours the table is 54..69 and the codes start at 70.
    const Bytes end_only = rle_bmp(8, 3, 2, kKRGB, {0, 1});
    Bytes rle4_at_8 = rle_bmp(4, 3, 2, kKRGB, {0, 1});
    put16(rle4_at_8, 28, 8);
    const Bytes filler(298, 0);
    Bytes codes300 = {0, 1}, codes299 = {0, 1};
    codes300.insert(codes300.end(), filler.begin(), filler.end());
    codes299.insert(codes299.end(), filler.begin() + 1, filler.end());
    const tarko::test::Refusal cases[] = {
        {"plain BMP", bmp24(1, 1, {0}), "not a run-length BMP", 0},
        {"RLE4 of 8 bits", rle4_at_8, "8 bits per pixel in an RLE4 file", 28},
        {"width 0", rle_bmp(8, 0, 2, kKRGB, {0, 1}), "width 0", 18},
        {"top-down", rle_bmp(4, 3, -2, kKRGB, {0, 1}), "height -2", 22},
        {"20000 x 20000", rle_bmp(8, 20000, 20000, kKRGB, {0, 1}), "past the limit", 18},
        {"256 colours from 54, 72 bytes", patched(end_only, 46, 0), "colour table runs past the end", 54},
        {"pixel data at 1000", patched(end_only, 10, 1000), "pixel data offset past the end", 10},
        // 300 x 256 = 76800 pixels need 76800 / 256 = 300 bytes of codes
        {"300 x 256, 299 code bytes", rle_bmp(8, 300, 256, kKRGB, codes299), "76800 pixels cannot come from 299", 70},
        {"stops in row 0", rle_bmp(8, 3, 2, kKRGB, {2, 1}), "codes end before the last row", 72},
        {"one byte left in row 1", rle_bmp(8, 3, 2, kKRGB, {2, 1, 0, 0, 3}), "codes end before the last row", 74},
        {"absolute run of 200, 3 bytes", rle_bmp(8, 3, 2, kKRGB, {0, 200, 1, 2, 3}), "absolute run past the end", 72},
        {"delta cut", rle_bmp(8, 3, 2, kKRGB, {0, 2, 1}), "delta cut short", 72},
    };
    for (const auto& c : cases) EXPECT_TRUE(refused_with([&] { image::decode_rle(c.file); }, c.reason, c.offset)) << c.what;
    // the small-picture floor and the boundary of the ratio are read
    EXPECT_EQ(image::decode_rle(rle_bmp(8, 256, 256, kKRGB, {0, 1})).pixels.size(), 65536u);
    EXPECT_EQ(image::decode_rle(rle_bmp(8, 300, 256, kKRGB, codes300)).pixels.size(), 76800u);
}
