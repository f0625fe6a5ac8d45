// CreateSphere's rings, poles and index list.
#include "geometry/sphere.h"

#include <cmath>

#include "runtime/errors.h"

namespace tarko::geometry {

SphereCounts write_sphere(SafeArray<D3DVERTEX>& vertices, SafeArray<Integer>& indices, float radius, Long rings) {
    const double d = runtime::Div(kSpherePi, rings);
    if (rings < 0) raise_error(err::SubscriptOutOfRange);
    if (rings > kSphereRingsSized) raise_error(err::Overflow);
    const Long n = rings, w = 2 * n + 1;
    const Long poles = n * w;   // the north pole; the south pole follows it
    vertices.ReDim(0, poles + 2);
    indices.ReDim(0, 12 * n * n);

    for (Long r = 0; r < n; ++r) {
        const double theta = (r + 1) * d;
        const double y0 = std::cos(theta), r0 = std::sin(theta);
        const auto tv = static_cast<float>((1 - y0) / 2);
        for (Long s = 0; s <= 2 * n; ++s) {
            const double phi = s * d;
            const D3DVECTOR unit{static_cast<float>(r0 * std::sin(phi)), static_cast<float>(y0),
                                 static_cast<float>(r0 * std::cos(phi))};
            D3DVERTEX& v = vertices(r * w + s);
            v = D3DVERTEX{static_cast<float>(static_cast<double>(radius) * unit.x),
                          static_cast<float>(static_cast<double>(radius) * unit.y),
                          static_cast<float>(static_cast<double>(radius) * unit.z),
                          unit.x, unit.y, unit.z,
                          static_cast<float>(1 - static_cast<double>(s) / (2 * n)), tv};
        }
    }

    Long k = 0;
    auto put = [&](Long index) { indices(k++) = runtime::CInt(index); };
    for (Long r = 0; r + 1 < n; ++r)
        for (Long s = 0; s < 2 * n; ++s) {
            put(r * w + s), put((r + 1) * w + s), put(r * w + s + 1);
            put(r * w + s + 1), put((r + 1) * w + s), put((r + 1) * w + s + 1);
        }
    vertices(poles) = D3DVERTEX{0, radius, 0, 0, 1, 0, 0.5f, 0};
    vertices(poles + 1) = D3DVERTEX{0, -radius, 0, 0, -1, 0, 0.5f, 1};
    for (Long s = 0; s < 2 * n; ++s) put(poles + 1), put((n - 1) * w + s), put((n - 1) * w + s + 1);
    for (Long s = 0; s < 2 * n; ++s) put(poles), put(s), put(s + 1);
    return SphereCounts{poles + 2, 12 * n * n};
}

}  // namespace tarko::geometry
