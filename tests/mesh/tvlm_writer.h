// Writes "TVLM" light-map files for the tests (with hooks to damage them) and other test files.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace tarko::test {

struct TvlmMapRecord {
    std::int32_t width = 0, height = 0;
    std::int16_t group = 0;
    std::vector<std::uint32_t> texels;  // written as given; the extra Long follows
};

inline void put_le(std::vector<std::uint8_t>& out, std::uint32_t v, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

// "TVLM", the map count (the number of maps unless `count` is given), each map
// with its texels and one Long 0xDEADBEEF beyond them.
inline std::vector<std::uint8_t> write_tvlm(const std::vector<TvlmMapRecord>& maps, std::string magic = "TVLM",
                                            int count = -1) {
    std::vector<std::uint8_t> out(magic.begin(), magic.end());
    put_le(out, static_cast<std::uint32_t>(count < 0 ? static_cast<int>(maps.size()) : count), 2);
    for (const auto& m : maps) {
        put_le(out, static_cast<std::uint32_t>(m.width), 4);
        put_le(out, static_cast<std::uint32_t>(m.height), 4);
        put_le(out, static_cast<std::uint32_t>(static_cast<std::uint16_t>(m.group)), 2);
        for (std::uint32_t t : m.texels) put_le(out, t, 4);
        put_le(out, 0xDEADBEEFu, 4);
    }
    return out;
}

// The first `size` bytes of a file.
inline std::vector<std::uint8_t> cut(std::vector<std::uint8_t> b, std::size_t size) {
    b.resize(size);
    return b;
}

inline std::string write_file(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path.string();
}

// A fuzz seed: with TARKO_WRITE_SEEDS=<fuzz/corpus> it is also written to <dir>/<kind>/<name>.
inline void write_seed(const std::string& kind, const std::string& name, const std::vector<std::uint8_t>& bytes) {
    if (const char* dir = std::getenv("TARKO_WRITE_SEEDS")) {
        std::filesystem::create_directories(std::filesystem::path(dir) / kind);
        write_file(std::filesystem::path(dir) / kind / name, bytes);
    }
}

}  // namespace tarko::test
