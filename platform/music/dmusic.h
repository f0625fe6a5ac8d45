// DirectMusic subset: a loader that reads standard MIDI files into segments,
// and performances that play one primary segment at a time on a synthesiser
// port, on a music clock of 768 ticks per quarter note.
//
// The music clock of a performance starts at 0 when it is initialised and runs
// from runtime::clock() at the tempo in force: the playing segment's tempo
// map while one plays, and the last tempo (120 beats per minute at first)
// while none does. Tests move it with a ManualClock. Events due are sent to
// the port whenever the performance is asked anything. On a real-time port
// (FluidSynth playing on the audio device) a thread beside that audio stream,
// the conductor, also services it every 4 ms; it starts with the first such
// performance and ends with the last. It reads the clock through
// runtime::now_ms(), so a host or test may swap the clock while music plays,
// and it takes the performance's lock, as every call here does. No other port
// starts it. (The sequencer is in sequencer.h.)
//
// Decisions where the old interface left room:
// - Every performance of the process shares the default port (one
//   synthesiser, one soundfont load); each takes its own 16 channels, so
//   stopping one never cuts another's notes. The master volume is the port's,
//   so it is shared too: 0 is the soundfont's level, gain 10^(v/2000).
// - playSegment with a start time of 0 or one already past starts at once;
//   a new primary segment stops the one playing.
// - A segment starting past tick 0 first gets the program, controller and
//   pitch-bend events before its start point, so resumed music keeps its
//   instruments.
// - setStartPoint beyond the length, loop points outside 0..length or in the
//   wrong order raise DMUS_E_OUT_OF_RANGE. Loop end 0 means the segment's end.
// - A file that is not a valid standard MIDI file raises
//   DMUS_E_UNSUPPORTED_STREAM with the reason in its text; a missing file
//   raises "File not found" (53).
#pragma once

#include <memory>
#include <string>

#include "platform/object_ref.h"
#include "runtime/numeric.h"

class DirectSound;

namespace tarko::platform {
inline constexpr std::int32_t DMUS_E_NOT_INIT = static_cast<std::int32_t>(0x88781193);
inline constexpr std::int32_t DMUS_E_ALREADY_INITED = static_cast<std::int32_t>(0x88781191);
inline constexpr std::int32_t DMUS_E_OUT_OF_RANGE = static_cast<std::int32_t>(0x88781200);
inline constexpr std::int32_t DMUS_E_UNSUPPORTED_STREAM = static_cast<std::int32_t>(0x88781209);
inline constexpr std::int32_t DMUS_E_INVALID_PORT = static_cast<std::int32_t>(0x88781196);
}  // namespace tarko::platform

namespace tarko::platform::music {
struct SegmentCore;
struct StateCore;
struct PerformanceCore;
class MidiPort;
}  // namespace tarko::platform::music

struct DMUS_TIMESIGNATURE {
    tarko::Long mtTime = 0;
    tarko::Byte beatsPerMeasure = 4;
    tarko::Byte beat = 4;
    tarko::Integer gridsPerBeat = 4;
};

class DirectMusicSegment {
public:
    explicit DirectMusicSegment(std::shared_ptr<tarko::platform::music::SegmentCore> core);

    // Ticks at 768 per quarter note: the latest end of track of the file.
    tarko::Long getLength() const;
    // Marks the segment as a standard MIDI file; nothing else changes.
    void setStandardMidiFile();
    // Extra plays of the loop: 0 plays once, -1 loops until stopped.
    void setRepeats(tarko::Long repeats);
    tarko::Long getRepeats() const;
    // Tick where the next play begins, 0 <= start < length (0 always allowed).
    void setStartPoint(tarko::Long start);
    tarko::Long getStartPoint() const;
    void setLoopPoints(tarko::Long start, tarko::Long end);
    tarko::Long getLoopPointStart() const;
    tarko::Long getLoopPointEnd() const;

    const std::shared_ptr<tarko::platform::music::SegmentCore>& core() const { return core_; }

private:
    std::shared_ptr<tarko::platform::music::SegmentCore> core_;
};

class DirectMusicSegmentState {
public:
    explicit DirectMusicSegmentState(std::shared_ptr<tarko::platform::music::StateCore> core);
    // Music time at which the segment started (or will start).
    tarko::Long getStartTime() const;
    // The segment's start point when it was played.
    tarko::Long getStartPoint() const;

    const std::shared_ptr<tarko::platform::music::StateCore>& core() const { return core_; }

private:
    std::shared_ptr<tarko::platform::music::StateCore> core_;
};

class DirectMusicLoader {
public:
    // Reads a standard MIDI file. A relative name not found as given is
    // looked up in the search directory.
    tarko::Ref<DirectMusicSegment> loadSegment(const std::string& file);
    void setSearchDirectory(const std::string& directory);
    const std::string& getSearchDirectory() const { return search_directory_; }

private:
    std::string search_directory_;
};

class DirectMusicPerformance {
public:
    DirectMusicPerformance();
    ~DirectMusicPerformance();
    DirectMusicPerformance(const DirectMusicPerformance&) = delete;
    DirectMusicPerformance& operator=(const DirectMusicPerformance&) = delete;

    // Takes the default port; `sound` may be Nothing and `hwnd` 0. Every
    // other call before init raises DMUS_E_NOT_INIT.
    void init(const tarko::Ref<DirectSound>& sound, tarko::Long hwnd);
    void closeDown();
    // -1 is the default port; `channel_groups` is kept (1 or more).
    void setPort(tarko::Long port, tarko::Long channel_groups);
    bool getMasterAutoDownload() const;
    void setMasterAutoDownload(bool on);

    tarko::Long getMusicTime();
    // Plays `segment` as the primary segment from its start point at music
    // time `start_time` (0: now). `flags` is accepted and has no effect.
    tarko::Ref<DirectMusicSegmentState> playSegment(const tarko::Ref<DirectMusicSegment>& segment, tarko::Long flags,
                                                    tarko::Long start_time);
    // Stops `state`, or with Nothing every state of `segment`, or with both
    // Nothing everything. `time` and `flags` are accepted: the stop is at once.
    void stop(const tarko::Ref<DirectMusicSegment>& segment, const tarko::Ref<DirectMusicSegmentState>& state,
              tarko::Long time = 0, tarko::Long flags = 0);
    bool isPlaying(const tarko::Ref<DirectMusicSegment>& segment, const tarko::Ref<DirectMusicSegmentState>& state);
    // Beats per minute at music time `time`; `until` gets the time up to
    // which it holds as far as known (the time itself).
    double getTempo(tarko::Long time, tarko::Long& until);
    double getTempo(tarko::Long time);
    void getTimeSig(tarko::Long time, tarko::Long& until, DMUS_TIMESIGNATURE& signature);
    // Hundredths of a decibel; 0 is full level.
    tarko::Long getMasterVolume() const;
    void setMasterVolume(tarko::Long volume);

    // Not in the old interface: sends the events due at runtime::clock()'s
    // time (every other call does so too), and the port for tests.
    void service();
    std::shared_ptr<tarko::platform::music::MidiPort> port() const;

private:
    std::shared_ptr<tarko::platform::music::PerformanceCore> core_;
};
