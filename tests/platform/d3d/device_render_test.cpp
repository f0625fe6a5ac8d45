// Pictures the device must draw, with the expected pixels worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "d3d_test_util.h"
#include "platform/base/dx_math.h"

using namespace tarko;
using namespace tarko::d3dtest;

namespace {

constexpr Long kTL = dx::D3DFVF_TLVERTEX;
constexpr Long kStrip = dx::D3DPT_TRIANGLESTRIP;
constexpr Long kList = dx::D3DPT_TRIANGLELIST;

// A unit quad at z = `z` spanning x, y in -s..s, facing the camera (normal -z).
std::vector<D3DVERTEX> facing_quad(float s, float z) {
    return {vtx(-s, -s, z, 0, 0, -1, 0, 1), vtx(-s, s, z, 0, 0, -1, 0, 0), vtx(s, -s, z, 0, 0, -1, 1, 1),
            vtx(s, s, z, 0, 0, -1, 1, 0)};
}

}  // namespace

TEST(Coverage, FullScreenTLQuadFromZeroToSizeMinusOneCoversEveryPixel) {
    // The flash quad spans 0..w-1 x 0..h-1; edges on the viewport's last
    // column and row keep their pixels, so all 8 x 6 pixels turn white.
    Scene s(8, 6);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 5, 0xFFFFFFFF));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x) EXPECT_EQ(s.argb(x, y), 0xFFFFFFu) << x << "," << y;
}

TEST(Coverage, InteriorQuadFollowsTopLeftRule) {
    // Quad 2..5 x 1..4 with pixel centres on whole numbers: left and top
    // edges are in, right and bottom out, so columns 2..4 and rows 1..3.
    Scene s(8, 6);
    s.draw(kStrip, kTL, tl_quad(2, 1, 5, 4, 0xFFFFFFFF));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(s.argb(x, y) != 0, x >= 2 && x <= 4 && y >= 1 && y <= 3) << x << "," << y;
}

TEST(Coverage, TriangleFanSharedEdgesNeitherOverlapNorLeaveGaps) {
    // Additive blue 1 per triangle: a pixel drawn twice would read 2, a gap 0.
    Scene s(64, 64);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ONE);
    s.dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ONE);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ZENABLE, 0);
    const float cx = 31.3f, cy = 30.7f, r = 27.0f;
    std::vector<D3DTLVERTEX> fan{tl(cx, cy, 1)};
    const int n = 13;
    for (int i = 0; i <= n; ++i) {
        const double a = 2 * std::numbers::pi * i / n;
        fan.push_back(tl(static_cast<float>(cx + r * std::cos(a)), static_cast<float>(cy + r * std::sin(a)), 1));
    }
    fan.back() = fan[1];  // close exactly
    s.draw(dx::D3DPT_TRIANGLEFAN, kTL, fan);
    int covered = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const int b = s.blue(x, y);
            EXPECT_LE(b, 1) << x << "," << y;
            const double d = std::hypot(x - cx, y - cy);
            if (d < r * std::cos(std::numbers::pi / n) - 1) {
                EXPECT_EQ(b, 1) << "gap at " << x << "," << y;
            }
            covered += b;
        }
    EXPECT_GT(covered, 1500);
}

TEST(Coverage, JitteredMeshCoversInteriorExactlyOnce) {
    // A 6 x 6 grid of quads with sub-pixel jittered inner vertices, drawn as
    // a triangle list: every pixel inside the outer square reads exactly 1.
    Scene s(70, 70);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ONE);
    s.dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ONE);
    auto px = [](int i, int j) {
        const bool inner = i > 0 && i < 6 && j > 0 && j < 6;
        const float jx = inner ? static_cast<float>((i * 7 + j * 3) % 11) / 11.0f * 5 - 2.5f : 0;
        const float jy = inner ? static_cast<float>((i * 5 + j * 9) % 13) / 13.0f * 5 - 2.5f : 0;
        return std::pair{3.0f + 10.5f * static_cast<float>(i) + jx, 2.0f + 10.25f * static_cast<float>(j) + jy};
    };
    std::vector<D3DTLVERTEX> tris;
    for (int j = 0; j < 6; ++j)
        for (int i = 0; i < 6; ++i) {
            auto [ax, ay] = px(i, j);
            auto [bx, by] = px(i + 1, j);
            auto [cx, cy] = px(i, j + 1);
            auto [dx_, dy_] = px(i + 1, j + 1);
            for (auto [x, y] : {std::pair{ax, ay}, {bx, by}, {cx, cy}, {bx, by}, {dx_, dy_}, {cx, cy}})
                tris.push_back(tl(x, y, 1));
        }
    s.draw(kList, kTL, tris);
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 70; ++x) {
            const bool inside = x >= 3 && x < 66 && y >= 2 && y < 64;  // right 3 + 63, bottom 2 + 61.5
            EXPECT_EQ(s.blue(x, y), inside ? 1 : 0) << x << "," << y;
        }
}

