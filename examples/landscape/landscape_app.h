// The landscape example's host loop, shared by tarko_landscape and the main
// demo (tarko_demo, whose room of cubes is the other scene).
#pragma once

namespace landscape {

// Removes "--scene NAME" from the arguments and gives NAME ("" when absent).
const char* take_scene(int& argc, char** argv);

// Runs the landscape: [--headless] [--frames N] [--out DIR] [--width W]
// [--height H]; the exit status.
int run(int argc, char** argv, const char* program);

}  // namespace landscape
