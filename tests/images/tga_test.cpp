// TGA reader: raw and run-length bodies, row order, hostile headers, drawing.
#include <gtest/gtest.h>

#include "images/dib_section.h"
#include "images/image_files.h"
#include "images/tga.h"
#include "platform/gdi/gdi.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace gdi = tarko::platform::gdi;
namespace tga = tarko::images::tga;
using tarko::test::Bytes;
using tarko::test::error_of;
using tarko::test::refused_with;

TEST(Tga, RunLengthThreeByTwoReadAndDrawn) {
    // file row 0 (the picture's bottom): a run of 3 x (1, 2, 3); file row 1 (top): 3 raw pixels 4..12
    const Bytes file = tarko::test::tga(10, 3, 2, {0x82, 1, 2, 3, 0x02, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    const auto image = tga::read(file);
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.bits, 24);
    EXPECT_EQ(image.pixels, (Bytes{4, 5, 6, 7, 8, 9, 10, 11, 12, 1, 2, 3, 1, 2, 3, 1, 2, 3}));
    // width 3: 9 bytes a row, padded to 12 before drawing
    cDIBSection dib;
    ASSERT_TRUE(dib.Create(3, 2));
    tga::draw(image, dib.hDC());
    EXPECT_EQ(gdi::GetPixel(dib.hDC(), 0, 0), 0x040506);  // top row: B 4, G 5, R 6
    EXPECT_EQ(gdi::GetPixel(dib.hDC(), 1, 1), 0x010203);
    // in memory: the same rows, opaque 0xAARRGGBB
    EXPECT_EQ(tga::decode(file).pixels,
              (std::vector<std::uint32_t>{0xFF060504, 0xFF090807, 0xFF0C0B0A, 0xFF030201, 0xFF030201, 0xFF030201}));
}

TEST(Tga, PacketsCrossRowsAndTheIdFieldIsNotSkipped) {
    // a run of 4 fills row 0 and one pixel of row 1; a raw packet of 3 has one pixel too many
    auto image = tga::read(tarko::test::tga(10, 3, 2, {0x83, 9, 9, 9, 0x02, 1, 1, 1, 2, 2, 2, 3, 3, 3}));
    EXPECT_EQ(image.pixels, (Bytes{9, 9, 9, 1, 1, 1, 2, 2, 2, 9, 9, 9, 9, 9, 9, 9, 9, 9}));
    // id length 5: the first two pixels are still the 6 bytes after the header
    image = tga::read(tarko::test::tga(2, 2, 1, {1, 2, 3, 4, 5, 6, 7, 8}, 24, 5));
    EXPECT_EQ(image.pixels, (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(Tga, DamagedFilesAreRefusedSayingWhyAndWhereAndReadWithTheirError) {
    const int past_end = tarko::err::InputPastEnd, too_large = tarko::err::OutOfMemory;
    const struct {
        tarko::test::Refusal refusal;
        int error;  // what read raises; 0: an empty record, no error
    } cases[] = {
        {{"17 bytes", Bytes(17, 0), "shorter than its 18-byte header", 0}, 0},
        {{"type 3", tarko::test::tga(3, 1, 1, Bytes(3, 1)), "image type 3", 2}, 0},
        {{"32 bits", tarko::test::tga(2, 1, 1, Bytes(4, 1), 32), "pixel depth 32", 16}, 0},
        {{"raw, 11 of 12 bytes", tarko::test::tga(2, 2, 2, Bytes(11, 0)), "4 pixels cannot come from 11 bytes", 18}, past_end},
        {{"run pixel cut", tarko::test::tga(10, 3, 1, {0x82, 1, 2}), "pixel data cut short", 19}, past_end},
        {{"raw packet cut", tarko::test::tga(10, 2, 1, {0x01, 1, 2, 3, 4, 5}), "pixel data cut short", 19}, past_end},
        {{"65535 x 65535", tarko::test::tga(10, 65535, 65535, {0xFF, 1, 2, 3}), "past the limit", 12}, too_large},
        {{"16385 wide", tarko::test::tga(10, 16385, 1, {0xFF, 1, 2, 3}), "past the limit", 12}, too_large},
        // one packet of 4 bytes gives at most 128 pixels: 16000000 cannot come from it, refused before allocating
        {{"4000 x 4000 from 4 bytes", tarko::test::tga(10, 4000, 4000, {0xFF, 1, 2, 3}), "16000000 pixels cannot", 18}, past_end},
    };
    for (const auto& [c, error] : cases) {
        EXPECT_TRUE(refused_with([&] { tga::decode(c.file); }, c.reason, c.offset)) << c.what;
        tga::TgaImage record;
        EXPECT_EQ(error_of([&] { record = tga::read(c.file); }), error) << c.what;
        EXPECT_EQ(record.width, 0) << c.what;
        EXPECT_TRUE(record.pixels.empty()) << c.what;
    }
    const Bytes sixteen = tarko::test::tga(2, 4, 4, Bytes(48, 0));
    EXPECT_TRUE(refused_with([&] { tga::decode(sixteen, {.max_pixels = 15}); }, "past the limit", 12)) << "a cap of 15";
    EXPECT_EQ(error_of([] { tga::read(tarko::test::tga(2, 0, 5, {})); }), 0) << "zero width: an empty picture";
    EXPECT_EQ(error_of([] { tga::read_file("/nonexistent/none.tga"); }), tarko::err::FileNotFound);
}
