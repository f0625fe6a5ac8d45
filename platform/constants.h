// Published flag, state and enumeration values of the draw, 3D, input and sound
// interfaces, under their published names.
#pragma once

#include <cstdint>

namespace dx {
using C = std::int32_t;

// Cooperative levels.
inline constexpr C DDSCL_NORMAL = 8;
inline constexpr C DDSCL_FULLSCREEN = 1;
inline constexpr C DDSCL_ALLOWREBOOT = 2;
inline constexpr C DDSCL_EXCLUSIVE = 16;

// Surface description flags.
inline constexpr C DDSD_CAPS = 1;
inline constexpr C DDSD_HEIGHT = 2;
inline constexpr C DDSD_WIDTH = 4;
inline constexpr C DDSD_PITCH = 8;
inline constexpr C DDSD_BACKBUFFERCOUNT = 32;
inline constexpr C DDSD_CKSRCBLT = 0x10000;
inline constexpr C DDSD_PIXELFORMAT = 0x1000;
inline constexpr C DDSD_TEXTURESTAGE = 0x100000;

// Surface caps.
inline constexpr C DDSCAPS_BACKBUFFER = 4;
inline constexpr C DDSCAPS_COMPLEX = 8;
inline constexpr C DDSCAPS_FLIP = 16;
inline constexpr C DDSCAPS_OFFSCREENPLAIN = 64;
inline constexpr C DDSCAPS_PRIMARYSURFACE = 512;
inline constexpr C DDSCAPS_SYSTEMMEMORY = 2048;
inline constexpr C DDSCAPS_TEXTURE = 4096;
inline constexpr C DDSCAPS_3DDEVICE = 8192;
inline constexpr C DDSCAPS_VIDEOMEMORY = 16384;
inline constexpr C DDSCAPS_ZBUFFER = 0x20000;
inline constexpr C DDSCAPS2_TEXTUREMANAGE = 16;

// Pixel format flags.
inline constexpr C DDPF_ALPHAPIXELS = 1;
inline constexpr C DDPF_FOURCC = 4;
inline constexpr C DDPF_RGB = 64;
inline constexpr C DDPF_ZBUFFER = 1024;
inline constexpr C DDPF_STENCILBUFFER = 0x4000;
inline constexpr C DDPF_BUMPLUMINANCE = 0x40000;
inline constexpr C DDPF_BUMPDUDV = 0x80000;

// Blit, flip, lock.
inline constexpr C DDBLT_COLORFILL = 0x400;
inline constexpr C DDBLT_WAIT = 0x1000000;
inline constexpr C DDBLT_DONOTWAIT = 0x8000000;
inline constexpr C DDFLIP_WAIT = 1;
inline constexpr C DDLOCK_WAIT = 1;

// Z-buffer depth caps.
inline constexpr C DDBD_16 = 0x400;
inline constexpr C DDBD_24 = 0x200;
inline constexpr C DDBD_32 = 0x100;

// Clear flags.
inline constexpr C D3DCLEAR_TARGET = 1;
inline constexpr C D3DCLEAR_ZBUFFER = 2;
inline constexpr C D3DCLEAR_STENCIL = 4;

// Transform states.
inline constexpr C D3DTRANSFORMSTATE_WORLD = 1;
inline constexpr C D3DTRANSFORMSTATE_VIEW = 2;
inline constexpr C D3DTRANSFORMSTATE_PROJECTION = 3;

// Primitive types.
inline constexpr C D3DPT_POINTLIST = 1;
inline constexpr C D3DPT_LINELIST = 2;
inline constexpr C D3DPT_LINESTRIP = 3;
inline constexpr C D3DPT_TRIANGLELIST = 4;
inline constexpr C D3DPT_TRIANGLESTRIP = 5;
inline constexpr C D3DPT_TRIANGLEFAN = 6;

// Vertex formats.
inline constexpr C D3DFVF_VERTEX = 274;    // 0x112: position, normal, one texture set
inline constexpr C D3DFVF_LVERTEX = 482;   // 0x1E2: position, reserved, diffuse, specular, texture
inline constexpr C D3DFVF_TLVERTEX = 452;  // 0x1C4: screen position and rhw, diffuse, specular, texture
inline constexpr C D3DDP_WAIT = 1;

// Render states.
inline constexpr C D3DRENDERSTATE_ZENABLE = 7;
inline constexpr C D3DRENDERSTATE_FILLMODE = 8;
inline constexpr C D3DRENDERSTATE_SHADEMODE = 9;
inline constexpr C D3DRENDERSTATE_ZWRITEENABLE = 14;
inline constexpr C D3DRENDERSTATE_ALPHATESTENABLE = 15;
inline constexpr C D3DRENDERSTATE_LASTPIXEL = 16;
inline constexpr C D3DRENDERSTATE_SRCBLEND = 19;
inline constexpr C D3DRENDERSTATE_DESTBLEND = 20;
inline constexpr C D3DRENDERSTATE_CULLMODE = 22;
inline constexpr C D3DRENDERSTATE_ZFUNC = 23;
inline constexpr C D3DRENDERSTATE_ALPHAREF = 24;
inline constexpr C D3DRENDERSTATE_ALPHAFUNC = 25;
inline constexpr C D3DRENDERSTATE_DITHERENABLE = 26;
inline constexpr C D3DRENDERSTATE_ALPHABLENDENABLE = 27;
inline constexpr C D3DRENDERSTATE_FOGENABLE = 28;
inline constexpr C D3DRENDERSTATE_SPECULARENABLE = 29;
inline constexpr C D3DRENDERSTATE_FOGCOLOR = 34;
inline constexpr C D3DRENDERSTATE_FOGTABLEMODE = 35;
inline constexpr C D3DRENDERSTATE_FOGSTART = 36;
inline constexpr C D3DRENDERSTATE_FOGEND = 37;
inline constexpr C D3DRENDERSTATE_FOGDENSITY = 38;
inline constexpr C D3DRENDERSTATE_COLORKEYENABLE = 41;
inline constexpr C D3DRENDERSTATE_TEXTUREFACTOR = 60;
inline constexpr C D3DRENDERSTATE_CLIPPING = 136;
inline constexpr C D3DRENDERSTATE_LIGHTING = 137;
inline constexpr C D3DRENDERSTATE_AMBIENT = 139;
inline constexpr C D3DRENDERSTATE_FOGVERTEXMODE = 140;
inline constexpr C D3DRENDERSTATE_COLORVERTEX = 141;
inline constexpr C D3DRENDERSTATE_NORMALIZENORMALS = 143;

// Texture stage states.
inline constexpr C D3DTSS_COLOROP = 1;
inline constexpr C D3DTSS_COLORARG1 = 2;
inline constexpr C D3DTSS_COLORARG2 = 3;
inline constexpr C D3DTSS_ALPHAOP = 4;
inline constexpr C D3DTSS_ALPHAARG1 = 5;
inline constexpr C D3DTSS_ALPHAARG2 = 6;
inline constexpr C D3DTSS_BUMPENVMAT00 = 7;
inline constexpr C D3DTSS_BUMPENVMAT01 = 8;
inline constexpr C D3DTSS_BUMPENVMAT10 = 9;
inline constexpr C D3DTSS_BUMPENVMAT11 = 10;
inline constexpr C D3DTSS_TEXCOORDINDEX = 11;
inline constexpr C D3DTSS_ADDRESS = 12;
inline constexpr C D3DTSS_ADDRESSU = 13;
inline constexpr C D3DTSS_ADDRESSV = 14;
inline constexpr C D3DTSS_MAGFILTER = 16;
inline constexpr C D3DTSS_MINFILTER = 17;
inline constexpr C D3DTSS_MIPFILTER = 18;

// Texture operations.
inline constexpr C D3DTOP_DISABLE = 1;
inline constexpr C D3DTOP_SELECTARG1 = 2;
inline constexpr C D3DTOP_SELECTARG2 = 3;
inline constexpr C D3DTOP_MODULATE = 4;
inline constexpr C D3DTOP_MODULATE2X = 5;
inline constexpr C D3DTOP_MODULATE4X = 6;
inline constexpr C D3DTOP_ADD = 7;
inline constexpr C D3DTOP_ADDSIGNED = 8;
inline constexpr C D3DTOP_ADDSIGNED2X = 9;
inline constexpr C D3DTOP_SUBTRACT = 10;
inline constexpr C D3DTOP_ADDSMOOTH = 11;
inline constexpr C D3DTOP_BLENDDIFFUSEALPHA = 12;
inline constexpr C D3DTOP_BLENDTEXTUREALPHA = 13;
inline constexpr C D3DTOP_BLENDFACTORALPHA = 14;
inline constexpr C D3DTOP_BLENDCURRENTALPHA = 16;
inline constexpr C D3DTOP_BUMPENVMAP = 22;
inline constexpr C D3DTOP_DOTPRODUCT3 = 24;

// Texture arguments.
inline constexpr C D3DTA_DIFFUSE = 0;
inline constexpr C D3DTA_CURRENT = 1;
inline constexpr C D3DTA_TEXTURE = 2;
inline constexpr C D3DTA_TFACTOR = 3;
inline constexpr C D3DTA_SPECULAR = 4;
inline constexpr C D3DTA_COMPLEMENT = 0x10;
inline constexpr C D3DTA_ALPHAREPLICATE = 0x20;

// Texture filters (mag: D3DTFG_, min: D3DTFN_).
inline constexpr C D3DTFG_POINT = 1;
inline constexpr C D3DTFG_LINEAR = 2;
inline constexpr C D3DTFN_POINT = 1;
inline constexpr C D3DTFN_LINEAR = 2;

// Texture addressing.
inline constexpr C D3DTADDRESS_WRAP = 1;
inline constexpr C D3DTADDRESS_MIRROR = 2;
inline constexpr C D3DTADDRESS_CLAMP = 3;

// Blend factors.
inline constexpr C D3DBLEND_ZERO = 1;
inline constexpr C D3DBLEND_ONE = 2;
inline constexpr C D3DBLEND_SRCCOLOR = 3;
inline constexpr C D3DBLEND_INVSRCCOLOR = 4;
inline constexpr C D3DBLEND_SRCALPHA = 5;
inline constexpr C D3DBLEND_INVSRCALPHA = 6;
inline constexpr C D3DBLEND_DESTALPHA = 7;
inline constexpr C D3DBLEND_INVDESTALPHA = 8;
inline constexpr C D3DBLEND_DESTCOLOR = 9;
inline constexpr C D3DBLEND_INVDESTCOLOR = 10;
inline constexpr C D3DBLEND_SRCALPHASAT = 11;

// Comparisons.
inline constexpr C D3DCMP_NEVER = 1;
inline constexpr C D3DCMP_LESS = 2;
inline constexpr C D3DCMP_EQUAL = 3;
inline constexpr C D3DCMP_LESSEQUAL = 4;
inline constexpr C D3DCMP_GREATER = 5;
inline constexpr C D3DCMP_NOTEQUAL = 6;
inline constexpr C D3DCMP_GREATEREQUAL = 7;
inline constexpr C D3DCMP_ALWAYS = 8;

inline constexpr C D3DCULL_NONE = 1;
inline constexpr C D3DCULL_CW = 2;
inline constexpr C D3DCULL_CCW = 3;
inline constexpr C D3DFILL_POINT = 1;
inline constexpr C D3DFILL_WIREFRAME = 2;
inline constexpr C D3DFILL_SOLID = 3;
inline constexpr C D3DSHADE_FLAT = 1;
inline constexpr C D3DSHADE_GOURAUD = 2;
inline constexpr C D3DFOG_NONE = 0;
inline constexpr C D3DFOG_EXP = 1;
inline constexpr C D3DFOG_EXP2 = 2;
inline constexpr C D3DFOG_LINEAR = 3;

// Device caps bits the engine reads.
inline constexpr C D3DPCMPCAPS_GREATEREQUAL = 64;
inline constexpr C D3DTEXOPCAPS_MODULATE = 8;
inline constexpr C D3DPBLENDCAPS_ZERO = 1;
inline constexpr C D3DPBLENDCAPS_ONE = 2;
inline constexpr C D3DPBLENDCAPS_SRCCOLOR = 4;
inline constexpr C D3DPBLENDCAPS_INVSRCCOLOR = 8;
inline constexpr C D3DPBLENDCAPS_SRCALPHA = 16;
inline constexpr C D3DPBLENDCAPS_INVSRCALPHA = 32;
inline constexpr C D3DPBLENDCAPS_DESTALPHA = 64;
inline constexpr C D3DPBLENDCAPS_INVDESTALPHA = 128;
inline constexpr C D3DPBLENDCAPS_DESTCOLOR = 256;
inline constexpr C D3DPBLENDCAPS_INVDESTCOLOR = 512;

// Sphere visibility status: union bits per plane, intersection bits above.
inline constexpr C D3DSTATUS_CLIPUNIONALL = 0xFFF;
inline constexpr C D3DSTATUS_CLIPINTERSECTIONALL = 0xFFF000;

// Input.
inline constexpr C DISCL_EXCLUSIVE = 1;
inline constexpr C DISCL_NONEXCLUSIVE = 2;
inline constexpr C DISCL_FOREGROUND = 4;
inline constexpr C DISCL_BACKGROUND = 8;

// Sound.
inline constexpr C DSSCL_PRIORITY = 2;
inline constexpr C DSBCAPS_PRIMARYBUFFER = 1;
inline constexpr C DSBCAPS_STATIC = 2;
inline constexpr C DSBCAPS_CTRL3D = 16;
inline constexpr C DSBCAPS_CTRLFREQUENCY = 32;
inline constexpr C DSBCAPS_CTRLPAN = 64;
inline constexpr C DSBCAPS_CTRLVOLUME = 128;
inline constexpr C DSBPLAY_LOOPING = 1;
inline constexpr C DS3D_IMMEDIATE = 0;
inline constexpr C DS3D_DEFERRED = 1;
}  // namespace dx
