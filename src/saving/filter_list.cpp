#include "saving/filter_list.h"

#include <algorithm>
#include <cstring>

#include "frame/plugins.h"
#include "saving/output_formats.h"
#include "xefile/xefile.h"

namespace xe {
namespace {

// The row between the one-file formats and the still images.
constexpr const char *kSeparatorRow = "___________________________________|*.|";

// MPEG files are never written: the format is never offered.
constexpr bool kMpegAvailable = false;

void Add(SaveFilterList &list, int16_t code) {
  const OutputFormat *f = FindOutputFormat(code);
  list.text += f->Label;
  list.text += "|*";
  list.text += f->Extension;
  list.text += '|';
  list.codes.push_back(code);
}

void AddRun(SaveFilterList &list, int16_t from, int16_t to) {
  for (int code = from; code >= to; --code) Add(list, static_cast<int16_t>(code));
}

}  // namespace

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
