// TGA reader: 24-bit raw and run-length files, and drawing the result.
#include "images/tga.h"

#include <algorithm>

#include "runtime/errors.h"
#include "runtime/files.h"

namespace tarko::images::tga {
namespace gdi = platform::gdi;
namespace {

std::uint32_t u16(std::span<const std::uint8_t> b, std::size_t at) {
    return static_cast<std::uint32_t>(b[at]) | static_cast<std::uint32_t>(b[at + 1]) << 8;
}

// Pixel bytes in file order, three per pixel.
std::vector<std::uint8_t> unpack_runs(std::span<const std::uint8_t> body, std::size_t pixel_count) {
    std::vector<std::uint8_t> out;
    out.reserve(pixel_count * 3);
    std::size_t pos = 0;
    while (out.size() < pixel_count * 3) {
        if (pos >= body.size()) raise_error(err::InputPastEnd);
        const std::uint8_t packet = body[pos++];
        const std::size_t count = (packet & 0x7F) + 1u;
        const std::size_t room = pixel_count - out.size() / 3;
        if (packet & 0x80) {
            if (body.size() - pos < 3) raise_error(err::InputPastEnd);
            for (std::size_t i = 0; i < std::min(count, room); ++i) out.insert(out.end(), body.data() + pos, body.data() + pos + 3);
            pos += 3;
        } else {
            if (body.size() - pos < count * 3) raise_error(err::InputPastEnd);
            const std::size_t take = std::min(count, room) * 3;
            out.insert(out.end(), body.data() + pos, body.data() + pos + take);
            pos += count * 3;
        }
    }
    return out;
}

}  // namespace

TgaImage read(std::span<const std::uint8_t> file, const Limits& limits) {
    TgaImage image;
    if (file.size() < kHeaderSize) return image;
    const std::uint8_t type = file[2];
    const std::uint8_t depth = file[16];
    if (depth != 24 || (type != 2 && type != 10)) return image;
    const std::int64_t width = u16(file, 12), height = u16(file, 14);
    const std::int64_t count = width * height;
    if (count > limits.max_pixels) raise_error(err::OutOfMemory);
    const auto body = file.subspan(kHeaderSize);
    // A run packet of 4 bytes gives at most 128 pixels; raw rows need 3 bytes a pixel.
    const std::int64_t most = type == 2 ? static_cast<std::int64_t>(body.size()) / 3
                                        : static_cast<std::int64_t>(body.size()) / 4 * 128 + 128;
    if (count > most) raise_error(err::InputPastEnd);

    const std::size_t row = static_cast<std::size_t>(width) * 3;
    std::vector<std::uint8_t> stream;
    std::span<const std::uint8_t> rows = body;
    if (type == 10) {
        stream = unpack_runs(body, static_cast<std::size_t>(count));
        rows = stream;
    }
    image.width = static_cast<Long>(width);
    image.height = static_cast<Long>(height);
    image.bits = 24;
    image.pixels.resize(row * static_cast<std::size_t>(height));
    // The file's first row goes to the last place: it is the picture's bottom.
    for (std::int64_t y = 0; y < height; ++y)
        std::copy_n(rows.data() + static_cast<std::size_t>(y) * row, row,
                    image.pixels.data() + static_cast<std::size_t>(height - 1 - y) * row);
    return image;
}

TgaImage read_file(const std::string& file_name, const Limits& limits) {
    return read(runtime::read_file(file_name), limits);
}

void draw(const TgaImage& image, gdi::HDC hdc) {
    if (image.width <= 0 || image.height <= 0) return;
    const std::size_t row = static_cast<std::size_t>(image.width) * 3;
    const auto stride = static_cast<std::size_t>(gdi::dib_stride(image.width, 24));
    std::vector<std::uint8_t> padded(stride * static_cast<std::size_t>(image.height));
    for (std::size_t y = 0; y < static_cast<std::size_t>(image.height); ++y)
        std::copy_n(image.pixels.data() + y * row, row, padded.data() + y * stride);
    gdi::BITMAPINFO info;
    info.bmiHeader.biWidth = image.width;
    info.bmiHeader.biHeight = -image.height;
    info.bmiHeader.biBitCount = 24;
    gdi::StretchDIBits(hdc, 0, 0, image.width, image.height, 0, 0, image.width, image.height, padded, info,
                       gdi::DIB_RGB_COLORS, gdi::SRCCOPY);
}

}  // namespace tarko::images::tga
