// In-place filters on a 24-bit DIB's bytes. Each takes the object's process
// value, which holds the percentage done between columns and -1 at the end,
// and pumps the host's messages (runtime::DoEvents) where its doc says.
// With W = width, the default outer loop runs over byte columns x = 0, 3, ...,
// X = 3 (W - 1), the inner one over rows 0 to H - 1, and after each column
// the process value becomes Int(x / X x 100); a one-pixel-wide bitmap (X = 0)
// reports 100 after its column.
#pragma once

#include "images/dib_pixels.h"
#include "runtime/numeric.h"

namespace tarko::images {

void randomise_bits(const DibPixels& p, Long& process);
void blur(const DibPixels& p, Long& process);
void metalize(const DibPixels& p, Long& process);
void gray_scale(const DibPixels& p, Long& process);
void add_noise(const DibPixels& p, Long& process, Long percent, bool partial);
void add_images(const DibPixels& p, Long& process, Long factor1, const Long offsets1[3], Long factor2,
                const Long offsets2[3]);
// kernel[i + 1][j + 1] weighs the pixel i columns and j rows away.
void standard_filter(const DibPixels& p, Long& process, const Long kernel[3][3], Long divisor);
void eclaircir(const DibPixels& p, Long& process, double value);
void darken(const DibPixels& p, Long& process, Long level);

}  // namespace tarko::images
