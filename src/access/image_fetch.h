// The raw fetch of a cine's images, file or camera.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// The bound of one delivered image used before any read: the image in its
// colour form at the container depth (never less than the stored image).
uint32_t MaxDeliveredImageSize(const Cine *c);

// The images of `range` as stored. XE_ERR_BUFFER_TOO_SMALL, with nothing
// read, when `size` cannot hold `range` images of MaxDeliveredImageSize.
int32_t GetCineRawImage(Cine *c, const ImageRange *range, uint8_t *pixels, uint32_t size,
                        ImageHeader *header);

}  // namespace xe
