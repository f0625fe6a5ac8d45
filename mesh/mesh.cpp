// The mesh table, the builders and the data setters of Mesh.
#include "mesh/mesh.h"

#include <algorithm>
#include <cmath>

#include "platform/base/dx_math.h"
#include "platform/d3d/worker_pool.h"
#include "runtime/errors.h"

namespace tarko::mesh {
namespace {

thread_local std::unique_ptr<MeshModule> this_apartment;

}  // namespace

MeshModule::~MeshModule() = default;

MeshModule& module() {
    if (!this_apartment) this_apartment = std::make_unique<MeshModule>();
    return *this_apartment;
}

void reset_module() { this_apartment.reset(); }

void set_bake_threads(int threads) {
    auto& m = module();
    m.BakeThreads = std::max(0, threads);
    m.BakePool.reset();
}

}  // namespace tarko::mesh

namespace tarko {

using mesh::FaceGroup;
using mesh::MeshRecord;
using mesh::module;

namespace {
constexpr Long kWhite = -1;  // createColorRGBA(1, 1, 1, 1)
constexpr float kLow = 0.02f, kHigh = 0.98f;
}  // namespace

void Motion::SetGravity(const Variant& g) { Gravity = g.to_single(); }

Mesh::Mesh() {
    auto& table = module().MeshTable;
    Integer found = 0;
    for (Integer i = 1; i <= mesh::kLastHandedOut; ++i)
        if (table[static_cast<std::size_t>(i)].MeshEnabled == 0) {
            found = i;
            break;
        }
    if (found == 0) raise_error(err::OutOfMemory, "No free mesh record: all 1000 are in use");
    MeshRecord& r = table[static_cast<std::size_t>(found)];
    r.MeshEnabled = -1;
    r.InUse = -1;
    r.Vertices.assign(1, D3DVERTEX{});
    r.LVertices.assign(1, D3DLVERTEX{});
    r.TLVertices.assign(1, D3DTLVERTEX{});
    r.Groups.assign(1, FaceGroup{});
    r.GroupCount = 0;
    r.AnimationKey = 1.0f;
    r.MatrixDirty = -1;
    r.PrimitiveType = 4;
    r.VertexType = 1;
    MeshSlot = found;
    MotionObject = std::make_shared<Motion>();
}

Mesh::~Mesh() {
    ClearMesh();
    record().MeshEnabled = 0;
}

MeshRecord& Mesh::record() const { return module().MeshTable[static_cast<std::size_t>(MeshSlot)]; }

namespace {

FaceGroup& group_at(MeshRecord& r, Integer group) {
    if (group < 0 || static_cast<std::size_t>(group) >= r.Groups.size()) raise_error(err::SubscriptOutOfRange);
    return r.Groups[static_cast<std::size_t>(group)];
}

// Groups grow to `group` when it lies above GroupCount.
void grow_groups(MeshRecord& r, Integer group) {
    if (group <= r.GroupCount) return;
    r.Groups.resize(static_cast<std::size_t>(group) + 1);
    r.GroupCount = group;
}

// The four strip vertices of the wall and floor builders: margins 0.02 and
// 0.98 times the tiles, first (low, low), then (low, high), (high, low), (high, high).
struct Corner {
    float x, y, z;
};
void add_quad(Mesh& m, const Corner (&c)[4], float nx, float tileV, float tileU) {
    const float tu[4] = {kLow * tileU, kLow * tileU, kHigh * tileU, kHigh * tileU};
    const float tv[4] = {kLow * tileV, kHigh * tileV, kLow * tileV, kHigh * tileV};
    Long n = 0;
    for (int i = 0; i < 4; ++i) m.AddVertex(c[i].x, c[i].y, c[i].z, kWhite, tu[i], tv[i], nx, 0, 0, false, n);
}

}  // namespace

void Mesh::AddVertex(float x, float y, float z, Long colour, float tu, float tv, float nx, float ny, float nz,
                     bool Transformed, Long& number) {
    MeshRecord& r = record();
    if (Transformed) {
        r.TLVertices.push_back(D3DTLVERTEX{x, y, z, 0.5f, colour, colour, tu, tv});
        number = static_cast<Long>(r.TLVertices.size()) - 1;
        return;
    }
    const auto next = static_cast<Long>(r.Vertices.size());  // the new vertex's number
    FaceGroup* group = nullptr;
    if (CurrentGroup > 0) {
        group = &group_at(r, CurrentGroup);
        if (next - 1 > 32767) raise_error(err::Overflow);  // index lists hold Integers
    }
    r.LVertices.push_back(D3DLVERTEX{x, y, z, 0, colour, colour, tu, tv});
    r.Vertices.push_back(D3DVERTEX{x, y, z, nx, ny, nz, tu, tv});
    if (group) {
        group->GroupIndices.push_back(static_cast<Integer>(next - 1));
        ++group->GroupIndexCount;
    }
    number = next;
}

void Mesh::AddTriangle(float x1, float y1, float z1, float x2, float y2, float z2, float x3, float y3, float z3,
                       float tileV, float tileU) {
    Long n = 0;
    AddVertex(x1, y1, z1, kWhite, kLow * tileU, kLow * tileV, 1, 0, 0, false, n);
    AddVertex(x2, y2, z2, kWhite, kLow * tileU, kHigh * tileV, 1, 0, 0, false, n);
    AddVertex(x3, y3, z3, kWhite, kHigh * tileU, kLow * tileV, 1, 0, 0, false, n);
}

void Mesh::AddWall(float x1, float z1, float x2, float z2, float height, float base, float tileV, float tileU) {
    const float top = height + base;
    add_quad(*this, {{x1, base, z1}, {x1, top, z1}, {x2, base, z2}, {x2, top, z2}}, 0, tileV, tileU);
    SetPrimitiveType(5);
}

void Mesh::AddWall2(float x1, float z1, float x2, float z2, float height1, float height2, float base1, float base2,
                    float tileV, float tileU) {
    add_quad(*this, {{x1, base1, z1}, {x1, height1 + base1, z1}, {x2, base2, z2}, {x2, height2 + base2, z2}}, 0,
             tileV, tileU);
}

void Mesh::AddFloor(float x1, float z1, float x2, float z2, float y, float tileV, float tileU) {
    SetPrimitiveType(5);
    add_quad(*this, {{x1, y, z1}, {x1, y, z2}, {x2, y, z1}, {x2, y, z2}}, 1, tileV, tileU);
}

void Mesh::AddBox(float x1, float y1, float z1, float x2, float y2, float z2) {
    const Corner c[9] = {{0, 0, 0},    {x1, y1, z1}, {x1, y1, z2}, {x1, y2, z1}, {x1, y2, z2},
                         {x2, y1, z1}, {x2, y1, z2}, {x2, y2, z1}, {x2, y2, z2}};
    struct Face {
        float nx, ny, nz;
        int corner[6];
    };
    // Each face: C_a (0, 1), C_b (0, 0), C_c (1, 0), then C_a (0, 1), C_c (1, 0), C_d (1, 1).
    static constexpr Face faces[6] = {
        {0, 0, -1, {1, 3, 7, 1, 7, 5}}, {1, 0, 0, {5, 7, 8, 5, 8, 6}},  {-1, 0, 0, {2, 4, 3, 2, 3, 1}},
        {0, 0, 1, {6, 8, 4, 6, 4, 2}},  {0, 1, 0, {3, 4, 8, 3, 8, 7}},  {0, -1, 0, {6, 5, 1, 6, 1, 2}}};
    static constexpr float tu[6] = {0, 0, 1, 0, 1, 1}, tv[6] = {1, 0, 0, 1, 0, 1};
    Long n = 0;
    for (const Face& f : faces)
        for (int i = 0; i < 6; ++i) {
            const Corner& k = c[f.corner[i]];
            AddVertex(k.x, k.y, k.z, kWhite, tu[i], tv[i], f.nx, f.ny, f.nz, false, n);
        }
    SetPrimitiveType(4);
    SetVertexType(2);
    SetStyle(0);
}

void Mesh::EnableShadowing(bool on) { record().ShadowOn = static_cast<Integer>(bool_to_long(on)); }

float Mesh::GetCurrentAnimationKey() const { return record().AnimationKey; }
std::string Mesh::GetMeshName() const { return record().MeshName; }

std::shared_ptr<Motion> Mesh::GetMotionObject() {
    if (!MotionObject) MotionObject = std::make_shared<Motion>();
    return MotionObject;
}

void Mesh::LookAtPoint(const D3DVECTOR& target) {
    MeshRecord& r = record();
    const double dx = static_cast<double>(target.x) - r.MeshPosition.x;
    const double dz = static_cast<double>(target.z) - r.MeshPosition.z;
    double angle = 0;
    if (dz > 0) angle = std::atan(dx / dz);
    else if (dz < 0) angle = std::atan(dx / dz) + 3.141592;
    r.MeshRotation.y = static_cast<float>(angle * 180.0 / 3.141592);
    r.MatrixDirty = -1;
}

void Mesh::MoveVertex(Long index, const D3DVECTOR& position) {
    MeshRecord& r = record();
    if (r.VertexType == 2) {
        if (index < 0 || static_cast<std::size_t>(index) >= r.TLVertices.size()) raise_error(err::SubscriptOutOfRange);
        auto& v = r.TLVertices[static_cast<std::size_t>(index)];
        v.sx = position.x, v.sy = position.y, v.sz = position.z;
        return;
    }
    if (index < 0 || static_cast<std::size_t>(index) >= r.LVertices.size()) return;
    auto& l = r.LVertices[static_cast<std::size_t>(index)];
    l.x = position.x, l.y = position.y, l.z = position.z;
    if (static_cast<std::size_t>(index) < r.Vertices.size()) {
        auto& v = r.Vertices[static_cast<std::size_t>(index)];
        v.x = position.x, v.y = position.y, v.z = position.z;
    }
}

void Mesh::QuickSetMaterial(float r, float g, float b, float a, Integer group) {
    MeshRecord& rec = record();
    auto& table = module().MaterialTable;
    const D3DCOLORVALUE colour{r, g, b, a};
    auto set = [&](Long slot) {
        if (slot < 0 || slot > mesh::kLastRecord) raise_error(err::SubscriptOutOfRange);
        if (static_cast<std::size_t>(slot) >= table.size()) table.resize(static_cast<std::size_t>(slot) + 1);
        table[static_cast<std::size_t>(slot)].diffuse = colour;
        table[static_cast<std::size_t>(slot)].ambient = colour;
    };
    if (rec.GroupCount == 0) {
        set(rec.MaterialSlot);
    } else if (group == -1) {
        for (Integer i = 1; i <= rec.GroupCount; ++i) set(group_at(rec, i).GroupMaterial);
    } else {
        set(group_at(rec, group).GroupMaterial);
    }
}

void Mesh::RotateMesh(float x, float y, float z) {
    MeshRecord& r = record();
    auto turn = [](float& angle, float by) {
        double a = static_cast<double>(angle) + by;
        if (a > 360) a -= 360;  // once: 725 leaves 365
        else if (a < 0) a += 360;
        angle = static_cast<float>(a);
    };
    turn(r.MeshRotation.x, x);
    turn(r.MeshRotation.y, y);
    turn(r.MeshRotation.z, z);
    r.MatrixDirty = -1;
}

namespace {

struct Box {
    // Eight nines on the first axis and nine on the others, as the original starts.
    double min[3] = {99999999.0, 999999999.0, 999999999.0};
    double max[3] = {-999999999.0, -999999999.0, -999999999.0};
    void widen(const D3DLVERTEX& v) {
        const double p[3] = {v.x, v.y, v.z};
        for (int i = 0; i < 3; ++i) {
            min[i] = std::min(min[i], p[i]);
            max[i] = std::max(max[i], p[i]);
        }
    }
    // Centre and radius, the radius being the largest half extent times sqrt 2.
    void sphere(D3DVECTOR& lo, D3DVECTOR& hi, D3DVECTOR& centre, float& radius) const {
        lo = D3DVECTOR{static_cast<float>(min[0]), static_cast<float>(min[1]), static_cast<float>(min[2])};
        hi = D3DVECTOR{static_cast<float>(max[0]), static_cast<float>(max[1]), static_cast<float>(max[2])};
        const double l[3] = {lo.x, lo.y, lo.z}, h[3] = {hi.x, hi.y, hi.z};
        double half = (h[0] - l[0]) / 2;  // negative for a box that was never widened
        float c[3];
        for (int i = 0; i < 3; ++i) {
            c[i] = static_cast<float>((l[i] + h[i]) / 2);
            half = std::max(half, (h[i] - l[i]) / 2);
        }
        centre = D3DVECTOR{c[0], c[1], c[2]};
        radius = static_cast<float>(half * std::sqrt(2.0));
    }
};

}  // namespace

void Mesh::ComputeSphere(bool PerGroup) {
    MeshRecord& r = record();
    Box all;
    for (std::size_t i = 1; i < r.LVertices.size(); ++i) all.widen(r.LVertices[i]);
    all.sphere(r.BoxMin, r.BoxMax, r.SphereCentre, r.SphereRadius);
    r.SphereValid = -1;
    if (!PerGroup) return;
    for (Integer g = 1; g <= r.GroupCount && static_cast<std::size_t>(g) < r.Groups.size(); ++g) {
        FaceGroup& group = r.Groups[static_cast<std::size_t>(g)];
        Box box;
        for (Integer index : group.GroupIndices) {  // an index outside the vertices is passed over
            const auto entry = static_cast<std::size_t>(index) + 1;
            if (index >= 0 && entry < r.LVertices.size()) box.widen(r.LVertices[entry]);
        }
        D3DVECTOR lo, hi;
        box.sphere(lo, hi, group.GroupCentre, group.GroupRadius);
    }
}

void Mesh::ClearMesh() {
    MeshRecord& r = record();
    r.Vertices.assign(1, D3DVERTEX{});
    r.LVertices.assign(1, D3DLVERTEX{});
    r.TLVertices.assign(1, D3DTLVERTEX{});
    r.Groups.assign(1, FaceGroup{});
}

D3DVECTOR Mesh::GetPosition() const { return record().MeshPosition; }
D3DVECTOR Mesh::GetRotation() const { return record().MeshRotation; }
Long Mesh::GetVertexCount() const { return static_cast<Long>(record().Vertices.size()) - 1; }

void Mesh::ScaleMesh(float x, float y, float z) {
    record().MeshScale = D3DVECTOR{x, y, z};
    record().MatrixDirty = -1;
}
void Mesh::SetPosition(float x, float y, float z) {
    record().MeshPosition = D3DVECTOR{x, y, z};
    record().MatrixDirty = -1;
}
void Mesh::SetRotation(float x, float y, float z) {
    record().MeshRotation = D3DVECTOR{x, y, z};
    record().MatrixDirty = -1;
}

void Mesh::SetAlphaBlending(Integer On, Long Src, Long Dest) {
    MeshRecord& r = record();
    r.AlphaEnabled = On;
    r.SrcBlend = Src == 0 ? 2 : Src;
    r.DestBlend = Dest == 0 ? 2 : Dest;
}

void Mesh::SetColor(float r, float g, float b, float a) {
    MeshRecord& rec = record();
    const Long colour = dxmath::createColorRGBA(r, g, b, a);
    for (std::size_t i = 1; i < rec.LVertices.size(); ++i) rec.LVertices[i].color = colour;
    if (rec.VertexType == 3)
        for (std::size_t i = 1; i < rec.TLVertices.size(); ++i) rec.TLVertices[i].color = colour;
    rec.MeshColor = colour;
}

void Mesh::SetFaceIndexArray(Integer group, const SafeArray<Integer>& indices) {
    MeshRecord& r = record();
    const Long upper = indices.UBound();  // 9 for an undimensioned array, before any change
    grow_groups(r, group);
    FaceGroup& g = group_at(r, group);
    g.GroupIndices.assign(indices.begin(), indices.end());
    g.GroupIndexCount = upper;
}

void Mesh::SetGroupPointer(Integer group) {
    grow_groups(record(), group);
    CurrentGroup = group;
}

void Mesh::SetMeshEnabled(Integer enabled) { record().MeshEnabled = enabled; }
void Mesh::SetMeshName(const std::string& name) { record().MeshName = name; }
void Mesh::SetPrimitiveType(Long type) { record().PrimitiveType = type; }
void Mesh::SetVertexType(Long type) { record().VertexType = type; }

namespace {
template <class V>
void copy_from_host(std::vector<V>& to, const SafeArray<V>& from) {
    const Long lower = from.LBound(), upper = from.UBound();
    std::vector<V> copy(static_cast<std::size_t>(std::max<Long>(upper, 0)) + 1);
    for (Long i = std::max<Long>(lower, 0); i <= upper; ++i) copy[static_cast<std::size_t>(i)] = from(i);
    to = std::move(copy);
}
}  // namespace

void Mesh::SetVertexesArray(const SafeArray<D3DVERTEX>& vertices) { copy_from_host(record().Vertices, vertices); }
void Mesh::SetLVertexesArray(const SafeArray<D3DLVERTEX>& vertices) { copy_from_host(record().LVertices, vertices); }

void Mesh::SetStyle(Long flags) {
    MeshRecord& r = record();
    r.AlphaEnabled = (flags & 2) ? -1 : 0;
    r.KeepTexture1 = (flags & 1) ? -1 : 0;
    if (flags & 8) {
        r.AlphaEnabled = -1;
        r.VertexType = 3;
        r.PrimitiveType = 5;
    }
    if (flags & 16) {
        r.BoxStyle = -1;
        r.VertexType = 2;
        r.PrimitiveType = 4;
    } else {
        r.BoxStyle = 0;
    }
}

void Mesh::SetBakeLight(Integer index, const D3DLIGHT7& light, bool on) {
    if (index < 0 || index >= mesh::kBakeLightRecords) raise_error(err::SubscriptOutOfRange);
    auto& record = module().BakeLights[static_cast<std::size_t>(index)];
    record.On = on ? -1 : 0;
    record.Light = light;
}

void Mesh::SetLightMapAxes(Integer group, const D3DVECTOR& AxisU, const D3DVECTOR& AxisV) {
    FaceGroup& g = group_at(record(), group);
    g.AxisU = AxisU;
    g.AxisV = AxisV;
    g.RemapCoords = -1;
}

void Mesh::SetLightMapStage(bool on) { record().LightMapStage = on ? -1 : 0; }

}  // namespace tarko
