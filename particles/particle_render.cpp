// cTarko_Particle::Render: each style's step and draw, interleaved per
// particle, and the device states of its pass.
#include <cmath>
#include <span>

#include "particles/cTarko_Particle.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace rt = tarko::runtime;
using tarko::Long;

namespace {

constexpr double kPointPi = 3.14958745741541;
constexpr Long kTrue = -1;

float rnd() { return rt::Rnd(); }
float single(double x) { return static_cast<float>(x); }

Long rgba(double r, double g, double b, double a) {
    return tarko::dxmath::createColorRGBA(single(r), single(g), single(b), single(a));
}

void add(D3DVECTOR& a, const D3DVECTOR& b) {
    a = D3DVECTOR{single(double(a.x) + b.x), single(double(a.y) + b.y), single(double(a.z) + b.z)};
}

// The blend setup shared by the point, explosion and fire passes.
void additive_entry(tarko_DX7& TKX, const tarko::Ref<DirectDrawSurface7>& texture) {
    Direct3DDevice7& dev = *TKX.D3D_DEV;
    dev.setTexture(0, texture);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ONE);
    dev.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ONE);
    dev.setRenderState(dx::D3DRENDERSTATE_DITHERENABLE, kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_SPECULARENABLE, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, 0);
}

// What the view-space passes save on entry and put back on exit.
struct Saved {
    Long zwrite = 0, src = 0, dest = 0;
};

Saved view_space_entry(tarko_DX7& TKX, Long dest_blend) {
    Direct3DDevice7& dev = *TKX.D3D_DEV;
    Saved s{dev.getRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE), dev.getRenderState(dx::D3DRENDERSTATE_SRCBLEND),
            dev.getRenderState(dx::D3DRENDERSTATE_DESTBLEND)};
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ONE);
    dev.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dest_blend);
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, 0);
    return s;
}

void view_space_exit(tarko_DX7& TKX, const D3DMATRIX& view, const Saved& s, bool dither) {
    Direct3DDevice7& dev = *TKX.D3D_DEV;
    dev.setTransform(dx::D3DTRANSFORMSTATE_VIEW, view);
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, kTrue);
    if (dither) dev.setRenderState(dx::D3DRENDERSTATE_DITHERENABLE, kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, s.zwrite);
    dev.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, s.src);
    dev.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, s.dest);
    TKX.Disable_MULTITEXTURING(0);
    TKX.USE_default_RENDERSTATE();
}

}  // namespace

void cTarko_Particle::Render(tarko_DX7& TKX) {
    if (!is_ACTIVE) return;
    switch (PARTICLE_FX) {
    case Tarko_POINT_emitting: point_pass(TKX); break;
    case Tarko_EXPLOSION: explosion_pass(TKX); break;
    case Tarko_FIRE: fire_pass(TKX); break;
    case Tarko_SNOW:
        snow_pass(TKX);
        point_pass(TKX);  // over the still, all-zero companions
        break;
    case Tarko_SMOKE: smoke_pass(TKX); break;
    case Tarko_FONTAIN: fountain_pass(TKX); break;
    default: tarko::raise_error(tarko::err::SubscriptOutOfRange);  // INIT built no array for it
    }
    place_light(TKX);
}

void cTarko_Particle::draw_quad(tarko_DX7& TKX) {
    TKX.D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_LVERTEX, std::span<const D3DLVERTEX>(ParticleQuad),
                               4, 0);
}

void cTarko_Particle::place_by_matrix(tarko_DX7& TKX, float sx, float sy, float sz, float x, float y, float z,
                                      Long colour, bool clear_first) {
    // Only the yaw follows the camera.
    const tarko::Variant yaw = TKX.CAM_angleBilBOARD();
    if (clear_first) TKX.CLearMATRIX();
    TKX.OBJECT_Scale_Rotate_MOV(sx, sy, sz, 0.0f, yaw, 0.0f, x, y, z);
    for (D3DLVERTEX& v : ParticleQuad) v.color = v.specular = colour;
}

