// Four-lane float and int vectors for the pixel stages: SSE2 on x86-64, plain
// arrays elsewhere (or when TARKO_D3D_SCALAR is defined). Both give the same
// results bit for bit: only IEEE add, sub, mul, div, min, max and conversions
// with round-to-nearest-even are used.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__) && !defined(TARKO_D3D_SCALAR)
#define TARKO_D3D_SSE2 1
#include <emmintrin.h>
#endif

namespace tarko::platform::d3d {

#if TARKO_D3D_SSE2

struct I4;
struct F4 {
    __m128 v;
    F4() = default;
    explicit F4(__m128 x) : v(x) {}
    F4(float x) : v(_mm_set1_ps(x)) {}  // NOLINT: broadcast
    static F4 set(float a, float b, float c, float d) { return F4(_mm_setr_ps(a, b, c, d)); }
    static F4 load(const float* p) { return F4(_mm_loadu_ps(p)); }
    void store(float* p) const { _mm_storeu_ps(p, v); }
    float lane(int i) const { alignas(16) float t[4]; _mm_store_ps(t, v); return t[i]; }
};
struct I4 {
    __m128i v;
    I4() = default;
    explicit I4(__m128i x) : v(x) {}
    I4(std::int32_t x) : v(_mm_set1_epi32(x)) {}  // NOLINT: broadcast
    static I4 set(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) { return I4(_mm_setr_epi32(a, b, c, d)); }
    static I4 load(const void* p) { return I4(_mm_loadu_si128(static_cast<const __m128i*>(p))); }
    void store(void* p) const { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
    std::int32_t lane(int i) const { alignas(16) std::int32_t t[4]; _mm_store_si128(reinterpret_cast<__m128i*>(t), v); return t[i]; }
};

inline F4 operator+(F4 a, F4 b) { return F4(_mm_add_ps(a.v, b.v)); }
inline F4 operator-(F4 a, F4 b) { return F4(_mm_sub_ps(a.v, b.v)); }
inline F4 operator*(F4 a, F4 b) { return F4(_mm_mul_ps(a.v, b.v)); }
inline F4 operator/(F4 a, F4 b) { return F4(_mm_div_ps(a.v, b.v)); }
inline F4 min(F4 a, F4 b) { return F4(_mm_min_ps(a.v, b.v)); }
inline F4 max(F4 a, F4 b) { return F4(_mm_max_ps(a.v, b.v)); }
inline I4 cmplt(F4 a, F4 b) { return I4(_mm_castps_si128(_mm_cmplt_ps(a.v, b.v))); }
inline I4 cmple(F4 a, F4 b) { return I4(_mm_castps_si128(_mm_cmple_ps(a.v, b.v))); }
inline I4 cmpeq(F4 a, F4 b) { return I4(_mm_castps_si128(_mm_cmpeq_ps(a.v, b.v))); }
inline F4 select(I4 m, F4 a, F4 b) {  // m ? a : b
    const __m128 mm = _mm_castsi128_ps(m.v);
    return F4(_mm_or_ps(_mm_and_ps(mm, a.v), _mm_andnot_ps(mm, b.v)));
}
inline I4 to_int_round(F4 a) { return I4(_mm_cvtps_epi32(a.v)); }   // nearest, ties to even
inline I4 to_int_trunc(F4 a) { return I4(_mm_cvttps_epi32(a.v)); }
inline F4 to_float(I4 a) { return F4(_mm_cvtepi32_ps(a.v)); }

inline I4 operator+(I4 a, I4 b) { return I4(_mm_add_epi32(a.v, b.v)); }
inline I4 operator-(I4 a, I4 b) { return I4(_mm_sub_epi32(a.v, b.v)); }
inline I4 operator&(I4 a, I4 b) { return I4(_mm_and_si128(a.v, b.v)); }
inline I4 operator|(I4 a, I4 b) { return I4(_mm_or_si128(a.v, b.v)); }
inline I4 operator^(I4 a, I4 b) { return I4(_mm_xor_si128(a.v, b.v)); }
inline I4 andnot(I4 a, I4 b) { return I4(_mm_andnot_si128(a.v, b.v)); }  // ~a & b
template <int n> inline I4 shl(I4 a) { return I4(_mm_slli_epi32(a.v, n)); }
template <int n> inline I4 shr(I4 a) { return I4(_mm_srli_epi32(a.v, n)); }   // logical
template <int n> inline I4 sar(I4 a) { return I4(_mm_srai_epi32(a.v, n)); }   // arithmetic
inline I4 shl_var(I4 a, int n) { return I4(_mm_sll_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline I4 shr_var(I4 a, int n) { return I4(_mm_srl_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline I4 cmpgt(I4 a, I4 b) { return I4(_mm_cmpgt_epi32(a.v, b.v)); }
inline I4 cmplt(I4 a, I4 b) { return I4(_mm_cmplt_epi32(a.v, b.v)); }
inline I4 cmpeq(I4 a, I4 b) { return I4(_mm_cmpeq_epi32(a.v, b.v)); }
inline I4 select(I4 m, I4 a, I4 b) { return I4(_mm_or_si128(_mm_and_si128(m.v, a.v), _mm_andnot_si128(m.v, b.v))); }
inline int movemask(I4 m) { return _mm_movemask_ps(_mm_castsi128_ps(m.v)); }
inline I4 adds_u8(I4 a, I4 b) { return I4(_mm_adds_epu8(a.v, b.v)); }  // byte by byte, saturating
// 32-bit multiply of the low halves (SSE2 lacks pmulld).
inline I4 mul_lo(I4 a, I4 b) {
    const __m128i even = _mm_mul_epu32(a.v, b.v);
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a.v, 32), _mm_srli_epi64(b.v, 32));
    return I4(_mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                                 _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0))));
}

#else

struct I4;
struct F4 {
    float v[4];
    F4() = default;
    F4(float x) : v{x, x, x, x} {}  // NOLINT: broadcast
    static F4 set(float a, float b, float c, float d) { F4 r; r.v[0] = a; r.v[1] = b; r.v[2] = c; r.v[3] = d; return r; }
    static F4 load(const float* p) { F4 r; std::memcpy(r.v, p, sizeof r.v); return r; }
    void store(float* p) const { std::memcpy(p, v, sizeof v); }
    float lane(int i) const { return v[i]; }
};
struct I4 {
    std::int32_t v[4];
    I4() = default;
    I4(std::int32_t x) : v{x, x, x, x} {}  // NOLINT: broadcast
    static I4 set(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) { I4 r; r.v[0] = a; r.v[1] = b; r.v[2] = c; r.v[3] = d; return r; }
    static I4 load(const void* p) { I4 r; std::memcpy(r.v, p, sizeof r.v); return r; }
    void store(void* p) const { std::memcpy(p, v, sizeof v); }
    std::int32_t lane(int i) const { return v[i]; }
};

#define TARKO_D3D_F4_OP(expr) F4 r; for (int i = 0; i < 4; ++i) r.v[i] = (expr); return r
#define TARKO_D3D_I4_OP(expr) I4 r; for (int i = 0; i < 4; ++i) r.v[i] = (expr); return r
inline F4 operator+(F4 a, F4 b) { TARKO_D3D_F4_OP(a.v[i] + b.v[i]); }
inline F4 operator-(F4 a, F4 b) { TARKO_D3D_F4_OP(a.v[i] - b.v[i]); }
inline F4 operator*(F4 a, F4 b) { TARKO_D3D_F4_OP(a.v[i] * b.v[i]); }
inline F4 operator/(F4 a, F4 b) { TARKO_D3D_F4_OP(a.v[i] / b.v[i]); }
// Same operand order as minps/maxps: the second operand wins on NaN.
inline F4 min(F4 a, F4 b) { TARKO_D3D_F4_OP(a.v[i] < b.v[i] ? a.v[i] : b.v[i]); }
inline F4 max(F4 a, F4 b) { TARKO_D3D_F4_OP(a.v[i] > b.v[i] ? a.v[i] : b.v[i]); }
inline I4 cmplt(F4 a, F4 b) { TARKO_D3D_I4_OP(a.v[i] < b.v[i] ? -1 : 0); }
inline I4 cmple(F4 a, F4 b) { TARKO_D3D_I4_OP(a.v[i] <= b.v[i] ? -1 : 0); }
inline I4 cmpeq(F4 a, F4 b) { TARKO_D3D_I4_OP(a.v[i] == b.v[i] ? -1 : 0); }
inline F4 select(I4 m, F4 a, F4 b) { TARKO_D3D_F4_OP(m.v[i] ? a.v[i] : b.v[i]); }
inline std::int32_t cvt_lane(float f, bool round) {
    if (!(f > -2147483648.0f && f < 2147483648.0f)) return INT32_MIN;  // as cvtps: NaN and overflow
    return static_cast<std::int32_t>(round ? std::nearbyint(f) : f);
}
inline I4 to_int_round(F4 a) { TARKO_D3D_I4_OP(cvt_lane(a.v[i], true)); }
inline I4 to_int_trunc(F4 a) { TARKO_D3D_I4_OP(cvt_lane(a.v[i], false)); }
inline F4 to_float(I4 a) { TARKO_D3D_F4_OP(static_cast<float>(a.v[i])); }
inline std::int32_t wrap_add(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}
inline I4 operator+(I4 a, I4 b) { TARKO_D3D_I4_OP(wrap_add(a.v[i], b.v[i])); }
inline I4 operator-(I4 a, I4 b) { TARKO_D3D_I4_OP(static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v[i]) - static_cast<std::uint32_t>(b.v[i]))); }
inline I4 operator&(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] & b.v[i]); }
inline I4 operator|(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] | b.v[i]); }
inline I4 operator^(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] ^ b.v[i]); }
inline I4 andnot(I4 a, I4 b) { TARKO_D3D_I4_OP(~a.v[i] & b.v[i]); }
template <int n> inline I4 shl(I4 a) { TARKO_D3D_I4_OP(static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v[i]) << n)); }
template <int n> inline I4 shr(I4 a) { TARKO_D3D_I4_OP(static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v[i]) >> n)); }
template <int n> inline I4 sar(I4 a) { TARKO_D3D_I4_OP(a.v[i] >> n); }
inline I4 shl_var(I4 a, int n) { TARKO_D3D_I4_OP(static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v[i]) << n)); }
inline I4 shr_var(I4 a, int n) { TARKO_D3D_I4_OP(static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v[i]) >> n)); }
inline I4 cmpgt(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] > b.v[i] ? -1 : 0); }
inline I4 cmplt(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] < b.v[i] ? -1 : 0); }
inline I4 cmpeq(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] == b.v[i] ? -1 : 0); }
inline I4 select(I4 m, I4 a, I4 b) { TARKO_D3D_I4_OP(m.v[i] ? a.v[i] : b.v[i]); }
inline int movemask(I4 m) {
    int r = 0;
    for (int i = 0; i < 4; ++i) r |= (m.v[i] < 0 ? 1 : 0) << i;
    return r;
}
inline I4 adds_u8(I4 a, I4 b) {
    I4 r;
    for (int i = 0; i < 4; ++i) {
        std::uint32_t x = 0;
        for (int c = 0; c < 32; c += 8) {
            const std::uint32_t s = ((static_cast<std::uint32_t>(a.v[i]) >> c) & 255u) + ((static_cast<std::uint32_t>(b.v[i]) >> c) & 255u);
            x |= (s > 255u ? 255u : s) << c;
        }
        r.v[i] = static_cast<std::int32_t>(x);
    }
    return r;
}
inline I4 mul_lo(I4 a, I4 b) {
    TARKO_D3D_I4_OP(static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v[i]) * static_cast<std::uint32_t>(b.v[i])));
}
#undef TARKO_D3D_F4_OP
#undef TARKO_D3D_I4_OP

