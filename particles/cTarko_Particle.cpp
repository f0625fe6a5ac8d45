// cTarko_Particle: INIT, the randomness and each style's start values.
#include "particles/cTarko_Particle.h"

#include <algorithm>
#include <cmath>

#include "platform/constants.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace rt = tarko::runtime;
using tarko::Integer;
using tarko::Long;

namespace {

constexpr double kPointPi = 3.14958745741541;  // the point style's own "pi"

float rnd() { return rt::Rnd(); }
float single(double x) { return static_cast<float>(x); }

}  // namespace

cTarko_Particle::cTarko_Particle() {
    // Flame colours; the blue and grey tables are built beside it and no
    // style reads them.
    for (int row = 1; row <= 12; ++row) {
        const float g = row == 7 || row == 8 ? 0.65f : row >= 11 ? 0.55f : 0.5f;
        FlameTable[static_cast<std::size_t>(row)] = {1.0f, g, 0.25f};
        BlueTable[static_cast<std::size_t>(row)] = {0.25f, g, 1.0f};
        const float grey = 1.0f - 0.25f * static_cast<float>((row - 1) % 4);
        GreyTable[static_cast<std::size_t>(row)] = {grey, grey, grey};
    }
}

float cTarko_Particle::Rand_S() {
    rt::Randomize();
    // Rounded half to even as an Integer store would; the 1001 never bites.
    const double whole = std::nearbyint(static_cast<double>(rnd()) * 100.0);
    return single(std::fmod(whole, 1001.0) / 1000.0);
}

float cTarko_Particle::Rand() {
    rt::Randomize();
    const double a = rnd();
    const double b = rnd();
    return single(a - b);
}

void cTarko_Particle::SetPosition(const D3DVECTOR& VecPos) { EmitterPos = VecPos; }
D3DVECTOR cTarko_Particle::GetPosition() const { return EmitterPos; }

const std::vector<cTarko_Particle::DriftParticle>& cTarko_Particle::drift_particles() const {
    if (PARTICLE_FX == Tarko_SMOKE) return SmokeParticles;
    if (PARTICLE_FX == Tarko_FONTAIN) return FountainParticles;
    return FlakeParticles;
}

