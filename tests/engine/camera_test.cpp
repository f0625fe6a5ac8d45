// The camera on a manual clock with injected input: moves, turns scaled by
// the frame time, the save step, sideways steps, the jump run by FLIPP,
// mouse look, the sight line; and the world transforms of objects.
#include <cmath>
#include <cstring>
#include <vector>

#include "engine_test_support.h"
#include "platform/constants.h"
#include "platform/input.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {
constexpr double K = 0.017443758030437666;  // the engine's degree, not pi / 180

bool same(const D3DMATRIX& a, const D3DMATRIX& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// A point through a row-vector matrix.
D3DVECTOR apply(const D3DMATRIX& m, const D3DVECTOR& p) {
    return {p.x * m.rc11 + p.y * m.rc21 + p.z * m.rc31 + m.rc41, p.x * m.rc12 + p.y * m.rc22 + p.z * m.rc32 + m.rc42,
            p.x * m.rc13 + p.y * m.rc23 + p.z * m.rc33 + m.rc43};
}
}  // namespace

class Camera : public EngineFixture {
protected:
    // Opens the engine and runs two frames 20 ms apart: NBFrame is then 21.
    void open(int width = 64, int height = 48) {
        EngineFixture::open(width, height);
        services.clock().now = 1000;
        engine.FLIPP(hwnd);
        frame(20);
        platform::trace().clear();
    }
    void frame(int ms) {
        services.clock().advance(ms);
        engine.FLIPP(hwnd);
    }
    D3DMATRIX transform(Long which) {
        D3DMATRIX m;
        engine.D3D_DEV->getTransform(which, m);
        return m;
    }
    bool view_is_from_eye_to_at() {
        D3DMATRIX m;
        engine.DX_7->viewMatrix(m, engine.GET_CameraEYE(), engine.GET_CameraAT(), D3DVECTOR{0, 1, 0}, 0);
        return same(transform(dx::D3DTRANSFORMSTATE_VIEW), m);
    }
    static std::size_t view_sets() { return platform::trace().matching("Direct3DDevice7.setTransform 2,").size(); }
    platform::InputState& in() { return platform::input_state(); }
};

TEST_F(Camera, UpdateLooksOneUnitAlongTheHeadingWithAnUnshortenedPitch) {
    open();
    engine.Camera_set_ANGy_DEGREE(Variant(10.0));
    engine.SET_cameraEYE(D3DVECTOR{1, 2, 3});
    // Heading 0: at = eye + (1, sin(10 K), 0) = (2, 2 + 0.17355428, 3).
    D3DVECTOR at = engine.GET_CameraAT();
    EXPECT_EQ(at.x, 2.0f);
    EXPECT_FLOAT_EQ(at.y, 2.17355428f);
    EXPECT_EQ(at.z, 3.0f);
    EXPECT_TRUE(view_is_from_eye_to_at());
    EXPECT_EQ(view_sets(), 2u);  // one per call
    // Heading 30, pitch 45: (cos 30 K, sin 45 K, sin 30 K), the heading not scaled by cos of the pitch.
    engine.SET_cameraEYE(D3DVECTOR{0, 0, 0});
    engine.SET_camera_DEGRE(Variant(30.0));
    engine.SET_camera_ANY_DEGRE(Variant(45.0));
    at = engine.GET_CameraAT();
    EXPECT_FLOAT_EQ(at.x, 0.86616839f);
    EXPECT_FLOAT_EQ(at.y, 0.70680333f);
    EXPECT_FLOAT_EQ(at.z, 0.49975227f);
    // The forward point takes the step along the heading and twice the step upwards:
    // x = 3 x 0.86616839 = 2.5985052, y = 2 x 3 x sin(45 K) = 6 x 0.70680333 = 4.24082.
    const D3DVECTOR f = engine.Get_cam_Forward_VECTOR(3.0f);
    EXPECT_FLOAT_EQ(f.x, 2.5985052f);
    EXPECT_FLOAT_EQ(f.y, 4.2408200f);
}

