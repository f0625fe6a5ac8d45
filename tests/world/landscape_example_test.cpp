// A headless frame of the landscape example: sky above the horizon, terrain
// below, water where the view ray meets ground below the water's surface;
// each sampled pixel's class comes from marching its ray against the ground. 160 x 120 with the start-up field of view: a pixel (c, r) looks
// along forward + right (c + 0.5 - 80) / (80 s) - up (r + 0.5 - 60) / (60 s),
// s = cot(0.393212) = 2.41072.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <string>

#include <unistd.h>

#include "landscape/landscape_scene.h"

namespace {

constexpr int kW = 160, kH = 120;
constexpr double kS = 2.41072;
constexpr double kPi = 3.14159265358979;

int red(std::uint32_t c) { return static_cast<int>((c >> 16) & 255); }
int green(std::uint32_t c) { return static_cast<int>((c >> 8) & 255); }
int blue(std::uint32_t c) { return static_cast<int>(c & 255); }

// Sky and haze seen level or below: light blue, red above 90 (the zenith's
// deeper blue is only seen looking well up); clouds: all three channels high.
bool looks_like_sky(std::uint32_t c) {
    return (blue(c) > red(c) + 20 && blue(c) >= green(c) && red(c) >= 90) ||
           (red(c) > 200 && green(c) > 200 && blue(c) > 200);
}
// Water over the dark lake bed: blue well above red and green, red low.
bool looks_like_water(std::uint32_t c) { return blue(c) >= red(c) + 60 && blue(c) >= green(c) + 25 && red(c) < 90; }

enum class Seen { Sky, Land, Water, Unsure };

class LandscapeFrame : public ::testing::Test {
protected:
    void SetUp() override {
        // One folder per test and process: ctest runs the cases side by side.
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        folder = std::filesystem::temp_directory_path() /
                 ("tarko_landscape_" + std::string(info->name()) + "_" + std::to_string(getpid()));
        landscape::write_pictures(folder.string());
        hwnd = tarko::platform::create_headless_window(kW, kH);
        engine.Initialize_Windowed(hwnd);
        ASSERT_TRUE(engine.D3D_DEV);
        scene = std::make_unique<landscape::Scene>(engine, folder.string());
    }
    void TearDown() override {
        scene.reset();
        engine.FreeDX(hwnd);
        tarko::platform::windows().remove(hwnd);
        std::filesystem::remove_all(folder);
    }
    // Looks from `eye` along heading (radians, 0 = +x, pi/2 = +z) and pitch (degrees, down < 0); draws a frame.
    void shoot(const D3DVECTOR& eye, double heading, double pitch_deg) {
        engine.CAM_angle(tarko::Variant(heading));
        engine.Camera_set_ANGy_DEGREE(tarko::Variant(pitch_deg));
        engine.SET_cameraEYE(eye);
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        scene->draw();
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
        // The camera looks at eye + (cos heading, sin pitch, sin heading):
        // the pitch moves y alone, so the sight line dips by atan(sin pitch).
        eye_ = eye, heading_ = heading, pitch_ = std::atan(std::sin(pitch_deg * kPi / 180));
    }
    std::uint32_t pixel(int c, int r) const { return tarko::platform::windows().get(hwnd)->frame().at(c, r); }

