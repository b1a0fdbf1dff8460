// RAW still files (FileType -25): the rows of an image from the top of the
// picture, binary or as text, with an optional size header.
#pragma once

#include <cstdint>

#include "formats/image_writer.h"
#include "xefile/xefile_records.h"

namespace xe {

constexpr uint32_t kRawText = 1u << 0;        // text instead of binary
constexpr uint32_t kRawSizeHeader = 1u << 1;  // width, height and depth first

// Binary: with a size header three host-order u16 (width, height,
// biBitCount), then each row of XefMemWidth bytes, padding included. Text:
// with a size header the line "width height bits"; then a line per row of
// "%d " per gray sample or "%d,%d,%d " per colour pixel (red, green, blue),
// ended by "\r\n". An 8-bit colour row steps one byte per pixel, so pixel i
// shows bytes i+2, i+1, i: the form's readers expect exactly that.
// A file that cannot be created is reported and answers 0.
int32_t WriteRawImage(const char *name, const BitmapInfoHeader *h, const uint8_t *pixels,
                      uint32_t options);

// The writer of RAW files, with the RawFileOptions of the save.
WriterPtr MakeRawWriter(int16_t fileType);

}  // namespace xe
