// Texture creators: sizes, the format walk over the device's list, placement,
// colour keys, bump maps, the picture roads of CreateTextureEX, each
// creator's error policy, and a colour-keyed texture drawn on a frame.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "engine/texture_pipeline.h"
#include "engine_test_support.h"
#include "platform/constants.h"
#include "platform/image/jpeg_writer.h"
#include "platform/pixel_format.h"
#include "platform/profile.h"
#include "platform/status.h"

using namespace tarko;
using tarko::test::EngineFixture;
using tarko::test::error_of;
namespace tx = tarko::engine::textures;
using platform::PixelFormat;

namespace {
using Bytes = std::vector<std::uint8_t>;
using Pixels = std::vector<std::uint32_t>;  // 0x00RRGGBB, top row first

constexpr std::uint32_t kRed = 0xFF0000, kGreen = 0x00FF00, kBlue = 0x0000FF, kWhite = 0xFFFFFF, kBlack = 0;

void put16(Bytes& b, std::size_t at, std::uint32_t v) {
    b[at] = static_cast<std::uint8_t>(v);
    b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}
void put32(Bytes& b, std::size_t at, std::uint32_t v) {
    put16(b, at, v & 0xFFFF);
    put16(b, at + 2, v >> 16);
}

// Rows bottom row first, blue-green-red, each padded to a multiple of align bytes.
void put_rows(Bytes& b, int w, int h, const Pixels& rgb, std::size_t align) {
    for (int y = h - 1; y >= 0; --y) {
        const std::size_t row = b.size();
        for (int x = 0; x < w; ++x) {
            const std::uint32_t p = rgb[static_cast<std::size_t>(y * w + x)];
            b.insert(b.end(), {static_cast<std::uint8_t>(p), static_cast<std::uint8_t>(p >> 8),
                               static_cast<std::uint8_t>(p >> 16)});
        }
        while ((b.size() - row) % align) b.push_back(0);
    }
}

// 24-bit BMP, rows stored bottom-up, each padded to 4 bytes.
Bytes bmp24(int w, int h, const Pixels& rgb) {
    Bytes b(54, 0);
    b[0] = 'B';
    b[1] = 'M';
    put32(b, 10, 54);
    put32(b, 14, 40);
    put32(b, 18, static_cast<std::uint32_t>(w));
    put32(b, 22, static_cast<std::uint32_t>(h));
    put16(b, 26, 1);
    put16(b, 28, 24);
    put_rows(b, w, h, rgb, 4);
    put32(b, 2, static_cast<std::uint32_t>(b.size()));
    return b;
}

// 24-bit type 2 TGA: the file's first row is the picture's bottom row.
Bytes tga24(int w, int h, const Pixels& rgb) {
    Bytes b(18, 0);
    b[2] = 2;
    put16(b, 12, static_cast<std::uint32_t>(w));
    put16(b, 14, static_cast<std::uint32_t>(h));
    b[16] = 24;
    put_rows(b, w, h, rgb, 1);
    return b;
}

// 8-bit PCX (w even, one plane), rows top first; palette entry i is palette[i].
Bytes pcx8(int w, int h, const std::vector<std::uint8_t>& indices, const Pixels& palette) {
    Bytes b(128, 0);
    b[0] = 10;
    b[1] = 5;
    b[2] = 1;
    b[3] = 8;
    put16(b, 8, static_cast<std::uint32_t>(w - 1));
    put16(b, 10, static_cast<std::uint32_t>(h - 1));
    b[65] = 1;
    put16(b, 66, static_cast<std::uint32_t>(w));
    for (std::uint8_t i : indices) {
        if (i >= 192) b.push_back(0xC1);  // a run of one
        b.push_back(i);
    }
    b.push_back(12);
    for (int i = 0; i < 256; ++i) {
        const std::uint32_t p = i < static_cast<int>(palette.size()) ? palette[static_cast<std::size_t>(i)] : 0;
        b.push_back(static_cast<std::uint8_t>(p >> 16));
        b.push_back(static_cast<std::uint8_t>(p >> 8));
        b.push_back(static_cast<std::uint8_t>(p));
    }
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
        if (dir.empty())
            dir = tarko::test::scratch_dir(std::string("textures-") +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
        const auto path = dir / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return path.string();
    }
    std::string missing(const std::string& name) {
        file("placeholder", {});
        return (dir / name).string();
    }
    static std::vector<std::string> surface_calls() { return platform::trace().matching("DirectDraw7.createSurface"); }
    static Pixels raw_pixels(const DirectDrawSurface7& s) {
        Pixels out;
        for (int y = 0; y < s.height(); ++y)
            for (int x = 0; x < s.width(); ++x) out.push_back(s.raw_at(x, y));
        return out;
    }

    std::filesystem::path dir;
};

// ---- internals: the format tests, the walk, names, bump offsets

TEST(TextureFormatTest, EachCreatorsTestAcceptsWhatItShould) {
    struct Row {
        DDPIXELFORMAT format;
        bool no_fourcc, opaque16, alpha16;
    };
    const Row rows[] = {
        {PixelFormat::r5g6b5().dd(), true, true, false},
        {PixelFormat::x1r5g5b5().dd(), true, true, false},
        {PixelFormat::a1r5g5b5().dd(), true, false, true},
        {PixelFormat::a4r4g4b4().dd(), true, false, true},
        {PixelFormat::x8r8g8b8().dd(), true, false, false},
        {PixelFormat::a8r8g8b8().dd(), true, false, false},  // alpha, but 32 bits
        {dxt1(), false, false, false},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(tx::passes(r.format, tx::FormatTest::NoFourCC), r.no_fourcc) << r.format.lRGBBitCount;
        EXPECT_EQ(tx::passes(r.format, tx::FormatTest::Opaque16), r.opaque16) << r.format.lRGBBitCount;
        EXPECT_EQ(tx::passes(r.format, tx::FormatTest::Alpha16), r.alpha16) << r.format.lRGBBitCount;
    }
}

TEST(TextureFormatTest, WalkStopsAtTheFirstPassOrEndsOnTheLastItem) {
    const Direct3DEnumPixelFormats list(
        formats({PixelFormat::x8r8g8b8(), PixelFormat::a4r4g4b4(), PixelFormat::r5g6b5(), PixelFormat::a8r8g8b8()}));
    DDPIXELFORMAT f;
    EXPECT_TRUE(tx::walk_formats(list, f, tx::FormatTest::Alpha16));
    EXPECT_EQ(f.lRGBAlphaBitMask, 0xF000);  // A4R4G4B4, the second item
    EXPECT_TRUE(tx::walk_formats(list, f, tx::FormatTest::Opaque16));
    EXPECT_EQ(f.lRBitMask, 0xF800);  // R5G6B5, the third

    const Direct3DEnumPixelFormats only_32(formats({PixelFormat::x8r8g8b8(), PixelFormat::a8r8g8b8()}));
    EXPECT_FALSE(tx::walk_formats(only_32, f, tx::FormatTest::Opaque16));
    EXPECT_EQ(f.lRGBAlphaBitMask, static_cast<std::int32_t>(0xFF000000u));  // the last one read

    DDPIXELFORMAT untouched;
    untouched.lRGBBitCount = 99;
    EXPECT_FALSE(tx::walk_formats(Direct3DEnumPixelFormats({}), untouched, tx::FormatTest::NoFourCC));
    EXPECT_EQ(untouched.lRGBBitCount, 99);
}

TEST(TextureNames, RoadIsDecidedAnywhereInTheNameAndStretchingByTheLastThreeLetters) {
    using R = tx::PictureRoad;
    const std::pair<const char*, R> roads[] = {
        {"WALL.Jpg", R::Picture},
        {"textures/bmp/wall.pcx", R::Picture},  // the folder's name decides
        {"gifts/stone.tga", R::Picture},
        {"wall.PcX", R::Pcx},
        {"pcx_wall.tga", R::Pcx},
        {"stone.tga", R::Tga},
        {"tga/stone.dat", R::Tga},
        {"STONE.TGA", R::None},  // "tga" is looked for in lower case only
        {"", R::None},
        {"\xC3\xA9t\xC3\xA9.png", R::None},
    };
    for (const auto& [name, road] : roads) EXPECT_EQ(tx::road_for_name(name), road) << name;
    for (const char* yes : {"a.jpg", "A.GiF", "jpg"}) EXPECT_TRUE(tx::loads_by_stretching(yes)) << yes;
    for (const char* no : {"a.jpeg", "jpg/a.bmp", "pg", ""}) EXPECT_FALSE(tx::loads_by_stretching(no)) << no;
}

TEST(TextureBump, OffsetsFollowTheWaves) {
    // Centre: fx = fy = 0, r = 0: du = 32 cos 0 exp 0 + 16 cos 0 + 7 cos 0 = 55, dv = 0.
    EXPECT_EQ(tx::bump_offset(50, 50, 100, 100).du, 55);
    EXPECT_EQ(tx::bump_offset(50, 50, 100, 100).dv, 0);
    // (60, 40) of 100 x 100: fx = 0.1, fy = -0.1, r = 0.141421;
    // du = 32 cos(42.43) e^-0.7071 (0.235) + 16 cos 0 (16) + 7 cos 25.9 (5.039) = 21.27 -> 21
    // dv = 32 sin(42.43) e^-0.7071 (-15.776) + 0 + 7 sin 25.9 (4.859) = -10.92 -> -11
    EXPECT_EQ(tx::bump_offset(60, 40, 100, 100).du, 21);
    EXPECT_EQ(tx::bump_offset(60, 40, 100, 100).dv, -11);
    // Corner of a 4 x 4 map: fx = fy = -0.5, r = 0.7071: du 7.93 -> 8, dv 4.35 -> 4.
    EXPECT_EQ(tx::bump_offset(0, 0, 4, 4).du, 8);
    EXPECT_EQ(tx::bump_offset(0, 0, 4, 4).dv, 4);
    EXPECT_EQ(error_of([] { tx::bump_offset(1, 1, 0, 4); }), err::DivisionByZero);
    EXPECT_EQ(error_of([] { tx::bump_offset(1, 1, 4, 0); }), err::DivisionByZero);
}

// ---- CreateTexture

TEST_F(Textures, CreateTextureSizes) {
    open();
    auto t = engine.CreateTexture("");
    ASSERT_TRUE(t);
    EXPECT_EQ(t->format(), PixelFormat::r5g6b5());  // the first format listed
    auto odd = engine.CreateTexture("", 3, 77);  // not rounded
    EXPECT_EQ(odd->width(), 3);
    EXPECT_EQ(odd->height(), 77);
    // 0x101007 = 1052679; software device: system memory (4096 + 2048)
    EXPECT_EQ(surface_calls(), (std::vector<std::string>{"DirectDraw7.createSurface 1052679, 6144, 256, 256",
                                                         "DirectDraw7.createSurface 1052679, 6144, 3, 77"}));

    platform::trace().clear();
    const auto bmp = file("four.bmp", bmp24(4, 2, {kRed, kGreen, kBlue, kWhite, kBlack, kWhite, kRed, kGreen}));
    auto own = engine.CreateTexture(bmp, 64, 0);  // size 0 with the size flags: the picture's
    EXPECT_EQ(raw_pixels(*own), (Pixels{0xF800, 0x07E0, 0x001F, 0xFFFF, 0x0000, 0xFFFF, 0xF800, 0x07E0}));
    EXPECT_EQ(surface_calls(), (std::vector<std::string>{"DirectDraw7.createSurface 1052679, 6144, 4, 2"}));
    auto stretched = engine.CreateTexture(bmp, 8, 4);  // each texel becomes 2 x 2
    ASSERT_EQ(stretched->width(), 8);
    EXPECT_EQ(stretched->raw_at(1, 1), 0xF800u);
    EXPECT_EQ(stretched->raw_at(7, 3), 0x07E0u);
}

TEST_F(Textures, CreateTextureGivesABlankSurfaceWhenTheFileFails) {
    open();
    const auto garbage = file("junk.bmp", Bytes(100, 0x5A));
    for (const auto& name : {missing("nowhere.bmp"), garbage}) {
        auto t = engine.CreateTexture(name, 16, 8);
        ASSERT_TRUE(t) << name;
        EXPECT_EQ(raw_pixels(*t), Pixels(16 * 8, 0));
        // Without a size the blank surface cannot be made either: Nothing, and no error.
        Ref<DirectDrawSurface7> none;
        EXPECT_EQ(error_of([&] { none = engine.CreateTexture(name); }), 0);
        EXPECT_FALSE(none);
    }
    EXPECT_TRUE(services.messages().empty());
}

TEST_F(Textures, CreateTextureTakesTheFirstFormatWithoutFourCCOrShowsTheMessage) {
    open();
    {
        platform::ScopedProfile p(
            with_texture_formats({dxt1(), PixelFormat::a8r8g8b8().dd(), PixelFormat::r5g6b5().dd()}));
        EXPECT_EQ(engine.CreateTexture("", 8, 8)->format(), PixelFormat::a8r8g8b8());  // whatever its depth
    }
    {
        // A bump format listed first is taken as well: the list's order decides.
        platform::ScopedProfile p(
            with_texture_formats({PixelFormat::bump_du_dv_8_8().dd(), PixelFormat::r5g6b5().dd()}));
        EXPECT_TRUE(engine.CreateTexture("", 8, 8)->format().is_bump());
    }
    EXPECT_TRUE(services.messages().empty());
    for (const auto& list : {std::vector<DDPIXELFORMAT>{dxt1()}, std::vector<DDPIXELFORMAT>{}}) {
        platform::ScopedProfile p(with_texture_formats(list));
        platform::trace().clear();
        const auto before = services.messages().size();
        EXPECT_FALSE(engine.CreateTexture("", 32, 32));
        ASSERT_EQ(services.messages().size(), before + 1);
        EXPECT_EQ(services.messages().back().text, "Unable to locate 16-bit surface support on your hardware.");
        EXPECT_EQ(services.messages().back().style, vbOKOnly);
        EXPECT_TRUE(surface_calls().empty());
    }
}

TEST_F(Textures, CreateTextureIsManagedOnlyOnAVideoDeviceWithEnoughFreeMemory) {
    open();
    ASSERT_EQ(engine.MEMORY, dx::DDSCAPS_SYSTEMMEMORY);  // the software device
    auto caps = [&] {
        auto t = engine.CreateTexture("", 8, 8);
        return std::pair{t->desc().ddsCaps.lCaps, t->desc().ddsCaps.lCaps2};
    };
    EXPECT_EQ(caps(), (std::pair{6144, 0}));  // 64 MB free, but system memory all the same
    EXPECT_EQ(platform::trace().matching("DirectDraw7.getCaps").size(), 1u);  // read all the same
    engine.MEMORY = dx::DDSCAPS_VIDEOMEMORY;
    auto p = platform::default_profile();
    for (const auto& [free, expected] : {std::pair{65536, std::pair{4096, 16}}, {65535, {6144, 0}}}) {
        p.draw_caps.lVidMemFree = free;  // the limit itself is enough
        platform::ScopedProfile scoped(p);
        EXPECT_EQ(caps(), expected) << free;
    }
}

TEST_F(Textures, CreatorsBeforeStartUpRaiseOrGiveNothing) {
    EXPECT_EQ(error_of([&] { engine.CreateTexture(""); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, 8, 8); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.CreateTexture_BUMPmap("", 8, 8); }), err::ObjectNotSet);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX("a.bmp", 8, 8); }), err::FileNotFound);
    Ref<DirectDrawSurface7> simple;
    EXPECT_EQ(error_of([&] { simple = engine.LoadSimpleTexture("", 8, 8); }), 0);
    EXPECT_FALSE(simple);
}

