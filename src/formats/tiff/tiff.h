// The library's own TIFF files: uncompressed, little-endian, one strip,
// with a fixed list of tags. Two forms are written: one file per image
// (FileType -8, -9 and -10: 8/24, 12/36 and 16/48 bits) and the multipage
// file of FileType 4 (8 or 24-bit pages). A small reader takes back files of
// the same family, in either byte order and with strips.
//
// Bitmaps handed in and out are device-independent bitmaps: rows bottom-up,
// padded to whole 32-bit words (XefMemWidth), colour pixels blue first. The
// files hold rows top-down and colour pixels red first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "formats/image_writer.h"
#include "frame/cine.h"
#include "frame/file_io.h"

namespace xe {

// One image to the file `name` as FileType -8, -9 or -10. `pixels` holds the
// bitmap of `header`; `time` is the date written, null for now. The header
// and the pixels are not changed.
int32_t WriteTiffFile(const char *name, int16_t fileType, const BitmapInfoHeader *header,
                      const Time64 *time, const uint8_t *pixels);
// The directory of a single file and what follows it up to the image: the
// file must stand at position 8, behind the file head.
int32_t WriteTiffIfd(FileHandle f, int16_t fileType, const BitmapInfoHeader *header,
                     const Time64 *time);

// One page of a multipage file at `*position`, which advances by the whole
// page. The pixels (top-down, rows padded) are converted in place for
// -8: a 16 or 48-bit image keeps its high bytes and `header` then says 8 or
// 24 bits. `last` ends the page chain; `ut` prints the date in UTC.
int32_t WriteTiffPage(FileHandle f, BitmapInfoHeader *header, uint8_t *pixels, uint32_t *position,
                      int16_t fileType, const Time64 *time, bool last, bool ut);

// The first image of a TIFF file as the file holds it: rows top-down and
// unpadded, colour red first, 12-bit samples packed, 16-bit samples in host
// order; `pixels` is XefMemWidth x height bytes long. -1 for a file that is
// not a TIFF or whose colour samples differ in size, XE_ERR_TIFF_FORMAT for
// a structure this reader does not take.
int32_t ReadTiffFile(const char *name, bool *littleEndian, BitmapInfoHeader *header,
                     std::vector<uint8_t> *pixels);
// The same as a bitmap: 12-bit samples unpacked to 16 bits, blue first,
// rows bottom-up and padded.
int32_t ReadTiffToDib(const char *name, BitmapInfoHeader *header, std::vector<uint8_t> *pixels);
// Image ImageRangeFirst of a cine whose images are the pages of a multipage
// TIFF beside its header file. At most XefPixarSize of the cine's bitmap is
// copied to `pixels`. XE_ERR_FILE_READ on any failure.
int32_t ReadTiffCineImage(Cine *cine, uint8_t *pixels);

// The writers of a save: a file per image of FileType -8, -9 or -10, and
// the pages of a multipage file (the loop of that save opens it with the
// bitmap of the output and hands it the pages in order).
WriterPtr MakeTiffStillWriter(int16_t fileType);
WriterPtr MakeTiffPagesWriter(int16_t fileType);

namespace tiff {

// The Software text of every file, written with its terminator and padded
// to an even length.
inline constexpr char kSoftware[] = "Velorin software and camera from Orlimar";
inline constexpr uint32_t kSoftwareField = (sizeof(kSoftware) - 1 + 2) & ~1u;
// "YYYY:MM:DD HH:MM:SS" and its terminator.
inline constexpr uint32_t kDateField = 20;

// Field types of a directory entry.
inline constexpr uint16_t kAscii = 2, kShort = 3, kLong = 4, kRational = 5;

#pragma pack(push, 1)
struct Entry {
  uint16_t tag;
  uint16_t type;
  uint32_t count;
  uint32_t value;
};
#pragma pack(pop)
static_assert(sizeof(Entry) == 12);

// The date field of `t` (local time, or UTC with `ut`).
void DateText(const Time64 *t, bool ut, char out[kDateField]);

// Writes the entry count, the entries and the next-directory offset.
int32_t WriteDirectory(FileHandle f, const Entry *entries, uint16_t count, uint32_t next);
// Writes the X and Y resolutions of `header`, the Software text and the date:
// the data that every directory keeps behind it, in this order.
int32_t WriteResolutionTextDate(FileHandle f, const BitmapInfoHeader *header, const Time64 *time,
                                bool ut);

// Samples per pixel of a bit count: 3 for 24, 36 and 48 bits, else 1.
inline uint32_t SamplesOf(uint32_t bitCount) {
  return bitCount == 24 || bitCount == 36 || bitCount == 48 ? 3 : 1;
}
// Bits per sample of a still TIFF type: 8 for -8, 12 for -9, 16 for -10.
uint32_t DepthOf(int16_t fileType);

// Exchanges the first and third sample of every pixel of `rows` rows of
// `width` pixels, `stride` bytes apart. 8-bit samples when `wide` is false,
// else 16-bit.
void SwapColours(uint8_t *data, uint32_t width, uint32_t rows, size_t stride, bool wide);

// Each byte of `bytes` in place into the high byte of a 16-bit sample; the
// buffer must hold twice as many.
void ExpandTo16(uint8_t *data, size_t bytes);
// Keeps the high byte of each of `samples` 16-bit samples, in place.
void KeepHighBytes(uint8_t *data, size_t samples);
// Scales `samples` 16-bit samples in place to full scale: each is multiplied
// by 0x10000 / levels (the grey levels of the bitmap, biClrImportant), or by
// 16 when levels is 0. A sample above the white of its depth saturates at
// 65535 rather than wrapping to a dark value.
void ScaleToFullScale(uint8_t *data, size_t samples, uint32_t levels);

// 12-bit packing. Two 16-bit samples a, b become three bytes: a >> 8,
// (a & 0xF0) | (b >> 12), (b >> 4) & 0xFF: each keeps its top 12 bits, most
// significant first. In place; false for an odd count (nothing changed).
inline bool Pack12(uint8_t *data, size_t samples) {
  if (samples % 2) return false;
  for (size_t k = 0; k < samples / 2; ++k) {
    const uint8_t *in = data + 4 * k;
    const uint16_t a = static_cast<uint16_t>(in[0] | in[1] << 8);
    const uint16_t b = static_cast<uint16_t>(in[2] | in[3] << 8);
    uint8_t *o = data + 3 * k;
    o[0] = static_cast<uint8_t>(a >> 8);
    o[1] = static_cast<uint8_t>((a & 0xF0) | (b >> 12));
    o[2] = static_cast<uint8_t>((b >> 4) & 0xFF);
  }
  return true;
}

// 12-bit unpacking of `groups` groups of three bytes p, q, r from `in` into
// four bytes each at `out`: q & 0xF0, p, r & 0x0F, (q << 4) + (r >> 4). The
// first sample comes back left-aligned; the second keeps the lowest four of
// its twelve bits in bits 0 to 3, not 4 to 7. Files read back rely on that
// exact form. `out` may not overlap `in`.
inline void Unpack12(const uint8_t *in, size_t groups, uint8_t *out) {
  for (size_t k = 0; k < groups; ++k) {
    const uint8_t p = in[3 * k], q = in[3 * k + 1], r = in[3 * k + 2];
    uint8_t *o = out + 4 * k;
    o[0] = static_cast<uint8_t>(q & 0xF0);
    o[1] = p;
    o[2] = static_cast<uint8_t>(r & 0x0F);
    o[3] = static_cast<uint8_t>((q << 4) + (r >> 4));
  }
}

}  // namespace tiff
}  // namespace xe
