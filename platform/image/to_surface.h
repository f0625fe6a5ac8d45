// Pictures into surfaces without a device context in between: each pixel is
// converted once into the surface's format, alpha bits 0 as window-system
// drawing leaves them (a later colour-key pass tells drawn pixels by them),
// low bits dropped for 16-bit formats.
#pragma once

#include "platform/surface.h"
#include "runtime/image.h"

namespace tarko::platform::image {

// The image at (0, 0), clipped to the surface; the rest of the surface keeps
// its pixels.
void copy_to_surface(const Image& picture, DirectDrawSurface7& surface);

// The image stretched over the whole surface, each pixel taking the source
// pixel under its centre (StretchBlt's rule).
void stretch_to_surface(const Image& picture, DirectDrawSurface7& surface);

}  // namespace tarko::platform::image