TEST_F(Camera, TurnsScaleWithTheFrameTimeAndWalksDoNot) {
    open();  // NBFrame 21
    engine.Camera_Move_Left(Variant(0.001));
    EXPECT_NEAR(engine.CAM_angle().to_double(), 0.021, 1e-12);
    engine.Camera_Move_Right(Variant(0.002));
    EXPECT_NEAR(engine.CAM_angle().to_double(), -0.021, 1e-12);

    engine.CAM_angle(Variant(0.0));
    frame(200);  // NBFrame 201
    engine.Camera_Move_Foward(Variant(5.0));
    EXPECT_EQ(engine.GET_CameraEYE().x, 5.0f);
    EXPECT_EQ(engine.GET_CameraEYE().z, 0.0f);
    // Heading 90 degrees is 90 K = 1.5699382 rad, not a right angle: x moves
    // back by 2 cos(1.5699382) = 0.00171621 and z by 2 sin = 1.99999926.
    engine.SET_camera_DEGRE(Variant(90.0));
    engine.Camera_Move_Backward(Variant(2.0));
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().x, 4.99828379f);
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().z, -1.99999926f);
    engine.Camera_Elevator_UP(Variant(3.0));
    engine.Camera_Elevator_DOWN(Variant(1.0));
    EXPECT_EQ(engine.GET_CameraEYE().y, 2.0f);
    EXPECT_TRUE(view_is_from_eye_to_at());
}

TEST_F(Camera, TurnAtTheFirstFlipJumpsFar) {
    EngineFixture::open();
    services.clock().now = 5000;
    engine.FLIPP(hwnd);  // NBFrame = tickCount + 1 = 5001
    engine.Camera_Move_Left(Variant(0.001));
    EXPECT_NEAR(engine.CAM_angle().to_double(), 5.001, 1e-12);
}

TEST_F(Camera, SaveStepNeedsAllThreeCoordinatesToDiffer) {
    open();
    // Eye and earlier eye both start at the origin: equal, so nothing is saved.
    engine.Camera_Move_Foward(Variant(1.0));
    EXPECT_EQ(engine.GET_LastEYE().x, 0.0f);
    engine.SET_cameraEYE(D3DVECTOR{1, 2, 3});
    engine.Camera_Move_Foward(Variant(5.0));  // (1,2,3) differs in x, y and z: saved
    EXPECT_EQ(engine.GET_LastEYE().x, 1.0f);
    engine.Camera_Move_Foward(Variant(5.0));  // (6,2,3): same y, flat walk, kept
    EXPECT_EQ(engine.GET_LastEYE().x, 1.0f);
    EXPECT_EQ(engine.get_ORIGIN_kam().z, 3.0f);
    // Direction from the earlier eye: (10, 0, 0) normalised.
    const D3DVECTOR dir = engine.Get_CameraDIR();
    EXPECT_EQ(dir.x, 1.0f);
    EXPECT_EQ(dir.y, 0.0f);

    engine.Camera_Move_Left(Variant(0.01));
    engine.REcallCAM();  // eye back, angle kept
    EXPECT_EQ(engine.GET_CameraEYE().x, 1.0f);
    EXPECT_NEAR(engine.CAM_angle().to_double(), 0.21, 1e-12);
}

TEST_F(Camera, SidewaysSteps) {
    open();
    float s = 2;
    engine.CAM_step_RIGHT(s);
    // Heading 0, right is -z: (0 - 90) K = -1.5699382 rad, so x = 2 cos = 0.0017162079, z = 2 sin = -1.99999926.
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().x, 0.0017162079f);
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().z, -1.99999926f);
    const float z = engine.GET_CameraEYE().z;
    engine.REcallCAM();  // the earlier eye is the new eye: nothing to go back to
    EXPECT_EQ(engine.GET_CameraEYE().z, z);

    engine.SET_cameraEYE(D3DVECTOR{0, 0, 0});
    s = 3;
    engine.CAM_step_LEFT(s);  // negates its argument: twice with one variable goes left, then right
    EXPECT_EQ(s, -3.0f);
    EXPECT_GT(engine.GET_CameraEYE().z, 2.99f);  // left of +x is +z
    engine.CAM_step_LEFT(s);
    EXPECT_EQ(s, 3.0f);
    EXPECT_NEAR(engine.GET_CameraEYE().z, 0.0f, 1e-6);
}