TEST_F(Textures, ZeroAndNegativeSizesAreRefused) {
    open();
    const auto bmp = file("n.bmp", bmp24(2, 2, Pixels(4, kRed)));
    // No size is set but the size flags are: the draw object refuses.
    EXPECT_EQ(error_of([&] { engine.CreateTexture("", 64, 0); }), platform::DDERR_INVALIDPARAMS);
    EXPECT_EQ(error_of([&] { engine.CreateTexture("", -1, 5); }), platform::DDERR_INVALIDPARAMS);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(bmp, -4, 4); }), platform::DDERR_INVALIDPARAMS);
    EXPECT_EQ(error_of([&] { engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, -3, 3); }),
              platform::DDERR_INVALIDPARAMS);
    EXPECT_EQ(error_of([&] { engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, 8, 0); }),
              platform::DDERR_INVALIDPARAMS);
    EXPECT_EQ(error_of([&] { engine.CreateTexture_BUMPmap("", 2, -2); }), platform::DDERR_INVALIDPARAMS);
    EXPECT_FALSE(engine.LoadSimpleTexture("", -1, -1));
    EXPECT_FALSE(engine.LoadSimpleTexture("", 8, 0));  // no size, no file
    DDSURFACEDESC2 d;
    d.lWidth = -5;
    EXPECT_FALSE(engine.KreateSurfaceFromFile(bmp, d));
    // The file's surface fails on the size, and so does the blank one: Nothing.
    Ref<DirectDrawSurface7> t;
    EXPECT_EQ(error_of([&] { t = engine.CreateTexture(bmp, -8, 8); }), 0);
    EXPECT_FALSE(t);
}

