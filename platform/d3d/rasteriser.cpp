// Clears, primitive assembly, clipping, triangle set-up and tile binning.
#include "platform/d3d/rasteriser.h"

#include <algorithm>
#include <cmath>
#include <cstring>

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

bool Rasteriser::build_context(const DeviceState& s, Long fvf, DrawContext& ctx) {
    auto rs = [&s](int i) { return s.render[static_cast<std::size_t>(i)]; };
    ctx = DrawContext{};
    held_.clear();
    if (!target_.byte_size() || target_.width() <= 0 || target_.height() <= 0) return false;

    const PixelFormat& fmt = target_.format();
    TargetKind target = TargetKind::Other;
    if (fmt == PixelFormat::r5g6b5()) target = TargetKind::R5G6B5;
    else if (fmt == PixelFormat::x8r8g8b8() || fmt == PixelFormat::a8r8g8b8()) target = TargetKind::X8R8G8B8;
    ctx.colour = target_.pixels();
    ctx.colour_pitch = target_.pitch();
    ctx.colour_format = &target_.format();
    ctx.colour_has_alpha = fmt.has_alpha();

    const D3DVIEWPORT7& vp = s.viewport;
    ctx.scissor.x0 = std::max(0, vp.lX);
    ctx.scissor.y0 = std::max(0, vp.lY);
    ctx.scissor.x1 = std::min(target_.width(), vp.lX + std::max(0, vp.lWidth));
    ctx.scissor.y1 = std::min(target_.height(), vp.lY + std::max(0, vp.lHeight));

    DepthKind depth = DepthKind::None;
    const auto zbuffer = target_.zbuffer();
    if (rs(dx::D3DRENDERSTATE_ZENABLE) != 0 && zbuffer && zbuffer->byte_size()) {
        ctx.depth = zbuffer->pixels();
        ctx.depth_pitch = zbuffer->pitch();
        ctx.scissor.x1 = std::min(ctx.scissor.x1, zbuffer->width());
        ctx.scissor.y1 = std::min(ctx.scissor.y1, zbuffer->height());
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
    if (ctx.scissor.x0 >= ctx.scissor.x1 || ctx.scissor.y0 >= ctx.scissor.y1) return false;

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
            auto tex = textures_.get(surface.shared(), ctx.colour_key);
            out.texture = tex.get();
            if (tex) held_.push_back(std::move(tex));
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
    ctx.blend = rs(dx::D3DRENDERSTATE_ALPHABLENDENABLE) != 0;
    ctx.src_blend = rs(dx::D3DRENDERSTATE_SRCBLEND);
    ctx.dest_blend = rs(dx::D3DRENDERSTATE_DESTBLEND);
    if (ctx.blend && ctx.src_blend == dx::D3DBLEND_ONE && ctx.dest_blend == dx::D3DBLEND_ZERO) ctx.blend = false;
    ctx.blend_over = fast_paths_ && ctx.src_blend == dx::D3DBLEND_SRCALPHA && ctx.dest_blend == dx::D3DBLEND_INVSRCALPHA;
    const int fog_mode = rs(dx::D3DRENDERSTATE_FOGTABLEMODE) != 0 ? rs(dx::D3DRENDERSTATE_FOGTABLEMODE)
                                                                : rs(dx::D3DRENDERSTATE_FOGVERTEXMODE);
    ctx.fog = rs(dx::D3DRENDERSTATE_FOGENABLE) != 0 && fvf != dx::D3DFVF_TLVERTEX && fog_mode >= dx::D3DFOG_EXP &&
              fog_mode <= dx::D3DFOG_LINEAR;
    ctx.fog_colour = static_cast<std::uint32_t>(rs(dx::D3DRENDERSTATE_FOGCOLOR));
    ctx.specular = rs(dx::D3DRENDERSTATE_SPECULARENABLE) != 0;
    ctx.tfactor = static_cast<std::uint32_t>(rs(dx::D3DRENDERSTATE_TEXTUREFACTOR));
    ctx.modulate_alpha = ctx.stage_count > 0 && ctx.stages[0].alpha_op == dx::D3DTOP_MODULATE;
    ctx.raster = select_raster(target, depth, cascade, routines_);
    ctx.raster_narrow = lanes_of(routines_) == 16 ? select_raster(target, depth, cascade, Routines::EightLanes)
                                                  : ctx.raster;

    flat_ = rs(dx::D3DRENDERSTATE_SHADEMODE) == dx::D3DSHADE_FLAT;
    fill_ = rs(dx::D3DRENDERSTATE_FILLMODE);
    if (fill_ != dx::D3DFILL_POINT && fill_ != dx::D3DFILL_WIREFRAME) fill_ = dx::D3DFILL_SOLID;

    guard_.left = static_cast<float>(vp.lX) - kGuardPixels;
    guard_.top = static_cast<float>(vp.lY) - kGuardPixels;
    guard_.right = static_cast<float>(vp.lX + vp.lWidth) + kGuardPixels;
    guard_.bottom = static_cast<float>(vp.lY + vp.lHeight) + kGuardPixels;
    guard_.minz = vp.minz;
    guard_.maxz = vp.maxz;
    guard_.clip_z = fvf != dx::D3DFVF_TLVERTEX;
    vp_right_ = ctx.scissor.x1 - 1;
    vp_bottom_ = ctx.scissor.y1 - 1;

    tiles_x_ = (target_.width() + kTileSize - 1) / kTileSize;
    tiles_y_ = (target_.height() + kTileSize - 1) / kTileSize;
    bins_.resize(static_cast<std::size_t>(tiles_x_) * static_cast<std::size_t>(tiles_y_));
    return true;
}

void Rasteriser::draw(const DeviceState& state, Long primitive_type, Long fvf, std::span<const std::byte> vertices,
                      std::size_t vertex_count, std::span<const Integer> indices) {
    vertex_count = std::min(vertex_count, vertices.size() / 32);
    if (vertex_count == 0) return;
    if (!build_context(state, fvf, ctx_)) return;

    const VertexStage stage(state, fvf, guard_, state.viewport);
    verts_.resize(vertex_count);
    constexpr std::size_t kChunk = 1024;
    if (vertex_count >= 2 * kChunk && pool_->size() > 1) {
        const int chunks = static_cast<int>((vertex_count + kChunk - 1) / kChunk);
        pool_->run(chunks, [&](int c) {
            const std::size_t first = static_cast<std::size_t>(c) * kChunk;
            stage.run(vertices.data(), first, std::min(kChunk, vertex_count - first), verts_.data() + first);
        });
    } else {
        stage.run(vertices.data(), 0, vertex_count, verts_.data());
    }

    const bool indexed = !indices.empty();
    const std::size_t n = indexed ? indices.size() : vertex_count;
    auto at = [&](std::size_t i) -> const ClipVertex* {
        if (!indexed) return &verts_[i];
        const int idx = indices[i];
        if (idx < 0 || static_cast<std::size_t>(idx) >= vertex_count) return nullptr;  // rejected, never read
        return &verts_[static_cast<std::size_t>(idx)];
    };
    const Long cull_mode = state.render[dx::D3DRENDERSTATE_CULLMODE];
    const int cull = (cull_mode == dx::D3DCULL_CW || cull_mode == dx::D3DCULL_CCW) ? cull_mode : dx::D3DCULL_NONE;

    constexpr std::size_t kSetupPart = 2048;  // triangles per set-up job
    const bool parallel_setup = primitive_type == dx::D3DPT_TRIANGLELIST && fill_ == dx::D3DFILL_SOLID &&
                                pool_->size() > 1 && n / 3 >= 2 * kSetupPart;
    tri_parts_ = parallel_setup ? (n / 3 + kSetupPart - 1) / kSetupPart : 1;
    if (tris_.size() < tri_parts_) tris_.resize(tri_parts_);
    for (std::size_t p = 0; p < tri_parts_; ++p) tris_[p].clear();
    Tris& out = tris_[0];
    switch (primitive_type) {
    case dx::D3DPT_POINTLIST:
        for (std::size_t i = 0; i < n; ++i)
            if (const auto* v = at(i)) point(*v, out);
        break;
    case dx::D3DPT_LINELIST:
        for (std::size_t i = 0; i + 1 < n; i += 2) {
            const auto *a = at(i), *b = at(i + 1);
            if (a && b) line(*a, *b, out);
        }
        break;
    case dx::D3DPT_LINESTRIP:
        for (std::size_t i = 0; i + 1 < n; ++i) {
            const auto *a = at(i), *b = at(i + 1);
            if (a && b) line(*a, *b, out);
        }
        break;
    case dx::D3DPT_TRIANGLELIST:
        if (parallel_setup) {
            // Each part keeps its triangles in order; the parts are binned in order.
            pool_->run(static_cast<int>(tri_parts_), [&](int part) {
                const std::size_t first = static_cast<std::size_t>(part) * kSetupPart;
                const std::size_t last = std::min(first + kSetupPart, n / 3);
                Tris& mine = tris_[static_cast<std::size_t>(part)];
                for (std::size_t t = first; t < last; ++t) triangle(at(3 * t), at(3 * t + 1), at(3 * t + 2), cull, mine);
            });
        } else {
            for (std::size_t i = 0; i + 2 < n; i += 3) triangle(at(i), at(i + 1), at(i + 2), cull, out);
        }
        break;
    case dx::D3DPT_TRIANGLESTRIP:
        // Odd triangles swap their last two vertices to keep the winding; the
        // first vertex stays the one flat shading takes.
        for (std::size_t i = 0; i + 2 < n; ++i)
            triangle(at(i), at(i + (i & 1 ? 2 : 1)), at(i + (i & 1 ? 1 : 2)), cull, out);
        break;
    case dx::D3DPT_TRIANGLEFAN:
        for (std::size_t i = 1; i + 1 < n; ++i) triangle(at(i), at(i + 1), at(0), cull, out);
        break;
    default: break;
    }
    queue_draw();
}

void Rasteriser::triangle(const ClipVertex* a, const ClipVertex* b, const ClipVertex* c, int cull, Tris& out) const {
    if (!a || !b || !c) return;
    if (!a->finite || !b->finite || !c->finite) return;
    if (a->outcode & b->outcode & c->outcode) return;
    if (fill_ != dx::D3DFILL_SOLID) {
        if ((a->outcode | b->outcode | c->outcode) == 0 && cull != dx::D3DCULL_NONE) {
            const double area = (static_cast<double>(b->sx) - a->sx) * (static_cast<double>(c->sy) - a->sy) -
                                (static_cast<double>(c->sx) - a->sx) * (static_cast<double>(b->sy) - a->sy);
            if ((cull == dx::D3DCULL_CCW && area < 0) || (cull == dx::D3DCULL_CW && area > 0)) return;
        }
        if (fill_ == dx::D3DFILL_POINT) {
            for (const ClipVertex* v : {a, b, c})
                if (v->outcode == 0) point(*v, out);
        } else {
            line(*a, *b, out);
            line(*b, *c, out);
            line(*c, *a, out);
        }
        return;
    }
    if ((a->outcode | b->outcode | c->outcode) == 0) {
        setup(*a, *b, *c, cull, *a, out);
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
            const float dp = clip_distance(p, plane, guard_), dq = clip_distance(q, plane, guard_);
            if (dp >= 0) buf[1 - cur][out++] = p;
            if ((dp >= 0) != (dq >= 0)) buf[1 - cur][out++] = lerp_vertex(p, q, dp / (dp - dq));
        }
        cur = 1 - cur;
        count = out;
        if (count < 3) return;
    }
    for (int i = 1; i + 1 < count; ++i) {
        if (!buf[cur][0].finite || !buf[cur][i].finite || !buf[cur][i + 1].finite) continue;
        setup(buf[cur][0], buf[cur][i], buf[cur][i + 1], cull, *a, out);
    }
}

