// ProcessCine: the fixed chain of processing steps that a fetched image goes
// through in the cine's use case.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Runs the active steps of the chain over the images of `range` (null: the
// current image) in place. The chain is not built for any use case yet, so
// raw images pass unchanged and the status is 0.
int32_t ProcessCine(Cine *c, const ImageRange *range, uint8_t *pixels, ImageHeader *header);

}  // namespace xe
