// The mesh table, the builders, the setters and the actor hand-out.
#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "mesh/actor_mesh.h"
#include "mesh/mesh.h"
#include "mesh_fixture.h"
#include "support/test_support.h"

using namespace tarko;

namespace {

using MeshTable = test::MeshModuleTest<>;

void expect_vertex(const D3DLVERTEX& v, float x, float y, float z, float tu, float tv) {
    EXPECT_EQ(std::tuple(v.x, v.y, v.z, v.color), std::tuple(x, y, z, -1));  // opaque white
    EXPECT_FLOAT_EQ(v.tu, tu);
    EXPECT_FLOAT_EQ(v.tv, tv);
}

}  // namespace

TEST_F(MeshTable, SetMeshEnabledZeroFreesTheRecordWhileItsMeshStillUsesIt) {
    Mesh a, b;
    b.SetMeshEnabled(0);
    Mesh c, d;
    EXPECT_EQ(std::tuple(a.slot(), b.slot(), c.slot(), d.slot()), std::tuple(1, 2, 2, 3));
}

TEST_F(MeshTable, TheThousandAndFirstMeshIsRefused) {
    std::vector<std::unique_ptr<Mesh>> meshes;
    for (int i = 0; i < 1000; ++i) meshes.push_back(std::make_unique<Mesh>());
    EXPECT_EQ(meshes.back()->slot(), 1000);
    EXPECT_EQ(test::error_of([] { Mesh extra; }), err::OutOfMemory);
}

TEST_F(MeshTable, CreationSetsItsFieldsAndKeepsTheRestOfAReusedRecord) {
    {
        Mesh m;
        m.SetMeshName("old");
        m.SetStyle(16);
        m.SetGroupPointer(3);
        Long n = 0;
        m.AddVertex(1, 2, 3, 0, 0, 0, 0, 0, 0, false, n);
    }
    Mesh m;
    const auto& r = m.record();
    EXPECT_EQ(std::tuple(m.slot(), r.MeshEnabled, r.InUse, r.VertexType, r.PrimitiveType, r.MatrixDirty, r.AnimationKey),
              std::tuple(1, -1, -1, 1, 4, -1, 1.0f));
    EXPECT_EQ(std::tuple(r.GroupCount, m.GetVertexCount(), r.Groups.size()), std::tuple(0, 0, 1u));
    EXPECT_EQ(std::tuple(m.GetMeshName(), r.BoxStyle), std::tuple(std::string("old"), -1));  // the name: not set by creation
}

TEST_F(MeshTable, TheFirstVertexIsNumberOneAndGoesIntoItsGroupAsZero) {
    Mesh m;
    Long n = -7;
    m.AddVertex(1, 2, 3, 0x11223344, 0.25f, 0.5f, 0, 1, 0, false, n);
    EXPECT_EQ(n, 1);
    EXPECT_EQ(m.record().Groups.size(), 1u);  // no current group: no list grows
    m.SetGroupPointer(2);
    m.AddVertex(4, 5, 6, 7, 0, 0, 0, 0, 1, false, n);
    EXPECT_EQ(n, 2);
    m.AddVertex(7, 8, 9, 7, 0, 0, 0, 0, 1, true, n);  // transformed: own numbering
    EXPECT_EQ(n, 1);
    const auto& r = m.record();
    EXPECT_EQ(std::tuple(r.GroupCount, r.Groups[2].GroupIndexCount, m.GetVertexCount()), std::tuple(2, 1, 2));
    EXPECT_EQ(r.Groups[2].GroupIndices, std::vector<Integer>{1});
    EXPECT_EQ(std::tuple(r.LVertices[1].color, r.LVertices[1].specular), std::tuple(0x11223344, 0x11223344));
    EXPECT_EQ(std::tuple(r.Vertices[1].ny, r.Vertices[2].nz), std::tuple(1.0f, 1.0f));
    EXPECT_EQ(std::tuple(r.TLVertices[1].rhw, r.TLVertices[1].sz, r.TLVertices[1].specular), std::tuple(0.5f, 9.0f, 7));
}

