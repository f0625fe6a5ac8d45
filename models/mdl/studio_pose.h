// Studio animation: the play clock, bone controllers, the compressed tracks
// and the skeleton they pose; and the host-side skinning of a model.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "models/mdl/studio_file.h"
#include "platform/records.h"
#include "runtime/numeric.h"

namespace tarko::mdl {

struct ActorBone {
    D3DVECTOR RestPosition;
    D3DVECTOR RestRotation;
    Long Parent = -1;
    std::string BoneName;
    D3DMATRIX BoneMatrix;
};

// What plays on a studio model.
struct StudioPlay {
    Integer AnimSequence = 1;               // 1 after loading
    float AnimFrame = 1.0f;
    float AnimSpeed = 0.0f;                 // stands still until set
    float LastTick = 0.0f;
    Long TrackBase = 0;
    Integer TrackBlock = 0;
    std::vector<std::array<Integer, 6>> BoneTracks;
    std::vector<float> ControllerValues;
    std::vector<float> BoneAdjust;
    std::vector<ActorBone> ActorBones;
    // Per bone, the last position and quaternion computed (a track that
    // cannot be read leaves the values before it in place).
    std::vector<D3DVECTOR> positions;
    std::vector<D3DRMQUATERNION> quaternions;
};

// Quaternions (scalar first) and the rotation part of a matrix.
D3DRMQUATERNION angle_quaternion(const D3DVECTOR& angles);
D3DRMQUATERNION quaternion_slerp(const D3DRMQUATERNION& q1, const D3DRMQUATERNION& q2, float t);
void quaternion_matrix(const D3DRMQUATERNION& q, D3DMATRIX& m);  // writes nine cells only

// The skeleton and the controllers' start values for a model just read.
void start_play(const StudioModel& model, StudioPlay& play);

// Moves the play position by the time since the last advance (at most
// 100 ms); `now` and `again` are the two clock readings in milliseconds.
void advance(const StudioModel& model, StudioPlay& play, Long now, Long again);

// BoneAdjust from ControllerValues.
void adjust_controllers(const StudioModel& model, StudioPlay& play);

// Poses every bone for the current play position. A sequence outside the
// table poses the rest skeleton (with its controllers).
void pose(const StudioModel& model, StudioPlay& play);

// Each position through the BoneMatrix of its bone (row vectors, divided by
// w); a vertex whose bone does not exist keeps (0, 0, 0).
void skin(std::span<const D3DVECTOR> positions, std::span<const std::uint8_t> bones,
          std::span<const ActorBone> skeleton, std::span<D3DVECTOR> out);

}  // namespace tarko::mdl
