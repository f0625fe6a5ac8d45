// Texture creators: sizes, the format walk over the device's list, placement,
// colour keys, bump maps, the picture roads of CreateTextureEX, each
// creator's error policy, and a colour-keyed texture drawn on a frame.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "engine/texture_pipeline.h"
#include "images/image_files.h"
#include "images/resample.h"
#include "support/engine_test_support.h"
#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "platform/image/jpeg_writer.h"
#include "platform/image/picture_loader.h"
#include "platform/pixel_format.h"
#include "platform/profile.h"
#include "platform/status.h"

using namespace tarko;
using tarko::test::Bytes;
using tarko::test::EngineFixture;
using tarko::test::error_of;
using tarko::test::bmp24;
using tarko::test::put16;
using tarko::test::u8;
namespace tx = tarko::engine::textures;
using platform::PixelFormat;

namespace {
using Pixels = std::vector<std::uint32_t>;  // 0x00RRGGBB, top row first

constexpr std::uint32_t kRed = 0xFF0000, kGreen = 0x00FF00, kBlue = 0x0000FF, kWhite = 0xFFFFFF, kBlack = 0;

// 24-bit type 2 TGA: the file's first row is the picture's bottom row.
Bytes tga24(int w, int h, const Pixels& rgb) {
    Bytes body;
    for (int y = h - 1; y >= 0; --y)
        for (int x = 0; x < w; ++x) {
            const std::uint32_t p = rgb[static_cast<std::size_t>(y * w + x)];
            test::append(body, {u8(p), u8(p >> 8), u8(p >> 16)});
        }
    return test::tga(2, w, h, body);
}

// 8-bit PCX (w even, one plane), rows top first; palette entry i is palette[i].
Bytes paletted_pcx(int w, int h, const Bytes& indices, const Pixels& palette) {
    Bytes b = test::pcx_header(8, 1, w, h, w);
    for (std::uint8_t i : indices) {
        if (i >= 192) b.push_back(0xC1);  // a run of one
        b.push_back(i);
    }
    b.push_back(12);
    test::append_palette(b, palette);
    return b;
}

std::vector<DDPIXELFORMAT> formats(std::initializer_list<PixelFormat> list) {
    std::vector<DDPIXELFORMAT> out;
    for (const auto& f : list) out.push_back(f.dd());
    return out;
}
DDPIXELFORMAT dxt1() {
    DDPIXELFORMAT pf;
    pf.lFlags = dx::DDPF_FOURCC;
    pf.lFourCC = 0x31545844;
    return pf;
}
// The default machine with another texture format list on every device.
platform::MachineProfile with_texture_formats(std::vector<DDPIXELFORMAT> list) {
    auto p = platform::default_profile();
    for (auto& d : p.devices) d.texture_formats = list;
    return p;
}

}  // namespace

