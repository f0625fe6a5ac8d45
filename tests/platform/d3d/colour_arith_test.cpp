// The 8-bit colour arithmetic of the pixel stages against exact rational
// rounding, over every input it can meet. A wrong constant or an overflowing
// 16-bit lane shows up here as one bad value among thousands.
#include <gtest/gtest.h>

#include <cstdint>

#include "platform/d3d/simd.h"

namespace tarko::platform::d3d {
namespace {

// round(n / d) for n, d > 0, exactly (no ties arise in these tests).
int round_div(long long n, long long d) { return static_cast<int>((2 * n + d) / (2 * d)); }

// Sixteen lanes in, sixteen out, through the packed and widened forms.
W2 lanes(const int (&v)[16]) {
    std::uint32_t pixel[4] = {};
    for (int i = 0; i < 16; ++i) pixel[i / 4] |= static_cast<std::uint32_t>(v[i] & 255) << (8 * (i % 4));
    return widen(I4::load(pixel));
}

std::uint8_t lane(W2 w, int i) {
    alignas(16) std::int32_t out[4];
    narrow(w).store(out);
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(out[i / 4]) >> (8 * (i % 4)));
}

TEST(ColourArithmetic, ProductsOfTwoChannelsRoundToNearestForEveryPair) {
    for (int a = 0; a < 256; ++a)
        for (int b0 = 0; b0 < 256; b0 += 16) {
            int va[16], vb[16];
            for (int i = 0; i < 16; ++i) va[i] = a, vb[i] = b0 + i;
            const W2 x = lanes(va) * lanes(vb);
            const W2 m = div255(x), m2 = mul255_scaled(x, 2), m4 = mul255_scaled(x, 4);
            for (int i = 0; i < 16; ++i) {
                const int b = b0 + i;
                ASSERT_EQ(lane(m, i), round_div(a * b, 255)) << a << " * " << b;
                ASSERT_EQ(lane(m2, i), std::min(255, round_div(2 * a * b, 255))) << "2 * " << a << " * " << b;
                ASSERT_EQ(lane(m4, i), std::min(255, round_div(4 * a * b, 255))) << "4 * " << a << " * " << b;
            }
        }
}

TEST(ColourArithmetic, MixesAndSaturatingSumsStayWithinEightBits) {
    for (int f = 0; f < 256; ++f)
        for (int a = 0; a < 256; a += 5) {
            int va[16], vb[16], vf[16];
            for (int i = 0; i < 16; ++i) va[i] = a, vb[i] = (a * 7 + i * 16 + f) & 255, vf[i] = f;
            const W2 mix = lerp255(lanes(va), lanes(vb), lanes(vf));
            for (int i = 0; i < 16; ++i)
                ASSERT_EQ(lane(mix, i), round_div(a * f + vb[i] * (255 - f), 255)) << a << " " << vb[i] << " " << f;
        }
    // 200 + 100 saturates, 20 + 30 does not, channel by channel.
    alignas(16) std::int32_t out[4];
    adds_u8(I4(static_cast<std::int32_t>(0xC8140A00u)), I4(static_cast<std::int32_t>(0x641E0A00u))).store(out);
    EXPECT_EQ(static_cast<std::uint32_t>(out[0]), 0xFF321400u);
}

TEST(ColourArithmetic, AlphaAndSpreadFillTheirPixelsLanes) {
    const I4 px = I4::set(0x10203040, 0x50607080, static_cast<std::int32_t>(0x90A0B0C0u), 0x01020304);
    alignas(16) std::int32_t out[4];
    narrow(alpha_of(widen(px))).store(out);
    EXPECT_EQ(static_cast<std::uint32_t>(out[0]), 0x10101010u);
    EXPECT_EQ(static_cast<std::uint32_t>(out[2]), 0x90909090u);
    EXPECT_EQ(static_cast<std::uint32_t>(out[3]), 0x01010101u);
    narrow(spread(I4::set(1, 2, 3, 255))).store(out);
    EXPECT_EQ(static_cast<std::uint32_t>(out[1]), 0x02020202u);
    EXPECT_EQ(static_cast<std::uint32_t>(out[3]), 0xFFFFFFFFu);
}

}  // namespace
}  // namespace tarko::platform::d3d
