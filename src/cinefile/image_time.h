// The time and exposure of one image: stored in a time block (1002, or the
// old 1001 that counts from the first image of the recording) and an exposure
// block (1003), or computed from the trigger time, the frame rate and the
// shutter when the cine holds none.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Writes the image's time. 1 when it is a stored time, or a computed one that
// can be trusted (internal frame clock); 0 otherwise.
int32_t CineImageTime(Cine *c, int32_t imageNo, Time64 *out);
// Writes the image's exposure in units of 2^-32 s. 1 when stored, or computed
// without automatic exposure; 0 otherwise.
int32_t CineImageExposure(Cine *c, int32_t imageNo, uint32_t *out);

// Puts right the trigger time of an old file: a zero `seconds` means the
// seconds stood in the first word; an old camera's software stored
// microseconds in `fractions`.
void RepairTriggerTime(Time64 *t, uint32_t cameraVersion, uint32_t softwareVersion);

}  // namespace xe
