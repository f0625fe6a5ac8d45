// Studio animation: quaternions, the clock, the tracks, controllers and the
// skeleton, with positions worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "models/mdl/mdl_writer.h"
#include "models/mdl/studio_pose.h"

using namespace tarko;
using namespace tarko::mdl;
using tarko::mdl::StudioModel;
using tarko::mdl::StudioPlay;

namespace {

constexpr float kHalfPi = 1.5707963f;

StudioModel read(const StudioDesc& s) {
    return tarko::mdl::read_studio(write_studio(s).main, "a.mdl", [](const std::string&) { return Bytes{}; });
}
StudioPlay started(const StudioModel& m) {
    StudioPlay play;
    tarko::mdl::start_play(m, play);
    return play;
}

// Where bone `b`'s matrix puts the bone-space point p.
D3DVECTOR place(const StudioPlay& play, std::size_t b, D3DVECTOR p) {
    D3DVECTOR out;
    const std::uint8_t bone = static_cast<std::uint8_t>(b);
    tarko::mdl::skin(std::span(&p, 1), std::span(&bone, 1), play.ActorBones, std::span(&out, 1));
    return out;
}

struct Near {
    const char* what;
    double got, want, tol;
};
void expect_all(std::initializer_list<Near> list) {
    for (const Near& n : list) EXPECT_NEAR(n.got, n.want, n.tol) << n.what;
}

void expect_near(const D3DVECTOR& got, const D3DVECTOR& want, const std::string& what) {
    EXPECT_NEAR(got.x, want.x, 1e-4) << what;
    EXPECT_NEAR(got.y, want.y, 1e-4) << what;
    EXPECT_NEAR(got.z, want.z, 1e-4) << what;
}

}  // namespace

TEST(StudioQuaternions, AnglesSlerpAndMatrix) {
    // (0, 0, pi/2): half angle pi/4 on z: s = cz = 0.70711, z = sz = 0.70711
    const D3DRMQUATERNION q = tarko::mdl::angle_quaternion({0, 0, kHalfPi});
    // x and z together: z = cx cy sz - sx sy cz = 0.5 (y 0), x = sx cy cz = 0.5, y = sx cy sz = 0.5
    const D3DRMQUATERNION xz = tarko::mdl::angle_quaternion({kHalfPi, 0, kHalfPi});
    const D3DRMQUATERNION id{1, {0, 0, 0}};
    // half way from no turn to pi/2 about z: pi/4, so (cos pi/8, 0, 0, sin pi/8)
    const D3DRMQUATERNION half = tarko::mdl::quaternion_slerp(id, q, 0.5f);
    const D3DRMQUATERNION start = tarko::mdl::quaternion_slerp(id, q, 0.0f);
    expect_all({{"q.s", q.s, 0.70711, 1e-5}, {"q.x", q.v.x, 0, 1e-7}, {"q.z", q.v.z, 0.70711, 1e-5},
                // (pi/2, 0, 0): x = sx cy cz = 0.70711; (0, pi/2, 0): y = 0.70711
                {"x.x", tarko::mdl::angle_quaternion({kHalfPi, 0, 0}).v.x, 0.70711, 1e-5},
                {"y.y", tarko::mdl::angle_quaternion({0, kHalfPi, 0}).v.y, 0.70711, 1e-5},
                {"xz.y", xz.v.y, 0.5, 1e-5}, {"xz.s", xz.s, 0.5, 1e-5},
                {"half.s", half.s, 0.92388, 1e-5}, {"half.z", half.v.z, 0.38268, 1e-5},
                {"start.s", start.s, 1, 1e-6}, {"start.z", start.v.z, 0, 1e-6}});
    // the negative of q is q the long way round: taken the short way, q again
    const D3DRMQUATERNION neg{-q.s, {-q.v.x, -q.v.y, -q.v.z}};
    for (float t : {0.0f, 0.3f, 1.0f}) {
        const D3DRMQUATERNION r = tarko::mdl::quaternion_slerp(q, neg, t);
        EXPECT_NEAR(r.s, q.s, 1e-5) << t;
        EXPECT_NEAR(r.v.z, q.v.z, 1e-5) << t;
    }

    D3DMATRIX m;
    m.rc14 = m.rc41 = m.rc44 = 7;  // not among the nine cells
    tarko::mdl::quaternion_matrix(half, m);
    // pi/4 about z, row vectors: row 1 (cos, sin, 0), row 2 (-sin, cos, 0)
    expect_all({{"11", m.rc11, 0.70711, 1e-5}, {"12", m.rc12, 0.70711, 1e-5}, {"21", m.rc21, -0.70711, 1e-5},
                {"33", m.rc33, 1, 1e-6}});
    EXPECT_EQ((std::array<float, 3>{m.rc14, m.rc41, m.rc44}), (std::array<float, 3>{7, 7, 7}));
}

