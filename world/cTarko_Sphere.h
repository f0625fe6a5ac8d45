// cTarko_Sphere: a textured sphere drawn as one triangle strip, meant as a
// sky round the scene. The host places it (it does not follow the camera);
// the engine object is passed at each call and not kept.
#pragma once

#include <string>

#include "engine/tarko_dx7.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

// Rings and sections of the mesh: 10, 15, 20, 28.
enum Tarko_SPHERE_QUALITY : tarko::Long {
    LOW_QUALITY = 240,
    NORMAL_QUALITY = 241,
    HIGH_QUALITY = 242,
    SMOOTH_QUALITY = 243,
};

class cTarko_Sphere {
public:
    // Texture (unless TexTurefile is "": a 256 x 256 one), then scale 1 and
    // position 0, then the mesh: 2 x rings x (sections + 1) vertices, the
    // pole on y. BaseYscale stretches z and BaseZscale y. A Quality outside
    // the table (an omitted one too) raises Division by zero (11) before the
    // mesh changes. True when the mesh holds vertices.
    bool InitSPhere(tarko_DX7& DXengine, const std::string& TexTurefile = "",
                    Tarko_SPHERE_QUALITY Quality = static_cast<Tarko_SPHERE_QUALITY>(0), float BaseXscale = 1.0f,
                    float BaseYscale = 1.0f, float BaseZscale = 1.0f);
    // One strip, scaled and moved (no rotation), the world matrix cleared
    // before and after. ForceDomeSky turns culling off for the draw so that
    // the inside shows, and puts the cull mode back. Before InitSPhere: 9.
    void Render(tarko_DX7& DXengine, bool ForceDomeSky = true);
    void Set_Position(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    void Set_Rotation(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);   // stored only
    void Set_Scale(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);

    // Read-only view of the strip (element count SkyVertexCount + 1).
    const tarko::SafeArray<D3DVERTEX>& vertices() const { return SkyVertices; }
    tarko::Long vertex_count() const { return SkyVertexCount; }

private:
    tarko::Ref<DirectDrawSurface7> SkyTexture;
    bool SkyTextured = false;
    tarko::SafeArray<D3DVERTEX> SkyVertices;
    tarko::Long SkyVertexCount = 0;
    D3DVECTOR SkyPosition, SkyScale{1, 1, 1}, SkyRotation;
};
