// Sphere and sphere mapping, random terrain, vertex editing.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/engine_test_support.h"
#include "platform/constants.h"

using namespace tarko;
using tarko::test::EngineFixture;

class Spheres : public EngineFixture {
protected:
    SafeArray<D3DVERTEX> v;
    SafeArray<Integer> idx;
    Long nv = -1, ni = -1;
};

TEST_F(Spheres, OneRingIsThreeVerticesTwoPolesAndTwoCaps) {
    engine.CreateSphere(v, nv, idx, ni, 2, 1);
    EXPECT_EQ((std::vector<Long>{nv, ni}), (std::vector<Long>{5, 12}));
    // One spare element at the top of each.
    ASSERT_EQ((std::vector<Long>{v.UBound(), idx.UBound()}), (std::vector<Long>{5, 12}));
    // Ring 0 at theta = 3.141592653, on the south pole's place, tv = (1 - cos theta) / 2;
    // seam tu 1 and 0.
    EXPECT_NEAR(v(0).y, -2, 1e-6);
    EXPECT_NEAR(v(0).tv, 1, 1e-6);
    EXPECT_EQ((std::vector<float>{v(0).tu, v(1).tu, v(2).tu}), (std::vector<float>{1, 0.5f, 0}));
    // Poles: V = 3 north, 4 south.
    EXPECT_EQ((std::vector<float>{v(3).y, v(3).ny, v(3).tu, v(3).tv}), (std::vector<float>{2, 1, 0.5f, 0}));
    EXPECT_EQ((std::vector<float>{v(4).y, v(4).ny, v(4).tv}), (std::vector<float>{-2, -1, 1}));
    // No ring quads: south cap (4, s, s + 1), then north cap (3, s, s + 1).
    const Integer want[13] = {4, 0, 1, 4, 1, 2, 3, 0, 1, 3, 1, 2, 0};
    for (Long i = 0; i <= 12; ++i) EXPECT_EQ(idx(i), want[i]) << i;
}

TEST_F(Spheres, TwoRingsGiveTwelveVerticesAndFortyEightIndices) {
    engine.CreateSphere(v, nv, idx, ni, 3, 2);
    EXPECT_EQ((std::vector<Long>{nv, ni}), (std::vector<Long>{12, 48}));
    // w = 5, d = pi / 2. Ring 0 on the equator: s = 1 at phi = pi / 2 is
    // (R, 0, 0) with normal (1, 0, 0), tu = 1 - 1/4, tv = (1 - 0) / 2; s = 0 is (0, 0, R).
    const D3DVERTEX& e = v(1);
    for (const auto& [got, want] : {std::pair{e.x, 3.0f}, {e.y, 0.0f}, {e.z, 0.0f}, {e.nx, 1.0f}, {e.tu, 0.75f},
                                    {e.tv, 0.5f}, {v(0).z, 3.0f}})
        EXPECT_NEAR(got, want, 1e-6);
    // First quad (r 0, s 0), first south-cap and first and last north-cap triangles.
    const struct { Long at; Integer a, b, c; } tris[] = {
        {0, 0, 5, 1}, {3, 1, 5, 6}, {18, 3, 8, 4}, {21, 4, 8, 9}, {24, 11, 5, 6}, {36, 10, 0, 1}, {45, 10, 3, 4}};
    for (const auto& t : tris)
        EXPECT_EQ((std::vector<Integer>{idx(t.at), idx(t.at + 1), idx(t.at + 2)}), (std::vector<Integer>{t.a, t.b, t.c})) << t.at;
    Integer top = 0;
    for (Long i = 0; i < 48; ++i) top = std::max(top, idx(i));
    EXPECT_EQ(top, 11);
    // Contents are not kept: a second, smaller sphere shrinks both arrays.
    engine.CreateSphere(v, nv, idx, ni, 3, 1);
    EXPECT_EQ((std::vector<Long>{v.UBound(), idx.UBound()}), (std::vector<Long>{5, 12}));
}

