// Raw image fetch against the bare file reads, on this machine in one run.
//
// A raw colour cine of 1024 x 1024 images of 16-bit samples (12 significant)
// is written once and read once, so that it sits in the page cache. Then all
// of its images are fetched, one at a time into one buffer:
//  - by the library: XeNewCineFromFile, use case 3 (raw), XeGetCineImage;
//  - by a plain pread loop: the offsets from the file's table, then for each
//    image record its header and its pixels, into the same buffer.
// Both sides run in this process, in turns, and the median of the runs
// counts. The goal: the library at 0.9 times the pread loop or better.
//
//   read_bench DIR SIZE_MB RUNS
// The cine goes to DIR and is removed at the end.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fixtures/cine_builder.h"
#include "xefile/xefile.h"

namespace su = fixture::setup;

namespace {

constexpr int32_t kSide = 1024;
constexpr uint64_t kImageBytes = uint64_t{kSide} * kSide * 2;
constexpr double kMB = 1e6;
constexpr double kGoal = 0.9;

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

[[noreturn]] void Die(const std::string &why) {
  std::fprintf(stderr, "read_bench: %s\n", why.c_str());
  std::exit(1);
}

// `count` images of raw colour (CFA 1, Compression 2), 12 significant bits.
std::vector<fixture::Segment> Recording(uint32_t count) {
  fixture::CineBuilder b;
  b.Image(kSide, kSide, 16, 0, 4096).Images(0, count).Compression(2);
  b.setup().SetU32(su::kCFA, 1).SetU32(su::kEnableColor, 1).SetU32(su::kRealBPP, 12);
  b.setup().SetU32(su::kFrameRate, 1000).SetU32(su::kShutter, 900);
  return b.BuildSegments();
}

void ReadExactly(int fd, void *to, size_t n, uint64_t at) {
  auto *p = static_cast<uint8_t *>(to);
  while (n) {
    ssize_t r = ::pread(fd, p, n, static_cast<off_t>(at));
    if (r <= 0) Die("short read at " + std::to_string(at));
    p += r;
    at += static_cast<uint64_t>(r);
    n -= static_cast<size_t>(r);
  }
}

// The peer: what a reader of the file format does with nothing but pread.
struct PlainReader {
  int fd = -1;
  std::vector<uint64_t> offsets;

  explicit PlainReader(const std::string &path) {
    fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) Die("cannot open " + path);
    CineFileHeader h;
    ReadExactly(fd, &h, sizeof h, 0);
    offsets.resize(h.ImageCount);
    ReadExactly(fd, offsets.data(), offsets.size() * sizeof(uint64_t), h.OffImageOffsets);
  }
  ~PlainReader() { ::close(fd); }

  // Image `index` into `pixels`; its size.
  uint32_t Read(size_t index, uint8_t *pixels, size_t room) const {
    uint32_t head[2];  // AnnotationSize, then ImageSize when there is no annotation
    ReadExactly(fd, head, sizeof head, offsets[index]);
    const uint64_t at = offsets[index] + head[0];
    uint32_t size = head[1];
    if (head[0] != 8) ReadExactly(fd, &size, sizeof size, at - 4);
    if (size > room) Die("image larger than the buffer");
    ReadExactly(fd, pixels, size, at);
    return size;
  }
};

struct Side {
  const char *name;
  std::vector<double> seconds;
  double Median() const {
    std::vector<double> s = seconds;
    std::sort(s.begin(), s.end());
    return s[s.size() / 2];
  }
};

}  // namespace

int main(int argc, char **argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s DIR SIZE_MB RUNS\n", argv[0]);
    return 2;
  }
  ::setenv("XEFILE_TEST_TMP", argv[1], 1);
  const uint32_t count = std::max<uint32_t>(
      4, static_cast<uint32_t>(std::strtoull(argv[2], nullptr, 10) * 1024 * 1024 / kImageBytes));
  const int runs = std::max(1, std::atoi(argv[3]));

  double t0 = Now();
  const fixture::TempFile cine(Recording(count), ".cine");
  const double bytes = static_cast<double>(count) * kImageBytes;

  // The buffer holds one image as the library may deliver it.
  XeStartXeFile();
  CineHandle c = nullptr;
  if (XeNewCineFromFile(cine.c_str(), &c) < 0 || !c) Die("the library cannot open " + cine.path());
  if (XeSetUseCase(c, 3) < 0) Die("use case 3 refused");
  uint32_t room = 0;
  XeGetCineInfo(c, CIS_MaxImageSizeColor, &room);
  std::vector<uint8_t> buffer(std::max<uint64_t>(room, kImageBytes));
  const PlainReader plain(cine.path());
  ImageHeader ih;

  // Warm: every byte of the file through the page cache once.
  for (size_t i = 0; i < count; ++i) plain.Read(i, buffer.data(), buffer.size());
  std::printf("%u images of %d x %d, 16-bit raw colour, %.0f MB of pixels written and read once "
              "in %.1f s\n", count, kSide, kSide, bytes / kMB, Now() - t0);

  // Both sides deliver the same bytes: compared on the first, middle and last image.
  std::vector<uint8_t> mine(kImageBytes);
  for (uint32_t i : {0u, count / 2, count - 1}) {
    ImageRange r{static_cast<int32_t>(i), 1};
    if (XeGetCineImage(c, &r, buffer.data(), static_cast<uint32_t>(buffer.size()), &ih) < 0)
      Die("XeGetCineImage failed on image " + std::to_string(i));
    std::memcpy(mine.data(), buffer.data(), kImageBytes);
    if (plain.Read(i, buffer.data(), buffer.size()) != kImageBytes ||
        std::memcmp(mine.data(), buffer.data(), kImageBytes) != 0)
      Die("the library and the pread loop deliver different pixels for image " + std::to_string(i));
  }

  Side lib{"library, XeGetCineImage (use case 3)", {}}, peer{"pread loop", {}};
  int32_t worst = 0;
  for (int run = 0; run < runs; ++run) {
    double s = Now();
    for (uint32_t i = 0; i < count; ++i) {
      ImageRange r{static_cast<int32_t>(i), 1};
      worst = std::min(worst, XeGetCineImage(c, &r, buffer.data(), static_cast<uint32_t>(buffer.size()), &ih));
    }
    lib.seconds.push_back(Now() - s);
    s = Now();
    for (uint32_t i = 0; i < count; ++i) plain.Read(i, buffer.data(), buffer.size());
    peer.seconds.push_back(Now() - s);
  }
  XeDestroyCine(c);
  XeStopXeFile();
  if (worst < 0) Die("XeGetCineImage failed with status " + std::to_string(worst));

  const double ours = bytes / kMB / lib.Median(), theirs = bytes / kMB / peer.Median();
  std::printf("\nRaw fetch of all images, warm page cache, median of %d runs\n", runs);
  std::printf("  %-40s %9s %8s\n", "side", "median s", "MB/s");
  for (const Side *s : {&peer, &lib}) std::printf("  %-40s %9.3f %8.0f\n", s->name, s->Median(), bytes / kMB / s->Median());
  std::printf("  ratio %.2fx, goal >= %.1fx: %s\n", ours / theirs, kGoal, ours / theirs >= kGoal ? "met" : "MISSED");
  std::printf("RESULT read_raw_fetch %.0f %.0f MB/s >=%.1f\n", ours, theirs, kGoal);
  return 0;
}
