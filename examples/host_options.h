// The command line every example host shares: [--headless] [--frames N]
// [--out DIR] [--width W] [--height H], and each host's own arguments beside.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace examples {

struct HostOptions {
    bool headless = false;
    int frames = 120;
    bool frames_given = false;
    int width = 640, height = 480;
    std::string out;
};

// The next argument, for an option that takes a value.
using NextValue = std::function<std::string()>;

// Reads the arguments into `o` (set its defaults first). `own` is offered
// every argument that is not a shared one and says whether it took it; it
// reads a value through its NextValue. An argument nobody takes prints
// `usage` and exits with 2, as does a missing value or a size or frame count
// below zero.
inline void parse_host_options(int argc, char** argv, HostOptions& o, const char* usage,
                               const std::function<bool(const std::string&, const NextValue&)>& own = {}) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        const NextValue value = [&]() -> std::string {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "%s needs a value\n", a.c_str());
                std::exit(2);
            }
            return argv[++i];
        };
        if (a == "--headless") o.headless = true;
        else if (a == "--frames") o.frames = std::atoi(value().c_str()), o.frames_given = true;
        else if (a == "--out") o.out = value();
        else if (a == "--width") o.width = std::atoi(value().c_str());
        else if (a == "--height") o.height = std::atoi(value().c_str());
        else if (!own || !own(a, value)) {
            std::fprintf(stderr, "unknown argument: %s\n%s\n", a.c_str(), usage);
            std::exit(2);
        }
    }
    if (o.width <= 0 || o.height <= 0 || o.frames < 0) {
        std::fprintf(stderr, "sizes and frame count must be positive\n");
        std::exit(2);
    }
}

}  // namespace examples
