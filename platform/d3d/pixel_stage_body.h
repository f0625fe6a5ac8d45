// The pixel routines, compiled once per instruction set: the including file
// defines TARKO_D3D_ISA (see simd.h) and gets select_raster in the namespace
// of that name. A group of lanes (four, eight or sixteen) goes through
// together: a run of a row, or for a small triangle a block of four columns
// by two or four rows. The routine is instantiated per target format, depth
// format and texture cascade, the rest are branches that stay the same for a
// whole draw. Group
// stages: coverage, early depth, texture stages, specular, fog, alpha test,
// blend and write.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "platform/constants.h"
#include "platform/d3d/pipeline.h"
#include "platform/d3d/simd.h"

namespace tarko::platform::d3d::TARKO_D3D_ISA {

namespace {

// The pixel routines are instantiated per state combination; their helpers
// must fold into them so constants and texture facts stay in registers.
#if defined(__GNUC__)
#define TARKO_D3D_INLINE [[gnu::always_inline]] inline
#else
#define TARKO_D3D_INLINE inline
#endif

struct C4 {
    Fv r, g, b, a;
};

constexpr float kInv255 = 1.0f / 255.0f;
constexpr std::int32_t kAlphaMask = static_cast<std::int32_t>(0xFF000000u);

inline C4 unpack_argb(Iv t) {
    C4 c;
    const Iv m = Iv(255);
    c.b = to_float(t & m) * Fv(kInv255);
    c.g = to_float(shr<8>(t) & m) * Fv(kInv255);
    c.r = to_float(shr<16>(t) & m) * Fv(kInv255);
    c.a = to_float(shr<24>(t)) * Fv(kInv255);
    return c;
}

inline Iv quantise(Fv c) { return to_int_round(clamp01(c) * Fv(255.0f)); }
inline Iv pack_argb(Iv r, Iv g, Iv b, Iv a) { return shl<24>(a) | shl<16>(r) | shl<8>(g) | b; }
inline Iv pack(const C4& c) { return pack_argb(quantise(c.r), quantise(c.g), quantise(c.b), quantise(c.a)); }
inline Iv alpha_byte(Iv p) { return shr<24>(p); }
// The colour channels of `rgb` with the alpha of `a`.
inline Iv with_alpha_of(Iv rgb, Iv a) { return andnot(Iv(kAlphaMask), rgb) | (a & Iv(kAlphaMask)); }

inline Iv clamp_index(Iv i, int n) {
    i = select(cmplt(i, Iv(0)), Iv(0), i);
    return select(cmpgt(i, Iv(n - 1)), Iv(n - 1), i);
}

// Coordinates far outside 0..1 keep their fraction; the clamp keeps the
// integer conversions in range (NaN ends up at texel 0).
inline Fv wrap01(Fv u) {
    u = min(max(u, Fv(-1048576.0f)), Fv(1048576.0f));
    return u - floor_lanes(u);
}

inline Iv wrap_index(Iv i, int n) {
    i = select(cmplt(i, Iv(0)), i + Iv(n), i);
    i = select(cmplt(i, Iv(n)), i, i - Iv(n));
    return clamp_index(i, n);
}


#if TARKO_D3D_ISA_IS(sse2) || TARKO_D3D_ISA_IS(avx2)
// Four texels and the ones after them, idx[0..3], one 64-bit read each,
// sorted into the lefts and the rights.
inline void texel_pairs(const std::uint32_t* tex, const std::int32_t* idx, __m128i& left, __m128i& right) {
    const auto pair = [tex, idx](int k) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(tex + idx[k])); };
    const __m128i a = _mm_unpacklo_epi32(pair(0), pair(1));  // l0 l1 r0 r1
    const __m128i b = _mm_unpacklo_epi32(pair(2), pair(3));  // l2 l3 r2 r3
    left = _mm_unpacklo_epi64(a, b);
    right = _mm_unpackhi_epi64(a, b);
}
#endif

#if TARKO_D3D_ISA_IS(avx2)
// Gathers are fast on processors that have AVX-512 and microcoded on many
// that stop at AVX2: eight lanes gather only on the former.
inline bool fast_gathers() {
    static const bool fast = widest_pixels_available();
    return fast;
}
#endif

