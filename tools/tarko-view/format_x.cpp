// X files in tarko-view: the reader's description and cTarko_Xfile's drawing.
#include <stdexcept>

#include "models/x/cTarko_Xfile.h"
#include "models/x/mesh_builder.h"
#include "models/x/texture_scan.h"
#include "models/x/x_file.h"
#include "runtime/files.h"
#include "runtime/services.h"
#include "view_format.h"

namespace tarko::view {

namespace {

bool detect(std::span<const std::uint8_t> bytes) { return x::looks_like_x(bytes); }

void list_frames(const x::Frame& f, int depth, std::vector<std::string>& out) {
    out.push_back(std::string(static_cast<std::size_t>(2 * depth), ' ') + (f.name.empty() ? "(unnamed)" : f.name));
    for (const auto& c : f.children) list_frames(c, depth + 1, out);
}

Info info(const std::string& path) {
    const auto bytes = runtime::read_file(path);
    const x::File file = x::parse(bytes);
    Info i;
    i.format = "X " + std::string(file.encoding == x::Encoding::Text ? "text" : "binary") +
               (file.compressed ? " (compressed)" : "") + ", " + std::to_string(file.float_bits) + "-bit floats";
    const x::Route route = x::has_route(file, x::Route::Mesh) ? x::Route::Mesh : x::Route::Frames;
    const x::MeshBuilder b = x::gather(file, route);
    i.vertices = b.positions.size();
    i.faces = b.face_count();
    for (const x::Group& g : x::create_groups(b)) i.groups.push_back({g.material.name, g.material.texture, g.face_count});
    const x::Box box = x::box_of(b);
    i.min = {box.min.x, box.min.y, box.min.z};
    i.max = {box.max.x, box.max.y, box.max.z};
    for (const auto& f : file.frames) list_frames(f, 0, i.frames);
    i.animations = file.animation_sets;
    return i;
}

void load_and_draw(tarko_DX7& engine, const std::string& path) {
    // Textures only when the scan finds names: the model's load policy ends a
    // load of several untextured groups otherwise.
    const auto names = x::scan_texture_file(path);
    bool failed = false;
    const auto previous = runtime::set_message_box_handler(
        [&](const MessageBoxRequest& m) { failed = failed || m.text == "error loading xfile"; });
    cTarko_Xfile model;
    model.Load(engine, path, names && !names->empty());
    runtime::set_message_box_handler(previous);
    if (failed) throw std::runtime_error("error loading xfile");
    model.Set_Scale(Variant(1.0), Variant(1.0), Variant(1.0));
    model.Render(engine);
}

}  // namespace

extern const ViewFormat kXFormat{"x", detect, info, load_and_draw};

}  // namespace tarko::view
