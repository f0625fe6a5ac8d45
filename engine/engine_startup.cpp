// Device start-up: surfaces, input, z-buffer, device, viewport, material,
// projection and the default stage states, with the console lines in order.
#include "engine/tarko_dx7.h"

#include "platform/constants.h"
#include "platform/profile.h"
#include "platform/trace.h"
#include "runtime/errors.h"
#include "runtime/services.h"

using tarko::Long;
namespace rt = tarko::runtime;

namespace {
constexpr Long kCoopFullscreen = dx::DDSCL_EXCLUSIVE | dx::DDSCL_FULLSCREEN | dx::DDSCL_ALLOWREBOOT;  // 19
constexpr Long kPrimaryChainCaps = dx::DDSCAPS_PRIMARYSURFACE | dx::DDSCAPS_3DDEVICE | dx::DDSCAPS_COMPLEX |
                                   dx::DDSCAPS_FLIP;                                                  // 8728
constexpr Long kBackBufferCaps = dx::DDSCAPS_BACKBUFFER | dx::DDSCAPS_3DDEVICE;                       // 8196
constexpr Long kOffscreen3DCaps = dx::DDSCAPS_OFFSCREENPLAIN | dx::DDSCAPS_3DDEVICE;                  // 8256
constexpr Long kInputCoop = dx::DISCL_BACKGROUND | dx::DISCL_NONEXCLUSIVE;                            // 10
// The field of view is this constant over 4, not pi over 4.
constexpr double kFieldOfViewConstant = 3.1456978454;
}  // namespace

void tarko_DX7::open_fullscreen_surfaces(Long Hand, const std::string& Ddraw_GUID, tarko::Integer width,
                                         tarko::Integer height, tarko::Byte bpp) {
    ensure_root();
    ddraw = DX_7->directDrawCreate(Ddraw_GUID);
    ddraw->setCooperativeLevel(Hand, kCoopFullscreen);
    ddraw->setDisplayMode(width, height, bpp, 0, 0);
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_BACKBUFFERCOUNT;
    desc.ddsCaps.lCaps = kPrimaryChainCaps;
    desc.lBackBufferCount = 1;
    Prim = ddraw->createSurface(desc);
    DDSCAPS2 caps;
    caps.lCaps = kBackBufferCaps;
    BAK = Prim->getAttachedSurface(caps);
}

void tarko_DX7::open_windowed_surfaces(Long Hand, const std::string& Ddraw_GUID) {
    ensure_root();
    ddraw = DX_7->directDrawCreate(Ddraw_GUID);
    ddraw->setCooperativeLevel(Hand, dx::DDSCL_NORMAL);
    DDSURFACEDESC2 primary;
    primary.lFlags = dx::DDSD_CAPS;
    primary.ddsCaps.lCaps = dx::DDSCAPS_PRIMARYSURFACE;
    Prim = ddraw->createSurface(primary);
    DX_7->getWindowRect(Hand, WindowRect);
    const Long width = WindowRect.Right - WindowRect.Left;
    const Long height = WindowRect.Bottom - WindowRect.Top;
    DDSURFACEDESC2 back;
    back.lFlags = dx::DDSD_CAPS | dx::DDSD_HEIGHT | dx::DDSD_WIDTH;
    back.ddsCaps.lCaps = kOffscreen3DCaps;
    back.lWidth = width;
    back.lHeight = height;
    BAK = ddraw->createSurface(back);
    BackRect = RECT{0, 0, width, height};
    Clipper = ddraw->createClipper(0);
    Clipper->setHWnd(Hand);
    Prim->setClipper(Clipper);
    WriteLOG("Direct Draw en mode fenetré est activé....", Hand);
}

