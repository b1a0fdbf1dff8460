// Default, neutral and upgraded Setup records, as the companions make them.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::intl {

// The default Setup of a camera model: an empty record of the present length
// with unit white balance and neutral tone settings.
int32_t XefFillSetupHardAdj(uint32_t model, Setup *setup, uint32_t);

// Brings a record read from an old file to the present layout. The reader has
// already put the bytes over zeros; this sets Length to 7240, gives the gains
// and tone factors that the record did not reach their neutral 1.0, and the
// timecode rates the rate of the video output.
int32_t cvXefUpdateOldStructures(Setup *setup, uint32_t);

// Selector of XefNeutralImProc for all image adjustments at once.
constexpr uint32_t kNeutralAll = 500;

// Makes the adjustment named by `selector` neutral in `target`: one of the
// image-processing selectors (202 to 210, 215 to 219, and 23 for the
// rotation), or 500 for all of them. `source` gives the image size that the
// crop and resample reset to.
int32_t XefNeutralImProc(Setup *target, uint32_t selector, const Setup *source);

// The present time in seconds since 1970.
int32_t XefTimeUINT32(uint32_t *out);

}  // namespace xe::intl