TEST(Lighting, DirectionalLightMatchesTheLightingEquation) {
    // Identity transforms: the quad at z 0.5 fills the viewport.
    // L = -direction = (0, 0.8, -0.6), N = (0, 0, -1): N.L = 0.6.
    // Ga = 0x40/255 = 0.25098. colour = Me + Ma Ga + Md Ld (N.L):
    //   red   0.1 + 0.2 x 0.25098 + 0.5 x 1    x 0.6 = 0.450196 -> 114.8 -> 115
    //   green 0   + 0.050196      + 1   x 0.5  x 0.6 = 0.350196 ->  89.3 ->  89
    //   blue  0   + 0.050196      + 1   x 0.25 x 0.6 = 0.200196 ->  51.05 -> 51
    Scene s(16, 16);
    D3DMATERIAL7 m;
    m.diffuse = {0.5f, 1, 1, 1};
    m.ambient = {0.2f, 0.2f, 0.2f, 1};
    m.emissive = {0.1f, 0, 0, 0};
    s.dev->setMaterial(m);
    s.dev->setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0x00404040);
    D3DLIGHT7 l;
    l.dltType = D3DLIGHT_DIRECTIONAL;
    l.diffuse = {1, 0.5f, 0.25f, 1};
    l.direction = {0, -0.8f, 0.6f};
    s.dev->setLight(7, l);
    s.dev->lightEnable(7, true);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0.5f));
    EXPECT_NEAR(s.red(8, 8), 115, 1);
    EXPECT_NEAR(s.green(8, 8), 89, 1);
    EXPECT_NEAR(s.blue(8, 8), 51, 1);
    EXPECT_EQ(s.argb(3, 12), s.argb(8, 8));  // all four vertices lit alike
}

TEST(Lighting, PointLightAttenuatesWithDistance) {
    // Light at (0, 0, -1), corners (+-1, +-1, 0): distance sqrt 3 = 1.7320508,
    // N.L = 1/sqrt 3 = 0.5773503, attenuation 1 / (1 + 1 x 1.7320508) = 0.3660254.
    // White light and material: 0.5773503 x 0.3660254 = 0.2113249 -> 53.9 -> 54
    // at every corner, so the quad is flat.
    Scene s(16, 16);
    D3DMATERIAL7 m;
    m.diffuse = {1, 1, 1, 1};
    s.dev->setMaterial(m);
    D3DLIGHT7 l;
    l.dltType = D3DLIGHT_POINT;
    l.diffuse = {1, 1, 1, 1};
    l.position = {0, 0, -1};
    l.range = 10;
    l.attenuation0 = 1, l.attenuation1 = 1;
    s.dev->setLight(0, l);
    s.dev->lightEnable(0, true);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0));
    EXPECT_NEAR(s.red(8, 8), 54, 1);
    EXPECT_NEAR(s.green(1, 14), 54, 1);

    // Range shorter than the distance: no light at all.
    l.range = 1.5f;
    s.dev->setLight(0, l);
    s.dev->clear(0, {}, 3, 0, 1, 0);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0));
    EXPECT_EQ(s.argb(8, 8), 0u);
}

