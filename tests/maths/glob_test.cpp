// GLOB: record makers, the shared matrix helpers and the texture ladder.
#include "maths/GLOB.h"

#include <gtest/gtest.h>

#include "maths/cMATH.h"
#include "maths_test_util.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace {

using tarko::Variant;
using tarko::test::bit_equal;

TEST(Glob, LitVerticesCarryTheColourTwiceAndNoReservedBits) {
    const D3DLVERTEX l = GLOB::MakeLVertex(1.0, 2.0, 3.0, Variant(tarko::Long(-16776961)), 0.5, 0.25);
    EXPECT_EQ(l.color, -16776961);
    EXPECT_EQ(l.specular, -16776961);
    EXPECT_EQ(l.dvReserved, 0);
    EXPECT_EQ(GLOB::MakeTLVertex(10.0, 20.0, 0.5, Variant(tarko::Long(255)), 0.0, 1.0).specular, 255);
    EXPECT_EQ(GLOB::MakeVertex(1.0, 2.0, 3.0, 0.0, 1.0, 0.0, "0.5", 1.0).tu, 0.5f);
    EXPECT_EQ(tarko::test::error_of([] { GLOB::MakeLVertex(0.0, 0.0, 0.0, Variant("red"), 0.0, 0.0); }),
              tarko::err::TypeMismatch);
}

TEST(Glob, MatrixHelpersTakeCMathsFactorAndApplyTheSecondArgumentFirst) {
    cMATH m;
    const D3DMATRIX id = m.RetIdentityMatrix();
    EXPECT_TRUE(bit_equal(GLOB::MRotate(id, 10, 20, 30), m.Matrix_Rotate(id, 10, 20, 30)));
    EXPECT_FALSE(bit_equal(GLOB::MRotate(id, 10, 20, 30, tarko::maths::kEngineDegreeFactor),
                           m.Matrix_Rotate(id, 10, 20, 30)));
    const D3DMATRIX s = GLOB::MScale(id, 3, 3, 3), t = GLOB::MTranslate(id, 0, 1, 0);
    tarko::test::expect_near(tarko::test::apply(GLOB::MMultiply(s, t), {0, 0, 0}), 0, 3, 0);  // (0,1,0) * 3
    tarko::Long w = 2, h = 3;  // the ladder, on both sides in place
    GLOB::RoundTextureSize(w, h);
    EXPECT_EQ(w, 2);
    EXPECT_EQ(h, 4);
}

}  // namespace
