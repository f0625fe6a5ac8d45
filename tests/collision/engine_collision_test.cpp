// The engine object's collision operations: its own ray convention, the
// vertex-array tests, distances and the sphere check.
#include <gtest/gtest.h>

#include <cmath>

#include "collision/cCOLLISION.h"
#include "engine/tarko_dx7.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::Long;
using tarko::SafeArray;
using tarko::test::error_of;
namespace err = tarko::err;

template <class Vertex = D3DVERTEX>
SafeArray<Vertex> points(std::initializer_list<D3DVECTOR> list, Long lower = 0) {
    SafeArray<Vertex> v(lower, lower + static_cast<Long>(list.size()) - 1);
    Long i = lower;
    for (const D3DVECTOR& p : list) v(i++) = Vertex{p.x, p.y, p.z};
    return v;
}

class EngineCollision : public ::testing::Test {
protected:
    tarko_DX7 engine;
    // The unit triangle in the plane z = 0.
    const D3DVECTOR v0{0, 0, 0}, v1{1, 0, 0}, v2{0, 1, 0};
    double T = -7, U = -7, V = -7;
};

TEST_F(EngineCollision, RayCountsTInLengthsOfDirAndLeavesDirAlone) {
    const D3DVECTOR orig{0.25f, 0.25f, -2};
    D3DVECTOR dir{0, 0, 2};
    EXPECT_EQ(engine.RayCollision(orig, dir, v0, v1, v2, T, U, V), 1);
    EXPECT_DOUBLE_EQ(T, 1);   // two units away, Dir two units long
    EXPECT_EQ(dir.z, 2.0f);
    // cCOLLISION normalises Dir first, in the caller's variable, and counts units.
    cCOLLISION col;
    EXPECT_EQ(col.RayCollision(orig, dir, v0, v1, v2, T, U, V), 1);
    EXPECT_DOUBLE_EQ(T, 2);
    EXPECT_EQ(dir.z, 1.0f);
}

TEST_F(EngineCollision, NotCollisionIsTrueAtTheFirstMissedTriangle) {
    const D3DVECTOR orig{0.25f, 0.25f, -2}, dir{0, 0, 1};
    SafeArray<D3DVERTEX> none(0, -1);
    EXPECT_FALSE(engine.ISnot_Colision(none, orig, dir));   // no triangle
    EXPECT_FALSE(engine.ISnot_Colision(points({v0, v1, v2}), orig, dir));
    // The second triangle lies off the ray (x from 5 to 6).
    EXPECT_TRUE(engine.ISnot_Colision(points({v0, v1, v2, {5, 0, 0}, {6, 0, 0}, {5, 1, 0}}), orig, dir));
    // Lower bound 1 is kept: the triangle is elements 1..3.
    EXPECT_FALSE(engine.ISnot_Colision(points({v0, v1, v2}, 1), orig, dir));
    // A fourth vertex starts a triangle whose other vertices are missing.
    EXPECT_EQ(error_of([&] { engine.ISnot_Colision(points({v0, v1, v2, v0}), orig, dir); }),
              err::SubscriptOutOfRange);
    SafeArray<D3DVERTEX> never;
    EXPECT_EQ(error_of([&] { engine.ISnot_Colision(never, orig, dir); }), err::SubscriptOutOfRange);
}

TEST_F(EngineCollision, OnTheLineOfAPairInYOrInZ) {
    // P (0, 0, 0), Q (2, 4, 6): y = 2x and z = 3x.
    const auto pair = points({{0, 0, 0}, {2, 4, 6}});
    EXPECT_TRUE(engine.COLISON_on(pair, {1, 2, 99}));    // on the line in y only
    EXPECT_TRUE(engine.COLISON_on(pair, {1, 99, 3}));    // in z only
    EXPECT_FALSE(engine.COLISON_on(pair, {1, 2.5f, 3.5f}));
    // Pairs start every 4 elements: (2, 3) is skipped, (4, 5) is tested.
    const D3DVECTOR a{0, 7, 7}, b{1, 7, 7};   // y = 7, z = 7
    EXPECT_FALSE(engine.COLISON_on(points({{0, 0, 0}, {2, 4, 6}, a, b}), {1, 7, 1000}));
    EXPECT_TRUE(engine.COLISON_on(points({{0, 0, 0}, {2, 4, 6}, {0, 0, 0}, {0, 0, 0}, a, b}), {1, 7, 1000}));
    // Equal x: the slope divides by zero. A pair cut short: 9.
    EXPECT_EQ(error_of([&] { engine.COLISON_on(points({{1, 0, 0}, {1, 4, 6}}), {1, 2, 3}); }),
              err::DivisionByZero);
    EXPECT_EQ(error_of([&] { engine.COLISON_on(points({{0, 0, 0}, {2, 4, 6}, a, b, a}), {1, 9, 9}); }),
              err::SubscriptOutOfRange);
}

