// The camera on a manual clock with injected input: moves, turns scaled by
// the frame time, the save step, sideways steps, the jump run by FLIPP,
// mouse look, the sight line; and the world transforms of objects.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "engine_test_support.h"
#include "maths/kernel.h"
#include "platform/constants.h"
#include "platform/input.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {
constexpr double K = 0.017443758030437666;

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
        h = open_window(width, height);
        engine.Initialize_Windowed(h);
        services.clock().now = 1000;
        engine.FLIPP(h);
        frame(20);
        platform::trace().clear();
    }
    void frame(int ms) {
        services.clock().advance(ms);
        engine.FLIPP(h);
    }
    D3DMATRIX view() {
        D3DMATRIX m;
        engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_VIEW, m);
        return m;
    }
    D3DMATRIX world() {
        D3DMATRIX m;
        engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_WORLD, m);
        return m;
    }
    D3DMATRIX expected_view() {
        D3DMATRIX m;
        engine.DX_7->viewMatrix(m, engine.GET_CameraEYE(), engine.GET_CameraAT(), D3DVECTOR{0, 1, 0}, 0);
        return m;
    }
    tarko_DX7 engine;
    Long h = 0;
};

TEST_F(Camera, UpdateLooksOneUnitAlongTheHeadingAndSetsTheView) {
    open();
    engine.Camera_set_ANGy_DEGREE(Variant(10.0));
    engine.SET_cameraEYE(D3DVECTOR{1, 2, 3});
    // Heading 0: at = eye + (1, sin(10 K), 0) = (2, 2 + 0.17354, 3).
    const D3DVECTOR at = engine.GET_CameraAT();
    EXPECT_EQ(at.x, 2.0f);
    EXPECT_FLOAT_EQ(at.y, static_cast<float>(2 + std::sin(10 * K)));
    EXPECT_EQ(at.z, 3.0f);
    EXPECT_TRUE(same(view(), expected_view()));
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.setTransform 2,").size(), 2u);  // one per call
}

TEST_F(Camera, PitchDoesNotShortenTheHeading) {
    open();
    engine.SET_camera_DEGRE(Variant(30.0));
    engine.SET_camera_ANY_DEGRE(Variant(45.0));
    const D3DVECTOR at = engine.GET_CameraAT();
    EXPECT_FLOAT_EQ(at.x, static_cast<float>(std::cos(30 * K)));
    EXPECT_FLOAT_EQ(at.z, static_cast<float>(std::sin(30 * K)));
    EXPECT_FLOAT_EQ(at.y, static_cast<float>(std::sin(45 * K)));
}

TEST_F(Camera, CheckTerrainArgumentChangesNothing) {
    open();
    engine.SET_cameraEYE(D3DVECTOR{5, 1, 5});
    platform::trace().clear();
    engine.Camera_update(true);
    const auto with = platform::trace().entries();
    platform::trace().clear();
    engine.Camera_update(false);
    EXPECT_EQ(platform::trace().entries(), with);
}

TEST_F(Camera, TurnsScaleWithTheFrameTime) {
    open();  // NBFrame 21
    engine.Camera_Move_Left(Variant(0.001));
    EXPECT_NEAR(engine.CAM_angle().to_double(), 0.021, 1e-12);
    engine.Camera_Move_Right(Variant(0.002));
    EXPECT_NEAR(engine.CAM_angle().to_double(), -0.021, 1e-12);
}

TEST_F(Camera, TurnAtTheFirstFlipJumpsFar) {
    h = open_window(64, 48);
    engine.Initialize_Windowed(h);
    services.clock().now = 5000;
    engine.FLIPP(h);  // NBFrame = tickCount + 1 = 5001
    engine.Camera_Move_Left(Variant(0.001));
    EXPECT_NEAR(engine.CAM_angle().to_double(), 5.001, 1e-12);
}

