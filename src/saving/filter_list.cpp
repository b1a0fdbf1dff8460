#include "saving/filter_list.h"

#include <algorithm>
#include <cstring>

#include "frame/plugins.h"
#include "xefile/xefile.h"

namespace xe {
namespace {

constexpr FileTypeEntry kFileTypes[] = {
    {1, "Cine, *.cine", ".cine"},
    {2, "Cine JPEG, *.cci", ".cci"},
    {0, "Cine Raw, *.cine", ".cine"},
    {3, "AVI, *.avi", ".avi"},
    {4, "Multipage TIFF, *.tif", ".tif"},
    {5, "MPEG, *.mpg", ".mpg"},
    {6, "MXF PAL, *.mxf", ".mxf"},
    {7, "MXF NTSC, *.mxf", ".mxf"},
    {8, "Quick Time, *.mov", ".mov"},
    {-1, "Windows BMP 24 images", ".bmp"},
    {-2, "Windows BMP 8 images", ".bmp"},
    {-3, "Windows BMP 4 images", ".bmp"},
    {-4, "OS/2 BMP 4 images", ".bmp"},
    {-5, "OS/2 BMP 8 images", ".bmp"},
    {-6, "OS/2 BMP 24 images", ".bmp"},
    {-7, "TIFF 1 images", ".tif"},
    {-8, "TIFF 8,24 images", ".tif"},
    {-9, "TIFF 12,36 images", ".tif"},
    {-10, "TIFF 16,48 images", ".tif"},
    {-11, "PCX 1 images", ".pcx"},
    {-12, "PCX 8 images", ".pcx"},
    {-13, "PCX 24 images", ".pcx"},
    {-14, "TGA 8 images", ".tga"},
    {-15, "TGA 16 images", ".tga"},
    {-16, "TGA 24 images", ".tga"},
    {-17, "TGA 32 images", ".tga"},
    {-18, "LEAD images", ".cmp"},
    {-19, "LEAD JFIF 4:1:1 images", ".jff"},
    {-20, "LEAD JFIF 4:2:2 images", ".jff"},
    {-21, "LEAD JTIF 4:1:1 images", ".jtf"},
    {-22, "LEAD JTIF 4:2:2 images", ".jtf"},
    {-23, "JPEG images", ".jpg"},
    {-24, "JTIF images", ".jpg"},
    {-25, "RAW images", ".raw"},
    {-26, "DNG images", ".dng"},
    {-27, "DPX images", ".dpx"},
};

// The row between the one-file formats and the still images.
constexpr const char *kSeparatorRow = "___________________________________|*.|";

// MPEG files are never written: the format is never offered.
constexpr bool kMpegAvailable = false;

void Add(SaveFilterList &list, int16_t code) {
  const FileTypeEntry *e = FindFileType(code);
  list.text += e->label;
  list.text += "|*";
  list.text += e->extension;
  list.text += '|';
  list.codes.push_back(code);
}

void AddRun(SaveFilterList &list, int16_t from, int16_t to) {
  for (int code = from; code >= to; --code) Add(list, static_cast<int16_t>(code));
}

}  // namespace

const FileTypeEntry *FindFileType(int16_t code) {
  for (const FileTypeEntry &e : kFileTypes)
    if (e.code == code) return &e;
  return nullptr;
}

SaveFilterList BuildSaveFilterList() {
  const bool imaging = frame::ImagingAvailable();
  SaveFilterList list;
  Add(list, 1);
  if (imaging) Add(list, 2);
  Add(list, 0);
  Add(list, 3);
  Add(list, 4);
  if (kMpegAvailable) Add(list, 5);
  if (frame::EncoderAvailable()) {
    Add(list, 6);
    Add(list, 7);
  }
  Add(list, 8);
  list.text += kSeparatorRow;
  list.codes.push_back(0);
  // Still images: those of the imaging plugin, with the TIFF, raw, DNG and
  // DPX writers of this library always there.
  if (imaging) {
    AddRun(list, -1, -6);
    AddRun(list, -11, -17);
    Add(list, -7);
  }
  AddRun(list, -8, -10);
  if (imaging) AddRun(list, -18, -24);
  AddRun(list, -25, -27);
  return list;
}

}  // namespace xe

using namespace xe;

namespace {
constexpr size_t kFilterTextSize = 256;
constexpr uint32_t kFilterEntries = 128;
}  // namespace

// The label of entry `index`: field 2 x index of the list split at the bars.
extern "C" XEFILE_API int32_t XefGetCineSaveFilterText(char *out, uint32_t index) {
  if (!out) return 0;
  out[0] = 0;
  if (index >= kFilterEntries) return 0;
  const std::string text = BuildSaveFilterList().text;
  size_t begin = 0;
  for (uint32_t field = 0; field < 2 * index; ++field) {
    begin = text.find('|', begin);
    if (begin == std::string::npos) return 1;
    ++begin;
  }
  size_t end = text.find('|', begin);
  if (end == std::string::npos) end = text.size();
  size_t n = std::min(end - begin, kFilterTextSize - 1);
  std::memcpy(out, text.data() + begin, n);
  out[n] = 0;
  return 1;
}
