// cTarko_Xfile: loading through the X reader and mesh builder, drawing, the
// point test and the group-0 accessors.
#include "models/x/cTarko_Xfile.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "geometry/cube.h"
#include "models/x/mesh_builder.h"
#include "models/x/texture_scan.h"
#include "models/x/x_file.h"
#include "platform/constants.h"
#include "runtime/byte_reader.h"
#include "runtime/errors.h"
#include "runtime/files.h"
#include "runtime/services.h"

using tarko::Integer;
using tarko::Long;
using tarko::SafeArray;
using tarko::Variant;
namespace rt = tarko::runtime;
namespace x = tarko::x;

namespace {

// The point test's own degree factor, not pi / 180 nor the engine's.
constexpr double kObjectMatrixDegree = 3.14564875441112 / 180.0;

constexpr const char* kLoadError = "error loading xfile";

}  // namespace

cTarko_Xfile::cTarko_Xfile() : DX_root(std::make_shared<DirectX7>()) { Groups.ReDim(0, 0); }

cTarko_Xfile::~cTarko_Xfile() {
    if (Groups.dimensioned() && Groups.UBound() > 0) Groups.Erase();
}

void cTarko_Xfile::AddVertex(GroupRecord& group, const D3DVERTEX& v) {
    const Long last = group.Vertices.UBound();
    group.Vertices(last) = v;
    group.Vertices.ReDimPreserve(last + 1);
}

void cTarko_Xfile::AddIndex(GroupRecord& group, Long i) {
    const Integer value = rt::CInt(i);   // above 32767: Overflow (6)
    const Long last = group.Indices.UBound();
    group.Indices(last) = value;
    group.Indices.ReDimPreserve(last + 1);
}