TEST_F(Camera, WalkingIsUnscaledByTheFrameTime) {
    open();
    frame(200);  // NBFrame 201
    engine.Camera_Move_Foward(Variant(5.0));
    EXPECT_EQ(engine.GET_CameraEYE().x, 5.0f);
    EXPECT_EQ(engine.GET_CameraEYE().z, 0.0f);
    // Heading 90 degrees is 90 K = 1.5699382 rad, not a right angle: x moves a little.
    engine.SET_camera_DEGRE(Variant(90.0));
    engine.Camera_Move_Backward(Variant(2.0));
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().x, static_cast<float>(5 - 2 * std::cos(90 * K)));
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().z, static_cast<float>(-2 * std::sin(90 * K)));
    engine.Camera_Elevator_UP(Variant(3.0));
    engine.Camera_Elevator_DOWN(Variant(1.0));
    EXPECT_EQ(engine.GET_CameraEYE().y, 2.0f);
    EXPECT_TRUE(same(view(), expected_view()));
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

TEST_F(Camera, SidewaysStepGoesRightOfTheHeadingAndCannotBeRecalled) {
    open();
    float s = 2;
    engine.CAM_step_RIGHT(s);
    // Heading 0, right is -z: S = (0 - 90) K = -1.5699382 rad.
    const double side = -90 * K;
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().x, static_cast<float>(2 * std::cos(side)));
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().z, static_cast<float>(2 * std::sin(side)));
    engine.REcallCAM();  // the earlier eye is the new eye
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().z, static_cast<float>(2 * std::sin(side)));
}

TEST_F(Camera, StepLeftTwiceWithOneVariableGoesLeftThenRight) {
    open();
    float s = 3;
    engine.CAM_step_LEFT(s);
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
    engine.CAM_angleDEGRE(Variant(30.0));
    EXPECT_NEAR(engine.CAM_angleDEGRE().to_double(), 30.0, 1e-12);
    EXPECT_NEAR(engine.CAM_angleBilBOARD().to_double(), -60.0, 1e-12);
    EXPECT_NEAR(engine.CAM_angleYdeg().to_double(), -180 * 0.017477708 / K, 1e-9);
}

TEST_F(Camera, AngleSettersDoNotRebuildTheView) {
    open();
    engine.CAM_angle(Variant(1.0));
    engine.CAM_angleDEGRE(Variant(45.0));
    EXPECT_TRUE(platform::trace().matching("Direct3DDevice7.setTransform").empty());
    engine.WORLD_MIN_DOWN(D3DVECTOR{-10, -1, -10});
    engine.WORDL_MAX_UP(D3DVECTOR{10, 1, 10});
    EXPECT_EQ(engine.WORLD_MIN_DOWN().x, -10.0f);
    EXPECT_TRUE(platform::trace().matching("Direct3DDevice7.").empty());
    // The limits do not stop the eye.
    engine.SET_cameraEYE(D3DVECTOR{100, 100, 100});
    EXPECT_EQ(engine.GET_CameraEYE().x, 100.0f);
}

TEST_F(Camera, SetCameraIgnoresTheTargetButDirectionUsesIt) {
    open();
    engine.SET_camera(D3DVECTOR{1, 1, 1}, Variant(123.0));
    EXPECT_EQ(engine.GET_CameraAT().x, 2.0f);  // heading 0
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, 0}, D3DVECTOR{0, 0, 10});
    EXPECT_EQ(engine.GET_CameraAT().z, 10.0f);
    EXPECT_TRUE(same(view(), expected_view()));
    engine.Camera_update();  // the angles win again
    EXPECT_EQ(engine.GET_CameraAT().x, 1.0f);
    EXPECT_EQ(engine.GET_CameraAT().z, 0.0f);
}

TEST_F(Camera, BeforeStartUpMovesChangeStateAndRaiseNothing) {
    EXPECT_EQ(error_of([&] { engine.Camera_Move_Foward(Variant(5.0)); }), 0);
    EXPECT_EQ(engine.GET_CameraEYE().x, 5.0f);
    EXPECT_EQ(error_of([&] { engine.CAM_jump(); }), 0);
    EXPECT_EQ(error_of([&] { engine.SET_camera_DirectioN(D3DVECTOR{}, D3DVECTOR{1, 0, 0}); }), err::ObjectNotSet);
}

