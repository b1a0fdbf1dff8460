// Uncompressed QuickTime movies (FileType 8): the head with the index of all
// frames promised, then the frames appended one after another as "raw "
// samples, rows top-down, colour pixels red first. A save stopped or failed
// early leaves the head as it was written, promising the whole range.
#pragma once

#include <cstdint>

#include "formats/image_writer.h"
#include "frame/file_io.h"

namespace xe {

// Creates `name` and writes the head of a movie of `frameCount` frames of
// `width` x `height` at `depth` bits, `timeScale` frames a second. 0 with
// the open stream in `stream`, or -1 (and no stream) when the file cannot be
// created or its head not written.
int32_t QuickTimeOpen(const char *name, uint32_t width, uint32_t height, uint32_t frameCount, uint32_t timeScale,
                      uint32_t depth, FileHandle *stream);
// Appends one frame of `size` bytes as it stands. 0, or -1 when the write fails.
int32_t QuickTimeWriteFrame(FileHandle stream, const uint8_t *bytes, uint32_t size);
void QuickTimeClose(FileHandle stream);

// The writer of a save: the movie of the save range at PlaybackRate frames
// a second. Each image is turned top-down and red first on a copy and
// appended with XefPixarSize bytes. A movie that cannot be created fails the
// save at its first image with XE_ERR_FILE_WRITE, as does a failed write.
WriterPtr MakeQuickTimeWriter(int16_t fileType);

}  // namespace xe
