// The textured cube builder: corners, outward normals, clockwise strips seen
// from outside, texture corners, and how it treats the host's array.
#include "geometry/cube.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

#include "geometry/host_array.h"
#include "runtime/errors.h"

namespace {

using tarko::Long;
using tarko::SafeArray;
using tarko::geometry::kCubeFaceStarts;
using tarko::geometry::textured_cube;
using tarko::geometry::write_textured_cube;
using Cube = std::array<D3DVERTEX, 24>;

D3DVECTOR pos(const D3DVERTEX& v) { return {v.x, v.y, v.z}; }
D3DVECTOR normal(const D3DVERTEX& v) { return {v.nx, v.ny, v.nz}; }
D3DVECTOR sub(const D3DVECTOR& a, const D3DVECTOR& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
float dot(const D3DVECTOR& a, const D3DVECTOR& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
D3DVECTOR cross(const D3DVECTOR& a, const D3DVECTOR& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Long error_of(const std::function<void()>& f) {
    try {
        f();
    } catch (const tarko::RuntimeError& e) {
        return e.number();
    }
    return 0;
}

// Half sizes 1, 2, 3 so that a face on the wrong axis shows.
const D3DVECTOR kHalf{1, 2, 3};
float half_along(const D3DVECTOR& n) { return std::fabs(n.x) * kHalf.x + std::fabs(n.y) * kHalf.y + std::fabs(n.z) * kHalf.z; }

class CubeFaces : public ::testing::TestWithParam<int> {
protected:
    const Cube cube = textured_cube(kHalf, 3, 2);
    int first() const { return static_cast<int>(kCubeFaceStarts[static_cast<std::size_t>(GetParam())]); }
    const D3DVERTEX& v(int k) const { return cube[static_cast<std::size_t>(first() + k)]; }
};

TEST_P(CubeFaces, ShareOneUnitOutwardNormalAndLieInItsPlane) {
    const D3DVECTOR n = normal(v(0));
    EXPECT_FLOAT_EQ(dot(n, n), 1.0f);
    EXPECT_EQ(std::fabs(n.x) + std::fabs(n.y) + std::fabs(n.z), 1.0f);  // along one axis
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(std::memcmp(&v(k).nx, &v(0).nx, 3 * sizeof(float)), 0) << "vertex " << k;
        // Outward: the plane lies at +half along its own normal (1, 2 or 3 here).
        EXPECT_FLOAT_EQ(dot(pos(v(k)), n), half_along(n)) << "vertex " << k;
    }
}

TEST_P(CubeFaces, StripCoversTheWholeFaceWithFourCorners) {
    // 0 and 3 are diagonal in a strip (triangles 0-1-2 and 1-2-3): they differ
    // in both in-plane coordinates, and 1 and 2 are the other two corners.
    const D3DVECTOR d = sub(pos(v(3)), pos(v(0)));
    const D3DVECTOR n = normal(v(0));
    EXPECT_EQ(dot(d, n), 0.0f);
    const float span = std::fabs(d.x) + std::fabs(d.y) + std::fabs(d.z);
    // Sum of the two full in-plane edges: 2 (hx + hy + hz - half along n).
    EXPECT_FLOAT_EQ(span, 2 * (kHalf.x + kHalf.y + kHalf.z - half_along(n)));
    const D3DVECTOR m1 = {(v(0).x + v(3).x) / 2, (v(0).y + v(3).y) / 2, (v(0).z + v(3).z) / 2};
    const D3DVECTOR m2 = {(v(1).x + v(2).x) / 2, (v(1).y + v(2).y) / 2, (v(1).z + v(2).z) / 2};
    EXPECT_EQ(std::memcmp(&m1, &m2, sizeof m1), 0);  // both diagonals cross at the face centre
}

TEST_P(CubeFaces, BothTrianglesRunClockwiseSeenFromOutside) {
    // Left-handed, y up: seen from the side a normal points to, a clockwise
    // triangle a-b-c has cross(b - a, c - a) along that normal. The face -z
    // of a unit cube: (-1,1)->(1,1)->(-1,-1), cross((2,0,0), (0,-2,0)) = (0,0,-4).
    const D3DVECTOR n = normal(v(0));
    EXPECT_GT(dot(cross(sub(pos(v(1)), pos(v(0))), sub(pos(v(2)), pos(v(0)))), n), 0.0f);
    // A strip's second triangle is drawn as 1-3-2.
    EXPECT_GT(dot(cross(sub(pos(v(3)), pos(v(1))), sub(pos(v(2)), pos(v(1)))), n), 0.0f);
}

TEST_P(CubeFaces, TextureCornersSpanTheTiles) {
    // u and v each take 0 and the tile, twice; along one of the edges 0-1 and
    // 0-2 only u changes, along the other only v (the strip's first edge
    // carries u on -z, +y and +x, v on +z, -y and -x).
    int u_tiles = 0, v_tiles = 0;
    for (int k = 0; k < 4; ++k) {
        EXPECT_TRUE(v(k).tu == 0.0f || v(k).tu == 3.0f);
        EXPECT_TRUE(v(k).tv == 0.0f || v(k).tv == 2.0f);
        u_tiles += v(k).tu == 3.0f;
        v_tiles += v(k).tv == 2.0f;
    }
    EXPECT_EQ(u_tiles, 2);
    EXPECT_EQ(v_tiles, 2);
    const bool u_first = v(0).tu != v(1).tu;
    EXPECT_EQ(u_first, GetParam() % 2 == 0);
    const D3DVERTEX& along_u = u_first ? v(1) : v(2);
    const D3DVERTEX& along_v = u_first ? v(2) : v(1);
    EXPECT_NE(v(0).tu, along_u.tu);
    EXPECT_EQ(v(0).tv, along_u.tv);
    EXPECT_EQ(v(0).tu, along_v.tu);
    EXPECT_NE(v(0).tv, along_v.tv);
    // The strip starts at the texture's top-left as the face shows it: (0, 0)
    // on -z, +y, -y and +x; (tile, 0) on +z and -x.
    EXPECT_EQ(v(0).tv, 0.0f);
    EXPECT_EQ(v(0).tu, GetParam() == 1 || GetParam() == 5 ? 3.0f : 0.0f);
}

INSTANTIATE_TEST_SUITE_P(EachFace, CubeFaces, ::testing::Range(0, 6));

TEST(Cube, FacesComeInTheOrderMinusZPlusZPlusYMinusYPlusXMinusX) {
    const Cube cube = textured_cube(kHalf, 1, 1);
    const D3DVECTOR expected[6] = {{0, 0, -1}, {0, 0, 1}, {0, 1, 0}, {0, -1, 0}, {1, 0, 0}, {-1, 0, 0}};
    for (int f = 0; f < 6; ++f) {
        const D3DVERTEX& v = cube[static_cast<std::size_t>(kCubeFaceStarts[static_cast<std::size_t>(f)])];
        EXPECT_EQ(v.nx, expected[f].x) << "face " << f;
        EXPECT_EQ(v.ny, expected[f].y) << "face " << f;
        EXPECT_EQ(v.nz, expected[f].z) << "face " << f;
    }
}

TEST(Cube, SideFacesShowTheTextureUnmirroredFromOutside) {
    // Seen from outside a side face (looking along -n, y up), right is
    // cross(up, forward) in a left-handed world; u grows to the right and v
    // downwards. So on +z and -x the coordinates run from the tile down to 0
    // along +x and +z: the +z face's element 4 at x = -1 has u = tile.
    const Cube cube = textured_cube({1, 1, 1}, 3, 2);
    for (int f : {0, 1, 4, 5}) {
        const int s = static_cast<int>(kCubeFaceStarts[static_cast<std::size_t>(f)]);
        const D3DVECTOR n = normal(cube[static_cast<std::size_t>(s)]);
        const D3DVECTOR right = cross({0, 1, 0}, {-n.x, -n.y, -n.z});
        for (int k = 0; k < 4; ++k) {
            const D3DVERTEX& v = cube[static_cast<std::size_t>(s + k)];
            EXPECT_EQ(v.tu, dot(pos(v), right) > 0 ? 3.0f : 0.0f) << "face " << f << " vertex " << k;
            EXPECT_EQ(v.tv, v.y > 0 ? 0.0f : 2.0f) << "face " << f << " vertex " << k;
        }
    }
    EXPECT_EQ(cube[4].x, -1.0f);
    EXPECT_EQ(cube[4].tu, 3.0f);
    EXPECT_EQ(cube[20].z, -1.0f);
    EXPECT_EQ(cube[20].tu, 3.0f);
}

TEST(Cube, TopAndBottomFacesPutTheTextureTopAtPlusZAndUAlongPlusX) {
    // Both y faces: v = 0 on the +z edge, u = tile on the +x edge. From above
    // (+z up on the screen) that reads unmirrored; from below it is mirrored.
    const Cube cube = textured_cube({1, 1, 1}, 3, 2);
    for (int s : {8, 12}) {
        for (int k = 0; k < 4; ++k) {
            const D3DVERTEX& v = cube[static_cast<std::size_t>(s + k)];
            EXPECT_EQ(v.tu, v.x > 0 ? 3.0f : 0.0f);
            EXPECT_EQ(v.tv, v.z > 0 ? 0.0f : 2.0f);
        }
    }
}

TEST(Cube, HalfSizesPlaceTheCornersAndMakeThe24DistinctRecordsOfEightCorners) {
    const Cube cube = textured_cube(kHalf, 1, 1);
    int corners_seen[8] = {};
    for (const D3DVERTEX& v : cube) {
        ASSERT_EQ(std::fabs(v.x), 1.0f);
        ASSERT_EQ(std::fabs(v.y), 2.0f);
        ASSERT_EQ(std::fabs(v.z), 3.0f);
        ++corners_seen[(v.x > 0) + 2 * (v.y > 0) + 4 * (v.z > 0)];
    }
    for (int c : corners_seen) EXPECT_EQ(c, 3);  // each corner belongs to three faces
}

TEST(Cube, ZeroThicknessStillWritesAll24Vertices) {
    const Cube cube = textured_cube({1, 0, 1}, 1, 1);
    for (const D3DVERTEX& v : cube) EXPECT_EQ(v.y, 0.0f);
    // The two y faces coincide; the side faces are degenerate lines.
    EXPECT_EQ(cube[8].x, cube[12].x);   // -0 and 0 alike
    EXPECT_EQ(cube[8].y, cube[12].y);
    EXPECT_EQ(cube[8].z, cube[12].z);
    EXPECT_EQ(cube[8].ny, 1.0f);
    EXPECT_EQ(cube[12].ny, -1.0f);
}

TEST(Cube, NegativeHalfSizesTurnTheBoxInsideOut) {
    // Every position negated: each face sits opposite its normal, which now
    // points into the box, and its strip runs clockwise seen from inside.
    const Cube in = textured_cube({-1, -1, -1}, 1, 1);
    const Cube out = textured_cube({1, 1, 1}, 1, 1);
    for (std::size_t i = 0; i < 24; ++i) {
        EXPECT_EQ(in[i].x, -out[i].x);
        EXPECT_EQ(in[i].nx, out[i].nx);
        EXPECT_EQ(in[i].tu, out[i].tu);
    }
    EXPECT_EQ(in[0].z, 1.0f);   // the face with normal -z is now at z = +1
    EXPECT_EQ(in[0].nz, -1.0f); // facing the inside
}

// ---- the host's array

TEST(CubeArray, AnUndimensionedArrayBecomes0To23) {
    SafeArray<D3DVERTEX> a;
    write_textured_cube(a, {1, 1, 1}, 1, 1);
    EXPECT_EQ(a.LBound(), 0);
    EXPECT_EQ(a.UBound(), 23);
    const Cube expected = textured_cube({1, 1, 1}, 1, 1);
    EXPECT_EQ(std::memcmp(a.data(), expected.data(), sizeof expected), 0);
}

TEST(CubeArray, ALongerArrayIsCutTo23) {
    SafeArray<D3DVERTEX> a(0, 99);
    write_textured_cube(a, {1, 1, 1}, 1, 1);
    EXPECT_EQ(a.UBound(), 23);
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

TEST(CubeArray, RequireElementNamesTheMissingStart) {
    SafeArray<D3DVERTEX> a(0, 12);
    EXPECT_EQ(error_of([&] { tarko::geometry::require_element(a, 12); }), 0);
    EXPECT_EQ(error_of([&] { tarko::geometry::require_element(a, 16); }), tarko::err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { tarko::geometry::require_element(SafeArray<D3DVERTEX>{}, 0); }),
              tarko::err::SubscriptOutOfRange);
}

}  // namespace
