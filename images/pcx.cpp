// PCX reader: header, the two decoders and the picture they make.
#include "images/pcx.h"

#include "platform/gdi/gdi.h"
#include "runtime/files.h"
#include "runtime/services.h"

namespace tarko::images::pcx {
namespace gdi = platform::gdi;
namespace {

Integer i16(std::span<const std::uint8_t> b, std::size_t at) {
    return static_cast<Integer>(static_cast<std::uint16_t>(b[at] | b[at + 1] << 8));
}

Ref<gdi::StdPicture> make_picture(const gdi::BITMAPINFO& info, std::span<const std::uint8_t> bits,
                                  gdi::HPALETTE palette) {
    const gdi::HDC screen = gdi::GetDC(0);
    const gdi::HBITMAP bitmap = gdi::CreateDIBitmap(screen, info.bmiHeader, gdi::CBM_INIT, bits, info, gdi::DIB_RGB_COLORS);
    gdi::ReleaseDC(0, screen);
    Ref<gdi::StdPicture> picture;
    gdi::PICTDESC desc;
    desc.hbitmap = bitmap;
    desc.hpal = palette;
    if (gdi::OleCreatePictureIndirect(desc, true, picture) != gdi::S_OK) {
        if (bitmap) gdi::DeleteObject(bitmap);
        if (palette) gdi::DeleteObject(palette);
        return {};
    }
    return picture;
}

Ref<gdi::StdPicture> load_8bit(const Header& header, std::span<const std::uint8_t> file, const Limits& limits) {
    // The runtime's 1-based position LOF - 768 is index LOF - 769.
    if (file.size() < 769 || file[file.size() - 769] != 12) {
        runtime::MsgBox("The PCX that was passed didn't have a 256 colour palette! Can't read it!", vbExclamation);
        return {};
    }
    const auto palette = file.last<768>();
    const auto image = decode_8bit(header, file.subspan(kHeaderSize), palette, limits);
    if (!image) return {};

    gdi::BITMAPINFO info;
    info.bmiHeader.biWidth = image->row_bytes;
    info.bmiHeader.biHeight = -image->height;
    info.bmiHeader.biBitCount = 8;
    info.bmiColors = image->palette;
    gdi::LOGPALETTE log;
    log.palVersion = 768;
    log.palNumEntries = 256;
    log.palPalEntry.assign(image->palette.begin(), image->palette.end());
    return make_picture(info, image->rows, gdi::CreatePalette(log));
}

Ref<gdi::StdPicture> load_24bit(const Header& header, std::span<const std::uint8_t> file, const Limits& limits) {
    const auto image = decode_24bit(header, file.subspan(kHeaderSize), limits);
    if (!image) return {};
    gdi::BITMAPINFO info;
    info.bmiHeader.biWidth = image->width;
    info.bmiHeader.biHeight = -image->height;
    info.bmiHeader.biBitCount = 32;
    std::vector<std::uint8_t> bits(image->pixels.size() * 4);
    for (std::size_t i = 0; i < image->pixels.size(); ++i) {
        const std::uint32_t p = image->pixels[i];
        bits[4 * i] = static_cast<std::uint8_t>(p);
        bits[4 * i + 1] = static_cast<std::uint8_t>(p >> 8);
        bits[4 * i + 2] = static_cast<std::uint8_t>(p >> 16);
    }
    return make_picture(info, bits, 0);
}

}  // namespace

std::optional<Header> read_header(std::span<const std::uint8_t> file) {
    if (file.size() < kHeaderSize) return std::nullopt;
    Header h;
    h.manufacturer = file[0];
    h.version = file[1];
    h.encoding = file[2];
    h.bits_per_pixel = file[3];
    h.xmin = i16(file, 4);
    h.ymin = i16(file, 6);
    h.xmax = i16(file, 8);
    h.ymax = i16(file, 10);
    h.planes = file[65];
    h.bytes_per_line = i16(file, 66);
    return h;
}

std::optional<IndexedImage> decode_8bit(const Header& header, std::span<const std::uint8_t> body,
                                        std::span<const std::uint8_t, 768> palette, const Limits& limits) {
    IndexedImage image;
    image.width = runtime::CInt(static_cast<double>(header.xmax) - header.xmin + 1);
    image.height = runtime::CInt(static_cast<double>(header.ymax) - header.ymin + 1);
    image.row_bytes = runtime::CInt(static_cast<double>(header.planes) * header.bytes_per_line);
    if (image.height <= 0 || image.row_bytes <= 0) return std::nullopt;
    // Every row takes at least one byte of the body.
    if (static_cast<std::size_t>(image.height) > body.size() ||
        std::int64_t{image.row_bytes} * image.height > limits.max_pixels)
        return std::nullopt;
    image.stride = (image.row_bytes + 3) & ~3;
    image.rows.assign(static_cast<std::size_t>(image.stride) * image.height, 0);
    for (int i = 0; i < 256; ++i)
        image.palette[i] = static_cast<Long>(palette[3 * i]) << 16 | static_cast<Long>(palette[3 * i + 1]) << 8 |
                           palette[3 * i + 2];

    std::size_t pos = 0;
    for (int y = 0; y < image.height; ++y) {
        std::uint8_t* row = image.rows.data() + static_cast<std::size_t>(y) * image.stride;
        auto put = [&](std::int64_t x, std::uint8_t value) {
            if (x >= 0 && x < image.stride) row[x] = value;
        };
        std::int64_t x = 0;
        while (x < image.row_bytes) {
            if (pos >= body.size()) return std::nullopt;
            const std::uint8_t b = body[pos];
            if (b < 192) {
                put(x, b);
                ++x;
                ++pos;
                continue;
            }
            std::int64_t count = b & 63;
            if (x + count > image.row_bytes) count = image.width - x;  // cut to the width, not the row bytes
            if (pos + 1 >= body.size()) return std::nullopt;
            const std::uint8_t value = body[pos + 1];
            for (std::int64_t i = 0; i < count && x + i < image.stride; ++i) put(x + i, value);
            x += count;
            pos += 2;
        }
    }
    return image;
}

std::optional<RgbImage> decode_24bit(const Header& header, std::span<const std::uint8_t> body, const Limits& limits) {
    RgbImage image;
    image.width = runtime::CInt(static_cast<double>(header.xmax) - header.xmin + 1);
    image.height = runtime::CInt(static_cast<double>(header.ymax) - header.ymin + 1);
    const std::int64_t bpl = header.bytes_per_line;
    if (image.width <= 0 || image.height <= 0 || bpl <= 0) return std::nullopt;
    if (std::int64_t{image.width} * image.height > limits.max_pixels) return std::nullopt;
    // The highest index read is that of the last row's blue plane.
    const std::int64_t need = 3 * bpl * (image.height - 1) + (image.width - 1) + 2 * bpl + 1;
    // A pair of bytes decodes to 63 at most.
    if (need > 63 * static_cast<std::int64_t>(body.size())) return std::nullopt;

    std::vector<std::uint8_t> decoded;
    decoded.reserve(static_cast<std::size_t>(need));
    for (std::size_t pos = 0; pos < body.size() && static_cast<std::int64_t>(decoded.size()) < need;) {
        const std::uint8_t b = body[pos];
        if ((b & 192) == 192) {
            if (pos + 1 >= body.size()) break;
            decoded.insert(decoded.end(), b & 63, body[pos + 1]);
            pos += 2;
        } else {
            decoded.push_back(b);
            ++pos;
        }
    }
    if (static_cast<std::int64_t>(decoded.size()) < need) return std::nullopt;

    image.pixels.resize(static_cast<std::size_t>(image.width) * image.height);
    for (std::int64_t y = 0; y < image.height; ++y)
        for (std::int64_t x = 0; x < image.width; ++x) {
            const std::int64_t i = 3 * bpl * y + x;
            const std::uint32_t r = decoded[i], g = decoded[i + bpl], b = decoded[i + 2 * bpl];
            image.pixels[y * image.width + x] = r << 16 | g << 8 | b;
        }
    return image;
}

Ref<gdi::StdPicture> load(std::span<const std::uint8_t> file, const Limits& limits) {
    const auto header = read_header(file);
    if (!header || header->bits_per_pixel != 8) {
        runtime::MsgBox("Sorry, can't load that pcx file!", vbOKOnly);
        return {};
    }
    if (header->planes == 1) return load_8bit(*header, file, limits);
    if (header->planes == 3) return load_24bit(*header, file, limits);
    return {};
}

Ref<gdi::StdPicture> load_file(const std::string& file_name, const Limits& limits) {
    return load(runtime::read_file(file_name), limits);
}

}  // namespace tarko::images::pcx
