// Texture creators of the engine object: surfaces in a format from the
// device's list, filled from files through the draw object or through device
// contexts, with colour keys, alpha and bump maps.
#include "engine/tarko_dx7.h"

#include <memory>

#include "engine/image_readers/pcx_reader.h"
#include "engine/image_readers/tga_reader.h"
#include "engine/texture_pipeline.h"
#include "images/dib_section.h"
#include "platform/constants.h"
#include "platform/gdi/gdi.h"
#include "platform/image/picture_loader.h"
#include "platform/profile.h"
#include "runtime/errors.h"
#include "runtime/services.h"

using tarko::Long;
using tarko::Ref;
namespace rt = tarko::runtime;
namespace gdi = tarko::platform::gdi;
namespace tx = tarko::engine::textures;

namespace {

// The hardware record's free video memory, as INFO_FreeMemory reads it.
Long free_video_memory(DirectDraw7& draw) {
    DDCAPS hardware, emulation;
    draw.getCaps(hardware, emulation);
    return hardware.lVidMemFree;
}

tx::Placement placement_by_hal_device(const Direct3DDevice7& device) {
    return device.getDeviceGuid() == tarko::platform::kHalGuid ? tx::Placement::Managed : tx::Placement::System;
}

// The picture selected into a memory device context and stretched over the
// whole surface.
void stretch_picture(const gdi::StdPicture& picture, Long picture_width, Long picture_height,
                     DirectDrawSurface7& surface, Long width, Long height) {
    const gdi::HDC memory = gdi::CreateCompatibleDC(0);
    const gdi::HGDIOBJ previous = gdi::SelectObject(memory, picture.Handle());
    const Long target = surface.getDC();
    gdi::StretchBlt(target, 0, 0, width, height, memory, 0, 0, picture_width, picture_height, gdi::SRCCOPY);
    surface.releaseDC(target);
    // Selected back before the DC goes, so the picture can free its bitmap.
    gdi::SelectObject(memory, previous);
    gdi::DeleteDC(memory);
}

}  // namespace

Ref<DirectDrawSurface7> tarko_DX7::CreateTexture(const std::string& sFile, Long WE, Long HE) {
    DDSURFACEDESC2 desc;
    desc.lFlags = tx::kSizedTextureFlags;  // size flags even when no size is set
    if (WE != 0 && HE != 0) {
        desc.lWidth = WE;
        desc.lHeight = HE;
    } else if (sFile.empty() && WE == 0 && HE == 0) {
        desc.lWidth = 256;
        desc.lHeight = 256;
    }
    desc.lTextureStage = 0;
    if (!tx::walk_formats(*D3D_DEV->getTextureFormatsEnum(), desc.ddpfPixelFormat, tx::FormatTest::NoFourCC)) {
        rt::MsgBox("Unable to locate 16-bit surface support on your hardware.");
        return {};
    }
    // Both sides are evaluated: the caps are asked for on every device.
    const bool enough_memory = free_video_memory(*ddraw) >= tx::kManagedMinimumFreeMemory;
    const bool video_device = MEMORY != dx::DDSCAPS_SYSTEMMEMORY;
    tx::place(desc, enough_memory && video_device ? tx::Placement::Managed : tx::Placement::System);

    if (sFile.empty()) return ddraw->createSurface(desc);
    Ref<DirectDrawSurface7> surface;
    if (rt::catch_all([&] { surface = ddraw->createSurfaceFromFile(sFile, desc); })) return surface;
    rt::ResumeNext next;
    next([&] { surface = ddraw->createSurface(desc); });
    return surface;
}

Ref<DirectDrawSurface7> tarko_DX7::CreateTexture_ALPHA(const std::string& sFile, TEXTUREFLAGS extraFlags, Long w,
                                                       Long H) {
    const bool alpha = (extraFlags & 3) != 0;
    DDSURFACEDESC2 desc = tx::texture_description(w, H);
    tx::walk_formats(*D3D_DEV->getTextureFormatsEnum(), desc.ddpfPixelFormat,
                     alpha ? tx::FormatTest::Alpha16 : tx::FormatTest::Opaque16);
    desc.ddpfPixelFormat.lFlags = alpha ? dx::DDPF_RGB | dx::DDPF_ALPHAPIXELS : dx::DDPF_RGB;
    tx::place(desc, placement_by_hal_device(*D3D_DEV));
    Ref<DirectDrawSurface7> surface =
        sFile.empty() ? ddraw->createSurface(desc) : ddraw->createSurfaceFromFile(sFile, desc);
    if (extraFlags == D3DTEXTR_TRANSPARENTBLACK || extraFlags == D3DTEXTR_TRANSPARENTWHITE)
        tx::colour_key_pass(*surface, desc, extraFlags == D3DTEXTR_TRANSPARENTWHITE);
    return surface;
}

