// The studio reader: commands into triangles, textures and their companion
// file, sequence group files, hit boxes, and damaged files.
#include <gtest/gtest.h>

#include <map>

#include "models/mdl/mdl_writer.h"
#include "models/mdl/studio_file.h"
#include "support/test_support.h"

using namespace tarko;
using namespace tarko::mdl;
using tarko::mdl::StudioModel;

namespace {

struct Disk {
    std::map<std::string, Bytes> files;
    std::vector<std::string> asked;
    tarko::mdl::FileLoader loader() {
        return [this](const std::string& name) {
            asked.push_back(name);
            const auto it = files.find(name);
            return it == files.end() ? Bytes{} : it->second;
        };
    }
};

StudioModel read(const Bytes& main, Disk* disk = nullptr) {
    Disk none;
    return tarko::mdl::read_studio(main, "hero.mdl", (disk ? disk : &none)->loader());
}

// One model of five vertices, one mesh with the given runs, skin 0 of 100 x 60.
StudioDesc one_mesh(std::vector<Run> runs) {
    StudioDesc s;
    s.body_parts = {{"body", {{"m", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {2, 2, 0}}, {}, {{0, -1, runs}}}}}};
    s.textures = {{"skin", 100, 60, {}, {}}};
    return s;
}

void put32(Bytes& f, std::size_t at, std::int64_t v) {
    for (std::size_t i = 0; i < 4; ++i) f[at + i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(v) >> (8 * i));
}
std::size_t u16(const Bytes& f, std::size_t at) { return static_cast<std::size_t>(f[at] | f[at + 1] << 8); }
std::size_t triangles(const StudioModel& m) {
    std::size_t n = 0;
    for (const auto& dm : m.Models.at(0).at(0).DrawMeshes) n += dm.Indices.size() / 3;
    return n;
}
// Points the first model's mesh table at `count` copies of `rec` appended to f.
void repeat_meshes(Bytes& f, const Bytes& rec, int count) {
    const std::size_t model = u16(f, u16(f, 208) + 72), table = f.size();
    for (int i = 0; i < count; ++i) f.insert(f.end(), rec.begin(), rec.end());
    put32(f, model + 72, count);
    put32(f, model + 76, static_cast<std::int64_t>(table));
}
std::size_t first_mesh(const Bytes& f) { return u16(f, u16(f, u16(f, 208) + 72) + 76); }

}  // namespace

struct CommandCase {
    const char* name;
    Run run;
    std::vector<std::int16_t> indices;
};

TEST(StudioCommands, StripsAndFansBecomeTheirTriangles) {
    // Points carry s = 10 v, t = 6 v, so texture coordinates are v / 10 and v / 10 (100 x 60 skin).
    const auto pts = [](std::initializer_list<std::int16_t> vs) {
        std::vector<Point> out;
        for (std::int16_t v : vs) out.push_back({v, static_cast<std::int16_t>(10 * v), static_cast<std::int16_t>(6 * v)});
        return out;
    };
    const CommandCase cases[] = {
        // strip of 4: (1, 2, 3), (2, 3, 4), the second not reversed
        {"strip of 4", {false, pts({0, 1, 2, 3})}, {0, 1, 2, 1, 2, 3}},
        // fan of 5: (1, 2, 3), (1, 3, 4), (1, 4, 5)
        {"fan of 5", {true, pts({4, 0, 1, 2, 3})}, {4, 0, 1, 4, 1, 2, 4, 2, 3}},
        // a run of 2 points gives nothing
        {"strip of 2", {false, pts({3, 1})}, {}},
    };
    for (const CommandCase& c : cases) {
        const StudioModel m = read(write_studio(one_mesh({c.run})).main);
        ASSERT_EQ(m.Models.size(), 1u) << c.name;
        const auto& mesh = m.Models[0][0].DrawMeshes.at(0);
        EXPECT_EQ(mesh.Indices, c.indices) << c.name;
        ASSERT_EQ(mesh.TexCoords.size(), c.indices.size()) << c.name;
        for (std::size_t i = 0; i < c.indices.size(); ++i) {
            EXPECT_FLOAT_EQ(mesh.TexCoords[i][0], c.indices[i] / 10.0f) << c.name << " " << i;
            EXPECT_FLOAT_EQ(mesh.TexCoords[i][1], c.indices[i] / 10.0f) << c.name << " " << i;
        }
        EXPECT_TRUE(m.skipped.empty()) << c.name << ": " << m.skipped[0].what();
    }
}

