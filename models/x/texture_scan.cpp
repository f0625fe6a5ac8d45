// ScanTextureNames' byte-exact rules.
#include "models/x/texture_scan.h"

#include <algorithm>
#include <fstream>

#include "runtime/errors.h"
#include "runtime/files.h"

namespace tarko::x {

namespace {
bool in_name_set(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '.';
}
}  // namespace

std::string clean_file_name(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i)
        if (!in_name_set(text[i])) return std::string(text.substr(0, i));
    return {};
}

std::optional<std::vector<std::string>> scan_texture_names(std::span<const std::uint8_t> bytes) {
    std::string text(kScanBytes, '\0');
    std::copy_n(bytes.begin(), std::min(bytes.size(), kScanBytes), text.begin());
    if (text.find("bin") == std::string::npos && text.find("xof") == std::string::npos) return std::nullopt;
    std::string upper = text;
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);

    std::vector<std::string> names;
    constexpr std::string_view kKey = "TEXTUREFILENAME";
    // Positions are 1-based, as the scan counts them.
    for (std::size_t pos = 1; pos < kScanBytes - 1;) {
        const std::size_t hit = upper.find(kKey, pos - 1);
        if (hit == std::string::npos) break;
        const std::size_t p = hit + 1;
        const std::size_t from = p + 23 - 1;
        names.push_back(clean_file_name(from < text.size() ? std::string_view(text).substr(from, 23) : ""));
        pos = p + 1;
    }
    return names;
}

std::optional<std::vector<std::string>> scan_texture_file(const std::string& filename) {
    const auto path = runtime::resolve_path(filename);
    if (!path) raise_error(err::FileNotFound);
    std::ifstream in(*path, std::ios::binary);
    if (!in) raise_error(err::FileNotFound);
    std::vector<std::uint8_t> bytes(kScanBytes);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return scan_texture_names(bytes);
}

}  // namespace tarko::x
