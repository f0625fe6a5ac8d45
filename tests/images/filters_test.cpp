// Filters of cDIBSection: values worked out by hand, walk order, pumping and
// the progress they report.
#include <gtest/gtest.h>

#include <vector>

#include "images/dib_section.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace {

class Filters : public ::testing::Test {
protected:
    // A W x H bitmap whose bytes are all `fill`.
    void make(int w, int h, std::uint8_t fill = 0) {
        ASSERT_TRUE(dib_.Create(w, h));
        std::fill_n(dib_.DIBSectionBitsPtr(), dib_.BytesPerScanLine() * h, fill);
    }
    std::uint8_t& at(int x_byte, int row) { return dib_.DIBSectionBitsPtr()[row * dib_.BytesPerScanLine() + x_byte]; }
    void pixel(int x, int row, int r, int g, int b) {
        at(3 * x, row) = static_cast<std::uint8_t>(b);
        at(3 * x + 1, row) = static_cast<std::uint8_t>(g);
        at(3 * x + 2, row) = static_cast<std::uint8_t>(r);
    }
    tarko::Long process() const { return dib_.Process_Value().to_long(); }

    tarko::runtime::ScopedTestServices services_;
    cDIBSection dib_;
};

}  // namespace

TEST_F(Filters, GrayScaleUsesTheWeights222_707_71) {
    make(4, 2);
    pixel(0, 0, 255, 0, 0);      // 222 x 255 / 1000 = 56.61 -> 57
    pixel(1, 0, 0, 255, 0);      // 707 x 255 / 1000 = 180.285 -> 180
    pixel(2, 0, 0, 0, 255);      // 71 x 255 / 1000 = 18.105 -> 18
    pixel(3, 0, 255, 255, 255);  // 1000 x 255 / 1000 = 255
    pixel(0, 1, 1, 0, 18);       // (222 + 1278) / 1000 = 1.5 -> 2
    pixel(1, 1, 2, 1, 19);       // (444 + 707 + 1349) / 1000 = 2.5 -> 2 (half to even)
    pixel(2, 1, 100, 50, 200);   // (22200 + 35350 + 14200) / 1000 = 71.75 -> 72
    dib_.GrayScale();
    const int expected[] = {57, 180, 18, 255, 2, 2, 72, 0};
    for (int i = 0; i < 8; ++i) {
        const int x = i % 4, row = i / 4;
        EXPECT_EQ(at(3 * x, row), expected[i]) << "pixel " << i;
        EXPECT_EQ(at(3 * x + 1, row), expected[i]);
        EXPECT_EQ(at(3 * x + 2, row), expected[i]);
    }
    EXPECT_EQ(process(), -1);
    EXPECT_EQ(services_.pumps(), 4);  // once a column
}

TEST_F(Filters, GrayScaleReportsPercentagesAgainst3WMinus2) {
    make(3, 1);
    std::vector<tarko::Long> seen;
    auto previous = tarko::runtime::set_pump([&] { seen.push_back(process()); });
    dib_.GrayScale();
    tarko::runtime::set_pump(previous);
    // columns at bytes 0, 3, 6 of 3 x 3 - 2 = 7: Int(0), Int(42.86), Int(85.71)
    EXPECT_EQ(seen, (std::vector<tarko::Long>{0, 42, 85}));
    EXPECT_EQ(process(), -1);
}

TEST_F(Filters, AssombrirScalesByLevelOver255Truncating) {
    make(2, 1);
    pixel(0, 0, 255, 100, 1);
    pixel(1, 0, 254, 0, 128);
    dib_.Assombrir(128);
    // 255 x 128 \ 255 = 128; 100 x 128 \ 255 = 50 (50.2); 1 x 128 \ 255 = 0;
    // 254 x 128 \ 255 = 127 (127.5 truncated); 128 x 128 \ 255 = 64 (64.25)
    EXPECT_EQ(at(2, 0), 128);
    EXPECT_EQ(at(1, 0), 50);
    EXPECT_EQ(at(0, 0), 0);
    EXPECT_EQ(at(5, 0), 127);
    EXPECT_EQ(at(3, 0), 64);
    EXPECT_EQ(services_.pumps(), 2);  // once a pixel
    dib_.Assombrir(255);
    EXPECT_EQ(at(2, 0), 128);
    dib_.Assombrir(0);
    EXPECT_EQ(at(2, 0), 0);
    pixel(0, 0, 200, 200, 200);
    dib_.Assombrir(510);  // 400 is clamped
    EXPECT_EQ(at(0, 0), 255);
}

TEST_F(Filters, AddImagesClampsTheSumOfBothTerms) {
    make(1, 1);
    pixel(0, 0, 100, 200, 7);
    EXPECT_FALSE(dib_.AddImages(1, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(at(0, 0), 7);
    EXPECT_EQ(at(1, 0), 200);
    // red (100 + 10) x 2 + (100 - 100) x 5 = 220; green (200 + 20) x 2 + 100 x 5 = 940 -> 255;
    // blue (7 + 0) x 2 + (7 - 107) x 5 = -486 -> 0
    dib_.AddImages(2, 0, 20, 10, 5, -107, -100, -100);
    EXPECT_EQ(at(2, 0), 220);
    EXPECT_EQ(at(1, 0), 255);
    EXPECT_EQ(at(0, 0), 0);
    try {
        dib_.AddImages(1 << 30, 5, 0, 0, 0, 0, 0, 0);  // (0 + 5) x 2^30 leaves a Long
        FAIL();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), tarko::err::Overflow);
    }
}

