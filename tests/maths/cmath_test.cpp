// cMATH: its degree factors, products, array transforms, vectors and scalar
// functions with the runtime errors at their domain edges.
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
using tarko::test::bit_equal;
using tarko::test::error_of;
using tarko::test::expect_near;
constexpr double kHalfPi = 1.5707963267948966;

class CMath : public ::testing::Test {
protected:
    cMATH m;
    const D3DMATRIX id = m.RetIdentityMatrix();
};

TEST_F(CMath, RotationsUseTheClassFactorAndCreateItsOwn) {
    // 180 * float(3.14598745148 / 180) = 3.1459875; back again gives 180.
    EXPECT_NEAR(m.DegToRad(180), 3.14598745148, 1e-6);
    EXPECT_NEAR(m.RadToDeg(m.DegToRad(33)), 33.0, 1e-9);
    D3DMATRIX scratch;
    using namespace tarko::maths;
    EXPECT_TRUE(bit_equal(m.Matrix_Rotate(id, 10, 20, 30), rotate_degrees(id, 10, 20, 30, kMathDegreeFactor, scratch)));
    EXPECT_TRUE(bit_equal(m.Matrix_Scale_Rotate_MOV({1, 1, 1}, {0, 0, 90}, {}), m.Matrix_Rotate(id, 0, 0, 90)));
    EXPECT_TRUE(bit_equal(m.Matrix_Create({10, 20, 30}, {1, 2, 3}, {4, 5, 6}), matrix_create({10, 20, 30}, {1, 2, 3}, {4, 5, 6})));
}

TEST_F(CMath, MultiplyAppliesTheSecondArgumentFirst) {
    const D3DMATRIX s = m.Matrix_Scale(id, 2, 2, 2);
    const D3DMATRIX t = m.Matrix_Translate(id, 1, 0, 0);
    // Matrix_Multiply(s, t) = t x s: (1,0,0) -> (2,0,0) -> (4,0,0).
    expect_near(apply(m.Matrix_Multiply(s, t), {1, 0, 0}), 4, 0, 0);
    expect_near(apply(m.MTrans_EX(s, {1, 0, 0}), {1, 0, 0}), 3, 0, 0);
}

TEST_F(CMath, VectorMatrixMultiplyReportsTinyW) {
    D3DMATRIX noW = id;
    noW.rc44 = 0;  // fourth column all 0
    D3DVECTOR dest{7, 8, 9};
    const Variant r = m.VectorMatrixMultiply(dest, {1, 2, 3}, noW);
    EXPECT_EQ(r.type(), Variant::Type::Integer);
    EXPECT_EQ(r.to_long(), 0);
    expect_near(dest, 7, 8, 9, 0);
    EXPECT_EQ(m.VectorMatrixMultiply(dest, {1, 2, 3}, m.Matrix_Translate(id, 1, 1, 1)).to_long(), 1);
    expect_near(dest, 2, 3, 4);
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
    EXPECT_EQ(out(3).tu, 0.25f);
    m.VerTEX_MatMULTILPY(in, mat, in);  // in place, through one array
    EXPECT_EQ(in(4).y, 2.0f);
    // The box starts from far seeds, not from the first vertex.
    tarko::SafeArray<D3DVERTEX> v(0, 2);
    v(0) = {1, 5, -1};
    v(1) = {-3, 2, 4};
    v(2) = {0, 7, 0};
    D3DRMBOX box;
    m.OBJECT_getBoundingBOX(v, box);
    expect_near(box.min, -3, 2, -1, 0);
    expect_near(box.max, 1, 7, 4, 0);
}

TEST_F(CMath, UndimensionedArraysRaise9AndChangeNothing) {
    tarko::SafeArray<D3DVERTEX> never, out(0, 0);
    out(0).x = 42;
    EXPECT_EQ(error_of([&] { m.VerTEX_MatMULTILPY(never, id, out); }), tarko::err::SubscriptOutOfRange);
    EXPECT_EQ(out(0).x, 42.0f);
    D3DRMBOX untouched{{1, 1, 1}, {2, 2, 2}};
    EXPECT_EQ(error_of([&] { m.OBJECT_getBoundingBOX(never, untouched); }), tarko::err::SubscriptOutOfRange);
    expect_near(untouched.max, 2, 2, 2, 0);
}

TEST_F(CMath, VectorsByEveryName) {
    const D3DVECTOR a{1, 2, 3}, b{4, 5, 6};
    expect_near(m.VAdd(a, b), 5, 7, 9, 0);
    expect_near(m.Vsub(a, b), -3, -3, -3, 0);
    D3DVECTOR d;
    m.VectorSubtract(d, b, a);
    expect_near(d, 3, 3, 3, 0);
    m.VectorCrossProduct(d, a, b);  // (2*6 - 3*5, 3*4 - 1*6, 1*5 - 2*4)
    expect_near(d, -3, 6, -3, 0);
    EXPECT_EQ(m.VectorDotProduct(a, b), 32.0f);
    expect_near(m.Vmiddle(a, b), 2.5f, 3.5f, 4.5f, 0);
    EXPECT_FLOAT_EQ(m.VDist(a, b), std::sqrt(27.0f));
    expect_near(m.VScale(a, -2), -2, -4, -6, 0);
    expect_near(m.CalculateNormal({0, 0, 0}, {1, 0, 0}, {0, 1, 0}), 0, 0, 1);
    D3DVECTOR z{};
    m.VectorNormalize(z);
    expect_near(z, 0, 0, 0, 0);
    expect_near(m.Vector(Variant(tarko::Integer(1)), Variant("2.5"), Variant()), 1, 2.5f, 0, 0);
    EXPECT_EQ(error_of([&] { m.Vector(Variant("north"), 0.0, 0.0); }), tarko::err::TypeMismatch);
    EXPECT_EQ(error_of([&] { m.Vector(Variant(1e40), 0.0, 0.0); }), tarko::err::Overflow);
}

