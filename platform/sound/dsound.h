// DirectSound subset: the device, static buffers made from wave files, their
// 3D controls and the listener of the primary buffer.
//
// Units at this boundary are DirectSound's: left-handed positions (x right,
// y up, z forward), volumes in hundredths of a decibel (0 full level, -10000
// silence), cone angles in degrees. Underneath, OpenAL Soft gets z negated
// and gain 10^(volume/2000).
//
// Decisions where the old interface left room:
// - Distance model: inverse distance, clamped (DirectSound's): full level
//   inside the minimum distance (default 1), then min/(min + rolloff*(d-min)),
//   constant beyond the maximum distance (default 1e9); the rolloff factor of
//   the listener (default 1) applies to every 3D buffer.
// - A stereo file loaded into a 3D buffer is folded to mono so that it can be
//   placed (the old interface refused it).
// - Deferred settings (DS3D_DEFERRED) wait until commitDeferredSettings on
//   the listener; get* calls return the settings in effect, not the pending
//   ones.
// - Values outside DirectSound's ranges (volume above 0 or below -10000, cone
//   angles beyond 0..360, a non-finite position) raise DSERR_INVALIDPARAM.
// - A bad wave file raises DSERR_BADFORMAT with the reason in the text; a
//   missing one raises "File not found" (53).
#pragma once

#include <memory>
#include <string>

#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/numeric.h"

namespace tarko::platform {
inline constexpr std::int32_t DSERR_INVALIDPARAM = static_cast<std::int32_t>(0x80070057);
inline constexpr std::int32_t DSERR_INVALIDCALL = static_cast<std::int32_t>(0x88780032);
inline constexpr std::int32_t DSERR_CONTROLUNAVAIL = static_cast<std::int32_t>(0x8878001E);
inline constexpr std::int32_t DSERR_BADFORMAT = static_cast<std::int32_t>(0x88780064);
inline constexpr std::int32_t DSERR_NODRIVER = static_cast<std::int32_t>(0x88780078);
inline constexpr std::int32_t DSERR_OUTOFMEMORY = static_cast<std::int32_t>(0x8007000E);
}  // namespace tarko::platform

namespace tarko::platform::sound {
struct DeviceCore;
struct BufferCore;
class AudioBackend;
}  // namespace tarko::platform::sound

inline constexpr tarko::Long DSBSTATUS_PLAYING = 1;
inline constexpr tarko::Long DSBSTATUS_LOOPING = 4;
inline constexpr tarko::Long DSSCL_NORMAL = 1;
inline constexpr tarko::Long DSSCL_WRITEPRIMARY = 4;

struct WAVEFORMATEX {
    tarko::Integer nFormatTag = 0;       // 1: PCM
    tarko::Integer nChannels = 0;
    tarko::Long lSamplesPerSec = 0;
    tarko::Long lAvgBytesPerSec = 0;
    tarko::Integer nBlockAlign = 0;
    tarko::Integer nBitsPerSample = 0;
    tarko::Integer nSize = 0;
};

struct DSBUFFERDESC {
    tarko::Long lFlags = 0;              // DSBCAPS_*
    tarko::Long lBufferBytes = 0;        // filled in from the file
    tarko::Long lReserved = 0;
    WAVEFORMATEX fxFormat;
    std::string guid3DAlgorithm;
};

class DirectSound3DBuffer;
class DirectSound3DListener;

class DirectSoundBuffer {
public:
    DirectSoundBuffer(std::shared_ptr<tarko::platform::sound::DeviceCore> device,
                      std::shared_ptr<tarko::platform::sound::BufferCore> buffer);
    ~DirectSoundBuffer();

    // 0 plays once, DSBPLAY_LOOPING (1) loops. Resumes where stop left it.
    void play(tarko::Long flags);
    void stop();
    // Hundredths of a decibel, -10000..0; needs DSBCAPS_CTRLVOLUME.
    void setVolume(tarko::Long volume);
    tarko::Long getVolume() const;
    // DSBSTATUS_PLAYING, plus DSBSTATUS_LOOPING when looping.
    tarko::Long getStatus() const;
    // Needs DSBCAPS_CTRL3D on a secondary buffer.
    tarko::Ref<DirectSound3DBuffer> getDirectSound3dBuffer();
    // Needs DSBCAPS_CTRL3D on the primary buffer.
    tarko::Ref<DirectSound3DListener> getDirectSound3dListener();
    tarko::Long getFlags() const;

private:
    std::shared_ptr<tarko::platform::sound::DeviceCore> device_;
    std::shared_ptr<tarko::platform::sound::BufferCore> buffer_;
};

