// A baseline JPEG encoder for tests and fuzz seed corpora, which must make
// their own files. The engine itself never writes a file.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarko::platform::image {

// Pixels 0x00RRGGBB, rows top first; quality 1..100. Empty on failure.
std::vector<std::uint8_t> encode_jpeg(int width, int height, std::span<const std::uint32_t> rgb, int quality = 90);

}  // namespace tarko::platform::image
