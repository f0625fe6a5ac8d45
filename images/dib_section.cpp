// cDIBSection: making, copying and giving back the bitmap; the filters hand
// off to images/filters.h and the resampling to images/resample.h.
#include "images/dib_section.h"

#include <memory>

#include "images/filters.h"
#include "images/resample.h"
#include "runtime/errors.h"
#include "runtime/services.h"

namespace gdi = tarko::platform::gdi;
using tarko::Long;

cDIBSection::~cDIBSection() { ClearUp(); }

tarko::images::DibPixels cDIBSection::pixels() const {
    if (!bits_) return {};
    return {bits_, header_.biWidth, header_.biHeight, BytesPerScanLine()};
}

Long cDIBSection::BytesPerScanLine() const {
    return tarko::runtime::CLng(static_cast<double>((std::int64_t{header_.biWidth} * 3 + 3) & ~std::int64_t{3}));
}

bool cDIBSection::Create(Long NewWidth, Long NewHeight) {
    ClearUp();
    hdc_ = gdi::CreateCompatibleDC(0);
    if (hdc_ == 0) return false;
    bool made = false;
    try {
        made = CreateDIB(hdc_, NewWidth, NewHeight, hdib_);
    } catch (...) {  // an Overflow from the sizes: stay empty
        gdi::DeleteDC(hdc_);
        hdc_ = 0;
        throw;
    }
    if (made) {
        previous_bitmap_ = gdi::SelectObject(hdc_, hdib_);
        return true;
    }
    gdi::DeleteDC(hdc_);
    hdc_ = 0;
    return false;
}

bool cDIBSection::CreateDIB(Long lhDC, Long lWidth, Long lHeight, Long& hDib) {
    header_ = gdi::BITMAPINFOHEADER{};
    header_.biSize = 40;
    header_.biWidth = lWidth;
    header_.biHeight = lHeight;
    header_.biPlanes = 1;
    header_.biBitCount = 24;
    header_.biCompression = gdi::BI_RGB;
    header_.biSizeImage = tarko::runtime::CLng(static_cast<double>(header_.biHeight) * BytesPerScanLine());
    gdi::BITMAPINFO info;
    info.bmiHeader = header_;
    hDib = gdi::CreateDIBSection(lhDC, info, gdi::DIB_RGB_COLORS, bits_, 0, 0);
    return hDib != 0;
}

tarko::Variant cDIBSection::CreateFromPicture(const tarko::Ref<gdi::StdPicture>& picture) {
    gdi::BITMAP bitmap;
    gdi::GetObjectA(picture->Handle(), 24, bitmap);
    if (!Create(bitmap.bmWidth, bitmap.bmHeight)) return {};
    const gdi::HDC desktop = gdi::GetDC(gdi::GetDesktopWindow());
    if (desktop == 0) return {};
    const gdi::HDC temporary = gdi::CreateCompatibleDC(desktop);
    gdi::ReleaseDC(gdi::GetDesktopWindow(), desktop);
    if (temporary == 0) return {};
    const gdi::HGDIOBJ previous = gdi::SelectObject(temporary, picture->Handle());
    LoadPictureBlt(temporary, 0, 0, -1, -1, gdi::SRCCOPY);
    gdi::SelectObject(temporary, previous);
    gdi::DeleteDC(temporary);
    return {};
}

tarko::Ref<cDIBSection> cDIBSection::Resample(Long NewWidth, Long NewHeight) {
    auto result = std::make_shared<cDIBSection>();
    if (!result->Create(NewWidth, NewHeight)) return {};
    if (NewWidth == width() && NewHeight == Height()) {
        result->LoadPictureBlt(hdc_, 0, 0, -1, -1, gdi::SRCCOPY);
    } else {
        tarko::images::resample_bilinear(pixels(), result->pixels());
        process_ = -1;
    }
    return tarko::Ref<cDIBSection>(result);
}

void cDIBSection::LoadPictureBlt(Long lhDC, Long lSrcLeft, Long lSrcTop, Long lSrcWidth, Long lSrcHeight, Long eRop) {
    if (lSrcWidth < 0) lSrcWidth = width();
    if (lSrcHeight < 0) lSrcHeight = Height();
    gdi::BitBlt(hdc_, 0, 0, lSrcWidth, lSrcHeight, lhDC, lSrcLeft, lSrcTop, eRop);
}

