// A view of the pixels of a device-independent bitmap, as the pixel functions
// see it: samples of 8 or 16 bits, one (gray or mosaic) or three (blue, green,
// red) per pixel, rows bottom-up, each row padded to whole 32-bit words.
//
// Colour filter patterns. The low byte of CFA is the pattern code; the
// pattern is given in picture coordinates, top row first (colours: 0 red,
// 1 green, 2 blue):
//
//   code 1: 2 x 4   G B R G / R G G B
//   code 2: 2 x 4   B G G R / G R B G
//   code 3: 2 x 2   G B / R G
//   code 4: 2 x 2   R G / G B
//
// Any other code is gray. Because rows are stored bottom-up, the pattern row
// of memory row r is the picture row height - 1 - r: the phase in memory
// depends on the height.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::intl {

enum Colour : uint8_t { kRed = 0, kGreen = 1, kBlue = 2 };

struct ImageView {
  uint8_t *data = nullptr;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t stride = 0;     // bytes of a row, padding included
  uint32_t bits = 0;       // 8 or 16 per sample
  uint32_t channels = 0;   // 1, or 3 in the order blue, green, red

  uint8_t *Row(uint32_t r) const { return data + static_cast<uint64_t>(stride) * r; }
  uint16_t *Row16(uint32_t r) const { return reinterpret_cast<uint16_t *>(Row(r)); }
};

// The view of an unpacked 8, 16, 24 or 48-bit image; false (view untouched)
// for any other header, a width or height of 0, or a null pointer. A
// negative biHeight is taken as its magnitude.
bool MakeView(const BitmapInfoHeader *h, uint8_t *pixels, ImageView *view);

// The pattern code of a CFA word: 1 to 4, or 0 for gray.
uint32_t CfaCode(uint32_t cfa);
// The colour of the filter over memory pixel (x, r) of an image of `height`
// rows; kGreen for gray.
Colour CfaColour(uint32_t code, uint32_t x, uint32_t r, uint32_t height);

// The largest sample value of a view (255, or 65535 for 16 bits).
inline uint32_t MaxSample(const ImageView &v) { return v.bits == 8 ? 255u : 65535u; }

}  // namespace xe::intl
