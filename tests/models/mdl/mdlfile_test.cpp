// cTarko_MDLfile with the engine: loading and textures, the public
// operations, Render's device traffic and the picture it draws.
#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

#include "actor_fixture.h"
#include "mesh/mesh.h"
#include "models/mdl/mdl_writer.h"
#include "platform/constants.h"

using namespace tarko;
using namespace tarko::mdl;
using tarko::test::Calls;

namespace {

// A square of side 1 in the x-y plane about the origin (strip of 4 points),
// skin 0: a 4 x 2 texture, red on its left half and green on its right.
StudioDesc square(float half = 0.5f) {
    StudioDesc s;
    s.body_parts = {{"body",
                     {{"m",
                       {{-half, -half, 0}, {-half, half, 0}, {half, -half, 0}, {half, half, 0}},
                       {},
                       {{0, -1, {{false, {{0, 0, 2}, {1, 0, 0}, {2, 4, 2}, {3, 4, 0}}}}}}}}}};
    s.textures = {{"skin", 4, 2, {0, 0, 1, 1, 0, 0, 1, 1}, palette({{255, 0, 0}, {0, 255, 0}})}};
    s.sequences = {{"idle", 10, 10, 0, {}}, {"Walk", 30, 20, 0, {}}, {"run_walk", 15, 5, 0, {}}};
    return s;
}

}  // namespace

// Every actor takes a Mesh record of its own (set up as tests/mesh checks) and frees it when it goes.
TEST(MdlActorMesh, EachActorHoldsAMeshRecordUntilItIsDestroyed) {
    mesh::reset_module();
    const auto actors_in_table = [] {
        std::vector<Long> slots;
        const auto& table = mesh::module().MeshTable;
        for (std::size_t i = 0; i < table.size(); ++i)
            if (table[i].MeshEnabled && table[i].MeshName == "TarkoMDLActor") slots.push_back(static_cast<Long>(i));
        return slots;
    };
    {
        cTarko_MDLfile first;
        auto second = std::make_unique<cTarko_MDLfile>();
        EXPECT_EQ(actors_in_table(), (std::vector<Long>{1, 2}));
        second.reset();
        EXPECT_EQ(actors_in_table(), (std::vector<Long>{1}));
    }
    EXPECT_TRUE(actors_in_table().empty());
    mesh::reset_module();
}

using MdlFile = tarko::test::ActorFixture;
using RGB = std::array<int, 3>;
constexpr RGB kRed{255, 0, 0}, kBackground{0, 0, 0x40}, kShadow{0x30, 0x30, 0x30};

TEST_F(MdlFile, LoadReadsTexturesOntoRoundedSurfacesAndKeepsTheirSizes) {
    open();
    StudioDesc s = square();
    s.textures.push_back({"wide", 100, 60, {}, {}});
    actor.Load_MDL(save(write_studio(s).main), engine, false);
    EXPECT_EQ(actor.model_kind(), 1);
    ASSERT_TRUE(actor.texture_surface(1));
    EXPECT_EQ(actor.texture_surface(1)->width(), 128);  // 100 x 60 on 128 x 64
    EXPECT_EQ(actor.texture_surface(1)->height(), 64);
    // the red and green halves survive the stretch (source columns 0..2 onto 4)
    const auto& t0 = *actor.texture_surface(0);
    EXPECT_EQ(t0.argb_at(0, 0) & 0xFFFFFF, 0xFF0000u);
    EXPECT_EQ(t0.argb_at(3, 1) & 0xFFFFFF, 0x00FF00u);

    // a second load takes the next free slots; the first surfaces stay
    const auto first = actor.texture_surface(0);
    actor.Load_MDL(save(write_studio(square()).main, "b.mdl"), engine);
    EXPECT_NE(actor.texture_surface(0).get(), first.get());
}

