// The per-frame vertex build of a frame model: blend the two frames' points
// once per vertex, then copy one 32-byte record per triangle corner.
#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "models/md2/md2.h"
#include "runtime/errors.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tarko::md2 {
namespace {

// The two frames of the blend, or Subscript out of range.
std::pair<const Md2Frame*, const Md2Frame*> frames_of(const Md2Data& md2, const Blend& blend) {
    const auto in_table = [&](std::int64_t f) { return f >= 0 && static_cast<std::uint64_t>(f) < md2.Frames.size(); };
    if (!in_table(blend.Frame) || !in_table(blend.Next)) raise_error(err::SubscriptOutOfRange);
    return {&md2.Frames[static_cast<std::size_t>(blend.Frame)], &md2.Frames[static_cast<std::size_t>(blend.Next)]};
}

// Half a vertex record: position and the reserved word, or colour, specular, tu, tv.
struct alignas(16) Quad {
    std::uint32_t w[4];
};

struct Scratch {
    std::vector<Quad> points;  // blended x, y, z, 0 per vertex
    std::vector<Quad> attrs;   // colour, 0, tu, tv per texture coordinate
};

float lerp(float a, float b, double t) { return static_cast<float>((1.0 - t) * a + t * b); }

void blend_points(const D3DVECTOR* a, const D3DVECTOR* b, std::size_t n, float t, Quad* out) {
    std::size_t v = 0;
#if defined(__SSE2__)
    // Two Doubles a register: the same products and sums as lerp, so the same roundings.
    const __m128d tt = _mm_set1_pd(t), uu = _mm_set1_pd(1.0 - static_cast<double>(t));
    const __m128 xyz = _mm_castsi128_ps(_mm_set_epi32(0, -1, -1, -1));
    // Loads of four floats take the next vertex's x too, so the last vertex goes the plain way.
    for (; v + 1 < n; ++v) {
        const __m128 pa = _mm_loadu_ps(&a[v].x), pb = _mm_loadu_ps(&b[v].x);
        const __m128d lo = _mm_add_pd(_mm_mul_pd(uu, _mm_cvtps_pd(pa)), _mm_mul_pd(tt, _mm_cvtps_pd(pb)));
        const __m128d hi = _mm_add_pd(_mm_mul_pd(uu, _mm_cvtps_pd(_mm_movehl_ps(pa, pa))),
                                      _mm_mul_pd(tt, _mm_cvtps_pd(_mm_movehl_ps(pb, pb))));
        _mm_store_ps(reinterpret_cast<float*>(&out[v]), _mm_and_ps(_mm_movelh_ps(_mm_cvtpd_ps(lo), _mm_cvtpd_ps(hi)), xyz));
    }
#endif
    for (; v < n; ++v) {
        const float p[4] = {lerp(a[v].x, b[v].x, t), lerp(a[v].y, b[v].y, t), lerp(a[v].z, b[v].z, t), 0.0f};
        std::memcpy(&out[v], p, sizeof p);
    }
}

}  // namespace

void build_md2_vertices(const Md2Data& md2, const Blend& blend, std::int32_t colour, std::vector<D3DLVERTEX>& out) {
    const auto [fa, fb] = frames_of(md2, blend);
    const std::size_t n = std::min(fa->Points.size(), fb->Points.size());
    const std::size_t n_st = md2.StCoords.size();
    thread_local Scratch scratch;
    scratch.points.resize(n);
    scratch.attrs.resize(n_st);
    blend_points(fa->Points.data(), fb->Points.data(), n, blend.T, scratch.points.data());
    for (std::size_t s = 0; s < n_st; ++s) {
        Quad& q = scratch.attrs[s];
        q.w[0] = static_cast<std::uint32_t>(colour);
        q.w[1] = 0;
        std::memcpy(&q.w[2], &md2.StCoords[s].tu, 4);
        std::memcpy(&q.w[3], &md2.StCoords[s].tv, 4);
    }

    if (md2.VertexIndices.size() != md2.StIndices.size()) raise_error(err::SubscriptOutOfRange);
    const std::size_t corners = md2.VertexIndices.size();
    out.resize(corners);
    const std::int16_t* vi = md2.VertexIndices.data();
    const std::int16_t* si = md2.StIndices.data();
    const Quad* points = scratch.points.data();
    const Quad* attrs = scratch.attrs.data();
    auto* dst = reinterpret_cast<unsigned char*>(out.data());
    static_assert(sizeof(D3DLVERTEX) == 2 * sizeof(Quad));
    for (std::size_t c = 0; c < corners; ++c, dst += sizeof(D3DLVERTEX)) {
        // a negative Integer reads as a number above 32767, which no table reaches
        const auto v = static_cast<std::uint16_t>(vi[c]), s = static_cast<std::uint16_t>(si[c]);
        if ((v >= n) | (s >= n_st)) raise_error(err::SubscriptOutOfRange);
        std::memcpy(dst, &points[v], sizeof(Quad));
        std::memcpy(dst + sizeof(Quad), &attrs[s], sizeof(Quad));
    }
}

void build_md2_vertices_reference(const Md2Data& md2, const Blend& blend, std::int32_t colour,
                                  std::vector<D3DLVERTEX>& out) {
    const auto [fa, fb] = frames_of(md2, blend);
    if (md2.VertexIndices.size() != md2.StIndices.size()) raise_error(err::SubscriptOutOfRange);
    out.resize(md2.VertexIndices.size());
    for (std::size_t c = 0; c < out.size(); ++c) {
        const int v = md2.VertexIndices[c], s = md2.StIndices[c];
        if (v < 0 || static_cast<std::size_t>(v) >= fa->Points.size() || static_cast<std::size_t>(v) >= fb->Points.size() ||
            s < 0 || static_cast<std::size_t>(s) >= md2.StCoords.size())
            raise_error(err::SubscriptOutOfRange);
        const D3DVECTOR& a = fa->Points[static_cast<std::size_t>(v)];
        const D3DVECTOR& b = fb->Points[static_cast<std::size_t>(v)];
        const Md2StCoord& st = md2.StCoords[static_cast<std::size_t>(s)];
        D3DLVERTEX& o = out[c];
        o.x = lerp(a.x, b.x, blend.T);
        o.y = lerp(a.y, b.y, blend.T);
        o.z = lerp(a.z, b.z, blend.T);
        o.dvReserved = 0;
        o.color = colour;
        o.specular = 0;
        o.tu = st.tu;
        o.tv = st.tv;
    }
}

}  // namespace tarko::md2
