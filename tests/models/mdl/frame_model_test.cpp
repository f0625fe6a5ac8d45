// cTarko_MDLfile on frame models ("IDP2"): loading, animation choice by
// number and name, the frame clock, and the picture with its skin.
#include <gtest/gtest.h>

#include "actor_fixture.h"
#include "models/md2/md2_writer.h"
#include "platform/constants.h"

using namespace tarko;
namespace md2 = tarko::md2;

namespace {

// A square of side 1 about the origin in the x-y plane (points packed 0 or
// 255, scale 1/255, translate -0.5), texture coordinates 0 or 1, in frames
// stand01 stand02 walk01 walk02 walk03 (the square moves 1 right in the walk).
md2::Model square() {
    md2::Model m;
    m.skin_width = 64;
    m.skin_height = 64;
    m.skins = {"square.pcx"};
    m.st = {{0, 64}, {0, 0}, {64, 64}, {64, 0}};
    m.triangles = {{0, 1, 2, 0, 1, 2}, {1, 3, 2, 1, 3, 2}};
    for (const char* name : {"stand01", "stand02", "walk01", "walk02", "walk03"}) {
        md2::Frame f;
        f.scale = {1 / 255.0f, 1 / 255.0f, 1};
        f.translate = {name[0] == 'w' ? 0.5f : -0.5f, -0.5f, 0};
        f.name = name;
        f.points = {{0, 0, 0}, {0, 255, 0}, {255, 0, 0}, {255, 255, 0}};
        m.frames.push_back(f);
    }
    return m;
}

// A 4 x 1 24-bit BMP: red, red, green, green.
std::vector<std::uint8_t> skin_bmp() {
    std::vector<std::uint8_t> b = {'B', 'M'};
    const auto u32 = [&](std::uint32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
    };
    const auto u16 = [&](std::uint16_t v) { b.push_back(static_cast<std::uint8_t>(v)), b.push_back(static_cast<std::uint8_t>(v >> 8)); };
    u32(54 + 12), u32(0), u32(54), u32(40), u32(4), u32(1), u16(1), u16(24), u32(0), u32(12), u32(2835), u32(2835), u32(0), u32(0);
    for (std::uint8_t g : {0, 0, 255, 255}) b.insert(b.end(), {0, g, static_cast<std::uint8_t>(255 - g)});
    return b;
}

}  // namespace

using FrameModel = tarko::test::ActorFixture;

TEST_F(FrameModel, LoadsAndChoosesAnimationsByNumberAndName) {
    open();
    actor.Load_MDL(save(md2::write_md2(square()), "sq.md2"), engine);
    EXPECT_EQ(actor.model_kind(), 2);
    EXPECT_EQ(actor.play().AnimSpeed, 1.0f);
    // stand01 stand02 | walk01 (closes "stand" at 2) | walk02 walk03 (the last closes "walk" from 3 to 4)
    const auto played = [&] { return std::pair(actor.frame_model().FirstPlayFrame, actor.frame_model().LastPlayFrame); };
    actor.SetAnimationName("WALK");
    EXPECT_EQ(played(), std::pair(3.0f, 4.0f));
    actor.SetAnimationName("jump");  // no match: unchanged
    EXPECT_EQ(played().first, 3);
    actor.SetAnimation(-1);  // the whole file
    EXPECT_EQ(played(), std::pair(0.0f, 4.0f));
    EXPECT_EQ(error_of([&] { actor.SetAnimation(2); }), err::SubscriptOutOfRange);
    // studio-only operations
    EXPECT_EQ(error_of([&] { actor.GetSequenceNameArray(Variant()); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { actor.MDL_GetNumPartController(); }), err::SubscriptOutOfRange);
    actor.MDL_AssignController(0, 5);  // nothing to assign
}

TEST_F(FrameModel, ADamagedFileBeforeTheTrianglesLeavesTheKindAlone) {
    open();
    std::vector<std::uint8_t> bytes = md2::write_md2(square());
    md2::set32(bytes, md2::at::TriangleOffset, 1 << 20);  // triangles outside the file
    actor.Load_MDL(save(bytes, "bad.md2"), engine);
    EXPECT_EQ(actor.model_kind(), 0);
    EXPECT_EQ(error_of([&] { actor.Render(); }), err::SubscriptOutOfRange);
}

TEST_F(FrameModel, TheActorShowsItsSkinWhereItStandsAndKeepsTheHostTexture) {
    // 160 x 120, eye (0, 0, -5): x on column 80 + 38.6 x, y on row 60 - 28.9 y.
    open(160, 120);
    engine.device_CLEAR_COLOR = 0x000040;
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
    actor.Load_MDL(save(md2::write_md2(square()), "sq.md2"), engine);
    actor.SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
    actor.SetSpeed(0);
    actor.SetAnimation(0);  // stand: the square at the origin
    frame();
    // untextured: the white vertices
    EXPECT_EQ(rgb(80, 60), (std::array<int, 3>{255, 255, 255}));
    EXPECT_EQ(rgb(50, 60), (std::array<int, 3>{0, 0, 0x40}));

    // the host's texture stays with USE_inFileTexture False
    EXPECT_FALSE(actor.Load_MD2mainTexture(save(skin_bmp(), "skin.bmp")));
    auto host = engine.CreateTexture("", 8, 8);
    host->bltColorFill(RECT{}, static_cast<Long>(host->format().from_argb(0xFF0000FF)));
    engine.D3D_DEV->setTexture(0, host);
    cTarko_MDLfile plain;
    plain.Load_MDL(save(md2::write_md2(square()), "sq2.md2"), engine);
    plain.SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
    plain.SetSpeed(0);
    frame(false, &plain);
    EXPECT_EQ(rgb(80, 60), (std::array<int, 3>{0, 0, 255}));

    // the main texture beats USE_inFileTexture: red on the left, green on the right
    frame(true);
    const auto left = rgb(68, 60), right = rgb(92, 60);  // tu 0.19 and 0.81
    EXPECT_TRUE(left[0] > 200 && left[1] < 60) << left[0] << " " << left[1];
    EXPECT_TRUE(right[1] > 200 && right[0] < 60) << right[0] << " " << right[1];

    // walk: the square one unit to the right (columns 99..138)
    actor.SetAnimationName("walk");
    frame();
    EXPECT_EQ(rgb(68, 60), (std::array<int, 3>{0, 0, 0x40}));
    EXPECT_NE(rgb(118, 60), (std::array<int, 3>{0, 0, 0x40}));
}
