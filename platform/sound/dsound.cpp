// DirectSound objects over an AudioBackend.
#include "platform/sound/dsound.h"

#include <cmath>
#include <vector>

#include "platform/constants.h"
#include "platform/dx_root.h"
#include "platform/sound/audio_backend.h"
#include "platform/sound/wav_reader.h"
#include "platform/status.h"
#include "platform/trace.h"
#include "runtime/errors.h"
#include "runtime/files.h"

using tarko::Long;
namespace platform = tarko::platform;

namespace tarko::platform::sound {

// 3D settings in DirectSound's units.
struct Params3D {
    D3DVECTOR position;
    D3DVECTOR velocity;
    Long inside = 360, outside = 360;
    Long outside_volume = 0;
    D3DVECTOR orientation{0, 0, 1};
    float min_distance = 1.0f;
    float max_distance = 1.0e9f;
};

struct ListenerParams {
    D3DVECTOR position;
    D3DVECTOR velocity;
    D3DVECTOR front{0, 0, 1};
    D3DVECTOR top{0, 1, 0};
    float rolloff = 1.0f, distance = 1.0f, doppler = 1.0f;
};

struct BufferCore {
    std::shared_ptr<AudioBackend> backend;
    int source = 0;
    Long flags = 0;
    bool primary = false;
    bool looping = false;
    Long volume = 0;
    Params3D applied, pending;
    bool has_pending = false;

    ~BufferCore() {
        if (source) backend->destroy_source(source);
    }
};

struct DeviceCore {
    std::shared_ptr<AudioBackend> backend;
    Long hwnd = 0, level = 0;
    Long primary_volume = 0;
    ListenerParams applied, pending;
    bool listener_pending = false;
    std::vector<std::weak_ptr<BufferCore>> buffers;  // 3D buffers, for commits and rolloff

    void push_listener() {
        ListenerSettings s;
        s.gain = gain_from_hundredths_db(primary_volume);
        s.position = {applied.position.x, applied.position.y, -applied.position.z};
        s.velocity = {applied.velocity.x, applied.velocity.y, -applied.velocity.z};
        s.at = {applied.front.x, applied.front.y, -applied.front.z};
        s.up = {applied.top.x, applied.top.y, -applied.top.z};
        backend->apply_listener(s);
    }

    void push(const BufferCore& b) const {
        SourceSettings s;
        s.gain = gain_from_hundredths_db(b.volume);
        if (b.flags & dx::DSBCAPS_CTRL3D) {
            const Params3D& p = b.applied;
            s.relative = false;
            s.position = {p.position.x, p.position.y, -p.position.z};
            s.velocity = {p.velocity.x, p.velocity.y, -p.velocity.z};
            s.inner_angle = static_cast<float>(p.inside);
            s.outer_angle = static_cast<float>(p.outside);
            s.outer_gain = gain_from_hundredths_db(p.outside_volume);
            s.direction = {p.orientation.x, p.orientation.y, -p.orientation.z};
            s.min_distance = p.min_distance;
            s.max_distance = p.max_distance;
            s.rolloff = applied.rolloff;
        }
        backend->apply(b.source, s);
    }

    void push_all_buffers() {
        std::erase_if(buffers, [](const auto& w) { return w.expired(); });
        for (const auto& w : buffers)
            if (auto b = w.lock()) push(*b);
    }
};

namespace {

void check_apply(Long apply) {
    if (apply != dx::DS3D_IMMEDIATE && apply != dx::DS3D_DEFERRED) fail(DSERR_INVALIDPARAM, "DS3D apply flag");
}
void check_finite(float x, float y, float z) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) fail(DSERR_INVALIDPARAM, "non-finite vector");
}
void check_volume(Long v) {
    if (v < -10000 || v > 0) fail(DSERR_INVALIDPARAM, "volume " + std::to_string(v) + " outside -10000..0");
}

