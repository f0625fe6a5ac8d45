// A headless frame of the particles example: each emitter shows its colour
// where it stands, and a flash brightens every pixel by its colour.
#include <cmath>

#include "particle_scene.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "support/engine_test_support.h"

using namespace tarko;
using tarko::examples::ParticleScene;
using tarko::test::EngineFixture;

namespace {

constexpr int kW = 320, kH = 240;

struct Rgb {
    int r, g, b;
};

}  // namespace

class ExampleFrame : public EngineFixture {
protected:
    void SetUp() override {
        EngineFixture::SetUp();
        open(kW, kH);
        engine.device_CLEAR_COLOR = 0x101830;
        scene.start(engine, test::scratch_dir("particles_example"));
    }
    Rgb at(int x, int y) const {
        const std::uint32_t c = engine.BAK->argb_at(x, y);
        return Rgb{static_cast<int>((c >> 16) & 255), static_cast<int>((c >> 8) & 255), static_cast<int>(c & 255)};
    }
    // Where a world point lands on the screen, through the device's view and projection.
    std::pair<int, int> screen(const D3DVECTOR& p) const {
        D3DMATRIX view, projection, m;
        engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_VIEW, view);
        engine.D3D_DEV->getTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection);
        dxmath::matrixMultiply(m, view, projection);
        const double x = p.x * m.rc11 + p.y * m.rc21 + p.z * m.rc31 + m.rc41;
        const double y = p.x * m.rc12 + p.y * m.rc22 + p.z * m.rc32 + m.rc42;
        const double w = p.x * m.rc14 + p.y * m.rc24 + p.z * m.rc34 + m.rc44;
        return {static_cast<int>((x / w + 1) / 2 * kW), static_cast<int>((1 - y / w) / 2 * kH)};
    }
    // Whether some pixel of the box from world point `low` up to `high`
    // (and `half` pixels either side) passes `test`.
    bool shows(const D3DVECTOR& low, const D3DVECTOR& high, int half, const std::function<bool(Rgb)>& test) const {
        const auto [x0, y0] = screen(low);
        const auto [x1, y1] = screen(high);
        for (int y = std::max(0, std::min(y0, y1) - half); y <= std::min(kH - 1, std::max(y0, y1) + half); ++y)
            for (int x = std::max(0, std::min(x0, x1) - half); x <= std::min(kW - 1, std::max(x0, x1) + half); ++x)
                if (test(at(x, y))) return true;
        return false;
    }
    ParticleScene scene;
};

TEST_F(ExampleFrame, EachEmitterShowsItsColourWhereItStands) {
    for (int frame = 0; frame < 40; ++frame) scene.draw(engine, false, 0);
    // Sky (16, 24, 48) and floor (80, 88, 96) run blue-ward; the flame rows
    // (1, 0.5-0.65, 0.25) run red-ward, the fountain (64, 255, 192) is green.
    auto flame = [](Rgb c) { return c.r > c.g && c.g > c.b && c.r - c.b > 60; };
    auto fountain = [](Rgb c) { return c.g > c.r + 60 && c.g > c.b; };
    auto white = [](Rgb c) { return c.r > 150 && c.g > 150 && c.b > 150; };
    // Smoke adds a sixth of grey twice: the sky's red climbs from 16 past 40.
    auto smoke = [](Rgb c) { return c.r > 40 && std::abs(c.r - c.g) < 16; };
    auto up = [](int i, float h) {
        D3DVECTOR p = ParticleScene::position(i);
        p.y += h;
        return p;
    };
    EXPECT_TRUE(shows(up(0, 0), up(0, 10), 6, flame)) << "point";
    EXPECT_TRUE(shows(up(1, 0), up(1, 10), 6, flame)) << "explosion";
    EXPECT_TRUE(shows(up(2, 0), up(2, 60), 6, flame)) << "fire";
    // Flakes gain 0.039 sideways a frame, so by frame 40 they have drifted
    // about 0.039 x 40 x 41 / 2 = 32 units to +x while falling from 100.
    D3DVECTOR drift = up(3, 105);
    drift.x += 40;
    EXPECT_TRUE(shows(up(3, 20), drift, 6, white)) << "snow";
    EXPECT_TRUE(shows(up(4, 5), up(4, 50), 6, smoke)) << "smoke";
    EXPECT_TRUE(shows(up(5, 0), up(5, 45), 10, fountain)) << "fountain";
    // And the fountain's colour is nowhere near the point emitter.
    EXPECT_FALSE(shows(up(0, 0), up(0, 10), 6, fountain));
}

TEST_F(ExampleFrame, FlashingAddsItsColourToEveryPixel) {
    for (int frame = 0; frame < 10; ++frame) scene.draw(engine, true, 0);
    std::vector<Rgb> before;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) before.push_back(at(x, y));
    engine.D3D_DEV->beginScene();
    engine.Flashing(0x404040);
    engine.D3D_DEV->endScene();
    int wrong = 0;
    for (int y = 0; y < kH; ++y)
        for (int x = 0; x < kW; ++x) {
            const Rgb b = before[static_cast<std::size_t>(y * kW + x)], a = at(x, y);
            // Each channel + 64, held at 255.
            if (a.r != std::min(255, b.r + 64) || a.g != std::min(255, b.g + 64) || a.b != std::min(255, b.b + 64)) ++wrong;
        }
    EXPECT_EQ(wrong, 0);
}