TEST(StudioCommands, TwoRunsFollowEachOtherAndExtraTrianglesAreDropped) {
    StudioDesc s = one_mesh({});
    s.body_parts[0].models[0].meshes = {{0, 2, {{false, {{0}, {1}, {2}}}, {true, {{3}, {0}, {2}}}, {false, {{4}, {1}, {0}}}}}};
    const StudioModel m = read(write_studio(s).main);
    // capacity 2 triangles: the third run is read and dropped
    EXPECT_EQ(m.Models[0][0].DrawMeshes[0].Indices, (std::vector<std::int16_t>{0, 1, 2, 3, 0, 2}));
    EXPECT_EQ(m.Models[0][0].MeshCount, 1);
    EXPECT_EQ(m.Models[0][0].DrawMeshes[0].Skin, 0);
}

TEST(StudioCommands, AVertexOutsideTheModelEndsTheMeshAndKeepsWhatCameBefore) {
    // triangles declared 3; the second run names vertex 5 of 5
    StudioDesc s = one_mesh({});
    s.body_parts[0].models[0].meshes = {{0, 3, {{false, {{0}, {1}, {2}}}, {false, {{1}, {5}, {2}}}}}};
    const StudioModel m = read(write_studio(s).main);
    EXPECT_EQ(m.Models[0][0].DrawMeshes[0].Indices, (std::vector<std::int16_t>{0, 1, 2, 0, 0, 0, 0, 0, 0}));
    ASSERT_EQ(m.skipped.size(), 1u);
    EXPECT_NE(m.skipped[0].reason().find("vertex number 5"), std::string::npos);
}

TEST(StudioTextures, ATexturelessFileTakesThemFromItsCompanion) {
    StudioDesc s = one_mesh({{false, {{0, 50, 30}, {1}, {2}}}});
    s.textures = {{"companion", 50, 20, {}, {}}};
    s.textures_in_companion = true;
    const StudioFiles f = write_studio(s);
    Disk disk;
    disk.files["herot.mdl"] = f.textures;
    const StudioModel m = read(f.main, &disk);
    ASSERT_EQ(m.Textures.size(), 1u);
    EXPECT_EQ(m.Textures[0].name, "companion");
    EXPECT_EQ(m.TextureSizes[0], (std::array<float, 2>{50, 20}));
    // 50 / 50 and 30 / 20: sizes of the companion divide the coordinates
    EXPECT_FLOAT_EQ(m.Models[0][0].DrawMeshes[0].TexCoords[0][0], 1.0f);
    EXPECT_FLOAT_EQ(m.Models[0][0].DrawMeshes[0].TexCoords[0][1], 1.5f);
    EXPECT_EQ(disk.asked, std::vector<std::string>{"herot.mdl"});

    Disk empty;  // a missing companion leaves the textures empty
    EXPECT_TRUE(read(f.main, &empty).Textures.empty());
}

TEST(StudioGroups, GroupFilesAreNamedWithTwoDigitsAndKeptWhole) {
    EXPECT_EQ(tarko::mdl::group_file_name("dir\\Hero.MDL", 12), "dir\\Hero12.mdl");
    StudioDesc s;
    s.group_count = 3;
    s.sequences = {{"walk", 10, 4, 2, {}}};
    const StudioFiles f = write_studio(s);
    Disk disk;
    disk.files["hero02.mdl"] = f.groups[1];
    const StudioModel m = read(f.main, &disk);
    EXPECT_EQ(disk.asked, (std::vector<std::string>{"herot.mdl", "hero01.mdl", "hero02.mdl"}));
    ASSERT_EQ(m.FileBlocks.size(), 3u);
    EXPECT_TRUE(m.FileBlocks[1].empty());
    EXPECT_EQ(m.FileBlocks[2], f.groups[1]);
    ASSERT_EQ(m.Sequences.size(), 1u);
    EXPECT_EQ(m.Sequences[0].label.size(), 32u);
    EXPECT_EQ(m.Sequences[0].label.substr(0, 5), std::string("walk\0", 5));
    EXPECT_EQ(m.Sequences[0].group, 2);
}

