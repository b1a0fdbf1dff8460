// What the tests of the xefile tool share: running the tool as a program
// with its output and errors in files, a generated recording, and a cine
// opened through the library to check what the tool wrote.
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "fixtures/cine_builder.h"
#include "xefile/xefile.h"

extern char **environ;

namespace clitest {

using fixture::Bytes;
using fixture::Payload;
namespace su = fixture::setup;
namespace fs = std::filesystem;

constexpr int32_t kFirst = -3;
constexpr uint32_t kCount = 10;

inline std::string ReadText(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

inline std::vector<std::string> Lines(const std::string &text) {
  std::vector<std::string> lines;
  std::stringstream s(text);
  for (std::string line; std::getline(s, line);) lines.push_back(line);
  return lines;
}

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

struct Outcome {
  int code = -1;
  std::string out, err;
};

// Starts the tool with its output and errors going to files in `dir`.
inline pid_t Start(const std::vector<std::string> &args, const std::string &dir) {
  std::vector<std::string> all{XEFILE_TOOL};
  all.insert(all.end(), args.begin(), args.end());
  std::vector<char *> argv;
  for (std::string &a : all) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, (dir + "/stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  posix_spawn_file_actions_addopen(&actions, 2, (dir + "/stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  pid_t pid = -1;
  EXPECT_EQ(posix_spawn(&pid, XEFILE_TOOL, &actions, nullptr, argv.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  return pid;
}

inline Outcome Finish(pid_t pid, const std::string &dir) {
  Outcome r;
  int status = 0;
  if (pid > 0 && waitpid(pid, &status, 0) == pid)
    r.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  r.out = ReadText(dir + "/stdout");
  r.err = ReadText(dir + "/stderr");
  return r;
}

// Runs the tool, sends it SIGINT once `out` holds `bytes` (or after a
// minute), and answers its outcome and the count of its "stopped after N"
// line (-1 when there is none).
inline Outcome Interrupted(const std::vector<std::string> &args, const std::string &dir,
                           const std::string &out, uint64_t bytes, int *stoppedAfter) {
  const pid_t pid = Start(args, dir);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  std::error_code ec;
  while (pid > 0 && std::chrono::steady_clock::now() < deadline &&
         (!std::filesystem::exists(out, ec) || std::filesystem::file_size(out, ec) < bytes))
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  if (pid > 0) kill(pid, SIGINT);
  Outcome r = Finish(pid, dir);
  const std::string prefix = "xefile: stopped after ";
  *stoppedAfter = r.err.rfind(prefix, 0) == 0 ? std::stoi(r.err.substr(prefix.size())) : -1;
  return r;
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override { XeStartXeFile(); }
  void TearDown() override { XeStopXeFile(); }

  std::string Path(const std::string &name) const { return dir.path() + "/" + name; }
  Outcome Tool(const std::vector<std::string> &args) const { return Finish(Start(args, dir.path()), dir.path()); }
  // A failure: non-zero, nothing on standard output, one line on standard
  // error that starts with the tool's name.
  static void ExpectOneLineFailure(const Outcome &r, const std::string &part) {
    EXPECT_NE(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "");
    ASSERT_EQ(Lines(r.err).size(), 1u) << r.err;
    EXPECT_EQ(r.err.rfind("xefile: ", 0), 0u) << r.err;
    EXPECT_NE(r.err.find(part), std::string::npos) << r.err;
  }

  fixture::TempDir dir;
};

// A raw colour recording of 12-bit samples, 16 x 8, images -3 to 6, with
// times (event bit on images 1 and 2), exposures, signals, range data and
// timecode.
inline std::string Recording(const std::string &path) {
  fixture::CineBuilder b;
  b.Compression(2).Image(16, 8, 16, 0, 4096).Images(kFirst, kCount).TriggerTime(0x80000003, 1790000000);
  b.setup()
      .SetU32(su::kCFA, 1)
      .SetU32(su::kEnableColor, 1)
      .SetU32(su::kRealBPP, 12)
      .SetU32(su::kWhiteLevel, 4095)
      .SetU32(su::kFrameRate, 1000)
      .SetU32(su::kShutterNs, 250000)
      .SetU32(su::kSerial, 4711)
      .SetF32(su::kfGain, 1.0f)
      .SetF32(su::kfSaturation, 1.0f)
      .SetF32(su::kfGamma, 1.0f)
      .SetF32(su::kWBView, 1.0f)
      .SetF32(su::kWBView + 4, 1.0f)
      .SetU16(su::kBinChannels, 4)
      .SetU16(su::kSamplesPerImage, 1)
      .SetU16(su::kAnaChannels, 2)
      .SetU32(su::kRangeCode, 1)
      .SetU32(su::kRangeSize, 6)
      .SetText(su::kCineName, "fixture");
  Payload times, exposures, bin, ana, range, tc;
  for (uint32_t i = 0; i < kCount; ++i) {
    const int32_t n = kFirst + static_cast<int32_t>(i);
    const bool event = n == 1 || n == 2;
    // Half a second after 1790000000, one millisecond apart.
    times.Time(((0x80000000u + static_cast<uint32_t>(n) * 4294967u) & ~3u) | 1u | (event ? 2u : 0u),
               1790000000);
    exposures.U32(1073742 + 1000 * i);  // about 250 us
    bin.U8(static_cast<uint8_t>(i & 0xF));
    ana.U16(static_cast<uint16_t>(100 * i)).U16(static_cast<uint16_t>(65535 - i));
    for (uint32_t k = 0; k < 6; ++k) range.U8(static_cast<uint8_t>(i * 6 + k));
    tc.U8(static_cast<uint8_t>(i)).U8(0x30).U8(0x15).U8(0x12).U32(0);  // 12:15:30:0i
  }
  b.AddBlock(1002, times).AddBlock(1003, exposures).AddBlock(1005, bin).AddBlock(1006, ana);
  b.AddBlock(1004, range).AddBlock(1007, tc);
  const Bytes bytes = b.Build();
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char *>(bytes.data()),
                                              static_cast<std::streamsize>(bytes.size()));
  return path;
}

struct Opened {
  CineHandle h = nullptr;
  int32_t status = 0;
  explicit Opened(const std::string &path) { status = XeNewCineFromFile(path.c_str(), &h); }
  ~Opened() { XeDestroyCine(h); }
  uint32_t Get(uint32_t selector) const { return XevGetCineInfo(h, selector); }
};

}  // namespace clitest
