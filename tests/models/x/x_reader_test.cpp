// The X reader and mesh builder: every encoding gives the same groups, the
// separator and naming styles of real exporters, frames, crease normals,
// face data, and hostile files refused with a ParseError.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "models/x/mesh_builder.h"
#include "models/x/mszip.h"
#include "models/x/x_file.h"
#include "models/x/x_writer.h"
#include "runtime/byte_reader.h"
#include "support/test_support.h"
#include "x_samples.h"

using namespace tarko;
using namespace tarko::test::xs;
using x::Form;

namespace {

std::vector<x::Group> groups_of(const Bytes& b, x::Route route = x::Route::Mesh) {
    return x::create_groups(x::gather(x::parse(b), route));
}

void expect_same_groups(const std::vector<x::Group>& a, const std::vector<x::Group>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t g = 0; g < a.size(); ++g) {
        EXPECT_EQ(std::tie(a[g].material, a[g].vertices_per_face, a[g].face_data),
                  std::tie(b[g].material, b[g].vertices_per_face, b[g].face_data));
        ASSERT_EQ(a[g].vertices.size(), b[g].vertices.size());
        for (std::size_t i = 0; i < a[g].vertices.size(); ++i) {
            const x::GroupVertex &u = a[g].vertices[i], &v = b[g].vertices[i];
            EXPECT_EQ(std::tie(u.p, u.n, u.tu), std::tie(v.p, v.n, v.tu)) << g << ", " << i;
        }
    }
}

// A one-triangle mesh body in the text form, for the separator styles.
const std::string kHead = "xof 0302txt 0032\n";

}  // namespace

