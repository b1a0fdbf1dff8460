#include "companions/con/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>

#include "companions/con/settings.h"
#include "companions/con/status.h"
#include "xefile/xefile_status.h"

namespace xe::con {

std::atomic<uint32_t> LogFlags{0};

namespace {

std::mutex g_logLock;
FILE *g_logFile = nullptr;  // null: not opened yet
bool g_logToStderr = false;

// Called with g_logLock held.
FILE *SinkLocked() {
  if (g_logFile) return g_logFile;
  if (g_logToStderr) return stderr;
  char path[4096];
  if (XefGetRegistryVal("LogFile", path, sizeof path) == XE_OK && path[0]) {
    g_logFile = std::fopen(path, "ae");
    if (g_logFile) return g_logFile;
  }
  g_logToStderr = true;
  return stderr;
}

void WriteLocked(const char *text) {
  FILE *f = SinkLocked();
  std::fputs(text, f);
  std::fflush(f);
}

}  // namespace

void Debprintf(const char *format, ...) {
  char stackBuf[1024];
  va_list ap;
  va_start(ap, format);
  va_list ap2;
  va_copy(ap2, ap);
  int n = std::vsnprintf(stackBuf, sizeof stackBuf, format, ap);
  va_end(ap);
  std::string big;
  const char *text = stackBuf;
  if (n >= static_cast<int>(sizeof stackBuf)) {
    big.resize(static_cast<size_t>(n) + 1);
    std::vsnprintf(big.data(), big.size(), format, ap2);
    text = big.c_str();
  }
  va_end(ap2);
  if (n < 0) return;
  std::lock_guard<std::mutex> g(g_logLock);
  WriteLocked(text);
}

void DebPrIH(const ImageHeader *h, const char *label) {
  if (!h) {
    Debprintf("\n%s: (null header)", label ? label : "");
    return;
  }
  Debprintf("\n%s: biSize=%u biWidth=%d biHeight=%d biPlanes=%u biBitCount=%u biCompression=%u "
            "biSizeImage=%u biClrImportant=%u",
            label ? label : "", h->biSize, h->biWidth, h->biHeight, h->biPlanes, h->biBitCount,
            h->biCompression, h->biSizeImage, h->biClrImportant);
  if (h->biSize >= sizeof(ImageHeader))
    Debprintf(" BlackLevel=%d WhiteLevel=%d", h->BlackLevel, h->WhiteLevel);
}

void DebPrMem(const void *data, uint32_t size, const char *label) {
  Debprintf("\n%s: %u bytes", label ? label : "", size);
  if (!data) return;
  const auto *p = static_cast<const uint8_t *>(data);
  char line[3 * 16 + 16];
  for (uint32_t off = 0; off < size; off += 16) {
    int pos = std::snprintf(line, sizeof line, "\n%08x ", off);
    for (uint32_t i = off; i < size && i < off + 16; ++i)
      pos += std::snprintf(line + pos, sizeof line - static_cast<size_t>(pos), "%02x", p[i]);
    Debprintf("%s", line);
  }
}

int32_t XeGetDllsLogOption(int32_t /*library*/, uint32_t *flags) {
  if (!flags) return XE_ERR_NULL_ARGUMENT;
  uint32_t value = 0;
  XefGetIntAlgoRegistryVal("LogFlags", &value);
  *flags = value;
  return XE_OK;
}

void ResetLogSink() {
  std::lock_guard<std::mutex> g(g_logLock);
  if (g_logFile) std::fclose(g_logFile);
  g_logFile = nullptr;
  g_logToStderr = false;
}

}  // namespace xe::con

namespace xe {

bool LogOn() { return (con::LogFlags.load() & 1u) != 0; }

ErrCodeOnExit::~ErrCodeOnExit() {
  if (status_ != 0 && LogOn()) con::Debprintf(" ErrCode= %d", status_);
}

}  // namespace xe
