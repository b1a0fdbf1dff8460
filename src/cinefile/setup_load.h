// The Setup of a cine opened from a file: the corrections made on load, the
// neutral processing settings of already processed images, and the copies of
// processing settings between records.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Applies the load-time corrections to the cine's Setup, whose Length stood at
// `fileLength` in the file: the upgrade to the present layout, colour from
// before the CFA field, an invented timecode for files older than timecode,
// this library's SoftwareVersion, and the neutral step for processed colour
// images.
void ApplySetupLoadCorrections(Cine *c, uint32_t fileLength);

// Makes the processing settings neutral: the images already carry them.
void NeutralProcessingStep(Setup *s);

}  // namespace xe
