// Fuzz target: the PCX reader, in memory and as a picture copied into a DIB section.
#include <cstddef>
#include <cstdint>
#include <span>

#include "images/dib_section.h"
#include "images/pcx.h"
#include "runtime/errors.h"
#include "runtime/services.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        tarko::runtime::set_message_box_handler([](const tarko::MessageBoxRequest&) {});
        return true;
    }();
    (void)quiet;
    try {
        const auto image = tarko::images::pcx::decode(std::span(data, size), {.max_pixels = 1 << 22});
        if (image.pixels.size() != static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height))
            __builtin_trap();
    } catch (const tarko::io::ParseError&) {
    } catch (const tarko::RuntimeError&) {
    }
    try {
        const auto picture = tarko::images::pcx::load(std::span(data, size), {.max_pixels = 1 << 22});
        if (picture) {
            cDIBSection dib;
            dib.CreateFromPicture(picture);
        }
    } catch (const tarko::RuntimeError&) {
        // Overflow of the 16-bit sizes is the defined outcome.
    }
    return 0;
}
