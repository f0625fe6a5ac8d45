// Standard MIDI file reader.
#include "platform/music/smf_reader.h"

#include <algorithm>

namespace tarko::platform::music {
namespace {

// Variable-length quantity: at most four bytes, 28 bits.
std::uint32_t vlq(io::ByteReader& in) {
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i) {
        const std::uint8_t b = in.u8();
        v = (v << 7) | (b & 0x7F);
        if (!(b & 0x80)) return v;
    }
    in.fail("variable-length number longer than four bytes");
}

// A length, then that many bytes of the track.
std::span<const std::uint8_t> counted_bytes(io::ByteReader& in) {
    const std::uint32_t n = vlq(in);
    if (n > in.remaining()) in.fail("event length runs past the end of the track");
    return in.bytes(n);
}

struct RawTempo {
    std::int64_t tick;
    std::uint32_t us_per_quarter;
    std::size_t order;
};

}  // namespace

double MidiSequence::tempo_at(std::int64_t tick) const {
    double bpm = 120.0;
    for (const auto& t : tempos) {
        if (t.tick > tick) break;
        bpm = t.bpm;
    }
    return bpm;
}

double MidiSequence::seconds_at(std::int64_t tick) const {
    double seconds = 0;
    std::int64_t at = 0;
    double bpm = 120.0;
    for (const auto& t : tempos) {
        if (t.tick >= tick) break;
        seconds += static_cast<double>(t.tick - at) / kTicksPerQuarter * 60.0 / bpm;
        at = t.tick;
        bpm = t.bpm;
    }
    return seconds + static_cast<double>(tick - at) / kTicksPerQuarter * 60.0 / bpm;
}

