// The camera side of the control companion. Every camera call of the library
// goes through the driver installed here. The default driver has no camera:
// each call answers XE_CAM_NO_CAMERA and camera cines fail to open. A
// simulated driver (deterministic recordings in memory) can be installed for
// tests and demonstrations.
#pragma once

#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::con {

// What cvXeGetCineParams fills, 4728 bytes; the library reads only these fields.
#pragma pack(push, 1)
struct CineParams {
  uint8_t Reserved0[8];
  uint32_t FrameRate;              // 8
  uint8_t Reserved12[12];
  uint32_t PostTrigger;            // 24
  uint32_t ImageCount;             // 28
  uint32_t MeasureInterval;        // 32: interval from the times, not from the rate
  uint8_t Reserved36[28];
  uint32_t HasRecording;           // 64
  Time64 TriggerTime;              // 68: seconds 0 means none given
  uint8_t Reserved76[4];
  int32_t FirstImage;              // 80
  uint8_t Reserved84[200];
  uint32_t RealBPP;                // 284
  uint8_t Reserved288[4728 - 288];
};
#pragma pack(pop)
static_assert(sizeof(CineParams) == 4728);
static_assert(offsetof(CineParams, TriggerTime) == 68);
static_assert(offsetof(CineParams, FirstImage) == 80);
static_assert(offsetof(CineParams, RealBPP) == 284);

class CameraDriver {
 public:
  virtual ~CameraDriver() = default;
  virtual int32_t GetCineParams(int32_t cn, int32_t cineNr, CineParams *params,
                                BitmapInfoHeader *bmih) = 0;
  virtual int32_t SetupFromCineParams(int32_t cn, int32_t cineNr, Setup *setup) = 0;
  // A camera value read as the result (0 when there is no such camera).
  virtual uint32_t GetValue(int32_t cn, uint32_t selector) = 0;
  // The camera's own Setup, or null.
  virtual const Setup *CameraSetup(int32_t cn) = 0;
  // True for the camera models whose serials carry the maker's prefix.
  virtual bool IsFirewireModel(uint32_t cameraVersion) = 0;
  // Video frequency in thousandths of a hertz for camera `cn`, or for the
  // machine when cn is 0.
  virtual uint32_t VideoFrequency(int32_t cn) = 0;
};

// The driver in force; never null.
CameraDriver &Driver();
// Installs a driver (not owned); null puts the camera-less default back.
void InstallCameraDriver(CameraDriver *driver);

// The calls of the library, named as the companion names them.
int32_t cvXeGetCineParams(int32_t cn, int32_t cineNr, CineParams *params, BitmapInfoHeader *bmih);
int32_t XefSetupFromCineParams(int32_t cn, int32_t cineNr, Setup *setup);
uint32_t XevGet(int32_t cn, uint32_t selector);
// Fills the first pointer with the camera's Setup (null without a camera).
int32_t XefGetStrPointers(int32_t cn, const Setup **setup, void *, void *, void *);
bool XefIsFirewireCamera(uint32_t cameraVersion);
uint32_t XefVideoFrequency(int32_t cn);

// XevGet selector: the camera transfers packed 10-bit images.
constexpr uint32_t kGetPackedTransfer = 2000;

}  // namespace xe::con