void cTarko_Particle::INIT(tarko_DX7& TKX, const D3DVECTOR& vPOS, const std::string& TexTurefile,
                           Integer NumPARTICLE, float PARTICLE_SIZ, Tarko_PARTICLE_STYLE Jstyle,
                           Tarko_PARTICLE_FX_preset FX_preset, Integer GROUND_LEVEL, Integer WHEATER_PERIMETER_WIDTH,
                           Integer WHEATER_PERIMETER_DEPTH, Integer /*WHEATER_MAX_ALTITUDE*/,
                           Integer FOUNTAIN_GEZER_POWER) {
    // The light starts as a point light at the old position; Render turns it
    // into the spot light it keeps.
    ParticleLight = D3DLIGHT7{};
    ParticleLight.dltType = D3DLIGHT_POINT;
    ParticleLight.ambient = ParticleLight.diffuse = ParticleLight.specular = D3DCOLORVALUE{1, 1, 1, 1};
    ParticleLight.attenuation0 = 1;
    ParticleLight.attenuation1 = 1;
    ParticleLight.attenuation2 = 0;
    ParticleLight.position = EmitterPos;
    ParticleLight.range = 50.0f;

    LightIndex = TKX.LIGHT_GETFreeINDEX().to_long();
    TKX.LIGHT_SetFreeINDEX(tarko::Variant(rt::CInt(static_cast<double>(LightIndex) + 1)));
    TKX.D3D_DEV->setLight(LightIndex, ParticleLight);
    TKX.D3D_DEV->lightEnable(LightIndex, true);

    m_fRadius = 0;
    pTexture = TKX.CreateTextureEX(TexTurefile, 256, 256);
    EmitterPos = vPOS;
    Num_PARTICLE = NumPARTICLE;
    PARTICLE_SIZE = PARTICLE_SIZ;

    rt::Randomize();
    const D3DCOLORVALUE colour = TKX.Create_RND_D3Dcolor();

    EmitParticles.clear();
    BurstParticles.clear();
    FlakeParticles.clear();
    SmokeParticles.clear();
    FountainParticles.clear();
    switch (Jstyle) {
    case Tarko_POINT_emitting: start_point(colour); break;
    case Tarko_EXPLOSION: start_burst(false); break;
    case Tarko_FIRE: start_burst(true); break;
    case Tarko_SNOW:
        SnowGround = GROUND_LEVEL;
        // Products of two Integers: a 16-bit result.
        SnowDepth = rt::CInt(static_cast<double>(WHEATER_PERIMETER_DEPTH) * 10);
        SnowWidth = rt::CInt(static_cast<double>(WHEATER_PERIMETER_WIDTH) * 10);
        SnowHeight = 100.0f;
        IdentityMatrix = TKX.ID_Matrix();
        start_snow();
        break;
    case Tarko_SMOKE:
        IdentityMatrix = TKX.ID_Matrix();
        start_smoke();
        break;
    case Tarko_FONTAIN:
        IdentityMatrix = TKX.ID_Matrix();
        FountainSize = PARTICLE_SIZE;
        FountainColour = {single(64.0 / 255.0), 1.0f, single(192.0 / 255.0)};
        FountainPower = FOUNTAIN_GEZER_POWER;
        start_fountain();
        break;
    default: break;  // no particle array: Render refuses it
    }
    PARTICLE_FX = Jstyle;
    PARTICLE_preset = FX_preset;

    static constexpr float kCorner[4][4] = {{-1, 1, 0, 0}, {1, 1, 1, 0}, {-1, -1, 0, 1}, {1, -1, 1, 1}};
    for (std::size_t i = 0; i < 4; ++i) {
        ParticleQuad[i] = D3DLVERTEX{};
        ParticleQuad[i].x = kCorner[i][0];
        ParticleQuad[i].y = kCorner[i][1];
        ParticleQuad[i].z = -1;
        ParticleQuad[i].tu = kCorner[i][2];
        ParticleQuad[i].tv = kCorner[i][3];
    }
    is_ACTIVE = true;
}

static void need_particles(Integer n) {
    if (n <= 0) tarko::raise_error(tarko::err::SubscriptOutOfRange);
}

void cTarko_Particle::start_point(const D3DCOLORVALUE& colour) {
    if (Num_PARTICLE <= 0) return;  // no array, nothing drawn
    EmitParticles.assign(static_cast<std::size_t>(Num_PARTICLE) + 1, EmitParticle{});
    for (std::size_t i = 1; i < EmitParticles.size(); ++i) {
        EmitParticle& p = EmitParticles[i];
        p.Angle = single(static_cast<double>(rnd()) * 360 * kPointPi / 180);
        p.Speed = rnd();
        p.Colour = p.StartColour = colour;
        const double vx = rnd(), vy = rnd(), vz = rnd();
        p.Velocity = D3DVECTOR{single(2 * vx), single(vy), single(1.5 * vz)};
        p.Life = rnd();
        p.Position = D3DVECTOR{single(EmitterPos.x + 1.0), EmitterPos.y, EmitterPos.z};
    }
}

