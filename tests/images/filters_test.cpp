// Filters and resampling of cDIBSection: values worked out by hand, walk
// order, pumping and the progress they report.
#include <gtest/gtest.h>

#include <vector>

#include "images/dib_section.h"
#include "images/resample.h"
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
        at(3 * x, row) = std::uint8_t(b), at(3 * x + 1, row) = std::uint8_t(g), at(3 * x + 2, row) = std::uint8_t(r);
    }
    void expect_all(int v) {
        for (int r = 0; r < dib_.Height(); ++r) EXPECT_EQ(row(r), Bytes(3 * dib_.width(), v)) << "row " << r;
    }
    tarko::Long process() const { return dib_.Process_Value().to_long(); }

    tarko::runtime::ScopedTestServices services_;
    cDIBSection dib_;
};

}  // namespace

TEST_F(Filters, GrayScaleUsesTheWeights222_707_71) {
    make(3, 2);
    pixel(0, 0, 255, 0, 0);  // 222 x 255 / 1000 = 56.61 -> 57
    pixel(1, 0, 0, 255, 0);  // 707 x 255 / 1000 = 180.285 -> 180
    pixel(2, 0, 0, 0, 255);  // 71 x 255 / 1000 = 18.105 -> 18
    pixel(0, 1, 2, 1, 19);   // (444 + 707 + 1349) / 1000 = 2.5 -> 2 (half to even)
    std::vector<tarko::Long> seen;
    auto previous = tarko::runtime::set_pump([&] { seen.push_back(process()); });
    dib_.GrayScale();
    tarko::runtime::set_pump(previous);
    EXPECT_EQ(row(0), (Bytes{57, 57, 57, 180, 180, 180, 18, 18, 18}));
    EXPECT_EQ(row(1), (Bytes{2, 2, 2, 0, 0, 0, 0, 0, 0}));
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
    EXPECT_EQ(row(0), (Bytes{0, 50, 128, 64, 0, 127}));
    EXPECT_EQ(services_.pumps(), 2);  // once a pixel
    pixel(0, 0, 200, 200, 200);
    dib_.Assombrir(510);  // 400 is clamped
    EXPECT_EQ(at(0, 0), 255);
}

TEST_F(Filters, AddImagesClampsTheSumOfBothTerms) {
    make(1, 1);
    pixel(0, 0, 100, 200, 7);
    // red (100 + 10) x 2 + (100 - 100) x 5 = 220; green (200 + 20) x 2 + 100 x 5 = 940 -> 255;
    // blue (7 + 0) x 2 + (7 - 107) x 5 = -486 -> 0
    dib_.AddImages(2, 0, 20, 10, 5, -107, -100, -100);
    EXPECT_EQ(row(0), (Bytes{0, 255, 220}));
    // (0 + 5) x 2^30 leaves a Long
    EXPECT_EQ(tarko::test::error_of([&] { dib_.AddImages(1 << 30, 5, 0, 0, 0, 0, 0, 0); }), tarko::err::Overflow);
}

TEST_F(Filters, NoiseStaysWithinHalfItsAmountAndRandomiseBitsRepeatsUnderOneClock) {
    make(8, 8, 0);
    pixel(0, 0, 255, 255, 255);
    dib_.AddNoise(100, false);  // amount 128, half 64: c - 64 + r x 128
    for (int r = 0; r < 8; ++r)
        for (int i = 0; i < 24; ++i)
            if (r == 0 && i < 3) EXPECT_GE(at(i, r), 191);
            else EXPECT_LE(at(i, r), 64);
    make(3, 2, 9);
    dib_.RandomiseBits();
    const Bytes first(dib_.DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr() + 16);
    for (int x = 0; x < 3; ++x) EXPECT_EQ(at(3 * x, 1), 0);  // blue stays 0
    EXPECT_EQ(at(9, 0), 9);  // padding untouched
    dib_.RandomiseBits();    // same Timer, same seed, same bytes
    EXPECT_EQ(Bytes(dib_.DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr() + 16), first);
}

TEST_F(Filters, BlurMixesBytesAndSeesItsOwnWrites) {
    make(3, 3, 90);
    at(4, 0) = 180;
    dib_.blur();
    // step x=1: sums over bytes 0..2, 1..3, 2..4 of rows 0..2: 810, 810, 900 -> 90, 90, 100
    // step x=4: bytes 3..5 see the 100 just written and the 180: 910 -> 101;
    //           bytes 4..6: 900 -> 100; bytes 5..7: 810 -> 90
    EXPECT_EQ(row(1), (Bytes{90, 90, 90, 100, 101, 100, 90, 90, 90}));
    EXPECT_EQ(at(4, 0), 180);  // bottom and top rows untouched
    EXPECT_EQ(services_.pumps(), 2);  // once a step
}

