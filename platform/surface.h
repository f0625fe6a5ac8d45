// DirectDrawSurface7: a block of pixels in one pixel format, with the flip
// chain, attachments, blits, text and locked pixel access the engine uses.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/frame.h"
#include "platform/object_ref.h"
#include "platform/pixel_format.h"
#include "platform/records.h"
#include "runtime/numeric.h"

namespace tarko::platform {
struct DisplayState;
class Window;
}  // namespace tarko::platform

class DirectDrawClipper;

class DirectDrawSurface7 : public std::enable_shared_from_this<DirectDrawSurface7> {
public:
    // Made by DirectDraw7::createSurface; `display` is shared with the draw
    // object (cooperative window, display mode).
    DirectDrawSurface7(std::shared_ptr<tarko::platform::DisplayState> display, const DDSURFACEDESC2& desc,
                       const tarko::platform::PixelFormat& format);
    ~DirectDrawSurface7();

    // --- published operations
    // The attached surface whose caps include all of `caps.lCaps`; raises
    // DDERR_NOTFOUND when there is none.
    tarko::Ref<DirectDrawSurface7> getAttachedSurface(const DDSCAPS2& caps);
    void addAttachedSurface(const tarko::Ref<DirectDrawSurface7>& surface);
    void deleteAttachedSurface(const tarko::Ref<DirectDrawSurface7>& surface);
    // Shows the back buffer: swaps the chain's pixels and presents the front
    // to the cooperative window. A lost surface raises DDERR_SURFACELOST.
    void flip(const tarko::Ref<DirectDrawSurface7>& target_override, tarko::Long flags);
    // Stretching copy of srcRect of `source` into destRect (all-zero rectangles
    // mean the whole surface). Returns the status instead of raising. Onto a
    // windowed primary, destRect is in screen coordinates and lands in the
    // clipper's window.
    tarko::Long blt(const RECT& destRect, const tarko::Ref<DirectDrawSurface7>& source, const RECT& srcRect,
                    tarko::Long flags);
    // Fills with a raw pixel value; all-zero rectangle = whole surface.
    tarko::Long bltColorFill(const RECT& destRect, tarko::Long colour);
    void setForeColor(tarko::Long colour);  // a window-system colour: red in the low byte
    tarko::Long getForeColor() const { return fore_colour_; }
    void setFontTransparency(bool transparent) { font_transparent_ = transparent; }
    // Draws UTF-8 text with the built-in 8x13 Latin-1 font, top-left at (x, y),
    // clipped to the surface. The background is left as it is.
    void drawText(tarko::Long x, tarko::Long y, const std::string& text, bool use_current_position);
    void getSurfaceDesc(DDSURFACEDESC2& desc) const;
    void setClipper(const tarko::Ref<DirectDrawClipper>& clipper);
    tarko::Ref<DirectDrawClipper> getClipper() const { return clipper_; }
    void setColorKey(tarko::Long flags, const DDCOLORKEY& key);
    DDCOLORKEY getColorKey(tarko::Long flags) const;
    bool has_color_key() const { return has_colour_key_; }
    // Lock gives the description with lPitch; raw pixel values in the
    // surface's format. Reads outside the surface give 0, writes outside are dropped.
    void lock(const RECT& rect, DDSURFACEDESC2& desc, tarko::Long flags, tarko::Long event);
    tarko::Long getLockedPixel(tarko::Long x, tarko::Long y);
    void setLockedPixel(tarko::Long x, tarko::Long y, tarko::Long value);
    void unlock(const RECT& rect);
    // A window-system device context over the pixels (platform/gdi): drawing
    // into it converts colours to the surface format with alpha bits 0.
    // releaseDC ends it; an unknown handle raises DDERR_INVALIDPARAMS.
    tarko::Long getDC();
    void releaseDC(tarko::Long hdc);
    bool isLost() const { return lost_; }
    void restore() { lost_ = false; }

    // --- for the platform layer and tests
    // Writes queued elsewhere that have not reached these pixels yet (the
    // software device gathers draws): every operation above and every pixel
    // accessor below except pixels() first lets them land, so a lock, blit,
    // flip or read sees, and a write comes after, everything drawn before it.
    // pixels() is the raw store, for the writer itself and for loaders. One
    // writer at a time: a new one settles the one before it; `owner` names it
    // so that only it takes itself off.
    void set_pending_writer(const void* owner, std::function<void()> settle);
    void clear_pending_writer(const void* owner);
    const void* pending_writer() const { return writer_; }
    void settle() const {
        if (settle_) settle_();
    }

    int width() const { return desc_.lWidth; }
    int height() const { return desc_.lHeight; }
    int pitch() const { return pitch_; }
    const tarko::platform::PixelFormat& format() const { return format_; }
    const DDSURFACEDESC2& desc() const { return desc_; }
    tarko::Long caps() const { return desc_.ddsCaps.lCaps; }
    std::uint8_t* pixels() { return pixels_.data(); }
    const std::uint8_t* pixels() const { return pixels_.data(); }
    std::size_t byte_size() const { return pixels_.size(); }
    // Bumped at every write, so that readers (texture caches) can notice change.
    std::uint64_t generation() const { return generation_; }
    void touch() { ++generation_; }

    std::uint32_t raw_at(int x, int y) const;   // caller checks bounds
    void set_raw(int x, int y, std::uint32_t value);
    std::uint32_t argb_at(int x, int y) const;  // through the format
    // The attached z-buffer, or nullptr.
    std::shared_ptr<DirectDrawSurface7> zbuffer() const;
    // The surface's picture as a 32-bit frame (for PNG and presents).
    tarko::platform::Frame to_frame() const;
    // Row y's pixels at columns cols[0..n-1] as 0RGB (alpha cleared), as
    // argb_at gives them; the common formats without a call per pixel.
    void read_rgb_row(int y, const int* cols, int n, std::uint32_t* out) const;

    // Test hooks: a lost surface fails flip and blt; a forced status makes the
    // next blts return it.
    void set_lost(bool lost) { lost_ = lost; }
    void force_blt_status(tarko::Long status) { forced_blt_status_ = status; }

private:
    bool is_windowed_primary() const;
    std::shared_ptr<tarko::platform::Window> target_window() const;
    RECT whole() const { return RECT{0, 0, desc_.lWidth, desc_.lHeight}; }

    std::shared_ptr<tarko::platform::DisplayState> display_;
    DDSURFACEDESC2 desc_;
    tarko::platform::PixelFormat format_;
    int pitch_ = 0;
    std::vector<std::uint8_t> pixels_;
    std::vector<std::shared_ptr<DirectDrawSurface7>> attached_;
    tarko::Ref<DirectDrawClipper> clipper_;
    tarko::Long fore_colour_ = 0;
    bool font_transparent_ = true;
    bool has_colour_key_ = false;
    DDCOLORKEY colour_key_;
    bool locked_ = false;
    bool lost_ = false;
    tarko::Long forced_blt_status_ = 0;
    std::uint64_t generation_ = 0;
    const void* writer_ = nullptr;
    std::function<void()> settle_;
};

class DirectDrawClipper {
public:
    void setHWnd(tarko::Long hwnd);
    tarko::Long getHWnd() const { return hwnd_; }

private:
    tarko::Long hwnd_ = 0;
};
