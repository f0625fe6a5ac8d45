// tarko-view: inspect a model file, or draw it headless into a PNG.
//
//   tarko-view info FILE [--json]
//   tarko-view render FILE --out PIC.png [--size WxH] [--yaw DEG] [--pitch DEG]
//                     [--sequence N|NAME] [--frame F]
//   tarko-view play FILE --out DIR [--frames N] [--sequence N|NAME] [--frame F] [--size WxH] ...
//
// The format is found from the file's first bytes. `render` opens the engine
// on an off-screen window through the software device, fits the camera to the
// model's bounds (yaw turns about y, pitch looks down from above, degrees)
// and lights it with one white directional light from over the viewer's left
// shoulder and a grey ambient. A bad file or argument gives one line on
// standard error and exit status 1 (2 for usage).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "engine/tarko_dx7.h"
#include "platform/constants.h"
#include "platform/window.h"
#include "runtime/errors.h"
#include "runtime/files.h"
#include "runtime/services.h"
#include "view_format.h"

namespace view = tarko::view;

namespace {

constexpr const char* kUsage =
    "usage: tarko-view info FILE [--json]\n"
    "       tarko-view render FILE --out PIC.png [--size WxH] [--yaw DEG] [--pitch DEG]\n"
    "                         [--sequence N|NAME] [--frame F]\n"
    "       tarko-view play FILE --out DIR [--frames N] [--sequence N|NAME] [--frame F] [--size WxH]\n";

[[noreturn]] void usage(const std::string& why) {
    std::fprintf(stderr, "tarko-view: %s\n%s", why.c_str(), kUsage);
    std::exit(2);
}

const view::ViewFormat& format_of(const std::string& path) {
    const auto bytes = tarko::runtime::read_file(path);
    for (const auto& f : view::formats())
        if (f.detect(std::span(bytes.data(), std::min<std::size_t>(bytes.size(), 64)))) return f;
    throw std::runtime_error("not a model file tarko-view knows");
}

std::string json_string(const std::string& s) {
    std::string out = "\"";
    for (const unsigned char c : s) {
        if (c == '"' || c == '\\') out += '\\', out += static_cast<char>(c);
        else if (c < 32) {
            char b[8];
            std::snprintf(b, sizeof b, "\\u%04x", c);
            out += b;
        } else out += static_cast<char>(c);
    }
    return out + "\"";
}

std::string num(float v) {
    char b[32];
    std::snprintf(b, sizeof b, "%g", static_cast<double>(v));
    return b;
}

void print_info(const view::Info& i, bool json) {
    if (json) {
        std::string s = "{\"format\": " + json_string(i.format) + ", \"vertices\": " + std::to_string(i.vertices) +
                        ", \"faces\": " + std::to_string(i.faces) + ", \"groups\": [";
        for (std::size_t g = 0; g < i.groups.size(); ++g)
            s += std::string(g ? ", " : "") + "{\"material\": " + json_string(i.groups[g].material) +
                 ", \"texture\": " + json_string(i.groups[g].texture) +
                 ", \"faces\": " + std::to_string(i.groups[g].faces) + "}";
        s += "], \"bounds\": {\"min\": [" + num(i.min.x) + ", " + num(i.min.y) + ", " + num(i.min.z) + "], \"max\": [" +
             num(i.max.x) + ", " + num(i.max.y) + ", " + num(i.max.z) + "]}, \"frames\": [";
        for (std::size_t f = 0; f < i.frames.size(); ++f) s += std::string(f ? ", " : "") + json_string(i.frames[f]);
        s += "], \"animations\": [";
        for (std::size_t a = 0; a < i.animations.size(); ++a)
            s += std::string(a ? ", " : "") + json_string(i.animations[a]);
        s += "], \"details\": [";
        for (std::size_t d = 0; d < i.details.size(); ++d) s += std::string(d ? ", " : "") + json_string(i.details[d]);
        std::printf("%s]}\n", s.c_str());
        return;
    }
    std::printf("format:     %s\nvertices:   %zu\nfaces:      %zu\ngroups:     %zu\n", i.format.c_str(), i.vertices,
                i.faces, i.groups.size());
    for (std::size_t g = 0; g < i.groups.size(); ++g)
        std::printf("  %zu: material %s, texture %s, %zu faces\n", g,
                    i.groups[g].material.empty() ? "(unnamed)" : i.groups[g].material.c_str(),
                    i.groups[g].texture.empty() ? "(none)" : i.groups[g].texture.c_str(), i.groups[g].faces);
    std::printf("bounds:     (%s, %s, %s) to (%s, %s, %s)\n", num(i.min.x).c_str(), num(i.min.y).c_str(),
                num(i.min.z).c_str(), num(i.max.x).c_str(), num(i.max.y).c_str(), num(i.max.z).c_str());
    std::printf("frames:     %zu\n", i.frames.size());
    for (const auto& f : i.frames) std::printf("  %s\n", f.c_str());
    std::printf("animations: %zu\n", i.animations.size());
    for (const auto& a : i.animations) std::printf("  %s\n", a.c_str());
    for (const auto& d : i.details) std::printf("%s\n", d.c_str());
}

struct RenderOptions {
    std::string out;
    int width = 640, height = 480;
    double yaw = 30, pitch = 20;
    std::string sequence;       // "" for the format's first
    float frame = 0;
    bool posed = false;         // --sequence or --frame given
    bool play = false;
    int frames = 50;            // pictures written by play
};

int render(const std::string& path, const RenderOptions& o) {
    namespace platform = tarko::platform;
    const view::ViewFormat& format = format_of(path);
    const view::Info info = format.info(path);

    const tarko::Long hwnd = platform::create_headless_window(o.width, o.height);
    tarko_DX7 engine;
    engine.Initialize_Windowed(hwnd);
    if (!engine.D3D_DEV) throw std::runtime_error("no 3D device could be opened");

    // Camera on a sphere round the bounds' centre, far enough for the
    // bounding sphere to fit the field of view (0.786 rad, square).
    const D3DVECTOR c{(info.min.x + info.max.x) / 2, (info.min.y + info.max.y) / 2, (info.min.z + info.max.z) / 2};
    const double dx = info.max.x - info.min.x, dy = info.max.y - info.min.y, dz = info.max.z - info.min.z;
    const double r = std::max(std::sqrt(dx * dx + dy * dy + dz * dz) / 2, 1e-3);
    const double fov = 3.1456978454 / 4;
    const double d = r / std::sin(fov / 2) * 1.05;
    const double yaw = o.yaw * M_PI / 180, pitch = o.pitch * M_PI / 180;
    const D3DVECTOR dir{static_cast<float>(std::sin(yaw) * std::cos(pitch)), static_cast<float>(std::sin(pitch)),
                        static_cast<float>(-std::cos(yaw) * std::cos(pitch))};
    const D3DVECTOR eye{c.x + dir.x * static_cast<float>(d), c.y + dir.y * static_cast<float>(d),
                        c.z + dir.z * static_cast<float>(d)};
    engine.SET_camera_DirectioN(eye, c);
    D3DMATRIX projection;
    engine.DX_7->projectionMatrix(projection, static_cast<float>(std::max(d - 1.5 * r, d * 1e-3)),
                                  static_cast<float>(d + 1.5 * r), static_cast<float>(fov));
    engine.D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_PROJECTION, projection);

