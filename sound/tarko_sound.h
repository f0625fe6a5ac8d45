// cTarko_Sound: wave files played as sound buffers, optionally placed in 3D
// around a listener, and one MIDI piece with pause, resume, volume and
// progress. It makes its own DirectX7 root: no engine object, no window.
//
// Units: positions are world units, divided by the unit factor (50 unless
// INIT_SoundENGINE says otherwise) on the way to the sound objects and
// multiplied on the way back. Volumes of buffers are percent, sent as
// hundredths of a decibel: -(10000 - round(percent * 100)), unclamped, so a
// value beyond 0..100 raises DSERR_INVALIDPARAM from the buffer. The music
// volume is percent held to 0..100, sent as value * 42 - 3000 and read back
// as round(level / 42 + 71).
//
// Errors: INIT_SoundENGINE never raises (a missing sound device shows
// "Unable to initialise; Either bad soundcard or bad drivers. Quiting" and
// returns False). Load_Wav, Play_BUF, Stop_BUF, the position and volume
// calls raise: a bad number is "Subscript out of range" (9), a failed load
// "Object variable not set" (91), a unit factor of 0 "Division by zero"
// (11), a bad wave file DSERR_BADFORMAT. The MIDI calls DMusic_* catch every
// error and show "(number) - description"; Dmusic_volume,
// Dmusic_Percentage_Done and Dmusic_LengthInSeconds raise.
//
// Without an audio device the sound objects are silent but keep time, so a
// host runs the same either way.
#pragma once

#include <string>

#include "platform/dx_root.h"
#include "platform/music/dmusic.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "platform/sound/dsound.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

class cTarko_Sound {
public:
    cTarko_Sound();
    ~cTarko_Sound();  // runs Engine_Free
    cTarko_Sound(const cTarko_Sound&) = delete;
    cTarko_Sound& operator=(const cTarko_Sound&) = delete;

    // ---- public variables, in slot order
    tarko::Ref<DirectSound> DsounD;
    tarko::Integer Total_SoundBUF = 0;            // loaded buffers; also the highest number
    bool IS_DSound3D = false;                     // held for the host
    tarko::Ref<DirectSound3DListener> DS_Listener;  // a host may hand it to tarko_DX7::DS_Listener
    bool Midi_IS_Playing = false;                 // set by DMusic_PlayMidi, never cleared
    bool Loop_it = false;                         // set by DMusic_PlayMidi(True), never cleared

    // ---- sound buffers
    // Opens the default sound device and the music performances. True once
    // the device is up, even if the music setup then failed (Load_Wav then
    // returns 0).
    bool INIT_SoundENGINE(tarko::Long appHandle, const tarko::Variant& UNITFACTOR = tarko::Integer{50});
    // Loads a wave file as buffer number Total_SoundBUF + 1 (numbers from 1);
    // 0 when the engine is not ready. A 3D buffer gets a cone of 0 and 100
    // degrees, -400 outside, and the position given.
    tarko::Integer Load_Wav(const std::string& WavFile, bool Is_3d = false, float PosX = 0, float PosY = 0,
                            float PosZ = 0);
    tarko::Variant Play_BUF(const tarko::Variant& Buffer_INDEX, bool LooP_ON = false);
    void Stop_BUF(const tarko::Variant& Buffer_INDEX);
    tarko::Variant Set_ListenerPosition(const D3DVECTOR& SoundPos);
    tarko::Variant Set_BufferPosition(const tarko::Variant& BufferINDEX, const D3DVECTOR& vPOS);
    D3DVECTOR Get_ListenerPosition();
    D3DVECTOR Get_BufferPosition(const tarko::Variant& BufferINDEX);
    void Set_BufferVolume(const tarko::Variant& BufferINDEX, float percent);
    // Releases the buffers, the device and the root, and stops the music.
    // The listener, the primary buffer and Total_SoundBUF stay.
    void Engine_Free();

    // ---- MIDI
    bool DMusic_OpenMidi(const std::string& filename);
    bool DMusic_PlayMidi(bool Repeats = false);
    // A toggle: pauses when playing, resumes one tick past the pause point otherwise.
    bool DMusic_PauseMidi();
    bool DMusic_StopMidi();
    tarko::Integer Dmusic_volume();
    void Dmusic_volume(tarko::Integer value);
    // Int(elapsed seconds / length * 100), at most 100.
    tarko::Integer Dmusic_Percentage_Done();
    // The length rounded to two decimals (5.678 -> 5.68).
    double Dmusic_LengthInSeconds();

private:
    struct SoundBuffer {
        std::string FileName;
        tarko::Ref<DirectSoundBuffer> Buffer;
        tarko::Ref<DirectSound3DBuffer> Buffer3D;
    };
    SoundBuffer& buffer_at(const tarko::Variant& index);
    float to_sound_units(float world) const;
    float to_world_units(float sound) const;
    bool setup_music();
    static void show_error(const tarko::RuntimeError& e);

    tarko::Variant UnitFactor = tarko::Integer{50};
    tarko::SafeArray<SoundBuffer> SoundBuffers;   // 1 To Total_SoundBUF
    tarko::Ref<DirectSoundBuffer> PrimaryBuffer;
    tarko::Long AppHandle = 0;
    tarko::Ref<DirectX7> DirectXRoot;
    bool SoundReady = false;

    tarko::Ref<DirectMusicLoader> MusicLoader;
    tarko::Ref<DirectMusicPerformance> MusicPerformance;
    tarko::Ref<DirectMusicPerformance> MeasurePerformance;
    tarko::Ref<DirectMusicSegment> MusicSegment;
    tarko::Ref<DirectMusicSegmentState> SegmentState;
    tarko::Long PauseTime = 0;
    tarko::Long SegmentStart = 0;
    tarko::Long SegmentOffset = 0;
    double MusicTempo = 0;
    double MusicLength = 0;
    bool MusicPaused = false;
    bool MusicWasPlaying = false;
};
