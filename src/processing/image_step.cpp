// One step of the processing chain on one image: each step handed to the
// pixel companion that does its work, and the header kept in line with what
// the step did.
#include <cmath>
#include <cstring>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/demosaic.h"
#include "companions/int/depth.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "companions/int/improc.h"
#include "companions/int/mosaic.h"
#include "companions/int/packing.h"
#include "processing/chain_steps.h"
#include "processing/crop_image.h"
#include "processing/process_cine.h"
#include "processing/scale_image.h"
#include "xefile/xefile.h"

namespace xe {

namespace {

constexpr uint32_t kShiftedCameraVersion = 1030;

uint32_t Pow2(uint32_t bits) { return bits >= 32 ? 0 : 1u << bits; }

BitmapInfoHeader *Bmih(ImageHeader *h) { return reinterpret_cast<BitmapInfoHeader *>(h); }

int32_t ShiftLevel(int32_t level, int32_t by) {
  if (by >= 31 || by <= -31) return by > 0 ? 0 : (level < 0 ? -1 : 0);
  if (by >= 0) return static_cast<int32_t>(static_cast<uint32_t>(level) << by);
  return level >> -by;
}

// ---- Camera-only work -------------------------------------------------------
// These steps are switched on only for camera cines (and the stamps only by a
// save that asks for them). Their work belongs to the camera companion and to
// the stamping code; with neither present each answers 0 and leaves the image
// as it is, so a chain that reaches them runs on unharmed.

// Keeps the camera's parameter record ahead of a save on old models, with
// its exposure word made safe (step 0), and puts it back after (step 27).
int32_t PreSaveBugFix(Cine *) { return XE_OK; }
int32_t PostSaveBugFix(Cine *) { return XE_OK; }
// Repairs of the sensor's known defects before and after calibration.
int32_t PreRepairPixels(ImageHeader *, int32_t /*cn*/, uint8_t *) { return XE_OK; }
// The camera's calibration and its bar compensation.
int32_t CompensateK4Bars(ImageHeader *, int32_t /*cn*/, uint8_t *) { return XE_OK; }
int32_t CalibrateImage(ImageHeader *, int32_t /*cn*/, uint8_t *) { return XE_OK; }
// The flaw table of the camera's sensor: without a camera it is empty.
int32_t FillFlawInfoCache(Cine *c) {
  c->Processing.badPixels.BadPixelCount = 0;
  c->Processing.badPixels.BadPixelTable = nullptr;
  return XE_OK;
}
// Time and signal stamps inside the image, and the side stamp around it.
int32_t InsideStamp(Cine *, ImageHeader *, uint8_t *) { return XE_OK; }
int32_t OutsideStamp(Cine *, ImageHeader *, uint8_t *) { return XE_OK; }

// ---- Steps with image work here ----------------------------------------------

int32_t AlignPix(Cine *c, ImageHeader *h, uint8_t *pixels) {
  const ProcessingParams &p = c->Processing;
  BitmapInfoHeader *b = Bmih(h);
  int32_t status = XE_OK;
  const int32_t src = p.align.srcBitsPerSample;
  const uint32_t dest = p.align.destBitsPerSample;
  if (intl::XefIs16BitDIB(b) && CameraSamplesLeftAligned(c->CN) && !intl::XefIsPacked(b) &&
      static_cast<int64_t>(dest) != src && dest <= 31 && src >= 0 && src <= 31) {
    const int32_t by = static_cast<int32_t>(dest) - src;
    if (dest == 8) {
      status = intl::XeProcessImage(pixels, pixels, b, intl::kReduceTo8, 1.0f);
    } else {
      status = intl::XefShiftPixar(b, by, pixels);
    }
    h->BlackLevel = ShiftLevel(h->BlackLevel, by);
    h->WhiteLevel = ShiftLevel(h->WhiteLevel, by);
    h->biBitCount = dest > 8 ? 16 : 8;
    h->biClrImportant = Pow2(dest);
    h->biSizeImage = intl::XefPixarSize(b);
  }
  // This model's samples come two bits low, whatever the depths say.
  if (intl::XefIs16BitDIB(b) && c->H.Setup.CameraVersion == kShiftedCameraVersion)
    Merge(status, intl::XefShiftPixar(b, 2, pixels));
  return status;
}

int32_t Unpack(Cine *c, ImageHeader *h, uint8_t *pixels) {
  const uint32_t depth = c->Processing.unpackedBitDepth;
  const uint32_t mode = depth == 14 ? intl::kUnpackLinear : intl::kUnpackPlain;
  int32_t status = intl::XefUnpackImage(Bmih(h), pixels, &c->PackInfo, mode);
  h->BlackLevel = 0;
  h->WhiteLevel = static_cast<int32_t>(Pow2(depth) - 1);
  return status;
}

int32_t Repack(Cine *c, ImageHeader *h, uint8_t *pixels) {
  int32_t status = intl::XeFlips(Bmih(h), pixels, 0, 1);
  Merge(status, intl::XefRepackImage(Bmih(h), pixels, &c->PackInfo, c->Processing.packedBitDepth));
  h->BlackLevel = c->H.Setup.BlackLevel;
  h->WhiteLevel = c->H.Setup.WhiteLevel;
  return status;
}

int32_t ToMaxLevels(ImageHeader *h, uint8_t *pixels) {
  const int32_t black = h->BlackLevel & 0xFFFF;
  const int32_t white = h->WhiteLevel & 0xFFFF;
  // Levels that span no range (old files left them 0) give nothing to
  // stretch: the samples stay as stored and the fetch goes on.
  int32_t status = white > black ? intl::XeAdjustToMaxLevels(Bmih(h), pixels, black, white) : XE_OK;
  h->BlackLevel = 0;
  h->WhiteLevel = static_cast<int32_t>(Pow2(intl::XefEffectiveBits(Bmih(h))) - 1);
  return status;
}

int32_t To8Bps(Cine *c, ImageHeader *h, uint8_t *pixels) {
  const int32_t by = static_cast<int32_t>(intl::XefEffectiveBits(Bmih(h))) - 8;
  int32_t status =
      intl::XeProcessImage(pixels, pixels, Bmih(h), intl::kReduceTo8, c->Processing.to8.fGain16_8);
  if (status == XE_OK && by > 0) {
    h->BlackLevel = ShiftLevel(h->BlackLevel, -by);
    h->WhiteLevel = ShiftLevel(h->WhiteLevel, -by);
  }
  return status;
}

int32_t Demosaic(Cine *c, ImageHeader *h, uint8_t *pixels) {
  const DemosaicParams &d = c->Processing.demosaic;
  if (c->Processing.DemosaicCallback) {
    auto callback = reinterpret_cast<XeDemosaicCallback>(c->Processing.DemosaicCallback);
    return callback(Bmih(h), pixels, d.CFA, d.algo);
  }
  return intl::XeInterpolateColor(Bmih(h), pixels, d.CFA, d.algo);
}

int32_t Round(double v) { return intl::RoundToInt32(v); }

// The options record of the adjustments, everything neutral.
IMPROCOPTIONS NeutralOptions() {
  IMPROCOPTIONS o;
  std::memset(&o, 0, sizeof o);
  o.Gamma = 1.0f;
  o.WBRed = 1.0f;
  o.WBBlue = 1.0f;
  return o;
}

int32_t ContrastOption(float contrast) {
  const double d = contrast < 1.0f ? 0.9 : 9.0;
  return Round((static_cast<double>(contrast) - 1.0) * 100.0 / d);
}

// The record for the adjustment of one step, or of all of them (step 24).
IMPROCOPTIONS OptionsFor(const ProcessingParams &p, uint32_t step) {
  IMPROCOPTIONS o = NeutralOptions();
  const bool all = step == kStepImProcFused;
  if (step == kStepPostInterpWB) {
    o.WBRed = p.postWB.R;
    o.WBBlue = p.postWB.B;
  }
  if (all || step == kStepBright) o.Bright = Round(static_cast<double>(p.bright) * 1000.0);
  if (all || step == kStepContrast) o.Contrast = ContrastOption(p.contrast);
  if (all || step == kStepSat) o.Saturation = Round((static_cast<double>(p.sat) - 1.0) * 100.0);
  if (all || step == kStepHue) o.Hue = Round(p.hue);
  if (all || step == kStepGamma) o.Gamma = p.gamma;
  if (all || step == kStepFlip) {
    o.FlipH = p.flip.flipH;
    o.FlipV = p.flip.flipV;
  }
  if (all || step == kStepRotate) o.Rotate = p.angle;
  if (all || step == kStepFilter) {
    o.FilterCode = p.filter.code;
    o.FilterParam = p.filter.param;
    o.UserFilter = p.filter.userFilter;
  }
  return o;
}

int32_t Scale(const ScaleParams &s, ImageHeader *h, uint8_t *pixels) {
  return ScaleImage(pixels, h, pixels, s.widthOut, s.heightOut, s.kernelSize);
}

int32_t Crop(const CropParams &r, ImageHeader *h, uint8_t *pixels) {
  // Values beyond the range of a rectangle are refused as negative ones.
  auto side = [](uint32_t v) { return v > INT32_MAX ? -1 : static_cast<int32_t>(v); };
  return CropImage(pixels, h, pixels, XeRect{side(r.L), side(r.T), side(r.R), side(r.B)});
}

}  // namespace

int32_t ImageStep(Cine *c, const ImageRange * /*range*/, uint32_t step, uint8_t *pixels,
                  ImageHeader *h) {
  if (!c || !pixels || !h) return XE_ERR_NULL_ARGUMENT;
  ProcessingParams &p = c->Processing;
  const uint32_t *bad = static_cast<const uint32_t *>(p.badPixels.BadPixelTable);
  switch (step) {
    case kStepPreSaveBugFix: return PreSaveBugFix(c);
    case kStepAlignPix: return AlignPix(c, h, pixels);
    case kStepUnpack: return Unpack(c, h, pixels);
    case kStepPreCalibRepair:
    case kStepPostCalibRepair: return PreRepairPixels(h, c->CN, pixels);
    case kStepPreRepairPix: return FillFlawInfoCache(c);
    case kStepCompK4Bars: return CompensateK4Bars(h, c->CN, pixels);
    case kStepCalib: return CalibrateImage(h, c->CN, pixels);
    case kStepRepairPix:
      if (intl::XefIsPacked(&c->H.Bmih)) return XE_OK;
      return intl::XefRepairPix(Bmih(h), c->PackInfo.CFA, p.badPixels.BadPixelCount, bad, pixels);
    case kStepRepack: return Repack(c, h, pixels);
    case kStepToMaxLev: return ToMaxLevels(h, pixels);
    case kStepTo8Bps: return To8Bps(c, h, pixels);
    case kStepWhiteBalance: {
      const float gains[2] = {p.mosaicWB.wbGainR, p.mosaicWB.wbGainB};
      return intl::XeWBAdjustUnint(Bmih(h), pixels, p.mosaicWB.CFA, gains);
    }
    case kStepCompCT: return intl::XefCompCT(Bmih(h), pixels, c->H.Setup.CFA, p.kct);
    case kStepDemosaic: return Demosaic(c, h, pixels);
    case kStepPostInterpWB:
    case kStepBright:
    case kStepContrast:
    case kStepSat:
    case kStepHue:
    case kStepGamma:
    case kStepFlip:
    case kStepRotate:
    case kStepFilter:
    case kStepImProcFused: {
      const IMPROCOPTIONS o = OptionsFor(p, step);
      return intl::XeImProc(Bmih(h), pixels, &o);
    }
    case kStepInsideStamp: return InsideStamp(c, h, pixels);
    case kStepOutsideStamp: return OutsideStamp(c, h, pixels);
    case kStepPostSaveBugFix: return PostSaveBugFix(c);
    case kStepResample: return Scale(p.resample, h, pixels);
    case kStepDownsample: return Scale(p.downsample, h, pixels);
    case kStepUpsample: return Scale(p.upsample, h, pixels);
    case kStepCrop: return Crop(p.crop, h, pixels);
    case kStepVFlipView: return intl::XeFlips(Bmih(h), pixels, 0, 1);
    case kStepSeparateChannels:
      return intl::XefSeparateChannels(Bmih(h), pixels, c->H.Setup.CameraVersion,
                                       intl::kSeparateChannels);
    case kStepShowBadPixels:
      return intl::XefShowBadPixels(Bmih(h), p.badPixels.BadPixelCount, bad, pixels);
    default: return XE_OK;  // PRESAVEADJUSTFORMAT and beyond: no image work
  }
}

}  // namespace xe

namespace xe {

// Side stamps are made by the stamping code; without it no file is stamped.
bool IsSideStampedFile(const Cine *) { return false; }

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeCineImProc(CineHandle cine, BitmapInfoHeader *header,
                                           uint8_t *pixels, IMPROCOPTIONS *options) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine || !header || !pixels || !options) return status = XE_ERR_NULL_ARGUMENT;
  // A side-stamped file keeps its frame: the adjustments would go to the
  // picture inside it only. No file is side-stamped without the stamping
  // code, so the whole image is adjusted.
  if (IsSideStampedFile(cine)) return status = XE_ERR_NOT_SUPPORTED;
  return status = intl::XeImProc(header, pixels, options);
}