void cDIBSection::PaintPicture(Long lhDC, Long lDestLeft, Long lDestTop, Long lDestWidth, Long lDestHeight,
                               Long lSrcLeft, Long lSrcTop, Long eRop) {
    if (lDestWidth < 0) lDestWidth = width();
    if (lDestHeight < 0) lDestHeight = Height();
    gdi::BitBlt(lhDC, lDestLeft, lDestTop, lDestWidth, lDestHeight, hdc_, lSrcLeft, lSrcTop, eRop);
}

bool cDIBSection::CopyToClipboard(bool bAsDIB) {
    const gdi::HDC desktop = gdi::GetDC(gdi::GetDesktopWindow());
    if (desktop == 0) return false;
    const gdi::HDC temporary = gdi::CreateCompatibleDC(desktop);
    if (temporary == 0) {
        gdi::ReleaseDC(gdi::GetDesktopWindow(), desktop);
        return false;
    }
    bool copied = false;
    if (bAsDIB) {
        tarko::runtime::MsgBox("I don't know how to put a DIB on the clipboard! Copy as bitmap instead!!!",
                               tarko::vbOKOnly);
    } else if (const gdi::HBITMAP bitmap = gdi::CreateCompatibleBitmap(desktop, width(), Height())) {
        const gdi::HGDIOBJ previous = gdi::SelectObject(temporary, bitmap);
        PaintPicture(temporary, 0, 0, -1, -1, 0, 0, gdi::SRCCOPY);
        gdi::SelectObject(temporary, previous);
        if (gdi::OpenClipboard(0)) {
            gdi::EmptyClipboard();
            copied = gdi::SetClipboardData(gdi::CF_BITMAP, bitmap) != 0;
            gdi::CloseClipboard();
        }
        // The clipboard owns a bitmap it took; one it refused is ours to free.
        if (!copied) gdi::DeleteObject(bitmap);
    }
    gdi::DeleteDC(temporary);
    gdi::ReleaseDC(gdi::GetDesktopWindow(), desktop);
    return copied;
}

void cDIBSection::ClearUp() {
    if (hdc_ != 0) {
        if (hdib_ != 0) {
            gdi::SelectObject(hdc_, previous_bitmap_);
            gdi::DeleteObject(hdib_);
        }
        gdi::DeleteDC(hdc_);
    }
    hdc_ = 0;
    hdib_ = 0;
    previous_bitmap_ = 0;
    bits_ = nullptr;
}

void cDIBSection::RandomiseBits(const tarko::Variant&) { tarko::images::randomise_bits(pixels(), process_); }
void cDIBSection::blur() { tarko::images::blur(pixels(), process_); }
void cDIBSection::Metalize() { tarko::images::metalize(pixels(), process_); }
void cDIBSection::GrayScale() { tarko::images::gray_scale(pixels(), process_); }

void cDIBSection::AddNoise(Long lPercent, const tarko::Variant& bPartial) {
    tarko::images::add_noise(pixels(), process_, lPercent, bPartial.to_bool());
}

bool cDIBSection::AddImages(Long lFactor1, Long lBlue1, Long lGreen1, Long lRed1, Long lFactor2, Long lBlue2,
                            Long lGreen2, Long lRed2) {
    const Long first[3] = {lBlue1, lGreen1, lRed1};
    const Long second[3] = {lBlue2, lGreen2, lRed2};
    tarko::images::add_images(pixels(), process_, lFactor1, first, lFactor2, second);
    return false;
}

tarko::Variant cDIBSection::pbStandardFilter() {
    const Long kernel[3][3] = {};  // allocated and never filled
    tarko::images::standard_filter(pixels(), process_, kernel, 1);
    return tarko::Variant(true);
}

void cDIBSection::Eclairecir(const tarko::Variant& vValue) {
    tarko::images::eclaircir(pixels(), process_, vValue.to_double());
}

void cDIBSection::Assombrir(Long lLevel) { tarko::images::darken(pixels(), process_, lLevel); }
