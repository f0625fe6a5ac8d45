// Raster blocks and the per-pixel stages: coverage, early depth, texture
// stages, specular, fog, alpha test, blend and write. Four pixels of a row go
// through together; the routine is instantiated per target format, depth
// format and texture cascade, the rest are branches that stay the same for a
// whole draw.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/constants.h"
#include "platform/d3d/pipeline.h"

namespace tarko::platform::d3d {

namespace {

// The pixel routines are instantiated per state combination; their helpers
// must fold into them so constants and texture facts stay in registers.
#if defined(__GNUC__)
#define TARKO_D3D_INLINE [[gnu::always_inline]] inline
#else
#define TARKO_D3D_INLINE inline
#endif

struct C4 {
    F4 r, g, b, a;
};

constexpr float kInv255 = 1.0f / 255.0f;

inline C4 unpack_argb(I4 t) {
    C4 c;
    const I4 m = I4(255);
    c.b = to_float(t & m) * F4(kInv255);
    c.g = to_float(shr<8>(t) & m) * F4(kInv255);
    c.r = to_float(shr<16>(t) & m) * F4(kInv255);
    c.a = to_float(shr<24>(t)) * F4(kInv255);
    return c;
}

inline I4 clamp_index(I4 i, int n) {
    i = select(cmplt(i, I4(0)), I4(0), i);
    return select(cmpgt(i, I4(n - 1)), I4(n - 1), i);
}

inline I4 gather(const std::uint32_t* texels, I4 index) {
    alignas(16) std::int32_t idx[4];
    index.store(idx);
    return I4::set(static_cast<std::int32_t>(texels[idx[0]]), static_cast<std::int32_t>(texels[idx[1]]),
                   static_cast<std::int32_t>(texels[idx[2]]), static_cast<std::int32_t>(texels[idx[3]]));
}

// Coordinates far outside 0..1 keep their fraction; the clamp keeps the
// integer conversions in range (NaN ends up at texel 0).
inline F4 wrap01(F4 u) {
    u = min(max(u, F4(-1048576.0f)), F4(1048576.0f));
    return u - floor4(u);
}

inline I4 wrap_index(I4 i, int n) {
    i = select(cmplt(i, I4(0)), i + I4(n), i);
    i = select(cmplt(i, I4(n)), i, i - I4(n));
    return clamp_index(i, n);
}

#if TARKO_D3D_SSE2
// Bilinear filtering with 8-bit weights on 16-bit lanes, two pixels to a
// register: the four texels are weighted across, then down, rounding at each
// step (w = 256 - x on the left texel, x on the right; all sums stay below
// 65536, so the 16-bit lanes never wrap).
// `adjacent`: every right-hand texel follows its left-hand one in memory (no
// lane wraps across the texture's edge), so each pair is one 8-byte read.
TARKO_D3D_INLINE I4 bilinear_texels(const std::uint32_t* tex, I4 i00, I4 i10, I4 i01, I4 i11, F4 ax, F4 ay,
                                    bool adjacent) {
    __m128i t00, t10, t01, t11;
    if (adjacent) {
        alignas(16) std::int32_t idx[8];
        i00.store(idx), i01.store(idx + 4);
        const auto pair = [tex, &idx](int k) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(tex + idx[k])); };
        const auto split = [&pair](int k, __m128i& left, __m128i& right) {
            const __m128i a = _mm_unpacklo_epi32(pair(k), pair(k + 1));      // l0 l1 r0 r1
            const __m128i b = _mm_unpacklo_epi32(pair(k + 2), pair(k + 3));  // l2 l3 r2 r3
            left = _mm_unpacklo_epi64(a, b);
            right = _mm_unpackhi_epi64(a, b);
        };
        split(0, t00, t10);
        split(4, t01, t11);
    } else {
        alignas(16) std::int32_t idx[16];
        i00.store(idx), i10.store(idx + 4), i01.store(idx + 8), i11.store(idx + 12);
        const auto at = [tex, &idx](int k) { return static_cast<int>(tex[idx[k]]); };
        t00 = _mm_setr_epi32(at(0), at(1), at(2), at(3));
        t10 = _mm_setr_epi32(at(4), at(5), at(6), at(7));
        t01 = _mm_setr_epi32(at(8), at(9), at(10), at(11));
        t11 = _mm_setr_epi32(at(12), at(13), at(14), at(15));
    }
    const __m128i zero = _mm_setzero_si128(), half = _mm_set1_epi16(128), full = _mm_set1_epi16(256);
    // Weights spread to the four channels of each pixel: lanes 0-3 pixel 0 (2), 4-7 pixel 1 (3).
    const auto spread = [](I4 w, __m128i& lo, __m128i& hi) {
        const __m128i p = _mm_packs_epi32(w.v, w.v);
        const __m128i q = _mm_unpacklo_epi16(p, p);
        lo = _mm_unpacklo_epi32(q, q);
        hi = _mm_unpackhi_epi32(q, q);
    };
    __m128i wx_lo, wx_hi, wy_lo, wy_hi;
    spread(to_int_round(ax * F4(256.0f)), wx_lo, wx_hi);
    spread(to_int_round(ay * F4(256.0f)), wy_lo, wy_hi);
    const auto lerp = [&](__m128i a, __m128i b, __m128i w) {
        const __m128i s = _mm_add_epi16(_mm_mullo_epi16(a, _mm_sub_epi16(full, w)), _mm_mullo_epi16(b, w));
        return _mm_srli_epi16(_mm_add_epi16(s, half), 8);
    };
    const __m128i lo = lerp(lerp(_mm_unpacklo_epi8(t00, zero), _mm_unpacklo_epi8(t10, zero), wx_lo),
                            lerp(_mm_unpacklo_epi8(t01, zero), _mm_unpacklo_epi8(t11, zero), wx_lo), wy_lo);
    const __m128i hi = lerp(lerp(_mm_unpackhi_epi8(t00, zero), _mm_unpackhi_epi8(t10, zero), wx_hi),
                            lerp(_mm_unpackhi_epi8(t01, zero), _mm_unpackhi_epi8(t11, zero), wx_hi), wy_hi);
    return I4(_mm_packus_epi16(lo, hi));
}
#endif

