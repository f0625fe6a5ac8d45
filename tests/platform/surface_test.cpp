// Pixel formats, surfaces and their blits, presents and PNG output.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/constants.h"
#include "platform/ddraw.h"
#include "platform/pixel_format.h"
#include "platform/status.h"
#include "platform/surface.h"
#include "platform/window.h"
#include "runtime/errors.h"
#include "support/test_support.h"

using namespace tarko;
using platform::PixelFormat;
using tarko::test::error_of;

namespace {
Ref<DirectDrawSurface7> make_surface(int w, int h, const PixelFormat& f) {
    DDSURFACEDESC2 d;
    d.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    d.ddsCaps.lCaps = dx::DDSCAPS_OFFSCREENPLAIN;
    d.lWidth = w;
    d.lHeight = h;
    return Ref<DirectDrawSurface7>(std::make_shared<DirectDrawSurface7>(nullptr, d, f));
}
}  // namespace

TEST(PixelFormats, SixteenBitsDropLowBitsAndWidenByReplication) {
    const auto f = PixelFormat::r5g6b5();
    EXPECT_EQ(f.to_argb(0xFFFF), 0xFFFFFFFFu);  // 31 -> 255, 63 -> 255
    // 0xF7 = 11110111: red keeps 11110 (30), widened to 11110111 = 0xF7 again.
    EXPECT_EQ(f.from_argb(0x00F70000u), 30u << 11);
    EXPECT_EQ(f.to_argb(30u << 11), 0xFFF70000u);
    // Near-white 0xFEFEFE narrows to white: 0xFE >> 3 = 31, 0xFE >> 2 = 63.
    EXPECT_EQ(f.from_argb(0x00FEFEFEu), 0xFFFFu);
}

TEST(Surfaces, StretchBlitConvertsFormatsAndZeroRectMeansWhole) {
    auto src = make_surface(2, 2, PixelFormat::x8r8g8b8());
    src->set_raw(1, 0, 0x00FF00);
    src->set_raw(0, 1, 0x0000FF);
    auto dst = make_surface(4, 4, PixelFormat::r5g6b5());
    EXPECT_EQ(dst->blt(RECT{}, src, RECT{}, dx::DDBLT_WAIT), 0);
    EXPECT_EQ(dst->raw_at(3, 0), 0x07E0u);
    EXPECT_EQ(dst->raw_at(1, 3), 0x001Fu);
    // A source rectangle outside the source returns a status, never reads out of bounds.
    EXPECT_EQ(dst->blt(RECT{}, src, RECT{0, 0, 3, 3}, 0), platform::DDERR_INVALIDRECT);
}

TEST(Surfaces, SameSizeBlitCopiesRowsCutAtTheDestinationsEdges) {
    auto src = make_surface(5, 4, PixelFormat::r5g6b5());
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 5; ++x) src->set_raw(x, y, static_cast<std::uint32_t>(0x1000 * y + x + 1));
    auto dst = make_surface(6, 3, PixelFormat::r5g6b5());
    // One column hangs over the left edge, three and a row over the right and bottom.
    EXPECT_EQ(dst->blt(RECT{-1, 0, 4, 4}, src, RECT{}, 0), 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 6; ++x)
            EXPECT_EQ(dst->raw_at(x, y), x < 4 ? 0x1000u * y + x + 2 : 0u) << x << "," << y;
    // Within one surface the copy goes through a snapshot: rows shift down cleanly.
    EXPECT_EQ(src->blt(RECT{0, 1, 5, 4}, src, RECT{0, 0, 5, 3}, 0), 0);
    EXPECT_EQ(src->raw_at(2, 1), 3u);
    EXPECT_EQ(src->raw_at(2, 3), 0x2003u);
}

TEST(Surfaces, RowsReadForPresentsMatchTheFormatsOwnConversion) {
    // Every 16-bit value, and 32-bit values with the alpha byte set.
    auto s565 = make_surface(256, 256, PixelFormat::r5g6b5());
    auto s32 = make_surface(64, 2, PixelFormat::a8r8g8b8());
    for (int i = 0; i < 65536; ++i) s565->set_raw(i % 256, i / 256, static_cast<std::uint32_t>(i));
    for (int i = 0; i < 128; ++i) s32->set_raw(i % 64, i / 64, 0x9E3779B9u * static_cast<std::uint32_t>(i + 1));
    for (const auto* s : {&s565, &s32}) {
        const auto& surface = **s;
        const platform::Frame f = surface.to_frame();
        for (int y = 0; y < surface.height(); ++y)
            for (int x = 0; x < surface.width(); ++x)
                ASSERT_EQ(f.at(x, y), surface.argb_at(x, y) & 0xFFFFFFu) << x << "," << y;
    }
}

