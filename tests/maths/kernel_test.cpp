// Kernel conventions: the axis table, degree factors, transforms, boxes.
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

TEST(AxisTable, QuarterTurnsMoveUnitVectorsAgainstTheUsualSense) {
    // Row vector times matrix picks the row: (1,0,0) x Z = row 1 = (c, -s, 0) = (0, -1, 0).
    expect_near(apply(rotation_z(kHalfPi), {1, 0, 0}), 0, -1, 0);
    // (0,1,0) x X = row 2 = (0, c, -s) = (0, 0, -1).
    expect_near(apply(rotation_x(kHalfPi), {0, 1, 0}), 0, 0, -1);
    // (0,0,1) x Y = row 3 = (-s, 0, c) = (-1, 0, 0).
    expect_near(apply(rotation_y(kHalfPi), {0, 0, 1}), -1, 0, 0);
}

TEST(AxisTable, CosineAndSineAreRoundedToSingleBeforeUse) {
    const D3DMATRIX m = rotation_x(0.3);
    EXPECT_EQ(m.rc22, static_cast<float>(std::cos(0.3)));
    EXPECT_EQ(m.rc32, static_cast<float>(std::sin(0.3)));
    EXPECT_EQ(m.rc23, -static_cast<float>(std::sin(0.3)));
}

TEST(DegreeRotation, EachClassFactorGivesItsOwnQuarterTurn) {
    D3DMATRIX scratch;
    // Engine factor: float(3.141592653 / 180) * 90 is pi/2 to within 2e-8.
    expect_near(apply(rotate_degrees(identity(), 0, 0, 90, kEngineDegreeFactor, scratch), {1, 0, 0}), 0, -1, 0);
    // cMATH factor: 90 * 3.14598745148 / 180 = pi/2 + 0.0021974, so x = cos = -sin(0.0021974).
    const D3DVECTOR m = apply(rotate_degrees(identity(), 0, 0, 90, kMathDegreeFactor, scratch), {1, 0, 0});
    EXPECT_NEAR(m.x, -0.0021974, 2e-7);
    EXPECT_NEAR(m.y, -0.9999976, 2e-7);
}

TEST(DegreeRotation, ZeroAnglesReturnTheSourceBitForBit) {
    D3DMATRIX src;
    for (int i = 0; i < 16; ++i) (&src.rc11)[i] = 0.1f * static_cast<float>(i) - 0.77f;
    D3DMATRIX scratch;
    EXPECT_TRUE(test::bit_equal(rotate_degrees(src, 0, 0, 0, kEngineDegreeFactor, scratch), src));
    EXPECT_TRUE(test::bit_equal(rotate_degrees(src, -0.0f, 0, 0, kMathDegreeFactor, scratch), src));
}

TEST(DegreeRotation, AppliesXThenYThenZ) {
    D3DMATRIX scratch;
    // (0,1,0): X by 90 gives (0,0,-1); Y by 90 maps (0,0,-1) to minus row 3 = (1,0,0);
    // Z by 90 maps (1,0,0) to row 1 = (0,-1,0).
    const D3DMATRIX m = rotate_degrees(identity(), 90, 90, 90, kEngineDegreeFactor, scratch);
    expect_near(apply(m, {0, 1, 0}), 0, -1, 0, 1e-6f);
}

TEST(MatrixCreate, TurnsOppositeToTheTableAndUsesItsOwnConstant) {
    // Row 1 = (cy cz, cy sz, -sy): (1,0,0) goes to (cz, sz, 0); the angle is
    // 90 * 3.14564875441112 / 180 = pi/2 + 0.0020281.
    const D3DMATRIX m = matrix_create({0, 0, 90}, {1, 1, 1}, {0, 0, 0});
    const D3DVECTOR p = apply(m, {1, 0, 0});
    EXPECT_NEAR(p.x, -0.0020281, 2e-7);
    EXPECT_NEAR(p.y, 0.999998, 1e-6);   // +y where the table gives -y
    D3DMATRIX scratch;
    const D3DVECTOR q = apply(rotate_degrees(identity(), 0, 0, 90, kMathDegreeFactor, scratch), {1, 0, 0});
    EXPECT_LT(q.y * p.y, 0);
    EXPECT_NE(p.x, q.x);
}

TEST(MatrixCreate, ScalesThenPlacesTheTranslation) {
    const D3DMATRIX m = matrix_create({0, 0, 0}, {2, 3, 4}, {5, 6, 7});
    expect_near(apply(m, {1, 1, 1}), 7, 9, 11);
    EXPECT_EQ(m.rc44, 1.0f);
    EXPECT_EQ(m.rc14, 0.0f);
}

TEST(PlaneRotation, EachAngleTurnsItsPlane) {
    expect_near(rotate_planes({1, 0, 0}, kHalfPi, 0, 0), 0, -1, 0);  // XY plane
    expect_near(rotate_planes({1, 0, 0}, 0, kHalfPi, 0), 0, 0, -1);  // XZ plane
    expect_near(rotate_planes({0, 1, 0}, 0, 0, kHalfPi), 0, 0, 1);   // YZ plane
}

TEST(Products, OrderOfApplication) {
    D3DMATRIX scratch;
    const D3DMATRIX s = scaling(2, 2, 2);
    const D3DMATRIX t = translation(1, 0, 0);
    // s first then t: (1,0,0) -> (2,0,0) -> (3,0,0); t first then s: (2,0,0) -> (4,0,0).
    expect_near(apply(multiply(s, t), {1, 0, 0}), 3, 0, 0);
    expect_near(apply(multiply(t, s), {1, 0, 0}), 4, 0, 0);
    // translate(A, ...) applies A first.
    expect_near(apply(translate(s, 1, 0, 0, scratch), {1, 0, 0}), 3, 0, 0);
}

