// cTarko_Particle: INIT's defaults and light slot, each style's particles over
// two Render calls, both ways of facing the viewer, device traffic, refusals.
// The manual clock makes every reseed restart the generator: its draws are kD
// below, so Rand() is always d0 - d1 = 0.121548474 and Rand_S() round(38.70)
// = 39 -> 0.039. INIT reseeds and the engine's colour takes d0..d3, so a
// style's own draws start at d4.
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>

#include "particles/cTarko_Particle.h"
#include "platform/constants.h"
#include "support/engine_test_support.h"

using namespace tarko;
using tarko::test::Calls;
using tarko::test::EngineFixture;

namespace {

constexpr double kD[] = {0.387010813, 0.265462339, 0.116618991, 0.291115344, 0.0212273598, 0.757588089,
                         0.70591557,  0.576204121, 0.25702548,  0.0270003676, 0.217258811, 0.333434165,
                         0.361556053, 0.83474654,  0.680006623, 0.537231743};

// A 4 x 4 white picture, 24-bit, top row first.
void write_white_tga(const std::filesystem::path& file) {
    unsigned char header[18] = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 0, 4, 0, 24, 0x20};
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(header), sizeof header);
    for (int i = 0; i < 16 * 3; ++i) out.put(static_cast<char>(0xFF));
}

// "setLight 0, 1, 0, ..." -> "setLight 0, 1" : the method and its first `keep` arguments.
Calls brief(const Calls& calls, int keep = 2) {
    Calls out;
    for (const std::string& c : calls) {
        const std::string name = c.substr(c.find('.') + 1);
        const auto space = name.find(' ');
        std::string result = name.substr(0, space), arg;
        std::stringstream in(space == std::string::npos ? "" : name.substr(space + 1));
        for (int i = 0; i < keep && std::getline(in, arg, ','); ++i) result += (i ? "," : " ") + arg;
        out.push_back(result);
    }
    return out;
}

// EXPECT_FLOAT_EQ on each pair, labelled by its place in the lists.
void expect_floats(std::initializer_list<float> got, std::initializer_list<double> want) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < got.size(); ++i) EXPECT_FLOAT_EQ(got.begin()[i], static_cast<float>(want.begin()[i])) << "value " << i;
}

}  // namespace

class Particles : public EngineFixture {
protected:
    void SetUp() override {
        EngineFixture::SetUp();
        open(64, 48);
        texture = test::scratch_dir("particles") / "flare.tga";
        write_white_tga(texture);
    }
    void init(Tarko_PARTICLE_STYLE style, Integer n, D3DVECTOR at = {}, Integer ground = 0, Integer power = 1) {
        p.INIT(engine, at, texture.string(), n, 1.0f, style, Tarko_STATIC_LOCATION, ground, 200, 200, 100, power);
        platform::trace().clear();
    }
    std::filesystem::path texture;
    cTarko_Particle p;
};

