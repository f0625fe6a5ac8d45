// Small render targets, vertices and pixel reads for the device tests.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "platform/constants.h"
#include "platform/d3d/device.h"
#include "platform/frame.h"
#include "platform/pixel_format.h"
#include "platform/profile.h"
#include "platform/surface.h"
#include "platform/window.h"

namespace tarko::d3dtest {

using platform::PixelFormat;
using Picture = platform::Frame;  // 0x00RRGGBB, rows top to bottom

// True where a pixel of the actual picture fails the expected one.
using PixelCheck = std::function<bool(int x, int y, std::uint32_t actual, std::uint32_t expected)>;

inline bool channels_differ(std::uint32_t a, std::uint32_t b, int tolerance) {
    for (int sh : {0, 8, 16})
        if (std::abs(static_cast<int>((a >> sh) & 255) - static_cast<int>((b >> sh) & 255)) > tolerance) return true;
    return false;
}

// Compares two pictures pixel by pixel (exactly unless `bad` says otherwise).
// On a difference it writes <test>_<label>_{actual,expected,diff}.png into
// TARKO_TEST_PICTURES (the build folder's test-pictures) and names them.
inline ::testing::AssertionResult same_picture(const std::string& label, const Picture& actual, const Picture& expected,
                                               const PixelCheck& bad = {}) {
    if (actual.width != expected.width || actual.height != expected.height)
        return ::testing::AssertionFailure() << label << ": sizes differ";
    Picture diff = expected;
    int count = 0;
    std::ostringstream first;
    for (int y = 0; y < actual.height; ++y)
        for (int x = 0; x < actual.width; ++x) {
            const std::uint32_t a = actual.at(x, y), e = expected.at(x, y);
            auto& d = diff.pixels[static_cast<std::size_t>(y) * diff.width + x];
            d = (e >> 2) & 0x3F3F3Fu;  // the expected picture, dimmed, under the faults in red
            if (bad ? !bad(x, y, a, e) : a == e) continue;
            d = 0xFF0000u;
            if (count++ < 4) first << " (" << x << "," << y << ") " << std::hex << a << " not " << e << std::dec;
        }
    if (count == 0) return ::testing::AssertionSuccess();
#ifdef TARKO_TEST_PICTURES
    const std::filesystem::path dir = TARKO_TEST_PICTURES;
#else
    const std::filesystem::path dir = std::filesystem::temp_directory_path() / "tarko-test-pictures";
#endif
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string stem = std::string(info->test_suite_name()) + "." + info->name() + "_" + label;
    for (char& c : stem)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '.') c = '_';
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    const auto base = (dir / stem).string();
    platform::write_png(actual, base + "_actual.png"), platform::write_png(expected, base + "_expected.png");
    platform::write_png(diff, base + "_diff.png");
    return ::testing::AssertionFailure() << label << ": " << count << " pixels differ," << first.str() << "; see "
                                         << base << "_{actual,expected,diff}.png";
}

inline Ref<DirectDrawSurface7> make_surface(int w, int h, const PixelFormat& f, std::int32_t caps) {
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.lWidth = w, desc.lHeight = h, desc.ddsCaps.lCaps = caps;
    return Ref<DirectDrawSurface7>(std::make_shared<DirectDrawSurface7>(nullptr, desc, f));
}

struct Scene {
    Ref<DirectDrawSurface7> target, z;
    std::unique_ptr<Direct3DDevice7> dev;

