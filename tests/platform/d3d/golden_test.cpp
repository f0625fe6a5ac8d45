// Pictures that need no pinned constants: each scene mixes states the fast paths pick out
// (one MODULATE stage, a texture on the current colour, fog, over-blending, z)
// with ones they do not (point sampling, odd texture sizes, alpha test, 16-bit
// targets, 24-bit z, BOTHSRCALPHA), and is drawn with the fast paths off and on
// and through each set of pixel routines (AVX2, SSE2, portable) and on one
// and two threads: all must leave every pixel and depth value alike. What the
// pictures must show is worked out by hand in device_render_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/base/dx_math.h"
#include "d3d_test_util.h"

namespace tarko::d3dtest {
namespace {

struct Drawn {
    Picture colour, depth;  // depth: the z-buffer's values (24-bit ones in the low bits)
    int changed = 0;        // pixels not of the clear colour
};

Drawn read_back(const Scene& s) {
    Drawn d{s.picture(), Picture{s.z->width(), s.z->height(), {}}, 0};
    const int shift = s.z->format().bits() >= 32 ? 8 : 0;
    for (int y = 0; y < s.z->height(); ++y)
        for (int x = 0; x < s.z->width(); ++x) d.depth.pixels.push_back(s.z->raw_at(x, y) >> shift);
    const auto& f = s.target->format();
    for (auto p : d.colour.pixels) d.changed += p != (f.to_argb(f.from_argb(0x203040u)) & 0xFFFFFFu);
    return d;
}

std::vector<std::uint32_t> pattern(int w, int h, bool alpha, std::uint32_t salt) {
    std::vector<std::uint32_t> t;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const std::uint32_t a = alpha ? static_cast<std::uint32_t>(40 + ((x * 7 ^ y * 3 ^ salt) & 215)) : 255u;
            t.push_back(a << 24 | static_cast<std::uint32_t>((x * 255) / w) << 16 |
                        static_cast<std::uint32_t>((y * 255) / h ^ salt) << 8 | static_cast<std::uint32_t>(((x + y) & 31) * 8));
        }
    return t;
}

D3DMATRIX camera_projection(int w, int h) {
    D3DMATRIX p;
    dxmath::projectionMatrix(p, 1, 200, static_cast<float>(std::numbers::pi / 3));
    p.rc11 *= static_cast<float>(h) / static_cast<float>(w);
    return p;
}

// Layers of screen quads with texture coordinates far outside 0..1 and
// sub-pixel offsets, blended source-alpha over the previous ones.
void blended_layers(Scene& s, int w, int h) {
    s.blend(dx::D3DBLEND_SRCALPHA, dx::D3DBLEND_INVSRCALPHA);
    for (int i = 0; i < 5; ++i) {
        const float o = static_cast<float>(i) * 0.37f - 3.1f, fw = static_cast<float>(w), fh = static_cast<float>(h);
        const float xy[4][2] = {{-3.3f, fh + 2}, {-3.3f, -1.7f}, {fw + 0.4f, fh + 2}, {fw + 0.4f, -1.7f}};
        std::vector<D3DTLVERTEX> q;
        for (auto& p : xy)
            q.push_back(tl(p[0] + static_cast<float>(i) * 0.3f, p[1], 0xFFFFFFFFu - static_cast<std::uint32_t>(i) * 0x10203010u,
                           0.5f, 1, p[0] / 37.0f + o, p[1] / 23.0f - o * 0.5f));
        s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, q);
    }
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
}

// A perspective wall with two stages (MODULATE then MODULATE2X) and linear fog.
void two_stages_fog(Scene& s, int w, int h) {
    s.stage(1, {{dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE2X}, {dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE},
                {dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT}});
    s.states({{dx::D3DRENDERSTATE_LIGHTING, 0}, {dx::D3DRENDERSTATE_FOGENABLE, 1},
              {dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_LINEAR}, {dx::D3DRENDERSTATE_FOGCOLOR, 0x8090A0}});
    s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGSTART, 2), s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGEND, 30);
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, camera_projection(w, h));
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_VERTEX,
           std::vector<D3DVERTEX>{vtx(-8, -6, 4, 0, 0, -1, 0, 4), vtx(-8, 6, 4, 0, 0, -1, 0, 0),
                                  vtx(40, -30, 20, 0, 0, -1, 8, 4), vtx(40, 30, 20, 0, 0, -1, 8, 0)});
    s.stage(1, {{dx::D3DTSS_COLOROP, dx::D3DTOP_DISABLE}});
    s.states({{dx::D3DRENDERSTATE_FOGENABLE, 0}, {dx::D3DRENDERSTATE_LIGHTING, 1}});
}