TARKO_D3D_INLINE C4 sample(const Texture* t, bool bilinear, F4 u, F4 v) {
    if (!t) return C4{F4(1.0f), F4(1.0f), F4(1.0f), F4(1.0f)};  // no texture reads opaque white
    const int w = t->width, h = t->height;
    const std::uint32_t* tex = t->texels.data();
    const F4 fu = wrap01(u) * F4(static_cast<float>(w));
    const F4 fv = wrap01(v) * F4(static_cast<float>(h));
    if (!bilinear || t->bump) {
        const I4 ix = clamp_index(to_int_trunc(fu), w);
        const I4 iy = clamp_index(to_int_trunc(fv), h);
        return unpack_argb(gather(tex, t->pow2 ? shl_var(iy, t->width_shift) + ix : mul_lo(iy, I4(w)) + ix));
    }
    const F4 tx = fu - F4(0.5f), ty = fv - F4(0.5f);
    const F4 x0f = floor4(tx), y0f = floor4(ty);
    const F4 ax = tx - x0f, ay = ty - y0f;
    const I4 x0 = to_int_trunc(x0f), y0 = to_int_trunc(y0f);
    I4 xa, xb, ra, rb;
    if (t->pow2) {
        // x0 lies in -1..w-1 (u wrapped to 0..1), so masking wraps exactly as wrap_index.
        const I4 mw(w - 1), mh(h - 1);
        xa = x0 & mw, xb = (x0 + I4(1)) & mw;
        ra = shl_var(y0 & mh, t->width_shift), rb = shl_var((y0 + I4(1)) & mh, t->width_shift);
    } else {
        xa = wrap_index(x0, w), xb = wrap_index(x0 + I4(1), w);
        ra = mul_lo(wrap_index(y0, h), I4(w)), rb = mul_lo(wrap_index(y0 + I4(1), h), I4(w));
    }
#if TARKO_D3D_SSE2
    const bool adjacent = movemask(cmpeq(xa, I4(w - 1))) == 0;  // then xb = xa + 1 in every lane
    return unpack_argb(bilinear_texels(tex, ra + xa, ra + xb, rb + xa, rb + xb, ax, ay, adjacent));
#else
    const C4 c00 = unpack_argb(gather(tex, ra + xa)), c10 = unpack_argb(gather(tex, ra + xb));
    const C4 c01 = unpack_argb(gather(tex, rb + xa)), c11 = unpack_argb(gather(tex, rb + xb));
    auto lerp2 = [&](F4 p00, F4 p10, F4 p01, F4 p11) {
        const F4 top = p00 + (p10 - p00) * ax;
        const F4 bot = p01 + (p11 - p01) * ax;
        return top + (bot - top) * ay;
    };
    return C4{lerp2(c00.r, c10.r, c01.r, c11.r), lerp2(c00.g, c10.g, c01.g, c11.g),
              lerp2(c00.b, c10.b, c01.b, c11.b), lerp2(c00.a, c10.a, c01.a, c11.a)};
#endif
}

