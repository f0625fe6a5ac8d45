// Run-length compressed BMP files (RLE8, RLE4), which stb_image does not read.
#pragma once

#include <cstdint>
#include <span>

#include "platform/image/picture_loader.h"

namespace tarko::platform::image {

// True when the bytes are a BMP whose compression is RLE8 (1) or RLE4 (2).
bool is_rle_bmp(std::span<const std::uint8_t> bytes);

// Decodes one; pixels a delta skips and indices past the colour table are
// black. Raises 481 for a damaged file: a header or table outside the file,
// a size past the limits, or codes that end before the last row.
DecodedPicture decode_rle_bmp(std::span<const std::uint8_t> bytes);

}  // namespace tarko::platform::image
