// Music loader, segments and performances: argument checks, call recording and
// locking over the sequencer.
#include "platform/music/dmusic.h"

#include <algorithm>
#include <cmath>
#include <mutex>

#include "platform/dx_root.h"
#include "platform/music/midi_port.h"
#include "platform/music/sequencer.h"
#include "platform/music/smf_reader.h"
#include "platform/status.h"
#include "platform/trace.h"
#include "runtime/errors.h"
#include "runtime/files.h"
#include "runtime/services.h"

using tarko::Long;
namespace platform = tarko::platform;

namespace tarko::platform::music {
namespace {

void check_range(bool ok, const std::string& what) {
    if (!ok) fail(DMUS_E_OUT_OF_RANGE, what);
}

}  // namespace
}  // namespace tarko::platform::music

namespace music = tarko::platform::music;

// ---- segment

DirectMusicSegment::DirectMusicSegment(std::shared_ptr<music::SegmentCore> core) : core_(std::move(core)) {}

Long DirectMusicSegment::getLength() const { return static_cast<Long>(core_->seq->length); }
void DirectMusicSegment::setStandardMidiFile() {
    platform::record("DirectMusicSegment", "setStandardMidiFile");
    core_->standard_midi_file = true;
}
void DirectMusicSegment::setRepeats(Long repeats) {
    platform::record("DirectMusicSegment", "setRepeats", repeats);
    music::check_range(repeats >= -1, "setRepeats " + std::to_string(repeats));
    core_->repeats = repeats;
}
Long DirectMusicSegment::getRepeats() const { return core_->repeats; }
void DirectMusicSegment::setStartPoint(Long start) {
    platform::record("DirectMusicSegment", "setStartPoint", start);
    music::check_range(start == 0 || (start > 0 && start < core_->seq->length),
                       "setStartPoint " + std::to_string(start) + " outside the segment");
    core_->start_point = start;
}
Long DirectMusicSegment::getStartPoint() const { return core_->start_point; }
void DirectMusicSegment::setLoopPoints(Long start, Long end) {
    platform::record("DirectMusicSegment", "setLoopPoints", start, end);
    music::check_range(start >= 0 && end >= 0 && end <= core_->seq->length && (end == 0 || start <= end),
                       "setLoopPoints " + std::to_string(start) + ", " + std::to_string(end));
    core_->loop_start = start;
    core_->loop_end = end;
}
Long DirectMusicSegment::getLoopPointStart() const { return core_->loop_start; }
Long DirectMusicSegment::getLoopPointEnd() const { return core_->loop_end; }

// ---- segment state

DirectMusicSegmentState::DirectMusicSegmentState(std::shared_ptr<music::StateCore> core) : core_(std::move(core)) {}
Long DirectMusicSegmentState::getStartTime() const { return music::clock_long(core_->start_time); }
Long DirectMusicSegmentState::getStartPoint() const { return static_cast<Long>(core_->start_point); }

// ---- loader

tarko::Ref<DirectMusicSegment> DirectMusicLoader::loadSegment(const std::string& file) {
    platform::record("DirectMusicLoader", "loadSegment", file);
    std::string name = file;
    if (!tarko::runtime::file_exists(name) && !search_directory_.empty()) {
        const std::string other = tarko::runtime::join_path(search_directory_, file);
        if (tarko::runtime::file_exists(other)) name = other;
    }
    const auto bytes = tarko::runtime::read_file(name, std::size_t{64} << 20);
    auto core = std::make_shared<music::SegmentCore>();
    try {
        core->seq = std::make_shared<const music::MidiSequence>(music::parse_smf(bytes));
    } catch (const music::SmfError& e) {
        tarko::raise_error(platform::DMUS_E_UNSUPPORTED_STREAM, "Bad MIDI file \"" + file + "\": " + e.what());
    }
    return tarko::Ref<DirectMusicSegment>(std::make_shared<DirectMusicSegment>(std::move(core)));
}

void DirectMusicLoader::setSearchDirectory(const std::string& directory) {
    platform::record("DirectMusicLoader", "setSearchDirectory", directory);
    search_directory_ = directory;
}

// ---- performance

DirectMusicPerformance::DirectMusicPerformance() : core_(std::make_shared<music::PerformanceCore>()) {}

DirectMusicPerformance::~DirectMusicPerformance() {
    music::stop_conducting(core_.get());
    std::lock_guard lock(core_->mu);
    if (core_->initialised) core_->stop_primary();
}

void DirectMusicPerformance::init(const tarko::Ref<DirectSound>&, Long hwnd) {
    platform::record("DirectMusicPerformance", "init", hwnd);
    auto port = music::make_port();
    bool real_time = false;
    {
        std::lock_guard lock(core_->mu);
        if (core_->initialised) platform::fail(platform::DMUS_E_ALREADY_INITED, "performance init");
        core_->port = port;
        core_->channel_base = port->allocate_channel_group();
        core_->last_ms = tarko::runtime::now_ms();
        core_->music_time = 0;
        core_->tempo = 120.0;
        core_->initialised = true;
        real_time = port->real_time();
    }
    if (real_time) music::conduct(core_);
}

void DirectMusicPerformance::closeDown() {
    platform::record("DirectMusicPerformance", "closeDown");
    music::stop_conducting(core_.get());
    std::lock_guard lock(core_->mu);
    if (!core_->initialised) return;
    core_->stop_primary();
    core_->primary.reset();
    core_->initialised = false;
    core_->port.reset();
}

