// Test helpers: a settings folder of the test's own, with the log in a file.
#pragma once

#include <cstdlib>
#include <string>

#include "companions/con/log.h"
#include "companions/con/settings.h"
#include "fixtures/cine_builder.h"
#include "frame/start.h"

namespace testsupport {

// Settings of the test's own, with the log in a file there; logging on when
// asked. At the end logging and messages are off and the program's settings
// folder is back, so that nothing stored reaches the other tests.
class LogToFile {
 public:
  explicit LogToFile(bool on = true) {
    if (const char *home = std::getenv("XDG_CONFIG_HOME")) home_ = home;
    setenv("XDG_CONFIG_HOME", dir_.path().c_str(), 1);
    xe::con::ReloadSettings();
    xe::con::XefSetRegistryVal("LogFile", (dir_.path() + "/xefile.log").c_str());
    xe::con::ResetLogSink();
    xe::frame::LogFlags = on ? 1 : 0;
  }
  ~LogToFile() {
    xe::frame::LogFlags = 0;
    xe::frame::MessagesEnabled = 0;
    xe::con::ResetLogSink();
    setenv("XDG_CONFIG_HOME", home_.c_str(), 1);
    xe::con::ReloadSettings();
  }

 private:
  fixture::TempDir dir_;
  std::string home_;
};

inline bool Contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

}  // namespace testsupport