void Rasteriser::setup(const ClipVertex& v0, const ClipVertex& v1, const ClipVertex& v2, int cull,
                       const ClipVertex& provoking, Tris& out) const {
    const ClipVertex* v[3] = {&v0, &v1, &v2};
    std::int64_t X[3], Y[3];
    for (int i = 0; i < 3; ++i) {
        // Clipping keeps vertices inside the guard band; anything beyond it
        // (rounding at the band's edge) is dropped rather than overflowing.
        const float sx = v[i]->sx, sy = v[i]->sy;
        if (!(std::fabs(sx) < 65536.0f && std::fabs(sy) < 65536.0f)) return;
        X[i] = std::lrint(sx * 16.0f);
        Y[i] = std::lrint(sy * 16.0f);
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

    SetupTriangle t;
    const Scissor& sc = ctx_.scissor;
    const std::int64_t minX = std::min({X[0], X[1], X[2]}), maxX = std::max({X[0], X[1], X[2]});
    const std::int64_t minY = std::min({Y[0], Y[1], Y[2]}), maxY = std::max({Y[0], Y[1], Y[2]});
    t.minx = static_cast<int>(std::max<std::int64_t>((minX + 15) >> 4, sc.x0));
    t.maxx = static_cast<int>(std::min<std::int64_t>(maxX >> 4, sc.x1 - 1));
    t.miny = static_cast<int>(std::max<std::int64_t>((minY + 15) >> 4, sc.y0));
    t.maxy = static_cast<int>(std::min<std::int64_t>(maxY >> 4, sc.y1 - 1));
    if (t.minx > t.maxx || t.miny > t.maxy) return;

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
        const bool last_column = dx == 0 && dy > 0 && X[a] == static_cast<std::int64_t>(vp_right_) * 16;
        const bool last_row = dy == 0 && dx < 0 && Y[a] == static_cast<std::int64_t>(vp_bottom_) * 16;
        if (!top_left && !last_column && !last_row) t.c[k] -= 1;
    }

    // Attribute planes from the snapped positions, in double for the set-up.
    const double x0 = static_cast<double>(X[0]) / 16, y0 = static_cast<double>(Y[0]) / 16;
    const double d1x = static_cast<double>(X[1] - X[0]) / 16, d1y = static_cast<double>(Y[1] - Y[0]) / 16;
    const double d2x = static_cast<double>(X[2] - X[0]) / 16, d2y = static_cast<double>(Y[2] - Y[0]) / 16;
    const double inv_area = 1.0 / (d1x * d2y - d2x * d1y);
    t.ref_x = static_cast<float>(x0);
    t.ref_y = static_cast<float>(y0);
    auto plane = [&](double f0, double f1, double f2) {
        const double df1 = f1 - f0, df2 = f2 - f0;
        return Plane{static_cast<float>(f0), static_cast<float>((df1 * d2y - df2 * d1y) * inv_area),
                     static_cast<float>((df2 * d1x - df1 * d2x) * inv_area)};
    };
    const double r0 = v[0]->rhw, r1 = v[1]->rhw, r2 = v[2]->rhw;
    t.p[kPlaneRhw] = plane(r0, r1, r2);
    t.p[kPlaneZ] = plane(v[0]->sz, v[1]->sz, v[2]->sz);
    static constexpr std::pair<int, int> kMap[] = {{kPlaneU, kTexU},  {kPlaneV, kTexV},  {kPlaneR, kDiffR},
                                                   {kPlaneG, kDiffG}, {kPlaneB, kDiffB}, {kPlaneA, kDiffA},
                                                   {kPlaneSR, kSpecR}, {kPlaneSG, kSpecG}, {kPlaneSB, kSpecB},
                                                   {kPlaneFog, kFog}};
    for (auto [p, a] : kMap) {
        // Specular and fog planes are only read when those are on.
        const bool used = (p >= kPlaneSR && p <= kPlaneSB) ? ctx_.specular : p == kPlaneFog ? ctx_.fog : true;
        if (!used) {
            t.p[p] = Plane{0, 0, 0};
            continue;
        }
        const auto ai = static_cast<std::size_t>(a);
        t.p[p] = plane(v[0]->a[ai] * r0, v[1]->a[ai] * r1, v[2]->a[ai] * r2);
    }
    // A triangle whose vertices share their colours is drawn in that colour,
    // as a flat one is in its first vertex's.
    const int src[7] = {kDiffR, kDiffG, kDiffB, kDiffA, kSpecR, kSpecG, kSpecB};
    const int compared = ctx_.specular ? 7 : 4;
    bool one_colour = true;
    for (int i = 0; i < compared && one_colour; ++i) {
        const auto a = static_cast<std::size_t>(src[i]);
        one_colour = v[0]->a[a] == v[1]->a[a] && v[0]->a[a] == v[2]->a[a];
    }
    t.is_flat = flat_ || one_colour;
    if (t.is_flat) {
        const ClipVertex& from = flat_ ? provoking : *v[0];
        for (int i = 0; i < 7; ++i) t.flat[i] = from.a[static_cast<std::size_t>(src[i])];
        t.flat[7] = 0;
    }
    out.push_back(t);
}

