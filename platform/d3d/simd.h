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
inline I4 cmpgt(I4 a, I4 b) { return I4(_mm_cmpgt_epi32(a.v, b.v)); }
inline I4 cmplt(I4 a, I4 b) { return I4(_mm_cmplt_epi32(a.v, b.v)); }
inline I4 cmpeq(I4 a, I4 b) { return I4(_mm_cmpeq_epi32(a.v, b.v)); }
inline I4 select(I4 m, I4 a, I4 b) { return I4(_mm_or_si128(_mm_and_si128(m.v, a.v), _mm_andnot_si128(m.v, b.v))); }
inline int movemask(I4 m) { return _mm_movemask_ps(_mm_castsi128_ps(m.v)); }
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
inline I4 cmpgt(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] > b.v[i] ? -1 : 0); }
inline I4 cmplt(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] < b.v[i] ? -1 : 0); }
inline I4 cmpeq(I4 a, I4 b) { TARKO_D3D_I4_OP(a.v[i] == b.v[i] ? -1 : 0); }
inline I4 select(I4 m, I4 a, I4 b) { TARKO_D3D_I4_OP(m.v[i] ? a.v[i] : b.v[i]); }
inline int movemask(I4 m) {
    int r = 0;
    for (int i = 0; i < 4; ++i) r |= (m.v[i] < 0 ? 1 : 0) << i;
    return r;
}
inline I4 mul_lo(I4 a, I4 b) {
    TARKO_D3D_I4_OP(static_cast<std::int32_t>(static_cast<std::uint32_t>(a.v[i]) * static_cast<std::uint32_t>(b.v[i])));
}
#undef TARKO_D3D_F4_OP
#undef TARKO_D3D_I4_OP

#endif

// Largest whole number not above each lane (inputs within the int32 range).
inline F4 floor4(F4 a) {
    const F4 t = to_float(to_int_trunc(a));
    return select(cmplt(a, t), t - F4(1.0f), t);
}
inline F4 clamp01(F4 a) { return min(max(a, F4(0.0f)), F4(1.0f)); }

}  // namespace tarko::platform::d3d
