// cTarko_landScape: a landscape from a grey height picture, drawn as one
// indexed triangle list, asked for its altitude under a point, with one
// water quad over it and a camera-facing billboard quad.
//
// Call INITIALIZE first (the object keeps the engine object), then
// LoadTerrain, then per frame RenderAll, Water_Render and Render_BilBoard.
// Every device call goes through the engine object; one made before
// INITIALIZE raises 91 (object not set).
//
// Grid: column i along x, row j along z, both from 1; precision p is both
// the step in picture pixels between samples and the step in world units
// between vertices, so vertex (i, j) stands at (i p, YFactor x red, j p):
// the first at (p, y, p), not at the origin.
#pragma once

#include <array>
#include <string>

#include "engine/tarko_dx7.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/variant.h"
#include "world/height_field.h"

enum CONST_Tarko_VERTEX_TYPE : tarko::Integer { Tarko_LVERTEX = 1, Tarko_VERTEX = 2, Tarko_TLVERTEX = 3 };

class cTarko_landScape {
public:
    cTarko_landScape();

    // ---- public variables
    float PrecisionCollide = 0;     // reach of DetectCollision; 5 after LoadTerrain
    bool CHECK_Colision = false;    // held for the host; nothing reads it
    bool is_ACTIVE = false;         // True once LoadTerrain has finished
    tarko::Integer Visible = 0;     // last CheckIfVisible: 0 outside, 1 partly, 2 wholly inside

    // ---- the height field
    // Keeps the engine object; placement back to (0, 0, 0), scale (1, 1, 1).
    void INITIALIZE(tarko_DX7& cTKX);
    // The picture (BMP, GIF or JPG) through the DIB section, sampled every
    // `precision` pixels (red component, 0..255, times YFactor); tu and tv
    // are reached at the last column and row. TexTurefile, unless "", becomes
    // a 256 x 256 texture. No handler: 53 for a missing file, 481 for a
    // picture the loader refuses, 11 for precision 0, 6 when the grid has
    // more than 32767 vertices (16-bit indices: 181 x 181 loads, 182 x 182
    // does not), 9 when it has fewer than 2 columns or rows. On an error
    // the loaded grid and is_ACTIVE stay as they were. Resets the water.
    void LoadTerrain(const std::string& HeightMapFile, const tarko::Variant& precision, const tarko::Variant& YFactor,
                     float tu, float tv, const std::string& TexTurefile = "");
    // The bounding sphere under the world matrix in force; sets Visible.
    bool CheckIfVisible();
    // Places the grid (scale then move, no rotation), tests its sphere and,
    // when visible, draws it in one call: LIGH True the pre-lit grey
    // vertices with lighting off, False the plain ones (normals zero) with
    // lighting on. The lighting state is left as set. The index count is
    // three short of the list: its last triangle is not drawn.
    void RenderAll(bool LIGH = true);
    void SetTextureCoordinates(const tarko::Variant& tu, const tarko::Variant& tv);
    // Stored only: the drawn format follows RenderAll's LIGH.
    void SetVertexType(CONST_Tarko_VERTEX_TYPE vertextype);

    // ---- altitude queries (grid space: no placement, no scale)
    // Height of the surface over (VEC.x, VEC.z); VEC.y is not read. Answers
    // come from x = 2p up to nX p and z = p up to (nZ - 1) p only; 0 elsewhere
    // and before LoadTerrain. _U and _V give the hit's u and v in the first
    // triangle of the cell, or the height when it was the second that answered.
    float Get_Altitude_U(const D3DVECTOR& VEC);
    float Get_Altitude_V(const D3DVECTOR& VEC);
    // World point: mapped through vPosition and Vscal into the grid (0 on or
    // outside the placed box's edge); the height times Vscal.y, without
    // vPosition.y. The Angle forms are Get_Altitude_U and _V at the mapped
    // point: not angles.
    float Get_Altitude_EX(const D3DVECTOR& VEC);
    float Get_Angle_U(const D3DVECTOR& VEC);
    float Get_Angle_V(const D3DVECTOR& VEC);
    // Dest becomes the unit direction from Origin to Dest (in the caller's
    // variable); True when a triangle near Origin lies along it closer than
    // PrecisionCollide. Grid space.
    bool DetectCollision(D3DVECTOR& Origin, D3DVECTOR& Dest);