// Bilinear filtering: the four texels are weighted across, then down, with
// weights in 1/256 (256 - x on the left texel, x on the right, x < 256),
// rounding at each step. `adjacent`: every right-hand texel follows its
// left-hand one in memory (no lane wraps across the texture's edge), so each
// pair is one read.
TARKO_D3D_INLINE Iv bilinear_texels(const std::uint32_t* tex, Iv i00, Iv i10, Iv i01, Iv i11, Wv wx, Wv wy,
                                    [[maybe_unused]] bool adjacent) {
    Iv t00, t10, t01, t11;
#if TARKO_D3D_ISA_IS(sse2)
    if (adjacent) {
        alignas(16) std::int32_t idx[8];
        i00.store(idx), i01.store(idx + 4);
        texel_pairs(tex, idx, t00.v, t10.v);
        texel_pairs(tex, idx + 4, t01.v, t11.v);
    } else
#elif TARKO_D3D_ISA_IS(avx2)
    if (adjacent && fast_gathers()) {
        // As the sixteen-lane fetch: each pair in one 64-bit gather lane, the
        // lefts and rights sorted out of the even and odd words.
        const auto eight = [tex](Iv idx, Iv& left, Iv& right) {
            const auto* base = reinterpret_cast<const long long*>(tex);
            const __m256i lo = _mm256_i32gather_epi64(base, _mm256_castsi256_si128(idx.v), 4);
            const __m256i hi = _mm256_i32gather_epi64(base, _mm256_extracti128_si256(idx.v, 1), 4);
            const __m256i split = _mm256_setr_epi32(0, 2, 4, 6, 1, 3, 5, 7);
            const __m256i l = _mm256_permutevar8x32_epi32(lo, split), h = _mm256_permutevar8x32_epi32(hi, split);
            left = Iv(_mm256_permute2x128_si256(l, h, 0x20));
            right = Iv(_mm256_permute2x128_si256(l, h, 0x31));
        };
        eight(i00, t00, t10);
        eight(i01, t01, t11);
    } else if (adjacent) {
        alignas(32) std::int32_t idx[16];
        i00.store(idx), i01.store(idx + 8);
        const auto eight = [tex, &idx](int k, Iv& left, Iv& right) {
            __m128i l0, r0, l1, r1;
            texel_pairs(tex, idx + k, l0, r0);
            texel_pairs(tex, idx + k + 4, l1, r1);
            left = Iv(_mm256_set_m128i(l1, l0));
            right = Iv(_mm256_set_m128i(r1, r0));
        };
        eight(0, t00, t10);
        eight(8, t01, t11);
    } else
#elif TARKO_D3D_ISA_IS(avx512)
    if (adjacent) {
        // Each left texel and the one after it in one 64-bit gather lane,
        // then sorted into the lefts (even words) and the rights (odd words).
        const auto sixteen = [tex](Iv idx, Iv& left, Iv& right) {
            const auto* base = reinterpret_cast<const long long*>(tex);
            const __m512i lo = _mm512_i32gather_epi64(_mm512_castsi512_si256(idx.v), base, 4);
            const __m512i hi = _mm512_i32gather_epi64(_mm512_extracti64x4_epi64(idx.v, 1), base, 4);
            const __m512i even = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
            left = Iv(_mm512_permutex2var_epi32(lo, even, hi));
            right = Iv(_mm512_permutex2var_epi32(lo, _mm512_add_epi32(even, _mm512_set1_epi32(1)), hi));
        };
        sixteen(i00, t00, t10);
        sixteen(i01, t01, t11);
    } else
#endif
    {
        t00 = gather(tex, i00), t10 = gather(tex, i10), t01 = gather(tex, i01), t11 = gather(tex, i11);
    }
    return narrow(lerp256(lerp256(widen(t00), widen(t10), wx), lerp256(widen(t01), widen(t11), wx), wy));
}

// Texel coordinate with 8 fractional bits: u times the texture's size (a power
// of two, so the product is exact) rounded to 1/256. Coordinates beyond 2^23
// texels have no fraction left to filter with; they land somewhere in the
// texture, the same place on every machine.
inline Iv fixed_coordinate(Fv u, float size_256, float offset) {
    // Out of range and NaN convert to INT32_MIN, which the masks keep in the texture.
    return to_int_round(u * Fv(size_256) - Fv(offset));
}

// Four texels as packed A8R8G8B8.
TARKO_D3D_INLINE Iv sample(const Texture* t, bool bilinear, Fv u, Fv v) {
    if (!t) return Iv(-1);  // no texture reads opaque white
    const int w = t->width, h = t->height;
    const std::uint32_t* tex = t->texels.data();
    if (t->pow2) {
        // Power-of-two sizes wrap by masking the whole texel numbers.
        const Iv mw(w - 1), mh(h - 1);
        const float sw = static_cast<float>(w) * 256.0f, sh = static_cast<float>(h) * 256.0f;
        if (!bilinear || t->bump) {
            const Iv x = sar<8>(fixed_coordinate(u, sw, 0.0f)) & mw, y = sar<8>(fixed_coordinate(v, sh, 0.0f)) & mh;
            return gather(tex, shl_var(y, t->width_shift) + x);
        }
        // Texel centres lie half a texel in.
        const Iv fx = fixed_coordinate(u, sw, 128.0f), fy = fixed_coordinate(v, sh, 128.0f);
        const Iv x0 = sar<8>(fx), y0 = sar<8>(fy);
        const Iv xa = x0 & mw, xb = (x0 + Iv(1)) & mw;
        const Iv ra = shl_var(y0 & mh, t->width_shift), rb = shl_var((y0 + Iv(1)) & mh, t->width_shift);
        const bool adjacent = movemask(cmpeq(xa, mw)) == 0;  // then xb = xa + 1 in every lane
        return bilinear_texels(tex, ra + xa, ra + xb, rb + xa, rb + xb, spread(fx & Iv(255)), spread(fy & Iv(255)),
                               adjacent);
    }
    const Fv fu = wrap01(u) * Fv(static_cast<float>(w));
    const Fv fv = wrap01(v) * Fv(static_cast<float>(h));
    if (!bilinear || t->bump) {
        const Iv ix = clamp_index(to_int_trunc(fu), w);
        const Iv iy = clamp_index(to_int_trunc(fv), h);
        return gather(tex, mul_lo(iy, Iv(w)) + ix);
    }
    // Positions in 1/256 texel from the centre of texel 0, which lies half a texel in.
    const Iv fx = to_int_round((fu - Fv(0.5f)) * Fv(256.0f)), fy = to_int_round((fv - Fv(0.5f)) * Fv(256.0f));
    const Iv x0 = sar<8>(fx), y0 = sar<8>(fy);
    const Iv xa = wrap_index(x0, w), xb = wrap_index(x0 + Iv(1), w);
    const Iv ra = mul_lo(wrap_index(y0, h), Iv(w)), rb = mul_lo(wrap_index(y0 + Iv(1), h), Iv(w));
    const bool adjacent = movemask(cmpeq(xa, Iv(w - 1))) == 0;
    return bilinear_texels(tex, ra + xa, ra + xb, rb + xa, rb + xb, spread(fx & Iv(255)), spread(fy & Iv(255)),
                           adjacent);
}

