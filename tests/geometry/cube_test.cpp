// The textured cube builder: face placement, clockwise strips seen from
// outside, texture orientation, and how it treats the host's array.
#include "geometry/cube.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::SafeArray;
using tarko::geometry::textured_cube;
using tarko::geometry::write_textured_cube;
using tarko::test::error_of;
using Cube = std::array<D3DVERTEX, 24>;

D3DVECTOR pos(const D3DVERTEX& v) { return {v.x, v.y, v.z}; }
D3DVECTOR sub(const D3DVECTOR& a, const D3DVECTOR& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
float dot(const D3DVECTOR& a, const D3DVECTOR& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
D3DVECTOR cross(const D3DVECTOR& a, const D3DVECTOR& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Per face, in drawing order: the outward normal, and the directions in which
// u and v grow as a viewer outside sees the face. Side faces: looking along -n
// with y up, right = cross(up, -n) in a left-handed world (-z: +x, +z: -x,
// +x: +z, -x: -z) and down = -y. Both y faces: u along +x, v = 0 on the +z
// edge (unmirrored from above, mirrored from below).
struct FaceRow { D3DVECTOR normal, u_dir, v_dir; };
constexpr FaceRow kFaces[6] = {
    {{0, 0, -1}, {1, 0, 0}, {0, -1, 0}}, {{0, 0, 1}, {-1, 0, 0}, {0, -1, 0}},
    {{0, 1, 0}, {1, 0, 0}, {0, 0, -1}},  {{0, -1, 0}, {1, 0, 0}, {0, 0, -1}},
    {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}},  {{-1, 0, 0}, {0, 0, -1}, {0, -1, 0}},
};

// Half sizes 1, 2, 3 so that a face on the wrong axis shows; tiles 3 by 2.
constexpr D3DVECTOR kHalf{1, 2, 3};

class CubeFaces : public ::testing::TestWithParam<int> {
protected:
    const Cube cube = textured_cube(kHalf, 3, 2);
    const FaceRow& row() const { return kFaces[GetParam()]; }
    const D3DVERTEX& v(int k) const { return cube[static_cast<std::size_t>(4 * GetParam() + k)]; }
};

TEST_P(CubeFaces, LieOnTheirOutwardPlaneWithTheirNormal) {
    const D3DVECTOR n = row().normal;
    // Outward: the plane lies at +half along the normal (1, 2 or 3 here).
    const float half = std::fabs(n.x) * kHalf.x + std::fabs(n.y) * kHalf.y + std::fabs(n.z) * kHalf.z;
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(v(k).nx, n.x) << "vertex " << k;
        EXPECT_EQ(v(k).ny, n.y) << "vertex " << k;
        EXPECT_EQ(v(k).nz, n.z) << "vertex " << k;
        EXPECT_FLOAT_EQ(dot(pos(v(k)), n), half) << "vertex " << k;
    }
}

TEST_P(CubeFaces, BothTrianglesRunClockwiseSeenFromOutside) {
    // Left-handed, y up: seen from the side a normal points to, a clockwise
    // triangle a-b-c has cross(b - a, c - a) along that normal. The face -z
    // of a unit cube: (-1,1)->(1,1)->(-1,-1), cross((2,0,0), (0,-2,0)) = (0,0,-4).
    // With the vertices on corners this also makes 1-2 the face's diagonal.
    const D3DVECTOR n = row().normal;
    EXPECT_GT(dot(cross(sub(pos(v(1)), pos(v(0))), sub(pos(v(2)), pos(v(0)))), n), 0.0f);
    // A strip's second triangle is drawn as 1-3-2.
    EXPECT_GT(dot(cross(sub(pos(v(3)), pos(v(1))), sub(pos(v(2)), pos(v(1)))), n), 0.0f);
}

TEST_P(CubeFaces, TextureIsOrientedAsTheFaceIsSeen) {
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(v(k).tu, dot(pos(v(k)), row().u_dir) > 0 ? 3.0f : 0.0f) << "vertex " << k;
        EXPECT_EQ(v(k).tv, dot(pos(v(k)), row().v_dir) > 0 ? 2.0f : 0.0f) << "vertex " << k;
    }
    // The strip starts at the texture's top-left as the face shows it: (0, 0)
    // on -z, +y, -y and +x; (tile, 0) on +z and -x. With the winding that fixes
    // which edge carries u: 0-1 on -z, +y and +x, 0-2 on the others.
    EXPECT_EQ(v(0).tv, 0.0f);
    EXPECT_EQ(v(0).tu, GetParam() == 1 || GetParam() == 5 ? 3.0f : 0.0f);
}

