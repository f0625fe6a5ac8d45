// Host windows addressed by Long handles: an SDL window where a display exists
// and a headless window that keeps its frame in memory. Both show what the
// engine presents and can write it out as PNG.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/frame.h"
#include "platform/records.h"
#include "runtime/numeric.h"

namespace tarko::platform {


class Window {
public:
    virtual ~Window() = default;

    // getWindowRect: the client area in screen coordinates (right, bottom exclusive).
    virtual RECT client_rect_on_screen() const = 0;
    // Bits per pixel of the display the window is on, as getDisplayMode reports it.
    virtual int display_depth() const = 0;
    virtual void set_display_mode(int width, int height, int bits) = 0;
    virtual void restore_display_mode() = 0;
    virtual bool has_display() const = 0;

    // Copies `frame` into the client area with its top-left at (x, y) in client
    // coordinates (clipped), then shows the result.
    virtual void present(const Frame& frame, int x, int y) = 0;
    // What the client area shows now.
    const Frame& frame() const { return frame_; }

    virtual void set_title(const std::string& title) = 0;
    // Hides or shows the window (a form hides before it unloads).
    virtual void set_visible(bool) {}
    // The window system's id of the window, 0 when it has none.
    virtual std::uint32_t system_id() const { return 0; }

protected:
    void resize_frame(int width, int height);
    void blit_into_frame(const Frame& source, int x, int y);
    Frame frame_;
};

// Off-screen window: position, size and display depth are set by the host or
// a test; resizing takes effect at once.
class HeadlessWindow final : public Window {
public:
    HeadlessWindow(int width, int height, int display_bits = 32, int left = 0, int top = 0);

    RECT client_rect_on_screen() const override;
    int display_depth() const override { return display_bits_; }
    void set_display_mode(int width, int height, int bits) override;
    void restore_display_mode() override;
    bool has_display() const override { return false; }
    void present(const Frame& frame, int x, int y) override;
    void set_title(const std::string& title) override { title_ = title; }

    void resize(int width, int height);
    void move_to(int left, int top) { left_ = left; top_ = top; }
    void set_display_depth(int bits) { display_bits_ = bits; desktop_bits_ = bits; }
    int presents() const { return presents_; }
    const std::string& title() const { return title_; }

private:
    int left_, top_, width_, height_;
    int display_bits_, desktop_bits_;
    int presents_ = 0;
    std::string title_;
};

// Window handles. Handle 0 is never a window.
class WindowRegistry {
public:
    Long add(std::shared_ptr<Window> window);
    void remove(Long handle);
    // The window of a handle; an unknown handle raises DDERR_INVALIDPARAMS.
    std::shared_ptr<Window> get(Long handle) const;
    std::shared_ptr<Window> find(Long handle) const;  // nullptr when unknown

private:
    std::vector<std::pair<Long, std::shared_ptr<Window>>> windows_;
    Long next_ = 0x10000;
};

WindowRegistry& windows();

// Makes a headless window and returns its handle.
Long create_headless_window(int width, int height, int display_bits = 32);
// Makes an SDL window (shown, not resizable by default) and returns its handle;
// raises DDERR_GENERIC when no display can be opened.
Long create_sdl_window(const std::string& title, int width, int height, bool resizable = false);
// True when SDL can open a video display here.
bool display_available();
// Pumps SDL events into the input state; returns false once the user asked to
// close a window. Without SDL video it does nothing and returns true.
bool pump_events();

// Writes a frame as an RGB PNG; returns false when the file cannot be written.
bool write_png(const Frame& frame, const std::string& path);

}  // namespace tarko::platform
