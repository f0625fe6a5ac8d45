// Vertex stage: world x view x projection, lighting in camera space, vertex
// fog, and the step to homogeneous screen space.
#include <algorithm>
#include <cmath>
#include <cstring>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "platform/constants.h"
#include "platform/d3d/pipeline.h"

namespace tarko::platform::d3d {

namespace {

void mul44(float out[4][4], const D3DMATRIX& a, const D3DMATRIX& b) {
    for (int i = 1; i <= 4; ++i)
        for (int j = 1; j <= 4; ++j) {
            double s = 0;
            for (int k = 1; k <= 4; ++k) s += static_cast<double>(a.at(i, k)) * b.at(k, j);
            out[i - 1][j - 1] = static_cast<float>(s);
        }
}

D3DMATRIX to_matrix(const float m[4][4]) {
    D3DMATRIX r;
    for (int i = 1; i <= 4; ++i)
        for (int j = 1; j <= 4; ++j) r.at(i, j) = m[i - 1][j - 1];
    return r;
}

void colour_of(std::int32_t argb, float out[4]) {
    const auto c = static_cast<std::uint32_t>(argb);
    out[0] = static_cast<float>((c >> 16) & 255u) * (1.0f / 255.0f);
    out[1] = static_cast<float>((c >> 8) & 255u) * (1.0f / 255.0f);
    out[2] = static_cast<float>(c & 255u) * (1.0f / 255.0f);
    out[3] = static_cast<float>(c >> 24) * (1.0f / 255.0f);
}

// Diffuse and specular bytes as 0..1, red first; the same values colour_of gives.
void colours_of(std::int32_t diffuse, std::int32_t specular, float out[8]) {
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128 scale = _mm_set1_ps(1.0f / 255.0f);
    auto four = [&](std::int32_t argb) {
        const __m128i bytes = _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(argb), zero), zero);
        const __m128 bgra = _mm_mul_ps(_mm_cvtepi32_ps(bytes), scale);
        return _mm_shuffle_ps(bgra, bgra, _MM_SHUFFLE(3, 0, 1, 2));
    };
    _mm_storeu_ps(out, four(diffuse));
    _mm_storeu_ps(out + 4, four(specular));
#else
    colour_of(diffuse, out);
    colour_of(specular, out + 4);
#endif
}

float dot3(const float a[3], const float b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

void normalize3(float v[3]) {
    const float len2 = dot3(v, v);
    if (len2 > 0 && std::isfinite(len2)) {
        const float inv = 1.0f / std::sqrt(len2);
        v[0] *= inv;
        v[1] *= inv;
        v[2] *= inv;
    } else {
        v[0] = v[1] = v[2] = 0;
    }
}

float clamp01f(float v) { return v > 0 ? (v < 1 ? v : 1) : 0; }  // NaN -> 0

}  // namespace

VertexStage::VertexStage(const DeviceState& s, Long fvf, const GuardBand& guard, const D3DVIEWPORT7& vp) {
    set(s, fvf, guard, vp);
}

void VertexStage::set(const DeviceState& s, Long fvf, const GuardBand& guard, const D3DVIEWPORT7& vp) {
    fvf_ = fvf;
    guard_ = guard;
    lights_.clear();
    set_matrices(s);
    set_viewport_and_state(s, vp);
}

// Screen-space vertices read none of the matrices: a draw of them skips this.
void VertexStage::set_matrices(const DeviceState& s) {
    if (fvf_ == dx::D3DFVF_TLVERTEX) return;
    mul44(wv_, s.world, s.view);
    const D3DMATRIX wv = to_matrix(wv_);
    mul44(wvp_, wv, s.projection);

    // Normals go through the inverse transpose of the upper 3x3 of world x view;
    // the cofactor matrix is that up to a scale, and normals are normalised.
    const float(&m)[4][4] = wv_;
    normal_m_[0][0] = m[1][1] * m[2][2] - m[1][2] * m[2][1];
    normal_m_[0][1] = m[1][2] * m[2][0] - m[1][0] * m[2][2];
    normal_m_[0][2] = m[1][0] * m[2][1] - m[1][1] * m[2][0];
    normal_m_[1][0] = m[0][2] * m[2][1] - m[0][1] * m[2][2];
    normal_m_[1][1] = m[0][0] * m[2][2] - m[0][2] * m[2][0];
    normal_m_[1][2] = m[0][1] * m[2][0] - m[0][0] * m[2][1];
    normal_m_[2][0] = m[0][1] * m[1][2] - m[0][2] * m[1][1];
    normal_m_[2][1] = m[0][2] * m[1][0] - m[0][0] * m[1][2];
    normal_m_[2][2] = m[0][0] * m[1][1] - m[0][1] * m[1][0];
    const float det = m[0][0] * normal_m_[0][0] + m[0][1] * normal_m_[0][1] + m[0][2] * normal_m_[0][2];
    if (det < 0)  // a mirroring transform: keep normals pointing outwards
        for (auto& row : normal_m_)
            for (float& v : row) v = -v;
}