// A lit, textured height field of n x n quads drawn twice, the second time rotated (depth passes and fails).
void lit_grid(Scene& s, int w, int h, int n) {
    std::vector<D3DVERTEX> v;
    std::vector<Integer> idx;
    for (int j = 0; j <= n; ++j)
        for (int i = 0; i <= n; ++i) {
            const float x = (static_cast<float>(i) / static_cast<float>(n) - 0.5f) * 14;
            const float z = (static_cast<float>(j) / static_cast<float>(n) - 0.5f) * 14;
            v.push_back(vtx(x, std::sin(x * 0.3f) * std::cos(z * 0.25f) * 0.8f, z, -0.2f * std::cos(x * 0.3f), 0.96f,
                            0.1f, static_cast<float>(i) * 0.31f, static_cast<float>(j) * 0.27f));
            if (i < n && j < n)
                for (int k : {0, n + 1, 1, 1, n + 1, n + 2}) idx.push_back(static_cast<Integer>(j * (n + 1) + i + k));
        }
    s.states({{dx::D3DRENDERSTATE_LIGHTING, 1}, {dx::D3DRENDERSTATE_AMBIENT, 0x303030}});
    s.dev->setMaterial({.diffuse = {1, 1, 1, 1}, .ambient = {1, 1, 1, 1}});
    s.light(0, {.dltType = D3DLIGHT_DIRECTIONAL, .diffuse = {1, 0.95f, 0.9f, 1}, .direction = {0.3f, -1, 0.4f}});
    s.light(1, {.dltType = D3DLIGHT_POINT, .diffuse = {0.5f, 0.3f, 0.1f, 1}, .position = {2, 3, 0}, .range = 30,
                .attenuation0 = 1, .attenuation1 = 0.1f});
    D3DMATRIX view, world = identity();
    dxmath::viewMatrix(view, D3DVECTOR{0, 9, -14}, D3DVECTOR{0, 0, 2}, D3DVECTOR{0, 1, 0}, 0);
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_VIEW, view);
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, camera_projection(w, h));
    for (int pass = 0; pass < 2; ++pass) {
        s.dev->setTransform(dx::D3DTRANSFORMSTATE_WORLD, world);
        s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX, std::span(v), static_cast<Long>(v.size()),
                                    std::span(idx), static_cast<Long>(idx.size()), 0);
        const float a = 0.4f;
        world.rc11 = std::cos(a), world.rc13 = -std::sin(a), world.rc31 = std::sin(a), world.rc33 = std::cos(a);
        world.rc42 = 0.3f;
    }
}

using Routines = Direct3DDevice7::PixelRoutines;

Drawn render(int which, int threads, bool fast = true, Routines routines = Routines::Best) {
    constexpr int w = 157, h = 113;  // tiles cut at both edges, rows not a multiple of 4
    const bool r565 = which == 2 || which == 6;
    const int zbits = which == 5 ? 32 : 16;
    Scene s(w, h, r565 ? PixelFormat::r5g6b5() : PixelFormat::x8r8g8b8(), zbits);
    s.dev->set_thread_count(threads), s.dev->set_fast_paths(fast), s.dev->set_pixel_routines(routines);
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET | dx::D3DCLEAR_ZBUFFER, 0x203040, 1.0f, 0);
    const auto alpha256 = make_texture(256, 256, pattern(256, 256, true, 5), PixelFormat::a4r4g4b4());
    const auto plain64 = make_texture(64, 64, pattern(64, 64, false, 9), PixelFormat::r5g6b5());
    const auto odd = make_texture(37, 19, pattern(37, 19, true, 3));
    const auto tall = make_texture(8, 128, pattern(8, 128, true, 11));
    switch (which) {
    case 0:  // one bilinear MODULATE stage, blended, 32-bit target
    case 2:  // the same on a 16-bit target
        s.bilinear(0), s.dev->setTexture(0, alpha256);
        blended_layers(s, w, h);
        break;
    case 1:  // odd-sized and tall textures, point and bilinear
        s.bilinear(0), s.dev->setTexture(0, odd);
        blended_layers(s, w, h);
        s.bilinear(0, false), s.dev->setTexture(0, tall);
        blended_layers(s, w, h);
        s.bilinear(0);
        blended_layers(s, w, h);
        break;
    case 3:  // two stages and fog
    case 6:
        s.bilinear(0), s.bilinear(1);
        s.dev->setTexture(0, plain64), s.dev->setTexture(1, odd);
        two_stages_fog(s, w, h);
        s.dev->setTexture(1, alpha256);
        s.blend(dx::D3DBLEND_SRCALPHA, dx::D3DBLEND_INVSRCALPHA);
        two_stages_fog(s, w, h);
        break;
    case 4:  // lit grid, small triangles, z16, bilinear then point sampling with alpha test
    case 5:  // the same on 24-bit z
        s.bilinear(0), s.dev->setTexture(0, plain64);
        lit_grid(s, w, h, 60);
        s.bilinear(0, false), s.dev->setTexture(0, odd);
        s.states({{dx::D3DRENDERSTATE_ALPHATESTENABLE, 1}, {dx::D3DRENDERSTATE_ALPHAREF, 120},
                  {dx::D3DRENDERSTATE_ALPHAFUNC, dx::D3DCMP_GREATEREQUAL}, {dx::D3DRENDERSTATE_ZFUNC, dx::D3DCMP_LESS}});
        lit_grid(s, w, h, 17);
        break;
    case 7: {  // second stage MODULATE4X and ADD in both argument orders, then BOTHSRCALPHA
        s.bilinear(0), s.bilinear(1);
        s.dev->setTexture(0, make_texture(16, 16, pattern(16, 16, true, 7)));
        s.dev->setTexture(1, make_texture(8, 8, pattern(8, 8, true, 13)));
        s.blend(dx::D3DBLEND_SRCALPHA, dx::D3DBLEND_INVSRCALPHA);
        Lcg rnd{99};
        for (Long op : {dx::D3DTOP_MODULATE4X, dx::D3DTOP_ADD, Long{12}})
            for (bool swap : {false, true}) {
                if (op == 12) s.blend(12, dx::D3DBLEND_INVSRCALPHA);  // BOTHSRCALPHA
                s.stage(1, {{dx::D3DTSS_COLOROP, op == 12 ? dx::D3DTOP_MODULATE : op},
                            {dx::D3DTSS_COLORARG1, swap ? dx::D3DTA_CURRENT : dx::D3DTA_TEXTURE},
                            {dx::D3DTSS_COLORARG2, swap ? dx::D3DTA_TEXTURE : dx::D3DTA_CURRENT}});
                std::vector<D3DTLVERTEX> tris;
                for (int i = 0; i < 30; ++i)
                    tris.push_back(tl(rnd() * 190 - 15, rnd() * 140 - 15, rnd.seed | 0x20000000u, rnd(), 0.3f + rnd(),
                                      rnd() * 5 - 2, rnd() * 5 - 2));
                s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, tris);
            }
        break;
    }
    default: break;
    }
    return read_back(s);
}

