// The one camera: eye, heading and pitch, the moves, the jump and mouse look.
// Every move ends in Camera_update, which rebuilds the look-at point and the view.
#include <cmath>

#include "engine/tarko_dx7.h"
#include "maths/kernel.h"
#include "platform/constants.h"
#include "platform/input.h"
#include "runtime/errors.h"
#include "runtime/services.h"

using tarko::Variant;
namespace rt = tarko::runtime;

namespace {
constexpr double K = tarko::maths::kCameraRadian;
// Bounds of the two pitch moves, and the clamp of Camera_update (its factor
// is not K): 180 x 0.017477708 = 3.14598744.
constexpr double kPitchMoveLimit = 3.1459875;
constexpr double kPitchClamp = 180 * 0.017477708;

// Stored as a Single: a finite value beyond its range raises 6; inf and NaN pass.
float single(double v) { return rt::CSng(v); }
}  // namespace

// ---- getters

void tarko_DX7::GET_camera(D3DVECTOR& C_from, D3DVECTOR& C_To) {
    C_from = CamEye;
    C_To = CamAt;
}
D3DVECTOR tarko_DX7::GET_CameraEYE() { return CamEye; }
D3DVECTOR tarko_DX7::GET_CameraAT() { return CamAt; }
D3DVECTOR tarko_DX7::GET_LastEYE() { return CamLastEye; }
D3DVECTOR tarko_DX7::get_ORIGIN_kam() { return CamLastEye; }
D3DVECTOR tarko_DX7::Get_CameraDIR() {
    D3DVECTOR dir = Vsub(CamEye, CamLastEye);
    VectorNormalize(dir);
    return dir;
}

Variant tarko_DX7::CAM_angle() { return Variant(CamAngle); }
void tarko_DX7::CAM_angle(const Variant& v) { CamAngle = v.to_double(); }
Variant tarko_DX7::CAM_angleDEGRE() { return Variant(CamAngle / K); }
void tarko_DX7::CAM_angleDEGRE(const Variant& v) { CamAngle = v.to_double() * K; }
Variant tarko_DX7::CAM_angleBilBOARD() { return Variant(CamAngle / K - 90); }
Variant tarko_DX7::CAM_angleY() { return Variant(CamAngleY); }
Variant tarko_DX7::Camera_ANY() { return Variant(CamAngleY); }
Variant tarko_DX7::CAM_angleYdeg() { return Variant(CamAngleY / K); }

D3DVECTOR tarko_DX7::WORLD_MIN_DOWN() { return WorldMin; }
D3DVECTOR tarko_DX7::WORDL_MAX_UP() { return WorldMax; }
void tarko_DX7::WORLD_MIN_DOWN(const D3DVECTOR& v) {
    WorldMin = v;
    WorldBox = {WorldMin.x, WorldMax.z, WorldMax.x, WorldMin.z, WorldMin.y, WorldMax.y};
}
void tarko_DX7::WORDL_MAX_UP(const D3DVECTOR& v) {
    WorldMax = v;
    WorldBox = {WorldMin.x, WorldMax.z, WorldMax.x, WorldMin.z, WorldMin.y, WorldMax.y};
}

// ---- setters

void tarko_DX7::SET_camera_DEGRE(const Variant& ANG_degree) {
    CamAngle = ANG_degree.to_double() * K;
    Camera_update();
}
void tarko_DX7::SET_camera_ANY_DEGRE(const Variant& ANG_degree) {
    CamAngleY = ANG_degree.to_double() * K;
    Camera_update();
}
void tarko_DX7::Camera_set_ANGy_DEGREE(const Variant& DEGR) { SET_camera_ANY_DEGRE(DEGR); }
void tarko_DX7::SET_cameraEYE(const D3DVECTOR& xVEC) {
    CamEye = xVEC;
    Camera_update();
}
void tarko_DX7::Camera_set_EYE(const D3DVECTOR& Veye) { SET_cameraEYE(Veye); }
void tarko_DX7::SET_camera(const D3DVECTOR& Vec_From, const Variant&) { SET_cameraEYE(Vec_From); }

