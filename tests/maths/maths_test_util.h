// Small helpers for the maths tests: point transforms and near-equality.
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "platform/records.h"

namespace tarko::test {

// (x, y, z, 1) x m, without the divide (every matrix here keeps W = 1).
inline D3DVECTOR apply(const D3DMATRIX& m, const D3DVECTOR& p) {
    D3DVECTOR r;
    r.x = static_cast<float>(double(p.x) * m.rc11 + double(p.y) * m.rc21 + double(p.z) * m.rc31 + m.rc41);
    r.y = static_cast<float>(double(p.x) * m.rc12 + double(p.y) * m.rc22 + double(p.z) * m.rc32 + m.rc42);
    r.z = static_cast<float>(double(p.x) * m.rc13 + double(p.y) * m.rc23 + double(p.z) * m.rc33 + m.rc43);
    return r;
}

inline void expect_near(const D3DVECTOR& v, float x, float y, float z, float tol = 1e-6f) {
    EXPECT_NEAR(v.x, x, tol);
    EXPECT_NEAR(v.y, y, tol);
    EXPECT_NEAR(v.z, z, tol);
}

inline bool bit_equal(const D3DMATRIX& a, const D3DMATRIX& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace tarko::test