TEST_F(Particles, InitDefaultsGiveFifteenPointParticlesAndTakeTheNextLightSlot) {
    p.SetPosition(D3DVECTOR{7, 8, 9});  // the light starts where the object stood before INIT
    p.INIT(engine, D3DVECTOR{1, 2, 3}, texture.string());
    EXPECT_EQ(p.emit_particles().size(), 16u);  // point style, 1 to 15
    EXPECT_EQ(p.PARTICLE_preset, Tarko_STATIC_LOCATION);
    // Start-up leaves the engine's slot at -1: lifted to 0, then 1 is handed on.
    EXPECT_EQ(p.light_index(), 0);
    EXPECT_EQ(platform::trace().matching("Direct3DDevice7.setLight"), Calls{"Direct3DDevice7.setLight 0, 1, 7, 8, 9, 0, 0, 0, 50"});
    EXPECT_TRUE(engine.D3D_DEV->getLightEnable(0));
    EXPECT_EQ(engine.LIGHT_GETFreeINDEX().to_long(), 1);
    // The engine's next light skips slot 1: ADD_light raises the index to 2 and uses it.
    engine.ADD_light(D3DLIGHT_POINT, D3DVECTOR{}, D3DCOLORVALUE{1, 1, 1, 1}, D3DCOLORVALUE{1, 1, 1, 1}, 10, D3DVECTOR{});
    EXPECT_TRUE(engine.D3D_DEV->getLightEnable(2));
    EXPECT_FALSE(engine.D3D_DEV->getLightEnable(1));
    cTarko_Particle second;
    second.INIT(engine, D3DVECTOR{}, texture.string());
    // A second object takes the slot the engine used last, 2, and hands on 3.
    EXPECT_EQ(second.light_index(), 2);
    EXPECT_EQ(engine.LIGHT_GETFreeINDEX().to_long(), 3);
    // The quad: corners at z = -1, texture corners in strip order.
    const std::vector<float> corners[4] = {{-1, 1, -1, 0, 0}, {1, 1, -1, 1, 0}, {-1, -1, -1, 0, 1}, {1, -1, -1, 1, 1}};
    for (std::size_t k = 0; k < 4; ++k) {
        const D3DLVERTEX& c = p.particle_quad()[k];
        EXPECT_EQ((std::vector<float>{c.x, c.y, c.z, c.tu, c.tv}), corners[k]) << k;
    }
}

TEST_F(Particles, PointParticleStartsBesideTheEmitterAndRestartsWhenItsLifeRunsOut) {
    init(Tarko_POINT_emitting, 1, D3DVECTOR{10, 20, 30});
    const auto& e = p.emit_particles()[1];
    // angle 0.133718, velocity (1.41183, d7, 0.385538); the start colour is the engine's random one
    expect_floats({e.Angle, e.Speed, e.Velocity.x, e.Velocity.y, e.Velocity.z, e.Life, e.StartColour.r, e.StartColour.a},
                  {kD[4] * 360 * 3.14958745741541 / 180, kD[5], 2 * kD[6], kD[7], 1.5 * kD[8], kD[9], kD[0], kD[3]});
    EXPECT_EQ((std::vector<float>{e.Position.x, e.Position.y}), (std::vector<float>{11, 20}));

    // Render 1: life 0.0270 - 0.7576 < 0, so it restarts at (11, 20, 30) with
    // speed |d10 * 10| / 10, s = d11 * 9 - 1 = 2.0009, counter c = 1.
    p.Render(engine);
    EXPECT_EQ((std::vector<float>{e.Position.x, e.Position.y, e.Position.z}), (std::vector<float>{11, 20, 30}));
    const double s = kD[11] * 9 - 1;
    // velocity (0.877466, sin(c), ...), life 0.180778
    expect_floats({e.Speed, e.Velocity.x, e.Velocity.y, e.Velocity.z, e.Life},
                  {kD[10], std::cos(0.25 * s), std::sin(1.0), std::sin(0.5 * s), kD[12] * 0.5});
    EXPECT_EQ(e.Spin, 0.0f);
    // Drawn after the step: row 1 (1, 0.5, 0.25) with alpha round(0.180778 * 255) = 46.
    EXPECT_EQ(static_cast<std::uint32_t>(p.particle_quad()[2].color), 0x2EFF8040u);
    EXPECT_EQ(p.particle_quad()[2].specular, p.particle_quad()[2].color);

    // Render 2: 0.180778 - 0.217259 < 0 again: speed d13, life d15 / 2 = 0.268616.
    p.Render(engine);
    expect_floats({e.Speed, e.Life}, {kD[13], kD[15] * 0.5});
    EXPECT_EQ(e.Position.x, 11.0f);
}

