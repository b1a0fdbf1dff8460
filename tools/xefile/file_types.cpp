// The names of the save file types: those of the library's save filter list.
// Types whose writer this build lacks, or whose plugin is absent, are still
// named, with the reason; a save of them is refused before it starts.
#include "file_types.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "tool.h"

namespace xetool {
namespace {

// Types of the library's save filter list; `built` says whether this build
// has the writer (a plugin that is present may still lack it).
constexpr FileTypeName kTypes[] = {
    {"cine", 1, ".cine", "8, 16, 24, 48", "cine, processed images", TypeNeeds::kNothing, true},
    {"cine-raw", 0, ".cine", "8, 16", "cine, samples as stored (a colour mosaic stays one)", TypeNeeds::kNothing, true},
    {"cine-jpeg", 2, ".cci", "8, 24", "cine of JPEG images", TypeNeeds::kImagingPlugin, false},
    {"avi", 3, ".avi", "8, 24", "AVI movie", TypeNeeds::kNothing, false},
    {"tiff-multipage", 4, ".tif", "8, 24", "one multipage TIFF file", TypeNeeds::kNothing, true},
    {"mxf-pal", 6, ".mxf", "24", "MXF, 720 x 576 at 25 images/s", TypeNeeds::kMoviePlugin, false},
    {"mxf-ntsc", 7, ".mxf", "24", "MXF, 720 x 480 at 29.97 images/s", TypeNeeds::kMoviePlugin, false},
    {"mov", 8, ".mov", "8, 24", "QuickTime movie", TypeNeeds::kNothing, false},
    {"tiff8", -8, ".tif", "8, 24", "TIFF files", TypeNeeds::kNothing, true},
    {"tiff12", -9, ".tif", "12, 36", "TIFF files", TypeNeeds::kNothing, true},
    {"tiff16", -10, ".tif", "16, 48", "TIFF files", TypeNeeds::kNothing, true},
    {"raw", -25, ".raw", "8, 16, 24, 48", "raw sample files (processed images, top-down, BGR)", TypeNeeds::kNothing, true},
    {"dng", -26, ".dng", "16", "DNG files (colour cines)", TypeNeeds::kNothing, false},
    {"dpx", -27, ".dpx", "8, 16, 24, 48", "DPX files, linear or 10-bit log (--dpx-*)", TypeNeeds::kNothing, true},
    {"bmp24", -1, ".bmp", "24", "BMP files", TypeNeeds::kImagingPlugin, false},
    {"bmp8", -2, ".bmp", "8", "BMP files", TypeNeeds::kImagingPlugin, false},
    {"bmp4", -3, ".bmp", "4", "BMP files", TypeNeeds::kImagingPlugin, false},
    {"os2-bmp4", -4, ".bmp", "4", "OS/2 BMP files", TypeNeeds::kImagingPlugin, false},
    {"os2-bmp8", -5, ".bmp", "8", "OS/2 BMP files", TypeNeeds::kImagingPlugin, false},
    {"os2-bmp24", -6, ".bmp", "24", "OS/2 BMP files", TypeNeeds::kImagingPlugin, false},
    {"tiff1", -7, ".tif", "1", "TIFF files", TypeNeeds::kImagingPlugin, false},
    {"pcx1", -11, ".pcx", "1", "PCX files", TypeNeeds::kImagingPlugin, false},
    {"pcx8", -12, ".pcx", "8", "PCX files", TypeNeeds::kImagingPlugin, false},
    {"pcx24", -13, ".pcx", "24", "PCX files", TypeNeeds::kImagingPlugin, false},
    {"tga8", -14, ".tga", "8", "TGA files", TypeNeeds::kImagingPlugin, false},
    {"tga16", -15, ".tga", "16", "TGA files", TypeNeeds::kImagingPlugin, false},
    {"tga24", -16, ".tga", "24", "TGA files", TypeNeeds::kImagingPlugin, false},
    {"tga32", -17, ".tga", "32", "TGA files", TypeNeeds::kImagingPlugin, false},
    {"lead", -18, ".cmp", "8, 24", "LEAD compressed files", TypeNeeds::kImagingPlugin, false},
    {"jfif411", -19, ".jff", "24", "JFIF 4:1:1 files", TypeNeeds::kImagingPlugin, false},
    {"jfif422", -20, ".jff", "24", "JFIF 4:2:2 files", TypeNeeds::kImagingPlugin, false},
    {"jtif411", -21, ".jtf", "24", "JTIF 4:1:1 files", TypeNeeds::kImagingPlugin, false},
    {"jtif422", -22, ".jtf", "24", "JTIF 4:2:2 files", TypeNeeds::kImagingPlugin, false},
    {"jpeg", -23, ".jpg", "8, 24", "JPEG files", TypeNeeds::kImagingPlugin, false},
    {"jtif", -24, ".jpg", "8, 24", "JTIF files", TypeNeeds::kImagingPlugin, false},
};

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

}  // namespace

const FileTypeName *FindFileType(const std::string &nameOrCode) {
  const std::string wanted = Lower(nameOrCode);
  for (const FileTypeName &t : kTypes)
    if (wanted == t.name || wanted == std::to_string(t.code)) return &t;
  return nullptr;
}

const FileTypeName *FileTypeForPath(const std::string &path, uint32_t realBpp) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return nullptr;
  std::string ext = Lower(path.substr(dot));
  if (ext == ".tiff") ext = ".tif";
  if (ext == ".tif") return FindFileType(realBpp > 8 ? "tiff16" : "tiff8");
  for (const FileTypeName &t : kTypes)
    if (ext == t.ext) return &t;
  return nullptr;
}

std::string FileTypeNames() {
  std::string out;
  for (const FileTypeName &t : kTypes) {
    if (!out.empty()) out += ", ";
    out += t.name;
  }
  return out;
}

namespace {

// A plugin is loaded when the library's save filter list offers the type
// that only it writes.
bool PluginLoaded(TypeNeeds needs) {
  const char *label = needs == TypeNeeds::kImagingPlugin ? "Cine JPEG" : "MXF PAL";
  char text[256];
  for (uint32_t i = 0; i < 128 && XefGetCineSaveFilterText(text, i) && text[0]; ++i)
    if (std::strncmp(text, label, std::strlen(label)) == 0) return true;
  return false;
}

}  // namespace

std::string Unavailable(const FileTypeName &t) {
  if (t.needs == TypeNeeds::kNothing) return t.built ? "" : "not yet built";
  const char *plugin = t.needs == TypeNeeds::kImagingPlugin ? "imaging plugin" : "movie plugin";
  if (!PluginLoaded(t.needs)) return std::string("needs the ") + plugin + (t.built ? "" : " (not yet built)");
  return t.built ? "" : std::string("not yet built in the ") + plugin;
}

std::string FileTypeTable() {
  Library lib;
  char line[256];
  std::snprintf(line, sizeof line, "  %-15s %8s  %-5s %-14s %-41s %s\n", "type (--to)", "FileType", "ext",
                "bits/pixel", "status", "what");
  std::string out = line;
  for (const FileTypeName &t : kTypes) {
    const std::string why = Unavailable(t);
    std::snprintf(line, sizeof line, "  %-15s %8d  %-5s %-14s %-41s %s\n", t.name, t.code, t.ext, t.depths,
                  why.empty() ? "available" : why.c_str(), t.what);
    out += line;
  }
  return out;
}

}  // namespace xetool