TEST(Lighting, SpotLightConeFallsOffBetweenThetaAndPhi) {
    // As the point light above, pointing along +z. rho = 0.5773503;
    // cos(theta/2) = cos 40deg = 0.7660444, cos(phi/2) = cos 70deg = 0.3420201:
    // spot = (0.5773503 - 0.3420201) / (0.7660444 - 0.3420201) = 0.5549905.
    // 0.2113249 x 0.5549905 = 0.1172833 -> 29.9 -> 30
    Scene s(16, 16);
    D3DMATERIAL7 m;
    m.diffuse = {1, 1, 1, 1};
    s.dev->setMaterial(m);
    D3DLIGHT7 l;
    l.dltType = D3DLIGHT_SPOT;
    l.diffuse = {1, 1, 1, 1};
    l.position = {0, 0, -1};
    l.direction = {0, 0, 1};
    l.range = 10;
    l.attenuation0 = 1, l.attenuation1 = 1;
    l.falloff = 1;
    l.theta = static_cast<float>(80 * std::numbers::pi / 180);
    l.phi = static_cast<float>(140 * std::numbers::pi / 180);
    s.dev->setLight(3, l);
    s.dev->lightEnable(3, true);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0));
    EXPECT_NEAR(s.red(8, 8), 30, 1);
}

TEST(Lighting, UnlitVertexIsWhiteAndLitLVertexTakesAmbientOnly) {
    Scene s(8, 8);
    s.dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(1, 0.5f));
    EXPECT_EQ(s.argb(4, 4), 0xFFFFFFu);

    // LVERTEX has no normal: lit, only Ma x Ga + Me remain. Ma 0.5, Ga 1 -> 127.5.
    D3DMATERIAL7 m;
    m.ambient = {0.5f, 0.5f, 0.5f, 1};
    s.dev->setMaterial(m);
    s.dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_AMBIENT, -1);
    std::vector<D3DLVERTEX> q(4);
    const float xy[4][2] = {{-1, -1}, {-1, 1}, {1, -1}, {1, 1}};
    for (int i = 0; i < 4; ++i) q[i].x = xy[i][0], q[i].y = xy[i][1], q[i].z = 0.5f, q[i].color = -1;
    s.dev->clear(0, {}, 3, 0, 1, 0);
    s.draw(kStrip, dx::D3DFVF_LVERTEX, q);
    EXPECT_NEAR(s.red(4, 4), 128, 1);
}

TEST(Lighting, SpecularAddsOnlyWhenEnabled) {
    // Unlit LVERTEX: diffuse blue 0x80, specular red 0x40.
    Scene s(8, 8);
    s.dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    std::vector<D3DLVERTEX> q(4);
    const float xy[4][2] = {{-1, -1}, {-1, 1}, {1, -1}, {1, 1}};
    for (int i = 0; i < 4; ++i)
        q[i].x = xy[i][0], q[i].y = xy[i][1], q[i].z = 0.5f, q[i].color = 0x00000080, q[i].specular = 0x00400000;
    s.draw(kStrip, dx::D3DFVF_LVERTEX, q);
    EXPECT_EQ(s.argb(4, 4), 0x000080u);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SPECULARENABLE, 1);
    s.draw(kStrip, dx::D3DFVF_LVERTEX, q);
    EXPECT_EQ(s.argb(4, 4), 0x400080u);
}

namespace {
// Perspective with near 1, far 100, 90 degrees; a white quad at camera depth 5
// spanning -5..5 fills the viewport.
void fog_scene(Scene& s) {
    D3DMATRIX p;
    dxmath::projectionMatrix(p, 1, 100, static_cast<float>(std::numbers::pi / 2));
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, p);
    s.dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FOGENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FOGCOLOR, 0x00FF0000);
}
}  // namespace

TEST(Fog, LinearFogAtKnownDepth) {
    // start 0, end 10, depth 5: f = (10 - 5) / 10 = 0.5.
    // white x 0.5 + red x 0.5 = (1, 0.5, 0.5) -> (255, 127.5, 127.5)
    Scene s(16, 16);
    fog_scene(s);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_LINEAR);
    s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGSTART, 0);
    s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGEND, 10);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(5, 5));
    EXPECT_EQ(s.red(8, 8), 255);
    EXPECT_NEAR(s.green(8, 8), 127.5, 0.5);
    EXPECT_NEAR(s.blue(8, 8), 127.5, 0.5);
}

