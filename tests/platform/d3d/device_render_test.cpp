// Pictures the device must draw, with the expected pixels worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "d3d_test_util.h"
#include "platform/base/dx_math.h"

using namespace tarko;
using namespace tarko::d3dtest;

namespace {

constexpr Long kTL = dx::D3DFVF_TLVERTEX, kStrip = dx::D3DPT_TRIANGLESTRIP;

// A quad at z = `z` spanning x, y in -s..s, facing the camera (normal -z).
std::vector<D3DVERTEX> facing_quad(float s, float z) {
    return {vtx(-s, -s, z, 0, 0, -1, 0, 1), vtx(-s, s, z, 0, 0, -1, 0, 0), vtx(s, -s, z, 0, 0, -1, 1, 1),
            vtx(s, s, z, 0, 0, -1, 1, 0)};
}

}  // namespace

TEST(Coverage, TopLeftRuleKeepsEdgesOnTheLastColumnAndRow) {
    // Pixel centres on whole numbers: left and top edges are in, right and
    // bottom out, so 2..5 x 1..4 covers columns 2..4 and rows 1..3. Edges on
    // the target's last column and row keep their pixels: 0..7 x 0..5 covers all 8 x 6.
    struct Case { float x0, y0, x1, y1; int last_x, last_y; };
    for (const Case c : {Case{2, 1, 5, 4, 4, 3}, Case{0, 0, 7, 5, 7, 5}}) {
        Scene s(8, 6);
        s.draw(kStrip, kTL, tl_quad(c.x0, c.y0, c.x1, c.y1, 0xFFFFFFFF));
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 8; ++x) {
                const bool in = x >= c.x0 && x <= c.last_x && y >= c.y0 && y <= c.last_y;
                EXPECT_EQ(s.argb(x, y), in ? 0xFFFFFFu : 0u) << x << "," << y;
            }
    }
}

TEST(Coverage, TriangleFanSharedEdgesNeitherOverlapNorLeaveGaps) {
    // Additive blue 1 per triangle: a pixel drawn twice would read 2, a gap 0.
    Scene s(64, 64);
    s.blend(dx::D3DBLEND_ONE, dx::D3DBLEND_ONE);
    s.states({{dx::D3DRENDERSTATE_ZENABLE, 0}});
    const float cx = 31.3f, cy = 30.7f, r = 27.0f;
    const int n = 13;
    std::vector<D3DTLVERTEX> fan{tl(cx, cy, 1)};
    for (int i = 0; i <= n; ++i) {
        const double a = 2 * std::numbers::pi * i / n;
        fan.push_back(tl(static_cast<float>(cx + r * std::cos(a)), static_cast<float>(cy + r * std::sin(a)), 1));
    }
    fan.back() = fan[1];  // close exactly
    s.draw(dx::D3DPT_TRIANGLEFAN, kTL, fan);
    int covered = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const int b = s.channel(x, y, 0);
            EXPECT_LE(b, 1) << x << "," << y;
            if (std::hypot(x - cx, y - cy) < r * std::cos(std::numbers::pi / n) - 1) { EXPECT_EQ(b, 1) << x << "," << y; }
            covered += b;
        }
    EXPECT_GT(covered, 1500);
}

TEST(Lighting, DirectionalLightMatchesTheLightingEquation) {
    // Identity transforms: the quad at z 0.5 fills the viewport.
    // L = -direction = (0, 0.8, -0.6), N = (0, 0, -1): N.L = 0.6.
    // Ga = 0x40/255 = 0.25098. colour = Me + Ma Ga + Md Ld (N.L):
    //   red   0.1 + 0.2 x 0.25098 + 0.5 x 1    x 0.6 = 0.450196 -> 114.8 -> 115
    //   green 0   + 0.050196      + 1   x 0.5  x 0.6 = 0.350196 ->  89.3 ->  89
    //   blue  0   + 0.050196      + 1   x 0.25 x 0.6 = 0.200196 ->  51.05 -> 51
    Scene s(16, 16);
    s.dev->setMaterial({.diffuse = {0.5f, 1, 1, 1}, .ambient = {0.2f, 0.2f, 0.2f, 1}, .emissive = {0.1f, 0, 0, 0}});
    s.states({{dx::D3DRENDERSTATE_AMBIENT, 0x00404040}});
    s.light(7, {.dltType = D3DLIGHT_DIRECTIONAL, .diffuse = {1, 0.5f, 0.25f, 1}, .direction = {0, -0.8f, 0.6f}});
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0.5f));
    EXPECT_NEAR(s.red(8, 8), 115, 1);
    EXPECT_NEAR(s.green(8, 8), 89, 1);
    EXPECT_NEAR(s.channel(8, 8, 0), 51, 1);
    EXPECT_EQ(s.argb(3, 12), s.argb(8, 8));  // all four vertices lit alike
}

