// A small level built from the engine's own geometry: a room of two
// constructions (four walls) with a floor and ceiling construction over them,
// a pillar from the external cube list, a sphere and a shaded rug. The walk
// keeps the eye inside the walls with the construction wall tests and lets
// the pillar push the camera back by itself.
#pragma once

#include <cmath>
#include <cstdint>
#include <functional>

#include "engine/tarko_dx7.h"
#include "geometry/geometry_enums.h"
#include "examples/host_textures.h"
#include "platform/constants.h"
#include "platform/pixel_format.h"

namespace level {

// The room spans (0, 0, 0)..(300, 120, 300); the walk starts near its south
// wall and heads north (+z), with the pillar (180..220, 150..190) to its right.
inline constexpr D3DVECTOR kRoomCorner{0, 0, 0};
inline constexpr D3DVECTOR kRoomSize{300, 120, 300};
inline constexpr D3DVECTOR kStart{150, 60, 40};
inline constexpr double kNorth = 3.14159265358979 / 2;   // the heading of +z
inline constexpr float kWalkStep = 4;
inline constexpr double kWallReach = 10;   // how near the eye may come to a wall
inline constexpr int kWalkFrames = 90;     // scripted: walk north this long, then look round
inline constexpr std::uint32_t kClearColour = 0x203040;

using examples::make_texture;
using examples::rgb;

// Red bricks in pale mortar (walls), grey flags (floor), plaster, wood.
inline std::uint32_t brick(int x, int y) {
    const int row = y / 16, bx = (x + (row % 2) * 16) % 32;
    if (y % 16 < 2 || bx < 2) return rgb(190, 180, 170);
    return rgb(170 + (x * 7 + y * 3) % 20, 60, 45);
}
inline std::uint32_t flags(int x, int y) {
    if (x % 32 == 0 || y % 32 == 0) return rgb(50, 50, 50);
    return rgb(120 + (x * y) % 12, 120 + (x * y) % 12, 125);
}
inline std::uint32_t plaster(int x, int y) { return rgb(200 + (x + y) % 10, 200, 190); }
inline std::uint32_t wood(int x, int y) {
    const double ring = 0.5 + 0.5 * std::sin(x * 0.4 + 2 * std::sin(y * 0.1));
    return rgb(130 + 50 * ring, 80 + 25 * ring, 35);
}

class Level {
public:
    explicit Level(tarko_DX7& engine) : engine_(engine) {
        engine.Create_CONSTUCTION(west_north_, kRoomCorner, kRoomSize, box_, MUR_OUEST_NORD, tarko::Variant(6.0),
                                  tarko::Variant(2.0));
        engine.Create_CONSTUCTION(east_south_, kRoomCorner, kRoomSize, box_, MUR_EST_SUD, tarko::Variant(6.0),
                                  tarko::Variant(2.0));
        engine.Create_CONSTUCTION(floor_roof_, kRoomCorner, kRoomSize, box_, MUR_PLAFOND_SOL, tarko::Variant(5.0),
                                  tarko::Variant(5.0));
        pillar_ = engine.ADD_cubeEXTERN_face(D3DVECTOR{180, 0, 150}, D3DVECTOR{40, 120, 40}, 0, 0, 0, "",
                                             tarko::Variant(1.0), tarko::Variant(3.0));
        engine.CreateSphere(ball_, ball_vertices_, ball_indices_, ball_index_count_, 30, 12);
        engine.Make_PlaneSURF(rug_, D3DVECTOR{60, 0.5f, 40}, D3DVECTOR{240, 0.5f, 110}, 60, 90, 200, 1, 1);

        brick_ = make_texture(engine, 64, brick);
        flags_ = make_texture(engine, 64, flags);
        plaster_ = make_texture(engine, 64, plaster);
        wood_ = make_texture(engine, 64, wood);
        engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0},
                         D3DCOLORVALUE{0.9f, 0.85f, 0.8f, 1}, 0, D3DVECTOR{0.3f, -1, 0.5f});
    }

    const D3DRMBOX& room() const { return box_; }

    // One walking step: forward by `step`, then held back where a wall is
    // within reach (the eye returns to where it stood).
    void walk(float step) {
        const D3DVECTOR before = engine_.GET_CameraEYE();
        engine_.Camera_Move_Foward(tarko::Variant(step));
        if (touches_wall(engine_.GET_CameraEYE())) engine_.SET_cameraEYE(before);
    }
    bool touches_wall(const D3DVECTOR& eye) const {
        return engine_.Colision_BOX(eye, box_, MUR_OUEST_NORD, IN_BLOX, tarko::Variant(kWallReach)) ||
               engine_.Colision_BOX(eye, box_, MUR_EST_SUD, IN_BLOX, tarko::Variant(kWallReach));
    }

    // The frame's geometry, between beginScene and endScene. The pillar's
    // test moves the camera back itself when the eye comes too near.
    void draw() {
        engine_.USE_default_RENDERSTATE();
        engine_.device_CLEAR_COLOR = static_cast<tarko::Long>(kClearColour & 0xFFFFFF);
        engine_.D3D_DEV->setTexture(0, brick_);
        engine_.Render_CONSTRUCTION(west_north_, MUR_OUEST_NORD);
        engine_.Render_CONSTRUCTION(east_south_, MUR_EST_SUD);
        // Drawn last over the walls' own floor and ceiling (equal depths pass).
        engine_.Render_CONSTRUCTION(floor_roof_, MUR_PLAFOND_SOL, flags_, plaster_);

        engine_.D3D_DEV->setTexture(0, wood_);
        engine_.Render_EXTERNcube(tarko::Variant(pillar_), true);

        engine_.D3D_DEV->setTexture(0, plaster_);
        engine_.OBJECT_move(tarko::Variant(80.0), tarko::Variant(50.0), tarko::Variant(220.0));
        engine_.D3D_DEV->drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_VERTEX, ball_.from(0),
                                              ball_vertices_, ball_indices_.from(0), ball_index_count_, 0);
        engine_.CLearMATRIX();

        // The rug is pre-lit: no lights, no texture.
        engine_.Set_Light(false);
        engine_.USE_NULLTEXTURE();
        engine_.Render_surf(rug_);
        engine_.Set_Light(true);
    }

private:
    tarko_DX7& engine_;
    tarko::SafeArray<D3DVERTEX> west_north_, east_south_, floor_roof_, ball_;
    tarko::SafeArray<tarko::Integer> ball_indices_;
    tarko::SafeArray<D3DLVERTEX> rug_;
    tarko::Long ball_vertices_ = 0, ball_index_count_ = 0;
    tarko::Integer pillar_ = 0;
    D3DRMBOX box_;
    tarko::Ref<DirectDrawSurface7> brick_, flags_, plaster_, wood_;
};

// The scripted walk of frame n: north towards the far wall, which holds the
// eye back, then a slow turn to the west to look at the sphere.
inline void scripted_step(tarko_DX7& engine, Level& level, int frame) {
    if (frame == 0) {
        engine.CAM_angle(tarko::Variant(kNorth));
        engine.SET_cameraEYE(kStart);
    }
    if (frame < kWalkFrames) {
        level.walk(kWalkStep);
    } else {
        engine.CAM_angle(tarko::Variant(kNorth + 0.05 * (frame - kWalkFrames)));
        engine.SET_cameraEYE(engine.GET_CameraEYE());   // rebuilds the view for the new heading
    }
}

}  // namespace level