TEST_F(Particles, ExplosionBurstsFromTheEmitterAndCyclesTheFlameRows) {
    init(Tarko_EXPLOSION, 12);
    const auto& b = p.burst_particles();
    ASSERT_EQ(b.size(), 12u);
    const auto& first = b[0];
    const double fade = kD[4] * 100 / 1000 + 0.003, xi = (kD[5] * 50 - 26) * 10, yi = (kD[6] * 50 - 26) * 10;
    // fade 0.00512274, (Xi, Yi, Zi) = (118.794, 92.958, 28.102)
    expect_floats({first.Fade, first.Xi, first.Yi, first.Zi}, {fade, xi, yi, (kD[7] * 50 - 26) * 10});
    EXPECT_EQ(first.Yg, 0.1f);
    EXPECT_EQ(first.Life, 1.0f);

    // Drawn at the emitter, then a step of Xi / 400 (0.296985); the gravity after the step.
    p.Render(engine);
    expect_floats({first.X, first.Yi, first.Life}, {xi / 400, yi + 0.1, 1 - fade});
    // The row counter starts at 1 and climbs before each particle: 2, 3, ..., 12, 1.
    const float drawn_g[12] = {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.65f, 0.65f, 0.5f, 0.5f, 0.55f, 0.55f, 0.5f};
    for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(b[i].G, drawn_g[i]) << "particle " << i;

    // Y: Yi / 400 + (Yi + 0.1) / 400 = 0.232395 + 0.232645.
    p.Render(engine);
    expect_floats({first.Y, first.X}, {yi / 400 + (yi + 0.1) / 400, 2 * xi / 400});
    EXPECT_NEAR(first.Life, 1 - 2 * fade, 1e-6);
}

TEST_F(Particles, ExplosionRowsSpreadOverTheTwelveFlameRows) {
    // 6 particles: N / 12 = 0.5, rows Int(i / 0.5) + 1 = 1, 3, 5, 7, 9, 11.
    init(Tarko_EXPLOSION, 6);
    const std::vector<float> want = {0.5f, 0.5f, 0.5f, 0.65f, 0.5f, 0.55f};
    for (std::size_t i = 0; i < want.size(); ++i) EXPECT_EQ(p.burst_particles()[i].G, want[i]) << i;
}

TEST_F(Particles, FireRisesWithoutSidewaysSpeedAndWithoutGravity) {
    init(Tarko_FIRE, 1);
    const auto& f = p.burst_particles()[0];
    // Fade = Rand() * 100 / 7500 + 0.0075 = 0.00912065; Rand reseeded, so the next draws are
    // d2 (gravity, -2.34986), d3 (v = 7.27788) and d4 (z share, Zi -3.48443).
    const double fade = (kD[0] - kD[1]) * 100 / 7500 + 0.0075, v = kD[3] * 25, zi = (kD[4] * 10 - 5) / 10 * v;
    expect_floats({f.Fade, f.Yg, f.Yi, f.Zi}, {fade, -(kD[2] * 3 + 2), v, zi});
    EXPECT_EQ(f.Xi, 0.0f);
    p.Render(engine);
    expect_floats({f.Y, f.Z}, {v / 10, zi / 10});
    p.Render(engine);
    expect_floats({f.Y, f.Yi}, {2 * v / 10, v});  // Y 1.45558; gravity never applied
    EXPECT_EQ(f.X, 0.0f);
    EXPECT_NEAR(f.Life, 1 - 2 * fade, 1e-6);
}

TEST_F(Particles, SnowFallsFromAHundredAboveAndAccelerates) {
    init(Tarko_SNOW, 1);
    const auto& s = p.drift_particles()[0];
    EXPECT_EQ(s.Position.y, 100.0f);
    // x = z from a = b = Rand() = 0.121548 over 200 x 10 = 2000, half 1000; c = d = e = f = Rand_S()
    // = 0.039: velocity (0.039 * 0.001 - 0.0005, -(0.039 * 0.0049 + 0.0049)).
    expect_floats({s.Position.x, s.Position.z, s.Velocity.x, s.Velocity.y, s.Acceleration.x, s.Acceleration.y},
                  {121.548474f, 121.548474f, -0.000461f, -0.0050911f, 0.039f, -0.039f});
    EXPECT_EQ(p.emit_particles().size(), 2u);  // 0 To N, all zero
    p.Render(engine);
    // y 100 - 0.0050911; velocity (-0.000461 + 0.039, -0.0050911 - 0.039)
    expect_floats({s.Position.y, s.Velocity.y, s.Velocity.x}, {99.9949089f, -0.0440911f, 0.038539f});
    p.Render(engine);
    // y 99.9949089 - 0.0440911; x 121.548013 + 0.038539
    expect_floats({s.Position.y, s.Position.x}, {99.9508178f, 121.586552f});
    EXPECT_EQ(p.emit_particles()[1].Position.x, 0.0f);  // the companions stand still
}