    // Light from above the viewer's left: it travels away from the eye, down and right.
    const D3DVECTOR light{-dir.x + 0.4f * std::cos(static_cast<float>(yaw)), -dir.y - 0.6f,
                          -dir.z + 0.4f * std::sin(static_cast<float>(yaw))};
    engine.ADD_light(D3DLIGHT_DIRECTIONAL, D3DVECTOR{0, 0, 0}, D3DCOLORVALUE{0, 0, 0, 0},
                     D3DCOLORVALUE{1, 1, 1, 1}, 0, light);
    engine.device_CLEAR_COLOR = 0x303040;
    std::unique_ptr<view::Animated> animated;
    if (format.animate) {
        animated = format.animate(engine, path);
        if (!o.sequence.empty()) animated->choose(o.sequence);
    } else if (o.posed || o.play) {
        throw std::runtime_error(std::string(format.name) + " models have no animations");
    }
    bool written = true;
    for (int k = 0; k < (o.play ? o.frames : 1) && written; ++k) {
        float frame = o.frame;
        if (o.play) {
            // 25 pictures a second of the model's time, looping over frames 0 to last
            const double last = animated->frames() - 1;
            frame = static_cast<float>(o.frame + k * static_cast<double>(animated->rate()) / 25);
            if (last > 0) frame = static_cast<float>(std::fmod(static_cast<double>(frame), last));
        }
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_AMBIENT, 0x505050);
        if (animated) animated->draw_at(frame);
        else format.load_and_draw(engine, path);
        engine.D3D_DEV->endScene();
        engine.FLIPP(hwnd);
        std::string out = o.out;
        if (o.play) {
            char name[32];
            std::snprintf(name, sizeof name, "frame_%04d.png", k);
            out = (std::filesystem::path(o.out) / name).string();
        }
        written = platform::write_png(platform::windows().get(hwnd)->frame(), out);
    }
    animated.reset();
    engine.FreeDX(hwnd);
    if (!written) throw std::runtime_error("cannot write into " + o.out);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        std::printf("%s", kUsage);
        return args.empty() ? 2 : 0;
    }
    const std::string command = args[0];
    if (args.size() < 2) usage("missing FILE");
    const std::string path = args[1];
    bool json = false;
    RenderOptions o;
    for (std::size_t i = 2; i < args.size(); ++i) {
        auto value = [&]() -> const std::string& {
            if (i + 1 >= args.size()) usage(args[i] + " needs a value");
            return args[++i];
        };
        try {
            if (args[i] == "--json") json = true;
            else if (args[i] == "--out") o.out = value();
            else if (args[i] == "--yaw") o.yaw = std::stod(value());
            else if (args[i] == "--pitch") o.pitch = std::stod(value());
            else if (args[i] == "--sequence") o.sequence = value(), o.posed = true;
            else if (args[i] == "--frame") o.frame = std::stof(value()), o.posed = true;
            else if (args[i] == "--frames") {
                o.frames = std::stoi(value());
                if (o.frames < 1 || o.frames > 100000) usage("--frames out of range");
            }
            else if (args[i] == "--size") {
                const std::string& v = value();
                const auto x = v.find('x');
                if (x == std::string::npos) usage("--size takes WxH");
                o.width = std::stoi(v.substr(0, x));
                o.height = std::stoi(v.substr(x + 1));
                if (o.width < 1 || o.height < 1 || o.width > 8192 || o.height > 8192) usage("--size out of range");
            } else usage("unknown argument " + args[i]);
        } catch (const std::logic_error&) {
            usage("bad number for " + args[i - 1]);
        }
    }

    // Message boxes go to standard error as one line each, never to a window.
    tarko::runtime::set_message_box_handler([](const tarko::MessageBoxRequest&) {});
    try {
        if (command == "info") {
            print_info(format_of(path).info(path), json);
            return 0;
        }
        if (command == "render") {
            if (o.out.empty()) usage("render needs --out PIC.png");
            return render(path, o);
        }
        if (command == "play") {
            if (o.out.empty()) usage("play needs --out DIR");
            std::filesystem::create_directories(o.out);
            o.play = true;
            return render(path, o);
        }
        usage("unknown command " + command);
    } catch (const tarko::RuntimeError& e) {
        std::fprintf(stderr, "tarko-view: %s: %s\n", path.c_str(), e.description().c_str());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "tarko-view: %s: %s\n", path.c_str(), e.what());
    }
    return 1;
}