// Changes the pending or the applied 3D settings of a buffer.
template <class F>
void change(DeviceCore& dev, BufferCore& buf, Long apply, F&& edit) {
    check_apply(apply);
    if (apply == dx::DS3D_DEFERRED) {
        if (!buf.has_pending) buf.pending = buf.applied;
        edit(buf.pending);
        buf.has_pending = true;
    } else {
        edit(buf.applied);
        if (buf.has_pending) edit(buf.pending);  // a later commit must not undo this
        dev.push(buf);
    }
}

template <class F>
void change_listener(DeviceCore& dev, Long apply, F&& edit) {
    check_apply(apply);
    if (apply == dx::DS3D_DEFERRED) {
        if (!dev.listener_pending) dev.pending = dev.applied;
        edit(dev.pending);
        dev.listener_pending = true;
    } else {
        const float rolloff = dev.applied.rolloff;
        edit(dev.applied);
        if (dev.listener_pending) edit(dev.pending);
        dev.push_listener();
        if (dev.applied.rolloff != rolloff) dev.push_all_buffers();
    }
}

}  // namespace
}  // namespace tarko::platform::sound

namespace sound = tarko::platform::sound;

// ---- DirectSound

DirectSound::DirectSound(std::shared_ptr<sound::AudioBackend> backend) : core_(std::make_shared<sound::DeviceCore>()) {
    core_->backend = std::move(backend);
    core_->push_listener();
}

DirectSound::~DirectSound() = default;

const std::shared_ptr<sound::AudioBackend>& DirectSound::backend() const { return core_->backend; }
std::string DirectSound::backend_name() const { return core_->backend->name(); }

void DirectSound::setCooperativeLevel(Long hwnd, Long level) {
    platform::record("DirectSound", "setCooperativeLevel", hwnd, level);
    if (level < DSSCL_NORMAL || level > DSSCL_WRITEPRIMARY) platform::fail(platform::DSERR_INVALIDPARAM, "setCooperativeLevel");
    core_->hwnd = hwnd;
    core_->level = level;
}

tarko::Ref<DirectSoundBuffer> DirectSound::createSoundBuffer(DSBUFFERDESC& desc, WAVEFORMATEX&) {
    platform::record("DirectSound", "createSoundBuffer", desc.lFlags);
    if (!(desc.lFlags & dx::DSBCAPS_PRIMARYBUFFER))
        platform::fail(platform::DSERR_INVALIDCALL, "createSoundBuffer: only the primary buffer is made without a file");
    auto buf = std::make_shared<sound::BufferCore>();
    buf->backend = core_->backend;
    buf->flags = desc.lFlags;
    buf->primary = true;
    return tarko::Ref<DirectSoundBuffer>(std::make_shared<DirectSoundBuffer>(core_, buf));
}

tarko::Ref<DirectSoundBuffer> DirectSound::createSoundBufferFromFile(const std::string& file, DSBUFFERDESC& desc,
                                                                     WAVEFORMATEX& format) {
    platform::record("DirectSound", "createSoundBufferFromFile", file, desc.lFlags);
    if (desc.lFlags & dx::DSBCAPS_PRIMARYBUFFER)
        platform::fail(platform::DSERR_INVALIDPARAM, "createSoundBufferFromFile: primary flag");
    const auto bytes = tarko::runtime::read_file(file, std::size_t{256} << 20);
    sound::WavData pcm;
    try {
        pcm = sound::parse_wav(bytes);
    } catch (const sound::WavError& e) {
        tarko::raise_error(platform::DSERR_BADFORMAT, "Bad wave file \"" + file + "\": " + e.what());
    }
    format.nFormatTag = 1;
    format.nChannels = static_cast<tarko::Integer>(pcm.channels);
    format.lSamplesPerSec = pcm.sample_rate;
    format.nBlockAlign = static_cast<tarko::Integer>(pcm.block_align());
    format.lAvgBytesPerSec = pcm.sample_rate * pcm.block_align();
    format.nBitsPerSample = static_cast<tarko::Integer>(pcm.bits);
    format.nSize = 0;
    desc.lBufferBytes = static_cast<Long>(pcm.samples.size());
    desc.fxFormat = format;

    const bool is3d = (desc.lFlags & dx::DSBCAPS_CTRL3D) != 0;
    auto buf = std::make_shared<sound::BufferCore>();
    buf->backend = core_->backend;
    buf->flags = desc.lFlags;
    buf->source = core_->backend->create_source(is3d ? sound::downmix_to_mono(pcm) : pcm);
    if (!buf->source) platform::fail(platform::DSERR_OUTOFMEMORY, "createSoundBufferFromFile: no source");
    core_->push(*buf);
    if (is3d) core_->buffers.push_back(buf);
    return tarko::Ref<DirectSoundBuffer>(std::make_shared<DirectSoundBuffer>(core_, buf));
}