void tarko_DX7::start_input(Long Hand) {
    ensure_root();
    Dinput = DX_7->directInputCreate();
    Dinput_DEV = Dinput->createDevice("GUID_SysKeyboard");
    Dinput_DEV->setCommonDataFormat(DIFORMAT_KEYBOARD);
    Dinput_DEV->setCooperativeLevel(Hand, kInputCoop);
    Dinput_DEV->acquire();
    MouseDevice = Dinput->createDevice("GUID_SysMouse");
    MouseDevice->setCommonDataFormat(DIFORMAT_MOUSE);
    MouseDevice->setCooperativeLevel(0, kInputCoop);  // the mouse gets handle 0, the keyboard the window
    MouseDevice->acquire();
    Dinput_isINIT = true;
}

void tarko_DX7::start_device(Long Hand, bool extended, const std::string& D3D_GUID) {
    const std::string hal = tarko::platform::kHalGuid;
    const std::string rgb = tarko::platform::kRgbGuid;
    Check_Mouse_cam = true;

    DDSURFACEDESC2 target;
    BAK->getSurfaceDesc(target);
    const Long width = target.lWidth, height = target.lHeight;
    d3d = ddraw->getDirect3D();
    DDSURFACEDESC2 mode;
    ddraw->getDisplayMode(mode);
    if (mode.ddpfPixelFormat.lRGBBitCount <= 8) {
        rt::MsgBox("This application does not support screen display modes lower than 16-bit.");
        return;
    }

    // The walk stops at the first pure depth format; where it ends, found or
    // not, is the format the z-buffer gets.
    auto formats = d3d->getEnumZBufferFormats(extended ? D3D_GUID : hal);
    DDPIXELFORMAT zformat;
    for (Long i = 1; i <= formats->getCount(); ++i) {
        formats->getItem(i, zformat);
        if (zformat.lFlags == dx::DDPF_ZBUFFER) break;
    }
    DDSURFACEDESC2 zdesc;
    zdesc.lFlags = dx::DDSD_CAPS | dx::DDSD_HEIGHT | dx::DDSD_WIDTH | dx::DDSD_PIXELFORMAT;  // 4103
    const bool video = !extended || D3D_GUID == hal;
    zdesc.ddsCaps.lCaps = dx::DDSCAPS_ZBUFFER | (video ? dx::DDSCAPS_VIDEOMEMORY : dx::DDSCAPS_SYSTEMMEMORY);
    zdesc.lWidth = width;
    zdesc.lHeight = height;
    zdesc.ddpfPixelFormat = zformat;
    ZBuffer = ddraw->createSurface(zdesc);
    WriteLOG("Zbuffer trouvé et activé....", Hand);
    BAK->addAttachedSurface(ZBuffer);
    WriteLOG("Zbuffer attaché ....", Hand);

    // From here a failing statement is skipped and the next one runs.
    rt::ResumeNext next;
    next([&] {
        if (!extended) MEMORY = dx::DDSCAPS_VIDEOMEMORY;
    });
    next([&] { D3D_DEV = d3d->createDevice(extended ? D3D_GUID : hal, BAK); });
    next([&] {
        if (!D3D_DEV) {
            D3D_DEV = d3d->createDevice(rgb, BAK);
            if (!extended) MEMORY = dx::DDSCAPS_SYSTEMMEMORY;
        }
    });
    next([&] { WriteLOG("Direct3D activé....", Hand); });
    next([&] {
        ViewportRecord = D3DVIEWPORT7{0, 0, width, height, 0.0f, 1.0f};
        lheight = height;
        lWidth = width;
    });
    next([&] { D3D_DEV->setViewport(ViewportRecord); });
    next([&] {
        WriteLOG("Viewport DE " + rt::Str(width) + " x " + rt::Str(height) + " Activé.....", Hand);
    });
    next([&] { ClearRect = D3DRECT{0, 0, width, height}; });
    next([&] {
        D3DMATERIAL7 material;
        material.diffuse = D3DCOLORVALUE{1.0f, 1.0f, 1.0f, 0.0f};
        material.ambient = material.diffuse;
        material.specular = material.ambient;
        material.emissive = material.ambient;
        material.power = 0.0f;
        D3D_DEV->setMaterial(material);
    });
    next([&] { D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, DX_7->createColorRGBA(1, 1, 1, 1)); });
    next([&] { WriteLOG("matériel de rendu créé et activé....", Hand); });
    next([&] {
        FieldOfView = kFieldOfViewConstant / 4.0;
        FarPlane = extended ? 30000.0f : 10000.0f;
        NearPlane = 1.0f;
    });
    D3DMATRIX projection;
    next([&] { DX_7->identityMatrix(projection); });
    next([&] {
        DX_7->projectionMatrix(projection, NearPlane, FarPlane, static_cast<float>(FieldOfView));
    });
    next([&] { D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection); });
    next([&] { WriteLOG("Matrix de projection activé....", Hand); });
    next([&] { D3D_DEV->setTextureStageState(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE); });
    next([&] { D3D_DEV->setTextureStageState(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE); });
    next([&] { D3D_DEV->setTextureStageState(0, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE); });
    next([&] { D3D_DEV->setTextureStageState(0, dx::D3DTSS_ALPHAOP, dx::D3DTOP_SELECTARG1); });
    next([&] { D3D_DEV->setTextureStageState(0, dx::D3DTSS_ALPHAARG1, dx::D3DTA_TEXTURE); });
    next([&] { D3D_DEV->setTextureStageState(0, dx::D3DTSS_MINFILTER, dx::D3DTFN_LINEAR); });
    next([&] { D3D_DEV->setTextureStageState(0, dx::D3DTSS_MAGFILTER, dx::D3DTFG_LINEAR); });
    next([&] { D3D_DEV->setRenderState(dx::D3DRENDERSTATE_DITHERENABLE, tarko::kTrue); });
    next([&] {
        D3DDEVICEDESC7 caps;
        D3D_DEV->getCaps(caps);
        AlphaTestOK = (caps.dpcTriCaps.lAlphaCmpCaps & dx::D3DPCMPCAPS_GREATEREQUAL) != 0;
    });
    next([&] { WriteLOG("Mélange Alpha autorisé......." + rt::BoolText(AlphaTestOK), Hand); });
    next([&] {
        CamAngle = 0;
        JumpPeak = 50.0f;
        JumpStep = 8.0f;
        NextLightIndex = -1;
    });
}

