#include "adjust_options.h"

#include <CLI/CLI.hpp>

#include <strings.h>

#include <cstdio>

#include "tool.h"

namespace xetool {
namespace {

// "-1000 to 1000", "0.01 to 100".
std::string BoundsText(double low, double high) {
  char text[64];
  std::snprintf(text, sizeof text, "%g to %g", low, high);
  return text;
}

// Values from low to high; the refusal names the range. NaN is outside
// every range.
CLI::Validator InRange(double low, double high) {
  const std::string range = BoundsText(low, high);
  return CLI::Validator(
      [low, high, range](std::string &input) -> std::string {
        double v = 0;
        if (!CLI::detail::lexical_cast(input, v) || !(v >= low && v <= high))
          return input + " is outside " + range;
        return {};
      },
      "");
}

// "WxH" into two numbers from 1 to 65536; false when it is not that.
bool ParseSize(const std::string &text, int64_t *w, int64_t *h, size_t *used = nullptr) {
  unsigned long long a = 0, b = 0;
  int n = 0;
  if (std::sscanf(text.c_str(), "%llux%llu%n", &a, &b, &n) != 2 || a == 0 || b == 0 || a > 65536 ||
      b > 65536)
    return false;
  if (used) *used = static_cast<size_t>(n);
  else if (static_cast<size_t>(n) != text.size()) return false;
  *w = static_cast<int64_t>(a);
  *h = static_cast<int64_t>(b);
  return true;
}

void ApplyCrop(CineHandle cine, const std::string &crop) {
  // WxH+X+Y, picture coordinates; right and bottom are inclusive.
  int64_t w = 0, h = 0;
  size_t used = 0;
  long long x = -1, y = -1;
  int n = 0;
  if (!ParseSize(crop, &w, &h, &used) || std::sscanf(crop.c_str() + used, "+%lld+%lld%n", &x, &y, &n) != 2 ||
      used + static_cast<size_t>(n) != crop.size() || x < 0 || y < 0 || x > 65535 || y > 65535)
    FailWith("--crop " + crop + ": give WxH+X+Y", kExitUsage);
  XeRect r{static_cast<int32_t>(x), static_cast<int32_t>(y), static_cast<int32_t>(x + w - 1),
           static_cast<int32_t>(y + h - 1)};
  const int32_t status = XeSetCineInfo(cine, CIS_CropRect, &r);
  if (status < 0) Fail("--crop", status);
  SetCineValue(cine, CIS_EnableCrop, 1);
  XeGetCineInfo(cine, CIS_CropRect, &r);
  if (r.right - r.left + 1 != w || r.bottom - r.top + 1 != h || r.left != x || r.top != y)
    Note("the crop is " + std::to_string(r.right - r.left + 1) + "x" + std::to_string(r.bottom - r.top + 1) +
         "+" + std::to_string(r.left) + "+" + std::to_string(r.top) +
         " (widths are multiples of 16, heights of 8)");
}

void ApplyResample(CineHandle cine, const std::string &resample) {
  int64_t w = 0, h = 0;
  if (!ParseSize(resample, &w, &h)) FailWith("--resample " + resample + ": give WxH", kExitUsage);
  const uint32_t gw = SetCineValue(cine, CIS_ResampleWidth, static_cast<uint32_t>(w));
  const uint32_t gh = SetCineValue(cine, CIS_ResampleHeight, static_cast<uint32_t>(h));
  SetCineValue(cine, CIS_EnableResample, 1);
  if (gw != w || gh != h)
    Note("the images are resampled to " + std::to_string(gw) + "x" + std::to_string(gh) +
         " (multiples of 16 and 8)");
}

}  // namespace

template <typename T>
void AddRanged(CLI::App *cmd, const std::string &name, T &target, const std::string &what, double low,
               double high) {
  cmd->add_option(name, target, what + " (" + BoundsText(low, high) + ")")->check(InRange(low, high));
}
template void AddRanged(CLI::App *, const std::string &, std::optional<int> &, const std::string &, double, double);
template void AddRanged(CLI::App *, const std::string &, std::optional<double> &, const std::string &, double,
                        double);

std::string AdjustOptions::FirstGiven() const {
  if (!demosaic.empty()) return "--demosaic";
  if (bright) return "--bright";
  if (contrast) return "--contrast";
  if (gamma) return "--gamma";
  if (saturation) return "--saturation";
  if (hue) return "--hue";
  if (!wb.empty()) return "--wb";
  if (!crop.empty()) return "--crop";
  if (!resample.empty()) return "--resample";
  if (!flip.empty()) return "--flip";
  if (rotate) return "--rotate";
  return "";
}

void AddAdjustOptions(CLI::App *cmd, AdjustOptions &o) {
  cmd->add_option("--demosaic", o.demosaic, "colour interpolation: Fastest, Fast, Medium, Good or Best");
  AddRanged(cmd, "--bright", o.bright, "brightness, thousandths of full scale", -1000, 1000);
  AddRanged(cmd, "--contrast", o.contrast, "contrast, 0 neutral", -100, 100);
  // Gamma is kept in hundredths: below 0.01 it would be 0, which the
  // library takes as neutral.
  AddRanged(cmd, "--gamma", o.gamma, "gamma, 1.0 neutral, above 1 lightens the mid-tones", 0.01, 100);
  AddRanged(cmd, "--saturation", o.saturation, "saturation, 0 neutral, -100 gray", -100, 100);
  AddRanged(cmd, "--hue", o.hue, "hue turn in degrees", -360, 360);
  cmd->add_option("--wb", o.wb, "white balance gains R,B, 1.0 neutral (each " + BoundsText(0, 100) + ")")
      ->delimiter(',')
      ->expected(2)
      ->check(InRange(0, 100));
  cmd->add_option("--crop", o.crop, "crop to WxH+X+Y");
  cmd->add_option("--resample", o.resample, "resample to WxH");
  cmd->add_option("--flip", o.flip, "mirror: h, v or hv")->check(CLI::IsMember({"h", "v", "hv", "vh"}));
  cmd->add_option("--rotate", o.rotate, "a quarter turn: 90 clockwise or -90")
      ->check(CLI::IsMember({0, 90, -90, 270, -270}));
}

uint32_t SetCineValue(CineHandle cine, uint32_t selector, uint32_t value) {
  const int32_t status = XeSetCineInfo(cine, selector, &value);
  if (status < 0) Fail("option of selector " + std::to_string(selector) + " cannot be set", status);
  return value;
}

void ApplyAdjustOptions(CineHandle cine, const AdjustOptions &o) {
  IMPROCOPTIONS p{};
  XeGetCineProcessing(cine, &p);
  if (o.bright) p.Bright = *o.bright;
  if (o.contrast) p.Contrast = *o.contrast;
  if (o.saturation) p.Saturation = *o.saturation;
  if (o.hue) p.Hue = *o.hue;
  if (o.gamma) p.Gamma = static_cast<float>(*o.gamma);
  if (o.rotate) p.Rotate = *o.rotate;
  if (o.wb.size() == 2) {
    p.WBRed = static_cast<float>(o.wb[0]);
    p.WBBlue = static_cast<float>(o.wb[1]);
  }
  if (!o.flip.empty()) {
    p.FlipH = o.flip.find('h') != std::string::npos;
    p.FlipV = o.flip.find('v') != std::string::npos;
  }
  const int32_t status = XeSetCineProcessing(cine, &p);
  if (status < 0) Fail("the image adjustments cannot be set", status);
  // Setting the adjustments does not mark the chain for a rebuild (a save
  // rebuilds it anyway; a view of the cine's own use case would not): raise
  // the cine's flag so that the next processed image has them.
  uint32_t *changed = nullptr;
  if (XeGetCineInfo(cine, CIS_PtrParamsChanged, &changed) >= 0 && changed) *changed = 1;
  if (!o.crop.empty()) ApplyCrop(cine, o.crop);
  if (!o.resample.empty()) ApplyResample(cine, o.resample);
}

uint32_t DemosaicId(const std::string &name) {
  uint8_t ids[6];
  char names[6][20];
  XefInitIntAlgoIDs(ids, nullptr, names);
  std::string known;
  for (int p = 0; p < 6; ++p) {
    if (strcasecmp(name.c_str(), names[p]) == 0) return ids[p];
    known += (p ? ", " : "") + std::string(names[p]);
  }
  FailWith("--demosaic " + name + ": unknown (known: " + known + ")", kExitUsage);
}

DemosaicChoice::DemosaicChoice(CineHandle cine, const AdjustOptions &o, uint32_t selector)
    : cine_(cine), selector_(selector) {
  if (o.demosaic.empty()) return;
  const uint32_t id = DemosaicId(o.demosaic);
  previous_ = XevGetCineInfo(cine, selector);
  if (SetCineValue(cine, selector, id) != id)
    FailWith("--demosaic " + o.demosaic + " cannot be used here", kExitUsage);
}

DemosaicChoice::~DemosaicChoice() {
  if (previous_) XeSetCineInfo(cine_, selector_, &*previous_);
}

}  // namespace xetool
