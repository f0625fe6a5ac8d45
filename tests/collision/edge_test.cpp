// Edge tests in the XZ plane: vertex pairs and scaled triangle lists.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "collision/cCOLLISION.h"
#include "collision/geometry_tests.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::test::error_of;

tarko::SafeArray<D3DVERTEX> pair(D3DVECTOR p, D3DVECTOR q, tarko::Long lower = 0) {
    tarko::SafeArray<D3DVERTEX> v(lower, lower + 1);
    v(lower) = {p.x, p.y, p.z};
    v(lower + 1) = {q.x, q.y, q.z};
    return v;
}

class Polyline : public ::testing::Test {
protected:
    cCOLLISION col;
    // One segment from (0,0,0) to (10,0,0), stored from subscript 1.
    tarko::SafeArray<D3DVERTEX> wall = pair({0, 0, 0}, {10, 0, 0}, 1);
};

TEST_F(Polyline, PointBesideTheMiddleIsNear) {
    // a = b = sqrt(26), c = 10; gate 100 > 10.2; x = 100 / 20 = 5; h = sqrt(26 - 25) = 1 < 3.
    EXPECT_TRUE(col.Get_PolyCollision(wall, {5, 0, 1}));
    EXPECT_TRUE(col.Get_PolyCollision(wall, {5, 0, -2.9f}));
    EXPECT_FALSE(col.Get_PolyCollision(wall, {5, 0, 3.1f}));
}

TEST_F(Polyline, HeightPlaysNoPart) {
    EXPECT_EQ(col.Get_PolyCollision(wall, {5, 250, 1}), col.Get_PolyCollision(wall, {5, 0, 1}));
}

TEST_F(Polyline, PointsPastEitherEndAreNotNear) {
    // Past the far end: a = 20, b = 10, x = (400 + 100 - 100) / 20 = 20, not below c.
    EXPECT_FALSE(col.Get_PolyCollision(wall, {20, 0, 0}));
    // Before the start: a = 1, b = 11, x = -1, b - x = 12, not below c.
    EXPECT_FALSE(col.Get_PolyCollision(wall, {-1, 0, 0}));
}

TEST_F(Polyline, ShortSegmentsNeverPassTheGate) {
    // c = 1: c^2 = 1 cannot exceed a + b >= c = 1, even at the midpoint.
    EXPECT_FALSE(col.Get_PolyCollision(pair({0, 0, 0}, {1, 0, 0}), {0.5f, 0, 0}));
    EXPECT_FALSE(tarko::collision::edge_near_point({0, 0, 0}, {1, 0, 0}, {0.5f, 0, 0}));
}

TEST_F(Polyline, OnlyPairsCountAndALoneLastVertexIsSkipped) {
    tarko::SafeArray<D3DVERTEX> three(0, 2);
    three(0) = {0, 0, 0};
    three(1) = {0, 0, 1};  // a short first pair
    three(2) = {10, 0, 0};  // would make a long segment with vertex 1, but pairs go (0,1) only
    EXPECT_FALSE(col.Get_PolyCollision(three, {5, 0, 0.5f}));
}

TEST_F(Polyline, EmptyAndUndimensionedArrays) {
    tarko::SafeArray<D3DVERTEX> empty(0, -1), never;
    EXPECT_FALSE(col.Get_PolyCollision(empty, {0, 0, 0}));
    EXPECT_EQ(error_of([&] { col.Get_PolyCollision(never, {0, 0, 0}); }), tarko::err::SubscriptOutOfRange);
}

class TriangleEdges : public ::testing::Test {
protected:
    cCOLLISION col;
    tarko::SafeArray<D3DVERTEX> list{0, 5};
    void SetUp() override {
        // Two triangles; the tested edges are (0, 2) and (3, 5).
        list(0) = {0, 0, 0};
        list(1) = {0, 0, 50};
        list(2) = {5, 0, 0};
        list(3) = {0, 0, 40};
        list(4) = {0, 0, 80};
        list(5) = {0, 0, 60};
    }
};

TEST_F(TriangleEdges, EdgesAreScaledThenMoved) {
    const D3DVECTOR offset{100, 0, 100}, scale{2, 7, 2};
    // Edge (0,2) becomes (100,0,100)-(110,0,100); (105,0,101) is 1 from its middle.
    EXPECT_TRUE(col.Get_ColisionEX({}, list, {105, 0, 101}, offset, scale, {}));
    EXPECT_FALSE(col.Get_ColisionEX({}, list, {105, 0, 101}, {0, 0, 0}, {1, 1, 1}, {}));
    // Edge (3,5) becomes (100,0,180)-(100,0,220) and (101,0,200) lies 1 from it,
    // but the loop runs to the upper bound minus 3: with six vertices only the
    // first triangle is looked at. A seventh vertex brings the second in.
    EXPECT_FALSE(col.Get_ColisionEX({}, list, {101, 0, 200}, offset, scale, {}));
    list.ReDimPreserve(6);
    EXPECT_TRUE(col.Get_ColisionEX({}, list, {101, 0, 200}, offset, scale, {}));
    // Edge (0,1) of the first triangle is never looked at.
    EXPECT_FALSE(col.Get_ColisionEX({}, list, {101, 0, 150}, offset, scale, {}));
}

TEST_F(TriangleEdges, BoxAndRotationHaveNoEffect) {
    const D3DRMBOX box{{-1, -1, -1}, {1, 1, 1}};
    EXPECT_EQ(col.Get_ColisionEX(box, list, {2.5f, 0, 1}, {}, {1, 1, 1}, {0, 90, 0}),
              col.Get_ColisionEX({}, list, {2.5f, 0, 1}, {}, {1, 1, 1}, {}));
}

TEST_F(TriangleEdges, FewerThanFourVerticesGiveFalse) {
    tarko::SafeArray<D3DVERTEX> three(0, 2);
    three(0) = {0, 0, 0};
    three(2) = {10, 0, 0};
    EXPECT_FALSE(col.Get_ColisionEX({}, three, {5, 0, 1}, {}, {1, 1, 1}, {}));
    tarko::SafeArray<D3DVERTEX> four(0, 3);
    four(0) = {0, 0, 0};
    four(2) = {10, 0, 0};
    EXPECT_TRUE(col.Get_ColisionEX({}, four, {5, 0, 1}, {}, {1, 1, 1}, {}));
    tarko::SafeArray<D3DVERTEX> never;
    EXPECT_EQ(error_of([&] { col.Get_ColisionEX({}, never, {}, {}, {1, 1, 1}, {}); }),
              tarko::err::SubscriptOutOfRange);
}

TEST(PointNearEdge, HeightLimitIsThree) {
    // c = 10, foot at x = 5: a = b = sqrt(25 + h^2).
    auto near = [](double h) {
        const float a = static_cast<float>(std::sqrt(25 + h * h));
        return tarko::collision::point_near_edge(a, a, 10);
    };
    EXPECT_TRUE(near(2.99));
    EXPECT_FALSE(near(3.01));
    EXPECT_FALSE(tarko::collision::point_near_edge(1, 1, 0));  // no segment: no division fault
}

}  // namespace