    // A device on a w x h target (32-bit unless told otherwise), z of `zbits`
    // bits (0: none), cleared to black and z 1, culling off.
    Scene(int w, int h, const PixelFormat& f = PixelFormat::x8r8g8b8(), int zbits = 16) {
        target = make_surface(w, h, f, dx::DDSCAPS_OFFSCREENPLAIN | dx::DDSCAPS_3DDEVICE);
        if (zbits) target->addAttachedSurface(z = make_surface(w, h, PixelFormat::z(zbits), dx::DDSCAPS_ZBUFFER));
        dev = std::make_unique<Direct3DDevice7>(platform::kRgbGuid, target);
        dev->set_thread_count(1);
        reset();
        dev->setRenderState(dx::D3DRENDERSTATE_CULLMODE, dx::D3DCULL_NONE);
    }
    void reset() { dev->clear(0, {}, dx::D3DCLEAR_TARGET | dx::D3DCLEAR_ZBUFFER, 0, 1.0f, 0); }
    using States = std::initializer_list<std::pair<Long, Long>>;
    void states(States list) { for (auto [k, v] : list) dev->setRenderState(k, v); }
    void stage(Long n, States list) { for (auto [k, v] : list) dev->setTextureStageState(n, k, v); }
    void blend(Long src, Long dest) {
        states({{dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1}, {dx::D3DRENDERSTATE_SRCBLEND, src},
                {dx::D3DRENDERSTATE_DESTBLEND, dest}});
    }
    void bilinear(Long n, bool on = true) {
        stage(n, {{dx::D3DTSS_MAGFILTER, on ? dx::D3DTFG_LINEAR : dx::D3DTFG_POINT},
                  {dx::D3DTSS_MINFILTER, on ? dx::D3DTFN_LINEAR : dx::D3DTFN_POINT}});
    }
    void light(Long index, const D3DLIGHT7& l) { dev->setLight(index, l), dev->lightEnable(index, true); }
    std::uint32_t argb(int x, int y) const { return target->argb_at(x, y) & 0xFFFFFFu; }
    int channel(int x, int y, int shift) const { return static_cast<int>((argb(x, y) >> shift) & 255); }
    int red(int x, int y) const { return channel(x, y, 16); }
    int green(int x, int y) const { return channel(x, y, 8); }
    Picture picture() const {
        Picture p{target->width(), target->height(), {}};
        for (int y = 0; y < p.height; ++y)
            for (int x = 0; x < p.width; ++x) p.pixels.push_back(argb(x, y));
        return p;
    }
    std::vector<std::uint32_t> pixels() const {
        std::vector<std::uint32_t> p;
        for (int y = 0; y < target->height(); ++y)
            for (int x = 0; x < target->width(); ++x) p.push_back(target->raw_at(x, y));
        return p;
    }
    template <class V>
    void draw(Long pt, Long fvf, std::vector<V> v) { dev->drawPrimitive(pt, fvf, std::span<V>(v), static_cast<Long>(v.size()), 0); }
};

// Numerical Recipes' generator, 0 <= rnd() < 1 from the top 24 bits.
struct Lcg {
    std::uint32_t seed;
    float operator()() { return static_cast<float>((seed = seed * 1664525u + 1013904223u) >> 8) / 16777216.0f; }
};

inline D3DTLVERTEX tl(float x, float y, std::uint32_t colour, float z = 0.5f, float rhw = 1.0f, float u = 0, float v = 0) {
    D3DTLVERTEX t;
    t.sx = x, t.sy = y, t.sz = z, t.rhw = rhw, t.color = static_cast<std::int32_t>(colour), t.tu = u, t.tv = v;
    return t;
}

// Two triangles (a strip) covering the rectangle x0..x1, y0..y1.
inline std::vector<D3DTLVERTEX> tl_quad(float x0, float y0, float x1, float y1, std::uint32_t colour, float z = 0.5f) {
    return {tl(x0, y1, colour, z, 1, 0, 1), tl(x0, y0, colour, z, 1, 0, 0), tl(x1, y1, colour, z, 1, 1, 1),
            tl(x1, y0, colour, z, 1, 1, 0)};
}

inline D3DVERTEX vtx(float x, float y, float z, float nx, float ny, float nz, float u = 0, float v = 0) {
    D3DVERTEX r;
    r.x = x, r.y = y, r.z = z, r.nx = nx, r.ny = ny, r.nz = nz, r.tu = u, r.tv = v;
    return r;
}

inline D3DMATRIX identity() {
    D3DMATRIX m;
    return m.rc11 = m.rc22 = m.rc33 = m.rc44 = 1, m;
}

inline Ref<DirectDrawSurface7> make_texture(int w, int h, const std::vector<std::uint32_t>& argb,
                                            const PixelFormat& f = PixelFormat::a8r8g8b8()) {
    auto t = make_surface(w, h, f, dx::DDSCAPS_TEXTURE);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) t->set_raw(x, y, f.from_argb(argb[static_cast<std::size_t>(y * w + x)]));
    t->touch();
    return t;
}

}  // namespace tarko::d3dtest
