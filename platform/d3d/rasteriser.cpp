// Clears, primitive assembly, clipping, triangle set-up and tile binning.
#include "platform/d3d/rasteriser.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <thread>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "platform/constants.h"

namespace tarko::platform::d3d {

namespace {

// Screen coordinates stay within this many pixels of the viewport, so that
// edge functions in 1/16 pixel fit their integer types.
constexpr float kGuardPixels = 4096.0f;

float clip_distance(const ClipVertex& v, std::uint32_t plane, const GuardBand& g) {
    switch (plane) {
    case kClipLeft: return v.x - g.left * v.w;
    case kClipRight: return g.right * v.w - v.x;
    case kClipTop: return v.y - g.top * v.w;
    case kClipBottom: return g.bottom * v.w - v.y;
    case kClipNear: return v.z - g.minz * v.w;
    case kClipFar: return g.maxz * v.w - v.z;
    default: return v.w - 1e-7f;
    }
}

ClipVertex lerp_vertex(const ClipVertex& a, const ClipVertex& b, float t) {
    ClipVertex r;
    r.x = a.x + (b.x - a.x) * t;
    r.y = a.y + (b.y - a.y) * t;
    r.z = a.z + (b.z - a.z) * t;
    r.w = a.w + (b.w - a.w) * t;
    for (int i = 0; i < kAttrCount; ++i)
        r.a[static_cast<std::size_t>(i)] = a.a[static_cast<std::size_t>(i)] + (b.a[static_cast<std::size_t>(i)] - a.a[static_cast<std::size_t>(i)]) * t;
    r.rhw = 1.0f / r.w;
    r.sx = r.x * r.rhw;
    r.sy = r.y * r.rhw;
    r.sz = r.z * r.rhw;
    r.finite = std::isfinite(r.sx) && std::isfinite(r.sy) && std::isfinite(r.sz) && std::isfinite(r.rhw);
    r.outcode = 0;
    return r;
}

bool is_modulate_texture(const StageSetup& s) {
    auto plain = [](int a) { return a == dx::D3DTA_DIFFUSE || a == dx::D3DTA_CURRENT; };
    const bool colour = s.colour_op == dx::D3DTOP_MODULATE &&
                        ((s.colour_arg1 == dx::D3DTA_TEXTURE && plain(s.colour_arg2)) ||
                         (s.colour_arg2 == dx::D3DTA_TEXTURE && plain(s.colour_arg1)));
    const bool alpha = (s.alpha_op == dx::D3DTOP_SELECTARG1 && s.alpha_arg1 == dx::D3DTA_TEXTURE) ||
                       (s.alpha_op == dx::D3DTOP_MODULATE &&
                        ((s.alpha_arg1 == dx::D3DTA_TEXTURE && plain(s.alpha_arg2)) ||
                         (s.alpha_arg2 == dx::D3DTA_TEXTURE && plain(s.alpha_arg1))));
    return colour && alpha;
}

// A second stage that combines its texture with the first stage's colour by a
// symmetric operation and leaves the alpha as it is.
bool is_texture_on_current(const StageSetup& s) {
    const bool args = (s.colour_arg1 == dx::D3DTA_TEXTURE && s.colour_arg2 == dx::D3DTA_CURRENT) ||
                      (s.colour_arg2 == dx::D3DTA_TEXTURE && s.colour_arg1 == dx::D3DTA_CURRENT);
    const bool op = s.colour_op == dx::D3DTOP_MODULATE || s.colour_op == dx::D3DTOP_MODULATE2X ||
                    s.colour_op == dx::D3DTOP_MODULATE4X || s.colour_op == dx::D3DTOP_ADD;
    return args && op && s.alpha_op == dx::D3DTOP_DISABLE;
}

using Tris = std::vector<SetupTriangle>;

// lrint, inlined: the nearest integer, halves to even.
std::int64_t round_to_int(float v) {
#if defined(__x86_64__)
    return _mm_cvtss_si64(_mm_set_ss(v));
#else
    return std::lrint(v);
#endif
}

void setup(const SetupParams& sp, const ClipVertex& v0, const ClipVertex& v1, const ClipVertex& v2, int cull,
           const ClipVertex& provoking, Tris& out) {
    const ClipVertex* v[3] = {&v0, &v1, &v2};
    std::int64_t X[3], Y[3];
    for (int i = 0; i < 3; ++i) {
        // Clipping keeps vertices inside the guard band; anything beyond it
        // (rounding at the band's edge) is dropped rather than overflowing.
        const float sx = v[i]->sx, sy = v[i]->sy;
        if (!(std::fabs(sx) < 65536.0f && std::fabs(sy) < 65536.0f)) return;
        X[i] = round_to_int(sx * 16.0f);
        Y[i] = round_to_int(sy * 16.0f);
    }
    std::int64_t area = (X[1] - X[0]) * (Y[2] - Y[0]) - (X[2] - X[0]) * (Y[1] - Y[0]);
    if (area == 0) return;
    // Positive area is clockwise on screen (y down): the front under CULL_CCW.
    if ((cull == dx::D3DCULL_CCW && area < 0) || (cull == dx::D3DCULL_CW && area > 0)) return;
    if (area < 0) {
        std::swap(v[1], v[2]);
        std::swap(X[1], X[2]);
        std::swap(Y[1], Y[2]);
        area = -area;
    }

    const Scissor& sc = sp.scissor;
    const std::int64_t minX = std::min({X[0], X[1], X[2]}), maxX = std::max({X[0], X[1], X[2]});
    const std::int64_t minY = std::min({Y[0], Y[1], Y[2]}), maxY = std::max({Y[0], Y[1], Y[2]});
    const int minx = static_cast<int>(std::max<std::int64_t>((minX + 15) >> 4, sc.x0));
    const int maxx = static_cast<int>(std::min<std::int64_t>(maxX >> 4, sc.x1 - 1));
    const int miny = static_cast<int>(std::max<std::int64_t>((minY + 15) >> 4, sc.y0));
    const int maxy = static_cast<int>(std::min<std::int64_t>(maxY >> 4, sc.y1 - 1));
    if (minx > maxx || miny > maxy) return;

    SetupTriangle& t = out.emplace_back();
    t.minx = minx, t.maxx = maxx, t.miny = miny, t.maxy = maxy;

    for (int k = 0; k < 3; ++k) {
        const int a = k, b = (k + 1) % 3;
        const std::int64_t dx = X[b] - X[a], dy = Y[b] - Y[a];
        t.a[k] = static_cast<std::int32_t>(-dy);
        t.b[k] = static_cast<std::int32_t>(dx);
        t.c[k] = dy * X[a] - dx * Y[a];
        // Top-left rule: pixels on a top or left edge belong to the triangle,
        // pixels on the others do not. Exception: an edge lying exactly on the
        // viewport's last column or row keeps its pixels, so that a screen quad
        // from 0 to width-1 (as TL vertices give it) covers the whole screen.
        const bool top_left = dy < 0 || (dy == 0 && dx > 0);
        const bool last_column = dx == 0 && dy > 0 && X[a] == static_cast<std::int64_t>(sp.vp_right) * 16;
        const bool last_row = dy == 0 && dx < 0 && Y[a] == static_cast<std::int64_t>(sp.vp_bottom) * 16;
        if (!top_left && !last_column && !last_row) t.c[k] -= 1;
    }

    // Attribute planes from the snapped positions, in double for the set-up.
    const double x0 = static_cast<double>(X[0]) / 16, y0 = static_cast<double>(Y[0]) / 16;
    const double d1x = static_cast<double>(X[1] - X[0]) / 16, d1y = static_cast<double>(Y[1] - Y[0]) / 16;
    const double d2x = static_cast<double>(X[2] - X[0]) / 16, d2y = static_cast<double>(Y[2] - Y[0]) / 16;
    const double inv_area = 1.0 / (d1x * d2y - d2x * d1y);
    t.ref_x = static_cast<float>(x0);
    t.ref_y = static_cast<float>(y0);
    // A triangle whose vertices share their colours is drawn in that colour,
    // as a flat one is in its first vertex's: its colour planes go unread.
    const int src[7] = {kDiffR, kDiffG, kDiffB, kDiffA, kSpecR, kSpecG, kSpecB};
    const int compared = sp.specular ? 7 : 4;
    bool one_colour = true;
    for (int i = 0; i < compared && one_colour; ++i) {
        const auto a = static_cast<std::size_t>(src[i]);
        one_colour = v[0]->a[a] == v[1]->a[a] && v[0]->a[a] == v[2]->a[a];
    }
    t.is_flat = sp.flat || one_colour;
    if (t.is_flat) {
        const ClipVertex& from = sp.flat ? provoking : *v[0];
        for (int i = 0; i < 7; ++i) t.flat[i] = from.a[static_cast<std::size_t>(src[i])];
        t.flat[7] = 0;
    }

    // Each plane's values at the three vertices, divided by w. Planes the
    // pixels never read stay zero: texture coordinates without a texture,
    // colours of a one-coloured triangle, specular and fog while those are off.
    const double r[3] = {v[0]->rhw, v[1]->rhw, v[2]->rhw};
    bool used[kPlaneCount];
    for (int p = kPlaneU; p < kPlaneCount; ++p)
        used[p] = p <= kPlaneV    ? sp.textured
                  : p <= kPlaneA  ? !t.is_flat
                  : p <= kPlaneSB ? sp.specular && !t.is_flat
                                  : sp.fog;
    // c = f0, dx and dy from the differences across the two edges from
    // vertex 0; a plane of zeros comes out as zeros.
#if defined(__SSE2__)
    static_assert(kPlaneCount % 2 == 0 && sizeof(Plane) == 12);
    static_assert(kDiffR == 0 && kDiffG == 1 && kDiffB == 2 && kDiffA == 3 && kSpecR == 4 && kSpecG == 5 &&
                  kSpecB == 6 && kFog == 7 && kTexU == 8 && kTexV == 9);
    const __m128d D1x = _mm_set1_pd(d1x), D1y = _mm_set1_pd(d1y), D2x = _mm_set1_pd(d2x), D2y = _mm_set1_pd(d2y);
    const __m128d Inv = _mm_set1_pd(inv_area);
    const __m128d R[3] = {_mm_set1_pd(r[0]), _mm_set1_pd(r[1]), _mm_set1_pd(r[2])};
    // The pair of plane values that starts at attribute `attr` of vertex k.
    const auto values = [&](int k, int attr) {
        const float* a = v[k]->a.data() + attr;
        return _mm_mul_pd(_mm_cvtps_pd(_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(a)))), R[k]);
    };
    const auto pair = [&](int p, __m128d f0, __m128d f1, __m128d f2) {
        const __m128d df1 = _mm_sub_pd(f1, f0), df2 = _mm_sub_pd(f2, f0);
        const __m128d dx = _mm_mul_pd(_mm_sub_pd(_mm_mul_pd(df1, D2y), _mm_mul_pd(df2, D1y)), Inv);
        const __m128d dy = _mm_mul_pd(_mm_sub_pd(_mm_mul_pd(df2, D1x), _mm_mul_pd(df1, D2x)), Inv);
        const __m128 c = _mm_cvtpd_ps(f0), x = _mm_cvtpd_ps(dx), y = _mm_cvtpd_ps(dy);
        // c0 x0 y0 c1 | x1 y1: the two planes lie side by side.
        const __m128 cx = _mm_unpacklo_ps(c, x);  // c0 x0 c1 x1
        _mm_storeu_ps(&t.p[p].c, _mm_shuffle_ps(cx, _mm_unpacklo_ps(y, c), _MM_SHUFFLE(3, 0, 1, 0)));
        const __m128 xy = _mm_unpacklo_ps(x, y);  // x0 y0 x1 y1
        _mm_storel_pi(reinterpret_cast<__m64*>(&t.p[p + 1].dx), _mm_movehl_ps(xy, xy));
    };
    const auto zero_pair = [&t](int p) { t.p[p] = t.p[p + 1] = Plane{0, 0, 0}; };
    pair(kPlaneRhw, _mm_set_pd(v[0]->sz, r[0]), _mm_set_pd(v[1]->sz, r[1]), _mm_set_pd(v[2]->sz, r[2]));
    if (sp.textured) pair(kPlaneU, values(0, kTexU), values(1, kTexU), values(2, kTexU));
    else zero_pair(kPlaneU);
    if (!t.is_flat) {
        pair(kPlaneR, values(0, kDiffR), values(1, kDiffR), values(2, kDiffR));
        pair(kPlaneB, values(0, kDiffB), values(1, kDiffB), values(2, kDiffB));
    } else {
        zero_pair(kPlaneR), zero_pair(kPlaneB);
    }
    if (used[kPlaneSR]) pair(kPlaneSR, values(0, kSpecR), values(1, kSpecR), values(2, kSpecR));
    else zero_pair(kPlaneSR);
    if (used[kPlaneSB] || used[kPlaneFog]) {
        // Either half of the last pair may be unread: its values go in as zero.
        const __m128d keep = _mm_castsi128_pd(_mm_set_epi64x(used[kPlaneFog] ? -1 : 0, used[kPlaneSB] ? -1 : 0));
        pair(kPlaneSB, _mm_and_pd(values(0, kSpecB), keep), _mm_and_pd(values(1, kSpecB), keep),
             _mm_and_pd(values(2, kSpecB), keep));
    } else {
        zero_pair(kPlaneSB);
    }
#else
    static constexpr int kSource[kPlaneCount] = {-1, -1, kTexU, kTexV, kDiffR, kDiffG,
                                                 kDiffB, kDiffA, kSpecR, kSpecG, kSpecB, kFog};
    auto value = [&](int k, int p) -> double {
        if (p == kPlaneRhw) return r[k];
        if (p == kPlaneZ) return v[k]->sz;
        return used[p] ? v[k]->a[static_cast<std::size_t>(kSource[p])] * r[k] : 0.0;
    };
    for (int p = 0; p < kPlaneCount; ++p) {
        const double f0 = value(0, p), df1 = value(1, p) - f0, df2 = value(2, p) - f0;
        t.p[p] = Plane{static_cast<float>(f0), static_cast<float>((df1 * d2y - df2 * d1y) * inv_area),
                       static_cast<float>((df2 * d1x - df1 * d2x) * inv_area)};
    }
#endif
}

