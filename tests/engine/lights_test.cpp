// Colour, material and light records, the light list with its device slots,
// and fog through the recorded device.
#include <cmath>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include "engine_test_support.h"
#include "platform/constants.h"

using namespace tarko;
using tarko::test::EngineFixture;

namespace {
using Calls = std::vector<std::string>;
const D3DCOLORVALUE kWhite{1, 1, 1, 1};
const D3DCOLORVALUE kGrey{0.5f, 0.5f, 0.5f, 1};
}  // namespace

class Lights : public EngineFixture {
protected:
    void open() {
        engine.Initialize_Windowed(open_window(64, 48));
        platform::trace().clear();
    }
    static Calls device_calls() { return platform::trace().matching("Direct3DDevice7."); }
    tarko_DX7 engine;
};

TEST_F(Lights, RecordBuildersKeepOnlyWhatTheyAreGiven) {
    const D3DCOLORVALUE c = engine.D3Dcolor(Variant(0.25), Variant(Integer(1)), Variant("0.5"), Variant());
    EXPECT_EQ(c.r, 0.25f);
    EXPECT_EQ(c.g, 1.0f);
    EXPECT_EQ(c.b, 0.5f);
    EXPECT_EQ(c.a, 0.0f);  // Empty is 0

    // The alpha argument has no effect: diffuse and ambient alpha stay 0.
    const D3DMATERIAL7 m = engine.Create_Material(Variant(1.0), Variant(0.0), Variant(0.0), Variant(0.5));
    EXPECT_EQ(m.diffuse.r, 1.0f);
    EXPECT_EQ(m.diffuse.a, 0.0f);
    EXPECT_EQ(m.ambient.r, 1.0f);
    EXPECT_EQ(m.ambient.a, 0.0f);
    EXPECT_EQ(m.specular.r + m.emissive.r + m.power, 0.0f);

    const D3DMATERIAL7 m2 = engine.Create_Material2(kWhite, kGrey);
    EXPECT_EQ(m2.diffuse.a, 1.0f);
    EXPECT_EQ(m2.ambient.g, 0.5f);
    EXPECT_EQ(m2.specular.a + m2.emissive.a + m2.power, 0.0f);

    EXPECT_EQ(error_of([&] { engine.D3Dcolor(Variant("red"), Variant(), Variant(), Variant()); }),
              err::TypeMismatch);
}

TEST_F(Lights, RandomColourReseedsFromTheClock) {
    services.clock().now = 12345;
    const D3DCOLORVALUE a = engine.Create_RND_D3Dcolor();
    const D3DCOLORVALUE b = engine.Create_RND_D3Dcolor();  // same instant, same seed
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
    for (float v : {a.r, a.g, a.b, a.a}) {
        EXPECT_GE(v, 0.0f);
        EXPECT_LT(v, 1.0f);
    }
    EXPECT_FALSE(a.r == a.g && a.g == a.b && a.b == a.a);  // four draws, not one
    services.clock().advance(1000);
    const D3DCOLORVALUE c = engine.Create_RND_D3Dcolor();
    EXPECT_NE(std::memcmp(&a, &c, sizeof a), 0);
}

TEST_F(Lights, SetMaterialTurnsLightingOn) {
    open();
    engine.SetMaterial(kWhite, kGrey);
    EXPECT_EQ(device_calls(),
              (Calls{"Direct3DDevice7.setMaterial 1, 1, 1, 1, 0.5, 0.5, 0.5, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0",
                     "Direct3DDevice7.setRenderState 137, -1"}));
    platform::trace().clear();
    EXPECT_TRUE(engine.Set_Light(false).is_empty());
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setRenderState 137, 0"}));
}

