// cMATH's scalar functions: values and the runtime errors at domain edges.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "maths/cMATH.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::Variant;
constexpr double kHalfPi = 1.5707963267948966;

using tarko::test::error_of;

class Scalar : public ::testing::Test {
protected:
    cMATH m;
};

TEST_F(Scalar, ResultsAreDoublesInVariants) {
    const Variant r = m.Arccos(Variant(tarko::Integer(0)));
    EXPECT_EQ(r.type(), Variant::Type::Double);
    EXPECT_DOUBLE_EQ(r.to_double(), kHalfPi);
    EXPECT_DOUBLE_EQ(m.Arccotan(0.0).to_double(), kHalfPi);
}

TEST_F(Scalar, ArcsecIsNotFoldedIntoAPrincipalRange) {
    // Atn(2 / Sqr(3)) = 0.8570719; + pi/2 for 2, and Sgn(-3) = -1 for -2.
    EXPECT_NEAR(m.Arcsec(2.0).to_double(), 0.8570719479 + kHalfPi, 1e-9);
    EXPECT_NEAR(m.Arcsec(-2.0).to_double(), -0.8570719479 - kHalfPi, 1e-9);
    // Arccosec(-2): Atn(-2 / Sqr(3)) + (Sgn(-2) - 1) pi/2 = -0.857 - pi.
    EXPECT_NEAR(m.Arccosec(-2.0).to_double(), -0.8570719479 - 2 * kHalfPi, 1e-9);
    EXPECT_NEAR(m.Arccosec(2.0).to_double(), 0.8570719479, 1e-9);
}

TEST_F(Scalar, HyperbolicValuesAtZeroAndOne) {
    EXPECT_EQ(m.HSin(0.0).to_double(), 0.0);
    EXPECT_EQ(m.HTan(0.0).to_double(), 0.0);
    EXPECT_EQ(m.HCos(0.0).to_double(), 1.0);
    EXPECT_EQ(m.HSec(0.0).to_double(), 1.0);
    EXPECT_NEAR(m.HSin(1.0).to_double(), std::sinh(1.0), 1e-15);
    EXPECT_NEAR(m.HCotan(1.0).to_double(), 1 / std::tanh(1.0), 1e-14);
    EXPECT_NEAR(m.HArcsin(1.0).to_double(), std::asinh(1.0), 1e-15);
    EXPECT_NEAR(m.HArccos(2.0).to_double(), std::acosh(2.0), 1e-15);
    EXPECT_NEAR(m.HArctan(0.5).to_double(), std::atanh(0.5), 1e-15);
    EXPECT_NEAR(m.HArccotan(2.0).to_double(), std::atanh(0.5), 1e-15);
    EXPECT_NEAR(m.HArcsec(0.5).to_double(), std::acosh(2.0), 1e-15);
    EXPECT_NEAR(m.HArccosec(-2.0).to_double(), std::asinh(-0.5), 1e-15);
}

TEST_F(Scalar, LogNIsBaseTenAndTrigReciprocals) {
    EXPECT_NEAR(m.LogN(1000.0).to_double(), 3.0, 1e-15);
    EXPECT_NEAR(m.Secante(0.0).to_double(), 1.0, 0);
    EXPECT_NEAR(m.Cosecante(kHalfPi).to_double(), 1.0, 1e-15);
    EXPECT_NEAR(m.Cotangente(0.7853981633974483).to_double(), 1.0, 1e-15);
    EXPECT_NEAR(m.Arcsin(0.5).to_double(), std::asin(0.5), 1e-15);
}

TEST_F(Scalar, DomainEdgesRaiseTheRuntimeErrors) {
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
