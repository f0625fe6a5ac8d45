// Filters and resampling of cDIBSection: values worked out by hand, walk
// order, pumping and the progress they report.
#include <gtest/gtest.h>

#include <vector>

#include "images/dib_section.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

class Filters : public ::testing::Test {
protected:
    // A W x H bitmap whose bytes are all `fill`.
    void make(int w, int h, std::uint8_t fill = 0) {
        ASSERT_TRUE(dib_.Create(w, h));
        std::fill_n(dib_.DIBSectionBitsPtr(), dib_.BytesPerScanLine() * h, fill);
    }
    std::uint8_t& at(int x_byte, int row, const cDIBSection* d = nullptr) {
        d = d ? d : &dib_;
        return d->DIBSectionBitsPtr()[row * d->BytesPerScanLine() + x_byte];
    }
    // The pixel bytes of a row, padding left out.
    Bytes row(int r, const cDIBSection* d = nullptr) {
        const std::uint8_t* p = &at(0, r, d);
        return Bytes(p, p + 3 * (d ? d : &dib_)->width());
    }
    void pixel(int x, int row, int r, int g, int b) {
        at(3 * x, row) = static_cast<std::uint8_t>(b);
        at(3 * x + 1, row) = static_cast<std::uint8_t>(g);
        at(3 * x + 2, row) = static_cast<std::uint8_t>(r);
    }
    void grey(int x, int row, int v) { pixel(x, row, v, v, v); }
    void expect_all(int v) {
        for (int r = 0; r < dib_.Height(); ++r) EXPECT_EQ(row(r), Bytes(3 * dib_.width(), v)) << "row " << r;
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
    EXPECT_EQ(row(0), (Bytes{57, 57, 57, 180, 180, 180, 18, 18, 18, 255, 255, 255}));
    EXPECT_EQ(row(1), (Bytes{2, 2, 2, 2, 2, 2, 72, 72, 72, 0, 0, 0}));
    EXPECT_EQ(process(), -1);
    EXPECT_EQ(services_.pumps(), 4);  // once a column

    make(3, 1);
    std::vector<tarko::Long> seen;
    auto previous = tarko::runtime::set_pump([&] { seen.push_back(process()); });
    dib_.GrayScale();
    tarko::runtime::set_pump(previous);
    // columns at bytes 0, 3, 6 of 3 x 3 - 2 = 7: Int(0), Int(42.86), Int(85.71)
    EXPECT_EQ(seen, (std::vector<tarko::Long>{0, 42, 85}));
}

TEST_F(Filters, AssombrirScalesByLevelOver255Truncating) {
    make(2, 1);
    pixel(0, 0, 255, 100, 1);
    pixel(1, 0, 254, 0, 128);
    dib_.Assombrir(128);
    // 255 x 128 \ 255 = 128; 100 x 128 \ 255 = 50 (50.2); 1 x 128 \ 255 = 0;
    // 254 x 128 \ 255 = 127 (127.5 truncated); 128 x 128 \ 255 = 64 (64.25)
    EXPECT_EQ(row(0), (Bytes{0, 50, 128, 64, 0, 127}));
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
    EXPECT_EQ(row(0), (Bytes{7, 200, 100}));
    // red (100 + 10) x 2 + (100 - 100) x 5 = 220; green (200 + 20) x 2 + 100 x 5 = 940 -> 255;
    // blue (7 + 0) x 2 + (7 - 107) x 5 = -486 -> 0
    dib_.AddImages(2, 0, 20, 10, 5, -107, -100, -100);
    EXPECT_EQ(row(0), (Bytes{0, 255, 220}));
    // (0 + 5) x 2^30 leaves a Long
    EXPECT_EQ(tarko::test::error_of([&] { dib_.AddImages(1 << 30, 5, 0, 0, 0, 0, 0, 0); }), tarko::err::Overflow);
}

TEST_F(Filters, AddNoiseStaysWithinHalfItsAmount) {
    make(3, 2, 77);
    dib_.AddNoise(0, false);  // amount 0, half 0
    dib_.AddNoise(100, true); // r x 100 > 100 never holds
    expect_all(77);
    EXPECT_EQ(services_.pumps(), 6);  // the first pass changed (and pumped) every pixel

    make(8, 8, 0);
    pixel(0, 0, 255, 255, 255);
    dib_.AddNoise(100, false);  // amount 128, half 64: c - 64 + r x 128
    for (int r = 0; r < 8; ++r)
        for (int i = 0; i < 24; ++i)
            if (r == 0 && i < 3) EXPECT_GE(at(i, r), 191);
            else EXPECT_LE(at(i, r), 64);
}

TEST_F(Filters, BlurAndMetalizeMixBytesAndSeeTheirOwnWrites) {
    make(3, 3, 90);
    at(4, 0) = 180;
    dib_.blur();
    // step x=1: sums over bytes 0..2, 1..3, 2..4 of rows 0..2: 810, 810, 900 -> 90, 90, 100
    // step x=4: bytes 3..5 see the 100 just written and the 180: 910 -> 101;
    //           bytes 4..6: 900 -> 100; bytes 5..7: 810 -> 90
    EXPECT_EQ(row(1), (Bytes{90, 90, 90, 100, 101, 100, 90, 90, 90}));
    EXPECT_EQ(at(4, 0), 180);  // bottom and top rows untouched
    EXPECT_EQ(row(2), Bytes(9, 90));
    EXPECT_EQ(services_.pumps(), 2);  // once a step

    make(3, 3, 90);
    at(4, 0) = 180;
    dib_.Metalize();
    // one byte in four: x = 1 and 5 on row 1: (810) / 9 = 90 and (810 + 90) / 9 = 100
    EXPECT_EQ(at(1, 1), 90);
    EXPECT_EQ(at(5, 1), 100);
    EXPECT_EQ(at(4, 1), 90);
    EXPECT_EQ(services_.pumps(), 4);
}

TEST_F(Filters, StandardFilterWithItsEmptyKernelBlackensItsWindow) {
    make(4, 4, 50);
    EXPECT_TRUE(dib_.pbStandardFilter().to_bool());
    // x from 4 to 3 x 3 - 3 = 6: one step on bytes 4, 5, 6; rows 1 to 4 - 3 = 1
    EXPECT_EQ(row(1), (Bytes{50, 50, 50, 50, 0, 0, 0, 50, 50, 50, 50, 50}));
    for (int r : {0, 2, 3}) EXPECT_EQ(row(r), Bytes(12, 50));
}

TEST_F(Filters, EclairecirTurnsTheImageBlack) {
    make(2, 2, 200);
    dib_.Eclairecir(tarko::Variant(50.0));
    expect_all(0);
    EXPECT_EQ(services_.pumps(), 4);
    EXPECT_THROW(dib_.Eclairecir(tarko::Variant("bright")), tarko::RuntimeError);
}

TEST_F(Filters, RandomiseBitsLeavesBlueZeroAndRepeatsUnderOneClock) {
    make(3, 2, 9);
    dib_.RandomiseBits();
    const Bytes first(dib_.DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr() + 16);
    for (int r = 0; r < 2; ++r)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(at(3 * x, r), 0);
    EXPECT_EQ(at(9, 0), 9);  // padding untouched
    dib_.RandomiseBits();    // same Timer, same seed, same bytes
    EXPECT_EQ(Bytes(dib_.DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr() + 16), first);
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
    expect_all(10);
    EXPECT_EQ(process(), -1);
}

TEST_F(Filters, ResampleMixesBilinearlyAndRoundsHalvesToEven) {
    make(2, 2);
    grey(0, 0, 0);    // A
    grey(1, 0, 100);  // B
    grey(0, 1, 200);  // C
    grey(1, 1, 40);   // D
    auto dst = dib_.Resample(4, 4);
    ASSERT_TRUE(dst);
    // scales (2 - 1) / 4 = 0.25: fX = 0, .25, .5, .75 always between columns 0 and 1
    EXPECT_EQ(at(0, 0, dst.get()), 0);    // the source's (0, 0)
    EXPECT_EQ(at(3, 0, dst.get()), 25);   // .75 x 0 + .25 x 100
    EXPECT_EQ(at(9, 0, dst.get()), 75);
    EXPECT_EQ(at(0, 1, dst.get()), 50);   // .75 x 0 + .25 x 200
    // (3, 3): L = round(.25 x 0 + .75 x 200) = 150, R = round(.25 x 100 + .75 x 40) = 55,
    // value = round(.25 x 150 + .75 x 55) = round(78.75) = 79
    EXPECT_EQ(at(9, 3, dst.get()), 79);
    for (int y = 0; y < 4; ++y)  // no target pixel is purely the last row or column
        for (int x = 0; x < 4; ++x) EXPECT_NE(at(3 * x, y, dst.get()), 40) << x << "," << y;
    EXPECT_EQ(process(), -1);

    make(2, 2);  // row 1 of a 2-row target has dy = .5; column 0 has dx = 0
    at(0, 0) = 2;  at(0, 1) = 3;  // blue: 2.5 -> 2
    at(1, 0) = 1;  at(1, 1) = 2;  // green: 1.5 -> 2
    at(2, 0) = 4;  at(2, 1) = 5;  // red: 4.5 -> 4
    dst = dib_.Resample(4, 2);
    ASSERT_TRUE(dst);
    EXPECT_EQ(at(0, 1, dst.get()), 2);
    EXPECT_EQ(at(1, 1, dst.get()), 2);
    EXPECT_EQ(at(2, 1, dst.get()), 4);
}

TEST_F(Filters, ResampleEdgeSizes) {
    make(1, 2);
    grey(0, 0, 10);
    grey(0, 1, 30);
    auto dst = dib_.Resample(3, 4);
    ASSERT_TRUE(dst);
    // one pixel wide: yScale = 1 / 4, row 2 has fY = .5 -> 20 in every column
    EXPECT_EQ(row(2, dst.get()), Bytes(9, 20));
    EXPECT_FALSE(dib_.Resample(0, 2));

    make(3, 2);
    for (int i = 0; i < 24; ++i) dib_.DIBSectionBitsPtr()[i] = static_cast<std::uint8_t>(i * 7);
    dst = dib_.Resample(3, 2);  // the same size: a separate equal copy
    ASSERT_TRUE(dst);
    EXPECT_NE(dst->DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr());
    for (int r = 0; r < 2; ++r) EXPECT_EQ(row(r, dst.get()), row(r));
}
