// Fuzz target: the sprite reader of the mesh module, then what a read
// promises: sides within 1..16384, every frame width x height indices.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "mesh/sprite_reader.h"
#include "runtime/byte_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tarko::mesh::SpriteFile sprite;
    try {
        sprite = tarko::mesh::parse_sprite(std::span(data, size));
    } catch (const tarko::io::ParseError& e) {
        if (e.offset() > size) std::abort();
        return 0;
    }
    if (sprite.width < 1 || sprite.width > 16384 || sprite.height < 1 || sprite.height > 16384) std::abort();
    const std::size_t cells = static_cast<std::size_t>(sprite.width) * static_cast<std::size_t>(sprite.height);
    for (const auto& f : sprite.frames)
        if (f.size() != cells) std::abort();
    if (sprite.frames.size() * (cells + 20) + 810 > size) std::abort();
    return 0;
}
