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
    gdi::HDC dc = 0;
    gdi::HBITMAP bitmap = 0;
    gdi::HGDIOBJ previous = 0;
    std::uint8_t* bits = nullptr;
    Dib(Long width, Long height) {
        dc = gdi::CreateCompatibleDC(0);
        bitmap = gdi::CreateDIBSection(dc, dib_info(width, height), gdi::DIB_RGB_COLORS, bits, 0, 0);
        previous = gdi::SelectObject(dc, bitmap);
    }
    ~Dib() {
        gdi::SelectObject(dc, previous);
        gdi::DeleteObject(bitmap);
        gdi::DeleteDC(dc);
    }
};

tarko::Ref<DirectDrawSurface7> texture(DirectDraw7& dd, const PixelFormat& format, int w, int h) {
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.lWidth = w;
    desc.lHeight = h;
    desc.ddpfPixelFormat = format.dd();
    return dd.createSurface(desc);
}

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

TEST_F(Gdi, DibSectionIsBottomUpBgrUnderTopDownCoordinates) {
    // 3 x width rounded up to 4: 1 -> 4, 4 -> 12, 5 -> 16
    for (const auto& [width, stride] : {std::pair{1, 4}, {4, 12}, {5, 16}, {2, 8}}) {
        Dib dib(width, 3);
        gdi::BITMAP bm;
        ASSERT_EQ(gdi::GetObjectA(dib.bitmap, 24, bm), 24);
        EXPECT_EQ(bm.bmWidthBytes, stride) << "width " << width;
        EXPECT_EQ(bm.bmBits, dib.bits);
    }
    Dib dib(2, 3);
    // COLORREF 0x00BBGGRR: red 1, green 2, blue 3 at the DC's top-left pixel
    EXPECT_EQ(gdi::SetPixel(dib.dc, 0, 0, 0x030201), 0x030201);
    // the top row is memory row 2 (stride 8): bytes blue, green, red
    EXPECT_EQ(dib.bits[16], 3);
    EXPECT_EQ(dib.bits[17], 2);
    EXPECT_EQ(dib.bits[18], 1);
    dib.bits[3] = 0x40;  // memory row 0, pixel 1, blue: the DC's bottom-right
    EXPECT_EQ(gdi::GetPixel(dib.dc, 1, 2), 0x400000);
    EXPECT_EQ(gdi::GetPixel(dib.dc, 2, 0), gdi::CLR_INVALID);
    EXPECT_EQ(gdi::SetPixel(dib.dc, -1, 0, 0), gdi::CLR_INVALID);
}

TEST_F(Gdi, DibSectionRefusesUnusableHeaders) {
    std::uint8_t* bits = reinterpret_cast<std::uint8_t*>(1);
    EXPECT_EQ(gdi::CreateDIBSection(0, dib_info(0, 5), 0, bits, 0, 0), 0);
    EXPECT_EQ(bits, nullptr);
    EXPECT_EQ(gdi::CreateDIBSection(0, dib_info(5, 0), 0, bits, 0, 0), 0);
    EXPECT_EQ(gdi::CreateDIBSection(0, dib_info(40000, 1), 0, bits, 0, 0), 0);
    EXPECT_EQ(gdi::CreateDIBSection(0, dib_info(20000, 20000), 0, bits, 0, 0), 0);  // past 2^26 pixels
    EXPECT_EQ(gdi::CreateDIBSection(0, dib_info(4, 4, 16), 0, bits, 0, 0), 0);
}