class DrawObject : public ::testing::Test {
protected:
    void SetUp() override {
        window = std::make_shared<platform::HeadlessWindow>(100, 80, 32, 10, 20);
        hwnd = platform::windows().add(window);
    }
    void TearDown() override { platform::windows().remove(hwnd); }
    std::shared_ptr<platform::HeadlessWindow> window;
    Long hwnd = 0;
};

TEST_F(DrawObject, WindowedPrimaryBlitLandsInTheClippersWindowAtScreenPosition) {
    DirectDraw7 dd("");
    dd.setCooperativeLevel(hwnd, dx::DDSCL_NORMAL);
    DDSURFACEDESC2 p;
    p.lFlags = dx::DDSD_CAPS;
    p.ddsCaps.lCaps = dx::DDSCAPS_PRIMARYSURFACE;
    auto primary = dd.createSurface(p);
    auto clipper = dd.createClipper(0);
    clipper->setHWnd(hwnd);
    primary->setClipper(clipper);
    auto back = make_surface(10, 10, PixelFormat::x8r8g8b8());
    back->bltColorFill(RECT{}, 0x00ABCDEF);
    // Screen (20, 30) is client (10, 10) of a window whose client starts at (10, 20).
    EXPECT_EQ(primary->blt(RECT{20, 30, 30, 40}, back, RECT{}, dx::DDBLT_WAIT), 0);
    EXPECT_EQ(window->frame().at(10, 10), 0xABCDEFu);
    EXPECT_EQ(window->frame().at(19, 19), 0xABCDEFu);
    EXPECT_EQ(window->frame().at(9, 9), 0u);
}

TEST_F(DrawObject, FlipChainSwapsAndShowsTheBackBuffer) {
    DirectDraw7 dd("");
    dd.setCooperativeLevel(hwnd, 19);
    dd.setDisplayMode(64, 48, 16, 0, 0);
    DDSURFACEDESC2 p;
    p.lFlags = dx::DDSD_CAPS | dx::DDSD_BACKBUFFERCOUNT;
    p.ddsCaps.lCaps = 8728;
    p.lBackBufferCount = 1;
    auto primary = dd.createSurface(p);
    DDSCAPS2 caps;
    caps.lCaps = 8196;
    auto back = primary->getAttachedSurface(caps);
    EXPECT_EQ(back->format().bits(), 16);
    back->bltColorFill(RECT{}, 0xF800);
    primary->flip(Ref<DirectDrawSurface7>(), dx::DDFLIP_WAIT);
    EXPECT_EQ(primary->raw_at(5, 5), 0xF800u);
    EXPECT_EQ(back->raw_at(5, 5), 0u);  // the old front
    EXPECT_EQ(window->frame().at(5, 5), 0xFF0000u);
}

TEST_F(DrawObject, BadArgumentsRaiseTheDrawStatus) {
    DirectDraw7 dd("");
    EXPECT_EQ(error_of([&] { dd.setCooperativeLevel(999999, 8); }), platform::DDERR_INVALIDPARAMS);
    dd.setCooperativeLevel(hwnd, dx::DDSCL_NORMAL);
    EXPECT_EQ(error_of([&] { dd.setDisplayMode(640, 480, 16, 0, 0); }), platform::DDERR_NOCOOPERATIVELEVELSET);
    DDSURFACEDESC2 d;
    d.lFlags = 7;
    d.ddsCaps.lCaps = 64;
    d.lWidth = 100000;
    d.lHeight = 10;
    EXPECT_EQ(error_of([&] { dd.createSurface(d); }), platform::DDERR_INVALIDPARAMS);
}

TEST(Png, FramesAreWrittenAndBadPathsReportFalse) {
    platform::Frame f;
    f.width = 3;
    f.height = 2;
    f.pixels.assign(6, 0x00FF0000u);
    const auto path = std::filesystem::temp_directory_path() / "tarko_png_test.png";
    ASSERT_TRUE(platform::write_png(f, path.string()));
    EXPECT_GT(std::filesystem::file_size(path), 8u);
    std::filesystem::remove(path);
    EXPECT_FALSE(platform::write_png(f, "/nonexistent-dir/x.png"));
}