void point(const SetupParams& sp, const ClipVertex& v, Tris& out) {
    if (!v.finite || v.outcode) return;
    // A pixel-sized square around the nearest pixel centre.
    const float px = std::nearbyint(v.sx), py = std::nearbyint(v.sy);
    ClipVertex q[4] = {v, v, v, v};
    const float ox[4] = {-0.5f, 0.5f, 0.5f, -0.5f}, oy[4] = {-0.5f, -0.5f, 0.5f, 0.5f};
    for (int i = 0; i < 4; ++i) q[i].sx = px + ox[i], q[i].sy = py + oy[i];
    setup(sp, q[0], q[1], q[2], dx::D3DCULL_NONE, v, out);
    setup(sp, q[0], q[2], q[3], dx::D3DCULL_NONE, v, out);
}

void line(const SetupParams& sp, const ClipVertex& a, const ClipVertex& b, Tris& out) {
    if (!a.finite || !b.finite || a.outcode || b.outcode) return;
    // A one-pixel-wide quad along the major axis.
    const bool x_major = std::fabs(b.sx - a.sx) >= std::fabs(b.sy - a.sy);
    const float ox = x_major ? 0.0f : 0.5f, oy = x_major ? 0.5f : 0.0f;
    ClipVertex q[4] = {a, b, b, a};
    q[0].sx -= ox, q[0].sy -= oy;
    q[1].sx -= ox, q[1].sy -= oy;
    q[2].sx += ox, q[2].sy += oy;
    q[3].sx += ox, q[3].sy += oy;
    setup(sp, q[0], q[1], q[2], dx::D3DCULL_NONE, a, out);
    setup(sp, q[0], q[2], q[3], dx::D3DCULL_NONE, a, out);
}

