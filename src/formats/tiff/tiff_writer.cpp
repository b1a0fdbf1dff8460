// Single TIFF files, one per image (FileType -8, -9, -10), and the pieces of
// a directory that the multipage writer shares: the entry block, the
// resolutions, the Software text, the date and the sample conversions.
//
// Layout of a single file. The directory stands at 8 with 16 entries, so it
// ends at 206; with three samples the three bit depths follow there. Then
// the X and Y resolutions, the Software text, the date, and the image as one
// strip of top-down rows without padding.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>
#include <memory>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "companions/int/setup_defaults.h"
#include "companions/int/time_print.h"
#include "formats/tiff/tiff.h"
#include "frame/memory.h"
#include "frame/messages.h"
#include "frame/start.h"

namespace xe {
namespace tiff {
namespace {

constexpr uint32_t kDirectoryStart = 8;
constexpr uint16_t kSingleEntries = 16;
constexpr uint32_t kSingleDirectoryEnd = kDirectoryStart + 2 + kSingleEntries * 12 + 4;  // 206
constexpr uint32_t kRationalBytes = 8;
constexpr uint32_t kResolutionDenominator = 10000;
constexpr uint32_t kTenthsOfMillimetrePerInch = 254;
constexpr char kMonthNames[] = "JanFebMarAprMayJunJulAugSepOctNovDec";

// Characters of the stamp text "Ddd Mmm DD YYYY HH:MM:SS".
constexpr int kMonthAt = 4, kDayAt = 8, kYearAt = 11, kClockAt = 16;

}  // namespace

uint32_t DepthOf(int16_t fileType) {
  switch (fileType) {
    case -8:
      return 8;
    case -9:
      return 12;
    case -10:
      return 16;
    default:
      return 0;
  }
}

void DateText(const Time64 *t, bool ut, char out[kDateField]) {
  char stamp[intl::kTimeTextSize] = {};
  intl::XefPrintTime64(stamp, t, ut ? 1 : 0, nullptr);
  int month = 0;
  for (int m = 0; m < 12; ++m)
    if (std::strncmp(kMonthNames + 3 * m, stamp + kMonthAt, 3) == 0) month = m + 1;
  char text[kDateField + 8] = {};
  std::memcpy(text, stamp + kYearAt, 4);
  text[4] = ':';
  text[5] = static_cast<char>('0' + month / 10);
  text[6] = static_cast<char>('0' + month % 10);
  text[7] = ':';
  std::memcpy(text + 8, stamp + kDayAt, 2);
  text[10] = ' ';
  std::memcpy(text + 11, stamp + kClockAt, 8);
  std::memcpy(out, text, kDateField - 1);
  out[kDateField - 1] = '\0';
}

int32_t WriteDirectory(FileHandle f, const Entry *entries, uint16_t count, uint32_t next) {
  int32_t status = XefFileWrite(f, &count, sizeof count);
  Merge(status, XefFileWrite(f, entries, static_cast<uint32_t>(count * sizeof(Entry))));
  Merge(status, XefFileWrite(f, &next, sizeof next));
  return status;
}

int32_t WriteResolutionTextDate(FileHandle f, const BitmapInfoHeader *header, const Time64 *time,
                                bool ut) {
  // A resolution is pixels per metre x 254 over 10000: pixels per inch.
  uint32_t res[4] = {static_cast<uint32_t>(header->biXPelsPerMeter) * kTenthsOfMillimetrePerInch,
                     kResolutionDenominator,
                     static_cast<uint32_t>(header->biYPelsPerMeter) * kTenthsOfMillimetrePerInch,
                     kResolutionDenominator};
  int32_t status = XefFileWrite(f, res, sizeof res);
  char text[kSoftwareField] = {};
  std::memcpy(text, kSoftware, sizeof kSoftware);
  Merge(status, XefFileWrite(f, text, kSoftwareField));
  Time64 now{};
  if (!time) {
    intl::XefTimeUINT32(&now.seconds);
    time = &now;
  }
  char date[kDateField];
  DateText(time, ut, date);
  Merge(status, XefFileWrite(f, date, kDateField));
  return status;
}

void SwapColours(uint8_t *data, uint32_t width, uint32_t rows, size_t stride, bool wide) {
  const size_t sample = wide ? 2 : 1;
  for (uint32_t r = 0; r < rows; ++r) {
    uint8_t *p = data + stride * r;
    for (uint32_t x = 0; x < width; ++x, p += 3 * sample)
      for (size_t b = 0; b < sample; ++b) std::swap(p[b], p[2 * sample + b]);
  }
}

void ExpandTo16(uint8_t *data, size_t bytes) {
  for (size_t i = bytes; i-- > 0;) {
    data[2 * i + 1] = data[i];
    data[2 * i] = 0;
  }
}

void KeepHighBytes(uint8_t *data, size_t samples) {
  for (size_t i = 0; i < samples; ++i) data[i] = data[2 * i + 1];
}

void ScaleToFullScale(uint8_t *data, size_t samples, uint32_t levels) {
  const uint32_t factor = levels ? 0x10000u / levels : 16u;
  for (size_t i = 0; i < samples; ++i) {
    uint16_t v;
    std::memcpy(&v, data + 2 * i, 2);
    v = static_cast<uint16_t>(std::min<uint32_t>(uint32_t{v} * factor, 0xFFFFu));
    std::memcpy(data + 2 * i, &v, 2);
  }
}

}  // namespace tiff

namespace {

using tiff::Entry;

// Unpacked 8, 16, 24 or 48-bit bitmaps of at least one pixel, stored
// bottom-up, whose padded image stays well inside one allocation.
bool WritableBitmap(const BitmapInfoHeader *h) {
  const uint16_t bits = h->biBitCount;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 48) return false;
  if (h->biCompression != 0 || h->biWidth <= 0 || h->biHeight <= 0) return false;
  return intl::XefPixarSize(h) <= kMaxAllocation / 2;
}

// Reports a directory that does not end where it was planned to.
void CheckPosition(FileHandle f, uint32_t expected) {
  uint32_t at = 0;
  if (XefFileTell32(f, &at) < 0 || at == expected) return;
  if (frame::MessagesEnabled.load())
    ReportMessage(nullptr, "Structure error when writing the tif file", "Error", kStyleError);
}

}  // namespace

