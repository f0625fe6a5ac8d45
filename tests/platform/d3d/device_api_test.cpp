// The device's published calls: argument checks, hostile input, recording,
// sphere visibility, the factory and the machine profile.
#include <gtest/gtest.h>

#include <limits>

#include "d3d_test_util.h"
#include "platform/d3d/direct3d.h"
#include "platform/profile.h"
#include "platform/trace.h"
#include "runtime/errors.h"

using namespace tarko;
using namespace tarko::d3dtest;

namespace {
Ref<DirectDrawSurface7> device_target() {
    return make_surface(8, 8, PixelFormat::r5g6b5(), dx::DDSCAPS_OFFSCREENPLAIN | dx::DDSCAPS_3DDEVICE);
}
}  // namespace

TEST(HostileInput, CountsPastTheEndAreCutToTheArray) {
    Scene s(8, 8);
    std::vector<D3DTLVERTEX> t = {tl(0, 0, -1), tl(8, 0, -1), tl(0, 8, -1)};
    s.dev->drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(t), 1000000, 0);
    EXPECT_NE(s.argb(1, 1), 0u);
    s.dev->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, std::span(t), -5, 0);
    // A byte span shorter than one vertex draws nothing.
    std::vector<std::byte> few(20);
    s.dev->drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span<const std::byte>(few), 3, 0);
}

TEST(HostileInput, IndicesBeyondTheVertexCountSkipTheirTriangle) {
    Scene s(16, 8);
    std::vector<D3DTLVERTEX> v = {tl(0, 0, -1), tl(8, 0, -1), tl(0, 8, -1), tl(16, 0, -1)};
    // Second triangle names vertex 3, beyond the vertex count of 3; third a negative index.
    std::vector<Integer> idx = {0, 1, 2, 1, 3, 2, 0, -7, 2};
    s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(v), 3, std::span(idx), 9, 0);
    EXPECT_NE(s.argb(1, 1), 0u);
    EXPECT_EQ(s.argb(12, 1), 0u);
    // An index count beyond the array and not a multiple of 3: the rest is ignored.
    s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(v), 4, std::span(idx), 500, 0);
    EXPECT_NE(s.argb(12, 1), 0u);
    // A vertex count beyond the vertex array is cut to it.
    std::vector<Integer> big = {0, 1, 30000};
    s.dev->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::span(v), 32767, std::span(big), 3, 0);
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
    // Transformed vertices with NaN and zero w.
    s.states({{dx::D3DRENDERSTATE_LIGHTING, 0}});
    s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX,
           std::vector<D3DVERTEX>{vtx(nan, 0, 0.5f, 0, 0, 0), vtx(1, 0, 0.5f, 0, 0, 0), vtx(0, 1, 0.5f, 0, 0, 0)});
    D3DMATRIX zero;
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, zero);
    s.draw(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX,
           std::vector<D3DVERTEX>{vtx(0, 0, 0.5f, 0, 0, 0), vtx(1, 0, 0.5f, 0, 0, 0), vtx(0, 1, 0.5f, 0, 0, 0)});
    // NaN texture coordinates read some texel, within the texture.
    s.dev->setTexture(0, make_texture(3, 3, std::vector<std::uint32_t>(9, 0xFFFFFFFF)));
    s.bilinear(0);
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX,
           std::vector<D3DTLVERTEX>{tl(0, 0, -1, 0.5f, 1, nan, inf), tl(16, 0, -1, 0.5f, 1, -inf, 1e30f),
                                    tl(0, 16, -1, 0.5f, 1, 1e9f, -1e9f)});
}

TEST(HostileInput, UnknownPrimitiveTypesAndFormatsRaise) {
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
}

TEST(HostileInput, InvalidStateValuesDrawSomethingSensible) {
    Scene s(8, 8);
    s.blend(99, -3);
    s.states({{dx::D3DRENDERSTATE_FILLMODE, 0}, {dx::D3DRENDERSTATE_ZFUNC, 0}});
    s.stage(0, {{dx::D3DTSS_COLOROP, 99}, {dx::D3DTSS_COLORARG1, 77}});
    s.draw(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, tl_quad(0, 0, 7, 7, 0xFF00FF00));
    EXPECT_EQ(s.argb(3, 3), 0x00FF00u);  // unknown factors: source one, destination zero
}

TEST(SphereVisibility, StatusBitsPerPlane) {
    // Identity transforms: the visible box is -1..1 in x and y, 0..1 in z.
    Scene s(8, 8);
    EXPECT_EQ(s.dev->computeSphereVisibility(D3DVECTOR{0, 0, 0.5f}, 0.1f), 0);
    // Wholly beyond the right plane: union 0x2, intersection 0x2000.
    EXPECT_EQ(s.dev->computeSphereVisibility(D3DVECTOR{5, 0, 0.5f}, 0.1f), 0x2 | 0x2000);
    // Across the right plane only.
    EXPECT_EQ(s.dev->computeSphereVisibility(D3DVECTOR{1, 0, 0.5f}, 0.5f), 0x2);
    // Behind the front plane (z < 0): front is 0x10 / 0x10000.
    EXPECT_EQ(s.dev->computeSphereVisibility(D3DVECTOR{0, 0, -3}, 1), 0x10 | 0x10000);
    // Above the top plane (y > 1): top is 0x4.
    EXPECT_EQ(s.dev->computeSphereVisibility(D3DVECTOR{0, 3, 0.5f}, 0.5f) & 0xFFF000, 0x4000);
    // The world matrix applies: moved 10 to the left, it is outside the left plane.
    D3DMATRIX w = identity();
    w.rc41 = -10;
    s.dev->setTransform(dx::D3DTRANSFORMSTATE_WORLD, w);
    EXPECT_EQ(s.dev->computeSphereVisibility(D3DVECTOR{0, 0, 0.5f}, 0.2f), 0x1 | 0x1000);
}

