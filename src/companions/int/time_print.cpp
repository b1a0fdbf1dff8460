#include "companions/int/time_print.h"

#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <limits>

#include "xefile/xefile_status.h"

namespace xe::intl {
namespace {

constexpr const char *kDays[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char *kMonths[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// The calendar fields of the stamp's second, in UTC or local time. False
// only when the platform cannot convert the time.
bool Calendar(const Time64 &t, uint32_t format, std::tm *out) {
  std::memset(out, 0, sizeof *out);
  time_t when = static_cast<time_t>(t.seconds);
  return (format == 1 ? gmtime_r(&when, out) : localtime_r(&when, out)) != nullptr;
}

// The fraction of the second, flag bits cleared, rounded down to the
// nanosecond: below 10^9.
uint32_t Nanoseconds(const Time64 &t) {
  return static_cast<uint32_t>((static_cast<uint64_t>(t.fractions & 0xFFFFFFFCu) * 1000000000u) >> 32);
}

const char *Name(const char *const *names, int count, int index) {
  return index >= 0 && index < count ? names[index] : "???";
}

void PrintDate(char *out, const std::tm &tm) {
  std::snprintf(out, kTimeTextSize, "%s %s %02d %04d", Name(kDays, 7, tm.tm_wday),
                Name(kMonths, 12, tm.tm_mon), tm.tm_mday, tm.tm_year + 1900);
}

void PrintClock(char *out, const std::tm &tm) {
  std::snprintf(out, kTimeTextSize, "%02d:%02d:%02d", tm.tm_hour, tm.tm_min, tm.tm_sec);
}

void PrintFraction(char *out, uint32_t ns) {
  std::snprintf(out, kTimeTextSize, "%03u %03u.%03u", ns / 1000000u, ns / 1000u % 1000u, ns % 1000u);
}

void PrintZone(char *out, const std::tm &tm, uint32_t format) {
  if (format == 1) {
    std::snprintf(out, kTimeTextSize, "UTC");
    return;
  }
  long offset = tm.tm_gmtoff;  // local minus UTC, seconds east
  char sign = offset < 0 ? '-' : '+';
  long magnitude = offset < 0 ? -offset : offset;
  std::snprintf(out, kTimeTextSize, "%c%02ld:%02ld", sign, magnitude / 3600 % 100,
                magnitude / 60 % 60);
}

}  // namespace

int32_t XefPrintTime64(char *out, const Time64 *t, uint32_t format, const Setup *) {
  if (!out || !t) return XE_ERR_NULL_ARGUMENT;
  std::tm tm;
  if (!Calendar(*t, format, &tm)) {
    out[0] = '\0';
    return XE_ERR_NOT_SUPPORTED;
  }
  char date[kTimeTextSize], clock[kTimeTextSize], fraction[kTimeTextSize];
  PrintDate(date, tm);
  PrintClock(clock, tm);
  uint32_t ns = Nanoseconds(*t);
  PrintFraction(fraction, ns);
  // "mmm uuu.nnn" becomes ".mmm uuu.nnn us" behind the clock. Each part
  // has its fixed width for any calendar time; the copy bounds the whole.
  char text[4 * kTimeTextSize];
  std::snprintf(text, sizeof text, "%s %s.%s us", date, clock, fraction);
  std::snprintf(out, kTimeTextSize, "%.63s", text);
  return XE_OK;
}

int32_t XefPrintTime(char *out, uint32_t seconds, uint32_t format, const Setup *) {
  if (!out) return XE_ERR_NULL_ARGUMENT;
  std::tm tm;
  if (!Calendar(Time64{0, seconds}, format, &tm)) {
    out[0] = '\0';
    return XE_ERR_NOT_SUPPORTED;
  }
  char date[kTimeTextSize], clock[kTimeTextSize];
  PrintDate(date, tm);
  PrintClock(clock, tm);
  std::snprintf(out, kTimeTextSize, "%.15s %.8s", date, clock);
  return XE_OK;
}

int32_t XefPrintTime64Sep(char *p1, char *p2, char *p3, char *p4, const Time64 *t,
                          uint32_t format, const Setup *) {
  if (!t) return XE_ERR_NULL_ARGUMENT;
  std::tm tm;
  if (!Calendar(*t, format, &tm)) {
    for (char *p : {p1, p2, p3, p4})
      if (p) p[0] = '\0';
    return XE_ERR_NOT_SUPPORTED;
  }
  if (p1) PrintDate(p1, tm);
  if (p2) PrintClock(p2, tm);
  if (p3) PrintFraction(p3, Nanoseconds(*t));
  if (p4) PrintZone(p4, tm, format);
  return XE_OK;
}

int32_t XefGetTimeZoneDiffUT(uint32_t seconds) {
  time_t when = static_cast<time_t>(seconds);
  std::tm tm;
  if (!localtime_r(&when, &tm)) return 0;
  // tm_gmtoff is seconds east of UTC; real zones lie within a day of it.
  return static_cast<int32_t>(-tm.tm_gmtoff);
}

uint32_t XefTime_tToUINT32(time_t t) {
  if (t < 0) return 0;
  if (static_cast<unsigned long long>(t) > std::numeric_limits<uint32_t>::max())
    return std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(t);
}

}  // namespace xe::intl
