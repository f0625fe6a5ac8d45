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

inline I4 quantise(F4 c) { return to_int_round(clamp01(c) * F4(255.0f)); }
inline I4 pack_argb(I4 r, I4 g, I4 b, I4 a) { return shl<24>(a) | shl<16>(r) | shl<8>(g) | b; }
inline I4 pack(const C4& c) { return pack_argb(quantise(c.r), quantise(c.g), quantise(c.b), quantise(c.a)); }
inline I4 alpha_byte(I4 p) { return shr<24>(p); }
// The colour channels of `rgb` with the alpha of `a`.
inline I4 with_alpha_of(I4 rgb, I4 a) { return (rgb & I4(0x00FFFFFF)) | (a & I4(static_cast<std::int32_t>(0xFF000000u))); }

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

// round((a (256 - w) + b w) / 256) on 8-bit channels with 8-bit weights; the
// sums stay below 65536.
inline W2 lerp256(W2 a, W2 b, W2 w) { return shr<8>(a * (W2(256) - w) + b * w + W2(128)); }

// Bilinear filtering: the four texels are weighted across, then down, with
// weights in 1/256 (256 - x on the left texel, x on the right), rounding at
// each step. `adjacent`: every right-hand texel follows its left-hand one in
// memory (no lane wraps across the texture's edge), so each pair is one read.
TARKO_D3D_INLINE I4 bilinear_texels(const std::uint32_t* tex, I4 i00, I4 i10, I4 i01, I4 i11, W2 wx, W2 wy,
                                    [[maybe_unused]] bool adjacent) {
    I4 t00, t10, t01, t11;
#if TARKO_D3D_SSE2
    if (adjacent) {
        alignas(16) std::int32_t idx[8];
        i00.store(idx), i01.store(idx + 4);
        const auto pair = [tex, &idx](int k) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(tex + idx[k])); };
        const auto split = [&pair](int k, I4& left, I4& right) {
            const __m128i a = _mm_unpacklo_epi32(pair(k), pair(k + 1));      // l0 l1 r0 r1
            const __m128i b = _mm_unpacklo_epi32(pair(k + 2), pair(k + 3));  // l2 l3 r2 r3
            left = I4(_mm_unpacklo_epi64(a, b));
            right = I4(_mm_unpackhi_epi64(a, b));
        };
        split(0, t00, t10);
        split(4, t01, t11);
    } else
#endif
    {
        t00 = gather(tex, i00), t10 = gather(tex, i10), t01 = gather(tex, i01), t11 = gather(tex, i11);
    }
    return narrow(lerp256(lerp256(widen(t00), widen(t10), wx), lerp256(widen(t01), widen(t11), wx), wy));
}

// Texel coordinate with 8 fractional bits: u times the texture's size (a power
// of two, so the product is exact) rounded to 1/256. Far coordinates are
// held within the int32 range; NaN ends up at the low end.
inline I4 fixed_coordinate(F4 u, float size_256, float offset) {
    const F4 limit(1073741824.0f);
    return to_int_round(min(max(u * F4(size_256), F4(-1073741824.0f)), limit) - F4(offset));
}