TEST_F(Particles, SnowBelowItsGroundRestartsEveryFrame) {
    init(Tarko_SNOW, 1, D3DVECTOR{}, /*ground=*/150);
    p.Render(engine);
    const auto& s = p.drift_particles()[0];
    EXPECT_EQ(s.Position.y, 100.0f);  // back at E.y + 100, below the ground again
    // The respawn's gravity: -|Rand()| * 10 / 100 = -0.0121548.
    expect_floats({s.Acceleration.y, s.Velocity.y}, {-0.0121548474f, -0.0050911f});
}

TEST_F(Particles, SmokeRisesGrowsAndDarkens) {
    init(Tarko_SMOKE, 1);
    const auto& s = p.drift_particles()[0];
    // Rand() = 0.121548: (0.0060774 - 0.025, 0.0243097 + 0.2, ...).
    expect_floats({s.Velocity.x, s.Velocity.y}, {-0.0189225763f, 0.224309695f});
    // Size ((3.5 / 50) * h + 1.5) * 5 at the height h reached.
    p.Render(engine);
    expect_floats({s.Position.y, s.Size}, {0.224309695f, 7.57850839f});
    p.Render(engine);
    expect_floats({s.Position.y, s.Size}, {0.44861939f, 7.65701678f});
    // Grey (1 - 0.02 h) / 6 = 0.16516 at h = 0.4486: round(42.12) = 42 = 0x2A.
    EXPECT_EQ(static_cast<std::uint32_t>(p.particle_quad()[0].color), 0xFF2A2A2Au);
}

TEST_F(Particles, FountainClimbsAgesAndFallsBackUnderTheWeakerGravity) {
    init(Tarko_FONTAIN, 1, D3DVECTOR{0, 5, 0}, 0, /*power=*/2);
    const auto& f = p.drift_particles()[0];
    expect_floats({f.Velocity.x, f.Velocity.y}, {-0.113535458f, 2.12154847f});  // x 0.121548 * 0.3 - 0.15
    EXPECT_EQ(f.Acceleration.y, -0.2f);
    p.Render(engine);
    // size (1 / 2000 + 1) * 1 * 1.5
    expect_floats({f.Position.y, f.Velocity.y, f.Size}, {7.12154847f, 1.92154847f, 1.50075f});
    EXPECT_EQ(f.Age, 1.0f);
    // Alpha 255 - 0.51 = 254.49, unscaled, so opaque; colour (64, 255, 192).
    EXPECT_EQ(static_cast<std::uint32_t>(p.particle_quad()[0].color), 0xFF40FFC0u);
    EXPECT_EQ(static_cast<std::uint32_t>(p.particle_quad()[0].specular), 0xFFFFFFFFu);
    p.Render(engine);
    EXPECT_FLOAT_EQ(f.Position.y, 9.04309694f);
    EXPECT_EQ(f.Age, 2.0f);
    // y after k steps: 5 + 2.1215 k - 0.1 k (k - 1): 0.717 at k = 24, -1.96 at 25.
    for (int k = 3; k <= 24; ++k) p.Render(engine);
    EXPECT_GT(f.Position.y, 0.0f);
    EXPECT_EQ(f.Acceleration.y, -0.2f);
    p.Render(engine);
    EXPECT_EQ(f.Position.y, 5.0f);               // back at the emitter
    EXPECT_FLOAT_EQ(f.Acceleration.y, -0.04f);   // (1 / 2) * -0.08
    EXPECT_EQ(f.Age, 1.0f);                      // aged in the respawn frame too
}