void VertexStage::set_viewport_and_state(const DeviceState& s, const D3DVIEWPORT7& vp) {
    const Long fvf = fvf_;
    vp_x_ = static_cast<float>(vp.lX);
    vp_y_ = static_cast<float>(vp.lY);
    vp_hw_ = static_cast<float>(vp.lWidth) * 0.5f;
    vp_hh_ = static_cast<float>(vp.lHeight) * 0.5f;
    vp_minz_ = vp.minz;
    vp_dz_ = vp.maxz - vp.minz;

    auto rs = [&s](int i) { return s.render[static_cast<std::size_t>(i)]; };
    lighting_ = rs(dx::D3DRENDERSTATE_LIGHTING) != 0 && fvf != dx::D3DFVF_TLVERTEX;
    specular_ = rs(dx::D3DRENDERSTATE_SPECULARENABLE) != 0;
    fog_mode_ = rs(dx::D3DRENDERSTATE_FOGTABLEMODE) != dx::D3DFOG_NONE ? rs(dx::D3DRENDERSTATE_FOGTABLEMODE)
                                                                      : rs(dx::D3DRENDERSTATE_FOGVERTEXMODE);
    fog_ = rs(dx::D3DRENDERSTATE_FOGENABLE) != 0 && fvf != dx::D3DFVF_TLVERTEX && fog_mode_ >= dx::D3DFOG_EXP &&
           fog_mode_ <= dx::D3DFOG_LINEAR;
    fog_start_ = s.render_single(dx::D3DRENDERSTATE_FOGSTART);
    fog_end_ = s.render_single(dx::D3DRENDERSTATE_FOGEND);
    fog_density_ = s.render_single(dx::D3DRENDERSTATE_FOGDENSITY);
    float amb[4];
    colour_of(rs(dx::D3DRENDERSTATE_AMBIENT), amb);
    std::copy(amb, amb + 3, global_ambient_);
    mat_ = s.material;

    if (!lighting_) return;
    for (const auto& [index, slot] : s.lights) {
        if (!slot.enabled) continue;
        const D3DLIGHT7& l = slot.light;
        if (l.dltType < D3DLIGHT_POINT || l.dltType > D3DLIGHT_DIRECTIONAL) continue;
        Light o{};
        o.type = l.dltType;
        const float p[4] = {l.position.x, l.position.y, l.position.z, 1};
        const float d[3] = {l.direction.x, l.direction.y, l.direction.z};
        for (int j = 0; j < 3; ++j) {
            o.pos[j] = p[0] * s.view.at(1, j + 1) + p[1] * s.view.at(2, j + 1) + p[2] * s.view.at(3, j + 1) +
                       s.view.at(4, j + 1);
            o.dir[j] = d[0] * s.view.at(1, j + 1) + d[1] * s.view.at(2, j + 1) + d[2] * s.view.at(3, j + 1);
        }
        normalize3(o.dir);
        o.ambient[0] = l.ambient.r, o.ambient[1] = l.ambient.g, o.ambient[2] = l.ambient.b;
        o.diffuse[0] = l.diffuse.r, o.diffuse[1] = l.diffuse.g, o.diffuse[2] = l.diffuse.b;
        o.specular[0] = l.specular.r, o.specular[1] = l.specular.g, o.specular[2] = l.specular.b;
        o.range = l.range;
        o.falloff = l.falloff;
        o.att0 = l.attenuation0, o.att1 = l.attenuation1, o.att2 = l.attenuation2;
        o.cos_half_theta = std::cos(l.theta * 0.5f);
        o.cos_half_phi = std::cos(l.phi * 0.5f);
        lights_.push_back(o);
    }
}

