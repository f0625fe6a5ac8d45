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

TEST(Lighting, DirectionalLightMatchesTheLightingEquationUnderMirroringWorlds) {
    // The quad at z 0.5 fills the viewport.
    // L = -direction = (0, 0.8, -0.6), N = (0, 0, -1): N.L = 0.6.
    // Ga = 0x40/255 = 0.25098. colour = Me + Ma Ga + Md Ld (N.L):
    //   red   0.1 + 0.2 x 0.25098 + 0.5 x 1    x 0.6 = 0.450196 -> 114.8 -> 115
    //   green 0   + 0.050196      + 1   x 0.5  x 0.6 = 0.350196 ->  89.3 ->  89
    //   blue  0   + 0.050196      + 1   x 0.25 x 0.6 = 0.200196 ->  51.05 -> 51
    // The same under a world mirrored in x (determinant -1) or turned half round:
    // N stays -z. A normal left flipped by the mirror would give red 38 (no diffuse).
    const float worlds[][2] = {{1, 1}, {-1, 1}, {-1, -1}};
    for (const auto& scale : worlds) {
        Scene s(16, 16);
        D3DMATRIX w = identity();
        w.rc11 = scale[0];
        w.rc22 = scale[1];
        s.dev->setTransform(dx::D3DTRANSFORMSTATE_WORLD, w);
        s.dev->setMaterial({.diffuse = {0.5f, 1, 1, 1}, .ambient = {0.2f, 0.2f, 0.2f, 1}, .emissive = {0.1f, 0, 0, 0}});
        s.states({{dx::D3DRENDERSTATE_AMBIENT, 0x00404040}});
        s.light(7, {.dltType = D3DLIGHT_DIRECTIONAL, .diffuse = {1, 0.5f, 0.25f, 1}, .direction = {0, -0.8f, 0.6f}});
        s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0.5f));
        EXPECT_NEAR(s.red(8, 8), 115, 1) << scale[0] << " " << scale[1];
        EXPECT_NEAR(s.green(8, 8), 89, 1) << scale[0] << " " << scale[1];
        EXPECT_NEAR(s.channel(8, 8, 0), 51, 1) << scale[0] << " " << scale[1];
        EXPECT_EQ(s.argb(3, 12), s.argb(8, 8));  // all four vertices lit alike
    }
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
    for (const Case c : {Case{dx::D3DFOG_LINEAR, 127.5, 0.5}, Case{dx::D3DFOG_EXP, 155, 1}, Case{dx::D3DFOG_EXP2, 199, 1}}) {
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

TEST_P(DepthFormats, NearerWinsEqualPassesAndNoWriteDrawsOver) {
    const auto red = tl_quad(0, 0, 7, 7, 0xFFFF0000, 0.2f), green = tl_quad(0, 0, 7, 7, 0xFF00FF00, 0.8f);
    Scene s(8, 8, PixelFormat::x8r8g8b8(), GetParam());
    s.draw(kStrip, kTL, red);
    s.draw(kStrip, kTL, green);
    EXPECT_EQ(s.argb(4, 4), 0xFF0000u);  // the nearer red stays
    s.reset();
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
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF646500));
    EXPECT_EQ(s.argb(3, 3), 0x9EA200u);
}

