// The local control companion: named settings, ranges and time arithmetic.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <tuple>

#include "companions/con/services.h"
#include "companions/con/settings.h"
#include "fixtures/cine_builder.h"
#include "xefile/xefile_status.h"

namespace {

using namespace xe::con;

// Points the settings at a fresh folder for the life of the object.
class FreshSettings {
 public:
  FreshSettings() { Use(dir_.path()); }
  ~FreshSettings() { ReloadSettings(); }
  static void Use(const std::string &dir) {
    setenv("XDG_CONFIG_HOME", dir.c_str(), 1);
    ReloadSettings();
  }
  const std::string &dir() const { return dir_.path(); }

 private:
  fixture::TempDir dir_;
};

std::string Get(const char *name) {
  char text[64];
  return XefGetRegistryVal(name, text, sizeof text) == XE_OK ? text : "<missing>";
}

TEST(Settings, ArePersistedAndReadAgainAfterAReload) {
  FreshSettings fresh;
  EXPECT_EQ(SettingsPath(), fresh.dir() + "/xefile/settings.ini");
  char text[8] = "junk";
  EXPECT_EQ(XefGetRegistryVal("Units", text, sizeof text), XE_ERR_NOT_SUPPORTED);
  EXPECT_STREQ(text, "");

  ASSERT_EQ(XefSetRegistryVal("Units", "mm"), XE_OK);
  ASSERT_EQ(XefSetRegistryVal("AlgoSave", " 0x11 "), XE_OK);
  ASSERT_EQ(XefSetRegistryVal("Units", "inch"), XE_OK);
  ReloadSettings();
  EXPECT_EQ(Get("Units"), "inch");
  uint32_t algo = 7;
  EXPECT_EQ(XefGetIntAlgoRegistryVal("AlgoSave", &algo), XE_OK);
  EXPECT_EQ(algo, 17u);

  // A file edited by someone else is seen after a reload, comments skipped.
  std::ofstream(SettingsPath()) << "# by hand\n[xefile]\n  Units = cm \nBackgroundColor=255\n";
  ReloadSettings();
  EXPECT_EQ(std::tuple(Get("Units"), Get("BackgroundColor"), Get("AlgoSave")),
            std::tuple("cm", "255", "<missing>"));

  // A short buffer gets a cut, terminated text.
  char small[3];
  EXPECT_EQ(XefGetRegistryVal("BackgroundColor", small, sizeof small), XE_OK);
  EXPECT_STREQ(small, "25");
}

TEST(Settings, KeepWorkingInMemoryWhenTheFileCannotBeWritten) {
  fixture::TempFile notADir(fixture::Bytes{'x'}, "");
  FreshSettings::Use(notADir.path());
  EXPECT_EQ(XefSetRegistryVal("Units", "mm"), XE_ERR_FILE_WRITE);
  EXPECT_EQ(Get("Units"), "mm");
  ReloadSettings();
}

TEST(IntersectRanges, CutsTheRangeAndTellsWhetherItWasWhole) {
  // The range, the range it is cut by, the range left and whether it was whole.
  const std::tuple<int32_t, uint32_t, int32_t, uint32_t, int32_t, uint32_t, bool> cases[] = {
      {-5, 10, -100, 1000, -5, 10, true},  // inside
      {-5, 10, 0, 100, 0, 5, false},       // first images cut
      {-5, 10, -20, 20, -5, 5, false},     // last images cut
      {-5, 10, 5, 10, -5, 0, false},       // just past the end: empty
      {INT32_MIN, 0xFFFFFFFFu, -7, 9, -7, 9, false},
      {2147483600, 100, 2147483600, 47, 2147483600, 47, false},
  };
  for (auto [first, cnt, byFirst, byCnt, newFirst, newCnt, whole] : cases) {
    ImageRange r{first, cnt};
    const ImageRange by{byFirst, byCnt};
    const bool untouched = XefIntersectRanges(&r, &by) != 0;
    EXPECT_EQ(std::tuple(int32_t{r.First}, uint32_t{r.Cnt}, untouched), std::tuple(newFirst, newCnt, whole))
        << first << "+" << cnt << " by " << byFirst << "+" << byCnt;
  }
}

TEST(Time64Arithmetic, AddKeepsTheFlagBitsAndSaturates) {
  struct Case { uint32_t fractions, seconds; double add; uint32_t outFractions, outSeconds; };
  const Case cases[] = {
      {3, 100, 1.5, 0x80000003u, 101},
      {0x80000003u, 101, -1.75, 0xC0000003u, 99},
      {0x40000002u, 50, std::nan(""), 0x40000002u, 50},  // not a number: unchanged
      {3, 1000, 3e9, 3, 3000001000u},                     // beyond 2^31 seconds, exact
      {1, 0xFFFFFFF0u, 1e12, 0xFFFFFFFDu, 0xFFFFFFFFu},   // saturates at the top
      {2, 10, -11.0, 2, 0},                               // and at 0
  };
  for (const Case &k : cases) {
    Time64 t{k.fractions, k.seconds};
    XefAddSecondsToTime64(&t, k.add);
    EXPECT_EQ(std::tuple(uint32_t{t.fractions}, uint32_t{t.seconds}),
              std::tuple(k.outFractions, k.outSeconds)) << k.seconds << " + " << k.add;
  }
}

}  // namespace
