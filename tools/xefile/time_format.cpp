// Times, exposures and timecodes of images as text.
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "tool.h"

namespace xetool {
namespace {

constexpr double kTwoTo32 = 4294967296.0;
constexpr uint32_t kFlagBits = 3u;

}  // namespace

std::string IsoTime(const Time64 &t, bool utc) {
  // Nanoseconds of the fraction, rounded; a carry goes to the seconds.
  uint64_t ns = ((uint64_t{t.fractions & ~kFlagBits} * 1000000000ull) + (1ull << 31)) >> 32;
  time_t seconds = static_cast<time_t>(t.seconds);
  if (ns >= 1000000000ull) {
    ns -= 1000000000ull;
    ++seconds;
  }
  struct tm tm {};
  if (!(utc ? gmtime_r(&seconds, &tm) : localtime_r(&seconds, &tm))) return "?";
  char date[32];
  std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &tm);
  char zone[48] = "Z";
  if (!utc) {
    const long off = tm.tm_gmtoff;
    std::snprintf(zone, sizeof zone, "%c%02ld:%02ld", off < 0 ? '-' : '+', std::labs(off) / 3600,
                  std::labs(off) / 60 % 60);
  }
  char text[128];
  std::snprintf(text, sizeof text, "%s.%09llu%s", date, static_cast<unsigned long long>(ns), zone);
  return text;
}

double SecondsBetween(const Time64 &a, const Time64 &b) {
  const auto units = [](const Time64 &t) {
    return static_cast<int64_t>(uint64_t{t.seconds} << 32 | (t.fractions & ~kFlagBits));
  };
  return static_cast<double>(units(b) - units(a)) / kTwoTo32;
}

double ExposureMicroseconds(uint32_t units) { return static_cast<double>(units) * 1e6 / kTwoTo32; }

std::string TimecodeText(const TC &tc) {
  char text[16];
  std::snprintf(text, sizeof text, "%d%d:%d%d:%d%d:%d%d", (tc.hours >> 4) & 3, tc.hours & 15,
                (tc.minutes >> 4) & 7, tc.minutes & 15, (tc.seconds >> 4) & 7, tc.seconds & 15,
                (tc.frames >> 4) & 3, tc.frames & 15);
  return text;
}

std::string ImageTimecode(CineHandle cine, int32_t image) {
  TC tc{};
  if (XeGetCineAuxData(cine, image, XE_TAG_TIMECODE, sizeof tc, &tc) != XE_OK) return "";
  return TimecodeText(tc);
}

}  // namespace xetool
