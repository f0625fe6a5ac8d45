// Lane vectors for the pixel stages, in one of three instruction sets chosen
// by the including file through TARKO_D3D_ISA before the include:
//   avx512    sixteen lanes (the file is compiled for AVX-512 F, BW, DQ, VL),
//   avx2      eight lanes (the file is compiled for AVX2),
//   sse2      four lanes (x86-64's baseline),
//   portable  four lanes as plain arrays (other machines, or TARKO_D3D_SCALAR).
// All of them give the same results lane for lane: only IEEE add, sub, mul,
// div, min, max (the second operand wins on NaN), conversions rounding to
// nearest-even, and integer operations are used. Each set lives in its own
// namespace, so files built for different sets link together.
//
//   Fv  float lanes            Iv  int32 lanes (one packed A8R8G8B8 pixel each)
//   Wv  the pixels of an Iv widened to 16-bit lanes, four per pixel in memory
//       order (b, g, r, a): colour arithmetic on 8-bit values happens here.
#include <cmath>
#include <cstdint>
#include <cstring>

#ifndef TARKO_D3D_ISA
#if defined(__SSE2__) && !defined(TARKO_D3D_SCALAR)
#define TARKO_D3D_ISA sse2
#else
#define TARKO_D3D_ISA portable
#endif
#endif

#define TARKO_D3D_ISA_avx2 1
#define TARKO_D3D_ISA_sse2 2
#define TARKO_D3D_ISA_portable 3
#define TARKO_D3D_ISA_avx512 4
#define TARKO_D3D_ISA_ID_(x) TARKO_D3D_ISA_##x
#define TARKO_D3D_ISA_ID(x) TARKO_D3D_ISA_ID_(x)
#define TARKO_D3D_ISA_IS(x) (TARKO_D3D_ISA_ID(TARKO_D3D_ISA) == TARKO_D3D_ISA_##x)

#if TARKO_D3D_ISA_IS(avx2) || TARKO_D3D_ISA_IS(avx512)
#include <immintrin.h>
#elif TARKO_D3D_ISA_IS(sse2)
#include <emmintrin.h>
#endif

