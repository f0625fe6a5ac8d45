// cTarko_Xfile: a loaded X model. Its groups (one per material: vertices,
// triangle indices, material, texture), a transform held as three vectors,
// drawing through the engine object, a bounding box and a point test.
//
// Load reads the file with the X reader (text, binary, compressed), gathers
// its meshes (every top-level Mesh; a file without one loads as frames, each
// frame's matrix applied down the hierarchy), makes normals anew with a
// crease of 3.14 / 4, and builds one group per material. Texture names come
// from ScanTextureNames: the name must start exactly 23 characters after the
// "TextureFilename" keyword and be at most 22 characters from
// "a-z A-Z 0-9 _ ."; name i goes to group i; only the first 32000 bytes are
// seen. Textures are made 128 by 128 in the model's folder.
//
// Failures: a file that cannot be read or parsed, or has neither mesh nor
// frame, shows "error loading xfile" and leaves the model unloaded (Render
// draws nothing). A file loaded as a mesh runs resume-next (a failing step is
// skipped: an index above 32767, a missing texture-name list) until its first
// texture is made; from then on, and throughout a file loaded as frames, a
// failing step ends Load with the message. So a model of several groups whose
// file names no texture fails to load unless Try_LoadingTEXTURE is False.
//
// Material of a group: diffuse from the group colour (the X face colour with
// its alpha, through an ARGB Long), specular and emissive from the file with
// alpha 1, power from the file. The X format has no ambient colour: the
// group's ambient is its face colour (alpha 1), which Render overrides with
// white anyway.
#pragma once

#include <string>

#include "engine/tarko_dx7.h"
#include "platform/dx_root.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

// Stored in FillMode and ShadeMode; no operation reads them.
enum FillModeEnum : tarko::Long { Solid = 3 };
enum ShadeModeEnum : tarko::Long { Gouraud = 2 };

class cTarko_Xfile {
public:
    cTarko_Xfile();
    ~cTarko_Xfile();

    float Bounding_BOX_Width = 0;
    float Bounding_BOX_Height = 0;
    float Bounding_BOX_DEPH = 0;
    float YawSpin = 0;
    float PitchSpin = 0;
    FillModeEnum FillMode = Solid;
    ShadeModeEnum ShadeMode = Gouraud;

    void Load(tarko_DX7& TKX, const std::string& filename, bool Try_LoadingTEXTURE = true);
    // Nothing before a successful Load. With the built-in transformation the
    // world matrix is scale x rotation (degrees) x position, and reaches the
    // first group only: the matrix is cleared after every group. Each group:
    // its texture (when it has one and Use_BuiltINtexture), its material with
    // ambient made white, one indexed triangle list. Failing calls are skipped.
    void Render(tarko_DX7& TKX, bool Use_builtIN_transformation = true, bool Use_BuiltINtexture = true);
    // The minimum and maximum of the box last tested by IScollision (zeros before).
    tarko::Variant GetMinExtent(float& X1, float& Y1, float& z1);
    tarko::Variant GetMaxExtent(float& x2, float& Y2, float& z2);
    D3DVECTOR BOX_size();
    // 1 (Integer) when the point lies strictly inside the class's box vertices
    // put through MakeObjectMatrix; otherwise Empty.
    tarko::Variant IScollision(const D3DVECTOR& ObjectPOS);
    // retVert = VERT with each position put through MATA (row vectors, divided
    // by w unless |w| < 1e-5); normals and texture coordinates copied.
    tarko::Variant VerTEX_MatMULTILPY(const tarko::SafeArray<D3DVERTEX>& VERT, const D3DMATRIX& MATA,
                                      tarko::SafeArray<D3DVERTEX>& retVert);
    // Reads the device's GUID and walks the groups; changes nothing.
    tarko::Variant ReloadTextures(const tarko::Ref<DirectDraw7>& ddraw, const tarko::Ref<Direct3DDevice7>& dev);
    // Group Pindex's texture from a file, 256 wide and 128 high; a group
    // outside the model raises 9.
    void Load_TEXURE(tarko_DX7& TKX, const tarko::Variant& Pindex, const std::string& TEXTURE_file);

    // Group 0 only. Arrays are given whole, with the spare last element.
    void GETvertext(tarko::SafeArray<D3DVERTEX>& Tver);
    void GET_ObjectVERTICES(tarko::SafeArray<D3DVERTEX>& lpVert, tarko::SafeArray<tarko::Integer>& lpINDICES);
    tarko::Long Vertext_count();
    void GETindex(tarko::SafeArray<tarko::Integer>& Tindex);
    tarko::Long INDEX_count();

    D3DVECTOR Vscal() const { return Vscal_; }
    void Vscal(const D3DVECTOR& v) { Vscal_ = v; }
    D3DVECTOR vPosition() const { return vPosition_; }
    void vPosition(const D3DVECTOR& v) { vPosition_ = v; }
    D3DVECTOR Vrotation() const { return Vrotation_; }
    void Vrotation(const D3DVECTOR& v) { Vrotation_ = v; }
    void Set_Position(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    void Set_Rotation(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    void Set_Scale(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    tarko::Variant GETBounding_BOX(D3DRMBOX& RETBOX);

    // The object matrix of the point test: rotation in degrees with the factor
    // 3.14564875441112 / 180, then scale in the rows and translation in row 4.
    static D3DMATRIX MakeObjectMatrix(const D3DVECTOR& rotation, const D3DVECTOR& scale, const D3DVECTOR& translation);

private:
    struct GroupRecord {
        tarko::SafeArray<tarko::Integer> Indices;
        tarko::SafeArray<D3DVERTEX> Vertices;
        tarko::SafeArray<D3DVERTEX> Transformed;
        D3DMATERIAL7 Material;
        tarko::Ref<DirectDrawSurface7> Texture;
        std::string TextureName;
        D3DRMBOX Box;
        D3DVECTOR Size;
        tarko::SafeArray<D3DVERTEX> BoxVertices;
        D3DVECTOR Center;
        float Radius = 0;
    };
    void DrawGroup(tarko_DX7& TKX, tarko::Long g, bool Use_BuiltINtexture);
    void MakeBoxVertices();
    bool PointInObject(const D3DVECTOR& p);
    static void AddVertex(GroupRecord& group, const D3DVERTEX& v);
    static void AddIndex(GroupRecord& group, tarko::Long i);

    tarko::SafeArray<D3DVERTEX> BoxVertices;
    D3DVECTOR vPosition_, Vscal_, Vrotation_;   // the transform vectors, all 0 at creation
    tarko::Ref<DirectX7> DX_root;
    tarko::Long GroupCount = 0;
    tarko::SafeArray<GroupRecord> Groups;
    D3DRMBOX ModelBox, ExtentBox;
    std::string ModelDirectory;
    bool Loaded = false;
};