// Bump texel as signed du, dv in -1..1: du is the low byte, dv the next.
inline void bump_values(Iv texel, Fv& du, Fv& dv) {
    du = to_float(sar<24>(shl<24>(texel))) * Fv(1.0f / 128.0f);
    dv = to_float(sar<24>(shl<16>(texel))) * Fv(1.0f / 128.0f);
}

// Stage arguments of the general cascade, each channel a multiple of 1/255.
struct Inputs {
    C4 diffuse, specular, texture, tfactor, current;
};

TARKO_D3D_INLINE C4 argument(int arg, const Inputs& in) {
    C4 v;
    switch (arg & 0xF) {
    case dx::D3DTA_DIFFUSE: v = in.diffuse; break;
    case dx::D3DTA_CURRENT: v = in.current; break;
    case dx::D3DTA_TEXTURE: v = in.texture; break;
    case dx::D3DTA_TFACTOR: v = in.tfactor; break;
    case dx::D3DTA_SPECULAR: v = in.specular; break;
    default: v = in.current; break;
    }
    if (arg & dx::D3DTA_COMPLEMENT) v = C4{Fv(1.0f) - v.r, Fv(1.0f) - v.g, Fv(1.0f) - v.b, Fv(1.0f) - v.a};
    if (arg & dx::D3DTA_ALPHAREPLICATE) v.r = v.g = v.b = v.a;
    return v;
}

// One channel of a stage operation; x and y are the two arguments, xa the
// first argument's alpha.
inline Fv op_channel(int op, Fv x, Fv y, Fv xa, const Inputs& in) {
    switch (op) {
    case dx::D3DTOP_SELECTARG1: return x;
    case dx::D3DTOP_SELECTARG2: return y;
    case dx::D3DTOP_MODULATE: return x * y;
    case dx::D3DTOP_MODULATE2X: return min(x * y * Fv(2.0f), Fv(1.0f));
    case dx::D3DTOP_MODULATE4X: return min(x * y * Fv(4.0f), Fv(1.0f));
    case dx::D3DTOP_ADD: return min(x + y, Fv(1.0f));
    case dx::D3DTOP_ADDSIGNED: return clamp01(x + y - Fv(0.5f));
    case dx::D3DTOP_ADDSIGNED2X: return clamp01((x + y - Fv(0.5f)) * Fv(2.0f));
    case dx::D3DTOP_SUBTRACT: return max(x - y, Fv(0.0f));
    case dx::D3DTOP_ADDSMOOTH: return min(x + y - x * y, Fv(1.0f));
    case dx::D3DTOP_BLENDDIFFUSEALPHA: return y + (x - y) * in.diffuse.a;
    case dx::D3DTOP_BLENDTEXTUREALPHA: return y + (x - y) * in.texture.a;
    case dx::D3DTOP_BLENDFACTORALPHA: return y + (x - y) * in.tfactor.a;
    case 15: return min(x + y * (Fv(1.0f) - in.texture.a), Fv(1.0f));  // BLENDTEXTUREALPHAPM
    case dx::D3DTOP_BLENDCURRENTALPHA: return y + (x - y) * in.current.a;
    case 18: return min(x + xa * y, Fv(1.0f));                  // MODULATEALPHA_ADDCOLOR
    case 20: return min(x + (Fv(1.0f) - xa) * y, Fv(1.0f));     // MODULATEINVALPHA_ADDCOLOR
    default: return x;  // unknown operations select the first argument
    }
}

TARKO_D3D_INLINE C4 run_stage(const StageSetup& st, const Inputs& in) {
    C4 out = in.current;
    if (st.colour_op != dx::D3DTOP_DISABLE) {
        const C4 x = argument(st.colour_arg1, in), y = argument(st.colour_arg2, in);
        if (st.colour_op == dx::D3DTOP_DOTPRODUCT3) {
            const Fv d = ((x.r - Fv(0.5f)) * (y.r - Fv(0.5f)) + (x.g - Fv(0.5f)) * (y.g - Fv(0.5f)) +
                          (x.b - Fv(0.5f)) * (y.b - Fv(0.5f))) * Fv(4.0f);
            out.r = out.g = out.b = out.a = clamp01(d);
            return out;
        }
        out.r = op_channel(st.colour_op, x.r, y.r, x.a, in);
        out.g = op_channel(st.colour_op, x.g, y.g, x.a, in);
        out.b = op_channel(st.colour_op, x.b, y.b, x.a, in);
    }
    if (st.alpha_op != dx::D3DTOP_DISABLE) {
        const C4 x = argument(st.alpha_arg1 & ~dx::D3DTA_ALPHAREPLICATE, in);
        const C4 y = argument(st.alpha_arg2 & ~dx::D3DTA_ALPHAREPLICATE, in);
        out.a = op_channel(st.alpha_op, x.a, y.a, x.a, in);
    }
    return out;
}

// A texture combined with the current colour by a symmetric operation, on
// packed pixels; the alpha is the current one. The same values as the
// general cascade: products of 8-bit values rounded once.
TARKO_D3D_INLINE Iv combine_texture(int op, Iv tex, Iv current) {
    Iv c;
    if (op == dx::D3DTOP_ADD) {
        c = adds_u8(tex, current);
    } else {
        const Wv x = widen(tex) * widen(current);
        c = narrow(op == dx::D3DTOP_MODULATE ? div255(x) : mul255_scaled(x, op == dx::D3DTOP_MODULATE2X ? 2 : 4));
    }
    return with_alpha_of(c, current);
}

