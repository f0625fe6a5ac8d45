// A frame written as a 24-bit BMP (rows bottom-up), beside write_png of
// window.h: for hosts and tests that make pictures for the picture loader.
#pragma once

#include <string>

#include "platform/frame.h"

namespace tarko::platform {

// Returns false when the frame is empty or the file cannot be written.
bool write_bmp(const Frame& frame, const std::string& path);

}  // namespace tarko::platform
