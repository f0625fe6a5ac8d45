// RIFF/PCM wave reader.
#include "platform/sound/wav_reader.h"

#include <cstring>

namespace tarko::platform::sound {
namespace {

std::uint32_t u32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}
std::uint16_t u16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
bool tag_is(const std::uint8_t* p, const char* tag) { return std::memcmp(p, tag, 4) == 0; }

// The sub-format GUID of WAVE_FORMAT_EXTENSIBLE PCM: 00000001-0000-0010-8000-00aa00389b71.
constexpr std::uint8_t kPcmGuid[16] = {0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                       0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

}  // namespace

WavData parse_wav(std::span<const std::uint8_t> bytes, const WavLimits& limits) {
    if (bytes.size() < 12) throw WavError("file too short for a RIFF header", 0);
    if (!tag_is(bytes.data(), "RIFF") || !tag_is(bytes.data() + 8, "WAVE"))
        throw WavError("not a RIFF WAVE file", 0);
    const std::uint64_t riff_size = u32(bytes.data() + 4);
    if (riff_size < 4 || riff_size > bytes.size() - 8) throw WavError("RIFF size runs past the end of the file", 4);
    const std::size_t end = static_cast<std::size_t>(riff_size) + 8;  // bytes after the RIFF chunk are ignored

    WavData out;
    bool have_format = false, have_data = false;
    std::size_t pos = 12;
    while (pos < end && !have_data) {
        if (end - pos < 8) throw WavError("chunk header cut short", pos);
        const std::uint8_t* head = bytes.data() + pos;
        const std::uint64_t size = u32(head + 4);
        const std::size_t body = pos + 8;
        if (size > end - body) throw WavError("chunk size runs past the end of the file", pos + 4);
        const std::uint8_t* p = bytes.data() + body;

        if (tag_is(head, "fmt ")) {
            if (have_format) throw WavError("second \"fmt \" chunk", pos);
            if (size < 16) throw WavError("\"fmt \" chunk shorter than 16 bytes", pos + 4);
            std::uint16_t tag = u16(p);
            const int channels = u16(p + 2);
            const std::uint32_t rate = u32(p + 4);
            const int align = u16(p + 12);
            const int bits = u16(p + 14);
            if (tag == 0xFFFE) {  // extensible: the real format is in the sub-format GUID
                if (size < 40 || u16(p + 16) < 22) throw WavError("extensible format chunk cut short", pos + 4);
                if (std::memcmp(p + 24, kPcmGuid, 16) != 0) throw WavError("extensible format is not PCM", body + 24);
                tag = 1;
            }
            if (tag != 1) throw WavError("format " + std::to_string(tag) + " is not PCM", body);
            if (channels != 1 && channels != 2)
                throw WavError(std::to_string(channels) + " channels (1 or 2 supported)", body + 2);
            if (bits != 8 && bits != 16) throw WavError(std::to_string(bits) + "-bit samples (8 or 16 supported)", body + 14);
            if (rate < static_cast<std::uint32_t>(limits.min_rate) || rate > static_cast<std::uint32_t>(limits.max_rate))
                throw WavError("sample rate " + std::to_string(rate) + " out of range", body + 4);
            if (align != channels * bits / 8) throw WavError("block align does not match the format", body + 12);
            out.channels = channels;
            out.sample_rate = static_cast<int>(rate);
            out.bits = bits;
            have_format = true;
        } else if (tag_is(head, "data")) {
            if (!have_format) throw WavError("\"data\" chunk before \"fmt \"", pos);
            if (size > limits.max_data_bytes) throw WavError("data chunk larger than the limit", pos + 4);
            const std::size_t whole = static_cast<std::size_t>(size) / out.block_align() * out.block_align();
            if (whole == 0) throw WavError("no whole sample frame in the data chunk", pos + 4);
            out.samples.assign(p, p + whole);
            have_data = true;
        }
        // Chunks are padded to an even length; a missing pad byte at the very end is tolerated.
        pos = body + static_cast<std::size_t>(size) + (size & 1);
    }
    if (!have_format) throw WavError("no \"fmt \" chunk", pos);
    if (!have_data) throw WavError("no \"data\" chunk", pos);
    return out;
}

WavData downmix_to_mono(const WavData& in) {
    if (in.channels != 2) return in;
    WavData out;
    out.channels = 1;
    out.sample_rate = in.sample_rate;
    out.bits = in.bits;
    const std::size_t frames = in.frames();
    if (in.bits == 8) {
        out.samples.resize(frames);
        for (std::size_t i = 0; i < frames; ++i)
            out.samples[i] = static_cast<std::uint8_t>((in.samples[2 * i] + in.samples[2 * i + 1] + 1) / 2);
    } else {
        out.samples.resize(frames * 2);
        for (std::size_t i = 0; i < frames; ++i) {
            const int l = static_cast<std::int16_t>(u16(&in.samples[4 * i]));
            const int r = static_cast<std::int16_t>(u16(&in.samples[4 * i + 2]));
            const auto m = static_cast<std::uint16_t>(static_cast<std::int16_t>((l + r) / 2));
            out.samples[2 * i] = static_cast<std::uint8_t>(m & 0xFF);
            out.samples[2 * i + 1] = static_cast<std::uint8_t>(m >> 8);
        }
    }
    return out;
}

}  // namespace tarko::platform::sound