void cTarko_Xfile::Load(tarko_DX7& TKX, const std::string& filename, bool Try_LoadingTEXTURE) {
    Loaded = false;
    ModelDirectory = rt::directory_of(filename);
    auto refuse = [&] {
        rt::MsgBox(kLoadError);
        Loaded = false;
    };

    // The mesh route, else the frame route; a file neither can read ends here.
    std::optional<x::File> file;
    try {
        const auto bytes = rt::read_file(filename);
        file = x::parse(bytes);
    } catch (const std::exception&) {
        refuse();
        return;
    }
    const x::Route route = x::has_route(*file, x::Route::Mesh) ? x::Route::Mesh : x::Route::Frames;
    if (!x::has_route(*file, route)) {
        refuse();
        return;
    }

    // Resume-next on the mesh route until a first texture exists; catch-all
    // on the frame route and after that texture.
    bool catch_all = route == x::Route::Frames;
    rt::ResumeNext resume;
    auto step = [&](auto&& statement) {
        if (catch_all) statement();
        else resume(statement);
    };

    try {
        const x::MeshBuilder builder = x::gather(*file, route);
        file.reset();
        const x::Box box = x::box_of(builder);
        ModelBox.min = {box.min.x, box.min.y, box.min.z};
        ModelBox.max = {box.max.x, box.max.y, box.max.z};
        const std::vector<x::Group> groups = x::create_groups(builder, x::kCreaseAngle);

        GroupCount = static_cast<Long>(groups.size());
        Groups.ReDim(0, GroupCount - 1);
        for (Long g = 0; g < GroupCount; ++g) {
            const x::Group& source = groups[static_cast<std::size_t>(g)];
            GroupRecord& group = Groups(g);
            group.Indices.ReDim(0, 0);
            group.Vertices.ReDim(0, 0);
            group.Transformed.ReDim(0, 0);

            if (Try_LoadingTEXTURE) {
                std::optional<std::vector<std::string>> names;
                step([&] { names = x::scan_texture_file(filename); });
                if (names) {
                    // Names go to groups by their order in the file; an empty
                    // list has no bounds to walk (9).
                    step([&] {
                        if (names->empty()) tarko::raise_error(tarko::err::SubscriptOutOfRange);
                    });
                    for (std::size_t i = 0; i < names->size(); ++i)
                        step([&] { Groups(static_cast<Long>(i)).TextureName = ModelDirectory + (*names)[i]; });
                    rt::ResumeNext texture;
                    texture([&] { group.Texture = TKX.CreateTextureEX(group.TextureName, 128, 128); });
                    if (group.Texture) catch_all = true;
                }
            }

            const x::Material& m = source.material;
            const Long colour = DX_root->createColorRGBA(m.face.r, m.face.g, m.face.b, m.face.a);
            group.Material.diffuse = {DX_root->colorGetRed(colour), DX_root->colorGetGreen(colour),
                                      DX_root->colorGetBlue(colour), DX_root->colorGetAlpha(colour)};
            group.Material.ambient = {m.face.r, m.face.g, m.face.b, 1.0f};
            group.Material.specular = {m.specular.r, m.specular.g, m.specular.b, 1.0f};
            group.Material.emissive = {m.emissive.r, m.emissive.g, m.emissive.b, 1.0f};
            group.Material.power = m.power;

            // Faces fanned into triangles: (first, k + 1, k + 2) for k from 0 to count - 3.
            const auto& data = source.face_data;
            for (std::size_t f = 0; f < data.size();) {
                const std::size_t count = source.vertices_per_face ? source.vertices_per_face : data[f++];
                const std::size_t first = f;
                for (std::size_t k = 0; k + 3 <= count; ++k) {
                    step([&] { AddIndex(group, static_cast<Long>(data[first])); });
                    step([&] { AddIndex(group, static_cast<Long>(data[first + k + 1])); });
                    step([&] { AddIndex(group, static_cast<Long>(data[first + k + 2])); });
                }
                f += count;
            }
            for (const x::GroupVertex& v : source.vertices)
                AddVertex(group, D3DVERTEX{v.p.x, v.p.y, v.p.z, v.n.x, v.n.y, v.n.z, v.tu, v.tv});
            group.Transformed.ReDim(0, group.Vertices.UBound());
        }

        for (Long g = 0; g < GroupCount; ++g) {
            GroupRecord& group = Groups(g);
            step([&] { TKX.OBJECT_getBoundingBOX(group.Vertices, group.Box); });
            const D3DRMBOX& b = group.Box;
            group.Size = {b.max.x - b.min.x, b.max.y - b.min.y, b.max.z - b.min.z};
            group.Radius = std::max({group.Size.x, group.Size.y, group.Size.z});
            group.Center = {(b.min.x + b.max.x) / 2, (b.min.y + b.max.y) / 2, (b.min.z + b.max.z) / 2};
            step([&] { TKX.CreateCubeEX(group.BoxVertices, group.Size, Variant(Integer(1)), Variant(Integer(1))); });
        }
        Bounding_BOX_Width = ModelBox.max.x - ModelBox.min.x;
        Bounding_BOX_Height = ModelBox.max.y - ModelBox.min.y;
        Bounding_BOX_DEPH = ModelBox.max.z - ModelBox.min.z;
        step([&] {
            TKX.CreateCubeEX(BoxVertices, D3DVECTOR{Bounding_BOX_Width, Bounding_BOX_Height, Bounding_BOX_DEPH},
                             Variant(Integer(1)), Variant(Integer(1)));
        });
        Loaded = true;
    } catch (const std::exception&) {
        refuse();
    }
}

void cTarko_Xfile::MakeBoxVertices() {
    // The box stands on the origin: y from 0 to h.
    const D3DVECTOR half{Bounding_BOX_Width / 2, Bounding_BOX_Height / 2, Bounding_BOX_DEPH / 2};
    auto cube = tarko::geometry::textured_cube(half, 1, 1);
    BoxVertices.ReDim(0, tarko::geometry::kCubeUpperBound);
    for (Long i = 0; i <= tarko::geometry::kCubeUpperBound; ++i) {
        D3DVERTEX v = cube[static_cast<std::size_t>(i)];
        v.y += half.y;
        BoxVertices(i) = v;
    }
}

