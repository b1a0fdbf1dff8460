// The reader of the TIFF files of this family: uncompressed gray or RGB
// images of 8, 12 or 16 bits per sample, in either byte order, in one strip
// or in several. Every offset, count and size found in a file is checked
// against the bytes the file holds before it is used.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "companions/int/geometry.h"
#include "formats/tiff/tiff.h"
#include "frame/memory.h"

namespace xe {
namespace {

constexpr int32_t kNotTiff = -1;
constexpr uint32_t kMissingResolution = 62500000;
constexpr uint16_t kUnitInch = 2, kUnitCentimetre = 3;

// An open file and its byte order. Numbers of a big-endian file are
// reversed byte by byte as they are read.
class TiffSource {
 public:
  ~TiffSource() { XefFileClose(f_); }
  int32_t Open(const char *name) {
    int32_t status = XefFileOpenRead(name, &f_);
    if (status < 0) return status;
    const int64_t size = FileSize(f_);
    if (size < 0) return XE_ERR_FILE_READ;
    size_ = static_cast<uint64_t>(size);
    return XE_OK;
  }
  uint64_t size() const { return size_; }
  bool little() const { return little_; }
  void set_little(bool little) { little_ = little; }

  // `n` bytes at `at`; a read past the end of the file fails.
  int32_t ReadAt(uint64_t at, void *out, uint64_t n) {
    if (at > size_ || n > size_ - at) return XE_ERR_FILE_READ;
    int32_t status = XefFileSeek64(f_, at);
    return status < 0 ? status : XefFileRead(f_, out, static_cast<uint32_t>(n));
  }
  // An unsigned number of `width` bytes (1, 2 or 4) from `bytes`.
  uint32_t Number(const uint8_t *bytes, uint32_t width) const {
    uint32_t v = 0;
    for (uint32_t k = 0; k < width; ++k) {
      const uint32_t b = bytes[little_ ? width - 1 - k : k];
      v = v << 8 | b;
    }
    return v;
  }
  int32_t U16At(uint64_t at, uint16_t *v) {
    uint8_t b[2];
    int32_t status = ReadAt(at, b, 2);
    *v = static_cast<uint16_t>(Number(b, 2));
    return status;
  }
  int32_t U32At(uint64_t at, uint32_t *v) {
    uint8_t b[4];
    int32_t status = ReadAt(at, b, 4);
    *v = Number(b, 4);
    return status;
  }

