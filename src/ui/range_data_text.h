// The range record of one image as text. Range data is the 1004 block:
// RangeSize bytes for each image, the record of image n at index
// RangeSize x (n - FirstImageNo). The Setup's RangeCode tells its form:
//
//   1  antenna angles, 6 bytes: azimuth in bytes 0-2, elevation in bytes 3-5,
//      each unsigned little-endian in units of 1/16777216 of a full circle;
//      shown as degrees, minutes and seconds, "12\26034'56.78\"" (the
//      degree sign is the single byte 176)
//   2  tracking record, four little-endian 32-bit words:
//        word 0  bits 0-3 hundreds of metres of the range, 4-31 thousands
//        word 1  azimuth: bits 0-9 thousandths, 10-21 degrees, 22 negative;
//                bits 23-31 day
//        word 2  bits 0-9 site id; 10-19 thousandths of the second, 20-25
//                seconds, 26-31 minutes
//        word 3  bits 0-4 hours; elevation: 5-14 thousandths, 15-26 degrees,
//                27 negative; bits 28 and 29 are status and not shown
//   other  the bytes of the record in hexadecimal
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// Room of the text, terminator included.
constexpr uint32_t kRangeTextSize = 256;

// Writes the text of image `imageNo`'s record in form `mode` into `out`
// (kRangeTextSize bytes). Mode 1 writes the azimuth for `item` 1 and the
// elevation for `item` 2. `out` is left as it is when the cine has no range
// block, when the record is not held in it, and in mode 1 for any other
// item. Mode 0 writes an empty text.
void FormatRangeData(Cine *c, int32_t imageNo, uint32_t mode, uint32_t item, char *out);

}  // namespace xe
