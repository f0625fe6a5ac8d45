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
#include "engine/tarko_enums.h"
#include "geometry/geometry_enums.h"
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
    void Camera_update(bool Check_Terrain = true);

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

    // ---- textures: BEGIN
    // Texture creators (engine_textures.cpp). A texture is a surface for
    // stage 0 in a format from D3D_DEV's texture format list, read in
    // enumeration order: the first that passes the creator's test is taken,
    // else the last one listed. A size is set only when both sides are
    // non-zero (there is no rounding to powers of two). Placement: managed
    // (DDSCAPS2_TEXTUREMANAGE) or system memory, as each creator says; on the
    // software device it changes nothing but the caps. Files: BMP, GIF and
    // JPG by the picture loader, PCX and TGA by the engine's readers.

    // WE by HE, or 256 by 256 for an empty name with both 0, else no size
    // (a file then gives its own). Format: the first without FourCC; none
    // shows "Unable to locate 16-bit surface support on your hardware." and
    // gives Nothing. Managed when the free video memory (INFO_FreeMemory) is
    // at least 65536 and MEMORY is not 2048, else system memory. A file that
    // fails to load gives a blank surface of the size asked (Nothing when
    // none was). With an empty name a failure goes to the caller.
    tarko::Ref<DirectDrawSurface7> CreateTexture(const std::string& sFile, tarko::Long WE = 0, tarko::Long HE = 0);
    // w by H when both are non-zero. The first 16-bit format with an alpha
    // mask when extraFlags And 3 is non-zero (pixel format flags RGB and
    // ALPHAPIXELS), else one without. Managed on the hardware device, else
    // system memory. D3DTEXTR_TRANSPARENTWHITE / _TRANSPARENTBLACK then give
    // every pixel whose colour is not pure white / black full alpha, the key
    // colour keeping alpha 0; any other value runs no pass, so with 3 the
    // whole texture keeps alpha 0 (fully transparent). Failures go to the
    // caller.
    tarko::Ref<DirectDrawSurface7> CreateTexture_ALPHA(const std::string& sFile, TEXTUREFLAGS extraFlags,
                                                       tarko::Long w, tarko::Long H);
    // A du/dv bump map (16 bits: du in the low byte, dv in the high one),
    // w by H or the file's size, placed as CreateTexture_ALPHA places.
    // Each pixel takes the pixel found at its offset (du, dv), worked out
    // from waves over x / w and y / H; offsets outside the surface read 0, so
    // a map made without a file is all 0. A zero w or H with a file raises
    // Division by zero (11). Failures go to the caller.
    tarko::Ref<DirectDrawSurface7> CreateTexture_BUMPmap(const std::string& sFile, tarko::Long w, tarko::Long H);
    // width by Height when both are non-zero; the first opaque 16-bit
    // format (the last listed if none is). System memory on the software
    // device, else managed. Names ending in JPG or GIF are stretched through
    // KreateSurfaceFromFile. TestSquared is accepted and has no effect. Any
    // failure gives Nothing, silently.
    tarko::Ref<DirectDrawSurface7> LoadSimpleTexture(const std::string& BitmapFile, tarko::Long width,
                                                     tarko::Long Height, bool TestSquared = false);
    // A surface of any picture the loader reads (BMP, GIF, JPG), stretched to
    // the description's size. The description is completed in place: flags 0
    // become DDSD_CAPS, the size flags are added, caps 0 become
    // DDSCAPS_OFFSCREENPLAIN, a width or height of 0 takes the picture's.
    // Any failure gives Nothing, silently.
    tarko::Ref<DirectDrawSurface7> KreateSurfaceFromFile(const std::string& filename, DDSURFACEDESC2& SurfaceDesc);
    // The pipeline the other classes use: the file read by its name (see
    // below) into a bitmap resampled to WI by HI, a CreateTexture("", WI,
    // HI) surface, and the bitmap copied into it. The name decides the
    // reader, wherever the letters stand: "BMP", "GIF" or "JPG" in any case
    // (so "bmp/wall.pcx" goes to the picture loader and fails), else "PCX"
    // in any case, else "tga" in lower case only; any other name gives a
    // black texture. WI and HI are used as given (0 and 0 make 256 by 256
    // and then raise 91, as the bitmap cannot be made). Failures go to the
    // caller, but after a TGA file has been read, a failing step is skipped
    // (the result may then be blank, or Nothing).
    tarko::Ref<DirectDrawSurface7> CreateTextureEX(const std::string& filename, tarko::Long WI, tarko::Long HI);
    // ---- textures: END

    // ---- scene: BEGIN
    // Input (engine_input.cpp). Every read polls the device anew; mouse axes
    // are relative: the movement since the previous mouse read. A read before
    // start-up raises 91 (object not set).
    // True while the key (a Tarko_KEY_CONST scan code) is down; 256 or above,
    // or below 0, raises 9 after the poll.
    bool GetKEY(tarko::Long Key);
    // Window-system virtual key: down now, or pressed since the last such query.
    bool GetKEY_API(tarko::Long Key);
    tarko::Variant Mouse_X();
    tarko::Variant Mouse_Y();
    tarko::Variant Mouse_Z();
    // The cursor in screen pixels.
    tarko::Variant MOUSE_Cursor_API_X();
    tarko::Variant MOUSE_Cursor_API_Y();
    // Button byte BUTT (MOSS, or 3 for the fourth button) non-zero; outside 0..3 raises 9.
    bool Mousse_PressedButton(tarko::Long BUTT);

    // Camera (engine_camera.cpp). One eye and two angles (heading CamAngle and
    // pitch CamAngleY, radians); the look-at point is rebuilt from the angles
    // by Camera_update, which sets the view matrix. Turning moves multiply
    // their argument by NBFrame; walking moves are unscaled. Degree forms use
    // RADIAN (0.017443758030437666), not pi / 180. Camera_update never raises
    // from the sight line on: before start-up a move changes the camera and
    // sets no view. The camera does not consult the world limits.
    void GET_camera(D3DVECTOR& C_from, D3DVECTOR& C_To);
    D3DVECTOR GET_CameraEYE();
    D3DVECTOR GET_CameraAT();
    D3DVECTOR GET_LastEYE();
    D3DVECTOR get_ORIGIN_kam();
    // Eye minus the earlier eye, normalised; (0, 0, 0) when they are equal.
    D3DVECTOR Get_CameraDIR();
    tarko::Variant CAM_angle();
    void CAM_angle(const tarko::Variant& v);          // no view rebuild
    tarko::Variant CAM_angleDEGRE();
    void CAM_angleDEGRE(const tarko::Variant& v);     // no view rebuild
    tarko::Variant CAM_angleBilBOARD();               // heading in degrees - 90
    tarko::Variant CAM_angleY();
    tarko::Variant Camera_ANY();
    tarko::Variant CAM_angleYdeg();
    // World limits: stored only; no camera operation reads them.
    D3DVECTOR WORLD_MIN_DOWN();
    void WORLD_MIN_DOWN(const D3DVECTOR& v);
    D3DVECTOR WORDL_MAX_UP();
    void WORDL_MAX_UP(const D3DVECTOR& v);

    void SET_camera_DEGRE(const tarko::Variant& ANG_degree);
    void SET_camera_ANY_DEGRE(const tarko::Variant& ANG_degree);
    void Camera_set_ANGy_DEGREE(const tarko::Variant& DEGR);
    void SET_cameraEYE(const D3DVECTOR& xVEC);
    void Camera_set_EYE(const D3DVECTOR& Veye);
    // VEC_to is accepted and has no effect: the angles give the direction.
    void SET_camera(const D3DVECTOR& Vec_From, const tarko::Variant& VEC_to = tarko::Variant::missing());
    // Sets the view from the two points and stores them; raises 91 before start-up.
    void SET_camera_DirectioN(const D3DVECTOR& Vec_From, const D3DVECTOR& VEC_to);

    // The eight moves first keep the eye as the earlier eye, but only when x,
    // y and z all differ from it (a walk on flat ground keeps it).
    void Camera_Move_Left(const tarko::Variant& angle);
    void Camera_Move_Right(const tarko::Variant& angle);
    void Camera_Move_Foward(const tarko::Variant& StepZ);
    void Camera_Move_Backward(const tarko::Variant& StepZ);
    void Camera_Move_UP(const tarko::Variant& angle);     // pitch capped at 3.1459875
    void Camera_Move_DOWN(const tarko::Variant& angle);   // pitch floored at -3.1459875
    void Camera_Elevator_UP(const tarko::Variant& StepY);
    void Camera_Elevator_DOWN(const tarko::Variant& StepY);
    // Sideways step to the right of the heading; the earlier eye becomes the
    // new eye, so REcallCAM does not undo it.
    void CAM_step_RIGHT(const float& Step);
    // Negates Step in the caller's variable, then steps right by it.
    void CAM_step_LEFT(float& Step);
    void REcallCAM();   // the eye back to the earlier eye; angles unchanged
    // Starts a jump (JumpStep up per update until JumpPeak, then down to the
    // take-off height); FLIPP runs it. A call during a jump only updates.
    void CAM_jump();
    // Mouse look: pitch from the relative vertical reads, cursor re-centred
    // when the mouse counts as moved. The heading is left to the host (turn
    // with Camera_Move_Left/Right from Mouse_X): the mouse reference is the
    // window centre while the reads are relative, so no bound on a
    // horizontal turn would mean anything.
    void CAM_CheckMouse();

    D3DVECTOR Get_cam_Forward_VECTOR(const float& Step);
    D3DVECTOR Camara_DEST_Vector(const tarko::Variant& RangleZ, const tarko::Variant& RangleY);
    // A point on the sight line, val along x from the look-at point.
    D3DVECTOR Cam_AXis_transVEC(const float& val);
    // Each component divided by sing; sing 0 raises 11.
    D3DVECTOR VecDIV(const D3DVECTOR& Vc, const tarko::Variant& sing);

    // Object transforms (engine_objects.cpp). Each builds the world matrix
    // from the identity (nothing is added to the matrix in force) and sets it.
    // Rotations in degrees (PIFactor). A Variant that holds no number raises 13.
    void CLearMATRIX();
    void TransFORM(const D3DMATRIX& MATRIXX);
    tarko::Variant OBJECT_scale(const tarko::Variant& Xscal, const tarko::Variant& Yscal, const tarko::Variant& Zscal);
    tarko::Variant OBJECT_move(const tarko::Variant& Xmov, const tarko::Variant& Ymov, const tarko::Variant& Zmov);
    tarko::Variant OBJECT_rotate(const tarko::Variant& Xmov, const tarko::Variant& Ymov, const tarko::Variant& Zmov);
    // Turns to face the camera about y: rotation (0, heading in degrees - 90, 0).
    void OBJECT_use_BILBOARDdeg();
    void OBJECT_Scale_MOV(const tarko::Variant& Xscal, const tarko::Variant& Yscal, const tarko::Variant& Zscal,
                          const tarko::Variant& Xmov, const tarko::Variant& Ymov, const tarko::Variant& Zmov);
    void OBJECT_Scale_Rotate(const tarko::Variant& Xscal, const tarko::Variant& Yscal, const tarko::Variant& Zscal,
                             const tarko::Variant& Xrot, const tarko::Variant& Yrot, const tarko::Variant& Zrot);
    void OBJECT_Scale_Rotate_MOV(const tarko::Variant& Xscal, const tarko::Variant& Yscal,
                                 const tarko::Variant& Zscal, const tarko::Variant& Xrot,
                                 const tarko::Variant& Yrot, const tarko::Variant& Zrot,
                                 const tarko::Variant& Xmov, const tarko::Variant& Ymov,
                                 const tarko::Variant& Zmov);
    // Translation first, then the rotation about the origin.
    void OBJECT_MOV_rotate(const tarko::Variant& Xmov, const tarko::Variant& Ymov, const tarko::Variant& Zmov,
                           const tarko::Variant& Xrot, const tarko::Variant& Yrot, const tarko::Variant& Zrot);
    void OBJECT_Scale_Rotate_MovEX(const D3DVECTOR& Vscal, const D3DVECTOR& Vrot, const D3DVECTOR& Vmov);
    // Box of every element from the lower to the upper bound; sets no
    // transform. An undimensioned array raises 9.
    void OBJECT_getBoundingBOX(const tarko::SafeArray<D3DVERTEX>& lpVert, D3DRMBOX& RETBOX);

