// Scalar functions: each step goes through the runtime's checked operations so
// that a value outside the domain raises the runtime's error, not a NaN.
#include "maths/scalar.h"

#include <cmath>

#include "runtime/numeric.h"

namespace tarko::maths {

using runtime::Div;
using runtime::Exp;
using runtime::Log;
using runtime::Sgn;
using runtime::Sqr;

namespace {
// The quarter turn, worked out on each call.
double quarter() { return 2.0 * std::atan(1.0); }
}  // namespace

double arcsin(double x) { return std::atan(Div(x, Sqr(1.0 - x * x))); }
double arccos(double x) { return std::atan(Div(-x, Sqr(1.0 - x * x))) + quarter(); }
double arcsec(double x) { return std::atan(Div(x, Sqr(x * x - 1.0))) + Sgn(x - 1.0) * quarter(); }
double arccosec(double x) { return std::atan(Div(x, Sqr(x * x - 1.0))) + (Sgn(x) - 1) * quarter(); }
double arccotan(double x) { return std::atan(x) + quarter(); }

double hsin(double x) { return (Exp(x) - Exp(-x)) / 2.0; }
double hcos(double x) { return (Exp(x) + Exp(-x)) / 2.0; }
double htan(double x) { return Div(Exp(x) - Exp(-x), Exp(x) + Exp(-x)); }
double hsec(double x) { return Div(2.0, Exp(x) + Exp(-x)); }
double hcosec(double x) { return Div(2.0, Exp(x) - Exp(-x)); }
double hcotan(double x) { return Div(Exp(x) + Exp(-x), Exp(x) - Exp(-x)); }

double harcsin(double x) { return Log(x + Sqr(x * x + 1.0)); }
double harccos(double x) { return Log(x + Sqr(x * x - 1.0)); }
double harctan(double x) { return Log(Div(1.0 + x, 1.0 - x)) / 2.0; }
double harcsec(double x) { return Log(Div(Sqr(1.0 - x * x) + 1.0, x)); }
double harccosec(double x) { return Log(Div(Sgn(x) * Sqr(x * x + 1.0) + 1.0, x)); }
double harccotan(double x) { return Log(Div(x + 1.0, x - 1.0)) / 2.0; }

double log10_of(double x) { return Log(x) / Log(10.0); }
double secant(double x) { return Div(1.0, std::cos(x)); }
double cosecant(double x) { return Div(1.0, std::sin(x)); }
double cotangent(double x) { return Div(1.0, std::tan(x)); }

}  // namespace tarko::maths
