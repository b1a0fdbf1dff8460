// Size bounds of processed images, and the chain applied to a cine's own
// headers ahead of a save.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "companions/int/setup_defaults.h"
#include "frame/saving_options.h"
#include "processing/chain_steps.h"
#include "processing/process_cine.h"
#include "processing/use_case.h"
#include "xefile/xefile.h"

namespace xe {

namespace {

uint32_t Pow2(uint32_t bits) { return bits >= 32 ? 0 : 1u << bits; }

uint32_t SizeOf(const ImageHeader &h) { return intl::XefPixarSize(intl::AsBmih(&h)); }

// The largest picture the camera of a live cine can deliver. Camera
// resolutions come from the camera's driver; without a camera there is none,
// and the bound stays with the cine's own header.
bool CameraMaxResolution(int32_t /*cn*/, int32_t * /*width*/, int32_t * /*height*/) {
  return false;
}

ImageHeader StartHeader(const Cine *c) {
  ImageHeader h{};
  std::memcpy(&h, &c->H.Bmih, sizeof(BitmapInfoHeader));
  h.biSize = sizeof(ImageHeader);
  h.BlackLevel = c->H.Setup.BlackLevel;
  h.WhiteLevel = c->H.Setup.WhiteLevel;
  return h;
}

// The largest header along the active chain, starting from `start`.
ImageHeader LargestHeader(const Cine *c, const ImageHeader &start) {
  ImageHeader best = start, running = start;
  for (uint32_t step : kChainOrder) {
    if (!StepActive(c, step)) continue;
    StepHeader(c, step, &running);
    if (SizeOf(running) > SizeOf(best)) best = running;
  }
  return best;
}

void RefreshIfChanged(Cine *c) {
  if (c->ParamsChanged) RefreshCineProcessingParams(c);
}

uint32_t SizeFromSetupDim(uint32_t v) { return v > INT32_MAX ? 0 : v; }

void SetBothSizes(Cine *c, uint32_t w, uint32_t h) {
  BitmapInfoHeader &b = c->H.Bmih;
  b.biWidth = static_cast<int32_t>(SizeFromSetupDim(w));
  b.biHeight = static_cast<int32_t>(SizeFromSetupDim(h));
  b.biSizeImage = intl::XefPixarSize(&b);
  c->H.Setup.ImWidth = static_cast<uint16_t>(w);
  c->H.Setup.ImHeight = static_cast<uint16_t>(h);
}

void ExchangeBothSizes(Cine *c) {
  BitmapInfoHeader &b = c->H.Bmih;
  SetBothSizes(c, static_cast<uint32_t>(std::abs(b.biHeight)),
               static_cast<uint32_t>(std::abs(b.biWidth)));
}

void Neutral(Cine *c, uint32_t selector) {
  intl::XefNeutralImProc(&c->H.Setup, selector, &c->H.Setup);
}

}  // namespace

int32_t MaxImageSize(Cine *c, uint32_t *size) {
  if (!c || !size) return XE_ERR_NULL_ARGUMENT;
  RefreshIfChanged(c);
  *size = SizeOf(LargestHeader(c, StartHeader(c)));
  return XE_OK;
}

int32_t MaxImageSizeColor(Cine *c, uint32_t *size) {
  if (!c || !size) return XE_ERR_NULL_ARGUMENT;
  RefreshIfChanged(c);
  ImageHeader start = StartHeader(c);
  int32_t w = 0, h = 0;
  if (c->CineKind == kLiveCine && CameraMaxResolution(c->CN, &w, &h)) {
    start.biWidth = w;
    start.biHeight = h;
    start.biBitCount = 16;
    start.biSizeImage = SizeOf(start);
  }
  ImageHeader best = LargestHeader(c, start);
  if (best.biBitCount < 17) {
    best.biBitCount = static_cast<uint16_t>(best.biBitCount * 3);
    best.biCompression = 0;
  }
  *size = SizeOf(best);
  return XE_OK;
}

void RecomputeConv8Max(Cine *c) {
  Setup &s = c->H.Setup;
  const double top = static_cast<double>(Pow2(s.RealBPP > 31 ? 31 : s.RealBPP)) - 1.0;
  double v;
  if (s.fGain16_8 == 0.0f) v = top;
  else if (!c->Saving.SavePacked) v = std::trunc(top / s.fGain16_8 + 0.5);
  else v = std::trunc(16383.0 / s.fGain16_8 + 0.5);
  // A gain that leaves the range (negative, NaN, tiny) gives no bound of use.
  if (!(v >= 0.0)) v = 0.0;
  if (v > 4294967295.0) v = 4294967295.0;
  s.Conv8Max = static_cast<uint32_t>(v);
}

int32_t ApplyChainToCine(Cine *c) {
  if (!c) return XE_ERR_NULL_ARGUMENT;
  RefreshIfChanged(c);
  const ProcessingParams &p = c->Processing;
  BitmapInfoHeader &b = c->H.Bmih;
  Setup &s = c->H.Setup;
  for (uint32_t step : kChainOrder) {
    if (!StepActive(c, step)) continue;
    switch (step) {
      case kStepAlignPix: {
        ImageHeader h = StartHeader(c);
        StepHeader(c, step, &h);
        std::memcpy(&b, &h, sizeof b);
        b.biSize = sizeof(BitmapInfoHeader);
        s.BlackLevel = h.BlackLevel;
        s.WhiteLevel = h.WhiteLevel;
        s.RealBPP = p.align.destBitsPerSample;
        RecomputeConv8Max(c);
        break;
      }
      case kStepUnpack:
        b.biCompression = 0;
        b.biClrImportant = Pow2(p.unpackedBitDepth);
        b.biSizeImage = intl::XefPixarSize(&b);
        s.BlackLevel = 0;
        s.WhiteLevel = static_cast<int32_t>(b.biClrImportant - 1);
        s.RealBPP = p.unpackedBitDepth;
        RecomputeConv8Max(c);
        break;
      case kStepToMaxLev:
        s.BlackLevel = 0;
        s.WhiteLevel = static_cast<int32_t>(Pow2(intl::XefEffectiveBits(&b)) - 1);
        break;
      case kStepTo8Bps: {
        const int32_t by = static_cast<int32_t>(intl::XefEffectiveBits(&b)) - 8;
        if (by > 0 && by < 31) {
          s.BlackLevel >>= by;
          s.WhiteLevel >>= by;
        }
        const bool colour = b.biBitCount > 16;
        b.biBitCount = colour ? 24 : 8;
        b.biClrImportant = 0;
        b.biSizeImage = static_cast<uint32_t>(std::abs(b.biWidth)) *
                        static_cast<uint32_t>(std::abs(b.biHeight)) * (colour ? 3u : 1u);
        s.RealBPP = 8;
        s.fGain16_8 = 1.0f;
        RecomputeConv8Max(c);
        break;
      }
      case kStepWhiteBalance:
        for (WBGAIN &g : s.WBGain) g.R = g.B = 1.0f;
        break;
      case kStepDemosaic:
        b.biBitCount = static_cast<uint16_t>(b.biBitCount * 3);
        b.biSizeImage = intl::XefPixarSize(&b);
        break;
      case kStepPostInterpWB:
        s.WBView.R = s.WBView.B = 1.0f;
        break;
      case kStepBright: Neutral(c, 202); break;
      case kStepContrast: Neutral(c, 203); break;
      case kStepSat: Neutral(c, 205); break;
      case kStepHue: Neutral(c, 206); break;
      case kStepGamma: Neutral(c, 204); break;
      case kStepFlip: s.bFlipH = s.bFlipV = 0; break;
      case kStepRotate:
        if (intl::QuarterTurn(p.angle) != 0) ExchangeBothSizes(c);
        break;
      case kStepFilter: s.FilterCode = s.FilterParam = 0; break;
      case kStepImProcFused:
        for (uint32_t sel = 202; sel <= 208; ++sel) Neutral(c, sel);
        Neutral(c, 23);
        Neutral(c, 209);
        Neutral(c, 210);
        if (intl::QuarterTurn(p.angle) != 0) ExchangeBothSizes(c);
        break;
      case kStepOutsideStamp: {
        const uint32_t code = p.sideStampCode;
        if (code >= 4 && code <= 6) {
          SetBothSizes(c, s.ImWidthAcq, s.ImHeightAcq);
        } else if (code >= 1 && code <= 3) {
          // The stamped size comes with the side-stamp layout; the header
          // walk knows it as far as it is built.
          ImageHeader h = StartHeader(c);
          StepHeader(c, step, &h);
          SetBothSizes(c, static_cast<uint32_t>(std::abs(h.biWidth)),
                       static_cast<uint32_t>(std::abs(h.biHeight)));
        }
        c->Saving.Stamps.Side.SideStampMode = 0;
        break;
      }
      case kStepResample:
      case kStepDownsample:
      case kStepUpsample: {
        const ScaleParams &sp = ScaleParamsOf(p, step);
        SetBothSizes(c, sp.widthOut, sp.heightOut);
        Neutral(c, 215);
        Neutral(c, 216);
        Neutral(c, 217);
        break;
      }
      case kStepCrop:
        SetBothSizes(c, p.crop.R - p.crop.L + 1, p.crop.B - p.crop.T + 1);
        Neutral(c, 218);
        Neutral(c, 219);
        break;
      case kStepPreSaveAdjustFormat:
        if (c->Saving.SavePacked) {
          s.RealBPP = 10;
          RecomputeConv8Max(c);
        }
        break;
      default: break;
    }
  }
  return XE_OK;
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeGetCineProcessedBMIH(CineHandle cine, BitmapInfoHeader *out) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!out) return status = XE_ERR_NULL_ARGUMENT;
  if (cine->ParamsChanged) RefreshCineProcessingParams(cine);
  ImageHeader h;
  ProcessedHeaderOf(cine, &h);
  std::memcpy(out, &h, sizeof *out);
  out->biSize = sizeof(BitmapInfoHeader);
  return status;
}