// Four texels as packed A8R8G8B8.
TARKO_D3D_INLINE I4 sample(const Texture* t, bool bilinear, F4 u, F4 v) {
    if (!t) return I4(-1);  // no texture reads opaque white
    const int w = t->width, h = t->height;
    const std::uint32_t* tex = t->texels.data();
    if (t->pow2) {
        // Power-of-two sizes wrap by masking the whole texel numbers.
        const I4 mw(w - 1), mh(h - 1);
        const float sw = static_cast<float>(w) * 256.0f, sh = static_cast<float>(h) * 256.0f;
        if (!bilinear || t->bump) {
            const I4 x = sar<8>(fixed_coordinate(u, sw, 0.0f)) & mw, y = sar<8>(fixed_coordinate(v, sh, 0.0f)) & mh;
            return gather(tex, shl_var(y, t->width_shift) + x);
        }
        // Texel centres lie half a texel in.
        const I4 fx = fixed_coordinate(u, sw, 128.0f), fy = fixed_coordinate(v, sh, 128.0f);
        const I4 x0 = sar<8>(fx), y0 = sar<8>(fy);
        const I4 xa = x0 & mw, xb = (x0 + I4(1)) & mw;
        const I4 ra = shl_var(y0 & mh, t->width_shift), rb = shl_var((y0 + I4(1)) & mh, t->width_shift);
        const bool adjacent = movemask(cmpeq(xa, mw)) == 0;  // then xb = xa + 1 in every lane
        return bilinear_texels(tex, ra + xa, ra + xb, rb + xa, rb + xb, spread(fx & I4(255)), spread(fy & I4(255)),
                               adjacent);
    }
    const F4 fu = wrap01(u) * F4(static_cast<float>(w));
    const F4 fv = wrap01(v) * F4(static_cast<float>(h));
    if (!bilinear || t->bump) {
        const I4 ix = clamp_index(to_int_trunc(fu), w);
        const I4 iy = clamp_index(to_int_trunc(fv), h);
        return gather(tex, mul_lo(iy, I4(w)) + ix);
    }
    const F4 tx = fu - F4(0.5f), ty = fv - F4(0.5f);
    const F4 x0f = floor4(tx), y0f = floor4(ty);
    const I4 x0 = to_int_trunc(x0f), y0 = to_int_trunc(y0f);
    const I4 xa = wrap_index(x0, w), xb = wrap_index(x0 + I4(1), w);
    const I4 ra = mul_lo(wrap_index(y0, h), I4(w)), rb = mul_lo(wrap_index(y0 + I4(1), h), I4(w));
    // Weights in 1/256 (a weight of 256 takes the right-hand texel whole).
    const W2 wx = spread(to_int_round((tx - x0f) * F4(256.0f))), wy = spread(to_int_round((ty - y0f) * F4(256.0f)));
    const bool adjacent = movemask(cmpeq(xa, I4(w - 1))) == 0;
    return bilinear_texels(tex, ra + xa, ra + xb, rb + xa, rb + xb, wx, wy, adjacent);
}

