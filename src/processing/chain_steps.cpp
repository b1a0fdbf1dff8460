#include "processing/chain_steps.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "companions/con/camera_driver.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "companions/int/mosaic.h"
#include "frame/saving_options.h"
#include "processing/use_case.h"

namespace xe {

namespace {

struct StepInfo {
  uint32_t step;
  const char *name;
};

// Chain order, with the names the log shows.
constexpr StepInfo kSteps[kStepCount] = {
    {35, "PRESAVEADJUSTFORMAT"}, {0, "PRESAVEBUGFIX"},     {2, "UNPACK"},
    {1, "ALIGNPIX"},             {3, "PRECALIBREPAIR"},    {5, "COMPK4BARS"},
    {6, "CALIB"},                {4, "PREREPAIRPIX"},      {7, "REPAIRPIX"},
    {8, "POSTCALIBREPAIR"},      {9, "REPACK"},            {10, "TOMAXLEV"},
    {12, "WHITEBALANCE"},        {13, "COMPCT"},           {14, "DEMOSAIC"},
    {29, "CROP"},                {28, "RESAMPLE"},         {30, "DOWNSAMPLE"},
    {15, "POSTINTERPWHITEBALANCE"}, {16, "BRIGHT"},        {17, "CONTRAST"},
    {18, "SAT"},                 {19, "HUE"},              {20, "GAMMA"},
    {21, "FLIP"},                {22, "ROTATE"},           {23, "FILTER"},
    {24, "IMPROCBCGSHFRF"},      {34, "SHOWBADPIXELS"},    {33, "SEPARATECHANNELS"},
    {31, "UPSAMPLE"},            {11, "TO8BPS"},           {25, "INSIDESTAMP"},
    {26, "OUTSIDESTAMP"},        {32, "VFLIPVIEW"},        {27, "POSTSAVEBUGFIX"},
};

constexpr std::array<uint32_t, kStepCount> MakeOrder() {
  std::array<uint32_t, kStepCount> a{};
  for (uint32_t i = 0; i < kStepCount; ++i) a[i] = kSteps[i].step;
  return a;
}

constexpr std::array<uint32_t, kStepCount> MakePlaces() {
  std::array<uint32_t, kStepCount> a{};
  for (uint32_t i = 0; i < kStepCount; ++i) a[kSteps[i].step] = i;
  return a;
}
constexpr std::array<uint32_t, kStepCount> kPlaces = MakePlaces();

// The fused step stands for these.
constexpr uint32_t kFirstFused = kStepBright;
constexpr uint32_t kLastFused = kStepFilter;

// The limits of the scaling step; beyond them it leaves the image alone.
constexpr uint32_t kMaxScaleWidth = 65536;
constexpr uint32_t kMaxScaleHeight = 39040;
constexpr uint32_t kMaxScaleKernel = 60;

constexpr uint32_t kAlgoFastest = 1;
constexpr uint32_t kAlgoActiveFlag = 0x100;
constexpr uint32_t kUnpackedDepth = 14;
constexpr uint32_t kRepackedDepth = 10;
constexpr uint32_t kBufferUnpacked = 2;
// Old camera models whose fault the save works around.
constexpr uint32_t kOldCameraVersionLimit = 7;
// Cines of a camera numbered from here on are stored at the unpacked depth.
constexpr int32_t kFirstDeepCineNr = 101;

// Camera facts that the camera companion does not answer yet. No model of
// the built-in tables calibrates by itself or aligns samples to the top bit;
// a camera that does will say so through its driver.
bool CameraDoesCalibration(uint32_t /*cameraVersion*/) { return false; }
bool CameraPixelLeftAligned(int32_t /*cn*/) { return false; }

// File types that keep only 8 bits per sample.
bool HoldsOnly8Bits(int16_t t) {
  return (t >= -24 && t <= -11) || (t >= -8 && t <= -1) || t == 2 || t == 3 || t == 4 || t == 6 ||
         t == 7 || t == 8;
}

uint32_t Pow2(uint32_t bits) { return bits >= 32 ? 0 : 1u << bits; }

int32_t ShiftLevel(int32_t level, int32_t by) {
  if (by >= 31 || by <= -31) return by > 0 ? 0 : (level < 0 ? -1 : 0);
  if (by >= 0) return static_cast<int32_t>(static_cast<uint32_t>(level) << by);
  return level >> -by;
}

void Resize(ImageHeader *h, int32_t w, int32_t height) {
  h->biWidth = w;
  h->biHeight = height;
  h->biSizeImage = intl::XefPixarSize(intl::AsBmih(h));
}

void ExchangeSize(ImageHeader *h) { Resize(h, h->biHeight, h->biWidth); }

uint32_t EffectiveBits(const ImageHeader *h) { return intl::XefEffectiveBits(intl::AsBmih(h)); }

// What the activation rules look at, gathered once per refresh.
struct Facts {
  uint32_t useCase;
  UseCaseWords w;
  bool F, C, P, R, S, V2000;
  bool targetA, targetB;
  bool packedCapable;
  bool calibrates;
  bool header16;
  bool eightBitTarget;
  bool stamping;
  bool sideStamping;
  bool enableResample, enableCrop;
  bool metaWB;
  bool save16;
  bool oldCamera;
};

Facts GatherFacts(Cine *c) {
  const Setup &s = c->H.Setup;
  const SavingOptions &o = c->Saving;
  Facts f{};
  f.useCase = c->CineUseCase;
  f.w = ReadUseCaseWords(c);
  f.F = c->IsFileCine != 0;
  f.C = XefIsColorCine(c) != 0;
  f.P = intl::XefIsPacked(&c->H.Bmih);
  f.R = XefIsRawCine(c) != 0;
  f.S = o.SavePacked != 0;
  f.V2000 = con::XevGet(c->CN, con::kGetPackedTransfer) != 0;
  f.targetA = o.FileType == 0 || o.FileType == -26;
  f.targetB = f.targetA || (o.FileType == 1 && !f.C);
  f.packedCapable = PackedSaveAllowed(c);
  f.calibrates = CameraDoesCalibration(s.CameraVersion);
  f.header16 = intl::XefIs16BitDIB(&c->H.Bmih);
  f.eightBitTarget = HoldsOnly8Bits(o.FileType);
  f.stamping = o.StampTime != 0 || o.Stamps.Signal.StampSignals != 0;
  uint32_t mode = o.Stamps.Side.SideStampMode;
  f.sideStamping = mode >= 1;  // 1 removes a side stamp, 2 and above add one
  f.enableResample = s.EnableResample != 0;
  f.enableCrop = s.EnableCrop != 0;
  f.metaWB = s.bMetaWB != 0;
  f.save16 = o.Save16Bit != 0;
  f.oldCamera = s.CameraVersion < kOldCameraVersionLimit;
  return f;
}

// Use case 1: viewing and live display.
bool ViewRule(const Facts &f, uint32_t step) {
  const UseCaseWords &w = f.w;
  switch (step) {
    case 1: return !f.F;
    case 2:
      if (w.rawImage) return w.repairPixels && f.packedCapable;
      return f.P || (!f.F && f.V2000);
    case 3: return !f.F && !w.noCalibration;
    case 5: case 8: return !f.F;
    case 6: return !f.F && !w.noCalibration && !f.calibrates;
    case 7: return w.repairPixels && !(f.F && !f.P);
    case 9: return w.rawImage && w.repairPixels && f.packedCapable;
    case 10: return !f.P;
    case 12: return f.R && f.C && f.metaWB;
    case 13: return f.R && f.C;
    case 14: return f.R && f.C && w.algo != kAlgoNone;
    case 15: case 18: case 19: return f.C;
    case 16: case 17: case 20: case 21: case 22: case 23: return true;
    case 28: return f.enableResample;
    case 29: return f.enableCrop;
    case 32: return w.vflipView;
    case 33: return !f.F && w.separateChannels;
    case 34: return !f.F;
    default: return false;  // 0, 4, 11, 24 to 27, 30, 31, 35
  }
}

// Use case 2: saving and conversion.
bool SaveRule(const Facts &f, uint32_t step) {
  const UseCaseWords &w = f.w;
  const bool notA = !f.targetA;
  const bool notB = !f.targetB;
  switch (step) {
    case 0: case 27: return !f.F && f.oldCamera;
    case 1: return !f.F && !f.S;
    case 2:
      if (w.rawImage && !w.repairPixels) return false;
      if (f.S) return w.repairPixels && notB;
      return f.P || (!f.F && f.V2000);
    case 3: return !f.F && !(f.P && f.S) && !w.noCalibration;
    case 5: case 8: return !f.F && (!f.P || !f.S);
    case 6: return !f.F && !(f.P && f.S) && !w.noCalibration && !f.calibrates;
    case 7: return !f.F && w.repairPixels && !(f.P && f.S);
    case 9: return f.P && f.S && notB && w.repairPixels;
    case 10: return !f.P && f.R && notA;
    case 11: return f.header16 && (f.eightBitTarget || !f.save16);
    case 12: return f.R && f.C && notB;
    case 13: return f.R && f.C && notA;
    case 14: return f.R && f.C && w.algo != kAlgoNone && notA;
    case 15: case 18: case 19: return f.C && notB;
    case 16: case 17: case 20: case 21: case 22: case 23: return notB;
    case 25: return f.stamping;
    case 26: return f.sideStamping;
    case 28: return notB && f.enableResample;
    case 29: return notB && f.enableCrop;
    case 35: return !f.F && f.V2000;
    default: return false;  // 4, 24, 30 to 34
  }
}

// Use case 3: only the sensor-level steps.
bool RawRule(const Facts &f, uint32_t step) {
  switch (step) {
    case 1: case 3: case 5: case 7: case 8: return !f.F;
    case 2: return f.P || (!f.F && f.V2000);
    case 6: return !f.F && !f.calibrates;
    case 10: return !f.P;
    default: return false;
  }
}

// With RawImage set, steps outside these stay off.
bool RawImageAllows(uint32_t useCase, uint32_t step) {
  if (useCase == kUseCaseView)
    return !((step >= 11 && step <= 26) || (step >= 28 && step <= 31) || step == 34);
  if (useCase == kUseCaseSave) return step <= 10 || step == 27 || step == 32 || step == 33 || step == 35;
  return true;
}

bool Rule(const Facts &f, uint32_t step) {
  switch (f.useCase) {
    case kUseCaseView: return ViewRule(f, step);
    case kUseCaseSave: return SaveRule(f, step);
    case kUseCaseRaw: return RawRule(f, step);
    default: return false;
  }
}

// What a rule sets besides its own step. `on` is the step's state as decided.
void SideEffects(Cine *c, const Facts &f, uint32_t step, bool on) {
  ProcessingParams &p = c->Processing;
  uint32_t *a = p.ActiveProcessings;
  const Setup &s = c->H.Setup;
  switch (step) {
    case kStepUnpack:
      if (!on) return;
      p.unpackedBitDepth = kUnpackedDepth;
      p.BufferState = kBufferUnpacked;
      return;
    case kStepAlignPix:
      if (!on) return;
      p.align.srcBitsPerSample = c->H.Bmih.biBitCount < 9 ? 8 : 16;
      p.align.destBitsPerSample = s.RealBPP;
      if (a[kStepUnpack]) {
        p.align.srcBitsPerSample = static_cast<int32_t>(p.unpackedBitDepth);
        if (c->CineNr >= kFirstDeepCineNr) p.align.destBitsPerSample = p.unpackedBitDepth;
      }
      return;
    case kStepPreRepairPix:
      if (f.useCase == kUseCaseView || !f.F) c->PackInfo.CFA = s.CFA;
      return;
    case kStepRepairPix:
      // The flaw cache is filled by step 4 on the first image that needs it;
      // until then step 4 runs ahead of the repair.
      if (on) a[kStepPreRepairPix] = 1;
      return;
    case kStepRepack:
      if (!on) return;
      p.packedBitDepth = kRepackedDepth;
      if (a[kStepAlignPix]) p.align.destBitsPerSample = p.unpackedBitDepth;
      return;
    case kStepTo8Bps:
      if (!on) return;
      p.to8.fOffset16_8 = 0.0f;
      p.to8.fGain16_8 = s.fGain16_8;
      return;
    case kStepWhiteBalance:
      if (!on) return;
      p.mosaicWB.CFA = s.CFA;
      p.mosaicWB.wbGainR = s.WBGain[0].R;
      p.mosaicWB.wbGainB = s.WBGain[0].B;
      return;
    case kStepCompCT:
      if (on) p.kct = intl::XefGetCompCTCoef(s.CameraVersion);
      return;
    case kStepDemosaic:
      p.demosaic.algo = f.w.algo;
      if (!on) return;
      a[kStepCompCT] = f.w.algo != kAlgoFastest ? 1 : 0;
      p.demosaic.algo |= kAlgoActiveFlag;
      p.demosaic.CFA = s.CFA;
      return;
    case kStepPostInterpWB:
      if (!on) return;
      p.postWB.R = s.WBView.R;
      p.postWB.B = s.WBView.B;
      return;
    case kStepBright: if (on) p.bright = s.fOffset; return;
    case kStepContrast: if (on) p.contrast = s.fGain; return;
    case kStepSat: if (on) p.sat = s.fSaturation; return;
    case kStepHue: if (on) p.hue = s.fHue; return;
    case kStepGamma: if (on) p.gamma = s.fGamma; return;
    case kStepFlip:
      if (!on) return;
      p.flip.flipH = static_cast<int32_t>(s.bFlipH);
      p.flip.flipV = static_cast<int32_t>(s.bFlipV);
      return;
    case kStepRotate: if (on) p.angle = s.Rotate; return;
    case kStepFilter:
      if (!on) return;
      p.filter.code = s.FilterCode;
      p.filter.param = s.FilterParam;
      p.filter.userFilter = s.UserFilter;
      return;
    case kStepInsideStamp:
      if (!on) return;
      p.stamp.stampTime = static_cast<int32_t>(c->Saving.StampTime);
      p.stamp.stampSignals = static_cast<int32_t>(c->Saving.Stamps.Signal.StampSignals);
      return;
    case kStepOutsideStamp:
      if (on) p.sideStampCode = c->Saving.Stamps.Side.SideStampMode;
      return;
    case kStepResample:
      // Only the view copies the wanted size; a save uses what the view left.
      if (!on || f.useCase != kUseCaseView) return;
      p.resample = {s.ResampleWidth, s.ResampleHeight, kResampleKernel};
      return;
    case kStepCrop:
      if (!on || f.useCase != kUseCaseView) return;
      p.crop = {static_cast<uint32_t>(s.CropRect.left), static_cast<uint32_t>(s.CropRect.top),
                static_cast<uint32_t>(s.CropRect.right), static_cast<uint32_t>(s.CropRect.bottom)};
      return;
    default: return;
  }
}

// A size the scaling step accepts; others leave the image and header alone.
bool ScaleAccepted(const ScaleParams &s) {
  return s.widthOut != 0 && s.heightOut != 0 && s.widthOut <= kMaxScaleWidth &&
         s.heightOut <= kMaxScaleHeight && s.kernelSize <= kMaxScaleKernel;
}

// A rectangle the crop step accepts for an image of h's size.
bool CropAccepted(const CropParams &r, const ImageHeader *h) {
  uint32_t W = static_cast<uint32_t>(std::abs(h->biWidth));
  uint32_t H = static_cast<uint32_t>(std::abs(h->biHeight));
  if (r.L > INT32_MAX || r.T > INT32_MAX || r.R > INT32_MAX || r.B > INT32_MAX) return false;
  return r.R >= r.L && r.B >= r.T && r.R < W && r.B < H;
}

// Bounded appending to a text buffer.
class Text {
 public:
  Text(char *out, size_t size) : out_(out), size_(size) {
    if (size_) out_[0] = 0;
  }
  void Add(const char *format, ...) __attribute__((format(printf, 2, 3))) {
    if (used_ + 1 >= size_) return;
    va_list ap;
    va_start(ap, format);
    int n = std::vsnprintf(out_ + used_, size_ - used_, format, ap);
    va_end(ap);
    if (n < 0) return;
    used_ += static_cast<size_t>(n);
    if (used_ >= size_) used_ = size_ - 1;
  }

