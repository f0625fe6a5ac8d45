// cCOLLISION: segments and rays against triangles, boxes, spheres, points on
// planes, and edges in the XZ plane.
#include "collision/cCOLLISION.h"

#include <gtest/gtest.h>

#include <cmath>

#include "collision/geometry_tests.h"
#include "maths/kernel.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::SafeArray;
using tarko::test::error_of;

void expect_vec(const D3DVECTOR& v, const D3DVECTOR& want, float tol = 1e-6f) {
    EXPECT_NEAR(v.x, want.x, tol);
    EXPECT_NEAR(v.y, want.y, tol);
    EXPECT_NEAR(v.z, want.z, tol);
}

SafeArray<D3DVERTEX> vertices(std::initializer_list<D3DVECTOR> points, tarko::Long lower = 0) {
    SafeArray<D3DVERTEX> v(lower, lower + static_cast<tarko::Long>(points.size()) - 1);
    tarko::Long i = lower;
    for (const D3DVECTOR& p : points) v(i++) = {p.x, p.y, p.z};
    return v;
}

class Collision : public ::testing::Test {
protected:
    cCOLLISION col;
    // The triangle (0,0,0), (4,0,0), (0,4,0) in the plane z = 0, and a unit one.
    const D3DVECTOR a{0, 0, 0}, b{4, 0, 0}, c{0, 4, 0};
    const D3DVECTOR v0{0, 0, 0}, v1{1, 0, 0}, v2{0, 1, 0};
    double T = -7, U = -7, V = -7;
};

TEST_F(Collision, SegmentsAgainstATriangle) {
    const struct { D3DVECTOR from, to, third; bool hits; D3DVECTOR at; float tol; } rows[] = {
        {{1, 1, -2}, {1, 1, 0}, c, true, {1, 1, 0}, 1e-6f},          // ends on the plane: mu = 1
        {{1, 1, -2}, {1, 1, -0.01f}, c, false, {1, 1, 0}, 1e-5f},    // mu = 2 / 1.99 > 1, point written
        // On the edge a-b: pa1 and pa2 are opposite, ArcCos(-1) fails and
        // counts 0; the two other angles add to 180, not 360.
        {{2, 0, -1}, {2, 0, 1}, c, false, {2, 0, 0}, 1e-6f},
        {{-1, 1, 0}, {5, 1, 0}, c, false, {9, 9, 9}, 0},             // in the plane: result untouched
        {{0, 0, -1}, {0, 0, 1}, {8, 0, 0}, false, {9, 9, 9}, 0},     // degenerate triangle
    };
    for (const auto& r : rows) {
        D3DVECTOR hit{9, 9, 9};
        EXPECT_EQ(col.GetLinePoly_Intersection(r.from, r.to, a, b, r.third, hit), r.hits) << r.to.z;
        expect_vec(hit, r.at, r.tol);
    }
    // From z = -4.5 along (0,0,1): 5 lengths by default reach z = 0.5, past the plane.
    EXPECT_TRUE(col.GetPoint_FacetCollision({1, 1, -4.5f}, {0, 0, 1}, a, b, c).to_bool());
    EXPECT_FALSE(col.GetPoint_FacetCollision({1, 1, -5.5f}, {0, 0, 1}, a, b, c).to_bool());
    // A zero direction gives a segment of no length: parallel to everything.
    EXPECT_FALSE(col.GetPoint_FacetCollision({1, 1, 0}, {0, 0, 0}, a, b, c).to_bool());
}

