#include "tiff_repair.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace xetool {
namespace {

constexpr uint16_t kTagStripOffsets = 273;
constexpr uint16_t kTagStripByteCounts = 279;
constexpr uint16_t kTypeShort = 3;
constexpr uint16_t kTypeLong = 4;

// A file opened for the walk; closed at the end of the scope.
class File {
 public:
  // Non-blocking: a FIFO in place of the file must not hang the open; only
  // a regular file gets a size, and so bytes to read.
  File(const std::string &path, bool write)
      : fd_(open(path.c_str(), (write ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NONBLOCK)) {
    struct stat st {};
    if (fd_ >= 0 && fstat(fd_, &st) == 0 && S_ISREG(st.st_mode)) size_ = static_cast<uint64_t>(st.st_size);
  }
  ~File() {
    if (fd_ >= 0) close(fd_);
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  bool ok() const { return fd_ >= 0; }
  uint64_t size() const { return size_; }
  // `n` bytes at `at`, all inside the file.
  bool Read(uint64_t at, void *out, size_t n) const {
    if (at > size_ || n > size_ - at) return false;
    return pread(fd_, out, n, static_cast<off_t>(at)) == static_cast<ssize_t>(n);
  }
  bool Write(uint64_t at, const void *in, size_t n) const {
    return pwrite(fd_, in, n, static_cast<off_t>(at)) == static_cast<ssize_t>(n);
  }

 private:
  int fd_ = -1;
  uint64_t size_ = 0;
};

class Reader {
 public:
  explicit Reader(const File &f) : f_(f) {}

  // The byte order from the header; false when it is no classic TIFF.
  bool Start(uint32_t *firstDirectory) {
    uint8_t head[8];
    if (!f_.Read(0, head, sizeof head)) return false;
    if (head[0] == 'I' && head[1] == 'I') big_ = false;
    else if (head[0] == 'M' && head[1] == 'M') big_ = true;
    else return false;
    if (U16(head + 2) != 42) return false;
    *firstDirectory = U32(head + 4);
    return true;
  }

  bool Get16(uint64_t at, uint16_t *v) const {
    uint8_t b[2];
    if (!f_.Read(at, b, 2)) return false;
    *v = U16(b);
    return true;
  }
  bool Get32(uint64_t at, uint32_t *v) const {
    uint8_t b[4];
    if (!f_.Read(at, b, 4)) return false;
    *v = U32(b);
    return true;
  }
  // Entry `k` of an array of SHORT or LONG values whose entry is at `entry`.
  bool Value(uint64_t entry, uint16_t type, uint32_t count, uint32_t k, uint32_t *v) const {
    const uint32_t size = type == kTypeShort ? 2 : 4;
    uint64_t at = entry + 8;
    if (uint64_t{count} * size > 4) {
      uint32_t offset = 0;
      if (!Get32(entry + 8, &offset)) return false;
      at = offset;
    }
    at += uint64_t{k} * size;
    if (type == kTypeLong) return Get32(at, v);
    uint16_t s = 0;
    if (!Get16(at, &s)) return false;
    *v = s;
    return true;
  }

  // True when the directory at `at` and its strips lie inside the file;
  // `next` gets its next-directory offset and `nextAt` where that is kept.
  bool CompletePage(uint32_t at, uint32_t *next, uint64_t *nextAt) const {
    uint16_t entries = 0;
    if (!Get16(at, &entries)) return false;
    *nextAt = uint64_t{at} + 2 + uint64_t{entries} * 12;
    if (!Get32(*nextAt, next)) return false;
    uint64_t offsetsEntry = 0, countsEntry = 0;
    uint16_t offsetsType = 0, countsType = 0;
    uint32_t strips = 0, countsCount = 0;
    for (uint32_t e = 0; e < entries; ++e) {
      const uint64_t entry = uint64_t{at} + 2 + uint64_t{e} * 12;
      uint16_t tag = 0, type = 0;
      uint32_t count = 0;
      if (!Get16(entry, &tag) || !Get16(entry + 2, &type) || !Get32(entry + 4, &count)) return false;
      if (tag == kTagStripOffsets) offsetsEntry = entry, offsetsType = type, strips = count;
      if (tag == kTagStripByteCounts) countsEntry = entry, countsType = type, countsCount = count;
    }
    const auto wordType = [](uint16_t t) { return t == kTypeShort || t == kTypeLong; };
    if (!offsetsEntry || !countsEntry || strips == 0 || countsCount != strips || !wordType(offsetsType) ||
        !wordType(countsType))
      return false;
    // Strips past the end of the file: the page was cut short. The count
    // cannot exceed what the file holds, so the loop is bounded by it.
    for (uint32_t k = 0; k < strips; ++k) {
      uint32_t offset = 0, bytes = 0;
      if (!Value(offsetsEntry, offsetsType, strips, k, &offset) ||
          !Value(countsEntry, countsType, strips, k, &bytes) || uint64_t{offset} + bytes > f_.size())
        return false;
    }
    return true;
  }

 private:
  uint16_t U16(const uint8_t *b) const {
    return static_cast<uint16_t>(big_ ? b[0] << 8 | b[1] : b[1] << 8 | b[0]);
  }
  uint32_t U32(const uint8_t *b) const {
    return big_ ? uint32_t{b[0]} << 24 | uint32_t{b[1]} << 16 | uint32_t{b[2]} << 8 | b[3]
                : uint32_t{b[3]} << 24 | uint32_t{b[2]} << 16 | uint32_t{b[1]} << 8 | b[0];
  }

  const File &f_;
  bool big_ = false;
};

struct Walk {
  int64_t pages = -1;
  // Where the offset to the first incomplete page is kept; 0 when the
  // chain ends properly.
  uint64_t cutAt = 0;
};

// Follows the chain from the header. Directories must come in increasing
// order: a smaller offset would lead back into the chain. A directory takes
// at least 6 bytes, so the walk ends within size / 6 steps.
Walk WalkChain(const File &f, Reader &r) {
  Walk w;
  uint32_t at = 0;
  if (!r.Start(&at)) return w;
  w.pages = 0;
  uint64_t pointerAt = 4;
  uint32_t previous = 0;
  while (at != 0) {
    uint32_t next = 0;
    uint64_t nextAt = 0;
    if (at <= previous || at >= f.size() || !r.CompletePage(at, &next, &nextAt)) {
      w.cutAt = pointerAt;
      break;
    }
    ++w.pages;
    previous = at;
    pointerAt = nextAt;
    at = next;
  }
  return w;
}

}  // namespace

int64_t CountTiffPages(const std::string &path) {
  File f(path, false);
  if (!f.ok()) return -1;
  Reader r(f);
  return WalkChain(f, r).pages;
}

int64_t RepairMultipageTiff(const std::string &path) {
  File f(path, true);
  if (!f.ok()) return -1;
  Reader r(f);
  const Walk w = WalkChain(f, r);
  // The header's own pointer stays: a file with no complete page is not
  // made into a TIFF without images.
  if (w.pages <= 0 || w.cutAt <= 4) return w.pages;
  const uint8_t zero[4] = {};
  return f.Write(w.cutAt, zero, sizeof zero) ? w.pages : -1;
}

}  // namespace xetool
