// Fuzz target: the "TVLM" light-map reader, then what a read promises: sides
// within 1..16384, one texel per cell, every texel taken from the file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "mesh/tvlm_reader.h"
#include "runtime/byte_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tarko::mesh::TvlmFile file;
    try {
        file = tarko::mesh::parse_tvlm(std::span(data, size));
    } catch (const tarko::io::ParseError& e) {
        if (e.offset() > size) std::abort();  // an error names a byte of the file, or its end
        return 0;
    }
    if (!file.magic_ok && !file.maps.empty()) std::abort();
    std::size_t texels = 0;
    for (const auto& map : file.maps) {
        if (map.width < 1 || map.width > 16384 || map.height < 1 || map.height > 16384) std::abort();
        if (map.texels.size() != static_cast<std::size_t>(map.width) * static_cast<std::size_t>(map.height)) std::abort();
        texels += map.texels.size();
    }
    if (texels * 4 > size) std::abort();
    return 0;
}
