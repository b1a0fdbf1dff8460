// xefile extract: images as the library delivers them for viewing, with the
// adjustments of the command line (or the raw samples), to PGM/PPM or TIFF
// files, one file per image; or, with "-o -", as raw video frames on
// standard output for a video tool.
#include <CLI/CLI.hpp>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "adjust_options.h"
#include "output_checks.h"
#include "tool.h"

namespace xetool {
namespace {

constexpr uint32_t kUseCaseView = 1;
constexpr uint32_t kUseCaseRaw = 3;

struct ExtractOptions {
  std::string file;
  std::string out;
  std::optional<int64_t> image;
  std::string range;
  AdjustOptions adjust;
  bool raw = false;
  bool noClobber = false;
};

// The images of a cine fetched one by one into one buffer.
class ImageFetch {
 public:
  ImageFetch(const OpenCine &c, const ExtractOptions &o) : c_(c) {
    CineHandle cine = c.get();
    int32_t status = XeSetUseCase(cine, o.raw ? kUseCaseRaw : kUseCaseView);
    if (status < 0) Fail("the processing cannot be set up", status);
    if (!o.raw) {
      ApplyAdjustOptions(cine, o.adjust);
      demosaic_.emplace(cine, o.adjust, CIS_Algo);
      // The view flip of use case 1 turns the rows top-down.
      uint32_t flipped = 0;
      XeGetCineInfo(cine, CIS_VFlipView, &flipped);
      topDown_ = flipped != 0;
    }
    // A buffer of the bound the library gives for one delivered image.
    XeGetCineInfo(cine, CIS_MaxImageSizeColor, &size_);
    if (size_ == 0) Fail(c.path() + ": no room for the image", XE_ERR_BUFFER_TOO_SMALL);
    pixels_.resize(size_);
  }

  // Image `image` into the buffer; throws Failure when it cannot be read.
  const uint8_t *Get(int32_t image) {
    ImageRange range{image, 1};
    header_ = ImageHeader{};
    const int32_t status = XeGetCineImage(c_.get(), &range, pixels_.data(), size_, &header_);
    if (status < 0) Fail(c_.path() + ": image " + std::to_string(image) + " cannot be read", status);
    if (header_.biSizeImage > size_) Fail("image " + std::to_string(image), XE_ERR_BUFFER_TOO_SMALL);
    return pixels_.data();
  }
  const ImageHeader &header() const { return header_; }
  bool topDown() const { return topDown_; }

