// The sprite reader, on the shared byte reader.
#include "mesh/sprite_reader.h"

#include <string>

#include "runtime/byte_reader.h"

namespace tarko::mesh {

SpriteFile parse_sprite(std::span<const std::uint8_t> bytes) {
    io::ByteReader in(bytes);
    SpriteFile s;
    in.skip(20);  // id, version, type, texture format, bounding radius
    s.width = in.i32();
    s.height = in.i32();
    const Long frames = in.i32();
    if (s.width < 1 || s.width > 16384) in.fail_at(20, "sprite width " + std::to_string(s.width) + " outside 1..16384");
    if (s.height < 1 || s.height > 16384)
        in.fail_at(24, "sprite height " + std::to_string(s.height) + " outside 1..16384");
    if (frames < 0) in.fail_at(28, "negative frame count " + std::to_string(frames));
    in.skip(10);  // beam length, sync type, palette size
    for (auto& c : s.palette) {
        const std::uint32_t r = in.u8(), g = in.u8(), b = in.u8();
        c = r << 16 | g << 8 | b;
    }
    const std::size_t cells = static_cast<std::size_t>(s.width) * static_cast<std::size_t>(s.height);
    in.count_fits(static_cast<std::uint64_t>(frames), 20 + cells, "sprite frames");
    s.frames.reserve(static_cast<std::size_t>(frames));
    for (Long f = 0; f < frames; ++f) {
        in.skip(20);
        const auto indices = in.bytes(cells);
        s.frames.emplace_back(indices.begin(), indices.end());
    }
    return s;
}

}  // namespace tarko::mesh
