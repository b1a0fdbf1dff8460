// The family's named settings ("AlgoView", "Units", "LogFlags", ...), kept as
// key=value lines in $XDG_CONFIG_HOME/xefile/settings.ini. When that file
// cannot be written the store keeps working in memory.
#pragma once

#include <cstdint>
#include <string>

namespace xe::con {

// Reads a named setting into `text` (NUL-terminated, cut to `size`). 0 when
// found; XE_ERR_NOT_SUPPORTED when the setting does not exist (text empty).
int32_t XefGetRegistryVal(const char *name, char *text, uint32_t size);
// Stores a named setting and writes the file. 0, or XE_ERR_FILE_WRITE when
// only the memory copy could be kept.
int32_t XefSetRegistryVal(const char *name, const char *text);
// Reads a named integer setting; a missing or non-numeric setting gives 0.
int32_t XefGetIntAlgoRegistryVal(const char *name, uint32_t *value);

// The path of the settings file in use (empty when none could be named).
std::string SettingsPath();
// Forgets what was read and reads the file again at the next access: for a
// change of $XDG_CONFIG_HOME, or a file edited by another process.
void ReloadSettings();

}  // namespace xe::con
