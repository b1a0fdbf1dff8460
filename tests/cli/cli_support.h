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

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "fixtures/cine_builder.h"
#include "support/shell.h"
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

using testsupport::Has;
using testsupport::Shell;

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

inline void WriteBytes(const std::string &path, const Bytes &bytes) {
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char *>(bytes.data()),
                                              static_cast<std::streamsize>(bytes.size()));
}

// A raw colour mosaic (pattern 1) of 12-bit samples with unit gains.
inline fixture::CineBuilder ColourMosaic(int32_t width, int32_t height) {
  fixture::CineBuilder b;
  b.Compression(2).Image(width, height, 16, 0, 4096);
  b.setup()
      .SetU32(su::kCFA, 1)
      .SetU32(su::kEnableColor, 1)
      .SetU32(su::kRealBPP, 12)
      .SetU32(su::kWhiteLevel, 4095)
      .SetF32(su::kfGain, 1.0f)
      .SetF32(su::kfSaturation, 1.0f)
      .SetF32(su::kfGamma, 1.0f)
      .SetF32(su::kWBView, 1.0f)
      .SetF32(su::kWBView + 4, 1.0f);
  return b;
}

// A colour mosaic of 16 x 8, images -3 to 6, with times (event bit on images
// 1 and 2), exposures and timecode.
inline std::string Recording(const std::string &path) {
  fixture::CineBuilder b = ColourMosaic(16, 8);
  b.Images(kFirst, kCount).TriggerTime(0x80000003, 1790000000);
  b.setup()
      .SetU32(su::kFrameRate, 1000)
      .SetU32(su::kShutterNs, 250000)
      .SetU32(su::kSerial, 4711)
      .SetText(su::kCineName, "fixture");
  Payload times, exposures, tc;
  for (uint32_t i = 0; i < kCount; ++i) {
    const int32_t n = kFirst + static_cast<int32_t>(i);
    const bool event = n == 1 || n == 2;
    // Half a second after 1790000000, one millisecond apart.
    times.Time(((0x80000000u + static_cast<uint32_t>(n) * 4294967u) & ~3u) | 1u | (event ? 2u : 0u),
               1790000000);
    exposures.U32(1073742 + 1000 * i);  // about 250 us
    tc.U8(static_cast<uint8_t>(i)).U8(0x30).U8(0x15).U8(0x12).U32(0);  // 12:15:30:0i
  }
  b.AddBlock(1002, times).AddBlock(1003, exposures).AddBlock(1007, tc);
  WriteBytes(path, b.Build());
  return path;
}

// Little-endian fields of a file's bytes; 0 past the end.
inline uint32_t U16(const std::string &b, size_t at) {
  if (at + 2 > b.size()) return 0;
  return static_cast<uint8_t>(b[at]) | static_cast<uint32_t>(static_cast<uint8_t>(b[at + 1])) << 8;
}
inline uint32_t U32(const std::string &b, size_t at) { return U16(b, at) | U16(b, at + 2) << 16; }

// The value (or offset) of a tag of the first directory of a TIFF.
inline uint32_t TiffTag(const std::string &b, uint16_t tag) {
  const uint32_t ifd = U32(b, 4);
  for (uint32_t k = 0; k < U16(b, ifd); ++k)
    if (U16(b, ifd + 2 + 12 * k) == tag) return U32(b, ifd + 2 + 12 * k + 8);
  ADD_FAILURE() << "no tag " << tag;
  return 0;
}

// The 16-bit samples of a single-strip TIFF, in file order.
inline std::vector<uint16_t> TiffSamples(const std::string &b) {
  const uint32_t at = TiffTag(b, 273), bytes = TiffTag(b, 279);
  std::vector<uint16_t> v;
  for (size_t i = at; i + 1 < size_t{at} + bytes && i + 1 < b.size(); i += 2)
    v.push_back(static_cast<uint16_t>(U16(b, i)));
  return v;
}

// The samples of a PPM/PGM written by the tool (8-bit ones scaled to 16
// bits), and its maxval.
inline std::vector<uint16_t> PnmSamples(const std::string &bytes, uint32_t *maxval = nullptr) {
  size_t at = 0;
  for (int lines = 0; lines < 2; ++lines) at = bytes.find('\n', at) + 1;
  const auto max = static_cast<uint32_t>(std::stoul(bytes.substr(at)));
  if (maxval) *maxval = max;
  const size_t step = max > 255 ? 2 : 1;
  std::vector<uint16_t> v;
  for (size_t i = bytes.find('\n', at) + 1; i + step <= bytes.size(); i += step) {
    const auto hi = static_cast<uint8_t>(bytes[i]);
    v.push_back(static_cast<uint16_t>(step == 2 ? hi << 8 | static_cast<uint8_t>(bytes[i + 1]) : hi * 257));
  }
  return v;
}

struct Opened {
  CineHandle h = nullptr;
  int32_t status = 0;
  explicit Opened(const std::string &path) { status = XeNewCineFromFile(path.c_str(), &h); }
  ~Opened() { XeDestroyCine(h); }
  uint32_t Get(uint32_t selector) const { return XevGetCineInfo(h, selector); }
};

// The samples of `image` as stored, as the library delivers them in use case 3.
inline std::vector<uint16_t> StoredSamples(const std::string &path, int32_t image) {
  Opened c(path);
  EXPECT_GE(c.status, 0) << path;
  XeSetUseCase(c.h, 3);
  std::vector<uint8_t> pixels(c.Get(CIS_MaxImageSizeColor));
  ImageRange range{image, 1};
  ImageHeader h{};
  EXPECT_EQ(XeGetCineImage(c.h, &range, pixels.data(), static_cast<uint32_t>(pixels.size()), &h), 0);
  std::vector<uint16_t> v(std::min<size_t>(h.biSizeImage, pixels.size()) / 2);
  std::memcpy(v.data(), pixels.data(), v.size() * 2);
  return v;
}

}  // namespace clitest
