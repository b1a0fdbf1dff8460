// The QuickTime tests' recordings and the reading back of their movies: the
// atom tree walked by the sizes stored in the file, big-endian fields, and
// the frames a movie should hold. Written from the file format alone, so
// that it shares no fault with the writer.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "fixtures/cine_builder.h"
#include "xefile/xefile.h"

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

// Ten images from -3 of 16 x 8 pixels, gray (8 bits) or colour (24).
inline Bytes Recording(uint16_t bits) {
  fixture::CineBuilder b;
  b.Image(16, 8, bits).Images(-3, 10);
  b.setup().SetU32(fixture::setup::kEnableColor, bits == 24 ? 1 : 0);
  return b.Build();
}

// The frames a movie holds for the first `count` images of a Recording as
// a save processes them: rows top-down, colour pixels red first.
inline Bytes MovieFrames(CineHandle c, uint32_t count, uint32_t bits) {
  const Bytes images = cinetest::Images(c, -3, count, 2);
  const size_t row = 16 * bits / 8, frame = row * 8;
  Bytes out(images.size());
  for (size_t k = 0; k < images.size(); ++k) {
    const size_t n = k / frame, r = k % frame / row, x = k % row;
    const size_t from = x % 3 == 1 || bits == 8 ? x : x / 3 * 3 + 2 - x % 3;
    out[k] = images[n * frame + (7 - r) * row + from];
  }
  return out;
}

}  // namespace movietest
