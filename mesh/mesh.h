// Mesh and Motion: the library's private mesh container. A Mesh object keeps
// its data in a record of this thread's mesh table; builders feed three vertex
// forms and face groups, light maps are baked per group or read from "TVLM"
// files, and RenderMesh draws the record through the engine's device.
//
// Decisions where the behaviour is left open:
// - The module-level tables (meshes, materials, light maps, bake lights,
//   sprites) belong to the calling thread: one apartment is one thread. Two
//   Mesh objects of one thread share them, nothing locks them, and a Mesh
//   must stay on the thread that made it.
// - With records 1 to 1000 all in use, creating a Mesh raises Out of memory
//   (7) with "No free mesh record: all 1000 are in use" and takes nothing.
// - A reused record keeps the fields that creation does not set (name,
//   position, colours...), as the table is never wiped.
// - "White" in the builders is opaque white, createColorRGBA(1, 1, 1, 1) = -1.
// - Index lists hold 16-bit numbers: AddVertex into a group past vertex
//   32768 raises Overflow (6) before anything changes. Group numbers run
//   0 to 32767; a group number outside the groups raises 9.
// - MaterialTable grows to the record a material call names (0 to 4096);
//   nothing but QuickSetMaterial writes it, and every group starts on record 0.
// - Added operations: SetStyle (the style call), SetBakeLight (fills the bake's
//   light table), SetLightMapAxes (AxisU, AxisV and RemapCoords of a group),
//   SetLightMapStage (draws each group with its light map, see RenderMeshM).
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/object_ref.h"
#include "platform/records.h"
#include "mesh/tvlm_reader.h"
#include "platform/surface.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

class tarko_DX7;

namespace tarko::platform::d3d {
class WorkerPool;
}

namespace tarko::mesh {

inline constexpr int kLastRecord = 4096;   // records 0..4096 exist
inline constexpr int kLastHandedOut = 1000;  // of which 1..1000 are handed out
inline constexpr int kBakeLightRecords = 33;  // numbered 0..32
inline constexpr int kBakeLightsRead = 32;    // the bake reads 0..31

struct FaceGroup {
    std::vector<Integer> GroupIndices;  // vertex numbers from 0: entry number - 1
    Long GroupIndexCount = 0;
    Integer LightMapSlot = 0;           // entry of LightMapTable, 0 for none
    Long GroupMaterial = 0;
    D3DVECTOR GroupCentre;
    float GroupRadius = 0;
    D3DVECTOR AxisU, AxisV;
    Integer RemapCoords = 0;
};

struct MeshRecord {
    // Entry 0 of each vertex form is unused: size() - 1 is the upper bound.
    std::vector<D3DVERTEX> Vertices{1};
    std::vector<D3DLVERTEX> LVertices{1};
    std::vector<D3DTLVERTEX> TLVertices{1};
    std::vector<FaceGroup> Groups{1};   // from 0
    Integer GroupCount = 0;
    float AnimationKey = 0;
    Integer MeshEnabled = 0;
    Integer InUse = 0;
    std::string MeshName;
    Long VertexType = 0;
    Long MeshColor = 0;
    D3DVECTOR SphereCentre;
    float SphereRadius = 0;
    Integer SphereValid = 0;
    Long MaterialSlot = 0;
    D3DVECTOR BoxMin, BoxMax;
    D3DMATRIX MeshMatrix;
    D3DVECTOR MeshPosition, MeshRotation, MeshScale;
    Integer AlphaEnabled = 0;
    Long SrcBlend = 0, DestBlend = 0;
    Integer BoxStyle = 0;
    Long PrimitiveType = 0;
    Integer KeepTexture1 = 0, KeepTexture2 = 0, NoClearTexture = 0;
    Integer MatrixDirty = 0;
    Integer ShadowOn = 0;
    Integer SpriteOn = 0;
    Long FirstSprite = 0, CurrentSprite = 0, SpriteCount = 0;
    std::string SpriteFile;
    Integer LightMapStage = 0;
};

struct BakeLight {
    Integer On = 0;  // -1 for on
    D3DLIGHT7 Light;
};

// The module-level tables of one apartment (thread).
struct MeshModule {
    std::vector<MeshRecord> MeshTable = std::vector<MeshRecord>(kLastRecord + 1);
    std::vector<D3DMATERIAL7> MaterialTable = std::vector<D3DMATERIAL7>(1);
    std::vector<Ref<DirectDrawSurface7>> LightMapTable{1};  // from entry 1
    Integer LightMapCount = 0;
    std::array<BakeLight, kBakeLightRecords> BakeLights{};
    std::vector<Ref<DirectDrawSurface7>> SpriteTable{1};
    std::vector<std::string> SpriteNames{1};
    Long SpriteCursor = 0;
    std::vector<std::string> DeveloperTrace;  // the sprite loader's error lines; no user sees them
    int BakeThreads = 0;  // 0: one per core
    std::unique_ptr<platform::d3d::WorkerPool> BakePool;
    ~MeshModule();
};

// This thread's tables, made on first use.
MeshModule& module();
// Drops this thread's tables (tests start from a fresh apartment).
void reset_module();
// Threads the bake shares a large map over (the caller included; 0: one per
// core). Maps are identical bit for bit for every count.
void set_bake_threads(int threads);

// ---- light-map kernel and "TVLM" files (light_map.cpp)

// One map's bake: texels (x, y) at P0 + E1 x / W + E2 y / H.
struct BakeJob {
    D3DVECTOR p0, e1, e2;
    int width = 0, height = 0;
    int ambient_r = 0, ambient_g = 0, ambient_b = 0;  // 0..255
    std::vector<D3DLIGHT7> lights;                    // the point lights that are on
};
// Device-context colours 0x00BBGGRR, row by row (entry y * width + x).
std::vector<std::uint32_t> bake_texels(const BakeJob& job, platform::d3d::WorkerPool* pool);

// A system-memory 32-bit texture of the given size holding `texels`
// (device-context colours, row by row).
Ref<DirectDrawSurface7> make_light_map_surface(Long width, Long height);
void put_texels(DirectDrawSurface7& surface, std::span<const std::uint32_t> texels);

}  // namespace tarko::mesh

