// The runtime's picture loader: BMP, GIF and JPG files into picture objects.
//
// Decisions where the original loader's behaviour is not ours to copy:
//  - BMP: 1, 4, 8, 16, 24 and 32 bits, uncompressed or with bit fields,
//    bottom-up or top-down; RLE8 and RLE4 are decoded here (pixels a delta
//    skips are black). Alpha in 32-bit files is ignored.
//  - GIF: the first frame only; transparent pixels come out black.
//  - JPG: baseline and progressive, grey or colour; CMYK is refused, and so
//    is a Huffman table of more than 256 symbols (which the decoder would
//    write past).
//  - A file whose pixel data stops short is refused (481), not padded.
//  - Sides up to 16384 and at most 2^26 pixels; larger pictures give 481.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/gdi/picture.h"
#include "platform/object_ref.h"

namespace tarko::platform {

namespace image {

inline constexpr int kMaxPictureSide = 16384;

// Pixels of a decoded picture: 0x00RRGGBB, rows top to bottom.
struct DecodedPicture {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> rgb;
};

// Decodes a BMP, GIF or JPG held in memory; anything else, or a damaged file,
// raises RuntimeError 481 ("Invalid picture").
DecodedPicture decode_picture(std::span<const std::uint8_t> bytes);

}  // namespace image

// LoadPicture(file): a picture whose Handle is a 32-bit bitmap of the file's
// pixels. "" gives an empty picture (Handle 0). A missing file raises 53,
// an undecodable one 481.
Ref<gdi::StdPicture> LoadPicture(const std::string& file = {});

}  // namespace tarko::platform
