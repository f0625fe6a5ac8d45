// Reader for standard MIDI files (format 0 and 1). The result is one list of
// channel events on a 768-ticks-per-quarter time line, with the tempo map and
// the first time signature. Every length, delta and count from the file is
// checked; a file cut short, a track without its end, a delta that pushes the
// piece beyond a Long of ticks: each is an SmfError, never a guess.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "runtime/byte_reader.h"

namespace tarko::platform::music {

inline constexpr int kTicksPerQuarter = 768;

// Why a file is not a MIDI piece we play, and at which byte.
class SmfError : public io::ParseError {
public:
    using io::ParseError::ParseError;
};

struct MidiEvent {
    std::int64_t tick = 0;        // 768 per quarter note
    std::uint8_t status = 0;      // 0x80..0xEF: command and channel
    std::uint8_t data1 = 0;
    std::uint8_t data2 = 0;
};

struct TempoChange {
    std::int64_t tick = 0;
    double bpm = 120.0;           // quarter notes per minute
};

struct MidiSequence {
    std::vector<MidiEvent> events;      // by tick; file order within a tick
    std::vector<TempoChange> tempos;    // by tick; the first is at tick 0 (120 when the file sets none there)
    std::int64_t length = 0;            // ticks: the latest end of track
    int time_sig_numerator = 4;
    int time_sig_denominator = 4;

    double tempo_at(std::int64_t tick) const;
    // Seconds from tick 0 to `tick` through the tempo map.
    double seconds_at(std::int64_t tick) const;
};

struct SmfLimits {
    std::size_t max_events = std::size_t{1} << 22;  // every event counts: channel, meta and system exclusive
    std::int64_t max_ticks = 0x7FFFFFFF;   // the music clock is a Long
};

// Time division with the top bit set (SMPTE frames) is read at a fixed 120
// beats per minute, and tempo events are then ignored.
MidiSequence parse_smf(std::span<const std::uint8_t> bytes, const SmfLimits& limits = {});

}  // namespace tarko::platform::music
