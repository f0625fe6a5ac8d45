// Device contexts, DIB sections, blits and pictures of the window-system
// layer, and device contexts over surfaces.
#include <gtest/gtest.h>

#include "platform/constants.h"
#include "platform/ddraw.h"
#include "platform/gdi/gdi.h"
#include "platform/gdi/picture.h"
#include "runtime/errors.h"

namespace gdi = tarko::platform::gdi;
using tarko::Long;
using tarko::platform::PixelFormat;

namespace {

gdi::BITMAPINFO dib_info(Long width, Long height, int bits = 24) {
    gdi::BITMAPINFO info;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biBitCount = static_cast<tarko::Integer>(bits);
    return info;
}

// A DIB section selected in a memory DC, given back at the end.
struct Dib {
    gdi::HDC dc = gdi::CreateCompatibleDC(0);
    std::uint8_t* bits = nullptr;
    gdi::HBITMAP bitmap;
    gdi::HGDIOBJ previous;
    Dib(Long width, Long height, int bit_count = 24)
        : bitmap(gdi::CreateDIBSection(dc, dib_info(width, height, bit_count), gdi::DIB_RGB_COLORS, bits, 0, 0)),
          previous(gdi::SelectObject(dc, bitmap)) {}
    ~Dib() {
        gdi::SelectObject(dc, previous);
        gdi::DeleteObject(bitmap);
        gdi::DeleteDC(dc);
    }
};

class Gdi : public ::testing::Test {
protected:
    void SetUp() override {
        gdi::testing::reset();
        baseline_ = gdi::testing::live_objects();
    }
    void TearDown() override {
        gdi::testing::reset();
        EXPECT_EQ(gdi::testing::live_objects(), baseline_) << "handles leaked";
    }
    int baseline_ = 0;
};

}  // namespace

TEST_F(Gdi, DibSectionIsBottomUpBgrUnderTopDownCoordinatesAndGuardedWhileSelected) {
    Dib dib(2, 3);
    // COLORREF 0x00BBGGRR: red 1, green 2, blue 3 at the DC's top-left pixel,
    // which is memory row 2: bytes blue, green, red
    EXPECT_EQ(gdi::SetPixel(dib.dc, 0, 0, 0x030201), 0x030201);
    EXPECT_EQ(dib.bits[16], 3);  // stride 3 x 2 rounded up to 4 = 8
    EXPECT_EQ(dib.bits[18], 1);
    dib.bits[3] = 0x40;  // memory row 0, pixel 1, blue: the DC's bottom-right
    EXPECT_EQ(gdi::GetPixel(dib.dc, 1, 2), 0x400000);
    EXPECT_EQ(gdi::GetPixel(dib.dc, 2, 0), gdi::CLR_INVALID);
    // zero sides, too wide, past 2^26 pixels, 16 bits: refused
    std::uint8_t* bits = reinterpret_cast<std::uint8_t*>(1);
    for (const auto& info : {dib_info(0, 5), dib_info(40000, 1), dib_info(20000, 20000), dib_info(4, 4, 16)})
        EXPECT_EQ(gdi::CreateDIBSection(0, info, 0, bits, 0, 0), 0);
    EXPECT_EQ(bits, nullptr);
    EXPECT_FALSE(gdi::DeleteObject(dib.bitmap));    // still selected
    EXPECT_FALSE(gdi::DeleteObject(dib.previous));  // stock objects stay
    const gdi::HDC other = gdi::CreateCompatibleDC(0);
    EXPECT_EQ(gdi::SelectObject(other, dib.bitmap), 0);  // selected elsewhere
    EXPECT_TRUE(gdi::DeleteDC(other));
}

TEST_F(Gdi, BlitsClipOverlapAndStretch) {
    Dib src(3, 3), dst(3, 3);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x) gdi::SetPixel(src.dc, x, y, x + 10 * y);
    // target at (-1, 1) clips one column on the left and one row at the bottom:
    // target (0, 1) takes source (1, 0), target (1, 2) takes source (2, 1)
    ASSERT_TRUE(gdi::BitBlt(dst.dc, -1, 1, 3, 3, src.dc, 0, 0, gdi::SRCCOPY));
    EXPECT_EQ(gdi::GetPixel(dst.dc, 0, 1), 1);
    EXPECT_EQ(gdi::GetPixel(dst.dc, 1, 2), 12);
    EXPECT_EQ(gdi::GetPixel(dst.dc, 2, 1), 0);  // source column 3 does not exist
    EXPECT_FALSE(gdi::BitBlt(dst.dc, 0, 0, 1, 1, src.dc, 0, 0, 0x123456));
    // within one bitmap, shifting row 0 (0, 1, 2) right by one reads before writing: 0, 0, 1
    ASSERT_TRUE(gdi::BitBlt(src.dc, 1, 0, 2, 1, src.dc, 0, 0, gdi::SRCCOPY));
    EXPECT_EQ(gdi::GetPixel(src.dc, 2, 0), 1);

    Dib narrow(2, 1), wide(4, 1), mirror(2, 1);
    gdi::SetPixel(narrow.dc, 0, 0, 0x0000AA);
    gdi::SetPixel(narrow.dc, 1, 0, 0x0000BB);
    // centre of target column i maps to (2i + 1) x 2 / 8: 0, 0, 1, 1
    ASSERT_TRUE(gdi::StretchBlt(wide.dc, 0, 0, 4, 1, narrow.dc, 0, 0, 2, 1, gdi::SRCCOPY));
    for (int x = 0; x < 4; ++x) EXPECT_EQ(gdi::GetPixel(wide.dc, x, 0), x < 2 ? 0xAA : 0xBB) << x;
    ASSERT_TRUE(gdi::StretchBlt(mirror.dc, 1, 0, -2, 1, narrow.dc, 0, 0, 2, 1, gdi::SRCCOPY));
    EXPECT_EQ(gdi::GetPixel(mirror.dc, 0, 0), 0xBB);

    // top-down 24-bit 2 x 2: rows of 6 pixel bytes padded to 8; B 1, G 2, R 3 -> COLORREF 0x00010203
    const std::vector<std::uint8_t> bits = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(gdi::StretchDIBits(dst.dc, 0, 0, 2, 2, 0, 0, 2, 2, bits, dib_info(2, -2), 0, gdi::SRCCOPY), 2);
    EXPECT_EQ(gdi::GetPixel(dst.dc, 0, 0), 0x010203);
    EXPECT_EQ(gdi::GetPixel(dst.dc, 1, 1), 0x0A0B0C);
    // one byte short of the last row's pixels: refused, nothing read
    EXPECT_EQ(gdi::StretchDIBits(dst.dc, 0, 0, 2, 2, 0, 0, 2, 2, std::span(bits).first(13), dib_info(2, -2), 0,
                                 gdi::SRCCOPY), 0);
}

