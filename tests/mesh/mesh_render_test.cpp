// RenderMesh's device traffic, in order, on the recording trace.
#include <array>
#include <memory>
#include <string>
#include <tuple>

#include "mesh/mesh.h"
#include "platform/constants.h"
#include "mesh_fixture.h"
#include "support/engine_test_support.h"

using namespace tarko;
using tarko::test::Calls;

namespace {

const std::string kDev = "Direct3DDevice7.";
std::string state(int s, int v) { return kDev + "setRenderState " + std::to_string(s) + ", " + std::to_string(v); }
const std::string kAlphaOff = state(27, 0), kLightOff = state(137, 0), kLightOn = state(137, 1),
                  kZWriteOn = state(14, 1), kZWriteOff = state(14, 0);
const std::string kNoTexture = kDev + "setTexture 0, \"Nothing\"", kTexture = kDev + "setTexture 0, \"surface\"";

class MeshRender : public test::MeshModuleTest<test::EngineFixture> {
protected:
    void SetUp() override {
        MeshModuleTest::SetUp();
        mesh = std::make_unique<Mesh>();
        open();  // every test draws on an open device
    }
    Calls render() {
        platform::trace().clear();
        mesh->RenderMesh(engine);
        return device_calls();
    }
};

}  // namespace

TEST_F(MeshRender, AWallDrawsItsLitVerticesAfterTheStatesAndEmptiesStageZero) {
    mesh->AddWall(0, 0, 4, 0, 2, 0, 1, 1);
    EXPECT_EQ(render(), (Calls{kAlphaOff, kLightOff, kNoTexture, kDev + "drawPrimitive 5, 482, 4, 0", kZWriteOn}));
}

TEST_F(MeshRender, ABoxIsLitWithItsMaterialAndBlendsOneToOne) {
    mesh->AddBox(-1, -1, -1, 1, 1, 1);
    mesh->QuickSetMaterial(0.5f, 0.25f, 1, 1, 0);
    mesh->SetAlphaBlending(-1, 0, 0);  // additive: ONE and ONE
    Calls calls = render();
    ASSERT_EQ(calls.size(), 8u);
    EXPECT_EQ(calls[4].rfind(kDev + "setMaterial 0.5, 0.25, 1, 1, 0.5, 0.25, 1, 1", 0), 0u) << calls[4];
    calls[4] = "material";  // checked by its start above; DESTBLEND goes before SRCBLEND
    EXPECT_EQ(calls, (Calls{state(27, 1), state(20, 2), state(19, 2), kLightOn, "material", kNoTexture,
                            kDev + "drawPrimitive 4, 274, 36, 0", kZWriteOn}));
    // Blend factors left at 0 on the record are sent as 2 too.
    for (auto [src, dest, sent_dest, sent_src] : {std::array{0, 0, 2, 2}, {6, 5, 5, 6}}) {
        mesh->record().SrcBlend = src, mesh->record().DestBlend = dest;
        const Calls again = render();
        EXPECT_EQ(std::tuple(again[1], again[2]), std::tuple(state(20, sent_dest), state(19, sent_src))) << src;
    }
}

TEST_F(MeshRender, TransformedVerticesDrawAsTheirOwnFormAndTexturesCanBeKept) {
    Long n = 0;
    for (int i = 0; i < 3; ++i) mesh->AddVertex(10.f * i, 5, 0.5f, -1, 0, 0, 0, 0, 0, true, n);
    mesh->SetStyle(8);  // vertex type 3, strip
    auto& r = mesh->record();
    r.AlphaEnabled = 0;
    r.NoClearTexture = -1;  // nothing touches stage 0
    EXPECT_EQ(render(), (Calls{kAlphaOff, kLightOff, kDev + "drawPrimitive 5, 452, 3, 0", kZWriteOn}));
    r.NoClearTexture = 0;
    r.KeepTexture1 = r.KeepTexture2 = -1;
    EXPECT_EQ(render(), (Calls{kAlphaOff, kLightOff, kDev + "drawPrimitive 5, 452, 3, 0", kZWriteOn}));
    r.KeepTexture2 = 0;
    EXPECT_EQ(render()[2], kNoTexture);
}

