// Variant: a tagged value coerced on use. Empty coerces to 0 (and to ""),
// a numeric string to its number, anything else to a number raises TypeMismatch.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "runtime/numeric.h"

namespace tarko {

class Variant {
public:
    enum class Type { Empty, Missing, Boolean, Byte, Integer, Long, Single, Double, String };

    Variant() = default;
    Variant(bool b) : value_(b) {}
    Variant(Byte b) : value_(b) {}
    Variant(Integer i) : value_(i) {}
    Variant(Long l) : value_(l) {}
    Variant(float f) : value_(f) {}
    Variant(double d) : value_(d) {}
    Variant(const char* s) : value_(std::string(s)) {}
    Variant(std::string s) : value_(std::move(s)) {}

    // An optional argument the caller left out (IsMissing is true).
    static Variant missing() { Variant v; v.value_ = MissingTag{}; return v; }

    Type type() const;
    bool is_empty() const { return type() == Type::Empty; }
    bool is_missing() const { return type() == Type::Missing; }
    bool is_numeric() const;

    double to_double() const;
    Single to_single() const { return runtime::CSng(to_double()); }
    Long to_long() const { return runtime::CLng(to_double()); }
    Integer to_integer() const { return runtime::CInt(to_double()); }
    Byte to_byte() const { return runtime::CByte(to_double()); }
    bool to_bool() const { return to_double() != 0.0; }
    std::string to_string() const;

    // Numeric comparison with Empty as 0 (Empty = 30 is False).
    friend bool operator==(const Variant& a, double b) { return a.to_double() == b; }

private:
    struct MissingTag {};
    std::variant<std::monostate, MissingTag, bool, Byte, Integer, Long, float, double, std::string> value_;
};

}  // namespace tarko
