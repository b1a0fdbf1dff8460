// The multipage TIFF save loop. The file head says "II", 42 and the first
// page at 8; every page carries the trigger time of the cine as its date. A
// range that would pass 2 GiB is cut with a warning before the first page.
#include "saving/multipage_tiff.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "formats/image_writer.h"
#include "formats/tiff/tiff.h"
#include "frame/memory.h"
#include "saving/save_loop.h"

namespace xe {
namespace {

// The size estimate of a page beyond its image, and of the file beyond its pages.
constexpr uint64_t kEstimatePerPage = 280;
constexpr uint64_t kEstimateFile = 6;
constexpr uint64_t kFileLimit = 0x80000000ull;
constexpr int64_t kBufferEmpty = 0x7FFFFFFF;

}  // namespace

int32_t SaveMultipageTiff(Cine *cine, Cine *reader, Cine *out, pfnCallback cb) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!reader || !out) return status = XE_ERR_NULL_ARGUMENT;
  if (LogOn()) con::Debprintf("\nSaving tiff multipage: %s", out->FileName);

  BitmapInfoHeader bmih{};
  Merge(status, XeGetCineBMIH(out, &bmih));
  if (status < 0) return status;
  const uint64_t pixar = intl::XefPixarSize(&bmih);
  if (pixar == 0 || pixar >= kFileLimit) return status = XE_ERR_NOT_SUPPORTED;

  SavingOptions &so = out->Saving;
  const uint64_t estimate = so.SaveCount * (pixar + kEstimatePerPage) + kEstimateFile;
  if (estimate > kFileLimit) {
    const uint64_t fewer = (estimate - kFileLimit) / pixar + 1;
    so.SaveCount = fewer >= so.SaveCount ? 0 : static_cast<uint32_t>(so.SaveCount - fewer);
    Merge(status, XE_WARN_RANGE_REDUCED);
  }

  WriterPtr pages = MakeTiffPagesWriter(kTypeMultipageTiff);
  if (!pages) return status = MergeStatus(status, XE_ERR_NO_MEMORY);
  OutputDescription d;
  d.FileName = out->FileName;
  d.Options = &so;
  d.Header = &bmih;
  d.CineSetup = &out->H.Setup;
  d.Out = out;
  Merge(status, pages->Open(d));
  if (status < 0) return status;

  // One group of images at the room that a fetch asks for each of them.
  uint32_t room = 0;
  XeGetCineInfo(reader, CIS_MaxImageSizeColor, &room);
  room = static_cast<uint32_t>(std::max<uint64_t>(room, pixar));
  uint64_t group = reader->IsFileCine ? 1 : std::max<uint32_t>(ImagesPerGroup(reader), 1);
  group = std::min<uint64_t>(group, kMaxAllocation / room);
  const uint32_t bufferSize = static_cast<uint32_t>(group * room);
  std::unique_ptr<uint8_t, decltype(&FreeMemory)> buffer(
      static_cast<uint8_t *>(AllocZeroed(bufferSize)), FreeMemory);
  if (!buffer) {
    pages->Close(false);
    return status = MergeStatus(status, XE_ERR_NO_MEMORY);
  }

  // Every page is dated with the trigger time; the header of each is the
  // output's.
  const Time64 trigger = out->H.Header.TriggerTime;
  ImageHeader page{};
  std::memcpy(&page, &bmih, sizeof bmih);
  int64_t bufferFirst = kBufferEmpty, bufferLast = kBufferEmpty;
  uint64_t stride = pixar;
  bool complete = true;
  for (uint32_t i = 0; i < so.SaveCount; ++i) {
    const int64_t n = static_cast<int64_t>(so.SaveFirst) + i;
    if (n < bufferFirst || n > bufferLast) {
      ImageRange range{static_cast<int32_t>(n),
                       static_cast<uint32_t>(std::min<uint64_t>(group, so.SaveCount - i))};
      ImageHeader ih{};
      Merge(status, XeGetCineImage(reader, &range, buffer.get(), bufferSize, &ih));
      stride = ih.biSizeImage ? ih.biSizeImage : pixar;
      bufferFirst = n;
      bufferLast = n + range.Cnt - 1;
    }
    const uint64_t at = static_cast<uint64_t>(n - bufferFirst) * stride;
    if (at + pixar <= bufferSize) {
      OutputImage image;
      image.Header = &page;
      image.Pixels = buffer.get() + at;
      image.ImageNo = static_cast<int32_t>(n);
      image.Time = &trigger;
      Merge(status, pages->Write(image));
    } else {
      Merge(status, XE_ERR_BUFFER_TOO_SMALL);
    }
    const uint32_t percent = static_cast<uint32_t>(static_cast<uint64_t>(i) * 100 / so.SaveCount);
    if (!CallCB(cb, cine, percent)) {
      so.SaveCount = i;
      out->H.Header.ImageCount = i;
      complete = false;
      break;
    }
  }
  Merge(status, pages->Close(complete));
  return status;
}

}  // namespace xe
