// The engine's TGA reader on the images reader.
#include "engine/image_readers/tga_reader.h"

namespace tarko::engine {

images::tga::TgaImage LoadTGA(const std::string& file_name) { return images::tga::read_file(file_name); }

void DrawTGA(const images::tga::TgaImage& image, platform::gdi::HDC hdc) { images::tga::draw(image, hdc); }

bool LoadTGAIntoDIB(const std::string& file_name, cDIBSection& dib) {
    const auto image = LoadTGA(file_name);
    if (!dib.Create(image.width, image.height)) return false;
    DrawTGA(image, dib.hDC());
    return true;
}

}  // namespace tarko::engine