TEST_F(Particles, FountainOfPowerZeroFailsAtItsFirstRespawn) {
    init(Tarko_FONTAIN, 1, D3DVECTOR{}, 0, /*power=*/0);
    // From y = 0: 2.1215 k - 0.1 k (k - 1) < 0 first at k = 23.
    for (int k = 1; k <= 22; ++k) ASSERT_EQ(error_of([&] { p.Render(engine); }), 0) << k;
    EXPECT_EQ(error_of([&] { p.Render(engine); }), err::DivisionByZero);
}

// The world-matrix method: the fixed quad scaled, turned by the camera's yaw only, and moved to
// the particle. Corner 0 (-1, 1, -1) of a size-1 particle at (11, 20, 30) after Render 1.
// Billboard angle = heading - 90. Heading 90: no turn, (-1, 1, -1) + P; heading 0: -90 about y,
// x' = z, z' = -x: (-1, 1, 1) + P.
TEST_F(Particles, WorldMatrixQuadFollowsTheCameraYaw) {
    for (const auto& [heading, x, z] : {std::tuple{90.0, 10.0, 29.0}, std::tuple{0.0, 10.0, 31.0}}) {
        cTarko_Particle q;
        q.INIT(engine, D3DVECTOR{10, 20, 30}, texture.string(), 1);
        engine.CAM_angleDEGRE(Variant(heading));
        q.Render(engine);
        std::string world;  // the world matrix in force at the draw: the last setTransform before it
        for (const std::string& c : platform::trace().matching("Direct3DDevice7.")) {
            if (c.rfind("Direct3DDevice7.setTransform 1,", 0) == 0) world = c;
            if (c.rfind("Direct3DDevice7.drawPrimitive", 0) == 0) break;
        }
        std::vector<double> m;
        std::stringstream in(world.substr(world.find(',') + 1));
        for (std::string v; std::getline(in, v, ',');) m.push_back(std::stod(v));
        ASSERT_EQ(m.size(), 16u);
        const double want[3] = {x, 21.0, z};
        for (int j = 0; j < 3; ++j) EXPECT_NEAR(-m[0 + j] + m[4 + j] - m[8 + j] + m[12 + j], want[j], 1e-3) << heading << " axis " << j;
        platform::trace().clear();
    }
}

// The view-space method: the particle moved through the saved view (divided
// by w) and four corners written around it.
TEST_F(Particles, ViewSpaceQuadCornersSurroundTheParticleInViewSpace) {
    init(Tarko_SMOKE, 1);
    D3DMATRIX view;
    view.rc11 = view.rc22 = view.rc33 = 1, view.rc44 = 2;  // w = 2: everything halved
    view.rc41 = 2, view.rc42 = 4, view.rc43 = 6;
    engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_VIEW, view);
    p.Render(engine);
    // P = (-0.0189226, 0.2243097, -0.0189226): v = (P + (2, 4, 6)) / 2
    //   = (0.9905387, 2.1121548, 2.9905387); half size s = 7.5785084.
    const auto& q = p.particle_quad();
    const float vx = 0.9905387f, vy = 2.1121548f, vz = 2.9905387f, s = 7.5785084f;
    const float ex[4] = {vx - s, vx + s, vx - s, vx + s}, ey[4] = {vy + s, vy + s, vy - s, vy - s};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(q[i].x, ex[i], 1e-5) << i;
        EXPECT_NEAR(q[i].y, ey[i], 1e-5) << i;
        EXPECT_NEAR(q[i].z, vz, 1e-5) << i;
    }
    EXPECT_EQ((std::vector<float>{q[1].tu, q[1].tv, q[2].tv}), (std::vector<float>{1, 0, 1}));
    // The view comes back; the world stays the identity.
    D3DMATRIX back, world;
    engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_VIEW, back);
    engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_WORLD, world);
    EXPECT_EQ((std::array{back.rc44, back.rc43, world.rc11, world.rc41}), (std::array{2.0f, 6.0f, 1.0f, 0.0f}));

    // A view that gives w = 0 leaves the point where it was, here (0, 0, 0):
    // corner 0 at (-s, s, 0) with s = ((3.5 / 50) x 0.4486194 + 1.5) x 5 = 7.657017.
    engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_VIEW, D3DMATRIX{});
    p.Render(engine);
    expect_floats({q[0].x, q[0].y}, {-7.657017f, 7.657017f});
    EXPECT_EQ(q[0].z, 0.0f);
}

