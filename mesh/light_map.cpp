// Light maps: the per-group bake, the light-map table and "TVLM" files.
#include <algorithm>
#include <cmath>
#include <limits>

#include "maths/GLOB.h"
#include "mesh/mesh.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "platform/d3d/worker_pool.h"
#include "platform/pixel_format.h"
#include "runtime/byte_reader.h"
#include "runtime/errors.h"
#include "runtime/files.h"

namespace tarko::mesh {
namespace {

constexpr Long kMaxMapSide = 16384;        // the draw object's largest surface side
constexpr int kParallelTexels = 64 * 64;   // smaller maps are baked on the calling thread

D3DVECTOR sub(const D3DVECTOR& a, const D3DVECTOR& b) { return D3DVECTOR{a.x - b.x, a.y - b.y, a.z - b.z}; }
double length(const D3DVECTOR& v) {
    const double x = v.x, y = v.y, z = v.z;
    return std::sqrt(x * x + y * y + z * z);
}

// One column of texels: the bake's loop runs x outer, y inner.
void bake_column(const BakeJob& job, int x, std::uint32_t* out) {
    const double fx = static_cast<double>(x) / job.width;
    for (int y = 0; y < job.height; ++y) {
        const double fy = static_cast<double>(y) / job.height;
        const D3DVECTOR point{static_cast<float>(job.p0.x + job.e1.x * fx + job.e2.x * fy),
                              static_cast<float>(job.p0.y + job.e1.y * fx + job.e2.y * fy),
                              static_cast<float>(job.p0.z + job.e1.z * fx + job.e2.z * fy)};
        double r = job.ambient_r, g = job.ambient_g, b = job.ambient_b;
        for (const D3DLIGHT7& light : job.lights) {
            const double a = 1.0 - length(sub(point, light.position)) / light.range;
            if (!(a > 0)) continue;  // at or beyond the range, and NaN, add nothing
            r += std::floor(a * 255 * light.diffuse.r);
            g += std::floor(a * 255 * light.diffuse.g);
            b += std::floor(a * 255 * light.diffuse.b);
        }
        // The clamp comes after the sum; a dark light cannot go below black.
        auto channel = [](double c) -> std::uint32_t { return c >= 255 ? 255u : c > 0 ? static_cast<std::uint32_t>(c) : 0u; };
        out[static_cast<std::size_t>(y) * static_cast<std::size_t>(job.width) + static_cast<std::size_t>(x)] =
            channel(r) | channel(g) << 8 | channel(b) << 16;
    }
}

// The lights that can reach some texel: a light whose range ends short of the
// map's bounding box (with a margin for the rounding of texel positions) adds
// nothing anywhere and is left out. Lights of no usable range stay, as the
// per-texel test decides them.
std::vector<D3DLIGHT7> lights_reaching(const BakeJob& job) {
    double lo[3], hi[3];
    const double p[3] = {job.p0.x, job.p0.y, job.p0.z}, e1[3] = {job.e1.x, job.e1.y, job.e1.z},
                 e2[3] = {job.e2.x, job.e2.y, job.e2.z};
    for (int i = 0; i < 3; ++i) {
        lo[i] = p[i] + std::min(0.0, e1[i]) + std::min(0.0, e2[i]);
        hi[i] = p[i] + std::max(0.0, e1[i]) + std::max(0.0, e2[i]);
    }
    std::vector<D3DLIGHT7> out;
    for (const D3DLIGHT7& light : job.lights) {
        const double at[3] = {light.position.x, light.position.y, light.position.z};
        double d2 = 0, extent = 1;
        for (int i = 0; i < 3; ++i) {
            const double d = at[i] < lo[i] ? lo[i] - at[i] : at[i] > hi[i] ? at[i] - hi[i] : 0;
            d2 += d * d;
            extent += std::fabs(lo[i]) + std::fabs(hi[i]) + std::fabs(at[i]);
        }
        const double range = light.range;
        const bool out_of_reach = range > 0 && std::isfinite(range) && std::isfinite(d2) &&
                                  std::sqrt(d2) > range + extent * 1e-5;
        if (!out_of_reach) out.push_back(light);
    }
    return out;
}

platform::d3d::WorkerPool* bake_pool() {
    auto& m = module();
    if (!m.BakePool) m.BakePool = std::make_unique<platform::d3d::WorkerPool>(m.BakeThreads);
    return m.BakePool.get();
}

// The first empty entry of the light-map table, else a new one at its end.
Integer take_light_map_entry(MeshModule& m) {
    for (Integer i = 1; i <= m.LightMapCount; ++i)
        if (!m.LightMapTable[static_cast<std::size_t>(i)]) return i;
    if (m.LightMapCount == std::numeric_limits<Integer>::max()) raise_error(err::Overflow);
    m.LightMapTable.emplace_back();
    return ++m.LightMapCount;
}

Long whole_texels(double v) {
    if (!std::isfinite(v) || std::fabs(v) > 2147483647.0) raise_error(err::Overflow);
    return static_cast<Long>(runtime::round_half_even(v));
}

}  // namespace

std::vector<std::uint32_t> bake_texels(const BakeJob& all, platform::d3d::WorkerPool* pool) {
    std::vector<std::uint32_t> texels(static_cast<std::size_t>(std::max(all.width, 0)) *
                                      static_cast<std::size_t>(std::max(all.height, 0)));
    if (all.width <= 0 || all.height <= 0) return texels;
    BakeJob job = all;
    job.lights = lights_reaching(all);
    // Every texel is worked out alone, so the map is the same for any thread count.
    if (pool && pool->size() > 1 && job.width * job.height >= kParallelTexels) {
        pool->run(job.width, [&](int x) { bake_column(job, x, texels.data()); });
    } else {
        for (int x = 0; x < job.width; ++x) bake_column(job, x, texels.data());
    }
    return texels;
}

Ref<DirectDrawSurface7> make_light_map_surface(Long width, Long height) {
    if (width < 1 || height < 1 || width > kMaxMapSide || height > kMaxMapSide) raise_error(err::InvalidCall);
    const auto format = platform::PixelFormat::x8r8g8b8();
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE | dx::DDSCAPS_SYSTEMMEMORY;
    desc.lWidth = width;
    desc.lHeight = height;
    desc.ddpfPixelFormat = format.dd();
    return Ref<DirectDrawSurface7>(std::make_shared<DirectDrawSurface7>(nullptr, desc, format));
}

// Device-context colours 0x00BBGGRR become X8R8G8B8 texels, as a DC's SetPixel
// stores them on a 32-bit surface, written straight into the pixels.
void put_texels(DirectDrawSurface7& surface, std::span<const std::uint32_t> texels) {
    const int w = surface.width(), h = surface.height();
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const std::size_t i = static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x);
            if (i >= texels.size()) break;
            const std::uint32_t c = texels[i];
            surface.set_raw(x, y, (c & 0xFFu) << 16 | (c & 0xFF00u) | (c >> 16 & 0xFFu));
        }
    surface.touch();
}

}  // namespace tarko::mesh

