// LoadPicture on stb_image, with checks before decoding so that damaged files
// are refused instead of coming out padded with zeros.
#include "platform/image/picture_loader.h"

#include <cstring>
#include <memory>

#include "platform/image/bmp_rle.h"
#include "runtime/errors.h"
#include "runtime/files.h"

#define STBI_NO_STDIO
#define STBI_ONLY_BMP
#define STBI_ONLY_GIF
#define STBI_ONLY_JPEG
#define STBI_NO_LINEAR
#define STBI_NO_HDR
#define STBI_MAX_DIMENSIONS 16384
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

namespace tarko::platform {
namespace image {
namespace {

[[noreturn]] void invalid() { raise_error(err::InvalidPicture); }

std::uint32_t u16(std::span<const std::uint8_t> b, std::size_t at) {
    return static_cast<std::uint32_t>(b[at]) | static_cast<std::uint32_t>(b[at + 1]) << 8;
}
std::uint32_t u32(std::span<const std::uint8_t> b, std::size_t at) { return u16(b, at) | u16(b, at + 2) << 16; }

enum class Kind { Bmp, Gif, Jpeg };

Kind sniff(std::span<const std::uint8_t> b) {
    if (b.size() >= 2 && b[0] == 'B' && b[1] == 'M') return Kind::Bmp;
    if (b.size() >= 6 && std::memcmp(b.data(), "GIF8", 4) == 0 && (b[4] == '7' || b[4] == '9') && b[5] == 'a')
        return Kind::Gif;
    if (b.size() >= 3 && b[0] == 0xFF && b[1] == 0xD8 && b[2] == 0xFF) return Kind::Jpeg;
    invalid();
}

// The pixel rows of an uncompressed BMP must lie inside the file.
void check_bmp(std::span<const std::uint8_t> b) {
    if (b.size() < 26) invalid();
    const std::uint64_t offset = u32(b, 10);
    const std::uint32_t header = u32(b, 14);
    std::int64_t width = 0, height = 0;
    std::uint32_t bpp = 0, compression = 0;
    if (header == 12) {
        width = u16(b, 18);
        height = u16(b, 20);
        bpp = u16(b, 24);
    } else if (header >= 40 && b.size() >= 14 + 40) {
        width = static_cast<std::int32_t>(u32(b, 18));
        height = static_cast<std::int32_t>(u32(b, 22));
        bpp = u16(b, 28);
        compression = u32(b, 30);
    } else {
        invalid();
    }
    if (height < 0) height = -height;
    if (width <= 0 || height <= 0 || width > kMaxPictureSide || height > kMaxPictureSide) invalid();
    // 0 plain, 3 and 6 bit fields (run-length files went to bmp_rle); JPEG and PNG inside BMP are refused.
    if (compression != 0 && compression != 3 && compression != 6) invalid();
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) invalid();
    const std::uint64_t row = (static_cast<std::uint64_t>(width) * bpp + 31) / 32 * 4;
    if (offset + row * static_cast<std::uint64_t>(height) > b.size()) invalid();
}

// Walks the JPEG's segments as the decoder will meet them and refuses any
// Huffman table whose code counts add up to more than 256 symbols: this stb
// version writes past its tables for those. Entropy-coded data is skipped to
// the next marker (stuffed 0xFF 0x00 and restart markers pass).
void check_jpeg_tables(std::span<const std::uint8_t> b) {
    std::size_t pos = 2;  // after SOI
    const std::size_t end = b.size();
    for (;;) {
        while (pos < end && b[pos] != 0xFF) ++pos;  // padding between segments
        while (pos < end && b[pos] == 0xFF) ++pos;
        if (pos >= end) return;                     // truncation is found while decoding
        const std::uint8_t marker = b[pos++];
        if (marker == 0xD9) return;                 // EOI
        if (marker == 0x00 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) continue;
        if (end - pos < 2) return;
        const std::size_t length = static_cast<std::size_t>(b[pos]) << 8 | b[pos + 1];  // big-endian
        if (length < 2) invalid();
        const std::size_t body = pos + 2;
        if (marker == 0xC4) {  // DHT: tables of class/id, 16 counts, then the symbols
            std::size_t at = body;
            std::int64_t left = static_cast<std::int64_t>(length) - 2;
            while (left > 0) {
                if (at > end || end - at < 17) invalid();
                if ((b[at] >> 4) > 1 || (b[at] & 15) > 3) invalid();
                std::size_t symbols = 0;
                for (int i = 1; i <= 16; ++i) symbols += b[at + i];
                if (symbols > 256) invalid();
                at += 17 + symbols;
                left -= 17 + static_cast<std::int64_t>(symbols);
            }
        }
        pos = body + (length - 2);
        if (marker == 0xDA) {  // SOS: skip the entropy-coded data to the next real marker
            while (pos + 1 < end) {
                if (b[pos] == 0xFF) {
                    std::size_t next = pos + 1;
                    while (next < end && b[next] == 0xFF) ++next;
                    if (next >= end) return;
                    const std::uint8_t m = b[next];
                    if (m != 0x00 && !(m >= 0xD0 && m <= 0xD7)) break;
                    pos = next + 1;
                } else {
                    ++pos;
                }
            }
        }
    }
}

// Feeds stb from memory and notes any attempt to read past the end.
struct Feed {
    std::span<const std::uint8_t> bytes;
    std::size_t at = 0;
    bool overrun = false;