class Textures : public EngineFixture {
protected:
    std::string file(const std::string& name, const Bytes& bytes) {
        std::ofstream(dir / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return (dir / name).string();
    }
    std::string missing(const std::string& name) { return (dir / name).string(); }
    static std::vector<std::string> surface_calls() { return platform::trace().matching("DirectDraw7.createSurface"); }
    static Pixels raw_pixels(const DirectDrawSurface7& s) {
        Pixels out;
        for (int y = 0; y < s.height(); ++y)
            for (int x = 0; x < s.width(); ++x) out.push_back(s.raw_at(x, y));
        return out;
    }

    std::filesystem::path dir =
        test::scratch_dir(std::string("textures-") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
};

TEST(TextureFormatTest, EachCreatorsTest) {
    struct Row {
        DDPIXELFORMAT format;
        bool no_fourcc, opaque16, alpha16;
    };
    const Row rows[] = {
        {PixelFormat::r5g6b5().dd(), true, true, false},
        {PixelFormat::a1r5g5b5().dd(), true, false, true},
        {PixelFormat::a8r8g8b8().dd(), true, false, false},  // alpha, but 32 bits
        {dxt1(), false, false, false},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(tx::passes(r.format, tx::FormatTest::NoFourCC), r.no_fourcc) << r.format.lRGBBitCount;
        EXPECT_EQ(tx::passes(r.format, tx::FormatTest::Opaque16), r.opaque16) << r.format.lRGBBitCount;
        EXPECT_EQ(tx::passes(r.format, tx::FormatTest::Alpha16), r.alpha16) << r.format.lRGBBitCount;
    }
}

TEST_F(Textures, DeviceListsPlain16BitFirstThen16BitAlphaThen32BitThenBumpAndFourCCLast) {
    // The walk takes the first format that passes: the order decides what each creator gets.
    open();
    const auto list = engine.D3D_DEV->getTextureFormatsEnum();
    const DDPIXELFORMAT expected[] = {PixelFormat::r5g6b5().dd(),   PixelFormat::x1r5g5b5().dd(),
                                      PixelFormat::a1r5g5b5().dd(), PixelFormat::a4r4g4b4().dd(),
                                      PixelFormat::x8r8g8b8().dd(), PixelFormat::a8r8g8b8().dd(),
                                      PixelFormat::bump_du_dv_8_8().dd(), dxt1()};
    ASSERT_EQ(list->getCount(), static_cast<Long>(std::size(expected)));
    DDPIXELFORMAT f;
    for (Long i = 1; i <= list->getCount(); ++i) {
        list->getItem(i, f);
        EXPECT_EQ(std::memcmp(&f, &expected[i - 1], sizeof f), 0) << "item " << i << ": flags " << f.lFlags
                                                                 << ", " << f.lRGBBitCount << " bits";
    }
}

TEST(TextureNames, RoadIsDecidedAnywhereInTheNameAndStretchingByTheLastThreeLetters) {
    using R = tx::PictureRoad;
    const std::pair<const char*, R> roads[] = {
        {"textures/bmp/wall.pcx", R::Picture},  // the folder's name decides
        {"pcx_wall.tga", R::Pcx},
        {"tga/stone.dat", R::Tga},
        {"STONE.TGA", R::None},  // "tga" is looked for in lower case only
    };
    for (const auto& [name, road] : roads) EXPECT_EQ(tx::road_for_name(name), road) << name;
    EXPECT_TRUE(tx::loads_by_stretching("A.GiF"));
    EXPECT_FALSE(tx::loads_by_stretching("a.jpeg"));
}

TEST(TextureBump, OffsetsFollowTheWaves) {
    // (60, 40) of 100 x 100: fx = 0.1, fy = -0.1, r = 0.141421;
    // du = 32 cos(42.43) e^-0.7071 (0.235) + 16 cos 0 (16) + 7 cos 25.9 (5.039) = 21.27 -> 21
    // dv = 32 sin(42.43) e^-0.7071 (-15.776) + 0 + 7 sin 25.9 (4.859) = -10.92 -> -11
    EXPECT_EQ(tx::bump_offset(60, 40, 100, 100).du, 21);
    EXPECT_EQ(tx::bump_offset(60, 40, 100, 100).dv, -11);
    EXPECT_EQ(error_of([] { tx::bump_offset(1, 1, 4, 0); }), err::DivisionByZero);
}

TEST_F(Textures, CreateTextureSizes) {
    open();
    auto t = engine.CreateTexture("");
    ASSERT_TRUE(t);
    EXPECT_EQ(t->format(), PixelFormat::r5g6b5());  // the first format listed
    engine.CreateTexture("", 3, 77);                // not rounded
    // 0x101007 = 1052679; software device: system memory (4096 + 2048)
    EXPECT_EQ(surface_calls(), (std::vector<std::string>{"DirectDraw7.createSurface 1052679, 6144, 256, 256",
                                                         "DirectDraw7.createSurface 1052679, 6144, 3, 77"}));
    const auto bmp = file("four.bmp", bmp24(4, 2, {kRed, kGreen, kBlue, kWhite, kBlack, kWhite, kRed, kGreen}));
    auto own = engine.CreateTexture(bmp, 64, 0);  // size 0 with the size flags: the picture's
    EXPECT_EQ(raw_pixels(*own), (Pixels{0xF800, 0x07E0, 0x001F, 0xFFFF, 0x0000, 0xFFFF, 0xF800, 0x07E0}));
    auto stretched = engine.CreateTexture(bmp, 8, 4);  // each texel becomes 2 x 2
    EXPECT_EQ(stretched->raw_at(7, 3), 0x07E0u);
    // A missing file gives a blank surface of the asked size.
    EXPECT_EQ(raw_pixels(*engine.CreateTexture(missing("nowhere.bmp"), 4, 2)), Pixels(8, 0));
}

TEST_F(Textures, CreateTextureTakesTheFirstFormatWithoutFourCCOrShowsTheMessage) {
    open();
    {
        platform::ScopedProfile p(
            with_texture_formats({dxt1(), PixelFormat::a8r8g8b8().dd(), PixelFormat::r5g6b5().dd()}));
        EXPECT_EQ(engine.CreateTexture("", 8, 8)->format(), PixelFormat::a8r8g8b8());  // whatever its depth
    }
    EXPECT_TRUE(services.messages().empty());
    platform::ScopedProfile p(with_texture_formats({dxt1()}));
    platform::trace().clear();
    EXPECT_FALSE(engine.CreateTexture("", 32, 32));
    ASSERT_EQ(services.messages().size(), 1u);
    EXPECT_EQ(services.messages().back().text, "Unable to locate 16-bit surface support on your hardware.");
    EXPECT_EQ(services.messages().back().style, vbOKOnly);
    EXPECT_TRUE(surface_calls().empty());
}

TEST_F(Textures, ZeroAndNegativeSizesAreRefused) {
    EXPECT_EQ(error_of([&] { engine.CreateTexture(""); }), err::ObjectNotSet);  // before start-up
    open();
    EXPECT_EQ(error_of([&] { engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, -3, 3); }),
              platform::DDERR_INVALIDPARAMS);
    EXPECT_FALSE(engine.LoadSimpleTexture("", -1, -1));
}

TEST_F(Textures, AlphaTexturesTakeA16BitFormatWithOrWithoutAlpha) {
    open();
    EXPECT_EQ(engine.CreateTexture_ALPHA("", D3DTEXTR_DEFAULT, 8, 4)->format(), PixelFormat::r5g6b5());
    auto keyed = engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, 8, 4);
    EXPECT_EQ(keyed->format(), PixelFormat::a1r5g5b5());  // the first 16-bit one with alpha
    // Nothing passes: it goes on silently with the last one read, with
    // A4R4G4B4's masks but flagged RGB alone, so the alpha bits are not alpha.
    platform::ScopedProfile p(with_texture_formats(formats({PixelFormat::a4r4g4b4()})));
    auto t = engine.CreateTexture_ALPHA("", D3DTEXTR_DEFAULT, 4, 4);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->desc().ddpfPixelFormat.lRBitMask, 0x0F00);
    EXPECT_FALSE(t->format().has_alpha());
    EXPECT_TRUE(services.messages().empty());
}

