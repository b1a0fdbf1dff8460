// Library start and stop: the start counter, the log flags, the message
// switch, the process-wide mutexes and the optional plugins.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "companions/con/log.h"

namespace xe::frame {

// The log flags are kept with the log.
using con::LogFlags;
// Set by XefEnableXefileMessages; gates the standard messages.
extern std::atomic<uint32_t> MessagesEnabled;

// The first-start work; the body of XeStartXeFileInternal.
int32_t StartInternal();
// The last-stop work; the body of XeStopXeFile.
int32_t Stop();

// Starts minus stops.
uint32_t StartCount();

// The mutex guarding the save-job counter (created on the first start, never
// closed) and the number handed to each save job: incremented before use, so
// the first job gets 0. NextCineNo answers XE_ERR_MUTEX_TIMEOUT after 30 s.
int32_t NextCineNo(int32_t *number);

// The mutex guarding the table of running saves, or null when not started.
std::timed_mutex *SaveCineBufferMutex();

// Time-outs of the three library mutexes, in milliseconds.
constexpr uint32_t kStartCountTimeoutMs = 1000;
constexpr uint32_t kCineNoTimeoutMs = 30000;
constexpr uint32_t kSaveBufferTimeoutMs = 30000;

// This library's number in the family's logging scheme, and its version.
constexpr int32_t kLogLibraryNumber = 203;
constexpr const char *kVersionText = "12,0,705, 0";
// The third number of kVersionText: the SoftwareVersion stored in a Setup.
int32_t SoftwareVersion();

}  // namespace xe::frame