TEST_F(Camera, PitchMovesAreCappedThenClampedByTheUpdate) {
    open();
    // 21 x 1 passes the move's cap 3.1459875, which the update then clamps to
    // 180 x 0.017477708 = 3.14598744.
    engine.Camera_Move_UP(Variant(1.0));
    EXPECT_DOUBLE_EQ(engine.CAM_angleY().to_double(), 180 * 0.017477708);
    engine.Camera_Move_DOWN(Variant(1.0));  // 3.146 - 21 is below -3.1459875
    EXPECT_DOUBLE_EQ(engine.Camera_ANY().to_double(), -180 * 0.017477708);
    platform::trace().clear();
    engine.CAM_angleDEGRE(Variant(30.0));  // angle setters do not rebuild the view
    EXPECT_TRUE(platform::trace().matching("Direct3DDevice7.").empty());
    EXPECT_NEAR(engine.CAM_angleDEGRE().to_double(), 30.0, 1e-12);
    EXPECT_NEAR(engine.CAM_angleBilBOARD().to_double(), -60.0, 1e-12);
    EXPECT_NEAR(engine.CAM_angleYdeg().to_double(), -180 * 0.017477708 / K, 1e-9);
}

TEST_F(Camera, SetCameraIgnoresTheTargetButDirectionUsesIt) {
    open();
    engine.SET_camera(D3DVECTOR{1, 1, 1}, Variant(123.0));
    EXPECT_EQ(engine.GET_CameraAT().x, 2.0f);  // heading 0
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, 0}, D3DVECTOR{0, 0, 10});
    EXPECT_EQ(engine.GET_CameraAT().z, 10.0f);
    EXPECT_TRUE(view_is_from_eye_to_at());
    engine.Camera_update();  // the angles win again
    EXPECT_EQ(engine.GET_CameraAT().x, 1.0f);
    EXPECT_EQ(engine.GET_CameraAT().z, 0.0f);
}

TEST_F(Camera, BadInput) {
    // Before start-up moves change the state and raise nothing; the direction needs the device.
    EXPECT_EQ(error_of([&] { engine.Camera_Move_Foward(Variant(5.0)); }), 0);
    EXPECT_EQ(engine.GET_CameraEYE().x, 5.0f);
    EXPECT_EQ(error_of([&] { engine.CAM_jump(); }), 0);
    EXPECT_EQ(error_of([&] { engine.SET_camera_DirectioN(D3DVECTOR{}, D3DVECTOR{1, 0, 0}); }), err::ObjectNotSet);
    open();
    engine.SET_cameraEYE(D3DVECTOR{0, 0, 0});
    // A step beyond a Single leaves the eye.
    EXPECT_EQ(error_of([&] { engine.Camera_Move_Foward(Variant(1e300)); }), err::Overflow);
    EXPECT_EQ(engine.GET_CameraEYE().x, 0.0f);
    EXPECT_EQ(error_of([&] { engine.Camera_Elevator_UP(Variant("up")); }), err::TypeMismatch);
    EXPECT_EQ(error_of([&] { engine.VecDIV(D3DVECTOR{1, 1, 1}, Variant()); }), err::DivisionByZero);
}

TEST_F(Camera, SightLineAtAQuarterTurnIsInfiniteAndTheUpdateGoesOn) {
    open();
    engine.CAM_angle(Variant(std::acos(-1.0) / 2));  // cos is 6e-17: lost beside x = 2 in a Single
    engine.SET_cameraEYE(D3DVECTOR{2, 0, 0});
    platform::trace().clear();
    engine.Camera_update();
    EXPECT_EQ(engine.GET_CameraAT().x, 2.0f);
    // Slope z = 1 / 0 = inf, offset = 0 - 2 x inf = -inf; at x = 3 the
    // point's z is 3 inf - inf = NaN.
    EXPECT_TRUE(std::isnan(engine.Cam_AXis_transVEC(1.0f).z));
    EXPECT_EQ(view_sets(), 1u);
    EXPECT_TRUE(view_is_from_eye_to_at());
}

