// Times, counts of thousandths and shutter times as text.
//
// The exported XePrintTime, XefPrintDot3Us, XefFromNsToNsDegPer and
// XefFromNsDegPerToNs are defined with these. The text forms of the exposure
// fields of the dialogs live here as plain functions, without any window:
// a dialog reads its item's text and hands it to the *FromText function, and
// shows what the Print* function writes.
#pragma once

#include <cstdint>

namespace xe {

// Shutter units of the dialogs: the exposure shown as nanoseconds, as
// percent of the frame period, or as degrees of a rotating shutter. Any other
// value counts as nanoseconds.
enum ShutterUnit : uint32_t { kShutterNs = 0, kShutterPercent = 1, kShutterDegrees = 2 };

// Room the text forms below need, their terminating zero included.
constexpr uint32_t kDotTextSize = 16;
// Characters of an item's text that are read.
constexpr uint32_t kDotTextMaxRead = 100;

// A number of thousandths read from text: at most 100 characters by the C
// text-to-double rule, times 1000, rounded half away from zero, limited to
// the int32 range. "1.5" gives 1500; a null text or one without a number 0.
int32_t DotMicrosecFromText(const char *text);
// The same in `mode`: for percent and degrees the number read is converted
// back to nanoseconds of the period `periodNs`.
int32_t UsDegPerFromText(const char *text, int32_t periodNs, uint32_t mode);

// Writes `value` thousandths as XefPrintDot3Us does (room for kDotTextSize
// bytes). Returns the length of the last piece printed.
int32_t PrintDotMicrosec(int32_t value, char *out);
// Writes the nanoseconds `value` in `mode`, converted for percent and degrees
// of the period `periodNs`, as thousandths.
int32_t PrintUsDegPer(int32_t value, int32_t periodNs, uint32_t mode, char *out);

}  // namespace xe
