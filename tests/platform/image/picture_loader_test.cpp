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
using tarko::test::Bytes;

namespace {

std::string write(const std::string& test, const std::string& name, const Bytes& bytes) {
    const auto path = tarko::test::scratch_dir(test) / name;
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
    return path.string();
}

int error_of(const Bytes& bytes) {
    try {
        image::decode_picture(bytes);
    } catch (const tarko::RuntimeError& e) {
        return e.number();
    }
    return 0;
}

// 3 x 2: top row red, green, blue; bottom row white, black, grey
const std::vector<std::uint32_t> kSix = {0xFF0000, 0x00FF00, 0x0000FF, 0xFFFFFF, 0x000000, 0x808080};

const std::vector<std::uint32_t> kKRGB = {0x000000, 0xFF0000, 0x00FF00, 0x0000FF};
constexpr std::uint32_t K = 0x000000, R = 0xFF0000, G = 0x00FF00, B = 0x0000FF;

}  // namespace

TEST(PictureDecode, Rle8RunsAbsoluteRunsAndLineEnds) {
    // bottom row: 2 x red, 1 x blue, end of line; top row: absolute 3 (green, blue,
    // green) with its pad byte, end of bitmap
    const Bytes codes = {2, 1, 1, 3, 0, 0, 0, 3, 2, 3, 2, 0, 0, 1};
    const auto p = image::decode_picture(tarko::test::rle_bmp(8, 3, 2, kKRGB, codes));
    EXPECT_EQ(p.rgb, (std::vector<std::uint32_t>{G, B, G, R, R, B}));
}

TEST(PictureDecode, Rle4RunsAlternateNibblesAndDeltasLeaveBlack) {
    // a run of 4 of 0x12 gives indices 1, 2, 1, 2
    EXPECT_EQ(image::decode_picture(tarko::test::rle_bmp(4, 4, 1, kKRGB, {4, 0x12, 0, 1})).rgb,
              (std::vector<std::uint32_t>{R, G, R, G}));
    // delta (2, 1) then one blue: the top row's last pixel; the rest stays black
    EXPECT_EQ(image::decode_picture(tarko::test::rle_bmp(8, 3, 2, kKRGB, {0, 2, 2, 1, 1, 3, 0, 1})).rgb,
              (std::vector<std::uint32_t>{K, K, B, K, K, K}));
    // absolute 3 in RLE4: bytes 0x31, 0x20 -> 3, 1, 2; two bytes, no pad
    EXPECT_EQ(image::decode_picture(tarko::test::rle_bmp(4, 3, 1, kKRGB, {0, 3, 0x31, 0x20, 0, 1})).rgb,
              (std::vector<std::uint32_t>{B, R, G}));
}

TEST(PictureDecode, DamagedRunLengthBmpsAreInvalid) {
    constexpr int kInvalid = tarko::err::InvalidPicture;
    EXPECT_EQ(error_of(tarko::test::rle_bmp(8, 3, 2, kKRGB, {2, 1})), kInvalid);              // stops in row 0
    EXPECT_EQ(error_of(tarko::test::rle_bmp(8, 3, 2, kKRGB, {0, 200, 1, 2, 3})), kInvalid);   // absolute run past the end
    EXPECT_EQ(error_of(tarko::test::rle_bmp(8, 3, 2, kKRGB, {0, 2, 1})), kInvalid);           // delta cut
    EXPECT_EQ(error_of(tarko::test::rle_bmp(4, 3, -2, kKRGB, {0, 1})), kInvalid);             // top-down is not allowed
    EXPECT_EQ(error_of(tarko::test::rle_bmp(8, 20000, 20000, kKRGB, {0, 1})), kInvalid);      // past the limits
    // a huge delta or run only drops pixels; the picture ends at its end-of-bitmap
    EXPECT_EQ(image::decode_picture(tarko::test::rle_bmp(8, 2, 1, kKRGB, {0, 2, 255, 255, 255, 1, 0, 1})).rgb,
              (std::vector<std::uint32_t>{K, K}));
}

TEST(PictureDecode, Bmp24KeepsEveryPixelAndTheRowOrder) {
    const auto p = image::decode_picture(tarko::test::bmp24(3, 2, kSix));
    ASSERT_EQ(p.width, 3);
    ASSERT_EQ(p.height, 2);
    EXPECT_EQ(p.rgb, kSix);
}

TEST(PictureDecode, GifGivesTheFirstFrameThroughItsPalette) {
    const std::vector<std::uint32_t> palette = {0x102030, 0x405060, 0x708090};
    const auto p = image::decode_picture(tarko::test::gif(3, 1, palette, {2, 0, 1}));
    ASSERT_EQ(p.width, 3);
    EXPECT_EQ(p.rgb, (std::vector<std::uint32_t>{0x708090, 0x102030, 0x405060}));
}

TEST(PictureDecode, GifTransparentPixelsComeOutBlack) {
    const auto p = image::decode_picture(tarko::test::gif(2, 1, {0xFFFFFF, 0x00FF00}, {1, 0}, 1));
    EXPECT_EQ(p.rgb, (std::vector<std::uint32_t>{0x000000, 0xFFFFFF}));
}