// Blend factors on 8-bit values (255 stands for one), channel by channel.
inline Iv blend_factor(int f, Iv sc, Iv dc, Iv sa, Iv da, bool alpha_channel, bool is_src) {
    const Iv one(255);
    switch (f) {
    case dx::D3DBLEND_ZERO: return Iv(0);
    case dx::D3DBLEND_ONE: return one;
    case dx::D3DBLEND_SRCCOLOR: return sc;
    case dx::D3DBLEND_INVSRCCOLOR: return one - sc;
    case dx::D3DBLEND_SRCALPHA: return sa;
    case dx::D3DBLEND_INVSRCALPHA: return one - sa;
    case dx::D3DBLEND_DESTALPHA: return da;
    case dx::D3DBLEND_INVDESTALPHA: return one - da;
    case dx::D3DBLEND_DESTCOLOR: return dc;
    case dx::D3DBLEND_INVDESTCOLOR: return one - dc;
    case dx::D3DBLEND_SRCALPHASAT: {
        if (alpha_channel) return one;
        const Iv ida = one - da;
        return select(cmplt(sa, ida), sa, ida);
    }
    case 12: return is_src ? sa : one - sa;            // BOTHSRCALPHA
    case 13: return is_src ? one - sa : sa;            // BOTHINVSRCALPHA
    default: return is_src ? one : Iv(0);
    }
}

// Any pair of blend factors: round((s fs + d fd) / 255), capped at 255.
inline Iv blend_general(const DrawContext& ctx, Iv s, Iv d) {
    const Iv sa = alpha_byte(s), da = alpha_byte(d);
    Iv out(0);
    for (int shift = 0; shift < 32; shift += 8) {
        const Iv sc = shr_var(s, shift) & Iv(255), dc = shr_var(d, shift) & Iv(255);
        const bool alpha = shift == 24;
        const Iv sum = mul_lo(sc, blend_factor(ctx.src_blend, sc, dc, sa, da, alpha, true)) +
                       mul_lo(dc, blend_factor(ctx.dest_blend, sc, dc, sa, da, alpha, false));
        // The sum is below 2^18, exact in float; x / 255 is never half way.
        Iv v = to_int_round(to_float(sum) / Fv(255.0f));
        v = select(cmpgt(v, Iv(255)), Iv(255), v);
        out = out | shl_var(v, shift);
    }
    return out;
}

inline Iv compare(int func, Iv a, Iv b) {  // a func b, as signed whole numbers
    switch (func) {
    case dx::D3DCMP_NEVER: return Iv(0);
    case dx::D3DCMP_LESS: return cmplt(a, b);
    case dx::D3DCMP_EQUAL: return cmpeq(a, b);
    case dx::D3DCMP_LESSEQUAL: return cmpgt(a, b) ^ Iv(-1);
    case dx::D3DCMP_GREATER: return cmpgt(a, b);
    case dx::D3DCMP_NOTEQUAL: return cmpeq(a, b) ^ Iv(-1);
    case dx::D3DCMP_GREATEREQUAL: return cmplt(a, b) ^ Iv(-1);
    default: return Iv(-1);
    }
}

inline Fv plane_at(const Plane& p, Fv dx, Fv dy) { return Fv(p.c) + Fv(p.dx) * dx + Fv(p.dy) * dy; }


// Small triangles go in blocks of four columns by kLanes / 4 rows (lane i is
// column i % 4 of row i / 4); the rest in groups of kLanes pixels of one row.
constexpr int kBlockCols = 4;
constexpr int kBlockRows = kLanes / kBlockCols;
constexpr bool kHasBlocks = kBlockRows > 1;

template <bool Block> constexpr int lane_column(int i) { return Block ? i % kBlockCols : i; }
template <bool Block> constexpr int lane_row(int i) { return Block ? i / kBlockCols : 0; }

// Whole-lane masks of the lanes whose bits are set.
inline Iv lanes_in(int mask) {
    static constexpr auto kBits = [] {
        std::array<std::int32_t, kLanes> b{};
        for (int i = 0; i < kLanes; ++i) b[static_cast<std::size_t>(i)] = 1 << i;
        return b;
    }();
    const Iv b = Iv::load(kBits.data());
    return cmpeq(Iv(mask) & b, b);
}

// A group's pixels, Bpp bytes each, copied out of (or into) the surface at
// (x, y): one run of a row, or a block's rows. Rows of a block with no lane
// in `mask` are left alone (they may lie below the surface).
template <bool Block, int Bpp>
TARKO_D3D_INLINE void load_pixels(const std::uint8_t* base, int pitch, int x, int y, int mask, void* out) {
    auto* o = static_cast<std::uint8_t*>(out);
    if constexpr (!Block) {
        std::memcpy(o, base + static_cast<std::ptrdiff_t>(y) * pitch + x * Bpp, kLanes * Bpp);
    } else {
        for (int r = 0; r < kBlockRows; ++r) {
            std::uint8_t* dst = o + r * kBlockCols * Bpp;
            if ((mask >> (r * kBlockCols)) & ((1 << kBlockCols) - 1))
                std::memcpy(dst, base + static_cast<std::ptrdiff_t>(y + r) * pitch + x * Bpp, kBlockCols * Bpp);
            else
                std::memset(dst, 0, kBlockCols * Bpp);
        }
    }
}

template <bool Block, int Bpp>
TARKO_D3D_INLINE void store_pixels(std::uint8_t* base, int pitch, int x, int y, int mask, const void* in) {
    const auto* src = static_cast<const std::uint8_t*>(in);
    if constexpr (!Block) {
        std::memcpy(base + static_cast<std::ptrdiff_t>(y) * pitch + x * Bpp, src, kLanes * Bpp);
    } else {
        for (int r = 0; r < kBlockRows; ++r)
            if ((mask >> (r * kBlockCols)) & ((1 << kBlockCols) - 1))
                std::memcpy(base + static_cast<std::ptrdiff_t>(y + r) * pitch + x * Bpp, src + r * kBlockCols * Bpp,
                            kBlockCols * Bpp);
    }
}

// The address of lane i's pixel.
template <bool Block>
inline std::uint8_t* lane_pixel(std::uint8_t* base, int pitch, int bpp, int x, int y, int i) {
    return base + static_cast<std::ptrdiff_t>(y + lane_row<Block>(i)) * pitch + (x + lane_column<Block>(i)) * bpp;
}

