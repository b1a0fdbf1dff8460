// One still image to one file, by FileType: the dispatcher of every
// one-file-per-image save, and of the exported single-image writers.
#pragma once

#include <cstdint>

#include "formats/dpx/dpx_options.h"
#include "frame/saving_options.h"
#include "xefile/xefile_records.h"

namespace xe {

// The format options of a still save, from the cine's saving options.
struct StillOptions {
  uint32_t RawFileOptions = 0;  // -25: bit 0 text, bit 1 a size header
  uint32_t QFactor = 2;         // JPEG quantisation of the imaging formats
  DpxOptions Dpx;               // -27
  uint64_t TimeCode = 0;        // -27: the image's packed timecode, 0 for a single still
};

// The still options of a save, from the cine's saving options.
StillOptions StillOptionsOf(const SavingOptions &o);

// Writes image `pixels` (rows bottom-up, padded as XefMemWidth says) of
// `header` to `name` as `fileType` (-27 to -1). `time` may be null (now).
// RAW and DPX files take the image as it is, DPX answering its own positive
// codes. For the others a 16-bit image goes to 8 bits with the Setup's
// fGain16_8 first, except for the 12- and 16-bit TIFF. Types of the imaging
// plugin answer XE_WARN_NO_IMAGING when it is absent; a type with no writer
// here XE_ERR_NOT_SUPPORTED.
int32_t WriteStillImage(const char *name, const ImageHeader *header, const uint8_t *pixels,
                        int16_t fileType, const StillOptions &options, const Time64 *time,
                        const Setup *setup);

}  // namespace xe
