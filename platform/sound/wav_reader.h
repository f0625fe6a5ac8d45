// Reader for RIFF wave files holding PCM samples (8 or 16 bits, one or two
// channels, any rate DirectSound accepts). Every chunk size is checked against
// the bytes that are really there; a file cut short is an error, not silence.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarko::platform::sound {

struct WavError : std::runtime_error {
    WavError(const std::string& what, std::size_t offset)
        : std::runtime_error(what + " (at byte " + std::to_string(offset) + ")"), offset(offset) {}
    std::size_t offset;
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
// rate outside the limits, or no whole frame of data.
WavData parse_wav(std::span<const std::uint8_t> bytes, const WavLimits& limits = {});

// Folds a stereo sound into mono by averaging the channels; mono passes through.
WavData downmix_to_mono(const WavData& in);

}  // namespace tarko::platform::sound
