// cTarko_Sound: device start-up and the wave buffers.
#include "sound/tarko_sound.h"

#include "platform/constants.h"
#include "runtime/errors.h"
#include "runtime/services.h"

using tarko::Integer;
using tarko::Long;
using tarko::Variant;
namespace runtime = tarko::runtime;

namespace {
constexpr const char* kNoSoundCard = "Unable to initialise; Either bad soundcard or bad drivers. Quiting";
constexpr Long kStaticFlags = dx::DSBCAPS_CTRLVOLUME | dx::DSBCAPS_CTRLPAN | dx::DSBCAPS_CTRLFREQUENCY | dx::DSBCAPS_STATIC;
static_assert(kStaticFlags == 226 && (kStaticFlags | dx::DSBCAPS_CTRL3D) == 242);
}  // namespace

cTarko_Sound::cTarko_Sound() = default;

cTarko_Sound::~cTarko_Sound() {
    try {
        Engine_Free();
    } catch (...) {
        // Going away: nothing to report to.
    }
}

void cTarko_Sound::show_error(const tarko::RuntimeError& e) {
    runtime::MsgBox("(" + std::to_string(e.number()) + ") - " + e.description());
}

float cTarko_Sound::to_sound_units(float world) const {
    return runtime::CSng(runtime::Div(world, UnitFactor.to_double()));
}

float cTarko_Sound::to_world_units(float sound) const { return runtime::CSng(sound * UnitFactor.to_double()); }

cTarko_Sound::SoundBuffer& cTarko_Sound::buffer_at(const Variant& index) { return SoundBuffers(index.to_long()); }

bool cTarko_Sound::INIT_SoundENGINE(Long appHandle, const Variant& UNITFACTOR) {
    AppHandle = appHandle;
    UnitFactor = UNITFACTOR.is_missing() ? Variant(Integer{50}) : UNITFACTOR;

    runtime::ResumeNext opening;
    opening([&] {
        if (!DirectXRoot) DirectXRoot = tarko::Ref<DirectX7>(std::make_shared<DirectX7>());
    });
    opening([&] { DsounD = DirectXRoot->directSoundCreate(""); });
    if (opening.failures() > 0) {
        runtime::MsgBox(kNoSoundCard);
        SoundReady = false;
        return false;
    }

    runtime::ResumeNext rest;
    rest([&] { DsounD->setCooperativeLevel(AppHandle, dx::DSSCL_PRIORITY); });
    rest([&] {
        DSBUFFERDESC desc;
        desc.lFlags = dx::DSBCAPS_PRIMARYBUFFER | dx::DSBCAPS_CTRL3D;  // 17
        WAVEFORMATEX format;
        PrimaryBuffer = DsounD->createSoundBuffer(desc, format);
    });
    rest([&] { DS_Listener = PrimaryBuffer->getDirectSound3dListener(); });
    Total_SoundBUF = 0;
    SoundReady = true;
    SoundReady = setup_music();
    return true;
}

Integer cTarko_Sound::Load_Wav(const std::string& WavFile, bool Is_3d, float PosX, float PosY, float PosZ) {
    if (!SoundReady) return 0;
    Total_SoundBUF = runtime::CInt(static_cast<double>(Total_SoundBUF) + 1);
    const Integer number = Total_SoundBUF;
    if (SoundBuffers.dimensioned())
        SoundBuffers.ReDimPreserve(number);
    else
        SoundBuffers.ReDim(1, number);
    SoundBuffers(number) = SoundBuffer{};  // a failed load leaves the number taken and empty

    DSBUFFERDESC desc;
    desc.lFlags = Is_3d ? (kStaticFlags | dx::DSBCAPS_CTRL3D) : kStaticFlags;
    WAVEFORMATEX format;
    auto buffer = DsounD->createSoundBufferFromFile(WavFile, desc, format);
    SoundBuffer& slot = SoundBuffers(number);
    slot.Buffer = buffer;
    if (Is_3d) {
        slot.Buffer3D = slot.Buffer->getDirectSound3dBuffer();
        slot.Buffer3D->setConeAngles(0, 100, dx::DS3D_IMMEDIATE);
        slot.Buffer3D->setConeOutsideVolume(-400, dx::DS3D_IMMEDIATE);
        slot.Buffer3D->setPosition(to_sound_units(PosX), to_sound_units(PosY), to_sound_units(PosZ), dx::DS3D_IMMEDIATE);
    }
    slot.FileName = WavFile;
    slot.Buffer->setVolume(0);
    return number;
}

Variant cTarko_Sound::Play_BUF(const Variant& Buffer_INDEX, bool LooP_ON) {
    buffer_at(Buffer_INDEX).Buffer->play(LooP_ON ? dx::DSBPLAY_LOOPING : 0);
    return {};
}

void cTarko_Sound::Stop_BUF(const Variant& Buffer_INDEX) { buffer_at(Buffer_INDEX).Buffer->stop(); }

Variant cTarko_Sound::Set_ListenerPosition(const D3DVECTOR& SoundPos) {
    DS_Listener->setPosition(to_sound_units(SoundPos.x), to_sound_units(SoundPos.y), to_sound_units(SoundPos.z),
                             dx::DS3D_IMMEDIATE);
    return {};
}

Variant cTarko_Sound::Set_BufferPosition(const Variant& BufferINDEX, const D3DVECTOR& vPOS) {
    auto& slot = buffer_at(BufferINDEX);
    slot.Buffer3D->setPosition(to_sound_units(vPOS.x), to_sound_units(vPOS.y), to_sound_units(vPOS.z),
                               dx::DS3D_IMMEDIATE);
    return {};
}

D3DVECTOR cTarko_Sound::Get_ListenerPosition() {
    D3DVECTOR p;
    DS_Listener->getPosition(p);
    return {to_world_units(p.x), to_world_units(p.y), to_world_units(p.z)};
}

D3DVECTOR cTarko_Sound::Get_BufferPosition(const Variant& BufferINDEX) {
    D3DVECTOR p;
    buffer_at(BufferINDEX).Buffer3D->getPosition(p);
    return {to_world_units(p.x), to_world_units(p.y), to_world_units(p.z)};
}

void cTarko_Sound::Set_BufferVolume(const Variant& BufferINDEX, float percent) {
    // 100 -> 0, 50 -> -5000, 12.5 -> -(10000 - 1250) = -8750; rounded half to even, not clamped.
    const double level = runtime::round_half_even((static_cast<double>(percent) / 100.0) * 10000.0);
    buffer_at(BufferINDEX).Buffer->setVolume(runtime::CLng(-(10000.0 - level)));
}

void cTarko_Sound::Engine_Free() {
    if (Total_SoundBUF > 0 && SoundBuffers.dimensioned()) {
        for (Long i = 1; i <= Total_SoundBUF && i <= SoundBuffers.UBound(); ++i) {
            SoundBuffers(i).Buffer.reset();
            SoundBuffers(i).Buffer3D.reset();
        }
    }
    DsounD.reset();
    DirectXRoot.reset();
    DMusic_StopMidi();
}
