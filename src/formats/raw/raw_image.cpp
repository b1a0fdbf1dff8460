#include "formats/raw/raw_image.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "frame/file_io.h"
#include "frame/messages.h"

namespace xe {
namespace {

uint32_t Sample16(const uint8_t *row, uint32_t index) {
  uint16_t v;
  std::memcpy(&v, row + 2ull * index, 2);
  return v;
}

void AppendRowText(std::string &line, const BitmapInfoHeader &h, const uint8_t *row) {
  char piece[40];
  const uint32_t width = static_cast<uint32_t>(h.biWidth);
  const bool deep = h.biBitCount == 16 || h.biBitCount == 48;
  const bool colour = h.biBitCount == 24 || h.biBitCount == 48;
  for (uint32_t i = 0; i < width; ++i) {
    int n;
    if (!colour) {
      n = std::snprintf(piece, sizeof piece, "%d ", deep ? Sample16(row, i) : row[i]);
    } else if (deep) {
      n = std::snprintf(piece, sizeof piece, "%d,%d,%d ", Sample16(row, 3 * i + 2),
                        Sample16(row, 3 * i + 1), Sample16(row, 3 * i));
    } else {
      // One byte on per pixel, not three: the text form has always read so.
      n = std::snprintf(piece, sizeof piece, "%d,%d,%d ", row[i + 2], row[i + 1], row[i]);
    }
    line.append(piece, static_cast<size_t>(n));
  }
  line.append("\r\n");
}

}  // namespace

int32_t WriteRawImage(const char *name, const BitmapInfoHeader *h, const uint8_t *pixels,
                      uint32_t options) {
  FileHandle f = kNoFile;
  if (XefFileCreate(name, &f) < 0) {
    ReportCannotOpen(name);
    return XE_OK;
  }
  int32_t status = XE_OK;
  const uint32_t rowBytes = intl::XefMemWidth(h);
  const uint32_t height = static_cast<uint32_t>(h->biHeight < 0 ? -h->biHeight : h->biHeight);
  const bool text = options & kRawText;
  if (options & kRawSizeHeader) {
    if (text) {
      char line[64];
      int n = std::snprintf(line, sizeof line, "%u %u %u\n", static_cast<uint32_t>(h->biWidth),
                            height, static_cast<uint32_t>(h->biBitCount));
      Merge(status, XefFileWrite(f, line, static_cast<uint32_t>(n)));
    } else {
      const uint16_t head[3] = {static_cast<uint16_t>(h->biWidth), static_cast<uint16_t>(height),
                                h->biBitCount};
      Merge(status, XefFileWrite(f, head, sizeof head));
    }
  }
  std::string line;
  // Rows from the top of the picture: the bitmap's last stored row first.
  for (uint32_t r = height; r-- > 0 && status >= 0;) {
    const uint8_t *row = pixels + static_cast<uint64_t>(r) * rowBytes;
    if (!text) {
      Merge(status, XefFileWrite(f, row, rowBytes));
      continue;
    }
    line.clear();
    AppendRowText(line, *h, row);
    Merge(status, XefFileWrite(f, line.data(), static_cast<uint32_t>(line.size())));
  }
  XefFileClose(f);
  if (status != 0 && LogOn()) con::Debprintf(" ErrCode= %d", status);
  return status;
}

namespace {

class RawWriter final : public ImageWriter {
 public:
  int32_t Open(const OutputDescription &d) override {
    options_ = d.Options->RawFileOptions;
    return 0;
  }
  int32_t Write(const OutputImage &image) override {
    return WriteRawImage(image.FileName, intl::AsBmih(image.Header), image.Pixels, options_);
  }
  int32_t Close(bool) override { return 0; }

 private:
  uint32_t options_ = 0;
};

}  // namespace

WriterPtr MakeRawWriter(int16_t) { return NewWriter<RawWriter>(); }

}  // namespace xe
