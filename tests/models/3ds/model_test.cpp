// cTarko_3DSfile with the engine: the load's policy, Render's device traffic
// in order, a rendered multi-material model, and tarko-view's functions.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "models/3ds/cTarko_3DSfile.h"
#include "models/3ds/threeds_writer.h"
#include "platform/constants.h"
#include "platform/profile.h"
#include "support/engine_test_support.h"
#include "tools/tarko-view/view_3ds.h"

using namespace tarko;
using namespace tarko::threeds;
using tarko::test::Calls;
using tarko::test::EngineFixture;

namespace {

// Three quads side by side, each with vertices of its own (file axes: y and
// z swapped), seen from z = -5: A upright facing the eye (normal -z), B and C
// tilted back 45 degrees (normal (0, 0.7071, -0.7071)). Faces 0-3 (A, B) in
// "Green", 4-5 (C) in "Red".
Bytes three_quads() {
    std::vector<Vec3> v;
    const auto quad = [&](float x0, float x1, bool tilted) {
        const float b = tilted ? -0.5f : -0.7f, t = -b, zb = tilted ? -0.5f : 0, zt = -zb;
        // bottom-left, top-left, top-right, bottom-right, stored as (x, z, y)
        for (auto [x, y, z] : {Vec3{x0, b, zb}, Vec3{x0, t, zt}, Vec3{x1, t, zt}, Vec3{x1, b, zb}})
            v.push_back({x, z, y});
    };
    quad(-2.2f, -0.8f, false);
    quad(-0.7f, 0.7f, true);
    quad(0.8f, 2.2f, true);
    std::vector<Face> f;
    for (std::uint16_t q = 0; q < 3; ++q) {
        const auto k = static_cast<std::uint16_t>(4 * q);
        f.push_back({k, static_cast<std::uint16_t>(k + 1), static_cast<std::uint16_t>(k + 2), 7});
        f.push_back({k, static_cast<std::uint16_t>(k + 2), static_cast<std::uint16_t>(k + 3), 7});
    }
    return file({material("Green", {0, 60, 0}, {0, 200, 0}), material("Red", {60, 0, 0}, {200, 0, 0}),
                 object("quads", vertex_list(v),
                        face_list(f, cat({material_group("Green", {0, 1, 2, 3}), material_group("Red", {4, 5})})))});
}

// A 2 x 2 24-bit BMP of one colour.
Bytes bmp(std::uint8_t r, std::uint8_t g, std::uint8_t b) {
    Bytes out = cat({Bytes{'B', 'M'}, u32(70), u32(0), u32(54), u32(40), u32(2), u32(2), u16(1), u16(24), u32(0),
                     u32(16), u32(2835), u32(2835), u32(0), u32(0)});
    for (int row = 0; row < 2; ++row) out = cat({out, Bytes{b, g, r, b, g, r, 0, 0}});
    return out;
}

}  // namespace

class ThreedsModel : public EngineFixture {
protected:
    std::string save(const Bytes& bytes, const std::string& file = "model.3DS") {
        if (dir_.empty()) dir_ = test::scratch_dir(::testing::UnitTest::GetInstance()->current_test_info()->name());
        return test::write_file(dir_ / file, bytes);
    }
    std::filesystem::path dir_;
    cTarko_3DSfile model;
};

