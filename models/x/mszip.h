// The body of a compressed X file ("tzip"/"bzip"): a 32-bit total size, then
// MSZIP blocks of (u16 uncompressed size, u16 compressed size, "CK", raw
// deflate data), each block's dictionary carrying over from the output before it.
#pragma once

#include <cstdint>
#include <vector>

#include "runtime/byte_reader.h"

namespace tarko::x {

// Inflates every block from the reader's position to its end. The compressed
// size counts the "CK" signature. A block may not give more than its stated
// size (at most 32768 bytes); the total is checked against the output, which
// may or may not count the 16-byte file header. Throws io::ParseError.
std::vector<std::uint8_t> inflate_mszip(io::ByteReader& in);

}  // namespace tarko::x
