// Path resolution and binary reads.
#include "runtime/files.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>

#include "runtime/errors.h"

namespace tarko::runtime {
namespace fs = std::filesystem;

static std::string normalise_separators(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
}

static bool iequal(const std::string& a, const std::string& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](unsigned char x, unsigned char y) {
               return std::tolower(x) == std::tolower(y);
           });
}

std::optional<fs::path> resolve_path(const std::string& name) {
    if (name.empty()) return std::nullopt;
    const fs::path wanted(normalise_separators(name));
    std::error_code ec;
    if (fs::exists(wanted, ec)) return wanted;

    // Walk component by component, matching each without regard to case.
    fs::path current = wanted.is_absolute() ? wanted.root_path() : fs::path(".");
    for (const auto& part : wanted.relative_path()) {
        const std::string piece = part.string();
        if (piece.empty() || piece == ".") continue;
        if (piece == "..") { current /= piece; continue; }
        fs::path exact = current / piece;
        if (fs::exists(exact, ec)) { current = exact; continue; }
        bool found = false;
        for (fs::directory_iterator it(current, ec), end; !ec && it != end; it.increment(ec)) {
            if (iequal(it->path().filename().string(), piece)) {
                current = it->path();
                found = true;
                break;
            }
        }
        if (!found) return std::nullopt;
    }
    if (!wanted.is_absolute() && current.begin() != current.end() && *current.begin() == ".")
        current = current.lexically_relative(".");
    return current;
}

bool file_exists(const std::string& name) {
    const auto p = resolve_path(name);
    std::error_code ec;
    return p && fs::is_regular_file(*p, ec);
}

static std::vector<std::uint8_t> read_resolved(const fs::path& path, std::size_t max_bytes) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec)) raise_error(err::FileNotFound);
    const auto size = fs::file_size(path, ec);
    if (ec) raise_error(err::FileNotFound);
    if (size > max_bytes) raise_error(err::OutOfMemory);
    std::ifstream in(path, std::ios::binary);
    if (!in) raise_error(err::FileNotFound);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
}

std::vector<std::uint8_t> read_file(const std::string& name, std::size_t max_bytes) {
    const auto path = resolve_path(name);
    if (!path) raise_error(err::FileNotFound, "File not found: " + name);
    return read_resolved(*path, max_bytes);
}

std::vector<std::uint8_t> read_file_or_empty(const std::string& name, std::size_t max_bytes) {
    const auto path = resolve_path(name);
    if (!path) return {};
    return read_resolved(*path, max_bytes);
}

std::string directory_of(const std::string& name) {
    const auto pos = name.find_last_of("\\/");
    return pos == std::string::npos ? std::string() : name.substr(0, pos + 1);
}

std::string join_path(const std::string& folder, const std::string& file) {
    if (folder.empty()) return file;
    const char last = folder.back();
    return (last == '/' || last == '\\') ? folder + file : folder + "/" + file;
}

void BinaryFile::Seek(Long position) {
    if (position < 1) raise_error(err::BadFileName);
    position_ = static_cast<std::size_t>(position);
}

const std::uint8_t* BinaryFile::take(std::size_t count) {
    const std::size_t start = position_ - 1;
    if (start > bytes_.size() || count > bytes_.size() - start) raise_error(err::InputPastEnd);
    position_ += count;
    return bytes_.data() + start;
}

Byte BinaryFile::get_byte() { return *take(1); }

Integer BinaryFile::get_integer() {
    const auto* p = take(2);
    return static_cast<Integer>(p[0] | (p[1] << 8));
}

Long BinaryFile::get_long() {
    const auto* p = take(4);
    return static_cast<Long>(static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
                             (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24));
}

Single BinaryFile::get_single() {
    const Long bits = get_long();
    Single f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

std::vector<std::uint8_t> BinaryFile::get_bytes(std::size_t count) {
    const auto* p = take(count);
    return {p, p + count};
}

std::string BinaryFile::get_string(std::size_t length) {
    const auto* p = take(length);
    return {reinterpret_cast<const char*>(p), length};
}

std::u32string utf8_to_codepoints(const std::string& text) {
    std::u32string out;
    for (std::size_t i = 0; i < text.size();) {
        const auto c = static_cast<unsigned char>(text[i]);
        int extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
        if (extra < 0 || i + static_cast<std::size_t>(extra) >= text.size() + (extra == 0 ? 1 : 0)) {
            // Not UTF-8: take the byte as Latin-1.
            out.push_back(c);
            ++i;
            continue;
        }
        char32_t cp = extra == 0 ? c : (c & (0x3F >> extra));
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            const auto cc = static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]);
            if ((cc & 0xC0) != 0x80) { ok = false; break; }
            cp = (cp << 6) | (cc & 0x3F);
        }
        if (!ok) { out.push_back(c); ++i; continue; }
        out.push_back(cp);
        i += static_cast<std::size_t>(extra) + 1;
    }
    return out;
}

std::string latin1_to_utf8(const std::string& bytes) {
    std::string out;
    for (unsigned char c : bytes) {
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

}  // namespace tarko::runtime
