// Run-length compressed BMP files (RLE8, RLE4), which stb_image does not read.
#pragma once

#include <cstdint>
#include <span>

#include "runtime/image.h"

namespace tarko::platform::image {

// Memory stays in proportion to the file: a picture may have at most 256
// pixels for each byte of codes (a run of 255 takes 2), or 65536 pixels
// whatever its codes, so that small pictures left to end-of-line and
// end-of-bitmap codes still read. A larger one is refused before allocating.
inline constexpr std::int64_t kRlePixelsPerCodeByte = 256;
inline constexpr std::int64_t kRleSmallPicture = 65536;

// True when the bytes are a BMP whose compression is RLE8 (1) or RLE4 (2).
bool is_rle_bmp(std::span<const std::uint8_t> bytes);

// Decodes one, top row first, opaque; pixels a delta skips and indices past
// the colour table are black. io::ParseError for a damaged file: a header or
// table outside the file, a size past the cap (ImageTooLarge) or past what
// the codes can hold, or codes that end before the last row.
Image decode_rle(std::span<const std::uint8_t> bytes);

}  // namespace tarko::platform::image