TEST_F(Spheres, RingCountsAtTheLimits) {
    engine.CreateSphere(v, nv, idx, ni, 1, 2);
    EXPECT_EQ(error_of([&] { engine.CreateSphere(v, nv, idx, ni, 1, 0); }), err::DivisionByZero);
    EXPECT_EQ(error_of([&] { engine.CreateSphere(v, nv, idx, ni, 1, -3); }), err::SubscriptOutOfRange);
    EXPECT_EQ((std::vector<Long>{nv, v.UBound()}), (std::vector<Long>{12, 12}));   // nothing changed
    // 127 rings: the largest index, (n - 1) w + 2n = 126 x 255 + 254 = 32384, fits.
    engine.CreateSphere(v, nv, idx, ni, 1, 127);
    EXPECT_EQ((std::vector<Long>{nv, ni}), (std::vector<Long>{127 * 255 + 2, 12 * 127 * 127}));
    // 128: 127 x 257 + 256 = 32895 does not fit an Integer.
    EXPECT_EQ(error_of([&] { engine.CreateSphere(v, nv, idx, ni, 1, 128); }), err::Overflow);
    EXPECT_EQ(nv, 127 * 255 + 2);
    EXPECT_EQ(error_of([&] { engine.CreateSphere(v, nv, idx, ni, 1, 2000000000); }), err::Overflow);
}

TEST_F(Spheres, SphereMapTakesTheNormalsThroughWorldAndView) {
    SafeArray<D3DVERTEX> m(0, 3);
    m(0) = D3DVERTEX{0, 0, 0, 0, 0, -1, 7, 8};   // towards the viewer
    m(1) = D3DVERTEX{0, 0, 0, 1, 0, 0, 7, 8};    // sideways: z' = 0 still counts
    m(2) = D3DVERTEX{0, 0, 0, 0, 1, 0, 7, 8};
    m(3) = D3DVERTEX{0, 0, 0, 0, 0, 1, 7, 8};    // away: unchanged
    EXPECT_EQ(error_of([&] { engine.Create_SPHEREmap(m); }), err::ObjectNotSet);
    open();
    // World scales x by 2; the view swaps x and y. Row vectors: M = W V has
    // M(1,2) = 2, M(2,1) = 1, M(3,3) = 1 and zeros elsewhere on rows 1 to 3.
    D3DMATRIX world, view;
    world.rc11 = 2, world.rc22 = world.rc33 = world.rc44 = 1;
    view.rc12 = view.rc21 = view.rc33 = view.rc44 = 1;
    engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_WORLD, world);
    engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_VIEW, view);
    EXPECT_TRUE(engine.Create_SPHEREmap(m));
    // tu = (n.M col 1 + 1) / 2, tv = (1 - n.M col 2) / 2: (1, 0, 0) gives
    // (0 + 1) / 2 and (1 - 2) / 2; (0, 1, 0) gives (1 + 1) / 2 and (1 - 0) / 2.
    const float want[4][2] = {{0.5f, 0.5f}, {0.5f, -0.5f}, {1, 0.5f}, {7, 8}};
    for (Long i = 0; i < 4; ++i)
        EXPECT_EQ((std::vector<float>{m(i).tu, m(i).tv}), (std::vector<float>{want[i][0], want[i][1]})) << i;
    SafeArray<D3DVERTEX> never;
    EXPECT_EQ(error_of([&] { engine.Create_SPHEREmap(never); }), err::SubscriptOutOfRange);
}

class Terrain : public EngineFixture {
protected:
    SafeArray<D3DLVERTEX> vx;
    SafeArray<Integer> ix;
};

