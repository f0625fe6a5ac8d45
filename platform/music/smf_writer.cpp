// In-memory standard MIDI files.
#include "platform/music/smf_writer.h"

namespace tarko::platform::music {

void put_vlq(std::vector<std::uint8_t>& out, std::uint32_t value) {
    std::uint8_t groups[5];
    int n = 0;
    do {
        groups[n++] = static_cast<std::uint8_t>(value & 0x7F);
        value >>= 7;
    } while (value && n < 5);
    while (n-- > 0) out.push_back(static_cast<std::uint8_t>(groups[n] | (n ? 0x80 : 0)));
}

SmfTrackWriter& SmfTrackWriter::event(std::uint32_t delta, std::initializer_list<std::uint8_t> data) {
    put_vlq(bytes_, delta);
    for (std::uint8_t b : data) bytes_.push_back(b);
    return *this;
}

SmfTrackWriter& SmfTrackWriter::tempo(std::uint32_t delta, std::uint32_t us) {
    return event(delta, {0xFF, 0x51, 0x03, static_cast<std::uint8_t>(us >> 16), static_cast<std::uint8_t>(us >> 8),
                         static_cast<std::uint8_t>(us)});
}
SmfTrackWriter& SmfTrackWriter::time_signature(std::uint32_t delta, int numerator, int denominator_power) {
    return event(delta, {0xFF, 0x58, 0x04, static_cast<std::uint8_t>(numerator),
                         static_cast<std::uint8_t>(denominator_power), 24, 8});
}
SmfTrackWriter& SmfTrackWriter::program(std::uint32_t delta, int channel, int program) {
    return event(delta, {static_cast<std::uint8_t>(0xC0 | channel), static_cast<std::uint8_t>(program)});
}
SmfTrackWriter& SmfTrackWriter::note_on(std::uint32_t delta, int channel, int key, int velocity) {
    return event(delta, {static_cast<std::uint8_t>(0x90 | channel), static_cast<std::uint8_t>(key),
                         static_cast<std::uint8_t>(velocity)});
}
SmfTrackWriter& SmfTrackWriter::note_off(std::uint32_t delta, int channel, int key) {
    return event(delta, {static_cast<std::uint8_t>(0x80 | channel), static_cast<std::uint8_t>(key), 64});
}
SmfTrackWriter& SmfTrackWriter::controller(std::uint32_t delta, int channel, int number, int value) {
    return event(delta, {static_cast<std::uint8_t>(0xB0 | channel), static_cast<std::uint8_t>(number),
                         static_cast<std::uint8_t>(value)});
}
SmfTrackWriter& SmfTrackWriter::sysex(std::uint32_t delta, const std::vector<std::uint8_t>& payload) {
    put_vlq(bytes_, delta);
    bytes_.push_back(0xF0);
    put_vlq(bytes_, static_cast<std::uint32_t>(payload.size()));
    for (std::uint8_t b : payload) bytes_.push_back(b);
    return *this;
}
SmfTrackWriter& SmfTrackWriter::raw(std::uint32_t delta, const std::vector<std::uint8_t>& data) {
    put_vlq(bytes_, delta);
    for (std::uint8_t b : data) bytes_.push_back(b);
    return *this;
}
SmfTrackWriter& SmfTrackWriter::end(std::uint32_t delta) { return event(delta, {0xFF, 0x2F, 0x00}); }

std::vector<std::uint8_t> make_smf(int format, int ticks_per_quarter, const std::vector<SmfTrackWriter>& tracks) {
    std::vector<std::uint8_t> out = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, static_cast<std::uint8_t>(format)};
    const auto n = tracks.size();
    out.push_back(static_cast<std::uint8_t>(n >> 8));
    out.push_back(static_cast<std::uint8_t>(n));
    out.push_back(static_cast<std::uint8_t>(ticks_per_quarter >> 8));
    out.push_back(static_cast<std::uint8_t>(ticks_per_quarter));
    for (const auto& t : tracks) {
        const auto size = static_cast<std::uint32_t>(t.bytes().size());
        for (char c : {'M', 'T', 'r', 'k'}) out.push_back(static_cast<std::uint8_t>(c));
        for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<std::uint8_t>(size >> s));
        for (std::uint8_t b : t.bytes()) out.push_back(b);
    }
    return out;
}

std::vector<std::uint8_t> make_scale_smf(int quarters, std::uint32_t us_per_quarter, int ticks_per_quarter) {
    SmfTrackWriter tempo_track;
    tempo_track.time_signature(0, 4, 2).tempo(0, us_per_quarter).end(static_cast<std::uint32_t>(quarters * ticks_per_quarter));
    SmfTrackWriter notes;
    notes.program(0, 0, 0);
    static constexpr int kScale[] = {60, 62, 64, 65, 67, 69, 71, 72};
    const auto q = static_cast<std::uint32_t>(ticks_per_quarter);
    for (int i = 0; i < quarters; ++i) {
        const int key = kScale[i % 8];
        notes.note_on(0, 0, key, 100).note_off(q, 0, key);
    }
    notes.end();
    return make_smf(1, ticks_per_quarter, {tempo_track, notes});
}

}  // namespace tarko::platform::music
