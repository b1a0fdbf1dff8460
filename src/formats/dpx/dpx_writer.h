// DPX files (FileType -27): one image per file, one image element, 2048
// bytes of generic and industry headers and 32 of user data, the samples from
// byte 2080 on, in either byte order.
#pragma once

#include <cstdint>

#include "formats/dpx/dpx_options.h"
#include "formats/image_writer.h"
#include "xefile/xefile_records.h"

namespace xe {

constexpr uint32_t kDpxDataOffset = 2080;

// Writes the image `pixels` of `h` (rows bottom-up, padded to whole words
// as XefMemWidth says, XefPixarSize bytes held; 8 or 16 bits per sample, one
// component or three) to `name`, creating or overwriting it. `timeCode` is
// the image's packed 8-byte timecode, 0 for a single still. The samples are
// written top row first, in the order the bitmap holds its components, with
// no sample at the top code value of its depth; log conversion, the 10-bit
// request and the packing come from `o`. Answers 0 or the positive codes of
// dpx_options.h: a bad depth or packing still writes the headers (with no
// element) and the file is kept; a failed write removes it.
int32_t WriteDpxImage(const char *name, const BitmapInfoHeader *h, const uint8_t *pixels, uint64_t timeCode,
                      const DpxOptions &o);

// The writer of DPX files with the DPX options of the save; only its first
// image writes the LUT files.
WriterPtr MakeDpxWriter(int16_t fileType);

}  // namespace xe