TEST_F(Textures, ColourKeysWorkOnTheFiveBitChannels) {
    open();
    // A1R5G5B5, keyed texels 0x7FFF or 0 (alpha 0), others | 0x8000.
    // 0xF8F8F8 drops to 31, 31, 31: white, so keyed; 0xF7FFFF drops to red 30:
    // 0x7BFF, opaque. 0x123456 is 2, 6, 10: 0x08CA.
    const Pixels picture = {kWhite, kRed, 0xF8F8F8, kBlack, 0xF7FFFF, kBlue, kWhite, 0x123456};
    auto t = engine.CreateTexture_ALPHA(file("key.bmp", bmp24(4, 2, picture)), D3DTEXTR_TRANSPARENTWHITE, 0, 0);
    ASSERT_TRUE(t);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0x7FFF, 0xFC00, 0x7FFF, 0x8000, 0xFBFF, 0x801F, 0x7FFF, 0x88CA}));
    // 0x070707 drops to 0, 0, 0; 0x080000 keeps red 1: 0x0400 | 0x8000.
    const Pixels dark = {kBlack, 0x070707, 0x080000, kWhite};
    t = engine.CreateTexture_ALPHA(file("black.bmp", bmp24(2, 2, dark)), D3DTEXTR_TRANSPARENTBLACK, 0, 0);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0x0000, 0x0000, 0x8400, 0xFFFF}));
}

