// The particles example's scene.
#include "particle_scene.h"

#include <cmath>
#include <fstream>
#include <span>

#include "platform/constants.h"

namespace tarko::examples {

namespace {

// A 32 x 32 white flare fading out from its centre, as a 24-bit TGA.
void write_flare(const std::filesystem::path& file) {
    const int n = 32;
    unsigned char header[18] = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, n, 0, n, 0, 24, 0x20};
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(header), sizeof header);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            const double d = std::hypot(x - 15.5, y - 15.5) / 15.5;
            const auto v = static_cast<char>(static_cast<unsigned char>(255 * std::max(0.0, 1 - d * d)));
            out.put(v).put(v).put(v);
        }
}

}  // namespace

void ParticleScene::start(tarko_DX7& engine, const std::filesystem::path& dir) {
    const auto flare = (dir / "flare.tga").string();
    write_flare(flare);
    for (int i = 0; i < kEmitters; ++i) {
        const auto style = kStyles[static_cast<std::size_t>(i)];
        // The fire's quads are 8 by 4 times the size.
        const float size = style == Tarko_POINT_emitting || style == Tarko_EXPLOSION ? 2.0f : 1.0f;
        // Default counts; snow falls over a 40 x 40 square (perimeter 4 x 10).
        emitters_[static_cast<std::size_t>(i)].INIT(engine, position(i), flare, 15, size, style,
                                                    Tarko_STATIC_LOCATION, 0, 4, 4);
    }
    // Looking along +z (heading 90 degrees), so the billboards face the eye.
    engine.SET_camera_DEGRE(tarko::Variant(90.0));
    engine.SET_camera_ANY_DEGRE(tarko::Variant(-10.0));
    engine.SET_cameraEYE(D3DVECTOR{0, 50, -260});
    const std::int32_t grey = static_cast<std::int32_t>(0xFF505860u);
    const float h = kFloorHalf, y = kFloorY;
    const float corners[4][2] = {{-h, -h}, {-h, h}, {h, -h}, {h, h}};
    for (std::size_t i = 0; i < 4; ++i)
        floor_[i] = D3DLVERTEX{corners[i][0], y, corners[i][1], 0, grey, 0, 0, 0};
    engine.RAIN_Setup(400, D3DVECTOR{0, 0, 0}, 300, 200, 0, 150, 6, 0.4f);
}

void ParticleScene::draw(tarko_DX7& engine, bool rain, tarko::Long flash) {
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    engine.CLearMATRIX();
    engine.USE_NULLTEXTURE();
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    engine.D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_LVERTEX, std::span<const D3DLVERTEX>(floor_), 4,
                                  0);
    for (auto& e : emitters_) e.Render(engine);
    if (rain) {
        engine.USE_NULLTEXTURE();
        engine.CLearMATRIX();
        engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, -1);
        engine.RENDER_RAIN();
    }
    if (flash != 0) engine.Flashing(flash);
    engine.D3D_DEV->endScene();
}

}  // namespace tarko::examples