private:
    void camera_save_step();
    void world_transform(const D3DMATRIX& m);
    struct CursorRecord {
        tarko::Long x = 0, y = 0;
    };
    CursorRecord CursorPoint;
    float LineSlopeY = 0, LineOffsetY = 0, LineSlopeZ = 0, LineOffsetZ = 0;
    tarko::Long LastMouseX = 0, LastMouseY = 0;
    D3DVECTOR WorldMin, WorldMax;
    std::array<float, 6> WorldBox{};   // min x, max z, max x, min z, min y, max y

public:
    // ---- scene: END

    // ---- render state: BEGIN
    // Render-state recipes (engine_renderstate.cpp). Each sends its whole list
    // of states, in order, every call; nothing checks the device's caps and
    // nothing is cached. Boolean states go as -1 unless a recipe sends 1.
    // "Default stage(n)": COLORARG1 TEXTURE, COLORARG2 DIFFUSE, COLOROP
    // MODULATE, ALPHAOP SELECTARG1, ALPHAARG1 TEXTURE, MINFILTER and
    // MAGFILTER linear, on stage n.
    void USE_default_Blendstage0();                  // default stage(0), dithering on
    void Enable_Blendstage(tarko::Long Stage);       // default stage(Stage)
    // Default stage(0), dithering on, alpha test, blending and specular off, z writes on.
    void USE_default_RENDERSTATE();
    void Set_TextureSTATE(tarko::Long STATE, tarko::Long levelSTATE, tarko::Long Blend_effect);
    void USE_NULLTEXTURE();
    void USE_defaultPROJECTION();                    // the start-up projection again
    // White diffuse and ambient (alpha 0), no specular or emissive, power 1; ambient light white.
    void USE_defaultMaterial();
    void SET_Gamma(float GammaLevel);                // accepted; changes nothing

    void alphaBLEND_1(bool Is_on);                   // colour-keyed additive look (SRCCOLOR, INVSRCCOLOR)
    void Make_Multitexturing();
    void FX_alphaBlend_FrameTransparency(bool Activate = true);
    // Alpha blending with alpha test (ref 8, greater-or-equal) where the device offers it.
    void TransAlpha_Enable();
    void TransAlpha_Disable();

    // Two-stage recipes: TEX1 goes to stage 1 (Nothing when omitted). With
    // Activate False the texture is ignored and the stages are put back.
    void MULTITEXTURE_FX_Dark_Mapping(bool Activate = true, const tarko::Ref<DirectDrawSurface7>& TEX1 = {});
    void MULTITEXTURE_FX_smooth_satur(bool Activate = true, const tarko::Ref<DirectDrawSurface7>& TEX1 = {});
    void MULTITEXTURE_FX_DetailMODULATE(bool Activate = true,
                                        const tarko::Ref<DirectDrawSurface7>& TEX1_stage1 = {});
    void MULTITEXTURE_Normal(const tarko::Ref<DirectDrawSurface7>& Text_LEV_1 = {});
    void MULTITEXTURE_Dark_Diffu_color_ligh(bool Activate = true, const tarko::Ref<DirectDrawSurface7>& TEX1 = {});
    void MULTITEXTURE_Specular_mapping(const tarko::Ref<DirectDrawSurface7>& TEX0 = {},
                                       const tarko::Ref<DirectDrawSurface7>& TEX1 = {});
    void Disable_MULTITEXTURING(tarko::Long Stage);
    void MULTITEXTURING_OFF();                       // stage 1 off, then the default render state
    void Disable_MULTITEXTURE();
    void Disable_FX_blend(tarko::Long Stage);
    void FX_blend_COLOR_lighting(bool Activate = true, tarko::Long STAGE_ = 0);
    // Call once a frame: stage 1 cycles MODULATE, 2X, 4X, unchanged, each for
    // 4 ANIKY calls, and restarts when the counter is exactly 16 ANIKY.
    void FX_blend_COLOR_darking(bool Activate = true, tarko::Long STAGE_ = 0, tarko::Long ANIKY = 100);
    // Stage 0 bump matrix from the angle, each entry rounded to a whole number
    // (so only -1, 0 and 1 reach the device). The result is Empty.
    tarko::Variant MAke_BumpmapinG(double anlge);

    // Lights, materials and fog (engine_lights.cpp).
    D3DCOLORVALUE D3Dcolor(const tarko::Variant& R, const tarko::Variant& G, const tarko::Variant& B,
                           const tarko::Variant& A);
    // Reseeds the generator from Timer, then r, g, b, a in this order.
    D3DCOLORVALUE Create_RND_D3Dcolor();
    // Diffuse and ambient (R, G, B, 0); A is accepted and has no effect.
    D3DMATERIAL7 Create_Material(const tarko::Variant& R, const tarko::Variant& G, const tarko::Variant& B,
                                 const tarko::Variant& A);
    D3DMATERIAL7 Create_Material2(const D3DCOLORVALUE& Difu, const D3DCOLORVALUE& AMB);
    // Sets the material and turns lighting on.
    void SetMaterial(const D3DCOLORVALUE& Difu, const D3DCOLORVALUE& AMB);
    tarko::Variant Set_Light(bool OnN);
    // A point (1) or directional (3) light record, attenuation (1, 1, 0);
    // any other type gives an empty record with that type.
    D3DLIGHT7 Getlight(tarko::Long TYP, const D3DVECTOR& Position, const D3DCOLORVALUE& AMB,
                       const D3DCOLORVALUE& DIFFU, float Rayon, const D3DVECTOR& Directio);
    // Adds a record (point, spot or directional), puts it in the next device
    // slot and enables it; returns the record number. Lighting itself is not
    // switched. A spot light gets falloff 1, an inner cone of pi / 6 and an
    // outer cone of pi / 3 (a third and two thirds of a right angle). The
    // 32768th light raises 6.
    tarko::Integer ADD_light(tarko::Long TYP, const D3DVECTOR& Position, const D3DCOLORVALUE& AMB,
                             const D3DCOLORVALUE& DIFFU, float Rayon, const D3DVECTOR& Directio);
    tarko::Variant LIGHT_enable(const tarko::Variant& Pindex, bool isON);   // then lighting on
    // Moves record Pindex (also used as the device slot) and re-enables it;
    // a record number outside the list, or before any ADD_light, raises 9.
    void LIGHT_Position(const tarko::Variant& Pindex, const D3DVECTOR& Position);
    // The last device slot used, lifted to 0 first when negative.
    tarko::Variant LIGHT_GETFreeINDEX();
    tarko::Variant LIGHT_SetFreeINDEX(const tarko::Variant& FreeIndex);
    // Density at or below 0 (or omitted) keeps the current density; colour
    // and mode are always rewritten.
    void SetFog(bool ON_it, double Density = 0, tarko::Long color = 0, tarko::Long FogMode = 1);
    // Linear fog from FogStart to FogEnd; FOGdensity is not updated.
    void SetFog_EX(const tarko::Variant& FogStart, const tarko::Variant& FogEnd, double Density = 0.001,
                   tarko::Long color = 0);
    void Kill_Fog();