int32_t WriteTiffIfd(FileHandle f, int16_t fileType, const BitmapInfoHeader *header,
                     const Time64 *time) {
  if (!header) return XE_ERR_NULL_ARGUMENT;
  const uint32_t depth = tiff::DepthOf(fileType);
  if (!depth) return XE_ERR_NOT_SUPPORTED;
  const uint32_t samples = tiff::SamplesOf(header->biBitCount);
  const bool colour = samples == 3;
  const uint32_t width = static_cast<uint32_t>(header->biWidth);
  const uint32_t height = static_cast<uint32_t>(std::abs(header->biHeight));
  // 12-bit rows are cut to a multiple of 4 pixels; the byte count keeps the
  // width of the bitmap.
  const uint32_t writtenWidth = fileType == -9 ? width & ~3u : width;
  const uint32_t byteCount =
      static_cast<uint32_t>(static_cast<uint64_t>(depth) * samples * width * height / 8);

  const uint32_t bitsAt = tiff::kSingleDirectoryEnd;
  const uint32_t xAt = bitsAt + (colour ? 6 : 0);
  const uint32_t yAt = xAt + tiff::kRationalBytes;
  const uint32_t textAt = yAt + tiff::kRationalBytes;
  const uint32_t dateAt = textAt + tiff::kSoftwareField;
  const uint32_t dataAt = dateAt + tiff::kDateField;

  const Entry entries[tiff::kSingleEntries] = {
      {254, tiff::kLong, 1, 0},
      {256, tiff::kLong, 1, writtenWidth},
      {257, tiff::kLong, 1, height},
      colour ? Entry{258, tiff::kShort, 3, bitsAt} : Entry{258, tiff::kShort, 1, depth},
      {259, tiff::kShort, 1, 1},
      {262, tiff::kShort, 1, colour ? 2u : 1u},
      {273, tiff::kLong, 1, dataAt},
      {277, tiff::kShort, 1, samples},
      {278, tiff::kLong, 1, height},
      {279, tiff::kLong, 1, byteCount},
      {282, tiff::kRational, 1, xAt},
      {283, tiff::kRational, 1, yAt},
      {284, tiff::kShort, 1, 1},
      {296, tiff::kShort, 1, 2},  // inches
      {305, tiff::kAscii, tiff::kSoftwareField, textAt},
      {306, tiff::kAscii, tiff::kDateField, dateAt},
  };
  int32_t status = tiff::WriteDirectory(f, entries, tiff::kSingleEntries, 0);
  CheckPosition(f, tiff::kSingleDirectoryEnd);
  if (colour) {
    const uint16_t bits[3] = {static_cast<uint16_t>(depth), static_cast<uint16_t>(depth),
                              static_cast<uint16_t>(depth)};
    Merge(status, XefFileWrite(f, bits, sizeof bits));
  }
  Merge(status, tiff::WriteResolutionTextDate(f, header, time, false));
  CheckPosition(f, dataAt);
  return status;
}

