// Coercions of Variant.
#include "runtime/variant.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "runtime/errors.h"

namespace tarko {

Variant::Type Variant::type() const {
    static constexpr Type kTypes[] = {Type::Empty, Type::Missing, Type::Boolean, Type::Byte, Type::Integer,
                                      Type::Long,  Type::Single,  Type::Double,  Type::String};
    return kTypes[value_.index()];
}

static bool parse_number(const std::string& s, double& out) {
    std::size_t b = 0, e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t')) ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t')) --e;
    if (b == e) return false;
    const std::string t = s.substr(b, e - b);
    char* end = nullptr;
    errno = 0;
    const double d = std::strtod(t.c_str(), &end);
    if (end != t.c_str() + t.size() || errno == ERANGE || std::isnan(d)) return false;
    out = d;
    return true;
}

bool Variant::is_numeric() const {
    if (const auto* s = std::get_if<std::string>(&value_)) {
        double d;
        return parse_number(*s, d);
    }
    return type() != Type::Missing;
}

double Variant::to_double() const {
    switch (type()) {
    case Type::Empty: return 0.0;
    case Type::Missing: raise_error(err::TypeMismatch);
    case Type::Boolean: return std::get<bool>(value_) ? -1.0 : 0.0;
    case Type::Byte: return std::get<Byte>(value_);
    case Type::Integer: return std::get<Integer>(value_);
    case Type::Long: return std::get<Long>(value_);
    case Type::Single: return std::get<float>(value_);
    case Type::Double: return std::get<double>(value_);
    case Type::String: {
        double d;
        if (!parse_number(std::get<std::string>(value_), d)) raise_error(err::TypeMismatch);
        return d;
    }
    }
    raise_error(err::TypeMismatch);
}

std::string Variant::to_string() const {
    switch (type()) {
    case Type::Empty: return "";
    case Type::Missing: raise_error(err::TypeMismatch);
    case Type::Boolean: return runtime::BoolText(std::get<bool>(value_));
    case Type::Single: return runtime::CStrSingle(std::get<float>(value_));
    case Type::String: return std::get<std::string>(value_);
    default: return runtime::CStr(to_double());
    }
}

}  // namespace tarko