private:
    void default_stage(tarko::Long stage);
    void stage_state(tarko::Long stage, tarko::Long type, tarko::Long value);
    void render_state(tarko::Long state, tarko::Long value);
    void smooth_satur(bool Activate, const tarko::Ref<DirectDrawSurface7>& tex, tarko::Long stage1_op);
    void blend_colour_off(tarko::Long stage);

public:
    // ---- render state: END

    // ---- geometry and collision: BEGIN
    // Textured cubes (engine_geometry.cpp). The builders fill a host-owned
    // array with 24 vertices, elements 0 to 23, one strip of four per face
    // (-z, +z, +y, -y, +x, -x), outward normals, the box centred on the
    // origin; the host places it with a world matrix. The array is
    // redimensioned to upper bound 23 with its contents and lower bound kept:
    // a lower bound below 0 keeps the elements under 0; a lower bound above 0
    // cannot hold element 0 and raises 9 (Subscript out of range) with the
    // array untouched.
    // Edge Size, texture coordinates 0 and 1 on every face.
    void CreateCube(tarko::SafeArray<D3DVERTEX>& Vertices, float Size);
    // Box of size Vsize; TileX and TileY (coerced to Single, 13 when they
    // hold no number, 1 when missing) repeat the texture along each face's
    // first direction and from its top.
    void CreateCubeEX(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& Vsize,
                      const tarko::Variant& TileX = tarko::Variant(tarko::Integer(1)),
                      const tarko::Variant& TileY = tarko::Variant(tarko::Integer(1)));
    // Six triangle strips of 4 D3DVERTEX from the elements 0, 4, 8, 12, 16
    // and 20, flags 0. Sets no texture and no state. A missing start element
    // raises 9 after the faces before it are drawn; a short last face is cut
    // to the vertices the array holds.
    void RenderCUBE(const tarko::SafeArray<D3DVERTEX>& VERTIK);

    // Planes and the shaded auxiliary cube (engine_planes.cpp). The D3DLVERTEX
    // builders shade eight colours Ci = Int(R f) + 256 Int(G f) + 65536
    // Int(B f), f = 0.8, 1, 0.5, 1, 0.15, 0.45, 0.35, 0.65, specular 0; tu
    // and tv take 0, Xtile and Ytile. Arrays are redimensioned with their
    // contents kept, as the cube builders do.
    // Upper bound 7. Equal z, then equal y, then equal x: each that holds
    // writes all eight vertices, the last wins; none writes nothing. Equal x
    // puts the second strip 0.5 further along +x.
    void Make_PlaneSURF(tarko::SafeArray<D3DLVERTEX>& VER, const D3DVECTOR& Vec_From, const D3DVECTOR& VEC_to,
                        tarko::Long R, tarko::Long G, tarko::Long B, tarko::Long Xtile, tarko::Long Ytile);
    // Upper bound 47: six such planes around Vec_From..Vec_From + VEC_SIZE
    // (z = Z0, Z1, y = Y0, Y1, x = X0, X1), whatever the size.
    void MakeAux_SolidCUBE(tarko::SafeArray<D3DLVERTEX>& VER, const D3DVECTOR& Vec_From, const D3DVECTOR& VEC_SIZE,
                           tarko::Long R, tarko::Long G, tarko::Long B, tarko::Long Xtile, tarko::Long Ytile);
    // Upper bound 3: the quad at y = +Vsize.y / 2, normal +y (floor), or at
    // y = -Vsize.y / 2, normal -y (ceiling), centred on the origin.
    void Create_PlaneSurf(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& Vsize,
                          const tarko::Variant& TileX = tarko::Variant(tarko::Integer(1)),
                          const tarko::Variant& TileY = tarko::Variant(tarko::Integer(1)));
    void Create_Roof_Surf(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& Vsize,
                          const tarko::Variant& TileX = tarko::Variant(tarko::Integer(1)),
                          const tarko::Variant& TileY = tarko::Variant(tarko::Integer(1)));
    // One strip of Count D3DLVERTEX from element 0, flags D3DDP_WAIT. Count
    // is passed on as it is; element 0 missing raises 9.
    void Render_surf(const tarko::SafeArray<D3DLVERTEX>& PLA, tarko::Long Count = 8);
    // Six strips of 8 from 0, 8, .., 40, flags D3DDP_WAIT; 9 at the first missing start.
    void Render_AUXcube(const tarko::SafeArray<D3DLVERTEX>& PLA);
    // One strip of 4 D3DVERTEX from element 0, flags 0.
    void RenderPlane_SURF(const tarko::SafeArray<D3DVERTEX>& VERTIK);

    // Constructions (engine_constructions.cpp): corners A = vPOS and B = vPOS
    // + Vsize; ORIENTATION (TARKO_CONSTRUCTION_CONST) picks the quads.
    // RETBOX = (A, B) for every value; 7 to 10 and unknown values leave the
    // array as it was.
    void Create_CONSTUCTION(tarko::SafeArray<D3DVERTEX>& Vertices, const D3DVECTOR& vPOS, const D3DVECTOR& Vsize,
                            D3DRMBOX& RETBOX, tarko::Long ORIENTATION,
                            const tarko::Variant& TileX = tarko::Variant(tarko::Integer(1)),
                            const tarko::Variant& TileY = tarko::Variant(tarko::Integer(1)));
    D3DRMBOX GetBOX(const D3DVECTOR& Vec_MIN, const D3DVECTOR& Vec_MAX);
    // alphaBLEND_1(False) and USE_defaultMaterial, then strips of 4 from 0,
    // 4, 8, 12 (11: floor and ceiling, each with its texture when given;
    // 7 to 10: nothing). TEXTURE_MUR is accepted and not used.
    void Render_CONSTRUCTION(const tarko::SafeArray<D3DVERTEX>& VERTIK, tarko::Long ORIENTATION,
                             const tarko::Ref<DirectDrawSurface7>& TEXTURE_SOL = {},
                             const tarko::Ref<DirectDrawSurface7>& TEXTURE_ROOF = {},
                             const tarko::Ref<DirectDrawSurface7>& TEXTURE_MUR = {});
    // IN_BLOX: inside the box (x, z within STEPcol, y strictly) and within
    // STEPcol of a named wall; OUTTER_BLOX (single walls only): within STEPcol
    // of the wall's plane or beyond. STEPcol holding no number raises 13.
    bool Colision_BOX(const D3DVECTOR& vPOS, const D3DRMBOX& BOX, tarko::Long BOX_type, tarko::Long IN_box = IN_BLOX,
                      const tarko::Variant& STEPcol = tarko::Variant(tarko::Integer(5)));

    // External cube list (engine_extern_cubes.cpp). Each addition grows the
    // list to upper bound ExternCubeCount (one spare entry) and returns the
    // new index; the 32768th addition raises 6. R, G and B are accepted and
    // not used. A texture file is read by CreateTextureEX(TEXT_file, 64, 64);
    // if that fails, the entry stays added and the error goes to the caller.
    tarko::Integer ADD_cubeEXTERN_face(const D3DVECTOR& Origin, const D3DVECTOR& Size, tarko::Long R, tarko::Long G,
                                       tarko::Long B, const std::string& TEXT_file = {},
                                       const tarko::Variant& TileX = tarko::Variant(tarko::Integer(1)),
                                       const tarko::Variant& TileY = tarko::Variant(tarko::Integer(1)));
    // Sets the entry's texture when it has a file; with UseCamColision an eye
    // with XMin - 5 <= x < XMax + 5 and ZMin - 5 <= z < ZMax + 5 sets
    // Colision_CUBE and goes back to the last eye (REcallCAM); TYPvertex 0
    // draws the cube moved to its centre, then clears the world matrix. An
    // index outside the list raises 9.
    void Render_EXTERNcube(const tarko::Variant& Pindex, bool UseCamColision = false,
                           tarko::Long TYPvertex = vertex_TYPE);

    // Sphere and sphere mapping (engine_sphere_terrain.cpp). n = dwNumRings:
    // n (2n + 1) + 2 vertices and 12 n^2 indices, both arrays redimensioned
    // from 0 without keeping their contents. 0 raises 11, a negative count 9,
    // more than 127 rings 6.
    void CreateSphere(tarko::SafeArray<D3DVERTEX>& pVertices, tarko::Long& pdwNumVertices,
                      tarko::SafeArray<tarko::Integer>& pIndices, tarko::Long& pdwNumIndices, float fRadius,
                      tarko::Long dwNumRings);
    // Texture coordinates from the normals seen through world x view, for the
    // vertices that face the viewer (z' <= 0); the others keep theirs. True.
    bool Create_SPHEREmap(tarko::SafeArray<D3DVERTEX>& lpVERTEX);

    // Random terrain and vertex editing (engine_sphere_terrain.cpp). The grid
    // runs W = Int(CInt(|dx|) / XPrecision) columns along +x from Vec_From and
    // H rows along +z; one Rnd per point (the generator is not reseeded), the
    // rim flat, the inside 0..39 steps of YFactor up. Vertices 1..W H, upper
    // bound W H + 1; indices from 1, upper bound 6 (W - 1)(H - 1). A precision
    // of 0 raises 11. RDOM is accepted and not used.
    tarko::Variant Load_Random_Terrain(const D3DVECTOR& Vec_From, const D3DVECTOR& VEC_to,
                                       tarko::SafeArray<D3DLVERTEX>& VertexX, tarko::SafeArray<tarko::Integer>& IndEXX,
                                       const tarko::Variant& XPrecision, const tarko::Variant& ZPrecision,
                                       const tarko::Variant& YFactor, float tu, float tv, tarko::Integer RDOM = 1000);
    // Positions only, every element; an array never dimensioned raises 9.
    tarko::Variant MOVe_Vertext(tarko::SafeArray<D3DVERTEX>& OBJvert, double TransX, double TransY, double TransZ);
    // A shift by (cos Xangle, sin Yangle, sin Zangle), not a turn.
    tarko::Variant Rotate_Vertext(tarko::SafeArray<D3DVERTEX>& OBJvert, const tarko::Variant& Xangle,
                                  const tarko::Variant& Yangle, const tarko::Variant& Zangle);
    // (x + |x - TransX|, y + |y - TransY|, z + |z - TransZ|).
    tarko::Variant SET_VERTEXT_position(tarko::SafeArray<D3DVERTEX>& OBJvert, float TransX, float TransY,
                                        float TransZ);
    // Every vertex at (TransX, TransY, TransZ).
    tarko::Variant SET_LVERTEXT_position(tarko::SafeArray<D3DLVERTEX>& OBJvert, float TransX, float TransY,
                                         float TransZ);
    tarko::Variant SCALEvertex(tarko::SafeArray<D3DVERTEX>& OBJvert, float TransX, float TransY, float TransZ);
    tarko::Variant SCALElvertex(tarko::SafeArray<D3DLVERTEX>& OBJvert, float TransX, float TransY, float TransZ);

    // Collision operations (collision/engine_collision.cpp). Vertices are
    // read as they stand: no world matrix. An array never dimensioned, or too
    // short for its step, raises 9 at the first missing vertex.
    // True at the first triangle (i, i + 1, i + 2) the ray misses; False when
    // it hits them all, or there are none.
    bool ISnot_Colision(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& origine,
                        const D3DVECTOR& Direction);
    // Pairs (i, i + 1), i in steps of 4: True when origine lies exactly on the
    // pair's line in y or in z, each seen as a function of x. A pair with
    // equal x raises 11.
    bool COLISON_on(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& origine);
    // Pairs (i, i + 1), i in steps of 2, in the XZ plane, in doubles: POSme
    // within 3 of the segment (a + b < c^2 first).
    bool Colision_VERTEX(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& POSme);
    bool Colision_LVERTEX(const tarko::SafeArray<D3DLVERTEX>& OBJvert, const D3DVECTOR& POSme);
    // Moeller-Trumbore, two-sided, det within 1e-4 misses. Dir is used as it
    // is (not normalised): T counts in lengths of Dir. U and v are written as
    // soon as known, T only on a hit. 1 hit, 0 no hit.
    tarko::Byte RayCollision(const D3DVECTOR& orig, const D3DVECTOR& Dir, const D3DVECTOR& vert0,
                             const D3DVECTOR& Vert1, const D3DVECTOR& Vert2, double& T, double& U, double& v);
    // The distance, in double.
    double getdist3d(const D3DVECTOR& sphere2, const D3DVECTOR& sphere1);
    // Both radii become 15 (in the caller's variables too); True when the
    // distance, as a Single, is at most 30.
    bool CheckSphereCollision(const D3DVECTOR& object1, const D3DVECTOR& object2, float& Sphere1Radius,
                              float& Sphere2Radius);