void DirectMusicPerformance::setPort(Long port, Long channel_groups) {
    platform::record("DirectMusicPerformance", "setPort", port, channel_groups);
    std::lock_guard lock(core_->mu);
    core_->require_init();
    if (port != -1) platform::fail(platform::DMUS_E_INVALID_PORT, "setPort: only the default port (-1)");
    if (channel_groups < 1) platform::fail(platform::DMUS_E_OUT_OF_RANGE, "setPort: channel groups");
    core_->channel_groups = channel_groups;
}

bool DirectMusicPerformance::getMasterAutoDownload() const {
    std::lock_guard lock(core_->mu);
    core_->require_init();
    return core_->auto_download;
}

void DirectMusicPerformance::setMasterAutoDownload(bool on) {
    platform::record("DirectMusicPerformance", "setMasterAutoDownload", on);
    std::lock_guard lock(core_->mu);
    core_->require_init();
    core_->auto_download = on;  // instruments always come from the soundfont
}

Long DirectMusicPerformance::getMusicTime() {
    std::lock_guard lock(core_->mu);
    core_->require_init();
    core_->advance();
    return music::clock_long(core_->music_time);
}

tarko::Ref<DirectMusicSegmentState> DirectMusicPerformance::playSegment(const tarko::Ref<DirectMusicSegment>& segment,
                                                                        Long flags, Long start_time) {
    platform::record("DirectMusicPerformance", "playSegment", flags, start_time);
    const auto& seg = segment->core();  // Nothing raises 91
    std::lock_guard lock(core_->mu);
    core_->require_init();
    core_->advance();
    core_->stop_primary();
    auto st = std::make_shared<music::StateCore>();
    st->segment = seg;
    st->seq = seg->seq;
    st->start_point = seg->start_point;
    st->loop_start = seg->loop_start;
    st->loop_end = seg->loop_end == 0 ? seg->seq->length : seg->loop_end;
    st->repeats_left = seg->repeats;
    st->start_time = std::max(static_cast<double>(start_time), core_->music_time);
    if (start_time == 0) st->start_time = core_->music_time;
    core_->primary = st;
    if (st->start_time <= core_->music_time) core_->start(*st);
    return tarko::Ref<DirectMusicSegmentState>(std::make_shared<DirectMusicSegmentState>(st));
}

void DirectMusicPerformance::stop(const tarko::Ref<DirectMusicSegment>& segment,
                                  const tarko::Ref<DirectMusicSegmentState>& state, Long time, Long flags) {
    platform::record("DirectMusicPerformance", "stop", time, flags);
    std::lock_guard lock(core_->mu);
    core_->require_init();
    core_->advance();
    auto& primary = core_->primary;
    if (!primary) return;
    const bool match = state ? state->core() == primary
                             : (!segment || segment->core() == primary->segment);
    if (match) core_->stop_primary();
}

bool DirectMusicPerformance::isPlaying(const tarko::Ref<DirectMusicSegment>& segment,
                                       const tarko::Ref<DirectMusicSegmentState>& state) {
    std::lock_guard lock(core_->mu);
    core_->require_init();
    core_->advance();
    if (state) {
        const auto& st = state->core();
        return st->started && !st->done;
    }
    const auto& p = core_->primary;
    return p && p->started && !p->done && (!segment || segment->core() == p->segment);
}

double DirectMusicPerformance::getTempo(Long time, Long& until) {
    std::lock_guard lock(core_->mu);
    core_->require_init();
    core_->advance();
    until = time;
    const auto& p = core_->primary;
    const double t = static_cast<double>(time);
    if (!p || p->done) return core_->tempo;
    if (p->started && t >= core_->music_time)
        return p->seq->tempo_at(static_cast<std::int64_t>(p->position + (t - core_->music_time)));
    if (!p->started && t >= p->start_time)
        return p->seq->tempo_at(p->start_point + static_cast<std::int64_t>(t - p->start_time));
    return core_->tempo;
}

double DirectMusicPerformance::getTempo(Long time) {
    Long until = 0;
    return getTempo(time, until);
}

void DirectMusicPerformance::getTimeSig(Long time, Long& until, DMUS_TIMESIGNATURE& signature) {
    std::lock_guard lock(core_->mu);
    core_->require_init();
    until = time;
    signature = DMUS_TIMESIGNATURE{};
    signature.mtTime = time;
    if (const auto& p = core_->primary) {
        signature.beatsPerMeasure = static_cast<tarko::Byte>(p->seq->time_sig_numerator);
        signature.beat = static_cast<tarko::Byte>(p->seq->time_sig_denominator);
    }
}

Long DirectMusicPerformance::getMasterVolume() const {
    std::lock_guard lock(core_->mu);
    core_->require_init();
    return core_->master_volume;
}

void DirectMusicPerformance::setMasterVolume(Long volume) {
    platform::record("DirectMusicPerformance", "setMasterVolume", volume);
    std::lock_guard lock(core_->mu);
    core_->require_init();
    core_->master_volume = volume;
    core_->port->set_gain(std::pow(10.0, std::clamp(static_cast<double>(volume), -10000.0, 2000.0) / 2000.0));
}

void DirectMusicPerformance::service() {
    std::lock_guard lock(core_->mu);
    if (core_->initialised) core_->advance();
}

std::shared_ptr<music::MidiPort> DirectMusicPerformance::port() const {
    std::lock_guard lock(core_->mu);
    return core_->port;
}

// ---- root

tarko::Ref<DirectMusicLoader> DirectX7::directMusicLoaderCreate() {
    platform::record("DirectX7", "directMusicLoaderCreate");
    return tarko::Ref<DirectMusicLoader>(std::make_shared<DirectMusicLoader>());
}

tarko::Ref<DirectMusicPerformance> DirectX7::directMusicPerformanceCreate() {
    platform::record("DirectX7", "directMusicPerformanceCreate");
    return tarko::Ref<DirectMusicPerformance>(std::make_shared<DirectMusicPerformance>());
}
