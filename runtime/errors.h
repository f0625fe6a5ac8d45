// Run-time errors as the host sees them, and the three error policies the
// public operations run under (propagate, catch-all, resume-next).
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

namespace tarko {

// Error numbers of the automation runtime. A device failure carries its own
// (negative) status instead.
namespace err {
inline constexpr std::int32_t InvalidCall = 5;          // "Invalid procedure call or argument"
inline constexpr std::int32_t Overflow = 6;             // "Overflow"
inline constexpr std::int32_t OutOfMemory = 7;          // "Out of memory"
inline constexpr std::int32_t SubscriptOutOfRange = 9;  // "Subscript out of range"
inline constexpr std::int32_t DivisionByZero = 11;      // "Division by zero"
inline constexpr std::int32_t TypeMismatch = 13;        // "Type mismatch"
inline constexpr std::int32_t BadFileName = 52;         // "Bad file name or number"
inline constexpr std::int32_t FileNotFound = 53;        // "File not found"
inline constexpr std::int32_t InputPastEnd = 62;        // "Input past end of file"
inline constexpr std::int32_t PathNotFound = 76;        // "Path not found"
inline constexpr std::int32_t ObjectNotSet = 91;        // "Object variable or With block variable not set"
inline constexpr std::int32_t InvalidPropertyValue = 380;  // "Invalid property value"
inline constexpr std::int32_t InvalidPicture = 481;     // "Invalid picture"
}  // namespace err

// The runtime's standard text for an error number ("Application-defined or
// object-defined error" for numbers it does not know, device statuses included).
std::string error_description(std::int32_t number);

// What a failing public operation throws: the runtime's error number and text.
class RuntimeError : public std::runtime_error {
public:
    explicit RuntimeError(std::int32_t number, const std::string& description = {});
    std::int32_t number() const noexcept { return number_; }
    const std::string& description() const noexcept { return description_; }

private:
    std::int32_t number_;
    std::string description_;
};

[[noreturn]] void raise_error(std::int32_t number, const std::string& description = {});

// The runtime's Err object: the last error caught by a resume-next stretch.
struct ErrObject {
    std::int32_t Number = 0;
    std::string Description;
    void Clear() { Number = 0; Description.clear(); }
};
ErrObject& Err();

namespace runtime {

// Resume-next: each statement run through it that fails is skipped and the
// next one runs; the failure is kept in Err() and in last().
class ResumeNext {
public:
    template <class F> void operator()(F&& statement) {
        try {
            statement();
        } catch (const RuntimeError& e) {
            note(e.number(), e.description());
        } catch (const std::exception& e) {
            note(err::InvalidCall, e.what());
        }
    }
    std::int32_t last() const { return last_; }
    int failures() const { return failures_; }

private:
    void note(std::int32_t number, const std::string& description);
    std::int32_t last_ = 0;
    int failures_ = 0;
};

// Catch-all: the body ends at the handler on any failure. Returns true when the
// body ran to its end.
bool catch_all(const std::function<void()>& body,
               const std::function<void(const RuntimeError&)>& handler = {});

}  // namespace runtime
}  // namespace tarko
