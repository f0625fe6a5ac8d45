// The device's calls under hostile input and invalid states; the machine
// profile's overrides and the recording mode.
#include <gtest/gtest.h>

#include <limits>

#include "d3d_test_util.h"
#include "platform/d3d/direct3d.h"
#include "platform/trace.h"
#include "runtime/errors.h"

using namespace tarko;
using namespace tarko::d3dtest;

TEST(HostileInput, CountsPastTheEndAndIndicesBeyondTheVertexCount) {
    Scene s(16, 8);
    std::vector<D3DTLVERTEX> v = {tl(0, 0, -1), tl(8, 0, -1), tl(0, 8, -1), tl(16, 0, -1)};
    s.dev->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, std::span(v), -5, 0);
    std::vector<std::byte> few(20);  // shorter than one vertex: nothing drawn
    s.dev->drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span<const std::byte>(few), 3, 0);
    // Second triangle names vertex 3, beyond the vertex count of 3; third a negative index.
    std::vector<Integer> idx = {0, 1, 2, 1, 3, 2, 0, -7, 2};
    s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(v), 3, std::span(idx), 9, 0);
    EXPECT_NE(s.argb(1, 1), 0u);
    EXPECT_EQ(s.argb(12, 1), 0u);
    // An index count beyond the array and not a multiple of 3: the rest is ignored.
    s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(v), 4, std::span(idx), 500, 0);
    EXPECT_NE(s.argb(12, 1), 0u);
    // Vertex counts beyond the vertex array are cut to it.
    std::vector<Integer> big = {0, 1, 30000};
    s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(v), 32767, std::span(big), 3, 0);
    s.reset();
    s.dev->drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(v), 1000000, 0);
    EXPECT_NE(s.argb(1, 1), 0u);
}

TEST(HostileInput, NonFiniteAndDegenerateGeometryDrawsNothingAndDoesNotCrash) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    Scene s(16, 16);
    s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX,
           std::vector<D3DTLVERTEX>{tl(nan, 0, -1), tl(8, 0, -1), tl(0, 8, -1), tl(inf, 0, -1), tl(8, -inf, -1),
                                    tl(0, 8, -1), tl(3, 3, -1), tl(3, 3, -1), tl(9, 9, -1),  // degenerate
                                    tl(1, 1, -1), tl(5, 5, -1), tl(9, 9, -1)});               // collinear
    for (auto p : s.pixels()) EXPECT_EQ(p & 0xFFFFFF, 0u);
    // Huge but finite coordinates are clipped, not overflowed.
    s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX,
           std::vector<D3DTLVERTEX>{tl(-1e30f, -1e30f, -1), tl(1e30f, -1e30f, -1), tl(0, 1e30f, -1)});
    // Transformed vertices with NaN, then a zero projection (w = 0).
    s.states({{dx::D3DRENDERSTATE_LIGHTING, 0}});
    s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX,
           std::vector<D3DVERTEX>{vtx(nan, 0, 0.5f, 0, 0, 0), vtx(1, 0, 0.5f, 0, 0, 0), vtx(0, 1, 0.5f, 0, 0, 0)});
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, D3DMATRIX{});
    s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX,
           std::vector<D3DVERTEX>{vtx(0, 0, 0.5f, 0, 0, 0), vtx(1, 0, 0.5f, 0, 0, 0), vtx(0, 1, 0.5f, 0, 0, 0)});
    // NaN texture coordinates read some texel, within the texture.
    s.dev->setTexture(0, make_texture(3, 3, std::vector<std::uint32_t>(9, 0xFFFFFFFF)));
    s.bilinear(0);
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX,
           std::vector<D3DTLVERTEX>{tl(0, 0, -1, 0.5f, 1, nan, inf), tl(16, 0, -1, 0.5f, 1, -inf, 1e30f),
                                    tl(0, 16, -1, 0.5f, 1, 1e9f, -1e9f)});
}