TEST_F(Gdi, SelectObjectHandsBackThePreviousBitmapAndGuardsDeletion) {
    Dib dib(2, 2);
    EXPECT_NE(dib.previous, 0);                          // the stock bitmap
    EXPECT_FALSE(gdi::DeleteObject(dib.bitmap));         // still selected
    EXPECT_FALSE(gdi::DeleteObject(dib.previous));       // stock objects stay
    const gdi::HDC other = gdi::CreateCompatibleDC(0);
    EXPECT_EQ(gdi::SelectObject(other, dib.bitmap), 0);  // selected elsewhere
    EXPECT_EQ(gdi::SelectObject(dib.dc, 12345), 0);      // not an object
    EXPECT_TRUE(gdi::DeleteDC(other));
    EXPECT_EQ(gdi::selected_bitmap(dib.dc), dib.bitmap);
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
    EXPECT_EQ(gdi::GetPixel(dst.dc, 0, 0), 0);
    EXPECT_FALSE(gdi::BitBlt(dst.dc, 0, 0, 1, 1, src.dc, 0, 0, 0x123456));
    EXPECT_FALSE(gdi::BitBlt(dst.dc, 0, 0, 1, 1, 999, 0, 0, gdi::SRCCOPY));
    ASSERT_TRUE(gdi::BitBlt(dst.dc, 0, 0, 1, 1, 0, 0, 0, gdi::WHITENESS));
    EXPECT_EQ(gdi::GetPixel(dst.dc, 0, 0), 0xFFFFFF);

    // within one bitmap, shifting row 0 (0, 1, 2) right by one reads before writing: 0, 0, 1
    ASSERT_TRUE(gdi::BitBlt(src.dc, 1, 0, 2, 1, src.dc, 0, 0, gdi::SRCCOPY));
    EXPECT_EQ(gdi::GetPixel(src.dc, 1, 0), 0);
    EXPECT_EQ(gdi::GetPixel(src.dc, 2, 0), 1);

    Dib narrow(2, 1), wide(4, 1), mirror(2, 1);
    gdi::SetPixel(narrow.dc, 0, 0, 0x0000AA);
    gdi::SetPixel(narrow.dc, 1, 0, 0x0000BB);
    // centre of target column i maps to (2i + 1) x 2 / 8: 0, 0, 1, 1
    ASSERT_TRUE(gdi::StretchBlt(wide.dc, 0, 0, 4, 1, narrow.dc, 0, 0, 2, 1, gdi::SRCCOPY));
    for (int x = 0; x < 4; ++x) EXPECT_EQ(gdi::GetPixel(wide.dc, x, 0), x < 2 ? 0xAA : 0xBB) << x;
    ASSERT_TRUE(gdi::StretchBlt(mirror.dc, 1, 0, -2, 1, narrow.dc, 0, 0, 2, 1, gdi::SRCCOPY));
    EXPECT_EQ(gdi::GetPixel(mirror.dc, 0, 0), 0xBB);
    EXPECT_EQ(gdi::GetPixel(mirror.dc, 1, 0), 0xAA);

    // screen contexts accept drawing and keep nothing
    const gdi::HDC screen = gdi::GetDC(gdi::GetDesktopWindow());
    EXPECT_TRUE(gdi::BitBlt(screen, 0, 0, 1, 1, src.dc, 0, 0, gdi::SRCCOPY));
    EXPECT_EQ(gdi::GetPixel(screen, 0, 0), gdi::CLR_INVALID);
    EXPECT_EQ(gdi::ReleaseDC(0, screen), 1);
    EXPECT_EQ(gdi::ReleaseDC(0, screen), 0);
}

TEST_F(Gdi, StretchDibitsReadsPaddedTopDownRows) {
    Dib dst(2, 2);
    // top-down 24-bit 2 x 2: rows of 6 pixel bytes padded to 8
    const std::vector<std::uint8_t> bits = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(gdi::StretchDIBits(dst.dc, 0, 0, 2, 2, 0, 0, 2, 2, bits, dib_info(2, -2), 0, gdi::SRCCOPY), 2);
    EXPECT_EQ(gdi::GetPixel(dst.dc, 0, 0), 0x010203);  // B 1, G 2, R 3 -> COLORREF 0x00010203
    EXPECT_EQ(gdi::GetPixel(dst.dc, 1, 1), 0x0A0B0C);
    // one byte short of the last row's pixels: refused, nothing read
    const std::vector<std::uint8_t> short_bits(bits.begin(), bits.end() - 1);
    EXPECT_EQ(gdi::StretchDIBits(dst.dc, 0, 0, 2, 2, 0, 0, 2, 2, short_bits, dib_info(2, -2), 0, gdi::SRCCOPY), 0);
}

TEST_F(Gdi, CreateDibitmapMapsEightBitIndicesThroughTheColourTable) {
    gdi::BITMAPINFO info = dib_info(3, -1, 8);
    info.bmiColors[7] = 0x112233;  // red 0x11 in bits 16..23
    const std::vector<std::uint8_t> bits = {7, 0, 7, 0};
    const gdi::HDC screen = gdi::GetDC(0);
    const gdi::HBITMAP bm = gdi::CreateDIBitmap(screen, info.bmiHeader, gdi::CBM_INIT, bits, info, 0);
    gdi::ReleaseDC(0, screen);
    ASSERT_NE(bm, 0);
    const gdi::HDC dc = gdi::CreateCompatibleDC(0);
    const auto previous = gdi::SelectObject(dc, bm);
    EXPECT_EQ(gdi::GetPixel(dc, 0, 0), 0x332211);
    EXPECT_EQ(gdi::GetPixel(dc, 1, 0), 0);
    EXPECT_EQ(gdi::GetPixel(dc, 2, 0), 0x332211);
    gdi::SelectObject(dc, previous);
    gdi::DeleteDC(dc);
    gdi::DeleteObject(bm);
    EXPECT_EQ(gdi::CreateDIBitmap(0, info.bmiHeader, gdi::CBM_INIT, std::span(bits).first(2), info, 0), 0);
}

