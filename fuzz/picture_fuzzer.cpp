// Fuzz target: the BMP, GIF and JPG picture decoder.
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/image/picture_loader.h"
#include "runtime/errors.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto picture = tarko::platform::image::decode_picture(std::span(data, size));
        if (picture.pixels.size() != static_cast<std::size_t>(picture.width) * picture.height) __builtin_trap();
    } catch (const tarko::RuntimeError& e) {
        if (e.number() != tarko::err::InvalidPicture) __builtin_trap();
    }
    return 0;
}
