// How much the tool says: notes unless --quiet, and with --verbose the
// library's own log on standard error.
//
// The library logs when its setting LogFlags is 1 at its first start, and
// writes the log to the file of its setting LogFile, else to standard error.
// Its settings are the file xefile/settings.ini in $XDG_CONFIG_HOME (else
// ~/.config), read once at the first start. --verbose gives the start a
// settings folder of its own: a copy of the user's settings with LogFlags=1
// and without LogFile, so that the user's file stays as it is and the log
// comes to standard error. The folder goes once the library has started.
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>

#include "tool.h"

namespace xetool {
namespace {

Verbosity g_verbosity = Verbosity::kNormal;

std::string UserSettingsFile() {
  const char *xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg && *xdg) return std::string(xdg) + "/xefile/settings.ini";
  const char *home = std::getenv("HOME");
  if (home && *home) return std::string(home) + "/.config/xefile/settings.ini";
  return {};
}

// The key of a "key=value" line, blanks trimmed.
std::string KeyOf(const std::string &line) {
  const size_t eq = line.find('=');
  if (eq == std::string::npos) return {};
  const size_t b = line.find_first_not_of(" \t");
  const size_t e = line.find_last_not_of(" \t", eq == 0 ? 0 : eq - 1);
  return b == std::string::npos || b >= eq || e == std::string::npos ? std::string()
                                                                     : line.substr(b, e - b + 1);
}

// The settings folder of a verbose run, removed at the end of the program.
class LogSettings {
 public:
  LogSettings() {
    const char *tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/xefile-log-XXXXXX";
    if (!mkdtemp(pattern.data())) {
      std::fprintf(stderr, "xefile: warning: --verbose: no folder for the log settings\n");
      return;
    }
    dir_ = pattern;
    std::filesystem::create_directories(dir_ + "/xefile");
    std::ifstream in(UserSettingsFile());
    std::ofstream out(dir_ + "/xefile/settings.ini");
    for (std::string line; std::getline(in, line);) {
      const std::string key = KeyOf(line);
      if (key != "LogFlags" && key != "LogFile") out << line << '\n';
    }
    out << "LogFlags=1\n";
    const char *previous = std::getenv("XDG_CONFIG_HOME");
    if (previous) previous_ = previous;
    hadPrevious_ = previous != nullptr;
    setenv("XDG_CONFIG_HOME", dir_.c_str(), 1);
  }
  ~LogSettings() {
    Remove();
    // Log entries start with a line break and have none of their own.
    std::fputc('\n', stderr);
  }
  // The settings are read: the folder goes, the environment is as it was.
  void Remove() {
    if (dir_.empty()) return;
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
    dir_.clear();
    if (hadPrevious_)
      setenv("XDG_CONFIG_HOME", previous_.c_str(), 1);
    else
      unsetenv("XDG_CONFIG_HOME");
  }
  LogSettings(const LogSettings &) = delete;
  LogSettings &operator=(const LogSettings &) = delete;

 private:
  std::string dir_, previous_;
  bool hadPrevious_ = false;
};

std::unique_ptr<LogSettings> &TheLogSettings() {
  static std::unique_ptr<LogSettings> settings;
  return settings;
}

}  // namespace

void SetVerbosity(Verbosity v) {
  g_verbosity = v;
  if (v == Verbosity::kVerbose && !TheLogSettings()) {
    TheLogSettings() = std::make_unique<LogSettings>();
    XefEnableXefileMessages(1);
  }
}

void LibraryStarted() {
  if (TheLogSettings()) TheLogSettings()->Remove();
}

bool Quiet() { return g_verbosity == Verbosity::kQuiet; }

void Note(const std::string &what) {
  if (!Quiet()) std::fprintf(stderr, "xefile: note: %s\n", what.c_str());
}

}  // namespace xetool
