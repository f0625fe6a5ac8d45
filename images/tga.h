// 24-bit TGA files (types 2 and 10) into an in-memory image, and its drawing
// into a device context.
//
// Rules kept from the engine's reader:
//  - only pixel depth 24 with image type 2 or 10 is read; any other header
//    leaves the image record empty, with no message;
//  - the pixel bytes start at byte 18 whatever the id length says, and the
//    file's first row is the image's bottom row (the descriptor's origin bit
//    is not consulted).
// Decisions where the engine left it open:
//  - type 10 is run-length decoded (packet byte: top bit set, a run of
//    (low 7 bits + 1) copies of the next pixel; clear, that many + 1 literal
//    pixels); packets may cross rows, and pixels past the image are ignored;
//  - a file shorter than its 18-byte header reads as an empty record; a body
//    that ends before the image does raises Input past end of file (62); a
//    picture past the size cap of runtime/image.h (a side above 16384 or more
//    than 2^26 pixels) or the reader's Limits raises Out of memory (7);
//  - memory stays in proportion to the file: raw pixels take 3 bytes each and
//    a run packet of 4 bytes gives at most 128, so a body that cannot hold the
//    picture raises 62 before anything is allocated;
//  - draw() pads each row to 4 bytes before handing it over, so every width
//    draws as it should.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/gdi/gdi.h"
#include "runtime/byte_reader.h"
#include "runtime/image.h"
#include "runtime/numeric.h"

namespace tarko::images::tga {

struct Limits {
    std::int64_t max_pixels = kMaxImagePixels;  // below the one cap of runtime/image.h, never above it
};

inline constexpr std::size_t kHeaderSize = 18;

// The reader's image record: pixels are 3 x width x height bytes (blue,
// green, red), the image's top row first, no padding. The palette stays empty.
struct TgaImage {
    Long width = 0;
    Long height = 0;
    Byte bits = 0;
    std::vector<Long> palette;
    std::vector<std::uint8_t> pixels;
};

// The file as a picture in memory, top row first, opaque. io::ParseError for
// a header the reader does not take or a body that ends before the image;
// ImageTooLarge (a ParseError) past the size cap. A width or height of 0 gives
// an empty image.
Image decode(std::span<const std::uint8_t> file, const Limits& limits = {});

// The picture as the engine reads it: empty for a header it does not take (no
// message); a damaged body raises 62 (Input past end of file), a size past the
// cap 7 (Out of memory).
Image read_image(std::span<const std::uint8_t> file, const Limits& limits = {});
Image read_image_file(const std::string& file_name, const Limits& limits = {});

// The engine's record of the same picture, with the same errors.
TgaImage read(std::span<const std::uint8_t> file, const Limits& limits = {});
// A missing file raises 53.
TgaImage read_file(const std::string& file_name, const Limits& limits = {});

// StretchDIBits of the whole image to (0, 0) of `hdc` at its own size, as a
// top-down 24-bit DIB. Nothing happens for an empty record.
void draw(const TgaImage& image, platform::gdi::HDC hdc);

}  // namespace tarko::images::tga
