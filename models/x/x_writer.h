// X files written into memory, in any of the forms the reader takes: for the
// tests, the fuzz seeds, the sample generator and the benchmarks (the library
// itself writes no files).
#pragma once

#include <cstdint>
#include <vector>

#include "models/x/x_file.h"

namespace tarko::x {

enum class Form { Text, Binary32, Binary64, TextZip, BinaryZip };

// Top-level meshes first, then frames. Text puts a texture name exactly 23
// characters after its "TextureFilename" keyword, as exporters of the time
// did. Compressed forms cut the body into 32 KB blocks.
std::vector<std::uint8_t> write(const File& file, Form form);

// The MSZIP body of `plain` (total size, then blocks), as inflate_mszip reads it.
std::vector<std::uint8_t> deflate_mszip(const std::vector<std::uint8_t>& plain, std::uint32_t total);

}  // namespace tarko::x
