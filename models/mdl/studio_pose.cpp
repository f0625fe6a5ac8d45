// Studio animation. Values are worked out in double and rounded to Single
// where the engine stores them.
#include "models/mdl/studio_pose.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/base/dx_math.h"

namespace tarko::mdl {

namespace {

constexpr double kDegrees = 3.141592653 / 180;

// A read outside the block while a track is walked.
struct TrackError {};

struct Track {
    const Bytes* block;
    long long p;       // position of the run's valid/total pair
    int valid, total;
    std::size_t* steps;  // walk budget of the whole pose

    int byte(long long at) const {
        if (at < 0 || at >= static_cast<long long>(block->size())) throw TrackError{};
        return (*block)[static_cast<std::size_t>(at)];
    }
    // v(i): the Integer at p + 2 i.
    double v(long long i) const {
        const long long at = p + 2 * i;
        if (at < 0 || at + 2 > static_cast<long long>(block->size())) throw TrackError{};
        const auto* b = block->data() + at;
        return static_cast<Integer>(static_cast<std::uint16_t>(b[0] | b[1] << 8));
    }
};

// Walks a channel's runs to frame n; `n` comes back as the frame within the run.
Track walk(const Bytes& block, long long p, long long& n, std::size_t& steps) {
    Track t{&block, p, 0, 0, &steps};
    t.valid = t.byte(p);
    t.total = t.byte(p + 1);
    while (t.total <= n) {
        // A run of total 0 walks on without counting; the block's end stops it,
        // and the budget stops a file whose tracks all lead through one long walk.
        if (steps == 0) throw TrackError{};
        --steps;
        n -= t.total;
        t.p += 2 * (t.valid + 1);
        t.valid = t.byte(t.p);
        t.total = t.byte(t.p + 1);
    }
    return t;
}

float single(double v) { return static_cast<float>(v); }

}  // namespace

D3DRMQUATERNION angle_quaternion(const D3DVECTOR& angles) {
    const double sx = std::sin(angles.x * 0.5), cx = std::cos(angles.x * 0.5);
    const double sy = std::sin(angles.y * 0.5), cy = std::cos(angles.y * 0.5);
    const double sz = std::sin(angles.z * 0.5), cz = std::cos(angles.z * 0.5);
    D3DRMQUATERNION q;
    q.s = single(cx * cy * cz + sx * sy * sz);
    q.v.x = single(sx * cy * cz - cx * sy * sz);
    q.v.y = single(cx * sy * cz + sx * cy * sz);
    q.v.z = single(cx * cy * sz - sx * sy * cz);
    return q;
}

D3DRMQUATERNION quaternion_slerp(const D3DRMQUATERNION& q1, const D3DRMQUATERNION& q2, float t) {
    double p[4] = {q1.s, q1.v.x, q1.v.y, q1.v.z};
    double q[4] = {q2.s, q2.v.x, q2.v.y, q2.v.z};
    double a = 0, b = 0;
    for (int i = 0; i < 4; ++i) {
        a += (p[i] - q[i]) * (p[i] - q[i]);
        b += (p[i] + q[i]) * (p[i] + q[i]);
    }
    if (a > b)
        for (double& c : q) c = -c;
    const float cos_angle = single(p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3] * q[3]);
    double out[4];
    if (1.0 + cos_angle > 1e-8) {
        double wp, wq;
        if (1.0 - cos_angle > 1e-8) {
            // The arc cosine as the runtime of old had to spell it, held as a Single.
            const double c = cos_angle;
            const float angle = single(2 * std::atan(1.0) + std::atan(-c / std::sqrt(1 - c * c)));
            wp = std::sin((1 - t) * static_cast<double>(angle)) / std::sin(static_cast<double>(angle));
            wq = std::sin(t * static_cast<double>(angle)) / std::sin(static_cast<double>(angle));
        } else {
            wp = 1.0 - t;
            wq = t;
        }
        for (int i = 0; i < 4; ++i) out[i] = wp * p[i] + wq * q[i];
    } else {
        const double r[4] = {-p[1], p[0], -p[3], p[2]};
        const double wp = std::sin((1 - t) * 0.5 * 3.141592653), wq = std::sin(t * 0.5 * 3.141592653);
        for (int i = 0; i < 4; ++i) out[i] = wp * p[i] + wq * r[i];
    }
    D3DRMQUATERNION res;
    res.s = single(out[0]);
    res.v = {single(out[1]), single(out[2]), single(out[3])};
    return res;
}