namespace tarko {

// Three settings that nothing reads: no update step exists.
class Motion {
public:
    void EnableMotion(bool on) { MotionEnabled = on; }
    void SetGravity(const Variant& g);
    void SetVelocity(float X, float Y, float z) { Velocity = D3DVECTOR{X, Y, z}; }

    bool MotionEnabled = false;
    float Gravity = 0;
    D3DVECTOR Velocity;
};

class Mesh {
public:
    // Takes the first free record of 1..1000 (error 7 when none is free).
    Mesh();
    // ClearMesh, then the record is marked free.
    ~Mesh();
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;

    // ---- builders: white vertices, texture margins 0.02 and 0.98 times the tiles
    void AddTriangle(float x1, float y1, float z1, float x2, float y2, float z2, float x3, float y3, float z3,
                     float tileV, float tileU);
    // Strip (x1, base, z1), (x1, height + base, z1), (x2, base, z2), (x2, height + base, z2),
    // normal 0; primitive type 5 after the last vertex.
    void AddWall(float x1, float z1, float x2, float z2, float height, float base, float tileV, float tileU);
    // Strip (x1, y, z1), (x1, y, z2), (x2, y, z1), (x2, y, z2), normal (1, 0, 0);
    // primitive type 5 before the first vertex.
    void AddFloor(float x1, float z1, float x2, float z2, float y, float tileV, float tileU);
    // AddWall with a height and base at each end; the primitive type is left.
    void AddWall2(float x1, float z1, float x2, float z2, float height1, float height2, float base1, float base2,
                  float tileV, float tileU);
    // 36 vertices, six faces of two triangles; then primitive type 4, vertex type 2, SetStyle(0).
    void AddBox(float x1, float y1, float z1, float x2, float y2, float z2);
    // Transformed: to TLVertices (rhw 0.5), `number` = its upper bound. Else to
    // LVertices and Vertices, and to the current group's list as number - 1.
    void AddVertex(float x, float y, float z, Long colour, float tu, float tv, float nx, float ny, float nz,
                   bool Transformed, Long& number);

