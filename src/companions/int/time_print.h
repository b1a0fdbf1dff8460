// Calendar services of the companion: time stamps as text in local time or
// UTC, the local time zone at a moment, and the seconds word of a time_t.
//
// The whole text of a stamp (XefPrintTime64), 39 characters:
//
//   Mon Sep 21 2026 14:13:20.500 000.000 us
//   0         1         2         3
//   0123456789012345678901234567890123456789
//
//   index  0-14  date "Ddd Mmm DD YYYY" (English names, day with a leading 0)
//   index 15     blank: writing a 0 here leaves the date alone
//   index 16-23  time of day "HH:MM:SS" (the 17th character on); colons at 18, 21
//   index 24     '.'
//   index 25-27  milliseconds
//   index 28     blank
//   index 29-31  microseconds
//   index 32     '.', the point of the microseconds that the information
//                dialog looks for when it marks the tail
//   index 33-35  nanoseconds
//   index 36-38  " us"
//
// The fraction is `fractions` without its two flag bits, in units of 2^-32 s,
// rounded down to the nanosecond. Every text written here needs at most 64
// bytes, its terminating zero included.
#pragma once

#include <cstdint>
#include <ctime>

#include "xefile/xefile_records.h"

namespace xe::intl {

// Room every print function below needs in each of its outputs.
constexpr uint32_t kTimeTextSize = 64;

// Format 1 prints in UTC; any other value in the platform's local time zone
// at that moment. `setup` may be null; the text does not depend on it.
// 0, or XE_ERR_NULL_ARGUMENT for a null `out` or `t`.
// The whole seconds `seconds` as "Ddd Mmm DD YYYY HH:MM:SS": the first 24
// characters of the stamp text, without the fraction.
int32_t XefPrintTime(char *out, uint32_t seconds, uint32_t format, const Setup *setup);
int32_t XefPrintTime64(char *out, const Time64 *t, uint32_t format, const Setup *setup);

// The parts of the same text, each into its own output when that is not
// null: p1 the date "Ddd Mmm DD YYYY", p2 "HH:MM:SS", p3 the fraction
// "mmm uuu.nnn", p4 the zone: "UTC" in format 1, else the local offset from
// UTC as "+hh:mm" or "-hh:mm". 0, or XE_ERR_NULL_ARGUMENT for a null `t`.
int32_t XefPrintTime64Sep(char *p1, char *p2, char *p3, char *p4, const Time64 *t,
                          uint32_t format, const Setup *setup);

// UTC minus local time at that moment, in seconds: positive west of
// Greenwich, so -3600 in Central Europe in winter. This is the
// RecordingTimeZone of a recording made then.
int32_t XefGetTimeZoneDiffUT(uint32_t seconds);

// The seconds word of a time, limited to 0 .. 2^32 - 1.
uint32_t XefTime_tToUINT32(time_t t);

}  // namespace xe::intl
