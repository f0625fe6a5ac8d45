// Binary file access with the engine's path rules: "\" and "/" both separate,
// and a name not found as written is looked up case-insensitively, component
// by component. The library never creates or writes a file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "runtime/numeric.h"

namespace tarko::runtime {

// The file a name refers to, or nothing when neither the exact nor a
// case-insensitive match exists.
std::optional<std::filesystem::path> resolve_path(const std::string& name);
bool file_exists(const std::string& name);

// The whole file. A missing file raises FileNotFound (53); a file larger than
// `max_bytes` raises OutOfMemory (7).
std::vector<std::uint8_t> read_file(const std::string& name, std::size_t max_bytes = std::size_t{1} << 30);
// The same, but a missing file reads as empty.
std::vector<std::uint8_t> read_file_or_empty(const std::string& name, std::size_t max_bytes = std::size_t{1} << 30);

// The folder part of a name up to and including its last separator ("\" or
// "/"), or "" when it has none.
std::string directory_of(const std::string& name);
// Joins a folder (with or without a trailing separator) and a file name.
std::string join_path(const std::string& folder, const std::string& file);

// Bytes of an open binary file read at 1-based positions, as the runtime's
// Get does. Reading past the end raises InputPastEnd (62).
class BinaryFile {
public:
    explicit BinaryFile(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}
    static BinaryFile open(const std::string& name) { return BinaryFile(read_file(name)); }

    Long LOF() const { return static_cast<Long>(bytes_.size()); }
    bool EOF_() const { return position_ > bytes_.size(); }
    void Seek(Long position);             // 1-based
    Long position() const { return static_cast<Long>(position_); }

    Byte get_byte();
    Integer get_integer();                // little-endian 16-bit
    Long get_long();                      // little-endian 32-bit
    Single get_single();
    std::vector<std::uint8_t> get_bytes(std::size_t count);
    std::string get_string(std::size_t length);  // fixed-length, raw bytes

    const std::vector<std::uint8_t>& bytes() const { return bytes_; }

private:
    const std::uint8_t* take(std::size_t count);
    std::vector<std::uint8_t> bytes_;
    std::size_t position_ = 1;
};

// Text conversions between the engine's UTF-8 strings and the 8-bit Windows-1252
// code page of the files it reads.
std::u32string utf8_to_codepoints(const std::string& text);
std::string latin1_to_utf8(const std::string& bytes);

}  // namespace tarko::runtime
