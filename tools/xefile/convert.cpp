// xefile convert: a save of the whole or a part of a recording into a file
// type of the library's list, with the save options and image adjustments
// of the command line.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "adjust_options.h"
#include "dpx_options.h"
#include "file_types.h"
#include "save_outputs.h"
#include "save_progress.h"
#include "tool.h"

namespace xetool {
namespace {

struct ConvertOptions {
  std::string file, out, type, range;
  std::optional<int> quality;
  AdjustOptions adjust;
  DpxToolOptions dpx;
  bool depth16 = false, depth8 = false, xml = false, stampTime = false, noClobber = false;
};

// The types whose images keep more than 8 bits per sample when the save's
// Save16Bit is set; every other type gets 8-bit images.
bool KeepsWideSamples(int16_t code) {
  return code == -27 || code == -26 || code == -25 || code == -10 || code == -9 || code == 0 || code == 1;
}

// The save of a raw cine, of a DNG, and of a gray cine as a cine, keeps the
// samples as stored: the adjustments would only be written into the
// Setup, not applied.
bool KeepsStoredSamples(int16_t code, bool colour) { return code == 0 || code == -26 || (code == 1 && !colour); }

const FileTypeName &ChooseType(const ConvertOptions &o, const OpenCine &c) {
  const FileTypeName *type = o.type.empty() ? FileTypeForPath(o.out, c.setup().RealBPP) : FindFileType(o.type);
  if (!type) {
    if (o.type.empty())
      FailWith(o.out + ": the type cannot be told from the name; give --to TYPE (see xefile formats)", kExitUsage);
    Fail("--to " + o.type + ": unknown type (" + FileTypeNames() + ", or the FileType number)",
         XE_ERR_NOT_SUPPORTED);
  }
  const std::string why = Unavailable(*type);
  if (!why.empty())
    Fail("type " + std::string(type->name) + " is not available in this build (" + why + ")",
         XE_ERR_NOT_SUPPORTED);
  if (type->code == -26 && !XefIsColorCine(c.get()))
    Fail("type dng needs a colour cine; " + c.path() + " is gray", XE_ERR_NOT_SUPPORTED);
  return *type;
}

// An option that would change nothing in this save is refused, with why.
void RefuseIgnoredOptions(const ConvertOptions &o, const FileTypeName &t, const OpenCine &c) {
  const std::string type = std::string("type ") + t.name;
  const bool colour = XefIsColorCine(c.get()) == 1;
  const std::string dpxOption = o.dpx.FirstGiven();
  if (!dpxOption.empty() && t.code != -27) FailWith(dpxOption + ": " + type + " is not DPX", kExitUsage);
  RefuseDpxConflicts(o.dpx);
  if (o.stampTime) FailWith("--stamp-time: time stamps are not available in this build", kExitUsage);
  if (o.quality && !XefIsJPEGCompressed(t.code))
    FailWith("--quality: " + type + " is not JPEG-compressed", kExitUsage);
  const std::string adjustment = o.adjust.FirstGiven();
  if (!adjustment.empty() && KeepsStoredSamples(t.code, colour))
    FailWith(adjustment + ": " + type + " keeps the samples" + (colour ? "" : " of a gray cine") +
                 " as stored; the adjustments apply to processed types (tiff8/12/16, tiff-multipage, raw, "
                 "and cine of a colour cine)",
             kExitUsage);
  if (!o.adjust.demosaic.empty() && !colour)
    FailWith("--demosaic: " + c.path() + " is gray: there is no colour to interpolate", kExitUsage);
  if (o.depth16 && !KeepsWideSamples(t.code))
    FailWith("--16bit: " + type + " holds 8-bit samples", kExitUsage);
  if (o.depth16 && c.setup().RealBPP <= 8)
    FailWith("--16bit: " + c.path() + " has " + std::to_string(c.setup().RealBPP) + "-bit samples",
             kExitUsage);
  if (o.depth8 && (t.code == -10 || t.code == -9))
    FailWith("--8bit: " + type + " holds " + (t.code == -10 ? "16" : "12") + "-bit samples (tiff8 holds 8)",
             kExitUsage);
}

// The depth options once the type is set: the library keeps Save16Bit as
// the cine and type allow.
void SetDepth(const ConvertOptions &o, const FileTypeName &t, CineHandle cine) {
  if (!o.depth16 && !o.depth8) return;
  SetCineValue(cine, CIS_Save16Bit, o.depth16 ? 1 : 0);
  const bool wide = XevGetCineInfo(cine, CIS_Save16Bit) != 0;
  if (o.depth8 && wide && KeepsWideSamples(t.code))
    FailWith(std::string("--8bit: type ") + t.name + " keeps the samples of this cine wider than 8 bits",
             kExitUsage);
  if (o.depth16 && !wide)
    FailWith(std::string("--16bit: type ") + t.name + " of this cine cannot hold more than 8 bits",
             kExitUsage);
}

// The message of a failed save: what is wrong as far as it can be told.
std::string FailedSaveText(const ConvertOptions &o, const FileTypeName &t, const OpenCine &c,
                           const SaveOutputs &outputs, int32_t status) {
  if (status == XE_ERR_NOT_SUPPORTED) {
    BitmapInfoHeader h{};
    XeGetCineBMIH(c.get(), &h);
    return o.out + ": the images of " + c.path() + " (" + std::to_string(h.biWidth) + " x " +
           std::to_string(h.biHeight) + ", " + std::to_string(h.biBitCount) + " bits per pixel, compression " +
           std::to_string(h.biCompression) + ") cannot be written as type " + t.name;
  }
  if (status == XE_ERR_FILE_READ) return o.out + ": the save failed: the images of " + c.path() + " cannot be read";
  const std::string cause = outputs.Cause(status);
  return o.out + ": the save failed" + (cause.empty() ? "" : ": " + cause);
}

void RunConvert(const ConvertOptions &o) {
  if (o.depth16 && o.depth8) FailWith("--16bit and --8bit exclude each other", kExitUsage);
  Library lib;
  OpenCine c(o.file);
  CineHandle cine = c.get();
  const FileTypeName &type = ChooseType(o, c);
  RefuseIgnoredOptions(o, type, c);
  if (!c.count()) Fail(c.path() + " holds no images", XE_WARN_RANGE_EMPTY);
  ImageSpan span{c.first(), c.last()};
  if (!o.range.empty()) span = ParseRange(o.range, c);

  // The save's names are patterns of absolute paths.
  std::string out = std::filesystem::absolute(o.out).lexically_normal().string();
  if (type.code < 0) out = NumberedPattern(out, span.count());
  if (out.size() >= XE_MAX_PATH) FailWith(o.out + ": the name is too long");

  // The type first: changing it sets the type's defaults, which the
  // options below then change.
  SetCineValue(cine, CIS_FileType, static_cast<uint32_t>(static_cast<int32_t>(type.code)));
  const int32_t quality = o.quality ? *o.quality : static_cast<int32_t>(XevGetCineInfo(cine, CIS_Quality));
  int32_t status = XeSetCineSaveOptions(cine, out.c_str(), static_cast<uint16_t>(type.code), 0, quality);
  if (status < 0) Fail("the save options cannot be set", status);
  status = XeSetCineSaveRange(cine, span.first, span.last);
  if (status < 0) Fail("the save range cannot be set", status);
  SetDepth(o, type, cine);
  if (o.xml) SetCineValue(cine, CIS_XmlHeader, 1);
  ApplyAdjustOptions(cine, o.adjust);
  ApplyDpxOptions(cine, o.dpx);
  // The demosaic of saves is a setting of the user's; it is put back after.
  DemosaicChoice demosaic(cine, o.adjust, CIS_SaveAlgo);

  SaveOutputs outputs(cine, type.code, span.first, span.last, o.xml);
  outputs.CheckBefore(c.path(), o.noClobber);
  SaveProgress progress(span.count());
  status = XeWriteCineFile(cine, SaveProgress::Callback());
  progress.Finish();

  if (progress.Interrupted()) {
    // The outputs tell how far the save came; a multipage TIFF gets its
    // last page closed.
    FailWith("stopped after " + Count(outputs.Inspect().images, "image"), kExitInterrupted);
  }
  if (status < 0) {
    const std::string text = FailedSaveText(o, type, c, outputs, status);
    for (const LeftFile &f : outputs.Inspect().files)
      std::fprintf(stderr, "xefile: left %s: %s\n", f.path.c_str(), f.holds.c_str());
    Fail(text, status);
  }
  if (status > 0) Warn(o.out, status);
  if (Quiet()) return;
  const double seconds = progress.Elapsed();
  std::printf("%s: %s (%d to %d), %s, %.2f s, %.1f images/s\n", outputs.Names().c_str(),
              Count(span.count(), "image").c_str(), span.first, span.last, type.name, seconds,
              seconds > 0 ? span.count() / seconds : 0.0);
}

}  // namespace

void AddConvertCommand(CLI::App &app) {
  auto o = std::make_shared<ConvertOptions>();
  CLI::App *sub = app.add_subcommand(
      "convert", "Saves the recording, or a range of it, into another file type.\n"
                 "OUT may hold the name tokens of the library: !d (image number, d digits),\n"
                 "+d (number counted from 1), @d (save job) and ~8 (a name from the trigger\n"
                 "time). Still-image types write one file per image.");
  sub->footer([] { return "Types (--to, by name or FileType; see xefile formats):\n" + FileTypeTable(); });
  sub->add_option("FILE", o->file, "the cine file")->required();
  sub->add_option("OUT", o->out, "the output file or name pattern")->required();
  sub->add_option("--to,-t", o->type, "the file type, by name or FileType number (by default from OUT's extension)");
  sub->add_option("--range,-r", o->range, "only images FIRST:LAST (FIRST: and :LAST work too)");
  sub->add_option("--quality,-q", o->quality, "JPEG quality, 1 (worst) to 100 (best)")
      ->check(CLI::Range(1, 100));
  sub->add_flag("--16bit", o->depth16, "16-bit samples in the output where the type allows");
  sub->add_flag("--8bit", o->depth8, "8-bit samples in the output");
  sub->add_flag("--xml", o->xml, "also write the XML description of the recording");
  sub->add_flag("--stamp-time", o->stampTime, "stamp each image's time into it (not available in this build)");
  sub->add_flag("--no-clobber,-n", o->noClobber, "refuse to overwrite an output file that exists");
  AddAdjustOptions(sub, o->adjust);
  AddDpxOptions(sub, o->dpx);
  sub->callback([o] { RunConvert(*o); });
}

}  // namespace xetool
