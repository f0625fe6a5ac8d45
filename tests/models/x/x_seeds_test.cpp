// The fuzz seeds of the X reader, made here: the test cube in every form, a
// frame hierarchy, and a text file in the styles real exporters write. Each
// seed parses; with TARKO_WRITE_SEEDS=<fuzz/corpus> set they are also written
// into <dir>/x.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "models/x/mesh_builder.h"
#include "models/x/x_file.h"
#include "models/x/x_writer.h"
#include "x_samples.h"

using namespace tarko;
using namespace tarko::test::xs;

TEST(XSeeds, EverySeedParsesAndBuilds) {
    x::File framed;
    framed.frames.emplace_back();
    framed.frames[0].name = "Root";
    framed.frames[0].transform[12] = 3;
    framed.frames[0].children.emplace_back();
    framed.frames[0].children[0].meshes.push_back(cube());
    const std::vector<std::pair<std::string, Bytes>> seeds = {
        {"cube_txt.x", x::write(file_of(cube()), x::Form::Text)},
        {"cube_bin32.x", x::write(file_of(cube()), x::Form::Binary32)},
        {"cube_bin64.x", x::write(file_of(cube()), x::Form::Binary64)},
        {"cube_tzip.x", x::write(file_of(cube()), x::Form::TextZip)},
        {"cube_bzip.x", x::write(file_of(cube()), x::Form::BinaryZip)},
        {"frames_txt.x", x::write(framed, x::Form::Text)},
        {"frames_bin.x", x::write(framed, x::Form::Binary32)},
        {"styles_txt.x",
         bytes("xof 0303txt 0032\r\n// comment\r\ntemplate Mesh { <3D82AB44-62DA-11cf-AB39-0020AF71E433> DWORD n; [...] }\r\n"
               "Header { 1; 0; 1; }\r\nMaterial Mat-1.red { 1;0;0;1;; 5; 0;0;0;; 0;0;0;; TextureFilename {\n    \"red.bmp\";\n} }\r\n"
               "Frame 1st { FrameTransformMatrix { 1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1;; }\r\n"
               "Mesh tri { 3 0 0 0 0 1 0 1 0 0 1 3 0 1 2 MeshMaterialList { 1; 1; 0;; { Mat-1.red } }\r\n"
               "MeshNormals { 1; 0;0;-1;; 1; 3;0,0,0;; } MeshVertexColors { 1; 0; 1;1;1;1;; }\r\n"
               "MeshTextureCoords { 3; 0;0;, 0;1;, 1;0;; } } }\r\nAnimationSet Walk { }\r\n")},
    };
    for (const auto& [name, b] : seeds) {
        SCOPED_TRACE(name);
        const auto f = x::parse(b);
        const auto route = x::has_route(f, x::Route::Mesh) ? x::Route::Mesh : x::Route::Frames;
        EXPECT_FALSE(x::create_groups(x::gather(f, route)).empty());
    }
    if (const char* dir = std::getenv("TARKO_WRITE_SEEDS")) {
        const auto out = std::filesystem::path(dir) / "x";
        std::filesystem::create_directories(out);
        for (const auto& [name, b] : seeds) write_file(out, name, b);
    }
}
