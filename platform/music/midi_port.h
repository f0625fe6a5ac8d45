// The synthesiser under the music performances: a MIDI output with a master
// gain. Backends: FluidSynth with the General MIDI soundfont playing on the
// machine's audio device, FluidSynth rendering into memory (no driver), a
// silent port, and a recording port that logs every message for tests.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tarko::platform::music {

class MidiPort {
public:
    virtual ~MidiPort() = default;
    virtual std::string name() const = 0;
    // Number of MIDI channels; performances take 16 each.
    virtual int channels() const { return 64; }
    // One channel message: `command` is the high nibble (0x80..0xE0).
    virtual void message(int channel, std::uint8_t command, std::uint8_t data1, std::uint8_t data2) = 0;
    // Linear master gain (1 is the soundfont's own level).
    virtual void set_gain(double gain) = 0;
    // True when the port plays in real time and the performances must be
    // serviced by a thread of their own.
    virtual bool real_time() const { return false; }

    // The next free group of 16 channels (wraps round).
    int allocate_channel_group();

private:
    int next_group_ = 0;
};

class SilentPort : public MidiPort {
public:
    std::string name() const override { return "silent"; }
    void message(int, std::uint8_t, std::uint8_t, std::uint8_t) override {}
    void set_gain(double) override {}
};

class RecordingPort final : public MidiPort {
public:
    struct Message {
        int channel;
        std::uint8_t command, data1, data2;
    };
    std::string name() const override { return "recording"; }
    void message(int channel, std::uint8_t command, std::uint8_t data1, std::uint8_t data2) override {
        messages.push_back({channel, command, data1, data2});
    }
    void set_gain(double g) override { gains.push_back(g); }
    std::vector<Message> messages;
    std::vector<double> gains;
    int count(std::uint8_t command) const;
};

// FluidSynth without an audio driver: samples come out of render().
class RenderPort : public MidiPort {
public:
    virtual int sample_rate() const = 0;
    virtual void render(std::span<float> interleaved_stereo) = 0;
};

// The soundfont used: $TARKO_SOUNDFONT, then Debian's FluidR3_GM.sf2, then
// any .sf2 in the usual folders; "" when there is none (the port is silent).
std::string find_soundfont();

// FluidSynth on the machine's audio device; a SilentPort when there is no
// soundfont or no device (or TARKO_AUDIO is "silent" or "off").
std::shared_ptr<MidiPort> open_device_port();
// FluidSynth rendering into memory, or nullptr without a soundfont.
std::shared_ptr<RenderPort> open_render_port(int sample_rate = 44100);

// Which port a performance gets from init. The default is one shared
// open_device_port() for every performance alive.
using PortFactory = std::function<std::shared_ptr<MidiPort>()>;
PortFactory set_port_factory(PortFactory factory);  // returns the previous one; {} restores the default
std::shared_ptr<MidiPort> make_port();

class ScopedPortFactory {
public:
    explicit ScopedPortFactory(PortFactory factory) : previous_(set_port_factory(std::move(factory))) {}
    ~ScopedPortFactory() { set_port_factory(std::move(previous_)); }
    ScopedPortFactory(const ScopedPortFactory&) = delete;
    ScopedPortFactory& operator=(const ScopedPortFactory&) = delete;

private:
    PortFactory previous_;
};

}  // namespace tarko::platform::music