namespace tarko::platform::d3d::TARKO_D3D_ISA {

#if TARKO_D3D_ISA_IS(avx512)

constexpr int kLanes = 16;

struct Fv {
    __m512 v;
    Fv() = default;
    explicit Fv(__m512 x) : v(x) {}
    Fv(float x) : v(_mm512_set1_ps(x)) {}  // NOLINT: broadcast
    static Fv load(const float* p) { return Fv(_mm512_loadu_ps(p)); }
    void store(float* p) const { _mm512_storeu_ps(p, v); }
};
struct Iv {
    __m512i v;
    Iv() = default;
    explicit Iv(__m512i x) : v(x) {}
    Iv(std::int32_t x) : v(_mm512_set1_epi32(x)) {}  // NOLINT: broadcast
    static Iv load(const void* p) { return Iv(_mm512_loadu_si512(p)); }
    void store(void* p) const { _mm512_storeu_si512(p, v); }
};

// Comparisons give whole-lane masks, as in the narrower sets.
inline Iv lanes_of(__mmask16 m) { return Iv(_mm512_movm_epi32(m)); }
inline __mmask16 mask_of(Iv m) { return _mm512_movepi32_mask(m.v); }

inline Fv operator+(Fv a, Fv b) { return Fv(_mm512_add_ps(a.v, b.v)); }
inline Fv operator-(Fv a, Fv b) { return Fv(_mm512_sub_ps(a.v, b.v)); }
inline Fv operator*(Fv a, Fv b) { return Fv(_mm512_mul_ps(a.v, b.v)); }
inline Fv operator/(Fv a, Fv b) { return Fv(_mm512_div_ps(a.v, b.v)); }
inline Fv min(Fv a, Fv b) { return Fv(_mm512_min_ps(a.v, b.v)); }
inline Fv max(Fv a, Fv b) { return Fv(_mm512_max_ps(a.v, b.v)); }
inline Iv cmplt(Fv a, Fv b) { return lanes_of(_mm512_cmp_ps_mask(a.v, b.v, _CMP_LT_OQ)); }
inline Iv cmple(Fv a, Fv b) { return lanes_of(_mm512_cmp_ps_mask(a.v, b.v, _CMP_LE_OQ)); }
inline Fv select(Iv m, Fv a, Fv b) { return Fv(_mm512_mask_blend_ps(mask_of(m), b.v, a.v)); }
inline Iv to_int_round(Fv a) { return Iv(_mm512_cvtps_epi32(a.v)); }
inline Iv to_int_trunc(Fv a) { return Iv(_mm512_cvttps_epi32(a.v)); }
inline Fv to_float(Iv a) { return Fv(_mm512_cvtepi32_ps(a.v)); }
inline Fv lane_offsets() { return Fv(_mm512_setr_ps(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)); }

inline Iv operator+(Iv a, Iv b) { return Iv(_mm512_add_epi32(a.v, b.v)); }
inline Iv operator-(Iv a, Iv b) { return Iv(_mm512_sub_epi32(a.v, b.v)); }
inline Iv operator&(Iv a, Iv b) { return Iv(_mm512_and_si512(a.v, b.v)); }
inline Iv operator|(Iv a, Iv b) { return Iv(_mm512_or_si512(a.v, b.v)); }
inline Iv operator^(Iv a, Iv b) { return Iv(_mm512_xor_si512(a.v, b.v)); }
inline Iv andnot(Iv a, Iv b) { return Iv(_mm512_andnot_si512(a.v, b.v)); }  // ~a & b
template <int n> inline Iv shl(Iv a) { return Iv(_mm512_slli_epi32(a.v, n)); }
template <int n> inline Iv shr(Iv a) { return Iv(_mm512_srli_epi32(a.v, n)); }
template <int n> inline Iv sar(Iv a) { return Iv(_mm512_srai_epi32(a.v, n)); }
inline Iv shl_var(Iv a, int n) { return Iv(_mm512_sll_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline Iv shr_var(Iv a, int n) { return Iv(_mm512_srl_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline Iv cmpgt(Iv a, Iv b) { return lanes_of(_mm512_cmpgt_epi32_mask(a.v, b.v)); }
inline Iv cmplt(Iv a, Iv b) { return lanes_of(_mm512_cmplt_epi32_mask(a.v, b.v)); }
inline Iv cmpeq(Iv a, Iv b) { return lanes_of(_mm512_cmpeq_epi32_mask(a.v, b.v)); }
inline Iv select(Iv m, Iv a, Iv b) { return Iv(_mm512_mask_blend_epi32(mask_of(m), b.v, a.v)); }
inline int movemask(Iv m) { return mask_of(m); }
inline Iv adds_u8(Iv a, Iv b) { return Iv(_mm512_adds_epu8(a.v, b.v)); }
inline Iv mul_lo(Iv a, Iv b) { return Iv(_mm512_mullo_epi32(a.v, b.v)); }
inline Iv lane_numbers() { return Iv(_mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15)); }
inline Iv gather(const std::uint32_t* base, Iv index) { return Iv(_mm512_i32gather_epi32(index.v, base, 4)); }
// Sixteen 16-bit values, zero-extended; and the low halves of the lanes stored.
inline Iv load_u16(const void* p) { return Iv(_mm512_cvtepu16_epi32(_mm256_loadu_si256(static_cast<const __m256i*>(p)))); }
inline void store_u16(void* p, Iv a) {  // lanes within 0..65535
    _mm256_storeu_si256(static_cast<__m256i*>(p), _mm512_cvtepi32_epi16(a.v));
}

// Masked memory: lanes outside `mask` are neither read (they read 0) nor
// written, and never fault. A run is kLanes pixels from p; a block is four
// rows of four, `pitch` bytes apart (a row without lanes is not touched).
constexpr bool kMaskedMemory = true;
constexpr bool kMaskedMemory16 = true;
template <int Bpp>
inline Iv load_masked(const std::uint8_t* p, int mask) {
    const auto m = static_cast<__mmask16>(mask);
    if constexpr (Bpp == 4) return Iv(_mm512_maskz_loadu_epi32(m, p));
    else return Iv(_mm512_cvtepu16_epi32(_mm256_maskz_loadu_epi16(m, p)));
}
template <int Bpp>
inline void store_masked(std::uint8_t* p, int mask, Iv v) {
    const auto m = static_cast<__mmask16>(mask);
    if constexpr (Bpp == 4) _mm512_mask_storeu_epi32(p, m, v.v);
    else _mm256_mask_storeu_epi16(p, m, _mm512_cvtepi32_epi16(v.v));
}
inline __mmask8 row_mask(int mask, int r) { return static_cast<__mmask8>((mask >> (4 * r)) & 15); }
inline const std::uint8_t* row_at(const std::uint8_t* p, std::ptrdiff_t pitch, int mask, int r) {
    return row_mask(mask, r) ? p + r * pitch : p;
}
inline std::uint8_t* row_at(std::uint8_t* p, std::ptrdiff_t pitch, int mask, int r) {
    return row_mask(mask, r) ? p + r * pitch : p;
}
template <int Bpp>
inline Iv load_block(const std::uint8_t* p, std::ptrdiff_t pitch, int mask) {
    if constexpr (Bpp == 4) {
        __m512i v = _mm512_castsi128_si512(_mm_maskz_loadu_epi32(row_mask(mask, 0), p));
        v = _mm512_inserti32x4(v, _mm_maskz_loadu_epi32(row_mask(mask, 1), row_at(p, pitch, mask, 1)), 1);
        v = _mm512_inserti32x4(v, _mm_maskz_loadu_epi32(row_mask(mask, 2), row_at(p, pitch, mask, 2)), 2);
        return Iv(_mm512_inserti32x4(v, _mm_maskz_loadu_epi32(row_mask(mask, 3), row_at(p, pitch, mask, 3)), 3));
    } else {
        const auto row = [&](int r) { return _mm_maskz_loadu_epi16(row_mask(mask, r), row_at(p, pitch, mask, r)); };
        const __m128i lo = _mm_unpacklo_epi64(row(0), row(1)), hi = _mm_unpacklo_epi64(row(2), row(3));
        return Iv(_mm512_cvtepu16_epi32(_mm256_set_m128i(hi, lo)));
    }
}
template <int Bpp>
inline void store_block(std::uint8_t* p, std::ptrdiff_t pitch, int mask, Iv v) {
    if constexpr (Bpp == 4) {
        _mm_mask_storeu_epi32(p, row_mask(mask, 0), _mm512_castsi512_si128(v.v));
        _mm_mask_storeu_epi32(row_at(p, pitch, mask, 1), row_mask(mask, 1), _mm512_extracti32x4_epi32(v.v, 1));
        _mm_mask_storeu_epi32(row_at(p, pitch, mask, 2), row_mask(mask, 2), _mm512_extracti32x4_epi32(v.v, 2));
        _mm_mask_storeu_epi32(row_at(p, pitch, mask, 3), row_mask(mask, 3), _mm512_extracti32x4_epi32(v.v, 3));
    } else {
        const __m256i w = _mm512_cvtepi32_epi16(v.v);
        const __m128i lo = _mm256_castsi256_si128(w), hi = _mm256_extracti128_si256(w, 1);
        _mm_mask_storeu_epi16(p, row_mask(mask, 0), lo);
        _mm_mask_storeu_epi16(row_at(p, pitch, mask, 1), row_mask(mask, 1), _mm_srli_si128(lo, 8));
        _mm_mask_storeu_epi16(row_at(p, pitch, mask, 2), row_mask(mask, 2), hi);
        _mm_mask_storeu_epi16(row_at(p, pitch, mask, 3), row_mask(mask, 3), _mm_srli_si128(hi, 8));
    }
}

struct Wv {
    __m512i lo, hi;  // pixels 0-7, 8-15
    Wv() = default;
    Wv(__m512i l, __m512i h) : lo(l), hi(h) {}
    Wv(std::uint16_t x) : lo(_mm512_set1_epi16(static_cast<short>(x))), hi(lo) {}  // NOLINT: broadcast
};
inline Wv widen(Iv p) {
    return Wv(_mm512_cvtepu8_epi16(_mm512_castsi512_si256(p.v)), _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(p.v, 1)));
}
inline Iv narrow(Wv w) {
    // The pack interleaves the halves per 128 bits: pixels 0-1, 8-9, 2-3, 10-11, ...
    return Iv(_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), _mm512_packus_epi16(w.lo, w.hi)));
}
#define TARKO_D3D_W_OP(f) Wv(f(a.lo, b.lo), f(a.hi, b.hi))
inline Wv operator+(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_add_epi16); }
inline Wv operator-(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_sub_epi16); }
inline Wv operator*(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_mullo_epi16); }
inline Wv mulhi(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_mulhi_epu16); }
inline Wv operator&(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_and_si512); }
inline Wv operator|(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_or_si512); }
inline Wv andnot(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_andnot_si512); }
inline Wv min_u8(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm512_min_epi16); }   // lanes below 32768
#undef TARKO_D3D_W_OP
inline Wv cmpgt(Wv a, Wv b) {  // signed
    return Wv(_mm512_movm_epi16(_mm512_cmpgt_epi16_mask(a.lo, b.lo)), _mm512_movm_epi16(_mm512_cmpgt_epi16_mask(a.hi, b.hi)));
}
template <int n> inline Wv shr(Wv a) { return Wv(_mm512_srli_epi16(a.lo, n), _mm512_srli_epi16(a.hi, n)); }
template <int n> inline Wv shl(Wv a) { return Wv(_mm512_slli_epi16(a.lo, n), _mm512_slli_epi16(a.hi, n)); }
inline Wv alpha_of(Wv a) {
    const auto f = [](__m512i x) { return _mm512_shufflehi_epi16(_mm512_shufflelo_epi16(x, 0xFF), 0xFF); };
    return Wv(f(a.lo), f(a.hi));
}
inline Wv spread(Iv v) {  // lanes 0..32767
    // Word 4 i + j of a half takes the low word of lane i of that half.
    const __m512i lo = _mm512_setr_epi64(0x0000000000000000, 0x0002000200020002, 0x0004000400040004, 0x0006000600060006,
                                         0x0008000800080008, 0x000A000A000A000A, 0x000C000C000C000C, 0x000E000E000E000E);
    const __m512i hi = _mm512_add_epi16(lo, _mm512_set1_epi16(16));
    return Wv(_mm512_permutexvar_epi16(lo, v.v), _mm512_permutexvar_epi16(hi, v.v));
}

