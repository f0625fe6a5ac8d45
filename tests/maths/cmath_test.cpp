// cMATH: its degree factor, product order, array transforms and scalar
// functions with the runtime errors at their domain edges.
#include "maths/cMATH.h"
#include "maths/GLOB.h"

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
using tarko::test::error_of;
using tarko::test::expect_near;
constexpr double kHalfPi = 1.5707963267948966;

class CMath : public ::testing::Test {
protected:
    cMATH m;
    const D3DMATRIX id = m.RetIdentityMatrix();
};

TEST_F(CMath, FactorProductOrderAndTinyWRefusal) {
    // 180 * float(3.14598745148 / 180) = 3.1459875.
    EXPECT_NEAR(m.DegToRad(180), 3.14598745148, 1e-6);
    D3DMATRIX scratch;
    EXPECT_TRUE(tarko::test::bit_equal(m.Matrix_Rotate(id, 10, 20, 30),
                                       tarko::maths::rotate_degrees(id, 10, 20, 30, tarko::maths::kMathDegreeFactor, scratch)));
    // Matrix_Multiply(s, t) = t x s: (1,0,0) -> (2,0,0) -> (4,0,0).
    const D3DMATRIX s = m.Matrix_Scale(id, 2, 2, 2), t = m.Matrix_Translate(id, 1, 0, 0);
    expect_near(apply(m.Matrix_Multiply(s, t), {1, 0, 0}), 4, 0, 0);
    D3DMATRIX noW = id;
    noW.rc44 = 0;  // fourth column all 0
    D3DVECTOR dest{7, 8, 9};
    const Variant r = m.VectorMatrixMultiply(dest, {1, 2, 3}, noW);
    EXPECT_EQ(r.type(), Variant::Type::Integer);
    EXPECT_EQ(r.to_long(), 0);
    expect_near(dest, 7, 8, 9, 0);
}

TEST_F(CMath, VertexArraysKeepNormalsAndBounds) {
    tarko::SafeArray<D3DVERTEX> in(3, 4), out;
    in(3) = {1, 0, 0, 0, 1, 0, 0.25f, 0.5f};
    in(4) = {0, 1, 0, 1, 0, 0, 1, 1};
    const D3DMATRIX mat = m.Matrix_Translate(m.Matrix_Scale(id, 2, 2, 2), 0, 0, 5);
    EXPECT_TRUE(m.VerTEX_MatMULTILPY(in, mat, out).is_empty());
    EXPECT_EQ(out.LBound(), 3);
    EXPECT_EQ(out.UBound(), 4);
    EXPECT_EQ(out(3).x, 2.0f);
    EXPECT_EQ(out(3).z, 5.0f);
    EXPECT_EQ(out(3).ny, 1.0f);  // normals are not transformed
    tarko::SafeArray<D3DVERTEX> never;
    out(3).x = 42;
    EXPECT_EQ(error_of([&] { m.VerTEX_MatMULTILPY(never, id, out); }), tarko::err::SubscriptOutOfRange);
    EXPECT_EQ(out(3).x, 42.0f);
}

TEST_F(CMath, GlobLitVerticesCarryTheColourTwiceAndRotationTakesCMathsFactor) {
    const D3DLVERTEX l = GLOB::MakeLVertex(1.0, 2.0, 3.0, Variant(tarko::Long(-16776961)), 0.5, 0.25);
    EXPECT_EQ(l.color, -16776961);
    EXPECT_EQ(l.specular, -16776961);
    EXPECT_EQ(error_of([] { GLOB::MakeLVertex(0.0, 0.0, 0.0, Variant("red"), 0.0, 0.0); }), tarko::err::TypeMismatch);
    EXPECT_TRUE(tarko::test::bit_equal(GLOB::MRotate(id, 10, 20, 30), m.Matrix_Rotate(id, 10, 20, 30)));
}

TEST_F(CMath, ScalarsAreDoublesWithHandWorkedValues) {
    EXPECT_EQ(m.Arccos(Variant(tarko::Integer(0))).type(), Variant::Type::Double);
    const struct { const char* what; double got, want, tol; } rows[] = {
        {"Arccos(0)", m.Arccos(Variant(tarko::Integer(0))).to_double(), kHalfPi, 0},
        // Not folded into a principal range: Atn(2 / Sqr(3)) = 0.8570719; + pi/2
        // for 2, and Sgn(-3) = -1 for -2. Arccosec(-2): + (Sgn(-2) - 1) pi/2.
        {"Arcsec(-2)", m.Arcsec(-2.0).to_double(), -0.8570719479 - kHalfPi, 1e-9},
        {"Arccosec(-2)", m.Arccosec(-2.0).to_double(), -0.8570719479 - 2 * kHalfPi, 1e-9},
        {"LogN(1000)", m.LogN(1000.0).to_double(), 3, 1e-15},  // base ten
    };
    for (const auto& r : rows) EXPECT_NEAR(r.got, r.want, r.tol) << r.what;
}

TEST_F(CMath, ScalarDomainEdgesRaiseTheRuntimeErrors) {
    using namespace tarko::err;
    const struct {
        const char* what;
        std::function<void()> call;
        tarko::Long error;
    } cases[] = {
        {"Arcsin(-1)", [&] { m.Arcsin(-1.0); }, DivisionByZero},
        {"Arcsin(2)", [&] { m.Arcsin(2.0); }, InvalidCall},
        {"Arccos(1)", [&] { m.Arccos(1.0); }, DivisionByZero},
        {"Arcsec(1)", [&] { m.Arcsec(1.0); }, DivisionByZero},
        {"HArctan(1)", [&] { m.HArctan(1.0); }, DivisionByZero},
        {"HArctan(-1)", [&] { m.HArctan(-1.0); }, InvalidCall},
        {"HArccotan(1)", [&] { m.HArccotan(1.0); }, DivisionByZero},
        {"HCosec(0)", [&] { m.HCosec(0.0); }, DivisionByZero},
        {"Cosecante(0)", [&] { m.Cosecante(0.0); }, DivisionByZero},
        {"HArcsec(0)", [&] { m.HArcsec(0.0); }, DivisionByZero},
        {"HArccos(0.5)", [&] { m.HArccos(0.5); }, InvalidCall},
        {"LogN(0)", [&] { m.LogN(0.0); }, InvalidCall},
        {"HCos(1000)", [&] { m.HCos(1000.0); }, Overflow},
        {"Arcsin(text)", [&] { m.Arcsin(Variant("one")); }, TypeMismatch},
        {"LogN(missing)", [&] { m.LogN(Variant::missing()); }, TypeMismatch},
    };
    for (const auto& c : cases) EXPECT_EQ(error_of(c.call), c.error) << c.what;
}

}  // namespace