// Parents, controllers and scales are held by the pose tests; names, rest values and hit boxes here.
TEST(StudioTables, BonesAndHitBoxesAreRead) {
    StudioDesc s;
    s.bones = {{"root", -1, {}, {1, 2, 3, 0.1f, 0.2f, 0.3f}, {}}, {"child", 0, {}, {}, {}}};
    s.hitboxes = {{D3DVECTOR{-1, -2, -3}, D3DVECTOR{4, 5, 6}}};
    const StudioModel m = read(write_studio(s).main);
    ASSERT_EQ(m.Bones.size(), 2u);
    EXPECT_EQ(m.Bones[1].name, "child");
    EXPECT_EQ(m.Bones[0].value, (std::array<float, 6>{1, 2, 3, 0.1f, 0.2f, 0.3f}));
    ASSERT_EQ(m.HitBoxMeshes.size(), 1u);
    const auto& p = m.HitBoxMeshes[0].positions;
    // corners 1 3 7 first: (min, min, min), (min, max, min), (max, max, min); corner 6
    // (max, min, max) opens the eleventh triangle; the last: 6 1 2 -> corner 2 (min, min, max)
    const std::pair<std::size_t, std::array<float, 3>> corners[] = {
        {0, {-1, -2, -3}}, {1, {-1, 5, -3}}, {2, {4, 5, -3}}, {35, {-1, -2, 6}}, {30, {4, -2, 6}}};
    for (const auto& [i, want] : corners) EXPECT_EQ((std::array<float, 3>{p[i].x, p[i].y, p[i].z}), want) << i;
}

TEST(StudioTables, TextureSidesRoundUpTheLadder) {
    const std::pair<Long, Long> cases[] = {{1, 1}, {2, 2}, {3, 4}, {4, 4}, {5, 8}, {60, 64}, {100, 128},
                                           {128, 128}, {129, 256}, {256, 256}, {300, 256}};
    for (auto [in, out] : cases) EXPECT_EQ(tarko::mdl::texture_side(in), out) << in;
}

// Damaged files: each bad table is skipped, the read goes on, nothing is read outside the file.
struct Damage {
    const char* name;
    std::size_t field;  // header offset to overwrite
    std::int32_t value;
    const char* reason;  // in the skipped step
};

TEST(StudioDamage, ABadTableIsSkippedAndTheRestIsRead) {
    StudioDesc s = one_mesh({{false, {{0}, {1}, {2}}}});
    s.sequences = {{"idle", 10, 2, 0, {}}};
    const Bytes good = write_studio(s).main;
    const Damage cases[] = {
        {"bone count past the end", 140, 100000, "bone table: 100000 records do not fit"},
        {"bone offset outside", 144, 1 << 30, "bone table: offset"},
        {"negative bone count", 140, -1, "bone table: negative count"},
        {"sequence count past the end", 164, 5000, "sequence table"},
        {"body part offset outside", 208, -4, "body part table: offset -4"},
        {"texture offset outside", 184, 0x7FFFFFF0, "texture table: offset"},
    };
    for (const Damage& d : cases) {
        Bytes bad = good;
        put32(bad, d.field, d.value);
        const StudioModel m = read(bad);
        ASSERT_EQ(m.skipped.size(), 1u) << d.name;
        EXPECT_NE(m.skipped[0].reason().find(d.reason), std::string::npos) << d.name << ": " << m.skipped[0].reason();
        // the other tables are all there
        const auto lost = [&](const char* table) { return std::string(d.reason).starts_with(table) ? 0u : 1u; };
        EXPECT_EQ(m.Bones.size(), lost("bone")) << d.name;
        EXPECT_EQ(m.Sequences.size(), lost("sequence")) << d.name;
        EXPECT_EQ(m.BodyParts.size(), lost("body")) << d.name;
        EXPECT_EQ(m.Textures.size(), lost("texture")) << d.name;
    }
}

