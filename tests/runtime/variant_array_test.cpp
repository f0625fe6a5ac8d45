// Variant coercion, safe array bounds and the error policies.
#include <gtest/gtest.h>

#include "runtime/errors.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"
#include "support/test_support.h"

using namespace tarko;
using tarko::test::error_of;

TEST(Variant, EmptyIsZeroButNotThirtyAndNonNumericTextMismatches) {
    EXPECT_EQ(Variant().to_double(), 0.0);
    EXPECT_FALSE(Variant() == 30);
    EXPECT_EQ(Variant("  12.5 ").to_double(), 12.5);
    EXPECT_EQ(error_of([] { Variant("1x").to_long(); }), err::TypeMismatch);
    EXPECT_EQ(Variant(true).to_double(), -1.0);
    EXPECT_EQ(Variant(2.5).to_integer(), 2);  // half to even
    EXPECT_EQ(error_of([] { Variant(40000).to_integer(); }), err::Overflow);
    EXPECT_THROW(Variant::missing().to_double(), RuntimeError);
}

TEST(SafeArray, KeepsItsLowerBoundAndChecksEveryIndex) {
    SafeArray<int> a(1, 3);
    a(1) = 10;
    a(3) = 30;
    EXPECT_EQ(a.LBound(), 1);
    EXPECT_EQ(a.UBound(), 3);
    EXPECT_THROW(a(0), RuntimeError);
    EXPECT_THROW(a(4), RuntimeError);
    a.ReDimPreserve(4);  // grow by one, contents kept
    EXPECT_EQ(a(1), 10);
    EXPECT_EQ(a(3), 30);
    EXPECT_EQ(a(4), 0);
    a.ReDimPreserve(1);  // shrink keeps the head
    EXPECT_EQ(a.UBound(), 1);
    EXPECT_EQ(a(1), 10);
}

TEST(SafeArray, NeverDimensionedOrErasedRaisesSubscriptAndSpansStopAtTheEnd) {
    SafeArray<int> a;
    EXPECT_EQ(error_of([&] { a.UBound(); }), err::SubscriptOutOfRange);
    a.ReDim(0, 2);
    a.Erase();
    EXPECT_EQ(error_of([&] { a(0); }), err::SubscriptOutOfRange);
    SafeArray2<int> g(0, 2, 0, 3);
    g(2, 3) = 7;
    EXPECT_EQ(g(2, 3), 7);
    EXPECT_EQ(g.UBound(2), 3);
    EXPECT_THROW(g(3, 0), RuntimeError);
    SafeArray<int> b(1, 4);  // a span from an element reaches the end
    EXPECT_EQ(b.from(1).size(), 4u);
    EXPECT_EQ(b.from(5).size(), 0u);  // one past the end is an empty run
    EXPECT_THROW(b.from(6), RuntimeError);
}

TEST(ErrorPolicies, ResumeNextSkipsOnlyTheFailingStatementAndCatchAllStops) {
    Err().Clear();
    int ran = 0;
    runtime::ResumeNext rn;
    rn([&] { ++ran; });
    rn([&] { raise_error(err::Overflow); });
    rn([&] { ++ran; });
    EXPECT_EQ(ran, 2);
    EXPECT_EQ(rn.last(), err::Overflow);
    EXPECT_EQ(Err().Number, err::Overflow);
    EXPECT_EQ(Err().Description, "Overflow");
    // catch_all ends at the handler.
    int after = 0, handled = 0;
    const bool finished = runtime::catch_all(
        [&] {
            raise_error(-2005532222);  // a device status
            ++after;
        },
        [&](const RuntimeError& e) { handled = e.number(); });
    EXPECT_FALSE(finished);
    EXPECT_EQ(after, 0);
    EXPECT_EQ(handled, -2005532222);
}