TEST_F(Gdi, ClipboardTakesABitmapOnlyWhileOpen) {
    const gdi::HBITMAP bm = gdi::CreateCompatibleBitmap(0, 2, 2);
    EXPECT_EQ(gdi::SetClipboardData(gdi::CF_BITMAP, bm), 0);
    ASSERT_TRUE(gdi::OpenClipboard(0));
    EXPECT_FALSE(gdi::OpenClipboard(0));
    EXPECT_TRUE(gdi::EmptyClipboard());
    EXPECT_EQ(gdi::SetClipboardData(1, bm), 0);
    EXPECT_EQ(gdi::SetClipboardData(gdi::CF_BITMAP, bm), bm);
    EXPECT_TRUE(gdi::CloseClipboard());
    EXPECT_EQ(gdi::testing::clipboard_bitmap(), bm);
    gdi::testing::fail_next(gdi::testing::Call::OpenClipboard);
    EXPECT_FALSE(gdi::OpenClipboard(0));
}

TEST(Picture, HiMetricSizesGiveTheirPixelsBackThroughTheEngineConversion) {
    // px = HiMetric x 0.001 x 567 / 15; 1 px is stored as round(15000 / 567) = 26
    EXPECT_EQ(gdi::pixels_to_himetric(1), 26);
    EXPECT_EQ(gdi::pixels_to_himetric(256), 6772);  // 256 x 26.4550 = 6772.3
    for (Long px = 0; px <= 32767; ++px) ASSERT_EQ(gdi::himetric_to_pixels(gdi::pixels_to_himetric(px)), px);
}

TEST(Picture, OleCreatePictureIndirectOwnsWhatItWasGiven) {
    const int before = gdi::testing::live_objects();
    const std::uint32_t pixels[6] = {};
    const gdi::HBITMAP bm = gdi::create_device_bitmap(3, 2, pixels);
    tarko::Ref<gdi::StdPicture> picture;
    gdi::PICTDESC bad;
    bad.cbSizeofstruct = 16;
    bad.hbitmap = bm;
    EXPECT_EQ(gdi::OleCreatePictureIndirect(bad, true, picture), gdi::E_INVALIDARG);
    gdi::PICTDESC desc;
    desc.hbitmap = bm;
    ASSERT_EQ(gdi::OleCreatePictureIndirect(desc, true, picture), gdi::S_OK);
    EXPECT_EQ(picture->Handle(), bm);
    EXPECT_EQ(picture->Width(), gdi::pixels_to_himetric(3));
    picture.reset();
    EXPECT_EQ(gdi::testing::live_objects(), before);
}

TEST(SurfaceDc, WritesDropLowBitsAndAlphaAndReadBackReplicated) {
    DirectDraw7 dd("");
    auto s = texture(dd, PixelFormat::r5g6b5(), 2, 2);
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

    auto alpha = texture(dd, PixelFormat::a1r5g5b5(), 1, 1);
    const tarko::Long adc = alpha->getDC();
    gdi::SetPixel(adc, 0, 0, 0xFFFFFF);
    alpha->releaseDC(adc);
    EXPECT_EQ(alpha->raw_at(0, 0), 0x7FFFu);  // white without the alpha bit
}

TEST(SurfaceDc, BitBltFromADibReachesTheSurface) {
    DirectDraw7 dd("");
    auto s = texture(dd, PixelFormat::x8r8g8b8(), 2, 1);
    Dib mem(2, 1);
    mem.bits[3] = 0x10;  // pixel 1: blue 0x10, green 0x20, red 0x30
    mem.bits[4] = 0x20;
    mem.bits[5] = 0x30;
    const tarko::Long dc = s->getDC();
    EXPECT_TRUE(gdi::BitBlt(dc, 0, 0, 2, 1, mem.dc, 0, 0, gdi::SRCCOPY));
    s->releaseDC(dc);
    EXPECT_EQ(s->argb_at(1, 0) & 0xFFFFFFu, 0x302010u);
    // a context released by a surface that did not give it, or no context at all
    auto other = texture(dd, PixelFormat::r5g6b5(), 1, 1);
    const tarko::Long mine = s->getDC();
    EXPECT_THROW(other->releaseDC(mine), tarko::RuntimeError);
    EXPECT_THROW(s->releaseDC(12345), tarko::RuntimeError);
    s->releaseDC(mine);
}
