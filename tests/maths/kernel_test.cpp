// Kernel conventions: row vectors, the axis table, degree factors, rounding, boxes.
#include "maths/kernel.h"

#include <gtest/gtest.h>

#include <cmath>

#include "maths_test_util.h"
#include "platform/base/dx_math.h"

namespace tarko::maths {
namespace {

using test::apply;
using test::expect_near;

constexpr double kHalfPi = 1.5707963267948966;

TEST(Transforms, MovePointsAsWorkedOutByHand) {
    D3DMATRIX scratch;
    const D3DMATRIX s = scaling(2, 2, 2), t = translation(1, 0, 0);
    const struct { const char* what; D3DMATRIX m; D3DVECTOR in, want; } rows[] = {
        // Row vector times matrix picks the row: Z's row 1 = (c, -s, 0).
        {"Z pi/2", rotation_z(kHalfPi), {1, 0, 0}, {0, -1, 0}},
        {"X pi/2", rotation_x(kHalfPi), {0, 1, 0}, {0, 0, -1}},  // row 2 = (0, c, -s)
        {"Y pi/2", rotation_y(kHalfPi), {0, 0, 1}, {-1, 0, 0}},  // row 3 = (-s, 0, c)
        // Engine factor: float(3.141592653 / 180) * 90 is pi/2 to within 2e-8.
        // X then Y then Z: (0,1,0) -> (0,0,-1) -> minus row 3 = (1,0,0) -> row 1 = (0,-1,0).
        {"XYZ 90 deg", rotate_degrees(identity(), 90, 90, 90, kEngineDegreeFactor, scratch), {0, 1, 0}, {0, -1, 0}},
        // The translation sits in row 4: (x, y, z, 1) adds it after the 3x3 part.
        {"s then t", multiply(s, t), {1, 0, 0}, {3, 0, 0}},  // (2,0,0) + (1,0,0)
        {"t then s", multiply(t, s), {1, 0, 0}, {4, 0, 0}},  // (2,0,0) * 2
        {"SRM unscaled move", scale_rotate_move({2, 2, 2}, {}, {1, 0, 0}, kEngineDegreeFactor, scratch), {1, 0, 0}, {3, 0, 0}},
        // Scale, then turn, then move: (2,0,0), Z's row 1 (0,-2,0), + (3,0,0). Turned before the scale it
        // would be (0,-1,0); moved before the turn, (0,-5,0).
        {"SRM order", scale_rotate_move({2, 1, 1}, {0, 0, 90}, {3, 0, 0}, kEngineDegreeFactor, scratch), {1, 0, 0},
         {3, -2, 0}},
        {"create", matrix_create({}, {2, 3, 4}, {5, 6, 7}), {1, 1, 1}, {7, 9, 11}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        expect_near(apply(r.m, r.in), r.want.x, r.want.y, r.want.z);
    }
    // Planes, in radians: XY, then XZ, then YZ.
    expect_near(rotate_planes({1, 0, 0}, kHalfPi, 0, 0), 0, -1, 0);
    expect_near(rotate_planes({1, 0, 0}, 0, kHalfPi, 0), 0, 0, -1);
    expect_near(rotate_planes({0, 1, 0}, 0, 0, kHalfPi), 0, 0, 1);
}

TEST(Transforms, EachOperationUsesItsOwnDegreeConstant) {
    D3DMATRIX scratch;
    // cMATH factor: 90 * 3.14598745148 / 180 = pi/2 + 0.0021974, so x = cos = -sin(0.0021974).
    const D3DVECTOR m = apply(rotate_degrees(identity(), 0, 0, 90, kMathDegreeFactor, scratch), {1, 0, 0});
    EXPECT_NEAR(m.x, -0.0021974, 2e-7);
    // matrix_create: row 1 = (cy cz, cy sz, -sy), so (1,0,0) goes to (cz, sz, 0),
    // turning opposite to the table; 90 * 3.14564875441112 / 180 = pi/2 + 0.0020281.
    const D3DVECTOR p = apply(matrix_create({0, 0, 90}, {1, 1, 1}, {0, 0, 0}), {1, 0, 0});
    EXPECT_NEAR(p.x, -0.0020281, 2e-7);
    EXPECT_NEAR(p.y, 0.999998, 1e-6);
}

TEST(Transforms, CosineAndSineAreRoundedToSingleBeforeUseAndZeroAnglesSkip) {
    const D3DMATRIX m = rotation_x(0.3);
    EXPECT_EQ(m.rc22, static_cast<float>(std::cos(0.3)));
    D3DMATRIX src, scratch;
    for (int i = 0; i < 16; ++i) (&src.rc11)[i] = 0.1f * static_cast<float>(i) - 0.77f;
    EXPECT_TRUE(test::bit_equal(rotate_degrees(src, -0.0f, 0, 0, kMathDegreeFactor, scratch), src));
}

TEST(Vectors, ResultsAreRoundedOnceZeroStaysZeroAndPointsAreDividedByW) {
    // 16777217 is not a Single: the exact sum rounds once, half to even, to 16777216.
    EXPECT_EQ(add_scaled(1.0, {16777216.0f, 0, 0}, 1.0, {1.0f, 0, 0}).x, 16777216.0f);
    D3DVECTOR negative_zero{-0.0f, 0.0f, -0.0f};
    normalize_in_place(negative_zero);
    expect_near(negative_zero, 0, 0, 0, 0);
    EXPECT_FALSE(std::signbit(negative_zero.x));
    expect_near(triangle_normal({1, 1, 1}, {2, 2, 2}, {3, 3, 3}), 0, 0, 0, 0);  // collinear
    D3DMATRIX m = identity();
    m.rc44 = 2;  // W = 2 for every point
    D3DVECTOR out{9, 9, 9};
    EXPECT_TRUE(transform_point(out, {2, 4, 6}, m, 1e-10));
    expect_near(out, 1, 2, 3);
}

TEST(Boxes, SeededAndFirstVertexBoxes) {
    SafeArray<D3DVERTEX> none(0, -1), never;
    const D3DRMBOX seeds = bounds_from_seeds(none);
    EXPECT_EQ(seeds.min.x, 99999999.0f);
    EXPECT_EQ(seeds.min.y, 999999999.0f);
    EXPECT_EQ(seeds.max.z, -999999999.0f);
    EXPECT_THROW(bounds_from_first(none), RuntimeError);
    EXPECT_THROW(bounds_from_seeds(never), RuntimeError);
}

TEST(ViewMatrix, MatchesAHandBuiltLookAt) {
    // Eye (2,5,0) looking along +x with y up, left-handed: view = (1,0,0),
    // right = up x view = (0,0,-1); row 4 = -(right.eye, up.eye, view.eye) = (0,-5,-2).
    D3DMATRIX v;
    dxmath::viewMatrix(v, {2, 5, 0}, {3, 5, 0}, {0, 1, 0}, 0);
    const float expected[16] = {0, 0, 1, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, -5, -2, 1};
    for (int i = 0; i < 16; ++i) EXPECT_NEAR((&v.rc11)[i], expected[i], 1e-7) << "element " << i;
}

TEST(TextureLadder, RoundsUpToPowersOfTwoAndCapsAt256) {
    const struct { Long in, out; } cases[] = {{-5, -5}, {0, 0}, {3, 4}, {4, 4}, {129, 256}, {300, 256}};
    for (const auto& c : cases) EXPECT_EQ(round_texture_side(c.in), c.out) << c.in;
}

}  // namespace
}  // namespace tarko::maths
