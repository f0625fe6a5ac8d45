// Device contexts over surfaces: colour conversion and alpha bits.
#include <gtest/gtest.h>

#include "platform/constants.h"
#include "platform/ddraw.h"
#include "platform/gdi/gdi.h"
#include "runtime/errors.h"

namespace gdi = tarko::platform::gdi;
using tarko::platform::PixelFormat;

namespace {

tarko::Ref<DirectDrawSurface7> texture(DirectDraw7& dd, const PixelFormat& format, int w, int h) {
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.lWidth = w;
    desc.lHeight = h;
    desc.ddpfPixelFormat = format.dd();
    return dd.createSurface(desc);
}

}  // namespace

TEST(SurfaceDc, WritesDropLowBitsAndAlphaAndReadBackReplicated) {
    DirectDraw7 dd("");
    auto s = texture(dd, PixelFormat::r5g6b5(), 2, 2);
    const tarko::Long dc = s->getDC();
    // red 0xFF, green 0x07, blue 0x08: 565 keeps 31, 1, 1 -> raw 0xF821
    gdi::SetPixel(dc, 1, 0, 0x0807FF);
    EXPECT_EQ(s->raw_at(1, 0), 0xF821u);
    // read back: 31 -> 255, green 1 (6 bits) -> 4, blue 1 (5 bits) -> 8
    EXPECT_EQ(gdi::GetPixel(dc, 1, 0), 0x0804FF);
    const auto before = s->generation();
    s->releaseDC(dc);
    EXPECT_GT(s->generation(), before);
    EXPECT_EQ(gdi::GetPixel(dc, 1, 0), gdi::CLR_INVALID);  // released

    auto alpha = texture(dd, PixelFormat::a1r5g5b5(), 1, 1);
    const tarko::Long adc = alpha->getDC();
    gdi::SetPixel(adc, 0, 0, 0xFFFFFF);
    alpha->releaseDC(adc);
    EXPECT_EQ(alpha->raw_at(0, 0), 0x7FFFu);  // white without the alpha bit
}

TEST(SurfaceDc, BitBltFromADibReachesTheSurface) {
    DirectDraw7 dd("");
    auto s = texture(dd, PixelFormat::x8r8g8b8(), 2, 1);
    std::uint8_t* bits = nullptr;
    gdi::BITMAPINFO info;
    info.bmiHeader.biWidth = 2;
    info.bmiHeader.biHeight = 1;
    info.bmiHeader.biBitCount = 24;
    const gdi::HDC mem = gdi::CreateCompatibleDC(0);
    const gdi::HBITMAP dib = gdi::CreateDIBSection(mem, info, 0, bits, 0, 0);
    const auto previous = gdi::SelectObject(mem, dib);
    bits[3] = 0x10;  // pixel 1: blue 0x10, green 0x20, red 0x30
    bits[4] = 0x20;
    bits[5] = 0x30;
    const tarko::Long dc = s->getDC();
    EXPECT_TRUE(gdi::BitBlt(dc, 0, 0, 2, 1, mem, 0, 0, gdi::SRCCOPY));
    s->releaseDC(dc);
    EXPECT_EQ(s->argb_at(1, 0) & 0xFFFFFFu, 0x302010u);
    gdi::SelectObject(mem, previous);
    gdi::DeleteObject(dib);
    gdi::DeleteDC(mem);
    // a context released by a surface that did not give it, or no context at all
    auto other = texture(dd, PixelFormat::r5g6b5(), 1, 1);
    const tarko::Long mine = s->getDC();
    EXPECT_THROW(other->releaseDC(mine), tarko::RuntimeError);
    EXPECT_THROW(s->releaseDC(12345), tarko::RuntimeError);
    s->releaseDC(mine);
}
