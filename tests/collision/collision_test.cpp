// cCOLLISION: segment and ray against triangles, boxes, spheres, points on planes.
#include "collision/cCOLLISION.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "collision/geometry_tests.h"
#include "maths/kernel.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::Variant;

void expect_vec(const D3DVECTOR& v, float x, float y, float z, float tol = 1e-6f) {
    EXPECT_NEAR(v.x, x, tol);
    EXPECT_NEAR(v.y, y, tol);
    EXPECT_NEAR(v.z, z, tol);
}

using tarko::test::error_of;

// The triangle (0,0,0), (4,0,0), (0,4,0) in the plane z = 0.
class Facet : public ::testing::Test {
protected:
    cCOLLISION col;
    const D3DVECTOR a{0, 0, 0}, b{4, 0, 0}, c{0, 4, 0};
};

TEST_F(Facet, SegmentThroughTheMiddleHitsAtThePlane) {
    D3DVECTOR hit{9, 9, 9};
    EXPECT_TRUE(col.GetLinePoly_Intersection({1, 1, -2}, {1, 1, 2}, a, b, c, hit));
    expect_vec(hit, 1, 1, 0);
}

TEST_F(Facet, SegmentEndingOnThePlaneCountsAndOneBeyondDoesNot) {
    D3DVECTOR hit;
    EXPECT_TRUE(col.GetLinePoly_Intersection({1, 1, -2}, {1, 1, 0}, a, b, c, hit));  // mu = 1
    // The plane at z = 0 lies at mu = 2 / 1.99 > 1: False, but the point is written.
    hit = {9, 9, 9};
    EXPECT_FALSE(col.GetLinePoly_Intersection({1, 1, -2}, {1, 1, -0.01f}, a, b, c, hit));
    expect_vec(hit, 1, 1, 0, 1e-5f);
}

TEST_F(Facet, SegmentInThePlaneLeavesTheResultAlone) {
    D3DVECTOR hit{9, 9, 9};
    EXPECT_FALSE(col.GetLinePoly_Intersection({-1, 1, 0}, {5, 1, 0}, a, b, c, hit));
    expect_vec(hit, 9, 9, 9, 0);
}

TEST_F(Facet, PointOnAnEdgeMeetsArcCosOfMinusOneAndMisses) {
    // (2,0,0) lies on the edge a-b: pa1 and pa2 are opposite, ArcCos(-1) fails
    // and counts 0; the two other angles add to 180, not 360.
    D3DVECTOR hit;
    EXPECT_FALSE(col.GetLinePoly_Intersection({2, 0, -1}, {2, 0, 1}, a, b, c, hit));
    expect_vec(hit, 2, 0, 0);
    EXPECT_EQ(tarko::collision::arccos_or_zero(-1.0), 0.0);
    EXPECT_EQ(tarko::collision::arccos_or_zero(1.0), 0.0);
    EXPECT_EQ(tarko::collision::arccos_or_zero(1.5), 0.0);
    EXPECT_NEAR(tarko::collision::arccos_or_zero(0.0), 1.5707963267948966, 1e-15);
}

TEST_F(Facet, DegenerateTriangleMisses) {
    D3DVECTOR hit{9, 9, 9};
    EXPECT_FALSE(col.GetLinePoly_Intersection({0, 0, -1}, {0, 0, 1}, a, b, {8, 0, 0}, hit));
    expect_vec(hit, 9, 9, 9, 0);
}

TEST_F(Facet, FacetCollisionReachesFiveLengthsByDefault) {
    // From z = -4.5 along (0,0,1): 5 lengths reach z = 0.5, past the plane.
    EXPECT_TRUE(col.GetPoint_FacetCollision({1, 1, -4.5f}, {0, 0, 1}, a, b, c).to_bool());
    EXPECT_FALSE(col.GetPoint_FacetCollision({1, 1, -5.5f}, {0, 0, 1}, a, b, c).to_bool());
    EXPECT_TRUE(col.GetPoint_FacetCollision({1, 1, -5.5f}, {0, 0, 1}, a, b, c, 6.0).to_bool());
    EXPECT_TRUE(col.GetPoint_FacetCollision({1, 1, -4.5f}, {0, 0, 1}, a, b, c, Variant::missing()).to_bool());
    // A zero direction gives a segment of no length: parallel to everything.
    EXPECT_FALSE(col.GetPoint_FacetCollision({1, 1, 0}, {0, 0, 0}, a, b, c).to_bool());
    EXPECT_EQ(col.GetPoint_FacetCollision({1, 1, 0}, {0, 0, 1}, a, b, c).type(), Variant::Type::Boolean);
}

