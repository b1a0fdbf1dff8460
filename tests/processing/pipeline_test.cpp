// The chain run over fetched images: the layout of a run of images that grow,
// the same chain for every image of a run, a finished colour picture from a
// raw file, and the bounds that buffers are sized by.
#include <gtest/gtest.h>

#include <cstdlib>
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

namespace {

using Bytes = std::vector<uint8_t>;

uint32_t SizeOf(const ImageHeader &h) {
  return intl::XefPixarSize(reinterpret_cast<const BitmapInfoHeader *>(&h));
}

// A 12-bit cine in memory: a raw colour file cine (Bayer code 3) or a gray
// one, in use case 1 with neutral adjustments.
class Run : public testing::Test {
 protected:
  static constexpr int32_t kW = 10, kH = 6;
  void TearDown() override { XeDestroyCine(c); }

  void Make(bool colour) {
    ASSERT_EQ(XefNewCine(&c, kW, kH, 16, 0, 4), 0);
    c->IsFileCine = 1;
    c->SourceFileType = kSourceRawCine;
    ::Setup &s = c->H.Setup;
    s.CFA = colour ? 3 : 0;
    s.RealBPP = 12;
    c->H.Bmih.biClrImportant = 4096;
    s.BlackLevel = 0;
    s.WhiteLevel = 4095;
    s.fGain = s.fSaturation = s.fGamma = 1.0f;
    s.WBView.R = s.WBView.B = 1.0f;
    c->CineUseCase = 0;
    ASSERT_EQ(XeSetUseCase(c, kUseCaseView), 0);
  }

  // Image k of a run: 12-bit samples that differ per image and pixel.
  Bytes Raw(uint32_t k) const {
    ImageHeader h = Header();
    Bytes b(SizeOf(h));
    for (size_t i = 0; i + 1 < b.size(); i += 2) {
      uint16_t v = static_cast<uint16_t>((i * 37 + k * 1001 + 5) % 4096);
      std::memcpy(&b[i], &v, 2);
    }
    return b;
  }
  ImageHeader Header() const {
    ImageHeader h{};
    std::memcpy(&h, &c->H.Bmih, sizeof(BitmapInfoHeader));
    h.biSize = 48;
    h.BlackLevel = 0;
    h.WhiteLevel = 4095;
    return h;
  }

  // The images `first`.. one after another, through ProcessCine, in a buffer
  // of the processing bound per image.
  struct Out {
    int32_t status;
    ImageHeader h;
    Bytes px;
  };
  Out Process(uint32_t first, uint32_t count) {
    uint32_t bound = 0;
    EXPECT_EQ(MaxImageSize(c, &bound), 0);
    Out o{};
    o.px.assign(static_cast<size_t>(bound) * count, 0xEE);
    size_t at = 0;
    for (uint32_t k = first; k < first + count; ++k) {
      Bytes raw = Raw(k);
      std::memcpy(&o.px[at], raw.data(), raw.size());
      at += raw.size();
    }
    o.h = Header();
    ImageRange r{static_cast<int32_t>(first), count};
    o.status = ProcessCine(c, &r, o.px.data(), &o.h);
    return o;
  }

