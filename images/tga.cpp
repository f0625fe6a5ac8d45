// TGA reader: 24-bit raw and run-length files, and drawing the result.
#include "images/tga.h"

#include <algorithm>

#include "runtime/errors.h"
#include "runtime/files.h"

namespace tarko::images::tga {
namespace gdi = platform::gdi;
namespace {

struct TgaHeader {
    std::uint8_t type = 0;
    std::uint16_t width = 0, height = 0;
    std::uint8_t depth = 0;
};

TgaHeader read_header(io::ByteReader& in) {
    in.need(kHeaderSize, "file shorter than its 18-byte header");
    TgaHeader h;
    in.skip(2);  // id length and colour map type: read, not used
    h.type = in.u8();
    in.skip(9);  // colour map description and origin
    h.width = in.u16();
    h.height = in.u16();
    h.depth = in.u8();
    in.skip(1);  // descriptor: the origin bit is not consulted
    return h;
}

bool taken(const TgaHeader& h) { return h.depth == 24 && (h.type == 2 || h.type == 10); }

std::uint32_t bgr(std::span<const std::uint8_t> p) {
    return 0xFF000000u | static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[1]) << 8 | p[0];
}

}  // namespace

Image decode(std::span<const std::uint8_t> file, const Limits& limits) {
    io::ByteReader in(file);
    const TgaHeader h = read_header(in);
    if (h.type != 2 && h.type != 10) in.fail_at(2, "image type " + std::to_string(h.type) + ", not 2 or 10");
    if (h.depth != 24) in.fail_at(16, "pixel depth " + std::to_string(h.depth) + ", not 24");
    const int width = h.width, height = h.height;
    if (width == 0 || height == 0) return Image(width, height);
    check_image_size(width, height, 12, limits.max_pixels);
    const std::int64_t count = std::int64_t{width} * height;
    // A run packet of 4 bytes gives at most 128 pixels; raw rows need 3 bytes a pixel.
    const auto body = static_cast<std::int64_t>(in.remaining());
    const std::int64_t most = h.type == 2 ? body / 3 : body / 4 * 128 + 128;
    if (count > most)
        in.fail(std::to_string(count) + " pixels cannot come from " + std::to_string(body) + " bytes of pixel data");

    // The file's first row is the picture's bottom.
    Image image(width, height);
    std::int64_t i = 0;
    const auto put = [&](std::uint32_t pixel) {
        image.at(static_cast<int>(i % width), height - 1 - static_cast<int>(i / width)) = pixel;
        ++i;
    };
    if (h.type == 2) {
        while (i < count) put(bgr(in.bytes(3)));
        return image;
    }
    while (i < count) {  // packets may cross rows; pixels past the image are ignored
        in.need(1, "pixel data cut short");
        const std::uint8_t packet = in.u8();
        const std::int64_t n = (packet & 0x7F) + 1;
        if (packet & 0x80) {
            in.need(3, "pixel data cut short");
            const std::uint32_t pixel = bgr(in.bytes(3));
            for (std::int64_t k = 0; k < n && i < count; ++k) put(pixel);
        } else {
            in.need(static_cast<std::size_t>(3 * n), "pixel data cut short");
            for (std::int64_t k = 0; k < n; ++k) {
                const std::uint32_t pixel = bgr(in.bytes(3));
                if (i < count) put(pixel);
            }
        }
    }
    return image;
}

Image read_image(std::span<const std::uint8_t> file, const Limits& limits) {
    io::ByteReader in(file);
    if (file.size() < kHeaderSize || !taken(read_header(in))) return {};  // left empty, no message
    try {
        return decode(file, limits);
    } catch (const ImageTooLarge&) {
        raise_error(err::OutOfMemory);
    } catch (const io::ParseError&) {
        raise_error(err::InputPastEnd);
    }
}

TgaImage read(std::span<const std::uint8_t> file, const Limits& limits) {
    TgaImage record;
    io::ByteReader in(file);
    if (file.size() < kHeaderSize || !taken(read_header(in))) return record;
    const Image image = read_image(file, limits);
    record.width = image.width;
    record.height = image.height;
    record.bits = 24;
    record.pixels.resize(image.pixels.size() * 3);
    for (std::size_t k = 0; k < image.pixels.size(); ++k) {
        const std::uint32_t p = image.pixels[k];
        record.pixels[3 * k] = static_cast<std::uint8_t>(p);
        record.pixels[3 * k + 1] = static_cast<std::uint8_t>(p >> 8);
        record.pixels[3 * k + 2] = static_cast<std::uint8_t>(p >> 16);
    }
    return record;
}

TgaImage read_file(const std::string& file_name, const Limits& limits) {
    return read(runtime::read_file(file_name), limits);
}

Image read_image_file(const std::string& file_name, const Limits& limits) {
    return read_image(runtime::read_file(file_name), limits);
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
