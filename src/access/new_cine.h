// Making a cine: the fields every creator fills, and the end they share,
// which brings the save defaults and the processing of use case 1.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Fields every creator takes from the Header: save range, fetch range, the
// view words, QFactor, AviFrameRate and the TimeFormat of the camera options.
void FillCreationFields(Cine *c);

// The end shared by every creator: stamp options, BmihOpened, save control,
// FileType and its defaults, the demosaic setting, the 400-byte working block
// and use case 1. Returns the merged status.
int32_t FinishNewCine(Cine *c, int32_t status);

}  // namespace xe