TEST(HostileInput, UnknownTypesAndIndicesRaiseAndInvalidStateValuesDrawSomethingSensible) {
    Scene s(8, 8);
    std::vector<D3DTLVERTEX> t(3);
    for (Long pt : {0, 7, -1})
        EXPECT_THROW(s.dev->drawPrimitive(pt, dx::D3DFVF_TLVERTEX, std::span(t), 3, 0), RuntimeError) << pt;
    EXPECT_THROW(s.dev->drawPrimitive(4, 0x102, std::span(t), 3, 0), RuntimeError);
    EXPECT_THROW(s.dev->setRenderState(300, 1), RuntimeError);
    EXPECT_THROW(s.dev->setTextureStageState(8, 1, 1), RuntimeError);
    EXPECT_THROW(s.dev->setTransform(4, identity()), RuntimeError);
    EXPECT_THROW(s.dev->setLight(-1, D3DLIGHT7{}), RuntimeError);
    D3DLIGHT7 got;
    EXPECT_THROW(s.dev->getLight(7, got), RuntimeError);  // never set
    s.blend(99, -3);
    s.states({{dx::D3DRENDERSTATE_FILLMODE, 0}, {dx::D3DRENDERSTATE_ZFUNC, 0}});
    s.stage(0, {{dx::D3DTSS_COLOROP, 99}, {dx::D3DTSS_COLORARG1, 77}});
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(0, 0, 7, 7, 0xFF00FF00));
    EXPECT_EQ(s.argb(3, 3), 0x00FF00u);  // unknown factors: source one, destination zero
}

TEST(Profile, DefaultsAndScopedOverridesOfCapsFormatsAndDevicesAndTheRecording) {
    auto target = make_surface(8, 8, PixelFormat::r5g6b5(), dx::DDSCAPS_OFFSCREENPLAIN | dx::DDSCAPS_3DDEVICE);
    Direct3D7 d3d;
    // The creatable software device lands where the dialog's default (count - 2)
    // does; the hardware GUID only answers the z-format walk (plain 16-bit first).
    ASSERT_EQ(d3d.getDevicesEnum()->getCount(), 2);
    EXPECT_EQ(d3d.getDevicesEnum()->getGuid(1), platform::kRgbGuid);
    EXPECT_TRUE(d3d.createDevice(platform::kHalGuid, target).is_nothing());
    EXPECT_GT(d3d.getEnumZBufferFormats(platform::kHalGuid)->getCount(), 0);
    DDPIXELFORMAT pf;
    Direct3DDevice7(platform::kRgbGuid, target).getTextureFormatsEnum()->getItem(1, pf);
    EXPECT_EQ(pf.lRBitMask, 0xF800);
    D3DDEVICEDESC7 caps;
    {
        auto p = platform::default_profile();
        p.devices[0].caps.dpcTriCaps.lAlphaCmpCaps = 0;
        p.devices[0].caps.wMaxTextureBlendStages = 1;
        p.devices[0].texture_formats.clear();
        platform::ScopedProfile scoped(p);
        Direct3DDevice7 dev(platform::kRgbGuid, target);
        dev.getCaps(caps);
        EXPECT_EQ(caps.dpcTriCaps.lAlphaCmpCaps, 0);
        EXPECT_EQ(caps.wMaxTextureBlendStages, 1);
        EXPECT_EQ(dev.getTextureFormatsEnum()->getCount(), 0);
        p.devices.erase(p.devices.begin());
        platform::ScopedProfile no_software(p);
        EXPECT_TRUE(d3d.createDevice(platform::kRgbGuid, target).is_nothing());
    }
    Direct3DDevice7(platform::kRgbGuid, target).getCaps(caps);
    EXPECT_EQ(caps.wMaxTextureBlendStages, 8);

    Scene s(8, 8);
    platform::ScopedTrace trace;
    s.dev->setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
    s.dev->setRenderStateSingle(dx::D3DRENDERSTATE_FOGDENSITY, 0.5f);
    s.dev->setTextureStageState(1, dx::D3DTSS_COLOROP, dx::D3DTOP_ADD);
    s.dev->setTexture(0, nullptr);
    s.dev->lightEnable(3, true);
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(0, 0, 7, 7, -1));
    const auto& e = trace.entries();
    ASSERT_EQ(e.size(), 6u);
    EXPECT_EQ(e[0], "Direct3DDevice7.setRenderState 27, 1");
    EXPECT_EQ(e[1].rfind("Direct3DDevice7.setRenderStateSingle 38, ", 0), 0u);
    EXPECT_EQ(e[2], "Direct3DDevice7.setTextureStageState 1, 1, 7");
    EXPECT_EQ(e[3], "Direct3DDevice7.setTexture 0, \"Nothing\"");
    EXPECT_EQ(e[4], "Direct3DDevice7.lightEnable 3, True");
    EXPECT_EQ(e[5], "Direct3DDevice7.drawPrimitive 5, 452, 4, 0");
}