TEST(PictureDecode, JpegGivesItsSizeAndNearlyItsColours) {
    const std::vector<std::uint32_t> flat(16 * 8, 0xC82814);
    const auto p = image::decode_picture(image::encode_jpeg(16, 8, flat, 95));
    ASSERT_EQ(p.width, 16);
    ASSERT_EQ(p.height, 8);
    for (const std::uint32_t px : p.rgb) {
        EXPECT_NEAR(static_cast<int>(px >> 16 & 0xFF), 0xC8, 4);
        EXPECT_NEAR(static_cast<int>(px >> 8 & 0xFF), 0x28, 4);
        EXPECT_NEAR(static_cast<int>(px & 0xFF), 0x14, 4);
    }
}

TEST(PictureDecode, DamagedFilesOfEveryKindAreInvalidPictures) {
    constexpr int kInvalid = tarko::err::InvalidPicture;
    const Bytes bmp = tarko::test::bmp24(3, 2, kSix);
    const Bytes gif = tarko::test::gif(20, 20, {0xFF}, std::vector<std::uint8_t>(400, 0));
    const Bytes jpg = image::encode_jpeg(16, 16, std::vector<std::uint32_t>(256, 0x336699));
    ASSERT_FALSE(jpg.empty());
    EXPECT_EQ(error_of({}), kInvalid);
    EXPECT_EQ(error_of(Bytes(100, 0x55)), kInvalid);                       // garbage
    EXPECT_EQ(error_of(Bytes(bmp.begin(), bmp.end() - 1)), kInvalid);      // last pixel byte missing
    EXPECT_EQ(error_of(Bytes(bmp.begin(), bmp.begin() + 20)), kInvalid);   // header cut
    EXPECT_EQ(error_of(Bytes(gif.begin(), gif.begin() + 800)), kInvalid);  // inside the image data
    EXPECT_EQ(error_of(Bytes(jpg.begin(), jpg.end() - 40)), kInvalid);     // scan cut
    EXPECT_EQ(error_of(Bytes(jpg.begin(), jpg.begin() + 2)), kInvalid);
}

TEST(PictureDecode, OversizedAndCompressedBmpsAreRefused) {
    Bytes bmp = tarko::test::bmp24(3, 2, kSix);
    Bytes wide = bmp;
    tarko::test::put32(wide, 18, 100000);                 // past the 16384 side limit
    EXPECT_EQ(error_of(wide), tarko::err::InvalidPicture);
    Bytes zero = bmp;
    tarko::test::put32(zero, 18, 0);
    EXPECT_EQ(error_of(zero), tarko::err::InvalidPicture);
    Bytes rle = bmp;
    rle[28] = 8;
    tarko::test::put32(rle, 30, 1);                       // RLE8 whose colour table is not there
    EXPECT_EQ(error_of(rle), tarko::err::InvalidPicture);
    Bytes jpeg_inside = bmp;
    tarko::test::put32(jpeg_inside, 30, 4);               // BI_JPEG
    EXPECT_EQ(error_of(jpeg_inside), tarko::err::InvalidPicture);
}

TEST(PictureDecode, HugeOrEmptyGifAndJpegSizesAreRefusedBeforeDecoding) {
    constexpr int kInvalid = tarko::err::InvalidPicture;
    Bytes gif = tarko::test::gif(2, 2, {0xFF}, {0, 0, 0, 0});
    tarko::test::put16(gif, 6, 10000);      // screen 10000 x 10000: 1e8 pixels, past 2^26
    tarko::test::put16(gif, 8, 10000);
    const std::size_t image_at = 13 + 768;  // the image descriptor's size follows its position
    tarko::test::put16(gif, image_at + 5, 10000);
    tarko::test::put16(gif, image_at + 7, 10000);
    EXPECT_EQ(error_of(gif), kInvalid);

    Bytes jpg = image::encode_jpeg(8, 8, std::vector<std::uint32_t>(64, 0x808080));
    std::size_t sof = 0;
    for (std::size_t i = 0; i + 1 < jpg.size(); ++i)
        if (jpg[i] == 0xFF && jpg[i + 1] == 0xC0) {
            sof = i;
            break;
        }
    ASSERT_NE(sof, 0u);
    Bytes huge = jpg;  // height and width, big-endian, after length and precision
    huge[sof + 5] = 0x30;
    huge[sof + 6] = 0x00;
    huge[sof + 7] = 0x30;
    huge[sof + 8] = 0x00;                   // 12288 x 12288
    EXPECT_EQ(error_of(huge), kInvalid);
    Bytes empty = jpg;
    empty[sof + 5] = 0;
    empty[sof + 6] = 0;                     // height 0
    EXPECT_EQ(error_of(empty), kInvalid);
}