TEST(Fog, ExponentialModesAtKnownDepth) {
    // density 0.1, depth 5: exp f = e^-0.5 = 0.6065307 -> 154.7 -> 155;
    // exp2 f = e^-0.25 = 0.7788008 -> 198.6 -> 199.
    Scene s(16, 16);
    fog_scene(s);
    s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGDENSITY, 0.1f);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_EXP);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(5, 5));
    EXPECT_NEAR(s.green(8, 8), 155, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_EXP2);
    s.dev->clear(0, {}, 3, 0, 1, 0);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(5, 5));
    EXPECT_NEAR(s.green(8, 8), 199, 1);
    // Mode none: no fog.
    s.dev->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_NONE);
    s.dev->clear(0, {}, 3, 0, 1, 0);
    s.draw(kStrip, dx::D3DFVF_VERTEX, facing_quad(5, 5));
    EXPECT_EQ(s.argb(8, 8), 0xFFFFFFu);
}

TEST(Fog, ScreenSpaceVerticesAreNotFogged) {
    Scene s(8, 8);
    fog_scene(s);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FOGVERTEXMODE, dx::D3DFOG_EXP);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF00FF00));
    EXPECT_EQ(s.argb(3, 3), 0x00FF00u);
}

TEST(Blend, SourceAlphaOverKnownBackground) {
    // Background (200, 100, 0); source (0, 0, 255) with alpha 64/255 = 0.25098:
    //   red 200 x 0.74902 = 149.8 -> 150; green 100 x 0.74902 = 74.9 -> 75;
    //   blue 255 x 0.25098 = 64
    Scene s(8, 8);
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0x00C86400, 1, 0);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
    s.dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
    s.dev->setTextureStageState(0, dx::D3DTSS_ALPHAARG1, dx::D3DTA_DIFFUSE);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0x400000FF));
    EXPECT_EQ(s.argb(3, 3), 0x964B40u);
}

TEST(Blend, AdditiveWhiteBrightensAndAdditiveBlackChangesNothing) {
    Scene s(8, 8, PixelFormat::r5g6b5());
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0x00336699, 1, 0);
    const auto before = s.pixels();
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ONE);
    s.dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ONE);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0x9F000000));  // black, any alpha: the fade pass
    EXPECT_EQ(s.pixels(), before);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFFFFFFFF));
    for (auto p : s.pixels()) EXPECT_EQ(p, 0xFFFFu);
}

TEST(Blend, ColourFactorsModulateWithTheDestination) {
    // SRCCOLOR / INVSRCCOLOR with source 0.5 grey over white: 0.25 + 0.5 = 0.75.
    // 128/255 = 0.50196: 0.50196^2 + 1 x 0.49804 = 0.75 -> 191.25 -> 191
    Scene s(8, 8);
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0x00FFFFFF, 1, 0);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCCOLOR);
    s.dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCCOLOR);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF808080));
    EXPECT_NEAR(s.red(2, 2), 191, 1);
}

TEST(Target, R5G6B5KeepsTheTopBits) {
    // (132, 130, 132) -> r 132 >> 3 = 16, g 130 >> 2 = 32, b 16: 0x8410.
    Scene s(4, 4, PixelFormat::r5g6b5());
    s.draw(kStrip, kTL, tl_quad(0, 0, 3, 3, 0xFF848284));
    EXPECT_EQ(s.target->raw_at(1, 1), 0x8410u);
}

class DepthFormats : public ::testing::TestWithParam<int> {};

TEST_P(DepthFormats, NearerSurfaceWinsInEitherOrder) {
    for (bool near_first : {true, false}) {
        Scene s(8, 8, PixelFormat::x8r8g8b8(), GetParam());
        const auto near_q = tl_quad(0, 0, 7, 7, 0xFFFF0000, 0.2f);
        const auto far_q = tl_quad(0, 0, 7, 7, 0xFF00FF00, 0.8f);
        s.draw(kStrip, kTL, near_first ? near_q : far_q);
        s.draw(kStrip, kTL, near_first ? far_q : near_q);
        EXPECT_EQ(s.argb(4, 4), 0xFF0000u) << "bits " << GetParam() << " near first " << near_first;
    }
}

TEST_P(DepthFormats, WithoutZWriteLaterSurfacesDrawOver) {
    Scene s(8, 8, PixelFormat::x8r8g8b8(), GetParam());
    s.dev->setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, 0);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFFFF0000, 0.2f));
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF00FF00, 0.8f));
    EXPECT_EQ(s.argb(4, 4), 0x00FF00u);
}