void cTarko_Xfile::Render(tarko_DX7& TKX, bool Use_builtIN_transformation, bool Use_BuiltINtexture) {
    if (!Loaded) return;
    rt::ResumeNext next;
    if (Use_builtIN_transformation) {
        next([&] { TKX.CLearMATRIX(); });
        next([&] { TKX.OBJECT_Scale_Rotate_MovEX(Vscal_, Vrotation_, vPosition_); });
        next([&] { MakeBoxVertices(); });
    }
    next([&] { TKX.USE_default_RENDERSTATE(); });
    next([&] { TKX.Set_Light(true); });
    const Long last = Groups.dimensioned() ? Groups.UBound() : -1;
    for (Long g = 0; g <= last; ++g) {
        next([&] { DrawGroup(TKX, g, Use_BuiltINtexture); });
        next([&] { TKX.CLearMATRIX(); });
    }
    next([&] { TKX.CLearMATRIX(); });
}

void cTarko_Xfile::DrawGroup(tarko_DX7& TKX, Long g, bool Use_BuiltINtexture) {
    GroupRecord& group = Groups(g);
    rt::ResumeNext next;
    if (Use_BuiltINtexture && group.Texture) next([&] { TKX.D3D_DEV->setTexture(0, group.Texture); });
    group.Material.ambient = {1, 1, 1, 1};
    next([&] { TKX.D3D_DEV->setMaterial(group.Material); });
    next([&] {
        TKX.D3D_DEV->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX, group.Vertices.from(0),
                                          group.Vertices.UBound() + 1, group.Indices.from(0),
                                          group.Indices.UBound(), 0);
    });
}

Variant cTarko_Xfile::GetMinExtent(float& X1, float& Y1, float& z1) {
    X1 = ExtentBox.min.x;
    Y1 = ExtentBox.min.y;
    z1 = ExtentBox.min.z;
    return {};
}

Variant cTarko_Xfile::GetMaxExtent(float& x2, float& Y2, float& z2) {
    x2 = ExtentBox.max.x;
    Y2 = ExtentBox.max.y;
    z2 = ExtentBox.max.z;
    return {};
}

D3DVECTOR cTarko_Xfile::BOX_size() { return {Bounding_BOX_Width, Bounding_BOX_Height, Bounding_BOX_DEPH}; }

Variant cTarko_Xfile::IScollision(const D3DVECTOR& ObjectPOS) {
    const Long last = Groups.UBound();
    for (Long g = 0; g <= last; ++g) {
        ExtentBox = Groups(g).Box;
        if (PointInObject(ObjectPOS)) return Variant(Integer(1));
    }
    return {};
}

bool cTarko_Xfile::PointInObject(const D3DVECTOR& p) {
    const D3DMATRIX m = MakeObjectMatrix(Vrotation_, Vscal_, vPosition_);
    SafeArray<D3DVERTEX> local;
    VerTEX_MatMULTILPY(BoxVertices, m, local);
    // VertexBounds' start values: eight nines for the minimum z, not nine.
    D3DVECTOR mn{999999999.0f, 999999999.0f, 99999999.0f}, mx{-999999999.0f, -999999999.0f, -999999999.0f};
    for (const D3DVERTEX& v : local) {
        mn = {std::min(mn.x, v.x), std::min(mn.y, v.y), std::min(mn.z, v.z)};
        mx = {std::max(mx.x, v.x), std::max(mx.y, v.y), std::max(mx.z, v.z)};
    }
    return p.x > mn.x && p.x < mx.x && p.y > mn.y && p.y < mx.y && p.z > mn.z && p.z < mx.z;
}