TEST_F(Facet, MiddleIsTheMean) {
    D3DVECTOR mid;
    EXPECT_TRUE(col.GetFacet_MiddleVec(a, b, c, mid).is_empty());
    expect_vec(mid, 4.0f / 3, 4.0f / 3, 0);
}

class Ray : public ::testing::Test {
protected:
    cCOLLISION col;
    const D3DVECTOR v0{0, 0, 0}, v1{1, 0, 0}, v2{0, 1, 0};
    double T = -7, U = -7, V = -7;
};

TEST_F(Ray, GrazingAnEdgeIsAHit) {
    // orig (0.5, 0, -1), dir +z: edge1 = x, edge2 = y, pvec = dir x edge2 = (-1,0,0),
    // det = -1; tvec = (0.5,0,-1): U = 0.5; qvec = tvec x edge1 = (0,-1,0): V = 0;
    // T = edge2 . qvec / det = 1.
    D3DVECTOR dir{0, 0, 1};
    EXPECT_EQ(col.RayCollision({0.5f, 0, -1}, dir, v0, v1, v2, T, U, V), 1);
    EXPECT_DOUBLE_EQ(U, 0.5);
    EXPECT_DOUBLE_EQ(V, 0.0);
    EXPECT_DOUBLE_EQ(T, 1.0);
    // Along the hypotenuse U + V = 1 exactly: still a hit.
    dir = {0, 0, 1};
    EXPECT_EQ(col.RayCollision({0.5f, 0.5f, -1}, dir, v0, v1, v2, T, U, V), 1);
    EXPECT_DOUBLE_EQ(U + V, 1.0);
}

TEST_F(Ray, JustOutsideAnEdgeMissesButWritesU) {
    D3DVECTOR dir{0, 0, 1};
    EXPECT_EQ(col.RayCollision({0.5f, -0.001f, -1}, dir, v0, v1, v2, T, U, V), 0);
    EXPECT_DOUBLE_EQ(U, 0.5);
    EXPECT_LT(V, 0);
    EXPECT_EQ(T, -7);  // T only on a hit
}

TEST_F(Ray, TriangleBehindTheOriginIsAHitWithNegativeT) {
    D3DVECTOR dir{0, 0, 1};
    EXPECT_EQ(col.RayCollision({0.25f, 0.25f, 3}, dir, v0, v1, v2, T, U, V), 1);
    EXPECT_DOUBLE_EQ(T, -3.0);
}

TEST_F(Ray, DirectionIsNormalisedInPlace) {
    D3DVECTOR dir{0, 0, 2};
    EXPECT_EQ(col.RayCollision({0.25f, 0.25f, -4}, dir, v0, v1, v2, T, U, V), 1);
    expect_vec(dir, 0, 0, 1, 0);
    EXPECT_DOUBLE_EQ(T, 4.0);  // in unit lengths
    // The shared function takes the direction as it is: T in lengths of dir.
    double t = 0, u = 0, v = 0;
    EXPECT_TRUE(tarko::collision::ray_triangle({0.25f, 0.25f, -4}, {0, 0, 2}, v0, v1, v2, t, u, v));
    EXPECT_DOUBLE_EQ(t, 2.0);
}

