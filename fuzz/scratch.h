// The files a fuzz harness writes live in one folder of the process: in
// memory (/dev/shm) where the machine has it, else in $TMPDIR or /tmp. The
// folder goes when the process ends normally.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace xefuzz {

// The folder, created on first use; empty when none can be made.
const std::string &ScratchDir();
// `size` bytes as the file `name` of the folder; the path, or empty when it
// cannot be written.
std::string WriteScratch(const char *name, const uint8_t *data, size_t size);
// A subfolder for the outputs of a save, empty; RemoveOutputs() empties it
// again.
std::string OutputDir();
void RemoveOutputs();

}  // namespace xefuzz
