// The sequencer behind the music performances: what a segment holds, where a
// play of it stands, the music clock of a performance and the events it sends
// to the port as the clock moves; and the conductor that services
// performances on real-time ports.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/music/smf_reader.h"
#include "runtime/numeric.h"

namespace tarko::platform::music {

class MidiPort;

struct SegmentCore {
    std::shared_ptr<const MidiSequence> seq;
    Long start_point = 0;
    Long loop_start = 0, loop_end = 0;
    Long repeats = 0;
    bool standard_midi_file = false;
};

struct StateCore {
    std::shared_ptr<SegmentCore> segment;   // identity, for stop(segment, Nothing)
    std::shared_ptr<const MidiSequence> seq;
    std::int64_t start_point = 0, loop_start = 0, loop_end = 0;
    Long repeats_left = 0;
    double start_time = 0;                  // music time
    double position = 0;                    // segment tick
    std::size_t next_event = 0;
    bool started = false, done = false;
};

// Music time as the Long the interface gives: it wraps like one.
Long clock_long(double ticks);

// One performance's clock and primary segment. Every member is guarded by
// `mu`: the façade and the conductor both lock it.
struct PerformanceCore {
    std::mutex mu;
    std::shared_ptr<MidiPort> port;
    int channel_base = 0;
    bool initialised = false;
    bool auto_download = false;
    Long channel_groups = 1;
    std::int64_t last_ms = 0;
    double music_time = 0;
    double tempo = 120.0;
    Long master_volume = 0;
    std::shared_ptr<StateCore> primary;

    // DMUS_E_NOT_INIT before init.
    void require_init() const;
    // Starts `st` at its start point: instruments set before it, then its first events.
    void start(StateCore& st);
    // Moves the music clock to `now_ms`, sending the events that fall due on
    // the way, looping and changing tempo where the segment says.
    void advance_to(std::int64_t now_ms);
    // To runtime::now_ms() (safe on the conductor's thread).
    void advance();
    // Ends the primary segment; its notes are switched off.
    void stop_primary();

private:
    void send(const MidiEvent& e);
    void notes_off();
    void dispatch(StateCore& st, double up_to);
    void finish(StateCore& st);
    bool loops(const StateCore& st) const;
};

// The conductor: the one thread of the library that runs outside a host call.
// It exists only while some initialised performance plays on a real-time port
// (FluidSynth on the audio device), that is beside an audio stream, and wakes
// every 4 ms to advance those performances under their own lock. Ports that
// render into memory, silent and recording ports never start it: their
// performances move only when asked something.
void conduct(const std::shared_ptr<PerformanceCore>& core);
void stop_conducting(const PerformanceCore* core);

}  // namespace tarko::platform::music