TEST_F(Camera, StepBeyondASingleRaisesOverflowAndLeavesTheEye) {
    open();
    EXPECT_EQ(error_of([&] { engine.Camera_Move_Foward(Variant(1e300)); }), err::Overflow);
    EXPECT_EQ(engine.GET_CameraEYE().x, 0.0f);
    EXPECT_EQ(error_of([&] { engine.Camera_Elevator_UP(Variant("up")); }), err::TypeMismatch);
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
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.setTransform 2,").size(), 1u);
    EXPECT_TRUE(same(view(), expected_view()));
}

TEST_F(Camera, SightLinePointFollowsTheHeading) {
    open();
    engine.SET_camera_DEGRE(Variant(45.0));
    engine.SET_cameraEYE(D3DVECTOR{0, 0, 0});
    // Slope z = sin / cos of 45 K; offset 0: z = x tan(45 K).
    const D3DVECTOR at = engine.GET_CameraAT();
    const D3DVECTOR p = engine.Cam_AXis_transVEC(2.0f);
    EXPECT_FLOAT_EQ(p.x, at.x + 2);
    EXPECT_EQ(p.y, at.y);
    EXPECT_NEAR(p.z, (at.x + 2) * std::tan(45 * K), 1e-5);
}

TEST_F(Camera, DerivedPoints) {
    open();
    engine.SET_cameraEYE(D3DVECTOR{1, 1, 1});
    engine.SET_camera_ANY_DEGRE(Variant(20.0));
    const D3DVECTOR f = engine.Get_cam_Forward_VECTOR(3.0f);
    EXPECT_EQ(f.x, 4.0f);
    EXPECT_FLOAT_EQ(f.y, static_cast<float>(1 + 6 * std::sin(20 * K)));  // twice the step
    const D3DVECTOR d = engine.Camara_DEST_Vector(Variant(0.0), Variant(0.5));
    EXPECT_EQ(d.x, 2.0f);
    EXPECT_FLOAT_EQ(d.y, static_cast<float>(1 + 2 * std::sin(0.5)));
    const D3DVECTOR q = engine.VecDIV(D3DVECTOR{3, -6, 9}, Variant(Integer(3)));
    EXPECT_EQ(q.y, -2.0f);
    EXPECT_EQ(error_of([&] { engine.VecDIV(D3DVECTOR{1, 1, 1}, Variant()); }), err::DivisionByZero);
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
    EXPECT_TRUE(platform::trace().matching("Direct3DDevice7.setTransform 2,").empty());
}

