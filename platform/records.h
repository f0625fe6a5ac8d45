// The records the 3D, draw and input interfaces publish under these names, with
// their published field names and layouts. Vertex records are 32 bytes.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "runtime/numeric.h"

struct D3DVECTOR {
    float x = 0, y = 0, z = 0;
};

struct D3DVERTEX {
    float x = 0, y = 0, z = 0;
    float nx = 0, ny = 0, nz = 0;
    float tu = 0, tv = 0;
};

struct D3DLVERTEX {
    float x = 0, y = 0, z = 0;
    std::int32_t dvReserved = 0;
    std::int32_t color = 0;     // ARGB
    std::int32_t specular = 0;  // ARGB
    float tu = 0, tv = 0;
};

struct D3DTLVERTEX {
    float sx = 0, sy = 0, sz = 0;
    float rhw = 0;
    std::int32_t color = 0;
    std::int32_t specular = 0;
    float tu = 0, tv = 0;
};

static_assert(sizeof(D3DVERTEX) == 32 && sizeof(D3DLVERTEX) == 32 && sizeof(D3DTLVERTEX) == 32);

// Sixteen Singles, row after row; rcRC is row R, column C (row vectors, the
// translation in row 4).
struct D3DMATRIX {
    float rc11 = 0, rc12 = 0, rc13 = 0, rc14 = 0;
    float rc21 = 0, rc22 = 0, rc23 = 0, rc24 = 0;
    float rc31 = 0, rc32 = 0, rc33 = 0, rc34 = 0;
    float rc41 = 0, rc42 = 0, rc43 = 0, rc44 = 0;

    float& at(int row, int col) { return (&rc11)[(row - 1) * 4 + (col - 1)]; }  // 1-based
    float at(int row, int col) const { return (&rc11)[(row - 1) * 4 + (col - 1)]; }
};

struct D3DRMBOX {
    D3DVECTOR min, max;  // minimum corner first
};

struct D3DRMQUATERNION {
    float s = 0;  // scalar first
    D3DVECTOR v;
};

struct D3DCOLORVALUE {
    float r = 0, g = 0, b = 0, a = 0;
};

struct D3DMATERIAL7 {
    D3DCOLORVALUE diffuse, ambient, specular, emissive;
    float power = 0;
};

// Light types.
inline constexpr std::int32_t D3DLIGHT_POINT = 1;
inline constexpr std::int32_t D3DLIGHT_SPOT = 2;
inline constexpr std::int32_t D3DLIGHT_DIRECTIONAL = 3;

struct D3DLIGHT7 {
    std::int32_t dltType = 0;
    D3DCOLORVALUE diffuse, specular, ambient;
    D3DVECTOR position, direction;
    float range = 0, falloff = 0;
    float attenuation0 = 0, attenuation1 = 0, attenuation2 = 0;
    float theta = 0, phi = 0;
};

struct D3DVIEWPORT7 {
    std::int32_t lX = 0, lY = 0, lWidth = 0, lHeight = 0;
    float minz = 0, maxz = 0;
};

struct D3DRECT {
    std::int32_t x1 = 0, y1 = 0, x2 = 0, y2 = 0;
};

// Window-system rectangle: right and bottom are exclusive.
struct RECT {
    std::int32_t Left = 0, Top = 0, Right = 0, Bottom = 0;
};

struct DIMOUSESTATE {
    std::int32_t lX = 0, lY = 0, lZ = 0;
    std::array<std::uint8_t, 4> buttons{};
};

// Pixel format of a surface, a texture format or a depth format.
struct DDPIXELFORMAT {
    std::int32_t lFlags = 0;              // DDPF_*
    std::int32_t lFourCC = 0;
    std::int32_t lRGBBitCount = 0;        // also z-buffer bit depth and bump bit count
    std::int32_t lRBitMask = 0;           // also z-bit mask, bump du mask
    std::int32_t lGBitMask = 0;           // also stencil mask, bump dv mask
    std::int32_t lBBitMask = 0;           // also bump luminance mask
    std::int32_t lRGBAlphaBitMask = 0;
    std::int32_t lZBufferBitDepth = 0;
    std::int32_t lStencilBitDepth = 0;
    std::int32_t lBumpBitCount = 0;
    std::int32_t lBumpDuBitMask = 0;
    std::int32_t lBumpDvBitMask = 0;
    std::int32_t lBumpLuminanceBitMask = 0;
};

struct DDSCAPS2 {
    std::int32_t lCaps = 0;
    std::int32_t lCaps2 = 0;
    std::int32_t lCaps3 = 0;
    std::int32_t lCaps4 = 0;
};

struct DDCOLORKEY {
    std::int32_t low = 0, high = 0;
};

struct DDSURFACEDESC2 {
    std::int32_t lFlags = 0;              // DDSD_*
    std::int32_t lHeight = 0;
    std::int32_t lWidth = 0;
    std::int32_t lPitch = 0;
    std::int32_t lBackBufferCount = 0;
    std::int32_t lTextureStage = 0;
    std::int32_t lRefreshRate = 0;
    DDCOLORKEY ddckCKSrcBlt;
    DDPIXELFORMAT ddpfPixelFormat;
    DDSCAPS2 ddsCaps;
};

// Draw caps: the fields the engine reads.
struct DDCAPS {
    std::int32_t lCaps = 0;
    std::int32_t lCaps2 = 0;
    std::int32_t lZBufferBitDepths = 0;   // DDBD_16 0x400, DDBD_24 0x200, DDBD_32 0x100
    std::int32_t lVidMemTotal = 0;
    std::int32_t lVidMemFree = 0;
    DDSCAPS2 ddsCaps;                     // surface caps
};

struct D3DPRIMCAPS {
    std::int32_t lMiscCaps = 0, lRasterCaps = 0, lZCmpCaps = 0;
    std::int32_t lSrcBlendCaps = 0, lDestBlendCaps = 0, lAlphaCmpCaps = 0;
    std::int32_t lShadeCaps = 0, lTextureCaps = 0, lTextureFilterCaps = 0;
};

struct D3DDEVICEDESC7 {
    std::int32_t lDevCaps = 0;
    D3DPRIMCAPS dpcLineCaps, dpcTriCaps;
    std::int32_t lDeviceRenderBitDepth = 0;
    std::int32_t lDeviceZBufferBitDepth = 0;
    std::int32_t lMinTextureWidth = 0, lMinTextureHeight = 0;
    std::int32_t lMaxTextureWidth = 0, lMaxTextureHeight = 0;
    std::int32_t lMaxTextureRepeat = 0, lMaxTextureAspectRatio = 0, lMaxAnisotropy = 0;
    float dvGuardBandLeft = 0, dvGuardBandTop = 0, dvGuardBandRight = 0, dvGuardBandBottom = 0;
    float dvExtentsAdjust = 0;
    std::int32_t lStencilCaps = 0, lFVFCaps = 0, lTextureOpCaps = 0;
    std::int32_t wMaxTextureBlendStages = 0, wMaxSimultaneousTextures = 0;
    std::int32_t lMaxActiveLights = 0;
    float dvMaxVertexW = 0;
    std::string deviceGUID;
};