#elif TARKO_D3D_ISA_IS(avx2)

constexpr int kLanes = 8;

struct Fv {
    __m256 v;
    Fv() = default;
    explicit Fv(__m256 x) : v(x) {}
    Fv(float x) : v(_mm256_set1_ps(x)) {}  // NOLINT: broadcast
    static Fv load(const float* p) { return Fv(_mm256_loadu_ps(p)); }
    void store(float* p) const { _mm256_storeu_ps(p, v); }
};
struct Iv {
    __m256i v;
    Iv() = default;
    explicit Iv(__m256i x) : v(x) {}
    Iv(std::int32_t x) : v(_mm256_set1_epi32(x)) {}  // NOLINT: broadcast
    static Iv load(const void* p) { return Iv(_mm256_loadu_si256(static_cast<const __m256i*>(p))); }
    void store(void* p) const { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
};

inline Fv operator+(Fv a, Fv b) { return Fv(_mm256_add_ps(a.v, b.v)); }
inline Fv operator-(Fv a, Fv b) { return Fv(_mm256_sub_ps(a.v, b.v)); }
inline Fv operator*(Fv a, Fv b) { return Fv(_mm256_mul_ps(a.v, b.v)); }
inline Fv operator/(Fv a, Fv b) { return Fv(_mm256_div_ps(a.v, b.v)); }
inline Fv min(Fv a, Fv b) { return Fv(_mm256_min_ps(a.v, b.v)); }
inline Fv max(Fv a, Fv b) { return Fv(_mm256_max_ps(a.v, b.v)); }
inline Iv cmplt(Fv a, Fv b) { return Iv(_mm256_castps_si256(_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ))); }
inline Iv cmple(Fv a, Fv b) { return Iv(_mm256_castps_si256(_mm256_cmp_ps(a.v, b.v, _CMP_LE_OQ))); }
inline Fv select(Iv m, Fv a, Fv b) { return Fv(_mm256_blendv_ps(b.v, a.v, _mm256_castsi256_ps(m.v))); }
inline Iv to_int_round(Fv a) { return Iv(_mm256_cvtps_epi32(a.v)); }
inline Iv to_int_trunc(Fv a) { return Iv(_mm256_cvttps_epi32(a.v)); }
inline Fv to_float(Iv a) { return Fv(_mm256_cvtepi32_ps(a.v)); }
inline Fv lane_offsets() { return Fv(_mm256_setr_ps(0, 1, 2, 3, 4, 5, 6, 7)); }

