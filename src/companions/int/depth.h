// Reduction of 16-bit samples to 8 bits: the gain-controlled conversion of the
// processing chain, and the level-stretching one of the display path.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::intl {

constexpr uint32_t kReduceTo8 = 1;  // XeProcessImage mode

// Mode 1 (kReduceTo8): a 16-bit gray or 48-bit colour image to 8 or 24 bits.
// Each sample v becomes min(255, floor(v * gain / 256)). So gain 1.0 keeps the
// top byte (v >> 8), and gain 2^b / 256, with b = XefEffectiveBits(h), maps
// the whole b-bit range onto 0..255 (4095 with gain 16 gives 255). A gain that
// is not a finite number above 0 is taken as 1.0.
//
// `src` holds the 16-bit image, `dst` receives the 8-bit one with rows padded
// as XefMemWidth of the new header says. They may be the same buffer (the
// work runs front to back), otherwise they must not overlap. The header
// becomes 8 or 24 bits, biClrImportant 0 and biSizeImage the new size.
//
// XE_ERR_NULL_ARGUMENT for a null argument; XE_ERR_NOT_SUPPORTED for another
// mode or a header that is not an unpacked 16 or 48-bit one, with header and
// pixels unchanged. An empty image only changes the header.
int32_t XeProcessImage(const uint8_t *src, uint8_t *dst, BitmapInfoHeader *h, uint32_t mode,
                       float gain);

// The display reduction. For a 16 or 48-bit header: low and span are
// levels[0] and max(levels[1] - 1, 1), or 0 and 4095 without levels; a table
// of 65536 entries holds, for v up to maxPix = XefMaxPixDIB(h),
// (v*255 - low*255 + span/2) / span (integer division toward zero) limited to
// 0..255, and 255 above maxPix. The first biBitCount * height * width / 16
// samples of `src` go through it to the same places of `dst`: rows are taken
// as they lie, without the padding of each format. Then biBitCount is halved,
// biClrImportant 0 and biSizeImage width * height (times 3 for 24 bits). A
// header of another depth, or a null argument, leaves everything as it was.
// `src` and `dst` may be the same buffer.
void XefReduceDIB16To8(BitmapInfoHeader *h, const int32_t *levels, const uint16_t *src,
                       uint8_t *dst);

}  // namespace xe::intl
