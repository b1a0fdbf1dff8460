// Save throughput and memory, on this machine in one run:
//  - a raw colour cine (16-bit samples, 12 significant) saved as a raw cine,
//    with and without the writer thread, against cp of the same file;
//  - the same cine saved as 48-bit RGB TIFF stills (demosaiced), and a gray
//    cine as 16-bit gray TIFF stills, against ffmpeg writing uncompressed
//    TIFFs of the same size and pixel format from a raw file;
//  - the peak resident memory of the raw cine save, for the whole cine and
//    for one of a quarter of its length.
// Every measured side runs as a process of its own and is timed from start
// to exit; the median of the runs counts. The inputs are written once and
// stay in the page cache: both sides run warm. Outputs go to the same
// folder as the inputs and are removed between runs, followed by a sync
// (not timed); the folder goes at the end unless SAVE_BENCH_KEEP is set.
//
//   save_bench DIR SIZE_MB TIFF_FRAMES RUNS       (TIFF_FRAMES 0: all images)
//   save_bench --save SRC PATTERN FILETYPE FIRST COUNT   (one save; internal)
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "fixtures/cine_builder.h"
#include "saving/save_loop.h"
#include "xefile/xefile.h"

namespace fs = std::filesystem;
namespace su = fixture::setup;

namespace {

constexpr int32_t kSide = 1024;
constexpr uint64_t kImageBytes = uint64_t{kSide} * kSide * 2;  // 16-bit samples
constexpr double kMB = 1e6;

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// ---- The inputs -------------------------------------------------------------

// A 1024 x 1024 recording of 16-bit samples with 12 significant bits, per
// image times and exposures: raw colour (Bayer, CFA 1, Compression 2) or gray.
fixture::CineBuilder Recording(uint32_t count, bool colour) {
  fixture::CineBuilder b;
  b.Image(kSide, kSide, 16, 0, 4096).Images(0, count);
  if (colour) b.Compression(2);
  b.setup().SetU32(su::kCFA, colour ? 1 : 0).SetU32(su::kEnableColor, colour ? 1 : 0);
  b.setup().SetU32(su::kRealBPP, 12).SetU32(su::kFrameRate, 1000);
  b.setup().SetU32(su::kShutter, 900);
  fixture::Payload times, exposures;
  for (uint32_t i = 0; i < count; ++i) {
    times.Time(i * 4294967u & ~3u, 1700000000 + i / 1000);
    exposures.U32(900000);
  }
  b.AddBlock(1002, times).AddBlock(1003, exposures);
  return b;
}

void WriteAll(int fd, const uint8_t *p, size_t n, const std::string &path) {
  while (n) {
    ssize_t w = ::write(fd, p, n);
    if (w <= 0) {
      std::fprintf(stderr, "cannot write %s\n", path.c_str());
      std::exit(1);
    }
    p += w;
    n -= static_cast<size_t>(w);
  }
}

int Create(const std::string &path) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    std::fprintf(stderr, "cannot create %s\n", path.c_str());
    std::exit(1);
  }
  return fd;
}

// Writes the cine to `path`. With `raw`, also writes the pixels of its first
// `rawFrames` images one after another, for ffmpeg: as they are (gray16le),
// or with each sample repeated for the three colours (rgb48le), the same
// bytes per image as the library's 48-bit output.
void MakeCine(const std::string &path, uint32_t count, bool colour, const std::string &raw = {},
              uint32_t rawFrames = 0) {
  fixture::CineBuilder b = Recording(count, colour);
  std::vector<fixture::Segment> segments = b.BuildSegments();
  const fixture::Layout &L = b.layout();
  // The builder's pixels use all 16 bits: keep the low 12 of every sample.
  for (uint32_t i = 0; i < count; ++i) {
    uint8_t *px = segments[0].bytes.data() + L.ImagePixels[i];
    for (uint64_t p = 1; p < kImageBytes; p += 2) px[p] &= 0x0F;
  }
  int fd = Create(path);
  for (const fixture::Segment &s : segments) {
    if (::lseek(fd, static_cast<off_t>(s.offset), SEEK_SET) < 0) std::exit(1);
    WriteAll(fd, s.bytes.data(), s.bytes.size(), path);
  }
  ::close(fd);
  if (raw.empty()) return;

  fd = Create(raw);
  std::vector<uint8_t> rgb(colour ? kImageBytes * 3 : 0);
  for (uint32_t i = 0; i < rawFrames && i < count; ++i) {
    const uint8_t *px = segments[0].bytes.data() + L.ImagePixels[i];
    if (!colour) {
      WriteAll(fd, px, kImageBytes, raw);
      continue;
    }
    for (uint64_t s = 0; s < kImageBytes / 2; ++s)
      for (int c = 0; c < 3; ++c) std::memcpy(&rgb[s * 6 + c * 2], px + s * 2, 2);
    WriteAll(fd, rgb.data(), rgb.size(), raw);
  }
  ::close(fd);
}

