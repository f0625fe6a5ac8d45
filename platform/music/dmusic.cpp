// Music loader, segments and performances: the sequencer behind them.
#include "platform/music/dmusic.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/dx_root.h"
#include "platform/music/midi_port.h"
#include "platform/music/smf_reader.h"
#include "platform/status.h"
#include "platform/trace.h"
#include "runtime/errors.h"
#include "runtime/files.h"
#include "runtime/services.h"

using tarko::Long;
namespace platform = tarko::platform;

namespace tarko::platform::music {

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

namespace {

std::size_t first_event_at(const MidiSequence& seq, double tick) {
    return static_cast<std::size_t>(
        std::lower_bound(seq.events.begin(), seq.events.end(), tick,
                         [](const MidiEvent& e, double t) { return static_cast<double>(e.tick) < t; }) -
        seq.events.begin());
}

// Rounding slack when a boundary falls exactly on the clock's time.
constexpr double kEpsilonMs = 1e-6;

Long clock_long(double ticks) {
    // The music clock is a Long; it wraps like one after some 16 days at 120 bpm.
    return static_cast<Long>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(std::floor(ticks + 1e-6))));
}

}  // namespace

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

    void require_init() const {
        if (!initialised) fail(DMUS_E_NOT_INIT, "performance not initialised");
    }

    void send(const MidiEvent& e) {
        const int channel = (channel_base + (e.status & 0x0F)) % port->channels();
        port->message(channel, static_cast<std::uint8_t>(e.status & 0xF0), e.data1, e.data2);
    }

    void notes_off() {
        for (int c = 0; c < 16; ++c) {
            const int channel = (channel_base + c) % port->channels();
            port->message(channel, 0xB0, 64, 0);   // sustain off
            port->message(channel, 0xB0, 123, 0);  // all notes off
        }
    }

    void dispatch(StateCore& st, double up_to) {
        const auto& events = st.seq->events;
        while (st.next_event < events.size() && static_cast<double>(events[st.next_event].tick) <= up_to)
            send(events[st.next_event++]);
    }

    void start(StateCore& st) {
        st.started = true;
        st.position = static_cast<double>(st.start_point);
        tempo = st.seq->tempo_at(st.start_point);
        // Instruments and controllers set before the start point.
        for (const auto& e : st.seq->events) {
            if (e.tick >= st.start_point) break;
            const auto command = e.status & 0xF0;
            if (command == 0xB0 || command == 0xC0 || command == 0xE0) send(e);
        }
        st.next_event = first_event_at(*st.seq, static_cast<double>(st.start_point));
        dispatch(st, st.position);
    }

    void finish(StateCore& st) {
        if (st.done) return;
        st.done = true;
        if (st.started) notes_off();
    }

    bool loops(const StateCore& st) const {
        return st.repeats_left != 0 && st.loop_end > st.loop_start && st.position < static_cast<double>(st.loop_end);
    }

    void advance_to(std::int64_t now_ms) {
        double remaining = static_cast<double>(now_ms - last_ms);
        last_ms = now_ms;
        int steps = 0;
        while (remaining > 0) {
            StateCore* st = primary && !primary->done ? primary.get() : nullptr;
            const double rate = tempo * kTicksPerQuarter / 60000.0;  // ticks per millisecond
            if (!st) {
                music_time += remaining * rate;
                return;
            }
            if (!st->started) {
                const double need = (st->start_time - music_time) / rate;
                if (need > remaining + kEpsilonMs) {
                    music_time += remaining * rate;
                    return;
                }
                remaining -= std::max(need, 0.0);
                music_time = std::max(music_time, st->start_time);
                start(*st);
                continue;
            }
            if (++steps > 100000) {  // a pathological loop of a few ticks: skip ahead rather than spin
                music_time += remaining * rate;
                return;
            }
            const bool looping = loops(*st);
            double boundary = static_cast<double>(looping ? st->loop_end : st->seq->length);
            bool tempo_change = false;
            const auto& tempos = st->seq->tempos;
            auto next = std::upper_bound(tempos.begin(), tempos.end(), st->position,
                                         [](double p, const TempoChange& t) { return p < static_cast<double>(t.tick); });
            if (next != tempos.end() && static_cast<double>(next->tick) < boundary) {
                boundary = static_cast<double>(next->tick);
                tempo_change = true;
            }
            const double span = std::max(boundary - st->position, 0.0);
            const double need = span / rate;
            if (need > remaining + kEpsilonMs) {
                const double step = remaining * rate;
                st->position += step;
                music_time += step;
                dispatch(*st, st->position);
                return;
            }
            remaining = std::max(remaining - need, 0.0);
            music_time += span;
            st->position = boundary;
            dispatch(*st, boundary);
            if (tempo_change) {
                tempo = next->bpm;
            } else if (looping) {
                notes_off();
                st->position = static_cast<double>(st->loop_start);
                st->next_event = first_event_at(*st->seq, st->position);
                if (st->repeats_left > 0) --st->repeats_left;
                tempo = st->seq->tempo_at(st->loop_start);
                dispatch(*st, st->position);
            } else {
                finish(*st);
            }
        }
    }

    void advance() { advance_to(runtime::clock().now_ms()); }

    void stop_primary() {
        if (primary) finish(*primary);
    }
};

namespace {

// Services the performances on real-time ports from a thread of its own.
class Conductor {
public:
    static Conductor& instance() {
        static Conductor c;
        return c;
    }
    ~Conductor() { stop_thread(); }

    void add(const std::shared_ptr<PerformanceCore>& core) {
        std::unique_lock lock(mu_);
        cores_.push_back(core);
        if (!thread_.joinable()) {
            running_ = true;
            thread_ = std::thread([this] { run(); });
        }
    }
    void remove(const PerformanceCore* core) {
        bool last = false;
        {
            std::unique_lock lock(mu_);
            std::erase_if(cores_, [&](const auto& w) {
                auto p = w.lock();
                return !p || p.get() == core;
            });
            last = cores_.empty();
        }
        if (last) stop_thread();
    }

private:
    void stop_thread() {
        {
            std::unique_lock lock(mu_);
            running_ = false;
        }
        wake_.notify_all();
        if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
    }
    void run() {
        std::unique_lock lock(mu_);
        while (running_) {
            wake_.wait_for(lock, std::chrono::milliseconds(4));
            if (!running_) break;
            std::vector<std::shared_ptr<PerformanceCore>> alive;
            for (const auto& w : cores_)
                if (auto p = w.lock()) alive.push_back(std::move(p));
            lock.unlock();
            for (const auto& core : alive) {
                std::lock_guard core_lock(core->mu);
                if (core->initialised) core->advance();
            }
            alive.clear();
            lock.lock();
        }
    }

    std::mutex mu_;
    std::condition_variable wake_;
    std::vector<std::weak_ptr<PerformanceCore>> cores_;
    std::thread thread_;
    bool running_ = false;
};

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
    music::Conductor::instance().remove(core_.get());
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
        core_->last_ms = tarko::runtime::clock().now_ms();
        core_->music_time = 0;
        core_->tempo = 120.0;
        core_->initialised = true;
        real_time = port->real_time();
    }
    if (real_time) music::Conductor::instance().add(core_);
}

void DirectMusicPerformance::closeDown() {
    platform::record("DirectMusicPerformance", "closeDown");
    music::Conductor::instance().remove(core_.get());
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
