// The save of FileType 4: every image of the range as one page of a single
// TIFF file, fetched in groups and written page by page.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// The whole multipage file of a save: `out` names the file and the range,
// images come from `reader`, progress goes to `cb` with `cine`.
int32_t SaveMultipageTiff(Cine *cine, Cine *reader, Cine *out, pfnCallback cb);

}  // namespace xe