void triangle(const SetupParams& sp, const ClipVertex* a, const ClipVertex* b, const ClipVertex* c, Tris& out) {
    const int cull = sp.cull;
    if (!a || !b || !c) return;
    if (!a->finite || !b->finite || !c->finite) return;
    if (a->outcode & b->outcode & c->outcode) return;
    if (sp.fill != dx::D3DFILL_SOLID) {
        if ((a->outcode | b->outcode | c->outcode) == 0 && cull != dx::D3DCULL_NONE) {
            const double area = (static_cast<double>(b->sx) - a->sx) * (static_cast<double>(c->sy) - a->sy) -
                                (static_cast<double>(c->sx) - a->sx) * (static_cast<double>(b->sy) - a->sy);
            if ((cull == dx::D3DCULL_CCW && area < 0) || (cull == dx::D3DCULL_CW && area > 0)) return;
        }
        if (sp.fill == dx::D3DFILL_POINT) {
            for (const ClipVertex* v : {a, b, c})
                if (v->outcode == 0) point(sp, *v, out);
        } else {
            line(sp, *a, *b, out);
            line(sp, *b, *c, out);
            line(sp, *c, *a, out);
        }
        return;
    }
    if ((a->outcode | b->outcode | c->outcode) == 0) {
        setup(sp, *a, *b, *c, cull, *a, out);
        return;
    }
    // Sutherland-Hodgman against each plane some vertex lies outside of.
    ClipVertex buf[2][16];
    int count = 3;
    buf[0][0] = *a, buf[0][1] = *b, buf[0][2] = *c;
    int cur = 0;
    const std::uint32_t planes = a->outcode | b->outcode | c->outcode;
    for (std::uint32_t plane : {kClipW, kClipNear, kClipFar, kClipLeft, kClipRight, kClipTop, kClipBottom}) {
        if (!(planes & plane)) continue;
        int out = 0;
        for (int i = 0; i < count && out < 14; ++i) {
            const ClipVertex& p = buf[cur][i];
            const ClipVertex& q = buf[cur][(i + 1) % count];
            const float dp = clip_distance(p, plane, sp.guard), dq = clip_distance(q, plane, sp.guard);
            if (dp >= 0) buf[1 - cur][out++] = p;
            if ((dp >= 0) != (dq >= 0)) buf[1 - cur][out++] = lerp_vertex(p, q, dp / (dp - dq));
        }
        cur = 1 - cur;
        count = out;
        if (count < 3) return;
    }
    for (int i = 1; i + 1 < count; ++i) {
        if (!buf[cur][0].finite || !buf[cur][i].finite || !buf[cur][i + 1].finite) continue;
        setup(sp, buf[cur][0], buf[cur][i], buf[cur][i + 1], cull, *a, out);
    }
}

}  // namespace