// Bump texel as signed du, dv in -1..1 (r holds du, g dv after unpacking).
inline void bump_values(const C4& c, F4& du, F4& dv) {
    // unpack_argb put the low byte (du) in b and the next (dv) in g.
    const I4 bu = to_int_round(c.b * F4(255.0f)), bv = to_int_round(c.g * F4(255.0f));
    du = to_float(sar<24>(shl<24>(bu))) * F4(1.0f / 128.0f);
    dv = to_float(sar<24>(shl<24>(bv))) * F4(1.0f / 128.0f);
}

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
    if (arg & dx::D3DTA_COMPLEMENT) v = C4{F4(1.0f) - v.r, F4(1.0f) - v.g, F4(1.0f) - v.b, F4(1.0f) - v.a};
    if (arg & dx::D3DTA_ALPHAREPLICATE) v.r = v.g = v.b = v.a;
    return v;
}

// One channel of a stage operation; x and y are the two arguments, xa the
// first argument's alpha.
inline F4 op_channel(int op, F4 x, F4 y, F4 xa, const Inputs& in) {
    switch (op) {
    case dx::D3DTOP_SELECTARG1: return x;
    case dx::D3DTOP_SELECTARG2: return y;
    case dx::D3DTOP_MODULATE: return x * y;
    case dx::D3DTOP_MODULATE2X: return min(x * y * F4(2.0f), F4(1.0f));
    case dx::D3DTOP_MODULATE4X: return min(x * y * F4(4.0f), F4(1.0f));
    case dx::D3DTOP_ADD: return min(x + y, F4(1.0f));
    case dx::D3DTOP_ADDSIGNED: return clamp01(x + y - F4(0.5f));
    case dx::D3DTOP_ADDSIGNED2X: return clamp01((x + y - F4(0.5f)) * F4(2.0f));
    case dx::D3DTOP_SUBTRACT: return max(x - y, F4(0.0f));
    case dx::D3DTOP_ADDSMOOTH: return min(x + y - x * y, F4(1.0f));
    case dx::D3DTOP_BLENDDIFFUSEALPHA: return y + (x - y) * in.diffuse.a;
    case dx::D3DTOP_BLENDTEXTUREALPHA: return y + (x - y) * in.texture.a;
    case dx::D3DTOP_BLENDFACTORALPHA: return y + (x - y) * in.tfactor.a;
    case 15: return min(x + y * (F4(1.0f) - in.texture.a), F4(1.0f));  // BLENDTEXTUREALPHAPM
    case dx::D3DTOP_BLENDCURRENTALPHA: return y + (x - y) * in.current.a;
    case 18: return min(x + xa * y, F4(1.0f));                  // MODULATEALPHA_ADDCOLOR
    case 20: return min(x + (F4(1.0f) - xa) * y, F4(1.0f));     // MODULATEINVALPHA_ADDCOLOR
    default: return x;  // unknown operations select the first argument
    }
}

// The colour channels of a stage operation, with one dispatch for all three
// (the sums are op_channel's).
TARKO_D3D_INLINE void op_colour(int op, const C4& x, const C4& y, const Inputs& in, C4& out) {
    const auto each = [&](auto f) {
        out.r = f(x.r, y.r);
        out.g = f(x.g, y.g);
        out.b = f(x.b, y.b);
    };
    const F4 one(1.0f);
    switch (op) {
    case dx::D3DTOP_SELECTARG1: each([](F4 a, F4) { return a; }); break;
    case dx::D3DTOP_SELECTARG2: each([](F4, F4 b) { return b; }); break;
    case dx::D3DTOP_MODULATE: each([](F4 a, F4 b) { return a * b; }); break;
    case dx::D3DTOP_MODULATE2X: each([&](F4 a, F4 b) { return min(a * b * F4(2.0f), one); }); break;
    case dx::D3DTOP_MODULATE4X: each([&](F4 a, F4 b) { return min(a * b * F4(4.0f), one); }); break;
    case dx::D3DTOP_ADD: each([&](F4 a, F4 b) { return min(a + b, one); }); break;
    default:
        out.r = op_channel(op, x.r, y.r, x.a, in);
        out.g = op_channel(op, x.g, y.g, x.a, in);
        out.b = op_channel(op, x.b, y.b, x.a, in);
        break;
    }
}