namespace {

MidiSequence parse(std::span<const std::uint8_t> bytes, const SmfLimits& limits) {
    io::ByteReader file(bytes);
    if (bytes.size() < 14 || !file.match("MThd")) file.fail_at(0, "not a standard MIDI file");
    const std::uint32_t header_size = file.u32be();
    if (header_size < 6 || header_size > file.remaining()) file.fail_at(4, "header size out of range");
    io::ByteReader header = file.sub(header_size);
    const int format = header.u16be();
    const int track_count = header.u16be();
    const std::uint16_t division = header.u16be();
    if (format > 1) file.fail_at(8, "MIDI format " + std::to_string(format) + " is not supported (0 or 1)");
    if (track_count == 0) file.fail_at(10, "no tracks");
    if (format == 0 && track_count != 1) file.fail_at(10, "format 0 with more than one track");

    // Ticks per quarter of the file, or SMPTE ticks per second read at 120 bpm.
    std::int64_t source_per_quarter = division;
    bool smpte = false;
    if (division & 0x8000) {
        const int fps = 256 - (division >> 8);  // stored as a negative byte
        const int per_frame = division & 0xFF;
        if (fps != 24 && fps != 25 && fps != 29 && fps != 30) file.fail_at(12, "bad SMPTE frame rate");
        if (per_frame == 0) file.fail_at(13, "zero ticks per frame");
        source_per_quarter = static_cast<std::int64_t>(fps) * per_frame / 2;  // half a second per quarter
        if (source_per_quarter == 0) source_per_quarter = 1;
        smpte = true;
    }
    if (source_per_quarter == 0) file.fail_at(12, "zero ticks per quarter note");
    const auto convert = [&](std::int64_t t) {
        return (t * kTicksPerQuarter + source_per_quarter / 2) / source_per_quarter;
    };
    // The largest source tick that still fits once converted.
    const std::int64_t max_source_tick = limits.max_ticks / kTicksPerQuarter * source_per_quarter;

    MidiSequence seq;
    std::vector<RawTempo> raw_tempos;
    bool have_time_sig = false;
    int tracks_read = 0;
    std::size_t events_seen = 0;  // every event of every track, held or not, against the limit
    std::vector<std::vector<MidiEvent>> per_track;

    while (tracks_read < track_count) {
        const std::size_t at = file.offset();
        if (file.remaining() < 8) file.fail("missing track " + std::to_string(tracks_read + 1));
        const bool is_track = file.match("MTrk");
        if (!is_track) file.skip(4);
        const std::uint32_t size = file.u32be();
        if (size > file.remaining()) file.fail_at(at + 4, "chunk size runs past the end of the file");
        io::ByteReader in = file.sub(size);
        if (!is_track) continue;  // unknown chunks are skipped
        ++tracks_read;

        std::int64_t tick = 0;
        std::uint8_t running = 0;
        bool ended = false;
        auto& events = per_track.emplace_back();
        while (!in.at_end()) {
            tick += vlq(in);
            if (tick > max_source_tick) in.fail("delta time takes the piece beyond the music clock");
            if (++events_seen > limits.max_events) in.fail("more events than the limit");
            std::uint8_t status = in.peek_u8();
            if (status & 0x80) {
                in.u8();
            } else {
                if (!running) in.fail("data byte without a running status");
                status = running;
            }
            if (status == 0xFF) {
                running = 0;
                const std::uint8_t type = in.u8();
                const auto data = counted_bytes(in);
                if (type == 0x2F) {
                    ended = true;
                    break;
                }
                if (type == 0x51) {
                    if (data.size() != 3) in.fail("tempo event is not three bytes");
                    const std::uint32_t us = static_cast<std::uint32_t>(data[0]) << 16 | data[1] << 8 | data[2];
                    if (us == 0) in.fail("tempo of zero microseconds per quarter");
                    if (!smpte) raw_tempos.push_back({tick, us, raw_tempos.size()});
                } else if (type == 0x58 && !have_time_sig && tick == 0) {
                    if (data.size() >= 2 && data[0] > 0 && data[1] < 8) {
                        seq.time_sig_numerator = data[0];
                        seq.time_sig_denominator = 1 << data[1];
                        have_time_sig = true;
                    }
                }
            } else if (status == 0xF0 || status == 0xF7) {
                running = 0;
                counted_bytes(in);  // system exclusive: skipped
            } else if (status >= 0xF0) {
                in.fail("system message in a track");
            } else {
                running = status;
                MidiEvent e;
                e.tick = tick;
                e.status = status;
                e.data1 = in.u8();
                const std::uint8_t command = status & 0xF0;
                if (command != 0xC0 && command != 0xD0) e.data2 = in.u8();
                if ((e.data1 | e.data2) & 0x80) in.fail("data byte above 127");
                if (command == 0x90 && e.data2 == 0) e.status = static_cast<std::uint8_t>(0x80 | (status & 0x0F));
                events.push_back(e);
            }
        }
        if (!ended) in.fail("track " + std::to_string(tracks_read) + " has no end-of-track event");
        seq.length = std::max(seq.length, convert(tick));
        for (auto& e : events) e.tick = convert(e.tick);
        seq.events.insert(seq.events.end(), events.begin(), events.end());
        events.clear();
        events.shrink_to_fit();
    }
    std::stable_sort(seq.events.begin(), seq.events.end(),
                     [](const MidiEvent& a, const MidiEvent& b) { return a.tick < b.tick; });

    std::stable_sort(raw_tempos.begin(), raw_tempos.end(),
                     [](const RawTempo& a, const RawTempo& b) { return a.tick < b.tick; });
    seq.tempos.push_back({0, 120.0});
    for (const auto& t : raw_tempos) {
        const TempoChange change{convert(t.tick), 60'000'000.0 / t.us_per_quarter};
        if (change.tick == seq.tempos.back().tick)
            seq.tempos.back() = change;  // the last one at a tick wins
        else
            seq.tempos.push_back(change);
    }
    return seq;
}

}  // namespace

MidiSequence parse_smf(std::span<const std::uint8_t> bytes, const SmfLimits& limits) {
    try {
        return parse(bytes, limits);
    } catch (const io::ParseError& e) {
        throw SmfError(e.reason(), e.offset());
    }
}

}  // namespace tarko::platform::music
