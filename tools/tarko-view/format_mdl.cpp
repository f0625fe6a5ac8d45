// Studio models in tarko-view: sequences with their frame counts and rates,
// bones, body parts, skins and controllers; drawn standing (the file's z up
// turned to y up) at a chosen sequence and frame.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <limits>
#include <optional>
#include <stdexcept>

#include "models/mdl/cTarko_MDLfile.h"
#include "models/mdl/studio_file.h"
#include "models/mdl/studio_pose.h"
#include "runtime/files.h"
#include "view_format.h"

namespace tarko::view {

namespace {

bool detect(std::span<const std::uint8_t> bytes) { return mdl::is_studio(bytes); }

std::string printf_string(const char* format, auto... args) {
    char b[256];
    std::snprintf(b, sizeof b, format, args...);
    return b;
}

std::string label(const std::string& s) { return s.substr(0, s.find('\0')); }

mdl::Bytes read_or_empty(const std::string& name) {
    try {
        return runtime::read_file_or_empty(name);
    } catch (const std::exception&) {
        return {};
    }
}

// The sequence a text names: a number in the table, or the first whose label holds it.
std::size_t find_sequence(const mdl::StudioModel& m, const std::string& which) {
    if (!which.empty() && std::all_of(which.begin(), which.end(), [](unsigned char c) { return std::isdigit(c); })) {
        const std::size_t n = std::stoul(which);
        if (n < m.Sequences.size()) return n;
        throw std::runtime_error("no sequence " + which + " (the model has " + std::to_string(m.Sequences.size()) + ")");
    }
    const auto upper = [](std::string s) {
        for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return s;
    };
    for (std::size_t i = 0; i < m.Sequences.size(); ++i)
        if (upper(label(m.Sequences[i].label)).find(upper(which)) != std::string::npos) return i;
    throw std::runtime_error("no sequence named like \"" + which + "\"");
}

Info info(const std::string& path) {
    const mdl::StudioModel m = mdl::read_studio(runtime::read_file(path), path, read_or_empty);
    Info i;
    i.format = "studio model (IDST), version " + std::to_string(m.header.version);
    mdl::StudioPlay play;
    mdl::start_play(m, play);
    play.AnimSequence = 0;
    play.AnimFrame = 0;
    mdl::pose(m, play);
    constexpr float inf = std::numeric_limits<float>::infinity();
    i.min = {inf, inf, inf}, i.max = {-inf, -inf, -inf};
    for (std::size_t b = 0; b < m.Models.size(); ++b) {
        if (m.Models[b].empty()) continue;
        const mdl::ModelMesh& model = m.Models[b][0];
        i.vertices += model.Positions.size();
        std::vector<D3DVECTOR> skinned(model.Positions.size());
        mdl::skin(model.Positions, model.VertexBones, play.ActorBones, skinned);
        for (const D3DVECTOR& p : skinned) {  // as drawn: (x, z, -y)
            i.min = {std::min(i.min.x, p.x), std::min(i.min.y, p.z), std::min(i.min.z, -p.y)};
            i.max = {std::max(i.max.x, p.x), std::max(i.max.y, p.z), std::max(i.max.z, -p.y)};
        }
        for (std::size_t k = 0; k < model.DrawMeshes.size(); ++k) {
            const mdl::DrawMesh& dm = model.DrawMeshes[k];
            const std::size_t faces = dm.Indices.size() / 3;
            i.faces += faces;
            const bool known = dm.Skin >= 0 && static_cast<std::size_t>(dm.Skin) < m.Textures.size();
            i.groups.push_back({m.BodyParts[b].name + " mesh " + std::to_string(k),
                                known ? m.Textures[static_cast<std::size_t>(dm.Skin)].name : "", faces});
        }
    }
    if (i.vertices == 0) i.min = i.max = {};
    for (std::size_t s = 0; s < m.Sequences.size(); ++s)
        i.animations.push_back(printf_string("%zu \"%s\": %d frames at %g fps", s, label(m.Sequences[s].label).c_str(),
                                             m.Sequences[s].frame_count, static_cast<double>(m.Sequences[s].fps)));
    for (std::size_t b = 0; b < m.Bones.size(); ++b) {
        int depth = 0;
        for (Long p = m.Bones[b].parent; p >= 0 && static_cast<std::size_t>(p) < m.Bones.size() && depth < 64;
             p = m.Bones[static_cast<std::size_t>(p)].parent)
            ++depth;
        i.frames.push_back(std::string(static_cast<std::size_t>(2 * depth), ' ') + "bone " + std::to_string(b) + " \"" +
                           m.Bones[b].name + "\"");
    }
    for (std::size_t b = 0; b < m.BodyParts.size(); ++b)
        i.details.push_back(printf_string("body part %zu \"%s\": %d models", b, m.BodyParts[b].name.c_str(),
                                          m.BodyParts[b].model_count));
    for (std::size_t t = 0; t < m.Textures.size(); ++t)
        i.details.push_back(printf_string("skin %zu \"%s\": %d x %d", t, m.Textures[t].name.c_str(), m.Textures[t].width,
                                          m.Textures[t].height));
    for (std::size_t c = 0; c < m.BoneControllers.size(); ++c) {
        const mdl::BoneController& bc = m.BoneControllers[c];
        i.details.push_back(printf_string("controller %zu: bone %d, type 0x%x, %g to %g, index %d%s", c, bc.bone, bc.type,
                                          static_cast<double>(bc.start), static_cast<double>(bc.end), bc.index,
                                          bc.index > 3 ? " (mouth)" : ""));
    }
    for (const io::ParseError& e : m.skipped)
        i.details.push_back("read skipped at byte " + std::to_string(e.offset()) + ": " + e.reason());
    return i;
}

class StudioActor final : public Animated {
public:
    StudioActor(tarko_DX7& engine, const std::string& path) {
        actor_.Load_MDL(path, engine);
        if (actor_.model_kind() != 1) throw std::runtime_error("not a studio model");
        actor_.SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
        actor_.SetRotation(Variant(90.0), Variant(0.0), Variant(0.0));  // z up to y up
        if (!actor_.studio().Sequences.empty()) choose("0");
    }
    void choose(const std::string& which) override {
        chosen_ = find_sequence(actor_.studio(), which);
        actor_.SetAnimation(static_cast<Integer>(*chosen_));
    }
    float rate() const override { return chosen_ ? actor_.studio().Sequences[*chosen_].fps : 0.0f; }
    float frames() const override {
        return chosen_ ? static_cast<float>(actor_.studio().Sequences[*chosen_].frame_count) : 1.0f;
    }
    void draw_at(float frame) override {
        actor_.set_frame(frame);
        actor_.Render();
    }

private:
    cTarko_MDLfile actor_;
    std::optional<std::size_t> chosen_;
};

void load_and_draw(tarko_DX7& engine, const std::string& path) { StudioActor(engine, path).draw_at(0); }

std::unique_ptr<Animated> animate(tarko_DX7& engine, const std::string& path) {
    return std::make_unique<StudioActor>(engine, path);
}

}  // namespace

extern const ViewFormat kMdlFormat{"mdl", detect, info, load_and_draw, animate};

}  // namespace tarko::view