TEST_F(Lights, GetlightBuildsPointAndDirectionalRecordsOnly) {
    const D3DVECTOR pos{1, 2, 3}, dir{0, -1, 0};
    const D3DLIGHT7 point = engine.Getlight(D3DLIGHT_POINT, pos, kGrey, kWhite, 40, dir);
    EXPECT_EQ(point.dltType, 1);
    EXPECT_EQ(point.range, 40.0f);
    EXPECT_EQ(point.position.z, 3.0f);
    EXPECT_EQ(point.direction.y, 0.0f);
    EXPECT_EQ(point.attenuation0, 1.0f);
    EXPECT_EQ(point.attenuation1, 1.0f);
    EXPECT_EQ(point.attenuation2, 0.0f);
    EXPECT_EQ(point.ambient.r, 0.5f);

    const D3DLIGHT7 sun = engine.Getlight(D3DLIGHT_DIRECTIONAL, pos, kGrey, kWhite, 40, dir);
    EXPECT_EQ(sun.direction.y, -1.0f);
    EXPECT_EQ(sun.position.x, 0.0f);  // no position
    EXPECT_EQ(sun.range, 0.0f);
    EXPECT_EQ(sun.diffuse.g, 1.0f);

    const D3DLIGHT7 spot = engine.Getlight(D3DLIGHT_SPOT, pos, kGrey, kWhite, 40, dir);
    EXPECT_EQ(spot.dltType, 2);
    EXPECT_EQ(spot.diffuse.r + spot.attenuation0 + spot.range + spot.position.x, 0.0f);
}

TEST_F(Lights, FirstLightAfterStartUpTakesSlotZeroAndLeavesLightingAlone) {
    open();
    EXPECT_EQ(engine.ADD_light(D3DLIGHT_POINT, D3DVECTOR{1, 2, 3}, kGrey, kWhite, 50, D3DVECTOR{}), 0);
    EXPECT_EQ(engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{4, 5, 6}, kGrey, kWhite, 0, D3DVECTOR{0, -1, 0}), 1);
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setLight 0, 1, 1, 2, 3, 0, 0, 0, 50",
                                     "Direct3DDevice7.lightEnable 0, True",
                                     // directional from ADD_light carries the position too
                                     "Direct3DDevice7.setLight 1, 3, 4, 5, 6, 0, -1, 0, 0",
                                     "Direct3DDevice7.lightEnable 1, True"}));
    EXPECT_TRUE(engine.D3D_DEV->getLightEnable(1));
}

TEST_F(Lights, SpotLightGetsFalloffOneAndAUsableCone) {
    open();
    engine.ADD_light(D3DLIGHT_SPOT, D3DVECTOR{0, 10, 0}, kGrey, kWhite, 100, D3DVECTOR{0, -1, 0});
    D3DLIGHT7 l;
    engine.D3D_DEV->getLight(0, l);
    EXPECT_EQ(l.dltType, 2);
    EXPECT_EQ(l.falloff, 1.0f);
    EXPECT_EQ(l.position.y, 10.0f);
    EXPECT_EQ(l.direction.y, -1.0f);
    EXPECT_EQ(l.range, 0.0f);  // the range is the point light's only
    EXPECT_FLOAT_EQ(l.theta, static_cast<float>(std::numbers::pi / 6));
    EXPECT_FLOAT_EQ(l.phi, static_cast<float>(std::numbers::pi / 3));
    EXPECT_EQ(l.attenuation0, 1.0f);
}

TEST_F(Lights, FreeIndexAfterStartUpLiftsTheSlotToZero) {
    open();
    const Variant free = engine.LIGHT_GETFreeINDEX();
    EXPECT_EQ(free.type(), Variant::Type::Integer);
    EXPECT_EQ(free.to_long(), 0);
    // NextLightIndex is 0 from now on: the next light goes to slot 1 but is record 0.
    EXPECT_EQ(engine.ADD_light(D3DLIGHT_POINT, D3DVECTOR{}, kGrey, kWhite, 5, D3DVECTOR{}), 0);
    EXPECT_EQ(device_calls()[0].rfind("Direct3DDevice7.setLight 1,", 0), 0u);
    EXPECT_EQ(engine.LIGHT_GETFreeINDEX().to_long(), 1);
}

TEST_F(Lights, SetFreeIndexSeparatesDeviceSlotFromRecordNumber) {
    open();
    engine.LIGHT_SetFreeINDEX(Variant(6.5));  // rounds half to even: 6
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
}

