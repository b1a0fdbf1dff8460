#include "cinefile/timecode.h"

#include <cmath>
#include <cstring>

#include "cinefile/tagged_blocks.h"
#include "frame/cine.h"
#include "xefile/xefile_status.h"

namespace xe {
namespace {

uint32_t Bcd(uint8_t byte, uint8_t tensMask) {
  return static_cast<uint32_t>((byte >> 4) & tensMask) * 10u + (byte & 0x0Fu);
}

uint8_t ToBcd(uint32_t value, uint8_t tensMask) {
  return static_cast<uint8_t>((((value / 10) & tensMask) << 4) | (value % 10));
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

// The timecode `offset` frames after (or, negative, before) `base`.
TC TCAtOffset(const TC &base, int64_t offset, float fps) {
  return offset < 0 ? TCSubFrames(base, static_cast<uint64_t>(-offset), fps)
                    : TCAddFrames(base, static_cast<uint64_t>(offset), fps);
}

// Tens * 16 + units in one byte, the tens not limited to their bits.
uint8_t PlainBcd(uint32_t value) {
  return static_cast<uint8_t>(((value / 10) * 16 + value % 10) & 0xFFu);
}

}  // namespace

uint32_t FramesPerSecond(float fps) {
  double v = static_cast<double>(fps) + 0.5;
  if (!(v >= 0.0) || v >= 4294967296.0) return 0;
  return static_cast<uint32_t>(v);
}

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
  return TCAtOffset(base, static_cast<int64_t>(imageNo) - referenceImage, fps);
}

TC InitialTimecodeOfOldFile(int32_t firstImageNo, float tcRate) {
  TC start{};
  start.hours = 0x01;
  if (firstImageNo < 0) return TCAddFrames(start, static_cast<uint64_t>(-static_cast<int64_t>(firstImageNo)), tcRate);
  return TCSubFrames(start, static_cast<uint64_t>(firstImageNo), tcRate);
}

TC TCFromHMSF(uint32_t hours, uint32_t minutes, uint32_t seconds, uint32_t frames, float fps) {
  // Below half a frame a second the limit is all ones: frames stay as given.
  uint32_t maxFrame = FramesPerSecond(fps) - 1u;
  TC tc{};
  tc.hours = PlainBcd(hours > 23 ? 23 : hours);
  tc.minutes = PlainBcd(minutes > 59 ? 59 : minutes);
  tc.seconds = PlainBcd(seconds > 59 ? 59 : seconds);
  tc.frames = PlainBcd(frames > maxFrame ? maxFrame : frames);
  return tc;
}

TC TCFromTime64(const Time64 &t, uint32_t rate, float fps) {
  // Seconds since 1970 in UTC have no leap seconds: the time of day is the
  // remainder of a day.
  uint64_t secondOfDay = t.seconds % 86400u;
  double part = std::trunc(static_cast<double>(t.fractions & 0xFFFFFFFCu) / 4294967296.0 * rate);
  uint64_t count = secondOfDay * rate + static_cast<uint64_t>(part);  // part < rate
  return TCAddFrames(TC{}, count, fps);
}

int32_t RebuildTimecodeBlock(Cine *c) {
  Setup &s = c->H.Setup;
  uint32_t d = Bcd(s.TimeCode.frames, 3);
  if (static_cast<float>(d) >= s.TCRate) {
    uint32_t n = FramesPerSecond(s.TCRate);
    d = n ? d % n : 0;  // no whole frame a second: frame 0
    s.TimeCode.frames = static_cast<uint8_t>((s.TimeCode.frames & 0xC0u) | ToBcd(d, 3));
  }

  uint8_t *block = nullptr;
  if (!FindTaggedBlock(c, XE_TAG_TIMECODE, &block) || !block) return XE_ERR_AUX_TAG_ABSENT;
  // Whole entries within BlockSize and the bytes the record holds.
  uint64_t entries = HeldDataBytes(c, block) / sizeof(TC);
  if (entries > c->H.Header.ImageCount) entries = c->H.Header.ImageCount;
  const int32_t first = c->H.Header.FirstImageNo;
  for (uint64_t i = 0; i < entries; ++i) {
    TC tc = TCAtOffset(s.TimeCode, static_cast<int64_t>(first) + static_cast<int64_t>(i), s.TCRate);
    std::memcpy(block + kBlockHeaderSize + i * sizeof(TC), &tc, sizeof tc);
  }
  return XE_OK;
}

}  // namespace xe
