#include "processing/process_cine.h"

#include "xefile/xefile_status.h"

namespace xe {

int32_t ProcessCine(Cine *, const ImageRange *, uint8_t *, ImageHeader *) { return XE_OK; }

}  // namespace xe
