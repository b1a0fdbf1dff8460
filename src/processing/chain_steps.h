// The 36 steps of the processing chain: their numbers, names and fixed order,
// which of them a use case switches on, and how each changes an image header.
//
// A step's number is its index in ActiveProcessings; the chain runs them in
// kChainOrder, which is not the order of the numbers. Steps 16 to 23 never
// run on their own after a refresh: they are fused into step 24, one pass for
// all adjustments. Step 28 is only a plan; the refresh replaces it by 30
// (before the adjustments) or 31 (near the end), so that as much of the chain
// as possible runs on the smaller picture.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/cine.h"

namespace xe {

enum ChainStep : uint32_t {
  kStepPreSaveBugFix = 0,
  kStepAlignPix = 1,
  kStepUnpack = 2,
  kStepPreCalibRepair = 3,
  kStepPreRepairPix = 4,
  kStepCompK4Bars = 5,
  kStepCalib = 6,
  kStepRepairPix = 7,
  kStepPostCalibRepair = 8,
  kStepRepack = 9,
  kStepToMaxLev = 10,
  kStepTo8Bps = 11,
  kStepWhiteBalance = 12,
  kStepCompCT = 13,
  kStepDemosaic = 14,
  kStepPostInterpWB = 15,
  kStepBright = 16,
  kStepContrast = 17,
  kStepSat = 18,
  kStepHue = 19,
  kStepGamma = 20,
  kStepFlip = 21,
  kStepRotate = 22,
  kStepFilter = 23,
  kStepImProcFused = 24,
  kStepInsideStamp = 25,
  kStepOutsideStamp = 26,
  kStepPostSaveBugFix = 27,
  kStepResample = 28,
  kStepCrop = 29,
  kStepDownsample = 30,
  kStepUpsample = 31,
  kStepVFlipView = 32,
  kStepSeparateChannels = 33,
  kStepShowBadPixels = 34,
  kStepPreSaveAdjustFormat = 35,
};

// Step numbers in the order the chain runs them.
extern const std::array<uint32_t, kStepCount> kChainOrder;

// The step's name for the log ("UNPACK", ...); "" for a number above 35.
const char *StepName(uint32_t step);
// The step's place in kChainOrder; kStepCount for a number above 35.
uint32_t StepPlace(uint32_t step);
bool StepActive(const Cine *c, uint32_t step);
// Whether the camera of `cn` delivers its samples aligned to the top bit of
// a 16-bit word (the alignment step shifts them only then).
bool CameraSamplesLeftAligned(int32_t cn);

// The meanings of the working-block words (ProcessingState) per use case.
struct UseCaseWords {
  uint32_t algo = 0;
  bool vflipView = false;
  bool separateChannels = false;
  bool noCalibration = false;
  bool rawImage = false;
  bool repairPixels = false;
};
UseCaseWords ReadUseCaseWords(const Cine *c);

// The three parts of a refresh, in the order it runs them: the activation
// rules of the use case in chain order (with their parameter side effects),
// the fusing of steps 16 to 23 into 24, and the choice of 30 or 31 for a
// planned resample. The rules do not fail; their merged status is returned.
// Use case 0 runs no rule and leaves ActiveProcessings as it was.
int32_t ApplyActivationRules(Cine *c);
void FuseImProcSteps(Cine *c);
void ChooseScaleStep(Cine *c);
// The size triple of a scaling step: RESAMPLE, DOWNSAMPLE or UPSAMPLE.
inline const ScaleParams &ScaleParamsOf(const ProcessingParams &p, uint32_t step) {
  return step == kStepResample ? p.resample : step == kStepDownsample ? p.downsample : p.upsample;
}


// Updates h as the step would change it, if the step is active; biSizeImage
// follows every change of size.
void StepHeader(const Cine *c, uint32_t step, ImageHeader *h);
// The header of the images as the whole chain delivers them: the cine's
// BitmapInfoHeader with the Setup's levels, through every step.
void ProcessedHeaderOf(const Cine *c, ImageHeader *h);
// The same, stopping ahead of `step` in the chain.
void HeaderBeforeStep(const Cine *c, uint32_t step, ImageHeader *h);

// The active steps as text. With room for at least kLongReportMin characters
// the long form: per step a line feed, the name and its parameters, the
// entries separated by ",". With less room the short form: "{" the names
// joined by ", " "}", cut to fit. Always terminated when size > 0.
constexpr size_t kLongReportMin = 1800;
void ActiveStepsReport(const Cine *c, char *out, size_t size);
void ActiveStepsShortReport(const Cine *c, char *out, size_t size);

}  // namespace xe
