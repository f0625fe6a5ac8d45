// The "TVLM" reader, on the shared byte reader: every count is checked against
// the bytes left before anything is allocated for it.
#include "mesh/tvlm_reader.h"

#include <string>

#include "runtime/byte_reader.h"

namespace tarko::mesh {
namespace {
constexpr Long kMaxMapSide = 16384;  // the draw object's largest surface side
}  // namespace

TvlmFile parse_tvlm(std::span<const std::uint8_t> bytes) {
    io::ByteReader in(bytes);
    TvlmFile file;
    if (!in.match("TVLM")) return file;
    file.magic_ok = true;
    const Integer count = in.i16();
    for (Integer i = 0; i < count; ++i) {
        const std::size_t at = in.offset();
        TvlmMap map;
        map.width = in.i32();
        map.height = in.i32();
        if (map.width < 1 || map.width > kMaxMapSide)
            in.fail_at(at, "map width " + std::to_string(map.width) + " outside 1..16384");
        if (map.height < 1 || map.height > kMaxMapSide)
            in.fail_at(at + 4, "map height " + std::to_string(map.height) + " outside 1..16384");
        map.group = in.i16();
        const std::size_t n = static_cast<std::size_t>(map.width) * static_cast<std::size_t>(map.height);
        in.count_fits(n + 1, 4, "map texels");  // the block holds one Long more than the map
        map.texels.resize(n);
        for (auto& t : map.texels) t = in.u32();
        in.skip(4);
        file.maps.push_back(std::move(map));
    }
    return file;
}

}  // namespace tarko::mesh
