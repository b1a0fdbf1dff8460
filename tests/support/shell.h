// Running the real tools of the interop and command-line tests.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace testsupport {

// The output of a shell command, its standard error included.
inline std::string Shell(const std::string &command) {
  std::string out;
  if (FILE *p = popen((command + " 2>&1").c_str(), "r")) {
    char buffer[4096];
    for (size_t n; (n = fread(buffer, 1, sizeof buffer, p)) > 0;) out.append(buffer, n);
    pclose(p);
  }
  return out;
}

// True when `program` is on PATH.
inline bool Has(const std::string &program) {
  return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace testsupport
