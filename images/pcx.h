// PCX files, 8-bit (one plane, 256-colour palette at the end) and 24-bit
// (three planes), into picture objects.
//
// Rules kept from the engine's reader:
//  - bits per pixel other than 8: the message "Sorry, can't load that pcx
//    file!" and Nothing; planes other than 1 or 3: Nothing, no message.
//  - 8-bit: the byte 768 before the end must be 12, else the message "The PCX
//    that was passed didn't have a 256 colour palette! Can't read it!" with the
//    exclamation icon, and Nothing. Rows are decoded one by one; a run that
//    would pass the row's end is cut to width - x. The picture is
//    planes x bytes-per-line wide (padding columns included).
//  - 24-bit: the whole body is decoded at once, ignoring rows (a byte with
//    both top bits set is a run of its low six bits, so 192 is a run of 0);
//    plane p of row y starts at (3 y + p) x bytes per line.
//  - width = xmax - xmin + 1, height likewise and row bytes = planes x bytes
//    per line are 16-bit: outside -32768..32767 they raise Overflow (6).
// Decisions for damaged files: a file shorter than its 128-byte header counts
// as "not 8 bits" (message, Nothing); a size that is not positive, a body that
// ends before the image does, or a picture past the size cap gives Nothing
// with no message. Bytes a run would write outside a row are dropped.
// Memory stays in proportion to the file: a run of two bytes gives at most 63
// pixels and every row needs at least one byte, so a body of N bytes (all the
// bytes after the header) can hold no picture of more than 63 x N pixels (8-bit:
// row bytes x height; 24-bit: width x height). A larger one is refused before
// anything is allocated.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/gdi/picture.h"
#include "platform/object_ref.h"
#include "runtime/byte_reader.h"
#include "runtime/image.h"
#include "runtime/numeric.h"

namespace tarko::images::pcx {

struct Limits {
    std::int64_t max_pixels = kMaxImagePixels;  // below the one cap of runtime/image.h, never above it
};

struct Header {
    Byte manufacturer = 0, version = 0, encoding = 0, bits_per_pixel = 0;
    Integer xmin = 0, ymin = 0, xmax = 0, ymax = 0;
    Byte planes = 0;
    Integer bytes_per_line = 0;
};
inline constexpr std::size_t kHeaderSize = 128;
// A run of two bytes gives at most 63 bytes of pixels.
inline constexpr std::int64_t kMaxPixelsPerByte = 63;

// Errors below are io::ParseError (reason, byte offset), except the 16-bit
// sizes of the header, which raise Overflow (6) as the engine's reader did.

// The header; ParseError when the file is shorter than 128 bytes.
Header read_header(std::span<const std::uint8_t> file);

// An 8-bit image: `height` rows of `stride` bytes (row_bytes rounded up to 4),
// top row first; palette entries 0x00RRGGBB.
struct IndexedImage {
    int width = 0;
    int row_bytes = 0;
    int height = 0;
    int stride = 0;
    std::vector<std::uint8_t> rows;
    std::array<Long, 256> palette{};
};
// `body` reads everything after the header, palette included. ParseError
// when the body ends early or the size is unusable. Does not check the
// palette marker.
IndexedImage decode_8bit(const Header& header, io::ByteReader body, std::span<const std::uint8_t, 768> palette,
                         const Limits& limits = {});
// The 768 palette bytes at the end; ParseError unless the byte before them is 12.
std::span<const std::uint8_t, 768> read_palette(std::span<const std::uint8_t> file);

// A 24-bit image: width x height pixels, top row first.
Image decode_24bit(const Header& header, io::ByteReader body, const Limits& limits = {});

// The whole file as a picture in memory; an 8-bit one is row bytes wide, its
// indices looked up in the palette. ParseError for anything the picture
// object below would refuse (the messages are the adapter's, not this).
Image decode(std::span<const std::uint8_t> file, const Limits& limits = {});

// The whole reader: a picture, or Nothing after the messages above.
Ref<platform::gdi::StdPicture> load(std::span<const std::uint8_t> file, const Limits& limits = {});
// The same from a file name; a missing file raises 53.
Ref<platform::gdi::StdPicture> load_file(const std::string& file_name, const Limits& limits = {});

}  // namespace tarko::images::pcx