#endif

// Four packed A8R8G8B8 pixels widened to sixteen 16-bit lanes, channel by
// channel in memory order (b, g, r, a): lanes 0-7 hold pixels 0 and 1, lanes
// 8-15 pixels 2 and 3. Colour arithmetic on 8-bit values happens here.
#if TARKO_D3D_SSE2
struct W2 {
    __m128i lo, hi;
    W2() = default;
    W2(__m128i l, __m128i h) : lo(l), hi(h) {}
    W2(std::uint16_t x) : lo(_mm_set1_epi16(static_cast<short>(x))), hi(lo) {}  // NOLINT: broadcast
};
inline W2 widen(I4 p) {
    const __m128i z = _mm_setzero_si128();
    return W2(_mm_unpacklo_epi8(p.v, z), _mm_unpackhi_epi8(p.v, z));
}
inline I4 narrow(W2 w) { return I4(_mm_packus_epi16(w.lo, w.hi)); }  // saturates to 0..255
inline W2 operator+(W2 a, W2 b) { return W2(_mm_add_epi16(a.lo, b.lo), _mm_add_epi16(a.hi, b.hi)); }
inline W2 operator-(W2 a, W2 b) { return W2(_mm_sub_epi16(a.lo, b.lo), _mm_sub_epi16(a.hi, b.hi)); }
inline W2 operator*(W2 a, W2 b) { return W2(_mm_mullo_epi16(a.lo, b.lo), _mm_mullo_epi16(a.hi, b.hi)); }
inline W2 mulhi(W2 a, W2 b) { return W2(_mm_mulhi_epu16(a.lo, b.lo), _mm_mulhi_epu16(a.hi, b.hi)); }  // unsigned
inline W2 operator&(W2 a, W2 b) { return W2(_mm_and_si128(a.lo, b.lo), _mm_and_si128(a.hi, b.hi)); }
inline W2 operator|(W2 a, W2 b) { return W2(_mm_or_si128(a.lo, b.lo), _mm_or_si128(a.hi, b.hi)); }
inline W2 andnot(W2 a, W2 b) { return W2(_mm_andnot_si128(a.lo, b.lo), _mm_andnot_si128(a.hi, b.hi)); }
template <int n> inline W2 shr(W2 a) { return W2(_mm_srli_epi16(a.lo, n), _mm_srli_epi16(a.hi, n)); }
inline W2 cmpgt(W2 a, W2 b) { return W2(_mm_cmpgt_epi16(a.lo, b.lo), _mm_cmpgt_epi16(a.hi, b.hi)); }  // signed
inline W2 min_u8(W2 a, W2 b) { return W2(_mm_min_epi16(a.lo, b.lo), _mm_min_epi16(a.hi, b.hi)); }  // lanes below 32768
// Each pixel's alpha in all four of its lanes.
inline W2 alpha_of(W2 a) {
    const auto f = [](__m128i x) { return _mm_shufflehi_epi16(_mm_shufflelo_epi16(x, 0xFF), 0xFF); };
    return W2(f(a.lo), f(a.hi));
}
// Lane i of `v` (0..32767) in the four lanes of pixel i.
inline W2 spread(I4 v) {
    const __m128i p = _mm_packs_epi32(v.v, v.v);
    const __m128i q = _mm_unpacklo_epi16(p, p);
    return W2(_mm_unpacklo_epi32(q, q), _mm_unpackhi_epi32(q, q));
}
#else
struct W2 {
    std::uint16_t v[16];
    W2() = default;
    W2(std::uint16_t x) { for (auto& l : v) l = x; }  // NOLINT: broadcast
};
#define TARKO_D3D_W2_OP(expr) W2 r; for (int i = 0; i < 16; ++i) r.v[i] = static_cast<std::uint16_t>(expr); return r
inline W2 widen(I4 p) { TARKO_D3D_W2_OP((static_cast<std::uint32_t>(p.v[i / 4]) >> (8 * (i % 4))) & 255u); }
inline I4 narrow(W2 w) {
    I4 r;
    for (int p = 0; p < 4; ++p) {
        std::uint32_t x = 0;
        for (int c = 0; c < 4; ++c) {
            const auto l = static_cast<std::int16_t>(w.v[p * 4 + c]);
            x |= static_cast<std::uint32_t>(l < 0 ? 0 : (l > 255 ? 255 : l)) << (8 * c);
        }
        r.v[p] = static_cast<std::int32_t>(x);
    }
    return r;
}
inline W2 operator+(W2 a, W2 b) { TARKO_D3D_W2_OP(a.v[i] + b.v[i]); }
inline W2 operator-(W2 a, W2 b) { TARKO_D3D_W2_OP(a.v[i] - b.v[i]); }
inline W2 operator*(W2 a, W2 b) { TARKO_D3D_W2_OP(static_cast<std::uint32_t>(a.v[i]) * b.v[i]); }
inline W2 mulhi(W2 a, W2 b) { TARKO_D3D_W2_OP((static_cast<std::uint32_t>(a.v[i]) * b.v[i]) >> 16); }
inline W2 operator&(W2 a, W2 b) { TARKO_D3D_W2_OP(a.v[i] & b.v[i]); }
inline W2 operator|(W2 a, W2 b) { TARKO_D3D_W2_OP(a.v[i] | b.v[i]); }
inline W2 andnot(W2 a, W2 b) { TARKO_D3D_W2_OP(~a.v[i] & b.v[i]); }
template <int n> inline W2 shr(W2 a) { TARKO_D3D_W2_OP(a.v[i] >> n); }
inline W2 cmpgt(W2 a, W2 b) {
    TARKO_D3D_W2_OP(static_cast<std::int16_t>(a.v[i]) > static_cast<std::int16_t>(b.v[i]) ? 0xFFFF : 0);
}
inline W2 min_u8(W2 a, W2 b) { TARKO_D3D_W2_OP(a.v[i] < b.v[i] ? a.v[i] : b.v[i]); }
inline W2 alpha_of(W2 a) { TARKO_D3D_W2_OP(a.v[(i & ~3) + 3]); }
inline W2 spread(I4 v) { TARKO_D3D_W2_OP(v.v[i / 4]); }
#undef TARKO_D3D_W2_OP
#endif