    // What pixel (c, r)'s ray must show: water where it first meets the water
    // over lower ground, land where it meets ground above it, sky where it
    // rises past all ground. Unsure within 40 units (two grid steps) of the
    // shore, on snow, past the fog's start (1400) or off the grid.
    Seen expected(int c, int r) {
        const double ch = std::cos(heading_), sh = std::sin(heading_), cp = std::cos(pitch_), sp = std::sin(pitch_);
        const double f[3] = {ch * cp, sp, sh * cp}, up[3] = {-ch * sp, cp, -sh * sp}, right[3] = {sh, 0, -ch};
        const double x = (c + 0.5 - kW / 2) / (kW / 2 * kS), y = -(r + 0.5 - kH / 2) / (kH / 2 * kS);
        double d[3];
        for (int k = 0; k < 3; ++k) d[k] = f[k] + right[k] * x + up[k] * y;
        const double n = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        const float water = landscape::kWaterLevel;
        for (double t = 0; t < 9000; t += t < 1400 ? 2 : 10) {
            const D3DVECTOR p{static_cast<float>(eye_.x + d[0] / n * t), static_cast<float>(eye_.y + d[1] / n * t),
                              static_cast<float>(eye_.z + d[2] / n * t)};
            // Above the highest ground (255 x 0.25 x 20 = 1275) or off the grid, nothing is met.
            const bool off_grid = p.x < 60 || p.x > 3600 || p.z < 40 || p.z > 3580;
            if (d[1] > 0 && (p.y > 1276 || off_grid)) return Seen::Sky;
            if (off_grid) return Seen::Unsure;
            const float g = scene->ground(p.x, p.z);
            if (p.y > std::max(g, water)) continue;
            if (t > 1400 || std::fabs(g - water) < 40 || g > 170 * landscape::kHeightFactor * landscape::kScale)
                return Seen::Unsure;
            return g < water ? Seen::Water : Seen::Land;
        }
        return Seen::Unsure;
    }
    // Every fourth pixel: how many of each kind were expected, how many disagreed.
    struct Tally { int sky = 0, land = 0, water = 0, wrong = 0; };
    Tally check_view() {
        Tally t;
        for (int r = 0; r < kH; r += 4)
            for (int c = 0; c < kW; c += 4) {
                const std::uint32_t px = pixel(c, r);
                bool ok = true;
                switch (expected(c, r)) {
                    case Seen::Sky: ++t.sky, ok = looks_like_sky(px); break;
                    case Seen::Water: ++t.water, ok = looks_like_water(px); break;
                    case Seen::Land: ++t.land, ok = !looks_like_sky(px) && !looks_like_water(px); break;
                    case Seen::Unsure: break;
                }
                if (!ok) ++t.wrong;
            }
        return t;
    }

    std::filesystem::path folder;
    tarko::Long hwnd = 0;
    tarko_DX7 engine;
    std::unique_ptr<landscape::Scene> scene;
    D3DVECTOR eye_;
    double heading_ = 0, pitch_ = 0;
};

// From the lake's west shore (the basin's centre is picture pixel (90, 110),
// world (1820, 2220), about 760 across), looking east over the water.
const D3DVECTOR kShore{(90 + 1) * landscape::kScale - 900, landscape::kWaterLevel + 150, (110 + 1) * landscape::kScale};

TEST_F(LandscapeFrame, SkyAboveTheHorizonTerrainBelowWaterOverTheLake) {
    // Pitch -8, a dip of atan(sin 8) = 7.93: the level line is row
    // 60 - 60 s tan 7.93 = 39.9; the hills beyond the lake rise above it.
    shoot(kShore, 0, -8);
    const Tally t = check_view();
    EXPECT_GE(t.sky, 100);
    EXPECT_GE(t.land, 25);
    EXPECT_GE(t.water, 100);
    // Trees and billboard edges account for a few.
    EXPECT_LE(t.wrong, (t.sky + t.land + t.water) / 30) << t.sky << " sky, " << t.land << " land, " << t.water << " water";
}

TEST_F(LandscapeFrame, LookingDownTheWaterFollowsTheShore) {
    // 400 up, pitch -35 (dip atan(sin 35) = 29.8): lake in the middle, banks round it, no sky.
    shoot(D3DVECTOR{kShore.x, landscape::kWaterLevel + 400, kShore.z}, 0, -35);
    const Tally t = check_view();
    EXPECT_EQ(t.sky, 0);
    EXPECT_GE(t.land, 25);
    EXPECT_GE(t.water, 300);
    EXPECT_LE(t.wrong, (t.land + t.water) / 30) << t.land << " land, " << t.water << " water";
}

}  // namespace
