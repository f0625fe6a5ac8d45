// encode_jpeg on stb_image_write.
#include "platform/image/jpeg_writer.h"

#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace tarko::platform::image {

std::vector<std::uint8_t> encode_jpeg(int width, int height, std::span<const std::uint32_t> rgb, int quality) {
    std::vector<std::uint8_t> out;
    if (width <= 0 || height <= 0 || rgb.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
        return out;
    std::vector<std::uint8_t> bytes;
    bytes.reserve(rgb.size() * 3);
    for (std::size_t i = 0; i < static_cast<std::size_t>(width) * static_cast<std::size_t>(height); ++i) {
        bytes.push_back(static_cast<std::uint8_t>(rgb[i] >> 16));
        bytes.push_back(static_cast<std::uint8_t>(rgb[i] >> 8));
        bytes.push_back(static_cast<std::uint8_t>(rgb[i]));
    }
    auto sink = [](void* context, void* data, int size) {
        auto* v = static_cast<std::vector<std::uint8_t>*>(context);
        const auto* p = static_cast<const std::uint8_t*>(data);
        v->insert(v->end(), p, p + size);
    };
    if (!stbi_write_jpg_to_func(sink, &out, width, height, 3, bytes.data(), quality)) out.clear();
    return out;
}

}  // namespace tarko::platform::image
