// The runtime's numeric types and the conversions every store goes through:
// whole-number stores round half to even and raise Overflow (6) out of range.
#pragma once

#include <cstdint>
#include <string>

namespace tarko {

using Byte = std::uint8_t;
using Integer = std::int16_t;
using Long = std::int32_t;
using Single = float;
using Double = double;

inline constexpr Long kTrue = -1;  // a Boolean True stored in a whole number
inline constexpr Long kFalse = 0;
inline Long bool_to_long(bool b) { return b ? kTrue : kFalse; }

namespace runtime {

// Half-to-even rounding to a whole Double (2.5 -> 2, 3.5 -> 4, -2.5 -> -2).
double round_half_even(double x);

// Stores into whole-number types. NaN and values outside the type raise Overflow.
Integer CInt(double x);
Long CLng(double x);
Byte CByte(double x);
// Narrowing to Single: finite values beyond the Single range raise Overflow;
// infinities and NaN pass through.
Single CSng(double x);

// Int: largest whole number not above x. Fix: truncation toward zero.
double Int(double x);
double Fix(double x);
int Sgn(double x);

// Whole-number Mod and \: both operands rounded to Long first (half to even);
// a zero divisor raises DivisionByZero (11).
Long Mod(double a, double b);
Long IntDiv(double a, double b);

// Checked floating division: raises DivisionByZero when b is 0.
double Div(double a, double b);

// Sqr raises InvalidCall (5) below 0, Log at or below 0; Exp raises Overflow.
double Sqr(double x);
double Log(double x);
double Exp(double x);

// RGB(r, g, b) = r + 256 g + 65536 b; each component is clamped to 0..255.
Long RGB(double r, double g, double b);

// Decimal text as Str gives it: one leading blank for numbers that are not
// negative, no leading zero before the point (" .5"), 15 significant digits.
std::string Str(double x);
// The same with the 7 significant digits of a Single.
std::string StrSingle(float x);
// CStr: as Str without the leading blank.
std::string CStr(double x);
std::string CStrSingle(float x);
// Hexadecimal in upper case; negative Longs in two's complement ("FFFFFFFF").
std::string Hex(Long x);
// "True" / "False".
std::string BoolText(bool b);

}  // namespace runtime
}  // namespace tarko
