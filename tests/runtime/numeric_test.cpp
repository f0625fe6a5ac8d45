// Stores into whole numbers, number text, checked arithmetic, variant coercion,
// safe array bounds and the error policies.
#include <gtest/gtest.h>

#include <cmath>

#include "runtime/errors.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"
#include "support/test_support.h"

using namespace tarko;
using namespace tarko::runtime;
using tarko::test::error_of;

TEST(WholeNumberStores, RoundHalvesToEvenAndOverflowJustOutsideTheirRange) {
    EXPECT_EQ(CInt(2.5), 2);
    EXPECT_EQ(CInt(3.5), 4);
    EXPECT_EQ(CInt(-2.5), -2);
    EXPECT_EQ(CInt(32767.4), 32767);
    for (const auto& store : std::initializer_list<std::function<void()>>{
             [] { CInt(32767.5); } /* rounds to 32768 */, [] { CInt(-32768.6); }, [] { CLng(2147483648.0); },
             [] { CByte(256.0); }, [] { CLng(std::nan("")); }, [] { CSng(1e300); }})
        EXPECT_EQ(error_of(store), err::Overflow);
}

TEST(IntegerArithmetic, IntIsFloorAndModRoundsAndChecksZero) {
    EXPECT_EQ(Int(-0.5), -1.0);
    EXPECT_EQ(Mod(-7, 3), -1);  // sign of the dividend
    EXPECT_EQ(Mod(7.5, 3), 2);  // 7.5 rounds to 8 first
    EXPECT_EQ(error_of([] { Mod(5, 0.4); }), err::DivisionByZero);  // 0.4 rounds to 0
    EXPECT_EQ(error_of([] { Sqr(-1); }), err::InvalidCall);
    EXPECT_EQ(error_of([] { Exp(1000); }), err::Overflow);
}

TEST(NumberText, StrHexAndRgb) {
    // Str puts a blank before numbers that are not negative and drops the leading zero.
    EXPECT_EQ(Str(640), " 640");
    EXPECT_EQ(Str(-0.25), "-.25");
    EXPECT_EQ(CStrSingle(1.0f / 3.0f), ".3333333");  // 7 significant digits
    EXPECT_EQ(Hex(-1), "FFFFFFFF");  // upper case, two's complement
    EXPECT_EQ(RGB(300, -5, 0), 255);  // clamped, red in the low byte
}

TEST(Variant, EmptyIsZeroButNotThirtyAndNonNumericTextMismatches) {
    EXPECT_FALSE(Variant() == 30);
    EXPECT_EQ(Variant("  12.5 ").to_double(), 12.5);
    EXPECT_EQ(error_of([] { Variant("1x").to_long(); }), err::TypeMismatch);
    EXPECT_EQ(Variant(true).to_double(), -1.0);
    EXPECT_EQ(Variant(2.5).to_integer(), 2);  // half to even
    EXPECT_EQ(error_of([] { Variant(40000).to_integer(); }), err::Overflow);
}

TEST(SafeArray, KeepsItsLowerBoundChecksEveryIndexAndGrowsKeepingContents) {
    SafeArray<int> a(1, 3);
    a(1) = 10;
    a(3) = 30;
    EXPECT_EQ(a.LBound(), 1);
    EXPECT_EQ(error_of([&] { a(0); }), err::SubscriptOutOfRange);
    EXPECT_THROW(a(4), RuntimeError);
    a.ReDimPreserve(4);  // grow by one, contents kept
    EXPECT_EQ(a(1), 10);
    EXPECT_EQ(a(3), 30);
    EXPECT_EQ(a(4), 0);
    EXPECT_EQ(a.from(4).size(), 1u);  // a span from an element reaches the end
    EXPECT_EQ(a.from(5).size(), 0u);  // one past the end is an empty run
    EXPECT_THROW(a.from(6), RuntimeError);
    SafeArray2<int> g(0, 2, 0, 3);
    EXPECT_THROW(g(3, 0), RuntimeError);
}

TEST(ErrorPolicies, ResumeNextSkipsOnlyTheFailingStatementAndCatchAllStops) {
    Err().Clear();
    int ran = 0;
    runtime::ResumeNext rn;
    rn([&] { ++ran; });
    rn([&] { raise_error(err::Overflow); });
    rn([&] { ++ran; });
    EXPECT_EQ(ran, 2);
    EXPECT_EQ(Err().Number, err::Overflow);
    EXPECT_EQ(Err().Description, "Overflow");
    int after = 0, handled = 0;
    EXPECT_FALSE(runtime::catch_all(
        [&] {
            raise_error(-2005532222);  // a device status
            ++after;
        },
        [&](const RuntimeError& e) { handled = e.number(); }));
    EXPECT_EQ(after, 0);
    EXPECT_EQ(handled, -2005532222);
}
