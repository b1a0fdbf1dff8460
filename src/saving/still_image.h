// One still image to one file, by FileType: the writer of every
// file-per-image save, and the exported single-image writers.
#pragma once

#include <cstdint>
#include <vector>

#include "formats/image_writer.h"
#include "frame/saving_options.h"
#include "saving/output_formats.h"
#include "xefile/xefile_records.h"

namespace xe {

// The options of a still written outside a save: JPEG quantisation 2 and
// the DPX defaults, everything else 0.
SavingOptions LoneStillOptions();

// Writes `image` (rows bottom-up, padded as XefMemWidth says) with the
// still writer `w` of format `f`, opened for it; `w` null answers as a
// format without a writer. A 16-bit image goes to 8 bits first with the
// Setup's fGain16_8, unless the format keeps 16 bits; `work` holds the
// reduced image and is kept between images.
int32_t WriteStill(ImageWriter *w, const OutputFormat &f, OutputImage image, const Setup &setup,
                   std::vector<uint8_t> &work);

// One still outside a save: the image of `header` to `name` as `fileType`
// (-27 to -1) with `options`. `time` may be null (now). XE_ERR_NOT_SUPPORTED
// for a type that is not a still type.
int32_t WriteStillImage(const char *name, const ImageHeader *header, const uint8_t *pixels,
                        int16_t fileType, const SavingOptions &options, const Time64 *time,
                        const Setup &setup);

// The writer of a file-per-image save of `f`: each image goes to the file
// its number gives by the save's name pattern, with its time and, where the
// format takes one, its timecode.
WriterPtr MakeStillSeries(const OutputFormat &f);

}  // namespace xe
