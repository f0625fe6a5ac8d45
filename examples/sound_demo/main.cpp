// Sound demo: a tone that travels from the listener's left to its right while
// a MIDI tune plays. Both files are made here and written to a temporary
// folder. With no audio device everything runs silently and says so.
//
//   tarko_sound_demo [--seconds N] [--silent]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/music/midi_port.h"
#include "platform/music/smf_writer.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/wav_writer.h"
#include "sound/tarko_sound.h"

namespace {

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

    const std::string tone = write_temp("tone.wav", tarko::platform::sound::make_tone_wav(330, 0.5, 22050));
    const std::string tune = write_temp("tune.mid", tarko::platform::music::make_scale_smf(16, 400000, 480));

    cTarko_Sound snd;
    if (!snd.INIT_SoundENGINE(0)) {
        std::puts("sound could not start");
        return 1;
    }
    const std::string audio = snd.DsounD->backend()->name();
    const std::string synth = tarko::platform::music::make_port()->name();
    if (audio == "silent")
        std::puts("no audio device: running silently (time still runs)");
    else
        std::printf("audio device found: wave output %s, music %s\n", audio.c_str(), synth.c_str());

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