TEST(DifferentialPictures, FastPathsPixelRoutinesAndThreadsLeaveEveryPixelAsTheGeneralPipelineDrawsIt) {
    const char* scenes[] = {"one stage, blended", "odd textures", "one stage, 16-bit target", "two stages and fog",
                            "lit grid, z16", "lit grid, z24", "two stages and fog, 16-bit target",
                            "second stage operations and argument orders"};
    for (int i = 0; i < static_cast<int>(std::size(scenes)); ++i) {
        const Drawn general = render(i, 1, false);
        EXPECT_GT(general.changed, 157 * 113 / 4) << scenes[i] << ": the scene covers a quarter of the target at least";
        const std::pair<const char*, Drawn> variants[] = {{"fast", render(i, 1)},
                                                          {"eight lanes", render(i, 1, true, Routines::EightLanes)},
                                                          {"four lanes", render(i, 1, true, Routines::FourLanes)},
                                                          {"portable", render(i, 1, true, Routines::Portable)},
                                                          {"two threads", render(i, 2)}};
        for (const auto& [what, drawn] : variants) {
            const std::string label = std::string(scenes[i]) + " " + what;
            EXPECT_TRUE(same_picture(label, drawn.colour, general.colour));
            EXPECT_TRUE(same_picture(label + " depth", drawn.depth, general.depth));
        }
    }
}

// Lists of more than two set-up parts (2048 triangles each) are set up on
// several threads: culled, near-clipped, rejected and degenerate triangles
// must still come out in submission order (later ones win where they overlap).
TEST(ParallelSetUp, LongListsDrawTheSamePictureOnEveryThreadCount) {
    std::vector<D3DVERTEX> v;
    std::vector<Integer> idx;
    Lcg rnd{4242};
    for (int i = 0; i < 3000; ++i)
        v.push_back(vtx(rnd() * 16 - 8, rnd() * 12 - 6, rnd() * 14 - 1.5f, 0, 0, -1, rnd() * 4, rnd() * 4));
    for (int i = 0; i < 3 * 7000; ++i) idx.push_back(static_cast<Integer>(rnd() * 2999.0f));
    idx[3 * 2500 + 1] = 3000;            // past the vertices: that triangle is skipped
    idx[3 * 5000 + 2] = idx[3 * 5000];   // degenerate
    Picture first;
    for (int threads : {1, 2, 3, 4}) {
        Scene s(96, 72, PixelFormat::x8r8g8b8(), 16);
        s.dev->set_thread_count(threads);
        // No z: overlap order decides each pixel.
        s.states({{dx::D3DRENDERSTATE_CULLMODE, dx::D3DCULL_CCW}, {dx::D3DRENDERSTATE_LIGHTING, 0},
                  {dx::D3DRENDERSTATE_ZENABLE, 0}});
        s.dev->setTexture(0, make_texture(8, 8, pattern(8, 8, false, 1)));
        s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, camera_projection(96, 72));
        s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX, std::span(v), static_cast<Long>(v.size()),
                                    std::span(idx), static_cast<Long>(idx.size()), 0);
        if (first.pixels.empty()) {
            first = s.picture();
            EXPECT_LT(std::count(first.pixels.begin(), first.pixels.end(), 0u), static_cast<std::ptrdiff_t>(first.pixels.size() / 4));
        } else {
            EXPECT_TRUE(same_picture(std::to_string(threads) + " threads", s.picture(), first));
        }
    }
}

}  // namespace
}  // namespace tarko::d3dtest