TEST_F(MeshTable, AVertexPastIndex32767RaisesOverflowInAGroupOnly) {
    Mesh m;
    Long n = 0;
    for (int i = 0; i < 32767; ++i) m.AddVertex(0, 0, 0, 0, 0, 0, 0, 0, 0, false, n);
    m.SetGroupPointer(1);
    m.AddVertex(0, 0, 0, 0, 0, 0, 0, 0, 0, false, n);  // vertex 32768 is listed as 32767
    EXPECT_EQ(m.record().Groups[1].GroupIndices.back(), 32767);
    // Vertex 32769 would be listed as 32768, beyond an Integer.
    EXPECT_EQ(test::error_of([&] { m.AddVertex(0, 0, 0, 0, 0, 0, 0, 0, 0, false, n); }), err::Overflow);
    EXPECT_EQ(m.GetVertexCount(), 32768);
    m.SetGroupPointer(0);
    m.AddVertex(0, 0, 0, 0, 0, 0, 0, 0, 0, false, n);
    EXPECT_EQ(n, 32769);
}

TEST_F(MeshTable, WallAndFloorStripsTakeTheirCornersAndMargins) {
    Mesh m;
    m.AddWall(1, 2, 5, 6, 3, 0.5f, 2, 4);  // tileV 2, tileU 4
    const auto& r = m.record();
    // tu = 0.02 / 0.98 x 4 = 0.08 / 3.92; tv = 0.02 / 0.98 x 2 = 0.04 / 1.96.
    expect_vertex(r.LVertices[1], 1, 0.5f, 2, 0.08f, 0.04f);
    expect_vertex(r.LVertices[2], 1, 3.5f, 2, 0.08f, 1.96f);
    expect_vertex(r.LVertices[3], 5, 0.5f, 6, 3.92f, 0.04f);
    expect_vertex(r.LVertices[4], 5, 3.5f, 6, 3.92f, 1.96f);
    EXPECT_EQ(std::tuple(r.Vertices[1].nx, r.PrimitiveType), std::tuple(0.0f, 5));

    m.SetPrimitiveType(4);
    m.AddWall2(0, 0, 2, 0, 1, 2, 10, 20, 1, 1);
    expect_vertex(r.LVertices[6], 0, 11, 0, 0.02f, 0.98f);
    expect_vertex(r.LVertices[8], 2, 22, 0, 0.98f, 0.98f);
    EXPECT_EQ(r.PrimitiveType, 4);  // AddWall2 leaves it

    m.AddFloor(0, 0, 4, 8, -1, 1, 1);
    expect_vertex(r.LVertices[10], 0, -1, 8, 0.02f, 0.98f);
    expect_vertex(r.LVertices[11], 4, -1, 0, 0.98f, 0.02f);
    EXPECT_EQ(std::tuple(r.Vertices[12].nx, r.PrimitiveType), std::tuple(1.0f, 5));

    m.AddTriangle(1, 1, 1, 2, 2, 2, 3, 3, 3, 1, 1);
    expect_vertex(r.LVertices[15], 3, 3, 3, 0.98f, 0.02f);
    EXPECT_EQ(r.Vertices[15].nx, 1.0f);
}

TEST_F(MeshTable, FloorSetsItsPrimitiveTypeBeforeTheVerticesAndWallAfter) {
    // After ClearMesh the groups are gone while GroupCount stays 1: the first
    // AddVertex into group 1 raises 9, which shows when each builder sets its type.
    Mesh m;
    m.SetGroupPointer(1);
    m.ClearMesh();
    EXPECT_EQ(test::error_of([&] { m.AddFloor(0, 0, 1, 1, 0, 1, 1); }), err::SubscriptOutOfRange);
    EXPECT_EQ(m.record().PrimitiveType, 5);
    m.SetPrimitiveType(4);
    EXPECT_EQ(test::error_of([&] { m.AddWall(0, 0, 1, 1, 1, 0, 1, 1); }), err::SubscriptOutOfRange);
    // Nothing is added before the error.
    EXPECT_EQ(std::tuple(m.record().PrimitiveType, m.GetVertexCount()), std::tuple(4, 0));
}

