// The read side of the recording-fact selectors.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

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
  EXPECT_EQ(XeGetCineInfo(cine, 18, &v), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XeGetCineInfo(cine, 42, &v), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XeGetCineInfo(cine, 113, &v), XE_ERR_NOT_SUPPORTED);
  EXPECT_EQ(XeGetCineInfo(nullptr, CIS_CFA, &v), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XeGetCineInfo(cine, CIS_CFA, nullptr), XE_ERR_NULL_ARGUMENT);
  EXPECT_EQ(XevGetCineInfo(nullptr, CIS_CFA), 0u);
}

TEST_F(Selectors, NarrowFieldsAreWidenedByTheirSign) {
  cine->SourceFileType = -9;
  cine->H.Setup.TrigFrame = 2;
  cine->H.Setup.ImWidth = 0xFFFF;
  EXPECT_EQ(static_cast<int32_t>(XevGetCineInfo(cine, CIS_SourceFileType)), -9);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_TrigFrame), 2u);
  EXPECT_EQ(XevGetCineInfo(cine, CIS_ImWidth), 0xFFFFu);
  EXPECT_EQ(static_cast<int32_t>(XevGetCineInfo(cine, CIS_FirstImageNo)), -3);
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

TEST_F(Selectors, AddressesReachTheRecordItself) {
  ::Setup *setup = nullptr;
  ASSERT_EQ(XeGetCineInfo(cine, CIS_PtrSetup, &setup), 0);
  setup->FrameRate = 777;
  EXPECT_EQ(XevGetCineInfo(cine, CIS_FrameRate), 777u);
  CineFileHeader *header = nullptr;
  ASSERT_EQ(XeGetCineInfo(cine, CIS_PtrHeader, &header), 0);
  // Header, image header and Setup stand back to back, as in a file.
  BitmapInfoHeader *bmih = nullptr;
  ASSERT_EQ(XeGetCineInfo(cine, CIS_PtrBmih, &bmih), 0);
  EXPECT_EQ(reinterpret_cast<uint8_t *>(bmih), reinterpret_cast<uint8_t *>(header) + 44);
  EXPECT_EQ(reinterpret_cast<uint8_t *>(setup), reinterpret_cast<uint8_t *>(header) + 84);
  uint32_t *viewWord = nullptr;
  ASSERT_EQ(XeGetCineInfo(cine, CIS_PtrViewWord584, &viewWord), 0);
  EXPECT_EQ(static_cast<int32_t>(*viewWord), -3);
}

TEST_F(Selectors, TextsFillTheirWholeRoom) {
  std::snprintf(cine->H.Setup.CineName, sizeof cine->H.Setup.CineName, "shot 12");
  char name[256];
  std::memset(name, 'x', sizeof name);
  ASSERT_EQ(XeGetCineInfo(cine, CIS_CineName, name), 0);
  EXPECT_STREQ(name, "shot 12");
  EXPECT_EQ(name[255], 0);
}

}  // namespace
