// The fast rasteriser (blocks, SIMD, tiles, threads) against a plain one
// written for reading: every pixel centre tested against the three edges,
// colours from barycentric weights with the perspective divide.
#include <gtest/gtest.h>

#include <cmath>

#include "d3d_test_util.h"

using namespace tarko;
using namespace tarko::d3dtest;

namespace {

struct RefVertex { double x, y, rhw, c[3]; };  // c: red, green, blue in 0..1

// Covered pixels get the Gouraud colour; the convention is the device's:
// pixel centres on whole numbers, positions snapped to 1/16 pixel (nearest,
// ties to even), top and left edges in, right and bottom out, except an edge
// lying on the last column or row of the target.
void reference_triangle(std::vector<std::uint32_t>& img, int w, int h, RefVertex v[3]) {
    long long X[3], Y[3];
    for (int i = 0; i < 3; ++i) X[i] = std::llrint(v[i].x * 16), Y[i] = std::llrint(v[i].y * 16);
    long long area = (X[1] - X[0]) * (Y[2] - Y[0]) - (X[2] - X[0]) * (Y[1] - Y[0]);
    if (area == 0) return;
    if (area < 0) {
        std::swap(v[1], v[2]);
        std::swap(X[1], X[2]);
        std::swap(Y[1], Y[2]);
        area = -area;
    }
    for (int py = 0; py < h; ++py)
        for (int px = 0; px < w; ++px) {
            const long long PX = px * 16LL, PY = py * 16LL;
            long long e[3];
            bool inside = true;
            for (int a = 0; a < 3; ++a) {
                const int b = (a + 1) % 3;
                const long long dx = X[b] - X[a], dy = Y[b] - Y[a];
                e[a] = dx * (PY - Y[a]) - dy * (PX - X[a]);
                const bool top_left = dy < 0 || (dy == 0 && dx > 0);
                const bool last = (dx == 0 && dy > 0 && X[a] == (w - 1) * 16LL) ||
                                  (dy == 0 && dx < 0 && Y[a] == (h - 1) * 16LL);
                if (!(e[a] > 0 || (e[a] == 0 && (top_left || last)))) inside = false;
            }
            if (!inside) continue;
            // e[a] is twice the area of the triangle opposite vertex (a + 2) % 3.
            const double l[3] = {static_cast<double>(e[1]) / area, static_cast<double>(e[2]) / area,
                                 static_cast<double>(e[0]) / area};
            const double rhw = l[0] * v[0].rhw + l[1] * v[1].rhw + l[2] * v[2].rhw;
            std::uint32_t out = 0;
            for (int ch = 0; ch < 3; ++ch) {
                const double c = (l[0] * v[0].rhw * v[0].c[ch] + l[1] * v[1].rhw * v[1].c[ch] +
                                  l[2] * v[2].rhw * v[2].c[ch]) / rhw;
                out = (out << 8) | static_cast<std::uint32_t>(std::lround(std::clamp(c, 0.0, 1.0) * 255));
            }
            img[static_cast<std::size_t>(py) * w + px] = out;
        }
}

struct Tri { double x[3], y[3], rhw[3]; std::uint32_t colour[3]; };

void compare(const std::vector<Tri>& cases, int w, int h, int threads) {
    for (std::size_t n = 0; n < cases.size(); ++n) {
        const Tri& t = cases[n];
        Scene s(w, h, PixelFormat::x8r8g8b8(), 0);
        s.dev->set_thread_count(threads);
        std::vector<D3DTLVERTEX> v;
        RefVertex rv[3];
        for (int i = 0; i < 3; ++i) {
            const std::uint32_t c = t.colour[i] | 0xFF000000u;
            v.push_back(tl(static_cast<float>(t.x[i]), static_cast<float>(t.y[i]), c, 0.5f,
                           static_cast<float>(t.rhw[i])));
            rv[i] = {static_cast<float>(t.x[i]), static_cast<float>(t.y[i]), static_cast<float>(t.rhw[i]),
                     {((c >> 16) & 255) / 255.0, ((c >> 8) & 255) / 255.0, (c & 255) / 255.0}};
        }
        s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, v);
        Picture ref{w, h, std::vector<std::uint32_t>(static_cast<std::size_t>(w) * h, 0)};
        reference_triangle(ref.pixels, w, h, rv);
        // Coverage must match exactly, colours within one step.
        EXPECT_TRUE(same_picture("case " + std::to_string(n), s.picture(), ref, [](int, int, std::uint32_t got, std::uint32_t want) {
            return (got != 0) != (want != 0) || channels_differ(got, want, 1);
        }));
    }
}

std::vector<Tri> edge_cases() {
    const std::uint32_t R = 0xFF0000, G = 0x00FF00, B = 0x0000FF;
    std::vector<Tri> c = {
        {{0, 10, 0}, {0, 0, 10}, {1, 1, 1}, {R, G, B}},                    // on pixel centres
        {{0.5, 10.5, 0.5}, {0.5, 0.5, 10.5}, {1, 1, 1}, {R, G, B}},        // on half pixels
        {{3.03, 3.09, 3.05}, {3.01, 3.02, 3.11}, {1, 1, 1}, {R, R, R}},   // smaller than a pixel
        {{2, 60, 2.0625}, {2, 3, 40}, {1, 1, 1}, {R, G, B}},               // thin sliver
        {{60, 70, 65}, {60, 60, 70}, {1, 1, 1}, {R, G, B}},                // across the tile corner at 64
        {{63.5, 64.5, 64}, {1, 1, 40}, {1, 1, 1}, {G, G, B}},              // straddles the tile column
        {{-100, 300, 40}, {-50, 20, 200}, {1, 0.5, 0.25}, {R, G, B}},      // beyond the target
        {{5, 120, 5}, {5, 5, 80}, {1, 0.2, 4}, {R, G, B}},                 // strong perspective
        {{10, 10, 110}, {5, 80, 40}, {1, 1, 1}, {R, G, B}},                // vertical left edge
        {{0, 129, 0}, {0, 0, 89}, {1, 1, 1}, {B, G, R}},                   // up to the last column and row
        {{129, 129, 0}, {0, 89, 89}, {1, 1, 1}, {B, G, R}},
        {{7.96875, 31.03125, 19.5}, {12.5, 12.5, 44.9999}, {1, 1, 1}, {R, G, B}},  // rounding of 1/32
    };
    std::uint32_t seed = 99;
    auto rnd = [&seed] { seed = seed * 1103515245u + 12345u; return static_cast<double>((seed >> 8) & 0xFFFF) / 65536.0; };
    for (int i = 0; i < 60; ++i) {
        Tri t;
        const double scale = i < 20 ? 8 : (i < 40 ? 60 : 200);
        for (int k = 0; k < 3; ++k) {
            t.x[k] = rnd() * scale - (i >= 40 ? 40 : 0) + (i < 20 ? 50 * rnd() : 0);
            t.y[k] = rnd() * scale * 0.7 - (i >= 40 ? 30 : 0);
            t.rhw[k] = 0.1 + rnd();
            t.colour[k] = static_cast<std::uint32_t>(rnd() * 16777215);
        }
        c.push_back(t);
    }
    return c;
}

}  // namespace

TEST(ReferenceRaster, EdgeCasesMatchOnOneAndThreeThreads) { for (int t : {1, 3}) compare(edge_cases(), 130, 90, t); }