 private:
  FileHandle f_ = kNoFile;
  uint64_t size_ = 0;
  bool little_ = true;
};

// Bytes of one value of a field type; 0 for a type this reader does not know.
uint32_t TypeWidth(uint16_t type) {
  switch (type) {
    case 1:
    case 2:
    case 6:
    case 7:
      return 1;
    case 3:
    case 8:
      return 2;
    case 4:
    case 9:
    case 11:
      return 4;
    case 5:
    case 10:
    case 12:
      return 8;
    default:
      return 0;
  }
}

// One directory entry as found: the value when the values fit into the
// 4-byte field, else the offset of the values.
struct Field {
  bool present = false;
  uint16_t type = 0;
  uint32_t count = 0;
  uint32_t value = 0;
  uint8_t raw[4] = {};
  bool inline_values() const { return TypeWidth(type) && uint64_t{TypeWidth(type)} * count <= 4; }
};

struct Directory {
  Field width, height, bits, compression, photometric, offsets, samples, rowsPerStrip, counts, xres,
      yres, unit;
  uint32_t next = 0;  // offset of the next directory
};

Field *FieldFor(Directory *d, uint16_t tag) {
  switch (tag) {
    case 256:
      return &d->width;
    case 257:
      return &d->height;
    case 258:
      return &d->bits;
    case 259:
      return &d->compression;
    case 262:
      return &d->photometric;
    case 273:
      return &d->offsets;
    case 277:
      return &d->samples;
    case 278:
      return &d->rowsPerStrip;
    case 279:
      return &d->counts;
    case 282:
      return &d->xres;
    case 283:
      return &d->yres;
    case 296:
      return &d->unit;
    default:
      return nullptr;
  }
}

int32_t ReadDirectory(TiffSource &src, uint32_t at, Directory *d) {
  uint16_t count = 0;
  int32_t status = src.U16At(at, &count);
  if (status < 0) return status;
  std::vector<uint8_t> entries(static_cast<size_t>(count) * 12 + 4);
  status = src.ReadAt(uint64_t{at} + 2, entries.data(), entries.size());
  if (status < 0) return status;
  for (uint32_t k = 0; k < count; ++k) {
    const uint8_t *e = &entries[12 * k];
    Field *field = FieldFor(d, static_cast<uint16_t>(src.Number(e, 2)));
    if (!field) continue;
    field->present = true;
    field->type = static_cast<uint16_t>(src.Number(e + 2, 2));
    field->count = src.Number(e + 4, 4);
    std::memcpy(field->raw, e + 8, 4);
    field->value = src.Number(e + 8, field->inline_values() ? TypeWidth(field->type) : 4);
  }
  d->next = src.Number(&entries[12 * size_t{count}], 4);
  return XE_OK;
}

// Element k of a SHORT or LONG array field.
int32_t ArrayElement(TiffSource &src, const Field &f, uint32_t k, uint32_t *v) {
  const uint32_t width = TypeWidth(f.type);
  if ((width != 2 && width != 4) || k >= f.count) return XE_ERR_TIFF_FORMAT;
  if (f.inline_values()) {
    *v = src.Number(f.raw + width * k, width);
    return XE_OK;
  }
  uint8_t b[4];
  int32_t status = src.ReadAt(uint64_t{f.value} + uint64_t{width} * k, b, width);
  *v = src.Number(b, width);
  return status;
}

// The resolution of one axis in pixels per metre.
int32_t Resolution(TiffSource &src, const Field &res, uint32_t unit, int32_t *out) {
  uint32_t num = kMissingResolution, den = 1;
  if (res.present) {
    int32_t status = src.U32At(res.value, &num);
    if (status >= 0) status = src.U32At(uint64_t{res.value} + 4, &den);
    if (status < 0) return status;
  }
  double v = num;
  if (unit == kUnitInch && den)
    v = 10000.0 * num / den / 254.0;
  else if (unit == kUnitCentimetre && den)
    v = static_cast<double>(num) / den / 100.0;
  v = std::clamp(std::round(v), -2147483648.0, 2147483647.0);
  *out = static_cast<int32_t>(v);
  return XE_OK;
}

int32_t FillHeader(TiffSource &src, const Directory &d, BitmapInfoHeader *h) {
  uint32_t bits = d.bits.present ? d.bits.value : 1;
  if (d.bits.present && d.bits.count > 1 && d.photometric.value == 2) {
    uint16_t sizes[3];
    for (uint32_t k = 0; k < 3; ++k) {
      uint32_t v = 0;
      int32_t status = ArrayElement(src, d.bits, k, &v);
      if (status < 0) return status;
      sizes[k] = static_cast<uint16_t>(v);
    }
    if (sizes[0] != sizes[1] || sizes[1] != sizes[2]) return kNotTiff;
    bits = sizes[0];
  }
  const uint32_t samples = d.samples.present ? d.samples.value : 1;
  const uint32_t width = d.width.value, height = d.height.value;
  if ((bits != 8 && bits != 12 && bits != 16) || (samples != 1 && samples != 3) || width == 0 ||
      height == 0 || width > 0x7FFFFFFF || height > 0x7FFFFFFF)
    return XE_ERR_TIFF_FORMAT;
  *h = BitmapInfoHeader{};
  h->biSize = sizeof(BitmapInfoHeader);
  h->biWidth = static_cast<int32_t>(width);
  h->biHeight = static_cast<int32_t>(height);
  h->biPlanes = 1;
  h->biBitCount = static_cast<uint16_t>(bits * samples);
  h->biCompression = 0;
  h->biSizeImage = intl::XefPixarSize(h);
  h->biClrUsed = 0;
  h->biClrImportant = 0x10000;
  const uint32_t unit = d.unit.present ? d.unit.value : kUnitInch;
  int32_t status = Resolution(src, d.xres, unit, &h->biXPelsPerMeter);
  if (status >= 0) status = Resolution(src, d.yres, unit, &h->biYPelsPerMeter);
  return status;
}

void SwapPairs(uint8_t *data, size_t bytes) {
  for (size_t i = 0; i + 1 < bytes; i += 2) std::swap(data[i], data[i + 1]);
}

// The image data of a directory, as the file holds it, into `pixels`
// (XefMemWidth x height bytes). With `padded` given, one strip that holds
// exactly that many bytes is taken as rows padded as in memory, and
// *padded tells whether it was.
int32_t ReadData(TiffSource &src, const Directory &d, const BitmapInfoHeader &h, bool *padded,
                 std::vector<uint8_t> *pixels) {
  const uint64_t height = static_cast<uint64_t>(h.biHeight);
  const uint64_t total = uint64_t{intl::XefMemWidth(&h)} * height;
  const uint64_t plain = static_cast<uint64_t>(h.biWidth) * height * h.biBitCount / 8;
  // Uncompressed samples cannot be more than the file holds.
  if (plain > src.size() || total > kMaxAllocation || !d.offsets.present) return XE_ERR_TIFF_FORMAT;
  try {
    pixels->assign(total, 0);
  } catch (const std::bad_alloc &) {
    return XE_ERR_NO_MEMORY;
  }
  const bool swap = !src.little() && h.biBitCount / tiff::SamplesOf(h.biBitCount) == 16;
  const uint32_t rowsPerStrip = d.rowsPerStrip.present ? d.rowsPerStrip.value : 0xFFFFFFFFu;
  int32_t status = XE_OK;
  if (rowsPerStrip < height && rowsPerStrip > 0) {
    const uint64_t strips = std::min<uint64_t>(
        {(height + rowsPerStrip - 1) / rowsPerStrip, d.offsets.count, d.counts.count});
    if (strips == 0) return XE_ERR_TIFF_FORMAT;
    uint64_t at = 0;
    for (uint32_t s = 0; s < strips && at < total && status >= 0; ++s) {
      uint32_t offset = 0, count = 0;
      status = ArrayElement(src, d.offsets, s, &offset);
      if (status >= 0) status = ArrayElement(src, d.counts, s, &count);
      const uint64_t n = std::min<uint64_t>(count, total - at);
      if (status >= 0) status = src.ReadAt(offset, pixels->data() + at, n);
      if (swap) SwapPairs(pixels->data() + at, n);
      at += n;
    }
    return status;
  }
  uint64_t n = plain;
  if (padded) {
    *padded = d.counts.present && d.counts.value == total;
    if (*padded) n = total;
  }
  status = src.ReadAt(d.offsets.value, pixels->data(), n);
  if (swap) SwapPairs(pixels->data(), n);
  return status;
}

int32_t OpenTiff(TiffSource &src, const char *name, uint32_t *firstDirectory) {
  int32_t status = src.Open(name);
  if (status < 0) return status;
  uint8_t head[4];
  status = src.ReadAt(0, head, 4);
  if (status < 0) return status;
  if (head[0] == 'I' && head[1] == 'I')
    src.set_little(true);
  else if (head[0] == 'M' && head[1] == 'M')
    src.set_little(false);
  else
    return kNotTiff;
  if (src.Number(head + 2, 2) != 42) return kNotTiff;
  return src.U32At(4, firstDirectory);
}

int32_t ReadImageAt(TiffSource &src, uint32_t at, bool *padded, BitmapInfoHeader *header,
                    std::vector<uint8_t> *pixels) {
  Directory d;
  int32_t status = ReadDirectory(src, at, &d);
  if (status >= 0) status = FillHeader(src, d, header);
  if (status >= 0) status = ReadData(src, d, *header, padded, pixels);
  return status;
}

// Rows of `rowBytes` (top-down, one after the other) spread to the padded
// rows of the bitmap of `h`; the buffer is XefMemWidth x height bytes.
void PadRows(const BitmapInfoHeader &h, size_t rowBytes, std::vector<uint8_t> *pixels) {
  const size_t stride = intl::XefMemWidth(&h);
  for (size_t r = static_cast<size_t>(h.biHeight); r-- > 1;) {
    std::memmove(pixels->data() + stride * r, pixels->data() + rowBytes * r, rowBytes);
    std::memset(pixels->data() + stride * r + rowBytes, 0, stride - rowBytes);
  }
  if (!pixels->empty()) std::memset(pixels->data() + rowBytes, 0, stride - rowBytes);
}

// Top-down rows, red first, to a bitmap: blue first, bottom-up.
void ToBitmapOrder(BitmapInfoHeader *h, std::vector<uint8_t> *pixels) {
  if (intl::XefIsColorDIB(h))
    tiff::SwapColours(pixels->data(), static_cast<uint32_t>(h->biWidth),
                      static_cast<uint32_t>(h->biHeight), intl::XefMemWidth(h),
                      intl::XefIs16BitDIB(h));
  intl::XeFlips(h, pixels->data(), 0, 1);
}

// The name of the page file of a cine: its opened name with the extension
// ".tif" in place of its own, or appended when the last part has none.
std::string PageFileName(const char *opened) {
  std::string name(opened, strnlen(opened, kPathSize));
  const size_t slash = name.rfind('/');
  const size_t dot = name.rfind('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) name.resize(dot);
  return name + ".tif";
}

// The directory of page `page` (1 the first). Pages of this family all have
// the same size, so the place of the page is tried first; a file whose
// chain does not agree with it is walked from the start, forward only.
int32_t FindPage(TiffSource &src, uint32_t first, uint64_t page, uint32_t *at) {
  auto nextOf = [&src](uint32_t dir, uint32_t *next) {
    uint16_t count = 0;
    int32_t status = src.U16At(dir, &count);
    return status < 0 ? status : src.U32At(uint64_t{dir} + 2 + 12 * uint64_t{count}, next);
  };
  uint32_t dir = first;
  if (page == 1) return *at = dir, XE_OK;
  uint32_t second = 0;
  if (nextOf(first, &second) < 0 || second <= first) return XE_ERR_FILE_READ;
  const uint64_t step = second - first;
  const uint64_t end = std::min<uint64_t>(src.size(), 0xFFFFFFFFull);
  const uint64_t guess = page - 1 < end / step ? first + step * (page - 1) : end;
  uint32_t next = 0;
  if (guess < end &&
      nextOf(static_cast<uint32_t>(guess - step), &next) >= 0 && next == guess)
    return *at = static_cast<uint32_t>(guess), XE_OK;
  for (uint64_t k = 1; k < page; ++k) {
    if (nextOf(dir, &next) < 0 || next <= dir || next >= src.size()) return XE_ERR_FILE_READ;
    dir = next;
  }
  *at = dir;
  return XE_OK;
}

}  // namespace

int32_t ReadTiffFile(const char *name, bool *littleEndian, BitmapInfoHeader *header,
                     std::vector<uint8_t> *pixels) {
  if (!name || !header || !pixels) return XE_ERR_NULL_ARGUMENT;
  TiffSource src;
  uint32_t first = 0;
  int32_t status = OpenTiff(src, name, &first);
  if (littleEndian) *littleEndian = src.little();
  if (status >= 0) status = ReadImageAt(src, first, nullptr, header, pixels);
  return status;
}

int32_t ReadTiffToDib(const char *name, BitmapInfoHeader *header, std::vector<uint8_t> *pixels) {
  bool little = true;
  int32_t status = ReadTiffFile(name, &little, header, pixels);
  if (status < 0) return status;
  BitmapInfoHeader &h = *header;
  const uint64_t plain = static_cast<uint64_t>(h.biWidth) * h.biHeight * h.biBitCount / 8;
  if (h.biBitCount == 12 || h.biBitCount == 36) {
    BitmapInfoHeader wide = h;
    wide.biBitCount = static_cast<uint16_t>(h.biBitCount * 4 / 3);
    std::vector<uint8_t> unpacked;
    try {
      unpacked.assign(uint64_t{intl::XefMemWidth(&wide)} * wide.biHeight, 0);
    } catch (const std::bad_alloc &) {
      return XE_ERR_NO_MEMORY;
    }
    tiff::Unpack12(pixels->data(), plain / 3, unpacked.data());
    pixels->swap(unpacked);
    h = wide;
  }
  const size_t rowBytes = static_cast<size_t>(h.biWidth) * h.biBitCount / 8;
  if (intl::XefIsColorDIB(&h))
    tiff::SwapColours(pixels->data(), static_cast<uint32_t>(h.biWidth),
                      static_cast<uint32_t>(h.biHeight), rowBytes, intl::XefIs16BitDIB(&h));
  PadRows(h, rowBytes, pixels);
  // The last three bytes of the bitmap are cleared, pixels or padding.
  const size_t size = pixels->size();
  std::memset(pixels->data() + size - std::min<size_t>(size, 3), 0, std::min<size_t>(size, 3));
  intl::XeFlips(&h, pixels->data(), 0, 1);
  h.biSizeImage = intl::XefPixarSize(&h);
  return status;
}

int32_t ReadTiffCineImage(Cine *cine, uint8_t *pixels) {
  if (!cine || !pixels) return XE_ERR_FILE_READ;
  const int64_t page =
      static_cast<int64_t>(cine->ImageRangeFirst) - cine->H.Header.FirstImageNo + 1;
  if (page < 1) return XE_ERR_FILE_READ;
  const std::string name = PageFileName(cine->OpenedFileName);
  TiffSource src;
  uint32_t first = 0, at = 0;
  BitmapInfoHeader h{};
  // The page's bytes pass through a buffer the thread keeps from image to
  // image.
  thread_local std::vector<uint8_t> image;
  bool padded = false;
  if (OpenTiff(src, name.c_str(), &first) < 0 ||
      FindPage(src, first, static_cast<uint64_t>(page), &at) < 0 ||
      ReadImageAt(src, at, &padded, &h, &image) < 0 || h.biBitCount % 8)
    return XE_ERR_FILE_READ;
  if (!padded) PadRows(h, static_cast<size_t>(h.biWidth) * h.biBitCount / 8, &image);
  ToBitmapOrder(&h, &image);
  std::memcpy(pixels, image.data(),
              std::min<size_t>(image.size(), intl::XefPixarSize(&cine->H.Bmih)));
  return XE_OK;
}

}  // namespace xe
