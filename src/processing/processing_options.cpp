// The image adjustments of a cine in the older IMPROCOPTIONS form.
//
// Setting them does not mark the chain for a rebuild: callers that set the
// adjustments and then a selector get one rebuild, at the next refresh.
#include <cstdint>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/improc.h"
#include "frame/cine.h"

using namespace xe;

extern "C" {

XEFILE_API int32_t XeSetCineProcessing(CineHandle cine, const IMPROCOPTIONS *o) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (LogOn() && o)
    con::Debprintf(
        "\nXeSetCineProcessing Cine: 0x%x, IMPROCOPTIONS:  %d %d %f    Sat %d %d %d %d WB %f %f "
        "Filter %d %d %d %d %d",
        static_cast<unsigned>(reinterpret_cast<uintptr_t>(cine)), o->Bright, o->Contrast,
        static_cast<double>(o->Gamma), o->Saturation, o->FlipH, o->FlipV, o->Rotate,
        static_cast<double>(o->WBRed), static_cast<double>(o->WBBlue), o->FilterCode,
        o->FilterParam, o->UserFilter.dim, o->UserFilter.shifts, o->UserFilter.bias);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!o) return status = XE_ERR_NULL_ARGUMENT;
  Setup &s = cine->H.Setup;
  s.Bright = o->Bright;
  s.Contrast = o->Contrast;
  s.Gamma = intl::XefGammaF2I(o->Gamma);
  s.Saturation = o->Saturation;
  s.bFlipH = static_cast<uint32_t>(o->FlipH);
  s.bFlipV = static_cast<uint32_t>(o->FlipV);
  s.Rotate = o->Rotate;
  s.WBView.R = o->WBRed;
  s.WBView.B = o->WBBlue;
  s.FilterCode = o->FilterCode;
  s.FilterParam = o->FilterParam;
  s.UserFilter = o->UserFilter;
  s.Hue = o->Hue;
  intl::XefUpdateNewImProc(&s, 0);
  return status;
}

XEFILE_API int32_t XeGetCineProcessing(CineHandle cine, IMPROCOPTIONS *o) {
  if (cine && o) intl::XeSetImProcOptions(o, &cine->H.Setup);
  return XE_OK;
}

}
