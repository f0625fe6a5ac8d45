// Render of cTarko_MDLfile: the actor's vertices are transformed on the host
// into pre-lit triangle lists, one draw per mesh, no index list.
#include <cmath>

#include "models/mdl/cTarko_MDLfile.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "runtime/errors.h"
#include "runtime/services.h"

using tarko::Integer;
using tarko::Long;
using tarko::Variant;

namespace {

D3DMATRIX identity() {
    D3DMATRIX m;
    tarko::dxmath::identityMatrix(m);
    return m;
}

// The flattening shadow: scale (1, 1, 0), the rotations X, Y, Z (degrees;
// an angle of exactly 0 is skipped), then the position lifted by 2.
D3DMATRIX shadow_matrix(const D3DVECTOR& rotation, const D3DVECTOR& position) {
    D3DMATRIX m = identity();
    m.rc33 = 0;
    const auto then = [&](const D3DMATRIX& r) {
        D3DMATRIX out;
        tarko::dxmath::matrixMultiply(out, m, r);
        m = out;
    };
    const float angles[3] = {rotation.x, rotation.y, rotation.z};
    for (int axis = 0; axis < 3; ++axis) {
        if (angles[axis] == 0) continue;
        const double a = angles[axis] * (3.141592653 / 180);
        const float c = static_cast<float>(std::cos(a)), s = static_cast<float>(std::sin(a));
        D3DMATRIX r = identity();
        if (axis == 0) r.rc22 = c, r.rc33 = c, r.rc32 = s, r.rc23 = -s;
        if (axis == 1) r.rc11 = c, r.rc33 = c, r.rc13 = s, r.rc31 = -s;
        if (axis == 2) r.rc11 = c, r.rc22 = c, r.rc21 = s, r.rc12 = -s;
        then(r);
    }
    D3DMATRIX t = identity();
    t.rc41 = position.x;
    t.rc42 = static_cast<float>(static_cast<double>(position.y) + 2.0);
    t.rc43 = position.z;
    then(t);
    return m;
}

}  // namespace

void cTarko_MDLfile::Render(bool USE_inFileTexture) {
    if (ModelKind == 1) render_studio();
    else render_frames(USE_inFileTexture);
}

// Frame models, and objects with nothing loaded (whose empty frame table
// raises Subscript out of range from the vertex build).
void cTarko_MDLfile::render_frames(bool USE_inFileTexture) {
    if (!EngineRef) tarko::raise_error(tarko::err::SubscriptOutOfRange);
    tarko_DX7& engine = *EngineRef;
    const Long white = engine.DX_7->createColorRGBA(1, 1, 1, 1);
    Direct3DDevice7& dev = *engine.D3D_DEV;
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    engine.OBJECT_Scale_Rotate_MOV(Variant(ActorScale.x), Variant(ActorScale.y), Variant(ActorScale.z),
                                   Variant(ActorRotation.x), Variant(ActorRotation.y), Variant(ActorRotation.z),
                                   Variant(ActorPosition.x), Variant(ActorPosition.y), Variant(ActorPosition.z));
    const tarko::md2::Blend blend = tarko::md2::advance(md2_, play_.AnimSpeed, engine.ElapseFrame());
    tarko::md2::build_md2_vertices(md2_, blend, white, vertices_);
    if (HasMainTexture) dev.setTexture(0, MainTexture);
    else if (USE_inFileTexture) dev.setTexture(0, {});
    dev.drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_LVERTEX, std::span(vertices_),
                      static_cast<Long>(vertices_.size()), 0);
}

