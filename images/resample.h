// Bilinear resampling between two 24-bit DIBs, with the rounding the engine's
// texture sizes depend on.
#pragma once

#include "images/dib_pixels.h"
#include "runtime/image.h"

namespace tarko::images {

// Source W x H into target Wt x Ht. Scales are (W - 1) / Wt and (H - 1) / Ht
// stored as Singles, so the second sample of each pair lies inside the source;
// columns are mixed first (rounded half to even to whole numbers), then across
// (rounded, clamped). A source one pixel wide or high repeats its only column
// or row as the second sample.
void resample_bilinear(const DibPixels& source, const DibPixels& target);

// The same for images: a new width x height image (opaque), rows taken from
// the bottom up as a DIB holds them, so both give the same pixels. An empty
// source gives black.
Image resample_bilinear(const Image& source, int width, int height);

}  // namespace tarko::images
