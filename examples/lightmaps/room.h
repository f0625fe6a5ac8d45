// The light-map example's room: a floor and four walls, one face group each,
// and three coloured point lights. Shared by the example and its test.
#pragma once

#include <cstdint>

#include "engine/tarko_dx7.h"
#include "mesh/mesh.h"
#include "platform/constants.h"
#include "platform/d3d/device.h"
#include "platform/window.h"

namespace lightmaps_example {

constexpr float kHalf = 6;      // the room spans -6..6 on x and z
constexpr float kHeight = 4;
constexpr float kDensity = 160;  // 160 / 16 = 10 texels a unit: 120 -> 128 a side
constexpr tarko::Long kAmbient = 0x00181818;

struct Lamp {
    D3DVECTOR at;
    D3DCOLORVALUE colour;
};
// Red and green near the south wall, blue in the north half; 1 above the floor.
constexpr Lamp kLamps[3] = {{{-3, 1, -3}, {1, 0.1f, 0.1f, 1}},
                            {{3, 1, -3}, {0.1f, 1, 0.1f, 1}},
                            {{0, 1, 3}, {0.2f, 0.3f, 1, 1}}};
constexpr float kRange = 7;

inline D3DLIGHT7 lamp_light(const Lamp& lamp) {
    D3DLIGHT7 l;
    l.dltType = D3DLIGHT_POINT;
    l.position = lamp.at;
    l.diffuse = lamp.colour;
    l.range = kRange;
    return l;
}

// Group 1 the floor, 2..5 the walls (south, east, north, west).
inline void build_room(tarko::Mesh& room) {
    room.SetGroupPointer(1);
    room.AddFloor(-kHalf, -kHalf, kHalf, kHalf, 0, 1, 1);
    const float walls[4][4] = {{-kHalf, -kHalf, kHalf, -kHalf},
                               {kHalf, -kHalf, kHalf, kHalf},
                               {kHalf, kHalf, -kHalf, kHalf},
                               {-kHalf, kHalf, -kHalf, -kHalf}};
    for (int i = 0; i < 4; ++i) {
        room.SetGroupPointer(static_cast<tarko::Integer>(i + 2));
        room.AddWall(walls[i][0], walls[i][1], walls[i][2], walls[i][3], kHeight, 0, 1, 1);
    }
    for (int i = 0; i < 3; ++i) tarko::Mesh::SetBakeLight(static_cast<tarko::Integer>(i), lamp_light(kLamps[i]), true);
}

// The same lights evaluated at each vertex alone, as its colour (0xAARRGGBB).
inline void light_per_vertex(tarko::Mesh& room) {
    auto& vertices = room.record().LVertices;
    for (std::size_t i = 1; i < vertices.size(); ++i) {
        tarko::mesh::BakeJob job;
        job.p0 = D3DVECTOR{vertices[i].x, vertices[i].y, vertices[i].z};
        job.width = job.height = 1;
        job.ambient_r = job.ambient_g = job.ambient_b = kAmbient & 255;
        for (const Lamp& lamp : kLamps) job.lights.push_back(lamp_light(lamp));
        const std::uint32_t c = tarko::mesh::bake_texels(job, nullptr)[0];  // 0x00BBGGRR
        vertices[i].color = static_cast<std::int32_t>(0xFF000000u | (c & 0xFF) << 16 | (c & 0xFF00) | (c >> 16 & 0xFF));
    }
}

// One frame of the room seen from above the south wall, both sides of every
// face drawn; the window's picture.
inline tarko::platform::Frame render_room(tarko_DX7& engine, tarko::Long hwnd, tarko::Mesh& room) {
    engine.SET_camera_DirectioN(D3DVECTOR{0, 11, -9}, D3DVECTOR{0, 0, 0.5f});
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_CULLMODE, 1);
    room.RenderMesh(engine);
    engine.D3D_DEV->endScene();
    engine.FLIPP(hwnd);
    return tarko::platform::windows().get(hwnd)->frame();
}

}  // namespace lightmaps_example
