// CreateTextureEX's road from file to surface: the decoded picture, resampled
// only when the size differs, converted once into the texture's format.
#include <filesystem>
#include <fstream>

#include "support/engine_test_support.h"
#include "images/image_files.h"
#include "images/resample.h"
#include "platform/status.h"
#include "platform/image/jpeg_writer.h"
#include "platform/image/picture_loader.h"

using namespace tarko;
using tarko::test::EngineFixture;

class TextureRoad : public EngineFixture {
protected:
    std::string file(const std::string& name, const test::Bytes& bytes) {
        const auto path = test::scratch_dir("TextureRoad") / name;
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return path.string();
    }
    // What the texture must hold: each pixel in its format, alpha bits clear.
    static std::vector<std::uint32_t> expected(const Image& image, const platform::PixelFormat& format) {
        std::vector<std::uint32_t> out;
        for (const std::uint32_t px : image.pixels) out.push_back(format.from_rgb_no_alpha(px | 0xFF000000u));
        return out;
    }
    static std::vector<std::uint32_t> raw(const DirectDrawSurface7& s) {
        std::vector<std::uint32_t> out;
        for (int y = 0; y < s.height(); ++y)
            for (int x = 0; x < s.width(); ++x) out.push_back(s.raw_at(x, y));
        return out;
    }
};

TEST_F(TextureRoad, PicturesAreResampledOnlyWhenTheSizeDiffers) {
    open();
    std::vector<std::uint32_t> rgb;
    for (int i = 0; i < 12; ++i) rgb.push_back(static_cast<std::uint32_t>(i * 0x151A1F) & 0xFFFFFF);
    const auto bmp = test::bmp24(4, 3, rgb);
    const auto jpg = platform::image::encode_jpeg(4, 3, rgb, 95);
    const struct {
        const char* name;
        test::Bytes bytes;
        Long w, h;
    } cases[] = {{"same.bmp", bmp, 4, 3}, {"up.bmp", bmp, 7, 5}, {"down.bmp", bmp, 2, 2}, {"up.jpg", jpg, 8, 4}};
    for (const auto& c : cases) {
        const Image decoded = platform::image::decode_picture(c.bytes);
        const Image sized =
            decoded.width == c.w && decoded.height == c.h ? decoded : images::resample_bilinear(decoded, c.w, c.h);
        const auto t = engine.CreateTextureEX(file(c.name, c.bytes), c.w, c.h);
        ASSERT_TRUE(t) << c.name;
        EXPECT_EQ(raw(*t), expected(sized, t->format())) << c.name;
    }
    // a size no surface takes fails where the surface is made
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("zero.bmp", bmp), 0, 3); }), platform::DDERR_INVALIDPARAMS);
}
