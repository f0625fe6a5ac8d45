// Half-Life sprite files as the mesh's sprite loader reads them: a 42-byte
// header (id, version, type, texture format and radius unread; width, height,
// frame count at 20, 24, 28), a 768-byte palette (R, G, B), then per frame a
// 20-byte header (unread) and width x height palette indices. The id is not
// checked.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "runtime/numeric.h"

namespace tarko::mesh {

struct SpriteFile {
    Long width = 0, height = 0;
    std::array<std::uint32_t, 256> palette{};       // 0x00RRGGBB
    std::vector<std::vector<std::uint8_t>> frames;  // width * height indices each
};
// io::ParseError for a file cut short, a side outside 1..16384 or a negative
// frame count; frames are checked against the bytes left before any is read.
SpriteFile parse_sprite(std::span<const std::uint8_t> bytes);

}  // namespace tarko::mesh
