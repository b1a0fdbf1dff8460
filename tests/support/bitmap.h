// Bitmap headers for the pixel tests, written field by field so that the
// tests do not take their geometry from the library they check.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace testsupport {

// A header of w x h pixels at `bits` per pixel; biSizeImage is left 0 for
// the caller to set.
inline BitmapInfoHeader Bitmap(int32_t w, int32_t h, uint16_t bits, uint32_t compression = 0,
                               uint32_t levels = 0) {
  BitmapInfoHeader b{};
  b.biSize = 40;
  b.biWidth = w;
  b.biHeight = h;
  b.biPlanes = 1;
  b.biBitCount = bits;
  b.biCompression = compression;
  b.biClrImportant = levels;
  return b;
}

}  // namespace testsupport