TEST(Lighting, PointLightAttenuatesAndSpotLightFallsOffBetweenThetaAndPhi) {
    // Light at (0, 0, -1), corners (+-1, +-1, 0): distance sqrt 3 = 1.7320508,
    // N.L = 1/sqrt 3 = 0.5773503, attenuation 1 / (1 + 1 x 1.7320508) = 0.3660254.
    // White light and material: 0.5773503 x 0.3660254 = 0.2113249 -> 53.9 -> 54
    // at every corner, so the quad is flat. Range 1.5 < sqrt 3: no light.
    // Spot along +z: rho = 0.5773503; cos(theta/2) = cos 40deg = 0.7660444,
    // cos(phi/2) = cos 70deg = 0.3420201:
    // spot = (0.5773503 - 0.3420201) / (0.7660444 - 0.3420201) = 0.5549905;
    // 0.2113249 x 0.5549905 = 0.1172833 -> 29.9 -> 30.
    const D3DLIGHT7 point{.dltType = D3DLIGHT_POINT, .diffuse = {1, 1, 1, 1}, .position = {0, 0, -1},
                          .range = 10, .attenuation0 = 1, .attenuation1 = 1};
    D3DLIGHT7 short_range = point, spot = point;
    short_range.range = 1.5f;
    spot.dltType = D3DLIGHT_SPOT, spot.direction = {0, 0, 1}, spot.falloff = 1;
    spot.theta = static_cast<float>(80 * std::numbers::pi / 180);
    spot.phi = static_cast<float>(140 * std::numbers::pi / 180);
    const std::pair<D3DLIGHT7, int> cases[] = {{point, 54}, {short_range, 0}, {spot, 30}};
    for (const auto& [l, expected] : cases) {
        Scene s(16, 16);
        s.dev->setMaterial({.diffuse = {1, 1, 1, 1}});
        s.light(3, l);
        s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0));
        if (expected == 0) {
            EXPECT_EQ(s.argb(8, 8), 0u);
        } else {
            EXPECT_NEAR(s.red(8, 8), expected, 1) << l.dltType;
            EXPECT_NEAR(s.green(1, 14), expected, 1) << l.dltType;
        }
    }
}

TEST(Fog, EachModeAtAKnownDepth) {
    // Perspective (near 1, far 100, 90 degrees); a white quad at depth 5
    // spanning -5..5 fills the viewport; the fog is red, so red stays 255 and
    // green and blue are 255 f:
    //   linear, start 0, end 10: f = (10 - 5) / 10 = 0.5 -> 127.5
    //   exp, density 0.1:  f = e^-0.5  = 0.6065307 -> 154.7 -> 155
    //   exp2, density 0.1: f = e^-0.25 = 0.7788008 -> 198.6 -> 199
    struct Case { Long mode; double expected, tolerance; };
    for (const Case c : {Case{dx::D3DFOG_LINEAR, 127.5, 0.5}, Case{dx::D3DFOG_EXP, 155, 1},
                         Case{dx::D3DFOG_EXP2, 199, 1}, Case{dx::D3DFOG_NONE, 255, 0}}) {
        Scene s(16, 16);
        D3DMATRIX p;
        dxmath::projectionMatrix(p, 1, 100, static_cast<float>(std::numbers::pi / 2));
        s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, p);
        s.states({{dx::D3DRENDERSTATE_LIGHTING, 0}, {dx::D3DRENDERSTATE_FOGENABLE, 1},
                  {dx::D3DRENDERSTATE_FOGCOLOR, 0x00FF0000}, {dx::D3DRENDERSTATE_FOGVERTEXMODE, c.mode}});
        s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGSTART, 0);
        s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGEND, 10);
        s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGDENSITY, 0.1f);
        s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(5, 5));
        EXPECT_EQ(s.red(8, 8), 255) << c.mode;
        EXPECT_NEAR(s.green(8, 8), c.expected, c.tolerance) << c.mode;
        EXPECT_NEAR(s.channel(8, 8, 0), c.expected, c.tolerance) << c.mode;
        // Screen-space vertices are not fogged.
        s.draw(kStrip, kTL, tl_quad(0, 0, 15, 15, 0xFF00FF00, 0.1f));
        EXPECT_EQ(s.argb(3, 3), 0x00FF00u) << c.mode;
    }
}

TEST(Blend, SourceAlphaOverAKnownBackground) {
    // Background (200, 100, 0), source (0, 0, 255) with alpha 64/255 = 0.25098:
    // red 200 x 0.74902 = 149.8 -> 150; green 74.9 -> 75; blue 255 x 0.25098 = 64.
    Scene s(8, 8);
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0x00C86400, 1, 0);
    s.blend(dx::D3DBLEND_SRCALPHA, dx::D3DBLEND_INVSRCALPHA);
    s.stage(0, {{dx::D3DTSS_ALPHAARG1, dx::D3DTA_DIFFUSE}});
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0x400000FF));
    EXPECT_EQ(s.argb(3, 3), 0x964B40u);
}

class DepthFormats : public ::testing::TestWithParam<int> {};

