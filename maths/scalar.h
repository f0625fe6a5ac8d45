// Inverse, reciprocal and hyperbolic functions built from the runtime's
// elementary ones, formulas as they stand (no folding into principal ranges).
// A zero divisor raises Division by zero (11), a negative root or a logarithm
// of a number that is not positive raises Invalid procedure call (5), an
// exponential beyond the Double range raises Overflow (6).
#pragma once

namespace tarko::maths {

double arcsin(double x);      // Atn(x / Sqr(1 - x^2))
double arccos(double x);      // Atn(-x / Sqr(1 - x^2)) + 2 Atn(1)
double arcsec(double x);      // Atn(x / Sqr(x^2 - 1)) + Sgn(x - 1) 2 Atn(1)
double arccosec(double x);    // Atn(x / Sqr(x^2 - 1)) + (Sgn(x) - 1) 2 Atn(1)
double arccotan(double x);    // Atn(x) + 2 Atn(1)
double hsin(double x);
double hcos(double x);
double htan(double x);
double hsec(double x);
double hcosec(double x);
double hcotan(double x);
double harcsin(double x);     // Log(x + Sqr(x^2 + 1))
double harccos(double x);     // Log(x + Sqr(x^2 - 1))
double harctan(double x);     // Log((1 + x) / (1 - x)) / 2
double harcsec(double x);     // Log((Sqr(1 - x^2) + 1) / x)
double harccosec(double x);   // Log((Sgn(x) Sqr(x^2 + 1) + 1) / x)
double harccotan(double x);   // Log((x + 1) / (x - 1)) / 2
double log10_of(double x);    // Log(x) / Log(10)
double secant(double x);      // 1 / cos x
double cosecant(double x);    // 1 / sin x
double cotangent(double x);   // 1 / tan x

}  // namespace tarko::maths
