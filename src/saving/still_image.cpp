#include "saving/still_image.h"

#include <cstddef>
#include <cstring>

#include "cinefile/image_time.h"
#include "companions/con/status.h"
#include "companions/int/depth.h"
#include "companions/int/dib.h"
#include "formats/dpx/dpx_options.h"
#include "saving/file_names.h"
#include "saving/jpeg_quality.h"
#include "xefile/xefile.h"

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

// Opens the still writer of `f`, or none for a format without one.
int32_t OpenStillWriter(const OutputFormat &f, const OutputDescription &d, WriterPtr *out) {
  if (!f.Make) return XE_OK;
  *out = f.Make(f.FileType);
  if (!*out) return XE_ERR_NO_MEMORY;
  return (*out)->Open(d);
}

class StillSeries final : public ImageWriter {
 public:
  explicit StillSeries(const OutputFormat &f) : format_(f) {}

  int32_t Open(const OutputDescription &d) override {
    description_ = d;
    return OpenStillWriter(format_, d, &still_);
  }

  int32_t Write(const OutputImage &image) override {
    Cine *w = description_.Writer;
    // The pattern goes back to the writer before each image: its name is
    // that of the first image of the save.
    const size_t n = strnlen(description_.Pattern, kPathSize - 1);
    std::memmove(w->FileName, description_.Pattern, n);
    w->FileName[n] = 0;
    char name[kPathSize];
    int32_t status = xe::XefExpandFileName(w, image.ImageNo, name);
    Time64 time{};
    CineImageTime(w, image.ImageNo, &time);
    OutputImage still = image;
    still.FileName = name;
    still.Time = &time;
    TC tc{};
    if ((format_.Traits & kTimeCode) && XeGetCineAuxData(w, image.ImageNo, XE_TAG_TIMECODE, sizeof tc, &tc) == XE_OK)
      std::memcpy(&still.TimeCode, &tc, sizeof still.TimeCode);
    Merge(status, WriteStill(still_.get(), format_, still, *description_.CineSetup, work_));
    return status;
  }

  int32_t Close(bool complete) override { return still_ ? still_->Close(complete) : XE_OK; }

 private:
  const OutputFormat &format_;
  OutputDescription description_;
  WriterPtr still_;
  std::vector<uint8_t> work_;
};

}  // namespace

SavingOptions LoneStillOptions() {
  SavingOptions o{};
  o.QFactor = 2;
  const DpxOptions dpx;
  std::memcpy(reinterpret_cast<uint8_t *>(&o) + kDpxAt, &dpx, sizeof dpx);
  return o;
}

int32_t WriteStill(ImageWriter *w, const OutputFormat &f, OutputImage image, const Setup &setup,
                   std::vector<uint8_t> &work) {
  const BitmapInfoHeader *h = intl::AsBmih(image.Header);
  ImageHeader reducedHeader;
  if (intl::XefIs16BitDIB(h) && !(f.Traits & kKeeps16Bit)) {
    reducedHeader = *image.Header;
    auto *r = reinterpret_cast<BitmapInfoHeader *>(&reducedHeader);
    work.resize(intl::XefPixarSize(h));
    int32_t st = intl::XeProcessImage(image.Pixels, work.data(), r, intl::kReduceTo8, setup.fGain16_8);
    if (st < 0) return st;
    image.Header = &reducedHeader;
    image.Pixels = work.data();
  }
  return w ? w->Write(image) : NoWriterStatus(f);
}

int32_t WriteStillImage(const char *name, const ImageHeader *header, const uint8_t *pixels,
                        int16_t fileType, const SavingOptions &options, const Time64 *time,
                        const Setup &setup) {
  const OutputFormat *f = FindOutputFormat(fileType);
  if (!f || fileType >= 0) return XE_ERR_NOT_SUPPORTED;
  OutputDescription d;
  d.FileName = name;
  d.Options = &options;
  d.Header = intl::AsBmih(header);
  d.CineSetup = &setup;
  WriterPtr w;
  int32_t status = OpenStillWriter(*f, d, &w);
  if (status < 0) return status;
  OutputImage image;
  image.Header = header;
  image.Pixels = pixels;
  image.FileName = name;
  image.Time = time;
  std::vector<uint8_t> work;
  Merge(status, WriteStill(w.get(), *f, image, setup, work));
  if (w) Merge(status, w->Close(true));
  return status;
}

WriterPtr MakeStillSeries(const OutputFormat &f) { return NewWriter<StillSeries>(f); }

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
  SavingOptions o = LoneStillOptions();
  o.QFactor = QFactorOfQuality(static_cast<uint32_t>(quality));
  // The options lead to the word block of the type.
  if (options && fileType == kTypeDpx) {
    std::memcpy(reinterpret_cast<uint8_t *>(&o) + kDpxAt, options, sizeof(DpxOptions));
  } else if (options) {
    uint32_t raw;
    std::memcpy(&raw, options, sizeof raw);
    o.RawFileOptions = static_cast<uint16_t>(raw);
  }
  // The Setup of a single image is the library's own: a zero gain reduces
  // 16-bit samples to their top byte.
  static const Setup kNoSetup{};
  return status = WriteStillImage(name, &h, pixels, fileType, o, time, kNoSetup);
}