TEST(XReader, CubeInEveryEncodingGivesTheSameTwoFlatShadedGroups) {
    const auto text = groups_of(x::write(file_of(cube()), Form::Text));
    // Two materials: faces 0..2 red, 3..5 green. Every cube edge is 90 degrees,
    // beyond the 45-degree crease: each face has 4 vertices of its own, so a
    // group has 3 x 4 = 12 vertices and 3 quads of data (vertices per face 4).
    ASSERT_EQ(text.size(), 2u);
    EXPECT_EQ(text[0].material, cube().materials[0]);
    EXPECT_EQ(text[1].material, cube().materials[1]);
    for (const auto& g : text) {
        EXPECT_EQ(std::tuple(g.vertices.size(), g.vertices_per_face, g.face_count), std::tuple(12u, 4u, 3u));
        EXPECT_EQ(g.face_data, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
    }
    // Group 0's first face is -z: its vertices carry the face normal (0, 0, -1)
    // and the corner (-1, 1, -1) keeps its texture coordinates (0, 0).
    EXPECT_EQ(text[0].vertices[1].p, (x::Vec3{-1, 1, -1}));
    EXPECT_EQ(text[0].vertices[1].n, (x::Vec3{0, 0, -1}));
    EXPECT_EQ(text[0].vertices[3].tu, 1.0f);
    EXPECT_EQ(text[1].vertices[0].n, (x::Vec3{-1, 0, 0}));

    // The other forms: the header's format word, and the same groups.
    const std::pair<Form, const char*> forms[] = {
        {Form::Binary32, "bin"}, {Form::Binary64, "bin"}, {Form::TextZip, "tzip"}, {Form::BinaryZip, "bzip"}};
    for (const auto& [form, format] : forms) {
        SCOPED_TRACE(static_cast<int>(form));
        const x::File f = x::parse(x::write(file_of(cube()), form));
        EXPECT_EQ(f.format, format);
        EXPECT_EQ(f.compressed, format[1] == 'z');
        expect_same_groups(text, x::create_groups(x::gather(f, x::Route::Mesh)));
    }
}

TEST(XReader, CompressedBodySpanningBlocksCarriesTheDictionary) {
    // 100000 bytes of a repeating pattern: blocks of 32768, 32768, 32768 and
    // 1696; later blocks refer back into earlier output through the dictionary.
    Bytes plain(100000);
    for (std::size_t i = 0; i < plain.size(); ++i) plain[i] = static_cast<std::uint8_t>("abcdefgh0123"[i % 12] + i / 5000);
    const Bytes packed = x::deflate_mszip(plain, 100000 + 16);
    io::ByteReader in(packed);
    EXPECT_EQ(x::inflate_mszip(in), plain);
    // A stated total below the output is refused.
    const Bytes short_total = x::deflate_mszip(plain, 50000);
    io::ByteReader in2(short_total);
    EXPECT_THROW(x::inflate_mszip(in2), io::ParseError);
}

TEST(XReader, AcceptsTheSeparatorCommentAndNamingStylesOfRealExporters) {
    // The same triangle (0,0,0) (0,1,0) (1,0,0) with material "Mat-1.red" each time.
    const std::string mat = "Material Mat-1.red { 1;0;0;1;; 5; 0;0;0;; 0;0;0;; }\n";
    const std::string bodies[] = {
        // the common style, LF
        mat + "Mesh tri { 3; 0;0;0;, 0;1;0;, 1;0;0;; 1; 3;0,1,2;; MeshMaterialList { 1; 1; 0;; { Mat-1.red } } }\n",
        // CRLF, "//" and "#" comments, trailing separators everywhere
        "// exported\r\n" + mat + "#note\r\nMesh tri {\r\n 3;\r\n 0.0;0.0;0.0;,\r\n 0.0;1.0;0.0;,\r\n 1.0;0.0;0.0;;\r\n"
        " 1;\r\n 3;0,1,2;;\r\n MeshMaterialList {1;1;0;;{Mat-1.red}}\r\n}\r\n",
        // commas as the only separators, exponents, a leading plus
        mat + "Mesh tri { 3, 0e0,0,0, 0,1E0,0, +1,0,0, 1, 3,0,1,2, MeshMaterialList { 1, 1, 0, {Mat-1.red} } }\n",
        // no separators between list items at all
        mat + "Mesh tri { 3 0 0 0 0 1 0 1 0 0 1 3 0 1 2 MeshMaterialList { 1 1 0 { Mat-1.red } } }\n",
        // a template declaration with GUID and restriction, a reference by GUID, a name with a digit first
        "template Mesh { <3D82AB44-62DA-11cf-AB39-0020AF71E433> DWORD nVertices; array Vector vertices[nVertices]; [...] }\n" +
            mat + "Mesh 3tri { <11111111-2222-3333-4444-555555555555> 3; 0;0;0;, 0;1;0;, 1;0;0;; 1; 3;0,1,2;;"
            " MeshMaterialList { 1; 1; 0;; { Mat-1.red <AAAAAAAA-0000-0000-0000-000000000000> } } }\n",
    };
    for (const auto& body : bodies) {
        SCOPED_TRACE(body);
        const auto f = x::parse(bytes(kHead + body));
        ASSERT_EQ(f.meshes.size(), 1u);
        const Mesh& m = f.meshes[0];
        EXPECT_EQ(m.positions, (std::vector<x::Vec3>{{0, 0, 0}, {0, 1, 0}, {1, 0, 0}}));
        EXPECT_EQ(m.indices, (std::vector<std::uint32_t>{0, 1, 2}));
        ASSERT_EQ(m.materials.size(), 1u);
        EXPECT_EQ(m.materials[0].face, (x::Color{1, 0, 0, 1}));
        EXPECT_EQ(m.materials[0].power, 5);
    }
}

TEST(XReader, SkipsUnknownObjectsAndKeepsAnimationNames) {
    const std::string body =
        "Mesh m { 3; 0;0;0;, 0;1;0;, 1;0;0;; 1; 3;0,1,2;;\n"
        "  VertexDuplicationIndices { 3; 3; 0, 1, 2; }\n"
        "  SkinWeights { \"Bone\"; 2; 0, 1; 0.5, 0.5; 1;0;0;0;0;1;0;0;0;0;1;0;0;0;0;1;; }\n"
        "  MeshNormals { 1; 0;0;-1;; 1; 3;0,0,0;; }\n"
        "  MeshVertexColors { 1; 2; 0.1;0.2;0.3;0.4;;; }\n"
        "  MeshTextureCoords { 3; 0;0;, 0;1;, 1;0;; }\n"
        "}\n"
        "AnimationSet Walk { Animation { { m } AnimationKey { 0; 1; 0; 4; 1;0;0;0;;; } } }\n"
        "AnimationSet Run { }\n";
    const auto f = x::parse(bytes(kHead + body));
    ASSERT_EQ(f.meshes.size(), 1u);
    EXPECT_EQ(f.meshes[0].file_normals, 1u);
    ASSERT_EQ(f.meshes[0].colors.size(), 3u);
    EXPECT_EQ(f.meshes[0].colors[2], (x::Color{0.1f, 0.2f, 0.3f, 0.4f}));
    EXPECT_EQ(f.meshes[0].uvs[1].v, 1.0f);
    EXPECT_EQ(f.animation_sets, (std::vector<std::string>{"Walk", "Run"}));
}

TEST(XBuilder, NestedFrameMatricesReachTheirMeshInChildThenParentOrder) {
    // Outer frame moves by (10, 0, 0); the inner one scales by 2. The vertex
    // (1, 0, 0) becomes 1 x 2 + 10 = 12 (parent first would give (1 + 10) x 2 = 22).
    x::File file;
    x::Frame outer, inner;
    outer.transform = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1};
    inner.transform = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};
    Mesh m;
    m.positions = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    face(m, {0, 1, 2});
    inner.meshes.push_back(m);
    outer.children.push_back(inner);
    file.frames.push_back(outer);
    for (const Form form : {Form::Text, Form::Binary32}) {
        const auto parsed = x::parse(x::write(file, form));
        EXPECT_FALSE(x::has_route(parsed, x::Route::Mesh));
        const auto b = x::gather(parsed, x::Route::Frames);
        EXPECT_EQ(b.positions, (std::vector<x::Vec3>{{12, 0, 0}, {10, 2, 0}, {10, 0, 2}}));
    }
}

