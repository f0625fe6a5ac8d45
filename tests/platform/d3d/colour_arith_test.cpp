// The 8-bit colour arithmetic of the pixel stages against exact rational
// rounding, over every input it can meet. A wrong constant or an overflowing
// 16-bit lane shows up here as one bad value among thousands.
#include <gtest/gtest.h>

#include <cstdint>

#include "platform/d3d/simd.h"

namespace tarko::platform::d3d {
namespace {

using namespace TARKO_D3D_ISA;
constexpr int kChannels = 4 * kLanes;

#if defined(TARKO_D3D_NEEDS_AVX512)
#define SKIP_WITHOUT_LANES() \
    if (!__builtin_cpu_supports("avx512bw") || !__builtin_cpu_supports("avx512dq")) GTEST_SKIP() << "no AVX-512 here"
#elif defined(TARKO_D3D_NEEDS_AVX2)
#define SKIP_WITHOUT_LANES() \
    if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "no AVX2 on this processor"
#else
#define SKIP_WITHOUT_LANES() (void)0
#endif

// round(n / d) for n, d > 0, exactly (no ties arise in these tests).
int round_div(long long n, long long d) { return static_cast<int>((2 * n + d) / (2 * d)); }

// Every channel of a vector of pixels in, and out, through the packed and
// widened forms.
Wv lanes(const int (&v)[kChannels]) {
    std::uint32_t pixel[kLanes] = {};
    for (int i = 0; i < kChannels; ++i) pixel[i / 4] |= static_cast<std::uint32_t>(v[i] & 255) << (8 * (i % 4));
    return widen(Iv::load(pixel));
}

std::uint8_t lane(Wv w, int i) {
    alignas(64) std::int32_t out[kLanes];
    narrow(w).store(out);
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(out[i / 4]) >> (8 * (i % 4)));
}

TEST(ColourArithmetic, ProductsOfTwoChannelsRoundToNearestForEveryPair) {
    SKIP_WITHOUT_LANES();
    for (int a = 0; a < 256; ++a)
        for (int b0 = 0; b0 < 256; b0 += kChannels) {
            int va[kChannels], vb[kChannels];
            for (int i = 0; i < kChannels; ++i) va[i] = a, vb[i] = b0 + i;
            const Wv x = lanes(va) * lanes(vb);
            const Wv m = div255(x), m2 = mul255_scaled(x, 2), m4 = mul255_scaled(x, 4);
            for (int i = 0; i < kChannels; ++i) {
                const int b = b0 + i;
                ASSERT_EQ(lane(m, i), round_div(a * b, 255)) << a << " * " << b;
                ASSERT_EQ(lane(m2, i), std::min(255, round_div(2 * a * b, 255))) << "2 * " << a << " * " << b;
                ASSERT_EQ(lane(m4, i), std::min(255, round_div(4 * a * b, 255))) << "4 * " << a << " * " << b;
            }
        }
}

TEST(ColourArithmetic, FilterAndBlendMixesRoundExactlyForEveryWeight) {
    SKIP_WITHOUT_LANES();
    // Filter weights in 1/256: halves round up, as (a (256 - w) + b w + 128) / 256.
    for (int w = 0; w < 256; ++w)
        for (int a = 0; a < 256; a += 3) {
            int va[kChannels], vb[kChannels], vw[kChannels];
            for (int i = 0; i < kChannels; ++i) va[i] = a, vb[i] = (a * 5 + i * 9 + w) & 255, vw[i] = w;
            const Wv mix = lerp256(lanes(va), lanes(vb), lanes(vw));
            for (int i = 0; i < kChannels; ++i)
                ASSERT_EQ(lane(mix, i), (a * (256 - w) + vb[i] * w + 128) / 256) << a << " " << vb[i] << " " << w;
        }
    for (int f = 0; f < 256; ++f)
        for (int a = 0; a < 256; a += 5) {
            int va[kChannels], vb[kChannels], vf[kChannels];
            for (int i = 0; i < kChannels; ++i) va[i] = a, vb[i] = (a * 7 + i * 16 + f) & 255, vf[i] = f;
            const Wv mix = lerp255(lanes(va), lanes(vb), lanes(vf));
            for (int i = 0; i < kChannels; ++i)
                ASSERT_EQ(lane(mix, i), round_div(a * f + vb[i] * (255 - f), 255)) << a << " " << vb[i] << " " << f;
        }
}

}  // namespace
}  // namespace tarko::platform::d3d
