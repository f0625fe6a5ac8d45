/* JPEG decoding on libjpeg-turbo behind a plain C interface. The library
 * reports errors by longjmp; keeping every jpeg_* call in C code means no C++
 * frame (and no destructor) ever lies between its setjmp and its longjmp. */
#ifndef TARKO_PLATFORM_IMAGE_JPEG_DECODE_H
#define TARKO_PLATFORM_IMAGE_JPEG_DECODE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Called once the header is read: returns room for width x height pixels
 * (0xAARRGGBB, rows top first), or NULL to refuse the picture. Must not
 * throw or longjmp. */
typedef uint32_t* (*tarko_jpeg_alloc)(void* context, int width, int height);

/* Progressive files with more scans than this are refused: each scan costs a
 * pass over the whole picture. */
#define TARKO_JPEG_MAX_SCANS 100

/* 0 when the picture was decoded into the room `alloc` gave; -1 for any
 * error, warning (a damaged or cut file) or refusal. Greyscale comes out as
 * grey, CMYK (plain, or inverted as Adobe files store it) converted to RGB. */
int tarko_jpeg_decode(const uint8_t* data, size_t size, tarko_jpeg_alloc alloc, void* context);

#ifdef __cplusplus
}
#endif

#endif