TARKO_D3D_INLINE C4 run_stage(const StageSetup& st, Inputs& in) {
    C4 out = in.current;
    if (st.colour_op != dx::D3DTOP_DISABLE) {
        const C4 x = argument(st.colour_arg1, in), y = argument(st.colour_arg2, in);
        if (st.colour_op == dx::D3DTOP_DOTPRODUCT3) {
            const F4 d = ((x.r - F4(0.5f)) * (y.r - F4(0.5f)) + (x.g - F4(0.5f)) * (y.g - F4(0.5f)) +
                          (x.b - F4(0.5f)) * (y.b - F4(0.5f))) * F4(4.0f);
            out.r = out.g = out.b = out.a = clamp01(d);
            return out;
        }
        op_colour(st.colour_op, x, y, in, out);
    }
    if (st.alpha_op != dx::D3DTOP_DISABLE) {
        const C4 x = argument(st.alpha_arg1 & ~dx::D3DTA_ALPHAREPLICATE, in);
        const C4 y = argument(st.alpha_arg2 & ~dx::D3DTA_ALPHAREPLICATE, in);
        out.a = op_channel(st.alpha_op, x.a, y.a, x.a, in);
    }
    return out;
}

TARKO_D3D_INLINE F4 blend_factor(int f, const C4& s, const C4& d, F4 sc, F4 dc, bool alpha_channel, bool is_src) {
    switch (f) {
    case dx::D3DBLEND_ZERO: return F4(0.0f);
    case dx::D3DBLEND_ONE: return F4(1.0f);
    case dx::D3DBLEND_SRCCOLOR: return sc;
    case dx::D3DBLEND_INVSRCCOLOR: return F4(1.0f) - sc;
    case dx::D3DBLEND_SRCALPHA: return s.a;
    case dx::D3DBLEND_INVSRCALPHA: return F4(1.0f) - s.a;
    case dx::D3DBLEND_DESTALPHA: return d.a;
    case dx::D3DBLEND_INVDESTALPHA: return F4(1.0f) - d.a;
    case dx::D3DBLEND_DESTCOLOR: return dc;
    case dx::D3DBLEND_INVDESTCOLOR: return F4(1.0f) - dc;
    case dx::D3DBLEND_SRCALPHASAT: return alpha_channel ? F4(1.0f) : min(s.a, F4(1.0f) - d.a);
    case 12: return is_src ? s.a : F4(1.0f) - s.a;            // BOTHSRCALPHA
    case 13: return is_src ? F4(1.0f) - s.a : s.a;            // BOTHINVSRCALPHA
    default: return is_src ? F4(1.0f) : F4(0.0f);
    }
}

inline I4 compare(int func, I4 a, I4 b) {  // a func b, as signed whole numbers
    switch (func) {
    case dx::D3DCMP_NEVER: return I4(0);
    case dx::D3DCMP_LESS: return cmplt(a, b);
    case dx::D3DCMP_EQUAL: return cmpeq(a, b);
    case dx::D3DCMP_LESSEQUAL: return cmpgt(a, b) ^ I4(-1);
    case dx::D3DCMP_GREATER: return cmpgt(a, b);
    case dx::D3DCMP_NOTEQUAL: return cmpeq(a, b) ^ I4(-1);
    case dx::D3DCMP_GREATEREQUAL: return cmplt(a, b) ^ I4(-1);
    default: return I4(-1);
    }
}

inline F4 plane_at(const Plane& p, F4 dx, F4 dy) { return F4(p.c) + F4(p.dx) * dx + F4(p.dy) * dy; }

inline I4 quantise(F4 c) { return to_int_round(clamp01(c) * F4(255.0f)); }