TEST_F(Textures, BumpMapHasTheDuDvFormat) {
    open();
    auto t = engine.CreateTexture_BUMPmap("", 32, 16);
    ASSERT_TRUE(t);
    const auto& pf = t->desc().ddpfPixelFormat;
    EXPECT_EQ(pf.lFlags, dx::DDPF_BUMPDUDV);
    EXPECT_EQ(pf.lBumpDuBitMask, 255);
    EXPECT_EQ(pf.lBumpDvBitMask, 65280);
    // The description carries DDSD_PIXELFORMAT (0x1000) alone.
    EXPECT_EQ(surface_calls(), (std::vector<std::string>{"DirectDraw7.createSurface 4096, 6144, 32, 16"}));
    // With a file and no w, the first offset divides 0 by 0.
    const auto bmp = file("bump.bmp", bmp24(6, 3, Pixels(18, kWhite)));
    EXPECT_EQ(error_of([&] { engine.CreateTexture_BUMPmap(bmp, 0, 0); }), err::DivisionByZero);
}

TEST_F(Textures, SimpleTextureStretchesAJpegToTheAskedSize) {
    open();
    const auto jpeg = platform::image::encode_jpeg(4, 4, Pixels(16, 0x808080), 95);
    ASSERT_FALSE(jpeg.empty());
    auto t = engine.LoadSimpleTexture(file("flat.JPG", jpeg), 8, 8);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->width(), 8);
    EXPECT_EQ(t->desc().ddsCaps.lCaps, 6144);  // the texture caps, not the stretcher's default
    EXPECT_NEAR(static_cast<int>((t->argb_at(7, 7) >> 16) & 255), 0x80, 9);  // 5-bit red keeps steps of 8
}

TEST_F(Textures, SimpleAndSurfaceLoadersGiveNothingSilentlyOnAnyFailure) {
    open();
    const auto junk_jpg = file("junk.jpg", Bytes{0xFF, 0xD8, 0xFF});
    for (const auto& name : {missing("none.bmp"), junk_jpg}) {
        Ref<DirectDrawSurface7> t = engine.LoadSimpleTexture(name, 8, 8);
        EXPECT_FALSE(t) << name;
        DDSURFACEDESC2 d;
        EXPECT_FALSE(engine.KreateSurfaceFromFile(name, d)) << name;
    }
    EXPECT_TRUE(services.messages().empty());
}

TEST_F(Textures, TextureExCopiesEachPictureTypeExactlyAtTheGivenSize) {
    open();
    const Pixels picture = {kRed,  kGreen, kBlue, kWhite,   kBlack, 0xFFFF00,
                            kBlue, kGreen, kRed,  0x00FFFF, kWhite, kBlack};
    auto t = engine.CreateTextureEX(file("six.bmp", bmp24(6, 2, picture)), 6, 2);
    ASSERT_TRUE(t);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0xF800, 0x07E0, 0x001F, 0xFFFF, 0x0000, 0xFFE0,  // R5G6B5
                                      0x001F, 0x07E0, 0xF800, 0x07FF, 0xFFFF, 0x0000}));
    // Index 200 takes the run form (0xC1, 200); its palette entry is black.
    const Pixels palette = {kBlack, kRed, kGreen, kBlue, kWhite};
    t = engine.CreateTextureEX(file("pal.pcx", paletted_pcx(4, 2, {1, 2, 3, 4, 4, 3, 200, 1}, palette)), 4, 2);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0xF800, 0x07E0, 0x001F, 0xFFFF, 0xFFFF, 0x001F, 0x0000, 0xF800}));
    // tga24 writes the bottom row (white, black, red) first; it lands at the bottom.
    t = engine.CreateTextureEX(file("stone.tga", tga24(3, 2, {kRed, kGreen, kBlue, kWhite, kBlack, kRed})), 3, 2);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0xF800, 0x07E0, 0x001F, 0xFFFF, 0x0000, 0xF800}));
}

TEST_F(Textures, HostileAndMissingFilesGiveTheDefinedErrors) {
    open();
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(missing("a.bmp"), 8, 8); }), err::FileNotFound);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("g.jpg", Bytes(300, 7)), 8, 8); }), err::InvalidPicture);
    const auto truncated = file("junk.bmp", Bytes{'B', 'M', 1, 2, 3});
    EXPECT_EQ(error_of([&] { engine.CreateTexture_ALPHA(truncated, D3DTEXTR_TRANSPARENTWHITE, 8, 8); }),
              err::InvalidPicture);
    // A PCX the reader turns down: its message, then the unset picture (91).
    Bytes four_bit = paletted_pcx(2, 1, {1, 2}, {});
    four_bit[3] = 4;
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("four.pcx", four_bit), 8, 8); }), err::ObjectNotSet);
    ASSERT_EQ(services.messages().size(), 1u);
    EXPECT_EQ(services.messages()[0].text, "Sorry, can't load that pcx file!");
    // Hostile headers: a 65535 x 65535 TGA passes the pixel limit (7); a PCX whose
    // width 32767 - (-32768) + 1 = 65536 leaves a 16-bit number (6).
    Bytes huge = tga24(1, 1, {kRed});
    put16(huge, 12, 65535);
    put16(huge, 14, 65535);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("huge.tga", huge), 8, 8); }), err::OutOfMemory);
    Bytes wide = paletted_pcx(2, 1, {1, 2}, {});
    put16(wide, 4, 0x8000);
    put16(wide, 8, 0x7FFF);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("wide.pcx", wide), 8, 8); }), err::Overflow);
}

