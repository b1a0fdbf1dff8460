// Images of a file cine as they are stored: raw samples stay raw and packed
// samples stay packed. Images are read straight into the caller's buffer.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Reads the image ImageRangeFirst of the cine into `pixels`, which holds
// `room` bytes, and fills `header` from the cine's image header with the
// Setup's black and white levels. An image number outside the stored images
// is not an error: the result is 0 and the pixels stay as they were.
int32_t ReadRawFileImage(Cine *c, ImageHeader *header, uint8_t *pixels, uint64_t room);

// Reads the images of `range` one after the other at the stride of one
// image. A failure of one image is merged and the others still run.
int32_t GetFileImage(Cine *c, const ImageRange *range, uint8_t *pixels, uint64_t room,
                     ImageHeader *header);

// The header of a fetched image before processing: Bmih with biSize 48 and
// the levels of the Setup.
void RawImageHeader(const Cine *c, ImageHeader *header);

}  // namespace xe