void Rasteriser::point(const ClipVertex& v, Tris& out) const {
    if (!v.finite || v.outcode) return;
    // A pixel-sized square around the nearest pixel centre.
    const float px = std::nearbyint(v.sx), py = std::nearbyint(v.sy);
    ClipVertex q[4] = {v, v, v, v};
    const float ox[4] = {-0.5f, 0.5f, 0.5f, -0.5f}, oy[4] = {-0.5f, -0.5f, 0.5f, 0.5f};
    for (int i = 0; i < 4; ++i) q[i].sx = px + ox[i], q[i].sy = py + oy[i];
    setup(q[0], q[1], q[2], dx::D3DCULL_NONE, v, out);
    setup(q[0], q[2], q[3], dx::D3DCULL_NONE, v, out);
}

void Rasteriser::line(const ClipVertex& a, const ClipVertex& b, Tris& out) const {
    if (!a.finite || !b.finite || a.outcode || b.outcode) return;
    // A one-pixel-wide quad along the major axis.
    const bool x_major = std::fabs(b.sx - a.sx) >= std::fabs(b.sy - a.sy);
    const float ox = x_major ? 0.0f : 0.5f, oy = x_major ? 0.5f : 0.0f;
    ClipVertex q[4] = {a, b, b, a};
    q[0].sx -= ox, q[0].sy -= oy;
    q[1].sx -= ox, q[1].sy -= oy;
    q[2].sx += ox, q[2].sy += oy;
    q[3].sx += ox, q[3].sy += oy;
    setup(q[0], q[1], q[2], dx::D3DCULL_NONE, a, out);
    setup(q[0], q[2], q[3], dx::D3DCULL_NONE, a, out);
}

