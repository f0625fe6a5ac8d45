// The light-map example's room: its baked maps and its picture.
#include <memory>
#include <tuple>

#include "examples/lightmaps/room.h"
#include "mesh_fixture.h"
#include "support/engine_test_support.h"

using namespace tarko;

namespace {

int red(std::uint32_t c) { return static_cast<int>(c >> 16 & 255); }
int green(std::uint32_t c) { return static_cast<int>(c >> 8 & 255); }
int blue(std::uint32_t c) { return static_cast<int>(c & 255); }

class LightMapRoom : public test::MeshModuleTest<test::EngineFixture> {
protected:
    void SetUp() override {
        MeshModuleTest::SetUp();
        room = std::make_unique<Mesh>();
        lightmaps_example::build_room(*room);
        room->GenerateLightMap(lightmaps_example::kDensity, Variant(), lightmaps_example::kAmbient);
    }
    // Floor texel over world (wx, wz): x = (wx + 6) x 128 / 12, y = (wz + 6) x 128 / 12.
    std::uint32_t floor_at(float wx, float wz) const {
        const auto& map = mesh::module().LightMapTable[static_cast<std::size_t>(room->record().Groups[1].LightMapSlot)];
        return map->raw_at(static_cast<int>((wx + 6) * 128 / 12), static_cast<int>((wz + 6) * 128 / 12));
    }
    std::unique_ptr<Mesh>& room = mesh;
};

}  // namespace

TEST_F(LightMapRoom, FloorTexelsNearerALampAreBrighterAndColoursMixBetweenLamps) {
    // Under the red lamp (-3, 1, -3): distance 1, a = 6/7: 218 red + 24 ambient
    // (+ 3 and 1 from the others); green 24 + 21 + 33 (green lamp 6.08 away) + 2 = 80.
    EXPECT_EQ(std::tuple(red(floor_at(-3, -3)), green(floor_at(-3, -3))), std::tuple(246, 80));
    // Half way between red and green, (0, -3): sqrt(10) from each, a = 0.548:
    // red 24 + 139 + 13 + 6 = 182, green 24 + 13 + 139 + 10 = 186: yellow.
    const std::uint32_t mid = floor_at(0, -3);
    EXPECT_NEAR(red(mid), 182, 2);
    EXPECT_NEAR(green(mid), 186, 2);
    EXPECT_LT(blue(mid), 100);
    // Near the blue lamp blue leads.
    EXPECT_GT(blue(floor_at(0, 3)), 200);
    // The north wall (group 4) runs from (6, 0, 6) along -x, 64 texels by 128
    // up 4: texel (63, 127) at (-5.81, 3.97, 6) is 7.18 from the blue lamp,
    // beyond its range 7, and far from the others: ambient alone.
    const auto& north = mesh::module().LightMapTable[static_cast<std::size_t>(room->record().Groups[4].LightMapSlot)];
    ASSERT_EQ(north->width(), 64);
    EXPECT_EQ(north->raw_at(63, 127) & 0xFFFFFF, 0x181818u);
    EXPECT_NE(north->raw_at(32, 0) & 0xFFFFFF, 0x181818u);  // (0, 0, 6) is 3.2 from it
}

TEST_F(LightMapRoom, ThePictureShowsTheLampsWhereTheLightMapsPutThem) {
    open(160, 120);
    room->SetLightMapStage(true);
    const platform::Frame baked = lightmaps_example::render_room(engine, hwnd, *room);
    // The floor's left front is red, its right front green, the back blue: find
    // the reddest, greenest and bluest pixels and check where they lie.
    int best[3] = {-1, -1, -1}, at_x[3] = {}, at_y[3] = {};
    for (int y = 0; y < baked.height; ++y)
        for (int x = 0; x < baked.width; ++x) {
            const std::uint32_t c = baked.at(x, y);
            const int score[3] = {red(c) - green(c) - blue(c), green(c) - red(c) - blue(c), blue(c) - red(c) - green(c)};
            for (int k = 0; k < 3; ++k)
                if (score[k] > best[k]) best[k] = score[k], at_x[k] = x, at_y[k] = y;
        }
    EXPECT_LT(at_x[0], 80);             // red on the left
    EXPECT_GT(at_x[1], 80);             // green on the right
    EXPECT_LT(at_y[2], at_y[0]);        // blue further back, higher in the picture
    for (int k = 0; k < 3; ++k) EXPECT_GT(best[k], 60) << k;  // blue: 242 - 67 - 89 = 86 at best

    // Lit per vertex, the room's corners see no lamp: the picture has no such colours.
    Mesh plain;
    lightmaps_example::build_room(plain);
    lightmaps_example::light_per_vertex(plain);
    const platform::Frame flat = lightmaps_example::render_room(engine, hwnd, plain);
    int most_red = 0;
    for (std::uint32_t c : flat.pixels) most_red = std::max(most_red, red(c) - green(c) - blue(c));
    EXPECT_LT(most_red, best[0] / 2);
}
