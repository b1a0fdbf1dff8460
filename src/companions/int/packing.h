// Packed 10-bit images: unpacking to 16-bit samples, repacking, and the curve
// that linearises the 10-bit codes to 14 bits.
//
// Bit layout of a packed image (biCompression 256)
// -------------------------------------------------
// The samples of the whole image form one continuous bit stream, most
// significant bit first, 10 bits per sample, rows one after the other without
// any padding, in the order they are stored (row 0 of the buffer first, left
// to right). Bit 0 of the stream is the most significant bit of byte 0; sample
// i occupies stream bits 10i to 10i+9, its most significant bit first. Four
// samples fill exactly five bytes:
//
//   byte 5g+0  s0[9:2]
//   byte 5g+1  s0[1:0] s1[9:4]
//   byte 5g+2  s1[3:0] s2[9:6]
//   byte 5g+3  s2[5:0] s3[9:8]
//   byte 5g+4  s3[7:0]
//
// where s0..s3 are samples 4g..4g+3. Because rows are not padded, a group of
// four may straddle two rows. The image takes ceil(width x height x 10 / 8)
// bytes (XefPixarSize); the unused low bits of a last, partial byte are 0.
//
// The unpacked form is the ordinary 16-bit grey bitmap: one sample in the low
// bits of a little-endian 16-bit word, rows padded to whole 32-bit words
// (XefMemWidth with biBitCount 16).
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "xefile/xefile_records.h"

namespace xe::intl {

// What a cine keeps about its packed images. State 0 means "not prepared"
// (for example after the white-balance gains changed); any other value means
// the fields below are current. The gains are those of the mosaic colours.
struct PackInfo {
  uint32_t State;
  uint32_t CFA;
  float GainR;
  float GainG;
  float GainB;
  uint32_t Reserved[3];
};
static_assert(sizeof(PackInfo) == 32, "PackInfo is eight 32-bit words");
static_assert(std::is_trivially_copyable_v<PackInfo> && std::is_standard_layout_v<PackInfo>);
static_assert(offsetof(PackInfo, CFA) == 4 && offsetof(PackInfo, GainR) == 8 &&
              offsetof(PackInfo, GainG) == 12 && offsetof(PackInfo, GainB) == 16 &&
              offsetof(PackInfo, Reserved) == 20);

constexpr uint32_t kPackedCodes = 1024;     // 10-bit codes
constexpr uint32_t kLinearLevels = 16384;   // 14-bit linear values
constexpr uint32_t kUnpackPlain = 0;        // unpack mode: the 10-bit codes as they are
constexpr uint32_t kUnpackLinear = 1;       // unpack mode: codes through the linearisation curve

// Fills `table` (1024 entries) with the 14-bit linear value of every 10-bit
// code, scaled by `gain` (see packing.cpp for the curve).
void XefFillMagazineLUT(uint16_t table[1024], float gain);

// The one conversion that exists: code 256 (packed), 10 to 14 bits, which
// fills `table` with the curve at gain 1.0 and returns 0. Anything else
// returns XE_ERR_LUT_BITS and leaves the table as it was.
int32_t XefBuildLinearizationLut(uint32_t code, int16_t sourceBits, int16_t targetBits,
                                 uint16_t *table);

// The curve at gain 1.0 (1024 entries) and its inverse (16384 entries: each
// 14-bit value to the code whose linear value is nearest, ties to the lower
// code). Built once for the process; safe to call from any thread.
const uint16_t *LinearizationTable();
const uint16_t *InverseLinearizationTable();

// Unpacks the packed image in `pixels` in place. The buffer holds
// XefPixarSize(h) packed bytes and must be large enough for the unpacked
// image (XefMemWidth of a 16-bit header times the height). Mode 1
// (kUnpackLinear) stores the linear 14-bit value of each code, mode 0
// (kUnpackPlain) the code itself. On success the header describes the
// unpacked image: biCompression 0, biBitCount 16, biClrImportant 16384 or
// 1024, biSizeImage recomputed. The padding at the end of each row is 0.
//
// `info` may be null. White balance of mosaic data is not applied here: the
// samples come out as the sensor gave them, and the gains in `info` are left
// to the white-balance step.
//
// Null header or pixels: XE_ERR_NULL_ARGUMENT. A header that is not packed,
// another mode, or an image too large to describe: XE_ERR_NOT_SUPPORTED. A
// failure changes neither the header nor the pixels.
int32_t XefUnpackImage(BitmapInfoHeader *h, uint8_t *pixels, const PackInfo *info, uint32_t mode);

// The inverse of XefUnpackImage, in place. `bitDepth` must be 10. The header
// must describe an unpacked 16-bit grey image whose biClrImportant is 16384
// (linear 14-bit samples, mapped back through the inverse curve; values above
// 16383 become code 1023) or 1024 (plain codes, packed as they are; values
// above 1023 become 1023). On success the header is the packed one:
// biCompression 256, biBitCount 16, biClrImportant 1024, biSizeImage the
// packed size. `info` may be null and is not applied.
//
// Null header or pixels: XE_ERR_NULL_ARGUMENT. Any other depth or header:
// XE_ERR_NOT_SUPPORTED, with header and pixels unchanged.
int32_t XefRepackImage(BitmapInfoHeader *h, uint8_t *pixels, const PackInfo *info,
                       uint32_t bitDepth);

}  // namespace xe::intl
