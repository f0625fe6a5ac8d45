// Builds wave files in memory (tests, tools and examples make their sounds
// with it; the library itself never writes a file).
#pragma once

#include <cstdint>
#include <vector>

namespace tarko::platform::sound {

// A RIFF/PCM file around `samples` (interleaved frames, as they go in the data chunk).
std::vector<std::uint8_t> make_wav(int channels, int sample_rate, int bits, const std::vector<std::uint8_t>& samples);

// A sine tone: `seconds` long at `frequency` Hz and `amplitude` (0..1), 16-bit.
std::vector<std::uint8_t> make_tone_wav(double frequency, double seconds, int sample_rate = 22050, int channels = 1,
                                        double amplitude = 0.5);

}  // namespace tarko::platform::sound
