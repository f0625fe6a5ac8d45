// The landscape scene: generated pictures, the world classes set up on
// them, and the camera kept on the ground by the altitude queries.
#include "landscape_scene.h"

#include "examples/host_textures.h"
#include "landscape_app.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <functional>

namespace landscape {

namespace {

using Colour = std::function<std::uint32_t(int x, int y)>;   // 0xRRGGBB, y from the top

// A 24-bit BMP of colour(x, y) per pixel.
void write_bmp(const std::string& path, int width, int height, const Colour& colour) {
    tarko::platform::Frame f{width, height, {}};
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) f.pixels.push_back(colour(x, y));
    tarko::platform::write_bmp(f, path);
}

// Smooth value noise at scale `cell` pixels.
float smooth_noise(float x, float y, float cell, int seed) {
    const float fx = x / cell, fy = y / cell;
    const int ix = static_cast<int>(std::floor(fx)), iy = static_cast<int>(std::floor(fy));
    const float tx = fx - ix, ty = fy - iy;
    const float sx = tx * tx * (3 - 2 * tx), sy = ty * ty * (3 - 2 * ty);
    auto n = [&](int a, int b) { return noise(a + seed * 131, b - seed * 71); };
    const float top = n(ix, iy) + (n(ix + 1, iy) - n(ix, iy)) * sx;
    const float bottom = n(ix, iy + 1) + (n(ix + 1, iy + 1) - n(ix, iy + 1)) * sx;
    return top + (bottom - top) * sy;
}

using examples::rgb;

float mix(float a, float b, float t) { return a + (b - a) * std::clamp(t, 0.0f, 1.0f); }

constexpr float kLakeX = 90, kLakeY = 110;   // picture pixels
constexpr float kWaterSample = kWaterLevel / kScale / kHeightFactor;   // 48: the water's red

float height_at(float x, float y) {
    const float fx = x / (kGridSide - 1), fy = y / (kGridSide - 1);
    float h = 95 + 28 * std::sin(fx * 7.0f + 0.6f) * std::cos(fy * 5.5f + 0.3f) + 14 * std::sin(fx * 17 + fy * 9);
    h += 40 * (smooth_noise(x, y, 24, 1) - 0.5f) + 12 * (smooth_noise(x, y, 7, 2) - 0.5f);
    h += 90 * std::exp(-std::pow((fy - 0.05f) / 0.16f, 2.0f));   // the ridge along the top rows
    const float d = std::hypot(x - kLakeX, (y - kLakeY) * 1.3f);
    h -= 100 * std::exp(-std::pow(d / 38, 2.0f));              // the lake's basin
    return std::clamp(h, 0.0f, 255.0f);
}

// Colour map over the whole grid: sand by the water, grass, forest, rock,
// snow by height, with hill shading from the slope.
std::uint32_t ground_colour(int tx, int ty) {
    // Texel centre -> picture pixel: vertex i carries tu = i / 181, i - 1 its pixel.
    const float x = (tx + 0.5f) / 256 * kGridSide - 1, y = (ty + 0.5f) / 256 * kGridSide - 1;
    const float h = height_at(x, y);
    const float dx = height_at(x + 1, y) - height_at(x - 1, y), dy = height_at(x, y + 1) - height_at(x, y - 1);
    const float shade = std::clamp(0.85f - 0.06f * dx - 0.04f * dy, 0.45f, 1.15f);
    const float grain = 0.9f + 0.2f * noise(tx, ty);
    float r, g, b;
    if (h < kWaterSample - 2) r = 30, g = 60, b = 80;                    // the lake's bed
    else if (h < kWaterSample + 3) r = 225, g = 205, b = 150;            // sand
    else if (h < 110) r = mix(95, 70, (h - 50) / 60), g = mix(190, 150, (h - 50) / 60), b = 60;   // grass
    else if (h < 150) r = 60, g = 120, b = 55;                           // dark grass
    else if (h < 185) r = 150, g = 135, b = 120;                         // rock
    else r = 250, g = 250, b = 255;                                      // snow
    const float k = shade * grain * 1.5f;   // the grid's grey 153 halves it again
    return rgb(r * k, g * k, b * k);
}

std::uint32_t water_colour(int x, int y) {
    const float n = smooth_noise(static_cast<float>(x), static_cast<float>(y), 8, 5);
    return rgb(0, 25 + 35 * n, 90 + 70 * n);
}

// Sky: v runs from the top pole (0) to the bottom one (1); u wraps round.
std::uint32_t sky_colour(int x, int y) {
    const float v = y / 255.0f;
    if (v > 0.5f) return rgb(175, 200, 225);   // under the horizon: haze
    const float up = 1 - v * 2;                // 1 at the zenith, 0 at the horizon
    float r = mix(175, 60, up), g = mix(200, 110, up), b = mix(225, 210, up);
    const float c = smooth_noise(static_cast<float>(x), static_cast<float>(y) * 2.5f, 18, 9);
    const float cloud = std::clamp((c - 0.55f) * 3.0f, 0.0f, 1.0f) * std::clamp(up * 4, 0.0f, 1.0f);
    r = mix(r, 245, cloud), g = mix(g, 245, cloud), b = mix(b, 250, cloud);
    return rgb(r, g, b);
}

// A 64 x 64 tree with alpha in the device's first texture format that has
// alpha (the billboard alpha test drops alpha below 8).
tarko::Ref<DirectDrawSurface7> make_tree(tarko_DX7& engine) {
    const DDPIXELFORMAT format = examples::alpha_texture_format(engine);
    return examples::make_texture(engine, 64, [](int x, int y) -> std::uint32_t {
        const float cx = std::fabs(x - 31.5f);
        if (y >= 52 && cx < 3.5f) return rgb(95, 65, 35);  // trunk
        if (y < 54 && cx < (y + 2) * 0.52f) {                // canopy
            const float n = 0.75f + 0.35f * noise(x / 3, y / 3) - 0.2f * (x > 32 ? 1 : 0);
            return rgb(35 * n, 105 * n, 40 * n);
        }
        return 0;
    }, &format);
}

}  // namespace