// 32-bit or 16-bit pixels of the lanes in `mask`; the other lanes read 0.
// `inside`: the whole group lies within the scissor and the tile, so it may be
// read (and written back) whole.
template <bool Block, int Bpp>
TARKO_D3D_INLINE Iv read_pixels(std::uint8_t* base, int pitch, int x, int y, int mask, bool inside) {
    static_assert(Bpp == 2 || Bpp == 4);
    if constexpr (Bpp == 4 ? kMaskedMemory : kMaskedMemory16) {
        const std::uint8_t* p = base + static_cast<std::ptrdiff_t>(y) * pitch + x * Bpp;
        return Block ? load_block<Bpp>(p, pitch, mask) : load_masked<Bpp>(p, mask);
    } else {
        alignas(64) std::conditional_t<Bpp == 4, std::int32_t, std::uint16_t> px[kLanes] = {};
        if (inside) {
            load_pixels<Block, Bpp>(base, pitch, x, y, mask, px);
        } else {
            for (int i = 0; i < kLanes; ++i)
                if (mask & (1 << i)) std::memcpy(&px[i], lane_pixel<Block>(base, pitch, Bpp, x, y, i), Bpp);
        }
        if constexpr (Bpp == 4) return Iv::load(px);
        else return load_u16(px);
    }
}

// Writes the lanes in `mask`. Inside, a part-covered group is merged with
// what the surface holds and written whole: the group is this thread's alone.
template <bool Block, int Bpp>
TARKO_D3D_INLINE void write_pixels(std::uint8_t* base, int pitch, int x, int y, int mask, bool inside, Iv v) {
    static_assert(Bpp == 2 || Bpp == 4);
    if constexpr (Bpp == 4 ? kMaskedMemory : kMaskedMemory16) {
        std::uint8_t* p = base + static_cast<std::ptrdiff_t>(y) * pitch + x * Bpp;
        if (Block) store_block<Bpp>(p, pitch, mask, v);
        else store_masked<Bpp>(p, mask, v);
    } else {
        alignas(64) std::conditional_t<Bpp == 4, std::int32_t, std::uint16_t> out[kLanes];
        if (inside && mask != kAllLanes)
            v = select(lanes_in(mask), v, read_pixels<Block, Bpp>(base, pitch, x, y, mask, true));
        if constexpr (Bpp == 4) v.store(out);
        else store_u16(out, v);
        if (inside) {
            store_pixels<Block, Bpp>(base, pitch, x, y, mask, out);
            return;
        }
        for (int i = 0; i < kLanes; ++i)
            if (mask & (1 << i)) std::memcpy(lane_pixel<Block>(base, pitch, Bpp, x, y, i), &out[i], Bpp);
    }
}

// Target pixels as packed A8R8G8B8 (alpha 255 where the target has none).
template <TargetKind T, bool Block>
TARKO_D3D_INLINE Iv read_target(const DrawContext& ctx, int x, int y, int mask, bool inside) {
    if constexpr (T == TargetKind::X8R8G8B8) {
        const Iv c = read_pixels<Block, 4>(ctx.colour, ctx.colour_pitch, x, y, mask, inside);
        return ctx.colour_has_alpha ? c : c | Iv(kAlphaMask);
    } else if constexpr (T == TargetKind::R5G6B5) {
        const Iv v = read_pixels<Block, 2>(ctx.colour, ctx.colour_pitch, x, y, mask, inside);
        // Widening replicates the top bits, as the surface's own reads do.
        const Iv r5 = shr<11>(v) & Iv(31), g6 = shr<5>(v) & Iv(63), b5 = v & Iv(31);
        return pack_argb(shl<3>(r5) | shr<2>(r5), shl<2>(g6) | shr<4>(g6), shl<3>(b5) | shr<2>(b5), Iv(255));
    } else {
        alignas(64) std::int32_t px[kLanes] = {};
        const int bpp = ctx.colour_format->bytes_per_pixel();
        for (int i = 0; i < kLanes; ++i)
            if (mask & (1 << i)) {
                std::uint32_t raw = 0;
                std::memcpy(&raw, lane_pixel<Block>(ctx.colour, ctx.colour_pitch, bpp, x, y, i),
                            static_cast<std::size_t>(bpp));
                px[i] = static_cast<std::int32_t>(ctx.colour_format->to_argb(raw));
            }
        return Iv::load(px);
    }
}

template <TargetKind T, bool Block>
TARKO_D3D_INLINE void write_target(const DrawContext& ctx, int x, int y, int mask, bool inside, Iv c) {
    if constexpr (T == TargetKind::X8R8G8B8) {
        const Iv v = ctx.colour_has_alpha ? c : c & Iv(0x00FFFFFF);
        write_pixels<Block, 4>(ctx.colour, ctx.colour_pitch, x, y, mask, inside, v);
    } else if constexpr (T == TargetKind::R5G6B5) {
        // Narrowing drops the low bits.
        const Iv v = (shr<8>(c) & Iv(0xF800)) | (shr<5>(c) & Iv(0x07E0)) | (shr<3>(c) & Iv(0x001F));
        write_pixels<Block, 2>(ctx.colour, ctx.colour_pitch, x, y, mask, inside, v);
    } else {
        alignas(64) std::int32_t out[kLanes];
        c.store(out);
        const int bpp = ctx.colour_format->bytes_per_pixel();
        for (int i = 0; i < kLanes; ++i)
            if (mask & (1 << i)) {
                const std::uint32_t raw = ctx.colour_format->from_argb(static_cast<std::uint32_t>(out[i]));
                std::memcpy(lane_pixel<Block>(ctx.colour, ctx.colour_pitch, bpp, x, y, i), &raw,
                            static_cast<std::size_t>(bpp));
            }
    }
}

