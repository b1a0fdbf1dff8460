#include "info/timecode.h"

#include <cstring>

namespace xe {
namespace {

uint32_t Bcd(uint8_t byte, uint8_t tensMask) {
  return static_cast<uint32_t>((byte >> 4) & tensMask) * 10u + (byte & 0x0Fu);
}

uint8_t ToBcd(uint32_t value, uint8_t tensMask) {
  return static_cast<uint8_t>((((value / 10) & tensMask) << 4) | (value % 10));
}

// trunc(fps + 0.5) as an unsigned frame count per second; 0 for rates that
// give no whole frame or that cannot be one.
uint32_t FramesPerSecond(float fps) {
  double v = static_cast<double>(fps) + 0.5;
  if (!(v >= 0.0) || v >= 4294967296.0) return 0;
  return static_cast<uint32_t>(v);
}

TC Arith(const TC &in, uint64_t frames, float fps, bool subtract) {
  TC out{};
  uint32_t n = FramesPerSecond(fps);
  if (n == 0) return out;
  uint32_t total = Bcd(in.frames, 3) +
                   n * (Bcd(in.seconds, 7) + 60u * (Bcd(in.minutes, 7) + 60u * Bcd(in.hours, 3)));
  uint32_t day = n * 86400u;  // wraps for absurd rates, as counted in 32 bits
  uint32_t delta = day ? static_cast<uint32_t>(frames % day) : static_cast<uint32_t>(frames);
  if (subtract) {
    if (delta > total) total += day;
    total -= delta;
  } else {
    total += delta;
  }
  uint32_t f = total % n;
  uint32_t s = (total - f) / n;
  uint32_t sec = s % 60;
  uint32_t m = (s - sec) / 60;
  uint32_t min = m % 60;
  uint32_t hours = (m - min) / 60;
  out.frames = ToBcd(f, 3);
  out.seconds = ToBcd(sec, 7);
  out.minutes = ToBcd(min, 7);
  out.hours = ToBcd(hours, 3);
  return out;
}

}  // namespace

void UnpackTC(const TC &tc, TCU *out) {
  out->frames = Bcd(tc.frames, 3);
  out->seconds = Bcd(tc.seconds, 7);
  out->minutes = Bcd(tc.minutes, 7);
  out->hours = Bcd(tc.hours, 3);
  out->TCFlagF6 = (tc.frames >> 6) & 1u;
  out->TCFlagF7 = (tc.frames >> 7) & 1u;
  out->TCFlagS7 = (tc.seconds >> 7) & 1u;
  out->TCFlagM7 = (tc.minutes >> 7) & 1u;
  out->TCFlagH6 = (tc.hours >> 6) & 1u;
  out->TCFlagH7 = (tc.hours >> 7) & 1u;
  out->TCUserBits = tc.TCUserBits;
}

TC PackTC(const TCU &u) {
  TC tc{};
  tc.frames = static_cast<uint8_t>(ToBcd(u.frames, 3) | (u.TCFlagF6 ? 0x40 : 0) |
                                   (u.TCFlagF7 ? 0x80 : 0));
  tc.seconds = static_cast<uint8_t>(ToBcd(u.seconds, 7) | (u.TCFlagS7 ? 0x80 : 0));
  tc.minutes = static_cast<uint8_t>(ToBcd(u.minutes, 7) | (u.TCFlagM7 ? 0x80 : 0));
  tc.hours = static_cast<uint8_t>(ToBcd(u.hours, 3) | (u.TCFlagH6 ? 0x40 : 0) |
                                  (u.TCFlagH7 ? 0x80 : 0));
  tc.TCUserBits = u.TCUserBits;
  return tc;
}

uint64_t TCToU64(const TC &tc) {
  uint64_t v;
  std::memcpy(&v, &tc, sizeof v);
  return v;
}

TC U64ToTC(uint64_t v) {
  TC tc;
  std::memcpy(&tc, &v, sizeof tc);
  return tc;
}

TC TCAddFrames(const TC &in, uint64_t frames, float fps) { return Arith(in, frames, fps, false); }
TC TCSubFrames(const TC &in, uint64_t frames, float fps) { return Arith(in, frames, fps, true); }

TC TCFromImageOffset(int32_t imageNo, float fps, const TC &base, int32_t referenceImage) {
  int64_t d = static_cast<int64_t>(imageNo) - referenceImage;
  return d < 0 ? TCSubFrames(base, static_cast<uint64_t>(-d), fps)
               : TCAddFrames(base, static_cast<uint64_t>(d), fps);
}

TC InitialTimecodeOfOldFile(int32_t firstImageNo, float tcRate) {
  TC start{};
  start.hours = 0x01;
  if (firstImageNo < 0) return TCAddFrames(start, static_cast<uint64_t>(-static_cast<int64_t>(firstImageNo)), tcRate);
  return TCSubFrames(start, static_cast<uint64_t>(firstImageNo), tcRate);
}

}  // namespace xe
