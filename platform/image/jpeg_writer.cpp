// Test JPEGs: encoded by libjpeg-turbo, decoded for reference by stb_image.
#include "platform/image/jpeg_writer.h"

#include <cstdlib>
#include <memory>

#include "platform/image/jpeg_encode.h"

#define STBI_NO_STDIO
#define STBI_ONLY_JPEG
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace tarko::platform::image {

std::vector<std::uint8_t> encode_jpeg(int width, int height, std::span<const std::uint32_t> pixels, int quality,
                                      JpegKind kind) {
    if (width <= 0 || height <= 0 || pixels.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        return {};
    const int components = kind == JpegKind::Grey ? 1 : (kind == JpegKind::Cmyk || kind == JpegKind::CmykAdobe) ? 4 : 3;
    std::vector<std::uint8_t> samples;
    samples.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * components);
    for (std::size_t i = 0; i < static_cast<std::size_t>(width) * static_cast<std::size_t>(height); ++i) {
        const std::uint32_t p = pixels[i];
        if (components == 1) samples.push_back(static_cast<std::uint8_t>(p >> 8));
        if (components == 3)
            samples.insert(samples.end(), {static_cast<std::uint8_t>(p >> 16), static_cast<std::uint8_t>(p >> 8),
                                           static_cast<std::uint8_t>(p)});
        if (components == 4)
            samples.insert(samples.end(), {static_cast<std::uint8_t>(p >> 24), static_cast<std::uint8_t>(p >> 16),
                                           static_cast<std::uint8_t>(p >> 8), static_cast<std::uint8_t>(p)});
    }
    std::uint8_t* out = nullptr;
    unsigned long size = 0;
    if (tarko_jpeg_encode(samples.data(), width, height, components, quality, kind == JpegKind::Progressive,
                          kind == JpegKind::CmykAdobe, &out, &size) != 0)
        return {};
    std::unique_ptr<std::uint8_t, decltype(&std::free)> owned(out, &std::free);
    return std::vector<std::uint8_t>(out, out + size);
}

Image reference_decode_jpeg(std::span<const std::uint8_t> bytes) {
    int w = 0, h = 0, n = 0;
    std::unique_ptr<stbi_uc, decltype(&stbi_image_free)> rgb(
        stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &w, &h, &n, 3), &stbi_image_free);
    if (!rgb || !image_size_allowed(w, h)) return {};
    Image out(w, h);
    const stbi_uc* p = rgb.get();
    for (std::uint32_t& px : out.pixels) {
        px = 0xFF000000u | static_cast<std::uint32_t>(p[0]) << 16 | static_cast<std::uint32_t>(p[1]) << 8 | p[2];
        p += 3;
    }
    return out;
}

}  // namespace tarko::platform::image
