// cDIBSection: layout, life cycle, copies and the clipboard.
#include <gtest/gtest.h>

#include "images/dib_section.h"
#include "platform/gdi/gdi.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

namespace gdi = tarko::platform::gdi;

namespace {

class DibSection : public ::testing::Test {
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
    tarko::runtime::ScopedTestServices services_;
};

}  // namespace

TEST_F(DibSection, BottomUpBgrRowsPaddedToFourBytes) {
    cDIBSection dib;
    ASSERT_TRUE(dib.Create(5, 2));
    EXPECT_EQ(dib.BytesPerScanLine(), 16);  // 3 x 5 up to 4
    ASSERT_TRUE(dib.Create(1, 3));
    EXPECT_EQ(dib.BytesPerScanLine(), 4);
    // one pixel wide: memory row 1 starts 4 bytes after row 0; DC row 0 is memory row 2
    dib.DIBSectionBitsPtr()[4] = 0x11;      // row 1 blue
    dib.DIBSectionBitsPtr()[8 + 2] = 0x22;  // row 2 red
    EXPECT_EQ(gdi::GetPixel(dib.hDC(), 0, 1), 0x110000);
    EXPECT_EQ(gdi::GetPixel(dib.hDC(), 0, 0), 0x000022);
}

TEST_F(DibSection, FailedCreateAndClearUpHoldNothing) {
    cDIBSection dib;
    ASSERT_TRUE(dib.Create(4, 4));
    const int holding = gdi::testing::live_objects();
    gdi::testing::fail_next(gdi::testing::Call::CreateDIBSection);
    EXPECT_FALSE(dib.Create(8, 8));
    EXPECT_EQ(gdi::testing::live_objects(), holding - 2);  // the old DC and DIB both gone
    EXPECT_FALSE(dib.Create(0, 8));
    // 3 x 30000 = 90000 row bytes x 30000 rows = 2.7e9 > 2^31 - 1
    EXPECT_EQ(tarko::test::error_of([&] { dib.Create(30000, 30000); }), tarko::err::Overflow);
    ASSERT_TRUE(dib.Create(7, 5));
    dib.ClearUp();
    EXPECT_EQ(dib.DIBSectionBitsPtr(), nullptr);
    dib.GrayScale();  // nothing held: nothing done, nothing read
}

TEST_F(DibSection, CreateFromPictureCopiesEveryPixel) {
    const std::uint32_t rgb[6] = {0x010203, 0x040506, 0x070809, 0x0A0B0C, 0x0D0E0F, 0x101112};
    tarko::Ref<gdi::StdPicture> picture;
    gdi::PICTDESC desc;
    desc.hbitmap = gdi::create_device_bitmap(3, 2, rgb);
    ASSERT_EQ(gdi::OleCreatePictureIndirect(desc, true, picture), gdi::S_OK);
    cDIBSection dib;
    EXPECT_TRUE(dib.CreateFromPicture(picture).is_empty());
    ASSERT_EQ(dib.Height(), 2);
    // picture top row = memory row 1 (offset 12): 0x010203 as B 03, G 02, R 01
    const std::uint8_t* bits = dib.DIBSectionBitsPtr();
    EXPECT_EQ(bits[12], 0x03);
    EXPECT_EQ(bits[14], 0x01);
    EXPECT_EQ(bits[6], 0x12);  // bottom row, third pixel, blue
    EXPECT_THROW(dib.CreateFromPicture(tarko::Ref<gdi::StdPicture>()), tarko::RuntimeError);
}

TEST_F(DibSection, PaintPictureAndLoadPictureBltUseTheOwnSizeForNegatives) {
    cDIBSection a, b, c;
    ASSERT_TRUE(a.Create(2, 2));
    ASSERT_TRUE(b.Create(3, 3));
    ASSERT_TRUE(c.Create(1, 1));
    gdi::SetPixel(a.hDC(), 1, 1, 0x123456);
    a.PaintPicture(b.hDC(), 1, 1, -1, -1, 0, 0, gdi::SRCCOPY);
    EXPECT_EQ(gdi::GetPixel(b.hDC(), 2, 2), 0x123456);
    c.LoadPictureBlt(b.hDC(), 2, 2, -1, -1, gdi::SRCCOPY);
    EXPECT_EQ(gdi::GetPixel(c.hDC(), 0, 0), 0x123456);
}

TEST_F(DibSection, ClipboardTakesACopyAsBitmapAndOnlyTalksForADib) {
    cDIBSection dib;
    ASSERT_TRUE(dib.Create(2, 1));
    EXPECT_FALSE(dib.CopyToClipboard(true));
    ASSERT_EQ(services_.messages().size(), 1u);
    EXPECT_EQ(services_.messages()[0].text, "I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!");
    EXPECT_EQ(services_.messages()[0].style, tarko::vbOKOnly);
    EXPECT_EQ(gdi::testing::clipboard_bitmap(), 0);

    gdi::SetPixel(dib.hDC(), 1, 0, 0x00FF00);
    ASSERT_TRUE(dib.CopyToClipboard(false));
    gdi::BitmapView view;
    ASSERT_TRUE(gdi::bitmap_view(gdi::testing::clipboard_bitmap(), view));
    EXPECT_EQ(view.width, 2);
    EXPECT_EQ(view.row(0)[4 + 1], 0xFF);  // second pixel, green
    gdi::testing::fail_next(gdi::testing::Call::OpenClipboard);
    EXPECT_FALSE(dib.CopyToClipboard(false));
}
