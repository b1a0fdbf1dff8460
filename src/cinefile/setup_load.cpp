#include "cinefile/setup_load.h"

#include <cstddef>
#include <cstring>

#include "cinefile/timecode.h"
#include "companions/con/camera_driver.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/setup_defaults.h"
#include "frame/start.h"

namespace xe {
namespace {

// Setups shorter than this were written before the CFA field existed.
constexpr uint32_t kLengthWithCFA = offsetof(Setup, CFA) + 1;  // 809
// Setups shorter than this were written before the timecode fields existed.
constexpr uint32_t kLengthWithTimecode = offsetof(Setup, TCRate) + 1;  // 6981
// Versions of the software before this one stored processed images with
// their processing settings still set.
constexpr uint32_t kNeutralBeforeVersion = 602;

}  // namespace

void NeutralProcessingStep(Setup *s) {
  s->Bright = s->Contrast = s->Gamma = s->Saturation = s->Hue = 0;
  s->bFlipH = s->bFlipV = 0;
  s->Rotate = 0;
  s->FilterCode = s->FilterParam = 0;
  s->BlackLevel = 0;
  s->WBView.R = s->WBView.B = 1.0f;
  s->WhiteLevel = MaxLevelForDepth(s->RealBPP);
  intl::XefNeutralImProc(s, intl::kNeutralAll, s);
}

void ApplySetupLoadCorrections(Cine *c, uint32_t fileLength) {
  Setup &s = c->H.Setup;
  const CineFileHeader &h = c->H.Header;
  intl::cvXefUpdateOldStructures(&s, 0);

  if ((h.Compression == XE_COMPRESSION_RAW || c->H.Bmih.biBitCount == 24) &&
      (fileLength < kLengthWithCFA || s.CFA == 0)) {
    // A colour cine of a time before the CFA field.
    s.bEnableColor = 1;
    s.CFA = s.CameraVersion == 6 ? 2 : 1;
  }
  if (fileLength < kLengthWithTimecode)
    s.TimeCode = InitialTimecodeOfOldFile(h.FirstImageNo, s.TCRate);
  s.SoftwareVersion = static_cast<uint32_t>(frame::SoftwareVersion());

  bool processedColour = h.Compression != XE_COMPRESSION_RAW && s.CFA != 0;
  // Old software also left settings on processed gray images; the version
  // was overwritten just above, so that rule no longer applies to any file.
  bool oldProcessed = s.SoftwareVersion < kNeutralBeforeVersion &&
                      (s.CFA == 0 || h.Compression == XE_COMPRESSION_RAW);
  if (processedColour || oldProcessed) NeutralProcessingStep(&s);
}

}  // namespace xe

using namespace xe;

namespace {

void CopyImProc(Setup *t, const Setup *s) {
  t->Bright = s->Bright;
  t->Contrast = s->Contrast;
  t->Gamma = s->Gamma;
  t->Saturation = s->Saturation;
  t->Hue = s->Hue;
  t->bFlipH = s->bFlipH;
  t->bFlipV = s->bFlipV;
  t->Rotate = s->Rotate;
  t->WBView = s->WBView;
  t->FilterCode = s->FilterCode;
  t->FilterParam = s->FilterParam;
  t->UserFilter = s->UserFilter;
  t->Conv8Min = s->Conv8Min;
  t->Conv8Max = s->Conv8Max;
  std::memcpy(t->WBGain, s->WBGain, sizeof t->WBGain);
  t->EnableCrop = s->EnableCrop;
  t->CropRect = s->CropRect;
  t->EnableResample = s->EnableResample;
  t->ResampleWidth = s->ResampleWidth;
  t->ResampleHeight = s->ResampleHeight;
  t->fChroma = s->fChroma;
  t->fFlare = s->fFlare;
  t->fGain = s->fGain;
  t->fGamma = s->fGamma;
  t->fGammaB = s->fGammaB;
  t->fGammaR = s->fGammaR;
  t->fHue = s->fHue;
  t->fOffset = s->fOffset;
  t->fPedestalB = s->fPedestalB;
  t->fPedestalG = s->fPedestalG;
  t->fPedestalR = s->fPedestalR;
  t->fSaturation = s->fSaturation;
  std::memcpy(t->fTone, s->fTone, sizeof t->fTone);
  t->fGain16_8 = s->fGain16_8;
  // Nine bytes, not nine entries: the first two entries and the low byte of
  // the third. Recordings and tools depend on exactly this result.
  std::memcpy(t->fUserMatrix, s->fUserMatrix, 9);
}

}  // namespace

extern "C" {

XEFILE_API int32_t XefCopySetupImProc(Setup *target, const Setup *source) {
  if (!target || !source) return XE_ERR_NULL_ARGUMENT;
  CopyImProc(target, source);
  return XE_OK;
}

XEFILE_API int32_t XefCopySetupImProcEx(Setup *target, const Setup *source, uint32_t,
                                        uint32_t includeConv8) {
  if (!target || !source) return XE_ERR_NULL_ARGUMENT;
  CopyImProc(target, source);
  if (includeConv8) {
    target->Conv8Min = source->Conv8Min;
    target->Conv8Max = source->Conv8Max;
  }
  return XE_OK;
}

XEFILE_API int32_t XefSetCineSetup(CineHandle cine, const Setup *setup) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  Setup &s = cine->H.Setup;
  if (setup) {
    uint32_t n = setup->Length < sizeof(Setup) ? setup->Length : sizeof(Setup);
    std::memmove(&s, setup, n);
  }
  con::CineParams params{};
  status = con::cvXeGetCineParams(cine->CN, cine->CineNr, &params, nullptr);
  // Without the camera's answer there is nothing to make the geometry agree
  // with: the record keeps its own.
  if (status < 0) return status;
  Merge(status, con::XefSetupFromCineParams(cine->CN, cine->CineNr, &s));

  s.RealBPP = 8;
  if (params.RealBPP > 8) {
    s.RealBPP = params.RealBPP;
    const Setup *camera = nullptr;
    if (s.CameraVersion == 7 && con::XefGetStrPointers(cine->CN, &camera, nullptr, nullptr, nullptr) == XE_OK && camera)
      s.RealBPP = camera->RealBPP;
  }
  BitmapInfoHeader &b = cine->H.Bmih;
  b.biBitCount = 8;
  b.biSizeImage = intl::XefPixarSize(&b);
  if (s.RealBPP > 8) {
    b.biBitCount = 16;
    b.biSizeImage *= 2;
    b.biClrImportant = s.RealBPP >= 32 ? 0 : 1u << s.RealBPP;
  }
  if (con::XevGet(cine->CN, con::kGetPackedTransfer)) {
    b.biCompression = intl::kPackedCompression;
    b.biBitCount = 16;
    b.biClrImportant = 1024;
    b.biSizeImage = intl::XefPixarSize(&b);
  }
  // The 16-to-8 gain is applied again through its selector once selectors
  // exist for this cine; an 8-bit header needs none.
  if (b.biBitCount != 16) s.fGain16_8 = 1.0f;
  return status;
}

}