void cTarko_Particle::point_pass(tarko_DX7& TKX) {
    additive_entry(TKX, pTexture);
    const auto& row1 = FlameTable[1];
    int c = 0;  // restarts at each Render
    for (std::size_t i = 1; i < EmitParticles.size(); ++i) {
        EmitParticle& p = EmitParticles[i];
        if (++c > 359) c = 0;
        p.Pace = p.Speed;
        p.Spin = single(p.Spin + kPointPi / 180);
        add(p.Position, p.Velocity);
        p.Life = single(double(p.Life) - p.Speed);
        if (p.Life < 0) {
            p.Position = D3DVECTOR{single(EmitterPos.x + 1.0), EmitterPos.y, EmitterPos.z};
            p.Pace = 0;
            p.Speed = single(std::fabs(double(rnd()) * 10) / 10);
            p.Spin = 0;
            const double s = double(rnd()) * 9 - 1;
            p.Velocity = D3DVECTOR{single(std::cos(0.25 * s)), single(std::sin(double(c))), single(std::sin(0.5 * s))};
            p.Life = single(double(rnd()) * 0.5);
        }
        p.Colour = D3DCOLORVALUE{row1[0], row1[1], row1[2], p.Life};
        place_by_matrix(TKX, PARTICLE_SIZE, PARTICLE_SIZE, PARTICLE_SIZE, p.Position.x, p.Position.y, p.Position.z,
                        rgba(p.Colour.r, p.Colour.g, p.Colour.b, p.Colour.a), true);
        // Lighting is off: the material leaves no mark in the picture.
        TKX.D3D_DEV->setMaterial(TKX.Create_Material2(p.Colour, p.Colour));
        draw_quad(TKX);
    }
    TKX.CLearMATRIX();
    TKX.USE_defaultMaterial();
    TKX.USE_default_RENDERSTATE();
    TKX.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, kTrue);
}

void cTarko_Particle::explosion_pass(tarko_DX7& TKX) {
    Direct3DDevice7& dev = *TKX.D3D_DEV;
    const Long src = dev.getRenderState(dx::D3DRENDERSTATE_SRCBLEND);
    const Long dest = dev.getRenderState(dx::D3DRENDERSTATE_DESTBLEND);
    additive_entry(TKX, pTexture);
    int r = 1;  // restarts at each Render; the first particle takes row 2
    const double step = double(BurstSlowdown) * 1000;
    for (BurstParticle& p : BurstParticles) {
        if (++r > 12) r = 1;
        const auto& row = FlameTable[static_cast<std::size_t>(r)];
        p.R = row[0], p.G = row[1], p.B = row[2];
        place_by_matrix(TKX, PARTICLE_SIZE, PARTICLE_SIZE, PARTICLE_SIZE, p.X, p.Y, p.Z, rgba(p.R, p.G, p.B, p.Life),
                        false);
        draw_quad(TKX);
        p.X = single(p.X + p.Xi / step);
        p.Y = single(p.Y + p.Yi / step);
        p.Z = single(p.Z + p.Zi / step);
        p.Xi = single(double(p.Xi) + p.Xg);
        p.Yi = single(double(p.Yi) + p.Yg);
        p.Zi = single(double(p.Zi) + p.Zg);
        p.Life = single(double(p.Life) - p.Fade);
        if (p.Life < 0) {
            // Each particle bursts again on its own beat, slower than the first time.
            p.Life = 1.0f;
            p.Fade = single(double(rnd()) * 100 / 1000 + 0.003);
            p.X = EmitterPos.x, p.Y = EmitterPos.y, p.Z = EmitterPos.z;
            p.Xi = single(double(rnd()) * 60 - 32);
            p.Yi = single(double(rnd()) * 60 - 32);
            p.Zi = single(double(rnd()) * 60 - 32);
        }
    }
    dev.setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, kTrue);
    TKX.CLearMATRIX();
    TKX.USE_defaultMaterial();
    dev.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 0);
    dev.setRenderState(dx::D3DRENDERSTATE_LIGHTING, kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_DITHERENABLE, kTrue);
    dev.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, src);
    dev.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dest);
}

