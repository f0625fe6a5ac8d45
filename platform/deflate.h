// Raw deflate blocks (zlib), for file formats that pack data in blocks of
// their own with a dictionary carried from one block to the next.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarko::platform::zip {

// Inflates `packed` into exactly out.size() bytes, with `dictionary` (at most
// 32 KB) preset. False when the data is damaged or gives fewer bytes.
bool inflate_block(std::span<const std::uint8_t> packed, std::span<const std::uint8_t> dictionary,
                   std::span<std::uint8_t> out);

// Deflates `plain` at the best compression with `dictionary` preset.
std::vector<std::uint8_t> deflate_block(std::span<const std::uint8_t> plain, std::span<const std::uint8_t> dictionary);

}  // namespace tarko::platform::zip