TEST_F(Lights, PositionOutsideTheListRaisesSubscriptOutOfRange) {
    open();
    EXPECT_EQ(error_of([&] { engine.LIGHT_Position(Variant(Integer(0)), D3DVECTOR{}); }), err::SubscriptOutOfRange);
    engine.ADD_light(D3DLIGHT_POINT, D3DVECTOR{}, kGrey, kWhite, 20, D3DVECTOR{});
    // Records 0 and the spare 1 exist; 2 and -1 do not.
    EXPECT_EQ(error_of([&] { engine.LIGHT_Position(Variant(Integer(2)), D3DVECTOR{}); }), err::SubscriptOutOfRange);
    EXPECT_EQ(error_of([&] { engine.LIGHT_Position(Variant(Integer(-1)), D3DVECTOR{}); }), err::SubscriptOutOfRange);
}

TEST_F(Lights, EnableSwitchesTheSlotThenLightingOn) {
    open();
    EXPECT_TRUE(engine.LIGHT_enable(Variant(2.0), false).is_empty());
    EXPECT_EQ(device_calls(),
              (Calls{"Direct3DDevice7.lightEnable 2, False", "Direct3DDevice7.setRenderState 137, -1"}));
}

class Fog : public Lights {};

TEST_F(Fog, OmittedDensityKeepsItAndSetsColourZeroAndExponentialMode) {
    open();
    engine.FOGdensity = 0.25;
    engine.SetFog(true);
    // FOGCOLOR 34 = 0, FOGVERTEXMODE 140 = 1, FOGENABLE 28 = True; no density.
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setRenderState 34, 0", "Direct3DDevice7.setRenderState 140, 1",
                                     "Direct3DDevice7.setRenderState 28, -1"}));
    EXPECT_EQ(engine.FOGdensity, 0.25);
}

TEST_F(Fog, OffStillRewritesColourAndModeAndDensityGoesAsASingle) {
    open();
    engine.SetFog(false, 0.05, 0x00808080, 2);
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setRenderStateSingle 38, 0.05",
                                     "Direct3DDevice7.setRenderState 34, 8421504",
                                     "Direct3DDevice7.setRenderState 140, 2", "Direct3DDevice7.setRenderState 28, 0"}));
    EXPECT_EQ(engine.FOGdensity, 0.05);
    EXPECT_EQ(engine.D3D_DEV->getRenderStateSingle(dx::D3DRENDERSTATE_FOGDENSITY), 0.05f);
    platform::trace().clear();
    engine.SetFog(true, -1.0);  // a negative density is not sent either
    EXPECT_EQ(device_calls().size(), 3u);
    EXPECT_EQ(engine.FOGdensity, 0.05);
}

TEST_F(Fog, LinearFogSendsStartAndEndAsSinglesAndKeepsFOGdensity) {
    open();
    engine.FOGdensity = 0.5;
    engine.SetFog_EX(Variant(Integer(10)), Variant("500.5"), 0.001, static_cast<Long>(0xFF0000FF));
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setRenderState 28, -1",
                                     "Direct3DDevice7.setRenderState 34, -16776961",
                                     "Direct3DDevice7.setRenderStateSingle 38, 0.001",
                                     "Direct3DDevice7.setRenderState 140, 3",
                                     "Direct3DDevice7.setRenderStateSingle 36, 10",
                                     "Direct3DDevice7.setRenderStateSingle 37, 500.5"}));
    EXPECT_EQ(engine.D3D_DEV->getRenderStateSingle(dx::D3DRENDERSTATE_FOGSTART), 10.0f);
    EXPECT_EQ(engine.D3D_DEV->getRenderStateSingle(dx::D3DRENDERSTATE_FOGEND), 500.5f);
    EXPECT_EQ(engine.FOGdensity, 0.5);

    platform::trace().clear();
    engine.Kill_Fog();
    EXPECT_EQ(device_calls(), (Calls{"Direct3DDevice7.setRenderState 28, 0"}));
}

TEST_F(Fog, FogBeforeStartUpRaisesObjectNotSet) {
    EXPECT_EQ(error_of([&] { engine.SetFog(true, 0.1); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.Kill_Fog(); }), err::ObjectNotSet);
}
