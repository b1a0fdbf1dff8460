// The exported setters of the save options of a cine: the save range; the heads to save; and the
// copy of the options from one cine to another.
#include <cstdint>
#include <cstring>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "frame/cine.h"
#include "saving/save_range.h"

namespace xe {
namespace {

unsigned Addr(const void *p) { return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p)); }

// A first image at or below this, with a last image at or above the one
// below, asks for the whole cine; a header range beyond both limits is
// answered as the widest range there is.
constexpr int32_t kWholeFirstLimit = -0x7FFFFFFE;
constexpr int32_t kWholeLastLimit = 0x7FFFFFFE;
constexpr uint32_t kWholeCountLimit = 0xFFFFFFFEu;
constexpr int32_t kWidestLast = 0x7FFFFFFF;

// Everything a save is told, field by field. The movie writer of a running
// save and the border stamps belong to the cine they were made for.
void CopySaveFields(SavingOptions &d, const SavingOptions &s) {
  d.SaveFirst = s.SaveFirst;
  d.SaveCount = s.SaveCount;
  d.FileType = s.FileType;
  d.RawFileOptions = s.RawFileOptions;
  d.Save16Bit = s.Save16Bit;
  d.QFactor = s.QFactor;
  d.SplitQuarters = s.SplitQuarters;
  d.StampTime = s.StampTime;
  d.AviCompressorIndex = s.AviCompressorIndex;
  d.AviFrameRate = s.AviFrameRate;
  d.HeadMask = s.HeadMask;
  d.HeadIndex = s.HeadIndex;
  d.XmlHeader = s.XmlHeader;
  d.InterpolationAlgo = s.InterpolationAlgo;
  d.DpxFlags = s.DpxFlags;
  d.DpxRefWhite = s.DpxRefWhite;
  d.DpxRefBlack = s.DpxRefBlack;
  d.DpxGamma = s.DpxGamma;
  d.DpxFilmGamma = s.DpxFilmGamma;
  d.DpxSoftClip = s.DpxSoftClip;
  d.DngFlags = s.DngFlags;
  d.BayerGreenSplit = s.BayerGreenSplit;
  std::memcpy(d.ColorMatrix1, s.ColorMatrix1, sizeof d.ColorMatrix1);
  d.SavePacked = s.SavePacked;
  d.PlaybackRate = s.PlaybackRate;
}

}  // namespace
}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XeSetCineSaveRange(CineHandle cine, int32_t first, int32_t last) {
  if (LogOn()) con::Debprintf("\nXeSetCineSaveRange Cine 0x%x First %d Last %d", Addr(cine), first, last);
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  SavingOptions &o = cine->Saving;
  if (first < kWholeFirstLimit && last >= kWholeLastLimit) {
    o.SaveFirst = kWholeFirst;
    o.SaveCount = kWholeCount;
  } else {
    o.SaveFirst = first;
    o.SaveCount = static_cast<uint32_t>(last) - static_cast<uint32_t>(first) + 1u;
  }
  return status;
}

// Answers the cine's own range from its header, not the save range: a range
// set above does not come back here, and applications rely on that.
XEFILE_API int32_t XeGetCineSaveRange(CineHandle cine, int32_t *first, int32_t *last) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!first || !last) return status = XE_ERR_NULL_ARGUMENT;
  int32_t f = cine->H.Header.FirstImageNo;
  uint32_t count = cine->H.Header.ImageCount;
  if (f < kWholeFirstLimit && count >= kWholeCountLimit) {
    *first = kWholeFirst;
    *last = kWidestLast;
  } else {
    *first = f;
    *last = static_cast<int32_t>(static_cast<uint32_t>(f) + count - 1u);
  }
  return status;
}

XEFILE_API int32_t XeSaveFromHeads(CineHandle cine, uint32_t headMask) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  cine->Saving.HeadMask = headMask;
  return status;
}

XEFILE_API int32_t XefCopySavingOptions(CineHandle dst, CineHandle src) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!dst || !src) return status = XE_ERR_NULL_CINE;
  CopySaveFields(dst->Saving, src->Saving);
  return status;
}

}  // extern "C"
