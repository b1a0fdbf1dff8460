// Reading back the movies of the QuickTime tests: the atom tree walked by
// the sizes stored in the file, and big-endian fields. Written from the
// file format alone, so that it shares no fault with the writer.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace movietest {

using Bytes = std::vector<uint8_t>;

inline uint64_t Be(const Bytes &b, size_t at, int bytes) {
  uint64_t v = 0;
  for (int k = 0; k < bytes; ++k) v = v << 8 | (at + k < b.size() ? b[at + k] : 0);
  return v;
}
inline uint32_t Be32(const Bytes &b, size_t at) { return static_cast<uint32_t>(Be(b, at, 4)); }

struct Atom {
  std::string path;  // e.g. "moov/trak/tkhd"
  size_t at = 0;     // position of its size field
  size_t size = 0;   // with its head; a stored 0 runs to the end of the bytes
};

// All atoms in file order, parents before their children. An atom that
// does not fit in its parent ends the walk with a failure.
inline void WalkInto(const Bytes &b, size_t from, size_t end, const std::string &parent, std::vector<Atom> &out) {
  static const std::string containers = " moov trak mdia minf dinf stbl ";
  while (from + 8 <= end) {
    Atom a;
    a.at = from;
    a.size = Be32(b, from);
    if (a.size == 0) a.size = end - from;
    const std::string type(b.begin() + static_cast<long>(from) + 4, b.begin() + static_cast<long>(from) + 8);
    a.path = parent.empty() ? type : parent + "/" + type;
    if (a.size < 8 || a.size > end - from) {
      ADD_FAILURE() << a.path << " at " << from << " has size " << a.size;
      return;
    }
    out.push_back(a);
    if (containers.find(" " + type + " ") != std::string::npos) WalkInto(b, from + 8, from + a.size, a.path, out);
    from += a.size;
  }
  EXPECT_EQ(from, end) << "bytes left after " << parent;
}

inline std::vector<Atom> Walk(const Bytes &b) {
  std::vector<Atom> out;
  WalkInto(b, 0, b.size(), "", out);
  return out;
}

// Position of the body (behind the 8-byte head) of the atom at `path`.
inline size_t Body(const std::vector<Atom> &atoms, const std::string &path) {
  for (const Atom &a : atoms)
    if (a.path == path) return a.at + 8;
  ADD_FAILURE() << "no atom " << path;
  return 0;
}

}  // namespace movietest