inline Iv operator+(Iv a, Iv b) { return Iv(_mm256_add_epi32(a.v, b.v)); }
inline Iv operator-(Iv a, Iv b) { return Iv(_mm256_sub_epi32(a.v, b.v)); }
inline Iv operator&(Iv a, Iv b) { return Iv(_mm256_and_si256(a.v, b.v)); }
inline Iv operator|(Iv a, Iv b) { return Iv(_mm256_or_si256(a.v, b.v)); }
inline Iv operator^(Iv a, Iv b) { return Iv(_mm256_xor_si256(a.v, b.v)); }
inline Iv andnot(Iv a, Iv b) { return Iv(_mm256_andnot_si256(a.v, b.v)); }  // ~a & b
template <int n> inline Iv shl(Iv a) { return Iv(_mm256_slli_epi32(a.v, n)); }
template <int n> inline Iv shr(Iv a) { return Iv(_mm256_srli_epi32(a.v, n)); }
template <int n> inline Iv sar(Iv a) { return Iv(_mm256_srai_epi32(a.v, n)); }
inline Iv shl_var(Iv a, int n) { return Iv(_mm256_sll_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline Iv shr_var(Iv a, int n) { return Iv(_mm256_srl_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline Iv cmpgt(Iv a, Iv b) { return Iv(_mm256_cmpgt_epi32(a.v, b.v)); }
inline Iv cmplt(Iv a, Iv b) { return Iv(_mm256_cmpgt_epi32(b.v, a.v)); }
inline Iv cmpeq(Iv a, Iv b) { return Iv(_mm256_cmpeq_epi32(a.v, b.v)); }
inline Iv select(Iv m, Iv a, Iv b) { return Iv(_mm256_blendv_epi8(b.v, a.v, m.v)); }
inline int movemask(Iv m) { return _mm256_movemask_ps(_mm256_castsi256_ps(m.v)); }
inline Iv adds_u8(Iv a, Iv b) { return Iv(_mm256_adds_epu8(a.v, b.v)); }
inline Iv mul_lo(Iv a, Iv b) { return Iv(_mm256_mullo_epi32(a.v, b.v)); }
inline Iv lane_numbers() { return Iv(_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7)); }
inline Iv gather(const std::uint32_t* base, Iv index) {
    return Iv(_mm256_i32gather_epi32(reinterpret_cast<const int*>(base), index.v, 4));
}
// Eight 16-bit values, zero-extended; and the low halves of the lanes stored.
inline Iv load_u16(const void* p) { return Iv(_mm256_cvtepu16_epi32(_mm_loadu_si128(static_cast<const __m128i*>(p)))); }
inline void store_u16(void* p, Iv a) {  // lanes within 0..65535
    _mm_storeu_si128(static_cast<__m128i*>(p),
                     _mm_packus_epi32(_mm256_castsi256_si128(a.v), _mm256_extracti128_si256(a.v, 1)));
}

// Masked memory for 32-bit pixels (AVX2 has no 16-bit form): lanes outside
// `mask` are neither read (they read 0) nor written, and never fault. A run
// is eight pixels from p; a block two rows of four, `pitch` bytes apart (a
// row without lanes is not touched).
constexpr bool kMaskedMemory = true;
constexpr bool kMaskedMemory16 = false;
inline __m256i mask_lanes(int mask) {
    const __m256i bits = _mm256_setr_epi32(1, 2, 4, 8, 16, 32, 64, 128);
    return _mm256_cmpeq_epi32(_mm256_and_si256(_mm256_set1_epi32(mask), bits), bits);
}
template <int Bpp>  // 4 only
inline Iv load_masked(const std::uint8_t* p, int mask) {
    return Iv(_mm256_maskload_epi32(reinterpret_cast<const int*>(p), mask_lanes(mask)));
}
template <int Bpp>
inline void store_masked(std::uint8_t* p, int mask, Iv v) {
    _mm256_maskstore_epi32(reinterpret_cast<int*>(p), mask_lanes(mask), v.v);
}
template <int Bpp>
inline Iv load_block(const std::uint8_t* p, std::ptrdiff_t pitch, int mask) {
    const __m256i m = mask_lanes(mask);
    const std::uint8_t* p1 = (mask & 0xF0) ? p + pitch : p;
    const __m128i lo = _mm_maskload_epi32(reinterpret_cast<const int*>(p), _mm256_castsi256_si128(m));
    const __m128i hi = _mm_maskload_epi32(reinterpret_cast<const int*>(p1), _mm256_extracti128_si256(m, 1));
    return Iv(_mm256_set_m128i(hi, lo));
}
template <int Bpp>
inline void store_block(std::uint8_t* p, std::ptrdiff_t pitch, int mask, Iv v) {
    const __m256i m = mask_lanes(mask);
    std::uint8_t* p1 = (mask & 0xF0) ? p + pitch : p;
    _mm_maskstore_epi32(reinterpret_cast<int*>(p), _mm256_castsi256_si128(m), _mm256_castsi256_si128(v.v));
    _mm_maskstore_epi32(reinterpret_cast<int*>(p1), _mm256_extracti128_si256(m, 1), _mm256_extracti128_si256(v.v, 1));
}

struct Wv {
    __m256i lo, hi;  // pixels 0-3, 4-7
    Wv() = default;
    Wv(__m256i l, __m256i h) : lo(l), hi(h) {}
    Wv(std::uint16_t x) : lo(_mm256_set1_epi16(static_cast<short>(x))), hi(lo) {}  // NOLINT: broadcast
};
inline Wv widen(Iv p) {
    return Wv(_mm256_cvtepu8_epi16(_mm256_castsi256_si128(p.v)),
              _mm256_cvtepu8_epi16(_mm256_extracti128_si256(p.v, 1)));
}
inline Iv narrow(Wv w) { return Iv(_mm256_permute4x64_epi64(_mm256_packus_epi16(w.lo, w.hi), 0xD8)); }
#define TARKO_D3D_W_OP(f) Wv(f(a.lo, b.lo), f(a.hi, b.hi))
inline Wv operator+(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_add_epi16); }
inline Wv operator-(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_sub_epi16); }
inline Wv operator*(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_mullo_epi16); }
inline Wv mulhi(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_mulhi_epu16); }
inline Wv operator&(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_and_si256); }
inline Wv operator|(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_or_si256); }
inline Wv andnot(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_andnot_si256); }
inline Wv cmpgt(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_cmpgt_epi16); }  // signed
inline Wv min_u8(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm256_min_epi16); }   // lanes below 32768
#undef TARKO_D3D_W_OP
template <int n> inline Wv shr(Wv a) { return Wv(_mm256_srli_epi16(a.lo, n), _mm256_srli_epi16(a.hi, n)); }
template <int n> inline Wv shl(Wv a) { return Wv(_mm256_slli_epi16(a.lo, n), _mm256_slli_epi16(a.hi, n)); }
inline Wv alpha_of(Wv a) {
    const auto f = [](__m256i x) { return _mm256_shufflehi_epi16(_mm256_shufflelo_epi16(x, 0xFF), 0xFF); };
    return Wv(f(a.lo), f(a.hi));
}
inline Wv spread(Iv v) {  // lanes 0..32767
    const __m256i pick = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 4, 5, 4, 5, 4, 5, 4, 5,
                                          8, 9, 8, 9, 8, 9, 8, 9, 12, 13, 12, 13, 12, 13, 12, 13);
    const auto part = [&pick](__m128i four) {
        // Pixels 0 and 1 of the four in the low half, 2 and 3 in the high.
        return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(four), pick);
    };
    return Wv(part(_mm256_castsi256_si128(v.v)), part(_mm256_extracti128_si256(v.v, 1)));
}