template <DepthKind D, bool Block>
TARKO_D3D_INLINE Iv read_depth(const DrawContext& ctx, int x, int y, int mask, bool inside) {
    if constexpr (D == DepthKind::Z16) {
        return read_pixels<Block, 2>(ctx.depth, ctx.depth_pitch, x, y, mask, inside);
    } else {
        const Iv v = read_pixels<Block, 4>(ctx.depth, ctx.depth_pitch, x, y, mask, inside);
        return ctx.depth_shift ? shr<8>(v) : v;
    }
}

template <DepthKind D, bool Block>
TARKO_D3D_INLINE void write_depth(const DrawContext& ctx, int x, int y, int mask, bool inside, Iv z) {
    if constexpr (D == DepthKind::Z16)
        write_pixels<Block, 2>(ctx.depth, ctx.depth_pitch, x, y, mask, inside, z);
    else
        write_pixels<Block, 4>(ctx.depth, ctx.depth_pitch, x, y, mask, inside, ctx.depth_shift ? shl<8>(z) : z);
}

// What stays the same over a triangle: the perspective divide when all three
// vertices share one rhw, and the colours of a flat (or one-coloured) triangle.
struct TriangleConsts {
    bool fixed_w = false;
    Fv w{1.0f};
    Iv diffuse{0}, specular{0};  // packed; meaningful when the triangle is flat
    bool white = false;    // diffuse that leaves a modulated texture as it is
    Wv fog{0};             // fog colour, widened
    Wv alpha_lanes{0};     // 255 in each pixel's alpha lane, 0 elsewhere
};

// One group of pixels at (x, y): a run of a row, or a block. `inside`: the
// group lies within the scissor and the tile.
template <TargetKind T, DepthKind D, CascadeKind K, bool Block>
TARKO_D3D_INLINE void shade_group(const DrawContext& ctx, const SetupTriangle& t, const TriangleConsts& k, int x,
                                  int y, Iv cover, bool inside) {
    int mask = movemask(cover);
    // Offsets from the triangle's reference point, exact in float.
    Fv dx, dy;
    if constexpr (Block) {
        dx = to_float(lane_numbers() & Iv(kBlockCols - 1)) + Fv(static_cast<float>(x) - t.ref_x);
        dy = to_float(shr<2>(lane_numbers())) + Fv(static_cast<float>(y) - t.ref_y);
    } else {
        dx = lane_offsets() + Fv(static_cast<float>(x) - t.ref_x);
        dy = Fv(static_cast<float>(y) - t.ref_y);
    }

    Iv zq;
    if constexpr (D != DepthKind::None) {
        const Fv z = clamp01(plane_at(t.p[kPlaneZ], dx, dy));
        zq = to_int_round(z * Fv(ctx.depth_scale));
        if (ctx.z_test) {
            const Iv pass = compare(ctx.z_func, zq, read_depth<D, Block>(ctx, x, y, mask, inside));
            mask &= movemask(pass);
            if (!mask) return;
        }
    }

    const Fv w = k.fixed_w ? k.w : Fv(1.0f) / plane_at(t.p[kPlaneRhw], dx, dy);
    // Diffuse and specular are held in 8 bits per channel from here on.
    Iv diffuse, specular(0);
    if (t.is_flat) {
        diffuse = k.diffuse;
        specular = k.specular;
    } else {
        const auto at = [&](int p) { return quantise(plane_at(t.p[p], dx, dy) * w); };
        diffuse = pack_argb(at(kPlaneR), at(kPlaneG), at(kPlaneB), at(kPlaneA));
        if (ctx.specular) specular = pack_argb(at(kPlaneSR), at(kPlaneSG), at(kPlaneSB), Iv(0));
    }

    Iv colour, key(-1);
    if constexpr (K == CascadeKind::Diffuse) {
        colour = diffuse;
    } else {
        const Fv u = plane_at(t.p[kPlaneU], dx, dy) * w;
        const Fv v = plane_at(t.p[kPlaneV], dx, dy) * w;
        if constexpr (K == CascadeKind::ModulateTexture || K == CascadeKind::TextureTwice) {
            // A selected texture alpha is the texture's alpha times 255 / 255.
            const StageSetup& s0 = ctx.stages[0];
            const Iv tex = sample(s0.texture, s0.bilinear, u, v);
            key = tex;
            const Iv factor = ctx.modulate_alpha ? diffuse : diffuse | Iv(kAlphaMask);
            colour = k.white ? tex : narrow(mul255(widen(tex), widen(factor)));
            if constexpr (K == CascadeKind::TextureTwice) {
                // The general cascade adds a zero bump offset first.
                const StageSetup& s1 = ctx.stages[1];
                colour = combine_texture(s1.colour_op, sample(s1.texture, s1.bilinear, u + Fv(0.0f), v + Fv(0.0f)),
                                         colour);
            }
        } else {
            Inputs in;
            in.diffuse = unpack_argb(diffuse);
            in.specular = unpack_argb(specular);
            in.tfactor = unpack_argb(Iv(static_cast<std::int32_t>(ctx.tfactor)));
            in.current = in.diffuse;
            in.texture = C4{Fv(1.0f), Fv(1.0f), Fv(1.0f), Fv(1.0f)};
            Iv current = diffuse;
            Fv bu(0.0f), bv(0.0f);
            for (int s = 0; s < ctx.stage_count; ++s) {
                const StageSetup& st = ctx.stages[static_cast<std::size_t>(s)];
                if (st.colour_op == dx::D3DTOP_BUMPENVMAP || st.colour_op == 23) {
                    // The next stage's coordinates move by the matrix times (du, dv).
                    Fv du(0.0f), dv(0.0f);
                    if (st.texture && st.texture->bump) bump_values(sample(st.texture, false, u, v), du, dv);
                    bu = Fv(st.bump[0]) * du + Fv(st.bump[2]) * dv;
                    bv = Fv(st.bump[1]) * du + Fv(st.bump[3]) * dv;
                    continue;
                }
                const Iv tex = sample(st.texture, st.bilinear, u + bu, v + bv);
                in.texture = unpack_argb(tex);
                if (s == 0) key = tex;
                bu = bv = Fv(0.0f);
                // Each stage's result is held in 8 bits per channel.
                current = pack(run_stage(st, in));
                in.current = unpack_argb(current);
            }
            colour = current;
        }
    }
    if (ctx.colour_key) {
        mask &= movemask(cmpgt(alpha_byte(key), Iv(127)));
        if (!mask) return;
    }

    if (ctx.specular) colour = adds_u8(colour, specular);
    if (ctx.fog) {
        // Fog factor in 8 bits; the alpha lanes weigh the colour fully.
        const Iv f = quantise(plane_at(t.p[kPlaneFog], dx, dy) * w);
        colour = narrow(lerp255(widen(colour), k.fog, spread(f) | k.alpha_lanes));
    }
    if (ctx.alpha_test) {
        mask &= movemask(compare(ctx.alpha_func, alpha_byte(colour), Iv(ctx.alpha_ref)));
        if (!mask) return;
    }
    if (ctx.blend) {
        const Iv d = read_target<T, Block>(ctx, x, y, mask, inside);
        if (ctx.blend_over) {
            const Wv s = widen(colour);
            colour = narrow(lerp255(s, widen(d), alpha_of(s)));
        } else {
            colour = blend_general(ctx, colour, d);
        }
    }
    write_target<T, Block>(ctx, x, y, mask, inside, colour);
    if constexpr (D != DepthKind::None) {
        if (ctx.z_write) write_depth<D, Block>(ctx, x, y, mask, inside, zq);
    }
}