TEST(Culling, CounterClockwiseIsCulledByDefaultAndUnknownModesCullNothing) {
    const std::vector<D3DTLVERTEX> cw = {tl(0, 0, -1), tl(8, 0, -1), tl(0, 8, -1)};  // clockwise on screen
    const std::vector<D3DTLVERTEX> ccw = {tl(0, 0, -1), tl(0, 8, -1), tl(8, 0, -1)};
    struct Case { Long mode; bool cw_drawn, ccw_drawn; };
    for (const Case c : {Case{dx::D3DCULL_CCW, true, false}, Case{dx::D3DCULL_CW, false, true},
                         Case{dx::D3DCULL_NONE, true, true}, Case{77, true, true}}) {
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

TEST(Clear, RectanglesStopAtTheirRightAndBottomEdgesOnTargetAndDepth) {
    // 8 x 6, white at z 1; rectangles 2..5 x 1..4 and 6..8 x 4..6 (right and
    // bottom exclusive) cleared to blue at z 0. A red quad at z 0.5 then
    // covers everything outside them and nothing inside.
    Scene s(8, 6);
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0xFFFFFF, 1, 0);
    const D3DRECT rects[] = {{2, 1, 5, 4}, {6, 4, 8, 6}};
    s.dev->clear(2, rects, dx::D3DCLEAR_TARGET | dx::D3DCLEAR_ZBUFFER, 0x0000FF, 0, 0);
    auto expected = [](std::uint32_t outside) {
        Picture p{8, 6, {}};
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 8; ++x)
                p.pixels.push_back((x >= 2 && x < 5 && y >= 1 && y < 4) || (x >= 6 && y >= 4) ? 0x0000FFu : outside);
        return p;
    };
    EXPECT_TRUE(same_picture("target", s.picture(), expected(0xFFFFFF)));
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 5, 0xFFFF0000));
    EXPECT_TRUE(same_picture("depth", s.picture(), expected(0xFF0000)));
}

TEST(Blend, AdditiveOn16BitsWidensReplicatingTheTopBitsSaturatesAndTruncates) {
    // Background 0x336699 stores as r5 6, g6 25, b5 19 and reads back as
    // (6 << 3 | 6 >> 2, 25 << 2 | 25 >> 4, 19 << 3 | 19 >> 2) = (49, 101, 156).
    // ONE + ONE with (135, 59, 112): red 184 -> 184 >> 3 = 23 (48 + 135 = 183
    // would give 22), green 160 -> 40 (159 would give 39), blue 268 -> 255 -> 31.
    // 23 << 11 | 40 << 5 | 31 = 0xBD1F. Black of any alpha changes nothing.
    Scene s(8, 8, PixelFormat::r5g6b5());
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0x00336699, 1, 0);
    EXPECT_EQ(s.target->raw_at(3, 3), 0x3333u);  // 6 << 11 | 25 << 5 | 19
    s.blend(dx::D3DBLEND_ONE, dx::D3DBLEND_ONE);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0x9F000000));
    EXPECT_EQ(s.target->raw_at(3, 3), 0x3333u);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF873B70));
    for (auto p : s.pixels()) ASSERT_EQ(p, 0xBD1Fu);
}

TEST(Texture, ColourKeyedTexelsLeaveTheBackgroundOnlyWhileKeyingIsOn) {
    // A 16-bit black | red texture keyed on black over a blue background.
    auto tex = make_texture(2, 1, {0xFF000000, 0xFFFF0000}, PixelFormat::r5g6b5());
    tex->setColorKey(8, DDCOLORKEY{0, 0});
    for (bool fast : {true, false})
        for (Long keyed : {1, 0}) {
            Scene s(8, 8);
            s.dev->set_fast_paths(fast);
            s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0x000000FF, 1, 0);
            s.dev->setTexture(0, tex);
            s.states({{dx::D3DRENDERSTATE_COLORKEYENABLE, keyed}});
            s.draw(kStrip, kTL, tl_quad(0, 0, 8, 8, 0xFFFFFFFF));
            EXPECT_EQ(s.argb(1, 1), keyed ? 0x0000FFu : 0u) << "keyed " << keyed << " fast " << fast;
            EXPECT_EQ(s.argb(6, 1), 0xFF0000u);
        }
}

TEST(Texture, ChangesToTheSurfaceAfterADrawShowInTheNextDraw) {
    // One texel, drawn, then rewritten by lock, by colour fill and by blt:
    // each following draw must show the new texel.
    Scene s(4, 4);
    auto tex = make_texture(1, 1, {0xFFFF0000});
    auto white = make_texture(1, 1, {0xFFFFFFFF});
    s.dev->setTexture(0, tex);
    const RECT all{};
    const std::pair<std::function<void()>, std::uint32_t> steps[] = {
        {[] {}, 0xFF0000u},
        {[&] {
             DDSURFACEDESC2 d;
             tex->lock(all, d, 0, 0), tex->setLockedPixel(0, 0, static_cast<Long>(0xFF00FF00u)), tex->unlock(all);
         }, 0x00FF00u},
        {[&] { tex->bltColorFill(all, static_cast<Long>(0xFF0000FFu)); }, 0x0000FFu},
        {[&] { tex->blt(all, white, all, 0); }, 0xFFFFFFu},
    };
    for (const auto& [change, colour] : steps) {
        change();
        s.draw(kStrip, kTL, tl_quad(0, 0, 3, 3, 0xFFFFFFFF));
        EXPECT_EQ(s.argb(1, 1), colour);
    }
}

