// Writes the seed corpora of the image fuzz targets:
//   make_image_seeds <fuzz/corpus folder>
// fills <folder>/pcx, <folder>/tga and <folder>/picture with small files.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "images/image_files.h"
#include "platform/image/jpeg_writer.h"

namespace fs = std::filesystem;
using namespace tarko::test;

namespace {

fs::path root;

void save(const char* folder, const char* name, const Bytes& bytes) {
    fs::create_directories(root / folder);
    std::ofstream(root / folder / name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<std::uint32_t> gradient(int w, int h) {
    std::vector<std::uint32_t> rgb;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            rgb.push_back(static_cast<std::uint32_t>((x * 255 / w) << 16 | (y * 255 / h) << 8 | ((x + y) * 7 & 255)));
    return rgb;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_image_seeds <fuzz/corpus folder>\n";
        return 2;
    }
    root = argv[1];
    // PCX: a run crossing a row end, an odd-width 16-row image of runs, 24-bit, no marker.
    save("pcx", "run_cut.pcx", pcx8(5, 2, 6, {1, 2, 0xC0 | 10, 9, 7, 0xC0 | 6, 4}));
    Bytes runs;
    for (int y = 0; y < 16; ++y) append(runs, {0xC0 | 7, static_cast<std::uint8_t>(y * 9), 5, 0xC1, 200});
    save("pcx", "odd_rows.pcx", pcx8(9, 16, 9, runs));
    save("pcx", "rgb24.pcx", pcx24(2, 2, 2, {0xC0, 0xFF, 10, 20, 30, 40, 50, 60, 0xC6, 7}));
    save("pcx", "no_marker.pcx", pcx8(2, 1, 2, {1, 2}, 11));
    // TGA: run-length 3 x 2, raw with an id field, raw odd width, a run across rows.
    save("tga", "rle_3x2.tga", tga(10, 3, 2, {0x82, 1, 2, 3, 0x02, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    save("tga", "raw_id.tga", tga(2, 2, 2, Bytes(12, 0x40), 24, 3));
    Bytes odd(5 * 3 * 3);
    for (std::size_t i = 0; i < odd.size(); ++i) odd[i] = static_cast<std::uint8_t>(i * 5);
    save("tga", "raw_5x3.tga", tga(2, 5, 3, odd));
    save("tga", "rle_cross.tga", tga(10, 3, 2, {0x83, 9, 9, 9, 0x02, 1, 1, 1, 2, 2, 2, 3, 3, 3}));
    // BMP, GIF, JPG.
    save("picture", "gradient.bmp", bmp24(5, 3, gradient(5, 3)));
    Bytes indices(64);
    for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<std::uint8_t>(i % 3);
    save("picture", "three.gif", gif(8, 8, {0xFF0000, 0x00FF00, 0x0000FF}, indices, 2));
    save("picture", "rle8.bmp", rle_bmp(8, 3, 2, {0, 0xFF0000, 0xFF00, 0xFF}, {2, 1, 1, 3, 0, 0, 0, 3, 2, 3, 2, 0, 0, 2, 1, 0, 1, 3, 0, 1}));
    save("picture", "rle4.bmp", rle_bmp(4, 5, 2, {0, 0xFF0000, 0xFF00}, {4, 0x12, 0, 0, 0, 3, 0x21, 0x10, 0, 1}));
    save("picture", "gradient.jpg", tarko::platform::image::encode_jpeg(16, 16, gradient(16, 16), 75));
    save("picture", "small.jpg", tarko::platform::image::encode_jpeg(3, 5, gradient(3, 5), 50));
    using tarko::platform::image::JpegKind;
    const auto squares = gradient(12, 10);
    save("picture", "progressive.jpg", tarko::platform::image::encode_jpeg(12, 10, squares, 70, JpegKind::Progressive));
    save("picture", "grey.jpg", tarko::platform::image::encode_jpeg(12, 10, squares, 70, JpegKind::Grey));
    save("picture", "cmyk.jpg", tarko::platform::image::encode_jpeg(9, 9, squares, 70, JpegKind::Cmyk));
    save("picture", "cmyk_adobe.jpg", tarko::platform::image::encode_jpeg(9, 9, squares, 70, JpegKind::CmykAdobe));
    // GIF: interlaced, a local colour table, two blocks (one past the screen), a delay ending the frame.
    const std::vector<std::uint32_t> palette = {0x102030, 0xFF0000, 0x00FF00, 0x0000FF};
    save("picture", "interlaced.gif", gif_blocks(3, 9, palette, {{0, 0, 3, 9, std::vector<std::uint8_t>(27, 2), {}, true}}));
    save("picture", "blocks.gif", gif_blocks(6, 4, palette, {{0, 0, 3, 2, {1, 2, 3, 0, 1, 2}, {0xFFFFFF, 0x808080}},
                                                           {4, 3, 4, 2, {3, 3, 0, 1, 2, 2, 1, 0}, {}, false, 1},
                                                           {1, 1, 2, 2, {1, 1, 1, 1}, {}, false, -1, 10},
                                                           {0, 0, 1, 1, {2}}}));
    return 0;
}
