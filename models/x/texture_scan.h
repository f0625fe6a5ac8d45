// The texture-name scan of the X model: names taken from a text X file's own
// bytes, at a fixed distance after each "TextureFilename" keyword.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarko::x {

inline constexpr std::size_t kScanBytes = 32000;   // later bytes are never seen

// The leading run of characters from "a-z A-Z 0-9 _ ." of `text`, delivered
// only when another character ends it: a run to the end of `text` gives "".
std::string clean_file_name(std::string_view text);

// The scan over the first kScanBytes bytes of a file (shorter files are
// padded with zeros): nothing when they hold neither "bin" nor "xof";
// otherwise, for each "TEXTUREFILENAME" (any case) found from position 1
// while the position is below 31999, the cleaned 23 characters that start 23
// characters after the keyword's first letter. The next search starts one
// character after the hit.
std::optional<std::vector<std::string>> scan_texture_names(std::span<const std::uint8_t> bytes);

// The same on a file read by name (the runtime's path rules); a missing file
// raises File not found (53).
std::optional<std::vector<std::string>> scan_texture_file(const std::string& filename);

}  // namespace tarko::x
