/* JPEG encoding on libjpeg-turbo for tests and seed corpora, errors caught by
 * setjmp in this C file. */
#include "platform/image/jpeg_encode.h"

#include <setjmp.h>
#include <stdio.h>
#include <stdlib.h>

#include <jpeglib.h>

struct escape_error {
    struct jpeg_error_mgr base;
    jmp_buf escape;
};

static void escape(j_common_ptr cinfo) { longjmp(((struct escape_error*)cinfo->err)->escape, 1); }

int tarko_jpeg_encode(const uint8_t* samples, int width, int height, int components, int quality, int progressive,
                      int adobe_marker, uint8_t** out, unsigned long* out_size) {
    struct jpeg_compress_struct cinfo;
    struct escape_error error;
    /* libjpeg keeps their addresses and fills them as it writes */
    unsigned char* buffer = NULL;
    unsigned long size = 0;
    int i;

    *out = NULL;
    *out_size = 0;
    if (width <= 0 || height <= 0 || (components != 1 && components != 3 && components != 4)) return -1;
    cinfo.err = jpeg_std_error(&error.base);
    error.base.error_exit = escape;
    if (setjmp(error.escape)) {
        jpeg_destroy_compress(&cinfo);
        free(buffer);
        return -1;
    }
    jpeg_create_compress(&cinfo);
    jpeg_mem_dest(&cinfo, &buffer, &size);
    cinfo.image_width = (JDIMENSION)width;
    cinfo.image_height = (JDIMENSION)height;
    cinfo.input_components = components;
    cinfo.in_color_space = components == 1 ? JCS_GRAYSCALE : components == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, quality, TRUE);
    /* every component at full resolution: decoders then differ only in
     * their transforms' rounding, not in how they upsample */
    for (i = 0; i < cinfo.num_components; ++i) cinfo.comp_info[i].h_samp_factor = cinfo.comp_info[i].v_samp_factor = 1;
    if (components == 4) cinfo.write_Adobe_marker = adobe_marker ? TRUE : FALSE;
    if (progressive) jpeg_simple_progression(&cinfo);
    jpeg_start_compress(&cinfo, TRUE);
    while (cinfo.next_scanline < cinfo.image_height) {
        JSAMPROW row = (JSAMPROW)(samples + (size_t)cinfo.next_scanline * (size_t)width * (size_t)components);
        jpeg_write_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    *out = buffer;
    *out_size = size;
    return 0;
}
