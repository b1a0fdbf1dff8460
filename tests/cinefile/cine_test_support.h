// Helpers shared by the cine tests: opening built bytes and saved files,
// fetching images, reading files and comparing several fields at once.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <tuple>

#include "cinefile/tagged_blocks.h"
#include "fixtures/cine_builder.h"
#include "support/log_to_file.h"
#include "frame/cine.h"
#include "xefile/xefile.h"

namespace cinetest {

// A cine opened from bytes, destroyed at the end of the scope.
struct Opened {
  explicit Opened(const fixture::Bytes &bytes, const std::string &suffix = ".cine")
      : file(bytes, suffix) {
    status = XeNewCineFromFile(file.c_str(), &cine);
  }
  ~Opened() { XeDestroyCine(cine); }
  Opened(const Opened &) = delete;
  Opened &operator=(const Opened &) = delete;

  fixture::TempFile file;
  CineHandle cine = nullptr;
  int32_t status = 0;
};

// A cine opened from a file at a path, such as the output of a save.
struct OpenedPath {
  explicit OpenedPath(const std::string &path) { status = XeNewCineFromFile(path.c_str(), &cine); }
  ~OpenedPath() { XeDestroyCine(cine); }
  OpenedPath(const OpenedPath &) = delete;
  OpenedPath &operator=(const OpenedPath &) = delete;

  CineHandle cine = nullptr;
  int32_t status = 0;
};

// `count` images from `first` as the chain of `useCase` delivers them, one
// after another at the size of the header delivered.
inline fixture::Bytes Images(CineHandle c, int32_t first, uint32_t count, uint32_t useCase) {
  EXPECT_EQ(XeSetUseCase(c, useCase), 0);
  const uint32_t one = XevGetCineInfo(c, CIS_MaxImageSizeColor);
  fixture::Bytes px(uint64_t{one} * count);
  ImageRange r{first, count};
  ImageHeader h{};
  EXPECT_GE(XeGetCineImage(c, &r, px.data(), static_cast<uint32_t>(px.size()), &h), 0);
  px.resize(uint64_t{h.biSizeImage} * count);
  return px;
}

// The `size` bytes of the answer of `tag` for `image`, the call expected to succeed.
inline fixture::Bytes Aux(CineHandle c, int32_t image, uint32_t tag, uint32_t size) {
  fixture::Bytes v(size);
  EXPECT_EQ(XeGetCineAuxData(c, image, tag, size, v.data()), 0) << tag << " image " << image;
  return v;
}

// The bytes of a file as they are now.
inline fixture::Bytes FileBytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return fixture::Bytes(std::istreambuf_iterator<char>(in), {});
}

// Values taken by copy into one tuple, so that several fields (packed ones
// too) are compared in one expectation: EXPECT_EQ(Fields(h.a, h.b), Fields(1, 2)).
template <class... T>
std::tuple<T...> Fields(T... v) {
  return std::tuple<T...>(v...);
}

inline uint64_t OffsetOf(CineHandle c, uint32_t index) {
  uint64_t v = 0;
  EXPECT_TRUE(xe::GetImageOffset(c, index, &v));
  return v;
}

}  // namespace cinetest