template <TargetKind T>
TARKO_D3D_INLINE C4 read_target(const DrawContext& ctx, int x, int y, int mask, bool inside) {
    const std::uint8_t* row = ctx.colour + static_cast<std::ptrdiff_t>(y) * ctx.colour_pitch;
    std::int32_t px[4] = {0, 0, 0, 0};
    if constexpr (T == TargetKind::X8R8G8B8) {
        if (inside) {
            const C4 c = unpack_argb(I4::load(row + x * 4));
            return ctx.colour_has_alpha ? c : C4{c.r, c.g, c.b, F4(1.0f)};
        }
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) std::memcpy(&px[i], row + (x + i) * 4, 4);
        const C4 c = unpack_argb(I4::load(px));
        return ctx.colour_has_alpha ? c : C4{c.r, c.g, c.b, F4(1.0f)};
    } else if constexpr (T == TargetKind::R5G6B5) {
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) {
                std::uint16_t v;
                std::memcpy(&v, row + (x + i) * 2, 2);
                px[i] = v;
            }
        const I4 v = I4::load(px);
        // Widening replicates the top bits, as the surface's own reads do.
        const I4 r5 = shr<11>(v) & I4(31), g6 = shr<5>(v) & I4(63), b5 = v & I4(31);
        const I4 r8 = shl<3>(r5) | shr<2>(r5), g8 = shl<2>(g6) | shr<4>(g6), b8 = shl<3>(b5) | shr<2>(b5);
        return C4{to_float(r8) * F4(kInv255), to_float(g8) * F4(kInv255), to_float(b8) * F4(kInv255), F4(1.0f)};
    } else {
        const int bpp = ctx.colour_format->bytes_per_pixel();
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) {
                std::uint32_t raw = 0;
                std::memcpy(&raw, row + (x + i) * bpp, static_cast<std::size_t>(bpp));
                px[i] = static_cast<std::int32_t>(ctx.colour_format->to_argb(raw));
            }
        return unpack_argb(I4::load(px));
    }
}

template <TargetKind T>
TARKO_D3D_INLINE void write_target(const DrawContext& ctx, int x, int y, int mask, bool inside, const C4& c) {
    std::uint8_t* row = ctx.colour + static_cast<std::ptrdiff_t>(y) * ctx.colour_pitch;
    const I4 r = quantise(c.r), g = quantise(c.g), b = quantise(c.b);
    if constexpr (T == TargetKind::X8R8G8B8) {
        I4 v = shl<16>(r) | shl<8>(g) | b;
        if (ctx.colour_has_alpha) v = v | shl<24>(quantise(c.a));
        if (inside && mask == 15) {
            v.store(row + x * 4);
            return;
        }
        alignas(16) std::int32_t out[4];
        v.store(out);
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) std::memcpy(row + (x + i) * 4, &out[i], 4);
    } else if constexpr (T == TargetKind::R5G6B5) {
        const I4 v = shl<11>(shr<3>(r)) | shl<5>(shr<2>(g)) | shr<3>(b);  // narrowing drops low bits
        alignas(16) std::int32_t out[4];
        v.store(out);
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) {
                const auto p = static_cast<std::uint16_t>(out[i]);
                std::memcpy(row + (x + i) * 2, &p, 2);
            }
    } else {
        const I4 v = shl<24>(quantise(c.a)) | shl<16>(r) | shl<8>(g) | b;
        alignas(16) std::int32_t out[4];
        v.store(out);
        const int bpp = ctx.colour_format->bytes_per_pixel();
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) {
                const std::uint32_t raw = ctx.colour_format->from_argb(static_cast<std::uint32_t>(out[i]));
                std::memcpy(row + (x + i) * bpp, &raw, static_cast<std::size_t>(bpp));
            }
    }
}

template <DepthKind D>
inline I4 read_depth(const DrawContext& ctx, int x, int y, int mask, bool inside) {
    const std::uint8_t* row = ctx.depth + static_cast<std::ptrdiff_t>(y) * ctx.depth_pitch;
    if constexpr (D == DepthKind::Z16) {
        std::int32_t v[4] = {0, 0, 0, 0};
        std::uint16_t p[4] = {0, 0, 0, 0};
        if (inside) {
#if TARKO_D3D_SSE2
            const __m128i four = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + x * 2));
            return I4(_mm_unpacklo_epi16(four, _mm_setzero_si128()));
#else
            std::memcpy(p, row + x * 2, 8);
#endif
        } else {
            for (int i = 0; i < 4; ++i)
                if (mask & (1 << i)) std::memcpy(&p[i], row + (x + i) * 2, 2);
        }
        for (int i = 0; i < 4; ++i) v[i] = p[i];
        return I4::load(v);
    } else {
        I4 v;
        if (inside) {
            v = I4::load(row + x * 4);
        } else {
            std::int32_t p[4] = {0, 0, 0, 0};
            for (int i = 0; i < 4; ++i)
                if (mask & (1 << i)) std::memcpy(&p[i], row + (x + i) * 4, 4);
            v = I4::load(p);
        }
        return ctx.depth_shift ? shr<8>(v) : v;
    }
}

