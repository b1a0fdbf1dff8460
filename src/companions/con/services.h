// Services of the control companion that the library needs with or without a
// camera: mutexes with time-outs, the millisecond clock,
// time arithmetic, ranges and camera options.
#pragma once

#include <cstdint>
#include <mutex>

#include "xefile/xefile_records.h"

namespace xe::con {

using MutexHandle = std::timed_mutex *;
// 0 when acquired within the time-out, XE_ERR_MUTEX_TIMEOUT otherwise.
int32_t XefAcquireMutex(MutexHandle mutex, uint32_t timeoutMs);
int32_t XefReleaseMutex(MutexHandle mutex);

// A running millisecond count (monotonic).
uint32_t XefMilisec();

// Cuts `range` by `by`. Non-zero when nothing was cut. A range that does not
// meet `by` at all keeps its first image and gets a count of 0.
int32_t XefIntersectRanges(ImageRange *range, const ImageRange *by);

// Adds seconds to a time in place; the two flag bits of `fractions` are kept.
// The result saturates at the ends of the 64-bit scale; a NaN adds nothing.
void XefAddSecondsToTime64(Time64 *t, double seconds);
// a minus b in seconds; the flag bits play no part.
double XefSubTime64(const Time64 *a, const Time64 *b);

// A camera serial as the factory knows it.
uint32_t XefOuiToFactorySerial(uint32_t serial, uint32_t cameraVersion);

// The camera options record; TimeFormat is the word at offset 404.
#pragma pack(push, 1)
struct CameraOptions {
  uint8_t Reserved0[404];
  uint32_t TimeFormat;   // 404: 0 local time, 1 UTC, 2 timecode
  uint32_t BitDepth;     // 408: depth of images delivered by the camera
  uint8_t Reserved412[100];
};
#pragma pack(pop)
static_assert(sizeof(CameraOptions) == 512);

// Fills the options of camera `cn` (0: the machine's). TimeFormat comes from
// the setting "TimeFormat".
int32_t cvXeGetCameraOptions(int32_t cn, CameraOptions *options, uint32_t);

}  // namespace xe::con
