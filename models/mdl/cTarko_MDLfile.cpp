// cTarko_MDLfile: loading (the reader's model plus the texture surfaces), the
// host's settings, and the dispatch of Render.
#include "models/mdl/cTarko_MDLfile.h"

#include "mesh/actor_mesh.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>

#include "platform/constants.h"
#include "runtime/errors.h"
#include "runtime/files.h"
#include "runtime/services.h"

using tarko::Integer;
using tarko::Long;
using tarko::Variant;

namespace {

// The actor slots of all objects: one each, the first free from 1 up.
std::array<bool, 4097>& actor_slots() {
    static std::array<bool, 4097> slots{};
    return slots;
}

std::string upper(std::string s) {
    for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

tarko::mdl::Bytes read_or_empty(const std::string& name) {
    try {
        return tarko::runtime::read_file_or_empty(name);
    } catch (const tarko::RuntimeError&) {
        return {};
    }
}

}  // namespace

cTarko_MDLfile::cTarko_MDLfile() : SurfaceTable(1025), SurfaceNames(1025) {
    auto& slots = actor_slots();
    for (Long i = 1; i < static_cast<Long>(slots.size()); ++i)
        if (!slots[static_cast<std::size_t>(i)]) {
            slots[static_cast<std::size_t>(i)] = true;
            ActorSlot = i;
            break;
        }
    try {
        ActorMesh_ = std::make_unique<tarko::mesh::ActorMesh>();
    } catch (...) {
        if (ActorSlot) actor_slots()[static_cast<std::size_t>(ActorSlot)] = false;
        throw;
    }
}

cTarko_MDLfile::~cTarko_MDLfile() {
    if (ActorSlot) actor_slots()[static_cast<std::size_t>(ActorSlot)] = false;
}

void cTarko_MDLfile::AngleQuaternion(const D3DVECTOR& angles, D3DRMQUATERNION& quaternion) {
    quaternion = tarko::mdl::angle_quaternion(angles);
}

Variant cTarko_MDLfile::QuaternionSlerp(const D3DRMQUATERNION& q1, const D3DRMQUATERNION& q2, float S,
                                        D3DRMQUATERNION& Q) {
    Q = tarko::mdl::quaternion_slerp(q1, q2, S);
    return {};
}

void cTarko_MDLfile::QuaternionMatrix(const D3DRMQUATERNION& quaternion, D3DMATRIX& Matrix) {
    tarko::mdl::quaternion_matrix(quaternion, Matrix);
}

bool cTarko_MDLfile::Load_MD2mainTexture(const std::string& TextureFileName) {
    if (!EngineRef) tarko::raise_error(tarko::err::ObjectNotSet);
    MainTexture = EngineRef->CreateTextureEX(TextureFileName, 256, 256);
    HasMainTexture = true;
    return false;
}

void cTarko_MDLfile::EnableShadowing(bool OnOff) { ShadowEnabled = OnOff; }

Variant cTarko_MDLfile::GetSequenceNumframes(const Variant& Index) {
    if (ModelKind != 1) tarko::raise_error(tarko::err::SubscriptOutOfRange);
    const Long i = Index.to_long();
    if (i < 0 || static_cast<std::size_t>(i) >= studio_.Sequences.size())
        tarko::raise_error(tarko::err::SubscriptOutOfRange);
    return Variant(studio_.Sequences[static_cast<std::size_t>(i)].frame_count);
}

tarko::SafeArray<std::string> cTarko_MDLfile::GetSequenceNameArray(const Variant&) {
    if (ModelKind != 1 || studio_.Sequences.empty()) tarko::raise_error(tarko::err::SubscriptOutOfRange);
    tarko::SafeArray<std::string> names(0, static_cast<Long>(studio_.Sequences.size()) - 1);
    for (std::size_t i = 0; i < studio_.Sequences.size(); ++i)
        names(static_cast<Long>(i)) = studio_.Sequences[i].label;
    return names;
}

void cTarko_MDLfile::Load_MDL(const std::string& filename, tarko_DX7& cDX7, bool) {
    EngineRef = &cDX7;
    FileName = filename;
    tarko::mdl::Bytes file = read_or_empty(filename);
    if (tarko::md2::is_md2(file)) {
        // The frame model reader stops at its first error; the object becomes a
        // frame model once the triangles are in (what came before stays).
        if (file.size() >= tarko::md2::kHeaderSize) play_.AnimSpeed = 1.0f;
        if (tarko::md2::read_md2(file, md2_).loaded) ModelKind = 2;
        return;
    }
    if (!tarko::mdl::is_studio(file)) return;

    ModelKind = 1;
    studio_ = tarko::mdl::read_studio(std::move(file), filename, read_or_empty);
    read_studio_textures(cDX7);
    SelectedModels.assign(studio_.BodyParts.size(), 0);
    const float speed = play_.AnimSpeed;
    play_ = {};
    play_.AnimSpeed = speed;
    tarko::mdl::start_play(studio_, play_);
    try {
        play_.LastTick = static_cast<float>(cDX7.DX_7->tickCount());
    } catch (const tarko::RuntimeError&) {
    }
}

// Each texture painted onto a 256 x 256 work surface, then stretched onto a
// surface of its rounded size in the next free slot. The painting writes the
// pixels as a device context's SetPixel would (the surface's format, alpha
// bits 0), without a call per pixel.
void cTarko_MDLfile::read_studio_textures(tarko_DX7& engine) {
    SkinSlots.assign(studio_.Textures.size(), 0);
    if (studio_.Textures.empty()) return;
    tarko::Ref<DirectDrawSurface7> work;
    try {
        work = engine.CreateTexture("", 256, 256);
    } catch (const tarko::RuntimeError&) {
        return;
    }
    if (!work) return;
    for (std::size_t i = 0; i < studio_.Textures.size(); ++i) {
        const tarko::mdl::TextureRecord& t = studio_.Textures[i];
        const tarko::mdl::TexturePixels& picture = studio_.TexturePictures[i];
        if (!picture.read) continue;  // no pixels, no surface: the mesh draws untextured
        {
            DirectDrawSurface7& w = *work;
            const int cols = std::min<Long>(t.width, w.width()), rows = std::min<Long>(t.height, w.height());
            for (int y = 0; y < rows; ++y)
                for (int x = 0; x < cols; ++x) {
                    const std::size_t k = picture.indices[static_cast<std::size_t>(y) * static_cast<std::size_t>(t.width) +
                                                          static_cast<std::size_t>(x)];
                    const std::uint32_t rgb = static_cast<std::uint32_t>(picture.palette[3 * k]) << 16 |
                                              static_cast<std::uint32_t>(picture.palette[3 * k + 1]) << 8 |
                                              picture.palette[3 * k + 2];
                    w.set_raw(x, y, w.format().from_rgb_no_alpha(rgb));
                }
            w.touch();
        }
        const Long width = tarko::mdl::texture_side(t.width), height = tarko::mdl::texture_side(t.height);
        std::size_t slot = 1;
        while (slot < SurfaceNames.size() && !SurfaceNames[slot].empty()) ++slot;
        if (slot >= SurfaceNames.size()) continue;  // past 1024 textures: skipped
        try {
            tarko::Ref<DirectDrawSurface7> surface = engine.CreateTexture("", width, height);
            SurfaceNames[slot] = t.name.empty() ? std::string(1, ' ') : t.name;
            SurfaceTable[slot] = surface;
            SkinSlots[i] = static_cast<Integer>(slot);
            surface->blt(RECT{}, work, RECT{0, 0, t.width - 1, t.height - 1}, dx::DDBLT_WAIT);
        } catch (const tarko::RuntimeError&) {
        }
    }
}

tarko::Ref<DirectDrawSurface7> cTarko_MDLfile::texture_surface(std::size_t i) const {
    if (i >= SkinSlots.size() || SkinSlots[i] <= 0) return {};
    return SurfaceTable[static_cast<std::size_t>(SkinSlots[i])];
}

void cTarko_MDLfile::MDL_MouthControllerAssign(float PercentVal) {
    if (ModelKind != 1) return;
    for (std::size_t j = 0; j < studio_.BoneControllers.size(); ++j)
        if (studio_.BoneControllers[j].index > 3)
            MDL_AssignController(static_cast<Integer>(j), static_cast<float>(PercentVal / 100.0 * 64));
}

void cTarko_MDLfile::SetPosition(const Variant& X, const Variant& Y, const Variant& z) {
    ActorPosition = {X.to_single(), Y.to_single(), z.to_single()};
}
void cTarko_MDLfile::SetRotation(const Variant& X, const Variant& Y, const Variant& z) {
    ActorRotation = {X.to_single(), Y.to_single(), z.to_single()};
}
void cTarko_MDLfile::SetScale(const Variant& X, const Variant& Y, const Variant& z) {
    ActorScale = {X.to_single(), Y.to_single(), z.to_single()};
}

Integer cTarko_MDLfile::MDL_GetNumPartController() {
    if (ModelKind != 1 || studio_.BoneControllers.empty()) tarko::raise_error(tarko::err::SubscriptOutOfRange);
    return static_cast<Integer>(std::min<std::size_t>(studio_.BoneControllers.size(), 32767));
}

void cTarko_MDLfile::MDL_AssignController(Integer Index, float VALUE) {
    if (ModelKind != 1 || Index < 0 || static_cast<std::size_t>(Index) >= play_.ControllerValues.size()) return;
    play_.ControllerValues[static_cast<std::size_t>(Index)] = VALUE;
}

void cTarko_MDLfile::SetSpeed(float Speed) { play_.AnimSpeed = Speed; }

void cTarko_MDLfile::SetAnimation(Integer AnimationIndex) {
    if (ModelKind == 1) {
        play_.AnimFrame = 1.0f;
        play_.AnimSequence = AnimationIndex;
    } else if (ModelKind == 2) {
        tarko::md2::set_animation(md2_, AnimationIndex);
    }
}

void cTarko_MDLfile::set_frame(float frame) {
    if (ModelKind == 2) md2_.FramePosition = md2_.FirstPlayFrame + frame;
    else play_.AnimFrame = frame;
}

void cTarko_MDLfile::SetAnimationName(const std::string& AnimationName) {
    const std::string wanted = upper(AnimationName);
    if (ModelKind == 1) {
        for (std::size_t i = 0; i < studio_.Sequences.size(); ++i)
            if (upper(studio_.Sequences[i].label).find(wanted) != std::string::npos) {
                SetAnimation(static_cast<Integer>(i));
                return;
            }
    } else if (ModelKind == 2) {
        if (const auto found = tarko::md2::find_animation(md2_, AnimationName))
            SetAnimation(static_cast<Integer>(*found));
    }
}

Integer cTarko_MDLfile::VCompare3(const D3DVECTOR& V1, const D3DVECTOR& V2, float D) {
    const bool close = std::fabs(static_cast<double>(V1.x) - V2.x) < D && std::fabs(static_cast<double>(V1.y) - V2.y) < D &&
                       std::fabs(static_cast<double>(V1.z) - V2.z) < D;
    return close ? 1 : 0;
}