// The draw just set up joins the batch: its context and textures are kept
// with it, its triangles binned after those of the draws before it. Nothing
// it reads can change under it now: state and vertices were read at set-up,
// textures are converted copies, and whatever touches the target or the
// z-buffer settles the batch first.
void Rasteriser::queue_draw() {
    std::size_t total = 0;
    for (std::size_t p = 0; p < tri_parts_; ++p) total += tris_[p].size();
    // The target's and z-buffer's generations move now, so a texture cache
    // looks at them again and, reading them, settles the batch.
    target_.touch();
    const auto zbuffer = ctx_.depth ? target_.zbuffer() : nullptr;
    if (zbuffer && ctx_.z_write) zbuffer->touch();
    if (total == 0) {
        held_.clear();
        return;
    }
    // The surfaces this batch writes settle it; another device on the same
    // target takes the hook over only after settling this one.
    if (target_.pending_writer() != this) target_.set_pending_writer(this, [this] { flush(); });
    if (zbuffer && (zbuffer.get() != hooked_zbuffer_.lock().get() || zbuffer->pending_writer() != this)) {
        flush();  // draws before may write the z-buffer that is let go
        if (auto old = hooked_zbuffer_.lock()) old->clear_pending_writer(this);
        zbuffer->set_pending_writer(this, [this] { flush(); });
        hooked_zbuffer_ = zbuffer;
    }
    if (queued_ == queue_.size()) queue_.push_back(std::make_unique<QueuedDraw>());
    QueuedDraw& q = *queue_[queued_++];
    q.ctx = ctx_;
    q.held.swap(held_);
    held_.clear();
    q.zbuffer = zbuffer;
    // The set-up parts move into the queued draw; its old vectors come back
    // for the next draw's set-up, capacity and all.
    if (q.parts.size() < tri_parts_) q.parts.resize(tri_parts_);
    for (std::size_t p = 0; p < tri_parts_; ++p) q.parts[p].swap(tris_[p]);
    q.part_count = tri_parts_;
    queued_tris_ += total;

    const int shift = 6;  // kTileSize == 64
    for (std::size_t p = 0; p < q.part_count; ++p)
        for (const SetupTriangle& t : q.parts[p])
            for (int ty = t.miny >> shift; ty <= t.maxy >> shift; ++ty)
                for (int tx = t.minx >> shift; tx <= t.maxx >> shift; ++tx) {
                    auto& bin = bins_[static_cast<std::size_t>(ty) * tiles_x_ + tx];
                    if (bin.empty()) busy_bins_.push_back(ty * tiles_x_ + tx);
                    bin.push_back(BinEntry{&t, &q.ctx});
                }
    if (!batching_ || queued_tris_ >= kBatchTriangles || queued_ >= kBatchDraws) flush();
}