TEST(XBuilder, FrameReferencesToANamedMeshInstanceIt) {
    const std::string body = "Mesh shared { 3; 0;0;0;, 0;1;0;, 1;0;0;; 1; 3;0,1,2;; }\n"
                             "Frame a { FrameTransformMatrix { 1,0,0,0, 0,1,0,0, 0,0,1,0, 5,0,0,1;; } { shared } }\n";
    const auto f = x::parse(bytes(kHead + body));
    ASSERT_EQ(f.frames.size(), 1u);
    ASSERT_EQ(f.frames[0].meshes.size(), 1u);
    // A top-level mesh exists: the mesh route wins and the frame is not used.
    EXPECT_EQ(x::gather(f, x::Route::Mesh).positions[2], (x::Vec3{1, 0, 0}));
    EXPECT_EQ(x::gather(f, x::Route::Frames).positions[2], (x::Vec3{6, 0, 0}));
}

TEST(XBuilder, CreaseNormalsSplitAtNinetyDegreesAndStaySmoothAtTenAcrossSeams) {
    // Triangle A (0,0,0) (0,0,1) (1,0,0) faces up (0,1,0). Triangle B shares the
    // edge (0,0,0)-(1,0,0) and folds down by t: (0,0,0) (1,0,0) (0.5,-sin t,-cos t)
    // has the normal (1,0,0) x (0.5,-s,-c) = (0, c, -s).
    auto fold = [](double degrees, bool seam) {
        const float s = static_cast<float>(std::sin(degrees * M_PI / 180));
        const float c = static_cast<float>(std::cos(degrees * M_PI / 180));
        Mesh m;
        m.positions = {{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0.5f, -s, -c}};
        face(m, {0, 1, 2});
        if (seam) {   // B has its own copies 4, 5 of the shared corners, as exporters write at texture seams
            m.positions.insert(m.positions.end(), {{0, 0, 0}, {1, 0, 0}});
            face(m, {4, 5, 3});
        } else {
            face(m, {0, 2, 3});
        }
        x::MeshBuilder b;
        x::add_mesh(b, m, x::kIdentity);
        return x::create_groups(b);
    };
    const auto smooth = fold(10, false);
    ASSERT_EQ(smooth.size(), 1u);
    // 10 < 45 degrees: one vertex per position, 4 in all; the shared corners get
    // unit((0,1,0) + (0,c,-s)) = (0, cos 5, -sin 5) = (0, 0.99619, -0.08716).
    ASSERT_EQ(smooth[0].vertices.size(), 4u);
    EXPECT_EQ(smooth[0].face_data, (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3}));
    EXPECT_NEAR(smooth[0].vertices[0].n.y, 0.99619, 1e-5);
    EXPECT_NEAR(smooth[0].vertices[0].n.z, -0.08716, 1e-5);
    EXPECT_NEAR(smooth[0].vertices[2].n.z, -0.08716, 1e-5);
    EXPECT_EQ(smooth[0].vertices[1].n, (x::Vec3{0, 1, 0}));   // only on A

    const auto split = fold(90, false);
    // 90 > 45 degrees: the two shared corners split, 3 + 3 = 6 vertices.
    ASSERT_EQ(split[0].vertices.size(), 6u);
    EXPECT_EQ(split[0].face_data, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(split[0].vertices[0].n, (x::Vec3{0, 1, 0}));
    EXPECT_NEAR(split[0].vertices[3].n.z, -1, 1e-6);
    EXPECT_NEAR(split[0].vertices[3].n.y, 0, 1e-6);

    // Across the seam the positions stay apart (6 vertices) and the normals agree.
    const auto seam = fold(10, true);
    ASSERT_EQ(seam[0].vertices.size(), 6u);
    EXPECT_EQ(seam[0].vertices[0].n, seam[0].vertices[3].n);
    EXPECT_NEAR(seam[0].vertices[3].n.y, 0.99619, 1e-5);
}

