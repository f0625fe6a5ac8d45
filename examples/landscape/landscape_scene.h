// The landscape scene: a valley with a lake made from a generated height
// picture, walked by the engine's camera, with swaying water, billboard trees
// and a sky sphere. Everything it shows is generated at start into a folder
// of pictures (height map, colour map, water, sky).
#pragma once

#include <string>
#include <vector>

#include <tarko/tarko.h>

namespace landscape {

// Grid and world sizes: a 181 x 181 picture sampled every pixel is the
// largest grid 16-bit indices allow (32761 vertices), scaled 20 times.
inline constexpr int kGridSide = 181;
inline constexpr float kScale = 20;
inline constexpr float kHeightFactor = 0.25f;           // picture red 0..255 -> 0..64 grid units
inline constexpr float kWaterLevel = 12 * kScale;       // world y of the lake's surface
inline constexpr float kEyeHeight = 45;

// Height picture value at (x, y), 0..255: rolling hills, a ridge to the
// north and a lake basin south of the centre.
int terrain_sample(int x, int y);

// Writes the height picture and the textures into `folder` (made if missing).
void write_pictures(const std::string& folder);

class Scene {
public:
    // Loads the pictures written by write_pictures(folder).
    Scene(tarko_DX7& engine, const std::string& folder);

    // Sky (following the eye), terrain, trees, water; the host clears,
    // begins and ends the scene and presents.
    void draw();
    // The ground's world height under (x, z), 0 off the grid.
    float ground(float x, float z);
    // Keeps the eye inside the grid and kEyeHeight above the ground or the water.
    void keep_on_ground();
    // A scripted walk round the lake, one step per frame.
    void scripted_camera(int frame);

    cTarko_landScape& land() { return land_; }

private:
    tarko_DX7& engine_;
    cTarko_landScape land_;
    cTarko_Sphere sky_;
    tarko::Ref<DirectDrawSurface7> tree_texture_;
    std::vector<D3DVECTOR> trees_;
};

}  // namespace landscape