TEST_F(Gdi, ThirtyTwoBitTopDownDibSectionsDrawIntoTheirBits) {
    Dib dib(2, -2, 32);
    ASSERT_TRUE(dib.bitmap && dib.bits);
    gdi::SetPixel(dib.dc, 1, 0, 0x030201);  // top row first in memory: pixel 1 at byte 4, blue first
    EXPECT_EQ((std::vector<std::uint8_t>(dib.bits + 4, dib.bits + 7)), (std::vector<std::uint8_t>{3, 2, 1}));
}

TEST_F(Gdi, StretchDIBitsTakesTheSourcePixelUnderEachTargetCentre) {
    // Source pixels 1, 2, 3 (blue bytes, so COLORREF 0x010000 x n). Target
    // pixel i takes source (2i + 1) x sw / (2 dw); a corner rule (i x sw / dw)
    // or a rounded centre would pick differently where marked.
    const struct {
        int sw, sh, dw, dh;
        std::vector<Long> expected;  // source pixel numbers, target row by row
    } cases[] = {
        {3, 1, 4, 1, {1, 2, 2, 3}},  // 3 / 8, 9 / 8, 15 / 8, 21 / 8 = 0, 1, 1, 2 (corner: 0, 0, 1, 2)
        {3, 1, 5, 1, {1, 1, 2, 3, 3}},  // 3 / 10, 9 / 10, 15 / 10, 21 / 10, 27 / 10 (rounded: 0, 1, 2, 2, 3)
        {1, 2, 1, 1, {2}},           // rows likewise: row 1 x 2 / 2 = 1 of a top-down source
    };
    for (const auto& c : cases) {
        std::vector<std::uint8_t> bits;
        for (int y = 0; y < c.sh; ++y) {
            for (int x = 0; x < c.sw; ++x) bits.insert(bits.end(), {static_cast<std::uint8_t>(y * c.sw + x + 1), 0, 0});
            while (bits.size() % 4) bits.push_back(0);
        }
        Dib target(c.dw, c.dh);
        ASSERT_EQ(gdi::StretchDIBits(target.dc, 0, 0, c.dw, c.dh, 0, 0, c.sw, c.sh, bits, dib_info(c.sw, -c.sh), 0,
                                     gdi::SRCCOPY),
                  c.dh);
        std::vector<Long> got;
        for (int y = 0; y < c.dh; ++y)
            for (int x = 0; x < c.dw; ++x) got.push_back(gdi::GetPixel(target.dc, x, y) >> 16);
        EXPECT_EQ(got, c.expected) << c.sw << "x" << c.sh << " -> " << c.dw << "x" << c.dh;
    }
}

TEST(Picture, HiMetricSizesGiveTheirPixelsBack) {
    // px = HiMetric x 0.001 x 567 / 15; 256 px is 256 x 26.4550 = 6772.3 -> 6772
    EXPECT_EQ(gdi::pixels_to_himetric(256), 6772);
    for (Long px = 0; px <= 32767; ++px) ASSERT_EQ(gdi::himetric_to_pixels(gdi::pixels_to_himetric(px)), px);
}

TEST(SurfaceDc, WritesDropLowBitsAndReadBackReplicated) {
    DirectDraw7 dd("");
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.lWidth = desc.lHeight = 2;
    desc.ddpfPixelFormat = PixelFormat::r5g6b5().dd();
    auto s = dd.createSurface(desc);
    const tarko::Long dc = s->getDC();
    // red 0xFF, green 0x07, blue 0x08: 565 keeps 31, 1, 1 -> raw 0xF821
    gdi::SetPixel(dc, 1, 0, 0x0807FF);
    EXPECT_EQ(s->raw_at(1, 0), 0xF821u);
    // read back: 31 -> 255, green 1 (6 bits) -> 4, blue 1 (5 bits) -> 8
    EXPECT_EQ(gdi::GetPixel(dc, 1, 0), 0x0804FF);
    const auto before = s->generation();
    s->releaseDC(dc);
    EXPECT_GT(s->generation(), before);
    EXPECT_EQ(gdi::GetPixel(dc, 1, 0), gdi::CLR_INVALID);  // released
    EXPECT_THROW(s->releaseDC(12345), tarko::RuntimeError);
}
