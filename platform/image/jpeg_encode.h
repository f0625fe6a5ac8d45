/* JPEG encoding on libjpeg-turbo behind a plain C interface (see jpeg_decode.h
 * for why the library is only called from C). */
#ifndef TARKO_PLATFORM_IMAGE_JPEG_ENCODE_H
#define TARKO_PLATFORM_IMAGE_JPEG_ENCODE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Samples: `components` (1 grey, 3 RGB, 4 CMYK) bytes a pixel, rows top first.
 * Every component is kept at full resolution. With 4 components the Adobe
 * marker is written when `adobe_marker` is non-zero. On success (0) `*out`
 * holds `*out_size` bytes that the caller frees with free(). */
int tarko_jpeg_encode(const uint8_t* samples, int width, int height, int components, int quality, int progressive,
                      int adobe_marker, uint8_t** out, unsigned long* out_size);

#ifdef __cplusplus
}
#endif

#endif