TEST_F(MeshRender, AnEmptyMeshOrNoDeviceDrawsNothingAndRaisesNothing) {
    EXPECT_EQ(render(), (Calls{kAlphaOff, kLightOff, kNoTexture, kZWriteOn}));
    EXPECT_EQ(Err().Number, 0);
    mesh->SetVertexType(7);  // no such form: no draw
    Long n = 0;
    mesh->AddVertex(0, 0, 0, 0, 0, 0, 0, 0, 0, false, n);
    EXPECT_EQ(render(), (Calls{kAlphaOff, kLightOff, kNoTexture, kZWriteOn}));

    tarko_DX7 closed;  // D3D_DEV is Nothing
    EXPECT_EQ(test::error_of([&] { mesh->RenderMesh(closed); }), 0);
    EXPECT_EQ(test::error_of([&] { mesh->RenderMeshM(5000, engine); }), 0);
    EXPECT_EQ(Err().Number, 0);
}

TEST_F(MeshRender, SpriteFramesRunOnePerCallAndZWritesComeBack) {
    auto& m = mesh::module();
    m.SpriteTable.resize(8);
    for (int i = 5; i <= 7; ++i) m.SpriteTable[static_cast<std::size_t>(i)] = mesh::make_light_map_surface(4, 4);
    mesh->AddTriangle(0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1);
    auto& r = mesh->record();
    r.SpriteOn = -1;
    r.FirstSprite = r.CurrentSprite = 5;
    r.SpriteCount = 3;
    EXPECT_EQ(render(), (Calls{kAlphaOff, kLightOff, kZWriteOff, kTexture, kDev + "drawPrimitive 4, 482, 3, 0",
                               kZWriteOn}));
    // Entries 5, 6, 7, 5, 6, 7 in successive calls.
    EXPECT_EQ(engine.D3D_DEV->getTexture(0), m.SpriteTable[5]);
    for (int expected : {6, 7, 5, 6, 7}) {
        render();
        EXPECT_EQ(engine.D3D_DEV->getTexture(0), m.SpriteTable[static_cast<std::size_t>(expected)]) << expected;
    }
    EXPECT_EQ(r.CurrentSprite, 5);
}

TEST_F(MeshRender, TheScaleIsFoldedIntoTheMeshMatrixWhenDirtyOnly) {
    auto& r = mesh->record();
    r.MeshMatrix = D3DMATRIX{};
    r.MeshMatrix.rc11 = r.MeshMatrix.rc22 = r.MeshMatrix.rc33 = r.MeshMatrix.rc44 = 1;
    mesh->ScaleMesh(2, 3, 4);
    render();
    EXPECT_EQ(std::tuple(r.MeshMatrix.rc11, r.MeshMatrix.rc33, r.MatrixDirty), std::tuple(2.0f, 4.0f, 0));
    render();  // clean: no second scaling
    EXPECT_EQ(r.MeshMatrix.rc22, 3.0f);
    r.KeepTexture1 = -1;  // scales at every call
    render();
    EXPECT_EQ(r.MeshMatrix.rc22, 9.0f);
    mesh->ScaleMesh(5, 0, 5);  // a zero component: no scaling
    render();
    EXPECT_EQ(r.MeshMatrix.rc11, 4.0f);
    // The matrix never reaches the device.
    EXPECT_TRUE(platform::trace().matching(kDev + "setTransform").empty());
}

TEST_F(MeshRender, TheLightMapStageDrawsEachGroupWithItsMap) {
    mesh->SetGroupPointer(1);
    mesh->AddWall(0, 0, 4, 0, 2, 0, 1, 1);
    mesh->SetGroupPointer(2);
    mesh->AddFloor(0, 0, 4, 4, 0, 1, 1);
    mesh->GenerateLightMap(16, Variant(), 0x00FFFFFF);
    mesh->SetLightMapStage(true);
    EXPECT_EQ(render(), (Calls{kAlphaOff, kLightOff, kTexture, kDev + "drawIndexedPrimitive 5, 482, 8, 4, 0", kTexture,
                               kDev + "drawIndexedPrimitive 5, 482, 8, 4, 0", kNoTexture, kZWriteOn}));
    // Each group has a map of its own.
    const auto& table = mesh::module().LightMapTable;
    EXPECT_NE(table[1], table[2]);
    mesh->SetVertexType(2);  // the stage serves the lit-vertex form only
    EXPECT_EQ(render()[3], kNoTexture);
}