TEST_F(Ray, ZeroDirectionAndDegenerateTrianglesMiss) {
    D3DVECTOR dir{0, 0, 0};
    EXPECT_EQ(col.RayCollision({0.25f, 0.25f, -1}, dir, v0, v1, v2, T, U, V), 0);
    expect_vec(dir, 0, 0, 0, 0);
    EXPECT_EQ(U, -7);  // det 0: nothing written
    dir = {0, 0, 1};
    EXPECT_EQ(col.RayCollision({0.25f, 0.25f, -1}, dir, v0, v1, {2, 0, 0}, T, U, V), 0);
    // A ray in the triangle's plane: det 0.
    dir = {1, 0, 0};
    EXPECT_EQ(col.RayCollision({-1, 0.25f, 0}, dir, v0, v1, v2, T, U, V), 0);
    // NaN input never counts as a hit.
    dir = {std::nanf(""), 0, 1};
    EXPECT_EQ(col.RayCollision({0.25f, 0.25f, -1}, dir, v0, v1, v2, T, U, V), 0);
}

TEST(BoxesAndSpheres, PointOnTheBoxBoundaryIsOutside) {
    cCOLLISION col;
    const D3DRMBOX box{{0, 0, 0}, {2, 2, 2}};
    EXPECT_TRUE(col.Get_PointBOXCollision(box, {1, 1, 1}));
    EXPECT_FALSE(col.Get_PointBOXCollision(box, {0, 0, 0}));  // minimum corner
    EXPECT_FALSE(col.Get_PointBOXCollision(box, {2, 1, 1}));  // on a face
    EXPECT_FALSE(col.Get_PointBOXCollision(box, {1, 1, std::nanf("")}));
}

TEST(BoxesAndSpheres, SphereTouchingABoxCornerCounts) {
    cCOLLISION col;
    const D3DRMBOX box{{0, 0, 0}, {1, 1, 1}};
    // Corner (1,1,1); centre (4,5,1) is 5 away (3-4-5).
    EXPECT_TRUE(col.Get_PointSphereCollision(box.max, {4, 5, 1}, 5.0f));
    EXPECT_FALSE(col.Get_PointSphereCollision(box.max, {4, 5, 1}, std::nextafter(5.0f, 0.0f)));
    // The corner itself is not inside the box.
    EXPECT_FALSE(col.Get_PointBOXCollision(box, box.max));
    // Radius 0: only the centre.
    EXPECT_TRUE(col.Get_PointSphereCollision({4, 5, 1}, {4, 5, 1}, 0.0f));
}

TEST(BoxesAndSpheres, BoxTestIsOneSided) {
    cCOLLISION col;
    const D3DRMBOX big{{0, 0, 0}, {10, 10, 10}}, small{{2, 2, 2}, {3, 3, 3}};
    EXPECT_TRUE(col.Get_BoxCollision(big, small));
    EXPECT_FALSE(col.Get_BoxCollision(small, big));  // big around small: no corner inside
    // Two slabs crossing like a plus sign: no corner of either inside the other.
    const D3DRMBOX across{{-5, 4, 4}, {15, 6, 6}}, up{{4, -5, 4}, {6, 15, 6}};
    EXPECT_FALSE(col.Get_BoxCollision(across, up));
    // Only the corner (min x, max y, min z) of this box is inside.
    EXPECT_TRUE(col.Get_BoxCollision(big, {{5, -5, 5}, {20, 5, 20}}));
    // Identical boxes: every corner on the boundary.
    EXPECT_FALSE(col.Get_BoxCollision(big, big));
}

TEST(BoxesAndSpheres, BoxesAreCopiedUnsortedAndBoundedFromTheFirstVertex) {
    cCOLLISION col;
    D3DRMBOX box;
    EXPECT_TRUE(col.Create_BOX({5, 5, 5}, {1, 1, 1}, box).is_empty());
    EXPECT_EQ(box.min.x, 5.0f);
    tarko::SafeArray<D3DVERTEX> one(1, 1);
    one(1) = {3, -4, 5};
    col.OBJECT_getBoundingBOX(one, box);
    expect_vec(box.min, 3, -4, 5, 0);
    expect_vec(box.max, 3, -4, 5, 0);
    tarko::SafeArray<D3DVERTEX> three(0, 2);
    three(0) = {1, 1, 1};
    three(1) = {-1, 2, 0};
    three(2) = {0, 0, 3};
    col.OBJECT_getBoundingBOX(three, box);
    expect_vec(box.min, -1, 0, 0, 0);
    expect_vec(box.max, 1, 2, 3, 0);
    tarko::SafeArray<D3DVERTEX> empty(0, -1), never;
    EXPECT_EQ(error_of([&] { col.OBJECT_getBoundingBOX(empty, box); }), tarko::err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { col.OBJECT_getBoundingBOX(never, box); }), tarko::err::SubscriptOutOfRange);
    expect_vec(box.max, 1, 2, 3, 0);
}

