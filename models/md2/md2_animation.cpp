// Frame names into animations, the choice of an animation, and the frame
// step on the engine's frame clock.
#include <cmath>

#include "models/md2/md2.h"
#include "runtime/errors.h"

namespace tarko::md2 {
namespace {

std::string_view base_name(const std::string& name) {
    return std::string_view(name).substr(0, name.size() < 2 ? 0 : name.size() - 2);
}

std::string upper(std::string_view s) {
    std::string u(s);
    for (char& c : u)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return u;
}

}  // namespace

std::vector<Md2Animation> split_animations(std::span<const Md2Frame> frames) {
    std::vector<Md2Animation> out;
    if (frames.empty()) return out;
    std::string_view running = base_name(frames[0].Name);
    std::int32_t first = 0;
    const std::size_t last = frames.size() - 1;
    for (std::size_t i = 1; i < frames.size(); ++i) {
        const std::string_view base = base_name(frames[i].Name);
        if (i == last || base != running) {
            out.push_back({std::string(running), first, static_cast<std::int32_t>(i)});
            running = base;
            first = static_cast<std::int32_t>(i + 1);
        }
    }
    return out;
}

std::optional<std::size_t> find_animation(const Md2Data& md2, std::string_view text) {
    const std::string wanted = upper(text);
    for (std::size_t i = 0; i < md2.Animations.size(); ++i)
        if (upper(md2.Animations[i].Name).find(wanted) != std::string::npos) return i;
    return std::nullopt;
}

void set_animation(Md2Data& md2, std::int32_t AnimationIndex) {
    if (AnimationIndex == -1) {
        md2.FirstPlayFrame = 0;
        md2.FramePosition = 0;
        md2.LastPlayFrame = static_cast<float>(static_cast<double>(md2.Frames.size()) - 1);
        return;
    }
    if (AnimationIndex < 0 || static_cast<std::size_t>(AnimationIndex) >= md2.Animations.size())
        raise_error(err::SubscriptOutOfRange);
    const Md2Animation& a = md2.Animations[static_cast<std::size_t>(AnimationIndex)];
    md2.FirstPlayFrame = static_cast<float>(a.FirstFrame);
    md2.FramePosition = static_cast<float>(a.FirstFrame);
    md2.LastPlayFrame = static_cast<float>(a.LastFrame);
}

// A whole frame number; -1 for one beyond any frame table (or not a number).
std::int64_t frame_number(double whole) {
    return whole >= 0.0 && whole < 2147483648.0 ? static_cast<std::int64_t>(whole) : -1;
}

Blend blend_at(const Md2Data& md2) {
    const double position = md2.FramePosition;
    const double whole = std::floor(position);
    Blend b;
    b.Frame = frame_number(whole);
    b.T = static_cast<float>(position - whole);
    // FirstPlayFrame as an index rounds to the nearest, halves to even
    b.Next = whole <= static_cast<double>(md2.LastPlayFrame) - 2 ? frame_number(whole + 1)
                                                                  : frame_number(std::nearbyint(md2.FirstPlayFrame));
    return b;
}

Blend advance(Md2Data& md2, float AnimSpeed, float ElapseFrame) {
    md2.FramePosition = static_cast<float>(md2.FramePosition + static_cast<double>(AnimSpeed) * ElapseFrame / 1000);
    if (md2.FramePosition > md2.LastPlayFrame) md2.FramePosition = md2.FirstPlayFrame;
    return blend_at(md2);
}

}  // namespace tarko::md2
