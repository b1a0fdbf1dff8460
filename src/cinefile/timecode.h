// SMPTE-shaped timecode: the packed TC (BCD digits and flag bits) and the
// unpacked TCU, and the arithmetic on them. There is no drop-frame logic:
// every minute has the same number of frames, and a rate counts as its
// nearest whole number (29.97 as 30).
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

struct Cine;

namespace xe {

// trunc(fps + 0.5): the whole frames a second counts at this rate. 0 for a
// rate below 0.5, and for one that is not a number or beyond 32 bits.
uint32_t FramesPerSecond(float fps);

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

// A timecode built from numbers: hours limited to 23, minutes and seconds to
// 59, frames to FramesPerSecond(fps) - 1 (below 0.5 fps there is no limit),
// each packed as tens * 16 + units in its byte, with no flags and no user
// bits.
TC TCFromHMSF(uint32_t hours, uint32_t minutes, uint32_t seconds, uint32_t frames, float fps);

// The timecode of a time of day: the UTC time of day of `t` counted in frames
// at the recording's `rate` (the fraction adding its whole frames), encoded
// at `fps`. When the two rates differ the time of day shown differs from the
// stamp's.
TC TCFromTime64(const Time64 &t, uint32_t rate, float fps);

// After TimeCode or a rate changed: brings the frame digits of TimeCode under
// TCRate (the flag bits of that byte are kept), then gives every entry of
// the timecode block (1007) the timecode of its image, image 0 reading
// TimeCode. Only the entries the block holds are written. A cine without the
// block answers XE_ERR_AUX_TAG_ABSENT and gets none: a file cine has no room
// in its record for a new block.
int32_t RebuildTimecodeBlock(Cine *c);

}  // namespace xe
