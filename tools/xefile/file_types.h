// The save file types of the tool by name.
#pragma once

#include <cstdint>
#include <string>

namespace xetool {

struct FileTypeName {
  const char *name;
  int16_t code;        // the FileType of the save
  const char *ext;     // the extension its files usually have
  const char *what;    // a short description
};

// The type of `name` (case-blind), or null.
const FileTypeName *FindFileTypeByName(const std::string &name);
// The type a file name's extension suggests for a cine of `realBpp` bits,
// or null.
const FileTypeName *FileTypeForPath(const std::string &path, uint32_t realBpp);
// "cine, cine-raw, ..." for messages and help.
std::string FileTypeNames();
// One line per type: name, code and description.
std::string FileTypeTable();

}  // namespace xetool