    static int read(void* user, char* data, int size) {
        auto* f = static_cast<Feed*>(user);
        const std::size_t left = f->bytes.size() - f->at;
        if (left == 0) {
            f->overrun = true;
            return 0;
        }
        const std::size_t n = std::min(left, static_cast<std::size_t>(size));
        std::memcpy(data, f->bytes.data() + f->at, n);
        f->at += n;
        return static_cast<int>(n);
    }
    static void skip(void* user, int n) {
        auto* f = static_cast<Feed*>(user);
        if (n < 0 || static_cast<std::size_t>(n) > f->bytes.size() - f->at) {
            f->overrun = true;
            f->at = f->bytes.size();
        } else {
            f->at += static_cast<std::size_t>(n);
        }
    }
    static int eof(void* user) {
        auto* f = static_cast<Feed*>(user);
        return f->at >= f->bytes.size();
    }
};

struct StbFree {
    void operator()(stbi_uc* p) const { stbi_image_free(p); }
};

}  // namespace

DecodedPicture decode_picture(std::span<const std::uint8_t> bytes) {
    if (bytes.size() > static_cast<std::size_t>(INT32_MAX)) invalid();
    const Kind kind = sniff(bytes);
    if (kind == Kind::Bmp && is_rle_bmp(bytes)) return decode_rle_bmp(bytes);
    if (kind == Kind::Bmp) check_bmp(bytes);
    if (kind == Kind::Jpeg) check_jpeg_tables(bytes);

    int w = 0, h = 0, n = 0;
    if (!stbi_info_from_memory(bytes.data(), static_cast<int>(bytes.size()), &w, &h, &n)) invalid();
    if (w <= 0 || h <= 0 || w > kMaxPictureSide || h > kMaxPictureSide ||
        static_cast<std::int64_t>(w) * h > gdi::kMaxBitmapPixels)
        invalid();

    Feed feed{bytes};
    const stbi_io_callbacks callbacks{&Feed::read, &Feed::skip, &Feed::eof};
    std::unique_ptr<stbi_uc, StbFree> pixels(stbi_load_from_callbacks(&callbacks, &feed, &w, &h, &n, 4));
    if (!pixels || feed.overrun) invalid();

    DecodedPicture out;
    out.width = w;
    out.height = h;
    out.rgb.resize(static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
    const stbi_uc* p = pixels.get();
    for (std::uint32_t& px : out.rgb) {
        // Transparent pixels keep the colour stb gives them (black for GIF).
        px = static_cast<std::uint32_t>(p[0]) << 16 | static_cast<std::uint32_t>(p[1]) << 8 | p[2];
        p += 4;
    }
    return out;
}

}  // namespace image

Ref<gdi::StdPicture> LoadPicture(const std::string& file) {
    if (file.empty()) return Ref<gdi::StdPicture>(std::make_shared<gdi::StdPicture>());
    const auto bytes = runtime::read_file(file);
    const image::DecodedPicture picture = image::decode_picture(bytes);
    const gdi::HBITMAP bitmap = gdi::create_device_bitmap(picture.width, picture.height, picture.rgb);
    if (!bitmap) raise_error(err::OutOfMemory);
    return Ref<gdi::StdPicture>(std::make_shared<gdi::StdPicture>(bitmap, 0, true));
}

}  // namespace tarko::platform