private:
    // One entry of the external cube list.
    struct ExternCube {
        tarko::SafeArray<D3DVERTEX> Vertices;       // CreateCubeEX, centred on the origin
        D3DVECTOR Center;                           // Origin + Size / 2
        tarko::Ref<DirectDrawSurface7> Texture;     // only when a file was named
        std::string TextureFile;
        float XMin = 0, ZMax = 0, XMax = 0, ZMin = 0;
    };
    tarko::SafeArray<ExternCube> ExternCubes;   // upper bound ExternCubeCount; erased by FreeDX
    tarko::Integer ExternCubeCount = 0;          // kept by FreeDX

public:
    // ---- geometry and collision: END

    // ---- reports and device dialog: BEGIN
    // Capability reports (engine_reports.cpp). Each asks the draw object or
    // the device afresh; before start-up each raises 91 (object not set),
    // Engine_Version aside.
    tarko::Long FreeVideo_MEMORY();              // getFreeMem(DDSCAPS_VIDEOMEMORY)
    tarko::Long INFO_FreeMemory();               // the hardware caps' free video memory
    std::string INFO_videoFREE();                // the same number in decimal
    // "Zbuffer bit deph: " then "16", ", 24", ", 32" for each depth offered.
    std::string INFO_ZbufferBIT();
    // More than one blend stage and simultaneous texture, and MODULATE.
    bool INFO_MULTI_texturingOK();
    // "Multitexturing OK", LF, the two counts (Str) after their labels; else
    // "Multitexturing unAVAILABLE" and LF.
    std::string INFO_MULTI_texturing();
    float Engine_Version();                      // 1.03, at any time
    // "CAPABILITIES : Surface lCaps :  " and the hardware caps' surface caps
    // (ddsCaps.lCaps) in decimal.
    std::string INFO_SufaceCAPS1();
    // "// BLEND CAPS // ", two CR LF, then one line (CR LF ended) per source
    // and destination blend cap the triangles offer.
    std::string INFO_TAG_CAPS();

    // Device dialog (engine_dialog.cpp, engine/device_dialog.h): fills the
    // "Select DRIVERS" form and shows it modally; OK starts the engine with
    // Initialize_EngineEX. Returns Empty when the form is gone.
    tarko::Variant INIT_ShowDialog(tarko::Long Hand);

