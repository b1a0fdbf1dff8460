// The set side of the selectors: what is refused, what is limited and handed
// back, when the processing chain is marked for a rebuild, and the defaults
// of a new target type.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "cinefile/cine_test_support.h"
#include "cinefile/timecode.h"
#include "info/selectors.h"
#include "support/log_to_file.h"

using cinetest::Opened;
using fixture::CineBuilder;

namespace {

// A cine made in memory: IsFileCine 0, so it counts as a camera cine that
// no camera answers for.
class SetSelectors : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(XefNewCine(&cine, 1280, 1024, 16, 0, 10), 0); }
  void TearDown() override { XeDestroyCine(cine); }
  uint32_t Set(uint32_t selector, uint32_t v) {
    EXPECT_EQ(XeSetCineInfo(cine, selector, &v), 0) << selector;
    return v;
  }
  CineHandle cine = nullptr;
};

TEST_F(SetSelectors, RefusedAndNullArguments) {
  uint32_t v = 0;
  for (uint32_t s = 0; s <= 22; ++s) EXPECT_EQ(XeSetCineInfo(cine, s, &v), XE_ERR_NOT_SUPPORTED) << s;
  for (uint32_t s : {24u, 100u, 220u, 230u, 400u, 450u, 521u, 1001u, 1023u, 1024u, 9999u})
    EXPECT_EQ(XeSetCineInfo(cine, s, &v), XE_ERR_NOT_SUPPORTED) << s;
  EXPECT_EQ(XeGetCineInfo(cine, CIS_FlushSetupToFile, &v), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XeSetCineInfo(nullptr, CIS_Rotate, &v), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeSetCineInfo(cine, CIS_Rotate, nullptr), XE_ERR_NULL_ARGUMENT);
  // The flush on a cine without a file does nothing and succeeds.
  char dummy = 'x';
  EXPECT_EQ(XeSetCineInfo(cine, CIS_FlushSetupToFile, &dummy), 0);
}

// Values limited on the way in: the caller's variable reads what was stored
// (a refused 16-bit save only reads 0 there; the field keeps its value).
TEST_F(SetSelectors, LimitedValuesAreHandedBack) {
  struct Row {
    uint32_t selector, in, out, stored;
  };
  const Row rows[] = {
      {CIS_TimeFormat, 5, 2, 2},
      {CIS_ResampleWidth, 100, 96, 96},
      {CIS_ResampleWidth, 3, 16, 16},
      {CIS_ResampleWidth, 1u << 30, 65536, 65536},
      {CIS_ResampleHeight, 100, 104, 104},
      {CIS_ResampleHeight, 1000000, 39040, 39040},
      {CIS_DpxRefWhite, 2000, 1023, 1023},
      {CIS_DpxRefWhite, 685, 685, 685},  // the black below is limited to this white
      {CIS_DpxRefBlack, 900, 685, 685},
      {CIS_Quality, 1000, 100, 100},
      {CIS_Save16Bit, 0, 0, 1},   // not a file cine: refused, stays on for 16 bits
      {CIS_SavePacked, 1, 0, 0},  // no packed images
  };
  for (const Row &r : rows) {
    EXPECT_EQ(Set(r.selector, r.in), r.out) << r.selector << " " << r.in;
    EXPECT_EQ(XevGetCineInfo(cine, r.selector), r.stored) << r.selector << " " << r.in;
  }
}

TEST_F(SetSelectors, GainOfTheReductionTo8Bits) {
  // A 16-bit image: the gain may reach 2^16 / 256.
  for (auto [in, out] : {std::pair{0.5f, 1.0f}, {3.0f, 3.0f}, {1e9f, 256.0f}, {NAN, 1.0f}}) {
    float v = in;
    ASSERT_EQ(XeSetCineInfo(cine, CIS_fGain16_8, &v), 0);
    EXPECT_EQ(v, out) << in;
    EXPECT_EQ(cine->H.Setup.fGain16_8, out);
  }
}

