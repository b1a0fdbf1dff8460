// The TIFF writers of a save: one file per image (FileType -8, -9, -10), and
// the pages of the multipage file (FileType 4). A page is converted in a
// buffer of the writer's own, made once, since the image handed in is not
// the writer's to change.
#include <cstdlib>
#include <cstring>

#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "companions/int/setup_defaults.h"
#include "formats/image_writer.h"
#include "formats/tiff/tiff.h"
#include "frame/memory.h"

namespace xe {
namespace {

class TiffStillWriter final : public ImageWriter {
 public:
  explicit TiffStillWriter(int16_t fileType) : type_(fileType) {}
  int32_t Open(const OutputDescription &) override { return XE_OK; }
  // An image without a time is dated now.
  int32_t Write(const OutputImage &image) override {
    Time64 now{};
    const Time64 *time = image.Time;
    if (!time) {
      intl::XefTimeUINT32(&now.seconds);
      now.fractions = 3;
      time = &now;
    }
    return WriteTiffFile(image.FileName, type_, intl::AsBmih(image.Header), time, image.Pixels);
  }
  int32_t Close(bool) override { return XE_OK; }

 private:
  int16_t type_;
};

// Pages of the save range: the page of its last image ends the chain.
// Colour pages are written red first, rows from the top.
class TiffPagesWriter final : public ImageWriter {
 public:
  ~TiffPagesWriter() override {
    FreeMemory(page_);
    if (file_ != kNoFile) XefFileClose(file_);
  }

  int32_t Open(const OutputDescription &d) override {
    int32_t status = XefFileCreate(d.FileName, &file_);
    if (file_ == kNoFile) return status < 0 ? status : XE_ERR_FILE_OPEN;
    const uint32_t head[2] = {0x002A4949u, 8};  // "II", 42, first page at 8
    Merge(status, XefFileWrite(file_, head, sizeof head));
    position_ = 8;
    last_ = static_cast<int64_t>(d.Options->SaveFirst) + d.Options->SaveCount - 1;
    ut_ = d.Out && d.Out->TimeFormat == 1;
    pageBytes_ = intl::XefPixarSize(d.Header);
    page_ = static_cast<uint8_t *>(AllocZeroed(pageBytes_));
    return page_ ? status : MergeStatus(status, XE_ERR_NO_MEMORY);
  }

  int32_t Write(const OutputImage &image) override {
    BitmapInfoHeader h = *intl::AsBmih(image.Header);
    const uint32_t bytes = intl::XefPixarSize(&h);
    if (bytes > pageBytes_) return XE_ERR_BUFFER_TOO_SMALL;
    std::memcpy(page_, image.Pixels, bytes);
    int32_t status = intl::XeFlips(&h, page_, 0, 1);
    if (intl::XefIsColorDIB(&h))
      tiff::SwapColours(page_, static_cast<uint32_t>(h.biWidth), static_cast<uint32_t>(std::abs(h.biHeight)),
                        intl::XefMemWidth(&h), intl::XefIs16BitDIB(&h));
    Merge(status, WriteTiffPage(file_, &h, page_, &position_, -8, image.Time, image.ImageNo == last_, ut_));
    return status;
  }

  // A stopped file keeps the link of its last page to where the next one
  // would have started.
  int32_t Close(bool) override {
    XefFileClose(file_);
    file_ = kNoFile;
    return XE_OK;
  }

 private:
  FileHandle file_ = kNoFile;
  uint32_t position_ = 8;
  int64_t last_ = 0;  // number of the image of the last page
  bool ut_ = false;
  uint8_t *page_ = nullptr;
  uint32_t pageBytes_ = 0;
};

}  // namespace

WriterPtr MakeTiffStillWriter(int16_t fileType) { return NewWriter<TiffStillWriter>(fileType); }
WriterPtr MakeTiffPagesWriter(int16_t) { return NewWriter<TiffPagesWriter>(); }

}  // namespace xe
