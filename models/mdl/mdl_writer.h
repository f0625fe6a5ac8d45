// Studio model files written into memory, for the tests, the fuzz seeds, the
// examples' sample files and the benchmarks (the library itself writes no
// files): bones, controllers, hit boxes, body parts with models and meshes
// (strip and fan commands), 8-bit textures with palettes, sequences with
// compressed tracks, in the main file or in companion files ("t" textures,
// numbered sequence groups).
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/records.h"

namespace tarko::mdl {

using Bytes = std::vector<std::uint8_t>;

struct Point {
    std::int16_t v = 0, s = 0, t = 0;
};
struct Run {
    bool fan = false;
    std::vector<Point> points;
};
struct MeshDesc {
    std::int32_t skin = 0;
    std::int32_t triangles = -1;  // -1: counted from the runs
    std::vector<Run> runs;
};
struct ModelDesc {
    std::string name = "model";
    std::vector<D3DVECTOR> vertices;
    std::vector<std::uint8_t> bones;  // default: all bone 0
    std::vector<MeshDesc> meshes;
};
struct BodyPartDesc {
    std::string name = "body";
    std::vector<ModelDesc> models;
};
struct BoneDesc {
    std::string name = "bone";
    std::int32_t parent = -1;
    std::array<std::int32_t, 6> controller{-1, -1, -1, -1, -1, -1};
    std::array<float, 6> value{};
    std::array<float, 6> scale{1, 1, 1, 1, 1, 1};
};
struct ControllerDesc {
    std::int32_t bone = 0, type = 0;
    float start = 0, end = 0;
    std::int32_t index = 0;
};
struct TextureDesc {
    std::string name = "skin.bmp";
    std::int32_t width = 2, height = 2;
    std::vector<std::uint8_t> indices;     // default: all 0
    std::array<std::uint8_t, 768> palette{};
};
// A track run: `total` frames, the first values.size() with a value of their own.
struct TrackRun {
    std::uint8_t total = 0;
    std::vector<std::int16_t> values;
};
using Track = std::vector<TrackRun>;  // empty: no track
struct SequenceDesc {
    std::string label = "idle";
    float fps = 10;
    std::int32_t frames = 10;
    std::int32_t group = 0;
    std::vector<std::array<Track, 6>> bones;  // per bone, per channel X Y Z XR YR ZR
};
struct StudioDesc {
    std::vector<BoneDesc> bones{BoneDesc{}};
    std::vector<ControllerDesc> controllers;
    std::vector<std::array<D3DVECTOR, 2>> hitboxes;  // min, max
    std::vector<BodyPartDesc> body_parts;
    std::vector<TextureDesc> textures;
    bool textures_in_companion = false;
    std::int32_t group_count = 1;
    std::vector<SequenceDesc> sequences;
};

struct StudioFiles {
    Bytes main;
    Bytes textures;             // the "t" file, when textures_in_companion
    std::vector<Bytes> groups;  // group 1, 2, ...
};

// The triangles a mesh declares: its own count, or those of its runs.
std::int32_t triangles_of(const MeshDesc& m);

StudioFiles write_studio(const StudioDesc& desc);

// A palette whose entry i is the given colour (others black).
std::array<std::uint8_t, 768> palette(std::initializer_list<std::array<std::uint8_t, 3>> colours);

// A walking figure for examples and benches, z up, about 2 units tall: pelvis, torso, two
// legs and a head, each a tube of rings x sides quads (2 x rings x sides triangles a bone),
// body in skin 0 (a check), head in skin 1. Sequences "idle" (8 frames at 8 fps, the head
// turning) and "walk" (16 at 16 fps); controllers: the head's turn (-45 to 45 degrees) and
// the mouth (a nod, 0 to 10 degrees). `size` scales every length (the tracks too).
StudioDesc walker(int rings = 10, int sides = 10, float size = 1);

}  // namespace tarko::mdl