TEST_F(Terrain, ThreeByThreeRaisesOnlyTheCentreAndNumbersFromOne) {
    // 9 draws, in column order; the fifth is point (2, 2), vertex K = 3 x 1 + 2 = 5.
    runtime::Randomize(17);
    std::vector<float> draws;
    for (int i = 0; i < 10; ++i) draws.push_back(runtime::Rnd());
    runtime::Randomize(17);
    engine.Load_Random_Terrain(D3DVECTOR{0, 1, 0}, D3DVECTOR{30, 99, 30}, vx, ix, Variant(10), Variant(10),
                               Variant(2), 4, 6);
    EXPECT_EQ(runtime::Rnd(), draws[9]);    // exactly nine drawn, no reseeding
    ASSERT_EQ((std::vector<Long>{vx.UBound(), ix.UBound()}), (std::vector<Long>{10, 24}));
    for (Long i = 1; i <= 3; ++i)
        for (Long j = 1; j <= 3; ++j) {
            const D3DLVERTEX& p = vx(3 * (i - 1) + j);
            const float rise = (i == 2 && j == 2) ? static_cast<float>(std::floor(draws[4] * 40.0) * 2) : 0.0f;
            // tu 4 i / 3 and tv 6 j / 3, rounded as Singles.
            EXPECT_EQ((std::vector<float>{p.x, p.y, p.z, p.tu, p.tv}),
                      (std::vector<float>{10.0f * i, 1 + rise, 10.0f * j, static_cast<float>(4.0 * i / 3),
                                          static_cast<float>(6.0 * j / 3)})) << i << j;
            EXPECT_EQ((std::vector<std::int32_t>{p.color, p.specular}), (std::vector<std::int32_t>{-1, -1}));
        }
    const Integer want[24] = {2, 4, 1, 2, 5, 4,  3, 5, 2, 3, 6, 5,  5, 7, 4, 5, 8, 7,  6, 8, 5, 6, 9, 8};
    for (Long k = 0; k < 24; ++k) EXPECT_EQ(ix(k), want[k]) << k;
}

TEST_F(Terrain, HeightsStayWithinThirtyNineStepsAndTheRimIsFlat) {
    // 20 x 10 grid from (5, -3, 7); the grid runs along +x and +z whatever VEC_to says.
    engine.Load_Random_Terrain(D3DVECTOR{5, -3, 7}, D3DVECTOR{-195, 0, -93}, vx, ix, Variant(10), Variant(10),
                               Variant(0.5), 1, 1);
    ASSERT_EQ((std::vector<Long>{vx.UBound(), ix.UBound()}), (std::vector<Long>{201, 6 * 19 * 9}));
    float top = -3;
    for (Long i = 1; i <= 20; ++i)
        for (Long j = 1; j <= 10; ++j) {
            const D3DLVERTEX& p = vx(10 * (i - 1) + j);
            SCOPED_TRACE(std::to_string(i) + ", " + std::to_string(j));
            EXPECT_EQ((std::vector<float>{p.x, p.z}), (std::vector<float>{5 + 10.0f * i, 7 + 10.0f * j}));
            const double steps = (p.y + 3) / 0.5;
            EXPECT_EQ(steps, std::floor(steps));
            EXPECT_LE(steps, 39);
            const bool rim = i == 1 || i == 20 || j == 1 || j == 10;
            EXPECT_TRUE(!rim || p.y == -3.0f);
            top = std::max(top, p.y);
        }
    EXPECT_GT(top, -3.0f);
}

TEST_F(Terrain, EmptyGridsAndBadArguments) {
    // Difference 5 over steps of 10: W = 0. Elements 0 and 1, one index element.
    engine.Load_Random_Terrain(D3DVECTOR{0, 0, 0}, D3DVECTOR{5, 0, 30}, vx, ix, Variant(10), Variant(10),
                               Variant(1), 1, 1);
    EXPECT_EQ((std::vector<Long>{vx.UBound(), ix.UBound()}), (std::vector<Long>{1, 0}));
    auto load = [&](float to_x, const Variant& xs) {
        return error_of([&] {
            engine.Load_Random_Terrain(D3DVECTOR{0, 0, 0}, D3DVECTOR{to_x, 0, 30}, vx, ix, xs, Variant(10),
                                       Variant(1), 1, 1);
        });
    };
    EXPECT_EQ(load(30, Variant(0)), err::DivisionByZero);
    EXPECT_EQ(load(40000, Variant(10)), err::Overflow);      // beyond an Integer
    EXPECT_EQ(load(30, Variant(-10)), err::SubscriptOutOfRange);
    EXPECT_EQ(load(30, Variant(0.00001)), err::Overflow);    // 3 000 000 x 3 points: refused
    EXPECT_EQ(vx.UBound(), 1);                               // untouched by the refusals
    // 200 x 200 points: the index of vertex 32768 does not fit an Integer.
    EXPECT_EQ(error_of([&] {
                  engine.Load_Random_Terrain(D3DVECTOR{0, 0, 0}, D3DVECTOR{200, 0, 200}, vx, ix, Variant(1),
                                             Variant(1), Variant(1), 1, 1);
              }),
              err::Overflow);
}