TEST_F(Camera, JumpAtTwentyOneMillisecondsPassesThePeakAtTheThirtiethUpdate) {
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

class MouseLook : public Camera {
protected:
    platform::InputState& in() { return platform::input_state(); }
};

TEST_F(MouseLook, StillMouseMovesNothing) {
    open(301, 201);
    engine.CAM_CheckMouse();
    EXPECT_EQ(in().set_cursor_calls, 0);
    EXPECT_EQ(engine.CAM_angleY().to_double(), 0.0);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.setTransform 2,").size(), 1u);
}

TEST_F(MouseLook, OnlyALeftwardFirstReadCountsAsAMove) {
    open(301, 201);
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

TEST_F(MouseLook, VerticalMovesBeforeTheCallAreTakenByTheHorizontalPolls) {
    open(301, 201);
    in().move_mouse(0, -40);  // every poll reads all axes: the Mouse_X reads consume it
    engine.CAM_CheckMouse();
    EXPECT_EQ(engine.CAM_angleY().to_double(), 0.0);
    EXPECT_EQ(in().set_cursor_calls, 0);
    EXPECT_EQ(engine.Mouse_Y().to_long(), 0);
}

class ObjectTransforms : public Camera {};

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
    EXPECT_TRUE(engine.OBJECT_rotate(Variant(0.0), Variant(0.0), Variant(0.0)).is_empty());
}

TEST_F(ObjectTransforms, ScaleRotateMoveTurnsInPlace) {
    open();
    engine.OBJECT_Scale_Rotate_MOV(Variant(2.0), Variant(2.0), Variant(2.0), Variant(0.0), Variant(90.0),
                                   Variant(0.0), Variant(5.0), Variant(0.0), Variant(0.0));
    // (1,0,0) scaled to (2,0,0), turned 90 degrees about y to about (0,0,2),
    // moved to (5,0,2): distance 2 from (5,0,0).
    const D3DVECTOR p = apply(world(), D3DVECTOR{1, 0, 0});
    EXPECT_NEAR(std::hypot(p.x - 5, p.y, p.z), 2.0, 1e-5);
    EXPECT_NEAR(p.z, 2.0, 1e-5);
    engine.OBJECT_Scale_Rotate_MovEX(D3DVECTOR{2, 2, 2}, D3DVECTOR{0, 90, 0}, D3DVECTOR{5, 0, 0});
    EXPECT_NEAR(apply(world(), D3DVECTOR{1, 0, 0}).z, 2.0, 1e-5);
}

TEST_F(ObjectTransforms, MoveThenRotateSwingsAboutTheOrigin) {
    open();
    engine.OBJECT_MOV_rotate(Variant(5.0), Variant(0.0), Variant(0.0), Variant(0.0), Variant(90.0), Variant(0.0));
    const D3DVECTOR o = apply(world(), D3DVECTOR{});  // (5,0,0) turned to about (0,0,5)
    EXPECT_NEAR(o.x, 0.0, 1e-5);
    EXPECT_NEAR(o.z, 5.0, 1e-5);
    engine.OBJECT_Scale_Rotate_MOV(Variant(1.0), Variant(1.0), Variant(1.0), Variant(0.0), Variant(90.0),
                                   Variant(0.0), Variant(5.0), Variant(0.0), Variant(0.0));
    EXPECT_NEAR(apply(world(), D3DVECTOR{}).x, 5.0, 1e-6);  // turned in place
}

TEST_F(ObjectTransforms, ScaleMoveAndScaleRotate) {
    open();
    engine.OBJECT_Scale_MOV(Variant(2.0), Variant(3.0), Variant(4.0), Variant(1.0), Variant(1.0), Variant(1.0));
    const D3DVECTOR p = apply(world(), D3DVECTOR{1, 1, 1});  // scaled first: (3, 4, 5)
    EXPECT_EQ(p.x, 3.0f);
    EXPECT_EQ(p.z, 5.0f);
    engine.OBJECT_Scale_Rotate(Variant(2.0), Variant(2.0), Variant(2.0), Variant(0.0), Variant(0.0),
                               Variant(0.0));
    EXPECT_EQ(apply(world(), D3DVECTOR{1, 1, 1}).y, 2.0f);
}

TEST_F(ObjectTransforms, BillboardFacesTheCamera) {
    open();
    engine.SET_camera_DEGRE(Variant(120.0));
    engine.OBJECT_use_BILBOARDdeg();
    EXPECT_TRUE(same(world(), engine.MRotate(engine.ID_Matrix(), 0, 30, 0)));
}

TEST_F(ObjectTransforms, BoundingBoxCountsEveryElementToTheUpperBound) {
    SafeArray<D3DVERTEX> one;
    one.ReDim(3, 3);
    one(3) = D3DVERTEX{1, -2, 3};
    D3DRMBOX box;
    engine.OBJECT_getBoundingBOX(one, box);  // no device needed
    EXPECT_EQ(box.min.y, -2.0f);
    EXPECT_EQ(box.max.y, -2.0f);

    SafeArray<D3DVERTEX> v;
    v.ReDim(1, 3);  // the spare last element (0,0,0) counts too
    v(1) = D3DVERTEX{1, 5, 2};
    v(2) = D3DVERTEX{4, 6, -3};
    engine.OBJECT_getBoundingBOX(v, box);
    EXPECT_EQ(box.min.x, 0.0f);
    EXPECT_EQ(box.min.z, -3.0f);
    EXPECT_EQ(box.max.x, 4.0f);
    EXPECT_EQ(box.max.y, 6.0f);
    EXPECT_EQ(box.min.y, 0.0f);

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
