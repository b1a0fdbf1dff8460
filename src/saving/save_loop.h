// The driver of every save: one job from its first check to the closing of
// its output, fetching the images in groups and handing each group to the
// writer of the target type.
#pragma once

#include <cstdint>

#include "formats/image_writer.h"
#include "frame/cine.h"

namespace xe {

// Calls a progress callback and answers non-zero to go on. A null callback
// asks the user-interrupt test; a value of 0 to 15 names the remote handler
// set with XefSetFileLVCallback; anything else is called as a function.
int32_t CallCB(pfnCallback cb, Cine *cine, uint32_t percent);

// Images fetched at once: 1 for a file cine; for a camera cine a byte
// budget of its model (4: 256 KiB, 5 and 6: 1 MiB, others 10 MiB) over the
// image area, halved for 16-bit images, at least 1.
uint32_t ImagesPerGroup(const Cine *c);

// Runs one save job of `cine` with its options. The cine itself is not
// changed: the job works on duplicates of it.
int32_t SaveCine(Cine *cine, pfnCallback cb);

// Hands the images of one group held one after another in `pixels` (each
// XefPixarSize of `header` apart, each with a fresh copy of `header`) to
// `output`. With `explicitRange` the group is `first`, `count`, else the
// writer's ImageRangeFirst and ImageRangeCnt. Stops at the first failure.
int32_t WriteImageToFile(Cine *writer, const uint8_t *pixels, ImageWriter *output, const ImageHeader *header,
                         bool explicitRange, int32_t first, uint32_t count);

}  // namespace xe
