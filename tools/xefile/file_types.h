// The save file types of the tool: names for --to, the FileType of each,
// and whether this build can write it.
#pragma once

#include <cstdint>
#include <string>

namespace CLI {
class App;
}

namespace xetool {

// What a type needs beside the library itself.
enum class TypeNeeds { kNothing, kImagingPlugin, kMoviePlugin };

struct FileTypeName {
  const char *name;
  int16_t code;        // the FileType of the save
  const char *ext;     // the extension its files usually have
  const char *depths;  // bits per pixel of its images
  const char *what;    // a short description
  TypeNeeds needs;
  bool built;          // the library (or its plugin) has the writer
};

// The type of a name (case-blind) or of a FileType number ("-10"), or null.
const FileTypeName *FindFileType(const std::string &nameOrCode);
// The type a file name's extension suggests for a cine of `realBpp` bits,
// or null.
const FileTypeName *FileTypeForPath(const std::string &path, uint32_t realBpp);
// "cine, cine-raw, ..." for messages.
std::string FileTypeNames();

// "" when this build writes the type, else why not: "not yet built",
// "needs the imaging plugin". The plugins count as the library finds them:
// the library must be started.
std::string Unavailable(const FileTypeName &t);
// A line per type: name, FileType and description, with the reason of the
// types this build cannot write. Starts the library for the plugins.
std::string FileTypeTable();

// The subcommand that prints the table.
void AddFormatsCommand(CLI::App &app);

}  // namespace xetool