TEST(PictureDecode, JpegHuffmanTablesOfMoreThan256SymbolsAreRefused) {
    Bytes jpg = image::encode_jpeg(8, 8, std::vector<std::uint32_t>(64, 0x204080));
    std::size_t dht = 0;
    for (std::size_t i = 0; i + 1 < jpg.size(); ++i)
        if (jpg[i] == 0xFF && jpg[i + 1] == 0xC4) {
            dht = i;
            break;
        }
    ASSERT_NE(dht, 0u);
    // FF C4, length (2), class/id, 16 counts: 255 + 255 codes of lengths 15 and 16
    jpg[dht + 19] = 255;
    jpg[dht + 20] = 255;
    EXPECT_EQ(error_of(jpg), tarko::err::InvalidPicture);
}

TEST(LoadPicture, FuzzFindingsAreInvalidPictures) {
    // tests/data/bad: inputs the picture fuzzer found
    for (const char* name : {"jpeg_dht_over_256_symbols.jpg", "jpeg_dht_past_end.jpg"}) {
        try {
            tarko::platform::LoadPicture((tarko::test::data_dir() / "bad" / name).string());
            ADD_FAILURE() << name;
        } catch (const tarko::RuntimeError& e) {
            EXPECT_EQ(e.number(), tarko::err::InvalidPicture) << name;
        }
    }
}

TEST(LoadPicture, MakesAPictureOfThePixelSize) {
    const auto file = write("LoadPicture", "six.bmp", tarko::test::bmp24(3, 2, kSix));
    const auto picture = tarko::platform::LoadPicture(file);
    EXPECT_EQ(picture->Type(), gdi::PICTYPE_BITMAP);
    EXPECT_EQ(gdi::himetric_to_pixels(picture->Width()), 3);
    EXPECT_EQ(gdi::himetric_to_pixels(picture->Height()), 2);
    const gdi::HDC dc = gdi::CreateCompatibleDC(0);
    const auto previous = gdi::SelectObject(dc, picture->Handle());
    EXPECT_EQ(gdi::GetPixel(dc, 0, 0), 0x0000FF);   // red as a COLORREF
    EXPECT_EQ(gdi::GetPixel(dc, 2, 1), 0x808080);
    gdi::SelectObject(dc, previous);
    gdi::DeleteDC(dc);
}

TEST(LoadPicture, MissingFileAndEmptyName) {
    try {
        tarko::platform::LoadPicture("/nonexistent/none.bmp");
        FAIL();
    } catch (const tarko::RuntimeError& e) {
        EXPECT_EQ(e.number(), tarko::err::FileNotFound);
    }
    EXPECT_EQ(tarko::platform::LoadPicture("")->Handle(), 0);
}

TEST(CreateSurfaceFromFile, TakesThePictureSizeWhenTheDescriptionGivesNone) {
    const auto file = write("SurfaceFromFile", "six.bmp", tarko::test::bmp24(3, 2, kSix));
    DirectDraw7 dd("");
    DDSURFACEDESC2 desc;
    desc.lFlags = 0x101001;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.ddpfPixelFormat = tarko::platform::PixelFormat::x8r8g8b8().dd();
    desc.lFlags |= dx::DDSD_PIXELFORMAT;
    auto s = dd.createSurfaceFromFile(file, desc);
    EXPECT_EQ(desc.lWidth, 3);
    EXPECT_EQ(desc.lHeight, 2);
    EXPECT_EQ(s->argb_at(0, 0) & 0xFFFFFFu, 0xFF0000u);
    EXPECT_EQ(s->argb_at(2, 1) & 0xFFFFFFu, 0x808080u);

    DDSURFACEDESC2 flagged = desc;
    flagged.lFlags = 0x101007;
    flagged.lWidth = 0;
    flagged.lHeight = 0;
    dd.createSurfaceFromFile(file, flagged);
    EXPECT_EQ(flagged.lWidth, 3);
    EXPECT_EQ(flagged.lHeight, 2);
}

TEST(CreateSurfaceFromFile, StretchesToAGivenSize) {
    const auto file = write("SurfaceFromFileStretch", "six.bmp", tarko::test::bmp24(3, 2, kSix));
    DirectDraw7 dd("");
    DDSURFACEDESC2 desc;
    desc.lFlags = 0x101007;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.ddpfPixelFormat = tarko::platform::PixelFormat::r5g6b5().dd();
    desc.lWidth = 6;
    desc.lHeight = 4;
    auto s = dd.createSurfaceFromFile(file, desc);
    ASSERT_EQ(s->width(), 6);
    // column 5 samples source column (2 x 5 + 1) x 3 / 12 = 2 (blue); row 3 samples row 1
    EXPECT_EQ(s->argb_at(5, 0) & 0xFFFFFFu, 0x0000FFu);
    EXPECT_EQ(s->argb_at(0, 3) & 0xFFFFFFu, 0xFFFFFFu);
    EXPECT_THROW(dd.createSurfaceFromFile(write("SurfaceFromFileBad", "bad.bmp", Bytes(60, 1)), desc),
                 tarko::RuntimeError);
}
