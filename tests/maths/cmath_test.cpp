// cMATH: the public class's names, its degree factor, transforms of arrays.
#include "maths/cMATH.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "maths/kernel.h"
#include "maths_test_util.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::Variant;
using tarko::test::apply;
using tarko::test::expect_near;

using tarko::test::error_of;

class CMath : public ::testing::Test {
protected:
    cMATH m;
};

TEST_F(CMath, DegreeFactorIsNotPiOver180) {
    // 180 * float(3.14598745148 / 180) = 3.1459875; back again gives 180.
    EXPECT_NEAR(m.DegToRad(180), 3.14598745148, 1e-6);
    EXPECT_NEAR(m.RadToDeg(m.DegToRad(33)), 33.0, 1e-9);
    EXPECT_GT(m.DegToRad(180), 3.1416);
}

TEST_F(CMath, RotateAndCreateTurnOppositeWays) {
    const D3DMATRIX r = m.Matrix_Rotate(m.RetIdentityMatrix(), 0, 0, 30);
    const D3DMATRIX c = m.Matrix_Create({0, 0, 30}, {1, 1, 1}, {0, 0, 0});
    const D3DVECTOR pr = apply(r, {1, 0, 0}), pc = apply(c, {1, 0, 0});
    EXPECT_LT(pr.y, 0);   // -sin
    EXPECT_GT(pc.y, 0);   // +sin
    EXPECT_NE(-pr.y, pc.y);  // different constants
    EXPECT_NEAR(-pr.y, pc.y, 1e-3);
}

TEST_F(CMath, MultiplyAppliesTheSecondArgumentFirst) {
    const D3DMATRIX s = m.Matrix_Scale(m.RetIdentityMatrix(), 2, 2, 2);
    const D3DMATRIX t = m.Matrix_Translate(m.RetIdentityMatrix(), 1, 0, 0);
    // Matrix_Multiply(s, t) = t x s: (1,0,0) -> (2,0,0) -> (4,0,0).
    expect_near(apply(m.Matrix_Multiply(s, t), {1, 0, 0}), 4, 0, 0);
    expect_near(apply(m.MTrans_EX(s, {1, 0, 0}), {1, 0, 0}), 3, 0, 0);
}

TEST_F(CMath, ScaleRotateMoveUsesTheClassFactor) {
    const D3DMATRIX srm = m.Matrix_Scale_Rotate_MOV({1, 1, 1}, {0, 0, 90}, {0, 0, 0});
    const D3DMATRIX rot = m.Matrix_Rotate(m.RetIdentityMatrix(), 0, 0, 90);
    EXPECT_TRUE(tarko::test::bit_equal(srm, rot));
    expect_near(apply(m.Matrix_Scale_Rotate_MOV({2, 2, 2}, {0, 0, 0}, {1, 0, 0}), {0, 0, 0}), 1, 0, 0);
}

TEST_F(CMath, VectorMatrixMultiplyReportsTinyW) {
    D3DMATRIX noW = m.RetIdentityMatrix();
    noW.rc44 = 0;  // fourth column all 0
    D3DVECTOR dest{7, 8, 9};
    const Variant r = m.VectorMatrixMultiply(dest, {1, 2, 3}, noW);
    EXPECT_EQ(r.type(), Variant::Type::Integer);
    EXPECT_EQ(r.to_long(), 0);
    expect_near(dest, 7, 8, 9, 0);
    const Variant ok = m.VectorMatrixMultiply(dest, {1, 2, 3}, m.Matrix_Translate(m.RetIdentityMatrix(), 1, 1, 1));
    EXPECT_EQ(ok.to_long(), 1);
    expect_near(dest, 2, 3, 4);
}