// ---- CreateTexture_ALPHA

TEST_F(Textures, AlphaTexturesTakeA16BitFormatWithOrWithoutAlpha) {
    open();
    EXPECT_EQ(engine.CreateTexture_ALPHA("", D3DTEXTR_DEFAULT, 8, 4)->format(), PixelFormat::r5g6b5());
    auto keyed = engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, 8, 4);
    EXPECT_EQ(keyed->format(), PixelFormat::a1r5g5b5());  // the first 16-bit one with alpha
    EXPECT_EQ(keyed->desc().ddpfPixelFormat.lFlags, dx::DDPF_RGB | dx::DDPF_ALPHAPIXELS);
    {
        platform::ScopedProfile p(with_texture_formats(formats(
            {PixelFormat::x8r8g8b8(), PixelFormat::a8r8g8b8(), PixelFormat::a4r4g4b4(), PixelFormat::r5g6b5()})));
        EXPECT_EQ(engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTBLACK, 8, 4)->format(), PixelFormat::a4r4g4b4());
        EXPECT_EQ(engine.CreateTexture_ALPHA("", D3DTEXTR_DEFAULT, 8, 4)->format(), PixelFormat::r5g6b5());
    }
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
    EXPECT_EQ(t->argb_at(0, 0) >> 24, 0u);
    EXPECT_EQ(t->argb_at(1, 0), 0xFFFF0000u);  // opaque red
    // One lock over the description's whole size, DDLOCK_WAIT, then unlock.
    EXPECT_EQ(platform::trace().matching("DirectDrawSurface7.lock"),
              (std::vector<std::string>{"DirectDrawSurface7.lock 0, 0, 4, 2, 1"}));
    EXPECT_EQ(platform::trace().matching("DirectDrawSurface7.unlock").size(), 1u);

    // 0x070707 drops to 0, 0, 0; 0x080000 keeps red 1: 0x0400 | 0x8000.
    const Pixels dark = {kBlack, 0x070707, 0x080000, kWhite};
    t = engine.CreateTexture_ALPHA(file("black.bmp", bmp24(2, 2, dark)), D3DTEXTR_TRANSPARENTBLACK, 0, 0);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0x0000, 0x0000, 0x8400, 0xFFFF}));
    // A blank keyed texture is opaque black under a white key, clear under a black one.
    EXPECT_EQ(raw_pixels(*engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, 4, 2)), Pixels(8, 0x8000));
    EXPECT_EQ(raw_pixels(*engine.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTBLACK, 4, 2)), Pixels(8, 0));

    // Extra flags 3: an alpha format and no key pass, so every drawn texel has alpha 0.
    platform::trace().clear();
    t = engine.CreateTexture_ALPHA(file("three.bmp", bmp24(2, 2, {kWhite, kRed, kBlack, kGreen})),
                                   static_cast<TEXTUREFLAGS>(3), 0, 0);
    EXPECT_EQ(t->format(), PixelFormat::a1r5g5b5());
    EXPECT_TRUE(platform::trace().matching("DirectDrawSurface7.lock").empty());
    EXPECT_EQ(t->argb_at(1, 0) >> 24, 0u);
}

