#include "companions/int/setup_defaults.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>

#include "companions/con/camera_driver.h"
#include "xefile/xefile_selectors.h"
#include "xefile/xefile_status.h"

namespace xe::intl {
namespace {

void NeutralTone(Setup *s) {
  s->fOffset = 0.0f;
  s->fGain = 1.0f;
  s->fSaturation = 1.0f;
  s->fHue = 0.0f;
  s->fGamma = 1.0f;
  s->fGammaR = 0.0f;
  s->fGammaB = 0.0f;
  s->fFlare = 0.0f;
  s->fPedestalR = 0.0f;
  s->fPedestalG = 0.0f;
  s->fPedestalB = 0.0f;
  s->fChroma = 1.0f;
  s->TonePoints = 0;
  std::memset(s->fTone, 0, sizeof s->fTone);
  s->EnableMatrices = 0;
  std::memset(s->fUserMatrix, 0, sizeof s->fUserMatrix);
  s->fUserMatrix[0] = s->fUserMatrix[4] = s->fUserMatrix[8] = 1.0f;
}

void NeutralUserFilter(Setup *s) { std::memset(&s->UserFilter, 0, sizeof s->UserFilter); }

}  // namespace

int32_t XefFillSetupHardAdj(uint32_t model, Setup *s, uint32_t) {
  if (!s) return XE_ERR_NULL_ARGUMENT;
  std::memset(s, 0, sizeof *s);
  s->Mark[0] = 'S';
  s->Mark[1] = 'T';
  s->Length = static_cast<uint16_t>(sizeof(Setup));
  s->CameraVersion = model;
  s->RealBPP = 8;
  s->FrameRate = 1000;
  for (auto &g : s->WBGain) g.R = g.B = 1.0f;
  s->WBView.R = s->WBView.B = 1.0f;
  s->fGain16_8 = 1.0f;
  s->Conv8Max = 255;
  s->WhiteLevel = 255;
  s->HeadSerial[1] = s->HeadSerial[2] = s->HeadSerial[3] = 0xFFFFFFFFu;
  NeutralTone(s);
  float rate = static_cast<float>(con::XefVideoFrequency(0)) / 1000.0f;
  s->TCRate = s->TCBaseRate = std::min(rate, 40.0f);
  return XE_OK;
}

int32_t cvXefUpdateOldStructures(Setup *s, uint32_t) {
  if (!s) return XE_ERR_NULL_ARGUMENT;
  const uint32_t oldLength = s->Length;
  // Gains and tone factors that the record did not reach are neutral, not
  // zero: a zero gain would blank the colours, a zero contrast the image.
  auto absent = [&](size_t offset) { return oldLength <= offset; };
  if (absent(offsetof(Setup, WBGain)))
    for (auto &g : s->WBGain) g.R = g.B = 1.0f;
  if (absent(offsetof(Setup, WBView))) s->WBView.R = s->WBView.B = 1.0f;
  if (absent(offsetof(Setup, fGain))) s->fGain = 1.0f;
  if (absent(offsetof(Setup, fSaturation))) s->fSaturation = 1.0f;
  if (absent(offsetof(Setup, fGamma))) s->fGamma = 1.0f;
  if (absent(offsetof(Setup, fChroma))) s->fChroma = 1.0f;
  if (absent(offsetof(Setup, fGain16_8))) s->fGain16_8 = 1.0f;
  if (oldLength <= offsetof(Setup, TCRate)) {
    float rate = std::min(static_cast<float>(con::XefVideoFrequency(0)) / 1000.0f, 40.0f);
    if (oldLength <= offsetof(Setup, TCBaseRate)) s->TCBaseRate = rate;
    s->TCRate = rate;
  }
  s->Length = static_cast<uint16_t>(sizeof(Setup));
  return XE_OK;
}

int32_t XefNeutralImProc(Setup *t, uint32_t selector, const Setup *source) {
  if (!t) return XE_ERR_NULL_ARGUMENT;
  const Setup *src = source ? source : t;
  switch (selector) {
    case CIS_fOffset: t->fOffset = 0.0f; break;
    case CIS_fGain: t->fGain = 1.0f; break;
    case CIS_fGamma: t->fGamma = 1.0f; break;
    case CIS_fSaturation: t->fSaturation = 1.0f; break;
    case CIS_fHue: t->fHue = 0.0f; break;
    case CIS_FlipH: t->bFlipH = 0; break;
    case CIS_FlipV: t->bFlipV = 0; break;
    case CIS_Rotate: t->Rotate = 0; break;
    case CIS_FilterCode: t->FilterCode = 0; t->FilterParam = 0; break;
    case CIS_UserFilter: NeutralUserFilter(t); break;
    case CIS_EnableResample: t->EnableResample = 0; break;
    case CIS_ResampleWidth: t->ResampleWidth = src->ImWidth; break;
    case CIS_ResampleHeight: t->ResampleHeight = src->ImHeight; break;
    case CIS_EnableCrop: t->EnableCrop = 0; break;
    case CIS_CropRect:
      t->CropRect = XeRect{0, 0, static_cast<int32_t>(src->ImWidth) - 1,
                           static_cast<int32_t>(src->ImHeight) - 1};
      break;
    case kNeutralAll: {
      const uint16_t w = src->ImWidth, h = src->ImHeight;
      NeutralTone(t);
      NeutralUserFilter(t);
      t->EnableResample = 0;
      t->ResampleWidth = w;
      t->ResampleHeight = h;
      t->EnableCrop = 0;
      t->CropRect = XeRect{0, 0, static_cast<int32_t>(w) - 1, static_cast<int32_t>(h) - 1};
      break;
    }
    default: return XE_ERR_NOT_SUPPORTED;
  }
  return XE_OK;
}

int32_t XefTimeUINT32(uint32_t *out) {
  if (!out) return XE_ERR_NULL_ARGUMENT;
  *out = static_cast<uint32_t>(std::time(nullptr));
  return XE_OK;
}

}  // namespace xe::intl
