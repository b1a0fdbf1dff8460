// The one shape of every output format. A save opens a writer with the
// output description, hands it the images one at a time, each with its
// header, number and time, and closes it, after a stop or a failure too. A
// still format opened for one file writes the file named with each image.
// What a format takes and needs is said beside its writer, in the table of
// file types of the save.
#pragma once

#include <cstdint>
#include <memory>
#include <new>

#include "frame/cine.h"

namespace xe {

// What a writer is opened with.
struct OutputDescription {
  // The file a save writes, or the name of the first image of a file-per-image save.
  const char *FileName = nullptr;
  const SavingOptions *Options = nullptr;  // FileType, range and the options of the format
  const BitmapInfoHeader *Header = nullptr;  // the images as saved (bitmap of the output)
  const Setup *CineSetup = nullptr;        // the Setup saved with them; never null
  // The output description of a save and the cine its images are written
  // through (a cine file keeps its file and table of image offsets there);
  // both null for a lone still.
  Cine *Out = nullptr;
  Cine *Writer = nullptr;
  const char *Pattern = nullptr;  // the name pattern of a file-per-image save
};

// One image handed to a writer: rows bottom-up, XefPixarSize of its header.
struct OutputImage {
  const ImageHeader *Header = nullptr;
  const uint8_t *Pixels = nullptr;
  int32_t ImageNo = 0;
  const char *FileName = nullptr;  // the file of this image, for a file per image
  const Time64 *Time = nullptr;    // the image's time; null where the format keeps none
  uint64_t TimeCode = 0;           // the image's packed timecode, 0 for a lone still
};

class ImageWriter {
 public:
  virtual ~ImageWriter() = default;
  // Opens the output. A negative answer means no image can be written and
  // Close is not called.
  virtual int32_t Open(const OutputDescription &d) = 0;
  virtual int32_t Write(const OutputImage &image) = 0;
  // Ends the output; `complete` is false after a stop or a failure.
  virtual int32_t Close(bool complete) = 0;
};

using WriterPtr = std::unique_ptr<ImageWriter>;
// Makes the writer of one FileType; null when memory is short.
using MakeWriter = WriterPtr (*)(int16_t fileType);

template <class W, class... A>
WriterPtr NewWriter(A &&...args) {
  return WriterPtr(new (std::nothrow) W(static_cast<A &&>(args)...));
}

}  // namespace xe
