// DirectDraw7: cooperative level, display mode, surface creation, caps and the
// enumerations of display modes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/object_ref.h"
#include "platform/profile.h"
#include "platform/records.h"
#include "platform/surface.h"
#include "runtime/numeric.h"

class Direct3D7;

namespace tarko::platform {

// Shared by a draw object and its surfaces: which window presents, and the
// display mode in force.
struct DisplayState {
    Long hwnd = 0;             // from setCooperativeLevel
    Long cooperative_flags = 0;
    int mode_width = 0, mode_height = 0, mode_bits = 0;  // 0: the desktop's own
    std::string driver_guid;
};

}  // namespace tarko::platform

class DirectDrawEnumModes {
public:
    explicit DirectDrawEnumModes(std::vector<tarko::platform::DisplayMode> modes) : modes_(std::move(modes)) {}
    tarko::Long getCount() const { return static_cast<tarko::Long>(modes_.size()); }
    // 1-based; fills lWidth, lHeight and the pixel format's bit count.
    void getItem(tarko::Long index, DDSURFACEDESC2& desc) const;

private:
    std::vector<tarko::platform::DisplayMode> modes_;
};

class DirectDraw7 : public std::enable_shared_from_this<DirectDraw7> {
public:
    explicit DirectDraw7(std::string driver_guid);

    void setCooperativeLevel(tarko::Long hwnd, tarko::Long flags);
    void setDisplayMode(tarko::Long width, tarko::Long height, tarko::Long bpp, tarko::Long refresh, tarko::Long flags);
    void restoreDisplayMode();
    // Primary (flip chain with DDSD_BACKBUFFERCOUNT), off-screen, texture or
    // z-buffer surface, as the description asks. Zero or negative sizes and
    // unknown formats raise DDERR_INVALIDPARAMS.
    tarko::Ref<DirectDrawSurface7> createSurface(DDSURFACEDESC2& desc);
    // Decodes a BMP, GIF or JPG file into a new surface; the description's size
    // fields are set to the picture's size when it gives none.
    tarko::Ref<DirectDrawSurface7> createSurfaceFromFile(const std::string& file, DDSURFACEDESC2& desc);
    tarko::Ref<DirectDrawClipper> createClipper(tarko::Long flags);
    tarko::Ref<Direct3D7> getDirect3D();
    void getDisplayMode(DDSURFACEDESC2& desc) const;
    tarko::Ref<DirectDrawEnumModes> getDisplayModesEnum(tarko::Long flags, const DDSURFACEDESC2& desc) const;
    void getCaps(DDCAPS& hardware, DDCAPS& emulation) const;
    tarko::Long getFreeMem(const DDSCAPS2& caps) const;

    const std::shared_ptr<tarko::platform::DisplayState>& display() const { return display_; }
    // The pixel format of the display now (16 or 32 bits).
    tarko::platform::PixelFormat display_format() const;
    int display_bits() const;

private:
    std::shared_ptr<tarko::platform::DisplayState> display_;
};