TEST_F(ThreedsModel, RenderSendsItsStatesInOrder) {
    open();
    model.Open_3ds(engine, save(three_quads()));
    model.Set_Scale(Variant(2.0), Variant("3"), Variant(Integer(4)));
    model.Set_Light(D3DVECTOR{7, 8, 9});
    EXPECT_EQ(model.vPosition.x, 0.0f);  // Set_Light moves the model light only
    model.texture = engine.CreateTexture("", 8, 8);
    platform::trace().clear();
    model.Render(engine, true);
    const std::string D = "Direct3DDevice7.";
    const std::string identity = D + "setTransform 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1";
    // Green: diffuse 200/255, ambient 60/255 (alpha 1), no specular or emissive, power 0.
    const std::string green = D + "setMaterial 0, 0.784314, 0, 1, 0, 0.235294, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0";
    const std::string red = D + "setMaterial 0.784314, 0, 0, 1, 0.235294, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0";
    Calls calls = device_calls();
    ASSERT_GE(calls.size(), 17u);
    calls.resize(17);  // what follows is USE_defaultMaterial and USE_default_RENDERSTATE
    EXPECT_EQ(calls, (Calls{
                         identity,
                         D + "setTransform 1, 2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1",  // scale (2, 3, 4)
                         D + "setRenderState 137, -1",                // lighting on
                         D + "setTexture 0, \"surface\"",
                         D + "setRenderState 139, 436404995",         // 0x1A030303: round(2.55) = 3, round(25.5) = 26
                         D + "setRenderState 29, 1", D + "setRenderState 26, -1",
                         D + "setLight 0, 3, 7, 8, 9, 0, -1, 0, 0",   // directional, moved to (7, 8, 9), pointing down
                         D + "lightEnable 0, True",
                         green, D + "setRenderState 22, 3", D + "setRenderState 9, 1",
                         D + "drawIndexedPrimitive 4, 274, 12, 12, 0",
                         red, D + "setRenderState 22, 3", D + "setRenderState 9, 1",
                         D + "drawIndexedPrimitive 4, 274, 12, 6, 0",
                     }));
    const Calls all = device_calls();
    EXPECT_EQ(all[17], identity);
    EXPECT_EQ(all[18].rfind(D + "setMaterial 1, 1, 1, 0", 0), 0u);  // then the default material
    EXPECT_EQ(all.back(), D + "setRenderState 14, -1");               // and the default render state last

    // Without the built-in transform and texture: no transform, the stage left alone.
    model.texture = {};
    platform::trace().clear();
    model.Render(engine);
    EXPECT_EQ(platform::trace().find(D + "setTransform"), -1);
    EXPECT_GT(platform::trace().find(D + "setTexture"), platform::trace().find(D + "drawIndexedPrimitive"));
    EXPECT_EQ(platform::trace().matching(D + "drawIndexedPrimitive").size(), 2u);
}

TEST_F(ThreedsModel, OpenReadsTheCapsAndKeepsTheModelWhenTheTextureFails) {
    EXPECT_EQ(error_of([&] { model.Open_3ds(engine, save(three_quads())); }), err::ObjectNotSet);  // no device
    open();
    const std::string path = save(three_quads());
    model.Open_3ds(engine, path);
    EXPECT_TRUE(model.CAPA_alphaTESTING);
    const Bytes two = file({object("a", vertex_list({{0, 0, 0}}), face_list({})),
                            object("b", vertex_list({{0, 0, 0}}), face_list({}))});
    EXPECT_EQ(error_of([&] { model.Open_3ds(engine, save(two, "two.3ds"), "no such.bmp"); }), 0);
    EXPECT_EQ(model.model().MeshObjects[0].VertexCount, 12);  // still the quads
    EXPECT_FALSE(model.texture);
    model.Open_3ds(engine, save(two, "two.3ds"), save(bmp(255, 0, 0), "red.bmp"));
    ASSERT_TRUE(model.texture);
    EXPECT_EQ(model.texture->width(), 64);
    EXPECT_EQ(model.model().MeshCount, 2);

    // A missing file is an empty one: nothing to draw, nothing sent.
    model.Open_3ds(engine, save({}, "empty.3ds") + ".missing");
    EXPECT_EQ(model.model().MeshCount, 0);
    platform::trace().clear();
    model.Render(engine, true);
    EXPECT_TRUE(device_calls().empty());

    // Table overruns reach the caller.
    Bytes many;
    for (int i = 0; i < 101; ++i) many = cat({many, object("m", vertex_list({{0, 0, 0}}), face_list({}))});
    EXPECT_EQ(error_of([&] { model.Open_3ds(engine, save(file({many}), "many.3ds")); }), err::SubscriptOutOfRange);

    auto p = platform::default_profile();
    for (auto& d : p.devices) d.caps.dpcTriCaps.lAlphaCmpCaps &= ~dx::D3DPCMPCAPS_GREATEREQUAL;
    platform::ScopedProfile scoped(p);
    tarko_DX7 other;
    other.Initialize_Windowed(hwnd);
    model.Open_3ds(other, path);
    EXPECT_FALSE(model.CAPA_alphaTESTING);
    EXPECT_EQ(model.model().MeshCount, 1);
}