Rasteriser::Rasteriser(DirectDrawSurface7& target) : target_(target), pool_(std::make_unique<WorkerPool>(0)) {}

Rasteriser::~Rasteriser() {
    try {
        flush();
    } catch (...) {
        // A failing tile job has nobody left to report to.
    }
    target_.clear_pending_writer(this);
    if (auto z = hooked_zbuffer_.lock()) z->clear_pending_writer(this);
}

void Rasteriser::set_threads(int threads) {
    flush();
    if (threads <= 0) threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    if (threads != pool_->size()) pool_ = std::make_unique<WorkerPool>(threads);
}

void Rasteriser::clear(const DeviceState& state, std::span<const D3DRECT> rects, Long flags, std::uint32_t colour,
                       float z) {
    flush();
    const auto zbuffer = target_.zbuffer();
    const D3DVIEWPORT7& vp = state.viewport;
    const D3DRECT whole{vp.lX, vp.lY, vp.lX + vp.lWidth, vp.lY + vp.lHeight};
    const std::span<const D3DRECT> list = rects.empty() ? std::span<const D3DRECT>(&whole, 1) : rects;
    for (const D3DRECT& r : list) {
        // Rectangles are cut to the viewport and the surfaces.
        const int x0 = std::max({0, r.x1, vp.lX}), y0 = std::max({0, r.y1, vp.lY});
        if ((flags & dx::D3DCLEAR_TARGET) && target_.byte_size()) {
            const std::uint32_t raw = target_.format().from_argb(colour);
            const int x1 = std::min({target_.width(), r.x2, vp.lX + vp.lWidth});
            const int y1 = std::min({target_.height(), r.y2, vp.lY + vp.lHeight});
            // One row by pixel, the others copied from it.
            for (int x = x0; x < x1; ++x) target_.set_raw(x, y0, raw);
            const int bpp = target_.format().bytes_per_pixel();
            for (int y = y0 + 1; y < y1; ++y)
                std::memcpy(target_.pixels() + static_cast<std::size_t>(y) * target_.pitch() + static_cast<std::size_t>(x0) * bpp,
                            target_.pixels() + static_cast<std::size_t>(y0) * target_.pitch() + static_cast<std::size_t>(x0) * bpp,
                            static_cast<std::size_t>(std::max(0, x1 - x0) * bpp));
            target_.touch();
        }
        if ((flags & dx::D3DCLEAR_ZBUFFER) && zbuffer && zbuffer->byte_size()) {
            const int bits = zbuffer->format().bits();
            const float zc = std::isnan(z) ? 1.0f : std::clamp(z, 0.0f, 1.0f);
            std::uint32_t raw;
            if (bits <= 16) {
                raw = static_cast<std::uint32_t>(std::nearbyint(zc * 65535.0f));
            } else {
                raw = static_cast<std::uint32_t>(std::nearbyint(zc * 16777215.0f));
                if (bits >= 32) raw <<= 8;
            }
            const int x1 = std::min({zbuffer->width(), r.x2, vp.lX + vp.lWidth});
            const int y1 = std::min({zbuffer->height(), r.y2, vp.lY + vp.lHeight});
            for (int x = x0; x < x1; ++x) zbuffer->set_raw(x, y0, raw);
            const int bpp = zbuffer->format().bytes_per_pixel();
            for (int y = y0 + 1; y < y1; ++y)
                std::memcpy(zbuffer->pixels() + static_cast<std::size_t>(y) * zbuffer->pitch() + static_cast<std::size_t>(x0) * bpp,
                            zbuffer->pixels() + static_cast<std::size_t>(y0) * zbuffer->pitch() + static_cast<std::size_t>(x0) * bpp,
                            static_cast<std::size_t>(std::max(0, x1 - x0) * bpp));
            zbuffer->touch();
        }
    }
}