void cTarko_Particle::fire_pass(tarko_DX7& TKX) {
    Direct3DDevice7& dev = *TKX.D3D_DEV;
    additive_entry(TKX, pTexture);
    dev.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_ONE);
    dev.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_ONE);
    int r = 1;  // restarts at each Render; a respawn picks the row for the particles after it
    const double s = PARTICLE_SIZE;
    for (BurstParticle& p : BurstParticles) {
        if (!p.Active) continue;
        const auto& row = FlameTable[static_cast<std::size_t>(r)];
        p.R = row[0], p.G = row[1], p.B = row[2];
        place_by_matrix(TKX, single(8 * s), single(4 * s), single(8 * s), p.X, p.Y, p.Z, rgba(p.R, p.G, p.B, p.Life),
                        true);
        draw_quad(TKX);
        p.X = single(p.X + p.Xi / 10.0);
        p.Y = single(p.Y + p.Yi / 10.0);
        p.Z = single(p.Z + p.Zi / 10.0);
        p.Life = single(double(p.Life) - p.Fade);
        if (p.Life < 0) {
            p.Life = 1.0f;
            p.Fade = single(double(rnd()) * 100 / 7500 + 0.0075);
            p.X = EmitterPos.x, p.Y = EmitterPos.y, p.Z = EmitterPos.z;
            rt::Randomize();
            const double v = double(rnd()) * 5 + 1;
            const double a = double(rnd()) * 360;  // radians, as the sine takes it
            p.Xi = single(std::sin(a) * v);
            p.Yi = single(std::cos(a) * v);
            p.Zi = single((double(rnd()) * 10 - 5) / 5);
            r = static_cast<int>(std::floor(double(rnd()) * 12)) + 1;
            const auto& next = FlameTable[static_cast<std::size_t>(r)];
            p.R = next[0], p.G = next[1], p.B = next[2];
        }
    }
    dev.setRenderState(dx::D3DRENDERSTATE_ZWRITEENABLE, kTrue);
    TKX.CLearMATRIX();
    TKX.USE_defaultMaterial();
    TKX.USE_default_RENDERSTATE();
}

void cTarko_Particle::begin_view_space(tarko_DX7& TKX, D3DMATRIX& saved_view) {
    Direct3DDevice7& dev = *TKX.D3D_DEV;
    dev.getTransform(dx::D3DTRANSFORMSTATE_VIEW, saved_view);
    dev.setTransform(dx::D3DTRANSFORMSTATE_VIEW, IdentityMatrix);
    dev.setTransform(dx::D3DTRANSFORMSTATE_WORLD, IdentityMatrix);
    dev.setTexture(0, pTexture);
}

void cTarko_Particle::draw_in_view_space(tarko_DX7& TKX, const D3DMATRIX& m, const D3DVECTOR& p, float half,
                                         Long colour, Long specular, D3DVECTOR& v) {
    // Row vector times the saved view, divided by w; a w near 0 keeps the
    // previous particle's point.
    const double x = p.x, y = p.y, z = p.z;
    const double w = x * m.rc14 + y * m.rc24 + z * m.rc34 + m.rc44;
    if (std::fabs(w) >= 1e-5) {
        v = D3DVECTOR{single((x * m.rc11 + y * m.rc21 + z * m.rc31 + m.rc41) / w),
                      single((x * m.rc12 + y * m.rc22 + z * m.rc32 + m.rc42) / w),
                      single((x * m.rc13 + y * m.rc23 + z * m.rc33 + m.rc43) / w)};
    }
    static constexpr float kCorner[4][4] = {{-1, 1, 0, 0}, {1, 1, 1, 0}, {-1, -1, 0, 1}, {1, -1, 1, 1}};
    for (std::size_t i = 0; i < 4; ++i) {
        D3DLVERTEX& q = ParticleQuad[i];
        q.x = single(v.x + double(kCorner[i][0]) * half);
        q.y = single(v.y + double(kCorner[i][1]) * half);
        q.z = v.z;
        q.tu = kCorner[i][2];
        q.tv = kCorner[i][3];
        q.color = colour;
        q.specular = specular;
    }
    draw_quad(TKX);
}

void cTarko_Particle::snow_pass(tarko_DX7& TKX) {
    const Saved saved = view_space_entry(TKX, dx::D3DBLEND_ONE);
    D3DMATRIX view;
    begin_view_space(TKX, view);
    D3DVECTOR v{};
    for (DriftParticle& p : FlakeParticles) {
        add(p.Position, p.Velocity);
        add(p.Velocity, p.Acceleration);
        // A ground above the start height restarts the flake at every frame.
        if (p.Position.y < SnowGround) respawn_flake(p, false);
        draw_in_view_space(TKX, view, p.Position, p.Size, static_cast<Long>(0xE0FFFFFFu), static_cast<Long>(0xFFFFFFFFu),
                           v);
    }
    view_space_exit(TKX, view, saved, false);
}

