// Throughput and colour PSNR of the demosaic ids next to OpenCV's Bayer
// conversions, on the same machine in one run.
//
//   demosaic_bench IMAGE...   (colour images for the PSNR part)
//
// Speed: a 2048 x 2048 16-bit mosaic (pattern R G / G B, top row first),
// megapixels per second, best of several runs, one thread and all threads.
// Quality: each image mosaicked with the same pattern, demosaicked, and
// compared with the original over all three channels, leaving out a border
// of 6 pixels.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "companions/int/demosaic.h"
#include "companions/int/parallel.h"

namespace {

using namespace xe::intl;

constexpr uint32_t kCfaRggb = 4;  // R G / G B, top row first
constexpr int kBorder = 6;
constexpr int kReps = 15;

struct Method {
  const char *name;
  uint32_t id;     // ours, or 0
  int cvCode;      // OpenCV's, or -1
};

const Method kMethods[] = {
    {"Fastest (1)", 1, -1}, {"Fast (2)", 2, -1},  {"Medium (5)", 5, -1},
    {"Good (3)", 3, -1},    {"Best (4)", 4, -1},  {"OpenCV bilinear", 0, cv::COLOR_BayerBG2BGR},
    {"OpenCV VNG", 0, cv::COLOR_BayerBG2BGR_VNG}, {"OpenCV EA", 0, cv::COLOR_BayerBG2BGR_EA},
};

// The mosaic of a BGR picture, top row first.
cv::Mat MosaicOf(const cv::Mat &bgr) {
  cv::Mat m(bgr.rows, bgr.cols, bgr.depth() == CV_16U ? CV_16UC1 : CV_8UC1);
  for (int y = 0; y < bgr.rows; ++y)
    for (int x = 0; x < bgr.cols; ++x) {
      int channel = (y & 1) == 0 ? ((x & 1) == 0 ? 2 : 1) : ((x & 1) == 0 ? 1 : 0);  // BGR index
      if (bgr.depth() == CV_16U)
        m.at<uint16_t>(y, x) = bgr.at<cv::Vec3w>(y, x)[channel];
      else
        m.at<uint8_t>(y, x) = bgr.at<cv::Vec3b>(y, x)[channel];
    }
  return m;
}

uint32_t Stride(uint32_t w, uint32_t bits) { return (w * bits + 31) / 32 * 4; }

// Our demosaic of a top-down mosaic: rows go into the bitmap bottom-up, and
// the result comes back top-down as a BGR matrix.
struct Ours {
  BitmapInfoHeader h{};
  std::vector<uint8_t> mosaic, work;
  int rows = 0, cols = 0, bits = 0;

  explicit Ours(const cv::Mat &m) : rows(m.rows), cols(m.cols), bits(m.depth() == CV_16U ? 16 : 8) {
    h.biSize = 40;
    h.biWidth = cols;
    h.biHeight = rows;
    h.biPlanes = 1;
    h.biBitCount = static_cast<uint16_t>(bits);
    h.biSizeImage = Stride(cols, bits) * rows;
    mosaic.assign(Stride(cols, 3 * bits) * rows, 0);
    size_t bytes = static_cast<size_t>(cols) * bits / 8;
    for (int r = 0; r < rows; ++r) std::memcpy(&mosaic[Stride(cols, bits) * r], m.ptr(rows - 1 - r), bytes);
    work = mosaic;
  }
  void Restore(BitmapInfoHeader *hh) {
    std::memcpy(work.data(), mosaic.data(), Stride(cols, bits) * rows);
    *hh = h;
  }
  cv::Mat Run(uint32_t id) {
    BitmapInfoHeader hh;
    Restore(&hh);
    XeInterpolateColor(&hh, work.data(), kCfaRggb, id);
    cv::Mat out(rows, cols, bits == 16 ? CV_16UC3 : CV_8UC3);
    for (int r = 0; r < rows; ++r)
      std::memcpy(out.ptr(rows - 1 - r), &work[Stride(cols, 3 * bits) * r], static_cast<size_t>(cols) * 3 * bits / 8);
    return out;
  }
};

double Psnr(const cv::Mat &a, const cv::Mat &b) {
  cv::Rect inner(kBorder, kBorder, a.cols - 2 * kBorder, a.rows - 2 * kBorder);
  cv::Mat da, db;
  a(inner).convertTo(da, CV_64FC3);
  b(inner).convertTo(db, CV_64FC3);
  cv::Mat d = da - db;
  double se = d.dot(d) / (static_cast<double>(inner.area()) * 3);
  return 10.0 * std::log10(255.0 * 255.0 / se);
}

// Best time of `reps` calls of run(), prepare() before each, untimed.
double BestSeconds(int reps, const std::function<void()> &prepare, const std::function<void()> &run) {
  double best = 1e30;
  for (int i = 0; i < reps; ++i) {
    prepare();
    auto t0 = std::chrono::steady_clock::now();
    run();
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
  }
  return best;
}

}  // namespace