TEST_F(CMath, ScalarsAreDoublesWithHandWorkedValues) {
    EXPECT_EQ(m.Arccos(Variant(tarko::Integer(0))).type(), Variant::Type::Double);
    const struct { const char* what; double got, want, tol; } rows[] = {
        {"Arccos(0)", m.Arccos(Variant(tarko::Integer(0))).to_double(), kHalfPi, 0},
        {"Arccotan(0)", m.Arccotan(0.0).to_double(), kHalfPi, 0},
        // Not folded into a principal range: Atn(2 / Sqr(3)) = 0.8570719; + pi/2
        // for 2, and Sgn(-3) = -1 for -2. Arccosec(-2): + (Sgn(-2) - 1) pi/2.
        {"Arcsec(2)", m.Arcsec(2.0).to_double(), 0.8570719479 + kHalfPi, 1e-9},
        {"Arcsec(-2)", m.Arcsec(-2.0).to_double(), -0.8570719479 - kHalfPi, 1e-9},
        {"Arccosec(-2)", m.Arccosec(-2.0).to_double(), -0.8570719479 - 2 * kHalfPi, 1e-9},
        {"Arccosec(2)", m.Arccosec(2.0).to_double(), 0.8570719479, 1e-9},
        {"HSin(0)", m.HSin(0.0).to_double(), 0, 0},
        {"HCos(0)", m.HCos(0.0).to_double(), 1, 0},
        {"HSec(0)", m.HSec(0.0).to_double(), 1, 0},
        {"HCotan(1)", m.HCotan(1.0).to_double(), 1 / std::tanh(1.0), 1e-14},
        {"HArccos(2)", m.HArccos(2.0).to_double(), std::acosh(2.0), 1e-15},
        {"HArccotan(2)", m.HArccotan(2.0).to_double(), std::atanh(0.5), 1e-15},  // atanh(1/x)
        {"HArcsec(0.5)", m.HArcsec(0.5).to_double(), std::acosh(2.0), 1e-15},
        {"HArccosec(-2)", m.HArccosec(-2.0).to_double(), std::asinh(-0.5), 1e-15},
        {"LogN(1000)", m.LogN(1000.0).to_double(), 3, 1e-15},  // base ten
        {"Secante(0)", m.Secante(0.0).to_double(), 1, 0},
        {"Cosecante(pi/2)", m.Cosecante(kHalfPi).to_double(), 1, 1e-15},
        {"Cotangente(pi/4)", m.Cotangente(0.7853981633974483).to_double(), 1, 1e-15},
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
        {"Arcsin(1)", [&] { m.Arcsin(1.0); }, DivisionByZero},
        {"Arcsin(-1)", [&] { m.Arcsin(-1.0); }, DivisionByZero},
        {"Arcsin(2)", [&] { m.Arcsin(2.0); }, InvalidCall},
        {"Arccos(1)", [&] { m.Arccos(1.0); }, DivisionByZero},
        {"Arcsec(1)", [&] { m.Arcsec(1.0); }, DivisionByZero},
        {"Arccosec(-1)", [&] { m.Arccosec(-1.0); }, DivisionByZero},
        {"HArctan(1)", [&] { m.HArctan(1.0); }, DivisionByZero},
        {"HArccotan(1)", [&] { m.HArccotan(1.0); }, DivisionByZero},
        {"HCosec(0)", [&] { m.HCosec(0.0); }, DivisionByZero},
        {"HCotan(0)", [&] { m.HCotan(0.0); }, DivisionByZero},
        {"Cosecante(0)", [&] { m.Cosecante(0.0); }, DivisionByZero},
        {"Cotangente(0)", [&] { m.Cotangente(0.0); }, DivisionByZero},
        {"HArcsec(0)", [&] { m.HArcsec(0.0); }, DivisionByZero},
        {"HArccosec(0)", [&] { m.HArccosec(0.0); }, DivisionByZero},
        {"HArccos(0.5)", [&] { m.HArccos(0.5); }, InvalidCall},
        {"HArccos(-2)", [&] { m.HArccos(-2.0); }, InvalidCall},
        {"LogN(0)", [&] { m.LogN(0.0); }, InvalidCall},
        {"HArctan(-1)", [&] { m.HArctan(-1.0); }, InvalidCall},
        {"HCos(1000)", [&] { m.HCos(1000.0); }, Overflow},
        {"HSin(-1000)", [&] { m.HSin(-1000.0); }, Overflow},
        {"Arcsin(text)", [&] { m.Arcsin(Variant("one")); }, TypeMismatch},
        {"LogN(missing)", [&] { m.LogN(Variant::missing()); }, TypeMismatch},
    };
    for (const auto& c : cases) EXPECT_EQ(error_of(c.call), c.error) << c.what;
}

}  // namespace
