// tarko_DX7: the engine object a host creates first. It owns every device
// object, the camera, the lights and the frame clock; the other classes reach
// the device through its public variables. Operations are grouped by concern;
// each group is implemented in its own engine_<concern>.cpp.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/d3d/device.h"
#include "platform/d3d/direct3d.h"
#include "platform/ddraw.h"
#include "platform/dx_root.h"
#include "platform/input.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "platform/surface.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

class DirectSound;
class DirectSoundBuffer;
class DirectSound3DListener;

// Mode of the engine object, kept in wType.
enum MODA : tarko::Integer { NOt_init = -1, FullScreeen = 0, Windowed = 1 };

class tarko_DX7 {
public:
    tarko_DX7();
    ~tarko_DX7();
    tarko_DX7(const tarko_DX7&) = delete;
    tarko_DX7& operator=(const tarko_DX7&) = delete;

    // ---- public variables, in the order of the interface
    tarko::Ref<DirectX7> DX_7;                 // made on first use
    tarko::Ref<DirectDraw7> ddraw;
    tarko::Ref<DirectDrawSurface7> Prim;       // primary surface
    tarko::Ref<DirectDrawSurface7> BAK;        // render target
    bool PAUSE_is_on = false;
    tarko::Long Pause_DC = 0;
    bool Check_Mouse_cam = false;
    tarko::Long MEMORY = 0;                    // DDSCAPS_VIDEOMEMORY (16384) or DDSCAPS_SYSTEMMEMORY (2048)
    tarko::Ref<Direct3D7> d3d;
    tarko::Ref<DirectDrawSurface7> ZBuffer;
    tarko::Ref<Direct3DDevice7> D3D_DEV;       // every class draws through it
    tarko::Long lheight = 0;
    tarko::Long lWidth = 0;
    float PIFactor;                            // 3.141592653 / 180 as a Single
    tarko::Long device_CLEAR_COLOR = 0;
    bool LOG_console_is_ON = false;
    bool Colision_CUBE = false;
    tarko::Ref<DirectSound> DsounD;
    tarko::Integer Total_SoundBUF = 0;
    bool IS_DSound3D = false;
    tarko::Ref<DirectSound3DListener> DS_Listener;  // FLIPP moves it to the camera
    tarko::Ref<DirectInputDevice> Dinput_DEV;  // keyboard
    tarko::Ref<DirectInput> Dinput;
    bool Dinput_isINIT = false;
    tarko::Variant NBFrame;                    // ms between the last two presents, plus 1
    MODA wType = NOt_init;
    double FOGdensity = 0;
    float PrecisionCollide = 0;
    bool CHECK_terrain_Colision = false;
    float HORIZON_z = 0;
    bool CLOUD_is_Active = false;
    bool RAIN_ison = false;

    // ---- device start-up (engine_startup.cpp)
    // Opens full screen: the result is True when it ends.
    bool Initialize_fullscreen(tarko::Long Hand, tarko::Integer width = 640, tarko::Integer Height = 480,
                               tarko::Byte Bpp = 16);
    // Opens in the window; the result is always False: read wType and D3D_DEV.
    bool Initialize_Windowed(tarko::Long Hand);
    // Opens on the given display driver and device, windowed or full screen;
    // the result is always False.
    bool Initialize_EngineEX(tarko::Long Hand, const std::string& Ddraw_GUID, const std::string& D3D_GUID,
                             bool isWindoWED = true, tarko::Integer Screen_WIDTH = 640,
                             tarko::Integer Screen_HEIGHT = 480, tarko::Byte ByteBP = 16);

    // ---- frame cycle (engine_frame.cpp)
    // Clears target and z-buffer to device_CLEAR_COLOR and 1.0; never raises.
    void Clear_3D();
    // Ends a frame: jump step, frame clocks, present, listener. LOG_USE and
    // Testlimit are accepted and have no effect.
    void FLIPP(tarko::Long Hand = 0, bool LOG_USE = false, bool Testlimit = false);
    float FramesPerSec() const;   // measured over 30 frames
    float ImparSeconde() const;   // whole frames of the last second or so
    float ElapseFrame() const;    // NBFrame as a Single
    // Adds a console line (unless St is "") and shows the console at once.
    void WriteLOG(const std::string& St, tarko::Long Hand);
    // Releases the device objects in their order; nothing when never opened.
    void FreeDX(tarko::Long Hand);

