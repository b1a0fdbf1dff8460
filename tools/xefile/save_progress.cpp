#include "save_progress.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>

#include "tool.h"

namespace xetool {
namespace {

using Clock = std::chrono::steady_clock;

// The state of the one save a run of the tool makes. The callback runs on
// the save's thread; the flag is set from the signal handler.
volatile std::sig_atomic_t g_interrupted = 0;
std::atomic<uint32_t> g_done{0};
uint32_t g_total = 0;
bool g_tty = false;
bool g_drawn = false;
Clock::time_point g_start, g_lastDraw;
struct sigaction g_previous {};

void OnInterrupt(int) { g_interrupted = 1; }

double SecondsSince(Clock::time_point t) {
  return std::chrono::duration<double>(Clock::now() - t).count();
}

void Draw(uint32_t done, bool force) {
  if (!g_tty) return;
  const auto now = Clock::now();
  if (!force && g_drawn && now - g_lastDraw < std::chrono::milliseconds(100)) return;
  g_lastDraw = now;
  g_drawn = true;
  constexpr int kWidth = 30;
  const double fraction = g_total ? static_cast<double>(done) / g_total : 1.0;
  const int filled = static_cast<int>(fraction * kWidth);
  char bar[kWidth + 1];
  for (int i = 0; i < kWidth; ++i) bar[i] = i < filled ? '#' : '.';
  bar[kWidth] = '\0';
  const double elapsed = SecondsSince(g_start);
  const double rate = elapsed > 0 ? done / elapsed : 0;
  char left[32] = "--:--";
  if (rate > 0) {
    const long s = static_cast<long>((g_total - done) / rate + 0.5);
    std::snprintf(left, sizeof left, "%ld:%02ld", s / 60, s % 60);
  }
  std::fprintf(stderr, "\r%3d%% [%s] %u/%u images  %.1f images/s  %s left\033[K",
               static_cast<int>(fraction * 100), bar, done, g_total, rate, left);
  std::fflush(stderr);
}

int32_t OnProgress(uint32_t percent, CineHandle) {
  if (percent >= 100) return 1;  // the end of the job
  if (g_interrupted) return 0;
  // Each report comes before the next group of images is written.
  const uint32_t started = g_done.fetch_add(1) + 1;
  Draw(started - 1, false);
  return 1;
}

}  // namespace

SaveProgress::SaveProgress(uint32_t totalImages) {
  g_interrupted = 0;
  g_done = 0;
  g_total = totalImages;
  g_tty = isatty(STDERR_FILENO) != 0 && !Quiet();
  g_drawn = false;
  g_start = g_lastDraw = Clock::now();
  struct sigaction sa {};
  sa.sa_handler = OnInterrupt;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = SA_RESTART | SA_RESETHAND;
  sigaction(SIGINT, &sa, &g_previous);
}

SaveProgress::~SaveProgress() { sigaction(SIGINT, &g_previous, nullptr); }

pfnCallback SaveProgress::Callback() { return OnProgress; }

bool SaveProgress::Interrupted() const { return g_interrupted != 0; }

uint32_t SaveProgress::ImagesDone() const { return g_done.load(); }

double SaveProgress::Elapsed() const { return SecondsSince(g_start); }

void SaveProgress::Finish() {
  if (!g_tty || !g_drawn) return;
  if (!Interrupted()) Draw(g_done.load(), true);
  std::fputc('\n', stderr);
}

}  // namespace xetool