TEST_F(Filters, AddNoiseOfZeroOrPartialHundredChangesNothing) {
    make(3, 2, 77);
    dib_.AddNoise(0, false);  // amount 0, half 0
    dib_.AddNoise(100, true); // r x 100 > 100 never holds
    for (int row = 0; row < 2; ++row)
        for (int i = 0; i < 9; ++i) EXPECT_EQ(at(i, row), 77);
    EXPECT_EQ(services_.pumps(), 6);  // the first pass changed (and pumped) every pixel
}

TEST_F(Filters, AddNoiseOfHundredMovesEachChannelWithin64) {
    make(8, 8, 0);
    pixel(0, 0, 255, 255, 255);
    dib_.AddNoise(100, false);  // amount 128, half 64: c - 64 + r x 128
    for (int row = 0; row < 8; ++row)
        for (int i = 0; i < 24; ++i) {
            if (row == 0 && i < 3) EXPECT_GE(at(i, row), 191);
            else EXPECT_LE(at(i, row), 64);
        }
}

TEST_F(Filters, BlurMixesBytesAndSeesItsOwnWrites) {
    make(3, 3, 90);
    at(4, 0) = 180;
    dib_.blur();
    // step x=1: sums over bytes 0..2, 1..3, 2..4 of rows 0..2: 810, 810, 900 -> 90, 90, 100
    // step x=4: bytes 3..5 see the 100 just written and the 180: 910 -> 101;
    //           bytes 4..6: 900 -> 100; bytes 5..7: 810 -> 90
    const int row1[9] = {90, 90, 90, 100, 101, 100, 90, 90, 90};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(at(i, 1), row1[i]) << "byte " << i;
    EXPECT_EQ(at(4, 0), 180);  // bottom and top rows untouched
    EXPECT_EQ(at(4, 2), 90);
    EXPECT_EQ(services_.pumps(), 2);  // once a step
}

TEST_F(Filters, MetalizeWritesOneByteInFour) {
    make(3, 3, 90);
    at(4, 0) = 180;
    dib_.Metalize();
    // x = 1 and 5 on row 1: (810) / 9 = 90 and (810 + 90) / 9 = 100
    EXPECT_EQ(at(1, 1), 90);
    EXPECT_EQ(at(5, 1), 100);
    EXPECT_EQ(at(4, 1), 90);
    EXPECT_EQ(services_.pumps(), 2);
}

TEST_F(Filters, StandardFilterWithItsEmptyKernelBlackensItsWindow) {
    make(4, 4, 50);
    EXPECT_TRUE(dib_.pbStandardFilter().to_bool());
    // x from 4 to 3 x 3 - 3 = 6: one step on bytes 4, 5, 6; rows 1 to 4 - 3 = 1
    for (int row = 0; row < 4; ++row)
        for (int i = 0; i < 12; ++i) EXPECT_EQ(at(i, row), row == 1 && i >= 4 && i <= 6 ? 0 : 50) << i << "," << row;
}

TEST_F(Filters, EclairecirTurnsTheImageBlack) {
    make(2, 2, 200);
    dib_.Eclairecir(tarko::Variant(50.0));
    for (int row = 0; row < 2; ++row)
        for (int i = 0; i < 6; ++i) EXPECT_EQ(at(i, row), 0);
    EXPECT_EQ(services_.pumps(), 4);
    EXPECT_THROW(dib_.Eclairecir(tarko::Variant("bright")), tarko::RuntimeError);
}

TEST_F(Filters, RandomiseBitsLeavesBlueZeroAndRepeatsUnderOneClock) {
    make(3, 2, 9);
    dib_.RandomiseBits();
    std::vector<std::uint8_t> first(dib_.DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr() + 16);
    for (int row = 0; row < 2; ++row)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(at(3 * x, row), 0);
    EXPECT_EQ(at(9, 0), 9);  // padding untouched
    dib_.RandomiseBits();  // same Timer, same seed, same bytes
    EXPECT_EQ(std::vector<std::uint8_t>(dib_.DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr() + 16), first);
    EXPECT_EQ(services_.pumps(), 0);
    EXPECT_EQ(process(), -1);
}

TEST_F(Filters, OnePixelWideBitmapsHaveNoPercentageToDivideBy) {
    // X = 3 (1 - 1) = 0: the only column ends the walk
    make(1, 2, 10);
    dib_.Assombrir(255);
    dib_.GrayScale();
    dib_.blur();
    dib_.Metalize();
    dib_.pbStandardFilter();
    EXPECT_EQ(at(0, 0), 10);
    EXPECT_EQ(at(2, 1), 10);
    EXPECT_EQ(process(), -1);
}