bool Rasteriser::build_context(const DeviceState& s, Long fvf, QueuedDraw& q) {
    auto rs = [&s](int i) { return s.render[static_cast<std::size_t>(i)]; };
    DrawContext& ctx = q.ctx;
    ctx = DrawContext{};
    if (!target_.byte_size() || target_.width() <= 0 || target_.height() <= 0) return false;

    const PixelFormat& fmt = target_.format();
    static const PixelFormat r5g6b5 = PixelFormat::r5g6b5(), x8r8g8b8 = PixelFormat::x8r8g8b8(),
                             a8r8g8b8 = PixelFormat::a8r8g8b8();
    TargetKind target = TargetKind::Other;
    if (fmt == r5g6b5) target = TargetKind::R5G6B5;
    else if (fmt == x8r8g8b8 || fmt == a8r8g8b8) target = TargetKind::X8R8G8B8;
    ctx.colour = target_.pixels();
    ctx.colour_pitch = target_.pitch();
    ctx.colour_format = &target_.format();
    ctx.colour_has_alpha = fmt.has_alpha();

    const D3DVIEWPORT7& vp = s.viewport;
    // Kept in a local until done, so nothing reads back the context's words as it writes them.
    Scissor scissor;
    scissor.x0 = std::max(0, vp.lX);
    scissor.y0 = std::max(0, vp.lY);
    scissor.x1 = std::min(target_.width(), vp.lX + std::max(0, vp.lWidth));
    scissor.y1 = std::min(target_.height(), vp.lY + std::max(0, vp.lHeight));

    DepthKind depth = DepthKind::None;
    q.zbuffer = rs(dx::D3DRENDERSTATE_ZENABLE) != 0 ? target_.zbuffer() : nullptr;
    const auto& zbuffer = q.zbuffer;
    if (zbuffer && !zbuffer->byte_size()) q.zbuffer.reset();
    if (zbuffer) {
        ctx.depth = zbuffer->pixels();
        ctx.depth_pitch = zbuffer->pitch();
        scissor.x1 = std::min(scissor.x1, zbuffer->width());
        scissor.y1 = std::min(scissor.y1, zbuffer->height());
        if (zbuffer->format().bits() <= 16) {
            depth = DepthKind::Z16;
            ctx.depth_scale = 65535.0f;
        } else {
            depth = DepthKind::Z32;
            ctx.depth_scale = 16777215.0f;
            ctx.depth_shift = zbuffer->format().bits() >= 32 ? 8 : 0;
        }
        ctx.z_test = true;
        ctx.z_func = rs(dx::D3DRENDERSTATE_ZFUNC);
        ctx.z_write = rs(dx::D3DRENDERSTATE_ZWRITEENABLE) != 0;
    }
    if (scissor.x0 >= scissor.x1 || scissor.y0 >= scissor.y1) return false;
    ctx.scissor = scissor;

    ctx.colour_key = rs(dx::D3DRENDERSTATE_COLORKEYENABLE) != 0;
    bool any_key = false;
    for (int i = 0; i < Direct3DDevice7::kMaxStages; ++i) {
        const auto& st = s.stage[static_cast<std::size_t>(i)];
        const int op = st[dx::D3DTSS_COLOROP];
        if (op <= dx::D3DTOP_DISABLE) break;
        StageSetup& out = ctx.stages[static_cast<std::size_t>(i)];
        out.colour_op = op;
        out.colour_arg1 = st[dx::D3DTSS_COLORARG1];
        out.colour_arg2 = st[dx::D3DTSS_COLORARG2];
        out.alpha_op = st[dx::D3DTSS_ALPHAOP];
        out.alpha_arg1 = st[dx::D3DTSS_ALPHAARG1];
        out.alpha_arg2 = st[dx::D3DTSS_ALPHAARG2];
        out.bilinear = st[dx::D3DTSS_MAGFILTER] >= dx::D3DTFG_LINEAR || st[dx::D3DTSS_MINFILTER] >= dx::D3DTFN_LINEAR;
        for (int k = 0; k < 4; ++k) out.bump[k] = static_cast<float>(st[static_cast<std::size_t>(dx::D3DTSS_BUMPENVMAT00 + k)]);
        const auto& surface = s.textures[static_cast<std::size_t>(i)];
        if (surface) {
            out.texture = textures_.get(surface.shared(), ctx.colour_key).get();
            if (i == 0 && surface->has_color_key()) any_key = true;
        }
        auto reads_texture = [](int arg) { return (arg & 0xF) == dx::D3DTA_TEXTURE; };
        if (reads_texture(out.colour_arg1) || reads_texture(out.colour_arg2) || reads_texture(out.alpha_arg1) ||
            reads_texture(out.alpha_arg2) || op == dx::D3DTOP_BUMPENVMAP)
            ctx.textured = true;
        ctx.stage_count = i + 1;
    }
    ctx.colour_key = ctx.colour_key && any_key;
    CascadeKind cascade = CascadeKind::Generic;
    if (ctx.stage_count == 0) cascade = CascadeKind::Diffuse;
    else if (!fast_paths_) cascade = CascadeKind::Generic;
    else if (ctx.stage_count == 1 && is_modulate_texture(ctx.stages[0])) cascade = CascadeKind::ModulateTexture;
    else if (ctx.stage_count == 2 && is_modulate_texture(ctx.stages[0]) && is_texture_on_current(ctx.stages[1]))
        cascade = CascadeKind::TextureTwice;

    ctx.alpha_test = rs(dx::D3DRENDERSTATE_ALPHATESTENABLE) != 0;
    ctx.alpha_func = rs(dx::D3DRENDERSTATE_ALPHAFUNC);
    ctx.alpha_ref = std::clamp<Long>(rs(dx::D3DRENDERSTATE_ALPHAREF), 0, 255);
    // Worked out from the states, not read back from the context just written.
    const int src_blend = rs(dx::D3DRENDERSTATE_SRCBLEND), dest_blend = rs(dx::D3DRENDERSTATE_DESTBLEND);
    ctx.blend = rs(dx::D3DRENDERSTATE_ALPHABLENDENABLE) != 0 &&
                !(src_blend == dx::D3DBLEND_ONE && dest_blend == dx::D3DBLEND_ZERO);
    ctx.src_blend = src_blend;
    ctx.dest_blend = dest_blend;
    ctx.blend_over = fast_paths_ && src_blend == dx::D3DBLEND_SRCALPHA && dest_blend == dx::D3DBLEND_INVSRCALPHA;
    const int fog_mode = rs(dx::D3DRENDERSTATE_FOGTABLEMODE) != 0 ? rs(dx::D3DRENDERSTATE_FOGTABLEMODE)
                                                                : rs(dx::D3DRENDERSTATE_FOGVERTEXMODE);
    ctx.fog = rs(dx::D3DRENDERSTATE_FOGENABLE) != 0 && fvf != dx::D3DFVF_TLVERTEX && fog_mode >= dx::D3DFOG_EXP &&
              fog_mode <= dx::D3DFOG_LINEAR;
    ctx.fog_colour = static_cast<std::uint32_t>(rs(dx::D3DRENDERSTATE_FOGCOLOR));
    ctx.specular = rs(dx::D3DRENDERSTATE_SPECULARENABLE) != 0;
    ctx.tfactor = static_cast<std::uint32_t>(rs(dx::D3DRENDERSTATE_TEXTUREFACTOR));
    ctx.modulate_alpha = ctx.stage_count > 0 && ctx.stages[0].alpha_op == dx::D3DTOP_MODULATE;
    ctx.raster = select_raster(target, depth, cascade, routines_);

    SetupParams& sp = q.params;
    sp.flat = rs(dx::D3DRENDERSTATE_SHADEMODE) == dx::D3DSHADE_FLAT;
    sp.fill = rs(dx::D3DRENDERSTATE_FILLMODE);
    if (sp.fill != dx::D3DFILL_POINT && sp.fill != dx::D3DFILL_WIREFRAME) sp.fill = dx::D3DFILL_SOLID;
    const Long cull_mode = rs(dx::D3DRENDERSTATE_CULLMODE);
    sp.cull = (cull_mode == dx::D3DCULL_CW || cull_mode == dx::D3DCULL_CCW) ? cull_mode : dx::D3DCULL_NONE;
    sp.scissor = scissor;
    sp.specular = ctx.specular;
    sp.fog = ctx.fog;
    sp.textured = ctx.textured;
    sp.guard.left = static_cast<float>(vp.lX) - kGuardPixels;
    sp.guard.top = static_cast<float>(vp.lY) - kGuardPixels;
    sp.guard.right = static_cast<float>(vp.lX + vp.lWidth) + kGuardPixels;
    sp.guard.bottom = static_cast<float>(vp.lY + vp.lHeight) + kGuardPixels;
    sp.guard.minz = vp.minz;
    sp.guard.maxz = vp.maxz;
    sp.guard.clip_z = fvf != dx::D3DFVF_TLVERTEX;
    sp.vp_right = scissor.x1 - 1;
    sp.vp_bottom = scissor.y1 - 1;
    return true;
}