    // ---- camera hook used by FLIPP (the camera group lands with the scene work)
    void Camera_update(bool jumping);

    // ---- maths: BEGIN
    // Vectors and matrices (engine_maths.cpp). Components are Singles worked out
    // in double and rounded once. Row vectors, translation in row 4; A x B
    // applies A first. Degree rotations use PIFactor (3.141592653 / 180); the
    // radian ones none. Axis factors: X (2,2) = c, (2,3) = -s, (3,2) = s,
    // (3,3) = c; Y (1,1) = c, (1,3) = s, (3,1) = -s; Z (1,2) = -s, (2,1) = s.
    D3DVECTOR VAdd(const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR Vsub(const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR VSubtract(const D3DVECTOR& dV1, const D3DVECTOR& dV2);
    void VectorSubtract(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR VCross(const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR VCrossProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2);
    float VectorDotProduct(const D3DVECTOR& A, const D3DVECTOR& B);
    float VDot(const D3DVECTOR& A, const D3DVECTOR& B);
    float VDotProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2);
    D3DVECTOR VScale(const D3DVECTOR& Src, float S);
    void VectorScale(D3DVECTOR& Dest, const D3DVECTOR& Src, float S);
    // Vin times A coerced to a number (Type mismatch, 13, when it holds none).
    D3DVECTOR VecTIME(const D3DVECTOR& Vin, const tarko::Variant& A);
    // Dest = S1 V1 + s2 V2.
    void VectorAddAndScale(D3DVECTOR& Dest, float S1, const D3DVECTOR& V1, float s2, const D3DVECTOR& V2);
    void VectorNegate(D3DVECTOR& v);
    D3DVECTOR VNegate(const D3DVECTOR& v);
    D3DVECTOR VertorABS(const D3DVECTOR& Vin);
    D3DVECTOR Vmiddle(const D3DVECTOR& Va, const D3DVECTOR& Vb);
    // The distance between the two points (not a normal).
    float VectorNormal(const D3DVECTOR& Va, const D3DVECTOR& Vb);
    void VectorCopy(D3DVECTOR& Dest, const D3DVECTOR& Src);
    D3DVECTOR VCopy(const D3DVECTOR& Src);
    D3DVECTOR VERtoc(const D3DVERTEX& VERT);
    D3DVECTOR LVERtoc(const D3DLVERTEX& VERT);
    // In place; (0, 0, 0) stays; never raises.
    void VectorNormalize(D3DVECTOR& Dest);
    // The unit vector returned; the argument is not changed.
    D3DVECTOR VNormalize(const D3DVECTOR& Dest);
    // (0, 0, 0) whatever is passed.
    D3DVECTOR VectorMISSING(const D3DVECTOR& Va, const tarko::Variant& Norme = {});
    D3DVECTOR VectorSETPOS(const D3DVECTOR& Vorigin);
    // Dest += A, and the new Dest returned (Dest is the second operand).
    D3DVECTOR VectorAdd(D3DVECTOR& Dest, const D3DVECTOR& A);
    // Dest = Dest x A, and the new Dest returned.
    D3DVECTOR VectorCrossProduct(D3DVECTOR& Dest, const D3DVECTOR& A);
    // Each Double narrowed to Single (Overflow, 6, beyond its range).
    D3DVECTOR tarko_MakeVector(double A, double B, double C);
    // Each Variant coerced to Single.
    D3DVECTOR Vector(const tarko::Variant& A, const tarko::Variant& B, const tarko::Variant& C);
    D3DVERTEX Vertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv);
    D3DVERTEX RVertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv);
    // Normal (0, 0, 0).
    D3DVERTEX vecVertex(const D3DVECTOR& v, const tarko::Variant& tu, const tarko::Variant& tv);
    // color fills the colour and the specular field; reserved 0.
    D3DLVERTEX vecLVertex(const D3DVECTOR& v, tarko::Long color, const tarko::Variant& tu, const tarko::Variant& tv);

