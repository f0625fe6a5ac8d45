// Capability reports: numbers and texts read afresh from the draw object and
// the device at every call; nothing is cached. Before start-up the draw object
// or the device is Nothing and each report raises 91, Engine_Version aside.
#include "engine/tarko_dx7.h"

#include "platform/constants.h"
#include "runtime/numeric.h"

using tarko::Long;
namespace rt = tarko::runtime;

namespace {
constexpr Long kVideoMemory = dx::DDSCAPS_VIDEOMEMORY;  // 16384
constexpr Long kBlendOne = 2;                           // D3DPBLENDCAPS_ONE and the rest, by bit
constexpr Long kBlendSrcColor = 4, kBlendInvSrcColor = 8, kBlendSrcAlpha = 16, kBlendInvSrcAlpha = 32;
constexpr Long kBlendDestAlpha = 64, kBlendInvDestAlpha = 128, kBlendDestColor = 256, kBlendInvDestColor = 512;

struct CapsLine {
    bool destination;
    Long bit;
    const char* text;
};
// The order of the lines, not the order of the bits.
constexpr CapsLine kBlendLines[] = {
    {false, kBlendOne, " * BLEND SUPPORT : SRCBLEND_ONE "},
    {false, kBlendSrcAlpha, " * BLEND SUPPORT : SRCBLEND_ALPHA "},
    {false, kBlendSrcColor, " * BLEND SUPPORT : SRCBLEND_COLOR "},
    {false, kBlendInvSrcAlpha, " * BLEND SUPPORT : SRCBLEND_INVALPHA "},
    {false, kBlendInvSrcColor, " * BLEND SUPPORT : SRCBLEND_INVCOLOR "},
    {true, kBlendOne, " * BLEND SUPPORT : DESTBLEND_ONE "},
    {true, kBlendDestAlpha, " * BLEND SUPPORT : DESTBLEND_ALPHA "},
    {true, kBlendDestColor, " * BLEND SUPPORT : DESTBLEND_COLOR "},
    {true, kBlendInvDestAlpha, " * BLEND SUPPORT : DESTBLEND_INVALPHA "},
    {true, kBlendInvDestColor, " * BLEND SUPPORT : DESTBLEND_INVCOLOR "},
};

bool multitexturing(const D3DDEVICEDESC7& caps) {
    return caps.wMaxTextureBlendStages > 1 && caps.wMaxSimultaneousTextures > 1 &&
           (caps.lTextureOpCaps & dx::D3DTEXOPCAPS_MODULATE) != 0;
}
}  // namespace

DDCAPS tarko_DX7::hardware_caps() {
    DDCAPS hardware, emulation;
    ddraw->getCaps(hardware, emulation);
    return hardware;
}

D3DDEVICEDESC7 tarko_DX7::device_caps() {
    D3DDEVICEDESC7 caps;
    D3D_DEV->getCaps(caps);
    return caps;
}

Long tarko_DX7::FreeVideo_MEMORY() {
    DDSCAPS2 caps;
    caps.lCaps = kVideoMemory;
    return ddraw->getFreeMem(caps);
}

Long tarko_DX7::INFO_FreeMemory() { return hardware_caps().lVidMemFree; }

std::string tarko_DX7::INFO_videoFREE() { return rt::CStr(INFO_FreeMemory()); }

std::string tarko_DX7::INFO_ZbufferBIT() {
    const Long depths = hardware_caps().lZBufferBitDepths;
    std::string text = "Zbuffer bit deph: ";
    if (depths & dx::DDBD_16) text += "16";
    if (depths & dx::DDBD_24) text += ", 24";
    if (depths & dx::DDBD_32) text += ", 32";
    return text;
}

bool tarko_DX7::INFO_MULTI_texturingOK() { return multitexturing(device_caps()); }

std::string tarko_DX7::INFO_MULTI_texturing() {
    const D3DDEVICEDESC7 caps = device_caps();
    if (!multitexturing(caps)) return "Multitexturing unAVAILABLE\n";
    // No separator between the first number and the second label.
    return "Multitexturing OK\nNumber Texture steges=" + rt::Str(caps.wMaxTextureBlendStages) +
           "Number simultaneous Texture =" + rt::Str(caps.wMaxSimultaneousTextures);
}

float tarko_DX7::Engine_Version() { return 1.03f; }

std::string tarko_DX7::INFO_SufaceCAPS1() {
    return "CAPABILITIES : Surface lCaps :  " + rt::CStr(hardware_caps().ddsCaps.lCaps);
}

std::string tarko_DX7::INFO_TAG_CAPS() {
    const D3DPRIMCAPS tri = device_caps().dpcTriCaps;
    std::string text = "// BLEND CAPS // \r\n\r\n";
    for (const CapsLine& line : kBlendLines)
        if (((line.destination ? tri.lDestBlendCaps : tri.lSrcBlendCaps) & line.bit) != 0)
            text.append(line.text).append("\r\n");
    return text;
}