TEST_P(DepthFormats, EqualDepthPassesLessEqual) {
    Scene s(8, 8, PixelFormat::x8r8g8b8(), GetParam());
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFFFF0000, 0.37f));
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF0000FF, 0.37f));
    EXPECT_EQ(s.argb(4, 4), 0x0000FFu);
}

INSTANTIATE_TEST_SUITE_P(Bits, DepthFormats, ::testing::Values(16, 24, 32));

TEST(AlphaTest, GreaterEqualAgainstReference) {
    Scene s(8, 8);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHATESTENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHAFUNC, dx::D3DCMP_GREATEREQUAL);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHAREF, 128);
    s.dev->setTextureStageState(0, dx::D3DTSS_ALPHAARG1, dx::D3DTA_DIFFUSE);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0x7FFF0000));
    EXPECT_EQ(s.argb(4, 4), 0u);  // 127 < 128
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0x80FF0000));
    EXPECT_EQ(s.argb(4, 4), 0xFF0000u);
}

TEST(Texture, NoTextureReadsOpaqueWhite) {
    Scene s(8, 8);
    s.dev->setTexture(0, nullptr);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHATESTENABLE, 1);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHAFUNC, dx::D3DCMP_EQUAL);
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHAREF, 255);  // the texture alpha is 1
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0x000A141E));
    EXPECT_EQ(s.argb(4, 4), 0x0A141Eu);
}

TEST(Texture, PointSamplingPicksTheTexelUnderThePixelCentre) {
    // 2 x 2 texture over an 8 x 8 quad: pixel x has u = x / 8.
    Scene s(8, 8);
    s.dev->setTexture(0, make_texture(2, 2, {0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0xFFFFFFFF}));
    auto q = tl_quad(0, 0, 8, 8, 0xFFFFFFFF);
    s.draw(kStrip, kTL, q);
    EXPECT_EQ(s.argb(1, 1), 0xFF0000u);
    EXPECT_EQ(s.argb(5, 1), 0x00FF00u);
    EXPECT_EQ(s.argb(1, 5), 0x0000FFu);
    EXPECT_EQ(s.argb(6, 6), 0xFFFFFFu);
}

TEST(Texture, BilinearBlendsNeighboursAndWraps) {
    // 2 x 1 texture black | white over 8 pixels: tx = x / 4 - 0.5.
    // x 2: tx 0 -> black; x 4: tx 0.5 -> half; x 6: tx 1 -> white;
    // x 0: tx -0.5 -> halfway between texel 1 (wrapped, white) and texel 0.
    Scene s(8, 2);
    s.dev->setTexture(0, make_texture(2, 1, {0xFF000000, 0xFFFFFFFF}));
    s.dev->setTextureStageState(0, dx::D3DTSS_MAGFILTER, dx::D3DTFG_LINEAR);
    s.dev->setTextureStageState(0, dx::D3DTSS_MINFILTER, dx::D3DTFN_LINEAR);
    s.draw(kStrip, kTL, tl_quad(0, 0, 8, 2, 0xFFFFFFFF));
    EXPECT_EQ(s.red(2, 0), 0);
    EXPECT_NEAR(s.red(4, 0), 127.5, 0.5);
    EXPECT_EQ(s.red(6, 0), 255);
    EXPECT_NEAR(s.red(0, 0), 127.5, 0.5);
    EXPECT_NEAR(s.red(3, 0), 63.75, 0.5);  // tx 0.25
}

TEST(Texture, PerspectiveCorrectCoordinates) {
    // Span from x 0 (rhw 1, u 0) to x 8 (rhw 0.25, u 1). At x 4:
    // u = (0.5 x 0 x 1 + 0.5 x 1 x 0.25) / (0.5 x 1 + 0.5 x 0.25) = 0.2,
    // texel floor(0.2 x 8) = 1 of an 8-texel ramp; screen-linear would give 4.
    Scene s(8, 1);
    std::vector<std::uint32_t> ramp;
    for (int i = 0; i < 8; ++i) ramp.push_back(0xFF000000u | static_cast<std::uint32_t>(i * 30) << 16);
    s.dev->setTexture(0, make_texture(8, 1, ramp));
    std::vector<D3DTLVERTEX> q = {tl(0, 1, -1, 0.5f, 1, 0, 0), tl(0, 0, -1, 0.5f, 1, 0, 0),
                                  tl(8, 1, -1, 0.5f, 0.25f, 1, 0), tl(8, 0, -1, 0.5f, 0.25f, 1, 0)};
    s.draw(kStrip, kTL, q);
    EXPECT_EQ(s.red(4, 0), 30);
}