D3DMATRIX cTarko_Xfile::MakeObjectMatrix(const D3DVECTOR& rotation, const D3DVECTOR& scale,
                                         const D3DVECTOR& translation) {
    const double f = kObjectMatrixDegree;
    const double c1 = std::cos(rotation.x * f), s1 = std::sin(rotation.x * f);
    const double c2 = std::cos(rotation.y * f), s2 = std::sin(rotation.y * f);
    const double c3 = std::cos(rotation.z * f), s3 = std::sin(rotation.z * f);
    const double sx = scale.x, sy = scale.y, sz = scale.z;
    auto s = [](double v) { return static_cast<float>(v); };
    D3DMATRIX m;
    m.rc11 = s(sx * c2 * c3);
    m.rc12 = s(sx * c2 * s3);
    m.rc13 = s(-sx * s2);
    m.rc14 = 0;
    m.rc21 = s(sy * (s1 * s2 * c3 - c1 * s3));
    m.rc22 = s(sy * (s1 * s2 * s3 + c1 * c3));
    m.rc23 = s(sy * s1 * c2);
    m.rc24 = 0;
    m.rc31 = s(sz * (c1 * s2 * c3 + s1 * s3));
    m.rc32 = s(sz * (c1 * s2 * s3 - s1 * c3));
    m.rc33 = s(sz * c1 * c2);
    m.rc34 = 0;
    m.rc41 = translation.x;
    m.rc42 = translation.y;
    m.rc43 = translation.z;
    m.rc44 = 1;
    return m;
}

Variant cTarko_Xfile::VerTEX_MatMULTILPY(const SafeArray<D3DVERTEX>& VERT, const D3DMATRIX& MATA,
                                         SafeArray<D3DVERTEX>& retVert) {
    retVert = VERT;
    for (D3DVERTEX& v : retVert) {
        const double x = v.x, y = v.y, z = v.z;
        const double px = x * MATA.rc11 + y * MATA.rc21 + z * MATA.rc31 + MATA.rc41;
        const double py = x * MATA.rc12 + y * MATA.rc22 + z * MATA.rc32 + MATA.rc42;
        const double pz = x * MATA.rc13 + y * MATA.rc23 + z * MATA.rc33 + MATA.rc43;
        const double w = x * MATA.rc14 + y * MATA.rc24 + z * MATA.rc34 + MATA.rc44;
        if (std::fabs(w) < 1e-5) continue;
        v.x = static_cast<float>(px / w);
        v.y = static_cast<float>(py / w);
        v.z = static_cast<float>(pz / w);
    }
    return {};
}

Variant cTarko_Xfile::ReloadTextures(const tarko::Ref<DirectDraw7>& ddraw, const tarko::Ref<Direct3DDevice7>& dev) {
    (void)ddraw;
    const std::string guid = dev->getDeviceGuid();
    (void)guid;
    for (Long g = 0; g <= Groups.UBound(); ++g) (void)Groups(g);
    return {};
}

void cTarko_Xfile::Load_TEXURE(tarko_DX7& TKX, const Variant& Pindex, const std::string& TEXTURE_file) {
    GroupRecord& group = Groups(Pindex.to_long());
    group.Texture = TKX.CreateTextureEX(TEXTURE_file, 256, 128);
}

void cTarko_Xfile::GETvertext(SafeArray<D3DVERTEX>& Tver) { Tver = Groups(0).Vertices; }

void cTarko_Xfile::GET_ObjectVERTICES(SafeArray<D3DVERTEX>& lpVert, SafeArray<Integer>& lpINDICES) {
    lpVert = Groups(0).Vertices;
    lpINDICES = Groups(0).Indices;
}

Long cTarko_Xfile::Vertext_count() { return Groups(0).Vertices.UBound(); }
void cTarko_Xfile::GETindex(SafeArray<Integer>& Tindex) { Tindex = Groups(0).Indices; }
Long cTarko_Xfile::INDEX_count() { return Groups(0).Indices.UBound(); }

void cTarko_Xfile::Set_Position(const Variant& X, const Variant& Y, const Variant& z) {
    vPosition_ = {X.to_single(), Y.to_single(), z.to_single()};
}
void cTarko_Xfile::Set_Rotation(const Variant& X, const Variant& Y, const Variant& z) {
    Vrotation_ = {X.to_single(), Y.to_single(), z.to_single()};
}
void cTarko_Xfile::Set_Scale(const Variant& X, const Variant& Y, const Variant& z) {
    Vscal_ = {X.to_single(), Y.to_single(), z.to_single()};
}

Variant cTarko_Xfile::GETBounding_BOX(D3DRMBOX& RETBOX) {
    RETBOX = ModelBox;
    return {};
}