template <DepthKind D>
inline void write_depth(const DrawContext& ctx, int x, int y, int mask, bool inside, I4 z) {
    std::uint8_t* row = ctx.depth + static_cast<std::ptrdiff_t>(y) * ctx.depth_pitch;
    alignas(16) std::int32_t out[4];
    if constexpr (D == DepthKind::Z16) {
#if TARKO_D3D_SSE2
        if (inside && mask == 15) {
            // The low halves of the four lanes, side by side.
            __m128i v = _mm_shufflelo_epi16(z.v, _MM_SHUFFLE(3, 3, 2, 0));
            v = _mm_shufflehi_epi16(v, _MM_SHUFFLE(3, 3, 2, 0));
            v = _mm_shuffle_epi32(v, _MM_SHUFFLE(3, 3, 2, 0));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(row + x * 2), v);
            return;
        }
#endif
        z.store(out);
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) {
                const auto p = static_cast<std::uint16_t>(out[i]);
                std::memcpy(row + (x + i) * 2, &p, 2);
            }
    } else {
        const I4 raw = ctx.depth_shift ? shl<8>(z) : z;
        if (inside && mask == 15) {
            raw.store(row + x * 4);
            return;
        }
        raw.store(out);
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) std::memcpy(row + (x + i) * 4, &out[i], 4);
    }
}