// Edge values in 1/16 pixel are kept within this while a group steps on.
constexpr std::int64_t kClampEdge = std::int64_t{1} << 30;

// A triangle's edge functions at a group's first pixel, stepping along its
// row of groups (exact in 64 bits), and the largest and smallest offsets from
// there to the group's other pixels.
struct EdgeWalk {
    std::int64_t edge[3], step[3], hi_off[3], lo_off[3];
    EdgeWalk(const SetupTriangle& t, const std::int32_t a16[3], const std::int32_t b16[3], int x, int y, int cols,
             int rows) {
        for (int k = 0; k < 3; ++k) {
            edge[k] = static_cast<std::int64_t>(t.a[k]) * (x * 16) + static_cast<std::int64_t>(t.b[k]) * (y * 16) +
                      t.c[k];
            step[k] = static_cast<std::int64_t>(a16[k]) * cols;
            const std::int64_t ax = static_cast<std::int64_t>(a16[k]) * (cols - 1);
            const std::int64_t byy = static_cast<std::int64_t>(b16[k]) * (rows - 1);
            hi_off[k] = std::max<std::int64_t>(ax, 0) + std::max<std::int64_t>(byy, 0);
            lo_off[k] = std::min<std::int64_t>(ax, 0) + std::min<std::int64_t>(byy, 0);
        }
    }
    // The edge values at the next group's first pixel, clamped; false when the
    // group lies wholly outside an edge. `full`: wholly inside all three.
    bool next(std::int32_t e[3], bool& full) {
        bool reject = false;
        full = true;
        for (int k = 0; k < 3; ++k) {
            const std::int64_t e0 = edge[k];
            edge[k] += step[k];
            if (e0 + hi_off[k] < 0) reject = true;
            if (e0 + lo_off[k] < 0) full = false;
            e[k] = static_cast<std::int32_t>(std::clamp(e0, -kClampEdge, kClampEdge));
        }
        return !reject;
    }
};