int terrain_sample(int x, int y) {
    return static_cast<int>(height_at(static_cast<float>(x), static_cast<float>(y)));
}

void write_pictures(const std::string& folder) {
    std::filesystem::create_directories(folder);
    write_bmp(folder + "/height.bmp", kGridSide, kGridSide, [](int x, int y) {
        const std::uint32_t h = static_cast<std::uint32_t>(terrain_sample(x, y));
        return h << 16 | h << 8 | h;
    });
    write_bmp(folder + "/ground.bmp", 256, 256, ground_colour);
    write_bmp(folder + "/water.bmp", 64, 64, water_colour);
    write_bmp(folder + "/sky.bmp", 256, 256, sky_colour);
}

Scene::Scene(tarko_DX7& engine, const std::string& folder) : engine_(engine) {
    land_.INITIALIZE(engine);
    land_.LoadTerrain(folder + "/height.bmp", tarko::Variant(1), tarko::Variant(static_cast<double>(kHeightFactor)),
                      1, 1, folder + "/ground.bmp");
    land_.Vscal(D3DVECTOR{kScale, kScale, kScale});
    land_.Load_Watertexture(folder + "/water.bmp");
    land_.SetWaterEffect(true, 0.45f, true);   // added onto the ground below
    land_.SetWaterTextureScale(10);
    land_.SetWaterEnable(true);
    land_.Water_scal(D3DVECTOR{kScale, 1, kScale});
    land_.Water_Position(D3DVECTOR{0, kWaterLevel, 0});
    sky_.InitSPhere(engine, folder + "/sky.bmp", HIGH_QUALITY);
    sky_.Set_Scale(tarko::Variant(9000.0), tarko::Variant(9000.0), tarko::Variant(9000.0));
    tree_texture_ = make_tree(engine);

    // Forty trees on the grass between the shore and the rocks, spread by a hash.
    for (std::uint32_t n = 0; trees_.size() < 40 && n < 4000; ++n) {
        const float x = 200 + static_cast<float>(hash(n * 2 + 1) % 3200), z = 200 + static_cast<float>(hash(n * 2 + 2) % 3200);
        const float y = ground(x, z);
        if (y > kWaterLevel + 60 && y < 115 * kHeightFactor * kScale) trees_.push_back(D3DVECTOR{x, y, z});
    }
}

float Scene::ground(float x, float z) { return land_.Get_Altitude_EX(D3DVECTOR{x, 0, z}); }

void Scene::keep_on_ground() {
    const D3DVECTOR eye = engine_.GET_CameraEYE();
    // Queries answer from x = 2p and below z = (nZ - 1) p: stay inside that.
    const float x = std::clamp(eye.x, 3 * kScale, (kGridSide - 1) * kScale);
    const float z = std::clamp(eye.z, 2 * kScale, (kGridSide - 2) * kScale);
    const float y = std::max(ground(x, z), kWaterLevel) + kEyeHeight;
    if (x != eye.x || y != eye.y || z != eye.z) engine_.SET_cameraEYE(D3DVECTOR{x, y, z});
}

void Scene::scripted_camera(int frame) {
    constexpr double kPi = 3.14159265358979;
    const double cx = (kLakeX + 1) * kScale, cz = (kLakeY + 1) * kScale;
    const double t = frame * 0.008;
    const double r = 1000 + 150 * std::sin(t * 3);
    const D3DVECTOR eye{static_cast<float>(cx + r * std::cos(t)), 0, static_cast<float>(cz + r * std::sin(t))};
    // Along the walk (t + pi/2), turned 50 degrees towards the lake.
    engine_.CAM_angle(tarko::Variant(t + kPi / 2 + 50 * kPi / 180));
    engine_.Camera_set_ANGy_DEGREE(tarko::Variant(-6.0));
    engine_.SET_cameraEYE(eye);
    keep_on_ground();
}

void Scene::draw() {
    auto& dev = *engine_.D3D_DEV;
    engine_.USE_default_RENDERSTATE();
    engine_.device_CLEAR_COLOR = 0xAFC8E1;   // the haze
    engine_.SetFog_EX(tarko::Variant(1500.0), tarko::Variant(5200.0), 0.001, 0xAFC8E1);
    land_.RenderAll();

    // The sky after the ground, so that the depth test spares the pixels the
    // ground covers: round the eye, beyond all ground (radius 9000, inside the
    // far plane), unfogged, unlit, writing no depth.
    const D3DVECTOR eye = engine_.GET_CameraEYE();
    sky_.Set_Position(tarko::Variant(eye.x), tarko::Variant(eye.y - 900.0), tarko::Variant(eye.z));
    dev.setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_FOGENABLE, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    sky_.Render(engine_);
    dev.setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, tarko::kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_FOGENABLE, tarko::kTrue);

    dev.setTexture(0, tree_texture_);
    for (const D3DVECTOR& t : trees_) land_.Render_BilBoard(t, 170, 260);
    land_.Water_Render();
}

}  // namespace landscape