TEST(Texture, ColourKeyedTexelsAreNotDrawn) {
    Scene s(8, 8);
    auto tex = make_texture(2, 1, {0xFF000000, 0xFFFF0000}, PixelFormat::r5g6b5());
    tex->setColorKey(8, DDCOLORKEY{0, 0});  // black
    s.dev->clear(0, {}, dx::D3DCLEAR_TARGET, 0x000000FF, 1, 0);
    s.dev->setTexture(0, tex);
    s.dev->setRenderState(dx::D3DRENDERSTATE_COLORKEYENABLE, 1);
    s.draw(kStrip, kTL, tl_quad(0, 0, 8, 8, 0xFFFFFFFF));
    EXPECT_EQ(s.argb(1, 1), 0x0000FFu);  // keyed: background stays
    EXPECT_EQ(s.argb(6, 1), 0xFF0000u);
}

TEST(Stages, SecondStageAddsItsTexture) {
    // Stage 0 selects (100, 0, 0); stage 1 adds (0, 50, 20); stage 1 asks for
    // coordinate set 1, which no vertex has: it reads set 0.
    Scene s(8, 8);
    s.dev->setTexture(0, make_texture(1, 1, {0xFF640000}));
    s.dev->setTexture(1, make_texture(1, 1, {0xFF003214}));
    s.dev->setTextureStageState(0, dx::D3DTSS_COLOROP, dx::D3DTOP_SELECTARG1);
    s.dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_ADD);
    s.dev->setTextureStageState(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    s.dev->setTextureStageState(1, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFFFFFFFF));
    EXPECT_EQ(s.argb(3, 3), 0x643214u);

    // MODULATE2X: 100 x 2 x 128/255 = 100.4 -> 100 in red.
    s.dev->setTexture(1, make_texture(1, 1, {0xFF808080}));
    s.dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE2X);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFFFFFFFF));
    EXPECT_EQ(s.red(3, 3), 100);

    // ADDSIGNED on stage 0: 100/255 + 1 - 0.5 -> 0.892 -> 227.5
    s.dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_DISABLE);
    s.dev->setTextureStageState(0, dx::D3DTSS_COLOROP, dx::D3DTOP_ADDSIGNED);
    s.dev->setTextureStageState(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
    s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFFFFFFFF));
    EXPECT_NEAR(s.red(3, 3), 227.5, 0.5);
}

TEST(Stages, EachStageResultIsRoundedToEightBits) {
    // Stage 0 MODULATE: texel 200 x diffuse 100 / 255 = 78.43 -> 78 (and
    // green 201 x 101 / 255 = 79.61 -> 80). Stage 1 MODULATE4X with texel 129:
    // from the rounded 78, 4 x 78 x 129 / 255 = 157.84 -> 158; unrounded it
    // would be 158.70 -> 159. Green: 4 x 80 x 129 / 255 = 161.88 -> 162.
    Scene s(8, 8);
    s.dev->setTexture(0, make_texture(1, 1, {0xFFC8C900}));
    s.dev->setTexture(1, make_texture(1, 1, {0xFF818181}));
    s.dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE4X);
    s.dev->setTextureStageState(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    s.dev->setTextureStageState(1, dx::D3DTSS_COLORARG2, dx::D3DTA_CURRENT);
    for (auto routines : {Direct3DDevice7::PixelRoutines::Best, Direct3DDevice7::PixelRoutines::Portable}) {
        s.dev->set_pixel_routines(routines);
        for (bool fast : {true, false}) {
            s.dev->set_fast_paths(fast);
            s.draw(kStrip, kTL, tl_quad(0, 0, 7, 7, 0xFF646500));
            EXPECT_EQ(s.argb(3, 3), 0x9EA200u) << (fast ? "fast" : "general");
        }
    }
}

