// The uncompressed size of what a save will write, used to warn before a
// save that the disk or the file system cannot hold it.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Bytes a save of `c` with its present options writes: each still file
// rounded up to a multiple of `cluster` (0 counts as 1); one-file formats
// (FileType 0 to 8) are the images plus the header and the per-image
// tables, unrounded. The output header is that of a duplicate of the cine in
// the save use case; the images are those of the save range inside the
// cine. 0 for an unknown FileType, or when no duplicate can be made.
uint64_t EstimateSaveSize(Cine *c, uint32_t cluster);

// The same for a known output header `h` and `count` images. The per-image
// arithmetic is 32-bit, as are the products count x image size and count x 8
// of the one-file formats; a per-image size of 0xFFFFFFFF (an image too
// large to size) is counted as it is, without rounding.
uint64_t EstimateSaveSize(const BitmapInfoHeader &h, const SavingOptions &o, uint32_t count,
                          uint32_t cluster);

}  // namespace xe
