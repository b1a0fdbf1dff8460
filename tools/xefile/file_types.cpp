// The names of the save file types: those of the library's save filter list.
// Types that need a plugin the build lacks are still named; their save
// answers that they are not available.
#include "file_types.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace xetool {
namespace {

constexpr FileTypeName kTypes[] = {
    {"cine", 1, ".cine", "cine, processed images"},
    {"cine-raw", 0, ".cine", "cine, raw sensor samples (a gray cine saves as processed)"},
    {"cine-jpeg", 2, ".cci", "cine of JPEG images (imaging plugin)"},
    {"avi", 3, ".avi", "AVI movie (movie plugin)"},
    {"tiff-multipage", 4, ".tif", "one multipage TIFF file, 8 or 24 bits"},
    {"mxf-pal", 6, ".mxf", "MXF, 720 x 576 at 25 images/s (movie plugin)"},
    {"mxf-ntsc", 7, ".mxf", "MXF, 720 x 480 at 29.97 images/s (movie plugin)"},
    {"mov", 8, ".mov", "QuickTime movie"},
    {"tiff8", -8, ".tif", "TIFF files of 8 or 24 bits"},
    {"tiff12", -9, ".tif", "TIFF files of 12 or 36 bits"},
    {"tiff16", -10, ".tif", "TIFF files of 16 or 48 bits"},
    {"raw", -25, ".raw", "raw sample files"},
    {"dng", -26, ".dng", "DNG files (colour cines)"},
    {"dpx", -27, ".dpx", "DPX files"},
    {"bmp24", -1, ".bmp", "BMP files, 24 bits (imaging plugin)"},
    {"bmp8", -2, ".bmp", "BMP files, 8 bits (imaging plugin)"},
    {"bmp4", -3, ".bmp", "BMP files, 4 bits (imaging plugin)"},
    {"os2-bmp4", -4, ".bmp", "OS/2 BMP files, 4 bits (imaging plugin)"},
    {"os2-bmp8", -5, ".bmp", "OS/2 BMP files, 8 bits (imaging plugin)"},
    {"os2-bmp24", -6, ".bmp", "OS/2 BMP files, 24 bits (imaging plugin)"},
    {"tiff1", -7, ".tif", "TIFF files, 1 bit (imaging plugin)"},
    {"pcx1", -11, ".pcx", "PCX files, 1 bit (imaging plugin)"},
    {"pcx8", -12, ".pcx", "PCX files, 8 bits (imaging plugin)"},
    {"pcx24", -13, ".pcx", "PCX files, 24 bits (imaging plugin)"},
    {"tga8", -14, ".tga", "TGA files, 8 bits (imaging plugin)"},
    {"tga16", -15, ".tga", "TGA files, 16 bits (imaging plugin)"},
    {"tga24", -16, ".tga", "TGA files, 24 bits (imaging plugin)"},
    {"tga32", -17, ".tga", "TGA files, 32 bits (imaging plugin)"},
    {"lead", -18, ".cmp", "LEAD compressed files (imaging plugin)"},
    {"jfif411", -19, ".jff", "JFIF 4:1:1 files (imaging plugin)"},
    {"jfif422", -20, ".jff", "JFIF 4:2:2 files (imaging plugin)"},
    {"jtif411", -21, ".jtf", "JTIF 4:1:1 files (imaging plugin)"},
    {"jtif422", -22, ".jtf", "JTIF 4:2:2 files (imaging plugin)"},
    {"jpeg", -23, ".jpg", "JPEG files (imaging plugin)"},
    {"jtif", -24, ".jpg", "JTIF files (imaging plugin)"},
};

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
  return s;
}

}  // namespace

const FileTypeName *FindFileTypeByName(const std::string &name) {
  const std::string wanted = Lower(name);
  for (const FileTypeName &t : kTypes)
    if (wanted == t.name) return &t;
  return nullptr;
}

const FileTypeName *FileTypeForPath(const std::string &path, uint32_t realBpp) {
  const size_t dot = path.find_last_of('.');
  const size_t slash = path.find_last_of('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return nullptr;
  std::string ext = Lower(path.substr(dot));
  if (ext == ".tiff") ext = ".tif";
  if (ext == ".tif") return FindFileTypeByName(realBpp > 8 ? "tiff16" : "tiff8");
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

std::string FileTypeTable() {
  std::string out;
  for (const FileTypeName &t : kTypes) {
    char line[128];
    std::snprintf(line, sizeof line, "  %-15s %4d  %s\n", t.name, t.code, t.what);
    out += line;
  }
  return out;
}

}  // namespace xetool