TEST(StudioClock, FramesMoveWithTheTickCountCappedAt100ms) {
    StudioDesc s;
    s.sequences = {{"a", 10, 10, 0, {}}, {"b", 10, 10, 0, {}}};
    const StudioModel m = read(s);
    StudioPlay play = started(m);
    struct Case {
        float from;
        Long now;
        float speed, want;
    } cases[] = {
        {1.0f, 1050, 1, 1.5f},   // 50 ms x 10 fps / 1000 = 0.5
        {1.0f, 1150, 1, 2.0f},   // 150 ms counts as 100: 1.0, not 1.5
        {1.0f, 5000, 1, 2.0f},   // a long stall loses the time
        {8.7f, 1050, 1, 0.2f},   // 9.2 > 9: minus 9 once
        {8.5f, 1050, 1, 9.0f},   // exactly frame count - 1 stays
        {1.0f, 1020, 2.5f, 1.5f},  // 20 x 10 / 1000 x 2.5 = 0.5
    };
    for (const Case& c : cases) {
        play.AnimSequence = 1;
        play.AnimFrame = c.from;
        play.AnimSpeed = c.speed;
        play.LastTick = 1000;
        tarko::mdl::advance(m, play, c.now, c.now + 1);
        EXPECT_NEAR(play.AnimFrame, c.want, 1e-5) << c.from << " at " << c.now;
        EXPECT_EQ(play.LastTick, static_cast<float>(c.now + 1));  // the second reading
    }
    // beyond the table: the time is taken, the position stays
    play.AnimSequence = 2;
    play.AnimFrame = 3;
    play.LastTick = 0;
    tarko::mdl::advance(m, play, 50, 60);
    EXPECT_EQ(play.AnimFrame, 3);
    EXPECT_EQ(play.LastTick, 60);
    // LastTick is a Single: 16777217 ms is stored as 16777216
    tarko::mdl::advance(m, play, 16777217, 16777217);
    EXPECT_EQ(play.LastTick, 16777216.0f);
}

TEST(StudioTracks, AOneBoneTrackPutsTheVertexWhereTheRunsSay) {
    // X track: run (valid 3, total 4: 10 20 30), run (1, 2: 50), run (1, 4: 60);
    // rest x 1, scale 0.5, so x = 1 + raw / 2.
    StudioDesc s;
    s.bones[0].value = {1, 0, 0, 0, 0, 0};
    s.bones[0].scale = {0.5f, 1, 1, 1, 1, 1};
    const Track x{{4, {10, 20, 30}}, {2, {50}}, {4, {60}}};
    s.sequences = {{"move", 10, 12, 0, {{x, {}, {}, {}, {}, {}}}}};
    const StudioModel m = read(s);
    StudioPlay play = started(m);
    play.AnimSequence = 0;
    struct Case {
        float frame;
        float x;
    } cases[] = {
        {1.25f, 12.25f},  // n 1 < valid - 1: 20 x 0.75 + 30 x 0.25 = 22.5
        {2.5f, 16.0f},    // valid = n + 1: 30, no blend
        {3.5f, 21.0f},    // last frame of the run: 30 half way to the next run's 50 = 40
        {4.0f, 26.0f},    // second run, first frame: 50
        {7.5f, 31.0f},    // third run's repeats stay at 60 (total 4 > n + 1)
        {0.0f, 6.0f},     // 10
    };
    for (const Case& c : cases) {
        play.AnimFrame = c.frame;
        tarko::mdl::pose(m, play);
        // the vertex (1, 2, 3) of bone 0 moves with it
        expect_near(place(play, 0, {1, 2, 3}), {c.x + 1, 2, 3}, "frame " + std::to_string(c.frame));
    }
    // a position no track can count to keeps the last pose (frame 0: x 6)
    for (const float frame : {std::numeric_limits<float>::quiet_NaN(), 1e30f, -1e30f}) {
        play.AnimFrame = frame;
        tarko::mdl::pose(m, play);
        expect_near(place(play, 0, {1, 2, 3}), {7, 2, 3}, "frame " + std::to_string(frame));
    }
}