// ---- DirectSoundBuffer

DirectSoundBuffer::DirectSoundBuffer(std::shared_ptr<sound::DeviceCore> device, std::shared_ptr<sound::BufferCore> buffer)
    : device_(std::move(device)), buffer_(std::move(buffer)) {}

DirectSoundBuffer::~DirectSoundBuffer() = default;

Long DirectSoundBuffer::getFlags() const { return buffer_->flags; }

void DirectSoundBuffer::play(Long flags) {
    platform::record("DirectSoundBuffer", "play", flags);
    if (buffer_->primary) return;  // the primary buffer always mixes
    buffer_->looping = (flags & dx::DSBPLAY_LOOPING) != 0;
    buffer_->backend->play(buffer_->source, buffer_->looping);
}

void DirectSoundBuffer::stop() {
    platform::record("DirectSoundBuffer", "stop");
    if (buffer_->primary) return;
    buffer_->backend->stop(buffer_->source);
}

void DirectSoundBuffer::setVolume(Long volume) {
    platform::record("DirectSoundBuffer", "setVolume", volume);
    if (!buffer_->primary && !(buffer_->flags & dx::DSBCAPS_CTRLVOLUME))
        platform::fail(platform::DSERR_CONTROLUNAVAIL, "setVolume without DSBCAPS_CTRLVOLUME");
    sound::check_volume(volume);
    if (buffer_->primary) {
        device_->primary_volume = volume;
        device_->push_listener();
        return;
    }
    buffer_->volume = volume;
    device_->push(*buffer_);
}

Long DirectSoundBuffer::getVolume() const { return buffer_->primary ? device_->primary_volume : buffer_->volume; }

Long DirectSoundBuffer::getStatus() const {
    if (buffer_->primary || !buffer_->backend->playing(buffer_->source)) return 0;
    return DSBSTATUS_PLAYING | (buffer_->looping ? DSBSTATUS_LOOPING : 0);
}

tarko::Ref<DirectSound3DBuffer> DirectSoundBuffer::getDirectSound3dBuffer() {
    if (buffer_->primary || !(buffer_->flags & dx::DSBCAPS_CTRL3D))
        platform::fail(platform::DSERR_CONTROLUNAVAIL, "getDirectSound3dBuffer without DSBCAPS_CTRL3D");
    return tarko::Ref<DirectSound3DBuffer>(std::make_shared<DirectSound3DBuffer>(device_, buffer_));
}

tarko::Ref<DirectSound3DListener> DirectSoundBuffer::getDirectSound3dListener() {
    if (!buffer_->primary || !(buffer_->flags & dx::DSBCAPS_CTRL3D))
        platform::fail(platform::DSERR_CONTROLUNAVAIL, "getDirectSound3dListener needs the 3D primary buffer");
    return tarko::Ref<DirectSound3DListener>(std::make_shared<DirectSound3DListener>(device_));
}

// ---- DirectSound3DBuffer

DirectSound3DBuffer::DirectSound3DBuffer(std::shared_ptr<sound::DeviceCore> device, std::shared_ptr<sound::BufferCore> buffer)
    : device_(std::move(device)), buffer_(std::move(buffer)) {}

