// cDIBSection: the engine's working bitmap, a 24-bit DIB section selected in
// a memory device context of its own, so that its pixels are reached both by
// the window-system drawing calls (through hDC) and byte by byte (through
// DIBSectionBitsPtr). Internal to the engine; hosts never see one.
//
// Memory: rows bottom-up (row 0 is the picture's bottom), pixels blue, green,
// red, each row BytesPerScanLine = (3 x width + 3) with the low two bits
// cleared (width 1 -> 4, 4 -> 12, 5 -> 16). Device-context coordinates run
// top-down as usual.
//
// Filters change the pixels in place, report their progress in
// Process_Value (the percentage between columns, -1 once done) and pump the
// host's messages through runtime::DoEvents where their docs say; there is no
// guard against re-entry, so an event handler must not use the object while a
// filter runs. On an object that holds no bitmap every filter does nothing.
#pragma once

#include <cstdint>

#include "platform/gdi/gdi.h"
#include "platform/gdi/picture.h"
#include "images/dib_pixels.h"
#include "platform/object_ref.h"
#include "runtime/numeric.h"
#include "runtime/variant.h"

class cDIBSection {
public:
    cDIBSection() = default;
    ~cDIBSection();
    cDIBSection(const cDIBSection&) = delete;
    cDIBSection& operator=(const cDIBSection&) = delete;

    // --- making and copying
    // An empty (black) bitmap of that size; gives back what was held first,
    // also when it then fails. False when no device context or DIB came.
    // Sizes whose row bytes or image bytes leave a Long raise Overflow (6).
    bool Create(tarko::Long NewWidth, tarko::Long NewHeight);
    // Fills the header for that size and makes the DIB section; True when a
    // handle came back.
    bool CreateDIB(tarko::Long lhDC, tarko::Long lWidth, tarko::Long lHeight, tarko::Long& hDib);
    // A bitmap of the picture's size holding the picture's pixels. Gives no
    // result (Empty): a failure shows as hDC() being 0 (or the bitmap left
    // black when only the copy failed). A Nothing picture raises 91.
    tarko::Variant CreateFromPicture(const tarko::Ref<tarko::platform::gdi::StdPicture>& picture);
    // A new object of the given size: a plain copy at the same size, else a
    // bilinear resampling (images/resample.h). Nothing when the new bitmap cannot
    // be made. The receiver keeps its pixels; its Process_Value becomes -1
    // after a resampling.
    tarko::Ref<cDIBSection> Resample(tarko::Long NewWidth, tarko::Long NewHeight);
    // BitBlt from (lSrcLeft, lSrcTop) of a device context into this bitmap at
    // (0, 0); a negative width or height stands for this bitmap's own.
    void LoadPictureBlt(tarko::Long lhDC, tarko::Long lSrcLeft, tarko::Long lSrcTop, tarko::Long lSrcWidth,
                        tarko::Long lSrcHeight, tarko::Long eRop);
    // BitBlt of this bitmap from (lSrcLeft, lSrcTop) to (lDestLeft, lDestTop)
    // of a device context; negative sizes as above.
    void PaintPicture(tarko::Long lhDC, tarko::Long lDestLeft, tarko::Long lDestTop, tarko::Long lDestWidth,
                      tarko::Long lDestHeight, tarko::Long lSrcLeft, tarko::Long lSrcTop, tarko::Long eRop);
    // As a bitmap (bAsDIB False): a copy goes to the clipboard, True when it
    // took it. bAsDIB True shows "I don't know how to put a DIB on the
    // clipboard! Copy as bitmap instead!!!" and gives False.
    bool CopyToClipboard(bool bAsDIB);
    // Gives the DIB and the device context back; width and Height keep the
    // last size.
    void ClearUp();

    // --- what it holds
    tarko::Long BytesPerScanLine() const;
    tarko::Long width() const { return header_.biWidth; }
    tarko::Long Height() const { return header_.biHeight; }
    tarko::Long hDC() const { return hdc_; }
    tarko::Long hDib() const { return hdib_; }
    // The pixel memory (a pointer here, not a Long); nullptr when empty.
    std::uint8_t* DIBSectionBitsPtr() const { return bits_; }

    // --- filters (in place)
    // Reseeds from Timer; blue 0, green and red random 0..255. No pumping.
    void RandomiseBits(const tarko::Variant& Unused = {});
    // 3 x 3 box over bytes (not pixels) from byte 1 of each row, rows 1 to
    // H - 2, written at once so later steps see earlier ones; pumps after
    // every step.
    void blur();
    // One byte in four columns and rows becomes the mean of its 3 x 3 bytes;
    // pumps after each column.
    void Metalize();
    // gray = round((222 R + 707 G + 71 B) / 1000), half to even, into all
    // three bytes; pumps after each column.
    void GrayScale();
    // Channels move by r x amount - amount / 2 with amount = percentage x 128
    // \ 100; with bPartial only pixels whose draw r x 100 passes the
    // percentage change. Pumps after each changed pixel.
    void AddNoise(tarko::Long lPercent, const tarko::Variant& bPartial);
    // c -> (c + o1) x f1 + (c + o2) x f2 per channel, clamped; a term outside
    // a Long raises Overflow (6). Pumps after each pixel. Always False.
    bool AddImages(tarko::Long lFactor1, tarko::Long lBlue1, tarko::Long lGreen1, tarko::Long lRed1,
                   tarko::Long lFactor2, tarko::Long lBlue2, tarko::Long lGreen2, tarko::Long lRed2);
    // 3 x 3 convolution with a kernel that is never filled: every weight is 0,
    // so the area it covers (byte 4 to the last pixel but one, rows 1 to H - 3)
    // turns black. Returns True.
    tarko::Variant pbStandardFilter();
    // Keeps a running factor that stays 0 and stores 0 in every byte: the
    // image turns black. A non-numeric argument raises Type mismatch (13).
    void Eclairecir(const tarko::Variant& vValue);
    // byte -> byte x level \ 255 (truncating); results outside 0..255, from
    // levels outside that range, are clamped. Pumps after each pixel.
    void Assombrir(tarko::Long lLevel);
    // The running filter's percentage, -1 when it has ended, 0 before any.
    tarko::Variant Process_Value() const { return tarko::Variant(process_); }

private:
    tarko::images::DibPixels pixels() const;

    tarko::Long process_ = 0;
    tarko::Long hdib_ = 0;
    tarko::Long previous_bitmap_ = 0;
    tarko::Long hdc_ = 0;
    std::uint8_t* bits_ = nullptr;
    tarko::platform::gdi::BITMAPINFOHEADER header_{};
};
