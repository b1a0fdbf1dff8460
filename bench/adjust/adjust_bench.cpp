// Megapixels per second of XeImProc on a 2048 x 2048 48-bit image: all
// adjustments at once, and the parts that make up their cost, on one thread
// and on all. Prints a table; the median of several runs counts.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "companions/int/depth.h"
#include "companions/int/dib.h"
#include "companions/int/improc.h"
#include "companions/int/parallel.h"

using namespace xe::intl;

namespace {

constexpr int32_t kSide = 2048;
constexpr int kRuns = 9;

BitmapInfoHeader Header() {
  BitmapInfoHeader h{};
  h.biSize = 40;
  h.biWidth = kSide;
  h.biHeight = kSide;
  h.biPlanes = 1;
  h.biBitCount = 48;
  h.biClrImportant = 4096;  // 12 bits in use
  h.biSizeImage = XefPixarSize(&h);
  return h;
}

// Smooth colour ramps with noise: neither flat nor random.
std::vector<uint8_t> Picture(const BitmapInfoHeader &h) {
  std::vector<uint8_t> px(h.biSizeImage);
  std::mt19937 rng(1);
  auto *s = reinterpret_cast<uint16_t *>(px.data());
  for (int32_t y = 0; y < kSide; ++y)
    for (int32_t x = 0; x < kSide; ++x) {
      uint16_t *p = s + (static_cast<size_t>(y) * kSide + x) * 3;
      p[0] = static_cast<uint16_t>((x * 2 + rng() % 64) & 4095);
      p[1] = static_cast<uint16_t>((y * 2 + rng() % 64) & 4095);
      p[2] = static_cast<uint16_t>(((x + y) + rng() % 64) & 4095);
    }
  return px;
}

IMPROCOPTIONS Tone() {
  IMPROCOPTIONS o{};
  o.WBRed = 1.2f;
  o.WBBlue = 0.9f;
  o.Bright = 30;
  o.Contrast = 8;
  o.Gamma = 2.2f;
  o.Saturation = 25;
  o.Hue = 10;
  return o;
}

template <typename F>
double MedianMs(const BitmapInfoHeader &h0, const std::vector<uint8_t> &src, F &&run) {
  std::vector<uint8_t> work(src.size());
  std::vector<double> ms;
  for (int i = 0; i <= kRuns; ++i) {
    std::memcpy(work.data(), src.data(), src.size());
    BitmapInfoHeader h = h0;
    const auto t0 = std::chrono::steady_clock::now();
    run(&h, work.data());
    const auto t1 = std::chrono::steady_clock::now();
    if (i > 0) ms.push_back(std::chrono::duration<double, std::milli>(t1 - t0).count());
  }
  std::sort(ms.begin(), ms.end());
  return ms[ms.size() / 2];
}

}  // namespace

int main() {
  const BitmapInfoHeader h = Header();
  const std::vector<uint8_t> src = Picture(h);
  const double mp = static_cast<double>(kSide) * kSide / 1e6;

  struct Case {
    const char *name;
    IMPROCOPTIONS o;
  };
  std::vector<Case> cases;
  IMPROCOPTIONS o = Tone();
  cases.push_back({"tone + colour (WB, B, C, S, H, gamma)", o});
  o.FlipH = o.FlipV = 1;
  cases.push_back({"  + flips H and V", o});
  o.Rotate = 90;
  cases.push_back({"  + rotate 90", o});
  o.FilterCode = 1;
  o.FilterParam = 60;
  cases.push_back({"  + sharpen: all eight adjustments", o});
  IMPROCOPTIONS noColour{};
  noColour.WBRed = noColour.WBBlue = 1.0f;
  noColour.Bright = 30;
  noColour.Contrast = 8;
  noColour.Gamma = 2.2f;
  cases.push_back({"tone only (B, C, gamma: one table)", noColour});

  const uint32_t all = PixelThreads();
  double allEight = 0;  // MP/s of every adjustment on all threads
  std::printf("XeImProc, %d x %d, 48 bits (12 in use); median of %d runs\n", kSide, kSide, kRuns);
  std::printf("%-40s %8s %10s %10s\n", "adjustments", "threads", "ms", "MP/s");
  for (const Case &c : cases)
    for (uint32_t threads : {1u, all}) {
      SetPixelThreads(threads);
      const double t = MedianMs(h, src, [&](BitmapInfoHeader *hh, uint8_t *px) {
        XeImProc(hh, px, &c.o);
      });
      std::printf("%-40s %8u %10.1f %10.1f\n", c.name, threads, t, mp / (t / 1000.0));
      if (&c == &cases[3] && threads == all) allEight = mp / (t / 1000.0);  // the sharpen row
    }
  for (uint32_t threads : {1u, all}) {
    SetPixelThreads(threads);
    const double t = MedianMs(h, src, [&](BitmapInfoHeader *hh, uint8_t *px) {
      XeProcessImage(px, px, hh, kReduceTo8, 16.0f);
    });
    std::printf("%-40s %8u %10.1f %10.1f\n", "XeProcessImage 16 to 8, in place", threads, t,
                mp / (t / 1000.0));
  }
  SetPixelThreads(0);
  // Summary line for bench/run.sh: "RESULT name ours peer unit goal"; no peer.
  std::printf("RESULT adjust_all_eight %.1f - MP/s -\n", allEight);
  return 0;
}
