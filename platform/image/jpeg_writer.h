// JPEG files for tests and fuzz seed corpora, which must make their own: an
// encoder (libjpeg-turbo) and a second, independent decoder (stb_image) to
// hold the loader's pixels against. The engine itself never writes a file.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "runtime/image.h"

namespace tarko::platform::image {

enum class JpegKind {
    Baseline,     // RGB from 0x00RRGGBB
    Progressive,  // the same, in progressive scans
    Grey,         // one component: the pixel's green byte
    Cmyk,         // four components, no Adobe marker: bytes C, M, Y, K = bits 24..31, 16..23, 8..15, 0..7
    CmykAdobe,    // the same with the Adobe marker (samples read as 255 - ink)
};

// Pixels rows top first; quality 1..100; every component at full resolution.
// Empty on failure.
std::vector<std::uint8_t> encode_jpeg(int width, int height, std::span<const std::uint32_t> pixels,
                                      int quality = 90, JpegKind kind = JpegKind::Baseline);

// The picture as stb_image decodes it (baseline, progressive, grey, Adobe
// CMYK); an empty image when it cannot.
Image reference_decode_jpeg(std::span<const std::uint8_t> bytes);

}  // namespace tarko::platform::image