// ---- Child processes --------------------------------------------------------

struct Run {
  int exit = -1;
  double seconds = 0;
  double cpu = 0;  // user + system seconds
  std::string out;  // what the process printed on stdout
};

// Runs argv[0] (looked up in PATH) with stdout captured and, when `xdg` is
// set, XDG_CONFIG_HOME pointing at it. Timed from fork to exit, with the
// processor time it used.
Run Spawn(const std::vector<std::string> &argv, const std::string &xdg = {}) {
  int pipefd[2];
  if (::pipe(pipefd) != 0) std::exit(1);
  Run r;
  const double t0 = Now();
  pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(pipefd[1], 1);
    ::close(pipefd[0]);
    ::close(pipefd[1]);
    if (!xdg.empty()) ::setenv("XDG_CONFIG_HOME", xdg.c_str(), 1);
    std::vector<char *> args;
    for (const std::string &a : argv) args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    ::execvp(args[0], args.data());
    std::_Exit(127);
  }
  ::close(pipefd[1]);
  char buf[4096];
  ssize_t n;
  while ((n = ::read(pipefd[0], buf, sizeof buf)) > 0) r.out.append(buf, static_cast<size_t>(n));
  ::close(pipefd[0]);
  int status = 0;
  struct rusage use {};
  ::wait4(pid, &status, 0, &use);
  r.seconds = Now() - t0;
  r.cpu = static_cast<double>(use.ru_utime.tv_sec + use.ru_stime.tv_sec) +
          static_cast<double>(use.ru_utime.tv_usec + use.ru_stime.tv_usec) / 1e6;
  r.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return r;
}

// "VmHWM:" or "VmRSS:" of /proc/self/status, in kB.
long ProcStatusKb(const char *key) {
  std::ifstream in("/proc/self/status");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind(key, 0) == 0) return std::strtol(line.c_str() + std::strlen(key), nullptr, 10);
  return -1;
}

int32_t GoOn(uint32_t, CineHandle) { return 1; }

// One save in this process, reported on stdout as
// "RESULT status resident-before-kB peak-kB group-buffer-bytes".
int SaveChild(char **argv) {
  const char *src = argv[0];
  const char *pattern = argv[1];
  const int type = std::atoi(argv[2]);
  const int32_t first = std::atoi(argv[3]);
  const uint32_t count = static_cast<uint32_t>(std::atol(argv[4]));
  XeStartXeFile();
  CineHandle c = nullptr;
  int32_t status = XeNewCineFromFile(src, &c);
  long before = 0;
  uint64_t group = 0;
  if (status >= 0) {
    status = XeSetCineSaveOptions(c, pattern, static_cast<uint16_t>(type), 0, 100);
    if (status >= 0 && count)
      status = XeSetCineSaveRange(c, first, first + static_cast<int32_t>(count) - 1);
    // The buffer of one group as the save sizes it: on a duplicate in the
    // save use case (the caller's cine stays in its own, as a caller leaves
    // it: a cine already in use case 2 keeps the chain of its old FileType).
    CineHandle d = nullptr;
    if (XeDuplicateCine(&d, c) >= 0 && d) {
      uint32_t one = 0;
      XeSetUseCase(d, 2);
      XeGetCineInfo(d, CIS_MaxImageSizeColor, &one);
      group = uint64_t{one} * xe::ImagesPerGroup(d);
      XeDestroyCine(d);
    }
    before = ProcStatusKb("VmRSS:");
    if (status >= 0) status = XeWriteCineFile(c, GoOn);
    XeDestroyCine(c);
  }
  std::printf("RESULT %d %ld %ld %llu\n", status, before, ProcStatusKb("VmHWM:"),
              static_cast<unsigned long long>(group));
  XeStopXeFile();
  return 0;
}

// ---- Measuring --------------------------------------------------------------

