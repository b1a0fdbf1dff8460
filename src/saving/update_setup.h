// Writing changed image adjustments back into the Setup of a cine file.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// XefUpdateCineFileSetup: copies the image-processing fields of the cine's
// Setup into the Setup stored in the file it was opened from, as many bytes
// as the stored Setup has. Nothing is done (0) for a camera or viewer cine,
// a colour cine not opened from a raw cine file, or a gray cine not opened
// from a processed one. The cine's own file stays open at its position.
int32_t UpdateCineFileSetup(Cine *c);

}  // namespace xe