TEST(StudioDamage, MeshAndVertexTablesOutsideTheFileAreSkipped) {
    const Bytes good = write_studio(one_mesh({{false, {{0}, {1}, {2}}}})).main;
    const std::size_t table = u16(good, u16(good, 208) + 72);  // the body part's model table
    const struct {
        std::size_t at;
        std::int32_t value;
        const char* reason;
    } cases[] = {{table + 80, 1 << 20, "vertex table"},           // vertex count: 12 MB of vertices
                 {table + 88, -8, "vertex table: offset -8"},
                 {table + 72, 1 << 24, "mesh table"},
                 {table + 76, 0x7FFFFFFF, "mesh table: offset"}};
    for (const auto& c : cases) {
        Bytes bad = good;
        put32(bad, c.at, c.value);
        const StudioModel m = read(bad);
        ASSERT_FALSE(m.skipped.empty()) << c.reason;
        EXPECT_NE(m.skipped[0].reason().find(c.reason), std::string::npos) << m.skipped[0].reason();
    }
}

TEST(StudioDamage, EveryCutOfAFileReadsWithoutFault) {
    StudioDesc s = one_mesh({{false, {{0}, {1}, {2}, {3}}}, {true, {{4}, {0}, {1}}}});
    s.controllers = {{0, 0x8, 0, 90, 0}};
    s.hitboxes = {{D3DVECTOR{0, 0, 0}, D3DVECTOR{1, 1, 1}}};
    s.sequences = {{"idle", 10, 3, 0, {{Track{{3, {1, 2, 3}}}, {}, {}, {}, {}, {}}}}};
    const Bytes whole = write_studio(s).main;
    const StudioModel full = read(whole);
    ASSERT_TRUE(full.skipped.empty());
    for (std::size_t n = 0; n < whole.size(); ++n) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
        const StudioModel m = read(cut);
        ASSERT_EQ(m.FileBlocks[0].size(), n);
        // below the header nothing is read; past it, a cut file always loses a step
        if (n < 244) EXPECT_TRUE(m.Bones.empty() && m.skipped.size() == 1) << n;
        else EXPECT_FALSE(m.skipped.empty()) << n;
    }
}

TEST(StudioDamage, SharedCommandsCannotMultiplyTheWork) {
    // 2000 meshes all pointing at one strip of 30 points (28 triangles): the
    // file holds about 2000 x 20 + 250 bytes, so about 5,000 points in all.
    Bytes f = write_studio(one_mesh({{false, std::vector<Point>(30)}})).main;
    Bytes rec(20, 0);
    rec[0] = 28, rec[4] = f[first_mesh(f) + 4], rec[5] = f[first_mesh(f) + 5];
    repeat_meshes(f, rec, 2000);
    const StudioModel m = read(f);
    EXPECT_LE(triangles(m), f.size() / 8 + 1);  // the budget, not 2000 x 28 = 56000
    EXPECT_FALSE(m.skipped.empty());
}

