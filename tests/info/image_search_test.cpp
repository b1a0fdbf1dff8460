// The event search: conditions in both directions, the ends of the walk, the
// progress and its stop, and the answers to bad arguments.
#include <vector>

#include "cinefile/cine_test_support.h"

using namespace fixture;
using cinetest::Opened;

namespace {

constexpr int32_t kFirst = -4;

// Ten images -4 to 5 with stored times; the event bit is set on the images
// listed (a time stamp of a free-running clock: bit 0 set everywhere).
Bytes Recording(const std::vector<int32_t> &events, uint8_t trigFrame = 0) {
  CineBuilder b;
  b.Images(kFirst, 10);
  b.setup().SetU32(setup::kFrameRate, 1000).SetU8(setup::kTrigFrame, trigFrame);
  Payload times;
  for (int32_t n = kFirst; n < kFirst + 10; ++n) {
    bool event = false;
    for (int32_t e : events) event |= e == n;
    times.Time(static_cast<uint32_t>(n + 10) << 20 | 1u | (event ? 2u : 0u), 1700000000);
  }
  b.AddBlock(1002, times);
  return b.Build();
}

struct Search {
  int32_t status = 0;
  int32_t found = 0;
};

Search SearchFrom(CineHandle c, int32_t from, uint32_t direction, uint32_t condition,
           XeSearchProgress progress = nullptr) {
  c->ImageRangeFirst = from;
  Search s;
  s.found = 12345;
  s.status = XefCineImageSearch(c, direction, 0, &condition, sizeof condition, &s.found, progress);
  return s;
}

std::vector<int32_t> g_reported;
int32_t g_stopAfter = 0;
int32_t Progress(int32_t image, uint32_t reserved, CineHandle) {
  EXPECT_EQ(reserved, 0u);
  g_reported.push_back(image);
  return static_cast<int32_t>(g_reported.size()) < g_stopAfter;
}

TEST(ImageSearch, ConditionsDirectionsAndTheEndsOfTheWalk) {
  const std::vector<int32_t> burst = {-1, 0, 1}, allButLast = {-4, -3, -2, -1, 0, 1, 2, 3, 4};
  struct Case {
    const char *what;
    std::vector<int32_t> events;
    uint8_t trigFrame;
    int32_t from;
    uint32_t direction, condition;
    int32_t status, found;
  } cases[] = {
      {"the first set bit ahead", burst, 0, -4, 0, 1, 0, -1},
      {"the first clear bit ahead", burst, 0, -1, 0, 0, 0, 2},
      {"the first change from a set start", burst, 0, -1, 0, 2, 0, 2},
      {"backward to the end of the burst", burst, 0, 5, 1, 1, 0, 1},
      {"backward change: the start is not examined", burst, 0, 0, 1, 2, 0, -2},
      {"the very next image", burst, 0, -4, 0, 0, 0, -3},
      // The last image of the direction is never examined, but the search
      // is left on it; already at the end, the start is kept.
      {"forward to the last", {5}, 0, 0, 0, 1, XE_INFO_SEARCH_AT_END, 5},
      {"forward past the last", {5}, 0, 6, 0, 1, XE_INFO_SEARCH_AT_END, 6},
      {"backward at the first", {5}, 0, kFirst, 1, 1, XE_INFO_SEARCH_AT_END, kFirst},
      // Past the stored images the times are computed with the event bit
      // set; clear bits are found only when the image numbers come round.
      {"computed set bit", {2}, 0, 5, 0, 1, 0, 6},
      {"clear bit after the wrap", {2}, 0, 5, 0, 0, 0, kFirst},
      {"no clear bit anywhere", allButLast, 0, 5, 0, 0, XE_INFO_SEARCH_AT_END, 5},
      // An externally clocked cine has no time past its images.
      {"external clock", {}, 1, 5, 0, 1, XE_ERR_AUX_OUT_OF_RANGE, 5},
  };
  for (const Case &k : cases) {
    Opened o(Recording(k.events, k.trigFrame));
    ASSERT_EQ(o.status, 0);
    Search s = SearchFrom(o.cine, k.from, k.direction, k.condition);
    EXPECT_EQ(s.status, k.status) << k.what;
    EXPECT_EQ(s.found, k.found) << k.what;
  }
}

TEST(ImageSearch, ProgressIsReportedForwardOnlyAndStops) {
  Opened o(Recording({}));
  auto run = [&](int32_t from, uint32_t direction, int32_t stopAfter) {
    g_reported.clear();
    g_stopAfter = stopAfter;
    Search s = SearchFrom(o.cine, from, direction, 1, Progress);
    EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
    return s.found;
  };
  // Forward from -4: images -3 to 4 are examined, of a total of 9.
  run(kFirst, 0, 100);
  EXPECT_EQ(g_reported, (std::vector<int32_t>{-3, -2, -1, 0, 1, 2, 3, 4}));
  EXPECT_EQ(run(kFirst, 0, 3), 5);
  EXPECT_EQ(g_reported, (std::vector<int32_t>{-3, -2, -1}));
  // Backward the total is not positive: no progress.
  run(5, 1, 100);
  EXPECT_TRUE(g_reported.empty());
}

TEST(ImageSearch, BadArguments) {
  Opened o(Recording({0}));
  uint32_t condition = 1;
  int32_t found = 77;
  o.cine->ImageRangeFirst = kFirst;
  EXPECT_EQ(XefCineImageSearch(nullptr, 0, 0, &condition, 4, &found, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(found, 77);
  EXPECT_EQ(XefCineImageSearch(o.cine, 0, 0, &condition, 4, nullptr, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefCineImageSearch(o.cine, 2, 0, &condition, 4, &found, nullptr), XE_INFO_SEARCH_DIRECTION);
  EXPECT_EQ(found, kFirst);
  EXPECT_EQ(XefCineImageSearch(o.cine, 0, 1, &condition, 4, &found, nullptr), XE_INFO_SEARCH_DIRECTION);
  EXPECT_EQ(found, 5);
  EXPECT_EQ(XefCineImageSearch(o.cine, 0, 0, nullptr, 4, &found, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XefCineImageSearch(o.cine, 0, 0, &condition, 0, &found, nullptr), XE_ERR_NULL_ARGUMENT);
  condition = 3;
  EXPECT_EQ(XefCineImageSearch(o.cine, 0, 0, &condition, 4, &found, nullptr), XE_INFO_SEARCH_DIRECTION);
}

}  // namespace
