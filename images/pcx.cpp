// PCX reader: header, the two decoders and the picture they make.
#include "images/pcx.h"

#include "platform/gdi/gdi.h"
#include "runtime/files.h"
#include "runtime/services.h"

namespace tarko::images::pcx {
namespace gdi = platform::gdi;
namespace {

int checked_size(double value) { return runtime::CInt(value); }  // Overflow (6) outside 16 bits

// Refuses a picture of `pixels` that the body could not hold (see the header).
void check_in_proportion(std::int64_t pixels, const io::ByteReader& body) {
    if (pixels > kMaxPixelsPerByte * static_cast<std::int64_t>(body.size()))
        body.fail_at(body.begin_offset(), std::to_string(pixels) + " pixels cannot come from a body of " +
                                              std::to_string(body.size()) + " bytes");
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

Ref<gdi::StdPicture> picture_of(const IndexedImage& image) {
    gdi::BITMAPINFO info;
    info.bmiHeader.biWidth = image.row_bytes;
    info.bmiHeader.biHeight = -image.height;
    info.bmiHeader.biBitCount = 8;
    info.bmiColors = image.palette;
    gdi::LOGPALETTE log;
    log.palVersion = 768;
    log.palNumEntries = 256;
    log.palPalEntry.assign(image.palette.begin(), image.palette.end());
    return make_picture(info, image.rows, gdi::CreatePalette(log));
}

// A 32-bit DIB whose fourth byte stays 0, as the engine's reader left it.
Ref<gdi::StdPicture> picture_of(const Image& image) {
    gdi::BITMAPINFO info;
    info.bmiHeader.biWidth = image.width;
    info.bmiHeader.biHeight = -image.height;
    info.bmiHeader.biBitCount = 32;
    std::vector<std::uint8_t> bits(image.pixels.size() * 4);
    for (std::size_t i = 0; i < image.pixels.size(); ++i) {
        const std::uint32_t p = image.pixels[i];
        bits[4 * i] = static_cast<std::uint8_t>(p);
        bits[4 * i + 1] = static_cast<std::uint8_t>(p >> 8);
        bits[4 * i + 2] = static_cast<std::uint8_t>(p >> 16);
    }
    return make_picture(info, bits, 0);
}

void check_depth(const Header& header) {
    if (header.bits_per_pixel != 8)
        throw io::ParseError(std::to_string(header.bits_per_pixel) + " bits per pixel, not 8", 3);
    if (header.planes != 1 && header.planes != 3)
        throw io::ParseError(std::to_string(header.planes) + " planes, not 1 or 3", 65);
}

io::ByteReader body_of(std::span<const std::uint8_t> file) { return io::ByteReader(file).range(kHeaderSize, file.size() - kHeaderSize); }

}  // namespace

Header read_header(std::span<const std::uint8_t> file) {
    io::ByteReader in(file);
    in.need(kHeaderSize, "file shorter than its 128-byte header");
    Header h;
    h.manufacturer = in.u8();
    h.version = in.u8();
    h.encoding = in.u8();
    h.bits_per_pixel = in.u8();
    h.xmin = in.i16();
    h.ymin = in.i16();
    h.xmax = in.i16();
    h.ymax = in.i16();
    in.seek(65);
    h.planes = in.u8();
    h.bytes_per_line = in.i16();
    return h;
}

std::span<const std::uint8_t, 768> read_palette(std::span<const std::uint8_t> file) {
    // The runtime's 1-based position LOF - 768 is index LOF - 769.
    if (file.size() < 769) throw io::ParseError("no room for a 256-colour palette", file.size());
    const std::uint8_t marker = file[file.size() - 769];
    if (marker != 12) throw io::ParseError("palette marker " + std::to_string(marker) + ", not 12", file.size() - 769);
    return file.last<768>();
}

IndexedImage decode_8bit(const Header& header, io::ByteReader body, std::span<const std::uint8_t, 768> palette,
                         const Limits& limits) {
    IndexedImage image;
    image.width = checked_size(static_cast<double>(header.xmax) - header.xmin + 1);
    image.height = checked_size(static_cast<double>(header.ymax) - header.ymin + 1);
    image.row_bytes = checked_size(static_cast<double>(header.planes) * header.bytes_per_line);
    if (image.height <= 0) body.fail_at(10, "height " + std::to_string(image.height) + " is not positive");
    if (image.row_bytes <= 0) body.fail_at(66, "row bytes " + std::to_string(image.row_bytes) + " is not positive");
    check_image_size(image.row_bytes, image.height, 66, limits.max_pixels);
    check_in_proportion(std::int64_t{image.row_bytes} * image.height, body);
    image.stride = (image.row_bytes + 3) & ~3;
    image.rows.assign(static_cast<std::size_t>(image.stride) * image.height, 0);
    for (int i = 0; i < 256; ++i)
        image.palette[i] = static_cast<Long>(palette[3 * i]) << 16 | static_cast<Long>(palette[3 * i + 1]) << 8 |
                           palette[3 * i + 2];

    for (int y = 0; y < image.height; ++y) {
        std::uint8_t* row = image.rows.data() + static_cast<std::size_t>(y) * image.stride;
        auto put = [&](std::int64_t x, std::uint8_t value) {
            if (x >= 0 && x < image.stride) row[x] = value;
        };
        std::int64_t x = 0;
        while (x < image.row_bytes) {
            body.need(1, "pixel data cut short");
            const std::uint8_t b = body.u8();
            if (b < 192) {
                put(x, b);
                ++x;
                continue;
            }
            std::int64_t count = b & 63;
            if (x + count > image.row_bytes) count = image.width - x;  // cut to the width, not the row bytes
            body.need(1, "pixel data cut short");
            const std::uint8_t value = body.u8();
            for (std::int64_t i = 0; i < count && x + i < image.stride; ++i) put(x + i, value);
            x += count;  // a width below x makes this go back: the engine's rule, kept
        }
    }
    return image;
}

Image decode_24bit(const Header& header, io::ByteReader body, const Limits& limits) {
    const int width = checked_size(static_cast<double>(header.xmax) - header.xmin + 1);
    const int height = checked_size(static_cast<double>(header.ymax) - header.ymin + 1);
    const std::int64_t bpl = header.bytes_per_line;
    if (width <= 0 || height <= 0) body.fail_at(4, "size " + std::to_string(width) + " x " + std::to_string(height) + " is not positive");
    if (bpl <= 0) body.fail_at(66, "bytes per line " + std::to_string(bpl) + " is not positive");
    check_image_size(width, height, 4, limits.max_pixels);
    // The highest index read is that of the last row's blue plane.
    const std::int64_t need = 3 * bpl * (height - 1) + (width - 1) + 2 * bpl + 1;
    check_in_proportion(std::max<std::int64_t>(need, std::int64_t{width} * height), body);

    std::vector<std::uint8_t> decoded;
    decoded.reserve(static_cast<std::size_t>(need));
    while (static_cast<std::int64_t>(decoded.size()) < need) {
        body.need(1, "pixel data cut short");
        const std::uint8_t b = body.u8();
        if ((b & 192) == 192) {
            body.need(1, "pixel data cut short");
            decoded.insert(decoded.end(), b & 63, body.u8());
        } else {
            decoded.push_back(b);
        }
    }

    Image image(width, height);
    for (std::int64_t y = 0; y < height; ++y)
        for (std::int64_t x = 0; x < width; ++x) {
            const std::int64_t i = 3 * bpl * y + x;
            const std::uint32_t r = decoded[i], g = decoded[i + bpl], b = decoded[i + 2 * bpl];
            image.pixels[y * width + x] = 0xFF000000u | r << 16 | g << 8 | b;
        }
    return image;
}

Image decode(std::span<const std::uint8_t> file, const Limits& limits) {
    const Header header = read_header(file);
    check_depth(header);
    if (header.planes == 3) return decode_24bit(header, body_of(file), limits);
    const IndexedImage indexed = decode_8bit(header, body_of(file), read_palette(file), limits);
    Image image(indexed.row_bytes, indexed.height);
    for (int y = 0; y < indexed.height; ++y)
        for (int x = 0; x < indexed.row_bytes; ++x)
            image.at(x, y) = 0xFF000000u | static_cast<std::uint32_t>(
                                               indexed.palette[indexed.rows[static_cast<std::size_t>(y) * indexed.stride + x]]);
    return image;
}

Ref<gdi::StdPicture> load(std::span<const std::uint8_t> file, const Limits& limits) {
    Header header;
    if (file.size() >= kHeaderSize) header = read_header(file);
    if (header.bits_per_pixel != 8) {  // a file shorter than the header counts as not 8 bits
        runtime::MsgBox("Sorry, can't load that pcx file!", vbOKOnly);
        return {};
    }
    if (header.planes != 1 && header.planes != 3) return {};
    try {
        if (header.planes == 3) return picture_of(decode_24bit(header, body_of(file), limits));
        std::span<const std::uint8_t> palette;
        try {
            palette = read_palette(file);
        } catch (const io::ParseError&) {
            runtime::MsgBox("The PCX that was passed didn't have a 256 colour palette! Can't read it!", vbExclamation);
            return {};
        }
        return picture_of(decode_8bit(header, body_of(file), palette.first<768>(), limits));
    } catch (const io::ParseError&) {
        return {};  // damaged: Nothing without a message
    }
}

Ref<gdi::StdPicture> load_file(const std::string& file_name, const Limits& limits) {
    return load(runtime::read_file(file_name), limits);
}

}  // namespace tarko::images::pcx