namespace {

// Split draws are transformed in chunks of this many vertices and set up in
// parts of this many primitives.
constexpr std::size_t kTransformChunk = 1024;
constexpr std::size_t kSetupPart = 2048;

std::size_t primitive_count(Long type, std::size_t n) {
    switch (type) {
    case dx::D3DPT_POINTLIST: return n;
    case dx::D3DPT_LINELIST: return n / 2;
    case dx::D3DPT_LINESTRIP: return n >= 2 ? n - 1 : 0;
    case dx::D3DPT_TRIANGLELIST: return n / 3;
    case dx::D3DPT_TRIANGLESTRIP:
    case dx::D3DPT_TRIANGLEFAN: return n >= 3 ? n - 2 : 0;
    default: return 0;
    }
}

}  // namespace

void Rasteriser::draw(const DeviceState& state, Long primitive_type, Long fvf, std::span<const std::byte> vertices,
                      std::size_t vertex_count, std::span<const Integer> indices) {
    vertex_count = std::min(vertex_count, vertices.size() / 32);
    if (vertex_count == 0) return;
    // Only a flush that settles everything can come on the way, and it keeps
    // the current batch.
    Batch& b = batches_[current_];
    if (b.queued == b.queue.size()) b.queue.push_back(std::make_unique<QueuedDraw>());
    // The draw is made in the first free slot. Reading a texture or letting a
    // z-buffer go may land the batch on the way, freeing the slots before it:
    // then the draw moves down to the first.
    std::size_t slot = b.queued;
    QueuedDraw& q = *b.queue[slot];
    auto keep_first_free = [&] {
        if (slot != b.queued) std::swap(b.queue[slot], b.queue[b.queued]), slot = b.queued;
    };
    const bool drawable = build_context(state, fvf, q);
    keep_first_free();
    if (!drawable) {
        q.zbuffer.reset();
        return;
    }
    q.params.primitive = primitive_type;
    q.primitives = primitive_count(primitive_type, indices.empty() ? vertex_count : indices.size());
    if (q.primitives == 0) {
        q.zbuffer.reset();
        return;
    }
    settle_hooks(q);
    keep_first_free();
    q.stage.set(state, fvf, q.params.guard, state.viewport);
    q.vertices.assign(vertices.begin(), vertices.begin() + static_cast<std::ptrdiff_t>(vertex_count * 32));
    q.vertex_count = vertex_count;
    q.indices.assign(indices.begin(), indices.end());
    ++b.queued;
    b.primitives += q.primitives;
    b.vertices += vertex_count;
    if (!batching_) {
        flush();
    } else if (b.primitives >= kBatchPrimitives || b.vertices >= kBatchVertices || b.queued >= kBatchDraws) {
        // A full batch goes to the workers while the next one gathers.
        if (flushing_ || pool_->size() == 1) {
            flush();
        } else {
            flushing_ = true;
            try {
                finish_started();
                start_batch(b);
            } catch (...) {
                flushing_ = false;
                clear_batch(b);
                throw;
            }
            flushing_ = false;
        }
    }
}

