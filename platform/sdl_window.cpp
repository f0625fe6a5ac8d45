// SDL windows, the event pump that feeds the input state, and message boxes
// on the display.
#include <SDL.h>

#include <cstdlib>

#include "platform/input.h"
#include "platform/status.h"
#include "platform/window.h"
#include "runtime/services.h"

namespace tarko::platform {
namespace {

bool video_ready = false;

bool init_video() {
    if (video_ready) return true;
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) return false;
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) return false;
    video_ready = true;
    // Where a display exists, message boxes and DoEvents go to SDL unless the
    // host installed its own.
    auto previous = runtime::set_message_box_handler(nullptr);
    if (!previous) {
        previous = [](const MessageBoxRequest& r) {
            const Uint32 flags = (r.style & 48) == 48 ? SDL_MESSAGEBOX_WARNING
                                 : (r.style & 16)     ? SDL_MESSAGEBOX_ERROR
                                                      : SDL_MESSAGEBOX_INFORMATION;
            if (SDL_ShowSimpleMessageBox(flags, r.caption.c_str(), r.text.c_str(), nullptr) != 0)
                SDL_Log("[%s] %s", r.caption.c_str(), r.text.c_str());
        };
    }
    runtime::set_message_box_handler(previous);
    auto pump = runtime::set_pump(nullptr);
    if (!pump) pump = [] { pump_events(); };
    runtime::set_pump(pump);
    return true;
}

class SdlWindow final : public Window {
public:
    SdlWindow(const std::string& title, int width, int height, bool resizable) {
        window_ = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width, height,
                                   SDL_WINDOW_SHOWN | (resizable ? SDL_WINDOW_RESIZABLE : 0));
        if (!window_) fail(DDERR_GENERIC, std::string("SDL_CreateWindow: ") + SDL_GetError());
        resize_frame(width, height);
        SDL_DisplayMode mode;
        desktop_bits_ = SDL_GetDesktopDisplayMode(0, &mode) == 0 ? SDL_BITSPERPIXEL(mode.format) : 32;
        if (desktop_bits_ == 24) desktop_bits_ = 32;  // 24-bit desktops are 32 bits a pixel in memory
        display_bits_ = desktop_bits_;
    }
    ~SdlWindow() override {
        if (window_) SDL_DestroyWindow(window_);
    }

    RECT client_rect_on_screen() const override {
        int x = 0, y = 0, w = 0, h = 0;
        SDL_GetWindowPosition(window_, &x, &y);
        SDL_GetWindowSize(window_, &w, &h);
        return RECT{x, y, x + w, y + h};
    }
    int display_depth() const override { return display_bits_; }
    void set_display_mode(int width, int height, int bits) override {
        // The mode is emulated: the window takes the mode's size at the screen's origin.
        SDL_SetWindowSize(window_, width, height);
        SDL_SetWindowPosition(window_, 0, 0);
        display_bits_ = bits;
        resize_frame(width, height);
    }
    void restore_display_mode() override { display_bits_ = desktop_bits_; }
    bool has_display() const override { return true; }
    void present(const Frame& frame, int x, int y) override {
        int w = 0, h = 0;
        SDL_GetWindowSize(window_, &w, &h);
        resize_frame(w, h);
        blit_into_frame(frame, x, y);
        SDL_Surface* surface = SDL_GetWindowSurface(window_);
        if (!surface) return;
        SDL_Surface* src = SDL_CreateRGBSurfaceWithFormatFrom(frame_.pixels.data(), frame_.width, frame_.height, 32,
                                                              frame_.width * 4, SDL_PIXELFORMAT_XRGB8888);
        if (src) {
            SDL_BlitSurface(src, nullptr, surface, nullptr);
            SDL_FreeSurface(src);
        }
        SDL_UpdateWindowSurface(window_);
    }
    void set_title(const std::string& title) override { SDL_SetWindowTitle(window_, title.c_str()); }
    void set_visible(bool visible) override { visible ? SDL_ShowWindow(window_) : SDL_HideWindow(window_); }
    std::uint32_t system_id() const override { return SDL_GetWindowID(window_); }

private:
    SDL_Window* window_ = nullptr;
    int desktop_bits_ = 32, display_bits_ = 32;
};

}  // namespace

bool display_available() { return init_video(); }

Long create_sdl_window(const std::string& title, int width, int height, bool resizable) {
    if (width <= 0 || height <= 0) fail(DDERR_INVALIDPARAMS, "create_sdl_window");
    if (!init_video()) fail(DDERR_GENERIC, "no display to open a window on");
    return windows().add(std::make_shared<SdlWindow>(title, width, height, resizable));
}

bool pump_events() {
    if (!video_ready) return true;
    auto& input = input_state();
    SDL_Event e;
    while (SDL_PollEvent(&e)) {
        switch (e.type) {
        case SDL_QUIT: input.quit_requested = true; break;
        case SDL_KEYDOWN:
        case SDL_KEYUP: {
            const int code = scan_code_from_sdl(e.key.keysym.scancode);
            if (code) input.press_key(code, e.type == SDL_KEYDOWN);
            break;
        }
        case SDL_MOUSEMOTION: input.move_mouse(e.motion.xrel, e.motion.yrel); break;
        case SDL_MOUSEWHEEL: input.move_mouse(0, 0, 120LL * e.wheel.y); break;
        case SDL_MOUSEBUTTONDOWN:
        case SDL_MOUSEBUTTONUP: {
            // Left, right, middle, fourth: the button order of the mouse state.
            const int index = e.button.button == SDL_BUTTON_LEFT ? 0 : e.button.button == SDL_BUTTON_RIGHT ? 1
                              : e.button.button == SDL_BUTTON_MIDDLE ? 2 : 3;
            input.buttons[static_cast<std::size_t>(index)] = e.type == SDL_MOUSEBUTTONDOWN ? 0x80 : 0;
            const int vk = index == 0 ? 1 : index == 1 ? 2 : index == 2 ? 4 : 5;
            input.vk_down[static_cast<std::size_t>(vk)] = e.type == SDL_MOUSEBUTTONDOWN;
            if (e.type == SDL_MOUSEBUTTONDOWN) input.vk_pressed[static_cast<std::size_t>(vk)] = true;
            break;
        }
        default: break;
        }
    }
    int x = 0, y = 0;
    SDL_GetGlobalMouseState(&x, &y);
    input.cursor_x = x;
    input.cursor_y = y;
    return !input.quit_requested;
}

void warp_cursor(int x, int y) {
    if (video_ready) SDL_WarpMouseGlobal(x, y);
}

}  // namespace tarko::platform
