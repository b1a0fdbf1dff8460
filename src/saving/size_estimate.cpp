#include "saving/size_estimate.h"

#include <cstdlib>

#include "companions/con/services.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "processing/use_case.h"

namespace xe {
namespace {

constexpr uint32_t kUnsized = 0xFFFFFFFFu;
// Room counted for the file and image headers of each still file.
constexpr uint32_t kStillHeader = 4096;
// The header, bitmap header and Setup of a cine file, in 32-bit words, and
// the words of its per-image tables.
constexpr uint64_t kCineHeaderWords = 1835;
constexpr uint64_t kCineWordsPerImage = 5;

// The header of the images that a save of `c` writes: that of a duplicate in
// the save use case, so the caller's chain is left alone.
bool SavedImageHeader(Cine *c, BitmapInfoHeader *h) {
  CineHandle dup = nullptr;
  int32_t made = XeDuplicateCine(&dup, c);
  if (!dup) return false;
  if (made < 0) {
    XeDestroyCine(dup);
    return false;
  }
  XeSetUseCase(dup, kUseCaseSave);
  int32_t status = XeGetCineProcessedBMIH(dup, h);
  XeDestroyCine(dup);
  return status == XE_OK;
}

// Formats that store 16 bits per sample although the cine may hold 8.
bool WidensTo16(int16_t type) { return type == -15 || type == -10 || type == -9; }

// One still file: the size of its image data (32-bit arithmetic) plus the
// room of its headers. An image of unsized data stays unsized.
uint32_t StillFileBytes(const BitmapInfoHeader &h, const SavingOptions &o) {
  const uint32_t S = intl::XefPixarSize(&h);
  const uint32_t ch = h.biBitCount > 16 ? 3 : 1;
  const uint32_t B = intl::XefEffectiveBits(&h);
  const uint32_t W = static_cast<uint32_t>(h.biWidth);
  const uint32_t H = static_cast<uint32_t>(std::llabs(static_cast<long long>(h.biHeight)));
  const uint32_t pixels = W * H;
  const uint32_t tight = pixels * B / 8 * ch;  // samples at their effective bits
  auto whole = [S] { return S == kUnsized ? kUnsized : S + kStillHeader; };
  switch (o.FileType) {
    case -27: return (o.DpxFlags & 0xCu) ? whole() : tight + kStillHeader;
    case -26: return o.SavePacked ? tight + kStillHeader : whole();
    case -25: case -24: case -22: case -21: case -20: case -19: case -18:
    case -14: case -12: case -5: case -2:
      return pixels + kStillHeader;
    case -23: case -15: case -10: case -8: return whole();
    case -17: return pixels * 4 + kStillHeader;
    case -16: case -13: case -6: case -1: return pixels * 3 + kStillHeader;
    case -11: case -7: return pixels / 8 + kStillHeader;
    case -9: return pixels * 3 / 2 * ch + kStillHeader;
    case -4: case -3: return pixels / 2 + kStillHeader;
    default: return 0;
  }
}

}  // namespace

uint64_t EstimateSaveSize(const BitmapInfoHeader &header, const SavingOptions &o, uint32_t count,
                          uint32_t cluster) {
  BitmapInfoHeader h = header;
  if (WidensTo16(o.FileType) && (h.biBitCount == 8 || h.biBitCount == 24)) {
    h.biBitCount = static_cast<uint16_t>(h.biBitCount * 2);
    h.biSizeImage = intl::XefPixarSize(&h);
  }
  const uint64_t n = count;
  if (o.FileType >= 0 && o.FileType <= 8) {
    // One file: the images, the cine headers and tables, and 8 bytes of
    // image record per image.
    uint32_t images = count * intl::XefPixarSize(&h);
    uint32_t records = count * 8u;
    return uint64_t{images} + (n * kCineWordsPerImage + kCineHeaderWords) * 4 + records;
  }
  if (o.FileType < -27 || o.FileType > 8) return 0;
  uint64_t file = StillFileBytes(h, o);
  if (file == kUnsized) return file * n;
  uint64_t c = cluster ? cluster : 1;
  return (file + c - 1) / c * c * n;
}

uint64_t EstimateSaveSize(Cine *c, uint32_t cluster) {
  BitmapInfoHeader h{};
  if (!SavedImageHeader(c, &h)) return 0;
  ImageRange range{c->Saving.SaveFirst, c->Saving.SaveCount};
  ImageRange cine{c->H.Header.FirstImageNo, c->H.Header.ImageCount};
  con::XefIntersectRanges(&range, &cine);
  return EstimateSaveSize(h, c->Saving, range.Cnt, cluster);
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XefGetCineSaveSize(CineHandle cine, uint32_t cluster, uint64_t *bytes) {
  if (!cine) return XE_ERR_NULL_CINE;
  if (!bytes) return XE_ERR_NULL_ARGUMENT;
  *bytes = EstimateSaveSize(cine, cluster);
  return XE_OK;
}