TEST_F(Collision, RayAgainstTheUnitTriangle) {
    // T is written on a hit only, U and V as soon as they are known; NaN: not checked.
    const double kKept = -7, kAny = NAN;
    const struct { D3DVECTOR orig, dir; bool hit; double t, t_tol, u, v; } rows[] = {
        // dir +z: edge1 = x, edge2 = y, pvec = dir x edge2 = (-1,0,0), det = -1; tvec = (0.5,0,-1):
        // U = 0.5; qvec = tvec x edge1 = (0,-1,0): V = 0; T = edge2 . qvec / det = 1.
        {{0.5f, 0, -1}, {0, 0, 1}, true, 1, 0, 0.5, 0},
        {{0.5f, 0.5f, -1}, {0, 0, 1}, true, 1, 0, 0.5, 0.5},             // U + V = 1 exactly: a hit
        {{0.5f, -0.001f, -1}, {0, 0, 1}, false, kKept, 0, 0.5, -0.001},  // V just below 0
        {{0.25f, 0.8f, -2}, {0, 0, 1}, false, kKept, 0, 0.25, 0.8},      // U + V > 1
        {{2, 0.25f, -2}, {0, 0, 1}, false, kKept, 0, 2, kKept},          // U > 1: V not reached
        {{0.25f, 0.25f, 3}, {0, 0, 1}, true, -3, 0, 0.25, 0.25},         // behind the origin: T < 0
        // det = -dz: 5e-5 is within the tolerance 1e-4, 2e-4 is not (T = 2 / 2e-4).
        {{0.25f, 0.25f, -2}, {0, 0, 0.00005f}, false, kKept, 0, kKept, kKept},
        {{0.25f, 0.25f, -2}, {0, 0, 0.0002f}, true, 10000, 1e-3, 0.25, 0.25},
        {{0.25f, 0.25f, -1}, {0, 0, 0}, false, kKept, 0, kKept, kKept},
        {{0.25f, 0.25f, -1}, {std::nanf(""), 0, 1}, false, kKept, 0, kAny, kAny},  // NaN never hits
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << r.orig.x << ", " << r.orig.y << ", " << r.orig.z << " dz " << r.dir.z);
        T = U = V = kKept;
        EXPECT_EQ(tarko::collision::ray_triangle(r.orig, r.dir, v0, v1, v2, T, U, V), r.hit);
        EXPECT_NEAR(T, r.t, r.t_tol);
        if (!std::isnan(r.u)) {
            EXPECT_NEAR(U, r.u, 1e-7);
        }
        if (!std::isnan(r.v)) {
            EXPECT_NEAR(V, r.v, 1e-7);
        }
    }
    D3DVECTOR dir{0, 0, 1};  // degenerate triangle
    EXPECT_EQ(col.RayCollision({0.25f, 0.25f, -1}, dir, v0, v1, {2, 0, 0}, T, U, V), 0);
}

TEST_F(Collision, PointsOnTheBoxBoundaryAreOutsideButOnTheSphereInside) {
    const D3DRMBOX box{{0, 0, 0}, {2, 2, 2}};
    EXPECT_FALSE(col.Get_PointBOXCollision(box, {0, 0, 0}));  // minimum corner
    EXPECT_FALSE(col.Get_PointBOXCollision(box, {1, 1, std::nanf("")}));
    // The unit box's corner (1,1,1) and the centre (4,5,1) are 5 apart (3-4-5).
    EXPECT_TRUE(col.Get_PointSphereCollision({1, 1, 1}, {4, 5, 1}, 5.0f));
    EXPECT_FALSE(col.Get_PointSphereCollision({1, 1, 1}, {4, 5, 1}, std::nextafter(5.0f, 0.0f)));
    // The box test is one-sided: a corner of the second inside the first.
    const D3DRMBOX big{{0, 0, 0}, {10, 10, 10}}, small{{2, 2, 2}, {3, 3, 3}};
    EXPECT_TRUE(col.Get_BoxCollision(big, small));
    EXPECT_FALSE(col.Get_BoxCollision(small, big));
    EXPECT_TRUE(col.Get_BoxCollision(big, {{5, -5, 5}, {20, 5, 20}}));  // only (min x, max y, min z) inside
    EXPECT_FALSE(col.Get_BoxCollision(big, big));  // every corner on the boundary
}

TEST_F(Collision, BoxesAreCopiedUnsortedAndBoundedFromTheFirstVertex) {
    D3DRMBOX box;
    EXPECT_TRUE(col.Create_BOX({5, 5, 5}, {1, 1, 1}, box).is_empty());
    EXPECT_EQ(box.min.x, 5.0f);  // minimum corner first, as given
    col.OBJECT_getBoundingBOX(vertices({{1, 1, 1}, {-1, 2, 0}, {0, 0, 3}}), box);
    expect_vec(box.min, {-1, 0, 0}, 0);
    expect_vec(box.max, {1, 2, 3}, 0);
    SafeArray<D3DVERTEX> empty(0, -1);
    EXPECT_EQ(error_of([&] { col.OBJECT_getBoundingBOX(empty, box); }), tarko::err::SubscriptOutOfRange);
    expect_vec(box.max, {1, 2, 3}, 0);
}

