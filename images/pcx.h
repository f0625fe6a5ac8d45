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
// ends before the image does, or a picture past the pixel limit gives Nothing
// with no message. Bytes a run would write outside a row are dropped.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/gdi/picture.h"
#include "platform/object_ref.h"
#include "runtime/numeric.h"

namespace tarko::images::pcx {

struct Limits {
    std::int64_t max_pixels = std::int64_t{1} << 26;
};

struct Header {
    Byte manufacturer = 0, version = 0, encoding = 0, bits_per_pixel = 0;
    Integer xmin = 0, ymin = 0, xmax = 0, ymax = 0;
    Byte planes = 0;
    Integer bytes_per_line = 0;
};
inline constexpr std::size_t kHeaderSize = 128;

// The header; nothing when the file is shorter than 128 bytes.
std::optional<Header> read_header(std::span<const std::uint8_t> file);

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
// The body is everything after the header, palette included. Nothing when the
// body ends early or the size is unusable. Does not check the palette marker.
std::optional<IndexedImage> decode_8bit(const Header& header, std::span<const std::uint8_t> body,
                                        std::span<const std::uint8_t, 768> palette, const Limits& limits = {});

// A 24-bit image: width x height pixels 0x00RRGGBB, top row first.
struct RgbImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
};
std::optional<RgbImage> decode_24bit(const Header& header, std::span<const std::uint8_t> body,
                                     const Limits& limits = {});

// The whole reader: a picture, or Nothing after the messages above.
Ref<platform::gdi::StdPicture> load(std::span<const std::uint8_t> file, const Limits& limits = {});
// The same from a file name; a missing file raises 53.
Ref<platform::gdi::StdPicture> load_file(const std::string& file_name, const Limits& limits = {});

}  // namespace tarko::images::pcx