TEST_F(Camera, JumpRisesToThePeakAndLandsOnTheTakeOffHeight) {
    open();
    frame(24);  // NBFrame 25: each update adds 8 / 100 x 25 = 2 to the progress
    engine.SET_cameraEYE(D3DVECTOR{0, 10, 0});
    engine.CAM_jump();  // the first step runs at once
    std::vector<float> heights{engine.GET_CameraEYE().y};
    for (int i = 0; i < 60; ++i) {
        frame(24);
        heights.push_back(engine.GET_CameraEYE().y);
    }
    // Updates 1..25 climb 8 each (progress 50 at the 25th turns the step),
    // 26..49 come down 8 each, and the 50th reaches progress 0 and lands.
    EXPECT_EQ(heights[0], 18.0f);
    EXPECT_EQ(heights[24], 210.0f);
    EXPECT_EQ(heights[25], 202.0f);
    EXPECT_EQ(heights[48], 18.0f);
    EXPECT_EQ(heights[49], 10.0f);
    for (std::size_t i = 50; i < heights.size(); ++i) EXPECT_EQ(heights[i], 10.0f) << i;
    // Landed: FLIPP no longer updates the camera.
    platform::trace().clear();
    frame(24);
    EXPECT_EQ(view_sets(), 0u);
}

TEST_F(Camera, JumpPeakIsPassedNotMetAtOtherFrameTimes) {
    open();  // NBFrame 21: 1.68 per update, 29 x 1.68 = 48.72, 30 x 1.68 = 50.4
    engine.CAM_jump();
    for (int i = 1; i < 30; ++i) frame(20);
    EXPECT_EQ(engine.GET_CameraEYE().y, 240.0f);
    frame(20);
    EXPECT_EQ(engine.GET_CameraEYE().y, 232.0f);
}

TEST_F(Camera, SecondJumpDuringAJumpOnlyUpdates) {
    open();
    frame(24);
    engine.CAM_jump();
    frame(24);
    engine.CAM_jump();  // one more step up, no restart from the current height
    EXPECT_EQ(engine.GET_CameraEYE().y, 24.0f);
    for (int i = 0; i < 47; ++i) frame(24);  // update 50 lands on the first take-off height
    EXPECT_EQ(engine.GET_CameraEYE().y, 0.0f);
}

TEST_F(Camera, MouseLookCountsOnlyALeftwardFirstReadAndRecentres) {
    open(301, 201);
    engine.CAM_CheckMouse();  // a still mouse moves nothing
    EXPECT_EQ(in().set_cursor_calls, 0);
    EXPECT_EQ(view_sets(), 1u);
    in().move_mouse(0, -40);  // every poll reads all axes: the Mouse_X reads consume it
    engine.CAM_CheckMouse();
    EXPECT_EQ(engine.CAM_angleY().to_double(), 0.0);
    EXPECT_EQ(engine.Mouse_Y().to_long(), 0);
    in().move_mouse(5, 0);  // first read 5 - 0 is not below -1, second read 0 is not above 1
    engine.CAM_CheckMouse();
    EXPECT_EQ(in().set_cursor_calls, 0);

    in().move_mouse(-5, 0);
    engine.CAM_CheckMouse();
    // Centre in screen coordinates: Int(301 / 2) = 150, Int(201 / 2) = 100.
    EXPECT_EQ(in().set_cursor_calls, 1);
    EXPECT_EQ(in().cursor_x, 150);
    EXPECT_EQ(in().cursor_y, 100);
    EXPECT_EQ(engine.CAM_angle().to_double(), 0.0);  // the heading is the host's
    // The reference is now the centre (150): a still mouse reads 0 - 150 < -1
    // and counts as moved again.
    engine.CAM_CheckMouse();
    EXPECT_EQ(in().set_cursor_calls, 2);
}

class ObjectTransforms : public Camera {
protected:
    D3DMATRIX world() { return transform(dx::D3DTRANSFORMSTATE_WORLD); }
};

TEST_F(ObjectTransforms, EachStartsFromTheIdentity) {
    open();
    engine.OBJECT_scale(Variant(2.0), Variant(3.0), Variant(4.0));
    engine.OBJECT_move(Variant(1.0), Variant(0.0), Variant(0.0));
    D3DMATRIX t = engine.ID_Matrix();
    t.rc41 = 1;
    EXPECT_TRUE(same(world(), t));  // the scale is gone
    engine.CLearMATRIX();
    EXPECT_TRUE(same(world(), engine.ID_Matrix()));
    D3DMATRIX any{};
    any.rc11 = 7;
    engine.TransFORM(any);
    EXPECT_TRUE(same(world(), any));
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.setTransform 1,").size(), 4u);
}