TEST_F(MdlFile, AFileOfNeitherKindChangesNothing) {
    open();
    actor.Load_MDL(save(Bytes{'I', 'D', 'X', 'X', 0, 0, 0, 0}), engine);
    EXPECT_EQ(actor.model_kind(), 0);
    actor.Load_MDL((dir_ / "missing.mdl").string(), engine);
    EXPECT_EQ(actor.model_kind(), 0);
    EXPECT_EQ(error_of([&] { actor.Render(); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { actor.GetSequenceNumframes(Variant(Long(0))); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { actor.MDL_GetNumPartController(); }), err::SubscriptOutOfRange);
}

TEST_F(MdlFile, CompanionFilesAreFoundWithThePathRules) {
    open();
    StudioDesc s = square();
    s.textures_in_companion = true;
    s.group_count = 2;
    s.sequences[1].group = 1;
    const StudioFiles f = write_studio(s);
    save(f.textures, "HEROT.MDL");  // found case-insensitively
    save(f.groups[0], "hero01.mdl");
    const std::string main = save(f.main, "hero.mdl");
    std::string backslashed = main;
    std::replace(backslashed.begin(), backslashed.end(), '/', '\\');
    actor.Load_MDL(backslashed, engine);
    ASSERT_EQ(actor.studio().Textures.size(), 1u);
    EXPECT_TRUE(actor.texture_surface(0));
    ASSERT_EQ(actor.studio().FileBlocks.size(), 2u);
    EXPECT_EQ(actor.studio().FileBlocks[1], f.groups[0]);
}

TEST_F(MdlFile, SequencesControllersAndNames) {
    open();
    StudioDesc s = square();
    s.controllers = {{0, 0x20, 0, 90, 0}, {0, 0x20, 0, 90, 4}, {0, 0x20, 0, 90, 7}};
    actor.Load_MDL(save(write_studio(s).main), engine);
    EXPECT_EQ(actor.GetSequenceNumframes(Variant(Long(1))).to_long(), 20);
    EXPECT_EQ(error_of([&] { actor.GetSequenceNumframes(Variant(Long(3))); }), err::SubscriptOutOfRange);
    const auto names = actor.GetSequenceNameArray(Variant());
    ASSERT_EQ(names.UBound(), 2);
    EXPECT_EQ(names(1), std::string("Walk") + std::string(28, '\0'));
    EXPECT_EQ(actor.MDL_GetNumPartController(), 3);

    // "Walk" (1) before "run_walk" (2), case ignored; the empty text is in every name: the
    // first; "jump" matches nothing and leaves the 2 set before it
    const std::tuple<int, const char*, Long> names_in_turn[] = {{-1, "walk", 1}, {-1, "RUN", 2}, {-1, "", 0}, {2, "jump", 2}};
    for (const auto& [set, name, want] : names_in_turn) {
        if (set >= 0) actor.SetAnimation(set);
        actor.SetAnimationName(name);
        EXPECT_EQ(actor.play().AnimSequence, want) << name;
    }
    EXPECT_EQ(actor.play().AnimFrame, 1.0f);

    actor.MDL_MouthControllerAssign(50);  // 50 / 100 x 64 = 32 in each mouth controller
    EXPECT_EQ(actor.play().ControllerValues, (std::vector<float>{128, 32, 32}));
    actor.MDL_AssignController(0, 7);
    actor.MDL_AssignController(3, 9);   // beyond the table: nothing
    actor.MDL_AssignController(-1, 9);
    EXPECT_EQ(actor.play().ControllerValues, (std::vector<float>{7, 32, 32}));

    EXPECT_EQ(actor.VCompare3({1, 2, 3}, {1.4f, 2, 2.6f}, 0.5f), 1);
    EXPECT_EQ(actor.VCompare3({1, 2, 3}, {1, 2, 3.5f}, 0.5f), 0);
    EXPECT_EQ(actor.VCompare3({1, 2, 3}, {1, 2, 3}, 0), 0);  // differences must be below D
}

TEST_F(MdlFile, RenderAdvancesOnTheTickCountFromSetSpeed) {
    open();
    actor.Load_MDL(save(write_studio(square()).main), engine);
    actor.SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
    actor.SetAnimation(1);  // "Walk": 20 frames at 30 per second
    services.clock().advance(40);
    actor.Render();
    EXPECT_EQ(actor.play().AnimFrame, 1.0f);  // speed 0 until set
    actor.SetSpeed(0.5f);
    services.clock().advance(40);
    actor.Render();
    EXPECT_NEAR(actor.play().AnimFrame, 1.6f, 1e-6);  // 40 x 30 / 1000 x 0.5 = 0.6
}

TEST_F(MdlFile, RenderDrawsEachMeshOnceAndTheShadowAfterIt) {
    open();
    actor.Load_MDL(save(write_studio(square()).main), engine);
    actor.SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
    actor.SetPosition(Variant(1.0), Variant(2.0), Variant(3.0));
    actor.EnableShadowing(true);
    platform::trace().clear();
    actor.Render();
    const std::string D = "Direct3DDevice7.";
    Calls calls = device_calls();
    // the world matrix of OBJECT_Scale_Rotate_MOV, then the sphere is unknown: no test
    EXPECT_EQ(platform::trace().find(D + "computeSphereVisibility"), -1);
    const Calls want_tail = {
        D + "setRenderState 22, 1", D + "setRenderState 137, 0", D + "setRenderState 27, 0",
        D + "setRenderState 137, 0", D + "setTexture 0, \"surface\"",
        D + "drawPrimitive 4, 482, 6, 0",  // two triangles, three vertices each, no index list
        D + "setTexture 0, \"Nothing\"", D + "setRenderState 137, -1",
        // shadow: scale (1, 1, 0), no rotation, moved to (1, 2 + 2, 3)
        D + "setTransform 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 4, 3, 1",
        D + "drawPrimitive 4, 482, 6, 0"};
    ASSERT_GE(calls.size(), want_tail.size());
    EXPECT_EQ(Calls(calls.end() - static_cast<std::ptrdiff_t>(want_tail.size()), calls.end()), want_tail);
    // the sphere of the first pose: box (-0.5, -0.5, 0)..(0.5, 0.5, 0), radius |(1, 1, 0)| / 2 x sqrt 2 = 1
    EXPECT_TRUE(actor.bounds().known);
    EXPECT_NEAR(actor.bounds().radius, 1.0f, 1e-6);
    EXPECT_EQ(actor.bounds().centre.x, 0.0f);
    platform::trace().clear();
    actor.Render();
    EXPECT_NE(platform::trace().find(D + "computeSphereVisibility"), -1);

    // Turned 90 degrees about z (x and y by 0, skipped): the flattening first, then
    // the turn with -s in cell 12 and s in cell 21, so (row vectors) x goes to -y
    // and y to x: rows (0, -1, 0), (1, 0, 0), (0, 0, 0), then (1, 4, 3).
    actor.SetRotation(Variant(0.0), Variant(0.0), Variant(90.0));
    platform::trace().clear();
    actor.Render();
    const Calls transforms = platform::trace().matching(D + "setTransform 1, ");
    ASSERT_FALSE(transforms.empty());
    std::vector<float> cells;
    std::stringstream in(transforms.back().substr((D + "setTransform 1, ").size()));
    for (std::string cell; std::getline(in, cell, ',');) cells.push_back(std::stof(cell));
    const float want[16] = {0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 4, 3, 1};
    ASSERT_EQ(cells.size(), 16u);
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(cells[static_cast<std::size_t>(i)], want[i], 1e-6) << i;
}

TEST_F(MdlFile, TheActorShowsItsSkinWhereItStandsAndItsShadowOnlyWhenEnabled) {
    // 160 x 120, eye (0, 0, -5) on the origin, s = 2.41072: x at depth 5 lands on
    // column 80 + 80 s x / 5 = 80 + 38.6 x, y on row 60 - 60 s y / 5 = 60 - 28.9 y.
    // The square (side 1) at (0, 0, 0): columns 60.7..99.3, rows 45.5..74.5; red
    // on its left (tu < 0.5), green on its right. Its shadow: z flattened, 2 up,
    // rows -12..16.6 (y 1.5 .. 2.5), lit by the ambient light alone.
    open(160, 120);
    engine.device_CLEAR_COLOR = 0x000040;
    engine.SET_camera_DirectioN(D3DVECTOR{0, 0, -5}, D3DVECTOR{0, 0, 0});
    actor.Load_MDL(save(write_studio(square()).main), engine);
    const auto expect_pixels = [&](std::initializer_list<std::tuple<int, int, RGB>> pixels) {
        for (const auto& [x, y, want] : pixels) EXPECT_EQ(rgb(x, y), want) << x << ", " << y;
    };
    frame();  // no scale yet: a collapsed actor, nothing to see
    expect_pixels({{80, 60, kBackground}});

    actor.SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
    frame();
    // x -0.36: tu 0.14; then no shadow, and left of the square
    expect_pixels({{66, 60, kRed}, {80, 10, kBackground}, {50, 60, kBackground}});
    const auto green = rgb(94, 60);  // x 0.36: tu 0.86, a little of the red beside it
    EXPECT_TRUE(green[0] < 32 && green[1] > 224 && green[2] == 0) << green[0] << " " << green[1];

    actor.EnableShadowing(true);
    // drawn lit and untextured: with no emissive light in the material, the
    // ambient level (0x30) times the material's ambient (1)
    D3DMATERIAL7 dark;
    dark.ambient = {1, 1, 1, 1};
    engine.D3D_DEV->setMaterial(dark);
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0x303030);
    frame();
    // left of the shadow (x -0.5 at 60.7), below it (y 1.5 at 16.6), the actor unchanged, between the two
    expect_pixels({{80, 10, kShadow}, {62, 2, kShadow}, {58, 10, kBackground}, {80, 20, kBackground},
                   {66, 60, kRed}, {80, 30, kBackground}});

    // moved 1 to the right (38.6 columns): red now at column 105
    actor.SetPosition(Variant(1.0), Variant(0.0), Variant(0.0));
    actor.EnableShadowing(false);
    frame();
    expect_pixels({{105, 60, kRed}, {66, 60, kBackground}});

    // out of view: the sphere test ends Render before the pose
    actor.SetPosition(Variant(50.0), Variant(0.0), Variant(0.0));
    platform::trace().clear();
    frame();
    EXPECT_EQ(platform::trace().find("Direct3DDevice7.drawPrimitive"), -1);
}
