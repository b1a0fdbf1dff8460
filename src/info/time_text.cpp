#include "info/time_text.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cinefile/image_time.h"
#include "companions/con/status.h"
#include "companions/int/time_print.h"
#include "frame/cine.h"

namespace xe {
namespace {

// Option bits of XePrintTime.
constexpr uint32_t kFormatGiven = 0xF000;  // the low byte is the time format
constexpr uint32_t kPartMask = 0x0F00;     // which part of the stamp (formats 0 and 1)
constexpr uint32_t kFormatMask = 0x00FF;
constexpr uint32_t kFormatTimecode = 2;

// A whole number that is already rounded, limited to the int32 range; a NaN
// gives 0.
int32_t ToInt32(double v) {
  if (std::isnan(v)) return 0;
  if (v <= -2147483648.0) return INT32_MIN;
  if (v >= 2147483647.0) return INT32_MAX;
  return static_cast<int32_t>(v);
}

bool IsPeriodUnit(uint32_t mode) { return mode == kShutterPercent || mode == kShutterDegrees; }

// The stamp as text, whole or the one part that the part bits ask for.
int32_t PrintStamp(Cine *c, const Time64 &t, uint32_t format, uint32_t part, char *out) {
  const Setup *setup = &c->H.Setup;
  switch (part) {
    case 0x000: return intl::XefPrintTime64(out, &t, format, setup);
    case 0x100: return intl::XefPrintTime64Sep(out, nullptr, nullptr, nullptr, &t, format, setup);
    case 0x200: return intl::XefPrintTime64Sep(nullptr, out, nullptr, nullptr, &t, format, setup);
    case 0x300: return intl::XefPrintTime64Sep(nullptr, nullptr, out, nullptr, &t, format, setup);
    case 0x400: return intl::XefPrintTime64Sep(nullptr, nullptr, nullptr, out, &t, format, setup);
    default: return XE_OK;  // nothing asked for that exists: the text stays empty
  }
}

// The image's timecode as "HH:MM:SS:FF TC", each digit from its BCD field.
int32_t PrintTimecode(Cine *c, uint32_t imageNo, char *out) {
  TC tc{};
  int32_t r = XeGetCineAuxData(c, static_cast<int32_t>(imageNo), XE_TAG_TIMECODE, sizeof tc, &tc);
  if (r < 0) return r;
  int n = std::snprintf(out, intl::kTimeTextSize, "%1d%1d:%1d%1d:%1d%1d:%1d%1d", (tc.hours >> 4) & 3,
                        tc.hours & 15, (tc.minutes >> 4) & 7, tc.minutes & 15,
                        (tc.seconds >> 4) & 7, tc.seconds & 15, (tc.frames >> 4) & 3,
                        tc.frames & 15);
  std::snprintf(out + n, intl::kTimeTextSize - static_cast<uint32_t>(n), " TC");
  return XE_OK;
}

}  // namespace

int32_t DotMicrosecFromText(const char *text) {
  if (!text) return 0;
  char buffer[kDotTextMaxRead + 1];
  std::strncpy(buffer, text, kDotTextMaxRead);
  buffer[kDotTextMaxRead] = '\0';
  double v = std::strtod(buffer, nullptr) * 1000.0;
  return ToInt32(std::trunc(v > 0 ? v + 0.5 : v - 0.5));
}

int32_t UsDegPerFromText(const char *text, int32_t periodNs, uint32_t mode) {
  int32_t value = DotMicrosecFromText(text);
  return IsPeriodUnit(mode) ? XefFromNsDegPerToNs(value, periodNs, mode) : value;
}

int32_t PrintDotMicrosec(int32_t value, char *out) { return XefPrintDot3Us(value, out); }

int32_t PrintUsDegPer(int32_t value, int32_t periodNs, uint32_t mode, char *out) {
  if (IsPeriodUnit(mode)) value = XefFromNsToNsDegPer(value, periodNs, mode);
  return XefPrintDot3Us(value, out);
}

}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XePrintTime(CineHandle cine, uint32_t imageNo, uint32_t options, char *out) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (!cine || !out) return status = XE_ERR_NULL_ARGUMENT;
  out[0] = '\0';
  Time64 t{};
  if (!CineImageTime(cine, static_cast<int32_t>(imageNo), &t)) return status;
  uint32_t format = (options & kFormatGiven) ? (options & kFormatMask) : XefCineUT(cine);
  if (format < kFormatTimecode) {
    Merge(status, PrintStamp(cine, t, format, options & kPartMask, out));
  } else if (format == kFormatTimecode) {
    Merge(status, PrintTimecode(cine, imageNo, out));
  }
  return status;
}

XEFILE_API int32_t XefPrintDot3Us(int32_t value, char *out) {
  if (!out) return 0;
  const int32_t whole = value / 1000;  // toward zero
  int n = std::snprintf(out, kDotTextSize, "%d", whole);
  if (value % 1000 == 0) return n;
  // The rest keeps the sign of the value: a negative value shows its minus
  // sign in both parts ("-1.-5" for -1500).
  const int32_t rest = value - 1000 * whole;
  char *tail = out + n;
  const size_t room = kDotTextSize - static_cast<size_t>(n);
  if (value % 100 == 0) return std::snprintf(tail, room, ".%01d", rest / 100);
  if (value % 10 == 0) return std::snprintf(tail, room, ".%02d", rest / 10);
  return std::snprintf(tail, room, ".%03d", rest);
}

XEFILE_API int32_t XefFromNsToNsDegPer(int32_t value, int32_t periodNs, uint32_t mode) {
  // Without a period there is nothing to be a part of: the value stays.
  if (!IsPeriodUnit(mode) || periodNs == 0) return value;
  double full = mode == kShutterPercent ? 100.0 * 1000.0 : 360.0 * 1000.0;
  // Adding 0.5 rounds negative values toward zero; that is the dialogs' rule.
  return ToInt32(std::trunc(value * full / periodNs + 0.5));
}

XEFILE_API int32_t XefFromNsDegPerToNs(int32_t value, int32_t periodNs, uint32_t mode) {
  if (!IsPeriodUnit(mode)) return value;
  double full = mode == kShutterPercent ? 100000.0 : 360000.0;
  return ToInt32(std::trunc(static_cast<double>(value) * periodNs / full + 0.5));
}

}  // extern "C"