TEST(XBuilder, MixedFaceSizesPrefixEachFaceWithItsCount) {
    Mesh m;
    m.positions = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {2, 0, 0}};
    face(m, {0, 1, 2, 3});   // quad, flat in z = 0
    face(m, {3, 2, 4});      // triangle in the same plane: shares corners 2 and 3
    x::MeshBuilder b;
    x::add_mesh(b, m, x::kIdentity);
    const auto g = x::create_groups(b);
    ASSERT_EQ(g.size(), 1u);
    EXPECT_EQ(g[0].vertices_per_face, 0u);
    EXPECT_EQ(g[0].face_count, 2u);
    EXPECT_EQ(g[0].face_data, (std::vector<std::uint32_t>{4, 0, 1, 2, 3, 3, 3, 2, 4}));
}

TEST(XBuilder, EqualMaterialsOfTwoMeshesShareOneGroupInFirstUseOrder) {
    x::File f;
    Mesh a = cube(), b = cube();
    b.face_material = {1, 1, 1, 1, 1, 1};   // all green
    for (auto& p : b.positions) p.x += 5;
    f.meshes = {b, a};
    const auto groups = x::create_groups(x::gather(f, x::Route::Mesh));
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups[0].material.face.g, 1.0f);   // green first: b's faces come first
    EXPECT_EQ(std::tuple(groups[0].face_count, groups[1].face_count), std::tuple(6u + 3u, 3u));
}