// The fixed-function lighting equation, in camera space:
//   diffuse  = Me + Ma (Ga + sum La att spot) + Md sum Ld (N.L) att spot
//   specular = Ms sum Ls (N.H)^power att spot, H = norm(L + V), V towards the eye
// each clamped to 0..1; the diffuse alpha is Md's (the vertex's for LVERTEX).
void VertexStage::light_vertex(const float p[3], const float n[3], const float* vertex_diffuse,
                               const float* vertex_specular, float out[kAttrCount]) const {
    float ambient[3] = {global_ambient_[0], global_ambient_[1], global_ambient_[2]};
    float diffuse[3] = {0, 0, 0}, specular[3] = {0, 0, 0};
    const bool has_normal = dot3(n, n) > 0;
    float view[3] = {-p[0], -p[1], -p[2]};
    if (has_normal && specular_) normalize3(view);  // only the specular half-vector reads it
    for (const Light& l : lights_) {
        float L[3];
        float att = 1;
        if (l.type == D3DLIGHT_DIRECTIONAL) {
            L[0] = -l.dir[0], L[1] = -l.dir[1], L[2] = -l.dir[2];
        } else {
            L[0] = l.pos[0] - p[0], L[1] = l.pos[1] - p[1], L[2] = l.pos[2] - p[2];
            const float dist = std::sqrt(dot3(L, L));
            if (!(l.range > 0) || dist > l.range) continue;  // a range of 0 lights nothing
            const float den = l.att0 + l.att1 * dist + l.att2 * dist * dist;
            att = den > 0 ? 1.0f / den : 1.0f;
            if (dist > 0) L[0] /= dist, L[1] /= dist, L[2] /= dist;
            if (l.type == D3DLIGHT_SPOT) {
                const float rho = -dot3(L, l.dir);
                if (rho <= l.cos_half_phi) continue;
                if (rho <= l.cos_half_theta) {
                    const float t = (rho - l.cos_half_phi) / (l.cos_half_theta - l.cos_half_phi);
                    att *= l.falloff == 1.0f ? t : std::pow(t, l.falloff);
                }
            }
        }
        for (int j = 0; j < 3; ++j) ambient[j] += l.ambient[j] * att;
        if (!has_normal) continue;
        const float ndotl = dot3(n, L);
        if (!(ndotl > 0)) continue;
        for (int j = 0; j < 3; ++j) diffuse[j] += l.diffuse[j] * ndotl * att;
        if (specular_) {
            float h[3] = {L[0] + view[0], L[1] + view[1], L[2] + view[2]};
            normalize3(h);
            const float ndoth = dot3(n, h);
            if (ndoth > 0) {
                const float s = mat_.power == 0 ? 1.0f : std::pow(ndoth, mat_.power);
                for (int j = 0; j < 3; ++j) specular[j] += l.specular[j] * s * att;
            }
        }
    }
    const float md[4] = {vertex_diffuse ? vertex_diffuse[0] : mat_.diffuse.r,
                         vertex_diffuse ? vertex_diffuse[1] : mat_.diffuse.g,
                         vertex_diffuse ? vertex_diffuse[2] : mat_.diffuse.b,
                         vertex_diffuse ? vertex_diffuse[3] : mat_.diffuse.a};
    const float ms[3] = {vertex_specular ? vertex_specular[0] : mat_.specular.r,
                         vertex_specular ? vertex_specular[1] : mat_.specular.g,
                         vertex_specular ? vertex_specular[2] : mat_.specular.b};
    const float ma[3] = {mat_.ambient.r, mat_.ambient.g, mat_.ambient.b};
    const float me[3] = {mat_.emissive.r, mat_.emissive.g, mat_.emissive.b};
    for (int j = 0; j < 3; ++j) {
        out[kDiffR + j] = clamp01f(me[j] + ma[j] * ambient[j] + md[j] * diffuse[j]);
        out[kSpecR + j] = clamp01f(ms[j] * specular[j]);
    }
    out[kDiffA] = clamp01f(md[3]);
}

