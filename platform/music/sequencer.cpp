// The music sequencer: events sent as the clock moves, loops, tempo changes,
// and the conductor thread for real-time ports.
#include "platform/music/sequencer.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <thread>
#include <vector>

#include "platform/music/dmusic.h"
#include "platform/music/midi_port.h"
#include "platform/status.h"
#include "runtime/services.h"

namespace tarko::platform::music {
namespace {

std::size_t first_event_at(const MidiSequence& seq, double tick) {
    return static_cast<std::size_t>(
        std::lower_bound(seq.events.begin(), seq.events.end(), tick,
                         [](const MidiEvent& e, double t) { return static_cast<double>(e.tick) < t; }) -
        seq.events.begin());
}

// Rounding slack when a boundary falls exactly on the clock's time.
constexpr double kEpsilonMs = 1e-6;

}  // namespace

Long clock_long(double ticks) {
    // The music clock is a Long; it wraps like one after some 16 days at 120 bpm.
    return static_cast<Long>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(std::floor(ticks + 1e-6))));
}

void PerformanceCore::require_init() const {
    if (!initialised) fail(DMUS_E_NOT_INIT, "performance not initialised");
}

void PerformanceCore::send(const MidiEvent& e) {
    const int channel = (channel_base + (e.status & 0x0F)) % port->channels();
    port->message(channel, static_cast<std::uint8_t>(e.status & 0xF0), e.data1, e.data2);
}

void PerformanceCore::notes_off() {
    for (int c = 0; c < 16; ++c) {
        const int channel = (channel_base + c) % port->channels();
        port->message(channel, 0xB0, 64, 0);   // sustain off
        port->message(channel, 0xB0, 123, 0);  // all notes off
    }
}

void PerformanceCore::dispatch(StateCore& st, double up_to) {
    const auto& events = st.seq->events;
    while (st.next_event < events.size() && static_cast<double>(events[st.next_event].tick) <= up_to)
        send(events[st.next_event++]);
}

void PerformanceCore::start(StateCore& st) {
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

void PerformanceCore::finish(StateCore& st) {
    if (st.done) return;
    st.done = true;
    if (st.started) notes_off();
}

bool PerformanceCore::loops(const StateCore& st) const {
    return st.repeats_left != 0 && st.loop_end > st.loop_start && st.position < static_cast<double>(st.loop_end);
}

void PerformanceCore::advance_to(std::int64_t now_ms) {
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

void PerformanceCore::advance() { advance_to(runtime::now_ms()); }

void PerformanceCore::stop_primary() {
    if (primary) finish(*primary);
}

namespace {

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

}  // namespace

void conduct(const std::shared_ptr<PerformanceCore>& core) { Conductor::instance().add(core); }
void stop_conducting(const PerformanceCore* core) { Conductor::instance().remove(core); }

}  // namespace tarko::platform::music
