// Image times from the time blocks and computed from the trigger, the time
// from the trigger, and the rebuild of the timecode block.
#include <cmath>
#include <cstring>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "cinefile/timecode.h"

using namespace fixture;
using cinetest::Opened;

namespace {

constexpr uint32_t kTrigger = 1790000000;

// Images -2 to 1 stored of a recording -10 to 89 at 100 images a second,
// triggered at kTrigger + 0.5 s.
CineBuilder Recording() {
  CineBuilder b;
  b.Range(-10, 100, -2, 4).TriggerTime(0x80000003, kTrigger);
  b.setup().SetU32(setup::kFrameRate, 100);
  return b;
}

// Times of the stored images: seconds 5000 + i, no flag bits.
Bytes StoredTimes() {
  Payload p;
  for (uint32_t i = 0; i < 4; ++i) p.Time(0x100, 5000 + i);
  return p;
}

TEST(ImageTime, TimeBlockCountsFromTheFirstStoredImage) {
  CineBuilder b = Recording();
  b.AddBlock(1002, StoredTimes());
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Time64 t{};
  EXPECT_EQ(XefCineImageTime(o.cine, -2, &t), 1);
  EXPECT_EQ(cinetest::Fields(t.seconds, t.fractions), cinetest::Fields(5000u, 0x100u));
  EXPECT_EQ(XefCineImageTime(o.cine, 1, &t), 1);
  EXPECT_EQ(t.seconds, 5003u);
  // Below the first stored image, and past the last, the time is computed.
  for (int32_t image : {-8, 2}) {
    EXPECT_EQ(XefCineImageTime(o.cine, image, &t), 1) << image;
    double expected = kTrigger + 0.5 + image / 100.0;
    EXPECT_NEAR(t.seconds + (t.fractions & ~3u) / 4294967296.0, expected, 1e-6) << image;
    EXPECT_EQ(t.fractions & 3u, 3u) << image;
  }
}

TEST(ImageTime, OldTimeBlockInMemoryCountsFromTheFirstImageOfTheRecording) {
  CineBuilder b = Recording();
  b.AddBlock(1002, StoredTimes());
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  // The reader converts TIME_1 on load, so the test makes one in memory.
  uint8_t *block = xe::FirstTaggedBlock(o.cine);
  ASSERT_NE(block, nullptr);
  xe::WriteBlockHeader(block, 8 + 4 * 8, 1001, 0);
  Time64 t{};
  EXPECT_EQ(XefCineImageTime(o.cine, -8, &t), 1);  // entry 2 of the recording
  EXPECT_EQ(t.seconds, 5002u);
  EXPECT_EQ(XefCineImageTime(o.cine, -2, &t), 1);  // entry 8: past the table, computed
  EXPECT_EQ(cinetest::Fields(t.seconds, t.fractions & 3u), cinetest::Fields(kTrigger, 3u));
}

TEST(ImageTime, ExternalSyncWithoutTimeBlockIsNotTrusted) {
  CineBuilder b = Recording();
  b.setup().SetU8(setup::kTrigFrame, 1);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Time64 t{};
  EXPECT_EQ(XefCineImageTime(o.cine, 50, &t), 0);
  EXPECT_EQ(cinetest::Fields(t.seconds, t.fractions), cinetest::Fields(kTrigger + 1, 3u));  // still filled
  double fromTrigger = 7.0;
  EXPECT_EQ(XefTimeFromTrigger(o.cine, 50, &fromTrigger), 0);
  EXPECT_EQ(fromTrigger, 0.0);
  char text[64];
  std::memset(text, 'x', sizeof text);
  EXPECT_EQ(XePrintTime(o.cine, 50, 0xF001, text), 0);
  EXPECT_STREQ(text, "");

  o.cine->H.Setup.TrigFrame = 0;  // the internal clock: trusted
  EXPECT_EQ(XefTimeFromTrigger(o.cine, -25, &fromTrigger), 1);
  EXPECT_NEAR(fromTrigger, -0.25, 1e-9);

  Time64 untouched{1, 2};
  EXPECT_EQ(XefCineImageTime(nullptr, 0, &untouched), 0);
  EXPECT_EQ(XefCineImageTime(o.cine, 0, nullptr), 0);
}

TEST(ImageTime, FrameRateZeroNeitherCrashesNorHangs) {
  CineBuilder b = Recording();
  b.setup().SetU32(setup::kFrameRate, 0);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  Time64 t{};
  EXPECT_EQ(XefCineImageTime(o.cine, 0, &t), 1);  // 0 / 0 adds nothing
  EXPECT_EQ(t.seconds, kTrigger);
  XefCineImageTime(o.cine, 3, &t);  // saturates at the end of the scale
  double s = 0;
  XefTimeFromTrigger(o.cine, -3, &s);
  EXPECT_FALSE(std::isnan(s));
  char text[64];
  EXPECT_EQ(XePrintTime(o.cine, 3, 0xF001, text), 0);
  EXPECT_EQ(std::strlen(text), 39u);
  EXPECT_EQ(xe::TCToU64(xe::TCFromTime64(t, 0, 25.0f)), 0u);
}

// TimeCode 10:00:00:27 with flag F6, at 25 frames a second.
void SetTimecode(CineBuilder &b) {
  b.setup().SetU32(setup::kTimeCode, 0x10000067).SetF32(setup::kTCRate, 25.0f);
}

TEST(TimecodeBlock, RebuildCorrectsTheFramesAndRewritesEveryHeldEntry) {
  CineBuilder b = Recording();
  SetTimecode(b);
  // A block of two entries for four images, then an exposure block that the
  // rebuild must leave alone.
  b.AddBlock(1007, Bytes(2 * 8, 0)).AddBlock(1003, U32s({11, 12, 13, 14}));
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(xe::RebuildTimecodeBlock(o.cine), 0);
  EXPECT_EQ(o.cine->H.Setup.TimeCode.frames, 0x40 | 0x02);  // 27 % 25, flag kept
  auto *tc = static_cast<TC *>(XefGetCineTaggedBlock(o.cine, 1007));
  ASSERT_NE(tc, nullptr);
  EXPECT_EQ(xe::TCToU64(tc[0]), 0x10000000u);  // image -2: 10:00:00:00
  EXPECT_EQ(xe::TCToU64(tc[1]), 0x10000001u);
  auto *exposures = static_cast<uint32_t *>(XefGetCineTaggedBlock(o.cine, 1003));
  ASSERT_NE(exposures, nullptr);
  EXPECT_EQ(exposures[0], 11u);
  EXPECT_EQ(exposures[3], 14u);
}

TEST(TimecodeBlock, RebuildRefusesWhenTheBlockIsAbsent) {
  CineBuilder b = Recording();
  SetTimecode(b);
  b.AddBlock(1002, StoredTimes());
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  uint32_t tagged = xe::TaggedAreaSize(o.cine);
  std::vector<uint8_t> before(xe::CineTail(o.cine), xe::CineTail(o.cine) + tagged);
  EXPECT_EQ(xe::RebuildTimecodeBlock(o.cine), XE_ERR_AUX_TAG_ABSENT);
  EXPECT_EQ(xe::TaggedAreaSize(o.cine), tagged);
  EXPECT_EQ(std::memcmp(before.data(), xe::CineTail(o.cine), tagged), 0);

  // The frame digits were put right all the same (27 at 25 fps reads 02), and
  // without the block a timecode is computed from TimeCode.
  EXPECT_EQ(o.cine->H.Setup.TimeCode.frames, 0x42);
  char text[64];
  EXPECT_EQ(XePrintTime(o.cine, 26, 0xF002, text), 0);
  EXPECT_STREQ(text, "10:00:01:03 TC");
}

}  // namespace