bool tarko_DX7::Initialize_fullscreen(Long Hand, tarko::Integer width, tarko::Integer Height, tarko::Byte Bpp) {
    open_fullscreen_surfaces(Hand, "", width, Height, Bpp);
    wType = FullScreeen;
    start_input(Hand);
    start_device(Hand, false, "");
    return true;
}

bool tarko_DX7::Initialize_Windowed(Long Hand) {
    open_windowed_surfaces(Hand, "");
    wType = Windowed;
    start_input(Hand);
    WriteLOG("Direct input est activé....", Hand);
    start_device(Hand, false, "");
    return false;
}

bool tarko_DX7::Initialize_EngineEX(Long Hand, const std::string& Ddraw_GUID, const std::string& D3D_GUID,
                                    bool isWindoWED, tarko::Integer Screen_WIDTH, tarko::Integer Screen_HEIGHT,
                                    tarko::Byte ByteBP) {
    MEMORY = D3D_GUID == tarko::platform::kRgbGuid ? dx::DDSCAPS_SYSTEMMEMORY : dx::DDSCAPS_VIDEOMEMORY;
    if (isWindoWED) {
        open_windowed_surfaces(Hand, Ddraw_GUID);
        start_input(Hand);
        WriteLOG("Direct input est activé....", Hand);
        wType = Windowed;
    } else {
        open_fullscreen_surfaces(Hand, Ddraw_GUID, Screen_WIDTH, Screen_HEIGHT, ByteBP);
        WriteLOG("Direct draw fullscreen est initialisé....", Hand);
        wType = FullScreeen;
        start_input(Hand);
        WriteLOG("Direct input est activé....", Hand);
    }
    start_device(Hand, true, D3D_GUID);
    return false;
}
