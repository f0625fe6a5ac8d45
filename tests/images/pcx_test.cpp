// PCX reader: run rules, row padding, palette, messages and hostile headers.
#include <gtest/gtest.h>

#include "images/image_files.h"
#include "images/pcx.h"
#include "support/test_support.h"

#include <fstream>
#include "platform/gdi/gdi.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace gdi = tarko::platform::gdi;
namespace pcx = tarko::images::pcx;
using tarko::test::Bytes;

namespace {

tarko::Long pixel_of(const tarko::Ref<gdi::StdPicture>& picture, int x, int y) {
    const gdi::HDC dc = gdi::CreateCompatibleDC(0);
    const auto previous = gdi::SelectObject(dc, picture->Handle());
    const tarko::Long c = gdi::GetPixel(dc, x, y);
    gdi::SelectObject(dc, previous);
    gdi::DeleteDC(dc);
    return c;
}

// Palette entry i of the test files is (i, 255 - i, i / 2): as a COLORREF.
tarko::Long entry(int i) { return i | (255 - i) << 8 | (i / 2) << 16; }

class Pcx : public ::testing::Test {
protected:
    tarko::runtime::ScopedTestServices services_;
};

}  // namespace

TEST_F(Pcx, EightBitRunPastTheRowEndIsCutToTheWidth) {
    // width 5, 6 bytes a line. Row 0: 1, 2, then a run of 10 nines at x = 2:
    // 2 + 10 > 6, so count = 5 - 2 = 3; then a literal 7 at x = 5.
    // Row 1: a run of 6 fours fills it exactly.
    const Bytes body = {1, 2, 0xC0 | 10, 9, 7, 0xC0 | 6, 4};
    const Bytes file = tarko::test::pcx8(5, 2, 6, body);
    const auto header = pcx::read_header(file);
    ASSERT_TRUE(header);
    const auto image = pcx::decode_8bit(*header, std::span(file).subspan(128), std::span(file).last<768>());
    ASSERT_TRUE(image);
    EXPECT_EQ(image->row_bytes, 6);
    EXPECT_EQ(image->stride, 8);  // rows on 4-byte boundaries
    EXPECT_EQ(image->rows, (Bytes{1, 2, 9, 9, 9, 7, 0, 0, 4, 4, 4, 4, 4, 4, 0, 0}));
    EXPECT_EQ(image->palette[9], 9 << 16 | 246 << 8 | 4);
}

TEST_F(Pcx, EightBitPictureIsRowBytesWideAndUsesThePalette) {
    const Bytes body = {1, 2, 0xC0 | 10, 9, 7, 0xC0 | 6, 4};
    const auto picture = pcx::load(tarko::test::pcx8(5, 2, 6, body));
    ASSERT_TRUE(picture);
    gdi::BITMAP bm;
    gdi::GetObjectA(picture->Handle(), 24, bm);
    EXPECT_EQ(bm.bmWidth, 6);
    EXPECT_EQ(bm.bmHeight, 2);
    EXPECT_NE(picture->hPal(), 0);
    EXPECT_EQ(pixel_of(picture, 2, 0), entry(9));
    EXPECT_EQ(pixel_of(picture, 5, 0), entry(7));
    EXPECT_EQ(pixel_of(picture, 0, 1), entry(4));
    EXPECT_TRUE(services_.messages().empty());
}

TEST_F(Pcx, OddWidthRowsStayOnFourByteBoundaries) {
    // 5 bytes a line, 2 rows: stride 8; row 1 starts at byte 8
    const Bytes body = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const Bytes file = tarko::test::pcx8(5, 2, 5, body);
    const auto image = pcx::decode_8bit(*pcx::read_header(file), std::span(file).subspan(128), std::span(file).last<768>());
    ASSERT_TRUE(image);
    EXPECT_EQ(image->rows, (Bytes{1, 2, 3, 4, 5, 0, 0, 0, 6, 7, 8, 9, 10, 0, 0, 0}));
}

TEST_F(Pcx, TwentyFourBitPlanesAndTheRunOfZero) {
    // 2 x 1, 2 bytes a line: planes R (10, 20), G (30, 40), B (50, 60).
    // 0xC0 0xFF first is a run of 0 copies and writes nothing.
    const Bytes body = {0xC0, 0xFF, 10, 20, 30, 40, 50, 60};
    const Bytes file = tarko::test::pcx24(2, 1, 2, body);
    const auto image = pcx::decode_24bit(*pcx::read_header(file), std::span(file).subspan(128));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixels, (std::vector<std::uint32_t>{0x0A1E32, 0x14283C}));
    const auto picture = pcx::load(file);
    ASSERT_TRUE(picture);
    EXPECT_EQ(pixel_of(picture, 1, 0), 0x3C2814);  // COLORREF: red low
}