struct Side {
  explicit Side(std::string n) : name(std::move(n)) {}
  std::string name;
  std::vector<double> seconds, cpu;
  uint64_t outBytes = 0;  // of the last run
  int32_t status = 0;     // the library's, worst of the runs
  bool failed = false;
  std::string why;
  long beforeKb = 0, peakKb = 0;  // the library's, largest of the runs
  uint64_t groupBytes = 0;
  static double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
  }
  double Median() const { return Median(seconds); }
  void Add(const Run &r) {
    seconds.push_back(r.seconds);
    cpu.push_back(r.cpu);
  }
};

uint64_t BytesUnder(const fs::path &p, const std::string &ext) {
  std::error_code ec;
  if (fs::is_regular_file(p, ec)) return fs::file_size(p, ec);
  uint64_t total = 0;
  if (fs::is_directory(p, ec))
    for (const auto &e : fs::directory_iterator(p, ec))
      if (e.is_regular_file() && e.path().extension() == ext) total += e.file_size();
  return total;
}

// Removes an output, and flushes what else is dirty, so that every run
// starts without writeback of an earlier one under way. Nothing leaves the
// page cache.
void Clean(const fs::path &p) {
  std::error_code ec;
  fs::remove_all(p, ec);
  ::sync();
}

std::string self;  // this program

// A library save of `src` to `pattern`; `output` is what it leaves (file or
// folder), measured and removed after the run.
void LibraryRun(Side &side, const std::string &src, const std::string &pattern, int type,
                uint32_t count, const fs::path &output, const std::string &xdg) {
  Run r = Spawn({self, "--save", src, pattern, std::to_string(type), "0", std::to_string(count)},
                xdg);
  int32_t status = 0;
  long before = 0, peak = 0;
  unsigned long long group = 0;
  size_t at = r.out.rfind("RESULT ");
  const bool read = at != std::string::npos &&
                    std::sscanf(r.out.c_str() + at, "RESULT %d %ld %ld %llu", &status, &before,
                                &peak, &group) == 4;
  if (r.exit != 0 || !read) {
    side.failed = true;
    side.why = "save process ended with " + std::to_string(r.exit);
  } else if (status < 0) {
    side.failed = true;
    side.why = "status " + std::to_string(status);
  }
  if (status < side.status) side.status = status;
  side.Add(r);
  side.beforeKb = std::max(side.beforeKb, before);
  side.peakKb = std::max(side.peakKb, peak);
  side.groupBytes = group;
  side.outBytes = BytesUnder(output, ".tif");
  Clean(output);
}

void ToolRun(Side &side, const std::vector<std::string> &argv, const fs::path &output) {
  Run r = Spawn(argv);
  if (r.exit != 0) {
    side.failed = true;
    side.why = argv[0] + " ended with " + std::to_string(r.exit);
  }
  side.Add(r);
  side.outBytes = BytesUnder(output, ".tif");
  Clean(output);
}

bool Have(const char *tool) {
  return Spawn({"sh", "-c", std::string("command -v ") + tool + " >/dev/null"}).exit == 0;
}

// ---- The table --------------------------------------------------------------

void Row(const Side &s, double mbBase, const Side *ref, double goal) {
  const double t = s.Median();
  const double bytes = mbBase > 0 ? mbBase : static_cast<double>(s.outBytes);
  std::printf("  %-40s", s.name.c_str());
  if (s.seconds.empty()) {
    std::printf("  %s\n", s.why.c_str());
    return;
  }
  const auto [lo, hi] = std::minmax_element(s.seconds.begin(), s.seconds.end());
  std::printf(" %8.3f %6.3f-%-6.3f %6.2f %7.0f", t, *lo, *hi, Side::Median(s.cpu),
              bytes / kMB / t);
  if (ref && !ref->seconds.empty() && t > 0) {
    const double ratio = ref->Median() / t;
    std::printf("  %6.2fx  >= %.1fx %s", ratio, goal, ratio >= goal ? "met" : "MISSED");
  }
  if (s.failed) std::printf("  FAILED: %s", s.why.c_str());
  std::printf("\n");
}

void Header(const char *title) {
  std::printf("\n%s\n  %-40s %8s %13s %6s %7s  %7s  %s\n", title, "side", "median s",
              "min-max s", "cpu s", "MB/s", "speed", "goal (vs. reference)");
}

}  // namespace