void cTarko_Particle::smoke_pass(tarko_DX7& TKX) {
    TKX.USE_default_RENDERSTATE();
    TKX.USE_defaultMaterial();
    const Saved saved = view_space_entry(TKX, dx::D3DBLEND_INVSRCCOLOR);
    D3DMATRIX view;
    begin_view_space(TKX, view);
    D3DVECTOR v{};
    const double ceiling = SmokeCeiling;
    for (DriftParticle& p : SmokeParticles) {
        add(p.Position, p.Velocity);
        if (p.Position.y > EmitterPos.y + ceiling) {  // exactly at the ceiling stays
            p.Position = EmitterPos;
            const double pr = Rand(), qr = Rand(), rr = Rand();
            const double k = 1.0 / 5;
            p.Velocity = D3DVECTOR{single((pr * 0.5 - 0.25) * k), single((2 * qr + 2) * k), single((rr * 0.5 - 0.25) * k)};
        }
        const double h = double(p.Position.y) - EmitterPos.y;
        p.Size = single(((3.5 / ceiling) * h + 1.5) * 5);
        const double g = ((255 - (255 / ceiling) * h) / 255) / 6;
        const Long grey = rgba(g, g, g, 1.0);
        draw_in_view_space(TKX, view, p.Position, p.Size, grey, grey, v);
        draw_quad(TKX);  // the same quad twice
    }
    view_space_exit(TKX, view, saved, true);
}

void cTarko_Particle::fountain_pass(tarko_DX7& TKX) {
    TKX.USE_default_RENDERSTATE();
    const Saved saved = view_space_entry(TKX, dx::D3DBLEND_ONE);
    D3DMATRIX view;
    begin_view_space(TKX, view);
    D3DVECTOR v{};
    for (DriftParticle& p : FountainParticles) {
        add(p.Position, p.Velocity);
        add(p.Velocity, p.Acceleration);
        // The ground here is y = 0 of the world, whatever the emitter's height.
        if (p.Position.y < 0 || p.Age > 2000) {
            if (FountainPower == 0) tarko::raise_error(tarko::err::DivisionByZero);
            p.Position = EmitterPos;
            p.Velocity = fountain_velocity();
            p.Acceleration = D3DVECTOR{0, single((1.0 / FountainPower) * -0.08), 0};
            p.Age = 0;
        }
        p.Age = single(double(p.Age) + 1);
        p.Size = single((double(p.Age) / 2000 + 1) * FountainSize * 1.5);
        double a = 255 - (255.0 / 500) * p.Age;
        if (a < 0) a = 0;
        // The alpha goes in unscaled: anything from 1 up is opaque.
        const Long colour = rgba(FountainColour[0], FountainColour[1], FountainColour[2], a);
        draw_in_view_space(TKX, view, p.Position, p.Size, colour, static_cast<Long>(0xFFFFFFFFu), v);
    }
    view_space_exit(TKX, view, saved, false);
}

void cTarko_Particle::place_light(tarko_DX7& TKX) {
    ParticleLight = D3DLIGHT7{};
    ParticleLight.dltType = D3DLIGHT_SPOT;
    ParticleLight.ambient = ParticleLight.diffuse = ParticleLight.specular = D3DCOLORVALUE{1, 1, 1, 1};
    ParticleLight.position = EmitterPos;
    ParticleLight.direction = D3DVECTOR{-1, -1, 0};
    ParticleLight.range = 0;  // lights nothing, but keeps its slot
    ParticleLight.falloff = 100.0f;
    ParticleLight.theta = 0.8f;
    ParticleLight.phi = 1.0f;
    ParticleLight.attenuation0 = 1.0f;
    TKX.D3D_DEV->setLight(LightIndex, ParticleLight);
    TKX.D3D_DEV->lightEnable(LightIndex, true);
    TKX.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_LIGHTING, kTrue);
}
