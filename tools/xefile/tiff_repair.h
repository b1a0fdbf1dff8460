// Multipage TIFF files that a save left short: a save that is stopped, or
// that fails on a full disk, keeps the last written page's next-directory
// offset pointing at the page that never came, past the end of the file.
// Plain C++ over POSIX files, with no tie to the command line, so that other
// users of the library (the Python binding) share it.
#pragma once

#include <cstdint>
#include <string>

namespace xetool {

// The complete pages of a classic TIFF file (either byte order) from the
// start of its directory chain: a page counts when its directory and its
// strips lie inside the file. -1 when the file cannot be read or does not
// start as a TIFF. The walk is bounded by the file's size.
int64_t CountTiffPages(const std::string &path);

// Cuts the directory chain of `path` after its last complete page: the
// first next-directory offset that leads to a directory or strips past the
// end of the file (or back into the chain) becomes 0. Answers the pages the
// file holds afterwards (0 when not even the first page is complete: the
// file is left as it is), or -1 as CountTiffPages, or when it cannot be
// written.
int64_t RepairMultipageTiff(const std::string &path);

}  // namespace xetool
