// cTarko_Sound: the MIDI piece.
#include <cmath>

#include "platform/music/smf_reader.h"
#include "runtime/errors.h"
#include "runtime/files.h"
#include "runtime/services.h"
#include "sound/tarko_sound.h"

using tarko::Integer;
using tarko::Long;
namespace runtime = tarko::runtime;

namespace {
constexpr double kTicks = tarko::platform::music::kTicksPerQuarter;  // music ticks per quarter note

// Seconds of `ticks` music ticks at `tempo` beats per minute; a zero tempo is a division error.
double ticks_to_seconds(double ticks, double tempo) { return runtime::Div((ticks / kTicks) * 60.0, tempo); }
}  // namespace

bool cTarko_Sound::setup_music() {
    return runtime::catch_all(
        [&] {
            MusicLoader = DirectXRoot->directMusicLoaderCreate();
            MeasurePerformance = DirectXRoot->directMusicPerformanceCreate();
            MeasurePerformance->init(tarko::Ref<DirectSound>(), 0);
            MeasurePerformance->setPort(-1, 80);
            (void)MeasurePerformance->getMasterAutoDownload();
            MusicPerformance = DirectXRoot->directMusicPerformanceCreate();
            MusicPerformance->init(tarko::Ref<DirectSound>(), 0);
            MusicPerformance->setPort(-1, 80);
            (void)MusicPerformance->getMasterAutoDownload();
            MusicPerformance->setMasterAutoDownload(true);
        },
        show_error);
}

bool cTarko_Sound::DMusic_OpenMidi(const std::string& filename) {
    bool result = false;
    runtime::catch_all(
        [&] {
            if (MusicSegment && SegmentState && MusicPerformance->isPlaying(MusicSegment, SegmentState))
                MusicPerformance->stop(MusicSegment, SegmentState, 0, 0);
            MusicLoader.reset();
            MusicLoader = DirectXRoot->directMusicLoaderCreate();
            MusicSegment = MusicLoader->loadSegment(filename);

            // The folder up to the last separator; a bare name has none, which is an error.
            const std::string folder = runtime::directory_of(filename);
            if (folder.empty()) tarko::raise_error(tarko::err::InvalidCall);
            MusicLoader->setSearchDirectory(folder);

            // Silent trial, 2000 ticks ahead, for the tempo and so the length in seconds.
            MeasurePerformance->setMasterAutoDownload(true);
            PauseTime = MeasurePerformance->getMusicTime();
            const Long trial_time = runtime::CLng(static_cast<double>(PauseTime) + 2000);
            auto trial = MeasurePerformance->playSegment(MusicSegment, 0, trial_time);
            Long until = 0;
            MusicTempo = MeasurePerformance->getTempo(trial_time, until);
            DMUS_TIMESIGNATURE signature;
            MeasurePerformance->getTimeSig(trial_time, until, signature);
            const Long length = MusicSegment->getLength();
            MusicLength = ticks_to_seconds(length, MusicTempo);
            MeasurePerformance->stop(MusicSegment, trial, 0, 0);

            MusicSegment->setStandardMidiFile();
            if (MusicSegment) MeasurePerformance->stop(MusicSegment, tarko::Ref<DirectMusicSegmentState>(), 0, 0);
            result = true;
        },
        show_error);
    return result;
}

bool cTarko_Sound::DMusic_PlayMidi(bool Repeats) {
    bool result = false;
    runtime::catch_all(
        [&] {
            if (Repeats) Loop_it = true;
            if (!MusicSegment) {
                runtime::MsgBox("Please open a segment or MIDI file before playing");
                return;
            }
            MusicSegment->setRepeats(Repeats ? -1 : 0);
            if (MusicPaused) {
                SegmentOffset = runtime::CLng(static_cast<double>(PauseTime) - SegmentStart + SegmentOffset + 1);
                MusicSegment->setStartPoint(SegmentOffset);
                SegmentState = MusicPerformance->playSegment(MusicSegment, 0, 0);
                MusicPaused = false;
                result = true;
                return;
            }
            SegmentOffset = 0;
            if (MusicPerformance->isPlaying(MusicSegment, SegmentState))
                MusicPerformance->stop(MusicSegment, SegmentState, 0, 0);
            MusicSegment->setStartPoint(0);
            MusicSegment->setLoopPoints(0, MusicSegment->getLength());
            SegmentState = MusicPerformance->playSegment(MusicSegment, 0, 0);
            Midi_IS_Playing = true;
            result = true;
        },
        show_error);
    return result;
}

bool cTarko_Sound::DMusic_PauseMidi() {
    bool result = false;
    runtime::catch_all(
        [&] {
            if (!MusicSegment) return;
            MusicWasPlaying = MusicPerformance->isPlaying(MusicSegment, SegmentState);
            if (MusicWasPlaying) {
                MusicPaused = true;
                PauseTime = MusicPerformance->getMusicTime();
                SegmentStart = SegmentState->getStartTime();
                MusicPerformance->stop(MusicSegment, tarko::Ref<DirectMusicSegmentState>(), 0);
            } else {
                MusicPaused = false;
                // One tick past the stop point at every cycle; the offset carries across pauses.
                SegmentOffset = runtime::CLng(static_cast<double>(PauseTime) - SegmentStart + SegmentOffset + 1);
                MusicSegment->setStartPoint(SegmentOffset);
                SegmentState = MusicPerformance->playSegment(MusicSegment, 0, 0);
            }
            result = true;
        },
        show_error);
    return result;
}

bool cTarko_Sound::DMusic_StopMidi() {
    bool result = false;
    runtime::catch_all(
        [&] {
            if (!MusicSegment) return;
            MusicPaused = false;
            MusicPerformance->stop(MusicSegment, SegmentState, 0, 0);
            result = true;
        },
        show_error);
    return result;
}

Integer cTarko_Sound::Dmusic_volume() {
    // -900 / 42 + 71 = 49.57 -> 50; 1200 -> 99.57 -> 100; -3000 -> -0.43 -> 0
    return runtime::CInt(MusicPerformance->getMasterVolume() / 42.0 + 71.0);
}

void cTarko_Sound::Dmusic_volume(Integer value) {
    const Integer held = value < 0 ? Integer{0} : value > 100 ? Integer{100} : value;
    MusicPerformance->setMasterVolume(held * 42 - 3000);  // 0 -> -3000, 50 -> -900, 100 -> 1200
}

Integer cTarko_Sound::Dmusic_Percentage_Done() {
    const double start = SegmentState->getStartTime();
    const double elapsed = static_cast<double>(MusicPerformance->getMusicTime()) - (start - SegmentOffset);
    const double seconds = ticks_to_seconds(elapsed, MusicTempo);
    double percent = runtime::Int(runtime::Div(seconds, MusicLength) * 100.0);
    if (percent > 100) percent = 100;
    return runtime::CInt(percent);
}

double cTarko_Sound::Dmusic_LengthInSeconds() {
    // Formatted "00.00" and read back: two decimals, halves away from zero.
    return std::round(MusicLength * 100.0) / 100.0;
}
