#include "frame/file_paths.h"

#include <strings.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstring>
#include <string>

#include "frame/cine.h"
#include "xefile/xefile.h"

namespace xe {

const char *LastComponent(const char *path) {
  const char *sep = std::strrchr(path, kSeparator);
  return sep ? sep + 1 : path;
}

const char *ExtensionDot(const char *path) { return std::strrchr(LastComponent(path), '.'); }

int32_t XefIsFileOrDirectory(const char *path) {
  if (!path || !*path) return 0;
  struct stat st;
  if (stat(path, &st) != 0) return 0;
  return S_ISDIR(st.st_mode) ? 1 : 2;
}

int32_t XefMakeDirectory(const char *path) {
  if (!path) return 0;
  if (int32_t kind = XefIsFileOrDirectory(path)) return kind == 1 ? 1 : 0;
  std::string p(path);
  // Every parent first; those that exist or cannot be made are passed over.
  for (size_t i = 1; i < p.size(); ++i)
    if (p[i] == kSeparator) mkdir(p.substr(0, i).c_str(), 0777);
  if (!p.empty()) mkdir(p.c_str(), 0777);
  if (!p.empty() && p.back() == kSeparator) p.pop_back();
  return XefIsFileOrDirectory(p.c_str()) == 1 ? 1 : 0;
}

bool XefIsFileExtension(const char *path, const char *extension) {
  if (!path || !extension) return false;
  const char *dot = ExtensionDot(path);
  return strcasecmp(dot ? dot : "", extension) == 0;
}

void XefReplaceFileExtension(char *path, const char *extension) {
  if (!path || !extension) return;
  const char *dot = ExtensionDot(path);
  size_t base = dot ? static_cast<size_t>(dot - path) : std::strlen(path);
  if (base >= kPathSize - 1) {
    path[base] = 0;  // no room for any of it
    return;
  }
  size_t room = kPathSize - 1 - base;
  size_t n = strnlen(extension, room);
  std::memmove(path + base, extension, n);
  path[base + n] = 0;
}

}  // namespace xe

extern "C" {

XEFILE_API int32_t XefMakeDirectory(const char *path) { return xe::XefMakeDirectory(path); }

XEFILE_API int32_t XefIsFileOrDirectory(const char *path) { return xe::XefIsFileOrDirectory(path); }

XEFILE_API int32_t XefIsFileExtension(const char *path, const char *extension) {
  return xe::XefIsFileExtension(path, extension) ? 1 : 0;
}

XEFILE_API void XefReplaceFileExtension(char *path, const char *extension) {
  xe::XefReplaceFileExtension(path, extension);
}

}  // extern "C"
