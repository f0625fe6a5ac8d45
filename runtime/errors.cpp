// Error numbers, texts and the policies that decide what the host sees.
#include "runtime/errors.h"

namespace tarko {

std::string error_description(std::int32_t number) {
    switch (number) {
    case err::InvalidCall: return "Invalid procedure call or argument";
    case err::Overflow: return "Overflow";
    case err::OutOfMemory: return "Out of memory";
    case err::SubscriptOutOfRange: return "Subscript out of range";
    case err::DivisionByZero: return "Division by zero";
    case err::TypeMismatch: return "Type mismatch";
    case err::BadFileName: return "Bad file name or number";
    case err::FileNotFound: return "File not found";
    case err::InputPastEnd: return "Input past end of file";
    case err::PathNotFound: return "Path not found";
    case err::ObjectNotSet: return "Object variable or With block variable not set";
    case err::InvalidPropertyValue: return "Invalid property value";
    case err::InvalidPicture: return "Invalid picture";
    default: return "Application-defined or object-defined error";
    }
}

static std::string full_text(std::int32_t number, const std::string& description) {
    return "Run-time error " + std::to_string(number) + ": " +
           (description.empty() ? error_description(number) : description);
}

RuntimeError::RuntimeError(std::int32_t number, const std::string& description)
    : std::runtime_error(full_text(number, description)),
      number_(number),
      description_(description.empty() ? error_description(number) : description) {}

void raise_error(std::int32_t number, const std::string& description) {
    throw RuntimeError(number, description);
}

ErrObject& Err() {
    thread_local ErrObject err_object;
    return err_object;
}

namespace runtime {

void ResumeNext::note(std::int32_t number, const std::string& description) {
    last_ = number;
    ++failures_;
    Err().Number = number;
    Err().Description = description;
}

bool catch_all(const std::function<void()>& body,
               const std::function<void(const RuntimeError&)>& handler) {
    try {
        body();
        return true;
    } catch (const RuntimeError& e) {
        if (handler) handler(e);
    } catch (const std::exception& e) {
        if (handler) handler(RuntimeError(err::InvalidCall, e.what()));
    }
    return false;
}

}  // namespace runtime
}  // namespace tarko