TEST_P(DepthFormats, NearerWinsInEitherOrderEqualPassesAndNoWriteDrawsOver) {
    const auto red = tl_quad(0, 0, 7, 7, 0xFFFF0000, 0.2f), green = tl_quad(0, 0, 7, 7, 0xFF00FF00, 0.8f);
    for (bool near_first : {true, false}) {
        Scene s(8, 8, PixelFormat::x8r8g8b8(), GetParam());
        s.draw(kStrip, kTL, near_first ? red : green);
        s.draw(kStrip, kTL, near_first ? green : red);
        EXPECT_EQ(s.argb(4, 4), 0xFF0000u) << "near first " << near_first;
    }
    Scene s(8, 8, PixelFormat::x8r8g8b8(), GetParam());
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFFFF0000, 0.37f));
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF0000FF, 0.37f));
    EXPECT_EQ(s.argb(4, 4), 0x0000FFu);  // equal depth passes LESSEQUAL
    s.reset();
    s.states({{dx::D3DRENDERSTATE_ZWRITEENABLE, 0}});
    s.draw(kStrip, kTL, red);
    s.draw(kStrip, kTL, green);
    EXPECT_EQ(s.argb(4, 4), 0x00FF00u);
}

INSTANTIATE_TEST_SUITE_P(Bits, DepthFormats, ::testing::Values(16, 24, 32));

TEST(Stages, EachStageResultIsRoundedToEightBits) {
    // Stage 0 MODULATE: texel 200 x diffuse 100 / 255 = 78.43 -> 78 (and
    // green 201 x 101 / 255 = 79.61 -> 80). Stage 1 MODULATE4X with texel 129:
    // from the rounded 78, 4 x 78 x 129 / 255 = 157.84 -> 158; unrounded it
    // would be 158.70 -> 159. Green: 4 x 80 x 129 / 255 = 161.88 -> 162.
    Scene s(8, 8);
    s.dev->setTexture(0, make_texture(1, 1, {0xFFC8C900}));
    s.dev->setTexture(1, make_texture(1, 1, {0xFF818181}));
    s.stage(1, {{dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE4X}, {dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE},
                {dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT}});
    for (auto routines : {Direct3DDevice7::PixelRoutines::Best, Direct3DDevice7::PixelRoutines::Portable}) {
        s.dev->set_pixel_routines(routines);
        for (bool fast : {true, false}) {
            s.dev->set_fast_paths(fast);
            s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF646500));
            EXPECT_EQ(s.argb(3, 3), 0x9EA200u) << (fast ? "fast" : "general");
        }
    }
}

TEST(Culling, CounterClockwiseIsCulledByDefaultAndUnknownModesCullNothing) {
    const std::vector<D3DTLVERTEX> cw = {tl(0, 0, -1), tl(8, 0, -1), tl(0, 8, -1)};  // clockwise on screen
    const std::vector<D3DTLVERTEX> ccw = {tl(0, 0, -1), tl(0, 8, -1), tl(8, 0, -1)};
    struct Case { Long mode; bool cw_drawn, ccw_drawn; };
    for (const Case c : {Case{dx::D3DCULL_CCW, true, false}, Case{dx::D3DCULL_CW, false, true},
                         Case{dx::D3DCULL_NONE, true, true}, Case{0, true, true}, Case{77, true, true}}) {
        Scene s(8, 8);
        s.states({{dx::D3DRENDERSTATE_CULLMODE, c.mode}});
        s.draw(dx::D3DPT_TRIANGLELIST, kTL, cw);
        EXPECT_EQ(s.argb(1, 1) != 0, c.cw_drawn) << c.mode;
        s.reset();
        s.draw(dx::D3DPT_TRIANGLELIST, kTL, ccw);
        EXPECT_EQ(s.argb(1, 1) != 0, c.ccw_drawn) << c.mode;
    }
}

TEST(Clipping, TrianglesThroughTheNearAndFarPlanesDrawTheirVisiblePart) {
    // A floor from behind the camera (z -5) to beyond the far plane (50), 90
    // degrees of view: the rows below the horizon are drawn up to the near
    // plane; depth 50 lies at y = 16 + 16/50, so the far part is cut there.
    Scene s(32, 32);
    D3DMATRIX p;
    dxmath::projectionMatrix(p, 1, 50, static_cast<float>(std::numbers::pi / 2));
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, p);
    s.states({{dx::D3DRENDERSTATE_LIGHTING, 0}});
    s.draw(kStrip, dx::D3DFVF_VERTEX,
           std::vector<D3DVERTEX>{vtx(-10, -1, -5, 0, 1, 0), vtx(-10, -1, 100, 0, 1, 0), vtx(10, -1, -5, 0, 1, 0),
                                  vtx(10, -1, 100, 0, 1, 0)});
    EXPECT_NE(s.argb(16, 31), 0u);
    EXPECT_NE(s.argb(16, 18), 0u);
    EXPECT_EQ(s.argb(16, 16), 0u);
    EXPECT_EQ(s.argb(16, 10), 0u);
}
