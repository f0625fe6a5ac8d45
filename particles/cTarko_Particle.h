// cTarko_Particle: one emitter in one of six styles. A host calls INIT once
// and Render once per frame; Render both advances the particles and draws
// them, one textured strip of four vertices per particle.
//
// Time is counted in Render calls: nothing reads the frame clock, so an
// effect runs faster on a faster machine. Randomness comes from the runtime's
// one generator (Rnd); Rand, Rand_S, INIT and the fire's respawn reseed it
// from the clock, so calls close together may repeat their numbers.
//
// INIT takes a device light slot (LIGHT_GETFreeINDEX, then LIGHT_SetFreeINDEX
// one above it) and never gives it back: after INIT on a fresh engine the
// object holds slot 0, and the engine's next ADD_light uses slot 2. Render
// ends every pass by turning that slot into a spot light of range 0 at the
// emitter, enabled, and lighting on. While is_ACTIVE is False Render makes no
// device call at all.
//
// Errors (run-time errors of the call): a texture file that cannot be read as
// CreateTextureEX raises; NumPARTICLE below 1 with any style but
// Tarko_POINT_emitting raises 9 (Subscript out of range); a perimeter above
// 3276 raises 6 (Overflow); Render of a style outside the enumeration raises 9
// without touching the device; a fountain of power 0 raises 11 (Division by
// zero) at its first respawn.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/variant.h"

enum Tarko_PARTICLE_STYLE : tarko::Long {
    Tarko_POINT_emitting = 8519,
    Tarko_EXPLOSION = 8520,
    Tarko_SNOW = 8528,
    Tarko_SMOKE = 8529,
    Tarko_FONTAIN = 8531,
    Tarko_FIRE = 8532,
};

// Carried by PARTICLE_preset; no style reads it.
enum Tarko_PARTICLE_FX_preset : tarko::Long {
    Tarko_STATIC_LOCATION = 241,
    Tarko_DYNAMIC_TORNADO = 242,
    Tarko_DYNAMIC_ATOMIC = 243,
};

class cTarko_Particle {
public:
    cTarko_Particle();

    // ---- public variables, in slot order
    tarko::Variant NUM_Indices;            // held for the host
    tarko::Variant NUM_VERTEX;             // held for the host
    float PARTICLE_SIZE = 0;               // drawn size (point, explosion, fire)
    float m_fRadius = 0;
    float Max_POS = 0;                     // held for the host
    Tarko_PARTICLE_STYLE PARTICLE_FX = Tarko_PARTICLE_STYLE{};
    Tarko_PARTICLE_FX_preset PARTICLE_preset = Tarko_PARTICLE_FX_preset{};
    tarko::Variant m_uParticles;           // held for the host
    tarko::Variant m_uParticlesLim;        // held for the host
    tarko::Ref<DirectDrawSurface7> pTexture;
    bool is_ACTIVE = false;
    tarko::Integer Num_PARTICLE = 0;

    // Starts the emitter at vPOS with a 256 x 256 texture from TexTurefile.
    // Snow starts 100 units above vPOS in a rectangle ten times the perimeter
    // given; WHEATER_MAX_ALTITUDE is accepted and has no effect; GROUND_LEVEL
    // is where flakes restart; FOUNTAIN_GEZER_POWER divides the fountain's
    // gravity from its first respawn on. A second INIT starts over and takes
    // another light slot.
    void INIT(tarko_DX7& TKX, const D3DVECTOR& vPOS, const std::string& TexTurefile, tarko::Integer NumPARTICLE = 15,
              float PARTICLE_SIZ = 1.0f, Tarko_PARTICLE_STYLE Jstyle = Tarko_POINT_emitting,
              Tarko_PARTICLE_FX_preset FX_preset = Tarko_STATIC_LOCATION, tarko::Integer GROUND_LEVEL = 0,
              tarko::Integer WHEATER_PERIMETER_WIDTH = 200, tarko::Integer WHEATER_PERIMETER_DEPTH = 200,
              tarko::Integer WHEATER_MAX_ALTITUDE = 100, tarko::Integer FOUNTAIN_GEZER_POWER = 1);
    // Reseeds from the clock, then 0 to 0.1 in steps of 0.001.
    float Rand_S();
    // Reseeds from the clock, then Rnd - Rnd: -1 < x < 1.
    float Rand();
    // Moves the spawn point; particles move there at their next respawn.
    void SetPosition(const D3DVECTOR& VecPos);
    D3DVECTOR GetPosition() const;
    // Advances every particle one step and draws it (see the head of this file).
    void Render(tarko_DX7& TKX);

