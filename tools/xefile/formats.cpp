// xefile formats: the file types a save can write, with their FileType
// numbers, extensions and depths, and which of them this build can write.
#include <CLI/CLI.hpp>

#include <cstdio>

#include "file_types.h"

namespace xetool {

void AddFormatsCommand(CLI::App &app) {
  CLI::App *sub = app.add_subcommand(
      "formats", "The file types of convert (--to takes the name or the FileType number),\n"
                 "and whether this build writes them.");
  sub->callback([] { std::fputs(FileTypeTable().c_str(), stdout); });
}

}  // namespace xetool
