// Conversions and number formatting of the runtime.
#include "runtime/numeric.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>

#include "runtime/errors.h"

namespace tarko::runtime {

double round_half_even(double x) {
    if (!std::isfinite(x)) return x;
    return std::nearbyint(x);  // the default rounding mode is to nearest, ties to even
}

template <class T>
static T store_whole(double x) {
    if (std::isnan(x)) raise_error(err::Overflow);
    const double r = round_half_even(x);
    if (r < static_cast<double>(std::numeric_limits<T>::min()) ||
        r > static_cast<double>(std::numeric_limits<T>::max()))
        raise_error(err::Overflow);
    return static_cast<T>(r);
}

Integer CInt(double x) { return store_whole<Integer>(x); }
Long CLng(double x) { return store_whole<Long>(x); }
Byte CByte(double x) { return store_whole<Byte>(x); }

Single CSng(double x) {
    if (std::isfinite(x) && std::fabs(x) > static_cast<double>(FLT_MAX)) {
        // Values that round to FLT_MAX are still representable.
        const float f = static_cast<float>(x);
        if (std::isinf(f)) raise_error(err::Overflow);
        return f;
    }
    return static_cast<float>(x);
}

double Int(double x) { return std::floor(x); }
double Fix(double x) { return std::trunc(x); }
int Sgn(double x) { return x > 0 ? 1 : (x < 0 ? -1 : 0); }

Long Mod(double a, double b) {
    const Long la = CLng(a), lb = CLng(b);
    if (lb == 0) raise_error(err::DivisionByZero);
    if (lb == -1) return 0;  // INT_MIN % -1 is undefined in C++
    return la % lb;
}

Long IntDiv(double a, double b) {
    const Long la = CLng(a), lb = CLng(b);
    if (lb == 0) raise_error(err::DivisionByZero);
    if (lb == -1) return CLng(-static_cast<double>(la));
    return la / lb;
}

double Div(double a, double b) {
    if (b == 0.0) raise_error(err::DivisionByZero);
    return a / b;
}

double Sqr(double x) {
    if (x < 0 || std::isnan(x)) raise_error(err::InvalidCall);
    return std::sqrt(x);
}

double Log(double x) {
    if (!(x > 0)) raise_error(err::InvalidCall);
    return std::log(x);
}

double Exp(double x) {
    const double r = std::exp(x);
    if (std::isinf(r) && std::isfinite(x)) raise_error(err::Overflow);
    return r;
}

Long RGB(double r, double g, double b) {
    auto part = [](double v) -> Long {
        const Long l = CLng(v);
        return l < 0 ? 0 : (l > 255 ? 255 : l);
    };
    return part(r) + 256 * part(g) + 65536 * part(b);
}

// Formats with `digits` significant digits the way the runtime prints numbers:
// plain notation while the exponent allows it, "1.5E+16" beyond. Built with
// append/insert: gcc 12 at -O3 misreads literal + string as an overlapping copy.
static std::string format_number(double x, int digits) {
    if (std::isnan(x)) return "NaN";
    if (std::isinf(x)) return x < 0 ? "-Infinity" : "Infinity";
    if (x == 0) return "0";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.*e", digits - 1, x);
    // buf: [-]d.ddddde[+-]XX
    std::string s(buf);
    const auto epos = s.find('e');
    int exponent = std::stoi(s.substr(epos + 1));
    std::string mantissa = s.substr(0, epos);
    const bool negative = mantissa[0] == '-';
    if (negative) mantissa.erase(0, 1);
    std::string digits_only;
    for (char c : mantissa)
        if (c != '.') digits_only += c;
    while (digits_only.size() > 1 && digits_only.back() == '0') digits_only.pop_back();

    std::string out;
    if (exponent >= digits || exponent < -digits) {
        out = digits_only.substr(0, 1);
        if (digits_only.size() > 1) out.append(".").append(digits_only, 1);
        char eb[16];
        std::snprintf(eb, sizeof eb, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
        out += eb;
    } else if (exponent >= 0) {
        const auto int_len = static_cast<std::size_t>(exponent) + 1;
        if (digits_only.size() <= int_len) {
            out = digits_only + std::string(int_len - digits_only.size(), '0');
        } else {
            out = digits_only.substr(0, int_len);
            out.append(".").append(digits_only, int_len);
        }
    } else {
        out.assign(".").append(static_cast<std::size_t>(-exponent - 1), '0').append(digits_only);
    }
    return negative ? out.insert(0, 1, '-') : out;
}

std::string CStr(double x) { return format_number(x, 15); }
std::string CStrSingle(float x) { return format_number(static_cast<double>(x), 7); }
std::string Str(double x) { return x < 0 ? CStr(x) : CStr(x).insert(0, 1, ' '); }
std::string StrSingle(float x) { return x < 0 ? CStrSingle(x) : CStrSingle(x).insert(0, 1, ' '); }

std::string Hex(Long x) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%X", static_cast<std::uint32_t>(x));
    return buf;
}

std::string BoolText(bool b) { return b ? "True" : "False"; }

}  // namespace tarko::runtime