  CineHandle c = nullptr;
};

// Each image of a run comes out as it does alone, packed one after another:
// the output of one image never reaches the input of the next.
TEST_F(Run, ImagesOfARunComeOutAsTheyDoAlone) {
  for (bool colour : {true, false}) {
    SCOPED_TRACE(colour ? "colour: images grow three times" : "gray: images keep their size");
    XeDestroyCine(c);
    c = nullptr;
    Make(colour);
    Out run = Process(0, 3);
    ASSERT_EQ(run.status, 0);
    const uint32_t out = SizeOf(run.h);
    EXPECT_EQ(out, colour ? 3 * SizeOf(Header()) : SizeOf(Header()));
    for (uint32_t k = 0; k < 3; ++k) {
      Out alone = Process(k, 1);
      EXPECT_EQ(std::memcmp(&run.h, &alone.h, sizeof run.h), 0);
      EXPECT_TRUE(std::equal(alone.px.begin(), alone.px.begin() + out, run.px.begin() + k * out)) << k;
    }
  }
}

// Without work to do, the images stay as fetched and the header is the
// cine's with biSize 48 and the levels the fetch gave.
TEST_F(Run, NoStepOrOnlyTheFormatStepLeavesTheImage) {
  Make(true);
  for (bool formatStep : {false, true}) {
    std::memset(c->Processing.ActiveProcessings, 0, sizeof c->Processing.ActiveProcessings);
    c->Processing.ActiveProcessings[kStepPreSaveAdjustFormat] = formatStep;
    c->ParamsChanged = 0;
    Bytes raw = Raw(0);
    Bytes px = raw;
    px.resize(3 * raw.size(), 0xEE);
    ImageHeader h{};
    h.BlackLevel = 7;
    h.WhiteLevel = 99;
    ASSERT_EQ(ProcessCine(c, nullptr, px.data(), &h), 0);
    EXPECT_TRUE(std::equal(raw.begin(), raw.end(), px.begin()));
    EXPECT_EQ(px[raw.size()], 0xEE);
    EXPECT_EQ(cinetest::Fields(h.biSize, +h.biBitCount, h.biWidth, h.BlackLevel, h.WhiteLevel),
              cinetest::Fields(48u, 16, kW, 7, 99));
  }
}

// A refused step is a warning that does not stop the chain: the crop outside
// the image leaves its size, and the demosaic still runs.
TEST_F(Run, ARefusedStepWarnsAndTheChainGoesOn) {
  Make(true);
  c->H.Setup.EnableCrop = 1;
  c->H.Setup.CropRect = XeRect{0, 0, kW + 5, 2};
  c->ParamsChanged = 1;
  Out o = Process(0, 2);
  EXPECT_EQ(o.status, XE_WARN_CROP_REFUSED);
  EXPECT_EQ(cinetest::Fields(o.h.biWidth, +o.h.biBitCount), cinetest::Fields(kW, 48));
}

// The bound is the largest image along the chain: after the demosaic, and
// after an upscaling that follows it.
TEST_F(Run, BoundsFollowTheChain) {
  Make(true);
  EXPECT_EQ(XevGetCineInfo(c, CIS_MaxImageSize), 3 * SizeOf(Header()));
  c->H.Setup.EnableResample = 1;
  c->H.Setup.ResampleWidth = 2 * kW;
  c->H.Setup.ResampleHeight = 2 * kH;
  c->ParamsChanged = 1;
  BitmapInfoHeader big = c->H.Bmih;
  big.biWidth = 2 * kW;
  big.biHeight = 2 * kH;
  big.biBitCount = 48;
  EXPECT_EQ(XevGetCineInfo(c, CIS_MaxImageSize), intl::XefPixarSize(&big));
}

// Single steps and the chain applied to the cine's own headers.
TEST_F(Run, StepsOneByOne) {
  Make(false);
  Bytes raw = Raw(0);
  ImageHeader h = Header();
  // This camera model's samples come two bits low: the alignment shifts them
  // even where source and destination depth agree.
  c->H.Setup.CameraVersion = 1030;
  c->Processing.align = {12, 12};
  Bytes px = raw;
  ASSERT_EQ(ImageStep(c, nullptr, kStepAlignPix, px.data(), &h), 0);
  uint16_t before, after;
  std::memcpy(&before, &raw[2], 2);
  std::memcpy(&after, &px[2], 2);
  EXPECT_EQ(after, before << 2);
  // Another model, same depths: nothing happens.
  c->H.Setup.CameraVersion = 7;
  px = raw;
  ASSERT_EQ(ImageStep(c, nullptr, kStepAlignPix, px.data(), &h), 0);
  EXPECT_EQ(px, raw);
}

TEST_F(Run, TheChainAppliedToTheCineHeaders) {
  Make(true);
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

TEST_F(Run, AdjustmentsOfAnImageTheCallerHolds) {
  Make(false);
  Bytes px = Raw(0);
  BitmapInfoHeader b = c->H.Bmih;
  IMPROCOPTIONS o{};
  o.Gamma = o.WBRed = o.WBBlue = 1.0f;
  o.FlipH = 1;
  EXPECT_EQ(XeCineImProc(c, &b, px.data(), nullptr), XE_ERR_NULL_ARGUMENT);
  ASSERT_EQ(XeCineImProc(c, &b, px.data(), &o), 0);
  Bytes raw = Raw(0);
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
  fixture::CineBuilder b;
  b.Compression(2).Images(0, 2).Image(kPW, kPH, 16, 0, 4096);
  b.setup()
      .SetU32(fixture::setup::kRealBPP, 12)
      .SetU32(fixture::setup::kCFA, 3)
      .SetI32(fixture::setup::kBlackLevel, 0)
      .SetI32(fixture::setup::kWhiteLevel, 4095)
      .SetF32(fixture::setup::kWBView, 1.0f)
      .SetF32(fixture::setup::kWBView + 4, 1.0f)
      .SetF32(fixture::setup::kfGain, 1.0f)
      .SetF32(fixture::setup::kfSaturation, 1.0f)
      .SetF32(fixture::setup::kfGamma, 1.0f);
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
  for (int32_t row = 1; row < kPH - 1; ++row)
    for (int32_t x = 1; x < kPW - 1; ++x) {
      uint16_t bgr[3];
      std::memcpy(bgr, &px[(row * kPW + x) * 6], 6);
      ASSERT_NEAR(bgr[0], kBlue, 40) << x << "," << row;
      ASSERT_NEAR(bgr[1], kGreen, 40) << x << "," << row;
      ASSERT_NEAR(bgr[2], kRed, 40) << x << "," << row;
    }
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