 private:
  char *out_;
  size_t size_;
  size_t used_ = 0;
};

void AddDetail(Text &t, const ProcessingParams &p, uint32_t step) {
  auto scale = [&](const ScaleParams &s) {
    t.Add("(widthOut = %d, heightOut = %d, kernelSize = %d)", static_cast<int>(s.widthOut),
          static_cast<int>(s.heightOut), static_cast<int>(s.kernelSize));
  };
  switch (step) {
    case kStepAlignPix:
      t.Add("(srcBitsPerSample = %d, destBitsPerSample = %d)", p.align.srcBitsPerSample,
            static_cast<int>(p.align.destBitsPerSample));
      return;
    case kStepUnpack: t.Add("(unpackedBitDepth = %d)", static_cast<int>(p.unpackedBitDepth)); return;
    case kStepRepack: t.Add("(packedBitDepth = %d)", static_cast<int>(p.packedBitDepth)); return;
    case kStepTo8Bps:
      t.Add("(fOffset16_8 = %.2f, fGain16_8 = %.2f)", p.to8.fOffset16_8, p.to8.fGain16_8);
      return;
    case kStepWhiteBalance:
      t.Add("(CFA = %d, wbGainR = %.2f, wbGainB = %.2f)", static_cast<int>(p.mosaicWB.CFA),
            p.mosaicWB.wbGainR, p.mosaicWB.wbGainB);
      return;
    case kStepCompCT: t.Add("(kct = %d)", static_cast<int>(p.kct)); return;
    case kStepDemosaic:
      t.Add("(algo = %d, CFA = %d)", static_cast<int>(p.demosaic.algo),
            static_cast<int>(p.demosaic.CFA));
      return;
    case kStepPostInterpWB: t.Add("(R = %.2f, B = %.2f)", p.postWB.R, p.postWB.B); return;
    case kStepBright: t.Add("(%.2f)", p.bright); return;
    case kStepContrast: t.Add("(%.2f)", p.contrast); return;
    case kStepSat: t.Add("(%.2f)", p.sat); return;
    case kStepHue: t.Add("(%.2f)", p.hue); return;
    case kStepGamma: t.Add("(%.2f)", p.gamma); return;
    case kStepFlip: t.Add("(flipV = %d, flipH = %d)", p.flip.flipV, p.flip.flipH); return;
    case kStepRotate: t.Add("(angle = %d)", p.angle); return;
    case kStepFilter: t.Add("(code = %d, param = %d)", p.filter.code, p.filter.param); return;
    case kStepImProcFused:
      // The pointers aim at this record's own items (AimFusedPointers), so
      // the items are read directly.
      t.Add("(%.2f, %.2f, %.2f, %.2f, %.2f, (%d, %d), %d, (%d, %d))", p.bright, p.contrast,
            p.gamma, p.sat, p.hue, p.flip.flipH, p.flip.flipV, p.angle, p.filter.code,
            p.filter.param);
      return;
    case kStepInsideStamp:
      t.Add("(stampTime = %d, stampSignals = %d)", p.stamp.stampTime, p.stamp.stampSignals);
      return;
    case kStepOutsideStamp: t.Add("(sideStampCode = %d)", static_cast<int>(p.sideStampCode)); return;
    case kStepResample: scale(p.resample); return;
    case kStepDownsample: scale(p.downsample); return;
    case kStepUpsample: scale(p.upsample); return;
    case kStepCrop:
      t.Add("(L = %d, R = %d, T = %d, B = %d)", static_cast<int>(p.crop.L),
            static_cast<int>(p.crop.R), static_cast<int>(p.crop.T), static_cast<int>(p.crop.B));
      return;
    default: return;
  }
}

}  // namespace

const std::array<uint32_t, kStepCount> kChainOrder = MakeOrder();

bool CameraSamplesLeftAligned(int32_t cn) { return CameraPixelLeftAligned(cn); }

const char *StepName(uint32_t step) { return step < kStepCount ? kSteps[kPlaces[step]].name : ""; }

uint32_t StepPlace(uint32_t step) { return step < kStepCount ? kPlaces[step] : kStepCount; }

bool StepActive(const Cine *c, uint32_t step) {
  return step < kStepCount && c->Processing.ActiveProcessings[step] != 0;
}

UseCaseWords ReadUseCaseWords(const Cine *c) {
  UseCaseWords w;
  const uint32_t *s = c->ProcessingState;
  if (!s) return w;
  switch (c->CineUseCase) {
    case kUseCaseView:
      w.algo = s[kWordAlgo];
      w.vflipView = s[3] != 0;
      w.separateChannels = s[4] != 0;
      w.noCalibration = s[5] != 0;
      w.rawImage = s[6] != 0;
      w.repairPixels = s[7] != 0;
      break;
    case kUseCaseSave:
      w.algo = s[kWordAlgo];
      w.noCalibration = s[3] != 0;
      w.rawImage = s[4] != 0;
      w.repairPixels = s[5] != 0;
      break;
    case kUseCaseRaw:
      w.algo = s[kWordAlgo];
      break;
    default: break;
  }
  return w;
}

int32_t ApplyActivationRules(Cine *c) {
  if (c->CineUseCase < kUseCaseView || c->CineUseCase > kUseCaseRaw) return XE_OK;
  const Facts f = GatherFacts(c);
  uint32_t *a = c->Processing.ActiveProcessings;
  std::memset(a, 0, sizeof c->Processing.ActiveProcessings);
  for (uint32_t step : kChainOrder) {
    bool on = Rule(f, step);
    if (f.w.rawImage && !RawImageAllows(f.useCase, step)) on = false;
    a[step] = on ? 1 : 0;
    SideEffects(c, f, step, on);
  }
  return XE_OK;
}

void FuseImProcSteps(Cine *c) {
  uint32_t *a = c->Processing.ActiveProcessings;
  bool any = false;
  for (uint32_t s = kFirstFused; s <= kLastFused; ++s) any = any || a[s] != 0;
  if (!any) return;
  a[kStepImProcFused] = 1;
  for (uint32_t s = kFirstFused; s <= kLastFused; ++s) a[s] = 0;
  AimFusedPointers(c);
}

void ChooseScaleStep(Cine *c) {
  ProcessingParams &p = c->Processing;
  uint32_t *a = p.ActiveProcessings;
  if (!a[kStepResample]) return;
  ImageHeader h;
  HeaderBeforeStep(c, kStepResample, &h);
  a[kStepResample] = 0;
  uint64_t source = static_cast<uint64_t>(std::abs(static_cast<int64_t>(h.biWidth))) *
                    static_cast<uint64_t>(std::abs(static_cast<int64_t>(h.biHeight)));
  uint64_t target = static_cast<uint64_t>(p.resample.widthOut) * p.resample.heightOut;
  const uint32_t chosen = source < target ? kStepUpsample : kStepDownsample;
  a[kStepUpsample] = chosen == kStepUpsample;
  a[kStepDownsample] = chosen == kStepDownsample;
  ScaleParams &out = chosen == kStepUpsample ? p.upsample : p.downsample;
  out = p.resample;
  // A quarter turn ahead of the scaling exchanges the wanted size.
  const uint32_t place = StepPlace(chosen);
  if (a[kStepRotate] && intl::QuarterTurn(p.angle) != 0 && StepPlace(kStepRotate) < place)
    std::swap(out.widthOut, out.heightOut);
  if (a[kStepImProcFused] && intl::QuarterTurn(p.angle) != 0 && StepPlace(kStepImProcFused) < place)
    std::swap(out.widthOut, out.heightOut);
}

void StepHeader(const Cine *c, uint32_t step, ImageHeader *h) {
  if (!StepActive(c, step)) return;
  const ProcessingParams &p = c->Processing;
  const BitmapInfoHeader *b = intl::AsBmih(h);
  switch (step) {
    case kStepAlignPix: {
      const int32_t src = p.align.srcBitsPerSample;
      const uint32_t dest = p.align.destBitsPerSample;
      if (!intl::XefIs16BitDIB(b) || !CameraPixelLeftAligned(c->CN) || intl::XefIsPacked(b) ||
          static_cast<int64_t>(dest) == src || dest > 31 || src < 0 || src > 31)
        return;
      const int32_t by = static_cast<int32_t>(dest) - src;
      h->biBitCount = dest > 8 ? 16 : 8;
      h->biClrImportant = Pow2(dest);
      h->BlackLevel = ShiftLevel(h->BlackLevel, by);
      h->WhiteLevel = ShiftLevel(h->WhiteLevel, by);
      h->biSizeImage = intl::XefPixarSize(b);
      return;
    }
    case kStepUnpack:
      h->biCompression = 0;
      h->biClrImportant = Pow2(p.unpackedBitDepth);
      h->BlackLevel = 0;
      h->WhiteLevel = static_cast<int32_t>(c->H.Bmih.biClrImportant - 1);
      h->biSizeImage = intl::XefPixarSize(b);
      return;
    case kStepToMaxLev:
      h->BlackLevel = 0;
      h->WhiteLevel = static_cast<int32_t>(Pow2(EffectiveBits(h)) - 1);
      return;
    case kStepTo8Bps: {
      const int32_t by = static_cast<int32_t>(EffectiveBits(h)) - 8;
      if (by > 0) {
        h->BlackLevel = ShiftLevel(h->BlackLevel, -by);
        h->WhiteLevel = ShiftLevel(h->WhiteLevel, -by);
      }
      h->biBitCount = h->biBitCount < 17 ? 8 : 24;
      h->biClrImportant = 0;
      h->biSizeImage = intl::XefPixarSize(b);
      return;
    }
    case kStepDemosaic:
      h->biBitCount = static_cast<uint16_t>(h->biBitCount * 3);
      h->biSizeImage = intl::XefPixarSize(b);
      return;
    case kStepRotate:
      if (intl::QuarterTurn(p.angle) != 0) ExchangeSize(h);  // other angles are not turned
      return;
    case kStepImProcFused:
      if (intl::QuarterTurn(p.angle) != 0) ExchangeSize(h);  // other angles are not turned
      return;
    case kStepOutsideStamp: {
      // Codes 4 to 6 take the stamp off: back to the acquired size. The
      // stamped size of codes 1 to 3 comes with the side-stamp layout.
      const Setup &s = c->H.Setup;
      if (p.sideStampCode >= 4 && p.sideStampCode <= 6 && s.ImWidthAcq <= INT32_MAX &&
          s.ImHeightAcq <= INT32_MAX)
        Resize(h, static_cast<int32_t>(s.ImWidthAcq), static_cast<int32_t>(s.ImHeightAcq));
      return;
    }
    case kStepResample:
    case kStepDownsample:
    case kStepUpsample: {
      const ScaleParams &s = ScaleParamsOf(p, step);
      if (ScaleAccepted(s))
        Resize(h, static_cast<int32_t>(s.widthOut), static_cast<int32_t>(s.heightOut));
      return;
    }
    case kStepCrop:
      if (CropAccepted(p.crop, h))
        Resize(h, static_cast<int32_t>(p.crop.R - p.crop.L + 1),
               static_cast<int32_t>(p.crop.B - p.crop.T + 1));
      return;
    default: return;
  }
}

namespace {
void HeaderWalk(const Cine *c, uint32_t stopPlace, ImageHeader *h) {
  std::memcpy(h, &c->H.Bmih, sizeof(BitmapInfoHeader));
  h->biSize = sizeof(ImageHeader);
  h->BlackLevel = c->H.Setup.BlackLevel;
  h->WhiteLevel = c->H.Setup.WhiteLevel;
  for (uint32_t i = 0; i < stopPlace && i < kStepCount; ++i) StepHeader(c, kChainOrder[i], h);
}
}  // namespace

void ProcessedHeaderOf(const Cine *c, ImageHeader *h) { HeaderWalk(c, kStepCount, h); }

void HeaderBeforeStep(const Cine *c, uint32_t step, ImageHeader *h) {
  HeaderWalk(c, StepPlace(step), h);
}

void ActiveStepsReport(const Cine *c, char *out, size_t size) {
  if (size < kLongReportMin) {
    ActiveStepsShortReport(c, out, size);
    return;
  }
  Text t(out, size);
  bool first = true;
  for (uint32_t step : kChainOrder) {
    if (!StepActive(c, step)) continue;
    t.Add("%s\n%s", first ? "" : ",", StepName(step));
    AddDetail(t, c->Processing, step);
    first = false;
  }
}

void ActiveStepsShortReport(const Cine *c, char *out, size_t size) {
  Text t(out, size);
  t.Add("{");
  bool first = true;
  for (uint32_t step : kChainOrder) {
    if (!StepActive(c, step)) continue;
    t.Add("%s%s", first ? "" : ", ", StepName(step));
    first = false;
  }
  t.Add("}");
}

}  // namespace xe
