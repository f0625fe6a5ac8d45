// Reader for RIFF wave files holding PCM samples (8 or 16 bits, one or two
// channels, any rate DirectSound accepts). Every chunk size is checked against
// the bytes that are really there; a file cut short is an error, not silence.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "runtime/byte_reader.h"

namespace tarko::platform::sound {

// Why a file is not a playable wave, and at which byte.
class WavError : public io::ParseError {
public:
    using io::ParseError::ParseError;
};

struct WavData {
    int channels = 0;           // 1 or 2
    int sample_rate = 0;        // frames per second
    int bits = 0;               // 8 (unsigned) or 16 (signed, little-endian)
    std::vector<std::uint8_t> samples;  // whole frames only, interleaved

    int block_align() const { return channels * bits / 8; }
    std::size_t frames() const { return block_align() ? samples.size() / block_align() : 0; }
    double seconds() const { return sample_rate ? static_cast<double>(frames()) / sample_rate : 0.0; }
};

struct WavLimits {
    int min_rate = 100;         // DirectSound's frequency range
    int max_rate = 200000;
    std::size_t max_data_bytes = std::size_t{256} << 20;
};

// Parses a whole file. Throws WavError for anything that is not a complete
// PCM wave: no RIFF/WAVE header, a chunk running past the end (or past the
// RIFF size), a missing or short "fmt " chunk, data before format, a format
// other than PCM (plain or extensible), 3+ channels, other sample sizes, a
// rate outside the limits, or no whole frame of data. A chunk of odd size is
// followed by a pad byte, which is skipped (missing at the very end: tolerated).
WavData parse_wav(std::span<const std::uint8_t> bytes, const WavLimits& limits = {});

// Folds a stereo sound into mono by averaging the channels; mono passes through.
WavData downmix_to_mono(const WavData& in);

}  // namespace tarko::platform::sound