namespace tarko {

using mesh::FaceGroup;
using mesh::MeshRecord;

void Mesh::GenerateLightMap(float Density, const Variant& /*unused*/, Long Ambient) {
    auto& m = mesh::module();
    MeshRecord& r = record();
    const float density = Density / 16;
    mesh::BakeJob job;
    if (Ambient != 0) {
        job.ambient_r = static_cast<int>(runtime::round_half_even(dxmath::colorGetRed(Ambient) * 255.0));
        job.ambient_g = static_cast<int>(runtime::round_half_even(dxmath::colorGetGreen(Ambient) * 255.0));
        job.ambient_b = static_cast<int>(runtime::round_half_even(dxmath::colorGetBlue(Ambient) * 255.0));
    }
    for (int i = 0; i < mesh::kBakeLightsRead; ++i) {  // record 32 is never read
        const auto& l = m.BakeLights[static_cast<std::size_t>(i)];
        if (l.On == -1 && l.Light.dltType == D3DLIGHT_POINT) job.lights.push_back(l.Light);
    }

    runtime::ResumeNext next;
    for (Integer g = 1; g <= r.GroupCount; ++g) next([&] {
        if (static_cast<std::size_t>(g) >= r.Groups.size()) raise_error(err::SubscriptOutOfRange);
        FaceGroup& group = r.Groups[static_cast<std::size_t>(g)];
        auto& table = m.LightMapTable;
        if (group.LightMapSlot > 0 && group.LightMapSlot <= m.LightMapCount)
            table[static_cast<std::size_t>(group.LightMapSlot)] = nullptr;  // released; the slot stays
        else
            group.LightMapSlot = mesh::take_light_map_entry(m);

        // A list shorter than three (or an index past the vertices) gives the origin.
        D3DVECTOR p[3];
        for (std::size_t k = 0; k < 3 && k < group.GroupIndices.size(); ++k) {
            const auto entry = static_cast<std::size_t>(group.GroupIndices[k]) + 1;
            if (group.GroupIndices[k] >= 0 && entry < r.LVertices.size())
                p[k] = D3DVECTOR{r.LVertices[entry].x, r.LVertices[entry].y, r.LVertices[entry].z};
        }
        job.p0 = p[0];
        job.e1 = mesh::sub(p[2], p[0]);
        job.e2 = mesh::sub(p[1], p[0]);
        // W counts along E1 but takes its size from E2's length, and H the other way round.
        const Long w0 = mesh::whole_texels(mesh::length(job.e2) * density);
        const Long h0 = mesh::whole_texels(mesh::length(job.e1) * density);
        Long w = w0, h = h0;
        GLOB::RoundTextureSize(w, h);
        if (w >= 1 && h >= 1) {
            auto surface = mesh::make_light_map_surface(w, h);
            surface->bltColorFill(RECT{}, 0);
            job.width = static_cast<int>(w);
            job.height = static_cast<int>(h);
            const auto texels = mesh::bake_texels(job, mesh::bake_pool());
            mesh::put_texels(*surface, texels);
            table[static_cast<std::size_t>(group.LightMapSlot)] = surface;
        }
        if (group.RemapCoords != -1 || w0 <= 0 || h0 <= 0) return;
        // The group's centre maps to (0.5, 0.5); W0, H0 are the sizes before the ladder.
        double lo_u = 100000, hi_u = -100000, lo_v = 100000, hi_v = -100000;
        auto project = [&](const D3DLVERTEX& v, const D3DVECTOR& axis) {
            return static_cast<double>(v.x) * axis.x + static_cast<double>(v.y) * axis.y +
                   static_cast<double>(v.z) * axis.z;
        };
        std::vector<std::size_t> entries;
        for (Integer index : group.GroupIndices)
            if (index >= 0 && static_cast<std::size_t>(index) + 1 < r.LVertices.size())
                entries.push_back(static_cast<std::size_t>(index) + 1);
        for (std::size_t e : entries) {
            const double u = project(r.LVertices[e], group.AxisU), v = project(r.LVertices[e], group.AxisV);
            lo_u = std::min(lo_u, u), hi_u = std::max(hi_u, u);
            lo_v = std::min(lo_v, v), hi_v = std::max(hi_v, v);
        }
        const double cu = (lo_u + hi_u) / 2, cv = (lo_v + hi_v) / 2;
        for (std::size_t e : entries) {
            D3DLVERTEX& v = r.LVertices[e];
            const double u = project(v, group.AxisU), t = project(v, group.AxisV);
            v.tu = static_cast<float>(((u - cu) * density + w0 / 2.0) / w0);
            v.tv = static_cast<float>(((t - cv) * density + h0 / 2.0) / h0);
        }
    });
}

void Mesh::LoadLightMaps(const std::string& FileName) {
    const auto bytes = runtime::read_file(FileName);
    mesh::TvlmFile file;
    try {
        file = mesh::parse_tvlm(bytes);
    } catch (const io::ParseError& e) {
        raise_error(err::InputPastEnd, e.what());
    }
    if (!file.magic_ok) return;
    auto& m = mesh::module();
    MeshRecord& r = record();
    for (const auto& map : file.maps)  // every group is checked before anything changes
        if (map.group < 0 || static_cast<std::size_t>(map.group) >= r.Groups.size())
            raise_error(err::SubscriptOutOfRange, "light map for group " + std::to_string(map.group));
    for (const auto& map : file.maps) {
        const Integer slot = mesh::take_light_map_entry(m);
        auto surface = mesh::make_light_map_surface(map.width, map.height);
        mesh::put_texels(*surface, map.texels);
        m.LightMapTable[static_cast<std::size_t>(slot)] = surface;
        r.Groups[static_cast<std::size_t>(map.group)].LightMapSlot = slot;
    }
}

}  // namespace tarko