template <TargetKind T, DepthKind D, CascadeKind K>
TARKO_D3D_INLINE void shade_group(const DrawContext& ctx, const SetupTriangle& t, const F4* fixed_w, int x, int y,
                                  I4 cover) {
    const int xs = ctx.scissor.x0, xe = ctx.scissor.x1;
    const bool inside = x >= xs && x + 3 < xe;
    int mask = movemask(cover);
    const F4 dx = F4::set(0.0f, 1.0f, 2.0f, 3.0f) + F4(static_cast<float>(x) - t.ref_x);
    const F4 dy = F4(static_cast<float>(y) - t.ref_y);

    I4 zq;
    if constexpr (D != DepthKind::None) {
        const F4 z = clamp01(plane_at(t.p[kPlaneZ], dx, dy));
        zq = to_int_round(z * F4(ctx.depth_scale));
        if (ctx.z_test) {
            const I4 pass = compare(ctx.z_func, zq, read_depth<D>(ctx, x, y, mask, inside));
            mask &= movemask(pass);
            if (!mask) return;
        }
    }

    // Screen-space triangles often have one rhw for all three vertices: then
    // c + 0 dx + 0 dy is c exactly (c non-zero) and its reciprocal is taken once.
    const F4 w = fixed_w ? *fixed_w : F4(1.0f) / plane_at(t.p[kPlaneRhw], dx, dy);
    Inputs in;
    if (t.is_flat) {
        in.diffuse = C4{F4(t.flat[0]), F4(t.flat[1]), F4(t.flat[2]), F4(t.flat[3])};
        in.specular = C4{F4(t.flat[4]), F4(t.flat[5]), F4(t.flat[6]), F4(0.0f)};
    } else {
        in.diffuse = C4{clamp01(plane_at(t.p[kPlaneR], dx, dy) * w), clamp01(plane_at(t.p[kPlaneG], dx, dy) * w),
                        clamp01(plane_at(t.p[kPlaneB], dx, dy) * w), clamp01(plane_at(t.p[kPlaneA], dx, dy) * w)};
        if (ctx.specular)
            in.specular = C4{clamp01(plane_at(t.p[kPlaneSR], dx, dy) * w),
                             clamp01(plane_at(t.p[kPlaneSG], dx, dy) * w),
                             clamp01(plane_at(t.p[kPlaneSB], dx, dy) * w), F4(0.0f)};
        else
            in.specular = C4{F4(0.0f), F4(0.0f), F4(0.0f), F4(0.0f)};
    }

    C4 colour;
    F4 key_alpha(1.0f);
    if constexpr (K == CascadeKind::Diffuse) {
        colour = in.diffuse;
    } else {
        const F4 u = plane_at(t.p[kPlaneU], dx, dy) * w;
        const F4 v = plane_at(t.p[kPlaneV], dx, dy) * w;
        if constexpr (K == CascadeKind::ModulateTexture) {
            const StageSetup& st = ctx.stages[0];
            const C4 tex = sample(st.texture, st.bilinear, u, v);
            key_alpha = tex.a;
            colour = C4{tex.r * in.diffuse.r, tex.g * in.diffuse.g, tex.b * in.diffuse.b,
                        st.alpha_op == dx::D3DTOP_MODULATE ? tex.a * in.diffuse.a : tex.a};
        } else if constexpr (K == CascadeKind::TextureTwice) {
            // As the general cascade computes it: coordinates plus a zero bump
            // offset, symmetric operations so the argument order is moot.
            const F4 u0 = u + F4(0.0f), v0 = v + F4(0.0f);
            const StageSetup& s0 = ctx.stages[0];
            const C4 tex = sample(s0.texture, s0.bilinear, u0, v0);
            key_alpha = tex.a;
            const C4 first{tex.r * in.diffuse.r, tex.g * in.diffuse.g, tex.b * in.diffuse.b,
                           s0.alpha_op == dx::D3DTOP_MODULATE ? tex.a * in.diffuse.a : tex.a};
            const StageSetup& s1 = ctx.stages[1];
            const C4 tex1 = sample(s1.texture, s1.bilinear, u0, v0);
            colour = first;
            op_colour(s1.colour_op, tex1, first, in, colour);
        } else {
            in.tfactor = C4{F4(ctx.tfactor[0]), F4(ctx.tfactor[1]), F4(ctx.tfactor[2]), F4(ctx.tfactor[3])};
            in.current = in.diffuse;
            in.texture = C4{F4(1.0f), F4(1.0f), F4(1.0f), F4(1.0f)};
            F4 bu(0.0f), bv(0.0f);
            for (int s = 0; s < ctx.stage_count; ++s) {
                const StageSetup& st = ctx.stages[static_cast<std::size_t>(s)];
                if (st.colour_op == dx::D3DTOP_BUMPENVMAP || st.colour_op == 23) {
                    // The next stage's coordinates move by the matrix times (du, dv).
                    F4 du, dv;
                    const C4 b = sample(st.texture, false, u, v);
                    if (st.texture && st.texture->bump) {
                        bump_values(b, du, dv);
                    } else {
                        du = dv = F4(0.0f);
                    }
                    bu = F4(st.bump[0]) * du + F4(st.bump[2]) * dv;
                    bv = F4(st.bump[1]) * du + F4(st.bump[3]) * dv;
                    continue;
                }
                in.texture = sample(st.texture, st.bilinear, u + bu, v + bv);
                if (s == 0) key_alpha = in.texture.a;
                bu = bv = F4(0.0f);
                in.current = run_stage(st, in);
            }
            colour = in.current;
        }
    }
    if (ctx.colour_key) {
        mask &= movemask(cmple(F4(0.5f), key_alpha));
        if (!mask) return;
    }

    if (ctx.specular) {
        colour.r = min(colour.r + in.specular.r, F4(1.0f));
        colour.g = min(colour.g + in.specular.g, F4(1.0f));
        colour.b = min(colour.b + in.specular.b, F4(1.0f));
    }
    if (ctx.fog) {
        const F4 f = clamp01(plane_at(t.p[kPlaneFog], dx, dy) * w);
        const F4 g = F4(1.0f) - f;
        colour.r = colour.r * f + F4(ctx.fog_colour[0]) * g;
        colour.g = colour.g * f + F4(ctx.fog_colour[1]) * g;
        colour.b = colour.b * f + F4(ctx.fog_colour[2]) * g;
    }
    if (ctx.alpha_test) {
        mask &= movemask(compare(ctx.alpha_func, quantise(colour.a), I4(ctx.alpha_ref)));
        if (!mask) return;
    }
    colour.a = clamp01(colour.a);
    if (ctx.blend) {
        const C4 d = read_target<T>(ctx, x, y, mask, inside);
        const C4 s = colour;
        if (ctx.src_blend == dx::D3DBLEND_SRCALPHA && ctx.dest_blend == dx::D3DBLEND_INVSRCALPHA) {
            // The usual "over": the same sums as the general factors below.
            const F4 ia = F4(1.0f) - s.a;
            colour = C4{clamp01(s.r * s.a + d.r * ia), clamp01(s.g * s.a + d.g * ia), clamp01(s.b * s.a + d.b * ia),
                        clamp01(s.a * s.a + d.a * ia)};
        } else {
            auto mix = [&](F4 sc, F4 dc, bool alpha) {
                return clamp01(sc * blend_factor(ctx.src_blend, s, d, sc, dc, alpha, true) +
                               dc * blend_factor(ctx.dest_blend, s, d, sc, dc, alpha, false));
            };
            colour = C4{mix(s.r, d.r, false), mix(s.g, d.g, false), mix(s.b, d.b, false), mix(s.a, d.a, true)};
        }
    }
    write_target<T>(ctx, x, y, mask, inside, colour);
    if constexpr (D != DepthKind::None) {
        if (ctx.z_write) write_depth<D>(ctx, x, y, mask, inside, zq);
    }
}

