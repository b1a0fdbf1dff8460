// Timecode arithmetic: whole-number rates, no drop frames, hours that do not
// wrap on adding and a day that wraps on subtracting.
#include <gtest/gtest.h>

#include <tuple>

#include "cinefile/timecode.h"
#include "xefile/xefile.h"

namespace {

using namespace xe;

TC Make(uint8_t h, uint8_t m, uint8_t s, uint8_t f) {
  TC tc{};
  tc.hours = static_cast<uint8_t>(((h / 10) << 4) | (h % 10));
  tc.minutes = static_cast<uint8_t>(((m / 10) << 4) | (m % 10));
  tc.seconds = static_cast<uint8_t>(((s / 10) << 4) | (s % 10));
  tc.frames = static_cast<uint8_t>(((f / 10) << 4) | (f % 10));
  return tc;
}

void ExpectTC(const TC &tc, uint32_t h, uint32_t m, uint32_t s, uint32_t f) {
  TCU u{};
  UnpackTC(tc, &u);
  EXPECT_EQ(std::tuple(u.hours, u.minutes, u.seconds, u.frames), std::tuple(h, m, s, f));
}

TEST(Timecode, AddingRunsPastMidnightWithoutWrapping) {
  ExpectTC(TCAddFrames(Make(23, 59, 59, 24), 1, 25.0f), 24, 0, 0, 0);
  ExpectTC(TCAddFrames(Make(23, 59, 59, 0), 50, 25.0f), 24, 0, 1, 0);
}

TEST(Timecode, SubtractingWrapsBackThroughOneDay) {
  ExpectTC(TCSubFrames(Make(0, 0, 0, 0), 1, 25.0f), 23, 59, 59, 24);
  ExpectTC(TCSubFrames(Make(1, 0, 0, 0), 25 * 3600, 25.0f), 0, 0, 0, 0);
}

TEST(Timecode, RatesCountAsWholeNumbersWithoutDropFrames) {
  ExpectTC(TCAddFrames(Make(0, 0, 59, 29), 1, 29.97f), 0, 1, 0, 0);
  ExpectTC(TCAddFrames(Make(0, 9, 59, 29), 2, 29.97f), 0, 10, 0, 1);  // no frames skipped
  TC zero{};
  EXPECT_EQ(TCToU64(TCAddFrames(Make(5, 5, 5, 5), 7, 0.4f)), TCToU64(zero));
  EXPECT_EQ(TCToU64(TCSubFrames(Make(5, 5, 5, 5), 7, 0.4f)), TCToU64(zero));
}

TEST(Timecode, FlagsAndUserBitsAreCarriedByPackingButLostByArithmetic) {
  TCU u{12, 34, 56, 21, 1, 0, 1, 1, 0, 1, 0xDEADBEEF};
  TC tc = PackTC(u);
  EXPECT_EQ(tc.frames, 0x40 | 0x12);  // frames 12 and flag F6
  TCU back{};
  UnpackTC(tc, &back);
  EXPECT_EQ(std::tuple(back.frames, back.TCFlagF6, back.TCFlagS7, back.TCFlagH7, back.TCUserBits),
            std::tuple(12u, 1u, 1u, 1u, 0xDEADBEEFu));
  TC moved = TCAddFrames(tc, 0, 25.0f);
  EXPECT_EQ(moved.TCUserBits, 0u);
}

TEST(Timecode, ImageOffsetsAroundAReferenceImage) {
  TC base = Make(10, 0, 0, 0);
  ExpectTC(TCFromImageOffset(-1, 25.0f, base, 0), 9, 59, 59, 24);
  ExpectTC(TCFromImageOffset(26, 25.0f, base, 1), 10, 0, 1, 0);
}

TEST(Timecode, NumbersAreLimitedToOneDay) {
  EXPECT_EQ(XefGetTCFromHMSF(25, 61, 61, 99, 25.0f), TCToU64(Make(23, 59, 59, 24)));
  // Below half a frame a second the frames have no limit.
  EXPECT_EQ(XefGetTCFromHMSF(0, 0, 0, 99, 0.4f), 0x99u);
}

TEST(Timecode, UnpackedFormsShareTheirRecord) {
  TCU u{24, 59, 59, 23, 1, 1, 1, 1, 1, 1, 0xABCD};
  EXPECT_EQ(XefTCUAddFrames(&u, &u, 1, 25.0f, 0), &u);
  EXPECT_EQ(u.hours * 1000000 + u.minutes * 10000 + u.seconds * 100 + u.frames, 24000000u);
  XefTCUSubFrames(&u, &u, 1, 25.0f, 0);
  EXPECT_EQ(u.hours * 1000000 + u.minutes * 10000 + u.seconds * 100 + u.frames, 23595924u);
  EXPECT_EQ(XefTCUAddFrames(nullptr, &u, 1, 25.0f, 0), nullptr);
}

TEST(Timecode, FromTheTimeOfDayOfAStamp) {
  Time64 t{0x80000003, 1790000000};  // 14:13:20.5 UTC
  ExpectTC(TCFromTime64(t, 25, 25.0f), 14, 13, 20, 12);
  // Counted at the recording's rate, encoded at the timecode's: 28:26:41 of
  // frames, less the whole day that the count drops.
  ExpectTC(TCFromTime64(t, 50, 25.0f), 4, 26, 41, 0);
  // Just past 7/25 s only with the flag bits: they are no part of the fraction.
  t.fractions = 0x47AE147B;
  ExpectTC(TCFromTime64(t, 25, 25.0f), 14, 13, 20, 6);
}

}  // namespace
