// GLOB: record makers, the shared matrix helpers and the texture ladder.
#include "maths/GLOB.h"

#include <gtest/gtest.h>

#include "maths/cMATH.h"
#include "maths_test_util.h"
#include "runtime/errors.h"

namespace {

using tarko::Variant;
using tarko::test::apply;
using tarko::test::expect_near;

TEST(Glob, LitVerticesCarryTheColourTwiceAndNoReservedBits) {
    const D3DLVERTEX l = GLOB::MakeLVertex(1.0, 2.0, 3.0, Variant(tarko::Long(-16776961)), 0.5, 0.25);
    EXPECT_EQ(l.color, -16776961);
    EXPECT_EQ(l.specular, -16776961);
    EXPECT_EQ(l.dvReserved, 0);
    const D3DTLVERTEX t = GLOB::MakeTLVertex(10.0, 20.0, 0.5, Variant(tarko::Long(255)), 0.0, 1.0);
    EXPECT_EQ(t.rhw, 0.5f);
    EXPECT_EQ(t.specular, 255);
    const D3DVERTEX v = GLOB::MakeVertex(1.0, 2.0, 3.0, 0.0, 1.0, 0.0, "0.5", 1.0);
    EXPECT_EQ(v.ny, 1.0f);
    EXPECT_EQ(v.tu, 0.5f);
    const D3DCOLORVALUE c = GLOB::MakeColorValue(0.1, 0.2, 0.3, 0.4);
    EXPECT_FLOAT_EQ(c.a, 0.4f);
    EXPECT_FLOAT_EQ(c.r, 0.1f);
}

TEST(Glob, ColourThatIsNoNumberIsATypeMismatch) {
    try {
        GLOB::MakeLVertex(0.0, 0.0, 0.0, Variant("red"), 0.0, 0.0);
        FAIL();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), tarko::err::TypeMismatch);
    }
}

TEST(Glob, MatrixHelpersMatchCMath) {
    cMATH m;
    const D3DMATRIX id = m.RetIdentityMatrix();
    EXPECT_TRUE(tarko::test::bit_equal(GLOB::MRotate(id, 10, 20, 30), m.Matrix_Rotate(id, 10, 20, 30)));
    // With the engine factor instead, a different matrix.
    EXPECT_FALSE(tarko::test::bit_equal(GLOB::MRotate(id, 10, 20, 30, tarko::maths::kEngineDegreeFactor),
                                        m.Matrix_Rotate(id, 10, 20, 30)));
    // MMultiply(A, B) applies B first.
    const D3DMATRIX s = GLOB::MScale(id, 3, 3, 3), t = GLOB::MTranslate(id, 0, 1, 0);
    expect_near(apply(GLOB::MMultiply(s, t), {0, 0, 0}), 0, 3, 0);
    D3DMATRIX fresh = s;
    GLOB::MIdentity(fresh);
    EXPECT_TRUE(tarko::test::bit_equal(fresh, id));
}

TEST(Glob, RoundTextureSizeWorksOnBothSidesInPlace) {
    tarko::Long w = 2, h = 3;
    GLOB::RoundTextureSize(w, h);
    EXPECT_EQ(w, 2);
    EXPECT_EQ(h, 4);
    w = 129;
    h = 1000;
    GLOB::RoundTextureSize(w, h);
    EXPECT_EQ(w, 256);
    EXPECT_EQ(h, 256);
}

TEST(Glob, MakeVectorCopiesItsSingles) {
    float x = 1, y = 2, z = 3;
    expect_near(GLOB::MakeVector(x, y, z), 1, 2, 3, 0);
    expect_near(GLOB::VScale(GLOB::VAdd({1, 1, 1}, {1, 2, 3}), 0.5f), 1, 1.5f, 2, 0);
}

}  // namespace
