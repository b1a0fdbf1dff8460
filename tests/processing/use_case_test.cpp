// Use cases and the chain they build: which steps a refresh switches on for
// a kind of cine and target, the parameters it hands the steps, the header
// the chain produces, and the older IMPROCOPTIONS interface.
#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <set>

#include "cinefile/cine_test_support.h"
#include "frame/cine.h"
#include "processing/chain_steps.h"
#include "processing/use_case.h"
#include "xefile/xefile.h"

using namespace xe;

namespace {

constexpr uint32_t kW = 64, kH = 32;

// The kinds of cine the rules tell apart.
enum Kind { kCameraGray, kFileGray, kFileRawColor };

// A 16-bit cine in memory, shaped as `kind`, in `useCase` with the working
// words of that use case at their start values (word 0 set to `algo`).
class Chain : public testing::Test {
 protected:
  void TearDown() override { XeDestroyCine(c); }

  void Make(Kind kind) {
    XeDestroyCine(c);  // a table row starts from a new cine
    c = nullptr;
    ASSERT_EQ(XefNewCine(&c, kW, kH, 16, 0, 2), 0);
    c->IsFileCine = kind != kCameraGray;
    c->SourceFileType = kSourceRawCine;
    c->H.Setup.CFA = kind == kFileRawColor ? 3 : 0;
  }
  // Enters the use case afresh and refreshes with `words` (index, value).
  void Enter(uint32_t useCase, uint32_t algo = 4,
             std::initializer_list<std::pair<uint32_t, uint32_t>> words = {}) {
    c->CineUseCase = 0;
    ASSERT_EQ(XeSetUseCase(c, useCase), 0);
    c->ProcessingState[kWordAlgo] = algo;
    for (auto [i, v] : words) c->ProcessingState[i] = v;
    ASSERT_EQ(RefreshCineProcessingParams(c), 0);
  }
  std::set<uint32_t> Active() const {
    std::set<uint32_t> on;
    for (uint32_t s = 0; s < kStepCount; ++s)
      if (c->Processing.ActiveProcessings[s]) on.insert(s);
    return on;
  }
  CineHandle c = nullptr;
};

// The complete set of active steps after a refresh, per kind of cine, use
// case, working words and target.
TEST_F(Chain, ActivationByUseCase) {
  struct Row {
    const char *what;
    Kind kind;
    uint32_t useCase;
    uint32_t algo;
    std::initializer_list<std::pair<uint32_t, uint32_t>> words;
    int16_t fileType;
    void (*tweak)(Cine *);
    std::set<uint32_t> active;
  };
  auto none = [](Cine *) {};
  const Row rows[] = {
      // The adjustments fuse into 24; a gray cine has no saturation or hue,
      // and a file that is not packed is not repaired.
      {"gray file, view", kFileGray, 1, 4, {}, 0, none, {10, 24, 32}},
      {"raw colour file, view", kFileRawColor, 1, 4, {}, 0, none, {10, 13, 14, 15, 24, 32}},
      {"raw colour file, view, metadata white balance", kFileRawColor, 1, 4, {}, 0,
       [](Cine *k) { k->H.Setup.bMetaWB = 1; }, {10, 12, 13, 14, 15, 24, 32}},
      // RawImage: no fused step and no demosaic.
      {"raw colour file, view, RawImage", kFileRawColor, 1, 4, {{6, 1}}, 0, none, {10, 32}},
      // The "None" demosaic leaves a gray mosaic: no colour step runs.
      {"raw colour file, view, id 6", kFileRawColor, 1, kAlgoNone, {}, 0, none, {10, 24, 32}},
      // "Fastest" runs without cross-talk compensation.
      {"raw colour file, view, Fastest", kFileRawColor, 1, 1, {}, 0, none, {10, 14, 15, 24, 32}},
      {"gray file, view, no VFlipView", kFileGray, 1, 4, {{3, 0}}, 0, none, {10, 24}},
      // A camera cine gets the sensor steps; the repair fills the flaw cache.
      {"camera gray, view", kCameraGray, 1, 4, {}, 0, none, {1, 3, 4, 5, 6, 7, 8, 10, 24, 32, 34}},
      {"camera gray, view, NoCalibration, no repair", kCameraGray, 1, 4, {{5, 1}, {7, 0}}, 0, none,
       {1, 5, 8, 10, 24, 32, 34}},
      // A save to a raw cine (target B) keeps the image as it is.
      {"raw colour file, save to raw cine", kFileRawColor, 2, 4, {}, 0,
       [](Cine *k) { k->H.Setup.EnableCrop = k->H.Setup.EnableResample = 1; }, {}},
      {"raw colour file, save to 8-bit files", kFileRawColor, 2, 4, {}, -3, none,
       {10, 11, 12, 13, 14, 15, 24}},
      {"raw colour file, save to a 16-bit colour cine", kFileRawColor, 2, 4, {}, 1,
       [](Cine *k) { k->Saving.Save16Bit = 1; }, {10, 12, 13, 14, 15, 24}},
      {"gray file, save to a gray cine (target B)", kFileGray, 2, 4, {}, 1, none, {10}},
      {"camera gray, save, old model", kCameraGray, 2, 4, {}, 0,
       [](Cine *k) { k->H.Setup.CameraVersion = 5; }, {0, 1, 3, 4, 5, 6, 7, 8, 27}},
      {"camera gray, save, RawImage with stamps", kCameraGray, 2, 4, {{4, 1}}, -3,
       [](Cine *k) { k->Saving.StampTime = 1; }, {1, 3, 4, 5, 6, 7, 8, 10}},
      {"camera gray, save, time stamp", kCameraGray, 2, 4, {}, -3,
       [](Cine *k) { k->Saving.StampTime = 1; }, {1, 3, 4, 5, 6, 7, 8, 10, 11, 24, 25}},
      {"camera gray, raw use case", kCameraGray, 3, 4, {}, 0, none, {1, 3, 4, 5, 6, 7, 8, 10}},
  };
  for (const Row &r : rows) {
    SCOPED_TRACE(r.what);
    Make(r.kind);
    c->Saving.FileType = r.fileType;
    c->H.Setup.CameraVersion = 7;
    r.tweak(c);
    Enter(r.useCase, r.algo, r.words);
    EXPECT_EQ(Active(), r.active);
  }
}

TEST_F(Chain, SetUseCaseRefreshesOnlyOnAChange) {
  Make(kFileGray);
  uint32_t id = 0;
  // The id in force: no refresh, even with a rebuild pending.
  c->ParamsChanged = 1;
  EXPECT_EQ(XeSetUseCase(c, 1), 0);
  EXPECT_EQ(c->ParamsChanged, 1u);
  // An unknown id keeps the use case but refreshes.
  EXPECT_EQ(XeSetUseCase(c, 7), 0);
  EXPECT_EQ(c->ParamsChanged, 0u);
  EXPECT_EQ(XeGetUseCase(c, &id), 0);
  EXPECT_EQ(id, 1u);
  EXPECT_EQ(XeSetUseCase(nullptr, 1), XE_ERR_NULL_ARGUMENT);
}

// The parameters a refresh hands the steps.
TEST_F(Chain, ParametersOfActiveSteps) {
  Make(kFileRawColor);
  ::Setup &s = c->H.Setup;
  s.WBView = {1.5f, 0.75f};
  s.fOffset = 0.25f;
  s.fGamma = 2.0f;
  s.Rotate = 90;
  Enter(1, 4);
  const ProcessingParams &p = c->Processing;
  EXPECT_EQ(cinetest::Fields(p.demosaic.algo, p.demosaic.CFA, p.postWB.R, p.postWB.B, c->PackInfo.CFA),
            cinetest::Fields(4u | 0x100u, 3u, 1.5f, 0.75f, 3u));
  // The fused step reads the items of 16 to 23 through its pointers.
  ASSERT_NE(p.fused.bright, nullptr);
  EXPECT_EQ(cinetest::Fields(*p.fused.bright, *p.fused.gamma, *p.fused.angle),
            cinetest::Fields(0.25f, 2.0f, 90));
}

// A planned resample becomes a downsample unless the target is strictly
// larger; an upsample after a quarter turn scales to the turned size.
TEST_F(Chain, ResampleChoosesDownOrUp) {
  struct Row { uint32_t w, h; int32_t rotate; uint32_t step, outW, outH; };
  const Row rows[] = {
      {kW, kH, 0, kStepDownsample, kW, kH},
      {128, 64, 0, kStepUpsample, 128, 64},
      {128, 64, 90, kStepUpsample, 64, 128},
      {32, 16, 90, kStepDownsample, 32, 16},
  };
  Make(kFileGray);
  for (const Row &r : rows) {
    SCOPED_TRACE(testing::Message() << r.w << "x" << r.h << " rotate " << r.rotate);
    ::Setup &s = c->H.Setup;
    s.EnableResample = 1;
    s.ResampleWidth = r.w;
    s.ResampleHeight = r.h;
    s.Rotate = r.rotate;
    Enter(1);
    EXPECT_EQ(cinetest::Fields(StepActive(c, kStepDownsample), StepActive(c, kStepUpsample),
                               StepActive(c, kStepResample)),
              cinetest::Fields(r.step == kStepDownsample, r.step == kStepUpsample, false));
    const ScaleParams &out =
        r.step == kStepUpsample ? c->Processing.upsample : c->Processing.downsample;
    EXPECT_EQ(cinetest::Fields(out.widthOut, out.heightOut, out.kernelSize),
              cinetest::Fields(r.outW, r.outH, 5u));
  }
}

// A save does not copy the wanted size: it uses what the view left behind.
TEST_F(Chain, SaveKeepsTheSizeOfTheLastView) {
  Make(kFileRawColor);
  ::Setup &s = c->H.Setup;
  s.EnableResample = 1;
  s.ResampleWidth = 32;
  s.ResampleHeight = 16;
  Enter(1);
  s.ResampleWidth = 48;
  c->Saving.FileType = -3;
  Enter(2);
  EXPECT_TRUE(StepActive(c, kStepDownsample));
  EXPECT_EQ(c->Processing.downsample.widthOut, 32u);
}

// The header the chain delivers, and the header ahead of a step.
TEST_F(Chain, HeaderWalk) {
  struct Row {
    const char *what;
    Kind kind;
    uint32_t useCase;
    int16_t fileType;
    bool crop;
    int32_t w, h;
    uint16_t bits;
  };
  const Row rows[] = {
      // The uncropped view's bit counts show in the fetches' announced headers.
      {"crop gives R-L+1 x B-T+1", kFileRawColor, 1, 0, true, 32, 16, 48},
      {"TO8BPS to 24 bits", kFileRawColor, 2, -3, false, kW, kH, 24},
      {"TO8BPS to 8 bits", kFileGray, 2, -3, false, kW, kH, 8},
  };
  for (const Row &r : rows) {
    SCOPED_TRACE(r.what);
    Make(r.kind);
    c->H.Setup.EnableCrop = r.crop;
    c->H.Setup.CropRect = {2, 1, 33, 16};
    Enter(1);  // the crop rectangle comes with the view
    c->Saving.FileType = r.fileType;
    if (r.useCase != 1) Enter(r.useCase);
    ImageHeader h;
    ProcessedHeaderOf(c, &h);
    EXPECT_EQ(cinetest::Fields(h.biSize, h.biWidth, h.biHeight, h.biBitCount),
              cinetest::Fields(48u, r.w, r.h, r.bits));
    EXPECT_EQ(h.biSizeImage, static_cast<uint32_t>(r.w) * r.h * (r.bits / 8));
  }
  // Ahead of the demosaic the mosaic is still 16 bits, which TOMAXLEV
  // stretched to the full range of that depth.
  ImageHeader h;
  Make(kFileRawColor);
  Enter(1);
  HeaderBeforeStep(c, kStepDemosaic, &h);
  EXPECT_EQ(cinetest::Fields(+h.biBitCount, h.BlackLevel, h.WhiteLevel), cinetest::Fields(16, 0, 65535));
}

// The older adjustment record: set into the Setup and read back through the
// float fields (their rounding is the companion's, tested there).
TEST_F(Chain, ImProcOptionsThroughTheSetup) {
  Make(kFileRawColor);
  IMPROCOPTIONS in{};
  in.Bright = 100;
  in.Contrast = -50;
  in.Gamma = 2.2f;
  in.Saturation = 30;
  in.FlipH = 1;
  in.Rotate = -90;
  in.WBRed = 1.25f;
  in.WBBlue = 0.5f;
  in.FilterCode = 5;
  in.UserFilter.dim = 3;
  in.Hue = -20;
  c->ParamsChanged = 0;
  EXPECT_EQ(XeSetCineProcessing(c, &in), 0);
  EXPECT_EQ(c->ParamsChanged, 0u);  // the next rebuild picks them up
  EXPECT_EQ(c->H.Setup.Gamma, 220);
  IMPROCOPTIONS out;
  std::memset(&out, 0xAB, sizeof out);
  EXPECT_EQ(XeGetCineProcessing(c, &out), 0);
  EXPECT_EQ(std::memcmp(&out, &in, sizeof in), 0);
}

}  // namespace
