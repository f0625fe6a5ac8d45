// The engine's side of sound: the listener follows the camera at each FLIPP,
// and FreeDX stops and releases the buffers a host handed over.
#include <cmath>

#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "platform/sound/dsound.h"

void tarko_DX7::move_listener_to_camera() {
    // Positions are in units of 50; the front vector has the sine in both y
    // and z. Nothing commits the deferred settings here.
    DS_Listener->setPosition(CamEye.x / 50, CamEye.y / 50, CamEye.z / 50, dx::DS3D_DEFERRED);
    DS_Listener->setOrientation(static_cast<float>(std::cos(CamAngle)), static_cast<float>(std::sin(CamAngle)),
                                static_cast<float>(std::sin(CamAngle)), 0, 1, 0, dx::DS3D_DEFERRED);
}

void tarko_DX7::release_sound_buffers() {
    for (tarko::Long i = 1; i <= Total_SoundBUF; ++i) {
        auto& record = SoundBuffers(i);
        if (record.name.empty()) continue;
        record.buffer->stop();
        record.buffer.reset();
    }
    PrimaryBuffer.reset();
    DsounD.reset();
}