TEST_F(Textures, AlphaTexturesAreManagedOnTheHardwareDeviceOnly) {
    open();
    EXPECT_EQ(engine.CreateTexture_ALPHA("", D3DTEXTR_DEFAULT, 4, 4)->desc().ddsCaps.lCaps, 6144);
    engine.FreeDX(hwnd);
    auto machine = platform::default_profile();
    for (auto& d : machine.devices) d.can_create = true;
    platform::ScopedProfile p(machine);
    tarko_DX7 hardware;
    hardware.Initialize_Windowed(hwnd);
    ASSERT_EQ(hardware.D3D_DEV->getDeviceGuid(), platform::kHalGuid);
    auto t = hardware.CreateTexture_ALPHA("", D3DTEXTR_TRANSPARENTWHITE, 4, 4);
    EXPECT_EQ(t->desc().ddsCaps.lCaps, 4096);
    EXPECT_EQ(t->desc().ddsCaps.lCaps2, 16);
    EXPECT_EQ(hardware.LoadSimpleTexture("", 4, 4)->desc().ddsCaps.lCaps2, 16);
    hardware.FreeDX(hwnd);
}

// ---- CreateTexture_BUMPmap

TEST_F(Textures, BumpMapHasTheDuDvFormatAndTheAskedOrThePicturesSize) {
    open();
    auto t = engine.CreateTexture_BUMPmap("", 32, 16);
    ASSERT_TRUE(t);
    const auto& pf = t->desc().ddpfPixelFormat;
    EXPECT_EQ(pf.lFlags, dx::DDPF_BUMPDUDV);
    EXPECT_EQ(pf.lBumpBitCount, 16);
    EXPECT_EQ(pf.lBumpDuBitMask, 255);
    EXPECT_EQ(pf.lBumpDvBitMask, 65280);
    EXPECT_EQ(pf.lBumpLuminanceBitMask, 0);
    // The description carries DDSD_PIXELFORMAT (0x1000) alone.
    EXPECT_EQ(surface_calls(), (std::vector<std::string>{"DirectDraw7.createSurface 4096, 6144, 32, 16"}));
    // Every offset reads a pixel of the blank map, or outside it (0).
    EXPECT_EQ(raw_pixels(*t), Pixels(32 * 16, 0));

    const auto bmp = file("bump.bmp", bmp24(6, 3, Pixels(18, kWhite)));
    t = engine.CreateTexture_BUMPmap(bmp, 6, 3);
    EXPECT_EQ(t->width(), 6);
    EXPECT_TRUE(t->format().is_bump());
    // With a file and no w, the first offset divides 0 by 0.
    EXPECT_EQ(error_of([&] { engine.CreateTexture_BUMPmap(bmp, 0, 0); }), err::DivisionByZero);
    EXPECT_EQ(error_of([&] { engine.CreateTexture_BUMPmap(missing("gone.bmp"), 8, 8); }), err::FileNotFound);
}

