// Standard MIDI file reader.
#include "platform/music/smf_reader.h"

#include <algorithm>
#include <cstring>

namespace tarko::platform::music {
namespace {

class Reader {
public:
    Reader(std::span<const std::uint8_t> bytes, std::size_t base) : bytes_(bytes), base_(base) {}
    bool at_end() const { return pos_ >= bytes_.size(); }
    std::size_t offset() const { return base_ + pos_; }
    std::size_t left() const { return bytes_.size() - pos_; }

    std::uint8_t u8() {
        if (at_end()) throw SmfError("track data cut short", offset());
        return bytes_[pos_++];
    }
    std::uint8_t peek() const {
        if (at_end()) throw SmfError("track data cut short", offset());
        return bytes_[pos_];
    }
    // Variable-length quantity: at most four bytes, 28 bits.
    std::uint32_t vlq() {
        std::uint32_t v = 0;
        for (int i = 0; i < 4; ++i) {
            const std::uint8_t b = u8();
            v = (v << 7) | (b & 0x7F);
            if (!(b & 0x80)) return v;
        }
        throw SmfError("variable-length number longer than four bytes", offset());
    }
    std::span<const std::uint8_t> take(std::uint32_t n) {
        if (n > left()) throw SmfError("event length runs past the end of the track", offset());
        auto s = bytes_.subspan(pos_, n);
        pos_ += n;
        return s;
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t base_;
    std::size_t pos_ = 0;
};

std::uint32_t be32(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
           static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}
std::uint16_t be16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] << 8 | p[1]); }

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

MidiSequence parse_smf(std::span<const std::uint8_t> bytes, const SmfLimits& limits) {
    if (bytes.size() < 14 || std::memcmp(bytes.data(), "MThd", 4) != 0) throw SmfError("not a standard MIDI file", 0);
    const std::uint32_t header_size = be32(bytes.data() + 4);
    if (header_size < 6 || header_size > bytes.size() - 8) throw SmfError("header size out of range", 4);
    const int format = be16(bytes.data() + 8);
    const int track_count = be16(bytes.data() + 10);
    const std::uint16_t division = be16(bytes.data() + 12);
    if (format > 1) throw SmfError("MIDI format " + std::to_string(format) + " is not supported (0 or 1)", 8);
    if (track_count == 0) throw SmfError("no tracks", 10);
    if (format == 0 && track_count != 1) throw SmfError("format 0 with more than one track", 10);

    // Ticks per quarter of the file, or SMPTE ticks per second read at 120 bpm.
    std::int64_t source_per_quarter = division;
    bool smpte = false;
    if (division & 0x8000) {
        const int fps = 256 - (division >> 8);  // stored as a negative byte
        const int per_frame = division & 0xFF;
        if (fps != 24 && fps != 25 && fps != 29 && fps != 30) throw SmfError("bad SMPTE frame rate", 12);
        if (per_frame == 0) throw SmfError("zero ticks per frame", 13);
        source_per_quarter = static_cast<std::int64_t>(fps) * per_frame / 2;  // half a second per quarter
        if (source_per_quarter == 0) source_per_quarter = 1;
        smpte = true;
    }
    if (source_per_quarter == 0) throw SmfError("zero ticks per quarter note", 12);
    const auto convert = [&](std::int64_t t) {
        return (t * kTicksPerQuarter + source_per_quarter / 2) / source_per_quarter;
    };
    // The largest source tick that still fits once converted.
    const std::int64_t max_source_tick = limits.max_ticks / kTicksPerQuarter * source_per_quarter;

    MidiSequence seq;
    std::vector<RawTempo> raw_tempos;
    bool have_time_sig = false;
    std::size_t pos = 8 + header_size;
    int tracks_read = 0;
    std::vector<std::vector<MidiEvent>> per_track;

    while (tracks_read < track_count) {
        if (bytes.size() - pos < 8) throw SmfError("missing track " + std::to_string(tracks_read + 1), pos);
        const std::uint8_t* head = bytes.data() + pos;
        const std::uint32_t size = be32(head + 4);
        if (size > bytes.size() - pos - 8) throw SmfError("chunk size runs past the end of the file", pos + 4);
        const std::size_t body = pos + 8;
        pos = body + size;
        if (std::memcmp(head, "MTrk", 4) != 0) continue;  // unknown chunks are skipped
        ++tracks_read;

        Reader in(bytes.subspan(body, size), body);
        std::int64_t tick = 0;
        std::uint8_t running = 0;
        bool ended = false;
        auto& events = per_track.emplace_back();
        while (!in.at_end()) {
            tick += in.vlq();
            if (tick > max_source_tick) throw SmfError("delta time takes the piece beyond the music clock", in.offset());
            std::uint8_t status = in.peek();
            if (status & 0x80) {
                in.u8();
            } else {
                if (!running) throw SmfError("data byte without a running status", in.offset());
                status = running;
            }
            if (status == 0xFF) {
                running = 0;
                const std::uint8_t type = in.u8();
                const auto data = in.take(in.vlq());
                if (type == 0x2F) {
                    ended = true;
                    break;
                }
                if (type == 0x51) {
                    if (data.size() != 3) throw SmfError("tempo event is not three bytes", in.offset());
                    const std::uint32_t us = static_cast<std::uint32_t>(data[0]) << 16 | data[1] << 8 | data[2];
                    if (us == 0) throw SmfError("tempo of zero microseconds per quarter", in.offset());
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
                in.take(in.vlq());  // system exclusive: skipped
            } else if (status >= 0xF0) {
                throw SmfError("system message in a track", in.offset());
            } else {
                running = status;
                MidiEvent e;
                e.tick = tick;
                e.status = status;
                e.data1 = in.u8();
                const std::uint8_t command = status & 0xF0;
                if (command != 0xC0 && command != 0xD0) e.data2 = in.u8();
                if ((e.data1 | e.data2) & 0x80) throw SmfError("data byte above 127", in.offset());
                if (command == 0x90 && e.data2 == 0) e.status = static_cast<std::uint8_t>(0x80 | (status & 0x0F));
                events.push_back(e);
                if (events.size() + seq.events.size() > limits.max_events)
                    throw SmfError("more events than the limit", in.offset());
            }
        }
        if (!ended) throw SmfError("track " + std::to_string(tracks_read) + " has no end-of-track event", in.offset());
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

}  // namespace tarko::platform::music
