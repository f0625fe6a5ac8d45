// The draw object: cooperative level, display modes and surface creation.
#include "platform/ddraw.h"

#include <algorithm>

#include "platform/constants.h"
#include "platform/d3d/direct3d.h"
#include "platform/status.h"
#include "platform/trace.h"
#include "platform/window.h"

using tarko::Long;
namespace platform = tarko::platform;

namespace {
constexpr int kMaxSurfaceSide = 16384;

platform::PixelFormat palette8() {
    DDPIXELFORMAT pf;
    pf.lFlags = 0x20;  // DDPF_PALETTEINDEXED8
    pf.lRGBBitCount = 8;
    return platform::PixelFormat(pf);
}
}  // namespace

void DirectDrawEnumModes::getItem(Long index, DDSURFACEDESC2& desc) const {
    if (index < 1 || index > getCount()) platform::fail(platform::DDERR_INVALIDPARAMS, "getItem");
    const auto& m = modes_[static_cast<std::size_t>(index - 1)];
    desc = DDSURFACEDESC2{};
    desc.lFlags = dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.lWidth = m.width;
    desc.lHeight = m.height;
    desc.ddpfPixelFormat = platform::PixelFormat::rgb_of_depth(m.bits).dd();
    desc.ddpfPixelFormat.lRGBBitCount = m.bits;
}

DirectDraw7::DirectDraw7(std::string driver_guid) : display_(std::make_shared<platform::DisplayState>()) {
    display_->driver_guid = std::move(driver_guid);
}

void DirectDraw7::setCooperativeLevel(Long hwnd, Long flags) {
    platform::record("DirectDraw7", "setCooperativeLevel", hwnd, flags);
    if (hwnd != 0) platform::windows().get(hwnd);  // an unknown handle raises
    if ((flags & dx::DDSCL_FULLSCREEN) && !(flags & dx::DDSCL_EXCLUSIVE))
        platform::fail(platform::DDERR_INVALIDPARAMS, "setCooperativeLevel");
    display_->hwnd = hwnd;
    display_->cooperative_flags = flags;
}

void DirectDraw7::setDisplayMode(Long width, Long height, Long bpp, Long refresh, Long flags) {
    platform::record("DirectDraw7", "setDisplayMode", width, height, bpp, refresh, flags);
    if (width <= 0 || height <= 0 || width > kMaxSurfaceSide || height > kMaxSurfaceSide ||
        (bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32))
        platform::fail(platform::DDERR_INVALIDMODE, "setDisplayMode");
    auto window = platform::windows().find(display_->hwnd);
    if (!window || !(display_->cooperative_flags & dx::DDSCL_EXCLUSIVE))
        platform::fail(platform::DDERR_NOCOOPERATIVELEVELSET, "setDisplayMode");
    window->set_display_mode(width, height, bpp);
    display_->mode_width = width;
    display_->mode_height = height;
    display_->mode_bits = bpp;
}

void DirectDraw7::restoreDisplayMode() {
    platform::record("DirectDraw7", "restoreDisplayMode");
    if (auto window = platform::windows().find(display_->hwnd)) window->restore_display_mode();
    display_->mode_width = display_->mode_height = display_->mode_bits = 0;
}

int DirectDraw7::display_bits() const {
    if (display_->mode_bits) return display_->mode_bits;
    if (auto window = platform::windows().find(display_->hwnd)) return window->display_depth();
    return 32;
}

platform::PixelFormat DirectDraw7::display_format() const {
    const int bits = display_bits();
    return bits <= 8 ? palette8() : platform::PixelFormat::rgb_of_depth(bits);
}