Ref<DirectDrawSurface7> tarko_DX7::CreateTexture_BUMPmap(const std::string& sFile, Long w, Long H) {
    DDSURFACEDESC2 desc = tx::texture_description(w, H);
    tx::walk_formats(*D3D_DEV->getTextureFormatsEnum(), desc.ddpfPixelFormat, tx::FormatTest::Opaque16);
    // The pixel format flag alone: the surface creators make a texture of
    // the size the fields hold (a file's size when a file is given).
    desc.lFlags = dx::DDSD_PIXELFORMAT;
    auto& pf = desc.ddpfPixelFormat;
    pf.lFlags = dx::DDPF_BUMPDUDV;
    pf.lBumpBitCount = 16;
    pf.lBumpDuBitMask = 255;
    pf.lBumpDvBitMask = 65280;
    pf.lBumpLuminanceBitMask = 0;
    tx::place(desc, placement_by_hal_device(*D3D_DEV));
    Ref<DirectDrawSurface7> surface =
        sFile.empty() ? ddraw->createSurface(desc) : ddraw->createSurfaceFromFile(sFile, desc);
    tx::bump_pass(*surface, desc, w, H);
    return surface;
}

Ref<DirectDrawSurface7> tarko_DX7::LoadSimpleTexture(const std::string& BitmapFile, Long width, Long Height,
                                                     bool /*TestSquared*/) {
    Ref<DirectDrawSurface7> surface;
    rt::catch_all([&] {
        DDSURFACEDESC2 desc = tx::texture_description(width, Height);
        tx::walk_formats(*D3D_DEV->getTextureFormatsEnum(), desc.ddpfPixelFormat, tx::FormatTest::Opaque16);
        tx::place(desc, D3D_DEV->getDeviceGuid() == tarko::platform::kRgbGuid ? tx::Placement::System
                                                                               : tx::Placement::Managed);
        if (BitmapFile.empty())
            surface = ddraw->createSurface(desc);
        else if (tx::loads_by_stretching(BitmapFile))
            surface = KreateSurfaceFromFile(BitmapFile, desc);
        else
            surface = ddraw->createSurfaceFromFile(BitmapFile, desc);
    });
    return surface;
}

Ref<DirectDrawSurface7> tarko_DX7::KreateSurfaceFromFile(const std::string& filename, DDSURFACEDESC2& SurfaceDesc) {
    Ref<DirectDrawSurface7> result;
    rt::catch_all([&] {
        const auto picture = tarko::platform::LoadPicture(filename);
        const Long picture_width = gdi::himetric_to_pixels(picture->Width());
        const Long picture_height = gdi::himetric_to_pixels(picture->Height());
        if (SurfaceDesc.lFlags == 0) SurfaceDesc.lFlags = dx::DDSD_CAPS;
        SurfaceDesc.lFlags |= dx::DDSD_HEIGHT | dx::DDSD_WIDTH;
        if (SurfaceDesc.ddsCaps.lCaps == 0) SurfaceDesc.ddsCaps.lCaps = dx::DDSCAPS_OFFSCREENPLAIN;
        if (SurfaceDesc.lWidth == 0) SurfaceDesc.lWidth = picture_width;
        if (SurfaceDesc.lHeight == 0) SurfaceDesc.lHeight = picture_height;
        auto surface = ddraw->createSurface(SurfaceDesc);
        stretch_picture(*picture, picture_width, picture_height, *surface, SurfaceDesc.lWidth, SurfaceDesc.lHeight);
        result = surface;
    });
    return result;
}

Ref<DirectDrawSurface7> tarko_DX7::CreateTextureEX(const std::string& filename, Long WI, Long HI) {
    Ref<cDIBSection> bitmap(std::make_shared<cDIBSection>());
    const tx::PictureRoad road = tx::road_for_name(filename);
    switch (road) {
    case tx::PictureRoad::Picture:
        bitmap->CreateFromPicture(tarko::platform::LoadPicture(filename));
        bitmap = bitmap->Resample(WI, HI);
        break;
    case tx::PictureRoad::Pcx:
        bitmap->CreateFromPicture(tarko::engine::LoadPCX(filename));  // Nothing after the reader's message: 91
        bitmap = bitmap->Resample(WI, HI);
        break;
    case tx::PictureRoad::Tga: {
        const auto image = tarko::engine::LoadTGA(filename);
        bitmap->Create(image.width, image.height);
        tarko::engine::DrawTGA(image, bitmap->hDC());
        bitmap = bitmap->Resample(WI, HI);
        break;
    }
    case tx::PictureRoad::None: break;
    }

    // The bitmap's DC is read before the surface's is taken, so that a
    // missing bitmap fails without leaving the surface's DC open.
    Ref<DirectDrawSurface7> surface;
    auto copy_bitmap = [&] {
        const gdi::HDC source = bitmap->hDC();
        const Long target = surface->getDC();
        gdi::BitBlt(target, 0, 0, WI, HI, source, 0, 0, gdi::SRCCOPY);
        surface->releaseDC(target);
    };
    if (road == tx::PictureRoad::Tga) {
        rt::ResumeNext next;
        next([&] { surface = CreateTexture("", WI, HI); });
        next(copy_bitmap);
        return surface;
    }
    surface = CreateTexture("", WI, HI);
    copy_bitmap();
    return surface;
}
