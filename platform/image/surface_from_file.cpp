// DirectDraw7::createSurfaceFromFile, and pictures copied or stretched into
// surfaces.
#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/constants.h"
#include "platform/ddraw.h"
#include "platform/image/picture_loader.h"
#include "platform/image/to_surface.h"

namespace tarko::platform::image {
namespace {

// Source columns (or rows) under the centres of `target` pixels: (2i + 1) x source / (2 x target).
std::vector<int> centres(int source, int target) {
    std::vector<int> at(static_cast<std::size_t>(target));
    for (int i = 0; i < target; ++i)
        at[static_cast<std::size_t>(i)] =
            static_cast<int>((2 * static_cast<std::int64_t>(i) + 1) * source / (2 * static_cast<std::int64_t>(target)));
    return at;
}

// The format's conversion, one table per channel: each channel lands in its
// own bits, so the three looked-up values or'ed give from_rgb_no_alpha
// exactly (an opaque alpha adds only alpha bits, which it clears).
class RowWriter {
public:
    explicit RowWriter(DirectDrawSurface7& surface) : surface_(surface) {
        const PixelFormat& f = surface.format();
        for (std::uint32_t v = 0; v < 256; ++v) {
            red_[v] = f.from_rgb_no_alpha(0xFF000000u | v << 16);
            green_[v] = f.from_rgb_no_alpha(0xFF000000u | v << 8);
            blue_[v] = f.from_rgb_no_alpha(0xFF000000u | v);
        }
    }
    std::uint32_t convert(std::uint32_t rgb) const { return red_[rgb >> 16 & 255] | green_[rgb >> 8 & 255] | blue_[rgb & 255]; }
    // Row y, pixels x = 0 .. n - 1 from `pixel(x)`.
    template <class Pixel> void write(int y, int n, const Pixel& pixel) {
        std::uint8_t* row = surface_.pixels() + static_cast<std::size_t>(y) * static_cast<std::size_t>(surface_.pitch());
        switch (surface_.format().bytes_per_pixel()) {
        case 2:
            for (int x = 0; x < n; ++x) {
                const auto v = static_cast<std::uint16_t>(convert(pixel(x)));
                std::memcpy(row + 2 * static_cast<std::size_t>(x), &v, 2);
            }
            break;
        case 4:
            for (int x = 0; x < n; ++x) {
                const std::uint32_t v = convert(pixel(x));
                std::memcpy(row + 4 * static_cast<std::size_t>(x), &v, 4);
            }
            break;
        default:
            for (int x = 0; x < n; ++x) surface_.set_raw(x, y, convert(pixel(x)));
        }
    }

private:
    DirectDrawSurface7& surface_;
    std::uint32_t red_[256], green_[256], blue_[256];
};

}  // namespace

void copy_to_surface(const Image& picture, DirectDrawSurface7& surface) {
    RowWriter out(surface);
    const int w = std::min(picture.width, surface.width()), h = std::min(picture.height, surface.height());
    for (int y = 0; y < h; ++y) {
        const std::uint32_t* row = &picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width)];
        out.write(y, w, [row](int x) { return row[x]; });
    }
    surface.touch();
}

void stretch_to_surface(const Image& picture, DirectDrawSurface7& surface) {
    if (picture.empty()) return;
    RowWriter out(surface);
    const std::vector<int> xs = centres(picture.width, surface.width());
    const std::vector<int> ys = centres(picture.height, surface.height());
    for (int y = 0; y < surface.height(); ++y)
        out.write(y, surface.width(), [&](int x) { return picture.at(xs[static_cast<std::size_t>(x)], ys[static_cast<std::size_t>(y)]); });
    surface.touch();
}

}  // namespace tarko::platform::image

tarko::Ref<DirectDrawSurface7> DirectDraw7::createSurfaceFromFile(const std::string& file, DDSURFACEDESC2& desc) {
    const tarko::Image picture = tarko::platform::image::load_picture_image(file);
    // Each side the description leaves out (or gives as 0) takes the picture's;
    // a given side stretches the picture to it.
    if (!(desc.lFlags & dx::DDSD_WIDTH) || desc.lWidth == 0) desc.lWidth = picture.width;
    if (!(desc.lFlags & dx::DDSD_HEIGHT) || desc.lHeight == 0) desc.lHeight = picture.height;
    desc.lFlags |= dx::DDSD_WIDTH | dx::DDSD_HEIGHT;
    auto surface = createSurface(desc);
    tarko::platform::image::stretch_to_surface(picture, *surface);
    return surface;
}