// Primitives [from, to) of a draw, from its transformed vertices, in order.
void Rasteriser::assemble(const QueuedDraw& q, const ClipVertex* verts, std::size_t from, std::size_t to, Tris& out) {
    const SetupParams& sp = q.params;
    const bool indexed = !q.indices.empty();
    auto at = [&](std::size_t i) -> const ClipVertex* {
        if (!indexed) return &verts[i];
        const int idx = q.indices[i];
        if (idx < 0 || static_cast<std::size_t>(idx) >= q.vertex_count) return nullptr;  // rejected, never read
        return &verts[static_cast<std::size_t>(idx)];
    };
    switch (sp.primitive) {
    case dx::D3DPT_POINTLIST:
        for (std::size_t i = from; i < to; ++i)
            if (const auto* v = at(i)) point(sp, *v, out);
        break;
    case dx::D3DPT_LINELIST:
    case dx::D3DPT_LINESTRIP: {
        const std::size_t step = sp.primitive == dx::D3DPT_LINELIST ? 2 : 1;
        for (std::size_t i = from; i < to; ++i) {
            const auto *a = at(i * step), *b = at(i * step + 1);
            if (a && b) line(sp, *a, *b, out);
        }
        break;
    }
    case dx::D3DPT_TRIANGLELIST:
        for (std::size_t i = from; i < to; ++i) triangle(sp, at(3 * i), at(3 * i + 1), at(3 * i + 2), out);
        break;
    case dx::D3DPT_TRIANGLESTRIP:
        // Odd triangles swap their last two vertices to keep the winding; the
        // first vertex stays the one flat shading takes.
        for (std::size_t i = from; i < to; ++i)
            triangle(sp, at(i), at(i + (i & 1 ? 2 : 1)), at(i + (i & 1 ? 1 : 2)), out);
        break;
    case dx::D3DPT_TRIANGLEFAN:
        for (std::size_t i = from; i < to; ++i) triangle(sp, at(i + 1), at(i + 2), at(0), out);
        break;
    default: break;
    }
}

// The draw being made joins the batch. Nothing it reads can change under it
// then: state and vertices are copies, textures are converted copies, and
// whatever touches the target or the z-buffer settles the batch first.
void Rasteriser::settle_hooks(QueuedDraw& q) {
    // The target's and z-buffer's generations move now, so a texture cache
    // looks at them again and, reading them, settles the batch.
    target_.touch();
    const auto& zbuffer = q.zbuffer;  // the one the draw writes, if any
    if (zbuffer && q.ctx.z_write) zbuffer->touch();
    // The surfaces this batch writes settle it; another device on the same
    // target takes the hook over only after settling this one.
    if (target_.pending_writer() != this) target_.set_pending_writer(this, [this] { flush(); });
    if (zbuffer && (zbuffer.get() != hooked_zbuffer_.lock().get() || zbuffer->pending_writer() != this)) {
        flush();  // draws before may write the z-buffer that is let go
        if (auto old = hooked_zbuffer_.lock()) old->clear_pending_writer(this);
        zbuffer->set_pending_writer(this, [this] { flush(); });
        hooked_zbuffer_ = zbuffer;
    }
}

// Shares the batch out: large draws alone in parts, the others in runs of
// about equal work, a few runs a thread so that uneven runs even out.
void Rasteriser::plan_jobs(Batch& b) {
    tiles_x_ = (target_.width() + kTileSize - 1) / kTileSize;
    tiles_y_ = (target_.height() + kTileSize - 1) / kTileSize;
    std::size_t work = 0;
    for (std::size_t d = 0; d < b.queued; ++d) {
        QueuedDraw& q = *b.queue[d];
        q.split = q.vertex_count >= 2 * kTransformChunk || q.primitives >= 2 * kSetupPart;
        if (!q.split) work += q.vertex_count + q.primitives;
    }
    const std::size_t per_job = std::max<std::size_t>(512, work / (4 * static_cast<std::size_t>(pool_->size())));
    b.job_count = 0;
    b.transforms.clear();
    auto next_job = [&b]() -> SetupJob& {
        if (b.job_count == b.jobs.size()) b.jobs.emplace_back();
        SetupJob& job = b.jobs[b.job_count++];
        job.tris.clear();
        job.ends.clear();
        return job;
    };
    SetupJob* run = nullptr;
    std::size_t run_work = 0;
    for (std::size_t d = 0; d < b.queued; ++d) {
        QueuedDraw& q = *b.queue[d];
        if (q.split) {
            run = nullptr;
            q.verts.resize(q.vertex_count);
            for (std::size_t v = 0; v < q.vertex_count; v += kTransformChunk) b.transforms.emplace_back(d, v);
            for (std::size_t p = 0; p < q.primitives; p += kSetupPart) {
                SetupJob& job = next_job();
                job.first = d, job.last = d + 1, job.part = true;
                job.from = p, job.to = std::min(q.primitives, p + kSetupPart);
            }
            continue;
        }
        if (!run || run_work >= per_job) {
            run = &next_job();
            run->first = d, run->part = false;
            run_work = 0;
        }
        run->last = d + 1;
        run_work += q.vertex_count + q.primitives;
    }
}

void Rasteriser::transform(Batch& b, std::size_t chunk) {
    const auto [d, first] = b.transforms[chunk];
    QueuedDraw& q = *b.queue[d];
    q.stage.run(q.vertices.data(), first, std::min(kTransformChunk, q.vertex_count - first), q.verts.data() + first);
}

void Rasteriser::run_job(Batch& b, SetupJob& job) {
    if (job.part) {
        const QueuedDraw& q = *b.queue[job.first];
        assemble(q, q.verts.data(), job.from, job.to, job.tris);
        job.ends.push_back(job.tris.size());
    } else {
        for (std::size_t d = job.first; d < job.last; ++d) {
            const QueuedDraw& q = *b.queue[d];
            if (job.scratch.size() < q.vertex_count) job.scratch.resize(q.vertex_count);
            q.stage.run(q.vertices.data(), 0, q.vertex_count, job.scratch.data());
            assemble(q, job.scratch.data(), 0, q.primitives, job.tris);
            job.ends.push_back(job.tris.size());
        }
    }
    bin(b, job);
}

