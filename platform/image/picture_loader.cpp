// LoadPicture: JPG through libjpeg-turbo, GIF through giflib, BMP through the
// run-length decoder or stb_image (after a check that its rows are all there).
#include "platform/image/picture_loader.h"

#include <gif_lib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "platform/image/bmp_rle.h"
#include "platform/image/jpeg_decode.h"
#include "runtime/byte_reader.h"
#include "runtime/errors.h"
#include "runtime/files.h"

#define STBI_NO_STDIO
#define STBI_ONLY_BMP
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_MAX_DIMENSIONS 16384
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace tarko::platform {
namespace image {
namespace {

using io::ByteReader;
using io::ParseError;

constexpr std::uint32_t kBlack = 0xFF000000u;
constexpr std::int64_t kFreePixels = std::int64_t{1} << 20;
constexpr std::int64_t kPixelsPerByte = 1024;

// The size cap, and the bound on pixels a file of this size may claim.
bool size_allowed(std::int64_t width, std::int64_t height, std::size_t file_size) {
    return image_size_allowed(width, height) &&
           width * height <= kFreePixels + kPixelsPerByte * static_cast<std::int64_t>(file_size);
}

enum class Kind { Bmp, Gif, Jpeg };

Kind sniff(std::span<const std::uint8_t> b) {
    ByteReader in(b);
    if (in.match("BM")) return Kind::Bmp;
    if (in.match("GIF87a") || in.match("GIF89a")) return Kind::Gif;
    if (in.match("\xFF\xD8\xFF")) return Kind::Jpeg;
    in.fail("not a BMP, GIF or JPG");
}

// ---- BMP

// The pixel rows of an uncompressed BMP must lie inside the file.
void check_bmp(std::span<const std::uint8_t> b) {
    ByteReader in(b);
    in.skip(10);
    const std::uint64_t offset = in.u32();
    const std::uint32_t header = in.u32();
    std::int64_t width = 0, height = 0;
    std::uint32_t bpp = 0, compression = 0;
    if (header == 12) {
        width = in.u16();
        height = in.u16();
        in.skip(2);
        bpp = in.u16();
    } else if (header >= 40) {
        width = in.i32();
        height = in.i32();
        in.skip(2);
        bpp = in.u16();
        compression = in.u32();
    } else {
        in.fail("BMP header size " + std::to_string(header));
    }
    if (height < 0) height = -height;
    if (!image_size_allowed(width, height)) throw ParseError("BMP size", 18);
    // 0 plain, 3 and 6 bit fields (run-length files went to bmp_rle); JPEG and PNG inside BMP are refused.
    if (compression != 0 && compression != 3 && compression != 6) throw ParseError("BMP compression", 30);
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) throw ParseError("BMP depth", 28);
    const std::uint64_t row = (static_cast<std::uint64_t>(width) * bpp + 31) / 32 * 4;
    if (offset + row * static_cast<std::uint64_t>(height) > b.size()) throw ParseError("BMP rows past the end", b.size());
}

struct StbFree {
    void operator()(stbi_uc* p) const { stbi_image_free(p); }
};

Image decode_bmp(std::span<const std::uint8_t> bytes) {
    if (is_rle_bmp(bytes)) {
        // An end-of-bitmap code lets a few bytes stand for any size: bounded like GIF and JPG.
        ByteReader in(bytes);
        in.seek(18);
        const std::int64_t width = in.i32(), height = in.i32();
        if (!size_allowed(width, std::abs(height), bytes.size())) throw ParseError("BMP size for its file", 18);
        return decode_rle(bytes);  // opaque already
    }
    check_bmp(bytes);
    int w = 0, h = 0, n = 0;
    std::unique_ptr<stbi_uc, StbFree> pixels(
        stbi_load_from_memory(bytes.data(), static_cast<int>(bytes.size()), &w, &h, &n, 4));
    if (!pixels || !image_size_allowed(w, h)) throw ParseError("BMP pixels", 0);
    Image out(w, h);
    const stbi_uc* p = pixels.get();
    for (std::uint32_t& px : out.pixels) {
        px = kBlack | static_cast<std::uint32_t>(p[0]) << 16 | static_cast<std::uint32_t>(p[1]) << 8 | p[2];
        p += 4;
    }
    return out;
}

// ---- GIF

int gif_read(GifFileType* gif, GifByteType* out, int size) {
    auto* in = static_cast<ByteReader*>(gif->UserData);
    const std::size_t n = std::min(in->remaining(), static_cast<std::size_t>(std::max(size, 0)));
    if (n > 0) std::memcpy(out, in->bytes(n).data(), n);
    return static_cast<int>(n);  // short: giflib reports a read error
}

struct GifClose {
    void operator()(GifFileType* gif) const {
        int error = 0;
        DGifCloseFile(gif, &error);
    }
};

// Reads an extension's blocks after DGifGetExtension; a graphic control
// block sets the delay and transparent index of the image that follows.
void read_extension(GifFileType* gif, const ByteReader& in, int code, GifByteType* block, int& transparent,
                    int& delay) {
    if (code == GRAPHICS_EXT_FUNC_CODE && block && block[0] >= 4) {
        delay = block[2] | block[3] << 8;
        transparent = (block[1] & 1) ? block[4] : -1;
    }
    while (block)
        if (DGifGetExtensionNext(gif, &block) == GIF_ERROR) throw ParseError("GIF extension", in.offset());
}

Image decode_gif(std::span<const std::uint8_t> bytes) {
    ByteReader in(bytes);
    int error = 0;
    std::unique_ptr<GifFileType, GifClose> gif(DGifOpen(&in, gif_read, &error));
    if (!gif) throw ParseError("GIF header", in.offset());
    if (!size_allowed(gif->SWidth, gif->SHeight, bytes.size())) throw ParseError("GIF screen size", 6);
    Image screen(gif->SWidth, gif->SHeight, kBlack);
    std::vector<GifPixelType> line;
    int transparent = -1, delay = 0;  // from the graphic control block before the next image
    for (;;) {
        GifRecordType record = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif.get(), &record) == GIF_ERROR) throw ParseError("GIF record", in.offset());
        if (record == TERMINATE_RECORD_TYPE) break;
        if (record == EXTENSION_RECORD_TYPE) {
            int code = 0;
            GifByteType* block = nullptr;
            if (DGifGetExtension(gif.get(), &code, &block) == GIF_ERROR) throw ParseError("GIF extension", in.offset());
            read_extension(gif.get(), in, code, block, transparent, delay);
            continue;
        }
        if (record != IMAGE_DESC_RECORD_TYPE) throw ParseError("GIF record type", in.offset());
        if (DGifGetImageDesc(gif.get()) == GIF_ERROR) throw ParseError("GIF image descriptor", in.offset());
        const GifImageDesc& d = gif->Image;
        const ColorMapObject* map = d.ColorMap ? d.ColorMap : gif->SColorMap;
        if (!map || !map->Colors) throw ParseError("GIF image without a colour table", in.offset());
        if (d.Width <= 0 || d.Height <= 0) throw ParseError("GIF image size", in.offset());
        line.resize(static_cast<std::size_t>(d.Width));
        // Interlaced rows come as every 8th from 0, every 8th from 4, every 4th from 2, every 2nd from 1.
        static constexpr int kStart[4] = {0, 4, 2, 1}, kStep[4] = {8, 8, 4, 2};
        const int passes = d.Interlace ? 4 : 1;
        for (int pass = 0; pass < passes; ++pass)
            for (int row = d.Interlace ? kStart[pass] : 0; row < d.Height; row += d.Interlace ? kStep[pass] : 1) {
                if (DGifGetLine(gif.get(), line.data(), d.Width) == GIF_ERROR) throw ParseError("GIF pixels", in.offset());
                const std::int64_t y = static_cast<std::int64_t>(d.Top) + row;
                if (y < 0 || y >= screen.height) continue;
                for (int i = 0; i < d.Width; ++i) {
                    const std::int64_t x = static_cast<std::int64_t>(d.Left) + i;
                    if (x >= screen.width) break;
                    const int index = line[static_cast<std::size_t>(i)];
                    if (index == transparent) continue;
                    std::uint32_t colour = kBlack;
                    if (index < map->ColorCount) {
                        const GifColorType& c = map->Colors[index];
                        colour |= static_cast<std::uint32_t>(c.Red) << 16 | static_cast<std::uint32_t>(c.Green) << 8 | c.Blue;
                    }
                    screen.at(static_cast<int>(x), static_cast<int>(y)) = colour;
                }
            }
        if (delay > 0) break;  // this block is shown for a while: the first frame ends here
        transparent = -1;      // a graphic control block governs the one image after it
    }
    return screen;
}