TEST(NormalizeCropRect, SnapsWidthTo16AndHeightTo8InsideTheImage) {
  struct Row {
    XeRect in, out;
  };
  const Row rows[] = {
      {{0, 0, 99, 99}, {0, 0, 95, 103}},             // 100 wide: down to 96; 100 high: up to 104
      {{-5, -5, 5000, 5000}, {0, 0, 1279, 1023}},    // limited to the image
      {{1270, 0, 1279, 7}, {1264, 0, 1273, 7}},      // rounded past the edge: cut and moved back
      {{10, 20, 12, 21}, {10, 20, 25, 27}},          // tiny: one step at least
      {{2000, 2000, 1, 1}, {2000, 2000, 2015, 2007}},  // outside: kept, one step large
  };
  for (const Row &r : rows) {
    XeRect got = r.in;
    xe::NormalizeCropRect(&got, 1280, 1024);
    EXPECT_EQ(std::tie(got.left, got.top, got.right, got.bottom),
              std::tie(r.out.left, r.out.top, r.out.right, r.out.bottom))
        << r.in.left << "," << r.in.top << "," << r.in.right << "," << r.in.bottom;
  }
}

// Which sets mark the processing chain for a rebuild.
TEST_F(SetSelectors, ParamsChangedOnlyWhenTheChainDependsOnTheChange) {
  ::Setup &s = cine->H.Setup;
  XeUserFilter coefOnly = s.UserFilter, shape = s.UserFilter;
  coefOnly.Coef[2][2] += 7;
  shape.bias += 1;
  float wb[2] = {s.WBView.R, s.WBView.B};
  float nan = NAN;
  uint32_t rotate = 90, noCalibration = 1;
  struct Row {
    const char *what;
    uint32_t selector;
    void *value;
    bool changes;
  };
  const Row rows[] = {
      {"coefficients only", CIS_UserFilter, &coefOnly, false},
      {"filter bias", CIS_UserFilter, &shape, true},
      {"same white balance", CIS_WBView, wb, false},
      {"NaN twice", CIS_fHue, &nan, true},
      {"rotation", CIS_Rotate, &rotate, true},
      {"use-case word", CIS_NoCalibration, &noCalibration, true},
  };
  for (const Row &r : rows) {
    if (std::string(r.what) == "NaN twice") s.fHue = NAN;
    cine->ParamsChanged = 0;
    ASSERT_EQ(XeSetCineInfo(cine, r.selector, r.value), 0) << r.what;
    EXPECT_EQ(cine->ParamsChanged, r.changes ? 1u : 0u) << r.what;
  }
}

TEST_F(SetSelectors, UseCaseWordsFollowTheUseCase) {
  testsupport::LogToFile settings(false);  // the ids set are kept in the test's own settings
  EXPECT_EQ(Set(CIS_Algo, 4), 4u);
  // No calibration: 1 switches pixel repair off, any other value on.
  Set(CIS_NoCalibration, 1);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_RepairPixels), 0u);
  Set(CIS_NoCalibration, 2);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_RepairPixels), 1u);

  // Use case 2: a save refuses "no demosaic" and hands back the present id.
  ASSERT_EQ(XeSetUseCase(cine, 2), 0);
  uint32_t before = XevGetCineInfo(cine, CIS_Algo);
  EXPECT_EQ(Set(CIS_Algo, 6), before);
  EXPECT_EQ(Set(CIS_Algo, 3), 3u);

  // Use case 3: the switches read as off and pixel repair as on.
  ASSERT_EQ(XeSetUseCase(cine, 3), 0);
  Set(CIS_NoCalibration, 1);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_Algo), 0u);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_NoCalibration), 0u);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_RepairPixels), 1u);
  Set(CIS_VFlipView, 9);
  EXPECT_EQ(cine->ProcessingState[0], 9u);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_VFlipView), 0u);
}

