// The silent and recording audio backends and the backend factory.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "platform/sound/audio_backend.h"
#include "runtime/services.h"

namespace tarko::platform::sound {

float gain_from_hundredths_db(double v) { return static_cast<float>(std::pow(10.0, v / 2000.0)); }

SilentAudio::Source* SilentAudio::find(int source) {
    for (auto& [id, s] : sources_)
        if (id == source) return &s;
    return nullptr;
}

void SilentAudio::settle(Source& s) {
    if (!s.running || s.looping) return;
    const auto elapsed = static_cast<double>(runtime::clock().now_ms() - s.started_ms);
    if (s.position_ms + elapsed >= s.length_ms) {
        s.running = false;
        s.position_ms = 0;  // ran to its end: the next play starts over
    }
}

int SilentAudio::create_source(const WavData& pcm) {
    Source s;
    s.length_ms = pcm.seconds() * 1000.0;
    const int id = next_id_++;
    sources_.emplace_back(id, s);
    return id;
}

void SilentAudio::destroy_source(int source) {
    std::erase_if(sources_, [&](const auto& e) { return e.first == source; });
}

void SilentAudio::play(int source, bool looping) {
    Source* s = find(source);
    if (!s) return;
    settle(*s);
    if (s->running) {
        s->looping = looping;
        return;
    }
    s->running = true;
    s->looping = looping;
    s->started_ms = runtime::clock().now_ms();
}

void SilentAudio::stop(int source) {
    Source* s = find(source);
    if (!s) return;
    settle(*s);
    if (!s->running) return;
    const auto elapsed = static_cast<double>(runtime::clock().now_ms() - s->started_ms);
    s->position_ms = s->length_ms > 0 ? std::fmod(s->position_ms + elapsed, s->length_ms) : 0;
    s->running = false;
}

bool SilentAudio::playing(int source) {
    Source* s = find(source);
    if (!s) return false;
    settle(*s);
    return s->running;
}

void SilentAudio::apply(int source, const SourceSettings& settings) {
    if (Source* s = find(source)) s->settings = settings;
}

void SilentAudio::apply_listener(const ListenerSettings&) {}

int RecordingAudio::create_source(const WavData& pcm) {
    const int id = SilentAudio::create_source(pcm);
    created.push_back(pcm);
    calls.push_back({.what = "create", .source = id});
    return id;
}
void RecordingAudio::destroy_source(int source) {
    SilentAudio::destroy_source(source);
    calls.push_back({.what = "destroy", .source = source});
}
void RecordingAudio::play(int source, bool looping) {
    SilentAudio::play(source, looping);
    calls.push_back({.what = "play", .source = source, .looping = looping});
}
void RecordingAudio::stop(int source) {
    SilentAudio::stop(source);
    calls.push_back({.what = "stop", .source = source});
}
void RecordingAudio::apply(int source, const SourceSettings& settings) {
    SilentAudio::apply(source, settings);
    calls.push_back({.what = "apply", .source = source, .settings = settings});
}
void RecordingAudio::apply_listener(const ListenerSettings& settings) {
    calls.push_back({.what = "listener", .listener = settings});
}
SourceSettings RecordingAudio::last_settings(int source) const {
    for (auto it = calls.rbegin(); it != calls.rend(); ++it)
        if (it->what == "apply" && it->source == source) return it->settings;
    return {};
}
ListenerSettings RecordingAudio::last_listener() const {
    for (auto it = calls.rbegin(); it != calls.rend(); ++it)
        if (it->what == "listener") return it->listener;
    return {};
}

namespace {
AudioFactory& factory_slot() {
    static AudioFactory f;
    return f;
}

std::shared_ptr<AudioBackend> default_backend() {
    const char* mode = std::getenv("TARKO_AUDIO");
    const std::string_view m = mode ? mode : "";
    if (m == "off") return nullptr;
    if (m != "silent")
        if (auto device = open_device_audio()) return device;
    return std::make_shared<SilentAudio>();
}
}  // namespace

AudioFactory set_audio_factory(AudioFactory factory) {
    AudioFactory previous = std::move(factory_slot());
    factory_slot() = std::move(factory);
    return previous;
}

std::shared_ptr<AudioBackend> make_audio_backend() {
    return factory_slot() ? factory_slot()() : default_backend();
}

}  // namespace tarko::platform::sound
