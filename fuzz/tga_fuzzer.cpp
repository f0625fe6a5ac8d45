// Fuzz target: the TGA reader, in memory and as the engine's record drawn into a DIB section.
#include <cstddef>
#include <cstdint>
#include <span>

#include "images/dib_section.h"
#include "images/tga.h"
#include "runtime/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto image = tarko::images::tga::decode(std::span(data, size), {.max_pixels = 1 << 22});
        if (image.pixels.size() != static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height))
            __builtin_trap();
    } catch (const tarko::io::ParseError&) {
    }
    try {
        const auto image = tarko::images::tga::read(std::span(data, size), {.max_pixels = 1 << 22});
        cDIBSection dib;
        if (image.width > 0 && image.height > 0 && dib.Create(image.width, image.height))
            tarko::images::tga::draw(image, dib.hDC());
    } catch (const tarko::RuntimeError&) {
        // Truncated bodies and oversized pictures raise; that is the contract.
    }
    return 0;
}
