// Helpers shared by the cine reader tests: opening built bytes, and reading
// the library's log.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "cinefile/tagged_blocks.h"
#include "companions/con/log.h"
#include "companions/con/settings.h"
#include "fixtures/cine_builder.h"
#include "frame/cine.h"
#include "frame/start.h"
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

// Turns the log on into a fresh file for the life of the object.
class LogCapture {
 public:
  LogCapture() : path_(dir_.path() + "/xefile.log") {
    setenv("XDG_CONFIG_HOME", dir_.path().c_str(), 1);
    xe::con::ReloadSettings();
    xe::con::XefSetRegistryVal("LogFile", path_.c_str());
    xe::con::ResetLogSink();
    xe::frame::LogFlags = 1;
  }
  ~LogCapture() {
    xe::frame::LogFlags = 0;
    xe::con::ResetLogSink();
  }
  std::string Text() const {
    std::ifstream in(path_);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  }

 private:
  fixture::TempDir dir_;
  std::string path_;
};

inline uint64_t OffsetOf(CineHandle c, uint32_t index) {
  uint64_t v = 0;
  EXPECT_TRUE(xe::GetImageOffset(c, index, &v));
  return v;
}

}  // namespace cinetest
