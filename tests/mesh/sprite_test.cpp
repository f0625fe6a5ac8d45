// Sprite files: the reader, frames made into textures, frames shared by file.
#include <memory>
#include <tuple>
#include <utility>

#include "mesh/mesh.h"
#include "mesh/sprite_reader.h"
#include "support/engine_test_support.h"
#include "mesh_fixture.h"
#include "tvlm_writer.h"

using namespace tarko;

namespace {

using Bytes = std::vector<std::uint8_t>;

// A sprite of `frames` frames, frame k filled with palette index k; palette
// entry k is `colours[k]` (0x00RRGGBB).
Bytes make_sprite(std::int32_t w, std::int32_t h, std::int32_t frames, const std::vector<std::uint32_t>& colours,
                  std::size_t frames_written = 99) {
    Bytes b = {'I', 'D', 'S', 'P'};
    // version, type, texture format, radius, width, height, frames, two zeros
    for (std::int32_t v : {0, 0, 0, 0, w, h, frames, 0, 0}) test::put_le(b, static_cast<std::uint32_t>(v), 4);
    b.push_back(0), b.push_back(1);  // palette size 256
    for (int i = 0; i < 256; ++i) {
        const std::uint32_t c = i < static_cast<int>(colours.size()) ? colours[static_cast<std::size_t>(i)] : 0;
        for (int shift : {16, 8, 0}) b.push_back(static_cast<std::uint8_t>(c >> shift));
    }
    for (std::int32_t f = 0; f < frames && static_cast<std::size_t>(f) < frames_written; ++f) {
        b.insert(b.end(), 20, 0);
        b.insert(b.end(), static_cast<std::size_t>(w * h), static_cast<std::uint8_t>(f));
    }
    return b;
}

class Sprites : public test::MeshModuleTest<test::EngineFixture> {
protected:
    std::string save(const Bytes& bytes, const std::string& name) {
        return test::write_file(test::scratch_dir("sprites") / name, bytes);
    }
};

}  // namespace

TEST(SpriteReader, HostileSpritesAreRefusedWithReasonAndByte) {
    const test::Refusal rows[] = {
        {"header cut short", test::cut(make_sprite(2, 2, 1, {}), 30), "file cut short", 28},
        {"width 0", make_sprite(0, 2, 1, {}), "sprite width 0", 20},
        {"height past 16384", make_sprite(2, 16385, 1, {}), "sprite height 16385", 24},
        {"negative frames", make_sprite(2, 2, -1, {}), "negative frame count", 28},
        {"palette cut short", test::cut(make_sprite(2, 2, 0, {}), 500), "file cut short", 500},
        // Two frames of 20 + 4 bytes from 810 need 48; one is there.
        {"frames cut short", make_sprite(2, 2, 2, {}, 1), "sprite frames", 810},
    };
    for (const auto& r : rows)
        EXPECT_TRUE(test::refused_with([&] { mesh::parse_sprite(r.file); }, r.reason, r.offset)) << r.what;
}

TEST_F(Sprites, FramesBecomeTexturesAtTheLadderSizeAndAreSharedByFile) {
    open();
    const auto file = save(make_sprite(3, 5, 3, {0xFF0000, 0x00FF00, 0x0000FF}), "flame.spr");
    auto a = std::make_unique<Mesh>();
    a->LoadSprite(file, engine);
    auto& m = mesh::module();
    const auto& ra = a->record();
    // SpriteOn, FirstSprite, SpriteCount; the cursor is 1, then 3 - 1 more.
    EXPECT_EQ(std::tuple(ra.SpriteOn, ra.FirstSprite, ra.SpriteCount, m.SpriteCursor), std::tuple(-1, 1, 3, 3));
    for (int k = 1; k <= 3; ++k) {
        const auto& tex = m.SpriteTable[static_cast<std::size_t>(k)];
        ASSERT_TRUE(tex) << k;
        EXPECT_EQ(std::tuple(tex->width(), tex->height()), std::tuple(4, 8));  // 3 -> 4, 5 -> 8
        EXPECT_EQ(m.SpriteNames[static_cast<std::size_t>(k)], file);
    }
    // Frame k is filled with palette entry k - 1: red, green, blue (opaque in any format).
    EXPECT_EQ(m.SpriteTable[1]->argb_at(3, 7) & 0xFFFFFF, 0xFF0000u);
    EXPECT_EQ(m.SpriteTable[2]->argb_at(0, 0) & 0xFFFFFF, 0x00FF00u);
    EXPECT_EQ(m.SpriteTable[3]->argb_at(2, 4) & 0xFFFFFF, 0x0000FFu);

    Mesh b;
    b.LoadSprite(file, engine);  // the same file: a's run, no new textures
    EXPECT_EQ(std::tuple(b.record().FirstSprite, b.record().SpriteCount, m.SpriteCursor), std::tuple(1, 3, 3));
    Long n = 0;
    a->AddVertex(0, 0, 0, 0, 0, 0, 0, 0, 0, false, n);
    a->RenderMesh(engine);
    a->RenderMesh(engine);
    b.RenderMesh(engine);
    EXPECT_EQ(std::tuple(ra.CurrentSprite, b.record().CurrentSprite), std::tuple(3, 2));  // each runs its own frame

    Mesh c;  // another file: a run of its own after a's
    c.LoadSprite(save(make_sprite(1, 1, 2, {0x808080}), "spark.spr"), engine);
    EXPECT_EQ(std::tuple(c.record().FirstSprite, m.SpriteCursor), std::tuple(4, 5));
    EXPECT_TRUE(m.DeveloperTrace.empty());
}

TEST_F(Sprites, AFileThatCannotBeReadLeavesALineForTheDeveloperOnly) {
    open();
    Mesh m;
    m.LoadSprite(save(make_sprite(2, 2, 3, {}, 1), "short.spr"), engine);
    m.LoadSprite("no/such/file.spr", engine);
    const auto& trace = mesh::module().DeveloperTrace;
    ASSERT_EQ(trace.size(), 2u);
    EXPECT_EQ(trace[0].rfind("Erreur dans le loading des sprites ", 0), 0u);
    EXPECT_NE(trace[0].find("sprite frames"), std::string::npos);
    EXPECT_EQ(std::tuple(trace[0].substr(trace[0].size() - 3), trace[1].substr(trace[1].size() - 3)),
              std::tuple(" 62", " 53"));
    EXPECT_EQ(std::tuple(m.record().SpriteOn, mesh::module().SpriteCursor), std::tuple(0, 0));
}

TEST(SpriteReader, SeedFilesReadToTheirEnd) {
    const struct {
        const char* name;
        Bytes bytes;
        std::size_t frames;
    } seeds[] = {
        {"three.spr", make_sprite(3, 5, 3, {0xFF0000, 0x00FF00, 0x0000FF}), 3},
        {"dot.spr", make_sprite(1, 1, 1, {0xFFFFFF}), 1},
    };
    for (const auto& s : seeds) {
        EXPECT_EQ(mesh::parse_sprite(s.bytes).frames.size(), s.frames) << s.name;
        test::write_seed("sprite", s.name, s.bytes);
    }
}