INSTANTIATE_TEST_SUITE_P(EachFace, CubeFaces, ::testing::Range(0, 6));

TEST(Cube, EveryVertexIsACornerAndEachCornerServesThreeFaces) {
    const Cube cube = textured_cube(kHalf, 3, 2);
    int corners_seen[8] = {};
    for (const D3DVERTEX& v : cube) {
        ASSERT_EQ(std::fabs(v.x), 1.0f);
        ASSERT_EQ(std::fabs(v.y), 2.0f);
        ASSERT_EQ(std::fabs(v.z), 3.0f);
        ++corners_seen[(v.x > 0) + 2 * (v.y > 0) + 4 * (v.z > 0)];
    }
    for (int c : corners_seen) EXPECT_EQ(c, 3);  // each corner belongs to three faces
}

TEST(Cube, DegenerateHalfSizesStillWriteAll24Vertices) {
    // Zero thickness: the two y faces coincide (-0 and 0 alike), normals kept.
    const Cube flat = textured_cube({1, 0, 1}, 1, 1);
    for (const D3DVERTEX& v : flat) EXPECT_EQ(v.y, 0.0f);
    EXPECT_EQ(flat[8].x, flat[12].x);
    EXPECT_EQ(flat[8].z, flat[12].z);
    EXPECT_EQ(flat[8].ny, 1.0f);
    EXPECT_EQ(flat[12].ny, -1.0f);
    // Negative: every position negated, normals and texture kept, so each face
    // sits opposite its normal (the -z face at z = +1) and the box is inside out.
    const Cube in = textured_cube({-1, -1, -1}, 1, 1), out = textured_cube({1, 1, 1}, 1, 1);
    for (std::size_t i = 0; i < 24; ++i) {
        EXPECT_EQ(in[i].x, -out[i].x);
        EXPECT_EQ(in[i].nx, out[i].nx);
        EXPECT_EQ(in[i].tu, out[i].tu);
    }
    EXPECT_EQ(in[0].z, 1.0f);
    EXPECT_EQ(in[0].nz, -1.0f);
}

TEST(CubeArray, UndimensionedOrLongerArraysBecomeUpperBound23) {
    const Cube expected = textured_cube({1, 1, 1}, 1, 1);
    SafeArray<D3DVERTEX> never, longer(0, 99);
    for (SafeArray<D3DVERTEX>* a : {&never, &longer}) {
        write_textured_cube(*a, {1, 1, 1}, 1, 1);
        EXPECT_EQ(a->LBound(), 0);
        EXPECT_EQ(a->UBound(), 23);
        EXPECT_EQ(std::memcmp(a->data(), expected.data(), sizeof expected), 0);
    }
}

TEST(CubeArray, ANegativeLowerBoundIsKeptWithTheElementsBelowZero) {
    SafeArray<D3DVERTEX> a(-2, 5);
    a(-2).x = 42;
    a(-1).tv = 7;
    write_textured_cube(a, {1, 1, 1}, 1, 1);
    EXPECT_EQ(a.LBound(), -2);
    EXPECT_EQ(a.UBound(), 23);
    EXPECT_EQ(a(-2).x, 42.0f);
    EXPECT_EQ(a(-1).tv, 7.0f);
    EXPECT_EQ(a(0).x, -1.0f);  // element 0 is the cube's first vertex, not storage slot 0
    EXPECT_EQ(a(0).y, 1.0f);
}

TEST(CubeArray, ALowerBoundAboveZeroRaises9AndLeavesTheArrayAsItWas) {
    SafeArray<D3DVERTEX> a(1, 5);
    a(1).x = 42;
    EXPECT_EQ(error_of([&] { write_textured_cube(a, {1, 1, 1}, 1, 1); }), tarko::err::SubscriptOutOfRange);
    EXPECT_EQ(a.LBound(), 1);
    EXPECT_EQ(a.UBound(), 5);
    EXPECT_EQ(a(1).x, 42.0f);
}

}  // namespace
