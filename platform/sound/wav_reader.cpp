// RIFF/PCM wave reader.
#include "platform/sound/wav_reader.h"


namespace tarko::platform::sound {
namespace {

// The sub-format GUID of WAVE_FORMAT_EXTENSIBLE PCM: 00000001-0000-0010-8000-00aa00389b71.
constexpr std::uint8_t kPcmGuid[16] = {0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x10, 0x00,
                                       0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

void read_format(io::ByteReader fmt, const WavLimits& limits, WavData& out) {
    const std::size_t body = fmt.offset();
    if (fmt.size() < 16) fmt.fail_at(body - 4, "\"fmt \" chunk shorter than 16 bytes");
    std::uint16_t tag = fmt.u16();
    const int channels = fmt.u16();
    const std::uint32_t rate = fmt.u32();
    fmt.skip(4);  // bytes per second: follows from the rest
    const int align = fmt.u16();
    const int bits = fmt.u16();
    if (tag == 0xFFFE) {  // extensible: the real format is in the sub-format GUID
        if (fmt.size() < 40 || fmt.u16() < 22) fmt.fail_at(body - 4, "extensible format chunk cut short");
        fmt.skip(6);
        if (!fmt.match(std::string_view(reinterpret_cast<const char*>(kPcmGuid), 16)))
            fmt.fail("extensible format is not PCM");
        tag = 1;
    }
    if (tag != 1) fmt.fail_at(body, "format " + std::to_string(tag) + " is not PCM");
    if (channels != 1 && channels != 2) fmt.fail_at(body + 2, std::to_string(channels) + " channels (1 or 2 supported)");
    if (bits != 8 && bits != 16) fmt.fail_at(body + 14, std::to_string(bits) + "-bit samples (8 or 16 supported)");
    if (rate < static_cast<std::uint32_t>(limits.min_rate) || rate > static_cast<std::uint32_t>(limits.max_rate))
        fmt.fail_at(body + 4, "sample rate " + std::to_string(rate) + " out of range");
    if (align != channels * bits / 8) fmt.fail_at(body + 12, "block align does not match the format");
    out.channels = channels;
    out.sample_rate = static_cast<int>(rate);
    out.bits = bits;
}

WavData parse(std::span<const std::uint8_t> bytes, const WavLimits& limits) {
    io::ByteReader file(bytes);
    file.need(12, "file too short for a RIFF header");
    if (!file.match("RIFF") || !file.range(8, 4).match("WAVE")) file.fail_at(0, "not a RIFF WAVE file");
    const std::uint32_t riff_size = file.u32();
    if (riff_size < 4 || riff_size > file.remaining()) file.fail_at(4, "RIFF size runs past the end of the file");
    io::ByteReader riff = file.sub(riff_size);  // bytes after the RIFF chunk are ignored
    riff.skip(4);

    WavData out;
    bool have_format = false, have_data = false;
    while (!riff.at_end() && !have_data) {
        const std::size_t at = riff.offset();
        riff.need(8, "chunk header cut short");
        const auto tag = riff.fixed_string(4);
        const std::uint32_t size = riff.u32();
        if (size > riff.remaining()) riff.fail_at(at + 4, "chunk size runs past the end of the file");
        io::ByteReader body = riff.sub(size);
        if (tag == "fmt ") {
            if (have_format) riff.fail_at(at, "second \"fmt \" chunk");
            read_format(body, limits, out);
            have_format = true;
        } else if (tag == "data") {
            if (!have_format) riff.fail_at(at, "\"data\" chunk before \"fmt \"");
            if (size > limits.max_data_bytes) riff.fail_at(at + 4, "data chunk larger than the limit");
            const std::size_t whole = size / out.block_align() * out.block_align();
            if (whole == 0) riff.fail_at(at + 4, "no whole sample frame in the data chunk");
            const auto samples = body.bytes(whole);
            out.samples.assign(samples.begin(), samples.end());
            have_data = true;
        }
        // Chunks are padded to an even length; a missing pad byte at the very end is tolerated.
        if (size % 2 == 1 && !riff.at_end()) riff.skip(1);
    }
    if (!have_format) riff.fail("no \"fmt \" chunk");
    if (!have_data) riff.fail("no \"data\" chunk");
    return out;
}

}  // namespace

WavData parse_wav(std::span<const std::uint8_t> bytes, const WavLimits& limits) {
    try {
        return parse(bytes, limits);
    } catch (const io::ParseError& e) {
        throw WavError(e.reason(), e.offset());
    }
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
            io::ByteReader frame(std::span(in.samples).subspan(4 * i, 4));
            const int l = frame.i16();
            const int r = frame.i16();
            const auto m = static_cast<std::uint16_t>(static_cast<std::int16_t>((l + r) / 2));
            out.samples[2 * i] = static_cast<std::uint8_t>(m & 0xFF);
            out.samples[2 * i + 1] = static_cast<std::uint8_t>(m >> 8);
        }
    }
    return out;
}

}  // namespace tarko::platform::sound