// ---- JPG

struct JpegRoom {
    Image* image;
    std::size_t file_size;
};

std::uint32_t* jpeg_room(void* context, int width, int height) {
    auto* room = static_cast<JpegRoom*>(context);
    if (!size_allowed(width, height, room->file_size)) return nullptr;
    try {
        *room->image = Image(width, height);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return room->image->pixels.data();
}

Image decode_jpeg(std::span<const std::uint8_t> bytes) {
    Image out;
    JpegRoom room{&out, bytes.size()};
    if (tarko_jpeg_decode(bytes.data(), bytes.size(), jpeg_room, &room) != 0) throw ParseError("JPEG data", 0);
    return out;
}

}  // namespace

Image decode_picture(std::span<const std::uint8_t> bytes) {
    try {
        if (bytes.size() > static_cast<std::size_t>(INT32_MAX)) throw ParseError("file too large", 0);
        switch (sniff(bytes)) {
        case Kind::Bmp: return decode_bmp(bytes);
        case Kind::Gif: return decode_gif(bytes);
        case Kind::Jpeg: return decode_jpeg(bytes);
        }
    } catch (const ParseError&) {
    } catch (const std::bad_alloc&) {
    }
    raise_error(err::InvalidPicture);
}

Image load_picture_image(const std::string& file) { return decode_picture(runtime::read_file(file)); }

}  // namespace image

Ref<gdi::StdPicture> LoadPicture(const std::string& file) {
    if (file.empty()) return Ref<gdi::StdPicture>(std::make_shared<gdi::StdPicture>());
    Image picture = image::load_picture_image(file);
    const gdi::HBITMAP bitmap = gdi::create_device_bitmap(std::move(picture));
    if (!bitmap) raise_error(err::OutOfMemory);
    return Ref<gdi::StdPicture>(std::make_shared<gdi::StdPicture>(bitmap, 0, true));
}

}  // namespace tarko::platform
