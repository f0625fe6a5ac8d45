// cTarko_3DSfile: one binary 3DS model, read into memory and drawn through the
// engine's device with its materials and one optional texture for the whole
// model. No animation, no hierarchy: Render draws the file's meshes in file
// order, each group with its material, cull mode and shade mode.
#pragma once

#include <optional>
#include <string>

#include "engine/tarko_dx7.h"
#include "models/3ds/model.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/byte_reader.h"
#include "runtime/variant.h"

class cTarko_3DSfile {
public:
    // True when the device's triangle alpha-compare caps hold GREATEREQUAL (0x40); set by Open_3ds.
    bool CAPA_alphaTESTING = false;
    // The model's single texture (64 x 64 from Open_3ds); may stay Nothing.
    // Every texture coordinate is 0, so it colours the model with its first texel.
    tarko::Ref<DirectDrawSurface7> texture;
    // Transform used by Render(TKX, True). All zero until set: no default scale.
    D3DVECTOR Vscal;
    D3DVECTOR vPosition;
    D3DVECTOR Vrotation;  // degrees

    // Each component coerced to Single (Type mismatch, 13, when it holds no number).
    void Set_Position(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    void Set_Rotation(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    void Set_Scale(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    // Moves the model light (directional, so the picture does not change); the
    // public vPosition is not touched.
    void Set_Light(const D3DVECTOR& vPosition);

    // Draws every group of every mesh. Nothing when no mesh is loaded. With
    // Use_builtIN_transformation the world matrix is cleared, set from Vscal,
    // Vrotation and vPosition, and cleared again after. Then: lighting on, the
    // texture (if set) on stage 0, ambient 0x1A030303, specular and dithering
    // on, the model light in slot 0; per group material, CULLMODE, SHADEMODE
    // and an indexed triangle list of D3DVERTEX; last USE_defaultMaterial and
    // USE_default_RENDERSTATE.
    void Render(tarko_DX7& TKX, bool Use_builtIN_transformation = false);

    D3DVECTOR Vector(const tarko::Variant& A, const tarko::Variant& B, const tarko::Variant& C);
    void VectorAdd(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B);
    void VectorSubtract(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B);

    // Reads the caps, then the texture when TEXTURE_file is given: a texture
    // that cannot be made ends the call silently with the previous model kept.
    // Then the file is read (a missing file reads as empty, leaving no mesh)
    // and the model light set up: directional, white, pointing down (0, -1, 0).
    // Table overruns raise Subscript out of range (9); missing chunk data ends
    // the read silently (models/3ds/README.md). No device: 91.
    void Open_3ds(tarko_DX7& TKX, const std::string& FILez, const std::string& TEXTURE_file = "");

    // ---- for tools and tests
    const tarko::threeds::Model& model() const { return model_; }
    const D3DLIGHT7& model_light() const { return ModelLight; }
    // Where the last read stopped early, if it did.
    const std::optional<tarko::io::ParseError>& read_stop() const { return read_stop_; }

private:
    tarko::threeds::Model model_;
    D3DLIGHT7 ModelLight;
    std::optional<tarko::io::ParseError> read_stop_;
};
