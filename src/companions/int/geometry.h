// Mirror images and quarter turns of bitmaps (8, 16, 24 and 48 bits per
// pixel, rows bottom-up). Directions are those of the picture as seen: a
// horizontal flip swaps left and right, a vertical flip swaps top and bottom,
// and a clockwise quarter turn brings the picture's top-left corner to the
// top-right.
#pragma once

#include <cstdint>

#include "companions/int/image_view.h"
#include "xefile/xefile_records.h"

namespace xe::intl {

// Flips the image in place: left-right when `horizontal` is non-zero,
// top-bottom when `vertical` is. Both together are a half turn. The header
// does not change. Null header or pixels: XE_ERR_NULL_ARGUMENT; a bit count
// other than 8, 16, 24 or 48, a compressed or a negative-width image:
// XE_ERR_NOT_SUPPORTED, pixels unchanged. An empty image is left alone (0).
int32_t XeFlips(BitmapInfoHeader *h, uint8_t *pixels, uint32_t horizontal, uint32_t vertical);

// The quarter turn that a rotation in degrees asks for: +1 clockwise (90 or
// -270), -1 anticlockwise (-90 or 270), 0 for every other angle (ignored).
int32_t QuarterTurn(int32_t degrees);

// Flips of a view in place, rows [begin, end) of the pairs (r, height-1-r):
// the whole image when begin is 0 and end is (height + 1) / 2.
void FlipRows(const ImageView &v, bool horizontal, bool vertical, uint32_t begin, uint32_t end);
// Reverses the order of the pixels of one row in place.
void MirrorRow(const ImageView &v, uint8_t *row);

// Writes the quarter turn `turn` (+1 or -1) of `src` into `dst`, whose width
// is the height of src and whose height is its width (same sample format).
// The two must not overlap. Uses all pixel threads.
void RotateQuarter(const ImageView &src, const ImageView &dst, int32_t turn);

}  // namespace xe::intl
