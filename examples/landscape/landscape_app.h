// The landscape example's host loop, shared by tarko_landscape and the main
// demo (tarko_demo, whose room of cubes is the other scene).
#pragma once

#include <cstdint>
#include <string>

#include <tarko/tarko.h>

#include "examples/host_options.h"

namespace landscape {

// The shared host options and the device dialog's: --dialog[=SCRIPT].
struct Options : examples::HostOptions {
    bool dialog = false;
    std::string dialog_script;
};
// Reads them for `program` ("tarko_demo" also names --scene); --help prints
// the usage and exits with 0, bad arguments exit with 2.
Options parse_options(int argc, char** argv, const char* program);

// Starts the engine on the window: windowed on the desktop's mode, or, with
// `dialog`, on what the device dialog picks (`script` picks unattended; with
// `out` the dialog's picture goes to out/dialog.png).
void start_engine(tarko_DX7& engine, tarko::Long hwnd, bool windowed, bool dialog, const std::string& script,
                  const std::string& out);

// Pseudo-random values for generated pictures: a 32-bit mix, and 0..1 from
// two integers.
std::uint32_t hash(std::uint32_t x);
float noise(int a, int b);

// Opens the host's window (SDL when `windowed`, else off screen), makes the
// `out` folder and says what runs; 0, after saying why, when no window opens.
tarko::Long open_host_window(const char* name, bool windowed, bool until_escape, int width, int height, int frames,
                             const std::string& out);

// Keys and mouse for a walking camera: arrows or W/S walk, A/D step, the
// mouse turns and looks up and down, Escape sets `quit`; space jumps when
// `jumps`. Turning moves are scaled by the frame time by the engine, so their
// arguments are radians per millisecond.
struct WalkControls {
    float units_per_ms = 0.6f;
    bool jumps = false;
    bool quit = false;
    int mouse_frame = 0;
    void run(tarko_DX7& engine);
};

// Removes "--scene NAME" from the arguments and gives NAME ("" when absent).
const char* take_scene(int& argc, char** argv);

// Runs the landscape: [--headless] [--frames N] [--out DIR] [--width W]
// [--height H] [--dialog[=SCRIPT]]; the exit status.
int run(int argc, char** argv, const char* program);

}  // namespace landscape