#elif TARKO_D3D_ISA_IS(sse2)

constexpr int kLanes = 4;

struct Fv {
    __m128 v;
    Fv() = default;
    explicit Fv(__m128 x) : v(x) {}
    Fv(float x) : v(_mm_set1_ps(x)) {}  // NOLINT: broadcast
    static Fv load(const float* p) { return Fv(_mm_loadu_ps(p)); }
    void store(float* p) const { _mm_storeu_ps(p, v); }
};
struct Iv {
    __m128i v;
    Iv() = default;
    explicit Iv(__m128i x) : v(x) {}
    Iv(std::int32_t x) : v(_mm_set1_epi32(x)) {}  // NOLINT: broadcast
    static Iv load(const void* p) { return Iv(_mm_loadu_si128(static_cast<const __m128i*>(p))); }
    void store(void* p) const { _mm_storeu_si128(static_cast<__m128i*>(p), v); }
};

inline Fv operator+(Fv a, Fv b) { return Fv(_mm_add_ps(a.v, b.v)); }
inline Fv operator-(Fv a, Fv b) { return Fv(_mm_sub_ps(a.v, b.v)); }
inline Fv operator*(Fv a, Fv b) { return Fv(_mm_mul_ps(a.v, b.v)); }
inline Fv operator/(Fv a, Fv b) { return Fv(_mm_div_ps(a.v, b.v)); }
inline Fv min(Fv a, Fv b) { return Fv(_mm_min_ps(a.v, b.v)); }
inline Fv max(Fv a, Fv b) { return Fv(_mm_max_ps(a.v, b.v)); }
inline Iv cmplt(Fv a, Fv b) { return Iv(_mm_castps_si128(_mm_cmplt_ps(a.v, b.v))); }
inline Iv cmple(Fv a, Fv b) { return Iv(_mm_castps_si128(_mm_cmple_ps(a.v, b.v))); }
inline Fv select(Iv m, Fv a, Fv b) {  // m ? a : b
    const __m128 mm = _mm_castsi128_ps(m.v);
    return Fv(_mm_or_ps(_mm_and_ps(mm, a.v), _mm_andnot_ps(mm, b.v)));
}
inline Iv to_int_round(Fv a) { return Iv(_mm_cvtps_epi32(a.v)); }   // nearest, ties to even
inline Iv to_int_trunc(Fv a) { return Iv(_mm_cvttps_epi32(a.v)); }
inline Fv to_float(Iv a) { return Fv(_mm_cvtepi32_ps(a.v)); }
inline Fv lane_offsets() { return Fv(_mm_setr_ps(0, 1, 2, 3)); }

inline Iv operator+(Iv a, Iv b) { return Iv(_mm_add_epi32(a.v, b.v)); }
inline Iv operator-(Iv a, Iv b) { return Iv(_mm_sub_epi32(a.v, b.v)); }
inline Iv operator&(Iv a, Iv b) { return Iv(_mm_and_si128(a.v, b.v)); }
inline Iv operator|(Iv a, Iv b) { return Iv(_mm_or_si128(a.v, b.v)); }
inline Iv operator^(Iv a, Iv b) { return Iv(_mm_xor_si128(a.v, b.v)); }
inline Iv andnot(Iv a, Iv b) { return Iv(_mm_andnot_si128(a.v, b.v)); }  // ~a & b
template <int n> inline Iv shl(Iv a) { return Iv(_mm_slli_epi32(a.v, n)); }
template <int n> inline Iv shr(Iv a) { return Iv(_mm_srli_epi32(a.v, n)); }   // logical
template <int n> inline Iv sar(Iv a) { return Iv(_mm_srai_epi32(a.v, n)); }   // arithmetic
inline Iv shl_var(Iv a, int n) { return Iv(_mm_sll_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline Iv shr_var(Iv a, int n) { return Iv(_mm_srl_epi32(a.v, _mm_cvtsi32_si128(n))); }
inline Iv cmpgt(Iv a, Iv b) { return Iv(_mm_cmpgt_epi32(a.v, b.v)); }
inline Iv cmplt(Iv a, Iv b) { return Iv(_mm_cmplt_epi32(a.v, b.v)); }
inline Iv cmpeq(Iv a, Iv b) { return Iv(_mm_cmpeq_epi32(a.v, b.v)); }
inline Iv select(Iv m, Iv a, Iv b) { return Iv(_mm_or_si128(_mm_and_si128(m.v, a.v), _mm_andnot_si128(m.v, b.v))); }
inline int movemask(Iv m) { return _mm_movemask_ps(_mm_castsi128_ps(m.v)); }
inline Iv adds_u8(Iv a, Iv b) { return Iv(_mm_adds_epu8(a.v, b.v)); }  // byte by byte, saturating
// 32-bit multiply of the low halves (SSE2 lacks pmulld).
inline Iv mul_lo(Iv a, Iv b) {
    const __m128i even = _mm_mul_epu32(a.v, b.v);
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a.v, 32), _mm_srli_epi64(b.v, 32));
    return Iv(_mm_unpacklo_epi32(_mm_shuffle_epi32(even, _MM_SHUFFLE(0, 0, 2, 0)),
                                 _mm_shuffle_epi32(odd, _MM_SHUFFLE(0, 0, 2, 0))));
}
inline Iv lane_numbers() { return Iv(_mm_setr_epi32(0, 1, 2, 3)); }
inline Iv gather(const std::uint32_t* base, Iv index) {
    alignas(16) std::int32_t idx[4];
    index.store(idx);
    return Iv(_mm_setr_epi32(static_cast<int>(base[idx[0]]), static_cast<int>(base[idx[1]]),
                             static_cast<int>(base[idx[2]]), static_cast<int>(base[idx[3]])));
}
inline Iv load_u16(const void* p) {
    return Iv(_mm_unpacklo_epi16(_mm_loadl_epi64(static_cast<const __m128i*>(p)), _mm_setzero_si128()));
}
inline void store_u16(void* p, Iv a) {  // the low halves of the four lanes, side by side
    __m128i v = _mm_shufflelo_epi16(a.v, _MM_SHUFFLE(3, 3, 2, 0));
    v = _mm_shufflehi_epi16(v, _MM_SHUFFLE(3, 3, 2, 0));
    _mm_storel_epi64(static_cast<__m128i*>(p), _mm_shuffle_epi32(v, _MM_SHUFFLE(3, 3, 2, 0)));
}