TEST_F(MeshTable, BoxHasThirtySixVerticesInFaceOrderAndSetsItsTypes) {
    Mesh m;
    m.SetStyle(2);
    m.AddBox(-1, -2, -3, 1, 2, 3);
    const auto& r = m.record();
    ASSERT_EQ(m.GetVertexCount(), 36);
    struct Row {
        int entry;
        std::array<float, 8> v;  // x, y, z, tu, tv, nx, ny, nz
    };
    const Row rows[] = {
        {1, {-1, -2, -3, 0, 1, 0, 0, -1}},   // C1 first on the -z face
        {3, {1, 2, -3, 1, 0, 0, 0, -1}},     // C7
        {6, {1, -2, -3, 1, 1, 0, 0, -1}},    // C5
        {7, {1, -2, -3, 0, 1, 1, 0, 0}},     // C5 opens the +x face
        {12, {1, -2, 3, 1, 1, 1, 0, 0}},     // C6
        {15, {-1, 2, -3, 1, 0, -1, 0, 0}},   // C3
        {20, {1, 2, 3, 0, 0, 0, 0, 1}},      // C8
        {27, {1, 2, 3, 1, 0, 0, 1, 0}},      // C8 on the top
        {30, {1, 2, -3, 1, 1, 0, 1, 0}},     // C7
        {32, {1, -2, -3, 0, 0, 0, -1, 0}},   // C5 on the bottom
        {36, {-1, -2, 3, 1, 1, 0, -1, 0}},   // C2 closes it
    };
    for (const Row& w : rows) {
        const D3DVERTEX& v = r.Vertices[static_cast<std::size_t>(w.entry)];
        EXPECT_EQ((std::array{v.x, v.y, v.z, v.tu, v.tv, v.nx, v.ny, v.nz}), w.v) << w.entry;
    }
    EXPECT_EQ(std::tuple(r.PrimitiveType, r.VertexType, r.AlphaEnabled), std::tuple(4, 2, 0));  // alpha: style 0
}

TEST_F(MeshTable, StyleBitsSetAlphaTextureBoxAndTypes) {
    struct Row {
        Long flags;
        Integer alpha, keep1, box;
        Long vertex_type, primitive_type;
    };
    // Each row starts from vertex type 1, primitive type 4, everything set.
    const Row rows[] = {
        {0, 0, 0, 0, 1, 4},   {1, 0, -1, 0, 1, 4},  {2, -1, 0, 0, 1, 4},   {8, -1, 0, 0, 3, 5},
        {16, 0, 0, -1, 2, 4}, {24, -1, 0, -1, 2, 4}, {32, 0, 0, 0, 1, 4}, {3, -1, -1, 0, 1, 4},
    };
    Mesh m;
    for (const Row& w : rows) {
        auto& r = m.record();
        r.AlphaEnabled = r.KeepTexture1 = r.BoxStyle = -1;
        r.VertexType = 1;
        r.PrimitiveType = 4;
        m.SetStyle(w.flags);
        EXPECT_EQ(std::tuple(r.AlphaEnabled, r.KeepTexture1, r.BoxStyle, r.VertexType, r.PrimitiveType),
                  std::tuple(w.alpha, w.keep1, w.box, w.vertex_type, w.primitive_type))
            << w.flags;
    }
}

TEST_F(MeshTable, SphereIsTheHalfSumAndTheLargestHalfExtentTimesRootTwo) {
    Mesh m;
    Long n = 0;
    m.AddVertex(0, 0, 0, 0, 0, 0, 0, 0, 0, false, n);
    m.SetGroupPointer(1);
    m.AddVertex(2, 4, 6, 0, 0, 0, 0, 0, 0, false, n);
    m.AddVertex(2, -4, 6, 0, 0, 0, 0, 0, 0, false, n);
    m.ComputeSphere(true);
    const auto& r = m.record();
    // Box (0, -4, 0)..(2, 4, 6): centre (1, 0, 3); half extents 1, 4, 3: 4 x 1.41421356 = 5.6568542.
    EXPECT_EQ(std::tuple(r.BoxMin.y, r.BoxMax.z, r.SphereValid), std::tuple(-4.0f, 6.0f, -1));
    EXPECT_EQ(std::tuple(r.SphereCentre.x, r.SphereCentre.y, r.SphereCentre.z), std::tuple(1.0f, 0.0f, 3.0f));
    EXPECT_FLOAT_EQ(r.SphereRadius, 5.6568542f);
    // Group 1 holds vertices 2 and 3: box (2, -4, 6)..(2, 4, 6), half extent 4.
    EXPECT_EQ(std::tuple(r.Groups[1].GroupCentre.x, r.Groups[1].GroupCentre.y), std::tuple(2.0f, 0.0f));
    EXPECT_FLOAT_EQ(r.Groups[1].GroupRadius, 5.6568542f);

    // With no vertex the box keeps its start: x from 99999999 (1e8 as a Single)
    // to -999999999, centre (1e8 - 1e9) / 2 = -4.5e8; on y and z the nines cancel.
    m.ClearMesh();
    m.ComputeSphere(false);
    EXPECT_EQ(std::tuple(r.SphereCentre.x, r.SphereCentre.y), std::tuple(-450000000.0f, 0.0f));
}

