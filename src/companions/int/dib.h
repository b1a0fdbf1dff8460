// Sizes and kinds of device-independent bitmaps, as the pixel companion
// answers them. A header is a BitmapInfoHeader or the first 40 bytes of an
// ImageHeader.
//
// Rows of an unpacked image are padded to whole 32-bit words. A packed image
// (biCompression 256) holds 10-bit samples as one continuous bit stream, most
// significant bit first, four samples in five bytes, rows without padding:
// width x height x 10 / 8 bytes, rounded up to a whole byte.
//
// Sizes are computed in 64 bits and saturate at 0xFFFFFFFF, so a hostile
// header gives a size that no buffer or allocation accepts rather than a
// wrapped small one.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::intl {

uint32_t XefMemWidth(const BitmapInfoHeader *h);
uint32_t XefPixarSize(const BitmapInfoHeader *h);
// Bits in use in one sample: 10 for packed images, else taken from
// biClrImportant when it is a power of two from 2^8 to 2^16, else 8 or 16 by
// the bit count.
uint32_t XefEffectiveBits(const BitmapInfoHeader *h);
bool XefIs16BitDIB(const BitmapInfoHeader *h);
bool XefIsColorDIB(const BitmapInfoHeader *h);
bool XefIsPacked(const BitmapInfoHeader *h);
uint32_t XefMaxPixDIB(const BitmapInfoHeader *h);

// A DIB in one block: the header (biSize bytes), its colour table (biClrUsed
// entries of 4 bytes, or 2^biBitCount when that is 0 and the bitmap has 8
// bits or fewer), then the pixels. Sizes saturate as above; a header whose
// biSize is below 40 has no DIB size (0) and no pixels (null).
uint32_t XefDIBHeaderSize(const BitmapInfoHeader *dib);
uint32_t XefDIBSize(const BitmapInfoHeader *dib);
// What a buffer that receives a DIB of this header is given: its whole size.
uint32_t XefDIBSizeAlloc(const BitmapInfoHeader *dib);
const uint8_t *XefDIBPixar(const BitmapInfoHeader *dib);

inline const BitmapInfoHeader *AsBmih(const ImageHeader *ih) {
  return reinterpret_cast<const BitmapInfoHeader *>(ih);
}

// 2 to the power `bits` as the grey-level count of a header; 0 for 8 bits and
// for depths outside 9 to 16.
uint32_t GreyLevelsForDepth(uint32_t bits);

constexpr uint32_t kPackedCompression = 256;
constexpr uint32_t kPackedBits = 10;

}  // namespace xe::intl
