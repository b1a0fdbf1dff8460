#include "formats/quicktime/quicktime_writer.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "formats/quicktime/quicktime_head.h"
#include "formats/tiff/tiff.h"

namespace xe {

int32_t QuickTimeOpen(const char *name, uint32_t width, uint32_t height, uint32_t frameCount, uint32_t timeScale,
                      uint32_t depth, FileHandle *stream) {
  *stream = kNoFile;
  FileHandle f = kNoFile;
  if (XefFileCreate(name, &f) < 0) return -1;
  QuickTimeParams p;
  p.Width = width;
  p.Height = height;
  p.Depth = depth;
  p.TimeScale = timeScale;
  p.FrameCount = frameCount;
  std::vector<uint8_t> head;
  if (!BuildQuickTimeHead(p, head) || XefFileWrite(f, head.data(), static_cast<uint32_t>(head.size())) < 0) {
    XefFileClose(f);
    return -1;
  }
  *stream = f;
  return 0;
}

int32_t QuickTimeWriteFrame(FileHandle stream, const uint8_t *bytes, uint32_t size) {
  return XefFileWrite(stream, bytes, size) < 0 ? -1 : 0;
}

void QuickTimeClose(FileHandle stream) {
  if (stream != kNoFile) XefFileClose(stream);
}

namespace {

class QuickTimeWriter final : public ImageWriter {
 public:
  ~QuickTimeWriter() override { QuickTimeClose(stream_); }

  // A movie that cannot be created does not end the save here: its first
  // write fails it, so that the job runs on to its final steps as a failed
  // save.
  int32_t Open(const OutputDescription &d) override {
    const BitmapInfoHeader &h = *d.Header;
    frameBytes_ = intl::XefPixarSize(&h);
    frame_.reset(new (std::nothrow) uint8_t[frameBytes_]);
    if (!frame_) return XE_ERR_NO_MEMORY;
    if (QuickTimeOpen(d.FileName, static_cast<uint32_t>(h.biWidth), static_cast<uint32_t>(h.biHeight),
                      d.Options->SaveCount, d.Options->PlaybackRate, h.biBitCount, &stream_) != 0)
      stream_ = kNoFile;
    return XE_OK;
  }

  // The bitmap is bottom-up and blue first; the movie's frames are top-down
  // and red first. The image handed in stays as it is. Rows go out with
  // their padding: where a row is padded to whole words, a frame is longer
  // than the index says and readers misplace the frames after the first.
  int32_t Write(const OutputImage &image) override {
    BitmapInfoHeader h = *intl::AsBmih(image.Header);
    const uint32_t bytes = intl::XefPixarSize(&h);
    if (stream_ == kNoFile || bytes > frameBytes_) return XE_ERR_FILE_WRITE;
    std::memcpy(frame_.get(), image.Pixels, bytes);
    const bool colour = (h.biBitCount == 24 || h.biBitCount == 48) && !intl::XefIsPacked(&h) && h.biWidth > 0;
    if (colour)
      tiff::SwapColours(frame_.get(), static_cast<uint32_t>(h.biWidth), static_cast<uint32_t>(std::abs(h.biHeight)),
                        intl::XefMemWidth(&h), h.biBitCount == 48);
    // A depth the flip does not know is appended unflipped.
    intl::XeFlips(&h, frame_.get(), 0, 1);
    return QuickTimeWriteFrame(stream_, frame_.get(), bytes) == 0 ? XE_OK : XE_ERR_FILE_WRITE;
  }

  // The head keeps the count promised at the open, also after a stop.
  int32_t Close(bool) override {
    QuickTimeClose(stream_);
    stream_ = kNoFile;
    return XE_OK;
  }

 private:
  FileHandle stream_ = kNoFile;
  std::unique_ptr<uint8_t[]> frame_;
  uint32_t frameBytes_ = 0;
};

}  // namespace

WriterPtr MakeQuickTimeWriter(int16_t) { return NewWriter<QuickTimeWriter>(); }

}  // namespace xe