int main(int argc, char **argv) {
  std::vector<std::string> names;
  std::vector<cv::Mat> pictures;
  for (int i = 1; i < argc; ++i) {
    cv::Mat p = cv::imread(argv[i], cv::IMREAD_COLOR);
    if (p.empty()) continue;
    pictures.push_back(p(cv::Rect(0, 0, p.cols & ~1, p.rows & ~1)).clone());
    std::string n = argv[i];
    n = n.substr(n.find_last_of('/') + 1);
    names.push_back(n.substr(0, n.find('.')));
  }
  // The speed mosaic: the first picture enlarged to 2048 x 2048, 16 bits.
  cv::Mat big8, big16;
  if (!pictures.empty())
    cv::resize(pictures[0], big8, cv::Size(2048, 2048), 0, 0, cv::INTER_CUBIC);
  else
    big8 = cv::Mat(2048, 2048, CV_8UC3, cv::Scalar(60, 120, 180));
  big8.convertTo(big16, CV_16UC3, 257.0);
  cv::Mat mosaic16 = MosaicOf(big16), mosaic8 = MosaicOf(big8);
  Ours ours16(mosaic16);
  const double mp = 2048.0 * 2048.0 / 1e6;
  unsigned cores = std::max(1u, std::thread::hardware_concurrency());

  std::printf("cores: %u; speed on a 2048 x 2048 16-bit mosaic (MP/s, best of %d rounds); PSNR in dB (8-bit images, border %d)\n\n",
              cores, kReps, kBorder);
  std::printf("%-16s %9s %9s", "method", "1 thread", "all", "");
  for (auto &n : names) std::printf(" %10s", n.c_str());
  std::printf(" %8s\n", "mean");
  // Speed: rounds that time every method once, so that a change in the load
  // of the machine during the run touches all methods alike; the best time
  // of each method over the rounds counts.
  constexpr size_t kCount = std::size(kMethods);
  double best[kCount][2];
  bool only8[kCount] = {};
  for (auto &b : best) b[0] = b[1] = 1e30;
  for (int round = 0; round < kReps; ++round)
    for (int t = 0; t < 2; ++t) {
      unsigned threads = t == 0 ? 1 : cores;
      SetPixelThreads(threads);
      cv::setNumThreads(static_cast<int>(threads));
      for (size_t i = 0; i < kCount; ++i) {
        const Method &m = kMethods[i];
        double s;
        if (m.id) {
          BitmapInfoHeader hh;
          s = BestSeconds(1, [&] { ours16.Restore(&hh); },
                          [&] { XeInterpolateColor(&hh, ours16.work.data(), kCfaRggb, m.id); });
        } else {
          cv::Mat out;
          try {
            s = BestSeconds(1, [] {}, [&] { cv::cvtColor(only8[i] ? mosaic8 : mosaic16, out, m.cvCode); });
          } catch (const cv::Exception &) {  // 8-bit only
            only8[i] = true;
            s = BestSeconds(1, [] {}, [&] { cv::cvtColor(mosaic8, out, m.cvCode); });
          }
        }
        best[i][t] = std::min(best[i][t], s);
      }
    }
  double meanPsnr[kCount] = {};
  for (size_t i = 0; i < kCount; ++i) {
    const Method &m = kMethods[i];
    double speed[2] = {mp / best[i][0], mp / best[i][1]};
    std::printf("%-16s %9.1f %9.1f", m.name, speed[0], speed[1]);
    double sum = 0;
    SetPixelThreads(0);
    cv::setNumThreads(-1);
    for (const cv::Mat &p : pictures) {
      cv::Mat mosaic = MosaicOf(p), out;
      if (m.id)
        out = Ours(mosaic).Run(m.id);
      else
        cv::cvtColor(mosaic, out, m.cvCode);
      double q = Psnr(out, p);
      sum += q;
      std::printf(" %10.2f", q);
    }
    meanPsnr[i] = pictures.empty() ? 0.0 : sum / pictures.size();
    std::printf(" %8.2f%s\n", meanPsnr[i], only8[i] ? "   (speed on an 8-bit mosaic: 16 bits not supported)" : "");
  }

  // Summary lines for bench/run.sh: "RESULT name ours peer unit goal". The
  // fast id against OpenCV's bilinear conversion on all threads (the same
  // quality class), and the best id's quality against OpenCV's best.
  auto index = [](const char *name) {
    return static_cast<size_t>(std::find_if(std::begin(kMethods), std::end(kMethods),
                                            [&](const Method &m) { return std::strcmp(m.name, name) == 0; }) -
                               std::begin(kMethods));
  };
  const size_t fast = index("Fast (2)"), bilinear = index("OpenCV bilinear"), bestId = index("Best (4)");
  std::printf("\nRESULT demosaic_fast_speed %.1f %.1f MP/s >=1.0\n", mp / best[fast][1], mp / best[bilinear][1]);
  double peerPsnr = 0;
  for (size_t i = 0; i < kCount; ++i)
    if (!kMethods[i].id) peerPsnr = std::max(peerPsnr, meanPsnr[i]);
  if (!pictures.empty())
    std::printf("RESULT demosaic_best_psnr %.2f %.2f dB >=1.0\n", meanPsnr[bestId], peerPsnr);
  return 0;
}