TEST_F(MeshTable, LookAtPointTurnsAboutYInDegreesWithItsOwnPi) {
    Mesh m;
    m.SetPosition(1, 0, 1);
    const double pi = 3.141592;
    struct Row {
        D3DVECTOR target;
        double degrees;
    };
    const Row rows[] = {
        {{2, 0, 2}, std::atan(1.0) * 180 / pi},          // d = (1, 0, 1): 45.00001
        {{2, 0, 0}, (std::atan(-1.0) + pi) * 180 / pi},  // d.z < 0: 135.00001
        {{5, 9, 1}, 0},                                  // d.z = 0
    };
    for (const Row& w : rows) {
        m.record().MatrixDirty = 0;
        m.LookAtPoint(w.target);
        EXPECT_EQ(std::tuple(m.GetRotation().y, m.record().MatrixDirty), std::tuple(static_cast<float>(w.degrees), -1));
    }
}

TEST_F(MeshTable, RotateMeshWrapsEachComponentOnce) {
    Mesh m;
    const auto rot = [&] { return std::tuple(m.GetRotation().x, m.GetRotation().y, m.GetRotation().z); };
    m.RotateMesh(725, -10, 30);  // 725 - 360 = 365; -10 + 360 = 350
    EXPECT_EQ(rot(), std::tuple(365.0f, 350.0f, 30.0f));
    m.RotateMesh(0, 20, 330);  // 370 - 360 = 10; 360 stays
    EXPECT_EQ(std::get<1>(rot()), 10.0f);
    EXPECT_EQ(std::get<2>(rot()), 360.0f);
    m.SetRotation(0, 0, 0);
    m.RotateMesh(0, -360, 0);  // 0 stays 0; -360 gains 360 once
    EXPECT_EQ(rot(), std::tuple(0.0f, 0.0f, 0.0f));
}

TEST_F(MeshTable, ClearMeshEmptiesTheArraysAndKeepsNamePositionAndGroupCount) {
    Mesh m;
    m.SetMeshName("room");
    m.SetPosition(1, 2, 3);
    m.SetGroupPointer(4);
    m.AddWall(0, 0, 1, 1, 1, 0, 1, 1);
    m.ClearMesh();
    const auto& r = m.record();
    EXPECT_EQ(std::tuple(r.Vertices.size(), r.LVertices.size(), r.TLVertices.size(), r.Groups.size()),
              std::tuple(1u, 1u, 1u, 1u));
    EXPECT_EQ(std::tuple(r.GroupCount, m.GetPosition().z, r.PrimitiveType), std::tuple(4, 3.0f, 5));
    EXPECT_EQ(m.GetMeshName(), "room");
}

TEST_F(MeshTable, SettersReachTheFormsTheySay) {
    Mesh m;
    Long n = 0;
    m.AddVertex(1, 1, 1, 5, 0, 0, 0, 0, 0, false, n);
    m.AddVertex(1, 1, 1, 5, 0, 0, 0, 0, 0, true, n);
    const auto& r = m.record();

    m.MoveVertex(1, D3DVECTOR{7, 8, 9});
    EXPECT_EQ(std::tuple(r.LVertices[1].y, r.Vertices[1].z, r.TLVertices[1].sx), std::tuple(8.0f, 9.0f, 1.0f));
    m.MoveVertex(5, D3DVECTOR{7, 8, 9});  // outside: nothing
    m.SetVertexType(2);                   // type 2 moves the transformed vertex
    m.MoveVertex(1, D3DVECTOR{4, 5, 6});
    EXPECT_EQ(std::tuple(r.TLVertices[1].sy, r.LVertices[1].y), std::tuple(5.0f, 8.0f));
    EXPECT_EQ(test::error_of([&] { m.MoveVertex(2, D3DVECTOR{}); }), err::SubscriptOutOfRange);

    m.SetColor(1, 0, 0, 1);  // createColorRGBA: 0xFFFF0000
    EXPECT_EQ(std::tuple(r.LVertices[1].color, r.LVertices[1].specular, r.TLVertices[1].color),
              std::tuple(static_cast<std::int32_t>(0xFFFF0000u), 5, 5));
    m.SetVertexType(3);
    m.SetColor(0, 0, 1, 0);
    EXPECT_EQ(std::tuple(r.TLVertices[1].color, r.MeshColor), std::tuple(0x000000FF, 0x000000FF));

    m.SetAlphaBlending(-1, 0, 5);
    EXPECT_EQ(std::tuple(r.SrcBlend, r.DestBlend), std::tuple(2, 5));

    SafeArray<Integer> list(0, 2);
    list(0) = 5, list(1) = 6, list(2) = 7;
    m.SetFaceIndexArray(3, list);
    EXPECT_EQ(r.Groups[3].GroupIndices, (std::vector<Integer>{5, 6, 7}));
    EXPECT_EQ(std::tuple(r.GroupCount, r.Groups[3].GroupIndexCount), std::tuple(3, 2));  // count: the upper bound
    EXPECT_EQ(test::error_of([&] { m.SetFaceIndexArray(-1, list); }), err::SubscriptOutOfRange);

    SafeArray<D3DVERTEX> host(0, 3);
    host(3).x = 42;
    m.SetVertexesArray(host);
    // The other form is left as it was.
    EXPECT_EQ(std::tuple(m.GetVertexCount(), r.Vertices[3].x, r.LVertices.size()), std::tuple(3, 42.0f, 2u));
}

