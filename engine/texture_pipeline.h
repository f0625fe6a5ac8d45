// Pieces of the texture creators that need no engine object: the texture
// descriptions, the format tests of the walk, placement, the picture road a
// file name takes, bringing a picture to a texture's size, and the pixel
// passes (colour key, bump offsets).
#pragma once

#include <string>

#include "platform/constants.h"
#include "platform/d3d/direct3d.h"
#include "platform/records.h"
#include "platform/surface.h"
#include "runtime/image.h"
#include "runtime/numeric.h"

namespace tarko::engine::textures {

inline constexpr Long kTextureFlags = dx::DDSD_CAPS | dx::DDSD_PIXELFORMAT | dx::DDSD_TEXTURESTAGE;  // 0x101001
inline constexpr Long kSizedTextureFlags = kTextureFlags | dx::DDSD_HEIGHT | dx::DDSD_WIDTH;        // 0x101007
// Managed textures need at least this much free video memory.
inline constexpr Long kManagedMinimumFreeMemory = 65536;

// A texture description for stage 0: sized (width by height) when both are
// non-zero, else with neither size nor size flags.
DDSURFACEDESC2 texture_description(Long width, Long height);

// What a format of the device's list must be to be taken.
enum class FormatTest {
    NoFourCC,    // any depth, not compressed
    Opaque16,    // 16 bits, not compressed, no alpha mask
    Alpha16,     // 16 bits, not compressed, an alpha mask
};
bool passes(const DDPIXELFORMAT& format, FormatTest test);

// Reads items 1 to count into `format`, stopping at the first that passes.
// True when one did; otherwise `format` holds the last item (or is unchanged
// when the list is empty).
bool walk_formats(const Direct3DEnumPixelFormats& list, DDPIXELFORMAT& format, FormatTest test);

enum class Placement { Managed, System };
// Caps 4096 / lCaps2 16 (managed) or caps 6144 / lCaps2 0 (system memory).
void place(DDSURFACEDESC2& desc, Placement placement);

// How CreateTextureEX reads a file, decided from its name alone.
enum class PictureRoad {
    Picture,  // "BMP", "GIF" or "JPG" anywhere in the upper-case name
    Pcx,      // else "PCX" anywhere in the upper-case name
    Tga,      // else "tga" anywhere in the name as written
    None,     // an empty bitmap
};
PictureRoad road_for_name(const std::string& file_name);

// Whether the working bitmap of CreateTextureEX can be width x height: the
// sizes a 24-bit DIB section takes. Row or image bytes outside a Long raise
// Overflow (6), as making that bitmap does.
bool working_bitmap_allowed(Long width, Long height);

// The texture's pixels: the picture itself at its own size, else its bilinear
// resampling (images/resample.h) into `resampled`.
const Image& bring_to_size(const Image& picture, Long width, Long height, Image& resampled);

// LoadSimpleTexture stretches files whose last three letters are JPG or GIF
// (in any case) through KreateSurfaceFromFile.
bool loads_by_stretching(const std::string& file_name);

// The colour-key pass over a locked surface: every pixel whose RGB bits
// differ from the key (white: all RGB bits set; black: 0) gets the alpha bits
// of `desc`'s format; key pixels keep theirs.
void colour_key_pass(DirectDrawSurface7& surface, const DDSURFACEDESC2& desc, bool white_key);

// The bump map's source coordinates for pixel (x, y) of a w by h map. du is
// kept in double precision and dv as a Single before both are rounded (half
// to even). A zero w or h raises Division by zero (11).
struct BumpOffset {
    Long du = 0;
    Long dv = 0;
};
BumpOffset bump_offset(Long x, Long y, Long w, Long h);

// Locks the surface and sets every pixel to the pixel found at its bump
// offset (0 for offsets outside the surface).
void bump_pass(DirectDrawSurface7& surface, const DDSURFACEDESC2& desc, Long w, Long h);

}  // namespace tarko::engine::textures