// Bump texel as signed du, dv in -1..1: du is the low byte, dv the next.
inline void bump_values(I4 texel, F4& du, F4& dv) {
    du = to_float(sar<24>(shl<24>(texel))) * F4(1.0f / 128.0f);
    dv = to_float(sar<24>(shl<16>(texel))) * F4(1.0f / 128.0f);
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

TARKO_D3D_INLINE C4 run_stage(const StageSetup& st, const Inputs& in) {
    C4 out = in.current;
    if (st.colour_op != dx::D3DTOP_DISABLE) {
        const C4 x = argument(st.colour_arg1, in), y = argument(st.colour_arg2, in);
        if (st.colour_op == dx::D3DTOP_DOTPRODUCT3) {
            const F4 d = ((x.r - F4(0.5f)) * (y.r - F4(0.5f)) + (x.g - F4(0.5f)) * (y.g - F4(0.5f)) +
                          (x.b - F4(0.5f)) * (y.b - F4(0.5f))) * F4(4.0f);
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
TARKO_D3D_INLINE I4 combine_texture(int op, I4 tex, I4 current) {
    I4 c;
    if (op == dx::D3DTOP_ADD) {
        c = adds_u8(tex, current);
    } else {
        const W2 x = widen(tex) * widen(current);
        c = narrow(op == dx::D3DTOP_MODULATE ? div255(x) : mul255_scaled(x, op == dx::D3DTOP_MODULATE2X ? 2 : 4));
    }
    return with_alpha_of(c, current);
}

// Blend factors on 8-bit values (255 stands for one), channel by channel.
inline I4 blend_factor(int f, I4 sc, I4 dc, I4 sa, I4 da, bool alpha_channel, bool is_src) {
    const I4 one(255);
    switch (f) {
    case dx::D3DBLEND_ZERO: return I4(0);
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
        const I4 ida = one - da;
        return select(cmplt(sa, ida), sa, ida);
    }
    case 12: return is_src ? sa : one - sa;            // BOTHSRCALPHA
    case 13: return is_src ? one - sa : sa;            // BOTHINVSRCALPHA
    default: return is_src ? one : I4(0);
    }
}

// Any pair of blend factors: round((s fs + d fd) / 255), capped at 255.
inline I4 blend_general(const DrawContext& ctx, I4 s, I4 d) {
    const I4 sa = alpha_byte(s), da = alpha_byte(d);
    I4 out(0);
    for (int shift = 0; shift < 32; shift += 8) {
        const I4 sc = shr_var(s, shift) & I4(255), dc = shr_var(d, shift) & I4(255);
        const bool alpha = shift == 24;
        const I4 sum = mul_lo(sc, blend_factor(ctx.src_blend, sc, dc, sa, da, alpha, true)) +
                       mul_lo(dc, blend_factor(ctx.dest_blend, sc, dc, sa, da, alpha, false));
        // The sum is below 2^18, exact in float; x / 255 is never half way.
        I4 v = to_int_round(to_float(sum) / F4(255.0f));
        v = select(cmpgt(v, I4(255)), I4(255), v);
        out = out | shl_var(v, shift);
    }
    return out;
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

constexpr std::int32_t kAlphaMask = static_cast<std::int32_t>(0xFF000000u);

// Four target pixels as packed A8R8G8B8 (alpha 255 where the target has none).
template <TargetKind T>
TARKO_D3D_INLINE I4 read_target(const DrawContext& ctx, int x, int y, int mask, bool inside) {
    const std::uint8_t* row = ctx.colour + static_cast<std::ptrdiff_t>(y) * ctx.colour_pitch;
    std::int32_t px[4] = {0, 0, 0, 0};
    if constexpr (T == TargetKind::X8R8G8B8) {
        I4 c;
        if (inside) {
            c = I4::load(row + x * 4);
        } else {
            for (int i = 0; i < 4; ++i)
                if (mask & (1 << i)) std::memcpy(&px[i], row + (x + i) * 4, 4);
            c = I4::load(px);
        }
        return ctx.colour_has_alpha ? c : c | I4(kAlphaMask);
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
        return pack_argb(shl<3>(r5) | shr<2>(r5), shl<2>(g6) | shr<4>(g6), shl<3>(b5) | shr<2>(b5), I4(255));
    } else {
        const int bpp = ctx.colour_format->bytes_per_pixel();
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) {
                std::uint32_t raw = 0;
                std::memcpy(&raw, row + (x + i) * bpp, static_cast<std::size_t>(bpp));
                px[i] = static_cast<std::int32_t>(ctx.colour_format->to_argb(raw));
            }
        return I4::load(px);
    }
}

template <TargetKind T>
TARKO_D3D_INLINE void write_target(const DrawContext& ctx, int x, int y, int mask, bool inside, I4 c) {
    std::uint8_t* row = ctx.colour + static_cast<std::ptrdiff_t>(y) * ctx.colour_pitch;
    alignas(16) std::int32_t out[4];
    if constexpr (T == TargetKind::X8R8G8B8) {
        const I4 v = ctx.colour_has_alpha ? c : c & I4(0x00FFFFFF);
        if (inside && mask == 15) {
            v.store(row + x * 4);
            return;
        }
        v.store(out);
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) std::memcpy(row + (x + i) * 4, &out[i], 4);
    } else if constexpr (T == TargetKind::R5G6B5) {
        // Narrowing drops the low bits.
        const I4 v = (shr<8>(c) & I4(0xF800)) | (shr<5>(c) & I4(0x07E0)) | (shr<3>(c) & I4(0x001F));
        v.store(out);
        for (int i = 0; i < 4; ++i)
            if (mask & (1 << i)) {
                const auto p = static_cast<std::uint16_t>(out[i]);
                std::memcpy(row + (x + i) * 2, &p, 2);
            }
    } else {
        c.store(out);
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

// What stays the same over a triangle: the perspective divide when all three
// vertices share one rhw, and the colours of a flat (or one-coloured) triangle.
struct TriangleConsts {
    bool fixed_w = false;
    F4 w{1.0f};
    I4 diffuse{0}, specular{0};  // packed; meaningful when the triangle is flat
    bool white = false;    // diffuse that leaves a modulated texture as it is
};

template <TargetKind T, DepthKind D, CascadeKind K>
TARKO_D3D_INLINE void shade_group(const DrawContext& ctx, const SetupTriangle& t, const TriangleConsts& k, int x,
                                  int y, I4 cover) {
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

    const F4 w = k.fixed_w ? k.w : F4(1.0f) / plane_at(t.p[kPlaneRhw], dx, dy);
    // Diffuse and specular are held in 8 bits per channel from here on.
    I4 diffuse, specular(0);
    if (t.is_flat) {
        diffuse = k.diffuse;
        specular = k.specular;
    } else {
        const auto at = [&](int p) { return quantise(plane_at(t.p[p], dx, dy) * w); };
        diffuse = pack_argb(at(kPlaneR), at(kPlaneG), at(kPlaneB), at(kPlaneA));
        if (ctx.specular) specular = pack_argb(at(kPlaneSR), at(kPlaneSG), at(kPlaneSB), I4(0));
    }

    I4 colour, key(-1);
    if constexpr (K == CascadeKind::Diffuse) {
        colour = diffuse;
    } else {
        const F4 u = plane_at(t.p[kPlaneU], dx, dy) * w;
        const F4 v = plane_at(t.p[kPlaneV], dx, dy) * w;
        if constexpr (K == CascadeKind::ModulateTexture || K == CascadeKind::TextureTwice) {
            // A selected texture alpha is the texture's alpha times 255 / 255.
            const StageSetup& s0 = ctx.stages[0];
            const I4 tex = sample(s0.texture, s0.bilinear, u, v);
            key = tex;
            colour = k.white ? tex : narrow(mul255(widen(tex), widen(ctx.modulate_alpha ? diffuse : diffuse | I4(kAlphaMask))));
            if constexpr (K == CascadeKind::TextureTwice) {
                // The general cascade adds a zero bump offset first.
                const StageSetup& s1 = ctx.stages[1];
                colour = combine_texture(s1.colour_op, sample(s1.texture, s1.bilinear, u + F4(0.0f), v + F4(0.0f)),
                                         colour);
            }
        } else {
            Inputs in;
            in.diffuse = unpack_argb(diffuse);
            in.specular = unpack_argb(specular);
            in.tfactor = unpack_argb(I4(static_cast<std::int32_t>(ctx.tfactor)));
            in.current = in.diffuse;
            in.texture = C4{F4(1.0f), F4(1.0f), F4(1.0f), F4(1.0f)};
            I4 current = diffuse;
            F4 bu(0.0f), bv(0.0f);
            for (int s = 0; s < ctx.stage_count; ++s) {
                const StageSetup& st = ctx.stages[static_cast<std::size_t>(s)];
                if (st.colour_op == dx::D3DTOP_BUMPENVMAP || st.colour_op == 23) {
                    // The next stage's coordinates move by the matrix times (du, dv).
                    F4 du(0.0f), dv(0.0f);
                    if (st.texture && st.texture->bump) bump_values(sample(st.texture, false, u, v), du, dv);
                    bu = F4(st.bump[0]) * du + F4(st.bump[2]) * dv;
                    bv = F4(st.bump[1]) * du + F4(st.bump[3]) * dv;
                    continue;
                }
                const I4 tex = sample(st.texture, st.bilinear, u + bu, v + bv);
                in.texture = unpack_argb(tex);
                if (s == 0) key = tex;
                bu = bv = F4(0.0f);
                // Each stage's result is held in 8 bits per channel.
                current = pack(run_stage(st, in));
                in.current = unpack_argb(current);
            }
            colour = current;
        }
    }
    if (ctx.colour_key) {
        mask &= movemask(cmpgt(alpha_byte(key), I4(127)));
        if (!mask) return;
    }

    if (ctx.specular) colour = adds_u8(colour, specular);
    if (ctx.fog) {
        // Fog factor in 8 bits; the alpha lanes weigh the colour fully.
        const I4 f = quantise(plane_at(t.p[kPlaneFog], dx, dy) * w);
        colour = narrow(lerp255(widen(colour), ctx.fog_colour, spread(f) | ctx.alpha_lanes));
    }
    if (ctx.alpha_test) {
        mask &= movemask(compare(ctx.alpha_func, alpha_byte(colour), I4(ctx.alpha_ref)));
        if (!mask) return;
    }
    if (ctx.blend) {
        const I4 d = read_target<T>(ctx, x, y, mask, inside);
        if (ctx.blend_over) {
            const W2 s = widen(colour);
            colour = narrow(lerp255(s, widen(d), alpha_of(s)));
        } else {
            colour = blend_general(ctx, colour, d);
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
    // Screen-space triangles often have one rhw for all three vertices: then
    // c + 0 dx + 0 dy is c exactly (c non-zero) and its reciprocal is taken once.
    const Plane& rhw = t.p[kPlaneRhw];
    TriangleConsts k;
    k.fixed_w = rhw.dx == 0.0f && rhw.dy == 0.0f && std::isnormal(rhw.c);
    k.w = F4(1.0f) / F4(rhw.c);
    if (t.is_flat) {
        k.diffuse = pack_argb(quantise(F4(t.flat[0])), quantise(F4(t.flat[1])), quantise(F4(t.flat[2])),
                              quantise(F4(t.flat[3])));
        k.specular = ctx.specular ? pack_argb(quantise(F4(t.flat[4])), quantise(F4(t.flat[5])),
                                              quantise(F4(t.flat[6])), I4(0))
                                  : I4(0);
        k.white = movemask(cmpeq(ctx.modulate_alpha ? k.diffuse : k.diffuse | I4(kAlphaMask), I4(-1))) == 15;
    }
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
                if (movemask(cover)) shade_group<T, D, K>(ctx, t, k, bx, by + j, cover);
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