 private:
  const OpenCine &c_;
  std::optional<DemosaicChoice> demosaic_;
  std::vector<uint8_t> pixels_;
  uint32_t size_ = 0;
  ImageHeader header_{};
  bool topDown_ = false;
};

// The raw video pixel format of a delivered image.
const char *PixelFormat(const ImageHeader &h) {
  switch (h.biBitCount) {
    case 8: return "gray";
    case 16: return "gray16le";
    case 24: return "rgb24";
    default: return "rgb48le";
  }
}

std::string RateText(double rate) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", rate);
  return text;
}

bool WriteAll(const uint8_t *data, size_t size) {
  while (size) {
    const ssize_t n = write(STDOUT_FILENO, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// The images as raw video frames on standard output, with a line on
// standard error that says how to read them.
void ToStandardOutput(const OpenCine &c, ImageFetch &fetch, const ImageSpan &span, bool raw) {
  if (isatty(STDOUT_FILENO))
    FailWith("-o -: standard output is a terminal; pipe it into a program or redirect it", kExitUsage);
  std::vector<uint8_t> frame;
  size_t frameSize = 0;
  for (int64_t n = span.first; n <= span.last; ++n) {
    const uint8_t *pixels = fetch.Get(static_cast<int32_t>(n));
    const uint32_t top = VideoFrameBytes(fetch.header(), pixels, fetch.topDown(), raw, &frame);
    if (n == span.first) {
      frameSize = frame.size();
      const ImageHeader &h = fetch.header();
      const std::string size = std::to_string(h.biWidth) + "x" + std::to_string(std::abs(h.biHeight));
      const std::string rate = RateText(c.setup().FrameRate ? c.setup().FrameRate : 25);
      // Stored samples of a deep image do not reach full scale.
      const std::string values = raw && top != 255 && top != 65535
                                     ? " (stored values, 0 to " + std::to_string(top) + ")"
                                     : "";
      if (!Quiet())
        std::fprintf(stderr,
                     "xefile: %s of raw video, %s %s%s at %s images/s; read with: ffmpeg -f rawvideo "
                     "-pixel_format %s -video_size %s -framerate %s -i -\n",
                     Count(span.count(), "frame").c_str(), PixelFormat(h), size.c_str(), values.c_str(),
                     rate.c_str(), PixelFormat(h), size.c_str(), rate.c_str());
    }
    // A reader of raw video counts on frames of one size.
    if (frame.size() != frameSize)
      Fail("image " + std::to_string(n) + " differs in size from the first", XE_ERR_NOT_SUPPORTED);
    if (!WriteAll(frame.data(), frame.size()))
      Fail("standard output: " + std::string(std::strerror(errno)) + " after " +
               Count(static_cast<uint64_t>(n - span.first), "frame"),
           XE_ERR_FILE_WRITE);
  }
}

// Whether a name holds a token the library expands: !d, +d, @d or ~.
bool HasNameToken(const std::string &name) {
  for (size_t i = 0; i < name.size(); ++i) {
    const bool digit = i + 1 < name.size() && name[i + 1] >= '0' && name[i + 1] <= '9';
    if (name[i] == '~' || (digit && (name[i] == '!' || name[i] == '+' || name[i] == '@'))) return true;
  }
  return false;
}

// One file per image, named by the pattern of the library's save names.
void ToFiles(const OpenCine &c, ImageFetch &fetch, const ImageSpan &span, const std::string &out, bool raw,
             bool noClobber) {
  std::string firstName, lastName, what;
  if (span.count() == 1 && !HasNameToken(out)) {
    if (noClobber) RefuseExisting(out);
    firstName = lastName = out;
    const uint8_t *pixels = fetch.Get(span.first);
    what = WriteImageFile(out, fetch.header(), pixels, fetch.topDown(), raw);
  } else {
    const std::string pattern =
        NumberedPattern(std::filesystem::absolute(out).lexically_normal().string(), span.count());
    if (pattern.size() >= XE_MAX_PATH) FailWith(out + ": the name is too long");
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    int32_t status = XeSetCineInfo(c.get(), CIS_FileName, name.data());
    if (status >= 0) status = XeSetCineSaveRange(c.get(), span.first, span.last);
    if (status < 0) Fail(out + ": the names cannot be made", status);
    // Every name is looked at before the first file is written.
    if (noClobber)
      for (int64_t n = span.first; n <= span.last; ++n)
        RefuseExisting(ExpandedFileName(c.get(), static_cast<int32_t>(n)));
    for (int64_t n = span.first; n <= span.last; ++n) {
      const int32_t image = static_cast<int32_t>(n);
      const uint8_t *pixels = fetch.Get(image);
      const std::string path = ExpandedFileName(c.get(), image);
      what = WriteImageFile(path, fetch.header(), pixels, fetch.topDown(), raw);
      (n == span.first ? firstName : lastName) = path;
    }
    if (span.count() == 1) lastName = firstName;
  }
  if (Quiet()) return;
  if (span.count() == 1)
    std::printf("%s: image %d, %s\n", firstName.c_str(), span.first, what.c_str());
  else
    std::printf("%s ... %s: %s (%d to %d), %s\n", firstName.c_str(), lastName.c_str(),
                Count(span.count(), "image").c_str(), span.first, span.last, what.c_str());
}

void RunExtract(const ExtractOptions &o) {
  if (o.image.has_value() == !o.range.empty())
    FailWith("give the images: --image N or --range FIRST:LAST", kExitUsage);
  const bool toStdout = o.out == "-";
  if (!toStdout && !IsImageFileName(o.out))
    FailWith(o.out + ": unknown image format (use .pgm, .ppm, .pnm, .tif or .tiff, or - for raw video)",
             kExitUsage);
  if (o.raw && !o.adjust.FirstGiven().empty())
    FailWith(o.adjust.FirstGiven() + " does not apply to --raw: raw images are not processed", kExitUsage);
  Library lib;
  OpenCine c(o.file);
  ImageSpan span;
  if (o.image) {
    c.RequireImage(*o.image);
    span.first = span.last = static_cast<int32_t>(*o.image);
  } else {
    span = ParseRange(o.range, c);
  }
  ImageFetch fetch(c, o);
  if (toStdout)
    ToStandardOutput(c, fetch, span, o.raw);
  else
    ToFiles(c, fetch, span, o.out, o.raw, o.noClobber);
}

}  // namespace

void AddExtractCommand(CLI::App &app) {
  auto o = std::make_shared<ExtractOptions>();
  CLI::App *sub = app.add_subcommand(
      "extract",
      "Images processed for viewing (or --raw) to PGM/PPM (.pgm .ppm .pnm) or TIFF (.tif .tiff)\n"
      "files by the extension, 16 bits per sample where the image has more than 8 bits (the\n"
      "white level becomes full scale). With --range, one file per image: OUT may hold the\n"
      "name tokens of convert (quote them: 'img_!6.ppm'), else a number is added. With\n"
      "-o -, the images go to standard output as raw video frames (top row first, 8 or 16\n"
      "bits little-endian, gray or RGB) and standard error tells the ffmpeg arguments\n"
      "that read them. --raw files hold the samples as stored, not scaled: PGM/PPM with\n"
      "maxval 2^bits - 1 (4095 for 12 bits), TIFF with 8 or 16-bit samples and\n"
      "SMaxSampleValue 2^bits - 1.");
  sub->add_option("FILE", o->file, "the cine file")->required();
  CLI::Option *image = sub->add_option("--image,-i", o->image, "the image number (0 is the trigger image)");
  sub->add_option("--range,-r", o->range, "images FIRST:LAST (FIRST: and :LAST work too)")->excludes(image);
  sub->add_option("-o,--output", o->out, "the image file or name pattern to write, or - for raw video")
      ->required();
  sub->add_flag("--no-clobber,-n", o->noClobber, "refuse to overwrite an image file that exists");
  sub->add_flag("--raw", o->raw, "the samples as stored (a colour mosaic stays a mosaic), not processed");
  AddAdjustOptions(sub, o->adjust);
  sub->callback([o] { RunExtract(*o); });
}

}  // namespace xetool
