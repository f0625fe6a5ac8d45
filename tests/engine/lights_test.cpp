// Colour, material and light records, the light list with its device slots,
// and fog through the recorded device.
#include <functional>

#include "support/engine_test_support.h"
#include "platform/constants.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

namespace {
const D3DCOLORVALUE kWhite{1, 1, 1, 1};
const D3DCOLORVALUE kGrey{0.5f, 0.5f, 0.5f, 1};
}  // namespace

class Lights : public EngineFixture {};

TEST_F(Lights, RecordBuildersCoerceAndKeepOnlyWhatTheyAreGiven) {
    const D3DCOLORVALUE c = engine.D3Dcolor(Variant(0.25), Variant(Integer(1)), Variant("0.5"), Variant());
    EXPECT_EQ(c.b, 0.5f);
    EXPECT_EQ(c.a, 0.0f);  // Empty is 0
    EXPECT_EQ(error_of([&] { engine.D3Dcolor(Variant("red"), Variant(), Variant(), Variant()); }),
              err::TypeMismatch);
    // The alpha argument has no effect: diffuse and ambient alpha stay 0.
    const D3DMATERIAL7 m = engine.Create_Material(Variant(1.0), Variant(0.0), Variant(0.0), Variant(0.5));
    EXPECT_EQ(m.diffuse.a, 0.0f);
    EXPECT_EQ(m.ambient.a, 0.0f);

    // A point light gets attenuation (1, 1, 0) and no direction; a directional
    // one no position.
    const D3DVECTOR pos{1, 2, 3}, dir{0, -1, 0};
    const D3DLIGHT7 point = engine.Getlight(D3DLIGHT_POINT, pos, kGrey, kWhite, 40, dir);
    EXPECT_EQ(point.direction.y, 0.0f);
    EXPECT_EQ(point.attenuation1, 1.0f);
    const D3DLIGHT7 sun = engine.Getlight(D3DLIGHT_DIRECTIONAL, pos, kGrey, kWhite, 40, dir);
    EXPECT_EQ(sun.position.x, 0.0f);
}

TEST_F(Lights, MaterialAndEnableSwitchLightingOn) {
    open();
    engine.SetMaterial(kWhite, kGrey);
    EXPECT_TRUE(engine.Set_Light(false).is_empty());
    EXPECT_TRUE(engine.LIGHT_enable(Variant(2.0), false).is_empty());
    EXPECT_EQ(device_calls(),
              (Calls{"Direct3DDevice7.setMaterial 1, 1, 1, 1, 0.5, 0.5, 0.5, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0",
                     "Direct3DDevice7.setRenderState 137, -1", "Direct3DDevice7.setRenderState 137, 0",
                     "Direct3DDevice7.lightEnable 2, False", "Direct3DDevice7.setRenderState 137, -1"}));
}

TEST_F(Lights, AddLightFillsSlotsFromZeroAndLeavesLightingAlone) {
    open();
    EXPECT_EQ(engine.ADD_light(D3DLIGHT_POINT, D3DVECTOR{1, 2, 3}, kGrey, kWhite, 50, D3DVECTOR{}), 0);
    EXPECT_EQ(engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{4, 5, 6}, kGrey, kWhite, 0, D3DVECTOR{0, -1, 0}), 1);
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setLight 0, 1, 1, 2, 3, 0, 0, 0, 50",
                                     "Direct3DDevice7.lightEnable 0, True",
                                     // directional from ADD_light carries the position too
                                     "Direct3DDevice7.setLight 1, 3, 4, 5, 6, 0, -1, 0, 0",
                                     "Direct3DDevice7.lightEnable 1, True"}));
}

TEST_F(Lights, SetFreeIndexRoundsHalfToEven) {
    open();
    engine.LIGHT_SetFreeINDEX(Variant(6.5));  // 6: the next light is record 0 in slot 7
    EXPECT_EQ(engine.ADD_light(D3DLIGHT_POINT, D3DVECTOR{}, kGrey, kWhite, 5, D3DVECTOR{}), 0);
    EXPECT_EQ(device_calls()[0].rfind("Direct3DDevice7.setLight 7,", 0), 0u);
}

TEST_F(Lights, PositionMovesARecordAndReenablesItsSlot) {
    open();
    engine.ADD_light(D3DLIGHT_POINT, D3DVECTOR{1, 1, 1}, kGrey, kWhite, 20, D3DVECTOR{});
    engine.LIGHT_enable(Variant(Integer(0)), false);
    platform::trace().clear();
    engine.LIGHT_Position(Variant(Integer(0)), D3DVECTOR{7, 8, 9});
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setLight 0, 1, 7, 8, 9, 0, 0, 0, 20",
                                     "Direct3DDevice7.lightEnable 0, True"}));
    // Records 0 and the spare 1 exist; 2 does not.
    EXPECT_EQ(error_of([&] { engine.LIGHT_Position(Variant(Integer(2)), D3DVECTOR{}); }), err::SubscriptOutOfRange);
}

TEST_F(Lights, FogSendsItsStatesInOrder) {
    // FOGENABLE 28, FOGCOLOR 34, FOGSTART 36, FOGEND 37, FOGDENSITY 38 (a
    // Single), FOGVERTEXMODE 140; True is -1.
    struct Row {
        const char* what;
        std::function<void(tarko_DX7&)> call;
        Calls expected;
        double density_after;  // FOGdensity starts at 0.5
    };
    const Row rows[] = {
        {"omitted density is kept; colour 0, exponential mode", [](tarko_DX7& e) { e.SetFog(true); },
         {"Direct3DDevice7.setRenderState 34, 0", "Direct3DDevice7.setRenderState 140, 1",
          "Direct3DDevice7.setRenderState 28, -1"},
         0.5},
        {"off still rewrites colour and mode", [](tarko_DX7& e) { e.SetFog(false, 0.05, 0x00808080, 2); },
         {"Direct3DDevice7.setRenderStateSingle 38, 0.05", "Direct3DDevice7.setRenderState 34, 8421504",
          "Direct3DDevice7.setRenderState 140, 2", "Direct3DDevice7.setRenderState 28, 0"},
         0.05},
        {"a negative density is not sent", [](tarko_DX7& e) { e.SetFog(true, -1.0); },
         {"Direct3DDevice7.setRenderState 34, 0", "Direct3DDevice7.setRenderState 140, 1",
          "Direct3DDevice7.setRenderState 28, -1"},
         0.5},
        {"linear: start and end as Singles, FOGdensity kept",
         [](tarko_DX7& e) {
             e.SetFog_EX(Variant(Integer(10)), Variant("500.5"), 0.001, static_cast<Long>(0xFF0000FF));
         },
         {"Direct3DDevice7.setRenderState 28, -1", "Direct3DDevice7.setRenderState 34, -16776961",
          "Direct3DDevice7.setRenderStateSingle 38, 0.001", "Direct3DDevice7.setRenderState 140, 3",
          "Direct3DDevice7.setRenderStateSingle 36, 10", "Direct3DDevice7.setRenderStateSingle 37, 500.5"},
         0.5},
    };
    EXPECT_EQ(error_of([&] { engine.SetFog(true, 0.1); }), err::ObjectNotSet);
    open();
    for (const auto& r : rows) {
        SCOPED_TRACE(r.what);
        engine.FOGdensity = 0.5;
        platform::trace().clear();
        r.call(engine);
        EXPECT_EQ(device_calls(), r.expected);
        EXPECT_EQ(engine.FOGdensity, r.density_after);
    }
}
