// The picture loader (BMP, GIF, JPG) and DirectDraw7::createSurfaceFromFile.
#include <gtest/gtest.h>

#include <fstream>

#include "images/image_files.h"
#include "platform/constants.h"
#include "platform/ddraw.h"
#include "platform/gdi/gdi.h"
#include "platform/image/jpeg_writer.h"
#include "platform/image/picture_loader.h"
#include "runtime/errors.h"
#include "support/test_support.h"

namespace gdi = tarko::platform::gdi;
namespace image = tarko::platform::image;
using namespace tarko::test;
using Pixels = std::vector<std::uint32_t>;

namespace {

std::string write(const std::string& name, const Bytes& bytes) {
    const auto path = scratch_dir("PictureLoader") / name;
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
    return path.string();
}

// Decoded pixels without their (opaque) alpha.
Pixels decode(const Bytes& bytes) {
    Pixels out = image::decode_picture(bytes).pixels;
    for (std::uint32_t& px : out) {
        EXPECT_EQ(px >> 24, 0xFFu);
        px &= 0xFFFFFF;
    }
    return out;
}

// Where the JPEG marker FF `marker` starts; 0 when there is none.
std::size_t find_marker(const Bytes& jpg, std::uint8_t marker) {
    for (std::size_t i = 0; i + 1 < jpg.size(); ++i)
        if (jpg[i] == 0xFF && jpg[i + 1] == marker) return i;
    return 0;
}

// 3 x 2: top row red, green, blue; bottom row white, black, grey
const Pixels kSix = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF, 0x000000, 0x808080};
constexpr std::uint32_t K = 0x000000, R = 0xFF0000, G = 0x00FF00, B = 0x0000FF;
const Pixels kKRGB = {K, R, G, B};

}  // namespace

TEST(PictureDecode, RunLengthBmps) {
    // RLE8 bottom row: 2 x red, 1 x blue, end of line; top row: absolute 3 (green,
    // blue, green) with its pad byte, end of bitmap
    EXPECT_EQ(decode(rle_bmp(8, 3, 2, kKRGB, {2, 1, 1, 3, 0, 0, 0, 3, 2, 3, 2, 0, 0, 1})), (Pixels{G, B, G, R, R, B}));
    // RLE4: a run of 4 of 0x12 gives indices 1, 2, 1, 2
    EXPECT_EQ(decode(rle_bmp(4, 4, 1, kKRGB, {4, 0x12, 0, 1})), (Pixels{R, G, R, G}));
    // delta (2, 1) then one blue: the top row's last pixel; the rest stays black
    EXPECT_EQ(decode(rle_bmp(8, 3, 2, kKRGB, {0, 2, 2, 1, 1, 3, 0, 1})), (Pixels{K, K, B, K, K, K}));
    // a huge delta or run only drops pixels; the picture ends at its end-of-bitmap
    EXPECT_EQ(decode(rle_bmp(8, 2, 1, kKRGB, {0, 2, 255, 255, 255, 1, 0, 1})), (Pixels{K, K}));
}

TEST(PictureDecode, BmpGifAndJpegPixels) {
    EXPECT_EQ(decode(bmp24(3, 2, kSix)), kSix);
    // GIF: the first frame through its palette; transparent pixels come out black
    EXPECT_EQ(decode(gif(2, 1, {0xFFFFFF, 0x00FF00}, {1, 0}, 1)), (Pixels{0x000000, 0xFFFFFF}));
    // JPEG at quality 95: its size and nearly its colour
    const auto jpg = image::decode_picture(image::encode_jpeg(16, 8, Pixels(16 * 8, 0xC82814), 95));
    ASSERT_EQ(jpg.height, 8);
    for (const std::uint32_t px : jpg.pixels) {
        EXPECT_NEAR(static_cast<int>(px >> 16 & 0xFF), 0xC8, 4);
        EXPECT_NEAR(static_cast<int>(px >> 8 & 0xFF), 0x28, 4);
        EXPECT_NEAR(static_cast<int>(px & 0xFF), 0x14, 4);
    }
}