TEST_F(Pcx, TwentyFourBitRunsIgnoreRowsAndPlanes) {
    // 2 x 2, 2 bytes a line: one run of 12 sevens covers both rows' three planes
    const auto image = pcx::decode_24bit(*pcx::read_header(tarko::test::pcx24(2, 2, 2, {0xC0 | 12, 7})),
                                         Bytes{0xC0 | 12, 7});
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixels, (std::vector<std::uint32_t>(4, 0x070707)));
}

TEST_F(Pcx, NotEightBitsGivesTheMessageAndNothing) {
    EXPECT_FALSE(pcx::load(tarko::test::pcx_header(4, 1, 2, 2, 2)));
    ASSERT_EQ(services_.messages().size(), 1u);
    EXPECT_EQ(services_.messages()[0].text, "Sorry, can't load that pcx file!");
    EXPECT_EQ(services_.messages()[0].style, tarko::vbOKOnly);
    EXPECT_FALSE(pcx::load(Bytes(100, 8)));  // shorter than the header: the same message
    EXPECT_EQ(services_.messages().size(), 2u);
}

TEST_F(Pcx, EightBitWithoutThePaletteMarkerGivesTheExclamation) {
    EXPECT_FALSE(pcx::load(tarko::test::pcx8(2, 1, 2, {1, 2}, /*marker=*/11)));
    ASSERT_EQ(services_.messages().size(), 1u);
    EXPECT_EQ(services_.messages()[0].text,
              "The PCX that was passed didn't have a 256 colour palette! Can't read it!");
    EXPECT_EQ(services_.messages()[0].style, tarko::vbExclamation);
    EXPECT_FALSE(pcx::load(tarko::test::pcx_header(8, 1, 2, 1, 2)));  // no room for a palette at all
    EXPECT_EQ(services_.messages().size(), 2u);
}

TEST_F(Pcx, OtherPlaneCountsGiveNothingQuietly) {
    Bytes file = tarko::test::pcx8(2, 1, 2, {1, 2});
    file[65] = 2;
    EXPECT_FALSE(pcx::load(file));
    EXPECT_TRUE(services_.messages().empty());
}

TEST_F(Pcx, WidthsOutsideSixteenBitsOverflow) {
    Bytes file = tarko::test::pcx8(2, 1, 2, {1, 2});
    tarko::test::put16(file, 4, -1);      // xmin -1
    tarko::test::put16(file, 8, 32767);   // xmax 32767: 32767 + 1 + 1 = 32769
    try {
        pcx::load(file);
        FAIL();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), tarko::err::Overflow);
    }
}

TEST_F(Pcx, EmptyTruncatedAndHugeImagesGiveNothing) {
    Bytes zero = tarko::test::pcx8(2, 1, 2, {1, 2});
    tarko::test::put16(zero, 10, -1);  // ymax -1: height 0
    EXPECT_FALSE(pcx::load(zero));
    // 100 rows of 100 bytes from a body of the palette alone: runs out
    EXPECT_FALSE(pcx::load(tarko::test::pcx8(100, 100, 100, {})));
    // 30000 x 30000 claimed by a short file: refused before allocating
    EXPECT_FALSE(pcx::load(tarko::test::pcx8(30000, 30000, 30000, {1, 2, 3})));
    EXPECT_FALSE(pcx::load(tarko::test::pcx24(30000, 3, 30000, {1, 2, 3})));
    EXPECT_FALSE(pcx::load(tarko::test::pcx24(2, 1, 2, {10, 20, 30, 40, 50})));  // blue plane short
    EXPECT_TRUE(services_.messages().empty());
}

TEST_F(Pcx, MissingFileRaises) {
    try {
        pcx::load_file("/nonexistent/none.pcx");
        FAIL();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), tarko::err::FileNotFound);
    }
}

TEST_F(Pcx, LoadsFromAFile) {
    const Bytes file = tarko::test::pcx8(5, 2, 6, {1, 2, 0xC0 | 10, 9, 7, 0xC0 | 6, 4});
    const auto path = tarko::test::scratch_dir("PcxFile") / "cut.pcx";
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
    const auto picture = pcx::load_file(path.string());
    ASSERT_TRUE(picture);
    EXPECT_EQ(pixel_of(picture, 4, 0), entry(9));  // the last byte of the cut run
}
