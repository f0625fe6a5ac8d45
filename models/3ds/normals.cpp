// Face normals summed per vertex, in Singles, with the root object's helpers.
#include "models/3ds/normals.h"

#include <vector>

#include "platform/base/dx_math.h"
#include "runtime/errors.h"

namespace tarko::threeds {

void compute_vertex_normals(std::span<D3DVERTEX> vertices, std::span<const Integer> indices) {
    const std::size_t faces = indices.size() / 3;
    for (std::size_t k = 0; k < faces * 3; ++k)
        if (static_cast<std::size_t>(indices[k]) >= vertices.size())  // negatives wrap past the end
            raise_error(err::SubscriptOutOfRange);

    std::vector<D3DVECTOR> sums(vertices.size());
    const auto at = [&](Integer i) {
        const D3DVERTEX& v = vertices[static_cast<std::size_t>(i)];
        return D3DVECTOR{v.x, v.y, v.z};
    };
    for (std::size_t f = 0; f < faces; ++f) {
        const Integer i0 = indices[3 * f], i1 = indices[3 * f + 1], i2 = indices[3 * f + 2];
        D3DVECTOR e1, e2, n;
        dxmath::vectorSubtract(e1, at(i1), at(i0));
        dxmath::vectorSubtract(e2, at(i2), at(i1));
        dxmath::vectorCrossProduct(n, e1, e2);
        dxmath::vectorNormalize(n);
        for (const Integer i : {i0, i1, i2}) {
            D3DVECTOR& s = sums[static_cast<std::size_t>(i)];
            dxmath::vectorAdd(s, s, n);
        }
    }
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        dxmath::vectorNormalize(sums[i]);
        vertices[i].nx = sums[i].x;
        vertices[i].ny = sums[i].y;
        vertices[i].nz = sums[i].z;
    }
}

}  // namespace tarko::threeds