TEST(Stages, BumpEnvironmentMapShiftsTheNextStagesCoordinates) {
    // Bump texel du = 64 (0.5), matrix 00 = 1: u 0.25 reads u 0.75 on stage 1,
    // whose 2-texel texture is black | white.
    Scene s(8, 2);
    auto bump = make_surface(1, 1, PixelFormat::bump_du_dv_8_8(), dx::DDSCAPS_TEXTURE);
    bump->set_raw(0, 0, 0x0040);
    bump->touch();
    s.dev->setTexture(0, bump);
    s.dev->setTexture(1, make_texture(2, 1, {0xFF000000, 0xFFFFFFFF}));
    s.dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_SELECTARG1);
    s.dev->setTextureStageState(1, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
    s.dev->setTextureStageState(0, dx::D3DTSS_COLOROP, dx::D3DTOP_BUMPENVMAP);
    s.dev->setTextureStageState(0, dx::D3DTSS_BUMPENVMAT00, 1);
    s.draw(kStrip, kTL, tl_quad(0, 0, 8, 2, 0xFFFFFFFF));
    EXPECT_EQ(s.argb(2, 0), 0xFFFFFFu);
    s.dev->setTextureStageState(0, dx::D3DTSS_BUMPENVMAT00, 0);
    s.draw(kStrip, kTL, tl_quad(0, 0, 8, 2, 0xFFFFFFFF));
    EXPECT_EQ(s.argb(2, 0), 0u);
}

TEST(Culling, CounterClockwiseIsCulledByDefaultAndZeroMeansNone) {
    const std::vector<D3DTLVERTEX> cw = {tl(0, 0, -1), tl(8, 0, -1), tl(0, 8, -1)};  // clockwise on screen
    const std::vector<D3DTLVERTEX> ccw = {tl(0, 0, -1), tl(0, 8, -1), tl(8, 0, -1)};
    struct Case { Long mode; bool cw_drawn, ccw_drawn; };
    for (const Case c : {Case{dx::D3DCULL_CCW, true, false}, Case{dx::D3DCULL_CW, false, true},
                         Case{dx::D3DCULL_NONE, true, true}, Case{0, true, true}, Case{77, true, true}}) {
        Scene s(8, 8);
        s.dev->setRenderState(dx::D3DRENDERSTATE_CULLMODE, c.mode);
        s.draw(kList, kTL, cw);
        EXPECT_EQ(s.argb(1, 1) != 0, c.cw_drawn) << c.mode;
        s.dev->clear(0, {}, 3, 0, 1, 0);
        s.draw(kList, kTL, ccw);
        EXPECT_EQ(s.argb(1, 1) != 0, c.ccw_drawn) << c.mode;
    }
}

TEST(Shading, FlatTakesTheFirstVertexAndInvalidModeIsGouraud) {
    const std::vector<D3DTLVERTEX> t = {tl(0, 0, 0xFFFF0000), tl(16, 0, 0xFF00FF00), tl(0, 16, 0xFF0000FF)};
    Scene s(16, 16);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SHADEMODE, dx::D3DSHADE_FLAT);
    s.draw(kList, kTL, t);
    EXPECT_EQ(s.argb(1, 1), 0xFF0000u);
    EXPECT_EQ(s.argb(10, 2), 0xFF0000u);
    s.dev->setRenderState(dx::D3DRENDERSTATE_SHADEMODE, 0);
    s.draw(kList, kTL, t);
    // Gouraud at (8, 4): weights red 0.25, green 0.5, blue 0.25.
    EXPECT_NEAR(s.red(8, 4), 63.75, 1);
    EXPECT_NEAR(s.green(8, 4), 127.5, 1);
    EXPECT_NEAR(s.blue(8, 4), 63.75, 1);
}

