// Reading the header parts of a cine file into a new Cine: the Setup, the
// bitmap header, the tagged area and the image offsets, following the offsets
// of the file header (older files have a shorter Setup and 32-bit offsets).
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// `header` holds the 44 bytes read from position 0 and `status` what that read
// left. A `.chd` path is a header file: it has no image offsets. On success
// *out is the new record, with the Header rewritten for memory; on failure
// *out is null and the status negative. The file stays open either way.
int32_t ReadCineFile(FileHandle fd, const char *path, const CineFileHeader &header, int32_t status,
                     Cine **out);

// True when the path ends in ".chd", in any case.
bool IsHeaderFilePath(const char *path);

}  // namespace xe
