// Sampling the height picture into the grid, its triangle list and bounds.
#include "world/height_field.h"

#include <algorithm>
#include <cmath>

#include "runtime/errors.h"

namespace tarko::world {

namespace rt = tarko::runtime;

namespace {

constexpr Long kMaxVertexNumber = 32767;   // the largest 16-bit index

float single(double x) { return rt::CSng(x); }

}  // namespace

HeightField build_height_field(Long width, Long height, const PixelReader& pixel, const Variant& precision,
                               const Variant& y_factor, float tu, float tv) {
    const double p = precision.to_double();
    const double yf = y_factor.to_double();
    HeightField g;
    g.columns = rt::CInt(rt::Int(rt::Div(width, p)));
    g.rows = rt::CInt(rt::Int(rt::Div(height, p)));
    g.precision_x = precision;
    g.precision_z = precision;
    const Long nx = g.columns, nz = g.rows;
    // Checked up front, so that a large picture fails before the arrays are
    // made; the errors are those the sampling and the index list would give.
    if (nx < 0 || nz < 0) raise_error(err::SubscriptOutOfRange);
    if (nx >= 2 && nz >= 2 && static_cast<long long>(nx) * nz > kMaxVertexNumber) raise_error(err::Overflow);
    if (nx < 2 || nz < 2) raise_error(err::SubscriptOutOfRange);   // no cell: an empty index list

    g.heights.ReDim(0, nx, 0, nz);
    g.vertices.ReDim(0, nx * nz);
    g.lit_vertices.ReDim(0, nx * nz);
    D3DVECTOR lo{1e8f, 1e9f, 1e9f}, hi{-1e9f, -1e9f, -1e9f};
    Long k = 0;
    for (Long i = 1; i <= nx; ++i) {
        for (Long j = 1; j <= nz; ++j) {
            const Long sample = pixel(rt::CLng((i - 1) * p), rt::CLng((j - 1) * p));
            g.heights(i, j) = static_cast<float>(rt::Mod(sample, 256));
            ++k;
            const float u = single(static_cast<double>(i) / nx * tu);
            const float v = single(static_cast<double>(j) / nz * tv);
            const D3DVECTOR pos{single(i * p), single(yf * g.heights(i, j)), single(j * p)};
            g.vertices(k) = D3DVERTEX{pos.x, pos.y, pos.z, 0, 0, 0, u, v};
            g.lit_vertices(k) = D3DLVERTEX{pos.x, pos.y, pos.z, 0, kGridColour, kGridColour, u, v};
            lo = {std::min(lo.x, pos.x), std::min(lo.y, pos.y), std::min(lo.z, pos.z)};
            hi = {std::max(hi.x, pos.x), std::max(hi.y, pos.y), std::max(hi.z, pos.z)};
        }
    }

    const Long cells = (nx - 1) * (nz - 1);
    g.indices.ReDim(0, cells * 6 - 1);
    Long n = 0;
    for (Long i = 1; i <= nx - 1; ++i) {
        for (Long j = 1; j <= nz - 1; ++j) {
            const Long a = (i - 1) * nz + j, b = i * nz + j, c = a + 1, d = b + 1;
            for (Long e : {c, b, a, c, d, b}) g.indices(n++) = rt::CInt(e);
        }
    }

    const double hx = std::fabs((static_cast<double>(hi.x) - lo.x) / 2);
    const double hy = std::fabs((static_cast<double>(hi.y) - lo.y) / 2);
    const double hz = std::fabs((static_cast<double>(hi.z) - lo.z) / 2);
    g.centre = {single((static_cast<double>(hi.x) + lo.x) / 2), single((static_cast<double>(hi.y) + lo.y) / 2),
                single((static_cast<double>(hi.z) + lo.z) / 2)};
    g.radius = single(std::max({hx, hy, hz}) * std::sqrt(2.0));

    g.box = {{g.vertices(0).x, g.vertices(0).y, g.vertices(0).z}, {g.vertices(0).x, g.vertices(0).y, g.vertices(0).z}};
    for (const D3DVERTEX& v : g.vertices) {
        g.box.min = {std::min(g.box.min.x, v.x), std::min(g.box.min.y, v.y), std::min(g.box.min.z, v.z)};
        g.box.max = {std::max(g.box.max.x, v.x), std::max(g.box.max.y, v.y), std::max(g.box.max.z, v.z)};
    }
    return g;
}

void set_texture_coordinates(HeightField& g, double tu, double tv) {
    const Long nx = g.columns, nz = g.rows;
    Long k = 0;
    for (Long i = 1; i <= nx; ++i) {
        for (Long j = 1; j <= nz; ++j) {
            ++k;
            const float u = single(static_cast<double>(i) / nx * tu);
            const float v = single(static_cast<double>(j) / nz * tv);
            g.vertices(k).tu = g.lit_vertices(k).tu = u;
            g.vertices(k).tv = g.lit_vertices(k).tv = v;
        }
    }
}

}  // namespace tarko::world
