// Safe arrays: a declared lower bound, bounds-checked access (Subscript out of
// range, 9), growth that keeps contents (ReDim Preserve) and Erase. A never
// dimensioned array raises 9 on any use.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "runtime/errors.h"
#include "runtime/numeric.h"

namespace tarko {

template <class T>
class SafeArray {
public:
    SafeArray() = default;
    SafeArray(Long lower, Long upper) { ReDim(lower, upper); }

    bool dimensioned() const { return dimensioned_; }
    Long LBound() const { check_dimensioned(); return lower_; }
    Long UBound() const { check_dimensioned(); return lower_ + static_cast<Long>(items_.size()) - 1; }
    std::size_t size() const { return items_.size(); }
    bool empty() const { return items_.empty(); }

    // ReDim: new bounds, contents reset. upper = lower - 1 gives zero elements.
    void ReDim(Long lower, Long upper) {
        if (upper < lower - 1) raise_error(err::SubscriptOutOfRange);
        lower_ = lower;
        items_.assign(static_cast<std::size_t>(static_cast<long long>(upper) - lower + 1), T{});
        dimensioned_ = true;
    }
    // ReDim Preserve: the lower bound stays, contents are kept up to the new size.
    void ReDimPreserve(Long upper) {
        if (!dimensioned_) { ReDim(0, upper); return; }
        if (upper < lower_ - 1) raise_error(err::SubscriptOutOfRange);
        items_.resize(static_cast<std::size_t>(static_cast<long long>(upper) - lower_ + 1));
    }
    void Erase() { items_.clear(); dimensioned_ = false; lower_ = 0; }

    T& operator()(Long i) { return items_[index(i)]; }
    const T& operator()(Long i) const { return items_[index(i)]; }

    // Contiguous run from element `first` on, as device calls take it.
    std::span<T> from(Long first) { return std::span<T>(items_).subspan(index_or_end(first)); }
    std::span<const T> from(Long first) const { return std::span<const T>(items_).subspan(index_or_end(first)); }

    T* data() { return items_.data(); }
    const T* data() const { return items_.data(); }
    auto begin() { return items_.begin(); }
    auto end() { return items_.end(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

private:
    void check_dimensioned() const { if (!dimensioned_) raise_error(err::SubscriptOutOfRange); }
    std::size_t index(Long i) const {
        check_dimensioned();
        const long long k = static_cast<long long>(i) - lower_;
        if (k < 0 || k >= static_cast<long long>(items_.size())) raise_error(err::SubscriptOutOfRange);
        return static_cast<std::size_t>(k);
    }
    std::size_t index_or_end(Long i) const {
        check_dimensioned();
        const long long k = static_cast<long long>(i) - lower_;
        if (k < 0 || k > static_cast<long long>(items_.size())) raise_error(err::SubscriptOutOfRange);
        return static_cast<std::size_t>(k);
    }

    std::vector<T> items_;
    Long lower_ = 0;
    bool dimensioned_ = false;
};

// Two-dimensional safe array, each dimension with its own bounds.
template <class T>
class SafeArray2 {
public:
    SafeArray2() = default;
    SafeArray2(Long l1, Long u1, Long l2, Long u2) { ReDim(l1, u1, l2, u2); }

    bool dimensioned() const { return dimensioned_; }
    void ReDim(Long l1, Long u1, Long l2, Long u2) {
        if (u1 < l1 - 1 || u2 < l2 - 1) raise_error(err::SubscriptOutOfRange);
        l1_ = l1; l2_ = l2;
        n1_ = static_cast<std::size_t>(static_cast<long long>(u1) - l1 + 1);
        n2_ = static_cast<std::size_t>(static_cast<long long>(u2) - l2 + 1);
        items_.assign(n1_ * n2_, T{});
        dimensioned_ = true;
    }
    void Erase() { items_.clear(); n1_ = n2_ = 0; dimensioned_ = false; }
    Long LBound(int dim) const { check(); return dim == 1 ? l1_ : l2_; }
    Long UBound(int dim) const {
        check();
        return dim == 1 ? l1_ + static_cast<Long>(n1_) - 1 : l2_ + static_cast<Long>(n2_) - 1;
    }
    T& operator()(Long i, Long j) { return items_[index(i, j)]; }
    const T& operator()(Long i, Long j) const { return items_[index(i, j)]; }

private:
    void check() const { if (!dimensioned_) raise_error(err::SubscriptOutOfRange); }
    std::size_t index(Long i, Long j) const {
        check();
        const long long a = static_cast<long long>(i) - l1_, b = static_cast<long long>(j) - l2_;
        if (a < 0 || b < 0 || a >= static_cast<long long>(n1_) || b >= static_cast<long long>(n2_))
            raise_error(err::SubscriptOutOfRange);
        return static_cast<std::size_t>(a) * n2_ + static_cast<std::size_t>(b);
    }
    std::vector<T> items_;
    Long l1_ = 0, l2_ = 0;
    std::size_t n1_ = 0, n2_ = 0;
    bool dimensioned_ = false;
};

}  // namespace tarko