TEST(VertexEditing, EachOperationMovesPositionsOnly) {
    tarko_DX7 engine;
    const D3DVERTEX start{1, -2, 3, 0.5f, 0.25f, 0.125f, 7, 8};
    auto run = [&](auto edit) {
        SafeArray<D3DVERTEX> a(1, 2);   // the lower bound is kept and used
        a(1) = a(2) = start;
        edit(a);
        EXPECT_EQ((std::vector<float>{a(1).nx, a(1).nz, a(2).tu}), (std::vector<float>{0.5f, 0.125f, 7}));
        return std::vector<float>{a(2).x, a(2).y, a(2).z};
    };
    const struct { std::vector<float> got, want; } rows[] = {
        {run([&](auto& a) { engine.MOVe_Vertext(a, 1, 2, -3); }), {2, 0, 0}},
        // (x + cos 0, y + sin(pi / 2), z + sin 0): a shift, not a turn.
        {run([&](auto& a) { engine.Rotate_Vertext(a, Variant(0), Variant(1.5707963267948966), Variant(0)); }),
         {2, -1, 3}},
        // (1 + |1|, -2 + |-2|, 3 + |3|).
        {run([&](auto& a) { engine.SET_VERTEXT_position(a, 0, 0, 0); }), {2, 0, 6}},
        {run([&](auto& a) { engine.SET_VERTEXT_position(a, 4, -2, 1); }), {4, -2, 5}},
        {run([&](auto& a) { engine.SCALEvertex(a, 2, 3, 4); }), {2, -6, 12}},
    };
    for (const auto& r : rows) EXPECT_EQ(r.got, r.want);
    SafeArray<D3DLVERTEX> l(0, 1);
    l(0) = D3DLVERTEX{1, 2, 3, 0, 55, 66, 7, 8};
    l(1) = D3DLVERTEX{-1, -2, -3, 0, 55, 66, 7, 8};
    engine.SCALElvertex(l, -1, 2, 0.5f);
    EXPECT_EQ((std::vector<float>{l(0).x, l(0).y, l(0).z}), (std::vector<float>{-1, 4, 1.5f}));
    engine.SET_LVERTEXT_position(l, 4, 5, 6);
    for (Long i = 0; i <= 1; ++i) {
        EXPECT_EQ((std::vector<float>{l(i).x, l(i).y, l(i).z}), (std::vector<float>{4, 5, 6})) << i;
        EXPECT_EQ((std::vector<std::int32_t>{l(i).color, l(i).specular}), (std::vector<std::int32_t>{55, 66})) << i;
    }
    SafeArray<D3DVERTEX> never;
    EXPECT_EQ(tarko::test::error_of([&] { engine.MOVe_Vertext(never, 1, 1, 1); }), err::SubscriptOutOfRange);
    EXPECT_EQ(tarko::test::error_of([&] { engine.SCALEvertex(never, 1, 1, 1); }), err::SubscriptOutOfRange);
    SafeArray<D3DVERTEX> one(0, 0);   // beyond a Single: Overflow
    EXPECT_EQ(tarko::test::error_of([&] { engine.MOVe_Vertext(one, 1e39, 0, 0); }), err::Overflow);
    EXPECT_EQ(tarko::test::error_of([&] { engine.MOVe_Vertext(one, 0, 0, -1e39); }), err::Overflow);
}
