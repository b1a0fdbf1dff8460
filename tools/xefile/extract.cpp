// xefile extract: one image as the library delivers it for viewing (or the
// raw samples), to a PGM/PPM or TIFF file.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <vector>

#include "tool.h"

namespace xetool {
namespace {

constexpr uint32_t kUseCaseView = 1;
constexpr uint32_t kUseCaseRaw = 3;

struct ExtractOptions {
  std::string file;
  std::string out;
  int64_t image = 0;
  bool raw = false;
};

void RunExtract(const ExtractOptions &o) {
  if (!IsImageFileName(o.out))
    FailWith(o.out + ": unknown image format (use .pgm, .ppm, .pnm, .tif or .tiff)", kExitUsage);
  Library lib;
  OpenCine c(o.file);
  c.RequireImage(o.image);
  int32_t status = XeSetUseCase(c.get(), o.raw ? kUseCaseRaw : kUseCaseView);
  if (status < 0) Fail("the processing cannot be set up", status);

  // A buffer of the bound the library gives for one delivered image.
  uint32_t size = 0;
  XeGetCineInfo(c.get(), CIS_MaxImageSizeColor, &size);
  if (size == 0) Fail(o.file + ": no room for the image", XE_ERR_BUFFER_TOO_SMALL);
  std::vector<uint8_t> pixels(size);
  ImageHeader h{};
  ImageRange range{static_cast<int32_t>(o.image), 1};
  status = XeGetCineImage(c.get(), &range, pixels.data(), size, &h);
  if (status < 0) Fail("image " + std::to_string(o.image) + " cannot be read", status);
  if (h.biSizeImage > size) Fail("image " + std::to_string(o.image), XE_ERR_BUFFER_TOO_SMALL);
  // The view flip of use case 1 turns the rows top-down.
  uint32_t flipped = 0;
  if (!o.raw) XeGetCineInfo(c.get(), CIS_VFlipView, &flipped);
  const std::string what = WriteImageFile(o.out, h, pixels.data(), flipped != 0);
  std::printf("%s: image %lld, %s%s\n", o.out.c_str(), static_cast<long long>(o.image), what.c_str(),
              o.raw ? ", raw" : "");
}

}  // namespace

void AddExtractCommand(CLI::App &app) {
  auto o = std::make_shared<ExtractOptions>();
  CLI::App *sub = app.add_subcommand(
      "extract", "One image to a PGM/PPM (.pgm .ppm .pnm) or TIFF (.tif .tiff) file, by the\n"
                 "extension; 16 bits per sample where the image has more than 8 bits.");
  sub->add_option("FILE", o->file, "the cine file")->required();
  sub->add_option("--image,-i", o->image, "the image number (0 is the trigger image)")->required();
  sub->add_option("-o,--output", o->out, "the image file to write")->required();
  sub->add_flag("--raw", o->raw, "the samples as stored (a colour mosaic stays a mosaic), not processed");
  sub->callback([o] { RunExtract(*o); });
}

}  // namespace xetool
