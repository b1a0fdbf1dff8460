// The old TIME_1 block (1001): the times of the whole recording, then, where
// room was left, its exposures. It never stays in memory: on load it becomes
// a time block (1002) and an exposure block (1003) for the stored images.
#pragma once

#include "frame/cine.h"

namespace xe {

// Converts a TIME_1 block that stands first in the tagged area (or second,
// behind a 1000 block) and moves OffImageOffsets in memory to the end of the
// blocks written. A block whose entries for the stored images are not all
// held is dropped with the rest of the area.
void ConvertTime1Block(Cine *c);

}  // namespace xe