TEST_F(CMath, VertexTransformKeepsNormalsAndBounds) {
    tarko::SafeArray<D3DVERTEX> in(3, 4);
    in(3) = {1, 0, 0, 0, 1, 0, 0.25f, 0.5f};
    in(4) = {0, 1, 0, 1, 0, 0, 1, 1};
    tarko::SafeArray<D3DVERTEX> out;
    const D3DMATRIX mat = m.Matrix_Translate(m.Matrix_Scale(m.RetIdentityMatrix(), 2, 2, 2), 0, 0, 5);
    EXPECT_TRUE(m.VerTEX_MatMULTILPY(in, mat, out).is_empty());
    EXPECT_EQ(out.LBound(), 3);
    EXPECT_EQ(out.UBound(), 4);
    EXPECT_EQ(out(3).x, 2.0f);
    EXPECT_EQ(out(3).z, 5.0f);
    EXPECT_EQ(out(3).ny, 1.0f);  // normals are not transformed
    EXPECT_EQ(out(4).nx, 1.0f);
    EXPECT_EQ(out(3).tu, 0.25f);
    // In place, through one array.
    m.VerTEX_MatMULTILPY(in, mat, in);
    EXPECT_EQ(in(4).y, 2.0f);
}

TEST_F(CMath, VertexTransformOfAnUndimensionedArrayRaisesAndChangesNothing) {
    tarko::SafeArray<D3DVERTEX> never;
    tarko::SafeArray<D3DVERTEX> out(0, 0);
    out(0).x = 42;
    EXPECT_EQ(error_of([&] { m.VerTEX_MatMULTILPY(never, m.RetIdentityMatrix(), out); }),
              tarko::err::SubscriptOutOfRange);
    EXPECT_EQ(out(0).x, 42.0f);
}

TEST_F(CMath, BoundingBoxStartsFromFarSeeds) {
    tarko::SafeArray<D3DVERTEX> v(0, 2);
    v(0) = {1, 5, -1};
    v(1) = {-3, 2, 4};
    v(2) = {0, 7, 0};
    D3DRMBOX box;
    m.OBJECT_getBoundingBOX(v, box);
    expect_near(box.min, -3, 2, -1, 0);
    expect_near(box.max, 1, 7, 4, 0);
    tarko::SafeArray<D3DVERTEX> never;
    D3DRMBOX untouched{{1, 1, 1}, {2, 2, 2}};
    EXPECT_EQ(error_of([&] { m.OBJECT_getBoundingBOX(never, untouched); }), tarko::err::SubscriptOutOfRange);
    expect_near(untouched.max, 2, 2, 2, 0);
}

TEST_F(CMath, VectorsByEveryName) {
    const D3DVECTOR a{1, 2, 3}, b{4, 5, 6};
    expect_near(m.VAdd(a, b), 5, 7, 9, 0);
    expect_near(m.Vector_Add(a, b), 5, 7, 9, 0);
    expect_near(m.Vsub(a, b), -3, -3, -3, 0);
    expect_near(m.SubtractVector(a, b), -3, -3, -3, 0);
    D3DVECTOR d;
    m.VectorSubtract(d, b, a);
    expect_near(d, 3, 3, 3, 0);
    m.VectorCrossProduct(d, a, b);  // (2*6 - 3*5, 3*4 - 1*6, 1*5 - 2*4)
    expect_near(d, -3, 6, -3, 0);
    EXPECT_EQ(m.VectorDotProduct(a, b), 32.0f);
    expect_near(m.Vmiddle(a, b), 2.5f, 3.5f, 4.5f, 0);
    EXPECT_FLOAT_EQ(m.VDist(a, b), std::sqrt(27.0f));
    expect_near(m.VScale(a, -2), -2, -4, -6, 0);
    expect_near(m.LVERTEXtoVEC({7, 8, 9}), 7, 8, 9, 0);
    D3DVECTOR z{};
    m.VectorNormalize(z);
    expect_near(z, 0, 0, 0, 0);
    expect_near(m.CalculateNormal({0, 0, 0}, {1, 0, 0}, {0, 1, 0}), 0, 0, 1);
}

TEST_F(CMath, VectorMakerCoercesVariants) {
    expect_near(m.Vector(Variant(tarko::Integer(1)), Variant("2.5"), Variant()), 1, 2.5f, 0, 0);
    EXPECT_EQ(error_of([&] { m.Vector(Variant("north"), 0.0, 0.0); }), tarko::err::TypeMismatch);
    EXPECT_EQ(error_of([&] { m.Vector(Variant(1e40), 0.0, 0.0); }), tarko::err::Overflow);
}

}  // namespace
