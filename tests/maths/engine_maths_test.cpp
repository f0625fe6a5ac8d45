// The engine object's maths operations: its factor, its odd names and the
// operations that reseed the generator.
#include <gtest/gtest.h>

#include "engine/tarko_dx7.h"
#include "maths_test_util.h"
#include "platform/base/dx_math.h"
#include "runtime/errors.h"
#include "runtime/services.h"
#include "support/test_support.h"

namespace {

using tarko::Variant;
using tarko::test::apply;
using tarko::test::error_of;
using tarko::test::expect_near;

class EngineMaths : public ::testing::Test {
protected:
    tarko::runtime::ScopedTestServices services;
    tarko_DX7 dx;
};

TEST_F(EngineMaths, RotationsUseThePIFactorAndOperandlessOperationsWorkOnDest) {
    // MRotate in degrees with PIFactor; 90 about Z sends (1,0,0) to (0,-1,0).
    expect_near(apply(dx.MRotate(dx.ID_Matrix(), 0, 0, 90), {1, 0, 0}), 0, -1, 0);
    EXPECT_EQ(dx.RADIAN(), 0.017443758030437666);
    D3DVECTOR d{1, 0, 0};
    expect_near(dx.VectorAdd(d, {0, 2, 0}), 1, 2, 0, 0);
    expect_near(d, 1, 2, 0, 0);
    EXPECT_EQ(error_of([&] { dx.tarko_MakeVector(1e39, 0, 0); }), tarko::err::Overflow);
    EXPECT_EQ(dx.RGBA(1.0, 0.0, 0.0, 1.0), static_cast<tarko::Long>(0xFFFF0000u));
}

TEST_F(EngineMaths, RandReseedsFromTheClockOnEveryCall) {
    const Variant first = dx.Rand();
    EXPECT_EQ(first.type(), Variant::Type::Single);
    EXPECT_EQ(dx.Rand().to_double(), first.to_double());  // same tick, same seed, same number
    const tarko::Long colour = dx.random_RGBA();
    EXPECT_EQ(dx.random_RGBA(), colour);
    // random_RGBA draws r, g, b, a in this order after the same reseed.
    tarko::runtime::Randomize();
    const float r = tarko::runtime::Rnd(), g = tarko::runtime::Rnd(), b = tarko::runtime::Rnd(),
                a = tarko::runtime::Rnd();
    EXPECT_EQ(colour, tarko::dxmath::createColorRGBA(r, g, b, a));
    services.clock().advance(1000);
    EXPECT_NE(dx.Rand().to_double(), first.to_double());
}

}  // namespace