void cTarko_Particle::start_burst(bool fire) {
    need_particles(Num_PARTICLE);
    const auto n = static_cast<std::size_t>(Num_PARTICLE);
    BurstParticles.assign(n, BurstParticle{});
    for (std::size_t i = 0; i < n; ++i) {
        BurstParticle& p = BurstParticles[i];
        p.Active = true;
        p.Life = 1.0f;
        if (fire) {
            p.Fade = single(static_cast<double>(Rand()) * 100 / 7500 + 0.0075);
        } else {
            p.Fade = single(static_cast<double>(rnd()) * 100 / 1000 + 0.003);
        }
        // With fewer than 12 particles the row climbs by more than one.
        const double row = std::floor(static_cast<double>(i) / (static_cast<double>(n) / 12)) + 1;
        const auto r = static_cast<std::size_t>(std::clamp(row, 1.0, 12.0));
        p.R = FlameTable[r][0];
        p.G = FlameTable[r][1];
        p.B = FlameTable[r][2];
        if (fire) {
            p.Xg = 0;
            p.Yg = single(-std::fabs(static_cast<double>(rnd()) * 3 + 2));  // never applied
            p.Zg = 0;
            const double v = static_cast<double>(rnd()) * 25;
            p.Xi = 0;
            p.Yi = single(v);
            p.Zi = single(((static_cast<double>(rnd()) * 10 - 5) / 10) * v);
        } else {
            p.Xi = single((static_cast<double>(rnd()) * 50 - 26) * 10);
            p.Yi = single((static_cast<double>(rnd()) * 50 - 26) * 10);
            p.Zi = single((static_cast<double>(rnd()) * 50 - 26) * 10);
            p.Xg = 0;
            p.Yg = 0.1f;
            p.Zg = 0;
        }
        p.X = EmitterPos.x;
        p.Y = EmitterPos.y;
        p.Z = EmitterPos.z;
    }
    BurstSlowdown = 0.4f;
}

void cTarko_Particle::respawn_flake(DriftParticle& p, bool first) {
    const double a = Rand(), b = Rand();
    p.Position = D3DVECTOR{single(EmitterPos.x + SnowWidth / 2.0 * a), single(EmitterPos.y + double(SnowHeight)),
                           single(EmitterPos.z + SnowDepth / 2.0 * b)};
    const double c = Rand_S(), d = Rand_S(), e = Rand_S();
    p.Velocity = D3DVECTOR{single(c * 0.001 - 0.0005), single(-(d * 0.0049 + 0.0049)), single(e * 0.001 - 0.0005)};
    if (first) {
        const double f = Rand_S();
        p.Acceleration = D3DVECTOR{single(d), single(-std::fabs(f)), single(c * 0.001 - 0.0005)};
    } else {
        const double g = Rand();
        p.Acceleration = D3DVECTOR{single(d), single(-std::fabs(g) * 10 / SnowHeight), single(c * 0.001 - 0.0005)};
    }
    p.Size = 1.0f;
}

void cTarko_Particle::start_snow() {
    need_particles(Num_PARTICLE);
    const auto n = static_cast<std::size_t>(Num_PARTICLE);
    EmitParticles.assign(n + 1, EmitParticle{});  // still and all zero; drawn by the point pass
    FlakeParticles.assign(n, DriftParticle{});
    for (DriftParticle& p : FlakeParticles) respawn_flake(p, true);
}

void cTarko_Particle::start_smoke() {
    need_particles(Num_PARTICLE);
    SmokeCeiling = 50.0f;
    SmokeParticles.assign(static_cast<std::size_t>(Num_PARTICLE), DriftParticle{});
    for (DriftParticle& p : SmokeParticles) {
        p.Position = EmitterPos;
        const double vx = Rand(), vy = Rand(), vz = Rand();
        p.Velocity = D3DVECTOR{single(vx * 0.05 - 0.025), single(vy * 0.2 + 0.2), single(vz * 0.05 - 0.025)};
        p.Size = 1.0f;
    }
}

D3DVECTOR cTarko_Particle::fountain_velocity() {
    const double vx = Rand(), vy = Rand(), vz = Rand();
    return D3DVECTOR{single(vx * 0.3 - 0.15), single(vy + 2), single(vz * 0.3 - 0.15)};
}

void cTarko_Particle::start_fountain() {
    need_particles(Num_PARTICLE);
    FountainParticles.assign(static_cast<std::size_t>(Num_PARTICLE), DriftParticle{});
    for (DriftParticle& p : FountainParticles) {
        p.Position = EmitterPos;
        p.Velocity = fountain_velocity();
        p.Acceleration = D3DVECTOR{0, -0.2f, 0};
        p.Age = 0;
    }
}
