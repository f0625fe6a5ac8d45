// Little-endian appends, the byte reader's counterpart for the files the
// project writes itself: model files for tests, fuzz seeds and samples, and
// in-memory wave files.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

namespace tarko::io {

inline void put_u16(std::vector<std::uint8_t>& b, std::uint16_t v) {
    b.push_back(static_cast<std::uint8_t>(v));
    b.push_back(static_cast<std::uint8_t>(v >> 8));
}
inline void put_u32(std::vector<std::uint8_t>& b, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}
inline void put_f32(std::vector<std::uint8_t>& b, float f) {
    std::uint32_t u;
    std::memcpy(&u, &f, 4);
    put_u32(b, u);
}

}  // namespace tarko::io
