// XeSetCineInfo: the set switch. The recording facts are read only apart
// from the rotation, the cine name and the time format; the other families
// set from their own files. Every listed selector answers 0 whatever happened
// inside: a refused or clamped value is visible only in the caller's
// variable, which is why the stored value is written back there.
#include <cstring>

#include "companions/con/camera_driver.h"
#include "companions/con/log.h"
#include "companions/con/status.h"
#include "frame/cine.h"
#include "info/selectors.h"
#include "saving/update_setup.h"

namespace xe {
namespace {

// Time formats: 0 local time, 1 UTC, 2 timecode.
constexpr uint32_t kLastTimeFormat = 2;

void SetCineName(Cine *c, const void *value) {
  Setup &s = c->H.Setup;
  // The caller's text may be shorter than the field: read up to its NUL only.
  const char *text = static_cast<const char *>(value);
  size_t n = strnlen(text, sizeof s.CineName - 1);
  char name[sizeof s.CineName] = {};
  std::memcpy(name, text, n);
  if (!c->IsFileCine) CameraCineSet(c, kCamCineName, name, sizeof name);
  std::memcpy(s.CineName, name, sizeof name);
}

bool SetRecordingFact(Cine *c, uint32_t selector, void *value) {
  Setup &s = c->H.Setup;
  switch (selector) {
    case CIS_Rotate: {
      int32_t v = sel::GetI32(value);
      if (v != s.Rotate) c->ParamsChanged = 1;
      s.Rotate = v;
      return true;
    }
    case CIS_CineName: SetCineName(c, value); return true;
    case CIS_TimeFormat: {
      uint32_t v = sel::GetU32(value);
      c->TimeFormat = v > kLastTimeFormat ? kLastTimeFormat : v;
      sel::PutU32(value, c->TimeFormat);
      return true;
    }
    default: return false;
  }
}

}  // namespace

// The driver offers no cine values yet; a camera that answers is one that
// lacks every code.
int32_t CameraCineGet(Cine *c, uint32_t, void *, uint32_t) {
  if (!con::Driver().CameraSetup(c->CN)) return XE_CAM_NO_CAMERA;
  return XE_CAM_SELECTOR_ABSENT;
}

int32_t CameraCineSet(Cine *c, uint32_t, const void *, uint32_t) {
  if (!con::Driver().CameraSetup(c->CN)) return XE_CAM_NO_CAMERA;
  return XE_CAM_SELECTOR_ABSENT;
}

int32_t SetCineInfo(Cine *c, uint32_t selector, void *value) {
  // The image adjustments of a file cine go back into its file's Setup.
  if (selector == CIS_FlushSetupToFile) return c->IsFileCine ? UpdateCineFileSetup(c) : XE_OK;
  if (SetRecordingFact(c, selector, value) || SetProcessingInfo(c, selector, value) ||
      SetSaveInfo(c, selector, value))
    return XE_OK;
  return XE_ERR_NOT_SUPPORTED;
}

}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XeSetCineInfo(CineHandle cine, uint32_t selector, void *value) {
  if (!cine || !value) {
    int32_t status = XE_ERR_NULL_ARGUMENT;
    ErrCodeOnExit log(status);
    return status;
  }
  return SetCineInfo(cine, selector, value);
}

XEFILE_API int32_t XevSetCineInfo(CineHandle cine, uint32_t selector, uint32_t value) {
  // The demosaic callback is stored as the address passed; the address of a
  // local copy would dangle.
  if (cine && selector == CIS_DemosaicCallback) return XE_ERR_NOT_SUPPORTED;
  // Selectors whose value is wider than 32 bits read zeros past the value.
  alignas(8) uint8_t buffer[8192] = {};
  std::memcpy(buffer, &value, sizeof value);
  return XeSetCineInfo(cine, selector, buffer);
}

}
