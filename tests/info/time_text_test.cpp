// Times as text: the stamp layout in UTC and local time, the parts that
// XePrintTime picks, thousandths as decimals and the shutter units.
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "cinefile/cine_test_support.h"
#include "companions/int/time_print.h"
#include "info/time_text.h"

using namespace fixture;
using namespace xe::intl;
using cinetest::Opened;

namespace {

constexpr Time64 kStamp{0x80000003, 1790000000};  // Mon Sep 21 2026 14:13:20.5 UTC

void UseZone(const char *tz) {
  setenv("TZ", tz, 1);
  tzset();
}

// The whole layout and each of its parts are compared through XePrintTime below.
TEST(TimeText, StampLayoutInUtc) {
  char text[64];
  // The fraction loses its flag bits and is rounded down to the nanosecond.
  Time64 t{0xFFFFFFFF, 0};
  ASSERT_EQ(XefPrintTime64(text, &t, 1, nullptr), 0);
  EXPECT_STREQ(text, "Thu Jan 01 1970 00:00:00.999 999.999 us");
  t.fractions = 0x4ADE;  // 4461.98 ns once the flag bits are cleared
  ASSERT_EQ(XefPrintTime64(text, &t, 1, nullptr), 0);
  EXPECT_STREQ(text + 24, ".000 004.461 us");

  ASSERT_EQ(XefPrintTime(text, kStamp.seconds, 1, nullptr), 0);
  EXPECT_STREQ(text, "Mon Sep 21 2026 14:13:20");
  EXPECT_EQ(XefPrintTime64(nullptr, &kStamp, 1, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefPrintTime64Sep(text, text, text, text, nullptr, 1, nullptr), XE_ERR_NULL_ARGUMENT);
}

TEST(TimeText, LocalTimeFollowsThePlatformZone) {
  UseZone("CET-1");
  EXPECT_EQ(XefGetTimeZoneDiffUT(kStamp.seconds), -3600);
  char text[64], zone[64];
  ASSERT_EQ(XefPrintTime64(text, &kStamp, 0, nullptr), 0);
  EXPECT_STREQ(text, "Mon Sep 21 2026 15:13:20.500 000.000 us");
  ASSERT_EQ(XefPrintTime64Sep(nullptr, nullptr, nullptr, zone, &kStamp, 0, nullptr), 0);
  EXPECT_STREQ(zone, "+01:00");
}

TEST(PrintTime, OptionBitsChooseTheFormatAndThePart) {
  CineBuilder b;
  b.Images(0, 3).TriggerTime(kStamp.fractions, kStamp.seconds);
  b.setup().SetU32(setup::kFrameRate, 100);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  auto print = [&](uint32_t options) {
    char text[64];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(XePrintTime(o.cine, 0, options, text), 0) << std::hex << options;
    return std::string(text);
  };
  EXPECT_EQ(print(0xF001), "Mon Sep 21 2026 14:13:20.500 000.000 us");
  EXPECT_EQ(print(0x8201), "14:13:20");
  EXPECT_EQ(print(0xF301), "500 000.000");
  EXPECT_EQ(print(0xF401), "UTC");
  EXPECT_EQ(print(0xF501), "");  // no such part
  EXPECT_EQ(print(0xF003), "");  // no such format

  // Without the override bits the cine's own format counts.
  uint32_t *format = nullptr;
  ASSERT_EQ(XeGetCineInfo(o.cine, CIS_PtrTimeFormat, &format), 0);
  *format = 2;
  EXPECT_EQ(print(0x0200), "00:00:00:00 TC");  // the part does not apply to timecode
  char text[64];
  EXPECT_EQ(XePrintTime(nullptr, 0, 0, text), XE_ERR_NULL_ARGUMENT);
}

TEST(DotDecimal, ThousandthsAsTheShortestDecimal) {
  struct Case {
    int32_t value;
    const char *text;
    int32_t lastPiece;
  };
  for (const Case &c : {Case{1000, "1", 1}, Case{1025, "1.025", 4}, Case{-1025, "-1.-25", 4},
                        Case{INT32_MIN, "-2147483.-648", 5}}) {
    char text[16];
    EXPECT_EQ(XefPrintDot3Us(c.value, text), c.lastPiece) << c.value;
    EXPECT_STREQ(text, c.text) << c.value;
  }
  EXPECT_EQ(XefPrintDot3Us(1500, nullptr), 0);
}

TEST(ShutterUnits, PercentAndDegreesOfTheFramePeriod) {
  const int32_t period = 1000000;  // 1000 images a second
  EXPECT_EQ(XefFromNsToNsDegPer(500000, period, 1), 50000);
  EXPECT_EQ(XefFromNsToNsDegPer(500000, period, 2), 180000);
  EXPECT_EQ(XefFromNsDegPerToNs(50000, period, 1), 500000);
  // Adding 0.5 rounds a negative value toward zero: -1.6 becomes -1.
  EXPECT_EQ(XefFromNsDegPerToNs(-160, 1000, 1), -1);
  // No period, and results beyond 32 bits.
  EXPECT_EQ(XefFromNsToNsDegPer(500, 0, 2), 500);
  EXPECT_EQ(XefFromNsToNsDegPer(INT32_MAX, 1, 2), INT32_MAX);
  EXPECT_EQ(xe::UsDegPerFromText("180", period, 2), 500000);
}

TEST(ShutterUnits, TextIsReadAsThousandthsRoundedHalfAwayFromZero) {
  EXPECT_EQ(xe::DotMicrosecFromText(" 2.0004us"), 2000);
  EXPECT_EQ(xe::DotMicrosecFromText("-0.0005"), -1);
  EXPECT_EQ(xe::DotMicrosecFromText(nullptr), 0);
  EXPECT_EQ(xe::DotMicrosecFromText("-1e30"), INT32_MIN);
  // Only the first 100 characters count.
  EXPECT_EQ(xe::DotMicrosecFromText((std::string(100, '0') + "5").c_str()), 0);
  EXPECT_EQ(xe::DotMicrosecFromText((std::string(99, '0') + "5").c_str()), 5000);
}

}  // namespace
