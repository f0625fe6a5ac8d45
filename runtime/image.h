// The one picture type that decoders produce and textures, DIB sections and
// height maps consume: width, height and 32-bit pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "runtime/byte_reader.h"

namespace tarko {

// Pixels are 0xAARRGGBB (B, G, R, A in memory on a little-endian machine, as
// a 32-bit DIB section and an A8R8G8B8 surface hold them), rows top to
// bottom, no padding. Formats without alpha give 0xFF.
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;

    Image() = default;
    Image(int w, int h, std::uint32_t fill = 0xFF000000u)
        : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), fill) {}

    bool empty() const { return width <= 0 || height <= 0; }
    std::uint32_t& at(int x, int y) { return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)]; }
    std::uint32_t at(int x, int y) const { return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)]; }
};

// Every picture decoder refuses a picture with a side above kMaxImageSide or
// more than kMaxImagePixels pixels (256 MB of decoded pixels), before it
// allocates them.
inline constexpr int kMaxImageSide = 16384;
inline constexpr std::int64_t kMaxImagePixels = std::int64_t{1} << 26;

inline bool image_size_allowed(std::int64_t width, std::int64_t height) {
    return width > 0 && height > 0 && width <= kMaxImageSide && height <= kMaxImageSide &&
           width * height <= kMaxImagePixels;
}

// A picture refused for its size alone, so that a caller can tell "too large"
// from "damaged" when the system gives them different numbers.
class ImageTooLarge : public io::ParseError {
public:
    using io::ParseError::ParseError;
};

// Throws ImageTooLarge (at `offset`, where the size is stored) unless a
// width x height picture is allowed and has at most `max_pixels` pixels.
inline void check_image_size(std::int64_t width, std::int64_t height, std::size_t offset,
                             std::int64_t max_pixels = kMaxImagePixels) {
    if (!image_size_allowed(width, height) || width * height > max_pixels)
        throw ImageTooLarge("picture of " + std::to_string(width) + " x " + std::to_string(height) +
                                " pixels is past the limit",
                            offset);
}

}  // namespace tarko
