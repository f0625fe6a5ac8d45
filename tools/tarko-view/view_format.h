// The model formats tarko-view knows. A format joins with one source file
// (format_<name>.cpp defining its ViewFormat) and one line in formats.cpp.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

class tarko_DX7;

namespace tarko::view {

struct Vec {
    float x = 0, y = 0, z = 0;
};

// What `info` reports. Counts are of the model as the engine loads it.
struct Info {
    std::string format;                    // e.g. "X text, 32-bit floats"
    std::size_t vertices = 0;
    std::size_t faces = 0;
    struct Group {
        std::string material;              // "" when the file gives no name
        std::string texture;               // "" when none
        std::size_t faces = 0;
    };
    std::vector<Group> groups;
    Vec min, max;                          // bounds
    std::vector<std::string> frames;       // names, nested ones indented by two blanks a level
    std::vector<std::string> animations;
    std::vector<std::string> details;      // further lines a format gives (material colours)
};

// An animated model, loaded once and drawn at chosen play positions.
class Animated {
public:
    virtual ~Animated() = default;
    // Chooses a sequence or animation by number, or by a part of its name in
    // any case; throws std::exception with a one-line reason when none fits.
    virtual void choose(const std::string& which) = 0;
    virtual float rate() const = 0;    // frames per second of the choice
    virtual float frames() const = 0;  // its frame count
    // Draws the model (standing as `info` describes it) at play position `frame`.
    virtual void draw_at(float frame) = 0;
};

struct ViewFormat {
    const char* name;
    // True when the first bytes of a file are this format's.
    bool (*detect)(std::span<const std::uint8_t> bytes);
    // The file's description; throws std::exception with a one-line reason.
    Info (*info)(const std::string& path);
    // Loads through the engine's own class and draws it with its identity
    // transform into the scene begun by the caller; throws on a failed load.
    void (*load_and_draw)(tarko_DX7& engine, const std::string& path);
    // Formats with animations: the model loaded for drawing at play positions
    // (nullptr for still ones); throws on a failed load.
    std::unique_ptr<Animated> (*animate)(tarko_DX7& engine, const std::string& path) = nullptr;
};

// Every format, in the order detection tries them.
std::span<const ViewFormat> formats();

}  // namespace tarko::view