// round(x / 255) for x in 0..65025 (a product of two 8-bit values, or a sum
// of such products weighted to 255 in all).
inline W2 div255(W2 x) {
    x = x + W2(128);
    return shr<8>(x + shr<8>(x));
}
inline W2 mul255(W2 a, W2 b) { return div255(a * b); }
inline W2 shl2(W2 a) { return a + a + a + a; }
// round((a f + b (255 - f)) / 255): a where f is 255, b where it is 0.
inline W2 lerp255(W2 a, W2 b, W2 f) { return div255(a * f + b * (W2(255) - f)); }
inline W2 select(W2 m, W2 a, W2 b) { return (m & a) | andnot(m, b); }
// round(m x / 255) for x in 0..65025 and m = 2 or 4, capped at 255: the
// whole part of x / 255 times m, plus m times the remainder rounded.
inline W2 mul255_scaled(W2 x, int m) {
    const W2 q = shr<7>(mulhi(x, W2(0x8081)));  // x / 255, rounded down
    const W2 r = x - q * W2(255);
    W2 v;
    // Masks are all ones (minus one) where a threshold is passed.
    if (m == 2) v = q + q - cmpgt(r, W2(63)) - cmpgt(r, W2(191));
    else v = shl2(q) - cmpgt(r, W2(31)) - cmpgt(r, W2(95)) - cmpgt(r, W2(159)) - cmpgt(r, W2(223));
    return min_u8(v, W2(255));
}

// Largest whole number not above each lane (inputs within the int32 range).
inline F4 floor4(F4 a) {
    const F4 t = to_float(to_int_trunc(a));
    return select(cmplt(a, t), t - F4(1.0f), t);
}
inline F4 clamp01(F4 a) { return min(max(a, F4(0.0f)), F4(1.0f)); }

}  // namespace tarko::platform::d3d