void quaternion_matrix(const D3DRMQUATERNION& q, D3DMATRIX& m) {
    const double w = q.s, x = q.v.x, y = q.v.y, z = q.v.z;
    m.rc11 = single(1 - 2 * y * y - 2 * z * z);
    m.rc12 = single(2 * x * y + 2 * w * z);
    m.rc13 = single(2 * x * z - 2 * w * y);
    m.rc21 = single(2 * x * y - 2 * w * z);
    m.rc22 = single(1 - 2 * x * x - 2 * z * z);
    m.rc23 = single(2 * w * x + 2 * y * z);
    m.rc31 = single(2 * w * y + 2 * x * z);
    m.rc32 = single(2 * y * z - 2 * w * x);
    m.rc33 = single(1 - 2 * x * x - 2 * y * y);
}

void start_play(const StudioModel& model, StudioPlay& play) {
    play.ActorBones.clear();
    for (const Bone& b : model.Bones) {
        ActorBone a;
        a.RestPosition = {b.value[0], b.value[1], b.value[2]};
        a.RestRotation = {b.value[3], b.value[4], b.value[5]};
        a.Parent = b.parent;
        a.BoneName = b.name;
        play.ActorBones.push_back(a);
    }
    play.positions.assign(model.Bones.size(), D3DVECTOR{});
    play.quaternions.assign(model.Bones.size(), D3DRMQUATERNION{});
    play.ControllerValues.assign(model.BoneControllers.size(), 0.0f);
    play.BoneAdjust.assign(model.BoneControllers.size(), 0.0f);
    for (std::size_t j = 0; j < model.BoneControllers.size(); ++j)
        if (model.BoneControllers[j].index < 3) play.ControllerValues[j] = 128.0f;
    play.BoneTracks.clear();
    play.TrackBase = 0;
    play.TrackBlock = 0;
    play.AnimFrame = 1.0f;
    play.AnimSequence = 1;
}

void advance(const StudioModel& model, StudioPlay& play, Long now, Long again) {
    double dt = static_cast<double>(now) - play.LastTick;
    if (dt > 100) dt = 100;
    play.LastTick = static_cast<float>(again);
    if (play.AnimSequence < 0 || static_cast<std::size_t>(play.AnimSequence) >= model.Sequences.size()) return;
    const Sequence& seq = model.Sequences[static_cast<std::size_t>(play.AnimSequence)];
    play.AnimFrame = single(play.AnimFrame + dt * seq.fps / 1000 * play.AnimSpeed);
    const double last = static_cast<double>(seq.frame_count) - 1;
    if (play.AnimFrame > last) play.AnimFrame = single(play.AnimFrame - last);
}

void adjust_controllers(const StudioModel& model, StudioPlay& play) {
    const std::size_t count = std::min(model.BoneControllers.size(), play.ControllerValues.size());
    play.BoneAdjust.resize(play.ControllerValues.size());
    for (std::size_t j = 0; j < count; ++j) {
        const BoneController& bc = model.BoneControllers[j];
        const double c = play.ControllerValues[j];
        double value;
        if (bc.index <= 3) {
            if (bc.type & 0x8000) {
                value = c * 360 / 256 + bc.start;
            } else {
                value = std::clamp(c / 255, 0.0, 1.0);
                value = (1 - value) * bc.start + value * bc.end;
            }
        } else {
            value = std::min(c / 64, 1.0);
            value = (1 - value) * bc.start + value * bc.end;
        }
        if (bc.type & 0x38) play.BoneAdjust[j] = single(value * kDegrees);
        if (bc.type & 0x07) play.BoneAdjust[j] = single(value);
    }
}

