// The exported time and timecode functions: image times and exposures, the
// time from the trigger, the display time format, and timecode arithmetic on
// unpacked values.
#include <cstring>

#include "cinefile/image_time.h"
#include "cinefile/timecode.h"
#include "companions/con/services.h"
#include "frame/cine.h"

using namespace xe;

namespace {

// `in` moved by `frames` through its packed form, which drops its flags and
// user bits. The input is copied first, so `result` may be the same record.
TCU *StepTCU(TCU *result, const TCU *in, uint64_t frames, float fps, bool subtract) {
  if (!result || !in) return result;
  TCU copy;
  std::memcpy(&copy, in, sizeof copy);
  TC packed = PackTC(copy);
  TC moved = subtract ? TCSubFrames(packed, frames, fps) : TCAddFrames(packed, frames, fps);
  TCU out{};
  UnpackTC(moved, &out);
  std::memcpy(result, &out, sizeof out);
  return result;
}

}  // namespace

extern "C" {

XEFILE_API int32_t XefCineImageTime(CineHandle cine, int32_t imageNo, Time64 *out) {
  if (!cine || !out) return 0;
  return CineImageTime(cine, imageNo, out);
}

XEFILE_API int32_t XefCineImageExposure(CineHandle cine, int32_t imageNo, uint32_t *out) {
  if (!cine || !out) return 0;
  return CineImageExposure(cine, imageNo, out);
}

XEFILE_API int32_t XefTimeFromTrigger(CineHandle cine, int32_t imageNo, double *out) {
  if (!out) return 0;
  *out = 0.0;
  if (!cine) return 0;
  Time64 t{};
  // A computed time that cannot be trusted gives no distance either.
  if (!CineImageTime(cine, imageNo, &t)) return 0;
  *out = con::XefSubTime64(&t, &cine->H.Header.TriggerTime);
  return 1;
}

XEFILE_API uint32_t XefCineUT(CineHandle cine) {
  if (!cine) return 0;
  const uint32_t *format = nullptr;
  if (XeGetCineInfo(cine, CIS_PtrTimeFormat, &format) != XE_OK || !format) return 0;
  return *format;
}

XEFILE_API TCU *XefTCUAddFrames(TCU *result, const TCU *in, uint64_t frames, float fps,
                                uint32_t /*ignored*/) {
  return StepTCU(result, in, frames, fps, false);
}

XEFILE_API TCU *XefTCUSubFrames(TCU *result, const TCU *in, uint64_t frames, float fps,
                                uint32_t /*ignored*/) {
  return StepTCU(result, in, frames, fps, true);
}

XEFILE_API uint64_t XefGetTCFromHMSF(uint32_t hours, uint32_t minutes, uint32_t seconds,
                                     uint32_t frames, float fps) {
  return TCToU64(TCFromHMSF(hours, minutes, seconds, frames, fps));
}

}  // extern "C"
