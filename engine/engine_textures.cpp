// Texture creators of the engine object: surfaces in a format from the
// device's list, filled from files through the draw object or straight from
// the decoded picture, with colour keys, alpha and bump maps.
#include "engine/tarko_dx7.h"

#include <cstdint>
#include <memory>

#include "engine/image_readers/pcx_reader.h"
#include "engine/image_readers/tga_reader.h"
#include "engine/texture_pipeline.h"
#include "platform/constants.h"
#include "platform/gdi/gdi.h"
#include "platform/image/picture_loader.h"
#include "platform/image/to_surface.h"
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
        const tarko::Image picture = tarko::platform::image::load_picture_image(filename);
        // The picture's HiMetric size read back in pixels, as the runtime gives it.
        const Long picture_width = gdi::himetric_to_pixels(gdi::pixels_to_himetric(picture.width));
        const Long picture_height = gdi::himetric_to_pixels(gdi::pixels_to_himetric(picture.height));
        if (SurfaceDesc.lFlags == 0) SurfaceDesc.lFlags = dx::DDSD_CAPS;
        SurfaceDesc.lFlags |= dx::DDSD_HEIGHT | dx::DDSD_WIDTH;
        if (SurfaceDesc.ddsCaps.lCaps == 0) SurfaceDesc.ddsCaps.lCaps = dx::DDSCAPS_OFFSCREENPLAIN;
        if (SurfaceDesc.lWidth == 0) SurfaceDesc.lWidth = picture_width;
        if (SurfaceDesc.lHeight == 0) SurfaceDesc.lHeight = picture_height;
        auto surface = ddraw->createSurface(SurfaceDesc);
        tarko::platform::image::stretch_to_surface(picture, *surface);
        result = surface;
    });
    return result;
}

// A picture reaches the texture in its own pixels: decoded (or as the PCX
// picture's bitmap holds it), resampled only when the size differs, and
// converted once into the surface's format.
Ref<DirectDrawSurface7> tarko_DX7::CreateTextureEX(const std::string& filename, Long WI, Long HI) {
    const tx::PictureRoad road = tx::road_for_name(filename);
    tarko::Image decoded;
    const tarko::Image* picture = &decoded;
    Ref<gdi::StdPicture> pcx;  // holds the bitmap `picture` points into
    switch (road) {
    case tx::PictureRoad::Picture: decoded = tarko::platform::image::load_picture_image(filename); break;
    case tx::PictureRoad::Pcx:
        pcx = tarko::engine::LoadPCX(filename);  // Nothing after the reader's message: 91
        if (const tarko::Image* held = gdi::bitmap_image(pcx->Handle())) picture = held;
        break;
    case tx::PictureRoad::Tga: decoded = tarko::images::tga::read_image_file(filename); break;
    case tx::PictureRoad::None: picture = nullptr; break;  // an empty bitmap: nothing is copied
    }
    // A size the working bitmap cannot take leaves it Nothing: 91 at the copy.
    const bool sized = !picture || tx::working_bitmap_allowed(WI, HI);
    tarko::Image resampled;
    const tarko::Image* pixels = picture && sized ? &tx::bring_to_size(*picture, WI, HI, resampled) : nullptr;

    Ref<DirectDrawSurface7> surface;
    auto copy_picture = [&] {
        if (!sized) tarko::raise_error(tarko::err::ObjectNotSet);
        DirectDrawSurface7& target = *surface;
        if (pixels) tarko::platform::image::copy_to_surface(*pixels, target);
    };
    if (road == tx::PictureRoad::Tga) {
        rt::ResumeNext next;
        next([&] { surface = CreateTexture("", WI, HI); });
        next(copy_picture);
        return surface;
    }
    surface = CreateTexture("", WI, HI);
    copy_picture();
    return surface;
}
