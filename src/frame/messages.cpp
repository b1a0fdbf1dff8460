#include "frame/messages.h"

#include <cstdio>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "frame/start.h"

namespace xe {
namespace {

constexpr const char *kTable[kTableMessageCount] = {
    "Not an image file!",
    "Not a CINE file!",
    "Cannot allocate memory!",
    "Error reading file!",
    "Error locking memory!",
    "Error opening file!",
    "Error creating palette!",
    "Error getting a Device Context!",
    "Error creating MDI Child!",
    "Error creating Device Dependent Bitmap",
    "Cannot copy to clipboard -- no current image!",
    "Clipboard is busy -- operation aborted!",
    "Cannot paste -- no image in clipboard!",
    "SetDIBits() failed!",
    "File Not Found!",
    "Error writing image file!",
    "Error writing CINE file!",
    "Cine is not available, you must record one first!",
};

}  // namespace

int32_t ReportMessage(void *, const char *text, const char *caption, uint32_t) {
  if (LogOn()) con::Debprintf("\n%s: %s", caption ? caption : "(null)", text ? text : "(null)");
  return 0;
}

const char *TableMessageText(uint32_t index) {
  return index < kTableMessageCount ? kTable[index] : "Undefined Error!";
}

void ShowTableMessage(uint32_t index) {
  if (!frame::MessagesEnabled.load()) return;
  ReportMessage(nullptr, TableMessageText(index), nullptr, kStyleError);
}

void ReportCannotOpen(const char *path) {
  char text[600];
  std::snprintf(text, sizeof text, "The file \"%s\" cannot be open", path ? path : "");
  ReportMessage(nullptr, text, nullptr, kStyleError);
}

}  // namespace xe
