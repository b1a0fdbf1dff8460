// Message-box texts of the library. No window is ever shown: the texts go to
// the log, and the answer is always 0, so the data path never waits for a
// person.
#pragma once

#include <cstdint>

namespace xe {

// Logs "\n%s: %s" with caption and text when logging is on. Always 0; owner
// and style are kept in the interface and ignored.
int32_t ReportMessage(void *owner, const char *text, const char *caption, uint32_t style);

// Standard messages, by index. Nothing happens unless messages are enabled.
void ShowTableMessage(uint32_t index);
constexpr uint32_t kMsgCannotAllocate = 2;
constexpr uint32_t kMsgErrorReading = 3;
constexpr uint32_t kMsgErrorOpening = 5;
constexpr uint32_t kMsgErrorWritingImage = 15;
constexpr uint32_t kTableMessageCount = 18;
// The text of a standard message, "Undefined Error!" past the table.
const char *TableMessageText(uint32_t index);

// Reports "The file \"%s\" cannot be open".
void ReportCannotOpen(const char *path);

// Message-box styles, kept for callers that pass them.
constexpr uint32_t kStyleError = 0x10;
constexpr uint32_t kStyleOk = 0;

}  // namespace xe
