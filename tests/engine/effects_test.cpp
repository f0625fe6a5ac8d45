// Screen effects: the flash and fade quads over the whole frame with their
// blend states, and rain drops that fall and start again at the top.
#include "support/engine_test_support.h"
#include "platform/constants.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

// After a reseed from the tests' fixed clock the generator gives, in order:
// 0.387010813, 0.265462339, 0.116618991, 0.291115344, 0.0212273598,
// 0.757588089, 0.70591557, 0.576204121, 0.25702548, 0.0270003676, 0.217258811.

class Effects : public EngineFixture {
protected:
    void SetUp() override {
        EngineFixture::SetUp();
        open(64, 48);
    }
    // Clears to `colour` and returns every pixel of the frame after `effect`.
    std::vector<std::uint32_t> frame_after(std::uint32_t colour, const std::function<void()>& effect) {
        engine.device_CLEAR_COLOR = static_cast<Long>(colour);
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        effect();
        engine.D3D_DEV->endScene();
        std::vector<std::uint32_t> out;
        for (int y = 0; y < 48; ++y)
            for (int x = 0; x < 64; ++x) out.push_back(engine.BAK->argb_at(x, y) & 0xFFFFFFu);
        return out;
    }
    // One drop over a point, after a reseed, between `floor` and 100.
    const std::vector<D3DVERTEX>& one_drop(float floor) {
        runtime::Randomize();
        engine.RAIN_Setup(1, D3DVECTOR{0, 0, 0}, 0, 0, floor, /*Top=*/100, /*DropLength=*/9, /*DropWidth=*/1);
        return engine.RAIN_Vertices();
    }
};

TEST_F(Effects, FlashingAddsItsColourToEveryPixelWhateverTheBlendWas) {
    // A blend that would wipe the frame if it stayed in force.
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ZERO);
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ZERO);
    // 0x404040 + 0x102030 = 0x506070 at every pixel, corners (0, 0) and (63, 47) included.
    for (auto [flash, want] : {std::pair{0x102030u, 0x506070u}, {0xFFFFFFu, 0xFFFFFFu}}) {
        const auto got = frame_after(0x404040, [&] { engine.Flashing(static_cast<Long>(flash)); });
        EXPECT_EQ(std::count(got.begin(), got.end(), want), 64 * 48) << std::hex << flash;
    }
}

TEST_F(Effects, FlashingDrawsOneScreenStripUnderAnAdditiveBlend) {
    engine.Flashing(0xFFFFFF);
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setRenderState 27, -1", "Direct3DDevice7.setRenderState 19, 2",
                                     "Direct3DDevice7.setRenderState 20, 2", "Direct3DDevice7.setTexture 0, \"Nothing\"",
                                     "Direct3DDevice7.drawPrimitive 5, 452, 4, 0", "Direct3DDevice7.setRenderState 27, 0",
                                     "Direct3DDevice7.setRenderState 27, 0"}));  // the last: alphaBLEND_1(False)
}

TEST_F(Effects, FadeAddsBlackAndLeavesTheFrameAsItWas) {
    const auto before = frame_after(0x336699, [] {});
    EXPECT_EQ(frame_after(0x336699, [&] { engine.FaDE_IN(); }), before);
    const auto calls_of = [&](bool on) {
        platform::trace().clear();
        engine.FaDE_IN(on);
        return device_calls();
    };
    const Calls on = calls_of(true);
    EXPECT_EQ(calls_of(false), on);
    ASSERT_FALSE(on.empty());
    EXPECT_EQ(on.back(), "Direct3DDevice7.setRenderState 27, 0");  // no alphaBLEND_1 after it
    EXPECT_EQ(on.size(), 6u);
}

TEST_F(Effects, RainFallsByWholeStepsAndStartsAgainAtTheTop) {
    // One drop over a point: x and z take the first two draws, its top
    // 0 + 0.116619 x 100 = 11.6619; rows 9 / 3 = 3 apart.
    const auto& v = one_drop(0);
    ASSERT_EQ(v.size(), 8u);
    const float top = 11.6618991f;
    EXPECT_FLOAT_EQ(v[0].y, top);
    EXPECT_FLOAT_EQ(v[7].y, top - 9);
    EXPECT_EQ(v[1].x - v[0].x, 1.0f);
    EXPECT_EQ(v[0].ny, 1.0f);
    // The next eight draws fall Int(r x 50): 14, 1, 37, 35, 28, 12, 1, 10.
    // 11.66 - 14, 8.66 - 37, 8.66 - 35, 5.66 - 28, 5.66 - 12 and 2.66 - 10
    // reach the floor and go back to the top, 100.
    engine.RENDER_RAIN();
    const float expected[8] = {100, top - 1, 100, 100, 100, 100, top - 9 - 1, 100};
    for (std::size_t i = 0; i < 8; ++i) EXPECT_FLOAT_EQ(v[i].y, expected[i]) << i;
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.drawPrimitive"),
              (Calls{"Direct3DDevice7.drawPrimitive 5, 274, 8, 0"}));
}

TEST_F(Effects, RainAtTheFloorExactlyStartsAgain) {
    // Floor 84, top 100: the drop's top is 84 + 0.116619 x 16 = 85.866.
    one_drop(84);
    // First fall (14, 1, 37, 35, 28, 12, 1, 10): all but 85.866 - 1 reach the floor.
    engine.RENDER_RAIN();
    // Second fall (16, 18, 41, 34, 26, 11, 3, 36): 100 - 16 lands on 84 itself
    // and starts again; 100 - 11 and 100 - 3 stay above.
    engine.RENDER_RAIN();
    const float expected[8] = {100, 100, 100, 100, 100, 89, 97, 100};
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(engine.RAIN_Vertices()[i].y, expected[i]) << i;
}

TEST_F(Effects, RainWithoutDropsOnlySetsTheMaterialAndLighting) {
    EXPECT_TRUE(engine.RENDER_RAIN().is_empty());
    EXPECT_EQ(device_calls(),
              (Calls{"Direct3DDevice7.setMaterial 0, 0.4, 0.5, 1, 0, 0.4, 0.5, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0",
                     "Direct3DDevice7.setRenderState 137, -1",
                     "Direct3DDevice7.setMaterial 1, 1, 1, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1",
                     "Direct3DDevice7.setRenderState 139, -1"}));
    EXPECT_FALSE(engine.Ciel_TEXTURE());
}

TEST_F(Effects, RainSetupRefusesWhatCannotFall) {
    const D3DVECTOR c{};
    // The second: top not above floor.
    for (auto [drops, width, floor, code] : {std::tuple{-1, 10.0f, 0.0f, err::InvalidCall}, {5, 10, 100, err::InvalidCall},
                                             {5, -1, 0, err::InvalidCall}, {65536, 10, 0, err::Overflow}})
        EXPECT_EQ(error_of([&] { engine.RAIN_Setup(drops, c, width, 10, floor, 100); }), code) << drops << " " << width;
    engine.RAIN_Setup(3, c, 10, 10, 0, 100);
    EXPECT_EQ(engine.RAIN_Vertices().size(), 24u);
    engine.RAIN_Setup(0, c, 10, 10, 0, 100);  // no drops any more
    EXPECT_TRUE(engine.RAIN_Vertices().empty());
}