template <TargetKind T, DepthKind D, CascadeKind K>
void raster_triangle(const DrawContext& ctx, const SetupTriangle& t, int tx0, int ty0, int tx1,
                     int ty1) {
    const int xs = std::max(t.minx, tx0), xe = std::min(t.maxx, tx1 - 1);
    const int ys = std::max(t.miny, ty0), ye = std::min(t.maxy, ty1 - 1);
    if (xs > xe || ys > ye) return;
    // Screen-space triangles often have one rhw for all three vertices: then
    // c + 0 dx + 0 dy is c exactly (c non-zero) and its reciprocal is taken once.
    const Plane& rhw = t.p[kPlaneRhw];
    TriangleConsts k;
    k.fixed_w = rhw.dx == 0.0f && rhw.dy == 0.0f && std::isnormal(rhw.c);
    k.w = Fv(1.0f) / Fv(rhw.c);
    if (ctx.fog) {
        k.fog = widen(Iv(static_cast<std::int32_t>(ctx.fog_colour)));
        k.alpha_lanes = widen(Iv(kAlphaMask));
    }
    if (t.is_flat) {
        k.diffuse = pack_argb(quantise(Fv(t.flat[0])), quantise(Fv(t.flat[1])), quantise(Fv(t.flat[2])),
                              quantise(Fv(t.flat[3])));
        k.specular = ctx.specular ? pack_argb(quantise(Fv(t.flat[4])), quantise(Fv(t.flat[5])),
                                              quantise(Fv(t.flat[6])), Iv(0))
                                  : Iv(0);
        k.white = movemask(cmpeq(ctx.modulate_alpha ? k.diffuse : k.diffuse | Iv(kAlphaMask), Iv(-1))) == kAllLanes;
    }
    std::int32_t a16[3], b16[3];
    for (int i = 0; i < 3; ++i) a16[i] = t.a[i] * 16, b16[i] = t.b[i] * 16;
    const Iv lane = lane_numbers();

    if constexpr (kHasBlocks) {
        // A triangle no wider than a group goes in blocks from its top-left
        // pixel; a block reaching past the tile or the scissor is written
        // lane by lane.
        static_assert(kBlockCols == 4);
        if (xe - xs < kLanes) {
            const Iv col = lane & Iv(kBlockCols - 1), row = shr<2>(lane);
            const Iv e_lane[3] = {mul_lo(col, Iv(a16[0])) + mul_lo(row, Iv(b16[0])),
                                  mul_lo(col, Iv(a16[1])) + mul_lo(row, Iv(b16[1])),
                                  mul_lo(col, Iv(a16[2])) + mul_lo(row, Iv(b16[2]))};
            const int right = std::min(tx1, ctx.scissor.x1);
            for (int by = ys; by <= ye; by += kBlockRows) {
                const int rows = std::min(kBlockRows, ye - by + 1);
                const Iv rows_in = cmplt(row, Iv(rows));
                EdgeWalk walk(t, a16, b16, xs, by, kBlockCols, rows);
                for (int bx = xs; bx <= xe; bx += kBlockCols) {
                    std::int32_t e[3];
                    bool full;
                    if (!walk.next(e, full)) continue;
                    const Iv in = andnot(cmpgt(Iv(bx) + col, Iv(xe)), rows_in);
                    const Iv cover = full ? in
                                          : andnot(sar<31>((Iv(e[0]) + e_lane[0]) | (Iv(e[1]) + e_lane[1]) |
                                                           (Iv(e[2]) + e_lane[2])),
                                                   in);
                    if (movemask(cover))
                        shade_group<T, D, K, true>(ctx, t, k, bx, by, cover, bx + kBlockCols <= right);
                }
            }
            return;
        }
    }

    // Wider ones step in groups of a row aligned to their width (tiles start
    // on multiples of 16); one narrower than a group (four lanes) takes one
    // group a row from its left column, kept within the tile.
    const int gx0 = xe - xs < kLanes ? std::min(xs, tx1 - kLanes) : xs & ~(kLanes - 1);
    for (int by = ys; by <= ye; by += 4) {
        const int rows = std::min(4, ye - by + 1);
        // The next block row's target (and depth) lines are asked for ahead.
        for (int r = by + 4; r < std::min(by + 8, ye + 1); ++r) {
            const std::uint8_t* line = ctx.colour + static_cast<std::ptrdiff_t>(r) * ctx.colour_pitch;
            const int bpp = T == TargetKind::R5G6B5 ? 2 : 4;
            for (int x = xs * bpp; x <= xe * bpp + bpp - 1; x += 64) __builtin_prefetch(line + x, 1);
            if constexpr (D != DepthKind::None) {
                const std::uint8_t* zline = ctx.depth + static_cast<std::ptrdiff_t>(r) * ctx.depth_pitch;
                const int zbpp = D == DepthKind::Z16 ? 2 : 4;
                for (int x = xs * zbpp; x <= xe * zbpp + zbpp - 1; x += 64) __builtin_prefetch(zline + x, 1);
            }
        }
        EdgeWalk walk(t, a16, b16, gx0, by, kLanes, rows);
        for (int bx = gx0; bx <= xe; bx += kLanes) {
            std::int32_t e[3];
            bool full;
            if (!walk.next(e, full)) continue;
            // Lanes outside this triangle's columns (scissor, tile) stay off.
            const Iv xv = Iv(bx) + lane;
            const Iv cols = andnot(cmplt(xv, Iv(xs)) | cmpgt(xv, Iv(xe)), Iv(-1));
            const bool inside = bx >= ctx.scissor.x0 && bx + kLanes <= ctx.scissor.x1;
            Iv e0 = Iv(e[0]) + mul_lo(lane, Iv(a16[0]));
            Iv e1 = Iv(e[1]) + mul_lo(lane, Iv(a16[1]));
            Iv e2 = Iv(e[2]) + mul_lo(lane, Iv(a16[2]));
            for (int j = 0; j < rows; ++j) {
                const Iv cover = full ? cols : andnot(sar<31>(e0 | e1 | e2), cols);
                if (movemask(cover)) shade_group<T, D, K, false>(ctx, t, k, bx, by + j, cover, inside);
                e0 = e0 + Iv(b16[0]);
                e1 = e1 + Iv(b16[1]);
                e2 = e2 + Iv(b16[2]);
            }
        }
    }
}

template <TargetKind T, DepthKind D>
DrawContext::RasterFn pick_cascade(CascadeKind k) {
    switch (k) {
    case CascadeKind::Diffuse: return &raster_triangle<T, D, CascadeKind::Diffuse>;
    case CascadeKind::ModulateTexture: return &raster_triangle<T, D, CascadeKind::ModulateTexture>;
    case CascadeKind::TextureTwice: return &raster_triangle<T, D, CascadeKind::TextureTwice>;
    default: return &raster_triangle<T, D, CascadeKind::Generic>;
    }
}

template <TargetKind T>
DrawContext::RasterFn pick_depth(DepthKind d, CascadeKind k) {
    switch (d) {
    case DepthKind::Z16: return pick_cascade<T, DepthKind::Z16>(k);
    case DepthKind::Z32: return pick_cascade<T, DepthKind::Z32>(k);
    default: return pick_cascade<T, DepthKind::None>(k);
    }
}

}  // namespace

DrawContext::RasterFn select_raster(TargetKind target, DepthKind depth, CascadeKind cascade) {
    switch (target) {
    case TargetKind::R5G6B5: return pick_depth<TargetKind::R5G6B5>(depth, cascade);
    case TargetKind::X8R8G8B8: return pick_depth<TargetKind::X8R8G8B8>(depth, cascade);
    default: return pick_depth<TargetKind::Other>(depth, cascade);
    }
}

}  // namespace tarko::platform::d3d
