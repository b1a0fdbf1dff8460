#include "save_outputs.h"

#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "output_checks.h"
#include "tiff_repair.h"
#include "tool.h"

namespace xetool {
namespace {

constexpr int16_t kMultipageTiff = 4;

bool IsCineType(int16_t code) { return code >= 0 && code <= 2; }
bool IsStillType(int16_t code) { return code < 0; }

// The header file beside an output: the extension's letters join the base
// name ("clip.tif" -> "cliptif.chd").
std::string ChdName(const std::string &output) {
  const size_t slash = output.find_last_of('/');
  const size_t dot = output.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return output + ".chd";
  return output.substr(0, dot) + output.substr(dot + 1) + ".chd";
}

// The XML description beside an output: its extension replaced.
std::string XmlName(const std::string &output) {
  const size_t slash = output.find_last_of('/');
  const size_t dot = output.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return output + ".xml";
  return output.substr(0, dot) + ".xml";
}

bool StatOf(const std::string &path, struct stat *st) { return stat(path.c_str(), st) == 0 && S_ISREG(st->st_mode); }

bool Before(const timespec &a, const timespec &b) {
  return a.tv_sec < b.tv_sec || (a.tv_sec == b.tv_sec && a.tv_nsec < b.tv_nsec);
}

bool HasSuffix(const std::string &path, const char *ext) {
  const size_t n = std::strlen(ext);
  return path.size() >= n && strcasecmp(path.c_str() + path.size() - n, ext) == 0;
}

// What a cine or header file holds, through the library.
std::string CineHolds(const std::string &path, const char *what, uint64_t size, uint32_t *images) {
  CineHandle c = nullptr;
  const int32_t status = XeNewCineFromFile(path.c_str(), &c);
  if (status >= 0 && c) {
    const uint32_t n = XevGetCineInfo(c, CIS_ImageCount);
    XeDestroyCine(c);
    if (images) *images = n;
    return std::string(what) + " of " + Count(n, "image");
  }
  if (c) XeDestroyCine(c);
  return size ? SizeText(size) + ", not a readable " + what : "empty";
}

// A still file of a series is whole when it reads as a TIFF page, or, for
// the other formats, when it is as long as the series' first file.
bool WholeStill(const std::string &path, uint64_t size, uint64_t firstSize) {
  if (HasSuffix(path, ".tif") || HasSuffix(path, ".tiff")) return CountTiffPages(path) >= 1;
  return size > 0 && (firstSize == 0 || size == firstSize);
}

}  // namespace

SaveOutputs::SaveOutputs(CineHandle cine, int16_t fileType, int32_t first, int32_t last, bool xml)
    : cine_(cine), type_(fileType), first_(first), last_(last) {
  output_ = ExpandedFileName(cine_, first);
  lastOutput_ = IsStillType(type_) && last > first ? ExpandedFileName(cine_, last) : output_;
  if (!IsStillType(type_)) singles_.push_back({output_});
  if (!IsCineType(type_)) singles_.push_back({ChdName(output_)});
  if (xml) singles_.push_back({XmlName(output_)});
}

std::string SaveOutputs::Names() const { return lastOutput_ == output_ ? output_ : output_ + " ... " + lastOutput_; }

void SaveOutputs::CheckBefore(const std::string &input, bool noClobber) {
  std::vector<std::string> paths{output_};
  if (lastOutput_ != output_) paths.push_back(lastOutput_);
  for (const Single &s : singles_)
    if (s.path != output_) paths.push_back(s.path);
  for (const std::string &p : paths) {
    if (noClobber) RefuseExisting(p);
    CheckOutputPath(p, input);
  }
  // The estimate is of the uncompressed output, rounded to the file
  // system's blocks; compressed types may need much less.
  uint32_t cluster = 0;
  uint64_t total = 0;
  const std::string folder = ExistingFolderOf(output_);
  if (!XefGetDiskSpaceOfPath(folder.c_str(), &total, nullptr, nullptr, nullptr, &cluster)) cluster = 0;
  if (XefGetCineSaveSize(cine_, cluster, &estimate_) < 0) estimate_ = 0;
  freeKnown_ = FreeBytes(output_, &freeBefore_);
  if (freeKnown_ && estimate_ > freeBefore_ && !XefIsJPEGCompressed(type_))
    std::fprintf(stderr, "xefile: warning: the output needs about %s, %s are free in %s\n",
                 SizeText(estimate_).c_str(), SizeText(freeBefore_).c_str(), folder.c_str());

  for (Single &s : singles_) {
    struct stat st {};
    s.existed = StatOf(s.path, &st);
    if (s.existed) s.mtime = st.st_mtim;
  }
  // File times come from the kernel's coarse clock, which may lag this
  // clock by a tick: 50 ms of slack.
  clock_gettime(CLOCK_REALTIME, &start_);
  start_.tv_nsec -= 50000000;
  if (start_.tv_nsec < 0) start_.tv_nsec += 1000000000, start_.tv_sec -= 1;
}

bool SaveOutputs::Written(const Single &s) const {
  struct stat st {};
  if (!StatOf(s.path, &st)) return false;
  return !s.existed || st.st_mtim.tv_sec != s.mtime.tv_sec || st.st_mtim.tv_nsec != s.mtime.tv_nsec;
}

SaveLeftovers SaveOutputs::Inspect() const {
  SaveLeftovers left;
  if (IsStillType(type_)) {
    // The files of the series in order, as far as this save wrote them.
    uint64_t firstSize = 0, lastSize = 0;
    std::string previous, last;
    uint32_t files = 0;
    for (int64_t n = first_; n <= last_; ++n) {
      std::string path = n == first_ ? output_ : ExpandedFileName(cine_, static_cast<int32_t>(n));
      struct stat st {};
      if (!StatOf(path, &st) || Before(st.st_mtim, start_)) break;
      lastSize = static_cast<uint64_t>(st.st_size);
      if (files++ == 0) firstSize = lastSize;
      previous = std::move(last);
      last = std::move(path);
    }
    if (files) {
      const bool lastWhole = WholeStill(last, lastSize, files > 1 ? firstSize : 0);
      left.images = lastWhole ? files : files - 1;
      const std::string &lastOfWhole = lastWhole ? last : previous;
      if (left.images)
        left.files.push_back({left.images == 1 ? output_ : output_ + " ... " + lastOfWhole,
                              Count(left.images, "whole file")});
      if (!lastWhole) left.files.push_back({last, lastSize ? "incomplete, " + SizeText(lastSize) : "empty"});
    }
  }
  for (const Single &s : singles_) {
    if (!Written(s)) continue;
    struct stat st {};
    StatOf(s.path, &st);
    const uint64_t size = static_cast<uint64_t>(st.st_size);
    std::string holds;
    if (s.path == output_ && IsCineType(type_)) {
      holds = CineHolds(s.path, "a cine", size, &left.images);
    } else if (s.path == output_ && type_ == kMultipageTiff) {
      const int64_t pages = RepairMultipageTiff(s.path);
      left.images = pages > 0 ? static_cast<uint32_t>(pages) : 0;
      holds = pages > 0 ? "a multipage TIFF of " + Count(static_cast<uint64_t>(pages), "page")
                        : (size ? SizeText(size) + ", no whole page" : "empty");
    } else if (HasSuffix(s.path, ".chd")) {
      holds = CineHolds(s.path, "a header", size, nullptr);
    } else {
      holds = size ? SizeText(size) : "empty";
    }
    left.files.push_back({s.path, holds});
  }
  return left;
}

std::string SaveOutputs::Cause(int32_t status) const {
  uint64_t freeNow = 0;
  const uint64_t count = static_cast<uint64_t>(int64_t{last_} - first_ + 1);
  const uint64_t perImage = count ? estimate_ / count : 0;
  if (FreeBytes(output_, &freeNow) && freeNow < perImage + 4096) {
    std::string cause = "no space left on device";
    if (estimate_ && freeKnown_)
      cause += " (needs about " + SizeText(estimate_) + ", " + SizeText(freeBefore_) + " were free)";
    return cause;
  }
  if (status == XE_ERR_FILE_OPEN || status == XE_ERR_FILE_WRITE) {
    const std::string folder = ExistingFolderOf(output_);
    if (access(folder.c_str(), W_OK | X_OK) != 0) return "cannot write in " + folder + ": " + std::strerror(errno);
  }
  return "";
}

}  // namespace xetool
