// Texture descriptions, format tests, name roads and the pixel passes of the
// texture creators.
#include "engine/texture_pipeline.h"

#include <algorithm>
#include <cmath>

#include "images/resample.h"
#include "platform/gdi/gdi.h"
#include "runtime/numeric.h"

namespace tarko::engine::textures {

DDSURFACEDESC2 texture_description(Long width, Long height) {
    DDSURFACEDESC2 desc;
    desc.lFlags = kTextureFlags;
    if (width != 0 && height != 0) {
        desc.lFlags = kSizedTextureFlags;
        desc.lWidth = width;
        desc.lHeight = height;
    }
    desc.lTextureStage = 0;
    return desc;
}

bool passes(const DDPIXELFORMAT& format, FormatTest test) {
    if (format.lFlags & dx::DDPF_FOURCC) return false;
    switch (test) {
    case FormatTest::NoFourCC: return true;
    case FormatTest::Opaque16: return format.lRGBBitCount == 16 && format.lRGBAlphaBitMask == 0;
    case FormatTest::Alpha16: return format.lRGBBitCount == 16 && format.lRGBAlphaBitMask != 0;
    }
    return false;
}

bool walk_formats(const Direct3DEnumPixelFormats& list, DDPIXELFORMAT& format, FormatTest test) {
    const Long count = list.getCount();
    for (Long i = 1; i <= count; ++i) {
        list.getItem(i, format);
        if (passes(format, test)) return true;
    }
    return false;
}

void place(DDSURFACEDESC2& desc, Placement placement) {
    if (placement == Placement::Managed) {
        desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
        desc.ddsCaps.lCaps2 = dx::DDSCAPS2_TEXTUREMANAGE;
    } else {
        desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE | dx::DDSCAPS_SYSTEMMEMORY;
        desc.ddsCaps.lCaps2 = 0;
    }
}

namespace {
// Upper case of the ASCII letters only: the names tested are ASCII, and the
// bytes of other UTF-8 characters must stay as they are.
std::string ascii_upper(std::string s) {
    for (char& c : s)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return s;
}
bool contains(const std::string& s, const char* part) { return s.find(part) != std::string::npos; }
}  // namespace

PictureRoad road_for_name(const std::string& file_name) {
    const std::string upper = ascii_upper(file_name);
    if (contains(upper, "BMP") || contains(upper, "GIF") || contains(upper, "JPG")) return PictureRoad::Picture;
    if (contains(upper, "PCX")) return PictureRoad::Pcx;
    if (contains(file_name, "tga")) return PictureRoad::Tga;
    return PictureRoad::None;
}

bool working_bitmap_allowed(Long width, Long height) {
    const Long stride = runtime::CLng(static_cast<double>((std::int64_t{width} * 3 + 3) & ~std::int64_t{3}));
    runtime::CLng(static_cast<double>(height) * stride);
    return width > 0 && height > 0 && width <= platform::gdi::kMaxBitmapSide &&
           height <= platform::gdi::kMaxBitmapSide &&
           std::int64_t{width} * height <= platform::gdi::kMaxBitmapPixels;
}

const Image& bring_to_size(const Image& picture, Long width, Long height, Image& resampled) {
    if (picture.width == width && picture.height == height) return picture;
    resampled = images::resample_bilinear(picture, width, height);
    return resampled;
}

bool loads_by_stretching(const std::string& file_name) {
    const std::size_t keep = std::min<std::size_t>(3, file_name.size());
    const std::string last = ascii_upper(file_name.substr(file_name.size() - keep));
    return last == "JPG" || last == "GIF";
}

void colour_key_pass(DirectDrawSurface7& surface, const DDSURFACEDESC2& desc, bool white_key) {
    const auto& pf = desc.ddpfPixelFormat;
    const auto rgb_mask = static_cast<std::uint32_t>(pf.lRBitMask | pf.lGBitMask | pf.lBBitMask);
    const auto alpha_mask = static_cast<std::uint32_t>(pf.lRGBAlphaBitMask);
    const std::uint32_t key = white_key ? rgb_mask : 0u;
    DDSURFACEDESC2 locked;
    const RECT area{0, 0, desc.lWidth, desc.lHeight};
    surface.lock(area, locked, dx::DDLOCK_WAIT, 0);
    for (Long y = 0; y < locked.lHeight; ++y)
        for (Long x = 0; x < locked.lWidth; ++x) {
            const auto pixel = static_cast<std::uint32_t>(surface.getLockedPixel(x, y));
            if ((pixel & rgb_mask) != key) surface.setLockedPixel(x, y, static_cast<Long>(pixel | alpha_mask));
        }
    surface.unlock(area);
}

BumpOffset bump_offset(Long x, Long y, Long w, Long h) {
    const double fx = runtime::Div(x, w) - 0.5;
    const double fy = runtime::Div(y, h) - 0.5;
    const double r = std::sqrt(fx * fx + fy * fy);
    const double du = 32.0 * std::cos(300.0 * r) * std::exp(-5.0 * r) + 16.0 * std::cos(150.0 * (fx + fy)) +
                      7.0 * std::cos(140.0 * (0.85 * fx - fy));
    const float dv = runtime::CSng(32.0 * std::sin(300.0 * r) * std::exp(-5.0 * r) +
                                   16.0 * std::sin(150.0 * (fx + fy)) + 7.0 * std::sin(140.0 * (0.85 * fx - fy)));
    return {runtime::CLng(du), runtime::CLng(dv)};
}

void bump_pass(DirectDrawSurface7& surface, const DDSURFACEDESC2& desc, Long w, Long h) {
    DDSURFACEDESC2 locked;
    const RECT area{0, 0, desc.lWidth, desc.lHeight};
    surface.lock(area, locked, dx::DDLOCK_WAIT, 0);
    try {
        for (Long y = 0; y < locked.lHeight; ++y)
            for (Long x = 0; x < locked.lWidth; ++x) {
                const BumpOffset o = bump_offset(x, y, w, h);
                surface.setLockedPixel(x, y, surface.getLockedPixel(o.du, o.dv));
            }
    } catch (...) {
        surface.unlock(area);  // a zero w or h: the surface is not left locked
        throw;
    }
    surface.unlock(area);
}

}  // namespace tarko::engine::textures