struct Wv {
    __m128i lo, hi;  // pixels 0-1, 2-3
    Wv() = default;
    Wv(__m128i l, __m128i h) : lo(l), hi(h) {}
    Wv(std::uint16_t x) : lo(_mm_set1_epi16(static_cast<short>(x))), hi(lo) {}  // NOLINT: broadcast
};
inline Wv widen(Iv p) {
    const __m128i z = _mm_setzero_si128();
    return Wv(_mm_unpacklo_epi8(p.v, z), _mm_unpackhi_epi8(p.v, z));
}
inline Iv narrow(Wv w) { return Iv(_mm_packus_epi16(w.lo, w.hi)); }  // saturates to 0..255
#define TARKO_D3D_W_OP(f) Wv(f(a.lo, b.lo), f(a.hi, b.hi))
inline Wv operator+(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_add_epi16); }
inline Wv operator-(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_sub_epi16); }
inline Wv operator*(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_mullo_epi16); }
inline Wv mulhi(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_mulhi_epu16); }  // unsigned
inline Wv operator&(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_and_si128); }
inline Wv operator|(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_or_si128); }
inline Wv andnot(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_andnot_si128); }
inline Wv cmpgt(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_cmpgt_epi16); }  // signed
inline Wv min_u8(Wv a, Wv b) { return TARKO_D3D_W_OP(_mm_min_epi16); }   // lanes below 32768
#undef TARKO_D3D_W_OP
template <int n> inline Wv shr(Wv a) { return Wv(_mm_srli_epi16(a.lo, n), _mm_srli_epi16(a.hi, n)); }
template <int n> inline Wv shl(Wv a) { return Wv(_mm_slli_epi16(a.lo, n), _mm_slli_epi16(a.hi, n)); }
// Each pixel's alpha in all four of its lanes.
inline Wv alpha_of(Wv a) {
    const auto f = [](__m128i x) { return _mm_shufflehi_epi16(_mm_shufflelo_epi16(x, 0xFF), 0xFF); };
    return Wv(f(a.lo), f(a.hi));
}
// Lane i of `v` (0..32767) in the four lanes of pixel i.
inline Wv spread(Iv v) {
    const __m128i p = _mm_packs_epi32(v.v, v.v);
    const __m128i q = _mm_unpacklo_epi16(p, p);
    return Wv(_mm_unpacklo_epi32(q, q), _mm_unpackhi_epi32(q, q));
}

#else  // portable

constexpr int kLanes = 4;

struct Fv {
    float v[4];
    Fv() = default;
    Fv(float x) : v{x, x, x, x} {}  // NOLINT: broadcast
    static Fv load(const float* p) { Fv r; std::memcpy(r.v, p, sizeof r.v); return r; }
    void store(float* p) const { std::memcpy(p, v, sizeof v); }
};
struct Iv {
    std::int32_t v[4];
    Iv() = default;
    Iv(std::int32_t x) : v{x, x, x, x} {}  // NOLINT: broadcast
    static Iv load(const void* p) { Iv r; std::memcpy(r.v, p, sizeof r.v); return r; }
    void store(void* p) const { std::memcpy(p, v, sizeof v); }
};