TEST_F(Collision, PointTriangleTestsRunTowardsTheFirstVertexOrAgainstThePlane) {
    const D3DVERTEX p1{0, 0, 0}, p2{1, 0, 0}, p3{0, 1, 0};
    // Moved 5 along z by the matrix, p1 is (0,0,5) and the origin looks at it
    // (U = V = 0); untransformed, the origin is p1 itself and the direction is zero.
    const D3DMATRIX up = tarko::maths::translation(0, 0, 5);
    EXPECT_TRUE(col.GetPointTRI_Colision(p1, p2, p3, {0, 0, 0}, up, true));
    EXPECT_FALSE(col.GetPointTRI_Colision(p1, p2, p3, {0, 0, 0}, up, false));
    const D3DVERTEX q1{0, 1, 0}, q2{1, 1, 0}, q3{0, 1, 1};  // the plane y = 1
    const D3DMATRIX id = tarko::maths::identity();
    EXPECT_TRUE(col.GetPointTRI_Colision2(q1, q2, q3, {50, 1, -70}, id));  // outside the triangle, on the plane
    EXPECT_FALSE(col.GetPointTRI_Colision2(q1, q2, q3, {0.2f, std::nextafter(1.0f, 2.0f), 0.2f}, id));
}

TEST_F(Collision, PolylinePointsNearASegmentInXZ) {
    // One segment (0,0,0)-(10,0,0) from subscript 1. Beside the middle at
    // distance h: a = b = sqrt(25 + h^2), c = 10, x = 5, near while h < 3.
    const SafeArray<D3DVERTEX> wall = vertices({{0, 0, 0}, {10, 0, 0}}, 1);
    const struct { D3DVECTOR p; bool near; } rows[] = {
        {{5, 250, 2.99f}, true},  // the limit h = 3; height plays no part
        {{5, 0, 3.01f}, false},
        {{20, 0, 0}, false},    // past the far end: a = 20, b = 10, x = 20, not below c
        {{-1, 0, 0}, false},    // before the start: a = 1, b = 11, x = -1, b - x = 12
    };
    for (const auto& r : rows) EXPECT_EQ(col.Get_PolyCollision(wall, r.p), r.near) << r.p.x << "," << r.p.z;
    EXPECT_FALSE(tarko::collision::point_near_edge(1, 1, 0));  // no segment: no division fault
    SafeArray<D3DVERTEX> never;
    EXPECT_EQ(error_of([&] { col.Get_PolyCollision(never, {0, 0, 0}); }), tarko::err::SubscriptOutOfRange);
}

TEST_F(Collision, TriangleListEdgesAreScaledThenMovedAndTheLastTriangleIsSkipped) {
    // Two triangles; the tested edges are (0, 2) and (3, 5).
    SafeArray<D3DVERTEX> list = vertices({{0, 0, 0}, {0, 0, 50}, {5, 0, 0}, {0, 0, 40}, {0, 0, 80}, {0, 0, 60}});
    const D3DVECTOR offset{100, 0, 100}, scale{2, 7, 2};
    // Edge (0,2) becomes (100,0,100)-(110,0,100); (105,0,101) is 1 from its middle.
    EXPECT_TRUE(col.Get_ColisionEX({}, list, {105, 0, 101}, offset, scale, {}));
    // Edge (3,5) becomes (100,0,180)-(100,0,220) and (101,0,200) lies 1 from it,
    // but the loop runs to the upper bound minus 3: a seventh vertex brings it in.
    EXPECT_FALSE(col.Get_ColisionEX({}, list, {101, 0, 200}, offset, scale, {}));
    list.ReDimPreserve(6);
    EXPECT_TRUE(col.Get_ColisionEX({}, list, {101, 0, 200}, offset, scale, {}));
    SafeArray<D3DVERTEX> never;
    EXPECT_EQ(error_of([&] { col.Get_ColisionEX({}, never, {}, {}, {1, 1, 1}, {}); }),
              tarko::err::SubscriptOutOfRange);
}

}  // namespace
