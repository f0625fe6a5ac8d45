// Sound demo: a tone that travels from the listener's left to its right while
// a MIDI tune plays. Both files are made here and written to a temporary
// folder. With no audio device everything runs silently and says so.
//
//   tarko_sound_demo [--seconds N] [--silent]
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

#include <tarko/tarko.h>

namespace {

using Bytes = std::vector<std::uint8_t>;

void put(Bytes& out, std::uint32_t value, int bytes, bool big_endian) {
    for (int i = 0; i < bytes; ++i) {
        const int shift = 8 * (big_endian ? bytes - 1 - i : i);
        out.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

// A mono 16-bit wave of a sine tone at half level.
Bytes tone_wav(double frequency, double seconds, int rate) {
    const auto frames = static_cast<std::uint32_t>(seconds * rate);
    Bytes out = {'R', 'I', 'F', 'F'};
    put(out, 36 + 2 * frames, 4, false);
    for (char c : std::string("WAVEfmt ")) out.push_back(static_cast<std::uint8_t>(c));
    put(out, 16, 4, false);
    put(out, 1, 2, false);  // PCM, one channel
    put(out, 1, 2, false);
    put(out, static_cast<std::uint32_t>(rate), 4, false);
    put(out, static_cast<std::uint32_t>(rate * 2), 4, false);
    put(out, 2, 2, false);
    put(out, 16, 2, false);
    for (char c : std::string("data")) out.push_back(static_cast<std::uint8_t>(c));
    put(out, 2 * frames, 4, false);
    for (std::uint32_t i = 0; i < frames; ++i) {
        const double v = 0.5 * std::sin(2 * std::numbers::pi * frequency * i / rate);
        put(out, static_cast<std::uint16_t>(static_cast<std::int16_t>(std::lround(v * 32767))), 2, false);
    }
    return out;
}

// A one-track MIDI file: `quarters` notes up the C major scale on a piano.
Bytes scale_midi(int quarters, std::uint32_t us_per_quarter) {
    constexpr std::uint32_t kTicks = 480;
    Bytes track = {0x00, 0xFF, 0x51, 0x03};
    put(track, us_per_quarter, 3, true);
    for (std::uint8_t b : {0x00, 0xC0, 0x00}) track.push_back(b);  // piano
    static constexpr std::uint8_t kScale[] = {60, 62, 64, 65, 67, 69, 71, 72};
    for (int i = 0; i < quarters; ++i) {
        const std::uint8_t key = kScale[i % 8];
        for (std::uint8_t b : {std::uint8_t{0x00}, std::uint8_t{0x90}, key, std::uint8_t{100}}) track.push_back(b);
        // 480 ticks as a variable-length number: 0x83 0x60
        for (std::uint8_t b : {std::uint8_t{0x83}, std::uint8_t{0x60}, std::uint8_t{0x80}, key, std::uint8_t{0}})
            track.push_back(b);
    }
    for (std::uint8_t b : {0x00, 0xFF, 0x2F, 0x00}) track.push_back(b);
    Bytes out = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, 0, 0, 1};
    put(out, kTicks, 2, true);
    for (char c : std::string("MTrk")) out.push_back(static_cast<std::uint8_t>(c));
    put(out, static_cast<std::uint32_t>(track.size()), 4, true);
    out.insert(out.end(), track.begin(), track.end());
    return out;
}

std::string write_temp(const std::string& name, const std::vector<std::uint8_t>& bytes) {
    const auto dir = std::filesystem::temp_directory_path() / "tarko-sound-demo";
    std::filesystem::create_directories(dir);
    const auto path = dir / name;
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
    return path.string();
}

}  // namespace

int main(int argc, char** argv) {
    double seconds = 6;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--seconds") && i + 1 < argc) seconds = std::atof(argv[++i]);
        if (!std::strcmp(argv[i], "--silent")) setenv("TARKO_AUDIO", "silent", 1);
    }

    const std::string tone = write_temp("tone.wav", tone_wav(330, 0.5, 22050));
    const std::string tune = write_temp("tune.mid", scale_midi(16, 400000));

    cTarko_Sound snd;
    if (!snd.INIT_SoundENGINE(0)) {
        std::puts("sound could not start");
        return 1;
    }
    const std::string audio = snd.DsounD->backend_name();
    if (audio == "silent")
        std::puts("no audio device: running silently (time still runs)");
    else
        std::printf("audio device found: wave output %s\n", audio.c_str());

    const auto buffer = snd.Load_Wav(tone, true, -200, 0, 50);  // world units: 4 sound units left, 1 ahead
    snd.Set_BufferVolume(buffer, 80);
    snd.Play_BUF(buffer, true);
    if (snd.DMusic_OpenMidi(tune)) {
        snd.Dmusic_volume(70);
        snd.DMusic_PlayMidi(true);
        std::printf("tune: %.2f s at 150 bpm, looping\n", snd.Dmusic_LengthInSeconds());
    }

    // The tone sweeps from x = -200 to x = +200 in front of the listener.
    const int steps = static_cast<int>(seconds * 20);
    for (int i = 0; i <= steps; ++i) {
        const float x = -200.0f + 400.0f * static_cast<float>(i) / static_cast<float>(steps);
        snd.Set_BufferPosition(buffer, {x, 0, 50});
        if (i % 20 == 0) std::printf("tone at x = %6.1f, music %3d%%\n", x, static_cast<int>(snd.Dmusic_Percentage_Done()));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    snd.Stop_BUF(buffer);
    snd.DMusic_StopMidi();
    snd.Engine_Free();
    return 0;
}