void DirectSound3DBuffer::setPosition(float x, float y, float z, Long apply) {
    platform::record("DirectSound3DBuffer", "setPosition", x, y, z, apply);
    sound::check_finite(x, y, z);
    sound::change(*device_, *buffer_, apply, [&](sound::Params3D& p) { p.position = {x, y, z}; });
}
void DirectSound3DBuffer::getPosition(D3DVECTOR& position) const { position = buffer_->applied.position; }

void DirectSound3DBuffer::setVelocity(float x, float y, float z, Long apply) {
    platform::record("DirectSound3DBuffer", "setVelocity", x, y, z, apply);
    sound::check_finite(x, y, z);
    sound::change(*device_, *buffer_, apply, [&](sound::Params3D& p) { p.velocity = {x, y, z}; });
}
void DirectSound3DBuffer::getVelocity(D3DVECTOR& velocity) const { velocity = buffer_->applied.velocity; }

void DirectSound3DBuffer::setConeAngles(Long inside, Long outside, Long apply) {
    platform::record("DirectSound3DBuffer", "setConeAngles", inside, outside, apply);
    if (inside < 0 || outside > 360 || inside > outside) platform::fail(platform::DSERR_INVALIDPARAM, "setConeAngles");
    sound::change(*device_, *buffer_, apply, [&](sound::Params3D& p) {
        p.inside = inside;
        p.outside = outside;
    });
}
void DirectSound3DBuffer::getConeAngles(Long& inside, Long& outside) const {
    inside = buffer_->applied.inside;
    outside = buffer_->applied.outside;
}

void DirectSound3DBuffer::setConeOutsideVolume(Long volume, Long apply) {
    platform::record("DirectSound3DBuffer", "setConeOutsideVolume", volume, apply);
    sound::check_volume(volume);
    sound::change(*device_, *buffer_, apply, [&](sound::Params3D& p) { p.outside_volume = volume; });
}
Long DirectSound3DBuffer::getConeOutsideVolume() const { return buffer_->applied.outside_volume; }

void DirectSound3DBuffer::setConeOrientation(float x, float y, float z, Long apply) {
    platform::record("DirectSound3DBuffer", "setConeOrientation", x, y, z, apply);
    sound::check_finite(x, y, z);
    sound::change(*device_, *buffer_, apply, [&](sound::Params3D& p) { p.orientation = {x, y, z}; });
}
void DirectSound3DBuffer::getConeOrientation(D3DVECTOR& orientation) const { orientation = buffer_->applied.orientation; }

void DirectSound3DBuffer::setMinDistance(float distance, Long apply) {
    platform::record("DirectSound3DBuffer", "setMinDistance", distance, apply);
    if (!(distance > 0) || !std::isfinite(distance)) platform::fail(platform::DSERR_INVALIDPARAM, "setMinDistance");
    sound::change(*device_, *buffer_, apply, [&](sound::Params3D& p) { p.min_distance = distance; });
}
float DirectSound3DBuffer::getMinDistance() const { return buffer_->applied.min_distance; }

void DirectSound3DBuffer::setMaxDistance(float distance, Long apply) {
    platform::record("DirectSound3DBuffer", "setMaxDistance", distance, apply);
    if (!(distance > 0)) platform::fail(platform::DSERR_INVALIDPARAM, "setMaxDistance");
    sound::change(*device_, *buffer_, apply, [&](sound::Params3D& p) { p.max_distance = distance; });
}
float DirectSound3DBuffer::getMaxDistance() const { return buffer_->applied.max_distance; }

// ---- DirectSound3DListener

DirectSound3DListener::DirectSound3DListener(std::shared_ptr<sound::DeviceCore> device) : device_(std::move(device)) {}

void DirectSound3DListener::setPosition(float x, float y, float z, Long apply) {
    platform::record("DirectSound3DListener", "setPosition", x, y, z, apply);
    sound::check_finite(x, y, z);
    sound::change_listener(*device_, apply, [&](sound::ListenerParams& p) { p.position = {x, y, z}; });
}
void DirectSound3DListener::getPosition(D3DVECTOR& position) const { position = device_->applied.position; }