TEST(Stages, BumpEnvironmentMapMovesTheNextStagesCoordinatesByTheMatrix) {
    // Stage 1 reads a 4 x 4 texture whose texel (i, j) is red 64 i, green 64 j.
    // Pixel (1, 1) of a 16 x 16 quad samples u = v = 1/16, texel (0, 0). The
    // bump texel is du = 64/128 = 0.5, dv = -32/128 = -0.25; the offset is
    // (M00 du + M10 dv, M01 du + M11 dv):
    //   M00 1: u 0.5625 -> texel 2;    M01 1: v 0.5625 -> texel row 2;
    //   M10 1: u -0.1875 wraps to 0.8125 -> texel 3;  M11 1: v -> row 3.
    std::vector<std::uint32_t> texels;
    for (std::uint32_t j = 0; j < 4; ++j)
        for (std::uint32_t i = 0; i < 4; ++i) texels.push_back(0xFF000000u | (64 * i) << 16 | (64 * j) << 8);
    auto bump = make_surface(1, 1, PixelFormat::bump_du_dv_8_8(), dx::DDSCAPS_TEXTURE);
    bump->set_raw(0, 0, 0xE040), bump->touch();
    struct Case { Long m00, m01, m10, m11; std::uint32_t expected; };
    for (const Case c : {Case{0, 0, 0, 0, 0x000000}, Case{1, 0, 0, 0, 0x800000}, Case{0, 1, 0, 0, 0x008000},
                         Case{0, 0, 1, 0, 0xC00000}, Case{0, 0, 0, 1, 0x00C000}}) {
        Scene s(16, 16);
        s.dev->setTexture(0, bump), s.dev->setTexture(1, make_texture(4, 4, texels));
        s.stage(0, {{dx::D3DTSS_COLOROP, dx::D3DTOP_BUMPENVMAP}, {dx::D3DTSS_BUMPENVMAT00, c.m00},
                    {dx::D3DTSS_BUMPENVMAT01, c.m01}, {dx::D3DTSS_BUMPENVMAT10, c.m10}, {dx::D3DTSS_BUMPENVMAT11, c.m11}});
        s.stage(1, {{dx::D3DTSS_COLOROP, dx::D3DTOP_SELECTARG1}, {dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE}});
        s.draw(kStrip, kTL, tl_quad(0, 0, 16, 16, 0xFFFFFFFF));
        EXPECT_EQ(s.argb(1, 1), c.expected) << c.m00 << c.m01 << c.m10 << c.m11;
    }
}

TEST(Shading, FlatTakesEachTrianglesFirstVertexAndOtherModesAreGouraud) {
    // Red (0, 0), green (16, 0), blue (0, 16). Gouraud at (8, 4): weights red
    // 1 - 8/16 - 4/16 = 0.25, green 0.5, blue 0.25 -> (63.75, 127.5, 63.75).
    // Flat: the first vertex's red everywhere; in a strip the second triangle
    // (green, blue, yellow (16, 16)) is green.
    const std::vector<D3DTLVERTEX> strip = {tl(0, 0, 0xFFFF0000), tl(16, 0, 0xFF00FF00), tl(0, 16, 0xFF0000FF),
                                            tl(16, 16, 0xFFFFFF00)};
    for (Long mode : {dx::D3DSHADE_FLAT, dx::D3DSHADE_GOURAUD, Long{0}}) {
        Scene s(16, 16);
        s.states({{dx::D3DRENDERSTATE_SHADEMODE, mode}});
        s.draw(kStrip, kTL, strip);
        if (mode == dx::D3DSHADE_FLAT) {
            EXPECT_EQ(s.argb(1, 1), 0xFF0000u);
            EXPECT_EQ(s.argb(10, 4), 0xFF0000u);
            EXPECT_EQ(s.argb(14, 14), 0x00FF00u);
        } else {
            EXPECT_NEAR(s.red(8, 4), 63.75, 1) << mode;
            EXPECT_NEAR(s.green(8, 4), 127.5, 1) << mode;
            EXPECT_NEAR(s.channel(8, 4, 0), 63.75, 1) << mode;
        }
    }
}