tarko::Ref<DirectDrawSurface7> DirectDraw7::createSurface(DDSURFACEDESC2& desc) {
    platform::record("DirectDraw7", "createSurface", desc.lFlags, desc.ddsCaps.lCaps, desc.lWidth, desc.lHeight);
    const Long caps = (desc.lFlags & dx::DDSD_CAPS) ? desc.ddsCaps.lCaps : 0;

    if (caps & dx::DDSCAPS_PRIMARYSURFACE) {
        auto window = platform::windows().find(display_->hwnd);
        if (!window) platform::fail(platform::DDERR_NOCOOPERATIVELEVELSET, "createSurface");
        const RECT r = window->client_rect_on_screen();
        DDSURFACEDESC2 d = desc;
        d.lWidth = display_->mode_width ? display_->mode_width : r.Right - r.Left;
        d.lHeight = display_->mode_height ? display_->mode_height : r.Bottom - r.Top;
        d.lFlags |= dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
        const bool chain = (caps & dx::DDSCAPS_FLIP) && (desc.lFlags & dx::DDSD_BACKBUFFERCOUNT);
        if (chain && (d.lWidth <= 0 || d.lHeight <= 0)) platform::fail(platform::DDERR_INVALIDPARAMS, "createSurface");
        auto primary = std::make_shared<DirectDrawSurface7>(display_, d, display_format());
        if (chain) {
            for (Long i = 0; i < std::max<Long>(1, desc.lBackBufferCount); ++i) {
                DDSURFACEDESC2 b = d;
                b.ddsCaps.lCaps = dx::DDSCAPS_BACKBUFFER | (caps & (dx::DDSCAPS_3DDEVICE | dx::DDSCAPS_FLIP |
                                                                    dx::DDSCAPS_COMPLEX | dx::DDSCAPS_VIDEOMEMORY));
                primary->addAttachedSurface(
                    tarko::Ref<DirectDrawSurface7>(std::make_shared<DirectDrawSurface7>(display_, b, display_format())));
            }
        }
        desc = primary->desc();
        return tarko::Ref<DirectDrawSurface7>(primary);
    }

    // A description without caps (a bump map carries the pixel format flag
    // alone) takes the size its fields hold.
    if (!(desc.lFlags & dx::DDSD_CAPS) && desc.lWidth > 0 && desc.lHeight > 0)
        desc.lFlags |= dx::DDSD_WIDTH | dx::DDSD_HEIGHT;
    if (!(desc.lFlags & dx::DDSD_WIDTH) || !(desc.lFlags & dx::DDSD_HEIGHT) || desc.lWidth <= 0 ||
        desc.lHeight <= 0 || desc.lWidth > kMaxSurfaceSide || desc.lHeight > kMaxSurfaceSide)
        platform::fail(platform::DDERR_INVALIDPARAMS, "createSurface");

    platform::PixelFormat format = display_format();
    if (desc.lFlags & dx::DDSD_PIXELFORMAT) {
        format = platform::PixelFormat(desc.ddpfPixelFormat);
        if (!format.valid()) platform::fail(platform::DDERR_INVALIDPARAMS, "createSurface");
    } else if (caps & dx::DDSCAPS_ZBUFFER) {
        platform::fail(platform::DDERR_INVALIDPARAMS, "createSurface");
    }
    DDSURFACEDESC2 d = desc;
    if (!(desc.lFlags & dx::DDSD_CAPS)) {
        // A description without caps still makes a texture.
        d.lFlags |= dx::DDSD_CAPS;
        d.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    }
    d.lFlags |= dx::DDSD_PIXELFORMAT | dx::DDSD_PITCH;
    auto surface = std::make_shared<DirectDrawSurface7>(display_, d, format);
    desc = surface->desc();
    return tarko::Ref<DirectDrawSurface7>(surface);
}

tarko::Ref<DirectDrawClipper> DirectDraw7::createClipper(Long flags) {
    platform::record("DirectDraw7", "createClipper", flags);
    return tarko::Ref<DirectDrawClipper>(std::make_shared<DirectDrawClipper>());
}

tarko::Ref<Direct3D7> DirectDraw7::getDirect3D() {
    platform::record("DirectDraw7", "getDirect3D");
    return tarko::Ref<Direct3D7>(std::make_shared<Direct3D7>());
}

void DirectDraw7::getDisplayMode(DDSURFACEDESC2& desc) const {
    platform::record("DirectDraw7", "getDisplayMode");
    desc = DDSURFACEDESC2{};
    desc.lFlags = dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    if (display_->mode_bits) {
        desc.lWidth = display_->mode_width;
        desc.lHeight = display_->mode_height;
    } else if (auto window = platform::windows().find(display_->hwnd)) {
        const RECT r = window->client_rect_on_screen();
        desc.lWidth = r.Right;
        desc.lHeight = r.Bottom;
    }
    desc.ddpfPixelFormat = display_format().dd();
    desc.ddpfPixelFormat.lRGBBitCount = display_bits();
}

tarko::Ref<DirectDrawEnumModes> DirectDraw7::getDisplayModesEnum(Long flags, const DDSURFACEDESC2&) const {
    platform::record("DirectDraw7", "getDisplayModesEnum", flags);
    return tarko::Ref<DirectDrawEnumModes>(std::make_shared<DirectDrawEnumModes>(platform::profile().display_modes));
}

void DirectDraw7::getCaps(DDCAPS& hardware, DDCAPS& emulation) const {
    platform::record("DirectDraw7", "getCaps");
    hardware = platform::profile().draw_caps;
    emulation = DDCAPS{};
}

Long DirectDraw7::getFreeMem(const DDSCAPS2& caps) const {
    platform::record("DirectDraw7", "getFreeMem", caps.lCaps);
    return static_cast<Long>(std::clamp<long long>(platform::profile().free_video_memory, 0, INT32_MAX));
}
