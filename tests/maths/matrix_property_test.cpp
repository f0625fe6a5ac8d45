// Random inputs (fixed seed): products associate, and a scale-rotate-move
// composite undone step by step gives the identity, within Single tolerance.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "maths/kernel.h"

namespace tarko::maths {
namespace {

// Largest element-wise difference relative to the magnitude of the elements.
double relative_gap(const D3DMATRIX& a, const D3DMATRIX& b) {
    double gap = 0, size = 1;
    for (int i = 0; i < 16; ++i) {
        const double x = (&a.rc11)[i], y = (&b.rc11)[i];
        gap = std::max(gap, std::fabs(x - y));
        size = std::max({size, std::fabs(x), std::fabs(y)});
    }
    return gap / size;
}

TEST(MatrixProperties, ProductsAssociateAndScaleRotateMoveUndoesToTheIdentity) {
    std::mt19937 rng{20240611};
    auto uniform = [&](float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(rng); };
    auto random_matrix = [&] {
        D3DMATRIX m;
        for (int i = 0; i < 16; ++i) (&m.rc11)[i] = uniform(-4, 4);
        return m;
    };
    for (int trial = 0; trial < 500; ++trial) {
        const D3DMATRIX a = random_matrix(), b = random_matrix(), c = random_matrix();
        // Each product rounds once to Single (2^-24 relative); two levels of
        // four-term sums stay well under 1e-5 of the largest element.
        ASSERT_LT(relative_gap(multiply(multiply(a, b), c), multiply(a, multiply(b, c))), 1e-5) << "trial " << trial;
    }
    D3DMATRIX scratch;
    for (int trial = 0; trial < 300; ++trial) {
        const D3DVECTOR s{uniform(0.25f, 4), uniform(0.25f, 4), uniform(0.25f, 4)};
        const D3DVECTOR r{uniform(-360, 360), uniform(-360, 360), uniform(-360, 360)};
        const D3DVECTOR t{uniform(-100, 100), uniform(-100, 100), uniform(-100, 100)};
        const D3DMATRIX m = scale_rotate_move(s, r, t, kEngineDegreeFactor, scratch);
        // Inverse of S Rx Ry Rz T is T^-1 Rz^-1 Ry^-1 Rx^-1 S^-1.
        D3DMATRIX inv = translation(-t.x, -t.y, -t.z);
        inv = rotate_degrees(inv, 0, 0, -r.z, kEngineDegreeFactor, scratch);
        inv = rotate_degrees(inv, 0, -r.y, 0, kEngineDegreeFactor, scratch);
        inv = rotate_degrees(inv, -r.x, 0, 0, kEngineDegreeFactor, scratch);
        inv = scale(inv, 1 / s.x, 1 / s.y, 1 / s.z, scratch);
        // Four roundings of 2^-24 on (1 + |t|) times the scale's condition number.
        const double t_max = std::max({std::fabs(t.x), std::fabs(t.y), std::fabs(t.z)});
        const double cond = std::max({s.x, s.y, s.z}) / std::min({s.x, s.y, s.z});
        const double tol = 4 * std::ldexp(1.0, -24) * (1 + t_max) * cond;
        ASSERT_LT(relative_gap(multiply(m, inv), identity()), tol) << "trial " << trial;
        ASSERT_LT(relative_gap(multiply(inv, m), identity()), tol) << "trial " << trial;
    }
}

}  // namespace
}  // namespace tarko::maths