    void IdentityMatrix(D3DMATRIX& Dest);
    void MIdentity(D3DMATRIX& dMatrix);
    D3DMATRIX RetIdentityMatrix();
    D3DMATRIX ID_Matrix();                       // property
    void TranslateMatrix(D3DMATRIX& M, const D3DVECTOR& v);
    D3DMATRIX RetTranslateMatrix(const D3DVECTOR& v);
    void RotateXMatrix(D3DMATRIX& RET, float rads);
    void RotateYMatrix(D3DMATRIX& RET, float rads);
    void RotateZMatrix(D3DMATRIX& RET, float rads);
    D3DMATRIX RetRotateXMatrix(float rads);
    D3DMATRIX RetRotateYMatrix(float rads);
    D3DMATRIX RetRotateZMatrix(float rads);
    // dSource x translation / scale / (Rx x Ry x Rz in degrees); dSource is read.
    D3DMATRIX MTranslate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    D3DMATRIX MTrans_EX(const D3DMATRIX& dSource, const D3DVECTOR& VEC);
    D3DMATRIX MScale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    D3DMATRIX MRotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    // dM2 x dM1: applied to a point, dM2 first.
    D3DMATRIX MMultiply(const D3DMATRIX& dM1, const D3DMATRIX& dM2);
    // (scale x rotation) x translation.
    D3DMATRIX M_Scale_Rotate_MOV(const D3DVECTOR& Vscal, const D3DVECTOR& Vrot, const D3DVECTOR& Vmov);

    // Scalars. Rand reseeds the generator from Timer, then draws a Single: two
    // calls in one clock tick can give the same number.
    tarko::Variant Rand();
    // Components 0..1 coerced to Single, packed as createColorRGBA does: (1, 1, 1, 1) is -1.
    tarko::Long RGBA(const tarko::Variant& R, const tarko::Variant& G, const tarko::Variant& B,
                     const tarko::Variant& A);
    // Reseeds as Rand does, then draws r, g, b, a in this order.
    tarko::Long random_RGBA();
    // 0.017443758030437666, the camera's degree constant (not pi / 180). Property.
    double RADIAN();

private:
    D3DMATRIX MathScratch;   // shared by MTranslate, MTrans_EX, MScale and MRotate

public:
    // ---- maths: END

    // ---- textures (Parts 2.5, 2.6): BEGIN
    // ---- textures: END

private:
    void ensure_root();
    void start_input(tarko::Long Hand);
    void start_device(tarko::Long Hand, bool extended, const std::string& D3D_GUID);
    void open_windowed_surfaces(tarko::Long Hand, const std::string& Ddraw_GUID);
    void move_listener_to_camera();   // engine_sound.cpp
    void release_sound_buffers();     // engine_sound.cpp
    void open_fullscreen_surfaces(tarko::Long Hand, const std::string& Ddraw_GUID, tarko::Integer width,
                                  tarko::Integer height, tarko::Byte bpp);

    // Device
    tarko::Ref<DirectDrawClipper> Clipper;
    D3DRECT ClearRect;
    D3DVIEWPORT7 ViewportRecord;
    bool AlphaTestOK = false;
    tarko::Long DarkenCounter = 0;
    D3DMATRIX ViewMatrix;
    float NearPlane = 0, FarPlane = 0;
    double FieldOfView = 0;

    // Log console
    tarko::SafeArray<std::string> LogLines;
    tarko::Integer LogCount = 0;

    // Sound buffers that only FreeDX reads
    struct SoundBufferRecord {
        std::string name;
        tarko::Ref<DirectSoundBuffer> buffer;
    };
    tarko::SafeArray<SoundBufferRecord> SoundBuffers;
    tarko::Ref<DirectSoundBuffer> PrimaryBuffer;

    // Input
    std::array<std::uint8_t, 256> KeyState{};
    tarko::Ref<DirectInputDevice> MouseDevice;
    DIMOUSESTATE MouseState;

    // Camera
    D3DVECTOR CamEye, CamAt, CamEyeCopy, CamLastEye, CamLastAt;
    double CamAngle = 0, CamAngleY = 0, StrafeAngle = 0;
    bool Jumping = false;
    float JumpStep = 0, JumpPeak = 0, JumpProgress = 0, JumpBaseY = 0;

    // Frame clock
    RECT WindowRect, BackRect;
    tarko::Variant FrameCount30;
    float LastTimer = 0, FpsValue = 0, SecondRate = 0;
    tarko::Long LastSecondTick = 0;
    tarko::Integer SecondFrames = 0;
    tarko::Variant LastFrameTick;

    // Extern cubes (erased by FreeDX)
    tarko::SafeArray<D3DVERTEX> ExternCubeVertices;
    tarko::SafeArray<D3DVERTEX> ExternCubeFaces;

    // Lights
    tarko::SafeArray<D3DLIGHT7> LightRecords;
    tarko::Integer LightCount = 0;
    tarko::Integer NextLightIndex = 0;
};
