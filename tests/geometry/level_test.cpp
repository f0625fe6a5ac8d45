// The level example's scene, run headless: the scripted walk into the far wall
// ends on its near side, and the first frame shows wall, floor and ceiling
// where they stand.
#include <cstdint>

#include "support/engine_test_support.h"
#include "examples/level/level.h"

using namespace tarko;
using tarko::test::EngineFixture;

class LevelWalk : public EngineFixture {
protected:
    void frame(level::Level& room, int n) {
        level::scripted_step(engine, room, n);
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        room.draw();
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
    }
    std::uint32_t at(int x, int y) const { return window->frame().at(x, y); }
};

TEST_F(LevelWalk, TheWalkIsHeldOnTheNearSideOfTheNorthWall) {
    open(160, 120);
    level::Level room(engine);
    // Steps of 4 from z = 40: at z = 292, 292 + 10 reaches the wall at 300,
    // so the eye stays at 288.
    float furthest = 0;
    for (int n = 0; n < level::kWalkFrames + 30; ++n) {
        frame(room, n);
        const D3DVECTOR eye = engine.GET_CameraEYE();
        furthest = std::max(furthest, eye.z);
        EXPECT_EQ(eye.x, 150.0f) << n;
        if (n == 0) {
            // From z = 44 the wall, 256 away, spans rows 60 -+ 60 s 60 / 256 = 26..94
            // (s = 2.41): brick red in the middle, grey flags below, plaster above.
            const std::uint32_t wall = at(80, 60), floor = at(80, 115), roof = at(80, 3);
            auto ch = [](std::uint32_t c, int shift) { return static_cast<int>((c >> shift) & 255); };
            EXPECT_GT(ch(wall, 16), ch(wall, 8) + 60) << std::hex << wall;
            EXPECT_NEAR(ch(floor, 16), ch(floor, 0), 20) << std::hex << floor;
            EXPECT_LT(ch(floor, 16), 170) << std::hex << floor;
            EXPECT_GT(ch(roof, 16), 180) << std::hex << roof;
            EXPECT_GT(ch(roof, 8), 180) << std::hex << roof;
        }
    }
    EXPECT_EQ(furthest, 288.0f);
    EXPECT_EQ(engine.GET_CameraEYE().z, 288.0f);
}
