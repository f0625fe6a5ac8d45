// The engine's TGA reader: a 24-bit TGA file (types 2 and 10) into the image
// record, and the record drawn into a cDIBSection for the texture pipeline.
// The reader itself is images/tga.h, which documents its rules and decisions.
#pragma once

#include <string>

#include "images/dib_section.h"
#include "images/tga.h"

namespace tarko::engine {

// The record; empty (width 0) for any file that is not 24-bit type 2 or 10.
// A missing file raises 53, a short body 62.
images::tga::TgaImage LoadTGA(const std::string& file_name);

// StretchDIBits of the record into a device context at its own size.
void DrawTGA(const images::tga::TgaImage& image, platform::gdi::HDC hdc);

// The pipeline's TGA road up to the resampling: reads the file, makes `dib`
// the image's size and draws the image into it. False (and `dib` empty) when
// the record is empty or the bitmap cannot be made.
bool LoadTGAIntoDIB(const std::string& file_name, cDIBSection& dib);

}  // namespace tarko::engine
