// Picture objects: what LoadPicture and OleCreatePictureIndirect give. The
// default property (Handle) is a bitmap handle usable with GetObjectA,
// SelectObject and the blits; Width and Height are in HiMetric.
#pragma once

#include "platform/gdi/gdi.h"
#include "platform/object_ref.h"
#include "runtime/numeric.h"

namespace tarko::platform::gdi {

inline constexpr Long PICTYPE_NONE = 0;
inline constexpr Long PICTYPE_BITMAP = 1;
inline constexpr Long S_OK = 0;
inline constexpr Long E_INVALIDARG = static_cast<Long>(0x80070057);
// Screen.TwipsPerPixelX / Y: 96 dots per inch.
inline constexpr Long kTwipsPerPixel = 15;

// HiMetric size stored for a pixel size: the inverse of the engine's
// px = HiMetric x 0.001 x 567 / TwipsPerPixel, so that conversion gives the
// pixel size back exactly (round(px x 15000 / 567)).
Long pixels_to_himetric(Long pixels);
// The engine's conversion, rounded half to even.
Long himetric_to_pixels(Long himetric);

class StdPicture {
public:
    StdPicture() = default;  // an empty picture: type 0, handle 0
    StdPicture(HBITMAP bitmap, HPALETTE palette, bool own);
    ~StdPicture();
    StdPicture(const StdPicture&) = delete;
    StdPicture& operator=(const StdPicture&) = delete;

    Long Handle() const { return bitmap_; }
    Long hPal() const { return palette_; }
    Long Type() const { return bitmap_ ? PICTYPE_BITMAP : PICTYPE_NONE; }
    Long Width() const { return pixels_to_himetric(pixel_width_); }    // HiMetric
    Long Height() const { return pixels_to_himetric(pixel_height_); }  // HiMetric

    int pixel_width() const { return pixel_width_; }
    int pixel_height() const { return pixel_height_; }

private:
    HBITMAP bitmap_ = 0;
    HPALETTE palette_ = 0;
    bool own_ = false;
    int pixel_width_ = 0;
    int pixel_height_ = 0;
};

struct PICTDESC {
    Long cbSizeofstruct = 20;
    Long picType = PICTYPE_BITMAP;
    HBITMAP hbitmap = 0;
    HPALETTE hpal = 0;
};

// A picture over a bitmap (and palette). With `own` the picture deletes both
// when it ends. E_INVALIDARG for a wrong record size or type, or a handle that
// is not a bitmap.
Long OleCreatePictureIndirect(const PICTDESC& desc, bool own, Ref<StdPicture>& picture);

}  // namespace tarko::platform::gdi