TEST(StudioTracks, RotationBlendsTheTwoAnglesAndParentsCarryTheirChildren) {
    // ZR track (valid 2, total 2: 0 100), scale pi/200: 0 and pi/2; at frame 0.5, pi/4.
    StudioDesc s;
    s.bones = {BoneDesc{}, BoneDesc{"child", 0, {-1, -1, -1, -1, -1, -1}, {0, 1, 0, 0, 0, 0}, {1, 1, 1, 1, 1, 1}}};
    s.bones[0].value = {5, 0, 0, 0, 0, 0};
    s.bones[0].scale = {1, 1, 1, 1, 1, 3.14159265f / 200};
    s.sequences = {{"turn", 10, 2, 0, {{Track{}, {}, {}, {}, {}, Track{{2, {0, 100}}}}, {}}}};
    const StudioModel m = read(s);
    StudioPlay play = started(m);
    play.AnimSequence = 0;
    play.AnimFrame = 0.5f;
    tarko::mdl::pose(m, play);
    // bone 0: (1, 0, 0) turned pi/4 about z, then moved by (5, 0, 0)
    expect_near(place(play, 0, {1, 0, 0}), {5.70711f, 0.70711f, 0}, "root");
    // child at (0, 1, 0) in its parent: (1, 0, 0) -> (1, 1, 0), turned pi/4: (0, 1.41421), + (5, 0)
    expect_near(place(play, 1, {1, 0, 0}), {5, 1.41421f, 0}, "child");
}

TEST(StudioTracks, WithoutASequenceTheBonesRestAndStillFollowTheirControllers) {
    StudioDesc s;
    s.bones[0].value = {1, 2, 3, 0, 0, kHalfPi};
    s.bones[0].controller = {0, -1, -1, -1, -1, -1};
    s.controllers = {{0, 0x1, 0, 10, 0}};
    s.sequences = {{"only", 10, 2, 0, {}}};
    const StudioModel m = read(s);
    StudioPlay play = started(m);
    EXPECT_EQ(play.AnimSequence, 1);  // one past the only sequence
    EXPECT_EQ(play.ControllerValues, std::vector<float>{128});
    play.ControllerValues[0] = 51;    // 51 / 255 = 0.2 of 0..10: 2
    tarko::mdl::pose(m, play);
    // (1, 0, 0) turned pi/2 about z: (0, 1, 0); + (1 + 2, 2, 3)
    expect_near(place(play, 0, {1, 0, 0}), {3, 3, 3}, "rest");
    EXPECT_TRUE(play.BoneTracks.empty());
}

TEST(StudioControllers, ValuesBendWithinTheirRange) {
    StudioDesc s;
    s.controllers = {{0, 0x20, -30, 30, 0}, {0, 0x8020, 10, 0, 1}, {0, 0x2, 0, 10, 2}, {0, 0x10, 0, 64, 4},
                     {0, 0x20, 0, 90, 3}};
    const StudioModel m = read(s);
    StudioPlay play = started(m);
    EXPECT_EQ(play.ControllerValues, (std::vector<float>{128, 128, 128, 0, 0}));  // indices 4 and 3 are not below 3
    constexpr double deg = 3.141592653 / 180;
    struct Case {
        std::size_t j;
        float value;
        double want;
    } cases[] = {
        {0, 255, 30 * deg},    // the end
        {0, 0, -30 * deg},     // the start
        {0, 300, 30 * deg},    // held to the range
        {0, -10, -30 * deg},
        {0, 128, (-30 * (127 / 255.0) + 30 * (128 / 255.0)) * deg},  // 0.1176 degrees
        {1, 256, 370 * deg},   // wrapping: 256 a turn from start, no end
        {2, 51, 2.0},          // translation: 0.2 of 0..10, no degrees
        {2, 255, 10.0},
        {3, 32, 32 * deg},     // mouth: 32 / 64 of 0..64
        {3, 96, 64 * deg},     // above 64 holds at the end
        {4, 255, 90 * deg},    // index 3 is an ordinary controller: 0..255
    };
    for (const Case& c : cases) {
        play.ControllerValues.assign(5, 0);
        play.ControllerValues[c.j] = c.value;
        tarko::mdl::adjust_controllers(m, play);
        EXPECT_NEAR(play.BoneAdjust[c.j], c.want, 1e-5) << c.j << " " << c.value;
    }
}

TEST(StudioSkin, AVertexOfAMissingBoneStaysAtZero) {
    const StudioModel m = read(StudioDesc{});
    StudioPlay play = started(m);
    tarko::mdl::pose(m, play);
    const D3DVECTOR in[2] = {{1, 2, 3}, {4, 5, 6}};
    const std::uint8_t bones[2] = {0, 1};
    D3DVECTOR out[2] = {{9, 9, 9}, {9, 9, 9}};
    tarko::mdl::skin(in, bones, play.ActorBones, out);
    expect_near(out[0], {1, 2, 3}, "bone 0 at rest");
    expect_near(out[1], {0, 0, 0}, "no bone 1");
    // w near 0 collapses the point
    play.ActorBones[0].BoneMatrix.rc44 = 0;
    tarko::mdl::skin(std::span(in, 1), std::span(bones, 1), play.ActorBones, std::span(out, 1));
    expect_near(out[0], {0, 0, 0}, "w = 0");
}
