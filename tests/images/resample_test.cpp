// Bilinear resampling: the values of the texture pipeline, worked out by hand.
#include <gtest/gtest.h>

#include "images/dib_section.h"
#include "runtime/services.h"

namespace {

// Sets all three channels of pixel (x, row) to v.
void grey(cDIBSection& d, int x, int row, int v) {
    for (int c = 0; c < 3; ++c) d.DIBSectionBitsPtr()[row * d.BytesPerScanLine() + 3 * x + c] = static_cast<std::uint8_t>(v);
}
int value(const cDIBSection& d, int x, int row, int c = 0) {
    return d.DIBSectionBitsPtr()[row * d.BytesPerScanLine() + 3 * x + c];
}

}  // namespace

TEST(Resample, TwoByTwoToFourByFour) {
    cDIBSection src;
    ASSERT_TRUE(src.Create(2, 2));
    grey(src, 0, 0, 0);    // A
    grey(src, 1, 0, 100);  // B
    grey(src, 0, 1, 200);  // C
    grey(src, 1, 1, 40);   // D
    auto dst = src.Resample(4, 4);
    ASSERT_TRUE(dst);
    // scales (2 - 1) / 4 = 0.25: fX = 0, .25, .5, .75 always between columns 0 and 1
    EXPECT_EQ(value(*dst, 0, 0), 0);    // the source's (0, 0)
    EXPECT_EQ(value(*dst, 1, 0), 25);   // .75 x 0 + .25 x 100
    EXPECT_EQ(value(*dst, 3, 0), 75);
    EXPECT_EQ(value(*dst, 0, 1), 50);   // .75 x 0 + .25 x 200
    // (3, 3): L = round(.25 x 0 + .75 x 200) = 150, R = round(.25 x 100 + .75 x 40) = 55,
    // value = round(.25 x 150 + .75 x 55) = round(78.75) = 79
    EXPECT_EQ(value(*dst, 3, 3), 79);
    // no target pixel is purely the last row or column: none equals D
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x) EXPECT_NE(value(*dst, x, y), 40) << x << "," << y;
    EXPECT_EQ(src.Process_Value().to_long(), -1);
}

TEST(Resample, ColumnMixRoundsHalvesToEven) {
    cDIBSection src;
    ASSERT_TRUE(src.Create(2, 2));
    std::uint8_t* bits = src.DIBSectionBitsPtr();  // stride 8
    bits[0] = 2;  bits[8] = 3;      // blue: 2.5 -> 2
    bits[1] = 1;  bits[9] = 2;      // green: 1.5 -> 2
    bits[2] = 4;  bits[10] = 5;     // red: 4.5 -> 4
    auto dst = src.Resample(4, 2);  // yScale = 1 / 2: row 1 has dy = .5; column 0 has dx = 0
    ASSERT_TRUE(dst);
    EXPECT_EQ(value(*dst, 0, 1, 0), 2);
    EXPECT_EQ(value(*dst, 0, 1, 1), 2);
    EXPECT_EQ(value(*dst, 0, 1, 2), 4);
}

TEST(Resample, OnePixelWideSourceRepeatsItsColumn) {
    cDIBSection src;
    ASSERT_TRUE(src.Create(1, 2));
    grey(src, 0, 0, 10);
    grey(src, 0, 1, 30);
    auto dst = src.Resample(3, 4);
    ASSERT_TRUE(dst);
    // yScale = 1 / 4: row 2 has fY = .5 -> 20 in every column
    for (int x = 0; x < 3; ++x) EXPECT_EQ(value(*dst, x, 2), 20);
}
