// The "TVLM" light-map file: "TVLM", an Integer map count, then per map the
// width and height (Longs), the group number (Integer) and width x height + 1
// Longs of device-context colours (0x00BBGGRR), row by row; the last is unused.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "runtime/numeric.h"

namespace tarko::mesh {

struct TvlmMap {
    Long width = 0, height = 0;
    Integer group = 0;
    std::vector<std::uint32_t> texels;  // width * height, row by row; the extra Long dropped
};
struct TvlmFile {
    bool magic_ok = false;  // false: not a "TVLM" file, nothing else read
    std::vector<TvlmMap> maps;
};
// Reads a whole file; io::ParseError for one that is cut short or names a map
// size outside 1..16384 a side. A negative map count reads no maps.
TvlmFile parse_tvlm(std::span<const std::uint8_t> bytes);

}  // namespace tarko::mesh