void tarko_DX7::SET_camera_DirectioN(const D3DVECTOR& Vec_From, const D3DVECTOR& VEC_to) {
    const D3DVECTOR from = Vec_From, to = VEC_to;  // either may be one of our own fields
    ensure_root();
    DX_7->viewMatrix(ViewMatrix, from, to, D3DVECTOR{0, 1, 0}, 0);
    D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_VIEW, ViewMatrix);
    CamEye = from;
    CamAt = to;
}

// ---- moves

void tarko_DX7::camera_save_step() {
    if (CamEye.x != CamLastEye.x && CamEye.y != CamLastEye.y && CamEye.z != CamLastEye.z) CamLastEye = CamEye;
}

void tarko_DX7::Camera_Move_Left(const Variant& angle) {
    camera_save_step();
    CamAngle += NBFrame.to_double() * angle.to_double();
    Camera_update();
}
void tarko_DX7::Camera_Move_Right(const Variant& angle) {
    camera_save_step();
    CamAngle -= NBFrame.to_double() * angle.to_double();
    Camera_update();
}
void tarko_DX7::Camera_Move_Foward(const Variant& StepZ) {
    camera_save_step();
    const double s = StepZ.to_double();
    CamEye.x = single(CamEye.x + s * std::cos(CamAngle));
    CamEye.z = single(CamEye.z + s * std::sin(CamAngle));
    Camera_update();
}
void tarko_DX7::Camera_Move_Backward(const Variant& StepZ) {
    camera_save_step();
    const double s = StepZ.to_double();
    CamEye.x = single(CamEye.x - s * std::cos(CamAngle));
    CamEye.z = single(CamEye.z - s * std::sin(CamAngle));
    Camera_update();
}
void tarko_DX7::Camera_Move_UP(const Variant& angle) {
    camera_save_step();
    CamAngleY += NBFrame.to_double() * angle.to_double();
    if (CamAngleY > kPitchMoveLimit) CamAngleY = kPitchMoveLimit;
    Camera_update();
}
void tarko_DX7::Camera_Move_DOWN(const Variant& angle) {
    camera_save_step();
    CamAngleY -= NBFrame.to_double() * angle.to_double();
    if (CamAngleY < -kPitchMoveLimit) CamAngleY = -kPitchMoveLimit;
    Camera_update();
}
void tarko_DX7::Camera_Elevator_UP(const Variant& StepY) {
    camera_save_step();
    CamEye.y = single(CamEye.y + StepY.to_double());
    Camera_update();
}
void tarko_DX7::Camera_Elevator_DOWN(const Variant& StepY) {
    camera_save_step();
    CamEye.y = single(CamEye.y - StepY.to_double());
    Camera_update();
}

void tarko_DX7::CAM_step_RIGHT(const float& Step) {
    CamLastEye = CamEye;
    // A quarter turn to the right, through degrees and back with K.
    const double side = (CamAngle / K - 90) * K;
    CamLastEye.x = single(CamLastEye.x + Step * std::cos(side));
    CamLastEye.z = single(CamLastEye.z + Step * std::sin(side));
    CamEye = CamLastEye;
    Camera_update();
}
void tarko_DX7::CAM_step_LEFT(float& Step) {
    Step = -Step;
    CAM_step_RIGHT(Step);
}

void tarko_DX7::REcallCAM() {
    CamEye = CamLastEye;
    Camera_update();
}

void tarko_DX7::CAM_jump() {
    if (!Jumping) {
        Jumping = true;
        JumpStep = std::fabs(JumpStep);
        JumpProgress = 0;
        JumpBaseY = CamEye.y;
    }
    Camera_update();
}

