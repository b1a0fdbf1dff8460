// Small tests and edits of paths: directories, extensions and the last
// component. '/' separates path components.
#pragma once

#include <cstdint>

namespace xe {

constexpr char kSeparator = '/';

// 1 when `path` is a directory afterwards, else 0. Missing parents are
// created; an existing file answers 0 at once.
int32_t XefMakeDirectory(const char *path);
// 0 nothing there (or no path), 1 a directory, 2 anything else.
int32_t XefIsFileOrDirectory(const char *path);
// True when the last extension of the last path component, dot included,
// is `extension`, case-blind. A name without extension matches "".
bool XefIsFileExtension(const char *path, const char *extension);
// Replaces the last extension of the last path component with `extension`
// (dot included), or appends it. `path` holds kPathSize bytes; the result is
// cut to fit.
void XefReplaceFileExtension(char *path, const char *extension);

// The last component of `path`, and the dot of its last extension (null
// when it has none).
const char *LastComponent(const char *path);
const char *ExtensionDot(const char *path);

}  // namespace xe
