// OpenAL Soft backends: the machine's output device and the loopback device
// that renders into memory.
#include <AL/al.h>
#include <AL/alc.h>
#include <AL/alext.h>

#include <map>

#include "platform/sound/audio_backend.h"

namespace tarko::platform::sound {
namespace {

ALenum al_format(const WavData& pcm) {
    if (pcm.channels == 1) return pcm.bits == 8 ? AL_FORMAT_MONO8 : AL_FORMAT_MONO16;
    return pcm.bits == 8 ? AL_FORMAT_STEREO8 : AL_FORMAT_STEREO16;
}

class OpenAlAudio : public LoopbackAudio {
public:
    OpenAlAudio(ALCdevice* device, ALCcontext* context, bool loopback, int rate)
        : device_(device), context_(context), loopback_(loopback), rate_(rate) {
        current();
        alDistanceModel(AL_INVERSE_DISTANCE_CLAMPED);
    }
    ~OpenAlAudio() override {
        current();
        for (auto& [id, s] : sources_) {
            alDeleteSources(1, &s.source);
            alDeleteBuffers(1, &s.buffer);
        }
        alcMakeContextCurrent(nullptr);
        alcDestroyContext(context_);
        alcCloseDevice(device_);
    }

    std::string name() const override { return loopback_ ? "openal-loopback" : "openal"; }
    int sample_rate() const override { return rate_; }

    int create_source(const WavData& pcm) override {
        current();
        Entry e;
        alGenBuffers(1, &e.buffer);
        alBufferData(e.buffer, al_format(pcm), pcm.samples.data(), static_cast<ALsizei>(pcm.samples.size()),
                     pcm.sample_rate);
        alGenSources(1, &e.source);
        alSourcei(e.source, AL_BUFFER, static_cast<ALint>(e.buffer));
        if (alGetError() != AL_NO_ERROR) {
            alDeleteSources(1, &e.source);
            alDeleteBuffers(1, &e.buffer);
            return 0;
        }
        const int id = next_id_++;
        sources_[id] = e;
        apply(id, SourceSettings{});
        return id;
    }
    void destroy_source(int id) override {
        auto it = sources_.find(id);
        if (it == sources_.end()) return;
        current();
        alSourceStop(it->second.source);
        alDeleteSources(1, &it->second.source);
        alDeleteBuffers(1, &it->second.buffer);
        sources_.erase(it);
    }
    void play(int id, bool looping) override {
        if (const Entry* e = find(id)) {
            current();
            alSourcei(e->source, AL_LOOPING, looping ? AL_TRUE : AL_FALSE);
            ALint state = 0;
            alGetSourcei(e->source, AL_SOURCE_STATE, &state);
            if (state != AL_PLAYING) alSourcePlay(e->source);
        }
    }
    void stop(int id) override {
        if (const Entry* e = find(id)) {
            current();
            ALint state = 0;
            alGetSourcei(e->source, AL_SOURCE_STATE, &state);
            if (state == AL_PLAYING) alSourcePause(e->source);
        }
    }
    bool playing(int id) override {
        const Entry* e = find(id);
        if (!e) return false;
        current();
        ALint state = 0;
        alGetSourcei(e->source, AL_SOURCE_STATE, &state);
        return state == AL_PLAYING;
    }
    void apply(int id, const SourceSettings& s) override {
        const Entry* e = find(id);
        if (!e) return;
        current();
        const ALuint src = e->source;
        alSourcef(src, AL_GAIN, s.gain);
        alSourcei(src, AL_SOURCE_RELATIVE, s.relative ? AL_TRUE : AL_FALSE);
        alSource3f(src, AL_POSITION, s.position.x, s.position.y, s.position.z);
        alSource3f(src, AL_VELOCITY, s.velocity.x, s.velocity.y, s.velocity.z);
        alSourcef(src, AL_CONE_INNER_ANGLE, s.inner_angle);
        alSourcef(src, AL_CONE_OUTER_ANGLE, s.outer_angle);
        alSourcef(src, AL_CONE_OUTER_GAIN, s.outer_gain);
        alSource3f(src, AL_DIRECTION, s.direction.x, s.direction.y, s.direction.z);
        alSourcef(src, AL_REFERENCE_DISTANCE, s.min_distance);
        alSourcef(src, AL_MAX_DISTANCE, s.max_distance);
        alSourcef(src, AL_ROLLOFF_FACTOR, s.relative ? 0.0f : s.rolloff);
        alGetError();  // out-of-range values leave the previous setting; nothing to report to the host
    }
    void apply_listener(const ListenerSettings& l) override {
        current();
        alListenerf(AL_GAIN, l.gain);
        alListener3f(AL_POSITION, l.position.x, l.position.y, l.position.z);
        alListener3f(AL_VELOCITY, l.velocity.x, l.velocity.y, l.velocity.z);
        const ALfloat orientation[6] = {l.at.x, l.at.y, l.at.z, l.up.x, l.up.y, l.up.z};
        alListenerfv(AL_ORIENTATION, orientation);
        alGetError();
    }
    void render(std::span<float> interleaved_stereo) override {
        if (!loopback_) return;
        static const auto render_samples =
            reinterpret_cast<LPALCRENDERSAMPLESSOFT>(alcGetProcAddress(nullptr, "alcRenderSamplesSOFT"));
        current();
        render_samples(device_, interleaved_stereo.data(), static_cast<ALCsizei>(interleaved_stereo.size() / 2));
    }

private:
    struct Entry {
        ALuint buffer = 0;
        ALuint source = 0;
    };
    const Entry* find(int id) const {
        auto it = sources_.find(id);
        return it == sources_.end() ? nullptr : &it->second;
    }
    void current() const {
        if (alcGetCurrentContext() != context_) alcMakeContextCurrent(context_);
    }

    ALCdevice* device_;
    ALCcontext* context_;
    bool loopback_;
    int rate_;
    std::map<int, Entry> sources_;
    int next_id_ = 1;
};

}  // namespace

std::shared_ptr<AudioBackend> open_device_audio() {
    ALCdevice* device = alcOpenDevice(nullptr);
    if (!device) return nullptr;
    ALCcontext* context = alcCreateContext(device, nullptr);
    if (!context) {
        alcCloseDevice(device);
        return nullptr;
    }
    ALCint rate = 44100;
    alcGetIntegerv(device, ALC_FREQUENCY, 1, &rate);
    return std::make_shared<OpenAlAudio>(device, context, false, rate);
}

std::shared_ptr<LoopbackAudio> open_loopback_audio(int sample_rate) {
    if (!alcIsExtensionPresent(nullptr, "ALC_SOFT_loopback")) return nullptr;
    const auto open_loopback =
        reinterpret_cast<LPALCLOOPBACKOPENDEVICESOFT>(alcGetProcAddress(nullptr, "alcLoopbackOpenDeviceSOFT"));
    if (!open_loopback) return nullptr;
    ALCdevice* device = open_loopback(nullptr);
    if (!device) return nullptr;
    const ALCint attributes[] = {ALC_FORMAT_CHANNELS_SOFT, ALC_STEREO_SOFT, ALC_FORMAT_TYPE_SOFT, ALC_FLOAT_SOFT,
                                 ALC_FREQUENCY, sample_rate, ALC_HRTF_SOFT, ALC_FALSE, 0};
    ALCcontext* context = alcCreateContext(device, attributes);
    if (!context) {
        alcCloseDevice(device);
        return nullptr;
    }
    return std::make_shared<OpenAlAudio>(device, context, true, sample_rate);
}

}  // namespace tarko::platform::sound