TEST_F(ObjectTransforms, CompositesApplyInTheirOrder) {
    open();
    // (1,0,0) scaled to (2,0,0), turned 90 degrees about y to about (0,0,2),
    // moved to (5,0,2): the turn is in place.
    engine.OBJECT_Scale_Rotate_MOV(Variant(2.0), Variant(2.0), Variant(2.0), Variant(0.0), Variant(90.0),
                                   Variant(0.0), Variant(5.0), Variant(0.0), Variant(0.0));
    D3DVECTOR p = apply(world(), D3DVECTOR{1, 0, 0});
    EXPECT_NEAR(std::hypot(p.x - 5, p.y, p.z), 2.0, 1e-5);
    EXPECT_NEAR(p.z, 2.0, 1e-5);
    engine.OBJECT_Scale_Rotate_MovEX(D3DVECTOR{2, 2, 2}, D3DVECTOR{0, 90, 0}, D3DVECTOR{5, 0, 0});
    EXPECT_NEAR(apply(world(), D3DVECTOR{1, 0, 0}).z, 2.0, 1e-5);
    // Move first, then turn: the origin swings from (5,0,0) to about (0,0,5).
    engine.OBJECT_MOV_rotate(Variant(5.0), Variant(0.0), Variant(0.0), Variant(0.0), Variant(90.0), Variant(0.0));
    p = apply(world(), D3DVECTOR{});
    EXPECT_NEAR(p.x, 0.0, 1e-5);
    EXPECT_NEAR(p.z, 5.0, 1e-5);
    // Scale first: (1,1,1) x (2,3,4) + (1,1,1) = (3, 4, 5).
    engine.OBJECT_Scale_MOV(Variant(2.0), Variant(3.0), Variant(4.0), Variant(1.0), Variant(1.0), Variant(1.0));
    p = apply(world(), D3DVECTOR{1, 1, 1});
    EXPECT_EQ(p.x, 3.0f);
    EXPECT_EQ(p.z, 5.0f);
}

TEST_F(ObjectTransforms, BillboardFacesTheCamera) {
    open();
    engine.SET_camera_DEGRE(Variant(120.0));  // heading 120 - 90 = 30 degrees about y
    engine.OBJECT_use_BILBOARDdeg();
    EXPECT_TRUE(same(world(), engine.MRotate(engine.ID_Matrix(), 0, 30, 0)));
}

TEST_F(ObjectTransforms, BoundingBoxCountsEveryElementToTheUpperBound) {
    SafeArray<D3DVERTEX> v;
    D3DRMBOX box;
    v.ReDim(1, 3);  // the spare last element (0,0,0) counts too
    v(1) = D3DVERTEX{1, 5, 2};
    v(2) = D3DVERTEX{4, 6, -3};
    engine.OBJECT_getBoundingBOX(v, box);  // no device needed
    EXPECT_EQ(box.min.x, 0.0f);
    EXPECT_EQ(box.min.y, 0.0f);
    EXPECT_EQ(box.min.z, -3.0f);
    EXPECT_EQ(box.max.x, 4.0f);
    EXPECT_EQ(box.max.y, 6.0f);

    SafeArray<D3DVERTEX> none;
    EXPECT_EQ(error_of([&] { engine.OBJECT_getBoundingBOX(none, box); }), err::SubscriptOutOfRange);
    none.ReDim(0, -1);
    EXPECT_EQ(error_of([&] { engine.OBJECT_getBoundingBOX(none, box); }), err::SubscriptOutOfRange);
}

TEST_F(ObjectTransforms, NonNumbersAndAMissingDeviceRaise) {
    EXPECT_EQ(error_of([&] { engine.OBJECT_move(Variant(1.0), Variant(2.0), Variant(3.0)); }), err::ObjectNotSet);
    open();
    EXPECT_EQ(error_of([&] { engine.OBJECT_move(Variant("left"), Variant(0.0), Variant(0.0)); }),
              err::TypeMismatch);
}