#define TARKO_D3D_F_OP(expr) Fv r; for (int i = 0; i < 4; ++i) r.v[i] = (expr); return r
#define TARKO_D3D_I_OP(expr) Iv r; for (int i = 0; i < 4; ++i) r.v[i] = (expr); return r
inline Fv operator+(Fv a, Fv b) { TARKO_D3D_F_OP(a.v[i] + b.v[i]); }
inline Fv operator-(Fv a, Fv b) { TARKO_D3D_F_OP(a.v[i] - b.v[i]); }
inline Fv operator*(Fv a, Fv b) { TARKO_D3D_F_OP(a.v[i] * b.v[i]); }
inline Fv operator/(Fv a, Fv b) { TARKO_D3D_F_OP(a.v[i] / b.v[i]); }
// Same operand order as minps/maxps: the second operand wins on NaN.
inline Fv min(Fv a, Fv b) { TARKO_D3D_F_OP(a.v[i] < b.v[i] ? a.v[i] : b.v[i]); }
inline Fv max(Fv a, Fv b) { TARKO_D3D_F_OP(a.v[i] > b.v[i] ? a.v[i] : b.v[i]); }
inline Iv cmplt(Fv a, Fv b) { TARKO_D3D_I_OP(a.v[i] < b.v[i] ? -1 : 0); }
inline Iv cmple(Fv a, Fv b) { TARKO_D3D_I_OP(a.v[i] <= b.v[i] ? -1 : 0); }
inline Fv select(Iv m, Fv a, Fv b) { TARKO_D3D_F_OP(m.v[i] ? a.v[i] : b.v[i]); }
inline std::int32_t cvt_lane(float f, bool round) {
    if (!(f > -2147483648.0f && f < 2147483648.0f)) return INT32_MIN;  // as cvtps: NaN and overflow
    return static_cast<std::int32_t>(round ? std::nearbyint(f) : f);
}
inline Iv to_int_round(Fv a) { TARKO_D3D_I_OP(cvt_lane(a.v[i], true)); }
inline Iv to_int_trunc(Fv a) { TARKO_D3D_I_OP(cvt_lane(a.v[i], false)); }
inline Fv to_float(Iv a) { TARKO_D3D_F_OP(static_cast<float>(a.v[i])); }
inline Fv lane_offsets() { TARKO_D3D_F_OP(static_cast<float>(i)); }
inline std::int32_t as_i32(std::uint32_t x) { return static_cast<std::int32_t>(x); }
inline std::uint32_t as_u32(std::int32_t x) { return static_cast<std::uint32_t>(x); }
inline Iv operator+(Iv a, Iv b) { TARKO_D3D_I_OP(as_i32(as_u32(a.v[i]) + as_u32(b.v[i]))); }
inline Iv operator-(Iv a, Iv b) { TARKO_D3D_I_OP(as_i32(as_u32(a.v[i]) - as_u32(b.v[i]))); }
inline Iv operator&(Iv a, Iv b) { TARKO_D3D_I_OP(a.v[i] & b.v[i]); }
inline Iv operator|(Iv a, Iv b) { TARKO_D3D_I_OP(a.v[i] | b.v[i]); }
inline Iv operator^(Iv a, Iv b) { TARKO_D3D_I_OP(a.v[i] ^ b.v[i]); }
inline Iv andnot(Iv a, Iv b) { TARKO_D3D_I_OP(~a.v[i] & b.v[i]); }
template <int n> inline Iv shl(Iv a) { TARKO_D3D_I_OP(as_i32(as_u32(a.v[i]) << n)); }
template <int n> inline Iv shr(Iv a) { TARKO_D3D_I_OP(as_i32(as_u32(a.v[i]) >> n)); }
template <int n> inline Iv sar(Iv a) { TARKO_D3D_I_OP(a.v[i] >> n); }
inline Iv shl_var(Iv a, int n) { TARKO_D3D_I_OP(as_i32(as_u32(a.v[i]) << n)); }
inline Iv shr_var(Iv a, int n) { TARKO_D3D_I_OP(as_i32(as_u32(a.v[i]) >> n)); }
inline Iv cmpgt(Iv a, Iv b) { TARKO_D3D_I_OP(a.v[i] > b.v[i] ? -1 : 0); }
inline Iv cmplt(Iv a, Iv b) { TARKO_D3D_I_OP(a.v[i] < b.v[i] ? -1 : 0); }
inline Iv cmpeq(Iv a, Iv b) { TARKO_D3D_I_OP(a.v[i] == b.v[i] ? -1 : 0); }
inline Iv select(Iv m, Iv a, Iv b) { TARKO_D3D_I_OP(m.v[i] ? a.v[i] : b.v[i]); }
inline int movemask(Iv m) {
    int r = 0;
    for (int i = 0; i < 4; ++i) r |= (m.v[i] < 0 ? 1 : 0) << i;
    return r;
}
inline Iv adds_u8(Iv a, Iv b) {
    Iv r;
    for (int i = 0; i < 4; ++i) {
        std::uint32_t x = 0;
        for (int c = 0; c < 32; c += 8) {
            const std::uint32_t s = ((as_u32(a.v[i]) >> c) & 255u) + ((as_u32(b.v[i]) >> c) & 255u);
            x |= (s > 255u ? 255u : s) << c;
        }
        r.v[i] = as_i32(x);
    }
    return r;
}
inline Iv mul_lo(Iv a, Iv b) { TARKO_D3D_I_OP(as_i32(as_u32(a.v[i]) * as_u32(b.v[i]))); }
inline Iv lane_numbers() { TARKO_D3D_I_OP(i); }
inline Iv gather(const std::uint32_t* base, Iv index) { TARKO_D3D_I_OP(as_i32(base[index.v[i]])); }
inline Iv load_u16(const void* p) {
    std::uint16_t h[4];
    std::memcpy(h, p, sizeof h);
    TARKO_D3D_I_OP(h[i]);
}
inline void store_u16(void* p, Iv a) {
    std::uint16_t h[4];
    for (int i = 0; i < 4; ++i) h[i] = static_cast<std::uint16_t>(a.v[i]);
    std::memcpy(p, h, sizeof h);
}
#undef TARKO_D3D_F_OP
#undef TARKO_D3D_I_OP

