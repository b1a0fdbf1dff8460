// Cutting a rectangle out of an image.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"
#include "xefile/xefile_status.h"

namespace xe {

// Copies the rectangle `rect` of the unpacked 8, 16, 24 or 48-bit image `in`
// described by `h` to `out`, as an image of its own with padded rows. The
// rectangle is in picture coordinates (top row first, right and bottom
// inclusive); rows are stored bottom-up, or top-down for a negative biHeight.
// `out` may be `in`: the rows move down in memory with overlapping moves.
//
// On success the width, height and biSizeImage of `h` describe the cut image
// (the sign of biHeight is kept) and the result is 0. A rectangle with a
// negative value, right < left, bottom < top, or right or bottom outside the
// image, and an image that is not unpacked 8 to 48 bits, give XE_WARN_CROP_REFUSED; a
// rectangle of the whole image gives 0. Neither writes `out` or `h`. A null
// pointer gives XE_ERR_NULL_ARGUMENT.
int32_t CropImage(const uint8_t *in, ImageHeader *h, uint8_t *out, XeRect rect);

}  // namespace xe
