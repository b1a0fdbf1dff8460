// The output formats of a save, one entry per FileType: the label and
// extension of the save filter list, the plugin the format waits on, its
// writer in this build, and how its save runs. Adding a format is adding its
// writer to its entry.
#pragma once

#include <cstdint>

#include "formats/image_writer.h"
#include "frame/cine.h"

namespace xe {

enum class PluginNeed : uint8_t { kNothing, kImaging, kEncoder };

// How the save of a format runs, and what its writer takes.
constexpr uint32_t kThreaded = 1u << 0;      // the saving thread writes while the next group is fetched
constexpr uint32_t kLastProgress = 1u << 1;  // the save ends with progress 100, after a stop too
constexpr uint32_t kCountInOut = 1u << 2;    // a stop also cuts the count of the output description
constexpr uint32_t kKeeps16Bit = 1u << 3;    // a still of 16-bit samples is written as it is
constexpr uint32_t kTimeCode = 1u << 4;      // each image is given its timecode
constexpr uint32_t kColourOnly = 1u << 5;    // a gray cine cannot be saved so
constexpr uint32_t kNeverWritten = 1u << 6;  // the save writes no images, only its header files

// A save that runs its own loop over the range: `cine` is the caller's (for
// progress), `reader` gives the images, `out` is the output description.
using OwnSaveLoop = int32_t (*)(Cine *cine, Cine *reader, Cine *out, pfnCallback cb);

struct OutputFormat {
  int16_t FileType;
  const char *Label;      // text of the save filter list
  const char *Extension;  // with its dot
  PluginNeed Needs;
  MakeWriter Make;        // null: no writer in this build
  uint32_t Traits;
  OwnSaveLoop OwnLoop;    // null: the common group loop
};

// The entry of a FileType, or null for a code that names no format.
const OutputFormat *FindOutputFormat(int16_t fileType);

// What a save or a still of a format without a writer answers: with its
// plugin absent, the plugin's warning; with it loaded, the missing entry
// point; a format of the library itself is not supported.
int32_t NoWriterStatus(const OutputFormat &f);

}  // namespace xe
