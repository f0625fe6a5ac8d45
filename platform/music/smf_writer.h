// Builds standard MIDI files in memory (tests, tools and examples make their
// music with it; the library itself never writes a file).
#pragma once

#include <cstdint>
#include <vector>

namespace tarko::platform::music {

class SmfTrackWriter {
public:
    // Each call appends an event `delta` ticks after the previous one.
    SmfTrackWriter& tempo(std::uint32_t delta, std::uint32_t us_per_quarter);
    SmfTrackWriter& time_signature(std::uint32_t delta, int numerator, int denominator_power);
    SmfTrackWriter& program(std::uint32_t delta, int channel, int program);
    SmfTrackWriter& note_on(std::uint32_t delta, int channel, int key, int velocity);
    SmfTrackWriter& note_off(std::uint32_t delta, int channel, int key);
    SmfTrackWriter& controller(std::uint32_t delta, int channel, int number, int value);
    SmfTrackWriter& sysex(std::uint32_t delta, const std::vector<std::uint8_t>& payload);
    SmfTrackWriter& raw(std::uint32_t delta, const std::vector<std::uint8_t>& bytes);  // after the delta
    SmfTrackWriter& end(std::uint32_t delta = 0);
    const std::vector<std::uint8_t>& bytes() const { return bytes_; }

private:
    SmfTrackWriter& event(std::uint32_t delta, std::initializer_list<std::uint8_t> data);
    std::vector<std::uint8_t> bytes_;
};

void put_vlq(std::vector<std::uint8_t>& out, std::uint32_t value);

// MThd + one MTrk per track.
std::vector<std::uint8_t> make_smf(int format, int ticks_per_quarter, const std::vector<SmfTrackWriter>& tracks);

// A short tune: `quarters` quarter notes of a C major scale on a piano at
// `us_per_quarter` (500000 is 120 bpm), format 1 with a tempo track.
std::vector<std::uint8_t> make_scale_smf(int quarters, std::uint32_t us_per_quarter = 500000,
                                         int ticks_per_quarter = 480);

}  // namespace tarko::platform::music