TEST(Primitives, FillModesPointListsAndLinesLightTheirPixels) {
    // Lines are one pixel wide quads along their major axis, right and bottom
    // ends out: (1,1)-(10,1) lights row 1, columns 1..9; (10,1)-(10,9) column
    // 10, rows 1..8; (10,9)-(1,9) row 9, columns 1..9. Points light the
    // nearest pixel. The triangle (2,2) (20,2) (2,20) in wireframe is its three
    // edges, in point mode its three corners.
    const auto W = 0xFFFFFFFFu;
    const std::vector<D3DTLVERTEX> path = {tl(1, 1, W), tl(10, 1, W), tl(10, 9, W), tl(1, 9, W)};
    const std::vector<D3DTLVERTEX> tri = {tl(2, 2, W), tl(20, 2, W), tl(2, 20, W)};
    const std::vector<D3DTLVERTEX> points = {tl(3, 4, W), tl(10.4f, 11.6f, W)};
    struct Span { int x0, y0, x1, y1; };  // lit pixels, ends included
    struct Case {
        const char* what;
        Long type, fill;
        const std::vector<D3DTLVERTEX>* v;
        std::vector<Span> lit;
        int count;  // lit pixels in all, or -1: not counted
    };
    const Case cases[] = {
        {"line list", dx::D3DPT_LINELIST, dx::D3DFILL_SOLID, &path, {{1, 1, 9, 1}, {1, 9, 9, 9}}, 18},
        {"line strip", dx::D3DPT_LINESTRIP, dx::D3DFILL_SOLID, &path, {{1, 1, 9, 1}, {10, 1, 10, 8}, {1, 9, 9, 9}}, 26},
        {"point list", dx::D3DPT_POINTLIST, dx::D3DFILL_SOLID, &points, {{3, 4, 3, 4}, {10, 12, 10, 12}}, 2},
        {"point fill", dx::D3DPT_TRIANGLELIST, dx::D3DFILL_POINT, &tri, {{2, 2, 2, 2}, {20, 2, 20, 2}, {2, 20, 2, 20}}, 3},
        {"wireframe", dx::D3DPT_TRIANGLELIST, dx::D3DFILL_WIREFRAME, &tri,
         {{2, 2, 19, 2}, {2, 2, 2, 19}, {11, 11, 11, 11}, {15, 7, 15, 7}}, -1},
        {"solid", dx::D3DPT_TRIANGLELIST, dx::D3DFILL_SOLID, &tri,
         {{2, 2, 19, 2}, {6, 6, 6, 6}, {12, 3, 12, 3}, {3, 15, 3, 15}}, -1},
    };
    for (const Case& c : cases) {
        Scene s(24, 24);
        s.states({{dx::D3DRENDERSTATE_FILLMODE, c.fill}});
        s.draw(c.type, kTL, *c.v);
        for (const Span& l : c.lit)
            for (int y = l.y0; y <= l.y1; ++y)
                for (int x = l.x0; x <= l.x1; ++x) EXPECT_EQ(s.argb(x, y), 0xFFFFFFu) << c.what << " at " << x << "," << y;
        int lit = 0;
        for (auto p : s.pixels()) lit += (p & 0xFFFFFF) != 0;
        if (c.count >= 0) {
            EXPECT_EQ(lit, c.count) << c.what;
        }
        if (c.fill == dx::D3DFILL_WIREFRAME) {
            EXPECT_EQ(s.argb(6, 6) | s.argb(12, 3) | s.argb(3, 15), 0u);  // the inside stays dark
        }
    }
}