int main(int argc, char **argv) {
  if (argc == 7 && std::strcmp(argv[1], "--save") == 0) return SaveChild(argv + 2);
  if (argc != 5) {
    std::fprintf(stderr, "usage: %s DIR SIZE_MB TIFF_FRAMES(0: all) RUNS\n", argv[0]);
    return 2;
  }
  self = fs::canonical("/proc/self/exe").string();
  const fs::path dir = fs::path(argv[1]) / ("save-bench-" + std::to_string(::getpid()));
  const uint32_t count = std::max<uint32_t>(4, static_cast<uint32_t>(
      std::strtoull(argv[2], nullptr, 10) * 1024 * 1024 / kImageBytes));
  const uint32_t asked = static_cast<uint32_t>(std::atol(argv[3]));
  const uint32_t tiffFrames = asked == 0 ? count : std::min(asked, count);
  const int runs = std::max(1, std::atoi(argv[4]));
  const uint32_t quarter = count / 4;
  fs::create_directories(dir);

  // Settings folders: the defaults, and SaveNoThread=1.
  const std::string xdgDefault = (dir / "config-default").string();
  const std::string xdgNoThread = (dir / "config-nothread").string();
  fs::create_directories(fs::path(xdgDefault) / "xefile");
  fs::create_directories(fs::path(xdgNoThread) / "xefile");
  std::ofstream(fs::path(xdgNoThread) / "xefile" / "settings.ini") << "[xefile]\nSaveNoThread=1\n";

  const std::string cine = (dir / "colour.cine").string();
  const std::string cineQuarter = (dir / "colour-quarter.cine").string();
  const std::string grayCine = (dir / "gray.cine").string();
  const std::string rgbRaw = (dir / "frames-rgb48le.raw").string();
  const std::string grayRaw = (dir / "frames-gray16le.raw").string();
  const bool ffmpeg = Have("ffmpeg");

  double t0 = Now();
  MakeCine(cine, count, true, ffmpeg ? rgbRaw : std::string(), tiffFrames);
  MakeCine(cineQuarter, quarter, true);
  MakeCine(grayCine, tiffFrames, false, ffmpeg ? grayRaw : std::string(), tiffFrames);
  const double cineBytes = static_cast<double>(fs::file_size(cine));
  ::sync();
  std::printf("inputs written and flushed in %.1f s to %s (kept in the page cache: both sides "
              "run warm)\n",
              Now() - t0, dir.c_str());

  // 1. Raw cine.
  const fs::path libCine = dir / "saved.cine", cpCine = dir / "copied.cine";
  Side lib{"library, FileType 0"}, noThread{"library, FileType 0, SaveNoThread=1"}, cp{"cp"};
  for (int i = 0; i < runs; ++i) {
    ToolRun(cp, {"cp", cine, cpCine.string()}, cpCine);
    LibraryRun(lib, cine, libCine.string(), 0, 0, libCine, xdgDefault);
    LibraryRun(noThread, cine, libCine.string(), 0, 0, libCine, xdgNoThread);
  }

  // 2. TIFF stills. ffmpeg writes uncompressed TIFFs, like the library.
  const fs::path libTiff = dir / "tiff-library", ffTiff = dir / "tiff-ffmpeg";
  const std::string size = std::to_string(kSide) + "x" + std::to_string(kSide);
  auto ffmpegArgs = [&](const std::string &raw, const char *pixFmt) {
    return std::vector<std::string>{"ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "error",
                                    "-y", "-f", "rawvideo", "-pix_fmt", pixFmt, "-s", size,
                                    "-i", raw, "-c:v", "tiff", "-compression_algo", "raw",
                                    (ffTiff / "f%06d.tif").string()};
  };
  const std::string pattern = (libTiff / "img!6.tif").string();
  Side libRgb{"library, raw colour cine to -10 (RGB48)"}, ffRgb{"ffmpeg rgb48le"};
  Side libGray{"library, gray cine to -10 (gray 16)"}, ffGray{"ffmpeg gray16le"};
  if (!ffmpeg) ffRgb.why = ffGray.why = "ffmpeg not found";
  for (int i = 0; i < runs; ++i) {
    if (ffmpeg) {
      fs::create_directories(ffTiff);
      ToolRun(ffRgb, ffmpegArgs(rgbRaw, "rgb48le"), ffTiff);
    }
    LibraryRun(libRgb, cine, pattern, -10, tiffFrames, libTiff, xdgDefault);
    if (ffmpeg) {
      fs::create_directories(ffTiff);
      ToolRun(ffGray, ffmpegArgs(grayRaw, "gray16le"), ffTiff);
    }
    LibraryRun(libGray, grayCine, pattern, -10, tiffFrames, libTiff, xdgDefault);
  }

  // 3. Memory of the raw cine save, whole and quarter length.
  Side libQuarter{"library, FileType 0, quarter length"};
  for (int i = 0; i < runs; ++i)
    LibraryRun(libQuarter, cineQuarter, libCine.string(), 0, 0, libCine, xdgDefault);

  // The table.
  std::printf("\nSave benchmark: %dx%d images, 16-bit samples with 12 significant bits, per-image "
              "times and exposures\n",
              kSide, kSide);
  std::printf("median of %d runs; each side is one process timed from start to exit; inputs and "
              "outputs in %s, warm\n",
              runs, dir.c_str());
  char title[256];
  std::snprintf(title, sizeof title,
                "1. raw colour cine (CFA 1, Compression 2), %u images, %.0f MB, saved as raw cine "
                "/ copied", count, cineBytes / kMB);
  Header(title);
  Row(cp, cineBytes, nullptr, 0);
  Row(lib, cineBytes, &cp, 0.8);
  Row(noThread, cineBytes, &cp, 0.8);
  for (const Side *s : {&lib, &noThread})
    if (!s->failed && std::abs(static_cast<double>(s->outBytes) - cineBytes) > cineBytes / 100)
      std::printf("  note: %s wrote %llu bytes from a source of %.0f\n", s->name.c_str(),
                  static_cast<unsigned long long>(s->outBytes), cineBytes);

  std::snprintf(title, sizeof title, "2. uncompressed 16-bit TIFF stills, %u of the %u images%s "
                "(MB/s of TIFF written)", tiffFrames, count,
                tiffFrames < count ? " (a part: a run's output stays in memory, unflushed)" : "");
  Header(title);
  Row(ffRgb, 0, nullptr, 0);
  Row(libRgb, 0, &ffRgb, 1.5);
  Row(ffGray, 0, nullptr, 0);
  Row(libGray, 0, &ffGray, 1.5);

  std::printf("\n3. peak resident memory of the raw cine save process (VmHWM)\n");
  std::printf("  %-40s %10s %10s %12s %10s\n", "cine", "peak MB", "at start", "group buffer",
              "limit");
  auto memRow = [&](const Side &s, uint32_t images, const char *how) {
    const double limit = (2.0 * static_cast<double>(s.groupBytes) + 8.0 * 1024 * 1024) / kMB;
    const double peak = static_cast<double>(s.peakKb) * 1024 / kMB;
    std::printf("  %-40s %10.1f %10.1f %12.1f %10.1f %s\n",
                (std::to_string(images) + " images, " +
                 std::to_string(static_cast<uint64_t>(images) * kImageBytes >> 20) + " MiB" + how)
                    .c_str(),
                peak, static_cast<double>(s.beforeKb) * 1024 / kMB,
                static_cast<double>(s.groupBytes) / kMB, limit,
                s.failed ? ("FAILED: " + s.why).c_str() : peak <= limit ? "met" : "MISSED");
  };
  memRow(lib, count, "");
  memRow(libQuarter, quarter, "");
  memRow(noThread, count, ", SaveNoThread=1");
  std::printf("  (at start: resident before XeWriteCineFile; limit: two group buffers + 8 MiB)\n");
  if (!lib.failed && !libQuarter.failed)
    std::printf("  peak from the quarter to the whole length: %+.1f MB\n",
                static_cast<double>(lib.peakKb - libQuarter.peakKb) * 1024 / kMB);

  // Lines for bench/run.sh: name, ours, peer, unit, goal.
  auto speed = [](const Side &x, double base) {
    const double t = x.Median();
    return x.seconds.empty() || t <= 0 ? 0.0 : (base > 0 ? base : static_cast<double>(x.outBytes)) / kMB / t;
  };
  std::printf("RESULT save_raw_cine %.0f %.0f MB/s >=0.8\n", speed(lib, cineBytes), speed(cp, cineBytes));
  std::printf("RESULT save_raw_cine_nothread %.0f %.0f MB/s >=0.8\n", speed(noThread, cineBytes),
              speed(cp, cineBytes));
  std::printf("RESULT save_tiff_rgb48 %.0f %.0f MB/s >=1.5\n", speed(libRgb, 0), speed(ffRgb, 0));
  std::printf("RESULT save_tiff_gray16 %.0f %.0f MB/s >=1.5\n", speed(libGray, 0), speed(ffGray, 0));
  std::printf("RESULT save_peak_memory %.1f %.1f MB <=1.0\n",
              static_cast<double>(lib.peakKb) * 1024 / kMB,
              (2.0 * static_cast<double>(lib.groupBytes) + 8.0 * 1024 * 1024) / kMB);

  if (!std::getenv("SAVE_BENCH_KEEP")) Clean(dir);
  return 0;
}
