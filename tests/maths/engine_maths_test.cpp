// The engine object's maths operations: its factor, its names and the
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

TEST_F(EngineMaths, RotationsFollowTheAxisTableAndProductsTheirOrder) {
    // MRotate in degrees with PIFactor; 90 about Z sends (1,0,0) to (0,-1,0).
    expect_near(apply(dx.MRotate(dx.ID_Matrix(), 0, 0, 90), {1, 0, 0}), 0, -1, 0);
    // The radian form: 90 degrees about X sends (0,1,0) to (0,0,-1).
    expect_near(apply(dx.RetRotateXMatrix(1.5707963f), {0, 1, 0}), 0, 0, -1);
    const D3DMATRIX s = dx.MScale(dx.ID_Matrix(), 2, 2, 2);
    D3DMATRIX t;
    dx.TranslateMatrix(t, {1, 0, 0});
    expect_near(apply(dx.MMultiply(s, t), {1, 0, 0}), 4, 0, 0);  // t first, then s
    expect_near(apply(dx.MTranslate(s, 1, 0, 0), {1, 0, 0}), 3, 0, 0);
    expect_near(apply(dx.M_Scale_Rotate_MOV({2, 2, 2}, {0, 0, 0}, {1, 0, 0}), {0, 0, 0}), 1, 0, 0);
}

TEST_F(EngineMaths, VectorsByEveryName) {
    const D3DVECTOR a{1, 2, 3}, b{-2, 0.5f, 4};
    // a x b = (2*4 - 3*0.5, 3*-2 - 1*4, 1*0.5 - 2*-2); a . b = -2 + 1 + 12.
    expect_near(dx.VCrossProduct(a, b), 6.5f, -10, 4.5f, 0);
    EXPECT_EQ(dx.VDotProduct(a, b), 11.0f);
    EXPECT_EQ(dx.VectorDotProduct(a, b), 11.0f);
    expect_near(dx.VSubtract(a, b), 3, 1.5f, -1, 0);
    expect_near(dx.VNegate(a), -1, -2, -3, 0);
    expect_near(dx.VertorABS(b), 2, 0.5f, 4, 0);
    D3DVECTOR d;
    dx.VectorAddAndScale(d, 2, a, -1, b);  // 2a - b
    expect_near(d, 4, 3.5f, 2, 0);
    EXPECT_FLOAT_EQ(dx.VectorNormal({0, 0, 0}, {3, 4, 0}), 5.0f);
    // The operandless add and cross work on Dest.
    d = {1, 0, 0};
    expect_near(dx.VectorAdd(d, {0, 2, 0}), 1, 2, 0, 0);
    expect_near(d, 1, 2, 0, 0);
    D3DVECTOR x{1, 0, 0};
    expect_near(dx.VectorCrossProduct(x, {0, 1, 0}), 0, 0, 1, 0);  // x cross y = z
    expect_near(dx.VNormalize({3, 0, 4}), 0.6f, 0, 0.8f);
    // Zero stays zero; the two legacy stubs always give the origin.
    expect_near(dx.VNormalize({0, 0, 0}), 0, 0, 0, 0);
    expect_near(dx.VectorSETPOS({5, 5, 5}), 0, 0, 0, 0);
    expect_near(dx.VectorMISSING({5, 5, 5}, Variant("anything")), 0, 0, 0, 0);
}

TEST_F(EngineMaths, MakersCoerceAndNarrow) {
    expect_near(dx.tarko_MakeVector(0.1, 2, 3), 0.1f, 2, 3, 0);
    EXPECT_EQ(error_of([&] { dx.tarko_MakeVector(1e39, 0, 0); }), tarko::err::Overflow);
    expect_near(dx.Vector(Variant("1.5"), Variant(tarko::Integer(2)), Variant()), 1.5f, 2, 0, 0);
    expect_near(dx.VecTIME({1, 2, 3}, Variant("2")), 2, 4, 6, 0);
    EXPECT_EQ(error_of([&] { dx.VecTIME({1, 2, 3}, Variant("twice")); }), tarko::err::TypeMismatch);
    const D3DLVERTEX l = dx.vecLVertex({1, 2, 3}, tarko::runtime::RGB(153, 153, 153), 0.5, Variant());
    EXPECT_EQ(l.color, 0x999999);
    EXPECT_EQ(l.specular, 0x999999);
    EXPECT_EQ(l.tv, 0.0f);
    EXPECT_EQ(dx.vecVertex({1, 2, 3}, 0.25, 0.75).tv, 0.75f);
    EXPECT_EQ(dx.RVertex({1, 2, 3}, {0, 1, 0}, 0.5f, 1).ny, 1.0f);
}

TEST_F(EngineMaths, ScalarsColoursAndTheRadianConstant) {
    EXPECT_EQ(dx.RADIAN(), 0.017443758030437666);
    EXPECT_EQ(dx.RGBA(1.0, 1.0, 1.0, 1.0), -1);
    EXPECT_EQ(dx.RGBA(0.0, 0.0, 0.0, 0.0), 0);
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
