/* JPEG decoding on libjpeg-turbo, errors caught by setjmp in this one C file. */
#include "platform/image/jpeg_decode.h"

#include <setjmp.h>
#include <stdio.h> /* jpeglib.h needs FILE */
#include <stdlib.h>

#include <jpeglib.h>

struct strict_error {
    struct jpeg_error_mgr base;
    jmp_buf escape;
};

static void fail(j_common_ptr cinfo) {
    struct strict_error* e = (struct strict_error*)cinfo->err;
    longjmp(e->escape, 1);
}

/* Warnings (level -1) mean damaged data that the library would patch with
 * zeros, a cut file among them: refused like errors. Trace messages pass. */
static void strict_message(j_common_ptr cinfo, int level) {
    if (level < 0) fail(cinfo);
}

static void no_output(j_common_ptr cinfo) { (void)cinfo; }

static void count_scans(j_common_ptr cinfo) {
    j_decompress_ptr d = (j_decompress_ptr)cinfo;
    if (d->input_scan_number > TARKO_JPEG_MAX_SCANS) fail(cinfo);
}

static uint32_t argb(unsigned r, unsigned g, unsigned b) {
    return 0xFF000000u | (uint32_t)r << 16 | (uint32_t)g << 8 | (uint32_t)b;
}

/* c x k / 255 rounded, for 0..255 each */
static unsigned mul255(unsigned a, unsigned b) {
    const unsigned t = a * b + 128;
    return (t + (t >> 8)) >> 8;
}

static void convert_row(const JSAMPLE* in, uint32_t* out, int width, int components, int adobe_cmyk) {
    int x;
    for (x = 0; x < width; ++x, in += components) {
        if (components == 1) {
            out[x] = argb(in[0], in[0], in[0]);
        } else if (components == 3) {
            out[x] = argb(in[0], in[1], in[2]);
        } else if (adobe_cmyk) {
            /* Adobe files store 255 - ink: the samples already are the light */
            out[x] = argb(mul255(in[0], in[3]), mul255(in[1], in[3]), mul255(in[2], in[3]));
        } else {
            out[x] = argb(mul255(255u - in[0], 255u - in[3]), mul255(255u - in[1], 255u - in[3]),
                          mul255(255u - in[2], 255u - in[3]));
        }
    }
}

int tarko_jpeg_decode(const uint8_t* data, size_t size, tarko_jpeg_alloc alloc, void* context) {
    struct jpeg_decompress_struct cinfo;
    struct strict_error error;
    struct jpeg_progress_mgr progress;
    /* volatile: changed after setjmp and read after the longjmp */
    JSAMPLE* volatile row = NULL;
    volatile int status = -1;

    if (size == 0 || size > (size_t)0x7FFFFFFF) return -1;
    cinfo.err = jpeg_std_error(&error.base);
    error.base.error_exit = fail;
    error.base.emit_message = strict_message;
    error.base.output_message = no_output;
    if (setjmp(error.escape)) {
        free(row);
        jpeg_destroy_decompress(&cinfo);
        return -1;
    }
    jpeg_create_decompress(&cinfo);
    progress.progress_monitor = count_scans;
    cinfo.progress = &progress;
    jpeg_mem_src(&cinfo, data, (unsigned long)size);
    jpeg_read_header(&cinfo, TRUE);

    if (cinfo.jpeg_color_space == JCS_GRAYSCALE) {
        cinfo.out_color_space = JCS_GRAYSCALE;
    } else if (cinfo.jpeg_color_space == JCS_CMYK || cinfo.jpeg_color_space == JCS_YCCK) {
        cinfo.out_color_space = JCS_CMYK;
    } else {
        cinfo.out_color_space = JCS_RGB;
    }
    jpeg_calc_output_dimensions(&cinfo);
    {
        uint32_t* const out = alloc(context, (int)cinfo.output_width, (int)cinfo.output_height);
        const int components = cinfo.out_color_components;
        const int adobe_cmyk = cinfo.saw_Adobe_marker;
        if (out && (components == 1 || components == 3 || components == 4)) {
            const size_t width = cinfo.output_width;
            row = (JSAMPLE*)malloc(width * (size_t)components);
            if (row) {
                jpeg_start_decompress(&cinfo);
                while (cinfo.output_scanline < cinfo.output_height) {
                    JSAMPROW rows[1];
                    const JDIMENSION y = cinfo.output_scanline;
                    rows[0] = row;
                    if (jpeg_read_scanlines(&cinfo, rows, 1) != 1) break;
                    convert_row(row, out + (size_t)y * width, (int)width, components, adobe_cmyk);
                }
                if (cinfo.output_scanline == cinfo.output_height) {
                    jpeg_finish_decompress(&cinfo);
                    status = 0;
                }
            }
        }
    }
    free(row);
    row = NULL;
    jpeg_destroy_decompress(&cinfo);
    return status;
}
