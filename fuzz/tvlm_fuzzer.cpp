// Fuzz target: the "TVLM" light-map reader, then what a read promises (sides
// within 1..16384, one texel per cell) and the maps made into surfaces as
// LoadLightMaps makes them, for the maps small enough to be worth it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "mesh/mesh.h"
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
        if (map.texels.size() <= 4096) {
            auto surface = tarko::mesh::make_light_map_surface(map.width, map.height);
            tarko::mesh::put_texels(*surface, map.texels);
        }
    }
    if (texels * 4 > size) std::abort();  // every texel came from the file
    return 0;
}
