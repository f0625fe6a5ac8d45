// DirectDraw7::createSurfaceFromFile, and pictures copied or stretched into
// surfaces.
#include <algorithm>
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

}  // namespace

void copy_to_surface(const Image& picture, DirectDrawSurface7& surface) {
    const PixelFormat& format = surface.format();
    const int w = std::min(picture.width, surface.width()), h = std::min(picture.height, surface.height());
    for (int y = 0; y < h; ++y) {
        const std::uint32_t* row = &picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width)];
        for (int x = 0; x < w; ++x) surface.set_raw(x, y, format.from_rgb_no_alpha(0xFF000000u | row[x]));
    }
    surface.touch();
}

void stretch_to_surface(const Image& picture, DirectDrawSurface7& surface) {
    if (picture.empty()) return;
    const PixelFormat& format = surface.format();
    const std::vector<int> xs = centres(picture.width, surface.width());
    const std::vector<int> ys = centres(picture.height, surface.height());
    for (int y = 0; y < surface.height(); ++y)
        for (int x = 0; x < surface.width(); ++x)
            surface.set_raw(x, y, format.from_rgb_no_alpha(0xFF000000u | picture.at(xs[static_cast<std::size_t>(x)],
                                                                                     ys[static_cast<std::size_t>(y)])));
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
