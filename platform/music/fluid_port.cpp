// FluidSynth ports: on the audio device, or rendering into memory.
#include <fluidsynth.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "platform/music/midi_port.h"

namespace tarko::platform::music {
namespace {

// FluidSynth's level for a master volume of 0: its own default gain, which
// leaves headroom for a full General MIDI mix.
constexpr double kBaseGain = 0.2;
constexpr int kChannels = 64;

void quiet_log(int, const char*, void*) {}

class FluidPort final : public RenderPort {
public:
    ~FluidPort() override {
        if (driver_) delete_fluid_audio_driver(driver_);
        if (synth_) delete_fluid_synth(synth_);
        if (settings_) delete_fluid_settings(settings_);
    }

    // Loads the soundfont; false when anything is missing.
    bool open(const std::string& soundfont, int rate, bool with_driver) {
        for (int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN, FLUID_INFO, FLUID_DBG})
            fluid_set_log_function(level, quiet_log, nullptr);
        settings_ = new_fluid_settings();
        if (!settings_) return false;
        fluid_settings_setnum(settings_, "synth.sample-rate", rate);
        fluid_settings_setint(settings_, "synth.midi-channels", kChannels);
        fluid_settings_setint(settings_, "synth.dynamic-sample-loading", 1);  // load samples as presets are chosen
        fluid_settings_setnum(settings_, "synth.gain", kBaseGain);
        synth_ = new_fluid_synth(settings_);
        if (!synth_ || fluid_synth_sfload(synth_, soundfont.c_str(), 1) == FLUID_FAILED) return false;
        rate_ = rate;
        if (with_driver) {
            driver_ = new_fluid_audio_driver(settings_, synth_);
            if (!driver_) return false;
        }
        return true;
    }

    std::string name() const override { return driver_ ? "fluidsynth" : "fluidsynth-render"; }
    int channels() const override { return kChannels; }
    bool real_time() const override { return driver_ != nullptr; }
    int sample_rate() const override { return rate_; }

    void message(int channel, std::uint8_t command, std::uint8_t d1, std::uint8_t d2) override {
        switch (command) {
            case 0x80: fluid_synth_noteoff(synth_, channel, d1); break;
            case 0x90: fluid_synth_noteon(synth_, channel, d1, d2); break;
            case 0xA0: fluid_synth_key_pressure(synth_, channel, d1, d2); break;
            case 0xB0: fluid_synth_cc(synth_, channel, d1, d2); break;
            case 0xC0: fluid_synth_program_change(synth_, channel, d1); break;
            case 0xD0: fluid_synth_channel_pressure(synth_, channel, d1); break;
            case 0xE0: fluid_synth_pitch_bend(synth_, channel, d1 | d2 << 7); break;
            default: break;
        }
    }
    void set_gain(double gain) override {
        fluid_synth_set_gain(synth_, static_cast<float>(std::clamp(kBaseGain * gain, 0.0, 10.0)));
    }
    void render(std::span<float> out) override {
        const int frames = static_cast<int>(out.size() / 2);
        if (frames > 0) fluid_synth_write_float(synth_, frames, out.data(), 0, 2, out.data(), 1, 2);
    }

private:
    fluid_settings_t* settings_ = nullptr;
    fluid_synth_t* synth_ = nullptr;
    fluid_audio_driver_t* driver_ = nullptr;
    int rate_ = 44100;
};

}  // namespace

std::shared_ptr<MidiPort> open_device_port() {
    const char* mode = std::getenv("TARKO_AUDIO");
    const std::string_view m = mode ? mode : "";
    const std::string soundfont = find_soundfont();
    if (m == "silent" || m == "off" || soundfont.empty()) return std::make_shared<SilentPort>();
    auto port = std::make_shared<FluidPort>();
    if (!port->open(soundfont, 44100, true)) return std::make_shared<SilentPort>();
    return port;
}

std::shared_ptr<RenderPort> open_render_port(int sample_rate) {
    const std::string soundfont = find_soundfont();
    if (soundfont.empty()) return nullptr;
    auto port = std::make_shared<FluidPort>();
    if (!port->open(soundfont, sample_rate, false)) return nullptr;
    return port;
}

}  // namespace tarko::platform::music
