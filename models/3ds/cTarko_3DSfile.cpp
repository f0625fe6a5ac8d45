// cTarko_3DSfile: the load's error policy and the draw's state traffic; the
// file itself is read by chunk_reader.
#include "models/3ds/cTarko_3DSfile.h"

#include <span>

#include "models/3ds/chunk_reader.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "runtime/errors.h"
#include "runtime/files.h"

using tarko::Variant;

void cTarko_3DSfile::Set_Position(const Variant& X, const Variant& Y, const Variant& z) {
    vPosition = Vector(X, Y, z);
}
void cTarko_3DSfile::Set_Rotation(const Variant& X, const Variant& Y, const Variant& z) {
    Vrotation = Vector(X, Y, z);
}
void cTarko_3DSfile::Set_Scale(const Variant& X, const Variant& Y, const Variant& z) { Vscal = Vector(X, Y, z); }
void cTarko_3DSfile::Set_Light(const D3DVECTOR& vPosition) { ModelLight.position = vPosition; }

D3DVECTOR cTarko_3DSfile::Vector(const Variant& A, const Variant& B, const Variant& C) {
    return {A.to_single(), B.to_single(), C.to_single()};
}
void cTarko_3DSfile::VectorAdd(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B) {
    tarko::dxmath::vectorAdd(Dest, A, B);
}
void cTarko_3DSfile::VectorSubtract(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B) {
    tarko::dxmath::vectorSubtract(Dest, A, B);
}

void cTarko_3DSfile::Open_3ds(tarko_DX7& TKX, const std::string& FILez, const std::string& TEXTURE_file) {
    D3DDEVICEDESC7 caps;
    TKX.D3D_DEV->getCaps(caps);
    CAPA_alphaTESTING = (caps.dpcTriCaps.lAlphaCmpCaps & dx::D3DPCMPCAPS_GREATEREQUAL) != 0;

    if (!TEXTURE_file.empty() &&
        !tarko::runtime::catch_all([&] { texture = TKX.CreateTextureEX(TEXTURE_file, 64, 64); }))
        return;  // silently, before anything of the model changes

    read_stop_ = tarko::threeds::read_3ds(tarko::runtime::read_file_or_empty(FILez), model_).stopped;

    ModelLight.dltType = D3DLIGHT_DIRECTIONAL;
    ModelLight.diffuse = ModelLight.specular = ModelLight.ambient = D3DCOLORVALUE{1, 1, 1, 1};
    ModelLight.direction = D3DVECTOR{0, -1, 0};
}

void cTarko_3DSfile::Render(tarko_DX7& TKX, bool Use_builtIN_transformation) {
    if (model_.MeshCount == 0) return;
    if (Use_builtIN_transformation) {
        TKX.CLearMATRIX();
        TKX.OBJECT_Scale_Rotate_MOV(Variant(Vscal.x), Variant(Vscal.y), Variant(Vscal.z), Variant(Vrotation.x),
                                    Variant(Vrotation.y), Variant(Vrotation.z), Variant(vPosition.x),
                                    Variant(vPosition.y), Variant(vPosition.z));
    }
    TKX.Set_Light(true);
    Direct3DDevice7& dev = *TKX.D3D_DEV;
    if (texture) dev.setTexture(0, texture);
    dev.setRenderState(dx::D3DRENDERSTATE_AMBIENT, TKX.DX_7->createColorRGBA(0.01f, 0.01f, 0.01f, 0.1f));
    dev.setRenderState(dx::D3DRENDERSTATE_SPECULARENABLE, 1);
    dev.setRenderState(dx::D3DRENDERSTATE_DITHERENABLE, tarko::bool_to_long(true));
    dev.setLight(0, ModelLight);
    dev.lightEnable(0, true);
    for (int m = 0; m < model_.MeshCount; ++m) {
        const tarko::threeds::MeshObject& mesh = model_.MeshObjects[static_cast<std::size_t>(m)];
        for (int g = 0; g < mesh.GroupCount; ++g) {
            const tarko::threeds::MeshGroup& group = mesh.Groups[static_cast<std::size_t>(g)];
            dev.setMaterial(model_.Materials.Material[static_cast<std::size_t>(group.MaterialSlot)]);
            dev.setRenderState(dx::D3DRENDERSTATE_CULLMODE, group.CullMode);
            dev.setRenderState(dx::D3DRENDERSTATE_SHADEMODE, group.ShadeMode);
            dev.drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX, std::span(mesh.Vertices),
                                     mesh.VertexCount, std::span(group.Indices), group.IndexCount, 0);
        }
    }
    if (Use_builtIN_transformation) TKX.CLearMATRIX();
    TKX.USE_defaultMaterial();
    TKX.USE_default_RENDERSTATE();
}
