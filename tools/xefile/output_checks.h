// Checks of an output path before anything is written to it, shared by the
// subcommands that write files: a failure that is certain is told before
// the work, with its real cause, and nothing already on disk is touched.
#pragma once

#include <cstdint>
#include <string>

namespace xetool {

// --no-clobber: a usage failure when `path` exists ("<path> exists").
void RefuseExisting(const std::string &path);

// Fails when `path` cannot be written as an output of work on `input`: it
// is a directory, it is `input` itself (or a link to it), or its folder
// (the nearest one that exists: the library makes the missing ones) cannot
// be written, with the system's reason ("Read-only file system").
void CheckOutputPath(const std::string &path, const std::string &input);

// The nearest folder of `path` that exists ("." for a bare name).
std::string ExistingFolderOf(const std::string &path);

// Bytes free to this user on the file system of `path`'s nearest existing
// folder; false when the system cannot tell.
bool FreeBytes(const std::string &path, uint64_t *bytes);

// "7.5 MB" (2^20 bytes), "812 bytes" below 1 MB.
std::string SizeText(uint64_t bytes);

}  // namespace xetool