TEST(FillMode, WireframeAndPointLeaveTheInteriorEmpty) {
    const std::vector<D3DTLVERTEX> t = {tl(2, 2, -1), tl(20, 2, -1), tl(2, 20, -1)};
    Scene s(24, 24);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FILLMODE, dx::D3DFILL_WIREFRAME);
    s.draw(kList, kTL, t);
    EXPECT_NE(s.argb(10, 2), 0u);  // top edge
    EXPECT_EQ(s.argb(6, 6), 0u);   // interior
    s.dev->clear(0, {}, 3, 0, 1, 0);
    s.dev->setRenderState(dx::D3DRENDERSTATE_FILLMODE, dx::D3DFILL_POINT);
    s.draw(kList, kTL, t);
    int lit = 0;
    for (auto p : s.pixels()) lit += (p & 0xFFFFFF) != 0;
    EXPECT_EQ(lit, 3);
    EXPECT_NE(s.argb(20, 2), 0u);
}

TEST(Primitives, PointsLinesAndStripsDrawWhereExpected) {
    Scene s(16, 16);
    s.draw(dx::D3DPT_POINTLIST, kTL, std::vector<D3DTLVERTEX>{tl(3, 4, -1), tl(10.4f, 11.6f, -1)});
    EXPECT_NE(s.argb(3, 4), 0u);
    EXPECT_NE(s.argb(10, 12), 0u);
    s.draw(dx::D3DPT_LINESTRIP, kTL, std::vector<D3DTLVERTEX>{tl(0, 8, 0xFF00FF00), tl(15, 8, 0xFF00FF00)});
    for (int x = 0; x < 15; ++x) EXPECT_EQ(s.argb(x, 8), 0x00FF00u) << x;
    EXPECT_EQ(s.argb(5, 7), 0u);
    EXPECT_EQ(s.argb(5, 9), 0u);
}

TEST(Clipping, TrianglesThroughTheNearAndFarPlanesDrawTheirVisiblePart) {
    // A floor from behind the camera to beyond the far plane: the middle rows
    // are drawn, nothing is read from behind the eye.
    Scene s(32, 32);
    D3DMATRIX p;
    dxmath::projectionMatrix(p, 1, 50, static_cast<float>(std::numbers::pi / 2));
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, p);
    s.dev->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    const std::vector<D3DVERTEX> floor = {vtx(-10, -1, -5, 0, 1, 0), vtx(-10, -1, 100, 0, 1, 0),
                                          vtx(10, -1, -5, 0, 1, 0), vtx(10, -1, 100, 0, 1, 0)};
    s.draw(kStrip, dx::D3DFVF_VERTEX, floor);
    EXPECT_NE(s.argb(16, 31), 0u);  // just below the horizon up to the near plane
    EXPECT_NE(s.argb(16, 18), 0u);
    EXPECT_EQ(s.argb(16, 10), 0u);  // above the horizon: sky
    // Depth 50 (far plane) lies at y = 16 + 16/50: the far part is cut.
    EXPECT_EQ(s.argb(16, 16), 0u);
}

TEST(Threads, PicturesAreIdenticalForEveryThreadCount) {
    std::vector<std::uint32_t> first;
    for (int threads : {1, 2, 3, 4}) {
        Scene s(200, 150);
        s.dev->set_thread_count(threads);
        s.dev->setTexture(0, make_texture(4, 4, {0xFF102030, 0x80FFFFFF, 0xFF00FF00, 0x40FF0000, 0xFF0000FF,
                                                 0xFF808080, 0xC0123456, 0xFF654321, 0x10101010, 0xFFFFFFFF,
                                                 0xFF000000, 0x7F7F7F7F, 0xFFABCDEF, 0xFF00FFFF, 0xFFFF00FF,
                                                 0xFFFFFF00}));
        s.dev->setTextureStageState(0, dx::D3DTSS_MAGFILTER, dx::D3DTFG_LINEAR);
        s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
        s.dev->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
        s.dev->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
        std::vector<D3DTLVERTEX> tris;
        std::uint32_t seed = 12345;
        auto rnd = [&seed] { seed = seed * 1664525u + 1013904223u; return static_cast<float>(seed >> 8) / 16777216.0f; };
        for (int i = 0; i < 300; ++i)
            tris.push_back(tl(rnd() * 240 - 20, rnd() * 190 - 20, 0xFF000000u | (seed & 0xFFFFFF), rnd(),
                              0.2f + rnd(), rnd() * 3, rnd() * 3));
        s.draw(kList, kTL, tris);
        if (first.empty()) {
            first = s.pixels();
        } else {
            EXPECT_EQ(s.pixels(), first) << threads << " threads";
        }
    }
}
