// The frame model reader: what it takes from a file, and how it refuses a damaged one.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "models/md2/md2.h"
#include "models/md2/md2_writer.h"
#include "support/test_support.h"

namespace {

using namespace tarko;
using namespace tarko::md2;

// triangle_model of 3 frames: skins at 68 (one of 64 bytes), texture coordinates at
// 132 (3 x 4), the triangle at 144 (12), frames at 156 (3 x 52), the GL commands'
// terminating zero at 312, end at 316.
Bytes three_frames() { return write_md2(triangle_model({"stand01", "stand02", "run01"})); }

md2::ReadResult read(const Bytes& file, md2::Md2Data& data) { return md2::read_md2(file, data); }

TEST(Md2Reader, ReadsEveryTableOfAWholeFile) {
    Model m = triangle_model({"stand01", "stand02", "run01"});
    m.triangles = {{0, 1, 2, 2, 0, 1}};
    m.st[0] = {-4, -32768};  // negative coordinates divide too
    md2::Md2Data d;
    const md2::ReadResult r = read(write_md2(m), d);
    ASSERT_FALSE(r.stopped) << r.stopped->what();
    EXPECT_TRUE(r.loaded);
    EXPECT_EQ(d.SkinNames, std::vector<std::string>{"skin.pcx"});
    // s / 8, t / 4: (-4/8, -32768/4), (8/8, 0), (4/8, 2/4)
    ASSERT_EQ(d.StCoords.size(), 3u);
    const auto& st = d.StCoords;
    EXPECT_EQ((std::array{st[0].tu, st[0].tv, st[1].tu, st[1].tv, st[2].tu, st[2].tv}),
              (std::array{-0.5f, -8192.0f, 1.0f, 0.0f, 0.5f, 0.5f}));
    EXPECT_EQ(d.VertexIndices, (std::vector<std::int16_t>{0, 1, 2}));
    EXPECT_EQ(d.StIndices, (std::vector<std::int16_t>{2, 0, 1}));
    ASSERT_EQ(d.Frames.size(), 3u);
    EXPECT_EQ(d.Frames[2].Name, "run01");
    // the points are held by EdgeScalesDecodeAsTheDoubleFormulaSays, the split by the animation tests
    EXPECT_EQ((std::array{d.FirstPlayFrame, d.LastPlayFrame}), (std::array{0.0f, 2.0f}));
}

TEST(Md2Reader, EdgeScalesDecodeAsTheDoubleFormulaSays) {
    // Oracle for the two-at-a-time decode: packed x scale + translate in Doubles, rounded once.
    const float inf = std::numeric_limits<float>::infinity();
    const float edges[] = {0.0f, -0.0f, 1e-40f, 1.1f, -3.3f, 1e30f, -3.4e38f, inf, 0.1f, 0.2f};
    Model m = triangle_model({});
    for (std::size_t f = 0; f < std::size(edges); ++f) {
        Frame fr{{edges[f], edges[(f + 3) % 10], edges[(f + 6) % 10]}, {edges[(f + 1) % 10], edges[(f + 8) % 10], edges[(f + 9) % 10]},
                 "e" + std::to_string(f), {}};
        for (int k = 0; k < 7; ++k)
            fr.points.push_back({static_cast<std::uint8_t>(k * 40 + 3), static_cast<std::uint8_t>(255 - k * 37), static_cast<std::uint8_t>(k * k)});
        m.frames.push_back(fr);
    }
    md2::Md2Data d;
    ASSERT_FALSE(read(write_md2(m), d).stopped);
    for (std::size_t f = 0; f < m.frames.size(); ++f)
        for (std::size_t k = 0; k < 7; ++k) {
            const Frame& fr = m.frames[f];
            float want[3], got[3] = {d.Frames[f].Points[k].x, d.Frames[f].Points[k].y, d.Frames[f].Points[k].z};
            for (int a = 0; a < 3; ++a) want[a] = static_cast<float>(fr.points[k][a] * static_cast<double>(fr.scale[a]) + fr.translate[a]);
            EXPECT_EQ(std::memcmp(want, got, sizeof want), 0) << "frame " << f << " point " << k;
        }
}

TEST(Md2Reader, OnlyTheIdP2MagicIsAFrameModel) {
    EXPECT_TRUE(md2::is_md2(three_frames()));
    EXPECT_FALSE(md2::is_md2(Bytes{'I', 'D', 'S', 'T', 0, 0}));
    EXPECT_FALSE(md2::is_md2(Bytes{'I', 'D', 'P'}));
}

Bytes with(Bytes b, std::size_t field, std::int32_t v) { return set32(b, field, v), b; }
Bytes cut(Bytes b, std::size_t size) { return b.resize(size), b; }

TEST(Md2Reader, RefusesDamagedFilesWithReasonAndByte) {
    const Bytes ok = three_frames();
    const test::Refusal rows[] = {
        {"shorter than the header", cut(ok, 67), "header cut short", 0},
        {"another magic", with(ok, 0, 0x33504449), "not an IDP2 file", 0},
        {"negative skin count", with(ok, at::SkinCount, -1), "negative skin count", at::SkinCount},
        {"skins past the end", with(ok, at::SkinCount, 5), "skin table runs past", at::SkinCount},  // 68 + 5 x 64 > 316
        {"skin table before the file", with(ok, at::SkinOffset, -4), "skin table offset outside", at::SkinOffset},
        {"coordinates past the end", with(ok, at::StCount, 47), "texture coordinate table runs past", at::StCount},  // 132 + 47 x 4 = 320
        {"coordinates outside", with(ok, at::StOffset, 1 << 30), "texture coordinate table offset outside", at::StOffset},
        {"skin width 0", with(ok, at::SkinWidth, 0), "skin width of 0", at::SkinWidth},
        {"skin height 0", with(ok, at::SkinHeight, 0), "skin height of 0", at::SkinHeight},
        {"triangles past the end", with(ok, at::TriangleCount, 15), "triangle table runs past", at::TriangleCount},  // 144 + 15 x 12 = 324 > 316
        {"negative triangles", with(ok, at::TriangleCount, -3), "negative triangle count", at::TriangleCount},
        {"triangles outside", with(ok, at::TriangleOffset, 400), "triangle table offset outside", at::TriangleOffset},
        {"2050 vertices", with(ok, at::VertexCount, 2050), "vertex count outside", at::VertexCount},
        {"negative vertices", with(ok, at::VertexCount, -1), "vertex count outside", at::VertexCount},
        {"frame size above 8236", with(ok, at::FrameSize, 8237), "frame size above 8236", at::FrameSize},
        {"frame too small for its points", with(ok, at::FrameSize, 51), "frame size too small", at::FrameSize},  // 40 + 3 x 4 = 52
        {"frames past the end", with(ok, at::FrameCount, 4), "frame table runs past", at::FrameCount},  // 156 + 4 x 52 = 364 > 316
        {"frames outside", with(ok, at::FrameOffset, 317), "frame table offset outside", at::FrameOffset},
        {"last frame cut", cut(ok, 311), "frame table runs past", at::FrameCount},
        // 16 characters, no zero
        {"frame name without a zero", write_md2(triangle_model({"stand01", "abcdefghijklmnop"})), "frame name without its terminating zero", 156 + 52 + 24},
        {"no frames", with(ok, at::FrameCount, 0), "no frame to start the animations", at::FrameCount},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(test::refused_with([&] {
            md2::Md2Data d;
            if (auto r = md2::read_md2(row.file, d); r.stopped) throw *r.stopped;
        }, row.reason, row.offset)) << row.what;
    }
}

TEST(Md2Reader, TheGlCommandsBehindTheFramesAreNotRead) {
    md2::Md2Data d;
    EXPECT_FALSE(read(cut(three_frames(), 312), d).stopped);
}

TEST(Md2Reader, AnErrorKeepsTheTablesReadBeforeIt) {
    md2::Md2Data d;
    ASSERT_FALSE(read(write_md2(triangle_model({"old01", "old02"})), d).stopped);
    d.FramePosition = 1;
    // A new file whose second frame name has no end: texture coordinates and the
    // first frame are replaced, indices and animations stay those of the old file.
    Model m = triangle_model({"new01", "abcdefghijklmnop"});
    m.st = {{4, 0}, {8, 0}, {4, 2}};
    m.triangles = {{2, 1, 0, 0, 1, 2}};
    const md2::ReadResult r = read(write_md2(m), d);
    ASSERT_TRUE(r.stopped);
    EXPECT_FALSE(r.loaded);
    EXPECT_EQ(d.StCoords[0].tu, 0.5f);  // 4 / 8
    ASSERT_EQ(d.Frames.size(), 2u);
    EXPECT_EQ(d.Frames[0].Name, "new01");
    EXPECT_TRUE(d.Frames[1].Points.empty());
    EXPECT_EQ(d.VertexIndices, (std::vector<std::int16_t>{0, 1, 2}));
    EXPECT_EQ(d.Animations.at(0).Name, "old");
}

TEST(Md2Reader, AFileWithoutFramesLoadsWithoutAnimations) {
    md2::Md2Data d;
    ASSERT_FALSE(read(write_md2(triangle_model({"a01", "a02", "a03"})), d).stopped);
    d.LastPlayFrame = 7;
    const md2::ReadResult r = read(with(three_frames(), at::FrameCount, 0), d);
    ASSERT_TRUE(r.stopped);
    EXPECT_TRUE(r.loaded);  // the object is a frame model by then
    EXPECT_TRUE(d.Frames.empty());
    EXPECT_TRUE(d.Animations.empty());
    EXPECT_EQ(d.LastPlayFrame, 7.0f);  // the play range is never reached
}

TEST(Md2Reader, EmptyTablesNeedNoOffsetsAndNoSkinSize) {
    Model m = triangle_model({"a01", "a02"});
    m.st.clear();
    m.triangles.clear();
    m.skins.clear();
    Bytes b = write_md2(m);
    set32(b, at::SkinWidth, 0);
    set32(b, at::StOffset, -1);
    set32(b, at::SkinOffset, 1 << 30);
    md2::Md2Data d;
    const md2::ReadResult r = read(b, d);
    EXPECT_FALSE(r.stopped);
    EXPECT_TRUE(r.loaded);
    EXPECT_TRUE(d.VertexIndices.empty());
}

TEST(Md2Reader, SeedFilesReadToTheirEnd) {
    // The fuzz seeds; with TARKO_WRITE_SEEDS=<fuzz/corpus> they are also written to <dir>/md2.
    Model odd = triangle_model({"x", "pain01", "pain02", "death1"});
    odd.frames[0].scale = {-1, 1e-3f, 1e30f};
    const struct {
        const char* name;
        Bytes bytes;
        std::size_t animations;
    } seeds[] = {
        {"triangle.md2", three_frames(), 1},
        {"odd_names.md2", write_md2(odd), 2},
        {"actor.md2", write_md2(actor(4, 6, 3)), 2},
    };
    for (const auto& s : seeds) {
        md2::Md2Data d;
        const md2::ReadResult r = read(s.bytes, d);
        EXPECT_FALSE(r.stopped) << s.name;
        EXPECT_EQ(d.Animations.size(), s.animations) << s.name;
        test::save_seed("md2", s.name, s.bytes);
    }
}

}  // namespace
