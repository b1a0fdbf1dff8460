// xefile: look into, extract from, convert and make high-speed camera
// recordings (cines). One binary with subcommands; the exit statuses are
// those of kExitCodes, and every failure says why in one line on standard
// error.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <new>

#include "file_types.h"
#include "tool.h"

#ifndef XEFILE_TOOL_VERSION
#define XEFILE_TOOL_VERSION "unknown"
#endif

namespace {

constexpr const char *kExitCodes =
    "Exit status: 0 success; 1 failure; 2 usage error; 3 search found no image;\n"
    "4 info --check found images that cannot be read; 130 Ctrl-C stopped a save.";

// The first word that is not an option: the subcommand.
const char *SubcommandWord(int argc, char **argv) {
  for (int i = 1; i < argc; ++i)
    if (argv[i][0] != '-') return argv[i];
  return nullptr;
}

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
  app.footer(kExitCodes);
  // The global options may also follow the subcommand.
  app.fallthrough(true);
  app.add_flag_callback("--quiet", [] { xetool::SetVerbosity(xetool::Verbosity::kQuiet); },
                        "no progress and no notes: only results, warnings and errors");
  app.add_flag_callback("--verbose", [] { xetool::SetVerbosity(xetool::Verbosity::kVerbose); },
                        "also the library's log, on standard error");
  xetool::AddInfoCommand(app);
  xetool::AddTimesCommand(app);
  xetool::AddExtractCommand(app);
  xetool::AddConvertCommand(app);
  xetool::AddFormatsCommand(app);
  xetool::AddSearchCommand(app);
  xetool::AddDemoCommand(app);
  if (const char *word = SubcommandWord(argc, argv)) {
    std::string names;
    bool known = false;
    for (const CLI::App *sub : app.get_subcommands([](CLI::App *) { return true; })) {
      known |= sub->get_name() == word;
      names += (names.empty() ? "" : ", ") + sub->get_name();
    }
    if (!known) {
      std::fprintf(stderr, "xefile: unknown subcommand '%s' (one of %s)\n", word, names.c_str());
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
