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
using tarko::io::ByteReader;
using namespace tarko::test;

namespace {

// The bytes after the header, read with their file offsets.
ByteReader body_of(const Bytes& file) { return ByteReader(file).range(128, file.size() - 128); }

class Pcx : public ::testing::Test {
protected:
    tarko::runtime::ScopedTestServices services_;
};

}  // namespace

TEST_F(Pcx, EightBitRunPastTheRowEndIsCutToTheWidth) {
    // width 5, 6 bytes a line. Row 0: 1, 2, then a run of 10 nines at x = 2:
    // 2 + 10 > 6, so count = 5 - 2 = 3; then a literal 7 at x = 5. Row 1: 6 fours.
    const Bytes file = pcx8(5, 2, 6, {1, 2, 0xC0 | 10, 9, 7, 0xC0 | 6, 4});
    const auto image = pcx::decode_8bit(pcx::read_header(file), body_of(file), pcx::read_palette(file));
    EXPECT_EQ(image.rows, (Bytes{1, 2, 9, 9, 9, 7, 0, 0, 4, 4, 4, 4, 4, 4, 0, 0}));  // rows of 8: 6 up to 4
    // in memory: row bytes wide, through the palette (entry i is (i, 255 - i, i / 2)), opaque
    const tarko::Image plain = pcx::decode(file);
    ASSERT_EQ(plain.width, 6);
    EXPECT_EQ(plain.at(4, 0), 0xFF09F604u);
    EXPECT_EQ(plain.at(5, 1), 0xFF04FB02u);
    // the picture is row bytes wide and drawn through the palette: the cut run's last byte
    const auto picture = pcx::load(file);
    ASSERT_TRUE(picture);
    gdi::BITMAP bm;
    gdi::GetObjectA(picture->Handle(), 24, bm);
    EXPECT_EQ(bm.bmWidth, 6);
    EXPECT_EQ(picture_pixel(picture, 4, 0), 9 | 246 << 8 | 4 << 16);
    EXPECT_TRUE(services_.messages().empty());
}

TEST_F(Pcx, TwentyFourBitPlanesAndRunsIgnoringRows) {
    // 2 x 1, 2 bytes a line: planes R (10, 20), G (30, 40), B (50, 60).
    // 0xC0 0xFF first is a run of 0 copies and writes nothing.
    const Bytes file = pcx24(2, 1, 2, {0xC0, 0xFF, 10, 20, 30, 40, 50, 60});
    EXPECT_EQ(pcx::decode(file).pixels, (std::vector<std::uint32_t>{0xFF0A1E32, 0xFF14283C}));
    // 2 x 2, 2 bytes a line: one run of 12 sevens covers both rows' three planes
    const Bytes runs = pcx24(2, 2, 2, {0xC0 | 12, 7});
    EXPECT_EQ(pcx::decode(runs).pixels, (std::vector<std::uint32_t>(4, 0xFF070707)));
    // the picture object: 32 bits, the same colours
    const auto picture = pcx::load(file);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture_pixel(picture, 1, 0), 0x3C2814);  // COLORREF: blue 60, green 40, red 20
}