struct Wv {
    std::uint16_t v[16];
    Wv() = default;
    Wv(std::uint16_t x) { for (auto& l : v) l = x; }  // NOLINT: broadcast
};
#define TARKO_D3D_W_OP(expr) Wv r; for (int i = 0; i < 16; ++i) r.v[i] = static_cast<std::uint16_t>(expr); return r
inline Wv widen(Iv p) { TARKO_D3D_W_OP((as_u32(p.v[i / 4]) >> (8 * (i % 4))) & 255u); }
inline Iv narrow(Wv w) {
    Iv r;
    for (int p = 0; p < 4; ++p) {
        std::uint32_t x = 0;
        for (int c = 0; c < 4; ++c) {
            const auto l = static_cast<std::int16_t>(w.v[p * 4 + c]);
            x |= static_cast<std::uint32_t>(l < 0 ? 0 : (l > 255 ? 255 : l)) << (8 * c);
        }
        r.v[p] = as_i32(x);
    }
    return r;
}
inline Wv operator+(Wv a, Wv b) { TARKO_D3D_W_OP(a.v[i] + b.v[i]); }
inline Wv operator-(Wv a, Wv b) { TARKO_D3D_W_OP(a.v[i] - b.v[i]); }
inline Wv operator*(Wv a, Wv b) { TARKO_D3D_W_OP(static_cast<std::uint32_t>(a.v[i]) * b.v[i]); }
inline Wv mulhi(Wv a, Wv b) { TARKO_D3D_W_OP((static_cast<std::uint32_t>(a.v[i]) * b.v[i]) >> 16); }
inline Wv operator&(Wv a, Wv b) { TARKO_D3D_W_OP(a.v[i] & b.v[i]); }
inline Wv operator|(Wv a, Wv b) { TARKO_D3D_W_OP(a.v[i] | b.v[i]); }
inline Wv andnot(Wv a, Wv b) { TARKO_D3D_W_OP(~a.v[i] & b.v[i]); }
template <int n> inline Wv shr(Wv a) { TARKO_D3D_W_OP(a.v[i] >> n); }
template <int n> inline Wv shl(Wv a) { TARKO_D3D_W_OP(a.v[i] << n); }
inline Wv cmpgt(Wv a, Wv b) {
    TARKO_D3D_W_OP(static_cast<std::int16_t>(a.v[i]) > static_cast<std::int16_t>(b.v[i]) ? 0xFFFF : 0);
}
inline Wv min_u8(Wv a, Wv b) { TARKO_D3D_W_OP(a.v[i] < b.v[i] ? a.v[i] : b.v[i]); }
inline Wv alpha_of(Wv a) { TARKO_D3D_W_OP(a.v[(i & ~3) + 3]); }
inline Wv spread(Iv v) { TARKO_D3D_W_OP(v.v[i / 4]); }
#undef TARKO_D3D_W_OP

#endif

constexpr int kAllLanes = (1 << kLanes) - 1;  // movemask of a full vector

// Where a set has no masked form, the pixel stage reads and writes lane by
// lane itself and never calls these.
#if !TARKO_D3D_ISA_IS(avx512) && !TARKO_D3D_ISA_IS(avx2)
constexpr bool kMaskedMemory = false;
constexpr bool kMaskedMemory16 = false;
template <int Bpp> Iv load_masked(const std::uint8_t* p, int mask);
template <int Bpp> void store_masked(std::uint8_t* p, int mask, Iv v);
template <int Bpp> Iv load_block(const std::uint8_t* p, std::ptrdiff_t pitch, int mask);
template <int Bpp> void store_block(std::uint8_t* p, std::ptrdiff_t pitch, int mask, Iv v);
#endif

// Largest whole number not above each lane (inputs within the int32 range).
inline Fv floor_lanes(Fv a) {
    const Fv t = to_float(to_int_trunc(a));
    return select(cmplt(a, t), t - Fv(1.0f), t);
}
inline Fv clamp01(Fv a) { return min(max(a, Fv(0.0f)), Fv(1.0f)); }

// round(x / 255) for x in 0..65025 (a product of two 8-bit values, or a sum
// of such products weighted to 255 in all).
inline Wv div255(Wv x) {
    x = x + Wv(128);
    return shr<8>(x + shr<8>(x));
}
inline Wv mul255(Wv a, Wv b) { return div255(a * b); }
inline Wv times4(Wv a) { return shl<2>(a); }
// round((a f + b (255 - f)) / 255): a where f is 255, b where it is 0.
inline Wv lerp255(Wv a, Wv b, Wv f) { return div255(a * f + b * (Wv(255) - f)); }
inline Wv select(Wv m, Wv a, Wv b) { return (m & a) | andnot(m, b); }
// round((a (256 - w) + b w) / 256), halves up, for 8-bit a, b and w in 0..255:
// a + floor(((b - a) w + 128) / 256), which AVX2's rounding high multiply of
// (b - a) by w * 128 gives in one step.
inline Wv lerp256(Wv a, Wv b, Wv w) {
#if TARKO_D3D_ISA_IS(avx512)
    const Wv d = b - a, s = shl<7>(w);
    return a + Wv(_mm512_mulhrs_epi16(d.lo, s.lo), _mm512_mulhrs_epi16(d.hi, s.hi));
#elif TARKO_D3D_ISA_IS(avx2) && !defined(NO_MULHRS)
    const Wv d = b - a, s = shl<7>(w);
    return a + Wv(_mm256_mulhrs_epi16(d.lo, s.lo), _mm256_mulhrs_epi16(d.hi, s.hi));
#else
    return shr<8>(a * (Wv(256) - w) + b * w + Wv(128));
#endif
}
// round(m x / 255) for x in 0..65025 and m = 2 or 4, capped at 255: the
// whole part of x / 255 times m, plus m times the remainder rounded.
inline Wv mul255_scaled(Wv x, int m) {
    const Wv q = shr<7>(mulhi(x, Wv(0x8081)));  // x / 255, rounded down
    const Wv r = x - q * Wv(255);
    // Masks are all ones (minus one) where a threshold is passed.
    const Wv v = m == 2 ? q + q - cmpgt(r, Wv(63)) - cmpgt(r, Wv(191))
                        : times4(q) - cmpgt(r, Wv(31)) - cmpgt(r, Wv(95)) - cmpgt(r, Wv(159)) - cmpgt(r, Wv(223));
    return min_u8(v, Wv(255));
}

}  // namespace tarko::platform::d3d::TARKO_D3D_ISA
