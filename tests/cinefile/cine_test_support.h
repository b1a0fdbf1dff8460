// Helpers shared by the cine reader tests: opening built bytes, and reading
// the library's log.
#pragma once

#include <gtest/gtest.h>

#include <string>

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

using LogCapture = testsupport::LogToFile;

inline uint64_t OffsetOf(CineHandle c, uint32_t index) {
  uint64_t v = 0;
  EXPECT_TRUE(xe::GetImageOffset(c, index, &v));
  return v;
}

}  // namespace cinetest