void Rasteriser::bin(Batch& b, SetupJob& job) {
    const std::size_t tiles = static_cast<std::size_t>(tiles_x_) * static_cast<std::size_t>(tiles_y_);
    if (job.bins.size() < tiles) job.bins.resize(tiles);
    const int shift = 6;  // kTileSize == 64
    std::size_t begin = 0;
    for (std::size_t k = 0; k < job.ends.size(); ++k) {
        const DrawContext* ctx = &b.queue[job.first + (job.part ? 0 : k)]->ctx;
        for (std::size_t i = begin; i < job.ends[k]; ++i) {
            const SetupTriangle& t = job.tris[i];
            for (int ty = t.miny >> shift; ty <= t.maxy >> shift; ++ty)
                for (int tx = t.minx >> shift; tx <= t.maxx >> shift; ++tx) {
                    auto& bin = job.bins[static_cast<std::size_t>(ty) * tiles_x_ + tx];
                    if (bin.empty()) job.busy.push_back(ty * tiles_x_ + tx);
                    bin.push_back(BinEntry{&t, ctx});
                }
        }
        begin = job.ends[k];
    }
}

// A tile is drawn by one thread, its triangles in submission order.
void Rasteriser::draw_tile(Batch& b, int tile) {
    const int tx0 = (tile % tiles_x_) * kTileSize, ty0 = (tile / tiles_x_) * kTileSize;
    for (std::size_t j = 0; j < b.job_count; ++j) {
        const auto& bins = b.jobs[j].bins;
        if (static_cast<std::size_t>(tile) >= bins.size()) continue;
        for (const BinEntry& e : bins[static_cast<std::size_t>(tile)])
            e.ctx->raster(*e.ctx, *e.tri, tx0, ty0, tx0 + kTileSize, ty0 + kTileSize);
    }
}

// The batch drawn now, with the caller working too: transforms, then set-up
// runs, then the tiles the runs touched.
void Rasteriser::draw_batch(Batch& b) {
    plan_jobs(b);
    // Little work is not worth waking the workers for.
    const bool inline_work = b.vertices + b.primitives < 256;
    auto run = [&](std::size_t jobs, const std::function<void(int)>& fn) {
        if (inline_work) {
            for (std::size_t j = 0; j < jobs; ++j) fn(static_cast<int>(j));
        } else {
            pool_->run(static_cast<int>(jobs), fn);
        }
    };
    run(b.transforms.size(), [&](int c) { transform(b, static_cast<std::size_t>(c)); });
    run(b.job_count, [&](int j) { run_job(b, b.jobs[static_cast<std::size_t>(j)]); });
    b.tile_busy.resize(static_cast<std::size_t>(tiles_x_) * static_cast<std::size_t>(tiles_y_));
    for (std::size_t j = 0; j < b.job_count; ++j)
        for (int t : b.jobs[j].busy)
            if (!b.tile_busy[static_cast<std::size_t>(t)]) {
                b.tile_busy[static_cast<std::size_t>(t)] = 1;
                b.busy_tiles.push_back(t);
            }
    run(b.busy_tiles.size(), [&](int job) { draw_tile(b, b.busy_tiles[static_cast<std::size_t>(job)]); });
}

// The batch goes to the workers alone as one list of jobs: transforms, set-up
// runs, then every tile. Jobs are taken in order, so a run waits only for
// transforms already taken and a tile for runs already taken.
void Rasteriser::start_batch(Batch& b) {
    plan_jobs(b);
    b.transformed.store(0, std::memory_order_relaxed);
    b.set_up.store(0, std::memory_order_relaxed);
    const std::size_t transforms = b.transforms.size(), runs = b.job_count;
    const std::size_t tiles = static_cast<std::size_t>(tiles_x_) * static_cast<std::size_t>(tiles_y_);
    auto wait_for = [](const std::atomic<std::size_t>& done, std::size_t count) {
        while (done.load(std::memory_order_acquire) < count) std::this_thread::yield();
    };
    // Counted even when a job fails, so that the jobs after it never wait in vain.
    struct Count {
        std::atomic<std::size_t>& done;
        ~Count() { done.fetch_add(1, std::memory_order_release); }
    };
    pool_->start(static_cast<int>(transforms + runs + tiles), [this, &b, transforms, runs, wait_for](int job) {
        auto j = static_cast<std::size_t>(job);
        if (j < transforms) {
            const Count count{b.transformed};
            transform(b, j);
            return;
        }
        j -= transforms;
        if (j < runs) {
            const Count count{b.set_up};
            wait_for(b.transformed, transforms);
            run_job(b, b.jobs[j]);
            return;
        }
        wait_for(b.set_up, runs);
        draw_tile(b, static_cast<int>(j - runs));
    });
    current_ = 1 - current_;
}

// The batch with the workers lands, the caller helping.
void Rasteriser::finish_started() {
    if (!pool_->started()) return;
    Batch& b = batches_[1 - current_];
    try {
        pool_->finish();
    } catch (...) {
        clear_batch(b);
        throw;
    }
    clear_batch(b);
}

void Rasteriser::clear_batch(Batch& b) {
    for (std::size_t j = 0; j < b.job_count; ++j) {
        SetupJob& job = b.jobs[j];
        for (int t : job.busy) job.bins[static_cast<std::size_t>(t)].clear();
        job.busy.clear();
        job.tris.clear();
    }
    b.job_count = 0;
    for (int t : b.busy_tiles) b.tile_busy[static_cast<std::size_t>(t)] = 0;
    b.busy_tiles.clear();
    for (std::size_t i = 0; i < b.queued; ++i) b.queue[i]->zbuffer.reset();
    b.queued = 0;
    b.primitives = 0;
    b.vertices = 0;
}

void Rasteriser::flush() {
    if (flushing_) return;
    Batch& b = batches_[current_];
    if (!pool_->started() && b.queued == 0) return;
    flushing_ = true;
    std::exception_ptr error;
    try {
        finish_started();
    } catch (...) {
        error = std::current_exception();
    }
    try {
        if (b.queued) draw_batch(b);
    } catch (...) {
        if (!error) error = std::current_exception();
    }
    clear_batch(b);
    textures_.release_retired();  // no batch is left
    flushing_ = false;
    if (error) std::rethrow_exception(error);
}

void Rasteriser::set_batching(bool on) {
    flush();
    batching_ = on;
}

}  // namespace tarko::platform::d3d
