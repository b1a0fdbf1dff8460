// The depth of a cine's images: the switch between 8 bits and the camera's
// own depth, and the header after the camera's depth changed.
#include <algorithm>

#include "companions/con/camera_driver.h"
#include "companions/con/services.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/mosaic.h"
#include "frame/cine.h"

using namespace xe;

namespace {

// Camera cine numbers from this one on are stored cines, below it the
// camera's live settings apply.
constexpr int32_t kFirstStoredCineNr = 101;
// Sample depths a 16-bit container can hold.
constexpr uint32_t kMinDepth = 8;
constexpr uint32_t kMaxDepth = 16;
// The header of packed 10-bit transfers.
constexpr uint32_t kPackedLevels = 1024;

uint32_t PowerOfTwoClamped(uint32_t bits) { return bits >= 32 ? 0xFFFFFFFFu : 1u << bits; }

// The depth the camera delivers the cine's images at.
int32_t CameraDepth(const Cine *c, uint32_t *depth) {
  if (c->CineNr < kFirstStoredCineNr) {
    con::CameraOptions options{};
    int32_t status = con::cvXeGetCameraOptions(c->CN, &options, 0);
    *depth = options.BitDepth;
    return status;
  }
  con::CineParams params{};
  int32_t status = con::cvXeGetCineParams(c->CN, c->CineNr, &params, nullptr);
  *depth = params.RealBPP;
  return status;
}

// The camera sends its images as packed 10-bit samples.
bool SupportsPackedTransfer(const Cine *c) {
  return con::XevGet(c->CN, con::kGetPackedTransfer) != 0;
}

}  // namespace

extern "C" {

XEFILE_API int32_t XeEnableCine16Bpp(CineHandle cine, uint32_t enable) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  Setup &s = cine->H.Setup;
  BitmapInfoHeader &b = cine->H.Bmih;
  const bool colour = XefIsColorCine(cine) != 0;
  if (enable) {
    // A file keeps the depth it was stored with.
    if (cine->IsFileCine) return status;
    uint32_t depth = 0;
    status = CameraDepth(cine, &depth);
    if (status < 0) return status;
    // The container holds 16 bits; a camera that gives less than 8 is taken
    // as 8.
    depth = std::clamp(depth, kMinDepth, kMaxDepth);
    s.RealBPP = depth;
    b.biBitCount = colour ? 48 : 16;
    b.biSizeImage = intl::XefPixarSize(&b);
    b.biClrImportant = PowerOfTwoClamped(depth);
    cine->Saving.Save16Bit = depth;
    return status;
  }
  s.RealBPP = 8;
  b.biBitCount = colour ? 24 : 8;
  b.biSizeImage = intl::XefPixarSize(&b);
  b.biClrImportant = 0;
  cine->Saving.Save16Bit = 0;
  return status;
}

XEFILE_API int32_t XefUpdateCineRealBppChanged(CineHandle cine) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  Setup &s = cine->H.Setup;
  BitmapInfoHeader &b = cine->H.Bmih;
  if (SupportsPackedTransfer(cine)) {
    b.biBitCount = 16;
    b.biCompression = intl::kPackedCompression;
    b.biClrImportant = kPackedLevels;
  } else if (s.RealBPP < 9) {
    b.biBitCount = 8;
    b.biCompression = 0;
    b.biClrImportant = 256;
  } else {
    b.biBitCount = 16;
    b.biCompression = 0;
    b.biClrImportant = PowerOfTwoClamped(s.RealBPP);
  }
  b.biSizeImage = intl::XefPixarSize(&b);
  if (s.RealBPP < 9) {
    s.fGain16_8 = 1.0f;
  } else {
    double top = static_cast<double>(PowerOfTwoClamped(s.RealBPP)) / 256.0;
    if (!(s.fGain16_8 <= top)) s.fGain16_8 = static_cast<float>(top);
  }
  intl::XefInitBWLevels(cine->CN, &s, b.biBitCount, intl::XefIsPacked(&b) ? 1 : 0);
  // The flaw cache is rebuilt on its next use; this build keeps none.
  cine->ParamsChanged = 1;
  return status;
}

}