class DirectSound3DBuffer {
public:
    DirectSound3DBuffer(std::shared_ptr<tarko::platform::sound::DeviceCore> device,
                        std::shared_ptr<tarko::platform::sound::BufferCore> buffer);

    // `apply`: DS3D_IMMEDIATE (0) or DS3D_DEFERRED (1).
    void setPosition(float x, float y, float z, tarko::Long apply);
    void getPosition(D3DVECTOR& position) const;
    void setVelocity(float x, float y, float z, tarko::Long apply);
    void getVelocity(D3DVECTOR& velocity) const;
    // Degrees, 0 <= inside <= outside <= 360. Default 360, 360 (no cone).
    void setConeAngles(tarko::Long inside, tarko::Long outside, tarko::Long apply);
    void getConeAngles(tarko::Long& inside, tarko::Long& outside) const;
    // Level outside the outer cone, hundredths of a decibel (-10000..0).
    void setConeOutsideVolume(tarko::Long volume, tarko::Long apply);
    tarko::Long getConeOutsideVolume() const;
    // Default (0, 0, 1).
    void setConeOrientation(float x, float y, float z, tarko::Long apply);
    void getConeOrientation(D3DVECTOR& orientation) const;
    void setMinDistance(float distance, tarko::Long apply);
    float getMinDistance() const;
    void setMaxDistance(float distance, tarko::Long apply);
    float getMaxDistance() const;

private:
    std::shared_ptr<tarko::platform::sound::DeviceCore> device_;
    std::shared_ptr<tarko::platform::sound::BufferCore> buffer_;
};

class DirectSound3DListener {
public:
    explicit DirectSound3DListener(std::shared_ptr<tarko::platform::sound::DeviceCore> device);

    void setPosition(float x, float y, float z, tarko::Long apply);
    void getPosition(D3DVECTOR& position) const;
    void setVelocity(float x, float y, float z, tarko::Long apply);
    void getVelocity(D3DVECTOR& velocity) const;
    // Front and top vectors; default front (0, 0, 1), top (0, 1, 0).
    void setOrientation(float fx, float fy, float fz, float tx, float ty, float tz, tarko::Long apply);
    void getOrientation(D3DVECTOR& front, D3DVECTOR& top) const;
    void setRolloffFactor(float factor, tarko::Long apply);  // 0..10
    float getRolloffFactor() const;
    void setDistanceFactor(float factor, tarko::Long apply);  // metres per unit; kept for the host
    float getDistanceFactor() const;
    void setDopplerFactor(float factor, tarko::Long apply);   // 0..10; kept for the host
    float getDopplerFactor() const;
    // Applies every deferred setting of the listener and of the device's 3D buffers.
    void commitDeferredSettings();

private:
    std::shared_ptr<tarko::platform::sound::DeviceCore> device_;
};

class DirectSound {
public:
    explicit DirectSound(std::shared_ptr<tarko::platform::sound::AudioBackend> backend);
    ~DirectSound();

    // Levels 1 (normal) to 4 (write primary); the window handle is kept only.
    void setCooperativeLevel(tarko::Long hwnd, tarko::Long level);
    // Only the primary buffer (DSBCAPS_PRIMARYBUFFER) is made without a file.
    tarko::Ref<DirectSoundBuffer> createSoundBuffer(DSBUFFERDESC& desc, WAVEFORMATEX& format);
    // A static buffer from a wave file; `desc` gets the byte count and
    // `format` the file's format.
    tarko::Ref<DirectSoundBuffer> createSoundBufferFromFile(const std::string& file, DSBUFFERDESC& desc,
                                                            WAVEFORMATEX& format);

    // Not in the old interface: the audio backend, for tests, and its name
    // for hosts ("silent" when there is no audio device).
    const std::shared_ptr<tarko::platform::sound::AudioBackend>& backend() const;
    std::string backend_name() const;

private:
    std::shared_ptr<tarko::platform::sound::DeviceCore> core_;
};
