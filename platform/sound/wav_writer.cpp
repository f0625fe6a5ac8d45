// In-memory wave files.
#include "platform/sound/wav_writer.h"

#include <cmath>
#include <numbers>

#include "runtime/byte_writer.h"

namespace tarko::platform::sound {
namespace {
using io::put_u16, io::put_u32;
void tag(std::vector<std::uint8_t>& out, const char* t) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(t[i]));
}
}  // namespace

std::vector<std::uint8_t> make_wav(int channels, int sample_rate, int bits, const std::vector<std::uint8_t>& samples) {
    std::vector<std::uint8_t> out;
    const auto data_size = static_cast<std::uint32_t>(samples.size());
    const std::uint32_t pad = data_size & 1;
    out.reserve(44 + samples.size() + pad);
    tag(out, "RIFF");
    put_u32(out, 4 + 8 + 16 + 8 + data_size + pad);
    tag(out, "WAVE");
    tag(out, "fmt ");
    put_u32(out, 16);
    put_u16(out, 1);
    put_u16(out, static_cast<std::uint16_t>(channels));
    put_u32(out, static_cast<std::uint32_t>(sample_rate));
    put_u32(out, static_cast<std::uint32_t>(sample_rate * channels * bits / 8));
    put_u16(out, static_cast<std::uint16_t>(channels * bits / 8));
    put_u16(out, static_cast<std::uint16_t>(bits));
    tag(out, "data");
    put_u32(out, data_size);
    for (std::uint8_t b : samples) out.push_back(b);
    if (pad) out.push_back(0);
    return out;
}

std::vector<std::uint8_t> make_tone_wav(double frequency, double seconds, int sample_rate, int channels,
                                        double amplitude) {
    const auto frames = static_cast<std::size_t>(seconds * sample_rate);
    std::vector<std::uint8_t> samples;
    samples.reserve(frames * 2 * static_cast<std::size_t>(channels));
    for (std::size_t i = 0; i < frames; ++i) {
        const double v = amplitude * std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / sample_rate);
        const auto s = static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32767.0)));
        for (int c = 0; c < channels; ++c) {
            samples.push_back(static_cast<std::uint8_t>(s & 0xFF));
            samples.push_back(static_cast<std::uint8_t>(s >> 8));
        }
    }
    return make_wav(channels, sample_rate, 16, samples);
}

}  // namespace tarko::platform::sound