TEST(PictureDecode, DamagedFilesOfEveryKindAreInvalidPictures) {
    const Bytes bmp = bmp24(3, 2, kSix);
    auto bmp_with = [&](std::size_t at, std::uint32_t v, int bpp = 24) {
        Bytes b = bmp;
        put32(b, at, v);
        b[28] = static_cast<std::uint8_t>(bpp);
        return b;
    };
    const Bytes gif400 = gif(20, 20, {0xFF}, std::vector<std::uint8_t>(400, 0));
    auto gif_sized = [](int side) {  // screen and image descriptor (after 13 + 768 bytes) both
        Bytes b = gif(2, 2, {0xFF}, {0, 0, 0, 0});
        for (std::size_t at : {6u, 8u, 13u + 768u + 5u, 13u + 768u + 7u}) put16(b, at, side);
        return b;
    };
    const Bytes jpg = image::encode_jpeg(16, 16, Pixels(256, 0x336699));
    const std::size_t sof = find_marker(jpg, 0xC0), dht = find_marker(jpg, 0xC4);
    ASSERT_TRUE(sof && dht);
    auto jpg_with = [&](std::size_t at, std::initializer_list<std::uint8_t> bytes) {
        Bytes b = jpg;
        std::copy(bytes.begin(), bytes.end(), b.begin() + static_cast<std::ptrdiff_t>(at));
        return b;
    };
    auto garbage_after = [](Bytes magic) {
        for (int i = 0; i < 200; ++i) magic.push_back(static_cast<std::uint8_t>(i * 37 + 11));
        return magic;
    };
    const struct {
        const char* what;
        Bytes file;
    } cases[] = {
        {"empty", {}},
        {"garbage", Bytes(100, 0x55)},
        {"BMP last pixel byte missing", Bytes(bmp.begin(), bmp.end() - 1)},
        {"BMP magic, then garbage", garbage_after({'B', 'M'})},
        {"BMP width 0", bmp_with(18, 0)},
        {"BMP width 100000, past the 16384 side limit", bmp_with(18, 100000)},
        {"BMP RLE8 whose colour table is not there", bmp_with(30, 1, 8)},
        {"BMP BI_JPEG", bmp_with(30, 4)},
        {"RLE8 stops in row 0", rle_bmp(8, 3, 2, kKRGB, {2, 1})},
        {"RLE8 absolute run past the end", rle_bmp(8, 3, 2, kKRGB, {0, 200, 1, 2, 3})},
        {"RLE8 delta cut", rle_bmp(8, 3, 2, kKRGB, {0, 2, 1})},
        {"RLE4 top-down", rle_bmp(4, 3, -2, kKRGB, {0, 1})},
        {"RLE8 20000 x 20000, past the limits", rle_bmp(8, 20000, 20000, kKRGB, {0, 1})},
        {"GIF cut inside the image data", Bytes(gif400.begin(), gif400.begin() + 800)},
        {"GIF magic, then garbage", garbage_after({'G', 'I', 'F', '8', '9', 'a'})},
        {"GIF 0 x 0", gif_sized(0)},
        {"GIF 10000 x 10000: 1e8 pixels, past 2^26", gif_sized(10000)},
        {"JPEG start marker, then garbage", garbage_after({0xFF, 0xD8})},
        {"JPEG scan cut", Bytes(jpg.begin(), jpg.end() - 40)},
        // SOF: length (2), precision (1), then height and width big-endian
        {"JPEG 12288 x 12288", jpg_with(sof + 5, {0x30, 0x00, 0x30, 0x00})},
        {"JPEG height 0", jpg_with(sof + 5, {0, 0})},
        // DHT: length (2), class/id, 16 counts: 255 + 255 codes of lengths 15 and 16
        {"JPEG Huffman table of 510 symbols", jpg_with(dht + 19, {255, 255})},
    };
    for (const auto& c : cases)
        EXPECT_EQ(error_of([&] { image::decode_picture(c.file); }), tarko::err::InvalidPicture) << c.what;
}

TEST(LoadPicture, PixelSizedPictureMissingFilesAndFuzzFindings) {
    const auto picture = tarko::platform::LoadPicture(write("six.bmp", bmp24(3, 2, kSix)));
    EXPECT_EQ(gdi::himetric_to_pixels(picture->Width()), 3);
    EXPECT_EQ(gdi::himetric_to_pixels(picture->Height()), 2);
    const gdi::HDC dc = gdi::CreateCompatibleDC(0);
    const auto previous = gdi::SelectObject(dc, picture->Handle());
    EXPECT_EQ(gdi::GetPixel(dc, 0, 0), 0x0000FF);  // red as a COLORREF
    gdi::SelectObject(dc, previous);
    gdi::DeleteDC(dc);
    EXPECT_EQ(tarko::platform::LoadPicture("")->Handle(), 0);
    EXPECT_EQ(error_of([] { tarko::platform::LoadPicture("/nonexistent/none.bmp"); }), tarko::err::FileNotFound);
    // tests/data/bad: inputs the picture fuzzer found
    for (const char* name : {"jpeg_dht_over_256_symbols.jpg", "jpeg_dht_past_end.jpg"}) {
        const auto path = (data_dir() / "bad" / name).string();
        EXPECT_EQ(error_of([&] { tarko::platform::LoadPicture(path); }), tarko::err::InvalidPicture) << name;
    }
}

TEST(CreateSurfaceFromFile, TakesThePictureSizeOrStretchesToTheGivenOne) {
    const auto file = write("six.bmp", bmp24(3, 2, kSix));
    DirectDraw7 dd("");
    DDSURFACEDESC2 desc;
    desc.lFlags = 0x101007;  // width and height flagged but 0: the picture's size
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.ddpfPixelFormat = tarko::platform::PixelFormat::r5g6b5().dd();
    auto s = dd.createSurfaceFromFile(file, desc);
    EXPECT_EQ(desc.lWidth, 3);
    EXPECT_EQ(desc.lHeight, 2);
    desc.lWidth = 6;
    desc.lHeight = 4;
    s = dd.createSurfaceFromFile(file, desc);
    ASSERT_EQ(s->width(), 6);
    // column 5 samples source column (2 x 5 + 1) x 3 / 12 = 2 (blue); row 3 samples row 1
    EXPECT_EQ(s->argb_at(5, 0) & 0xFFFFFFu, 0x0000FFu);
    EXPECT_EQ(s->argb_at(0, 3) & 0xFFFFFFu, 0xFFFFFFu);
    EXPECT_THROW(dd.createSurfaceFromFile(write("bad.bmp", Bytes(60, 1)), desc), tarko::RuntimeError);
}
