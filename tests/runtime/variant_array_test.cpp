// Variant coercion, safe array bounds and the error policies.
#include <gtest/gtest.h>

#include "runtime/errors.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"
#include "support/test_support.h"

using namespace tarko;
using tarko::test::error_of;

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
    SafeArray<int> never;
    EXPECT_EQ(error_of([&] { never.UBound(); }), err::SubscriptOutOfRange);
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