TEST_F(MeshTable, QuickSetMaterialPaintsTheMeshOrGroupMaterials) {
    Mesh m;
    m.QuickSetMaterial(0.5f, 0.25f, 1, 1, 0);  // no groups: the mesh's record 0
    const auto& table = mesh::module().MaterialTable;
    EXPECT_EQ(std::tuple(table[0].diffuse.r, table[0].ambient.g), std::tuple(0.5f, 0.25f));
    m.SetGroupPointer(2);
    m.record().Groups[1].GroupMaterial = 3;
    m.record().Groups[2].GroupMaterial = 4;
    m.QuickSetMaterial(0.1f, 0, 0, 1, -1);
    EXPECT_EQ(std::tuple(table[3].diffuse.r, table[4].ambient.r), std::tuple(0.1f, 0.1f));
    m.QuickSetMaterial(0.9f, 0, 0, 1, 2);
    EXPECT_EQ(std::tuple(table[3].diffuse.r, table[4].diffuse.r), std::tuple(0.1f, 0.9f));
    EXPECT_EQ(test::error_of([&] { m.QuickSetMaterial(0, 0, 0, 0, 9); }), err::SubscriptOutOfRange);
}

TEST_F(MeshTable, MotionHoldsItsThreeSettings) {
    Mesh m;
    auto motion = m.GetMotionObject();
    motion->SetGravity(Variant("2.5"));
    EXPECT_EQ(std::tuple(motion, motion->Gravity), std::tuple(m.GetMotionObject(), 2.5f));
}

// The actor's calls, in order, recorded on a stand-in.
struct RecordingMesh {
    std::vector<std::string> calls;
    void SetMeshName(const std::string& n) { calls.push_back("SetMeshName " + n); }
    void SetStyle(Long v) { calls.push_back("style " + std::to_string(v)); }
    void SetPrimitiveType(Long v) { calls.push_back("SetPrimitiveType " + std::to_string(v)); }
    void SetVertexType(Long v) { calls.push_back("SetVertexType " + std::to_string(v)); }
};

TEST_F(MeshTable, AnActorTakesAMeshWithFourCallsInOrderAndFreesItsRecord) {
    RecordingMesh rec;
    mesh::hand_out_to_actor(rec);
    EXPECT_EQ(rec.calls, (std::vector<std::string>{"SetMeshName TarkoMDLActor", "style 32", "SetPrimitiveType 4",
                                                   "SetVertexType 1"}));
    auto actor = std::make_unique<mesh::ActorMesh>();
    Mesh& m = actor->mesh();
    EXPECT_EQ(std::tuple(m.slot(), m.GetMeshName()), std::tuple(1, std::string("TarkoMDLActor")));
    m.SetStyle(3);
    m.SetVertexType(2);
    actor = std::make_unique<mesh::ActorMesh>();  // the old one is given up after the new one is made
    // Alpha: style 32 clears it.
    EXPECT_EQ(std::tuple(actor->mesh().slot(), actor->mesh().record().AlphaEnabled), std::tuple(2, 0));
    EXPECT_EQ(mesh::module().MeshTable[1].MeshEnabled, 0);
    actor.reset();
    mesh::ActorMesh next;
    EXPECT_EQ(next.mesh().slot(), 1);
}
