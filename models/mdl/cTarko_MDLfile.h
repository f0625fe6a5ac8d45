// cTarko_MDLfile: an animated actor, a studio model ("IDST": skeleton, bone
// controllers, sequences, 8-bit textures) or a frame model ("IDP2"). The host
// loads it once, places it, and calls Render every frame after Clear_3D; the
// object keeps the engine object given to Load_MDL for that.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "models/md2/md2.h"
#include "models/mdl/studio_file.h"
#include "models/mdl/studio_pose.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

namespace tarko::mesh { class ActorMesh; }

class cTarko_MDLfile {
public:
    cTarko_MDLfile();
    ~cTarko_MDLfile();
    cTarko_MDLfile(const cTarko_MDLfile&) = delete;
    cTarko_MDLfile& operator=(const cTarko_MDLfile&) = delete;

    // Angles in radians to a quaternion (scalar first).
    void AngleQuaternion(const D3DVECTOR& angles, D3DRMQUATERNION& quaternion);
    // Spherical blend of q1 and q2 at S (0 gives q1) into Q, the short way
    // round; the result stays empty.
    tarko::Variant QuaternionSlerp(const D3DRMQUATERNION& q1, const D3DRMQUATERNION& q2, float S,
                                   D3DRMQUATERNION& Q);
    // Writes the nine rotation cells of Matrix; the others keep their values.
    void QuaternionMatrix(const D3DRMQUATERNION& quaternion, D3DMATRIX& Matrix);
    // Frame models: the texture Render binds from now on, made with
    // CreateTextureEX(TextureFileName, 256, 256) of the engine object given
    // to Load_MDL (Object not set, 91, before). The result is always False.
    bool Load_MD2mainTexture(const std::string& TextureFileName);
    // The ground shadow of a studio model (2 units above its position,
    // flattened along z, not scaled).
    void EnableShadowing(bool OnOff);
    // The frame count of sequence Index as a Long. Subscript out of range (9)
    // when there is no such sequence (and always on a frame model).
    tarko::Variant GetSequenceNumframes(const tarko::Variant& Index);
    // Every sequence label, 32 characters each, from 0. Index is unused.
    // Subscript out of range (9) on a frame model or without sequences.
    tarko::SafeArray<std::string> GetSequenceNameArray(const tarko::Variant& Index);
    // Loads a studio or frame model, dispatching on the first 4 bytes; any
    // other file (or a missing one) changes nothing. A damaged studio file
    // gives a partly filled object, without a message; its textures are read
    // whatever LoadTextures says.
    void Load_MDL(const std::string& filename, tarko_DX7& cDX7, bool LoadTextures = true);
    // Advances, poses and draws the actor through the engine of Load_MDL.
    // USE_inFileTexture matters for frame models only: False leaves stage 0
    // as the host set it. With nothing loaded it raises Subscript out of range.
    void Render(bool USE_inFileTexture = true);
    // Each mouth controller (index above 3) to PercentVal / 100 x 64.
    void MDL_MouthControllerAssign(float PercentVal);
    void SetPosition(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    // Subscript out of range (9) without controllers.
    tarko::Integer MDL_GetNumPartController();
    // Studio models: the raw value of controller Index (0 to 255 across its
    // range; wrapping controllers 256 a turn); an Index outside the table
    // changes nothing.
    void MDL_AssignController(tarko::Integer Index, float VALUE);
    void SetRotation(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);  // degrees
    // All zero until set: an actor without a scale draws collapsed at its position.
    void SetScale(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    // Studio models: a factor on the sequence's rate (0 until set). Frame
    // models: frames per second (1 after loading).
    void SetSpeed(float Speed);
    // Studio models: sequence AnimationIndex from frame 1.0, at the next Render.
    // Frame models: animation AnimationIndex, or -1 for every frame.
    void SetAnimation(tarko::Integer AnimationIndex);
    // The first sequence or animation whose name holds the text, ignoring case.
    void SetAnimationName(const std::string& AnimationName);
    // 1 when each component differs by less than D, else 0.
    tarko::Integer VCompare3(const D3DVECTOR& V1, const D3DVECTOR& V2, float D);

    // ---- for tools and tests
    tarko::Integer model_kind() const { return ModelKind; }
    const tarko::mdl::StudioModel& studio() const { return studio_; }
    const tarko::mdl::StudioPlay& play() const { return play_; }
    const tarko::md2::Md2Data& frame_model() const { return md2_; }
    // Texture i's surface (Nothing when it has none).
    tarko::Ref<DirectDrawSurface7> texture_surface(std::size_t i) const;
    struct Bounds {
        bool known = false;
        D3DVECTOR min, max, centre;
        float radius = 0;
    };
    const Bounds& bounds() const { return bounds_; }
    // Puts the play position at `frame`: of the sequence on a studio model, from
    // the first frame of the range on a frame model (tools showing a chosen
    // frame run with speed 0, so Render keeps it there).
    void set_frame(float frame);

private:
    void read_studio_textures(tarko_DX7& engine);
    void render_studio();
    void render_frames(bool USE_inFileTexture);

    tarko::Integer ModelKind = 0;
    tarko_DX7* EngineRef = nullptr;
    std::string FileName;
    tarko::mdl::StudioModel studio_;
    tarko::mdl::StudioPlay play_;            // AnimSpeed also paces a frame model
    tarko::md2::Md2Data md2_;
    std::vector<tarko::Integer> SkinSlots;
    std::vector<tarko::Ref<DirectDrawSurface7>> SurfaceTable;  // 0..1024, 0 stays free
    std::vector<std::string> SurfaceNames;
    std::vector<tarko::Integer> SelectedModels;  // per body part

    D3DVECTOR ActorPosition, ActorRotation, ActorScale;
    bool ShadowEnabled = false;
    Bounds bounds_;
    tarko::Ref<DirectDrawSurface7> MainTexture;
    bool HasMainTexture = false;
    tarko::Long ActorSlot = 0;
    // The library's private Mesh that every actor takes when created (no model
    // geometry goes into it); its record is freed when the actor goes.
    std::unique_ptr<tarko::mesh::ActorMesh> ActorMesh_;

    // Render's scratch, kept so that a frame allocates nothing.
    std::vector<D3DVECTOR> skinned_;
    std::vector<D3DLVERTEX> vertices_;
};