TEST_F(SetSelectors, NewTargetTypeTakesItsDefaults) {
  Set(CIS_FileType, static_cast<uint32_t>(-27));
  auto get = [&](uint32_t selector) { return XevGetCineInfo(cine, selector); };
  EXPECT_EQ(get(CIS_DpxRefWhite), 685u);
  // The same type again runs nothing.
  Set(CIS_DpxRefWhite, 500);
  Set(CIS_FileType, 0xFFE5);  // -27 in 16 bits
  EXPECT_EQ(cinetest::Fields(get(CIS_DpxRefWhite), static_cast<int32_t>(get(CIS_FileType))),
            cinetest::Fields(500u, -27));

  // DNG from a camera cine: raw data.
  Set(CIS_FileType, static_cast<uint32_t>(-26));
  EXPECT_EQ(cine->Saving.DngFlags, 1u);
}

TEST(SetSelectorsOnFiles, RulesThatDependOnTheSource) {
  // A processed (Compression 0) 16-bit file: 16-bit saves allowed, a DNG of
  // processed data.
  CineBuilder b;
  b.Image(16, 4, 16);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  uint32_t v = 1;
  ASSERT_EQ(XeSetCineInfo(o.cine, CIS_Save16Bit, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_EQ(XevSetCineInfo(o.cine, CIS_FileType, static_cast<uint32_t>(-26)), 0);
  EXPECT_EQ(o.cine->Saving.DngFlags, 0u);
  // With a target that cannot keep 16 bits the request is refused.
  v = 1;
  ASSERT_EQ(XeSetCineInfo(o.cine, CIS_Save16Bit, &v), 0);
  EXPECT_EQ(v, 0u);

  // A packed gray raw file may keep its packing in a raw cine.
  CineBuilder packed;
  packed.Compression(2).Image(16, 4, 16, 256, 1024);
  Opened p(packed.Build());
  ASSERT_EQ(p.status, 0);
  EXPECT_EQ(p.cine->Saving.SavePacked, 1u);
  v = 1;
  EXPECT_EQ(XeSetCineInfo(p.cine, CIS_SavePacked, &v), 0);
  EXPECT_EQ(v, 1u);
  EXPECT_EQ(XevSetCineInfo(p.cine, CIS_FileType, static_cast<uint32_t>(-8)), 0);
  EXPECT_EQ(p.cine->Saving.SavePacked, 0u);
}

TEST(SetSelectorsOnFiles, TimecodeChangesRewriteTheBlock) {
  CineBuilder b;
  b.setup().SetF32(fixture::setup::kTCRate, 25.0f);
  b.AddBlock(1007, fixture::Bytes(3 * 8, 0));
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  auto *block = static_cast<TC *>(XefGetCineTaggedBlock(o.cine, 1007));
  ASSERT_NE(block, nullptr);

  TCU start{};
  start.hours = 1;
  ASSERT_EQ(XeSetCineInfo(o.cine, CIS_TCU, &start), 0);
  EXPECT_EQ(xe::TCToU64(block[0]), 0x01000000u);
  EXPECT_EQ(xe::TCToU64(block[2]), 0x01000002u);

  // A rate that counts the same whole frames leaves the block alone.
  block[2] = TC{};
  float rate = 25.3f;
  ASSERT_EQ(XeSetCineInfo(o.cine, CIS_TCRate, &rate), 0);
  EXPECT_EQ(xe::TCToU64(block[2]), 0u);
  rate = 30.0f;
  ASSERT_EQ(XeSetCineInfo(o.cine, CIS_TCRate, &rate), 0);
  EXPECT_EQ(xe::TCToU64(block[2]), 0x01000002u);
}

TEST_F(SetSelectors, TextsAreCutToTheirRoomAndTerminated) {
  std::string longName(5000, 'n');
  ASSERT_EQ(XeSetCineInfo(cine, CIS_FileName, longName.data()), 0);
  EXPECT_EQ(std::strlen(cine->FileName), sizeof cine->FileName - 1);
  // A text shorter than a number is read no further than its end.
  char one[1] = {0};
  ASSERT_EQ(XeSetCineInfo(cine, CIS_FileName, one), 0);
  EXPECT_STREQ(cine->FileName, "");
}

}  // namespace
