// The particles example's scene: six emitters, one per style, side by side
// over a grey floor, with rain and a flash on request. The example's main and
// its frame test both draw it.
#pragma once

#include <array>
#include <filesystem>

#include "engine/tarko_dx7.h"
#include "particles/cTarko_Particle.h"

namespace tarko::examples {

class ParticleScene {
public:
    static constexpr int kEmitters = 6;
    // Left to right: point, explosion, fire, snow, smoke, fountain.
    static constexpr std::array<Tarko_PARTICLE_STYLE, kEmitters> kStyles = {
        Tarko_POINT_emitting, Tarko_EXPLOSION, Tarko_FIRE, Tarko_SNOW, Tarko_SMOKE, Tarko_FONTAIN};
    static D3DVECTOR position(int i) { return D3DVECTOR{-75.0f + 30.0f * static_cast<float>(i), 0, 0}; }

    // Writes the flare texture into `dir` and starts the emitters, the camera
    // and the rain drops. The engine must be open.
    void start(tarko_DX7& engine, const std::filesystem::path& dir);
    // One frame from Clear_3D to endScene (the host presents). `flash` is the
    // colour Flashing adds over it, 0 for none.
    void draw(tarko_DX7& engine, bool rain, tarko::Long flash);

    // The floor's corners, for hosts that want to know where it lies.
    static constexpr float kFloorHalf = 200.0f, kFloorY = -0.5f;

private:
    std::array<cTarko_Particle, kEmitters> emitters_;
    std::array<D3DLVERTEX, 4> floor_{};
};

}  // namespace tarko::examples