TEST_F(Filters, StandardFilterBlackensItsWindowAndEclairecirEverything) {
    make(4, 4, 50);
    EXPECT_TRUE(dib_.pbStandardFilter().to_bool());
    // x from 4 to 3 x 3 - 3 = 6: one step on bytes 4, 5, 6; rows 1 to 4 - 3 = 1
    EXPECT_EQ(row(1), (Bytes{50, 50, 50, 50, 0, 0, 0, 50, 50, 50, 50, 50}));
    EXPECT_EQ(row(2), Bytes(12, 50));
    dib_.Eclairecir(tarko::Variant(50.0));
    expect_all(0);
    EXPECT_THROW(dib_.Eclairecir(tarko::Variant("bright")), tarko::RuntimeError);
}

TEST_F(Filters, OnePixelWideBitmapsHaveNoPercentageToDivideBy) {
    // X = 3 (1 - 1) = 0: the only column ends the walk
    make(1, 2, 10);
    dib_.GrayScale();
    dib_.blur();
    dib_.pbStandardFilter();
    expect_all(10);
    EXPECT_EQ(process(), -1);
}

TEST_F(Filters, ResampleMixesBilinearlyRoundsHalvesToEvenAndKeepsEdgeSizes) {
    make(2, 2);
    pixel(1, 0, 100, 100, 100);  // A = 0, B = 100
    pixel(0, 1, 200, 200, 200);  // C = 200, D = 40
    pixel(1, 1, 40, 40, 40);
    auto dst = dib_.Resample(4, 4);
    ASSERT_TRUE(dst);
    // scales (2 - 1) / 4 = 0.25: fX = 0, .25, .5, .75 always between columns 0 and 1
    EXPECT_EQ(at(3, 0, dst.get()), 25);  // .75 x 0 + .25 x 100
    // (3, 3): L = round(.25 x 0 + .75 x 200) = 150, R = round(.25 x 100 + .75 x 40) = 55,
    // value = round(.25 x 150 + .75 x 55) = round(78.75) = 79
    EXPECT_EQ(at(9, 3, dst.get()), 79);
    EXPECT_EQ(process(), -1);

    make(2, 2);  // row 1 of a 2-row target has dy = .5; column 0 has dx = 0
    at(0, 0) = 2, at(0, 1) = 3;  // blue: 2.5 -> 2
    at(2, 0) = 4, at(2, 1) = 5;  // red: 4.5 -> 4
    dst = dib_.Resample(4, 2);
    ASSERT_TRUE(dst);
    EXPECT_EQ(at(0, 1, dst.get()), 2);
    EXPECT_EQ(at(2, 1, dst.get()), 4);

    make(1, 2);
    pixel(0, 0, 10, 10, 10);
    pixel(0, 1, 30, 30, 30);
    dst = dib_.Resample(3, 4);
    ASSERT_TRUE(dst);
    // one pixel wide: yScale = 1 / 4, row 2 has fY = .5 -> 20 in every column
    EXPECT_EQ(row(2, dst.get()), Bytes(9, 20));
    EXPECT_FALSE(dib_.Resample(0, 2));
    dst = dib_.Resample(1, 2);  // the same size: a separate equal copy
    ASSERT_TRUE(dst);
    EXPECT_NE(dst->DIBSectionBitsPtr(), dib_.DIBSectionBitsPtr());
    EXPECT_EQ(row(1, dst.get()), row(1));
}

// The texture road resamples Images with the same routine: it must give the
// DIB's pixels, rows counted from the bottom, for every size pair.
TEST_F(Filters, ImageResamplingGivesTheDibsPixels) {
    const struct {
        int w, h, tw, th;
    } sizes[] = {{5, 3, 8, 8}, {4, 4, 2, 3}, {7, 1, 3, 2}, {3, 6, 5, 2}, {2, 2, 2, 3}};
    for (const auto& z : sizes) {
        make(z.w, z.h);
        tarko::Image image(z.w, z.h);
        for (int y = 0; y < z.h; ++y)  // DC rows run top-down, memory rows bottom-up
            for (int x = 0; x < z.w; ++x) {
                const int r = (x * 53 + y * 17) % 256, g = (x * 11 + y * 91) % 256, b = (x * 7 + y * 200) % 256;
                pixel(x, z.h - 1 - y, r, g, b);
                image.at(x, y) = 0xFF000000u | static_cast<std::uint32_t>(r << 16 | g << 8 | b);
            }
        const auto dib = dib_.Resample(z.tw, z.th);
        const tarko::Image out = tarko::images::resample_bilinear(image, z.tw, z.th);
        ASSERT_TRUE(dib);
        for (int y = 0; y < z.th; ++y)
            for (int x = 0; x < z.tw; ++x) {
                const std::uint8_t* p = &at(3 * x, z.th - 1 - y, dib.get());
                EXPECT_EQ(out.at(x, y), 0xFF000000u | static_cast<std::uint32_t>(p[2] << 16 | p[1] << 8 | p[0]))
                    << z.w << "x" << z.h << " -> " << z.tw << "x" << z.th << " at " << x << ", " << y;
            }
    }
}