TEST_F(Textures, BumpPassCopiesThePixelAtEachOffsetInPlace) {
    open();
    DDSURFACEDESC2 d;
    d.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    d.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    d.lWidth = d.lHeight = 100;
    d.ddpfPixelFormat = PixelFormat::bump_du_dv_8_8().dd();
    auto s = engine.ddraw->createSurface(d);
    RECT all{0, 0, 100, 100};
    DDSURFACEDESC2 locked;
    s->lock(all, locked, dx::DDLOCK_WAIT, 0);
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 100; ++x) s->setLockedPixel(x, y, x + 256 * y);
    s->unlock(all);
    tx::bump_pass(*s, d, 100, 100);
    // (0, 0) goes first and reads the untouched (8, 4): 8 + 256 x 4.
    EXPECT_EQ(s->raw_at(0, 0), 8u + 256u * 4u);
    // (50, 50) reads (55, 0), which the pass had already set: the pass works in place.
    EXPECT_EQ(s->raw_at(50, 50), s->raw_at(55, 0));
}

// ---- LoadSimpleTexture and KreateSurfaceFromFile

TEST_F(Textures, SimpleTextureLoadsAtThePicturesSizeOrStretchesToTheAskedOne) {
    open();
    const auto bmp = file("simple.bmp", bmp24(4, 2, {kRed, kRed, kBlue, kBlue, kGreen, kGreen, kWhite, kWhite}));
    auto own = engine.LoadSimpleTexture(bmp, 0, 0);
    ASSERT_TRUE(own);
    EXPECT_EQ(own->width(), 4);
    EXPECT_EQ(own->height(), 2);
    EXPECT_EQ(own->desc().ddsCaps.lCaps, 6144);  // system memory on the software device
    auto sized = engine.LoadSimpleTexture(bmp, 16, 8, true);
    ASSERT_TRUE(sized);
    EXPECT_EQ(sized->width(), 16);  // width
    EXPECT_EQ(sized->height(), 8);  // Height
    EXPECT_EQ(sized->raw_at(15, 7), 0xFFFFu);

    const auto jpeg = platform::image::encode_jpeg(4, 4, Pixels(16, 0x808080), 95);
    ASSERT_FALSE(jpeg.empty());
    auto t = engine.LoadSimpleTexture(file("flat.JPG", jpeg), 8, 8);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->width(), 8);
    EXPECT_EQ(t->desc().ddsCaps.lCaps, 6144);  // the texture caps, not the stretcher's default
    EXPECT_NEAR(static_cast<int>((t->argb_at(7, 7) >> 16) & 255), 0x80, 9);  // 5-bit red keeps steps of 8

    // None opaque 16-bit: it goes on with the last format read.
    platform::ScopedProfile p(with_texture_formats(formats({PixelFormat::a1r5g5b5(), PixelFormat::x8r8g8b8()})));
    EXPECT_EQ(engine.LoadSimpleTexture("", 4, 4)->format(), PixelFormat::x8r8g8b8());
    EXPECT_TRUE(services.messages().empty());
}

