// The DPX options of convert (--to dpx): log or linear samples, the 10-bit
// request, the packing and byte order, the log references and the LUT files.
#pragma once

#include <optional>
#include <string>

#include <xefile/xefile.h>

namespace CLI {
class App;
}

namespace xetool {

struct DpxToolOptions {
  bool log = false, bigEndian = false, lut = false;
  std::optional<int> bits, packing, refWhite, refBlack;
  std::optional<double> gamma, filmGamma;

  // The first DPX option given on the command line ("--dpx-log"), "" for
  // none: for refusing them with another type.
  std::string FirstGiven() const;
};

// Adds the --dpx-* options to `cmd`, each with its range.
void AddDpxOptions(CLI::App *cmd, DpxToolOptions &o);

// Refuses, as usage errors, a reference black above the reference white
// (which the library would lower to it) and LUT files without log samples
// (which the library would not write).
void RefuseDpxConflicts(const DpxToolOptions &o);

// Sets the options given through the DPX selectors, once the cine's type is
// DPX (which brings the defaults they change).
void ApplyDpxOptions(CineHandle cine, const DpxToolOptions &o);

}  // namespace xetool