void DirectSound3DListener::setVelocity(float x, float y, float z, Long apply) {
    platform::record("DirectSound3DListener", "setVelocity", x, y, z, apply);
    sound::check_finite(x, y, z);
    sound::change_listener(*device_, apply, [&](sound::ListenerParams& p) { p.velocity = {x, y, z}; });
}
void DirectSound3DListener::getVelocity(D3DVECTOR& velocity) const { velocity = device_->applied.velocity; }

void DirectSound3DListener::setOrientation(float fx, float fy, float fz, float tx, float ty, float tz, Long apply) {
    platform::record("DirectSound3DListener", "setOrientation", fx, fy, fz, tx, ty, tz, apply);
    sound::check_finite(fx, fy, fz);
    sound::check_finite(tx, ty, tz);
    sound::change_listener(*device_, apply, [&](sound::ListenerParams& p) {
        p.front = {fx, fy, fz};
        p.top = {tx, ty, tz};
    });
}
void DirectSound3DListener::getOrientation(D3DVECTOR& front, D3DVECTOR& top) const {
    front = device_->applied.front;
    top = device_->applied.top;
}

void DirectSound3DListener::setRolloffFactor(float factor, Long apply) {
    platform::record("DirectSound3DListener", "setRolloffFactor", factor, apply);
    if (!(factor >= 0 && factor <= 10)) platform::fail(platform::DSERR_INVALIDPARAM, "setRolloffFactor");
    sound::change_listener(*device_, apply, [&](sound::ListenerParams& p) { p.rolloff = factor; });
}
float DirectSound3DListener::getRolloffFactor() const { return device_->applied.rolloff; }

void DirectSound3DListener::setDistanceFactor(float factor, Long apply) {
    platform::record("DirectSound3DListener", "setDistanceFactor", factor, apply);
    if (!(factor > 0) || !std::isfinite(factor)) platform::fail(platform::DSERR_INVALIDPARAM, "setDistanceFactor");
    sound::change_listener(*device_, apply, [&](sound::ListenerParams& p) { p.distance = factor; });
}
float DirectSound3DListener::getDistanceFactor() const { return device_->applied.distance; }

void DirectSound3DListener::setDopplerFactor(float factor, Long apply) {
    platform::record("DirectSound3DListener", "setDopplerFactor", factor, apply);
    if (!(factor >= 0 && factor <= 10)) platform::fail(platform::DSERR_INVALIDPARAM, "setDopplerFactor");
    sound::change_listener(*device_, apply, [&](sound::ListenerParams& p) { p.doppler = factor; });
}
float DirectSound3DListener::getDopplerFactor() const { return device_->applied.doppler; }

void DirectSound3DListener::commitDeferredSettings() {
    platform::record("DirectSound3DListener", "commitDeferredSettings");
    auto& dev = *device_;
    if (dev.listener_pending) {
        dev.applied = dev.pending;
        dev.listener_pending = false;
        dev.push_listener();
    }
    std::erase_if(dev.buffers, [](const auto& w) { return w.expired(); });
    for (const auto& w : dev.buffers) {
        if (auto b = w.lock(); b && b->has_pending) {
            b->applied = b->pending;
            b->has_pending = false;
        }
    }
    dev.push_all_buffers();  // the rolloff may have changed too
}

// ---- root

tarko::Ref<DirectSound> DirectX7::directSoundCreate(const std::string& guid) {
    platform::record("DirectX7", "directSoundCreate", guid);
    if (!guid.empty()) platform::fail(platform::DSERR_NODRIVER, "directSoundCreate: unknown device " + guid);
    auto backend = sound::make_audio_backend();
    if (!backend) platform::fail(platform::DSERR_NODRIVER, "directSoundCreate: no sound device");
    return tarko::Ref<DirectSound>(std::make_shared<DirectSound>(std::move(backend)));
}