TEST_F(Textures, SimpleAndSurfaceLoadersGiveNothingSilentlyOnAnyFailure) {
    open();
    const auto junk = file("junk.bmp", Bytes(64, 0xFF));
    const auto junk_jpg = file("junk.jpg", Bytes{0xFF, 0xD8, 0xFF});
    const auto junk_gif = file("junk.gif", Bytes{'G', 'I', 'F', '8', '9', 'a', 0, 0});
    for (const auto& name : {missing("none.bmp"), junk, junk_jpg, junk_gif, missing("none.gif")}) {
        Ref<DirectDrawSurface7> t, s;
        EXPECT_EQ(error_of([&] { t = engine.LoadSimpleTexture(name, 8, 8); }), 0) << name;
        EXPECT_FALSE(t) << name;
        DDSURFACEDESC2 d;
        EXPECT_EQ(error_of([&] { s = engine.KreateSurfaceFromFile(name, d); }), 0) << name;
        EXPECT_FALSE(s) << name;
    }
    DDSURFACEDESC2 d;
    EXPECT_FALSE(engine.KreateSurfaceFromFile("", d));
    tarko_DX7 closed;  // no draw object yet
    EXPECT_FALSE(closed.KreateSurfaceFromFile(file("ok.bmp", bmp24(1, 1, {kRed})), d));
    EXPECT_TRUE(services.messages().empty());
}

