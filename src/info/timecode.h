// SMPTE-shaped timecode: the packed TC (BCD digits and flag bits) and the
// unpacked TCU, and the arithmetic on them. There is no drop-frame logic:
// every minute has the same number of frames, and a rate counts as its
// nearest whole number (29.97 as 30).
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe {

void UnpackTC(const TC &tc, TCU *out);
TC PackTC(const TCU &tcu);
uint64_t TCToU64(const TC &tc);
TC U64ToTC(uint64_t v);

// `frames` frames after (or before) `in` at `fps`. The flags and user bits of
// `in` are lost. Hours do not wrap at 24 on adding; subtracting wraps back
// through one day. A rate below 0.5 gives the zero timecode.
TC TCAddFrames(const TC &in, uint64_t frames, float fps);
TC TCSubFrames(const TC &in, uint64_t frames, float fps);

// The timecode of `imageNo` when `base` belongs to `referenceImage`.
TC TCFromImageOffset(int32_t imageNo, float fps, const TC &base, int32_t referenceImage);

// The timecode a file from before timecode existed gets for image 0: the
// first stored image reads 01:00:00:00 when the recording was kept from image
// 0 on.
TC InitialTimecodeOfOldFile(int32_t firstImageNo, float tcRate);

}  // namespace xe
