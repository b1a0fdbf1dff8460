// The multipage TIFF of FileType 4: one page for each image of the range,
// each a directory of 13 entries followed by its data and its image.
//
// A page from its start p: entry count, 13 entries, next-page offset (162
// bytes), X and Y resolution (16), the Software text (42), the date (20),
// then the image with its rows padded as in memory. The next page follows
// directly; the last one points nowhere.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "formats/tiff/tiff.h"
#include "frame/memory.h"

namespace xe {
namespace {

using tiff::Entry;

constexpr uint16_t kPageEntries = 13;
// Count, entries and next offset; then the two resolutions.
constexpr uint32_t kDirectoryBytes = 2 + kPageEntries * 12 + 4;  // 162
constexpr uint32_t kPageHeadBytes = kDirectoryBytes + 16 + tiff::kSoftwareField + tiff::kDateField;
static_assert(kPageHeadBytes == kPageEntries * 12 + 22 + tiff::kSoftwareField + tiff::kDateField);

// Keeps the high byte of every 16-bit sample, row by row: the rows of the
// 8-bit result are padded as an 8-bit bitmap, so they are never longer
// than the rows they come from.
void HighBytesInRows(BitmapInfoHeader *h, uint8_t *pixels) {
  const uint32_t stride16 = intl::XefMemWidth(h);
  h->biBitCount = static_cast<uint16_t>(h->biBitCount / 2);
  const uint32_t stride8 = intl::XefMemWidth(h);
  const size_t samples = static_cast<size_t>(h->biWidth) * tiff::SamplesOf(h->biBitCount);
  const uint32_t rows = static_cast<uint32_t>(std::abs(h->biHeight));
  for (uint32_t r = 0; r < rows; ++r) {
    uint8_t *out = pixels + static_cast<size_t>(stride8) * r;
    const uint8_t *in = pixels + static_cast<size_t>(stride16) * r;
    for (size_t i = 0; i < samples; ++i) out[i] = in[2 * i + 1];
    std::memset(out + samples, 0, stride8 - samples);
  }
  h->biSizeImage = intl::XefPixarSize(h);
}

// The pixels of an 8-bit page widened to 16-bit samples (rows padded as a
// 16-bit bitmap), or a copy of a 16-bit one; packed to 12 bits for -9.
std::vector<uint8_t> WidePage(const BitmapInfoHeader *h, const uint8_t *pixels, int16_t fileType) {
  BitmapInfoHeader wide = *h;
  const bool narrow = !intl::XefIs16BitDIB(h);
  if (narrow) wide.biBitCount = static_cast<uint16_t>(h->biBitCount * 2);
  const size_t inStride = intl::XefMemWidth(h), outStride = intl::XefMemWidth(&wide);
  const size_t rows = static_cast<size_t>(std::abs(h->biHeight));
  std::vector<uint8_t> out(outStride * rows);
  const size_t samples = static_cast<size_t>(h->biWidth) * tiff::SamplesOf(h->biBitCount);
  for (size_t r = 0; r < rows; ++r) {
    if (narrow) {
      for (size_t i = 0; i < samples; ++i)
        out[outStride * r + 2 * i + 1] = pixels[inStride * r + i];
    } else {
      std::memcpy(&out[outStride * r], pixels + inStride * r, outStride);
    }
  }
  // A 16-bit row is a whole number of 32-bit words: an even sample count.
  if (fileType == -9) {
    tiff::Pack12(out.data(), out.size() / 2);
    out.resize(out.size() * 3 / 4);
  }
  return out;
}

}  // namespace

int32_t WriteTiffPage(FileHandle f, BitmapInfoHeader *header, uint8_t *pixels, uint32_t *position,
                      int16_t fileType, const Time64 *time, bool last, bool ut) {
  if (!header || !pixels || !position) return XE_ERR_NULL_ARGUMENT;
  const uint32_t depth = tiff::DepthOf(fileType);
  const uint16_t bits = header->biBitCount;
  if (!depth || (bits != 8 && bits != 16 && bits != 24 && bits != 48) ||
      header->biCompression != 0 || header->biWidth <= 0)
    return XE_ERR_NOT_SUPPORTED;
  const uint32_t samples = tiff::SamplesOf(bits);
  const bool colour = samples == 3;
  const uint32_t height = static_cast<uint32_t>(std::abs(header->biHeight));

  const uint8_t *data = pixels;
  std::vector<uint8_t> converted;
  uint64_t dataBytes = 0;
  if (fileType == -8) {
    if (intl::XefIs16BitDIB(header)) HighBytesInRows(header, pixels);
    dataBytes = static_cast<uint64_t>(intl::XefMemWidth(header)) * height;
  } else {
    try {
      converted = WidePage(header, pixels, fileType);
    } catch (const std::bad_alloc &) {
      return XE_ERR_NO_MEMORY;
    }
    data = converted.data();
    dataBytes = converted.size();
  }

  const uint32_t p = *position;
  const uint64_t pageBytes = kPageHeadBytes + dataBytes;
  if (p + pageBytes > 0xFFFFFFFFull) return XE_ERR_NOT_SUPPORTED;
  const uint32_t xAt = p + kDirectoryBytes, yAt = xAt + 8, textAt = yAt + 8;
  const uint32_t dateAt = textAt + tiff::kSoftwareField;
  const uint32_t next = last ? 0 : static_cast<uint32_t>(p + pageBytes);
  const Entry entries[kPageEntries] = {
      {254, tiff::kLong, 1, 0},
      {256, tiff::kLong, 1, static_cast<uint32_t>(header->biWidth)},
      {257, tiff::kLong, 1, height},
      // Colour pages give their depth as one LONG, not as three SHORTs.
      {258, colour ? tiff::kLong : tiff::kShort, 1, depth},
      {259, tiff::kShort, 1, 1},
      {262, tiff::kShort, 1, colour ? 2u : 1u},
      {273, tiff::kLong, 1, p + kPageHeadBytes},
      {277, tiff::kShort, 1, samples},
      {279, tiff::kLong, 1, static_cast<uint32_t>(dataBytes)},
      {282, tiff::kRational, 1, xAt},
      {283, tiff::kRational, 1, yAt},
      {305, tiff::kAscii, tiff::kSoftwareField, textAt},
      {306, tiff::kAscii, tiff::kDateField, dateAt},
  };
  int32_t status = tiff::WriteDirectory(f, entries, kPageEntries, next);
  Merge(status, tiff::WriteResolutionTextDate(f, header, time, ut));
  Merge(status, XefFileWrite(f, data, static_cast<uint32_t>(dataBytes)));
  *position = static_cast<uint32_t>(p + pageBytes);
  return status;
}

}  // namespace xe
