// The camera on a manual clock with injected input: moves, turns scaled by
// the frame time, the save step, the jump run by FLIPP, mouse look; and the
// world transforms of objects.
#include <cmath>
#include <cstring>
#include <vector>

#include "support/engine_test_support.h"
#include "platform/constants.h"
#include "platform/input.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {
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
    // Heading 30, pitch 45 (K = 0.0174437580 rad a degree): at = eye + (cos 30 K,
    // sin 45 K, sin 30 K), the heading not scaled by cos of the pitch.
    engine.SET_camera_DEGRE(Variant(30.0));
    engine.SET_camera_ANY_DEGRE(Variant(45.0));
    const D3DVECTOR at = engine.GET_CameraAT();
    EXPECT_TRUE(view_is_from_eye_to_at());
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
    // Heading 90 degrees is 90 K = 1.5699382 rad, not a right angle: x moves
    // back by 2 cos(1.5699382) = 0.00171621 and z by 2 sin = 1.99999926.
    engine.SET_camera_DEGRE(Variant(90.0));
    engine.Camera_Move_Backward(Variant(2.0));
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().x, 4.99828379f);
    EXPECT_FLOAT_EQ(engine.GET_CameraEYE().z, -1.99999926f);
    // 201 x 1 passes the pitch move's cap 3.1459875, which the update then
    // clamps to 180 x 0.017477708 = 3.14598744.
    engine.Camera_Move_UP(Variant(1.0));
    EXPECT_DOUBLE_EQ(engine.CAM_angleY().to_double(), 180 * 0.017477708);
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
    engine.Camera_Move_Left(Variant(0.01));
    engine.REcallCAM();  // eye back, angle kept
    EXPECT_EQ(engine.GET_CameraEYE().x, 1.0f);
    EXPECT_NEAR(engine.CAM_angle().to_double(), 0.21, 1e-12);
}

TEST_F(Camera, BadInput) {
    // Before start-up the direction needs the device.
    EXPECT_EQ(error_of([&] { engine.SET_camera_DirectioN(D3DVECTOR{}, D3DVECTOR{1, 0, 0}); }), err::ObjectNotSet);
    open();
    // A step beyond a Single leaves the eye.
    EXPECT_EQ(error_of([&] { engine.Camera_Move_Foward(Variant(1e300)); }), err::Overflow);
    EXPECT_EQ(engine.GET_CameraEYE().x, 0.0f);
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
    EXPECT_EQ(heights[49], 10.0f);
    for (std::size_t i = 50; i < heights.size(); ++i) EXPECT_EQ(heights[i], 10.0f) << i;
    // Landed: FLIPP no longer updates the camera.
    platform::trace().clear();
    frame(24);
    EXPECT_EQ(view_sets(), 0u);
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

TEST_F(ObjectTransforms, CompositesApplyInTheirOrder) {
    open();
    // (1,0,0) scaled to (2,0,0), turned 90 degrees about y to about (0,0,2),
    // moved to (5,0,2): the turn is in place.
    engine.OBJECT_Scale_Rotate_MOV(Variant(2.0), Variant(2.0), Variant(2.0), Variant(0.0), Variant(90.0),
                                   Variant(0.0), Variant(5.0), Variant(0.0), Variant(0.0));
    const D3DVECTOR p = apply(world(), D3DVECTOR{1, 0, 0});
    EXPECT_NEAR(std::hypot(p.x - 5, p.y, p.z), 2.0, 1e-5);
    EXPECT_NEAR(p.z, 2.0, 1e-5);
}

