// The image-processing selectors (200 to 230) and the use-case selectors
// (211, 300, 600, 601, 602, 1100).
//
// Most processing values are Setup fields. On a camera cine some of them
// live in the camera too: a read asks the camera after placing the stored
// value, and takes the camera's answer (raising ParamsChanged) when it
// differs; a set tells the camera first and then stores. A camera call that
// fails leaves the stored value as it is. A set that changes a value the
// processing chain depends on raises ParamsChanged, so that the chain is
// rebuilt before the next image.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "companions/con/settings.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/improc.h"
#include "frame/cine.h"
#include "info/selectors.h"
#include "processing/chain_steps.h"
#include "processing/use_case.h"

namespace xe {

// Rounds a size setting to a multiple of `step`, never below one step; a
// remainder of half a step or more rounds up.
uint32_t SnapToMultiple(uint32_t value, uint32_t step) {
  value = std::max(value, step);
  uint32_t r = value % step;
  if (r == 0) return value;
  if (r < step / 2) {
    value -= r;
    return std::max(value, step);
  }
  return value + (step - r);
}

// Brings a crop rectangle inside a W x H image, with a width that is a
// multiple of 16 and a height that is a multiple of 8. A width (height)
// rounded up past the image edge is cut by the excess and its left (top)
// moved back by the same amount, so such a crop can end up narrower than the
// multiple; that is the established result.
void NormalizeCropRect(XeRect *rect, uint32_t W, uint32_t H) {
  // 64-bit throughout: a rectangle far outside the image must not overflow.
  const int64_t w64 = W, h64 = H;
  int64_t left = std::max<int64_t>(rect->left, 0);
  int64_t top = std::max<int64_t>(rect->top, 0);
  int64_t right = std::min<int64_t>(rect->right, w64 - 1);
  int64_t bottom = std::min<int64_t>(rect->bottom, h64 - 1);
  right = std::max(right, left);
  bottom = std::max(bottom, top);

  int64_t w = std::min(right - left + 1, w64);
  int64_t h = std::min(bottom - top + 1, h64);

  int64_t r = w % 16;
  if (r >= 8) {
    w = std::min(w + 16 - r, w64);
    if (left + w > w64) {
      int64_t e = left + w - w64;
      w -= e;
      left = std::max<int64_t>(left - e, 0);
    }
  } else if (r > 0) {
    w = std::max<int64_t>(w - r, 16);
  }

  r = h % 8;
  if (r >= 4) {
    h = std::min(h + 8 - r, h64);
    if (top + h > h64) {
      int64_t e = top + h - h64;
      h -= e;
      top = std::max<int64_t>(top - e, 0);
    }
  } else if (r > 0) {
    h = std::max<int64_t>(h - r, 8);
  }

  auto clamp32 = [](int64_t v) {
    return static_cast<int32_t>(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
  };
  rect->left = clamp32(left);
  rect->top = clamp32(top);
  rect->right = clamp32(left + w - 1);
  rect->bottom = clamp32(top + h - 1);
}

namespace {

using sel::GetU32;
using sel::PutU32;

constexpr uint32_t kMaxResampleWidth = 65536;
constexpr uint32_t kMaxResampleHeight = 39040;
constexpr uint32_t kResampleWidthStep = 16;
constexpr uint32_t kResampleHeightStep = 8;

// Camera cine-value codes of the records.
constexpr uint32_t kCamToneCurve = 5113;
constexpr uint32_t kCamUserMatrix = 5114;
// Two floats of a camera record are the same when closer than this.
constexpr float kRecordFloatTolerance = 1.1920929e-7f;

// A Setup field behind a selector. `camCode` 0: the camera does not hold it.
struct FieldSelector {
  uint32_t selector;
  uint32_t offset;
  uint32_t size;
  uint32_t camCode;
  bool isFloat;
};

constexpr FieldSelector kFields[] = {
    {CIS_WBGain, offsetof(Setup, WBGain), 8, 5100, true},
    {CIS_WBView, offsetof(Setup, WBView), 8, 0, true},
    {CIS_fOffset, offsetof(Setup, fOffset), 4, 5101, true},
    {CIS_fGain, offsetof(Setup, fGain), 4, 5102, true},
    {CIS_fGamma, offsetof(Setup, fGamma), 4, 5103, true},
    {CIS_fSaturation, offsetof(Setup, fSaturation), 4, 5104, true},
    {CIS_fHue, offsetof(Setup, fHue), 4, 5105, true},
    {CIS_FlipH, offsetof(Setup, bFlipH), 4, 0, false},
    {CIS_FlipV, offsetof(Setup, bFlipV), 4, 0, false},
    {CIS_FilterCode, offsetof(Setup, FilterCode), 4, 0, false},
    {CIS_fPedestalR, offsetof(Setup, fPedestalR), 4, 5106, true},
    {CIS_fPedestalG, offsetof(Setup, fPedestalG), 4, 5107, true},
    {CIS_fPedestalB, offsetof(Setup, fPedestalB), 4, 5108, true},
    {CIS_fGammaR, offsetof(Setup, fGammaR), 4, 5109, true},
    {CIS_fGammaB, offsetof(Setup, fGammaB), 4, 5110, true},
    {CIS_fFlare, offsetof(Setup, fFlare), 4, 5111, true},
    {CIS_fChroma, offsetof(Setup, fChroma), 4, 5112, true},
    {CIS_EnableMatrices, offsetof(Setup, EnableMatrices), 4, 5115, false},
};

const FieldSelector *FindField(uint32_t selector) {
  for (const FieldSelector &f : kFields)
    if (f.selector == selector) return &f;
  return nullptr;
}

uint8_t *FieldBytes(Cine *c, const FieldSelector &f) {
  return reinterpret_cast<uint8_t *>(&c->H.Setup) + f.offset;
}

bool Differs(const FieldSelector &f, const uint8_t *before, const uint8_t *after) {
  if (!f.isFloat) return std::memcmp(before, after, f.size) != 0;
  for (uint32_t i = 0; i < f.size; i += 4)
    if (sel::FloatChanged(sel::GetF32(before + i), sel::GetF32(after + i))) return true;
  return false;
}

// The tone and colour pair of an integer Setup field follows its float.
bool HasIntegerMirror(uint32_t selector) { return selector >= CIS_fOffset && selector <= CIS_fHue; }

// Stores a new value of a field; true when it changed.
bool StoreField(Cine *c, const FieldSelector &f, const uint8_t *v) {
  uint8_t *field = FieldBytes(c, f);
  bool changed = Differs(f, field, v);
  std::memcpy(field, v, f.size);
  if (changed) {
    c->ParamsChanged = 1;
    if (HasIntegerMirror(f.selector)) intl::XefUpdateOldImProc(&c->H.Setup, f.selector);
  }
  return changed;
}

void GetField(Cine *c, const FieldSelector &f, void *value) {
  std::memcpy(value, FieldBytes(c, f), f.size);
  if (c->IsFileCine || f.camCode == 0) return;
  uint8_t cam[8];
  if (CameraCineGet(c, f.camCode, cam, f.size) != XE_OK) return;
  if (StoreField(c, f, cam)) std::memcpy(value, cam, f.size);
}

void SetField(Cine *c, const FieldSelector &f, const void *value) {
  uint8_t v[8];
  std::memcpy(v, value, f.size);
  if (!c->IsFileCine && f.camCode != 0) CameraCineSet(c, f.camCode, v, f.size);
  StoreField(c, f, v);
}

// ---- The user filter: only its shape makes the chain rebuild ----

void SetUserFilter(Cine *c, const void *value) {
  Setup &s = c->H.Setup;
  XeUserFilter f;
  std::memcpy(&f, value, sizeof f);
  if (f.dim != s.UserFilter.dim || f.shifts != s.UserFilter.shifts || f.bias != s.UserFilter.bias)
    c->ParamsChanged = 1;
  std::memcpy(&s.UserFilter, &f, sizeof f);
}

// ---- Tone curve and user matrix records ----

ToneCurveInfo StoredTone(const Setup &s) {
  ToneCurveInfo t;
  t.TonePoints = s.TonePoints;
  std::memcpy(t.fTone, s.fTone, sizeof t.fTone);
  std::memcpy(t.ToneLabel, s.ToneLabel, sizeof t.ToneLabel);
  return t;
}

void StoreTone(Setup &s, const ToneCurveInfo &t) {
  s.TonePoints = t.TonePoints;
  std::memcpy(s.fTone, t.fTone, sizeof t.fTone);
  std::memcpy(s.ToneLabel, t.ToneLabel, sizeof t.ToneLabel);
}

UserMatrixInfo StoredMatrix(const Setup &s) {
  UserMatrixInfo m;
  std::memcpy(m.fUserMatrix, s.fUserMatrix, sizeof m.fUserMatrix);
  std::memcpy(m.UserMatrixLabel, s.UserMatrixLabel, sizeof m.UserMatrixLabel);
  return m;
}

void StoreMatrix(Setup &s, const UserMatrixInfo &m) {
  std::memcpy(s.fUserMatrix, m.fUserMatrix, sizeof m.fUserMatrix);
  std::memcpy(s.UserMatrixLabel, m.UserMatrixLabel, sizeof m.UserMatrixLabel);
}

bool FloatsDiffer(const float *a, const float *b, uint32_t n) {
  for (uint32_t i = 0; i < n; ++i)
    if (!(std::fabs(a[i] - b[i]) < kRecordFloatTolerance)) return true;
  return false;
}

bool LabelsDiffer(const char *a, const char *b) { return std::strncmp(a, b, 256) != 0; }

bool Differs(const ToneCurveInfo &a, const ToneCurveInfo &b) {
  if (LabelsDiffer(a.ToneLabel, b.ToneLabel) || a.TonePoints != b.TonePoints) return true;
  // Only the points in use count; the record holds 32 at most.
  uint32_t points = std::min<uint32_t>(a.TonePoints, 32);
  return FloatsDiffer(&a.fTone[0][0], &b.fTone[0][0], 2 * points);
}

bool Differs(const UserMatrixInfo &a, const UserMatrixInfo &b) {
  return LabelsDiffer(a.UserMatrixLabel, b.UserMatrixLabel) ||
         FloatsDiffer(a.fUserMatrix, b.fUserMatrix, 9);
}

// Records held by the camera: a read that finds the camera's record equal to
// the stored one writes nothing into `value`.
template <typename Record>
void GetRecord(Cine *c, uint32_t camCode, void *value, Record (*stored)(const Setup &),
               void (*store)(Setup &, const Record &)) {
  Record mine = stored(c->H.Setup);
  Record cam;
  if (c->IsFileCine || CameraCineGet(c, camCode, &cam, sizeof cam) != XE_OK) {
    std::memcpy(value, &mine, sizeof mine);
    return;
  }
  if (!Differs(mine, cam)) return;
  store(c->H.Setup, cam);
  std::memcpy(value, &cam, sizeof cam);
  c->ParamsChanged = 1;
}

template <typename Record>
void SetRecord(Cine *c, uint32_t camCode, const void *value, Record (*stored)(const Setup &),
               void (*store)(Setup &, const Record &)) {
  Record v;
  std::memcpy(&v, value, sizeof v);
  if (!c->IsFileCine) CameraCineSet(c, camCode, &v, sizeof v);
  if (Differs(stored(c->H.Setup), v)) c->ParamsChanged = 1;
  store(c->H.Setup, v);
}

// ---- Resampling and crop ----

void SetEnableResample(Cine *c, uint32_t v) {
  Setup &s = c->H.Setup;
  if (v == s.EnableResample) return;
  s.EnableResample = v;
  c->ParamsChanged = 1;
  if (!v) return;
  s.ResampleWidth = SnapToMultiple(std::min(s.ResampleWidth, kMaxResampleWidth), kResampleWidthStep);
  s.ResampleHeight =
      SnapToMultiple(std::min(s.ResampleHeight, kMaxResampleHeight), kResampleHeightStep);
}

void SetResampleSize(Cine *c, uint32_t Setup::*field, uint32_t limit, uint32_t step, void *value) {
  uint32_t v = SnapToMultiple(std::min(GetU32(value), limit), step);
  PutU32(value, v);
  Setup &s = c->H.Setup;
  if (s.*field != v) c->ParamsChanged = 1;
  s.*field = v;
}

void SetEnableCrop(Cine *c, uint32_t v) {
  Setup &s = c->H.Setup;
  if (v == s.EnableCrop) return;
  s.EnableCrop = v;
  c->ParamsChanged = 1;
  if (!v) return;
  XeRect r = s.CropRect;
  NormalizeCropRect(&r, s.ImWidth, s.ImHeight);
  s.CropRect = r;
}

void SetCropRect(Cine *c, void *value) {
  Setup &s = c->H.Setup;
  XeRect r;
  std::memcpy(&r, value, sizeof r);
  NormalizeCropRect(&r, s.ImWidth, s.ImHeight);
  std::memcpy(value, &r, sizeof r);
  const XeRect old = s.CropRect;
  if (r.left != old.left || r.top != old.top || r.right != old.right || r.bottom != old.bottom)
    c->ParamsChanged = 1;
  s.CropRect = r;
}

// The gain of the reduction to 8 bits: at least 1, at most what brings the
// top level of the samples that reach the reduction to 255. The samples are
// taken at the depth of the cine's image header; the chain's own header at
// that step replaces it once the chain describes its headers step by step.
void SetGain16To8(Cine *c, void *value) {
  Setup &s = c->H.Setup;
  // The depth the reduction to 8 bits sees: the header just before that step
  // when it is active, else the header of the finished image.
  if (c->ParamsChanged) RefreshCineProcessingParams(c);
  ImageHeader h{};
  if (c->Processing.ActiveProcessings[kStepTo8Bps])
    HeaderBeforeStep(c, kStepTo8Bps, &h);
  else
    ProcessedHeaderOf(c, &h);
  uint32_t bits = intl::XefEffectiveBits(intl::AsBmih(&h));
  float limit = static_cast<float>(std::ldexp(1.0, static_cast<int>(bits)) / 256.0);
  // fmax and fmin take the number when one side is NaN: NaN gives 1.
  float gain = std::fmin(std::fmax(sel::GetF32(value), 1.0f), limit);
  sel::PutF32(value, gain);
  if (sel::FloatChanged(s.fGain16_8, gain)) c->ParamsChanged = 1;
  s.fGain16_8 = gain;
}

void SetDemosaicCallback(Cine *c, void *value) {
  if (c->Processing.DemosaicCallback != value) c->ParamsChanged = 1;
  c->Processing.DemosaicCallback = value;
}

// ---- The use-case words ----

// The word of the working block that a selector names in the cine's use
// case, or null. Selector 300 names word 0 in use case 3 for setting only.
uint32_t *UseCaseWord(Cine *c, uint32_t selector, bool forSet) {
  if (!c->ProcessingState) return nullptr;
  int index = -1;
  switch (c->CineUseCase) {
    case kUseCaseView:
      switch (selector) {
        case CIS_Algo: index = kWordAlgo; break;
        case CIS_VFlipView: index = 3; break;
        case CIS_SeparateChannels: index = 4; break;
        case CIS_NoCalibration: index = 5; break;
        case CIS_RawImage: index = 6; break;
        case CIS_RepairPixels: index = 7; break;
      }
      break;
    case kUseCaseSave:
      switch (selector) {
        case CIS_Algo: index = kWordAlgo; break;
        case CIS_NoCalibration: index = 3; break;
        case CIS_RawImage: index = 4; break;
        case CIS_RepairPixels: index = 5; break;
      }
      break;
    case kUseCaseRaw:
      if (selector == CIS_VFlipView && forSet) index = 0;
      break;
  }
  return index < 0 ? nullptr : &c->ProcessingState[index];
}

bool IsUseCaseSelector(uint32_t selector) {
  switch (selector) {
    case CIS_Algo: case CIS_VFlipView: case CIS_NoCalibration: case CIS_RawImage:
    case CIS_RepairPixels: case CIS_SeparateChannels:
      return true;
    default:
      return false;
  }
}

void SetWord(Cine *c, uint32_t *word, uint32_t v) {
  if (*word != v) c->ParamsChanged = 1;
  *word = v;
}

// The demosaic id of use cases 1 and 2, kept in its setting as well. A save
// cannot do without demosaic: id 6 is refused there and the present id
// handed back.
void SetAlgo(Cine *c, uint32_t *word, void *value) {
  uint32_t v = GetU32(value);
  if (c->CineUseCase == kUseCaseSave && v == kAlgoNone) {
    PutU32(value, *word);
    return;
  }
  if (*word == v) return;
  SetWord(c, word, v);
  char text[16];
  std::snprintf(text, sizeof text, "%d", static_cast<int>(v));
  con::XefSetRegistryVal(AlgoSettingName(c, c->CineUseCase), text);
}

void SetUseCaseSelector(Cine *c, uint32_t selector, void *value) {
  uint32_t *word = UseCaseWord(c, selector, true);
  if (!word) return;  // not in this use case
  uint32_t v = GetU32(value);
  switch (selector) {
    case CIS_Algo: SetAlgo(c, word, value); return;
    case CIS_NoCalibration:
      SetWord(c, word, v);
      // Without calibration no pixel repair either, unless asked for by
      // another value than 1.
      SetWord(c, UseCaseWord(c, CIS_RepairPixels, true), v == 1 ? 0 : 1);
      return;
    case CIS_RawImage:
      SetWord(c, word, v);
      if (c->CineUseCase == kUseCaseSave && v != 0 && CanCarryPacked(c) &&
          c->Saving.SavePacked != 1) {
        c->Saving.SavePacked = 1;
        c->ParamsChanged = 1;
      }
      return;
    default: SetWord(c, word, v); return;
  }
}

void GetUseCaseSelector(Cine *c, uint32_t selector, void *value) {
  const uint32_t *word = UseCaseWord(c, selector, false);
  // Outside the use cases that have them, pixel repair reads as on and the
  // other switches as off.
  PutU32(value, word ? *word : selector == CIS_RepairPixels ? 1u : 0u);
}

}  // namespace

bool SupportsMetaWB(const Cine *c) {
  const Setup &s = c->H.Setup;
  if (!c->IsFileCine) return s.FirmwareVersion > 583;
  bool counts = c->SourceFileType == kSourceRawCine || (c->SourceFileType == kSourceCine && s.CFA == 0);
  return counts && s.bMetaWB != 0;
}

bool GetProcessingInfo(Cine *c, uint32_t selector, void *value) {
  if (const FieldSelector *f = FindField(selector)) {
    GetField(c, *f, value);
    return true;
  }
  if (IsUseCaseSelector(selector)) {
    GetUseCaseSelector(c, selector, value);
    return true;
  }
  const Setup &s = c->H.Setup;
  switch (selector) {
    case CIS_UserFilter: std::memcpy(value, &s.UserFilter, sizeof s.UserFilter); return true;
    case CIS_EnableResample: PutU32(value, s.EnableResample); return true;
    case CIS_ResampleWidth: PutU32(value, s.ResampleWidth); return true;
    case CIS_ResampleHeight: PutU32(value, s.ResampleHeight); return true;
    case CIS_EnableCrop: PutU32(value, s.EnableCrop); return true;
    case CIS_CropRect: std::memcpy(value, &s.CropRect, sizeof s.CropRect); return true;
    case CIS_fGain16_8: sel::PutF32(value, s.fGain16_8); return true;
    case CIS_DemosaicCallback: sel::PutPtr(value, c->Processing.DemosaicCallback); return true;
    case CIS_ToneCurve: GetRecord(c, kCamToneCurve, value, StoredTone, StoreTone); return true;
    case CIS_UserMatrix: GetRecord(c, kCamUserMatrix, value, StoredMatrix, StoreMatrix); return true;
    case CIS_SupportsMetaWB: PutU32(value, SupportsMetaWB(c) ? 1 : 0); return true;
    default: return false;
  }
}

bool SetProcessingInfo(Cine *c, uint32_t selector, void *value) {
  if (const FieldSelector *f = FindField(selector)) {
    SetField(c, *f, value);
    return true;
  }
  if (IsUseCaseSelector(selector)) {
    SetUseCaseSelector(c, selector, value);
    return true;
  }
  switch (selector) {
    case CIS_UserFilter: SetUserFilter(c, value); return true;
    case CIS_EnableResample: SetEnableResample(c, GetU32(value)); return true;
    case CIS_ResampleWidth:
      SetResampleSize(c, &Setup::ResampleWidth, kMaxResampleWidth, kResampleWidthStep, value);
      return true;
    case CIS_ResampleHeight:
      SetResampleSize(c, &Setup::ResampleHeight, kMaxResampleHeight, kResampleHeightStep, value);
      return true;
    case CIS_EnableCrop: SetEnableCrop(c, GetU32(value)); return true;
    case CIS_CropRect: SetCropRect(c, value); return true;
    case CIS_fGain16_8: SetGain16To8(c, value); return true;
    case CIS_DemosaicCallback: SetDemosaicCallback(c, value); return true;
    case CIS_ToneCurve: SetRecord(c, kCamToneCurve, value, StoredTone, StoreTone); return true;
    case CIS_UserMatrix: SetRecord(c, kCamUserMatrix, value, StoredMatrix, StoreMatrix); return true;
    default: return false;
  }
}

}  // namespace xe

extern "C" XEFILE_API int32_t XefSupportsMetaWB(CineHandle cine) {
  return cine && xe::SupportsMetaWB(cine) ? 1 : 0;
}
