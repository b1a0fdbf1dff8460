// The raw fetch of a cine's images, file or camera.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// The images of `range` as stored. XE_ERR_BUFFER_TOO_SMALL, with nothing
// read, when `size` cannot hold `range` images of MaxImageSizeColor (selector
// CIS_MaxImageSizeColor): room for whatever the chain makes of them.
int32_t GetCineRawImage(Cine *c, const ImageRange *range, uint8_t *pixels, uint32_t size,
                        ImageHeader *header);

}  // namespace xe
