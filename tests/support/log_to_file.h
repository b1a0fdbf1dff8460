// Test helpers: a settings folder of the test's own, with the log in a file.
#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "companions/con/log.h"
#include "companions/con/settings.h"
#include "fixtures/cine_builder.h"
#include "frame/start.h"

namespace testsupport {

// Settings of the test's own, with the log in a file there; logging on when
// asked, and off with the messages again at the end.
class LogToFile {
 public:
  explicit LogToFile(bool on = true) : log_(dir_.path() + "/xefile.log") {
    setenv("XDG_CONFIG_HOME", dir_.path().c_str(), 1);
    xe::con::ReloadSettings();
    xe::con::XefSetRegistryVal("LogFile", log_.c_str());
    xe::con::ResetLogSink();
    xe::frame::LogFlags = on ? 1 : 0;
  }
  ~LogToFile() {
    xe::frame::LogFlags = 0;
    xe::frame::MessagesEnabled = 0;
    xe::con::ResetLogSink();
  }
  std::string Text() const {
    std::ifstream in(log_);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }

 private:
  fixture::TempDir dir_;
  std::string log_;
};

inline bool Contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

}  // namespace testsupport
