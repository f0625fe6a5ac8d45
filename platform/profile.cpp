// The machine as our software device describes it.
#include "platform/profile.h"

#include "platform/constants.h"
#include "platform/pixel_format.h"

namespace tarko::platform {

const DeviceInfo* MachineProfile::device(const std::string& guid) const {
    for (const auto& d : devices)
        if (d.guid == guid) return &d;
    return nullptr;
}

static D3DDEVICEDESC7 software_caps(const std::string& guid) {
    D3DDEVICEDESC7 c;
    c.deviceGUID = guid;
    c.dpcTriCaps.lAlphaCmpCaps = 0xFF;  // every comparison, greater-or-equal (64) among them
    c.dpcTriCaps.lZCmpCaps = 0xFF;
    c.dpcTriCaps.lSrcBlendCaps = 0x1FFF;
    c.dpcTriCaps.lDestBlendCaps = 0x1FFF;
    c.dpcLineCaps = c.dpcTriCaps;
    c.lDeviceRenderBitDepth = 0x400 | 0x100;  // 16 and 32 bits
    c.lDeviceZBufferBitDepth = dx::DDBD_16 | dx::DDBD_24 | dx::DDBD_32;
    c.lMinTextureWidth = c.lMinTextureHeight = 1;
    c.lMaxTextureWidth = c.lMaxTextureHeight = 16384;
    c.lMaxTextureRepeat = 32768;
    c.lMaxTextureAspectRatio = 16384;
    c.dvGuardBandLeft = c.dvGuardBandTop = -8192;
    c.dvGuardBandRight = c.dvGuardBandBottom = 8192;
    c.lTextureOpCaps = 0x00FFFFFF;  // MODULATE (8) and the rest
    c.wMaxTextureBlendStages = 8;
    c.wMaxSimultaneousTextures = 8;
    c.lMaxActiveLights = 0x7FFFFFFF;
    c.dvMaxVertexW = 1e10f;
    return c;
}

// A compressed format, listed last as drivers did; the engine never picks it.
static DDPIXELFORMAT dxt1() {
    DDPIXELFORMAT pf;
    pf.lFlags = dx::DDPF_FOURCC;
    pf.lFourCC = 0x31545844;  // "DXT1"
    return pf;
}

static DDPIXELFORMAT z_only(int bits) { return PixelFormat::z(bits).dd(); }

MachineProfile default_profile() {
    MachineProfile p;
    p.drivers = {{"Primary Display Driver", ""}};
    for (int bits : {16, 32})
        for (auto [w, h] : {std::pair{320, 240}, {640, 480}, {800, 600}, {1024, 768}, {1280, 1024}})
            p.display_modes.push_back({w, h, bits});
    p.draw_caps.lCaps = 0;
    p.draw_caps.lZBufferBitDepths = dx::DDBD_16 | dx::DDBD_24 | dx::DDBD_32;
    p.draw_caps.lVidMemTotal = static_cast<std::int32_t>(p.free_video_memory);
    p.draw_caps.lVidMemFree = static_cast<std::int32_t>(p.free_video_memory);
    p.draw_caps.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE | dx::DDSCAPS_ZBUFFER | dx::DDSCAPS_3DDEVICE |
                                dx::DDSCAPS_OFFSCREENPLAIN | dx::DDSCAPS_PRIMARYSURFACE | dx::DDSCAPS_FLIP;

    // Plain 16-bit RGB first: the texture walk takes the first format without
    // FourCC, so the order decides what every ordinary texture looks like.
    const std::vector<DDPIXELFORMAT> textures = {
        PixelFormat::r5g6b5().dd(),   PixelFormat::x1r5g5b5().dd(),     PixelFormat::a1r5g5b5().dd(),
        PixelFormat::a4r4g4b4().dd(), PixelFormat::x8r8g8b8().dd(),     PixelFormat::a8r8g8b8().dd(),
        PixelFormat::bump_du_dv_8_8().dd(), dxt1(),
    };
    const std::vector<DDPIXELFORMAT> depths = {z_only(16), z_only(24), z_only(32)};

    DeviceInfo rgb;
    rgb.name = "RGB Emulation";
    rgb.guid = kRgbGuid;
    rgb.caps = software_caps(kRgbGuid);
    rgb.texture_formats = textures;
    rgb.z_formats = depths;
    DeviceInfo hal = rgb;
    hal.name = "Direct3D HAL";
    hal.guid = kHalGuid;
    hal.caps = software_caps(kHalGuid);
    hal.can_create = false;  // no hardware device yet: start-up falls back to the software one
    p.devices = {rgb, hal};
    return p;
}

MachineProfile& profile() {
    static MachineProfile p = default_profile();
    return p;
}

ScopedProfile::ScopedProfile(MachineProfile p) : saved_(profile()) { profile() = std::move(p); }
ScopedProfile::~ScopedProfile() { profile() = saved_; }

}  // namespace tarko::platform
