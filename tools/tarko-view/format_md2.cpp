// Frame models (MD2) in tarko-view: animations with their frame ranges,
// skins and frames; drawn by cTarko_MDLfile at a chosen animation and frame,
// 10 frames a second when played, with the first skin when its picture is there.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <limits>
#include <optional>
#include <stdexcept>

#include "models/md2/md2.h"
#include "models/mdl/cTarko_MDLfile.h"
#include "runtime/files.h"
#include "view_format.h"

namespace tarko::view {

namespace {

bool detect(std::span<const std::uint8_t> bytes) { return md2::is_md2(bytes); }

Info info(const std::string& path) {
    md2::Md2Data m;
    const md2::ReadResult read = md2::read_md2(runtime::read_file(path), m);
    if (!read.loaded) throw std::runtime_error(read.stopped ? read.stopped->what() : "not a frame model");
    Info i;
    i.format = "frame model (IDP2), version " + std::to_string(m.Header.Version);
    i.vertices = static_cast<std::size_t>(std::max(m.Header.VertexCount, 0));
    i.faces = m.VertexIndices.size() / 3;
    i.groups.push_back({"", m.SkinNames.empty() ? "" : m.SkinNames[0], i.faces});
    constexpr float inf = std::numeric_limits<float>::infinity();
    i.min = {inf, inf, inf}, i.max = {-inf, -inf, -inf};
    if (!m.Frames.empty())
        for (const D3DVECTOR& p : m.Frames[0].Points) {
            i.min = {std::min(i.min.x, p.x), std::min(i.min.y, p.y), std::min(i.min.z, p.z)};
            i.max = {std::max(i.max.x, p.x), std::max(i.max.y, p.y), std::max(i.max.z, p.z)};
        }
    if (m.Frames.empty() || m.Frames[0].Points.empty()) i.min = i.max = {};
    for (const md2::Md2Frame& f : m.Frames) i.frames.push_back(f.Name);
    for (std::size_t a = 0; a < m.Animations.size(); ++a) {
        const md2::Md2Animation& an = m.Animations[a];
        char line[160];
        std::snprintf(line, sizeof line, "%zu \"%s\": %d frames (%d to %d) at 10 fps when played", a, an.Name.c_str(),
                      an.LastFrame - an.FirstFrame + 1, an.FirstFrame, an.LastFrame);
        i.animations.push_back(line);
    }
    for (std::size_t s = 0; s < m.SkinNames.size(); ++s)
        i.details.push_back("skin " + std::to_string(s) + " \"" + m.SkinNames[s] + "\" (" +
                            std::to_string(m.Header.SkinWidth) + " x " + std::to_string(m.Header.SkinHeight) + ")");
    if (read.stopped)
        i.details.push_back("read stopped at byte " + std::to_string(read.stopped->offset()) + ": " + read.stopped->reason());
    return i;
}

class FrameActor final : public Animated {
public:
    FrameActor(tarko_DX7& engine, const std::string& path) {
        actor_.Load_MDL(path, engine);
        if (actor_.model_kind() != 2) throw std::runtime_error("not a readable frame model");
        actor_.SetScale(Variant(1.0), Variant(1.0), Variant(1.0));
        actor_.SetSpeed(0);
        // The file's own skins are never loaded; tarko-view puts the first one on
        // as the main texture when a picture of that name lies beside the model.
        const auto& skins = actor_.frame_model().SkinNames;
        if (!skins.empty()) {
            const std::string skin = runtime::join_path(runtime::directory_of(path), skins[0]);
            if (runtime::file_exists(skin)) actor_.Load_MD2mainTexture(skin);
        }
    }
    void choose(const std::string& which) override {
        const auto& anims = actor_.frame_model().Animations;
        if (!which.empty() && std::all_of(which.begin(), which.end(), [](unsigned char c) { return std::isdigit(c); })) {
            const std::size_t n = std::stoul(which);
            if (n >= anims.size())
                throw std::runtime_error("no animation " + which + " (the model has " + std::to_string(anims.size()) + ")");
            actor_.SetAnimation(static_cast<Integer>(n));
            return;
        }
        const auto found = md2::find_animation(actor_.frame_model(), which);
        if (!found) throw std::runtime_error("no animation named like \"" + which + "\"");
        actor_.SetAnimation(static_cast<Integer>(*found));
    }
    float rate() const override { return 10; }
    float frames() const override {
        return actor_.frame_model().LastPlayFrame - actor_.frame_model().FirstPlayFrame + 1;
    }
    void draw_at(float frame) override {
        actor_.set_frame(frame);
        actor_.Render();
    }

private:
    cTarko_MDLfile actor_;
};

void load_and_draw(tarko_DX7& engine, const std::string& path) { FrameActor(engine, path).draw_at(0); }

std::unique_ptr<Animated> animate(tarko_DX7& engine, const std::string& path) {
    return std::make_unique<FrameActor>(engine, path);
}

}  // namespace

extern const ViewFormat kMd2Format{"md2", detect, info, load_and_draw, animate};

}  // namespace tarko::view
