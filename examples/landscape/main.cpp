// The landscape example: a valley with a lake, made from a height picture the
// program writes at start, walked by the engine's camera on the ground the
// altitude queries give, with swaying water, billboard trees and a sky.
//
//   tarko_landscape [--headless] [--frames N] [--out DIR] [--width W] [--height H]
//
// Headless, the camera walks round the lake, one step per frame, writing
// every 30th frame as PNG. In a window: arrows or WASD walk and turn, the
// mouse looks around, Escape quits.
#include "landscape_app.h"

int main(int argc, char** argv) { return landscape::run(argc, argv, "tarko_landscape"); }
