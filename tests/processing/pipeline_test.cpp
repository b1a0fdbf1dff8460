// The chain run over fetched images: the layout of a run of images that grow,
// the same chain for every image of a run, a finished colour picture from a
// raw file, and the bounds that buffers are sized by.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "companions/int/dib.h"
#include "processing/chain_steps.h"
#include "processing/process_cine.h"
#include "processing/use_case.h"
#include "xefile/xefile.h"
#include "xefile/xefile_selectors.h"

using namespace xe;
using fixture::Bytes;

namespace {

constexpr int32_t kW = 10, kH = 6;

// A raw 12-bit file of three 16-bit images, colour (Bayer code `cfa`) or
// gray (stored uninterpolated only in colour), with neutral adjustments; its
// images differ, all within 12 bits.
fixture::CineBuilder RawFile(int32_t w, int32_t h, uint32_t cfa) {
  fixture::CineBuilder b;
  b.Compression(cfa ? 2 : 0).Images(0, 3).Image(w, h, 16, 0, 4096);
  b.setup()
      .SetU32(fixture::setup::kRealBPP, 12)
      .SetU32(fixture::setup::kCFA, cfa)
      .SetI32(fixture::setup::kBlackLevel, 0)
      .SetI32(fixture::setup::kWhiteLevel, 4095)
      .SetF32(fixture::setup::kWBView, 1.0f)
      .SetF32(fixture::setup::kWBView + 4, 1.0f)
      .SetF32(fixture::setup::kfGain, 1.0f)
      .SetF32(fixture::setup::kfSaturation, 1.0f)
      .SetF32(fixture::setup::kfGamma, 1.0f);
  for (uint32_t k = 0; k < 3; ++k) {
    Bytes px = fixture::PixelBytes(k, fixture::ImageBytes(w, h, 16, 0));
    for (size_t i = 1; i < px.size(); i += 2) px[i] &= 0x0F;
    b.ImagePayload(k, px);
  }
  return b;
}

uint32_t RawSize() { return fixture::ImageBytes(kW, kH, 16, 0); }

// Each image of a run comes out as it does alone, packed one after another:
// the output of one image never reaches the input of the next.
TEST(Run, ImagesOfARunComeOutAsTheyDoAlone) {
  for (uint32_t cfa : {3u, 0u}) {
    SCOPED_TRACE(cfa ? "colour: images grow three times" : "gray: images keep their size");
    cinetest::Opened o(RawFile(kW, kH, cfa).Build());
    ASSERT_EQ(o.status, 0);
    const Bytes run = cinetest::Images(o.cine, 0, 3, kUseCaseView);
    const size_t out = (cfa ? 3 : 1) * RawSize();
    ASSERT_EQ(run.size(), 3 * out);
    for (int32_t k = 0; k < 3; ++k) {
      const Bytes alone(run.begin() + k * out, run.begin() + (k + 1) * out);
      EXPECT_EQ(cinetest::Images(o.cine, k, 1, kUseCaseView), alone) << k;
    }
  }
}

// A refused step is a warning that does not stop the chain: the crop outside
// the image leaves its size, and the demosaic still runs.
TEST(Run, ARefusedStepWarnsAndTheChainGoesOn) {
  cinetest::Opened o(RawFile(kW, kH, 3).Build());
  ASSERT_EQ(o.status, 0);
  o.cine->H.Setup.EnableCrop = 1;
  o.cine->H.Setup.CropRect = XeRect{0, 0, kW + 5, 2};
  o.cine->ParamsChanged = 1;
  Bytes px(2 * XevGetCineInfo(o.cine, CIS_MaxImageSizeColor));
  ImageRange r{0, 2};
  ImageHeader h{};
  EXPECT_EQ(XeGetCineImage(o.cine, &r, px.data(), static_cast<uint32_t>(px.size()), &h),
            XE_WARN_CROP_REFUSED);
  EXPECT_EQ(cinetest::Fields(h.biWidth, +h.biBitCount), cinetest::Fields(kW, 48));
}

// The bound is the largest image along the chain: after the demosaic, and
// after an upscaling that follows it.
TEST(Run, BoundsFollowTheChain) {
  cinetest::Opened o(RawFile(kW, kH, 3).Build());
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(XevGetCineInfo(o.cine, CIS_MaxImageSize), 3 * RawSize());
  o.cine->H.Setup.EnableResample = 1;
  o.cine->H.Setup.ResampleWidth = 2 * kW;
  o.cine->H.Setup.ResampleHeight = 2 * kH;
  o.cine->ParamsChanged = 1;
  EXPECT_EQ(XevGetCineInfo(o.cine, CIS_MaxImageSize), fixture::ImageBytes(2 * kW, 2 * kH, 48, 0));
}

// This camera model's samples come two bits low: the alignment shifts them
// even where source and destination depth agree; another model's stay.
TEST(Run, AlignmentOfOneCameraModel) {
  cinetest::Opened o(RawFile(kW, kH, 0).Build());
  ASSERT_EQ(o.status, 0);
  const Bytes raw = cinetest::Images(o.cine, 0, 1, kUseCaseRaw);
  ImageHeader h{};
  std::memcpy(&h, &o.cine->H.Bmih, sizeof(BitmapInfoHeader));
  h.biSize = 48;
  o.cine->Processing.align = {12, 12};
  for (uint32_t model : {1030u, 7u}) {
    o.cine->H.Setup.CameraVersion = model;
    Bytes px = raw;
    ASSERT_EQ(ImageStep(o.cine, nullptr, kStepAlignPix, px.data(), &h), 0);
    EXPECT_EQ(fixture::GetU16(px, 2), fixture::GetU16(raw, 2) << (model == 1030 ? 2 : 0)) << model;
    EXPECT_EQ(px == raw, model != 1030) << model;  // the other model: nothing moves
  }
}

TEST(Run, TheChainAppliedToTheCineHeaders) {
  cinetest::Opened o(RawFile(kW, kH, 3).Build());
  ASSERT_EQ(o.status, 0);
  CineHandle c = o.cine;
  ::Setup &s = c->H.Setup;
  s.BlackLevel = 64;
  s.WhiteLevel = 4000;
  s.WBView = {1.5f, 0.5f};
  s.fGain = 2.0f;
  c->ParamsChanged = 1;
  ImageHeader processed;
  RefreshCineProcessingParams(c);
  ProcessedHeaderOf(c, &processed);
  ASSERT_EQ(ApplyChainToCine(c), 0);
  // The header now describes the processed image, whose levels are full.
  EXPECT_EQ(cinetest::Fields(+c->H.Bmih.biBitCount, c->H.Bmih.biSizeImage, s.BlackLevel, s.WhiteLevel),
            cinetest::Fields(48, processed.biSizeImage, 0, 4095));
  // The adjustments already applied are neutral for a later reader.
  EXPECT_EQ(cinetest::Fields(s.WBView.R, s.WBView.B, s.fGain), cinetest::Fields(1.0f, 1.0f, 1.0f));
}

TEST(Run, AdjustmentsOfAnImageTheCallerHolds) {
  cinetest::Opened o(RawFile(kW, kH, 0).Build());
  ASSERT_EQ(o.status, 0);
  const Bytes raw = cinetest::Images(o.cine, 0, 1, kUseCaseRaw);
  Bytes px = raw;
  BitmapInfoHeader b = o.cine->H.Bmih;
  IMPROCOPTIONS opt{};
  opt.Gamma = opt.WBRed = opt.WBBlue = 1.0f;
  opt.FlipH = 1;
  EXPECT_EQ(XeCineImProc(o.cine, &b, px.data(), nullptr), XE_ERR_NULL_ARGUMENT);
  ASSERT_EQ(XeCineImProc(o.cine, &b, px.data(), &opt), 0);
  const size_t stride = intl::XefMemWidth(&b);
  // Mirrored left to right, row by row.
  for (size_t row = 0; row < kH; ++row)
    EXPECT_EQ(0, std::memcmp(&px[row * stride], &raw[row * stride + (kW - 1) * 2], 2));
}

// ---- A finished picture from a raw colour file -------------------------------

constexpr int32_t kPW = 24, kPH = 16;
constexpr uint16_t kRed = 3000, kGreen = 1000, kBlue = 200;

// One flat colour under the filter of code 3 (G B / R G from the top row of
// the picture), rows stored bottom-up: a demosaic that takes the pattern in
// the wrong phase, or runs after the rows were turned, mixes the colours.
fixture::Bytes ChartFile() {
  fixture::CineBuilder b = RawFile(kPW, kPH, 3);
  fixture::Bytes px(static_cast<size_t>(kPW) * kPH * 2);
  for (int32_t r = 0; r < kPH; ++r)
    for (int32_t x = 0; x < kPW; ++x) {
      const bool topRowPhase = (kPH - 1 - r) % 2 == 0;
      const uint16_t v = topRowPhase ? (x % 2 ? kBlue : kGreen) : (x % 2 ? kGreen : kRed);
      fixture::PutU16(px, (r * kPW + x) * 2, v);
    }
  b.ImagePayload(0, px).ImagePayload(1, px);
  return b.Build();
}

// Image `first` fetched into a buffer of the colour bound; the header
// delivered must be the one the chain announces.
std::vector<uint8_t> FetchAnnounced(CineHandle c, int32_t first, ImageHeader *h) {
  std::vector<uint8_t> px(XevGetCineInfo(c, CIS_MaxImageSizeColor), 0xEE);
  ImageRange r{first, 1};
  EXPECT_EQ(XeGetCineImage(c, &r, px.data(), static_cast<uint32_t>(px.size()), h), 0);
  ImageHeader announced{};
  EXPECT_EQ(XeGetCineInfo(c, CIS_ProcessedHeader, &announced), 0);
  EXPECT_EQ(std::memcmp(&announced, h, sizeof *h), 0);
  return px;
}

TEST(Picture, RawColourFileInTheViewUseCase) {
  cinetest::Opened o(ChartFile());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(XevGetCineInfo(o.cine, CIS_MaxImageSizeColor), static_cast<uint32_t>(kPW * kPH * 6));
  ImageHeader h{};
  const std::vector<uint8_t> px = FetchAnnounced(o.cine, 1, &h);
  EXPECT_EQ(cinetest::Fields(+h.biBitCount, h.biWidth, h.biHeight, h.BlackLevel, h.WhiteLevel),
            cinetest::Fields(48, kPW, kPH, 0, 4095));
  BitmapInfoHeader bmih{};
  ASSERT_EQ(XeGetCineProcessedBMIH(o.cine, &bmih), 0);
  EXPECT_EQ(bmih.biSize, 40u);
  EXPECT_EQ(std::memcmp(reinterpret_cast<uint8_t *>(&bmih) + 4,
                        reinterpret_cast<uint8_t *>(&h) + 4, 36), 0);
  // Blue-green-red samples of the flat colour, leaving out the border.
  const uint16_t bgr[3] = {kBlue, kGreen, kRed};
  for (int32_t row = 1; row < kPH - 1; ++row)
    for (int32_t x = 1; x < kPW - 1; ++x)
      for (int c = 0; c < 3; ++c)
        ASSERT_NEAR(fixture::GetU16(px, (row * kPW + x) * 6 + 2 * c), bgr[c], 40) << x << "," << row << " " << c;
}

TEST(Picture, OnlyQuarterTurnsExchangeTheSize) {
  for (int32_t angle : {90, 180, 45, -90}) {
    SCOPED_TRACE(angle);
    cinetest::Opened o(ChartFile());
    ASSERT_EQ(o.status, 0);
    ASSERT_EQ(XevSetCineInfo(o.cine, CIS_Rotate, static_cast<uint32_t>(angle)), 0);
    ImageHeader h{};
    FetchAnnounced(o.cine, 0, &h);
    EXPECT_EQ(h.biWidth, angle == 90 || angle == -90 ? kPH : kPW);
  }
}

}  // namespace