int32_t WriteTiffFile(const char *name, int16_t fileType, const BitmapInfoHeader *header,
                      const Time64 *time, const uint8_t *pixels) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!name || !header || !pixels) return status = XE_ERR_NULL_ARGUMENT;
  if (!tiff::DepthOf(fileType) || !WritableBitmap(header)) return status = XE_ERR_NOT_SUPPORTED;

  FileHandle f = kNoFile;
  Merge(status, XefFileCreate(name, &f));
  if (f == kNoFile) return status;
  BitmapInfoHeader h = *header;
  const uint32_t head[2] = {0x002A4949u, tiff::kDirectoryStart};  // "II", 42, first directory
  Merge(status, XefFileWrite(f, head, sizeof head));
  Merge(status, WriteTiffIfd(f, fileType, &h, time));

  // The picture from its top row, rows without padding (12-bit rows cut to a
  // multiple of 4 pixels), each row made ready in one pass through a scratch
  // row of twice its size: full-scale samples, RGB order, then the depth of
  // the file. The buffers stay with the thread from image to image.
  const bool wide = intl::XefIs16BitDIB(&h);
  const bool colour = intl::XefIsColorDIB(&h);
  const size_t stride = intl::XefMemWidth(&h);
  const uint32_t rows = static_cast<uint32_t>(h.biHeight);
  if (fileType == -9) h.biWidth &= ~3;
  const size_t rowBytes = static_cast<size_t>(h.biWidth) * h.biBitCount / 8;
  const bool deepFile = fileType == -9 || fileType == -10;
  size_t outRow = rowBytes;
  if (deepFile && !wide) outRow *= 2;
  if (fileType == -9) outRow = outRow * 3 / 4;
  if (!deepFile && wide) outRow /= 2;
  thread_local std::vector<uint8_t> scratch, data;
  scratch.resize(2 * rowBytes + 4);
  data.resize(outRow * rows);
  for (uint32_t r = 0; r < rows; ++r) {
    uint8_t *row = scratch.data();
    std::memcpy(row, pixels + stride * (rows - 1 - r), rowBytes);
    if (wide) tiff::ScaleToFullScale(row, rowBytes / 2, h.biClrImportant);
    if (colour) tiff::SwapColours(row, static_cast<uint32_t>(h.biWidth), 1, rowBytes, wide);
    size_t bytes = rowBytes;
    if (deepFile) {
      if (!wide) {
        tiff::ExpandTo16(row, bytes);
        bytes *= 2;
      }
      if (fileType == -9 && !tiff::Pack12(row, bytes / 2)) {
        ShowTableMessage(kMsgErrorWritingImage);
        XefFileClose(f);
        return status = MergeStatus(status, XE_ERR_FILE_WRITE);
      }
    } else if (wide) {
      tiff::KeepHighBytes(row, bytes / 2);
    }
    std::memcpy(data.data() + outRow * r, row, outRow);
  }
  const size_t size = data.size();
  Merge(status, XefFileWrite(f, data.data(), static_cast<uint32_t>(size)));
  XefFileClose(f);
  return status;
}

}  // namespace xe