    // ---- records, public for hosts that inspect a system and for tests
    struct EmitParticle {
        D3DVECTOR Position;
        D3DCOLORVALUE Colour;
        D3DCOLORVALUE StartColour;
        float Speed = 0;     // also the life lost per frame
        float Angle = 0;     // radians, set once
        float Pace = 0;
        float Spin = 0;
        D3DVECTOR Velocity;
        float Life = 0;
    };
    struct BurstParticle {
        bool Active = false;
        float Life = 0, Fade = 0;
        float R = 0, G = 0, B = 0;
        float X = 0, Y = 0, Z = 0;
        float Xi = 0, Yi = 0, Zi = 0;
        float Xg = 0, Yg = 0, Zg = 0;
    };
    struct DriftParticle {
        D3DVECTOR Position, Velocity, Acceleration;
        float Age = 0;
        float Size = 0;
    };
    // Point emitter: elements 1 to Num_PARTICLE (element 0 unused); snow's
    // still, zero-filled companions 0 to Num_PARTICLE.
    const std::vector<EmitParticle>& emit_particles() const { return EmitParticles; }
    const std::vector<BurstParticle>& burst_particles() const { return BurstParticles; }  // explosion, fire
    // Snow, smoke or fountain, whichever is the style.
    const std::vector<DriftParticle>& drift_particles() const;
    const std::array<D3DLVERTEX, 4>& particle_quad() const { return ParticleQuad; }
    tarko::Long light_index() const { return LightIndex; }

private:
    void start_point(const D3DCOLORVALUE& colour);
    void start_burst(bool fire);
    void start_snow();
    void start_smoke();
    void start_fountain();
    void respawn_flake(DriftParticle& p, bool first);
    D3DVECTOR fountain_velocity();

    void point_pass(tarko_DX7& TKX);
    void explosion_pass(tarko_DX7& TKX);
    void fire_pass(tarko_DX7& TKX);
    void snow_pass(tarko_DX7& TKX);
    void smoke_pass(tarko_DX7& TKX);
    void fountain_pass(tarko_DX7& TKX);
    void place_by_matrix(tarko_DX7& TKX, float sx, float sy, float sz, float x, float y, float z, tarko::Long colour,
                         bool clear_first);
    void begin_view_space(tarko_DX7& TKX, D3DMATRIX& saved_view);
    void draw_in_view_space(tarko_DX7& TKX, const D3DMATRIX& view, const D3DVECTOR& position, float half,
                            tarko::Long colour, tarko::Long specular, D3DVECTOR& last);
    void draw_quad(tarko_DX7& TKX);
    void place_light(tarko_DX7& TKX);

    using Table = std::array<std::array<float, 3>, 13>;  // rows 1 to 12
    D3DVECTOR EmitterPos;
    std::array<D3DLVERTEX, 4> ParticleQuad{};
    std::vector<EmitParticle> EmitParticles;
    std::vector<BurstParticle> BurstParticles;
    std::vector<DriftParticle> FlakeParticles, SmokeParticles, FountainParticles;
    Table FlameTable{}, BlueTable{}, GreyTable{};
    float BurstSlowdown = 0;
    float SnowWidth = 0, SnowDepth = 0, SnowGround = 0, SnowHeight = 0;
    D3DMATRIX IdentityMatrix;
    float SmokeCeiling = 0;
    std::array<float, 3> FountainColour{};
    float FountainSize = 0;
    float FountainPower = 0;
    D3DLIGHT7 ParticleLight;
    tarko::Long LightIndex = 0;
};
