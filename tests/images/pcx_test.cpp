// PCX reader: run rules, row padding, palette, messages and hostile headers.
#include <gtest/gtest.h>

#include "images/image_files.h"
#include "images/pcx.h"
#include "platform/gdi/gdi.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

namespace gdi = tarko::platform::gdi;
namespace pcx = tarko::images::pcx;
using tarko::test::Bytes;

namespace {

class Pcx : public ::testing::Test {
protected:
    tarko::runtime::ScopedTestServices services_;
};

}  // namespace

TEST_F(Pcx, EightBitRunPastTheRowEndIsCutToTheWidth) {
    // width 5, 6 bytes a line. Row 0: 1, 2, then a run of 10 nines at x = 2:
    // 2 + 10 > 6, so count = 5 - 2 = 3; then a literal 7 at x = 5. Row 1: 6 fours.
    const Bytes file = tarko::test::pcx8(5, 2, 6, {1, 2, 0xC0 | 10, 9, 7, 0xC0 | 6, 4});
    const auto image = pcx::decode_8bit(*pcx::read_header(file), std::span(file).subspan(128), std::span(file).last<768>());
    ASSERT_TRUE(image);
    EXPECT_EQ(image->stride, 8);  // rows on 4-byte boundaries
    EXPECT_EQ(image->rows, (Bytes{1, 2, 9, 9, 9, 7, 0, 0, 4, 4, 4, 4, 4, 4, 0, 0}));
    EXPECT_EQ(image->palette[9], 9 << 16 | 246 << 8 | 4);  // entry i is (i, 255 - i, i / 2)
    // the picture is row bytes wide and drawn through the palette: the cut run's last byte
    const auto picture = pcx::load(file);
    ASSERT_TRUE(picture);
    gdi::BITMAP bm;
    gdi::GetObjectA(picture->Handle(), 24, bm);
    EXPECT_EQ(bm.bmWidth, 6);
    const gdi::HDC dc = gdi::CreateCompatibleDC(0);
    const auto previous = gdi::SelectObject(dc, picture->Handle());
    EXPECT_EQ(gdi::GetPixel(dc, 4, 0), 9 | 246 << 8 | 4 << 16);
    gdi::SelectObject(dc, previous);
    gdi::DeleteDC(dc);
    EXPECT_TRUE(services_.messages().empty());
}

TEST_F(Pcx, TwentyFourBitPlanesAndRunsIgnoringRows) {
    // 2 x 1, 2 bytes a line: planes R (10, 20), G (30, 40), B (50, 60).
    // 0xC0 0xFF first is a run of 0 copies and writes nothing.
    const Bytes file = tarko::test::pcx24(2, 1, 2, {0xC0, 0xFF, 10, 20, 30, 40, 50, 60});
    const auto image = pcx::decode_24bit(*pcx::read_header(file), std::span(file).subspan(128));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixels, (std::vector<std::uint32_t>{0x0A1E32, 0x14283C}));
    // 2 x 2, 2 bytes a line: one run of 12 sevens covers both rows' three planes
    const auto runs = pcx::decode_24bit(*pcx::read_header(tarko::test::pcx24(2, 2, 2, {})), Bytes{0xC0 | 12, 7});
    ASSERT_TRUE(runs);
    EXPECT_EQ(runs->pixels, (std::vector<std::uint32_t>(4, 0x070707)));
}

TEST_F(Pcx, DamagedFilesGiveNothingWithTheirMessage) {
    Bytes two_planes = tarko::test::pcx8(2, 1, 2, {1, 2});
    two_planes[65] = 2;
    Bytes zero_height = two_planes;
    zero_height[65] = 1;
    tarko::test::put16(zero_height, 10, -1);  // ymax -1
    const std::string not8 = "Sorry, can't load that pcx file!";
    const std::string no_palette = "The PCX that was passed didn't have a 256 colour palette! Can't read it!";
    const struct {
        const char* what;
        Bytes file;
        std::string message;
        int style;
    } cases[] = {
        {"4 bits", tarko::test::pcx_header(4, 1, 2, 2, 2), not8, tarko::vbOKOnly},
        {"garbage shorter than the header", Bytes(100, 8), not8, tarko::vbOKOnly},
        {"marker 11", tarko::test::pcx8(2, 1, 2, {1, 2}, 11), no_palette, tarko::vbExclamation},
        {"no room for a palette", tarko::test::pcx_header(8, 1, 2, 1, 2), no_palette, tarko::vbExclamation},
        {"2 planes", two_planes, "", 0},
        {"height 0", zero_height, "", 0},
        {"body runs out", tarko::test::pcx8(100, 100, 100, {}), "", 0},
        {"30000 x 30000, short", tarko::test::pcx8(30000, 30000, 30000, {1, 2, 3}), "", 0},  // refused before allocating
        {"24-bit 30000 x 3, short", tarko::test::pcx24(30000, 3, 30000, {1, 2, 3}), "", 0},
        {"24-bit blue plane short", tarko::test::pcx24(2, 1, 2, {10, 20, 30, 40, 50}), "", 0},
    };
    for (const auto& c : cases) {
        const std::size_t before = services_.messages().size();
        EXPECT_FALSE(pcx::load(c.file)) << c.what;
        ASSERT_EQ(services_.messages().size(), before + (c.message.empty() ? 0 : 1)) << c.what;
        if (!c.message.empty()) {
            EXPECT_EQ(services_.messages().back().text, c.message) << c.what;
            EXPECT_EQ(services_.messages().back().style, c.style) << c.what;
        }
    }
    // xmin -1, xmax 32767: width 32767 + 1 + 1 = 32769 leaves 16 bits
    Bytes wide = tarko::test::pcx8(2, 1, 2, {1, 2});
    tarko::test::put16(wide, 4, -1);
    tarko::test::put16(wide, 8, 32767);
    EXPECT_EQ(tarko::test::error_of([&] { pcx::load(wide); }), tarko::err::Overflow);
    EXPECT_EQ(tarko::test::error_of([] { pcx::load_file("/nonexistent/none.pcx"); }), tarko::err::FileNotFound);
}
