// The runtime's picture loader: BMP, GIF and JPG files into tarko::Image and
// picture objects.
//
// Decisions where the original loader's behaviour is not ours to copy:
//  - BMP: 1, 4, 8, 16, 24 and 32 bits, uncompressed or with bit fields,
//    bottom-up or top-down; RLE8 and RLE4 are decoded here (pixels a delta
//    skips are black). Alpha in 32-bit files is ignored.
//  - GIF (giflib): the first frame, composed on the logical screen. It is the
//    image blocks up to and including the first one whose graphic control
//    block asks for a delay, or all blocks when none does; blocks are drawn
//    over one another in file order (disposal methods only act between
//    frames, so never here) and clipped to the screen. A pixel no block
//    covers is black, and so is a transparent pixel over nothing: a
//    transparent pixel shows what an earlier block of the frame put there.
//    Indices past a colour table are black; an image with no colour table at
//    all is refused.
//  - JPG (libjpeg-turbo): baseline and progressive, greyscale, colour, CMYK
//    and YCCK (inverted as Adobe writes it when the Adobe marker is there).
//    Any warning of the decoder (damaged or cut data) refuses the file, and
//    so do more than 100 scans.
//  - A file whose pixel data stops short is refused (481), not padded.
//  - Sides up to 16384 and at most 2^26 pixels (image_size_allowed); larger
//    pictures give 481 before their pixels are allocated. GIF, JPG and
//    run-length BMP (whose end code can stand for any size) are also
//    refused when they claim more than 1024 pixels per byte of file
//    beyond a first 2^20 pixels: a Huffman-coded JPEG spends at least one
//    bit on each 8 x 8 block (512 pixels a byte), and a GIF screen this much
//    larger than its data is not a picture anyone draws.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "platform/gdi/picture.h"
#include "platform/object_ref.h"
#include "runtime/image.h"

namespace tarko::platform {

namespace image {

inline constexpr int kMaxPictureSide = kMaxImageSide;

// Decodes a BMP, GIF or JPG held in memory into opaque pixels (alpha 0xFF);
// anything else, or a damaged file, raises RuntimeError 481 ("Invalid
// picture").
Image decode_picture(std::span<const std::uint8_t> bytes);

// The file's picture: a missing file raises 53, an undecodable one 481.
Image load_picture_image(const std::string& file);

}  // namespace image

// LoadPicture(file): a picture whose Handle is a 32-bit bitmap of the file's
// pixels. "" gives an empty picture (Handle 0). A missing file raises 53,
// an undecodable one 481.
Ref<gdi::StdPicture> LoadPicture(const std::string& file = {});

}  // namespace tarko::platform
