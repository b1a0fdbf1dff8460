// The family log. Entries are appended as they come, without an end of line of
// their own: an entry line starts with "\n" and a function's " ErrCode= %d"
// lands behind it. The log goes to the file named by the setting "LogFile",
// else to standard error.
#pragma once

#include <atomic>
#include <cstdint>

#include "xefile/xefile_records.h"

namespace xe::con {

// Bit 0 set: diagnostics on. Filled from the settings on the library's first
// start only.
extern std::atomic<uint32_t> LogFlags;

void Debprintf(const char *format, ...) __attribute__((format(printf, 1, 2)));
// Logs the fields of a bitmap or image header under a label.
void DebPrIH(const ImageHeader *header, const char *label);
// Logs a block of memory in hexadecimal under a label.
void DebPrMem(const void *data, uint32_t size, const char *label);
// Fills the log flags of library `library` from the setting "LogFlags".
int32_t XeGetDllsLogOption(int32_t library, uint32_t *flags);
// Closes the log file so that the next entry opens the one the settings name.
void ResetLogSink();

}  // namespace xe::con