void VertexStage::run(const std::byte* vertices, std::size_t first, std::size_t count, ClipVertex* out) const {
#if defined(__SSE2__)
    const __m128 rows[4] = {_mm_loadu_ps(wvp_[0]), _mm_loadu_ps(wvp_[1]), _mm_loadu_ps(wvp_[2]), _mm_loadu_ps(wvp_[3])};
#endif
    for (std::size_t i = 0; i < count; ++i) {
        float f[8];
        std::memcpy(f, vertices + (first + i) * 32, 32);
        std::int32_t words[8];
        std::memcpy(words, f, 32);
        ClipVertex& v = out[i];
        v.a[kFog] = 1;  // every path below sets each other attribute

        if (fvf_ == dx::D3DFVF_TLVERTEX) {
            const float rhw = f[3];
            const bool good_rhw = rhw > 0 && std::isfinite(rhw);
            v.w = good_rhw ? 1.0f / rhw : 1.0f;
            v.rhw = good_rhw ? rhw : 1.0f;
            v.sx = f[0], v.sy = f[1], v.sz = f[2];
            v.x = f[0] * v.w, v.y = f[1] * v.w, v.z = f[2] * v.w;
            static_assert(kDiffR == 0 && kSpecR == 4 && kFog == 7);
            colours_of(words[4], words[5], v.a.data());  // the specular alpha lands in fog's place
            v.a[kFog] = 1;
            v.a[kTexU] = f[6], v.a[kTexV] = f[7];
        } else {
            const float px = f[0], py = f[1], pz = f[2];
            alignas(16) float c[4];
#if defined(__SSE2__)
            _mm_store_ps(c, _mm_add_ps(_mm_add_ps(_mm_add_ps(_mm_mul_ps(_mm_set1_ps(px), rows[0]),
                                                             _mm_mul_ps(_mm_set1_ps(py), rows[1])),
                                                  _mm_mul_ps(_mm_set1_ps(pz), rows[2])),
                                       rows[3]));
#else
            for (int j = 0; j < 4; ++j) c[j] = px * wvp_[0][j] + py * wvp_[1][j] + pz * wvp_[2][j] + wvp_[3][j];
#endif
            float cam[3];
            if (lighting_ || fog_)
                for (int j = 0; j < 3; ++j) cam[j] = px * wv_[0][j] + py * wv_[1][j] + pz * wv_[2][j] + wv_[3][j];
            // Homogeneous screen space: the viewport applied before the divide.
            v.w = c[3];
            v.x = vp_x_ * c[3] + (c[0] + c[3]) * vp_hw_;
            v.y = vp_y_ * c[3] + (c[3] - c[1]) * vp_hh_;
            v.z = vp_minz_ * c[3] + c[2] * vp_dz_;
            v.rhw = 1.0f / v.w;
            v.sx = v.x * v.rhw, v.sy = v.y * v.rhw, v.sz = v.z * v.rhw;
            v.a[kTexU] = f[6], v.a[kTexV] = f[7];

            if (fvf_ == dx::D3DFVF_VERTEX) {
                if (lighting_) {
                    const float nin[3] = {f[3], f[4], f[5]};
                    float n[3];
                    for (int j = 0; j < 3; ++j)
                        n[j] = nin[0] * normal_m_[0][j] + nin[1] * normal_m_[1][j] + nin[2] * normal_m_[2][j];
                    normalize3(n);
                    light_vertex(cam, n, nullptr, nullptr, v.a.data());
                } else {
                    v.a[kDiffR] = v.a[kDiffG] = v.a[kDiffB] = v.a[kDiffA] = 1;  // no colour in the vertex: white
                    v.a[kSpecR] = v.a[kSpecG] = v.a[kSpecB] = 0;
                }
            } else {  // LVERTEX
                if (lighting_) {
                    // No normal: ambient and emissive only, the vertex colour as diffuse source.
                    float col[8];
                    colours_of(words[4], words[5], col);
                    const float zero[3] = {0, 0, 0};
                    light_vertex(cam, zero, col, col + 4, v.a.data());
                } else {
                    colours_of(words[4], words[5], v.a.data());
                    v.a[kFog] = 1;
                }
            }
            if (fog_) {
                const float d = std::fabs(cam[2]);
                float fog = 1;
                switch (fog_mode_) {
                case dx::D3DFOG_LINEAR:
                    fog = fog_end_ == fog_start_ ? (d < fog_end_ ? 1.0f : 0.0f)
                                                 : (fog_end_ - d) / (fog_end_ - fog_start_);
                    break;
                case dx::D3DFOG_EXP: fog = std::exp(-fog_density_ * d); break;
                case dx::D3DFOG_EXP2: fog = std::exp(-(fog_density_ * d) * (fog_density_ * d)); break;
                default: break;
                }
                v.a[kFog] = clamp01f(fog);
            }
        }

        v.finite = std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z) && std::isfinite(v.w);
        // Colours from bytes are always finite; lighting and fog may not be.
        if (lighting_ || fog_) {
            for (float& a : v.a)
                if (!std::isfinite(a)) a = 0;
        } else {
            if (!std::isfinite(v.a[kTexU])) v.a[kTexU] = 0;
            if (!std::isfinite(v.a[kTexV])) v.a[kTexV] = 0;
        }
        std::uint32_t code = 0;
        if (v.x < guard_.left * v.w) code |= kClipLeft;
        if (v.x > guard_.right * v.w) code |= kClipRight;
        if (v.y < guard_.top * v.w) code |= kClipTop;
        if (v.y > guard_.bottom * v.w) code |= kClipBottom;
        if (guard_.clip_z) {
            if (v.z < guard_.minz * v.w) code |= kClipNear;
            if (v.z > guard_.maxz * v.w) code |= kClipFar;
        }
        if (!(v.w > 1e-7f)) code |= kClipW;
        v.outcode = code;
    }
}

}  // namespace tarko::platform::d3d