TEST_F(Particles, PointRenderSendsItsStatesInOrder) {
    init(Tarko_POINT_emitting, 1);
    p.Render(engine);
    EXPECT_EQ(brief(device_calls()),
              (Calls{"setTexture 0, \"surface\"", "setRenderState 27, -1", "setRenderState 139, 0", "setRenderState 19, 2",
                     "setRenderState 20, 2", "setRenderState 26, -1", "setRenderState 29, 0", "setRenderState 137, 0",
                     "setRenderState 14, 0",
                     // the particle: CLearMATRIX, the placed matrix (heading 0: cos -90 degrees by the engine's
                     // degree factor), the material, the strip
                     "setTransform 1, 1", "setTransform 1, 1.2168e-08", "setMaterial 1, 0.5", "drawPrimitive 5, 482",
                     // exit: CLearMATRIX, USE_defaultMaterial, USE_default_RENDERSTATE, z-write
                     "setTransform 1, 1", "setMaterial 1, 1", "setRenderState 139, -1", "setTextureStageState 0, 2",
                     "setTextureStageState 0, 3", "setTextureStageState 0, 1", "setTextureStageState 0, 4",
                     "setTextureStageState 0, 5", "setTextureStageState 0, 17", "setTextureStageState 0, 16",
                     "setRenderState 26, -1", "setRenderState 15, 0", "setRenderState 27, 0", "setRenderState 29, 0",
                     "setRenderState 14, -1", "setRenderState 14, -1",
                     // the light: a spot (2) of range 0 at the emitter, then lighting on
                     "setLight 0, 2", "lightEnable 0, True", "setRenderState 137, -1"}));
}

TEST_F(Particles, ViewSpacePassesSaveAndRestoreWhatTheyChange) {
    struct Row {
        Tarko_PARTICLE_STYLE style;
        const char* dest;     // destination blend on entry
        int draws_per_particle;
        const char* zwrite;   // as saved: smoke and fountain save it after their default render state
    };
    for (const Row& row : {Row{Tarko_SNOW, "setRenderState 20, 2", 1, "setRenderState 14, 0"},
                           Row{Tarko_SMOKE, "setRenderState 20, 4", 2, "setRenderState 14, -1"},
                           Row{Tarko_FONTAIN, "setRenderState 20, 2", 1, "setRenderState 14, -1"}}) {
        cTarko_Particle q;
        q.INIT(engine, D3DVECTOR{}, texture.string(), 3, 1.0f, row.style);
        engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
        engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
        engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, 0);
        platform::trace().clear();
        q.Render(engine);
        const Calls calls = brief(device_calls());
        auto at = [&](const std::string& c) { return std::find(calls.begin(), calls.end(), c) - calls.begin(); };
        const auto first_draw = at("drawPrimitive 5, 482");
        EXPECT_LT(at(row.dest), first_draw) << row.style;
        EXPECT_LT(at("setTransform 2, 1"), first_draw) << row.style;  // view to the identity
        // Saved states go back before the default render state.
        const auto restore = at("setRenderState 19, 5");
        EXPECT_LT(first_draw, restore) << row.style;
        EXPECT_EQ(calls[static_cast<std::size_t>(restore) + 1], "setRenderState 20, 6") << row.style;
        EXPECT_EQ(calls[static_cast<std::size_t>(restore) - 1], row.zwrite) << row.style;
        // Snow also runs the point pass over its three still companions.
        const long draws = std::count(calls.begin(), calls.end(), "drawPrimitive 5, 482");
        EXPECT_EQ(draws, 3 * row.draws_per_particle + (row.style == Tarko_SNOW ? 3 : 0)) << row.style;
        platform::trace().clear();
    }
}

