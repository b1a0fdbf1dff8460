// Writing cine files: the head (CineFileHeader, BitmapInfoHeader, Setup) with
// the first image and count of the save, the tagged blocks cut to the save
// range, room for the table of image offsets, then the image records as they
// come, and the table last. A stopped save patches the image count, so that
// the file always says how many images it holds. Also the ".chd" header of
// saves that are not cine files.
#pragma once

#include <cstdint>

#include "formats/image_writer.h"
#include "frame/cine.h"

namespace xe {

// The 8-byte head of each image record: annotation size 8, image size.
constexpr uint32_t kImageRecordHead = 8;

// The Compression of the cine header for a target FileType: 0 (raw) gives 2,
// 2 (JPEG) gives 1, 5 gives 3, everything else 0.
uint16_t CompressionOfFileType(int16_t fileType);

// Index of the first saved image in the per-image data held in memory:
// SaveFirst - FirstImageNo for a file cine, - FirstMovieImage for a camera's.
int64_t SaveBase(const Cine *c);

// Writes the head, the blocks and, when `table` is not null, SaveCount
// entries of it (room for the final table) at the present position of the
// cine's file. The head carries SaveFirst and SaveCount as its first image
// and count. `headerFile` leaves the timecode block out (".chd").
int32_t WriteCineFileHeader(Cine *c, const uint8_t *table, bool headerFile = false);

// Creates the file of a save, stores its name in FileName, sets Compression
// from FileType and writes the head with room for the table.
int32_t CreateCineFileNew(Cine *out, const char *name);
// The same for a merge or a head of a multi-head camera (`head` 0 to 3, or
// -1 for all): colour and head decide the image header.
int32_t CreateCineFile(Cine *c, const char *name, int32_t head, bool colour);
// Prepares the cine of one head without creating a file; `write` writes the
// head to the open file.
int32_t PrepareHeadCine(Cine *c, const char *name, int32_t head, bool colour, bool write);

// Writes the image record of one image: head and `size` bytes of pixels.
int32_t WriteImageRecord(Cine *writer, const uint8_t *pixels, uint32_t size);
// Writes the final table of SaveCount image offsets where the head points.
int32_t WriteImageOffsets(Cine *c);
// After a stop or failure: the record's ImageCount (the images written) and
// TotalImageCount go into the file.
int32_t PatchImageCounts(Cine *c);

// The ".chd" header of a save that is not a cine file: head and blocks of
// the range, no timecode block, no table, no images.
int32_t WriteChdFile(const char *name, Cine *c);

// The writer of a save to a cine file of FileType 0 or 1.
WriterPtr MakeCineFileWriter(int16_t fileType);

}  // namespace xe
