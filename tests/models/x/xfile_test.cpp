// cTarko_Xfile: the texture-name scan, loading and its failure policies, the
// group-0 accessors, boxes and the point test, Render's calls, and a rendered
// textured model checked pixel by pixel.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "support/engine_test_support.h"
#include "models/x/cTarko_Xfile.h"
#include "models/x/texture_scan.h"
#include "models/x/x_writer.h"
#include "platform/constants.h"
#include "platform/picture_write.h"
#include "x_samples.h"

using namespace tarko;
using namespace tarko::test::xs;
using tarko::test::EngineFixture;
using x::Form;

namespace {

// A text X file whose texture block is laid out as exporters of the time
// wrote it: the quote 22 and the name 23 characters after the keyword's "T".
std::string texture_block(const std::string& name) { return "TextureFilename {\n    \"" + name + "\";\n}\n"; }

Mesh triangle() {
    Mesh m;
    m.positions = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}};
    face(m, {0, 1, 2});
    return m;
}

// IScollision's answer on a hit: the Integer 1.
bool hit(const Variant& v) { return v.type() == Variant::Type::Integer && v == 1.0; }

}  // namespace

TEST(ScanTextureNames, TakesTheNameTwentyThreeCharactersAfterTheKeyword) {
    const std::string head = "xof 0302txt 0032\n";
    const std::string n22 = "abcdefghij_0123456.bmp";   // 22 characters from the set
    struct Case {
        const char* why;
        std::string text;
        std::vector<std::string> names;
    } cases[] = {
        {"22 characters are delivered by the closing quote", head + texture_block(n22), {n22}},
        {"23 characters from the set give the empty name", head + texture_block("x" + n22), {""}},
        {"a blank cuts the name", head + texture_block("my tex.bmp"), {"my"}},
        {"any case of the keyword, names in file order",
         head + texture_block("one.bmp") + "texturefilename {\n    \"two.PCX\";\n}\n", {"one.bmp", "two.PCX"}},
        {"no keyword: an empty list", head + "Mesh {}", {}},
        {"past the first 32000 bytes: not seen", head + std::string(32000, ' ') + texture_block("a.bmp"), {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const auto names = x::scan_texture_names(bytes(c.text));
        ASSERT_TRUE(names.has_value());
        EXPECT_EQ(*names, c.names);
    }
    // Neither "bin" nor "xof" in the bytes: the scan answers False.
    EXPECT_FALSE(x::scan_texture_names(bytes("TextureFilename {\n    \"a.bmp\";\n}\n")).has_value());
    EXPECT_TRUE(x::scan_texture_names(bytes("robin")).has_value());
}

class XModel : public EngineFixture {
protected:
    std::filesystem::path dir = test::scratch_dir("xmodel");
    std::string put(const std::string& name, const Bytes& b) { return write_file(dir, name, b).string(); }
    std::string put(const std::string& name, const x::File& f, Form form = Form::Text) {
        return put(name, x::write(f, form));
    }
    int load_errors() const {
        int n = 0;
        for (const auto& m : services.messages()) n += m.text == "error loading xfile";
        return n;
    }
    std::vector<std::string> draws() const { return platform::trace().matching("Direct3DDevice7.drawIndexedPrimitive"); }
    cTarko_Xfile model;
};

TEST_F(XModel, QuadFansToTwoTrianglesAndGroupZeroAccessorsKeepTheSpareElement) {
    Mesh quad;
    quad.positions = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
    face(quad, {0, 1, 2, 3});
    model.Load(engine, put("quad.x", file_of(quad)), false);
    SafeArray<Integer> idx;
    model.GETindex(idx);
    // (0,1,2), (0,2,3), then the spare element 0.
    EXPECT_EQ(std::vector<Integer>(idx.begin(), idx.end()), (std::vector<Integer>{0, 1, 2, 0, 2, 3, 0}));
    EXPECT_EQ(std::tuple(model.INDEX_count(), model.Vertext_count()), std::tuple(6, 4));

    model.Load(engine, put("tri.x", file_of(triangle())), false);
    SafeArray<D3DVERTEX> v;
    model.GETvertext(v);
    EXPECT_EQ(model.Vertext_count(), 3);
    ASSERT_EQ(v.size(), 4u);   // three vertices and the spare zero
    EXPECT_EQ(v(1).y, 1.0f);
    EXPECT_EQ(v(1).nz, -1.0f);   // (0,1,0) x (1,0,0) = (0,0,-1): the triangle faces -z
    SafeArray<D3DVERTEX> v2;
    SafeArray<Integer> i2;
    model.GET_ObjectVERTICES(v2, i2);
    EXPECT_EQ(std::tuple(v2.size(), i2.UBound()), std::tuple(4u, 3));
    EXPECT_TRUE(services.messages().empty());
}

TEST_F(XModel, BoxesIncludeTheOriginThroughTheSpareVertex) {
    // One triangle spanning (0,0,0)..(2,3,4): BOX_size (2, 3, 4).
    Mesh m;
    m.positions = {{0, 0, 0}, {2, 3, 0}, {0, 0, 4}};
    face(m, {0, 1, 2});
    model.Load(engine, put("box.x", file_of(m)), false);
    const D3DVECTOR size = model.BOX_size();
    EXPECT_EQ(std::tuple(size.x, size.y, size.z), std::tuple(2.0f, 3.0f, 4.0f));

    // A group whose faces lie at x 5..6: its box runs from x = 0 (the spare
    // zero vertex) to 6; the model box does not have the spare vertex.
    Mesh far;
    far.positions = {{5, 1, 1}, {5, 2, 1}, {6, 1, 1}};
    face(far, {0, 1, 2});
    model.Load(engine, put("far.x", file_of(far)), false);
    float a = -1, b = -1, c = -1;
    model.GetMinExtent(a, b, c);
    EXPECT_EQ(a, 0.0f);   // zeros until the first IScollision
    model.IScollision(D3DVECTOR{100, 100, 100});
    model.GetMinExtent(a, b, c);
    EXPECT_EQ(std::tuple(a, b), std::tuple(0.0f, 0.0f));
    model.GetMaxExtent(a, b, c);
    EXPECT_EQ(a, 6.0f);
    D3DRMBOX box;
    model.GETBounding_BOX(box);
    EXPECT_EQ(box.min.x, 5.0f);
    EXPECT_EQ(model.BOX_size().x, 1.0f);
}

TEST_F(XModel, IScollisionTestsTheClassBoxStrictlyInside) {
    Mesh m;
    m.positions = {{0, 0, 0}, {2, 3, 0}, {0, 0, 4}};
    face(m, {0, 1, 2});
    model.Load(engine, put("box.x", file_of(m)), false);
    model.Set_Scale(Variant(1.0), Variant(1.0), Variant(1.0));
    // Before Render the box vertices are CreateCubeEX's: centred, +-1, +-1.5, +-2.
    EXPECT_TRUE(hit(model.IScollision(D3DVECTOR{0.5f, 0.5f, 0.5f})));
    EXPECT_TRUE(model.IScollision(D3DVECTOR{1, 0, 0}).is_empty());   // on the face: no hit
    EXPECT_TRUE(model.IScollision(D3DVECTOR{0, 2.5f, 0}).is_empty());
    // Render makes the box stand on the origin: y from 0 to 3.
    open();
    model.Render(engine);
    EXPECT_TRUE(hit(model.IScollision(D3DVECTOR{0, 2.5f, 0})));
    EXPECT_TRUE(model.IScollision(D3DVECTOR{0, -0.5f, 0}).is_empty());
    // Moved by (10, 0, 0): the box follows the position.
    model.Set_Position(Variant(10.0), Variant(0.0), Variant(0.0));
    EXPECT_TRUE(hit(model.IScollision(D3DVECTOR{10.5f, 1, 0})));
    EXPECT_TRUE(model.IScollision(D3DVECTOR{0.5f, 1, 0}).is_empty());
    // The minimum z starts at 99999999 (eight nines): a box lying wholly beyond
    // it keeps that minimum, so a point at z = 1.5e8, short of the box at 2e8 +- 2, hits.
    model.Set_Position(Variant(0.0), Variant(0.0), Variant(2e8));
    EXPECT_TRUE(hit(model.IScollision(D3DVECTOR{0.5f, 1, 1.5e8f})));
}

TEST(XModelMatrix, MakeObjectMatrixUsesItsOwnDegreeConstant) {
    // f = 3.14564875441112 / 180; 90 f = 1.57282437720556 = pi/2 + 0.00202805041
    // so cos = -0.00202805 (pi / 180 would give 0) and -sin = -0.99999794.
    const D3DMATRIX m = cTarko_Xfile::MakeObjectMatrix(D3DVECTOR{0, 90, 0}, D3DVECTOR{1, 2, 3}, D3DVECTOR{7, 8, 9});
    EXPECT_NEAR(m.rc11, -0.00202805, 1e-7);
    EXPECT_NEAR(m.rc13, -0.99999794, 1e-7);
    EXPECT_NEAR(m.rc22, 2.0, 1e-6);                  // sy (s1 s2 s3 + c1 c3) = 2 x 1
    EXPECT_NEAR(m.rc31, 3 * 0.99999794, 1e-6);       // sz c1 s2 c3
    EXPECT_EQ(std::tuple(m.rc41, m.rc43, m.rc44), std::tuple(7.0f, 9.0f, 1.0f));
    // VerTEX_MatMULTILPY divides by w and leaves w near 0 alone.
    cTarko_Xfile model;
    SafeArray<D3DVERTEX> in(0, 1), out;
    in(0) = {1, 2, 3, 0, 0, 1, 0.25f, 0.5f};
    D3DMATRIX half;
    half.rc11 = half.rc22 = half.rc33 = 1;
    half.rc44 = 2;                // w = 2: positions halved
    half.rc14 = -2;               // ... unless x = 1 makes w = 0
    model.VerTEX_MatMULTILPY(in, half, out);
    EXPECT_EQ(out(0).x, 1.0f);    // w = 1 x -2 + 2 = 0: kept
    EXPECT_EQ(out(0).tu, 0.25f);
    in(0).x = 0;
    model.VerTEX_MatMULTILPY(in, half, out);
    EXPECT_EQ(out(0).y, 1.0f);    // w = 2: 2 / 2
    EXPECT_EQ(out(0).nz, 1.0f);
}

TEST_F(XModel, RenderSetsTransformStateMaterialAndDrawsEachGroupInOrder) {
    open();
    model.Render(engine);
    EXPECT_TRUE(platform::trace().entries().empty());   // not loaded: nothing at all

    model.Load(engine, put("cube.x", file_of(cube())), false);
    model.Set_Scale(Variant(2.0), Variant(2.0), Variant(2.0));
    model.Set_Position(Variant(0.0), Variant(0.0), Variant(5.0));
    platform::trace().clear();
    model.Render(engine);
    const auto calls = device_calls();
    ASSERT_FALSE(calls.empty());
    // Group draws: 12 vertices (upper bound 12 + 1 = 13 with the spare), 3 quads
    // = 6 triangles = 18 indices, the index array's upper bound.
    EXPECT_EQ(draws(), std::vector<std::string>(2, "Direct3DDevice7.drawIndexedPrimitive 4, 274, 13, 18, 0"));
    // Order: world cleared, model transform, the default state and lighting,
    // then per group material, draw, world cleared; a last clear.
    std::vector<std::string> kinds;
    for (const auto& c : calls) {
        const std::string name = c.substr(16, c.find(' ') == std::string::npos ? std::string::npos : c.find(' ') - 16);
        if (name == "setTransform" || name == "setMaterial" || name == "drawIndexedPrimitive" || name == "setTexture")
            if (kinds.empty() || kinds.back() != name || name != "setTransform") kinds.push_back(name);
    }
    EXPECT_EQ(kinds, (std::vector<std::string>{"setTransform", "setMaterial", "drawIndexedPrimitive", "setTransform",
                                               "setMaterial", "drawIndexedPrimitive", "setTransform"}));
    // Identity, the model's scale 2 and move (0, 0, 5), then identity after each group and once more.
    const auto transforms = platform::trace().matching("Direct3DDevice7.setTransform");
    ASSERT_EQ(transforms.size(), 5u);
    EXPECT_NE(transforms[1], transforms[0]);
    EXPECT_EQ(std::vector<std::string>(transforms.begin() + 2, transforms.end()),
              std::vector<std::string>(3, transforms[0]));
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.setRenderState 137").size(), 1u);   // LIGHTING on
    // Ambient white in the record; diffuse from the face colour: green 0.5 alpha.
    D3DMATERIAL7 mat;
    engine.D3D_DEV->getMaterial(mat);
    EXPECT_EQ(std::tuple(mat.ambient.r, mat.ambient.a, mat.diffuse.g, mat.emissive.g),
              std::tuple(1.0f, 1.0f, 1.0f, 0.25f));
    EXPECT_NEAR(mat.diffuse.a, 0.5, 0.5 / 255 + 1e-6);
    D3DMATRIX world;
    engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_WORLD, world);
    EXPECT_EQ(world.rc11, 1.0f);   // left as the identity

    platform::trace().clear();
    model.Render(engine, false);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.setTransform").size(), 3u);   // no model transform
}

TEST_F(XModel, HostileOrMissingFilesShowTheMessageAndDrawNothing) {
    open();
    // Every refusal of the reader takes one path here: one such file, and one with no route.
    const std::vector<std::pair<std::string, Bytes>> cases = {
        {"index.x", bytes("xof 0302txt 0032\nMesh m { 3; 0;0;0;, 0;1;0;, 1;0;0;; 1; 3;0,1,7;; }")},
        {"nothing.x", bytes("xof 0302txt 0032\nHeader { 1; 0; 1; }\n")},
    };
    int expected = 0;
    for (const auto& [name, b] : cases) {
        SCOPED_TRACE(name);
        model.Load(engine, put("ok.x", file_of(cube())), false);   // loaded first: a bad load unloads
        model.Load(engine, put(name, b));
        EXPECT_EQ(load_errors(), ++expected);
        platform::trace().clear();
        model.Render(engine);
        EXPECT_TRUE(draws().empty());
    }
    model.Load(engine, (dir / "missing.x").string());
    EXPECT_EQ(load_errors(), expected + 1);
    EXPECT_EQ(services.messages().back().caption, kDefaultCaption);
    EXPECT_EQ(services.messages().back().style, vbOKOnly);
}

TEST_F(XModel, FailurePoliciesFollowTheRouteAndTheFirstTexture) {
    open();
    // Mesh route, one group, no names: the empty list is skipped, the group
    // gets CreateTextureEX("") and the model loads.
    model.Load(engine, put("one.x", file_of(triangle())));
    EXPECT_EQ(load_errors(), 0);
    // Two groups, no names: after group 0's texture the policy is catch-all,
    // and group 1's empty list ends the load.
    model.Load(engine, put("two.x", file_of(cube())));
    EXPECT_EQ(load_errors(), 1);
    platform::trace().clear();
    model.Render(engine);
    EXPECT_TRUE(draws().empty());
    // Without textures the same file loads.
    model.Load(engine, put("two.x", file_of(cube())), false);
    EXPECT_EQ(load_errors(), 1);
    // The frame route is catch-all from the start: one group, no names, fails.
    x::File framed;
    framed.frames.emplace_back();
    framed.frames[0].meshes.push_back(triangle());
    model.Load(engine, put("framed.x", framed));
    EXPECT_EQ(load_errors(), 2);
    model.Load(engine, put("framed.x", framed), false);
    EXPECT_EQ(load_errors(), 2);
    // More names than groups: resume-next on the mesh route skips the extra
    // assignment (the one group still loads with its name).
    const std::string two_names = "xof 0302txt 0032\nMaterial a { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; " + texture_block("a.bmp") +
                                  "}\nMaterial b { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; " + texture_block("b.bmp") +
                                  "}\nMesh m { 3; 0;0;0;, 0;1;0;, 1;0;0;; 1; 3;0,1,2;; }\n";
    model.Load(engine, put("names.x", bytes(two_names)));
    EXPECT_EQ(load_errors(), 2);
}

TEST_F(XModel, IndicesAbove32767AreSkippedOnTheMeshRouteAndFatalOnTheFrameRoute) {
    // 32770 vertices in one group: a strip of triangles along x, all flat.
    Mesh m;
    for (int i = 0; i < 32770; ++i) m.positions.push_back({static_cast<float>(i / 2), static_cast<float>(i % 2), 0});
    for (std::uint32_t i = 0; i + 2 < 32770; i += 2) face(m, {i, i + 1, i + 2});
    model.Load(engine, put("big.x", file_of(m), Form::Binary32), false);
    EXPECT_EQ(load_errors(), 0);
    // 16384 triangles; the last uses 32768 (too big for an Integer), so it loses
    // that one index: 3 x 16384 - 1 = 49151.
    EXPECT_EQ(model.INDEX_count(), 49151);
    x::File framed;
    framed.frames.emplace_back();
    framed.frames[0].meshes.push_back(m);
    model.Load(engine, put("bigframe.x", framed, Form::Binary32), false);
    EXPECT_EQ(load_errors(), 1);
}

class XModelPicture : public XModel {};

TEST_F(XModelPicture, TextureColoursSitOnTheirFacesAndLitFacesAreBrighter) {
    // 160 x 120, eye at (0, 0, -5) looking at the origin; start-up field of view
    // gives s = 2.41072: a point at depth d lands on column 80 + 80 s x / d.
    // Face A: x -2..-0.5 at z = 0, facing -z. Face B: x 0.5..2, z -0.75..0.75,
    // facing (1, 0, -1) / sqrt 2. Light travelling along -x lights B with
    // N.L = 0.707 and A with 0. Texture: left half red, right half green.
    // B's red half (u < 0.5) spans x 0.5..1.25 (columns 103..128), green
    // 1.25..2 (128..147); A's halves columns 3..32 and 32..61. Rows 40..80
    // lie inside both (y from -1 to 1 is rows 31..89 at depth 5).
    EngineFixture::open(160, 120);
    engine.device_CLEAR_COLOR = 0x000040;
    platform::write_bmp({4, 2, {0xFF0000, 0xFF0000, 0x00FF00, 0x00FF00, 0xFF0000, 0xFF0000, 0x00FF00, 0x00FF00}},
                        (dir / "chequer.bmp").string());
    Mesh m;
    m.positions = {{-2, -1, 0}, {-2, 1, 0}, {-0.5f, 1, 0}, {-0.5f, -1, 0},
                   {0.5f, -1, -0.75f}, {0.5f, 1, -0.75f}, {2, 1, 0.75f}, {2, -1, 0.75f}};
    m.uvs = {{0, 1}, {0, 0}, {1, 0}, {1, 1}, {0, 1}, {0, 0}, {1, 0}, {1, 1}};
    face(m, {0, 1, 2, 3});
    face(m, {4, 5, 6, 7});
    Material white;
    white.texture = "chequer.bmp";
    m.materials = {white};
    m.face_material = {0, 0};
    model.Load(engine, put("textured.x", file_of(m)));
    ASSERT_EQ(load_errors(), 0);
    model.Set_Scale(Variant(1.0), Variant(1.0), Variant(1.0));

    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
    engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0}, D3DCOLORVALUE{1, 1, 1, 1}, 0,
                     D3DVECTOR{-1, 0, 0});
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0);
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    model.Render(engine);
    engine.D3D_DEV->endScene();
    engine.FLIPP(hwnd);

    auto rgb = [&](int x, int y) {
        const std::uint32_t c = window->frame().at(x, y);
        return std::array<int, 3>{int(c >> 16 & 255), int(c >> 8 & 255), int(c & 255)};
    };
    for (int y : {45, 60, 75}) {
        SCOPED_TRACE(y);
        const auto red = rgb(112, y), green = rgb(140, y), dark_red = rgb(20, y), dark_green = rgb(50, y);
        // Lit: texture x 0.707, about 180.
        EXPECT_NEAR(red[0], 180, 12);
        EXPECT_LT(red[1], 20);
        EXPECT_NEAR(green[1], 180, 12);
        EXPECT_LT(green[0], 20);
        // Unlit: far darker than the lit face, and not the background blue.
        EXPECT_LT(dark_red[0] + dark_red[1], red[0] / 2);
        EXPECT_LT(dark_green[0] + dark_green[1], green[1] / 2);
        EXPECT_NE(window->frame().at(20, y), window->frame().at(80, y));
    }
    // Background between the faces and above them.
    EXPECT_EQ(rgb(80, 60), (std::array<int, 3>{0, 0, 0x40}));
    EXPECT_EQ(rgb(120, 10), (std::array<int, 3>{0, 0, 0x40}));
}
