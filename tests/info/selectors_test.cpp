// The read side of the recording-fact selectors.
#include <gtest/gtest.h>

#include <bit>

#include "cinefile/cine_test_support.h"
#include "frame/cine.h"
#include "xefile/xefile.h"

namespace {

class Selectors : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(XefNewCine(&cine, 16, 8, 8, -3, 10), 0); }
  void TearDown() override { XeDestroyCine(cine); }
  CineHandle cine = nullptr;
};

TEST_F(Selectors, UnlistedNumbersAndNullArguments) {
  uint32_t v = 0;
  for (uint32_t s : {18u, 42u, 113u, 220u, 507u}) EXPECT_EQ(XeGetCineInfo(cine, s, &v), XE_ERR_NOT_SUPPORTED) << s;
  EXPECT_EQ(XeGetCineInfo(nullptr, CIS_CFA, &v), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeGetCineInfo(cine, CIS_CFA, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XevGetCineInfo(nullptr, CIS_CFA), 0u);
}

TEST_F(Selectors, NarrowFieldsAreWidenedByTheirSign) {
  cine->SourceFileType = -9;
  cine->H.Setup.TrigFrame = 2;
  cine->H.Setup.ImWidth = 0xFFFF;
  auto get = [&](uint32_t s) { return XevGetCineInfo(cine, s); };
  EXPECT_EQ(cinetest::Fields(get(CIS_SourceFileType), get(CIS_TrigFrame), get(CIS_ImWidth), get(CIS_FirstImageNo)),
            cinetest::Fields(uint32_t(-9), 2u, 0xFFFFu, uint32_t(-3)));
}

TEST_F(Selectors, ProfileStepsAlternateImageAndRate) {
  ::Setup &s = cine->H.Setup;
  for (int i = 0; i < 4; ++i) {
    s.FRPImgNr[i] = -100 * i;
    s.FRPRate[i] = 1000u + static_cast<uint32_t>(i);
  }
  EXPECT_EQ(static_cast<int32_t>(XevGetCineInfo(cine, CIS_FRPImgNr2)), -200);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_FRPRate3), 1003u);
  int32_t all[16];
  ASSERT_EQ(XeGetCineInfo(cine, CIS_FRPImgNr, all), 0);
  EXPECT_EQ(all[1], -100);
}

TEST_F(Selectors, SaveOptionsReadInTheirOwnUnits) {
  // The quality of a quantisation factor, the factor limited to 2..255.
  for (auto [factor, quality] : {std::pair{0u, 100u}, {2u, 100u}, {15u, 95u}, {255u, 1u}, {999u, 1u}}) {
    cine->Saving.QFactor = factor;
    EXPECT_EQ(XevGetCineInfo(cine, CIS_Quality), quality) << factor;
  }
  // The DPX byte order reads inverted: bit 0 set is a big-endian file.
  cine->Saving.DpxFlags = 0x3D;  // big-endian, packing 3, log, LUT
  for (auto [selector, v] : {std::pair{CIS_DpxLittleEndian, 0u}, {CIS_DpxTo10Bit, 0u},
                             {CIS_DpxPacking, 3u}, {CIS_DpxLog, 1u}, {CIS_DpxWriteLut, 1u}})
    EXPECT_EQ(XevGetCineInfo(cine, selector), v) << selector;
}

// A failed camera question leaves the stored value: still the Setup's, and
// no rebuild of the chain.
TEST_F(Selectors, ACineWithoutCameraAnswersFromTheSetup) {
  cine->ParamsChanged = 0;
  cine->H.Setup.fGamma = 2.2f;
  EXPECT_EQ(std::bit_cast<float>(XevGetCineInfo(cine, CIS_fGamma)), 2.2f);
  EXPECT_EQ(cine->ParamsChanged, 0u);
}

}  // namespace
