// The image adjustments of the command line (tone, colour, geometry and the
// colour interpolation), shared by the subcommands that deliver processed
// images: their options, their ranges, and their setting on a cine.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <xefile/xefile.h>

namespace CLI {
class App;
}

namespace xetool {

struct AdjustOptions {
  std::string demosaic, flip, crop, resample;
  std::optional<int> bright, contrast, saturation, hue, rotate;
  std::optional<double> gamma;
  std::vector<double> wb;

  // The first adjustment given on the command line ("--crop"), "" for none;
  // --demosaic counts. For refusing them where the images are not processed.
  std::string FirstGiven() const;
};

// Adds the option `name` to `cmd` for values from low to high (an optional
// int or double): the range is shown in its help and named in a refusal.
template <typename T>
void AddRanged(CLI::App *cmd, const std::string &name, T &target, const std::string &what, double low,
               double high);

// Adds --demosaic, --bright, --contrast, --gamma, --saturation, --hue, --wb,
// --crop, --resample, --flip and --rotate to `cmd`, each with the range the
// library gives a meaning to; a value outside it is a usage error that names
// the range.
void AddAdjustOptions(CLI::App *cmd, AdjustOptions &o);

// Sets the adjustments of `o` (all but the demosaic) in the cine's Setup,
// with a note on standard error where the library snaps a crop or a
// resample size. Throws Failure on a refusal.
void ApplyAdjustOptions(CineHandle cine, const AdjustOptions &o);

// Sets a 32-bit selector and answers the value the cine kept (it may limit
// it); a refusal throws Failure.
uint32_t SetCineValue(CineHandle cine, uint32_t selector, uint32_t value);

// The demosaic id of a name of the library's list, case-blind; a usage
// failure for another name.
uint32_t DemosaicId(const std::string &name);

// The demosaic of `o` (when given) set through `selector` (CIS_SaveAlgo for
// a save, CIS_Algo for the present use case) for the life of the object.
// The library keeps these as the user's settings: the previous id is put
// back at the end.
class DemosaicChoice {
 public:
  DemosaicChoice(CineHandle cine, const AdjustOptions &o, uint32_t selector);
  ~DemosaicChoice();
  DemosaicChoice(const DemosaicChoice &) = delete;
  DemosaicChoice &operator=(const DemosaicChoice &) = delete;

 private:
  CineHandle cine_;
  uint32_t selector_;
  std::optional<uint32_t> previous_;
};

}  // namespace xetool
