// Picture objects over bitmaps, and their HiMetric sizes.
#include "platform/gdi/gdi.h"
#include "platform/gdi/picture.h"
#include "runtime/numeric.h"

namespace tarko::platform::gdi {

Long pixels_to_himetric(Long pixels) {
    return runtime::CLng(runtime::round_half_even(static_cast<double>(pixels) * 15000.0 / 567.0));
}

Long himetric_to_pixels(Long himetric) {
    return runtime::CLng(static_cast<double>(himetric) * 0.001 * 567.0 / kTwipsPerPixel);
}

StdPicture::StdPicture(HBITMAP bitmap, HPALETTE palette, bool own) : bitmap_(bitmap), palette_(palette), own_(own) {
    BITMAP info;
    if (GetObjectA(bitmap, 24, info)) {
        pixel_width_ = info.bmWidth;
        pixel_height_ = info.bmHeight;
    }
}

StdPicture::~StdPicture() {
    if (!own_) return;
    if (bitmap_) DeleteObject(bitmap_);
    if (palette_) DeleteObject(palette_);
}

Long OleCreatePictureIndirect(const PICTDESC& desc, bool own, Ref<StdPicture>& picture) {
    BITMAP info;
    if (desc.cbSizeofstruct != 20 || desc.picType != PICTYPE_BITMAP || !GetObjectA(desc.hbitmap, 24, info))
        return E_INVALIDARG;
    picture = Ref<StdPicture>(std::make_shared<StdPicture>(desc.hbitmap, desc.hpal, own));
    return S_OK;
}

}  // namespace tarko::platform::gdi
