// Window registry, the headless window and PNG and BMP output.
#include "platform/window.h"

#include <algorithm>

#include "platform/picture_write.h"
#include "platform/status.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STBI_WRITE_NO_STDIO_UNUSED
#include <stb_image_write.h>

namespace tarko::platform {

void Window::resize_frame(int width, int height) {
    if (width == frame_.width && height == frame_.height) return;
    Frame resized;
    resized.width = std::max(0, width);
    resized.height = std::max(0, height);
    resized.pixels.assign(static_cast<std::size_t>(resized.width) * static_cast<std::size_t>(resized.height), 0);
    for (int y = 0; y < std::min(resized.height, frame_.height); ++y)
        for (int x = 0; x < std::min(resized.width, frame_.width); ++x)
            resized.pixels[static_cast<std::size_t>(y) * resized.width + x] = frame_.at(x, y);
    frame_ = std::move(resized);
}

void Window::blit_into_frame(const Frame& source, int x, int y) {
    const int sx0 = std::max(0, -x), sx1 = std::min(source.width, frame_.width - x);
    if (sx0 >= sx1) return;
    for (int sy = std::max(0, -y); sy < std::min(source.height, frame_.height - y); ++sy)
        std::copy_n(source.pixels.data() + static_cast<std::size_t>(sy) * source.width + sx0, sx1 - sx0,
                    frame_.pixels.data() + static_cast<std::size_t>(y + sy) * frame_.width + (x + sx0));
}

HeadlessWindow::HeadlessWindow(int width, int height, int display_bits, int left, int top)
    : left_(left), top_(top), width_(width), height_(height), display_bits_(display_bits), desktop_bits_(display_bits) {
    resize_frame(width, height);
}

RECT HeadlessWindow::client_rect_on_screen() const { return RECT{left_, top_, left_ + width_, top_ + height_}; }

void HeadlessWindow::set_display_mode(int width, int height, int bits) {
    // Full screen: the window covers the whole mode from the screen's origin.
    left_ = top_ = 0;
    width_ = width;
    height_ = height;
    display_bits_ = bits;
    resize_frame(width, height);
}

void HeadlessWindow::restore_display_mode() { display_bits_ = desktop_bits_; }

void HeadlessWindow::present(const Frame& frame, int x, int y) {
    blit_into_frame(frame, x, y);
    ++presents_;
}

void HeadlessWindow::resize(int width, int height) {
    width_ = width;
    height_ = height;
    resize_frame(width, height);
}

Long WindowRegistry::add(std::shared_ptr<Window> window) {
    const Long handle = next_;
    next_ += 4;
    windows_.emplace_back(handle, std::move(window));
    return handle;
}

void WindowRegistry::remove(Long handle) {
    std::erase_if(windows_, [handle](const auto& e) { return e.first == handle; });
}

std::shared_ptr<Window> WindowRegistry::find(Long handle) const {
    for (const auto& [h, w] : windows_)
        if (h == handle) return w;
    return nullptr;
}

std::shared_ptr<Window> WindowRegistry::get(Long handle) const {
    auto w = find(handle);
    if (!w) fail(DDERR_INVALIDPARAMS, "window handle " + std::to_string(handle));
    return w;
}

WindowRegistry& windows() {
    static WindowRegistry registry;
    return registry;
}

Long create_headless_window(int width, int height, int display_bits) {
    if (width < 0 || height < 0) fail(DDERR_INVALIDPARAMS, "create_headless_window");
    return windows().add(std::make_shared<HeadlessWindow>(width, height, display_bits));
}

namespace {

std::vector<std::uint8_t> rgb_bytes(const Frame& frame) {
    std::vector<std::uint8_t> rgb(static_cast<std::size_t>(frame.width) * static_cast<std::size_t>(frame.height) * 3);
    for (std::size_t i = 0; i < frame.pixels.size() && i * 3 < rgb.size(); ++i) {
        rgb[i * 3 + 0] = static_cast<std::uint8_t>(frame.pixels[i] >> 16);
        rgb[i * 3 + 1] = static_cast<std::uint8_t>(frame.pixels[i] >> 8);
        rgb[i * 3 + 2] = static_cast<std::uint8_t>(frame.pixels[i]);
    }
    return rgb;
}

}  // namespace

bool write_png(const Frame& frame, const std::string& path) {
    if (frame.width <= 0 || frame.height <= 0) return false;
    const auto rgb = rgb_bytes(frame);
    return stbi_write_png(path.c_str(), frame.width, frame.height, 3, rgb.data(), frame.width * 3) != 0;
}

bool write_bmp(const Frame& frame, const std::string& path) {
    if (frame.width <= 0 || frame.height <= 0) return false;
    const auto rgb = rgb_bytes(frame);
    return stbi_write_bmp(path.c_str(), frame.width, frame.height, 3, rgb.data()) != 0;
}

}  // namespace tarko::platform
