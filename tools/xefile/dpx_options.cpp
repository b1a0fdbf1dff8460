#include "dpx_options.h"

#include <CLI/CLI.hpp>

#include "adjust_options.h"
#include "tool.h"

namespace xetool {

std::string DpxToolOptions::FirstGiven() const {
  if (log) return "--dpx-log";
  if (bits) return "--dpx-bits";
  if (packing) return "--dpx-packing";
  if (bigEndian) return "--dpx-big-endian";
  if (refWhite) return "--dpx-ref-white";
  if (refBlack) return "--dpx-ref-black";
  if (gamma) return "--dpx-gamma";
  if (filmGamma) return "--dpx-film-gamma";
  if (lut) return "--dpx-lut";
  return "";
}

void AddDpxOptions(CLI::App *cmd, DpxToolOptions &o) {
  cmd->add_flag("--dpx-log", o.log, "DPX: 10-bit printing-density log samples (images of more than 8 bits)");
  cmd->add_option("--dpx-bits", o.bits, "DPX: linear samples reduced or expanded to 10 bits")
      ->check(CLI::IsMember({10}));
  AddRanged(cmd, "--dpx-packing", o.packing,
            "DPX: packing of 10 and 12-bit samples, 0 a bit stream, 1 or 2 three 10-bit samples a word", 0, 2);
  cmd->add_flag("--dpx-big-endian", o.bigEndian, "DPX: big-endian file (\"SDPX\")");
  AddRanged(cmd, "--dpx-ref-white", o.refWhite, "DPX log: reference white code, 685 by default", 0, 1023);
  AddRanged(cmd, "--dpx-ref-black", o.refBlack, "DPX log: reference black code, 95 by default", 0, 1023);
  AddRanged(cmd, "--dpx-gamma", o.gamma, "DPX log: display gamma, 1.0 by default", 0.01, 100);
  AddRanged(cmd, "--dpx-film-gamma", o.filmGamma, "DPX log: film gamma, 0.6 by default", 0.01, 100);
  cmd->add_flag("--dpx-lut", o.lut, "DPX log: also write the LUT text files beside the first image");
}

void RefuseDpxConflicts(const DpxToolOptions &o) {
  if (o.lut && !o.log) FailWith("--dpx-lut: the LUT files come with --dpx-log", kExitUsage);
  // The library would lower the black to the white; 685 is the white that
  // the DPX type brings.
  const int white = o.refWhite ? *o.refWhite : 685;
  if (o.refBlack && *o.refBlack > white)
    FailWith("--dpx-ref-black " + std::to_string(*o.refBlack) + " is above the reference white " +
                 std::to_string(white),
             kExitUsage);
}

void ApplyDpxOptions(CineHandle cine, const DpxToolOptions &o) {
  if (o.log) SetCineValue(cine, CIS_DpxLog, 1);
  if (o.bits) SetCineValue(cine, CIS_DpxTo10Bit, 1);
  if (o.packing) SetCineValue(cine, CIS_DpxPacking, static_cast<uint32_t>(*o.packing));
  if (o.bigEndian) SetCineValue(cine, CIS_DpxLittleEndian, 0);
  if (o.refWhite) SetCineValue(cine, CIS_DpxRefWhite, static_cast<uint32_t>(*o.refWhite));
  if (o.refBlack) SetCineValue(cine, CIS_DpxRefBlack, static_cast<uint32_t>(*o.refBlack));
  for (auto [selector, value] : {std::pair{CIS_DpxGamma, o.gamma}, {CIS_DpxFilmGamma, o.filmGamma}}) {
    if (!value) continue;
    float f = static_cast<float>(*value);
    const int32_t status = XeSetCineInfo(cine, selector, &f);
    if (status < 0) Fail("option of selector " + std::to_string(selector) + " cannot be set", status);
  }
  if (o.lut) SetCineValue(cine, CIS_DpxWriteLut, 1);
}

}  // namespace xetool