private:
    DDCAPS hardware_caps();
    D3DDEVICEDESC7 device_caps();

public:
    // ---- reports and device dialog: END

    // ---- screen effects (engine_effects.cpp): full-screen overlays drawn
    // between the host's beginScene and endScene; they need an open device.
    // Adds colour over the whole viewport (a TL strip, blend ONE/ONE, no
    // texture), then alphaBLEND_1(False): blending is off afterwards.
    void Flashing(tarko::Long color);
    // Black with a random alpha over the screen, added: the frame does not
    // change. Activate is accepted and has no effect.
    void FaDE_IN(bool Activate = true);
    // Lets every rain vertex fall by Int(Rnd x 50) and draws the drops, each a
    // strip of eight vertices, under a blue-grey material (lighting on); a
    // vertex at or below the floor starts again at the top. Nothing falls
    // before RAIN_Setup has made drops.
    tarko::Variant RENDER_RAIN();
    // The sky texture: Nothing, as no operation sets it.
    tarko::Ref<DirectDrawSurface7> Ciel_TEXTURE() const;
    // Makes `Drops` rain drops for RENDER_RAIN (0 removes them), placed at
    // random (Rnd) over the Width x Depth rectangle centred on (Centre.x,
    // Centre.z), each a vertical ribbon `DropLength` long and `DropWidth`
    // wide whose top lies between Floor and Top. Each drop is a strip of
    // eight D3DVERTEX running down its two edges, normals up, so RainCount is
    // 8 x Drops. Raises 5 for a negative count, a Top not above Floor or a
    // negative size, 6 for more than 65535 drops.
    void RAIN_Setup(tarko::Long Drops, const D3DVECTOR& Centre, float Width, float Depth, float Floor, float Top,
                    float DropLength = 8.0f, float DropWidth = 0.5f);
    // The rain vertices as they stand, the first at index 0.
    const std::vector<D3DVERTEX>& RAIN_Vertices() const { return RainVertices; }

private:
    std::array<D3DTLVERTEX, 5> FlashQuad{};   // elements 1 to 4 used
    std::vector<D3DVERTEX> RainVertices;
    tarko::Long RainCount = 0;
    float RainFloor = 0, RainTop = 0;
    tarko::Ref<DirectDrawSurface7> SkyTexture;
    void build_flash_quad(tarko::Long colour);
    void draw_flash_quad();

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

    // Lights
    tarko::SafeArray<D3DLIGHT7> LightRecords;
    tarko::Integer LightCount = 0;
    tarko::Integer NextLightIndex = 0;
};
