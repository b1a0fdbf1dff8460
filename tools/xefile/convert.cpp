// xefile convert: a save of the whole or a part of a recording into a file
// type of the library's list, with the save options and image adjustments
// of the command line.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

#include "adjust_options.h"
#include "file_types.h"
#include "save_progress.h"
#include "tool.h"

namespace xetool {
namespace {

struct ConvertOptions {
  std::string file, out, type, range;
  std::optional<int> quality;
  AdjustOptions adjust;
  bool depth16 = false, depth8 = false, xml = false, stampTime = false;
};

std::string ExpandedName(CineHandle cine, int32_t image) {
  std::vector<char> name(XE_MAX_PATH, '\0');
  XefExpandFileName(cine, image, name.data());
  return name.data();
}

bool IsCineType(int16_t code) { return code >= 0 && code <= 2; }

// The header file beside an output: the extension's letters join the base
// name ("clip.tif" -> "cliptif.chd").
std::string ChdName(const std::string &output) {
  const size_t slash = output.find_last_of('/');
  const size_t dot = output.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return output + ".chd";
  return output.substr(0, dot) + output.substr(dot + 1) + ".chd";
}

bool NotAvailable(int32_t status) {
  return status == XE_ERR_NOT_SUPPORTED || status == XE_ERR_ENTRY_POINT || status == XE_WARN_NO_IMAGING ||
         status == XE_WARN_NO_ENCODER;
}

void RunConvert(const ConvertOptions &o) {
  if (o.depth16 && o.depth8) FailWith("--16bit and --8bit exclude each other", kExitUsage);
  Library lib;
  OpenCine c(o.file);
  CineHandle cine = c.get();
  const FileTypeName *type =
      o.type.empty() ? FileTypeForPath(o.out, c.setup().RealBPP) : FindFileTypeByName(o.type);
  if (!type) {
    if (o.type.empty())
      FailWith(o.out + ": the type cannot be told from the name; give --to TYPE (" + FileTypeNames() + ")",
               kExitUsage);
    Fail("unknown type '" + o.type + "' (known: " + FileTypeNames() + ")", XE_ERR_NOT_SUPPORTED);
  }
  if (type->code == -26 && !XefIsColorCine(cine))
    Fail("type dng needs a colour cine; " + c.path() + " is gray", XE_ERR_NOT_SUPPORTED);
  if (!c.count()) Fail(c.path() + " holds no images", XE_WARN_RANGE_EMPTY);
  ImageSpan span{c.first(), c.last()};
  if (!o.range.empty()) span = ParseRange(o.range, c);

  // The save's names are patterns of absolute paths.
  std::string out = std::filesystem::absolute(o.out).lexically_normal().string();
  if (type->code < 0) out = NumberedPattern(out, span.count());
  if (out.size() >= XE_MAX_PATH) FailWith(o.out + ": the name is too long");

  // The type first: changing it sets the type's defaults, which the
  // options below then change.
  SetCineValue(cine, CIS_FileType, static_cast<uint32_t>(static_cast<int32_t>(type->code)));
  const int32_t quality = o.quality ? *o.quality : static_cast<int32_t>(XevGetCineInfo(cine, CIS_Quality));
  int32_t status = XeSetCineSaveOptions(cine, out.c_str(), static_cast<uint16_t>(type->code),
                                        o.stampTime ? 1 : 0, quality);
  if (status < 0) Fail("the save options cannot be set", status);
  status = XeSetCineSaveRange(cine, span.first, span.last);
  if (status < 0) Fail("the save range cannot be set", status);
  if (o.depth16 && SetCineValue(cine, CIS_Save16Bit, 1) == 0)
    std::fprintf(stderr, "xefile: note: 16-bit output is not possible for this cine and type\n");
  if (o.depth8) SetCineValue(cine, CIS_Save16Bit, 0);
  if (o.xml) SetCineValue(cine, CIS_XmlHeader, 1);
  ApplyAdjustOptions(cine, o.adjust);
  // The demosaic of saves is a setting of the user's; it is put back after.
  DemosaicChoice demosaic(cine, o.adjust, CIS_SaveAlgo);

  // Names as the save will expand them (a ~8 name counts up past files
  // that exist, so it is asked for before the save makes its file).
  const std::string firstName = ExpandedName(cine, span.first);
  const std::string names = type->code < 0 && span.count() > 1
                                ? firstName + " ... " + ExpandedName(cine, span.last)
                                : firstName;

  // The header file a save beside a still or movie output writes, even when
  // the type turns out not to be available.
  const std::string chd = ChdName(firstName);
  const bool chdExisted = std::filesystem::exists(chd);

  SaveProgress progress(span.count());
  status = XeWriteCineFile(cine, SaveProgress::Callback());
  progress.Finish();

  if (progress.Interrupted())
    FailWith("stopped after " + std::to_string(progress.ImagesDone()) + " images", kExitInterrupted);
  if (NotAvailable(status)) {
    if (!chdExisted && !IsCineType(type->code)) std::filesystem::remove(chd);
    Fail("type " + std::string(type->name) + " is not available in this build", status);
  }
  if (status == XE_WARN_RANGE_EMPTY) Fail(o.out + ": nothing was saved", status);
  if (status < 0) Fail(o.out + ": the save failed", status);
  if (status > 0) Warn(o.out, status);
  const double seconds = progress.Elapsed();
  std::printf("%s: %u images (%d to %d), %s, %.2f s, %.1f images/s\n", names.c_str(), span.count(),
              span.first, span.last, type->name, seconds, seconds > 0 ? span.count() / seconds : 0.0);
}

}  // namespace

void AddConvertCommand(CLI::App &app) {
  auto o = std::make_shared<ConvertOptions>();
  CLI::App *sub = app.add_subcommand(
      "convert", "Saves the recording, or a range of it, into another file type.\n"
                 "OUT may hold the name tokens of the library: !d (image number, d digits),\n"
                 "+d (number counted from 1), @d (save job) and ~8 (a name from the trigger\n"
                 "time). Still-image types write one file per image.");
  sub->footer("Types (--to):\n" + FileTypeTable());
  sub->add_option("FILE", o->file, "the cine file")->required();
  sub->add_option("OUT", o->out, "the output file or name pattern")->required();
  sub->add_option("--to,-t", o->type, "the file type (by default from OUT's extension)");
  sub->add_option("--range,-r", o->range, "only images FIRST:LAST (FIRST: and :LAST work too)");
  sub->add_option("--quality,-q", o->quality, "JPEG quality, 1 (worst) to 100 (best)")
      ->check(CLI::Range(1, 100));
  sub->add_flag("--16bit", o->depth16, "16-bit samples in the output where the type allows");
  sub->add_flag("--8bit", o->depth8, "8-bit samples in the output");
  sub->add_flag("--xml", o->xml, "also write the XML description of the recording");
  sub->add_flag("--stamp-time", o->stampTime, "stamp each image's time into the image");
  AddAdjustOptions(sub, o->adjust);
  sub->callback([o] { RunConvert(*o); });
}

}  // namespace xetool
