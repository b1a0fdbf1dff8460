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

TEST(ImageSearch, ConditionsInBothDirections) {
  Opened o(Recording({-1, 0, 1}));
  ASSERT_EQ(o.status, 0);
  struct Case {
    int32_t from;
    uint32_t direction, condition;
    int32_t status, found;
  } cases[] = {
      {-4, 0, 1, 0, -1},   // the first set bit ahead
      {-1, 0, 0, 0, 2},    // the first clear bit ahead
      {-1, 0, 2, 0, 2},    // the first change from a set start
      {-4, 0, 2, 0, -1},   // the first change from a clear start
      {5, 1, 1, 0, 1},     // backward to the end of the burst
      {1, 1, 0, 0, -2},    // backward out of the burst
      {0, 1, 2, 0, -2},    // backward change: the start is not examined
      {-4, 0, 0, 0, -3},   // the very next image
  };
  for (const Case &k : cases) {
    Search s = SearchFrom(o.cine, k.from, k.direction, k.condition);
    EXPECT_EQ(s.status, k.status) << k.from << " " << k.direction << " " << k.condition;
    EXPECT_EQ(s.found, k.found) << k.from << " " << k.direction << " " << k.condition;
  }
}

TEST(ImageSearch, TheLastImageOfTheDirectionIsNeverExamined) {
  Opened forward(Recording({5}));
  Search s = SearchFrom(forward.cine, 0, 0, 1);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_EQ(s.found, 5);  // left on the last image all the same
  Opened backward(Recording({-4}));
  s = SearchFrom(backward.cine, 3, 1, 1);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_EQ(s.found, -4);

  // Already at the end: the start is kept.
  s = SearchFrom(forward.cine, 6, 0, 1);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_EQ(s.found, 6);
  s = SearchFrom(forward.cine, kFirst, 1, 1);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_EQ(s.found, kFirst);
}

TEST(ImageSearch, ForwardFromTheLastImageRunsPastTheCineAndEnds) {
  // Past the stored images the times are computed, with the event bit set.
  Opened o(Recording({2}));
  Search s = SearchFrom(o.cine, 5, 0, 1);
  EXPECT_EQ(s.status, 0);
  EXPECT_EQ(s.found, 6);
  // Clear bits are found only when the image numbers come round again.
  s = SearchFrom(o.cine, 5, 0, 0);
  EXPECT_EQ(s.status, 0);
  EXPECT_EQ(s.found, kFirst);
  Opened none(Recording({-4, -3, -2, -1, 0, 1, 2, 3, 4}));
  s = SearchFrom(none.cine, 5, 0, 0);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_EQ(s.found, 5);
  // An externally clocked cine has no time past its images: the read fails.
  Opened external(Recording({}, 1));
  s = SearchFrom(external.cine, 5, 0, 1);
  EXPECT_EQ(s.status, XE_ERR_AUX_OUT_OF_RANGE);
  EXPECT_EQ(s.found, 5);
}

TEST(ImageSearch, ProgressIsReportedForwardOnlyAndStops) {
  Opened o(Recording({}));
  // Forward from -4: images -3 to 4 are examined, of a total of 9.
  g_reported.clear();
  g_stopAfter = 100;
  Search s = SearchFrom(o.cine, kFirst, 0, 1, Progress);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_EQ(g_reported, (std::vector<int32_t>{-3, -2, -1, 0, 1, 2, 3, 4}));

  g_reported.clear();
  g_stopAfter = 3;
  s = SearchFrom(o.cine, kFirst, 0, 1, Progress);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_EQ(s.found, 5);
  EXPECT_EQ(g_reported, (std::vector<int32_t>{-3, -2, -1}));

  // Backward the total is not positive: no progress.
  g_reported.clear();
  g_stopAfter = 100;
  s = SearchFrom(o.cine, 5, 1, 1, Progress);
  EXPECT_EQ(s.status, XE_INFO_SEARCH_AT_END);
  EXPECT_TRUE(g_reported.empty());
}

TEST(ImageSearch, BadArguments) {
  Opened o(Recording({0}));
  cinetest::LogCapture log;
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
  condition = static_cast<uint32_t>(-1);
  EXPECT_EQ(XefCineImageSearch(o.cine, 0, 0, &condition, 4, &found, nullptr), XE_INFO_SEARCH_DIRECTION);
  const std::string text = log.Text();
  EXPECT_TRUE(testsupport::Contains(text, " ErrCode= -200"));
  EXPECT_TRUE(testsupport::Contains(text, " ErrCode= 114"));
}

}  // namespace