TEST_F(Pcx, DamagedFilesAreRefusedSayingWhyAndWhereAndLoadAsNothing) {
    Bytes two_planes = pcx8(2, 1, 2, {1, 2});
    two_planes[65] = 2;
    Bytes zero_height = pcx8(2, 1, 2, {1, 2});
    put16(zero_height, 10, -1);  // ymax -1
    struct Message {
        std::string text;
        int style = 0;
    };
    const Message not8{"Sorry, can't load that pcx file!", tarko::vbOKOnly};
    const Message no_palette{"The PCX that was passed didn't have a 256 colour palette! Can't read it!",
                             tarko::vbExclamation};
    const struct {
        Refusal refusal;
        Message message;  // what load says before giving nothing; most say nothing
    } cases[] = {
        {{"shorter than the header", Bytes(100, 8), "shorter than its 128-byte header", 0}, not8},
        {{"4 bits", pcx_header(4, 1, 2, 2, 2), "4 bits per pixel", 3}, not8},
        {{"2 planes", two_planes, "2 planes", 65}, {}},
        // 128 + 2 + 769 = 899 bytes: the marker is at 899 - 769
        {{"marker 11", pcx8(2, 1, 2, {1, 2}, 11), "palette marker 11", 130}, no_palette},
        {{"no room for a palette", pcx_header(8, 1, 2, 1, 2), "no room for a 256-colour palette", 128}, no_palette},
        {{"height 0", zero_height, "height 0", 10}, {}},
        {{"0 bytes a line", pcx8(2, 1, 0, {1, 2}), "row bytes 0", 66}, {}},
        {{"24-bit width 0", pcx24(0, 1, 2, {1, 2}), "not positive", 4}, {}},
        {{"16385 bytes a line", pcx8(16385, 1, 16385, {}), "past the limit", 66}, {}},
        {{"24-bit 16385 wide", pcx24(16385, 1, 16385, {}), "past the limit", 4}, {}},
        // 2,944 bytes announcing 16384 x 2048: 33554432 pixels from a body of 2816, which holds
        // at most 63 x 2816 = 177408; refused where the body starts, before decoding
        {{"8-bit, 2,944 bytes", pcx8(16384, 2048, 16384, Bytes(2047, 0xC1)), "33554432 pixels cannot", 128}, {}},
        // 24-bit 1000 x 3: the blue plane of the last row ends at 3 x 1000 x 2 + 999 + 2000 = 8999
        {{"24-bit, 3 bytes", pcx24(1000, 3, 1000, {1, 2, 3}), "9000 pixels cannot", 128}, {}},
        // 1 byte a line under 4096 x 4096 reads only 16383 bytes, but makes 16777216 pixels
        {{"24-bit lines narrower than the picture", pcx24(4096, 4096, 1, Bytes(300, 0)), "16777216 pixels cannot", 128}, {}},
        {{"24-bit blue plane short", pcx24(2, 1, 2, {10, 20, 30, 40, 50}), "pixel data cut short", 133}, {}},
    };
    for (const auto& [c, message] : cases) {
        EXPECT_TRUE(refused_with([&] { pcx::decode(c.file); }, c.reason, c.offset)) << c.what;
        const std::size_t before = services_.messages().size();
        EXPECT_FALSE(pcx::load(c.file)) << c.what;
        ASSERT_EQ(services_.messages().size(), before + (message.text.empty() ? 0 : 1)) << c.what;
        if (message.text.empty()) continue;
        EXPECT_EQ(services_.messages().back().text, message.text) << c.what;
        EXPECT_EQ(services_.messages().back().style, message.style) << c.what;
    }
    // xmin -1, xmax 32767: width 32767 + 1 + 1 = 32769 leaves 16 bits
    Bytes wide = pcx8(2, 1, 2, {1, 2});
    put16(wide, 4, -1);
    put16(wide, 8, 32767);
    EXPECT_EQ(error_of([&] { pcx::load(wide); }), tarko::err::Overflow);
    EXPECT_EQ(error_of([] { pcx::load_file("/nonexistent/none.pcx"); }), tarko::err::FileNotFound);
    EXPECT_TRUE(refused_with([] { pcx::decode(pcx8(4, 4, 4, {}), {.max_pixels = 15}); }, "past the limit", 66))
        << "16 pixels, a cap of 15";

    // 8-bit bodies without their palette, 4 x 2: a run of four 7s, then 1, 2 and nothing
    const Bytes header = pcx_header(8, 1, 4, 2, 4);
    const std::array<std::uint8_t, 768> palette{};
    for (const auto& [body, offset] : {std::pair{Bytes{0xC4, 7, 1, 2}, 132}, {Bytes{0xC4}, 129}})
        EXPECT_TRUE(refused_with([&] { pcx::decode_8bit(pcx::read_header(header), ByteReader(body, 128), palette); },
                                 "pixel data cut short", std::size_t(offset)));
}
