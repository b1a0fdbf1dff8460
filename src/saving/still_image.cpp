#include "saving/still_image.h"

#include <cstddef>
#include <cstring>
#include <vector>

#include "companions/con/status.h"
#include "companions/int/depth.h"
#include "companions/int/dib.h"
#include "companions/int/setup_defaults.h"
#include "formats/dpx/dpx_writer.h"
#include "formats/raw/raw_image.h"
#include "formats/tiff/tiff.h"
#include "frame/plugins.h"
#include "saving/jpeg_quality.h"

namespace xe {
namespace {

// The DPX words of SavingOptions are one block, laid out as DpxOptions: the
// block a caller of XeSaveImageToFile gives is taken as it stands.
constexpr size_t kDpxAt = offsetof(SavingOptions, DpxFlags);
static_assert(offsetof(SavingOptions, DpxRefWhite) - kDpxAt == offsetof(DpxOptions, DpxRefWhite) &&
              offsetof(SavingOptions, DpxRefBlack) - kDpxAt == offsetof(DpxOptions, DpxRefBlack) &&
              offsetof(SavingOptions, DpxGamma) - kDpxAt == offsetof(DpxOptions, DpxGamma) &&
              offsetof(SavingOptions, DpxFilmGamma) - kDpxAt == offsetof(DpxOptions, DpxFilmGamma) &&
              offsetof(SavingOptions, DpxSoftClip) - kDpxAt == offsetof(DpxOptions, DpxSoftClip));

// The still formats of the imaging plugin. Its table has no still writer
// yet: a loaded plugin answers as for a missing entry point.
int32_t SaveStillThroughPlugin() {
  if (!frame::ImagingAvailable()) return XE_WARN_NO_IMAGING;
  return XE_ERR_ENTRY_POINT;
}

}  // namespace

StillOptions StillOptionsOf(const SavingOptions &o) {
  StillOptions s;
  s.RawFileOptions = o.RawFileOptions;
  s.QFactor = o.QFactor;
  s.Dpx = {o.DpxFlags, o.DpxRefWhite, o.DpxRefBlack, o.DpxGamma, o.DpxFilmGamma, o.DpxSoftClip};
  return s;
}

int32_t WriteStillImage(const char *name, const ImageHeader *header, const uint8_t *pixels,
                        int16_t fileType, const StillOptions &options, const Time64 *time,
                        const Setup *setup) {
  const BitmapInfoHeader *h = intl::AsBmih(header);
  switch (fileType) {
    case kTypeRaw: return WriteRawImage(name, h, pixels, options.RawFileOptions);
    case kTypeDpx: return WriteDpxImage(name, h, pixels, options.TimeCode, options.Dpx);
    case kTypeDng: return XE_ERR_NOT_SUPPORTED;
    default: break;
  }
  if (fileType < kTypeDpx || fileType >= 0) return XE_ERR_NOT_SUPPORTED;

  BitmapInfoHeader bh = *h;
  const uint8_t *image = pixels;
  // The 8-bit formats get the chain's 16-to-8 reduction; the buffer is kept
  // by the thread between images.
  thread_local std::vector<uint8_t> reduced;
  if (intl::XefIs16BitDIB(&bh) && fileType != kTypeTiff12 && fileType != kTypeTiff16) {
    reduced.resize(intl::XefPixarSize(&bh));
    int32_t st = intl::XeProcessImage(pixels, reduced.data(), &bh, intl::kReduceTo8,
                                      setup ? setup->fGain16_8 : 1.0f);
    if (st < 0) return st;
    image = reduced.data();
  }
  if (fileType == kTypeTiff8 || fileType == kTypeTiff12 || fileType == kTypeTiff16) {
    Time64 now{};
    if (!time) {
      intl::XefTimeUINT32(&now.seconds);
      now.fractions = 3;
      time = &now;
    }
    return WriteTiffFile(name, fileType, &bh, time, image);
  }
  return SaveStillThroughPlugin();
}

}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeSaveImageToFile(const char *name, const BitmapInfoHeader *header,
                                                const uint8_t *pixels, int16_t fileType,
                                                int32_t quality, const void *options,
                                                const Time64 *time) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!name || !header || !pixels) return status = XE_ERR_NULL_ARGUMENT;
  ImageHeader h{};
  std::memcpy(&h, header, sizeof *header);
  h.biSize = sizeof h;
  StillOptions o;
  o.QFactor = QFactorOfQuality(static_cast<uint32_t>(quality));
  // The options lead to the word block of the type; a single still has no
  // timecode.
  if (options && fileType == kTypeDpx) std::memcpy(static_cast<void *>(&o.Dpx), options, sizeof o.Dpx);
  else if (options) std::memcpy(&o.RawFileOptions, options, sizeof o.RawFileOptions);
  // The Setup of a single image is the library's own: a zero gain reduces
  // 16-bit samples to their top byte.
  static const Setup kNoSetup{};
  return status = WriteStillImage(name, &h, pixels, fileType, o, time, &kNoSetup);
}
