// The older fetch: images decoded, adjusted by the Setup and ready to be
// shown, from a file or from a camera; and XeReadCineImage on it.
#include <climits>

#include "access/decoded_image.h"
#include "access/image_range.h"
#include "companions/con/services.h"
#include "companions/con/status.h"
#include "companions/int/depth.h"
#include "companions/int/dib.h"
#include "companions/int/improc.h"
#include "frame/messages.h"

namespace xe {
namespace {

// Bits of the camera transfer word.
constexpr uint32_t kXferColour = 0x4;
constexpr uint32_t kXferHeadNamed = 0x8;
constexpr uint32_t kXferHeadShift = 4;
constexpr uint32_t kXferPacked = 0x100;
constexpr uint32_t kXfer16Bit = 0x200;
constexpr uint32_t kXferPackedTarget = 0x800;
constexpr uint32_t kXferPackedRawTarget = 0xC00;
constexpr uint32_t kXferAlgoShift = 16;

// Save targets that decide how packed samples travel.
constexpr int16_t kTypePackedRaw = kTypeDng;

bool IsMultiHeadCamera(uint32_t cameraVersion) { return cameraVersion == 6 || cameraVersion == 62; }

// The camera's image transfer. It has a camera behind it; this build has
// none, and camera cines have no image to give.
int32_t XeGetImage(int32_t /*cn*/, int32_t * /*cineBlock*/, BitmapInfoHeader * /*header*/,
                   uint32_t /*options*/, uint8_t * /*pixels*/) {
  return XE_INFO_NOT_RECORDED;
}

// The adjustments of the Setup on one delivered image, and the reduction to
// 8 bits when asked.
int32_t ProcessOlderImage(Cine *c, uint32_t options, BitmapInfoHeader *h, uint8_t *pixels) {
  const Setup &s = c->H.Setup;
  IMPROCOPTIONS o;
  int32_t status = intl::XeSetImProcOptions(&o, &s);
  Merge(status, XeCineImProc(c, h, pixels, &o));
  if (s.RealBPP > 8 && (options & kOlderReduceTo8)) {
    const int32_t levels[2] = {static_cast<int32_t>(s.Conv8Min), static_cast<int32_t>(s.Conv8Max)};
    intl::XefReduceDIB16To8(h, levels, reinterpret_cast<const uint16_t *>(pixels), pixels);
  }
  // The time and signal stamps are drawn by the stamping code, which is not
  // part of this build.
  return status;
}

}  // namespace

int32_t OlderFetchHead(const Cine *c, int32_t head) {
  if (!c->IsFileCine && XefIsMultiHeadCine(const_cast<Cine *>(c)) && head >= 0 && head <= 3)
    return head;
  return -1;
}

uint32_t CameraTransferOptions(const Cine *c, int32_t head, uint32_t options,
                               BitmapInfoHeader *transfer) {
  const Setup &s = c->H.Setup;
  const SavingOptions &save = c->Saving;
  Cine *cine = const_cast<Cine *>(c);
  const bool wantColour = (options & kOlderNoColour) == 0;
  *transfer = c->BmihOpened;

  uint32_t word = XefIsColorCine(cine) && wantColour ? kXferColour : 0;
  if (IsMultiHeadCamera(s.CameraVersion) && head >= 0 && save.HeadMask != 0) {
    word &= ~kXferColour;
    word |= kXferHeadNamed | (static_cast<uint32_t>(head) & 0xFu) << kXferHeadShift;
    if (XefIsColorCineHead(cine, head) && wantColour) word |= kXferColour;
  }
  const bool packed = intl::XefIsPacked(transfer);
  if (packed) {
    if (!save.SavePacked) {
      if (save.FileType == kTypeRawCine) word |= kXferPackedTarget;
    } else {
      word |= save.FileType == kTypePackedRaw ? kXferPackedRawTarget : kXferPacked;
    }
  }
  if (!packed || !save.SavePacked) {
    if (intl::XefIs16BitDIB(transfer)) word |= kXfer16Bit;
    if (intl::XefIsPacked(&c->BmihOpened)) {
      if (save.FileType == kTypePackedRaw) word |= kXferPackedTarget;
      transfer->biClrImportant = intl::kLinearLevels;
    }
    transfer->biCompression = 0;
  }
  return word;
}

int32_t OlderFetch(Cine *c, uint32_t options, int32_t head, BitmapInfoHeader *result,
                   uint8_t *pixels) {
  const Setup &s = c->H.Setup;
  // Side stamps are prepared here and finished at the end by the stamping
  // code, which is not part of this build.

  // The delivered images: colour or gray, doubled above 8 bits, never packed.
  BitmapInfoHeader h = c->H.Bmih;
  bool colour = XefIsColorCine(c) && (options & kOlderNoColour) == 0;
  h.biBitCount = static_cast<uint16_t>((colour ? 24 : 8) * (s.RealBPP > 8 ? 2 : 1));
  h.biCompression = 0;
  h.biSizeImage = intl::XefPixarSize(&h);
  *result = h;

  ImageRange range{c->ImageRangeFirst, static_cast<uint32_t>(c->ImageRangeCnt)};
  const ImageRange stored{c->H.Header.FirstImageNo, c->H.Header.ImageCount};
  int32_t status = RangeIntersect(&range, stored);

  if (!c->IsFileCine) {
    BitmapInfoHeader transfer;
    uint32_t word = CameraTransferOptions(c, head, options, &transfer);
    word |= (c->Saving.InterpolationAlgo & 0xFu) << kXferAlgoShift;
    int32_t got = XeGetImage(c->CN, &c->CineNr, &transfer, word, pixels);
    Merge(status, got);
    if (got != XE_OK || (options & kOlderNoProcessing)) return status;
    // Each image as the camera delivered it, at the stride of the result.
    for (uint32_t k = 0; k < range.Cnt; ++k) {
      BitmapInfoHeader one = transfer;
      Merge(status, ProcessOlderImage(c, options, &one, pixels + uint64_t{h.biSizeImage} * k));
      *result = one;
    }
    return status;
  }

  // File images one by one, at the stride of the result.
  for (uint32_t k = 0; k < range.Cnt; ++k) {
    int32_t image = static_cast<int32_t>(static_cast<int64_t>(range.First) + k);
    uint8_t *at = pixels + uint64_t{h.biSizeImage} * k;
    BitmapInfoHeader one;
    bool read = false;
    Merge(status, ReadCineFileImage(c, image, at, &one, &read));
    if (!read) continue;
    if ((options & kOlderNoProcessing) == 0) Merge(status, ProcessOlderImage(c, options, &one, at));
    *result = one;
  }
  return status;
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeReadCineImage(CineHandle cine, int32_t image, int32_t head,
                                              uint8_t *pixels) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine) return status = XE_ERR_NULL_CINE;
  if (!pixels) return status = XE_ERR_NULL_ARGUMENT;
  head = OlderFetchHead(cine, head);
  cine->ImageRangeFirst = image;
  cine->ImageRangeCnt = 1;
  BitmapInfoHeader result;
  return status = OlderFetch(cine, 0, head, &result, pixels);
}
