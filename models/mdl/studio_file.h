// Studio ("IDST") model files: the records the reader takes, the model it
// builds (no device state) and the reader itself. Companion files (textures
// in "<name>t.mdl", sequence groups in "<name>NN.mdl") come through a loader
// the caller hands in, so tests and the fuzzer need no disk.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/records.h"
#include "runtime/byte_reader.h"
#include "runtime/numeric.h"

namespace tarko::mdl {

using Bytes = std::vector<std::uint8_t>;

struct StudioHeader {
    std::string id;                         // "IDST"
    Long version = 0;
    std::string name;
    Long length = 0;
    D3DVECTOR eye, min, max, bbmin, bbmax;
    Long flags = 0;
    Long bone_count = 0, bone_offset = 0;
    Long controller_count = 0, controller_offset = 0;
    Long hitbox_count = 0, hitbox_offset = 0;
    Long sequence_count = 0, sequence_offset = 0;
    Long group_count = 0, group_offset = 0;
    Long texture_count = 0, texture_offset = 0, texture_data_offset = 0;
    Long skin_ref_count = 0, skin_family_count = 0, skin_offset = 0;
    Long body_part_count = 0, body_part_offset = 0;
    Long attachment_count = 0, attachment_offset = 0;
    Long sound_table = 0, sound_offset = 0, sound_groups = 0, sound_group_offset = 0;
    Long transition_count = 0, transition_offset = 0;
};
inline constexpr std::size_t kHeaderSize = 244;

// Channels of a bone and of an animation record: X, Y, Z, XR, YR, ZR.
struct Bone {
    std::string name;
    Long parent = -1;
    Long flags = 0;
    std::array<Long, 6> controller{};       // -1 for none
    std::array<float, 6> value{};           // rest value
    std::array<float, 6> scale{};
};

struct BoneController {
    Long bone = 0;
    Long type = 0;                          // 0x1/0x2/0x4 translation, 0x8/0x10/0x20 rotation, 0x8000 wrap
    float start = 0, end = 0;
    Long rest = 0;
    Long index = 0;                         // 0..3 ordinary, above 3 the mouth
};

struct HitBox {
    Long bone = 0, group = 0;
    D3DVECTOR bbmin, bbmax;
};
struct HitBoxMesh {
    D3DVECTOR min, max;
    std::array<D3DVECTOR, 36> positions;    // the box as 12 triangles
};

struct BodyPart {
    std::string name;
    Long model_count = 0, base = 0, model_offset = 0;
};

struct ModelRecord {
    std::string name;
    Long type = 0;
    float radius = 0;
    Long mesh_count = 0, mesh_offset = 0;
    Long vertex_count = 0, vertex_bone_offset = 0, vertex_offset = 0;
    Long normal_count = 0, normal_bone_offset = 0, normal_offset = 0;
    Long group_count = 0, group_offset = 0;
};

struct MeshRecord {
    Long triangle_count = 0, command_offset = 0, skin_ref = 0, normal_count = 0, normal_offset = 0;
};

struct TextureRecord {
    std::string name;
    Long flags = 0, width = 0, height = 0, data_offset = 0;
};
// A texture's picture as the file holds it.
struct TexturePixels {
    bool read = false;                      // false: the file did not hold them
    Bytes indices;                          // width x height palette indices, row by row
    std::array<std::uint8_t, 768> palette{};  // R, G, B per entry
};

struct SequenceGroup {
    std::string label, name;
    Long cache = 0, data_offset = 0;
};

struct Sequence {
    std::string label;                      // the full 32 characters, zeros and all
    float fps = 0;
    Long flags = 0, activity = 0, activity_weight = 0, event_count = 0, event_offset = 0;
    Long frame_count = 0;
    Long pivot_count = 0, pivot_offset = 0, motion_type = 0, motion_bone = 0;
    D3DVECTOR linear_movement;
    Long automove_pos_offset = 0, automove_angle_offset = 0;
    D3DVECTOR bbmin, bbmax;
    Long blend_count = 0, anim_offset = 0;
    std::array<Long, 2> blend_type{};
    std::array<float, 2> blend_start{}, blend_end{};
    Long blend_parent = 0, group = 0, entry_node = 0, exit_node = 0, node_flags = 0, next_sequence = 0;
};

// One triangle list of a model, ready to draw.
struct DrawMesh {
    Long Skin = 0;                          // texture number
    std::vector<Integer> Indices;           // three a triangle
    std::vector<std::array<float, 2>> TexCoords;  // tu, tv per entry of Indices
};

// One model of a body part.
struct ModelMesh {
    ModelRecord record;
    std::vector<D3DVECTOR> Positions;       // bone space
    Bytes VertexBones;
    std::vector<MeshRecord> MeshRecords;
    Integer MeshCount = 0;
    std::vector<DrawMesh> DrawMeshes;
};

struct StudioModel {
    std::vector<Bytes> FileBlocks;          // 0 the main file, i the sequence group file i
    StudioHeader header;
    std::vector<Bone> Bones;
    std::vector<BoneController> BoneControllers;
    std::vector<HitBox> HitBoxes;
    std::vector<HitBoxMesh> HitBoxMeshes;
    std::vector<BodyPart> BodyParts;
    std::vector<TextureRecord> Textures;
    std::vector<TexturePixels> TexturePictures;    // parallel to Textures
    std::vector<std::array<float, 2>> TextureSizes;  // width, height from the file
    std::vector<std::vector<ModelMesh>> Models;     // per body part, per model
    std::vector<SequenceGroup> SequenceGroups;
    std::vector<Sequence> Sequences;
    // Each step of the read that failed, in order; the steps after it still ran.
    std::vector<io::ParseError> skipped;
};

// Gives a companion file's bytes by name; empty when it does not exist.
using FileLoader = std::function<Bytes(const std::string&)>;

bool is_studio(std::span<const std::uint8_t> bytes);

// Reads a whole studio file. A step that meets damaged data is skipped and
// the read goes on with the next one (each table is read whole or not at
// all; see README.md). `filename` names the companions: its last 4
// characters give way to "t.mdl" or to the group number in two digits and
// ".mdl". Throws ParseError only when the header itself is not there.
StudioModel read_studio(Bytes main_file, const std::string& filename, const FileLoader& load);

// The companion names.
std::string texture_file_name(const std::string& filename);
std::string group_file_name(const std::string& filename, int group);

// Rounds a texture side up the ladder 4, 8, ..., 256; 2 or below stays.
Long texture_side(Long side);

// Triangle commands of one mesh into `out` (sized for `triangle_count`
// triangles): strips and fans, `s`/`t` divided by the skin's size. Vertex
// numbers must be below `vertex_count`. Runs past the capacity are read and
// dropped. `budget` counts down the points the whole file may still read.
// A skin size that is unknown or 0 leaves that coordinate 0.
void convert_commands(io::ByteReader& in, Long triangle_count, Long vertex_count,
                      const std::array<float, 2>* skin_size, DrawMesh& out, std::size_t& budget);

}  // namespace tarko::mdl
