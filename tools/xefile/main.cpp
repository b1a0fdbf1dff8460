// xefile: look into, extract from, convert and make high-speed camera
// recordings (cines). One binary with subcommands; exit status 0 on
// success, 1 on a failure, 2 on a usage error and 130 when Ctrl-C stopped a
// save, always with a one-line message on standard error.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <new>

#include "tool.h"

#ifndef XEFILE_TOOL_VERSION
#define XEFILE_TOOL_VERSION "unknown"
#endif

namespace {

// CLI11's messages may span lines; the tool's message is one.
std::string OneLine(std::string text) {
  for (char &ch : text)
    if (ch == '\n' || ch == '\r') ch = ' ';
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

}  // namespace

int main(int argc, char **argv) {
  CLI::App app{"xefile: look into, extract from, convert and make recordings of high-speed cameras.",
               "xefile"};
  app.set_version_flag("--version", std::string("xefile ") + XEFILE_TOOL_VERSION);
  app.require_subcommand(1, 1);
  app.fallthrough(false);
  xetool::AddInfoCommand(app);
  xetool::AddTimesCommand(app);
  xetool::AddExtractCommand(app);
  xetool::AddConvertCommand(app);
  xetool::AddSearchCommand(app);
  xetool::AddDemoCommand(app);
  if (argc > 1 && argv[1][0] != '-') {
    std::string names;
    bool known = false;
    for (const CLI::App *sub : app.get_subcommands([](CLI::App *) { return true; })) {
      known |= sub->get_name() == argv[1];
      names += (names.empty() ? "" : ", ") + sub->get_name();
    }
    if (!known) {
      std::fprintf(stderr, "xefile: unknown subcommand '%s' (one of %s)\n", argv[1], names.c_str());
      return xetool::kExitUsage;
    }
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &e) {
    if (e.get_exit_code() == 0) return app.exit(e);  // --help and --version
    std::fprintf(stderr, "xefile: %s (see xefile --help)\n", OneLine(e.what()).c_str());
    return xetool::kExitUsage;
  } catch (const xetool::Failure &f) {
    std::fflush(stdout);
    std::fprintf(stderr, "xefile: %s\n", OneLine(f.message).c_str());
    return f.exitCode;
  } catch (const std::bad_alloc &) {
    std::fprintf(stderr, "xefile: out of memory\n");
    return xetool::kExitFailure;
  } catch (const std::exception &e) {
    std::fprintf(stderr, "xefile: %s\n", OneLine(e.what()).c_str());
    return xetool::kExitFailure;
  }
  return 0;
}