TEST(Products, ScaleRotateMoveKeepsTheTranslationUnscaled) {
    D3DMATRIX scratch;
    const D3DMATRIX m = scale_rotate_move({2, 2, 2}, {0, 0, 0}, {1, 0, 0}, kEngineDegreeFactor, scratch);
    expect_near(apply(m, {0, 0, 0}), 1, 0, 0);
    expect_near(apply(m, {1, 0, 0}), 3, 0, 0);
}

TEST(Vectors, ZeroLengthNormalisesToZero) {
    D3DVECTOR z{};
    normalize_in_place(z);
    expect_near(z, 0, 0, 0, 0);
    D3DVECTOR negative_zero{-0.0f, 0.0f, -0.0f};
    normalize_in_place(negative_zero);
    EXPECT_FALSE(std::signbit(negative_zero.x));
    expect_near(triangle_normal({1, 1, 1}, {2, 2, 2}, {3, 3, 3}), 0, 0, 0, 0);  // collinear
}

TEST(Vectors, ResultsAreRoundedOnceFromDouble) {
    // 16777217 is not a Single: the exact sum rounds once, half to even, to 16777216.
    const D3DVECTOR v = add_scaled(1.0, {16777216.0f, 0, 0}, 1.0, {1.0f, 0, 0});
    EXPECT_EQ(v.x, 16777216.0f);  // 16777217 rounds (half to even) to 16777216
    const D3DVECTOR m = midpoint({16777216.0f, 0, 0}, {16777218.0f, 0, 0});
    EXPECT_EQ(m.x, 16777216.0f);  // 16777217 again
    EXPECT_FLOAT_EQ(distance({0, 0, 0}, {3, 4, 12}), 13.0f);
    EXPECT_EQ(cross({1, 0, 0}, {0, 1, 0}).z, 1.0f);
}

TEST(TransformPoint, DividesByWAndRefusesTinyW) {
    D3DMATRIX m = identity();
    m.rc44 = 2;  // W = 2 for every point
    D3DVECTOR out{9, 9, 9};
    EXPECT_TRUE(transform_point(out, {2, 4, 6}, m, 1e-10));
    expect_near(out, 1, 2, 3);
    m.rc44 = 0;
    out = {9, 9, 9};
    EXPECT_FALSE(transform_point(out, {2, 4, 6}, m, 1e-10));
    expect_near(out, 9, 9, 9, 0);
    m.rc44 = 1e-6f;  // passes 1e-10 but not 1e-5
    EXPECT_TRUE(transform_point(out, {0, 0, 0}, m, 1e-10));
    EXPECT_FALSE(transform_point(out, {0, 0, 0}, m, 1e-05));
}

TEST(Boxes, SeededAndFirstVertexBoxesDifferOnEmptyArrays) {
    SafeArray<D3DVERTEX> none(0, -1);
    const D3DRMBOX seeds = bounds_from_seeds(none);
    EXPECT_EQ(seeds.min.x, 99999999.0f);
    EXPECT_EQ(seeds.min.y, 999999999.0f);
    EXPECT_EQ(seeds.max.z, -999999999.0f);
    EXPECT_THROW(bounds_from_first(none), RuntimeError);
    SafeArray<D3DVERTEX> never;
    EXPECT_THROW(bounds_from_seeds(never), RuntimeError);
}

TEST(Boxes, OneVertexGivesAZeroSizeBoxAtIt) {
    SafeArray<D3DVERTEX> one(5, 5);
    one(5) = {1, -2, 3, 0, 0, 0, 0, 0};
    for (const D3DRMBOX& b : {bounds_from_seeds(one), bounds_from_first(one)}) {
        expect_near(b.min, 1, -2, 3, 0);
        expect_near(b.max, 1, -2, 3, 0);
    }
}

TEST(ViewMatrix, MatchesAHandBuiltLookAt) {
    // Eye (2,5,0) looking along +x with y up, left-handed: view = (1,0,0),
    // right = up x view = (0,0,-1); row 4 = -(right.eye, up.eye, view.eye) = (0,-5,-2).
    D3DMATRIX v;
    dxmath::viewMatrix(v, {2, 5, 0}, {3, 5, 0}, {0, 1, 0}, 0);
    const float expected[16] = {0, 0, 1, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, -5, -2, 1};
    for (int i = 0; i < 16; ++i) EXPECT_NEAR((&v.rc11)[i], expected[i], 1e-7) << "element " << i;
    // (3,5,-4) is 1 ahead, 4 to the right, level with the eye.
    expect_near(apply(v, {3, 5, -4}), 4, 0, 1);
}

TEST(TextureLadder, RoundsUpToPowersOfTwoAndCapsAt256) {
    const struct { Long in, out; } cases[] = {{-5, -5}, {0, 0}, {2, 2}, {3, 4}, {4, 4}, {5, 8}, {16, 16},
                                              {17, 32}, {100, 128}, {128, 128}, {129, 256}, {300, 256},
                                              {1000, 256}};
    for (const auto& c : cases) EXPECT_EQ(round_texture_side(c.in), c.out) << c.in;
}

}  // namespace
}  // namespace tarko::maths
