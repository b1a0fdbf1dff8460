#include "companions/con/camera_driver.h"

#include <atomic>

#include "companions/con/settings.h"
#include "xefile/xefile_status.h"

namespace xe::con {
namespace {

// The machine without a camera.
class NoCameraDriver final : public CameraDriver {
 public:
  int32_t GetCineParams(int32_t, int32_t, CineParams *, BitmapInfoHeader *) override {
    return XE_CAM_NO_CAMERA;
  }
  int32_t SetupFromCineParams(int32_t, int32_t, Setup *) override { return XE_CAM_NO_CAMERA; }
  uint32_t GetValue(int32_t, uint32_t) override { return 0; }
  const Setup *CameraSetup(int32_t) override { return nullptr; }
  bool IsFirewireModel(uint32_t) override { return false; }
  // The frequency of the video output of this machine: the setting
  // "VideoFrequency" (thousandths of a hertz), 30000 when unset.
  uint32_t VideoFrequency(int32_t) override {
    uint32_t f = 0;
    XefGetIntAlgoRegistryVal("VideoFrequency", &f);
    return f ? f : 30000;
  }
};

NoCameraDriver g_noCamera;
std::atomic<CameraDriver *> g_driver{&g_noCamera};

}  // namespace

CameraDriver &Driver() { return *g_driver.load(); }

void InstallCameraDriver(CameraDriver *driver) { g_driver.store(driver ? driver : &g_noCamera); }

int32_t cvXeGetCineParams(int32_t cn, int32_t cineNr, CineParams *params, BitmapInfoHeader *bmih) {
  if (!params) return XE_ERR_NULL_ARGUMENT;
  return Driver().GetCineParams(cn, cineNr, params, bmih);
}

int32_t XefSetupFromCineParams(int32_t cn, int32_t cineNr, Setup *setup) {
  if (!setup) return XE_ERR_NULL_ARGUMENT;
  return Driver().SetupFromCineParams(cn, cineNr, setup);
}

uint32_t XevGet(int32_t cn, uint32_t selector) { return Driver().GetValue(cn, selector); }

int32_t XefGetStrPointers(int32_t cn, const Setup **setup, void *, void *, void *) {
  const Setup *s = Driver().CameraSetup(cn);
  if (setup) *setup = s;
  return s ? XE_OK : XE_CAM_NO_CAMERA;
}

bool XefIsFirewireCamera(uint32_t cameraVersion) { return Driver().IsFirewireModel(cameraVersion); }

uint32_t XefVideoFrequency(int32_t cn) { return Driver().VideoFrequency(cn); }

}  // namespace xe::con
