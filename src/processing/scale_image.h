// Resampling of an image to a new width and height by a separable polyphase
// filter: a horizontal pass, then a vertical one.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe {

// The largest sizes and kernel that resampling accepts.
constexpr uint32_t kScaleMaxWidth = 65536;
constexpr uint32_t kScaleMaxHeight = 39040;
constexpr uint32_t kScaleMaxKernel = 60;

// Resamples the unpacked 8, 16, 24 or 48-bit image `in` described by `h` to
// `width` x `height` into `out`, with a filter of `kernel` taps (at most the
// source length of each axis). `out` may be `in`: the source is read
// completely before the first output byte is written. `out` must hold the
// padded rows of the new size.
//
// On success the width, height and biSizeImage of `h` describe the new image
// (the sign of biHeight is kept) and the result is 0. A size of 0, a width
// above 65536, a height above 39040, a kernel above 60 or an image that is not
// unpacked 8 to 48 bits gives XE_WARN_RESAMPLE_REFUSED; the same size gives 0.
// Neither writes `out` or `h`. A null pointer gives XE_ERR_NULL_ARGUMENT. A
// working buffer that cannot be had, or a result too large for one
// allocation, gives XE_ERR_NO_MEMORY with nothing written.
int32_t ScaleImage(const uint8_t *in, ImageHeader *h, uint8_t *out, uint32_t width, uint32_t height,
                   uint32_t kernel);

}  // namespace xe
