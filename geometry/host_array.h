// Preparing a host-owned vertex array for a builder: grown or shrunk to the
// builder's upper bound with its contents kept, the lower bound unchanged.
#pragma once

#include <array>
#include <cstddef>

#include "runtime/errors.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

namespace tarko::geometry {

// Builders write elements 0..upper. An array whose lower bound lies above 0
// cannot hold element 0: Subscript out of range (9) is raised and the array
// is left as it was. A lower bound below 0 is kept with the elements under 0.
// An array never dimensioned becomes 0..upper.
template <class T>
void prepare_host_array(SafeArray<T>& vertices, Long upper) {
    if (vertices.dimensioned() && vertices.LBound() > 0) raise_error(err::SubscriptOutOfRange);
    vertices.ReDimPreserve(upper);
}

// Raises Subscript out of range (9) unless element `first` exists.
template <class T>
void require_element(const SafeArray<T>& vertices, Long first) {
    (void)vertices(first);
}

// An optional tile count: missing means 1; anything else is coerced to Single
// (Type mismatch, 13, when it holds no number).
inline float tile_argument(const Variant& v) { return v.is_missing() ? 1.0f : v.to_single(); }

// Prepares the array for elements 0..N-1 and copies `items` there.
template <class T, std::size_t N>
void write_items(SafeArray<T>& out, const std::array<T, N>& items) {
    prepare_host_array(out, static_cast<Long>(N) - 1);
    for (std::size_t i = 0; i < N; ++i) out(static_cast<Long>(i)) = items[i];
}

}  // namespace tarko::geometry
