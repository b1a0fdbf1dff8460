// Bitmap headers for the pixel tests, written field by field so that the
// tests do not take their geometry from the library they check.
#pragma once

#include <cstdint>
#include <vector>

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

// 10-bit codes written bit by bit as the packed form holds them: sample i at
// stream bits 10i..10i+9, most significant first, stream bit 0 the top bit of
// byte 0; the last byte is filled with zeros.
inline std::vector<uint8_t> Packed10(const std::vector<uint16_t> &codes) {
  std::vector<uint8_t> out((codes.size() * 10 + 7) / 8, 0);
  for (size_t bit = 0; bit < 10 * codes.size(); ++bit)
    if ((codes[bit / 10] >> (9 - bit % 10)) & 1) out[bit / 8] |= static_cast<uint8_t>(0x80 >> (bit % 8));
  return out;
}

}  // namespace testsupport