void cTarko_MDLfile::render_studio() {
    tarko_DX7& engine = *EngineRef;
    DirectX7& root = *engine.DX_7;
    tarko::mdl::advance(studio_, play_, root.tickCount(), root.tickCount());

    const D3DMATRIX shadow = shadow_matrix(ActorRotation, ActorPosition);
    engine.OBJECT_Scale_Rotate_MOV(Variant(ActorScale.x), Variant(ActorScale.y), Variant(ActorScale.z),
                                   Variant(ActorRotation.x), Variant(ActorRotation.y), Variant(ActorRotation.z),
                                   Variant(ActorPosition.x), Variant(ActorPosition.y), Variant(ActorPosition.z));
    Direct3DDevice7& dev = *engine.D3D_DEV;
    D3DMATRIX world;
    dev.getTransform(dx::D3DTRANSFORMSTATE_WORLD, world);

    D3DVECTOR lo{9999, 9999, 9999}, hi{-9999, -9999, -9999};
    if (bounds_.known) {
        const Long status = dev.computeSphereVisibility(bounds_.centre, bounds_.radius);
        if (status & 0xFFF000) return;  // wholly outside a clip plane
    }

    tarko::mdl::pose(studio_, play_);
    dev.setRenderState(dx::D3DRENDERSTATE_CULLMODE, 1);
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
    const Long white = root.createColorRGBA(1, 1, 1, 1);

    bool world_changed = false;
    for (std::size_t b = 0; b < studio_.Models.size(); ++b) {
        const Integer selected = b < SelectedModels.size() ? SelectedModels[b] : Integer{0};
        if (selected < 0 || static_cast<std::size_t>(selected) >= studio_.Models[b].size()) continue;
        const tarko::mdl::ModelMesh& model = studio_.Models[b][static_cast<std::size_t>(selected)];
        skinned_.resize(model.Positions.size());
        tarko::mdl::skin(model.Positions, model.VertexBones, play_.ActorBones, skinned_);

        for (const tarko::mdl::DrawMesh& mesh : model.DrawMeshes) {
            const std::size_t count = mesh.Indices.size();
            if (vertices_.size() < count) vertices_.resize(count);  // grown once, never cleared again
            for (std::size_t i = 0; i < count; ++i) {
                D3DLVERTEX& v = vertices_[i];
                const auto index = static_cast<std::size_t>(mesh.Indices[i]);
                const D3DVECTOR p = index < skinned_.size() ? skinned_[index] : D3DVECTOR{};
                v.x = p.x, v.y = p.y, v.z = p.z;
                v.dvReserved = 0;
                v.color = white;
                v.specular = 0;
                v.tu = mesh.TexCoords[i][0];
                v.tv = mesh.TexCoords[i][1];
            }
            if (!bounds_.known)
                for (std::size_t i = 0; i < count; ++i) {
                    const D3DLVERTEX& v = vertices_[i];
                    if (v.x < lo.x) lo.x = v.x;
                    if (v.y < lo.y) lo.y = v.y;
                    if (v.z < lo.z) lo.z = v.z;
                    if (v.x > hi.x) hi.x = v.x;
                    if (v.y > hi.y) hi.y = v.y;
                    if (v.z > hi.z) hi.z = v.z;
                }

            // A failing device call skips itself and the loop goes on.
            tarko::runtime::ResumeNext next;
            next([&] { dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0); });
            if (mesh.Skin >= 0 && static_cast<std::size_t>(mesh.Skin) < SkinSlots.size())
                next([&] {
                    dev.setTexture(0, SurfaceTable[static_cast<std::size_t>(SkinSlots[static_cast<std::size_t>(mesh.Skin)])]);
                });
            if (world_changed) {
                next([&] { dev.setTransform(dx::D3DTRANSFORMSTATE_WORLD, world); });
                world_changed = false;
            }
            next([&] {
                dev.drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_LVERTEX, std::span(vertices_.data(), count),
                                  static_cast<Long>(count), 0);
            });
            next([&] { dev.setTexture(0, {}); });
            if (ShadowEnabled) {
                next([&] { dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, tarko::bool_to_long(true)); });
                next([&] { dev.setTransform(dx::D3DTRANSFORMSTATE_WORLD, shadow); });
                world_changed = true;
                next([&] {
                    dev.drawPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_LVERTEX,
                                      std::span(vertices_.data(), count), static_cast<Long>(count), 0);
                });
            }
        }
    }

    if (!bounds_.known) {
        bounds_.min = lo;
        bounds_.max = hi;
        bounds_.centre = {static_cast<float>((static_cast<double>(lo.x) + hi.x) / 2),
                          static_cast<float>((static_cast<double>(lo.y) + hi.y) / 2),
                          static_cast<float>((static_cast<double>(lo.z) + hi.z) / 2)};
        const double dx_ = static_cast<double>(hi.x) - lo.x, dy = static_cast<double>(hi.y) - lo.y,
                     dz = static_cast<double>(hi.z) - lo.z;
        bounds_.radius = static_cast<float>(std::sqrt(dx_ * dx_ + dy * dy + dz * dz) / 2 * std::sqrt(2.0));
        bounds_.known = true;
    }
}