TEST_F(Particles, EveryStyleLeavesLightingOnAndItsSpotLightAtTheEmitter) {
    for (auto style : {Tarko_POINT_emitting, Tarko_EXPLOSION, Tarko_SNOW, Tarko_SMOKE, Tarko_FONTAIN, Tarko_FIRE}) {
        cTarko_Particle q;
        q.INIT(engine, D3DVECTOR{4, 5, 6}, texture.string(), 2, 1.0f, style);
        engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
        q.Render(engine);
        EXPECT_EQ(engine.D3D_DEV->getRenderState(dx::D3DRENDERSTATE_LIGHTING), -1) << style;
        D3DLIGHT7 l;
        engine.D3D_DEV->getLight(q.light_index(), l);
        EXPECT_EQ(l.dltType, D3DLIGHT_SPOT) << style;
        EXPECT_EQ((std::array{l.position.y, l.range, l.direction.x, l.theta}), (std::array{5.0f, 0.0f, -1.0f, 0.8f})) << style;
        EXPECT_TRUE(engine.D3D_DEV->getLightEnable(q.light_index())) << style;
    }
}

TEST_F(Particles, ExplosionPutsBackTheBlendItFound) {
    init(Tarko_EXPLOSION, 2);
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
    p.Render(engine);
    const auto state = [&](Long s) { return engine.D3D_DEV->getRenderState(s); };
    EXPECT_EQ((std::array{state(dx::D3DRENDERSTATE_SRCBLEND), state(dx::D3DRENDERSTATE_DESTBLEND),
                          state(dx::D3DRENDERSTATE_ALPHABLENDENABLE), state(dx::D3DRENDERSTATE_ZWRITEENABLE)}),
              (std::array{dx::D3DBLEND_SRCALPHA, dx::D3DBLEND_INVSRCALPHA, 0, -1}));
}

TEST_F(Particles, InactiveObjectTouchesNothing) {
    cTarko_Particle fresh;
    fresh.Render(engine);  // created: harmless
    init(Tarko_FIRE, 4);
    p.is_ACTIVE = false;
    p.Render(engine);
    EXPECT_TRUE(device_calls().empty());
    D3DLIGHT7 l;
    engine.D3D_DEV->getLight(p.light_index(), l);
    EXPECT_EQ(l.dltType, D3DLIGHT_POINT);  // still INIT's light
}

TEST_F(Particles, BadArgumentsRaiseTheirErrors) {
    for (auto style : {Tarko_EXPLOSION, Tarko_FIRE, Tarko_SNOW, Tarko_SMOKE, Tarko_FONTAIN}) {
        cTarko_Particle q;
        EXPECT_EQ(error_of([&] { q.INIT(engine, D3DVECTOR{}, texture.string(), 0, 1.0f, style); }), err::SubscriptOutOfRange) << style;
        EXPECT_FALSE(q.is_ACTIVE);
    }
    cTarko_Particle none;  // no particles, nothing drawn, but the light is placed
    none.INIT(engine, D3DVECTOR{}, texture.string(), 0);
    platform::trace().clear();
    none.Render(engine);
    EXPECT_TRUE(platform::trace().matching("Direct3DDevice7.drawPrimitive").empty());

    cTarko_Particle wide;
    EXPECT_EQ(error_of([&] { wide.INIT(engine, {}, texture.string(), 5, 1.0f, Tarko_SNOW, Tarko_STATIC_LOCATION, 0, 3277); }),
              err::Overflow);  // 32770 is no Integer
    cTarko_Particle odd;
    odd.INIT(engine, D3DVECTOR{}, texture.string(), 5, 1.0f, static_cast<Tarko_PARTICLE_STYLE>(1234));
    platform::trace().clear();
    EXPECT_EQ(error_of([&] { odd.Render(engine); }), err::SubscriptOutOfRange);
    EXPECT_TRUE(device_calls().empty());

    cTarko_Particle missing;
    EXPECT_NE(error_of([&] { missing.INIT(engine, D3DVECTOR{}, (texture.parent_path() / "none.tga").string()); }), 0);
    EXPECT_FALSE(missing.is_ACTIVE);
}