    // ---- helpers
    D3DVECTOR VCrossProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2);
    float VDotProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2);
    D3DVECTOR VSubtract(const D3DVECTOR& dV1, const D3DVECTOR& dV2);
    D3DVECTOR VectorSETPOS(const D3DVECTOR& Vorigin);   // always (0, 0, 0)
    D3DLVERTEX vecLVertex(const D3DVECTOR& v, tarko::Long color, const tarko::Variant& tu, const tarko::Variant& tv);
    D3DVERTEX vecVertex(const D3DVECTOR& v, const tarko::Variant& tu, const tarko::Variant& tv);
    D3DVERTEX RVertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv);

    // ---- placement
    D3DVECTOR Vscal() const { return Scale; }
    void Vscal(const D3DVECTOR& v) { Scale = v; }
    D3DVECTOR vPosition() const { return Position; }
    void vPosition(const D3DVECTOR& v) { Position = v; }
    void Set_Position(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    void Set_Rotation(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);   // stored only
    void Set_Scale(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);

    // ---- water (landscape_water.cpp)
    // Corner y only; Water_Position is what places the quad.
    void SetWaterAltitude(float ALTITUDE);
    // A 256 x 256 texture; any failure leaves the water untextured, silently.
    void Load_Watertexture(const std::string& WtexFile);
    // Blending on or off, the corners' alpha, and the texture sway.
    void SetWaterEffect(bool alpha, float AlphaFactor = 0.4f, bool Animated = false);
    // Switches the water on, whatever OnOff says; nothing switches it off.
    void SetWaterEnable(bool OnOff);
    // Not animated: multiplies the corners' tu and tv (two calls compound).
    void SetWaterTextureScale(float ScaleTexture);
    // Draws the quad (placed by Water_scal and Water_Position, lighting off,
    // blend source alpha onto one); animated, the texture sways along u by
    // the frame clock. Ends with lighting on and blending off.
    void Water_Render();
    // Over the placed water rectangle (edges included) and strictly below
    // Water_Position.y + Max_OverWaterAltitude.
    bool Water_Collision(const D3DVECTOR& vPOS, float Max_OverWaterAltitude = 5.0f);
    D3DVECTOR Water_scal() const { return WaterScale; }
    void Water_scal(const D3DVECTOR& v) { WaterScale = v; }
    D3DVECTOR Water_Position() const { return WaterPlace; }
    void Water_Position(const D3DVECTOR& v) { WaterPlace = v; }

    // ---- billboard
    // The unit quad turned to the camera's heading, 2/3 Widt by 2/3 Heig,
    // its foot at ObJPOS; alpha blended and alpha tested (>= 8). Sets no
    // texture: it draws with stage 0 as the host left it.
    void Render_BilBoard(const D3DVECTOR& ObJPOS, float Widt, float Heig);

    // ---- read-only views of what was built (for hosts and tests)
    const tarko::world::HeightField& grid() const { return Grid; }
    const std::array<D3DLVERTEX, 5>& water_vertices() const { return WaterVertices; }
    const std::array<D3DVERTEX, 4>& billboard_quad() const { return BillboardQuad; }
    float water_phase() const { return WaterPhase; }

private:
    tarko_DX7& engine();
    void build_water_and_billboard();
    D3DVECTOR world_to_grid(const D3DVECTOR& VEC, bool& inside) const;

    tarko_DX7* Engine = nullptr;
    tarko::world::HeightField Grid;
    tarko::Integer VertexKind = 0;
    tarko::Ref<DirectDrawSurface7> TerrainTexture;
    D3DVECTOR Position, Scale{1, 1, 1};
    D3DVECTOR TerrainRotation;

    std::array<D3DLVERTEX, 5> WaterVertices{};   // 1 to 4: the strip; 0 unused
    float WaterAltitude = 0;
    bool WaterAlpha = false;
    float WaterAlphaFactor = 0;
    bool WaterEnabled = false;
    bool WaterAnimated = false;
    float WaterPhase = 0;
    float WaterTextureScale = 0;
    tarko::Ref<DirectDrawSurface7> WaterTexture;
    bool WaterTextureLoaded = false;
    D3DVECTOR WaterPlace;
    D3DVECTOR WaterScale{1, 1, 1};
    float WaterSizeX = 0, WaterSizeZ = 0;
    std::array<D3DVERTEX, 4> BillboardQuad{};
};