TEST(Recording, StateChangesAndDrawsAreLoggedInOrder) {
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

TEST(Factory, SoftwareDeviceIsCreatedAndHardwareFallsBack) {
    Direct3D7 d3d;
    auto target = device_target();
    EXPECT_TRUE(d3d.createDevice(platform::kHalGuid, target).is_nothing());
    auto dev = d3d.createDevice(platform::kRgbGuid, target);
    ASSERT_FALSE(dev.is_nothing());
    EXPECT_EQ(dev->getDeviceGuid(), "IID_IDirect3DRGBDevice");
    EXPECT_TRUE(d3d.createDevice("IID_Unknown", target).is_nothing());
    auto plain = make_surface(8, 8, PixelFormat::r5g6b5(), dx::DDSCAPS_OFFSCREENPLAIN);
    EXPECT_TRUE(d3d.createDevice(platform::kRgbGuid, plain).is_nothing());
    // The hardware GUID still answers the z-format walk.
    EXPECT_GT(d3d.getEnumZBufferFormats(platform::kHalGuid)->getCount(), 0);
    EXPECT_THROW(d3d.getEnumZBufferFormats("IID_Unknown"), RuntimeError);
}

TEST(Profile, TextureFormatOrderPutsPlain16BitFirstAndBumpAndFourCCLast) {
    Direct3DDevice7 dev(platform::kRgbGuid, device_target());
    auto formats = dev.getTextureFormatsEnum();
    ASSERT_GE(formats->getCount(), 5);
    DDPIXELFORMAT pf;
    formats->getItem(1, pf);
    EXPECT_EQ(pf.lRGBBitCount, 16);
    EXPECT_EQ(pf.lFlags & (dx::DDPF_ALPHAPIXELS | dx::DDPF_FOURCC), 0);
    EXPECT_EQ(pf.lRBitMask, 0xF800);
    // The first format with alpha is 16-bit; bump and FourCC come after every RGB format.
    bool seen_special = false;
    int first_alpha_bits = 0;
    for (Long i = 1; i <= formats->getCount(); ++i) {
        formats->getItem(i, pf);
        const bool special = (pf.lFlags & (dx::DDPF_BUMPDUDV | dx::DDPF_FOURCC)) != 0;
        if (!special && (pf.lFlags & dx::DDPF_ALPHAPIXELS) && !first_alpha_bits) first_alpha_bits = pf.lRGBBitCount;
        EXPECT_FALSE(seen_special && !special) << "RGB format after a bump or FourCC one at " << i;
        seen_special = seen_special || special;
    }
    EXPECT_EQ(first_alpha_bits, 16);
    formats->getItem(formats->getCount(), pf);
    EXPECT_NE(pf.lFlags & dx::DDPF_FOURCC, 0);
    EXPECT_THROW(formats->getItem(0, pf), RuntimeError);
}

TEST(Profile, ZFormatsStartWithPure16BitAndCapsAnswerTheEngine) {
    const auto p = platform::default_profile();
    const auto* rgb = p.device(platform::kRgbGuid);
    ASSERT_NE(rgb, nullptr);
    ASSERT_FALSE(rgb->z_formats.empty());
    EXPECT_EQ(rgb->z_formats[0].lFlags, 1024);  // DDPF_ZBUFFER alone
    EXPECT_EQ(rgb->z_formats[0].lZBufferBitDepth, 16);
    EXPECT_NE(rgb->caps.dpcTriCaps.lAlphaCmpCaps & dx::D3DPCMPCAPS_GREATEREQUAL, 0);
    EXPECT_NE(rgb->caps.lTextureOpCaps & dx::D3DTEXOPCAPS_MODULATE, 0);
    EXPECT_GT(rgb->caps.wMaxSimultaneousTextures, 1);
    for (int bit : {2, 4, 8, 16, 32}) EXPECT_NE(rgb->caps.dpcTriCaps.lSrcBlendCaps & bit, 0) << bit;
    for (int bit : {2, 64, 128, 256, 512}) EXPECT_NE(rgb->caps.dpcTriCaps.lDestBlendCaps & bit, 0) << bit;
    // The device list puts the creatable software device where the dialog's
    // default (count - 2) lands.
    ASSERT_EQ(p.devices.size(), 2u);
    EXPECT_EQ(p.devices[0].guid, platform::kRgbGuid);
    EXPECT_FALSE(p.devices[1].can_create);
}

TEST(Profile, ScopedProfileOverridesCapsAndFormatsForItsLifetime) {
    auto target = device_target();
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
    }
    Direct3DDevice7(platform::kRgbGuid, target).getCaps(caps);
    EXPECT_EQ(caps.wMaxTextureBlendStages, 8);
}