TEST(StudioSeeds, SeedFilesReadToTheirEnd) {
    // The fuzz seeds; with TARKO_WRITE_SEEDS=<fuzz/corpus> they are also written to <dir>/mdl.
    StudioDesc textureless = one_mesh({{true, {{0}, {1}, {2}, {3}}}});
    textureless.textures_in_companion = true;
    StudioDesc tracks = one_mesh({{false, {{0}, {1}, {2}, {3}}}, {true, {{4}, {0}, {1}}}});
    tracks.bones.push_back({"child", 0, {-1, -1, -1, -1, -1, 0}, {0, 0, 1, 0, 0, 0}, {1, 1, 1, 1, 1, 0.01f}});
    tracks.controllers = {{1, 0x20, -30, 30, 0}, {1, 0x8008, 0, 0, 1}, {1, 0x10, 0, 20, 4}};
    tracks.hitboxes = {{D3DVECTOR{-1, -1, -1}, D3DVECTOR{1, 1, 1}}};
    tracks.sequences = {{"move", 10, 6, 0, {{Track{{3, {1, 2, 3}}, {3, {4}}}, {}, {}, {}, {}, Track{{6, {0, 50, 100, 150}}}},
                                            {Track{}, Track{{2, {5, 6}}, {0, {}}, {4, {7}}}, {}, {}, {}, {}}}}};
    const struct {
        const char* name;
        StudioDesc desc;
        std::size_t triangles;  // of the first model
    } seeds[] = {{"square.mdl", one_mesh({{false, {{0}, {1}, {2}, {3}}}}), 2},
                 {"textureless.mdl", textureless, 2},
                 {"tracks.mdl", tracks, 3},
                 {"walker.mdl", walker(2, 4), 5 * 2 * 2 * 4}};
    for (const auto& s : seeds) {
        const Bytes bytes = write_studio(s.desc).main;
        const StudioModel m = read(bytes);
        // the textureless one misses its companion, and only that
        EXPECT_EQ(m.skipped.size(), s.desc.textures_in_companion ? 1u : 0u) << s.name;
        EXPECT_EQ(triangles(m), s.triangles) << s.name;
        test::save_seed("mdl", s.name, bytes);
    }
}

TEST(StudioDamage, TexturesSharingOnePictureCannotMultiplyMemory) {
    // 3 textures of 40 x 40 (1,600 + 768 bytes each) all pointing at the first
    // one's pixels: the file holds one picture, so the later ones are refused.
    StudioDesc s = one_mesh({{false, {{0}, {1}, {2}}}});
    s.textures = {{"a", 40, 40, {}, {}}, {"b", 40, 40, {}, {}}, {"c", 40, 40, {}, {}}};
    Bytes f = write_studio(s).main;
    const std::size_t table = static_cast<std::size_t>(f[184] | f[185] << 8 | f[186] << 16);
    for (std::size_t t = 1; t < 3; ++t)
        for (std::size_t i = 0; i < 4; ++i) f[table + 80 * t + 76 + i] = f[table + 76 + i];
    f.resize(f.size() - 2 * (1600 + 768));  // the other two pictures are not in the file
    // the sequence and group tables came after them: put the header's offsets out of the way
    for (std::size_t at : {164u, 172u}) f[at] = f[at + 1] = f[at + 2] = f[at + 3] = 0;
    const StudioModel m = read(f);
    EXPECT_TRUE(m.TexturePictures[0].read);
    // the file keeps picture a and part of b, under 2 x 2,368 + 1,000 bytes: without the
    // budget all three records would read a's 2,368 bytes, 7,104 in all
    std::size_t read_pictures = 0;
    for (const auto& p : m.TexturePictures) read_pictures += p.read;
    EXPECT_LT(f.size(), 2 * 2368u + 1000);
    EXPECT_LT(read_pictures * (1600 + 768), f.size());
    EXPECT_FALSE(m.skipped.empty());
}

TEST(StudioDamage, RunsWithoutTrianglesCannotMultiplyTheWork) {
    // 3000 meshes of 0 triangles all reading one list of 100 two-point runs
    // (1,000 bytes): 300,000 runs, while the file (about 62,000 bytes) can hold
    // 62,000 / 8 = 7,750 points; the reads stop once those are spent.
    StudioDesc s = one_mesh({});
    s.body_parts[0].models[0].meshes = {{0, 0, std::vector<tarko::mdl::Run>(100, tarko::mdl::Run{false, {{0}, {1}}})}};
    Bytes f = write_studio(s).main;
    const auto mesh = f.begin() + static_cast<std::ptrdiff_t>(first_mesh(f));
    repeat_meshes(f, Bytes(mesh, mesh + 20), 3000);
    const StudioModel m = read(f);
    ASSERT_FALSE(m.skipped.empty());
    EXPECT_NE(m.skipped.back().reason().find("more triangle command points than the file can hold"), std::string::npos);
    // about 7,750 / 200 = 38 meshes get through
    EXPECT_GT(m.skipped.size(), 2900u);
}