TEST_F(ThreedsModel, EachMaterialColoursItsFacesAndTheLitSideIsBrighter) {
    // 160 x 120, eye (0, 0, -5) on the origin, s = 2.41072: x at depth 5 lands
    // on column 80 + 80 s x / 5, so A's centre (x -1.5) on 22, B's on 80, C's
    // (x 1.5) on 138, all on row 60. Light straight down: N.L = 0 on A, 0.7071
    // on B and C. Colour = Ma (3/255 + 1) + Md N.L, light ambient white:
    // A green 60 x 1.01176 = 60.7; B green 60.7 + 200 x 0.7071 = 202.1; C red the same.
    open(160, 120);
    engine.device_CLEAR_COLOR = 0x000040;
    model.Open_3ds(engine, save(three_quads()));
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    model.Render(engine);
    engine.D3D_DEV->endScene();
    engine.FLIPP(hwnd);
    const auto rgb = [&](int x, int y) {
        const std::uint32_t c = window->frame().at(x, y);
        return std::array<int, 3>{int(c >> 16 & 255), int(c >> 8 & 255), int(c & 255)};
    };
    const auto near = [](std::array<int, 3> got, std::array<int, 3> want) {
        for (int i = 0; i < 3; ++i)
            if (std::abs(got[i] - want[i]) > 2) return false;
        return true;
    };
    EXPECT_TRUE(near(rgb(22, 60), {0, 61, 0})) << rgb(22, 60)[1];
    EXPECT_TRUE(near(rgb(80, 60), {0, 202, 0})) << rgb(80, 60)[1];
    EXPECT_TRUE(near(rgb(138, 60), {202, 0, 0})) << rgb(138, 60)[0];
    EXPECT_TRUE(near(rgb(2, 2), {0, 0, 0x40}));    // background around them
    EXPECT_TRUE(near(rgb(80, 110), {0, 0, 0x40}));
}

TEST_F(ThreedsModel, ViewRecognisesDescribesAndDrawsTheFile) {
    EXPECT_TRUE(is_3ds(three_quads()));
    for (const Bytes& b : {Bytes{}, Bytes{0x4D, 0x4D, 0, 0, 0}, Bytes{0x4D, 0x4C, 6, 0, 0, 0}})
        EXPECT_FALSE(is_3ds(b)) << b.size();

    const std::string path = save(three_quads());
    const std::string text = info_3ds(path, false);
    for (const char* want : {": 1 meshes, 6 faces, 2 materials", "mesh 0: 12 vertices, 6 faces, groups slot 1 x 4, slot 2 x 2",
                             "material 1 \"Green\": ambient (0, 0.235294, 0, 1) diffuse (0, 0.784314, 0, 1)",
                             "material 2 \"Red\"", "bounds (-2.2, -0.7, -0.5) - (2.2, 0.7, 0.5)"})
        EXPECT_NE(text.find(want), std::string::npos) << want << "\n" << text;
    const std::string json = info_3ds(path, true);
    for (const char* want : {"\"faces\": 6", "\"name\": \"Red\", \"ambient\": [0.235294, 0, 0, 1]",
                             "\"groups\": [{\"slot\": 1, \"faces\": 4}, {\"slot\": 2, \"faces\": 2}]",
                             "\"bounds\": {\"min\": [-2.2, -0.7, -0.5], \"max\": [2.2, 0.7, 0.5]}"})
        EXPECT_NE(json.find(want), std::string::npos) << want << "\n" << json;

    Bytes cut = three_quads();
    cut.resize(cut.size() - 10);  // inside the last group
    EXPECT_NE(info_3ds(save(cut, "cut.3ds"), false).find("read stopped at byte"), std::string::npos);
    Bytes many;
    for (int i = 0; i < 101; ++i) many = cat({many, object("m", vertex_list({{0, 0, 0}}), face_list({}))});
    EXPECT_NE(info_3ds(save(file({many}), "many.3ds"), true).find("\"error\": {\"number\": 9"), std::string::npos);

    open();
    render_3ds(engine, path);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.drawIndexedPrimitive").size(), 2u);
}
