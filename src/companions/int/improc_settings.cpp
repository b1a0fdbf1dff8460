// The integer and float forms of the image adjustments of a Setup, and the
// IMPROCOPTIONS record filled from a Setup.
#include <cstring>

#include "companions/int/improc.h"
#include "xefile/xefile_selectors.h"
#include "xefile/xefile_status.h"

namespace xe::intl {
namespace {

int32_t BrightOf(float offset) { return RoundToInt32(offset * 1000.0); }
int32_t ContrastOf(float gain) {
  const double d = gain < 1.0f ? 0.9 : 9.0;
  return RoundToInt32((gain - 1.0) * 100.0 / d);
}
int32_t SaturationOf(float sat) { return RoundToInt32((sat - 1.0) * 100.0); }
int32_t HueOf(float hue) { return RoundToInt32(hue); }

bool KnownSelector(uint32_t selector) {
  return selector == 0 || (selector >= CIS_fOffset && selector <= CIS_fHue);
}
bool Wants(uint32_t selector, uint32_t which) { return selector == 0 || selector == which; }

}  // namespace

int32_t XeSetImProcOptions(IMPROCOPTIONS *out, const Setup *s) {
  if (!out || !s) return XE_ERR_NULL_ARGUMENT;
  std::memset(out, 0, sizeof *out);
  out->Gamma = 1.0f;
  out->WBRed = 1.0f;
  out->WBBlue = 1.0f;
  out->Bright = BrightOf(s->fOffset);
  out->Contrast = ContrastOf(s->fGain);
  out->Saturation = SaturationOf(s->fSaturation);
  out->Hue = HueOf(s->fHue);
  out->Gamma = s->fGamma;
  out->FlipH = static_cast<int32_t>(s->bFlipH);
  out->FlipV = static_cast<int32_t>(s->bFlipV);
  out->Rotate = s->Rotate;
  out->WBRed = s->WBView.R;
  out->WBBlue = s->WBView.B;
  out->FilterCode = s->FilterCode;
  out->FilterParam = s->FilterParam;
  std::memcpy(&out->UserFilter, &s->UserFilter, sizeof out->UserFilter);
  return XE_OK;
}

int32_t XefGammaF2I(float gamma) { return RoundToInt32(gamma * 100.0); }

int32_t XefUpdateNewImProc(Setup *s, uint32_t selector) {
  if (!s) return XE_ERR_NULL_ARGUMENT;
  if (!KnownSelector(selector)) return XE_ERR_NOT_SUPPORTED;
  if (Wants(selector, CIS_fOffset)) s->fOffset = static_cast<float>(s->Bright / 1000.0);
  if (Wants(selector, CIS_fGain)) s->fGain = static_cast<float>(ContrastFactor(s->Contrast));
  if (Wants(selector, CIS_fGamma)) s->fGamma = static_cast<float>(s->Gamma / 100.0);
  if (Wants(selector, CIS_fSaturation))
    s->fSaturation = static_cast<float>(1.0 + s->Saturation / 100.0);
  if (Wants(selector, CIS_fHue)) s->fHue = static_cast<float>(s->Hue);
  return XE_OK;
}

int32_t XefUpdateOldImProc(Setup *s, uint32_t selector) {
  if (!s) return XE_ERR_NULL_ARGUMENT;
  if (!KnownSelector(selector)) return XE_ERR_NOT_SUPPORTED;
  if (Wants(selector, CIS_fOffset)) s->Bright = BrightOf(s->fOffset);
  if (Wants(selector, CIS_fGain)) s->Contrast = ContrastOf(s->fGain);
  if (Wants(selector, CIS_fGamma)) s->Gamma = XefGammaF2I(s->fGamma);
  if (Wants(selector, CIS_fSaturation)) s->Saturation = SaturationOf(s->fSaturation);
  if (Wants(selector, CIS_fHue)) s->Hue = HueOf(s->fHue);
  return XE_OK;
}

}  // namespace xe::intl