void pose(const StudioModel& model, StudioPlay& play) {
    const double k = std::floor(static_cast<double>(play.AnimFrame));
    const double s = play.AnimFrame - k;
    // A position that is no number, or beyond any frame a track can count to,
    // reads no track: the bones keep what the last pose gave them.
    const bool countable = std::isfinite(k) && std::fabs(k) < 2147483648.0;
    if (!model.BoneControllers.empty()) adjust_controllers(model, play);

    // The sequence's bone records; none when it cannot be found.
    const std::size_t bones = std::min(model.Bones.size(), play.ActorBones.size());
    play.BoneTracks.clear();
    if (play.AnimSequence >= 0 && static_cast<std::size_t>(play.AnimSequence) < model.Sequences.size()) {
        const Sequence& seq = model.Sequences[static_cast<std::size_t>(play.AnimSequence)];
        if (seq.group >= 0 && static_cast<std::size_t>(seq.group) < model.FileBlocks.size() &&
            static_cast<std::size_t>(seq.group) < model.SequenceGroups.size()) {
            const Bytes& block = model.FileBlocks[static_cast<std::size_t>(seq.group)];
            const long long group_offset = model.SequenceGroups[static_cast<std::size_t>(seq.group)].data_offset;
            const long long base = static_cast<long long>(seq.anim_offset) + group_offset;
            if (base >= 0 && base <= static_cast<long long>(block.size()) &&
                bones * 12 <= block.size() - static_cast<std::size_t>(base) && base <= 0x7FFFFFFF) {
                play.TrackBlock = static_cast<Integer>(seq.group);
                play.TrackBase = static_cast<Long>(base);
                play.BoneTracks.resize(bones);
                const std::uint8_t* at = block.data() + base;
                for (auto& record : play.BoneTracks)
                    for (Integer& e : record) {
                        e = static_cast<Integer>(static_cast<std::uint16_t>(at[0] | at[1] << 8));
                        at += 2;
                    }
            }
        }
    }
    const Bytes* block = play.BoneTracks.empty() ? nullptr : &model.FileBlocks[static_cast<std::size_t>(play.TrackBlock)];
    std::size_t steps = block ? 2 * block->size() + 64 : 0;

    play.positions.resize(bones);
    play.quaternions.resize(bones);
    for (std::size_t b = 0; b < bones; ++b) {
        const Bone& bone = model.Bones[b];
        const auto adjust = [&](int ch) -> double {
            const Long c = bone.controller[static_cast<std::size_t>(ch)];
            if (c == -1) return 0.0;
            if (c < 0 || static_cast<std::size_t>(c) >= play.BoneAdjust.size()) throw TrackError{};
            return play.BoneAdjust[static_cast<std::size_t>(c)];
        };
        const auto entry = [&](int ch) -> Integer {
            return b < play.BoneTracks.size() ? play.BoneTracks[b][static_cast<std::size_t>(ch)] : Integer{0};
        };
        const long long record = static_cast<long long>(play.TrackBase) + 12 * static_cast<long long>(b);
        try {
            float* pos[3] = {&play.positions[b].x, &play.positions[b].y, &play.positions[b].z};
            for (int ch = 0; ch < 3; ++ch) {
                double raw = 0;
                if (const Integer e = entry(ch)) {
                    if (!countable) throw TrackError{};
                    long long n = static_cast<long long>(k);
                    const Track t = walk(*block, record + e, n, steps);
                    if (t.valid > n + 1) raw = t.v(n + 1) * (1 - s) + t.v(n + 2) * s;
                    else if (t.valid == n + 1) raw = t.v(n + 1);
                    else if (t.total <= n + 1) raw = t.v(t.valid) * (1 - s) + t.v(t.valid + 2) * s;
                    else raw = t.v(t.valid);
                }
                const std::size_t c = static_cast<std::size_t>(ch);
                *pos[ch] = single(bone.value[c] + raw * bone.scale[c] + adjust(ch));
            }
        } catch (const TrackError&) {
        }
        try {
            double a1[3], a2[3];
            for (int i = 0; i < 3; ++i) {
                const int ch = 3 + i;
                const std::size_t c = static_cast<std::size_t>(ch);
                if (const Integer e = entry(ch)) {
                    if (!countable) throw TrackError{};
                    long long n = static_cast<long long>(k);
                    const Track t = walk(*block, record + e, n, steps);
                    double v1, v2;
                    if (t.valid > n + 1) v1 = t.v(n + 1), v2 = t.v(n + 2);
                    else if (t.valid == n + 1) v1 = t.v(n + 1), v2 = t.total > n + 1 ? v1 : t.v(t.valid + 2);
                    else v1 = t.v(t.valid), v2 = t.total > n + 1 ? v1 : t.v(t.valid + 2);
                    a1[i] = single(bone.value[c] + v1 * bone.scale[c]);
                    a2[i] = single(bone.value[c] + v2 * bone.scale[c]);
                } else {
                    a1[i] = a2[i] = bone.value[c];
                }
                const double adj = adjust(ch);
                a1[i] = single(a1[i] + adj);
                a2[i] = single(a2[i] + adj);
            }
            const D3DVECTOR v1{single(a1[0]), single(a1[1]), single(a1[2])};
            const D3DVECTOR v2{single(a2[0]), single(a2[1]), single(a2[2])};
            if (v1.x == v2.x && v1.y == v2.y && v1.z == v2.z) play.quaternions[b] = angle_quaternion(v1);
            else play.quaternions[b] = quaternion_slerp(angle_quaternion(v1), angle_quaternion(v2), single(s));
        } catch (const TrackError&) {
        }
    }

    for (std::size_t b = 0; b < bones; ++b) {
        D3DMATRIX m;
        quaternion_matrix(play.quaternions[b], m);
        m.rc41 = play.positions[b].x;
        m.rc42 = play.positions[b].y;
        m.rc43 = play.positions[b].z;
        m.rc44 = 1.0f;
        const Long parent = play.ActorBones[b].Parent;
        if (parent >= 0 && static_cast<std::size_t>(parent) < bones) {
            D3DMATRIX out;
            dxmath::matrixMultiply(out, m, play.ActorBones[static_cast<std::size_t>(parent)].BoneMatrix);
            m = out;
        }
        play.ActorBones[b].BoneMatrix = m;
    }
}

void skin(std::span<const D3DVECTOR> positions, std::span<const std::uint8_t> bones,
          std::span<const ActorBone> skeleton, std::span<D3DVECTOR> out) {
    const std::size_t n = std::min(positions.size(), out.size());
    for (std::size_t i = 0; i < n; ++i) {
        if (i >= bones.size() || bones[i] >= skeleton.size()) {
            out[i] = {};
            continue;
        }
        const D3DMATRIX& m = skeleton[bones[i]].BoneMatrix;
        const double x = positions[i].x, y = positions[i].y, z = positions[i].z;
        const double w = x * m.rc14 + y * m.rc24 + z * m.rc34 + m.rc44;
        if (std::fabs(w) < 1e-10) {
            out[i] = {};
            continue;
        }
        out[i].x = single((x * m.rc11 + y * m.rc21 + z * m.rc31 + m.rc41) / w);
        out[i].y = single((x * m.rc12 + y * m.rc22 + z * m.rc32 + m.rc42) / w);
        out[i].z = single((x * m.rc13 + y * m.rc23 + z * m.rc33 + m.rc43) / w);
    }
}

}  // namespace tarko::mdl
