// The textured cube builder: face placement, clockwise strips seen from
// outside, texture orientation, and how it treats the host's array.
#include "geometry/cube.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::Long;
using tarko::SafeArray;
using tarko::geometry::textured_cube;
using tarko::geometry::write_textured_cube;
using tarko::test::error_of;

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

TEST(Cube, EachFaceLiesOutwardRunsClockwiseAndShowsItsTextureUpright) {
    // Half sizes 1, 2, 3 so that a face on the wrong axis shows; tiles 3 by 2.
    const std::array<D3DVERTEX, 24> cube = textured_cube({1, 2, 3}, 3, 2);
    for (int f = 0; f < 6; ++f) {
        SCOPED_TRACE(f);
        const D3DVECTOR n = kFaces[f].normal;
        const D3DVERTEX* v = &cube[static_cast<std::size_t>(4 * f)];
        const float half = std::fabs(n.x) * 1 + std::fabs(n.y) * 2 + std::fabs(n.z) * 3;
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ((std::vector<float>{v[k].nx, v[k].ny, v[k].nz}), (std::vector<float>{n.x, n.y, n.z}));
            EXPECT_FLOAT_EQ(dot(pos(v[k]), n), half);  // the plane lies at +half along the normal
            EXPECT_EQ(v[k].tu, dot(pos(v[k]), kFaces[f].u_dir) > 0 ? 3.0f : 0.0f) << k;
            EXPECT_EQ(v[k].tv, dot(pos(v[k]), kFaces[f].v_dir) > 0 ? 2.0f : 0.0f) << k;
        }
        // Left-handed, y up: seen from the side a normal points to, a clockwise
        // triangle a-b-c has cross(b - a, c - a) along that normal. The face -z
        // of a unit cube: (-1,1)->(1,1)->(-1,-1), cross((2,0,0), (0,-2,0)) = (0,0,-4).
        // A strip's second triangle is drawn as 1-3-2.
        EXPECT_GT(dot(cross(sub(pos(v[1]), pos(v[0])), sub(pos(v[2]), pos(v[0]))), n), 0.0f);
        EXPECT_GT(dot(cross(sub(pos(v[3]), pos(v[1])), sub(pos(v[2]), pos(v[1]))), n), 0.0f);
    }
}

TEST(CubeArray, BoundsAreFixedUpOrRefused) {
    // Undimensioned or longer arrays become 0..23.
    const std::array<D3DVERTEX, 24> expected = textured_cube({1, 1, 1}, 1, 1);
    SafeArray<D3DVERTEX> never, longer(0, 99);
    for (SafeArray<D3DVERTEX>* a : {&never, &longer}) {
        write_textured_cube(*a, {1, 1, 1}, 1, 1);
        EXPECT_EQ((std::vector<Long>{a->LBound(), a->UBound()}), (std::vector<Long>{0, 23}));
        EXPECT_EQ(std::memcmp(a->data(), expected.data(), sizeof expected), 0);
    }
    // A negative lower bound is kept with the elements below zero.
    SafeArray<D3DVERTEX> neg(-2, 5);
    neg(-2).x = 42;
    write_textured_cube(neg, {1, 1, 1}, 1, 1);
    EXPECT_EQ((std::vector<Long>{neg.LBound(), neg.UBound()}), (std::vector<Long>{-2, 23}));
    // Element 0 is the cube's first vertex, not storage slot 0.
    EXPECT_EQ((std::vector<float>{neg(-2).x, neg(0).x}), (std::vector<float>{42, -1}));
    // A lower bound above zero raises 9 and leaves the array as it was.
    SafeArray<D3DVERTEX> a(1, 5);
    a(1).x = 42;
    EXPECT_EQ(error_of([&] { write_textured_cube(a, {1, 1, 1}, 1, 1); }), tarko::err::SubscriptOutOfRange);
    EXPECT_EQ((std::vector<Long>{a.LBound(), a.UBound()}), (std::vector<Long>{1, 5}));
    EXPECT_EQ(a(1).x, 42.0f);
}

}  // namespace