TEST(PointTriangle, RayTowardsTheFirstVertexAfterTheMatrix) {
    cCOLLISION col;
    const D3DVERTEX p1{0, 0, 0}, p2{1, 0, 0}, p3{0, 1, 0};
    const D3DMATRIX id = tarko::maths::identity();
    // From (0, 0, -1) towards p1: the ray meets the triangle at that corner (U = V = 0).
    EXPECT_TRUE(col.GetPointTRI_Colision(p1, p2, p3, {0, 0, -1}, id));
    // A point in the plane: the ray runs along the plane and det is 0.
    EXPECT_FALSE(col.GetPointTRI_Colision(p1, p2, p3, {3, 3, 0}, id));
    // Moved 5 along z by the matrix, p1 is (0,0,5) and the origin looks at it;
    // untransformed, the origin is p1 itself and the direction is zero.
    const D3DMATRIX up = tarko::maths::translation(0, 0, 5);
    EXPECT_TRUE(col.GetPointTRI_Colision(p1, p2, p3, {0, 0, 0}, up, true));
    EXPECT_FALSE(col.GetPointTRI_Colision(p1, p2, p3, {0, 0, 0}, up, false));
}

TEST(PointTriangle, PlaneTestIsExactToTheSingle) {
    cCOLLISION col;
    const D3DVERTEX p1{0, 1, 0}, p2{1, 1, 0}, p3{0, 1, 1};  // the plane y = 1
    const D3DMATRIX id = tarko::maths::identity();
    EXPECT_TRUE(col.GetPointTRI_Colision2(p1, p2, p3, {50, 1, -70}, id));  // outside the triangle, on the plane
    EXPECT_FALSE(col.GetPointTRI_Colision2(p1, p2, p3, {0.2f, std::nextafter(1.0f, 2.0f), 0.2f}, id));
    // With the matrix: lifted to y = 3.
    const D3DMATRIX up = tarko::maths::translation(0, 2, 0);
    EXPECT_TRUE(col.GetPointTRI_Colision2(p1, p2, p3, {0, 3, 0}, up));
    // A vertex whose W is under 1e-05 keeps its position: the plane stays y = 1.
    D3DMATRIX flat = tarko::maths::identity();
    flat.rc44 = 1e-6f;
    EXPECT_TRUE(col.GetPointTRI_Colision2(p1, p2, p3, {0, 1, 0}, flat));
}

TEST(Triangles, TriangleAgainstTriangleIsAlwaysFalse) {
    cCOLLISION col;
    float t = 1, u = 2, v = 3;
    EXPECT_FALSE(col.Triangle_TriCOLLISION({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, t, u, v));
    EXPECT_EQ(t + u + v, 6.0f);
}

TEST(Matrices, CollisionRotationUsesTheEngineFactor) {
    cCOLLISION col;
    const D3DMATRIX m = col.MRotate(tarko::maths::identity(), 0, 0, 90);
    D3DMATRIX scratch;
    const D3DMATRIX e =
        tarko::maths::rotate_degrees(tarko::maths::identity(), 0, 0, 90, tarko::maths::kEngineDegreeFactor, scratch);
    EXPECT_EQ(m.rc11, e.rc11);
    EXPECT_EQ(m.rc12, -1.0f);
    EXPECT_EQ(col.MScale(tarko::maths::identity(), 2, 3, 4).rc33, 4.0f);
}

}  // namespace