void Rasteriser::flush() {
    if (queued_ == 0 || flushing_) return;
    flushing_ = true;
    // Each tile is drawn by one thread, its triangles in submission order.
    auto run_tile = [&](int job) {
        const int tile = busy_bins_[static_cast<std::size_t>(job)];
        const int tx0 = (tile % tiles_x_) * kTileSize, ty0 = (tile / tiles_x_) * kTileSize;
        for (const BinEntry& e : bins_[static_cast<std::size_t>(tile)]) {
            const int width = std::min(e.tri->maxx, tx0 + kTileSize - 1) - std::max(e.tri->minx, tx0) + 1;
            const auto raster = width <= 8 ? e.ctx->raster_narrow : e.ctx->raster;
            raster(*e.ctx, *e.tri, tx0, ty0, tx0 + kTileSize, ty0 + kTileSize);
        }
    };
    const int jobs = static_cast<int>(busy_bins_.size());
    auto done = [&] {
        for (int b : busy_bins_) bins_[static_cast<std::size_t>(b)].clear();
        busy_bins_.clear();
        for (std::size_t i = 0; i < queued_; ++i) {
            QueuedDraw& q = *queue_[i];
            q.held.clear();
            q.zbuffer.reset();
            for (std::size_t p = 0; p < q.part_count; ++p) q.parts[p].clear();
        }
        queued_ = 0;
        queued_tris_ = 0;
        flushing_ = false;
    };
    try {
        // A few triangles on a few tiles are not worth waking the workers.
        if (queued_tris_ < 4 && jobs < 4) {
            for (int j = 0; j < jobs; ++j) run_tile(j);
        } else {
            pool_->run(jobs, run_tile);
        }
    } catch (...) {
        done();
        throw;
    }
    done();
}

void Rasteriser::set_batching(bool on) {
    flush();
    batching_ = on;
}

}  // namespace tarko::platform::d3d