    void EnableShadowing(bool on);
    // Light maps (light_map.cpp). Density / 16 texels a unit; Ambient an ARGB
    // colour. Runs resume-next: a failing step of a group is skipped.
    void GenerateLightMap(float Density, const Variant& unused, Long Ambient);
    // Reads a "TVLM" file: a wrong magic changes nothing; a missing file
    // raises 53, a damaged one 62, a map for a group the mesh lacks 9, each
    // before anything changes.
    void LoadLightMaps(const std::string& FileName);
    float GetCurrentAnimationKey() const;
    std::string GetMeshName() const;
    std::shared_ptr<Motion> GetMotionObject();
    // Y rotation towards the target, in degrees (pi taken as 3.141592).
    void LookAtPoint(const D3DVECTOR& target);
    // Vertex type 2: entry `index` of TLVertices (9 outside); else of
    // LVertices and Vertices when within them.
    void MoveVertex(Long index, const D3DVECTOR& position);
    // Diffuse and ambient of the group's material (-1: every group's; the
    // mesh's MaterialSlot when it has no groups).
    void QuickSetMaterial(float r, float g, float b, float a, Integer group);
    // Drawing (mesh_render.cpp): RenderMeshM with this mesh's record.
    void RenderMesh(tarko_DX7& engine);
    // Any failing statement is skipped; Err is cleared at the end.
    void RenderMeshM(Integer record, tarko_DX7& engine);
    // Adds degrees; each component above 360 loses 360, below 0 gains 360, once.
    void RotateMesh(float x, float y, float z);
    // Box over LVertices from entry 1; radius = largest half extent x sqrt 2.
    void ComputeSphere(bool PerGroup);
    // Vertex arrays and groups back to bounds 0..0; name, position, flags and
    // GroupCount stay.
    void ClearMesh();
    D3DVECTOR GetPosition() const;
    D3DVECTOR GetRotation() const;
    Long GetVertexCount() const;
    void ScaleMesh(float x, float y, float z);
    // On; Src and Dest of 0 become 2 (D3DBLEND_ONE).
    void SetAlphaBlending(Integer On, Long Src, Long Dest);
    void SetColor(float r, float g, float b, float a);
    // The group's list becomes a copy; GroupIndexCount = the array's upper bound.
    void SetFaceIndexArray(Integer group, const SafeArray<Integer>& indices);
    void SetGroupPointer(Integer group);
    void SetMeshEnabled(Integer enabled);
    void SetMeshName(const std::string& name);
    void SetPosition(float x, float y, float z);
    void SetPrimitiveType(Long type);
    void SetRotation(float x, float y, float z);
    // Copies of the host's arrays; element i lands at entry i (below 0 dropped).
    void SetVertexesArray(const SafeArray<D3DVERTEX>& vertices);
    void SetLVertexesArray(const SafeArray<D3DLVERTEX>& vertices);
    void SetVertexType(Long type);

    // ---- added operations (see the head of this file)
    // Bit 2 alpha; bit 1 KeepTexture1; bit 8 alpha, vertex type 3, primitive
    // type 5; bit 16 BoxStyle, vertex type 2, primitive type 4.
    void SetStyle(Long flags);
    // Record 0..32 of the bake's light table (9 outside); 32 is never read.
    static void SetBakeLight(Integer index, const D3DLIGHT7& light, bool on);
    // The group's projection axes; RemapCoords -1 asks the bake for texture coordinates.
    void SetLightMapAxes(Integer group, const D3DVECTOR& AxisU, const D3DVECTOR& AxisV);
    // On: RenderMeshM draws each group with its light map on stage 0 (vertex type 1).
    void SetLightMapStage(bool on);
    // The sprite loader, which nothing calls yet: a mesh showing the same file
    // lends its frames; else each frame becomes a texture of SpriteTable at the
    // size rounded up the ladder. A failing step goes to the module's
    // DeveloperTrace and the next one runs; a file that cannot be read changes
    // nothing but SpriteFile.
    void LoadSprite(const std::string& FileName, tarko_DX7& engine);

    Integer slot() const { return MeshSlot; }
    mesh::MeshRecord& record() const;

private:
    Integer MeshSlot = 0;
    Integer CurrentGroup = 0;
    std::shared_ptr<Motion> MotionObject;
};

}  // namespace tarko
