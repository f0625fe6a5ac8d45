// Object variables: counted references that raise "Object variable not set"
// (91) when used while Nothing, the way every engine call on an unopened
// device must fail.
#pragma once

#include <memory>

#include "runtime/errors.h"

namespace tarko {

template <class T>
class Ref {
public:
    Ref() = default;
    Ref(std::nullptr_t) {}
    Ref(std::shared_ptr<T> p) : p_(std::move(p)) {}
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    Ref(const Ref<U>& other) : p_(other.shared()) {}

    T* operator->() const { return &checked(); }
    T& operator*() const { return checked(); }
    T& checked() const {
        if (!p_) raise_error(err::ObjectNotSet);
        return *p_;
    }
    explicit operator bool() const { return static_cast<bool>(p_); }
    bool is_nothing() const { return !p_; }
    T* get() const { return p_.get(); }
    const std::shared_ptr<T>& shared() const { return p_; }
    void reset() { p_.reset(); }  // Set x = Nothing

    friend bool operator==(const Ref& a, const Ref& b) { return a.p_ == b.p_; }

private:
    std::shared_ptr<T> p_;
};

}  // namespace tarko