void tarko_DX7::CAM_CheckMouse() {
    bool moved = false;
    // Each read is a new poll of relative movement, compared with a reference
    // that becomes the window centre once the mouse has counted as moved.
    const double x1 = Mouse_X().to_double();
    const double x2 = Mouse_X().to_double();
    if (x1 - LastMouseX < -1 || x2 - LastMouseX > 1) {
        Mouse_X();  // third read: its movement is consumed, the heading is the host's
        LastMouseX = rt::CLng(lWidth / 2.0);
        moved = true;
    }
    const double y1 = Mouse_Y().to_double();
    const double y2 = Mouse_Y().to_double();
    if (y1 - LastMouseY < -1 || y2 - LastMouseY > 1) {
        const double n = NBFrame.to_double();
        CamAngleY += (LastMouseY - Mouse_Y().to_double()) * n / 100000;
        const double d = Mouse_Y().to_double() - LastMouseY;
        if (d > 0 && d <= 2)
            CamAngleY += 0.0005 * (d / 2) * n;
        else if (d >= -2 && d < 0)
            CamAngleY -= 0.0005 * (std::fabs(d) / 2) * n;
        LastMouseY = rt::CLng(lheight / 2.0);
        moved = true;
    }
    if (moved)
        tarko::platform::SetCursorPos(static_cast<tarko::Long>(rt::Int(lWidth / 2.0)),
                                      static_cast<tarko::Long>(rt::Int(lheight / 2.0)));
    Camera_update();
}

void tarko_DX7::Camera_update(bool) {
    if (CamAngleY < -kPitchClamp) CamAngleY = -kPitchClamp;
    if (CamAngleY > kPitchClamp) CamAngleY = kPitchClamp;

    if (Jumping) {
        CamEye.y = single(static_cast<double>(CamEye.y) + JumpStep);
        JumpProgress = single(JumpProgress + (JumpStep / 100.0) * ElapseFrame());
        if (JumpProgress >= JumpPeak) JumpStep = -std::fabs(JumpStep);
        if (JumpProgress <= 0) {
            Jumping = false;
            CamEye.y = JumpBaseY;
        }
    }

    // Heading and pitch are not combined: the pitch moves only y.
    CamAt.x = single(CamEye.x + std::cos(CamAngle));
    CamAt.y = single(CamEye.y + std::sin(CamAngleY));
    CamAt.z = single(CamEye.z + std::sin(CamAngle));

    // From here a failure is skipped; a zero run in x gives the infinity or
    // NaN of IEEE division, which is kept.
    rt::ResumeNext next;
    const D3DVECTOR a = CamEye, b = CamAt;
    next([&] { LineSlopeY = single((static_cast<double>(b.y) - a.y) / (static_cast<double>(b.x) - a.x)); });
    next([&] { LineOffsetY = single(a.y - static_cast<double>(a.x) * LineSlopeY); });
    next([&] { LineSlopeZ = single((static_cast<double>(b.z) - a.z) / (static_cast<double>(b.x) - a.x)); });
    next([&] { LineOffsetZ = single(a.z - static_cast<double>(a.x) * LineSlopeZ); });
    next([&] { SET_camera_DirectioN(CamEye, CamAt); });
}

// ---- derived points

D3DVECTOR tarko_DX7::Get_cam_Forward_VECTOR(const float& Step) {
    return {single(CamEye.x + Step * std::cos(CamAngle)), single(CamEye.y + 2.0 * Step * std::sin(CamAngleY)),
            single(CamEye.z + Step * std::sin(CamAngle))};
}

D3DVECTOR tarko_DX7::Camara_DEST_Vector(const Variant& RangleZ, const Variant& RangleY) {
    const double rz = RangleZ.to_double(), ry = RangleY.to_double();
    return {single(CamEye.x + std::cos(rz)), single(CamEye.y + 2 * std::sin(ry)), single(CamEye.z + std::sin(rz))};
}

D3DVECTOR tarko_DX7::Cam_AXis_transVEC(const float& val) {
    const float x = single(static_cast<double>(CamAt.x) + val);
    return {x, CamAt.y, single(static_cast<double>(x) * LineSlopeZ + LineOffsetZ)};
}

D3DVECTOR tarko_DX7::VecDIV(const D3DVECTOR& Vc, const Variant& sing) {
    const double d = sing.to_double();
    if (d == 0) tarko::raise_error(tarko::err::DivisionByZero);
    return {single(Vc.x / d), single(Vc.y / d), single(Vc.z / d)};
}