TEST(XReader, HostileFilesGiveAParseError) {
    const Bytes good = x::write(file_of(cube()), Form::Binary32);
    Bytes bad_token = good;
    bad_token[16] = 99;   // first token code
    Bytes huge_list = good;
    // The first object's first list: Name "Mesh" (2 + 4 + 4), Name "Cube" (2 + 4 + 4), '{' (2),
    // then an integer list token (2) whose count is at 16 + 24 = 40.
    huge_list[40] = 0xFF, huge_list[41] = 0xFF, huge_list[42] = 0xFF, huge_list[43] = 0x7F;
    Bytes zip = x::write(file_of(cube()), Form::TextZip);
    Bytes bad_ck = zip;
    bad_ck[24] = 'X';   // header 16, total 4, sizes 4: "CK" at 24
    Bytes bad_deflate = zip;
    for (std::size_t i = 26; i < bad_deflate.size(); ++i) bad_deflate[i] = 0xFF;
    std::string deep = kHead;
    for (int i = 0; i < 100; ++i) deep += "Frame f {";
    const std::string tri = "Mesh m { 3; 0;0;0;, 0;1;0;, 1;0;0;; ";
    Bytes no_blocks = bytes("xof 0302tzip0032");
    no_blocks.insert(no_blocks.end(), {0x10, 0, 0, 0});
    const std::vector<std::pair<std::string, Bytes>> cases = {
        {"empty", {}},
        {"not an X file", bytes("hello world, this is no model")},
        {"header cut short", bytes("xof 0302tx")},
        {"unknown version", bytes("xof 9999txt 0032 Mesh {}")},
        {"unknown format", bytes("xof 0302abc 0032 Mesh {}")},
        {"odd float size", bytes("xof 0302txt 0016 Mesh {}")},
        {"binary cut in half", Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(good.size() / 2))},
        {"unknown binary token", bad_token},
        {"list count past the end", huge_list},
        {"compressed, no CK", bad_ck},
        {"compressed, bad deflate", bad_deflate},
        {"compressed, no blocks", no_blocks},
        {"nested too deep", bytes(deep)},
        {"object not closed", bytes(kHead + tri + "1; 3;0,1,2;;")},
        {"vertex count past the numbers", bytes(kHead + "Mesh m { 4000000000; 0;0;0;; 0; }")},
        {"face index out of range", bytes(kHead + tri + "1; 3;0,1,3;; }")},
        {"face count past the numbers", bytes(kHead + tri + "5; 3;0,1,2;; }")},
        {"material index out of range", bytes(kHead + tri + "1; 3;0,1,2;; MeshMaterialList { 1; 1; 1;; Material { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; } } }")},
        {"negative count", bytes(kHead + "Mesh m { -3; 0;0;0;; 0; }")},
        {"texture coordinates not one per vertex", bytes(kHead + tri + "1; 3;0,1,2;; MeshTextureCoords { 2; 0;0;, 1;1;; } }")},
    };
    for (const auto& [why, b] : cases) {
        SCOPED_TRACE(why);
        EXPECT_THROW(x::parse(b), io::ParseError);
    }
}

TEST(XReader, AnUnclosedStringIsRefusedAtItsOpeningQuote) {
    // The header line is 17 bytes; the error names the opening quote.
    const std::string body = "Material m { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; TextureFilename { \"a.bmp";
    EXPECT_TRUE(test::refused_with([&] { x::parse(bytes(kHead + body)); }, "closing quote", 17 + body.find('"')));
}

TEST(XBuilder, AFileWithNeitherMeshNorFrameHasNoRoute) {
    const auto f = x::parse(bytes(kHead + "Header { 1; 0; 1; }\nMaterial m { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; }\n"));
    EXPECT_FALSE(x::has_route(f, x::Route::Mesh));
    EXPECT_FALSE(x::has_route(f, x::Route::Frames));
    EXPECT_THROW(x::gather(f, x::Route::Frames), io::ParseError);
}
