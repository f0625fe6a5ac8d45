// Stores into whole numbers, number text and the checked arithmetic helpers.
#include <gtest/gtest.h>

#include <cmath>

#include "runtime/errors.h"
#include "runtime/numeric.h"
#include "support/test_support.h"

using namespace tarko;
using namespace tarko::runtime;
using tarko::test::error_of;

TEST(WholeNumberStores, RoundHalvesToEvenAndOverflowJustOutsideTheirRange) {
    EXPECT_EQ(CInt(2.5), 2);
    EXPECT_EQ(CInt(3.5), 4);
    EXPECT_EQ(CInt(-2.5), -2);
    EXPECT_EQ(CLng(2.4999999), 2);
    EXPECT_EQ(CByte(254.5), 254);
    EXPECT_EQ(CInt(32767.4), 32767);
    EXPECT_EQ(CLng(2147483647.0), 2147483647);
    for (const auto& store : std::initializer_list<std::function<void()>>{
             [] { CInt(32767.5); } /* rounds to 32768 */, [] { CInt(-32768.6); }, [] { CLng(2147483648.0); },
             [] { CByte(-1.0); }, [] { CByte(256.0); }, [] { CLng(std::nan("")); }, [] { CSng(1e300); }})
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
    EXPECT_EQ(Str(1e16), " 1E+16");
    EXPECT_EQ(CStrSingle(1.0f / 3.0f), ".3333333");  // 7 significant digits
    EXPECT_EQ(Hex(-1), "FFFFFFFF");  // upper case, two's complement
    EXPECT_EQ(RGB(1, 2, 3), 1 + 2 * 256 + 3 * 65536);  // red in the low byte
    EXPECT_EQ(RGB(300, -5, 0), 255);                    // clamped
}