TEST_F(EngineCollision, EdgeTestsInTheXZPlane) {
    // Segment (0, 0, 0)-(10, 0, 0), c = 10. At (5, z): a = b = sqrt(25 + z^2),
    // x = 5, h = z: z = 2 is within 3, z = 3 is not.
    const auto seg = points({{0, 0, 0}, {10, 0, 0}});
    const struct { D3DVECTOR p; bool hit; } rows[] = {
        {{5, 0, 3}, false}, {{5, 0, 2.99f}, true},
        {{5, 100, 2}, true},   // height plays no part
        // Past the end: a = 12, b = 2, x = (144 + 100 - 4) / 20 = 12, not below c.
        {{12, 0, 0}, false},
        // Before the start: a = 1, b = 11, x = -1, b - x = 12, not below c.
        {{-1, 0, 0}, false},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(engine.Colision_VERTEX(seg, r.p), r.hit) << r.p.x << ", " << r.p.z;
        EXPECT_EQ(engine.Colision_LVERTEX(points<D3DLVERTEX>({{0, 0, 0}, {10, 0, 0}}), r.p), r.hit) << r.p.x;
    }
    // Shorter than about sqrt(2): a + b = 1.41 is not below c^2 = 1.
    EXPECT_FALSE(engine.Colision_VERTEX(points({{0, 0, 0}, {1, 0, 0}}), {0.5f, 0, 0.5f}));
    // Pairs (0, 1) and (2, 3): the segment 1-2 next to the point is not one of them.
    EXPECT_FALSE(engine.Colision_VERTEX(points({{-100, 0, 100}, {0, 0, 0}, {10, 0, 0}, {200, 0, 200}}), {5, 0, 2}));
    // An odd count leaves the last vertex out, without error.
    EXPECT_TRUE(engine.Colision_VERTEX(points({{0, 0, 0}, {10, 0, 0}, {99, 0, 99}}), {5, 0, 2}));
    SafeArray<D3DVERTEX> never;
    SafeArray<D3DLVERTEX> never_l;
    EXPECT_EQ(error_of([&] { engine.Colision_VERTEX(never, {}); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { engine.Colision_LVERTEX(never_l, {}); }), err::SubscriptOutOfRange);
}

TEST_F(EngineCollision, DistanceAndTheFixedSphereRadii) {
    EXPECT_DOUBLE_EQ(engine.getdist3d({1, 2, 3}, {4, 6, 15}), 13);   // sqrt(9 + 16 + 144)
    // Not narrowed to a Single: sqrt(2) keeps its double digits.
    EXPECT_EQ(engine.getdist3d({0, 0, 0}, {1, 1, 0}), std::sqrt(2.0));
    float r1 = 1, r2 = 1;
    EXPECT_TRUE(engine.CheckSphereCollision({0, 0, 0}, {20, 0, 0}, r1, r2));   // 20 <= 15 + 15
    EXPECT_EQ(r1, 15.0f);  // both radii are set
    r1 = r2 = 100;
    EXPECT_TRUE(engine.CheckSphereCollision({0, 0, 0}, {0, 30, 0}, r1, r2));   // exactly 30
    EXPECT_FALSE(engine.CheckSphereCollision({0, 0, 0}, {0, 0, 30.01f}, r1, r2));
    EXPECT_EQ(r1, 15.0f);
}

}  // namespace