TEST_F(Textures, KreateSurfaceFromFileCompletesTheDescription) {
    open();
    const auto bmp = file("k.bmp", bmp24(2, 2, {kRed, kGreen, kBlue, kWhite}));
    DDSURFACEDESC2 d;
    d.lWidth = 6;  // height 0 takes the picture's
    auto s = engine.KreateSurfaceFromFile(bmp, d);
    ASSERT_TRUE(s);
    EXPECT_EQ(d.lFlags & 7, 7);  // DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH
    EXPECT_EQ(d.ddsCaps.lCaps, dx::DDSCAPS_OFFSCREENPLAIN);
    EXPECT_EQ(d.lHeight, 2);
    // An off-screen surface in the display's format (32 bits, nothing lost),
    // columns 0..2 from source column 0 and 3..5 from column 1.
    EXPECT_EQ(s->argb_at(2, 0) & 0xFFFFFF, kRed);
    EXPECT_EQ(s->argb_at(3, 0) & 0xFFFFFF, kGreen);
    EXPECT_EQ(s->argb_at(5, 1) & 0xFFFFFF, kWhite);
}

// ---- CreateTextureEX

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
    t = engine.CreateTextureEX(file("pal.pcx", pcx8(4, 2, {1, 2, 3, 4, 4, 3, 200, 1}, palette)), 4, 2);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0xF800, 0x07E0, 0x001F, 0xFFFF, 0xFFFF, 0x001F, 0x0000, 0xF800}));
    // tga24 writes the bottom row (white, black, red) first; it lands at the bottom.
    t = engine.CreateTextureEX(file("stone.tga", tga24(3, 2, {kRed, kGreen, kBlue, kWhite, kBlack, kRed})), 3, 2);
    EXPECT_EQ(raw_pixels(*t), (Pixels{0xF800, 0x07E0, 0x001F, 0xFFFF, 0x0000, 0xF800}));

    platform::trace().clear();
    const auto white = file("small.bmp", bmp24(4, 4, Pixels(16, kWhite)));
    auto odd = engine.CreateTextureEX(white, 100, 30);  // no rounding to powers of two
    EXPECT_EQ(surface_calls(), (std::vector<std::string>{"DirectDraw7.createSurface 1052679, 6144, 100, 30"}));
    EXPECT_EQ(odd->raw_at(99, 29), 0xFFFFu);  // a white picture stays white when resampled

    // A1R5G5B5 listed first: every texture gets it, and drawn pixels have alpha 0.
    platform::ScopedProfile p(with_texture_formats(formats({PixelFormat::a1r5g5b5(), PixelFormat::r5g6b5()})));
    t = engine.CreateTextureEX(file("a.bmp", bmp24(2, 1, {kRed, kWhite})), 2, 1);
    EXPECT_EQ(t->format(), PixelFormat::a1r5g5b5());
    EXPECT_EQ(raw_pixels(*t), (Pixels{0x7C00, 0x7FFF}));
}

TEST_F(Textures, HostileAndMissingFilesGiveTheDefinedErrors) {
    open();
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(missing("a.bmp"), 8, 8); }), err::FileNotFound);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(missing("a.pcx"), 8, 8); }), err::FileNotFound);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(missing("a.tga"), 8, 8); }), err::FileNotFound);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("g.jpg", Bytes(300, 7)), 8, 8); }), err::InvalidPicture);
    // The whole name picks the road: a PCX in a folder called bmp goes to the picture loader.
    const auto pcx = file("bmp/wall.pcx", pcx8(2, 1, {1, 2}, {kBlack, kRed, kGreen}));
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(pcx, 2, 1); }), err::InvalidPicture);
    EXPECT_EQ(error_of([&] { engine.CreateTexture_ALPHA(missing("none.bmp"), D3DTEXTR_TRANSPARENTWHITE, 8, 8); }),
              err::FileNotFound);
    const auto truncated = file("junk.bmp", Bytes{'B', 'M', 1, 2, 3});
    EXPECT_EQ(error_of([&] { engine.CreateTexture_ALPHA(truncated, D3DTEXTR_TRANSPARENTWHITE, 8, 8); }),
              err::InvalidPicture);
    // A PCX the reader turns down: its message, then the unset picture (91).
    Bytes four_bit = pcx8(2, 1, {1, 2}, {});
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
    Bytes wide = pcx8(2, 1, {1, 2}, {});
    put16(wide, 4, 0x8000);
    put16(wide, 8, 0x7FFF);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("wide.pcx", wide), 8, 8); }), err::Overflow);
    // Zero sizes: CreateTexture makes 256 x 256, but no bitmap of 0 x 0 exists to copy.
    const auto bmp = file("b.bmp", bmp24(2, 2, Pixels(4, kRed)));
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(bmp, 0, 0); }), err::ObjectNotSet);
}

