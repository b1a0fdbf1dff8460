// Names of the files a save writes: the expansion of the output pattern, the
// header-file name beside an output and default extensions.
#pragma once

#include <cstdint>

#include "frame/cine.h"
#include "frame/file_paths.h"

namespace xe {

// The output path of image `imageNo` by the pattern in c->FileName, into
// `out` (kPathSize bytes; a longer expansion is cut). Tokens, each followed
// by one digit d:
//   !d  the running number n (first imageNo), "%0*ld" with only the last d
//       characters kept; '!0' prints nothing
//   +d  n becomes n + 1 - SaveFirst for the rest of the pattern, then as !d
//   @d  the save-job number, as !d
//   $d  copied as it stands (the per-folder counters are all 0)
//   ~8  month letters, day, hour and minute of the trigger ("JL121030"),
//       counted up while a file of that name (with the rest of the pattern
//       when a '.' follows) exists
//   ~   (not followed by 8) the whole trigger time text, colons blanked
// A token character without its digit is copied. After the expansion the
// directory part (up to the last '/') is created. With no '/' in the pattern
// the first character of the output becomes '/'. Always 0.
int32_t XefExpandFileName(Cine *c, int32_t imageNo, char *out);

// The header file beside an output: the extension's letters join the base
// name and the extension becomes ".chd" ("/d/clip.tif" -> "/d/cliptif.chd",
// "/d/clip" -> "/d/clip.chd"). `out` holds kPathSize bytes.
void ChdFileName(const char *name, char *out);

// The extension a save adds to a name without one: ".cine" for the types 0
// and 1, ".cci" for 2, ".avi" for 3, ".tif" for 4, "" for all others.
const char *DefaultExtension(int16_t fileType);
// Appends DefaultExtension(fileType) when the last path component of `name`
// holds no dot. `name` holds kPathSize bytes; the result is cut to fit.
void ApplyDefaultExtension(char *name, int16_t fileType);

}  // namespace xe
