// DirectDraw7::createSurfaceFromFile: a picture file decoded into a new surface.
#include "platform/constants.h"
#include "platform/ddraw.h"
#include "platform/gdi/gdi.h"
#include "platform/image/picture_loader.h"

tarko::Ref<DirectDrawSurface7> DirectDraw7::createSurfaceFromFile(const std::string& file, DDSURFACEDESC2& desc) {
    namespace gdi = tarko::platform::gdi;
    const auto picture = tarko::platform::LoadPicture(file);
    const int pw = picture->pixel_width(), ph = picture->pixel_height();
    if (pw <= 0 || ph <= 0) tarko::raise_error(tarko::err::InvalidPicture);
    // Each side the description leaves out (or gives as 0) takes the picture's;
    // a given side stretches the picture to it.
    if (!(desc.lFlags & dx::DDSD_WIDTH) || desc.lWidth == 0) desc.lWidth = pw;
    if (!(desc.lFlags & dx::DDSD_HEIGHT) || desc.lHeight == 0) desc.lHeight = ph;
    desc.lFlags |= dx::DDSD_WIDTH | dx::DDSD_HEIGHT;
    auto surface = createSurface(desc);

    const gdi::HDC memory = gdi::CreateCompatibleDC(0);
    const gdi::HGDIOBJ previous = gdi::SelectObject(memory, picture->Handle());
    const tarko::Long target = surface->getDC();
    gdi::StretchBlt(target, 0, 0, surface->width(), surface->height(), memory, 0, 0, pw, ph, gdi::SRCCOPY);
    surface->releaseDC(target);
    gdi::SelectObject(memory, previous);
    gdi::DeleteDC(memory);
    return surface;
}