TEST_F(Textures, TextureExSkipsFailingStepsAfterTheTgaRoadOnly) {
    open();
    // A TGA that is not 24-bit leaves the record empty: the texture is blank, no error.
    Bytes sixteen = tga24(2, 2, Pixels(4, kWhite));
    sixteen[16] = 16;
    Ref<DirectDrawSurface7> t;
    EXPECT_EQ(error_of([&] { t = engine.CreateTextureEX(file("s.tga", sixteen), 4, 4); }), 0);
    ASSERT_TRUE(t);
    EXPECT_EQ(raw_pixels(*t), Pixels(16, 0));
    // Zero sizes: the 256 x 256 surface comes back, blank, as the copy is skipped.
    const auto good = file("g.tga", tga24(2, 2, Pixels(4, kWhite)));
    EXPECT_EQ(error_of([&] { t = engine.CreateTextureEX(good, 0, 0); }), 0);
    ASSERT_TRUE(t);
    EXPECT_EQ(t->width(), 256);
    // No usable format: the message, then Nothing on the TGA road, the unset picture on others.
    platform::ScopedProfile p(with_texture_formats({dxt1()}));
    EXPECT_EQ(error_of([&] { t = engine.CreateTextureEX(good, 2, 2); }), 0);
    EXPECT_FALSE(t);
    EXPECT_EQ(services.messages().size(), 1u);
    EXPECT_EQ(error_of([&] { engine.CreateTextureEX(file("x.bmp", bmp24(2, 2, Pixels(4, kRed))), 2, 2); }),
              err::ObjectNotSet);
    EXPECT_EQ(services.messages().size(), 2u);
}

// ---- a frame

TEST_F(Textures, WhiteKeyedTexelsLetTheClearedBackgroundShowThrough) {
    open(64, 48);
    // 8 x 4 texture: columns 0..3 white, 4..7 red.
    Pixels picture;
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x) picture.push_back(x < 4 ? kWhite : kRed);
    const auto name = file("sprite.bmp", bmp24(8, 4, picture));

    auto draw = [&](const Ref<DirectDrawSurface7>& texture) {
        engine.device_CLEAR_COLOR = static_cast<Long>(kBlue);
        engine.Clear_3D();
        engine.D3D_DEV->beginScene();
        engine.D3D_DEV->setRenderState(dx::D3DRENDERSTATE_CULLMODE, 1);  // none
        engine.TransAlpha_Enable();
        engine.D3D_DEV->setTexture(0, texture);
        D3DTLVERTEX quad[4];
        const float xs[4] = {0, 64, 0, 64}, ys[4] = {0, 0, 48, 48};
        for (int i = 0; i < 4; ++i) {
            quad[i].sx = xs[i];
            quad[i].sy = ys[i];
            quad[i].sz = 0.5f;
            quad[i].rhw = 1.0f;
            quad[i].color = -1;  // white diffuse: modulation keeps the texel
            quad[i].tu = xs[i] / 64.0f;
            quad[i].tv = ys[i] / 48.0f;
        }
        engine.D3D_DEV->drawPrimitive(dx::D3DPT_TRIANGLESTRIP, dx::D3DFVF_TLVERTEX, std::span<D3DTLVERTEX>(quad), 4,
                                      dx::D3DDP_WAIT);
        engine.D3D_DEV->endScene();
    };
    auto colour = [&](int x, int y) { return engine.BAK->argb_at(x, y) & 0xFFFFFFu; };

    // Pixel x samples texel x / 8 - 0.5 with bilinear filtering: columns 4..26
    // mix white texels only (alpha 0, refused by the alpha test), columns
    // 36..58 red ones only (alpha 1, drawn as they are).
    draw(engine.CreateTexture_ALPHA(name, D3DTEXTR_TRANSPARENTWHITE, 0, 0));
    for (int y = 0; y < 48; y += 5) {
        for (int x = 4; x <= 26; ++x) ASSERT_EQ(colour(x, y), kBlue) << x << ", " << y;
        for (int x = 36; x <= 58; ++x) ASSERT_EQ(colour(x, y), kRed) << x << ", " << y;
    }
    // The same picture without a key covers the background with white.
    draw(engine.CreateTexture_ALPHA(name, D3DTEXTR_DEFAULT, 0, 0));
    EXPECT_EQ(colour(16, 24), kWhite);
    EXPECT_EQ(colour(48, 24), kRed);
}