constexpr std::int64_t kClampEdge = std::int64_t{1} << 30;

template <TargetKind T, DepthKind D, CascadeKind K>
void raster_triangle(const DrawContext& ctx, const SetupTriangle& t, int tx0, int ty0, int tx1,
                     int ty1) {
    const int xs = std::max(t.minx, tx0), xe = std::min(t.maxx, tx1 - 1);
    const int ys = std::max(t.miny, ty0), ye = std::min(t.maxy, ty1 - 1);
    if (xs > xe || ys > ye) return;
    const int gx0 = xs & ~3;  // tiles start on multiples of 4, so this stays in the tile
    const Plane& rhw = t.p[kPlaneRhw];
    const F4 w_once = F4(1.0f) / F4(rhw.c);
    const F4* fixed_w = rhw.dx == 0.0f && rhw.dy == 0.0f && std::isnormal(rhw.c) ? &w_once : nullptr;
    std::int32_t a16[3], b16[3];
    for (int k = 0; k < 3; ++k) a16[k] = t.a[k] * 16, b16[k] = t.b[k] * 16;
    const I4 lane = I4::set(0, 1, 2, 3);

    for (int by = ys; by <= ye; by += 4) {
        const int rows = std::min(4, ye - by + 1);
        // Edge values at each block's top-left pixel step along the row (exact
        // in 64 bits); the block's extremes are fixed offsets from them.
        std::int64_t edge[3], step[3], hi_off[3], lo_off[3];
        for (int k = 0; k < 3; ++k) {
            edge[k] = static_cast<std::int64_t>(t.a[k]) * (gx0 * 16) + static_cast<std::int64_t>(t.b[k]) * (by * 16) +
                      t.c[k];
            step[k] = static_cast<std::int64_t>(t.a[k]) * 64;
            const std::int64_t ax = static_cast<std::int64_t>(a16[k]) * 3;
            const std::int64_t byy = static_cast<std::int64_t>(b16[k]) * (rows - 1);
            hi_off[k] = std::max<std::int64_t>(ax, 0) + std::max<std::int64_t>(byy, 0);
            lo_off[k] = std::min<std::int64_t>(ax, 0) + std::min<std::int64_t>(byy, 0);
        }
        for (int bx = gx0; bx <= xe; bx += 4) {
            std::int32_t e[3];
            bool full = true, reject = false;
            for (int k = 0; k < 3; ++k) {
                const std::int64_t e0 = edge[k];
                edge[k] += step[k];
                if (e0 + hi_off[k] < 0) reject = true;
                if (e0 + lo_off[k] < 0) full = false;
                e[k] = static_cast<std::int32_t>(std::clamp(e0, -kClampEdge, kClampEdge));
            }
            if (reject) continue;
            // Lanes outside this triangle's columns (scissor, tile) stay off.
            const I4 xv = I4(bx) + lane;
            const I4 cols = andnot(cmplt(xv, I4(xs)) | cmpgt(xv, I4(xe)), I4(-1));
            I4 e0 = I4(e[0]) + mul_lo(lane, I4(a16[0]));
            I4 e1 = I4(e[1]) + mul_lo(lane, I4(a16[1]));
            I4 e2 = I4(e[2]) + mul_lo(lane, I4(a16[2]));
            for (int j = 0; j < rows; ++j) {
                const I4 cover = full ? cols : andnot(sar<31>(e0 | e1 | e2), cols);
                if (movemask(cover)) shade_group<T, D, K>(ctx, t, fixed_w, bx, by + j, cover);
                e0 = e0 + I4(b16[0]);
                e1 = e1 + I4(b16[1]);
                e2 = e2 + I4(b16[2]);
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