// The decoded picture, resampled only when the size differs, converted once into the texture's format.
TEST_F(Textures, TextureExResamplesOnlyWhenTheSizeDiffers) {
    open();
    Pixels rgb;
    for (int i = 0; i < 12; ++i) rgb.push_back(static_cast<std::uint32_t>(i * 0x151A1F) & 0xFFFFFF);
    const auto bmp = bmp24(4, 3, rgb);
    const auto jpg = platform::image::encode_jpeg(4, 3, rgb, 95);
    const struct {
        const char* name;
        Bytes bytes;
        Long w, h;
    } cases[] = {{"same.bmp", bmp, 4, 3}, {"up.bmp", bmp, 7, 5}, {"down.bmp", bmp, 2, 2}, {"up.jpg", jpg, 8, 4}};
    for (const auto& c : cases) {
        const Image decoded = platform::image::decode_picture(c.bytes);
        const Image sized =
            decoded.width == c.w && decoded.height == c.h ? decoded : images::resample_bilinear(decoded, c.w, c.h);
        const auto t = engine.CreateTextureEX(file(c.name, c.bytes), c.w, c.h);
        ASSERT_TRUE(t) << c.name;
        Pixels expected;  // alpha bits clear
        for (const std::uint32_t px : sized.pixels) expected.push_back(t->format().from_rgb_no_alpha(px | 0xFF000000u));
        EXPECT_EQ(raw_pixels(*t), expected) << c.name;
    }
    // a size no surface takes fails where the surface is made
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("zero.bmp", bmp), 0, 3); }), platform::DDERR_INVALIDPARAMS);
}

TEST_F(Textures, WhiteKeyedTexelsLetTheClearedBackgroundShowThrough) {
    open(64, 48);
    // 8 x 1 texture: columns 0..3 white, 4..7 red.
    const auto name = file("sprite.bmp", bmp24(8, 1, {kWhite, kWhite, kWhite, kWhite, kRed, kRed, kRed, kRed}));
    engine.device_CLEAR_COLOR = static_cast<Long>(kBlue);
    engine.Clear_3D();
    engine.D3D_DEV->beginScene();
    engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_CULLMODE, 1);  // none
    engine.TransAlpha_Enable();
    engine.D3D_DEV->setTexture(0, engine.CreateTexture_ALPHA(name, D3DTEXTR_TRANSPARENTWHITE, 0, 0));
    D3DTLVERTEX quad[4];
    const float xs[4] = {0, 64, 0, 64}, ys[4] = {0, 0, 48, 48};
    for (int i = 0; i < 4; ++i)  // white diffuse: modulation keeps the texel
        dxmath::createD3DTLVertex(xs[i], ys[i], 0.5f, 1.0f, -1, 0, xs[i] / 64.0f, ys[i] / 48.0f, quad[i]);
    engine.D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, std::span<D3DTLVERTEX>(quad), 4,
                                  dx::D3DDP_WAIT);
    engine.D3D_DEV->endScene();
    // Pixel x samples texel x / 8 - 0.5 with bilinear filtering: columns 4..26
    // mix white texels only (alpha 0, refused by the alpha test), columns
    // 36..58 red ones only (alpha 1, drawn as they are).
    auto colour = [&](int x, int y) { return engine.BAK->argb_at(x, y) & 0xFFFFFFu; };
    for (int y = 0; y < 48; y += 5) {
        for (int x = 4; x <= 26; ++x) ASSERT_EQ(colour(x, y), kBlue) << x << ", " << y;
        for (int x = 36; x <= 58; ++x) ASSERT_EQ(colour(x, y), kRed) << x << ", " << y;
    }
}
