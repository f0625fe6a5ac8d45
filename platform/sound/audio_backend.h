// The audio output under the DirectSound objects. Values arrive here already
// converted: right-handed positions (z negated), linear gains, cone angles in
// degrees. Backends: OpenAL Soft on the machine's device, OpenAL Soft's
// loopback device rendering into memory, a silent one that still keeps time
// from runtime::clock(), and a recording one (silent, with a log) for tests.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/sound/wav_reader.h"

namespace tarko::platform::sound {

struct Vec3 {
    float x = 0, y = 0, z = 0;
    friend bool operator==(const Vec3&, const Vec3&) = default;
};

// Distance model: inverse distance, clamped, as DirectSound's default
// (gain = min / (min + rolloff * (d - min)) between min and max distance).
struct SourceSettings {
    float gain = 1.0f;
    bool relative = true;          // 2D buffers sit on the listener
    Vec3 position;
    Vec3 velocity;
    float inner_angle = 360.0f;    // degrees
    float outer_angle = 360.0f;
    float outer_gain = 1.0f;
    Vec3 direction{0, 0, -1};      // cone orientation
    float min_distance = 1.0f;
    float max_distance = 1.0e9f;
    float rolloff = 1.0f;
};

struct ListenerSettings {
    float gain = 1.0f;
    Vec3 position;
    Vec3 velocity;
    Vec3 at{0, 0, -1};
    Vec3 up{0, 1, 0};
};

class AudioBackend {
public:
    virtual ~AudioBackend() = default;
    virtual std::string name() const = 0;

    // A source holding `pcm` (mono for 3D use). Returns its handle (> 0).
    virtual int create_source(const WavData& pcm) = 0;
    virtual void destroy_source(int source) = 0;
    // Starts or resumes from the current position; a source that ran to its
    // end starts again from the beginning.
    virtual void play(int source, bool looping) = 0;
    // Stops where it is (the position is kept for the next play).
    virtual void stop(int source) = 0;
    virtual bool playing(int source) = 0;
    virtual void apply(int source, const SourceSettings& settings) = 0;
    virtual void apply_listener(const ListenerSettings& settings) = 0;
};

// A backend that renders into memory (OpenAL Soft's loopback device).
class LoopbackAudio : public AudioBackend {
public:
    virtual int sample_rate() const = 0;
    // Renders frames of interleaved stereo floats (left, right).
    virtual void render(std::span<float> interleaved_stereo) = 0;
};

// The machine's default output through OpenAL Soft, or nullptr when there is none.
std::shared_ptr<AudioBackend> open_device_audio();
// OpenAL Soft's loopback device (stereo floats, no HRTF), or nullptr when the
// extension is missing.
std::shared_ptr<LoopbackAudio> open_loopback_audio(int sample_rate = 44100);

// Plays nothing; `playing` follows runtime::clock() and the sound's length.
class SilentAudio : public AudioBackend {
public:
    std::string name() const override { return "silent"; }
    int create_source(const WavData& pcm) override;
    void destroy_source(int source) override;
    void play(int source, bool looping) override;
    void stop(int source) override;
    bool playing(int source) override;
    void apply(int source, const SourceSettings& settings) override;
    void apply_listener(const ListenerSettings& settings) override;

protected:
    struct Source {
        double length_ms = 0;
        double position_ms = 0;   // where a stop left it
        std::int64_t started_ms = 0;
        bool running = false;
        bool looping = false;
        SourceSettings settings;
    };
    Source* find(int source);
    void settle(Source& s);       // ends a non-looping source that ran out
    std::vector<std::pair<int, Source>> sources_;
    int next_id_ = 1;
};

// A silent backend that logs every call, for tests.
class RecordingAudio final : public SilentAudio {
public:
    struct Call {
        std::string what;          // "create", "destroy", "play", "stop", "apply", "listener"
        int source = 0;
        bool looping = false;
        SourceSettings settings;   // for "apply"
        ListenerSettings listener; // for "listener"
    };
    std::string name() const override { return "recording"; }
    int create_source(const WavData& pcm) override;
    void destroy_source(int source) override;
    void play(int source, bool looping) override;
    void stop(int source) override;
    void apply(int source, const SourceSettings& settings) override;
    void apply_listener(const ListenerSettings& settings) override;

    std::vector<Call> calls;
    std::vector<WavData> created;
    // The settings last applied to a source (default settings if never).
    SourceSettings last_settings(int source) const;
    ListenerSettings last_listener() const;
};

// Which backend directSoundCreate gets. The default tries the machine's device
// and falls back to SilentAudio; with TARKO_AUDIO=silent in the environment it
// is always silent, with TARKO_AUDIO=off there is no device at all. A factory
// returning nullptr means "no sound card": directSoundCreate then fails.
using AudioFactory = std::function<std::shared_ptr<AudioBackend>()>;
AudioFactory set_audio_factory(AudioFactory factory);  // returns the previous one; {} restores the default
std::shared_ptr<AudioBackend> make_audio_backend();

// Installs a factory for the life of a test.
class ScopedAudioFactory {
public:
    explicit ScopedAudioFactory(AudioFactory factory) : previous_(set_audio_factory(std::move(factory))) {}
    ~ScopedAudioFactory() { set_audio_factory(std::move(previous_)); }
    ScopedAudioFactory(const ScopedAudioFactory&) = delete;
    ScopedAudioFactory& operator=(const ScopedAudioFactory&) = delete;

private:
    AudioFactory previous_;
};

// Hundredths of a decibel to a linear gain: 10^(v / 2000); 0 is 1, -10000 is 1e-5.
float gain_from_hundredths_db(double v);

}  // namespace tarko::platform::sound
