// xefile demo: a realistic recording made with the library's streaming
// writer. A 12-bit raw colour scene (or gray with --gray): colour bars that
// scroll, a gray ramp and a ball that swings across, seen through the colour
// filters of pattern 1 with a little sensor noise; the trigger in the
// middle; per-image times with a few microseconds of jitter and the event
// input active for a tenth of the recording from the trigger; exposures; two
// analog and four binary signal channels; antenna angles as range data; and
// a 30 frames per second timecode.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <vector>

#include "tool.h"

namespace xetool {
namespace {

constexpr uint32_t kRate = 1000;           // images per second
constexpr uint32_t kShutterNs = 500000;    // 500 us
constexpr uint32_t kBits = 12;
constexpr uint32_t kWhite = (1u << kBits) - 1;
constexpr uint32_t kTimecodeRate = 30;
constexpr double kTwoTo32 = 4294967296.0;
constexpr double kPi = 3.14159265358979323846;

struct DemoOptions {
  std::string out;
  uint32_t frames = 200;
  std::string size = "320x240";
  bool gray = false;
};

// A small deterministic generator for the noise and the jitter.
class Noise {
 public:
  // Uniform in [-1, 1).
  double Next() {
    state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<double>(state_ >> 11) / 9007199254740992.0 * 2.0 - 1.0;
  }

 private:
  uint64_t state_ = 0x5EEDull;
};

struct Rgb {
  double r, g, b;
};

// The scene at picture pixel (x, y), y from the top, in image k.
Rgb Scene(int32_t x, int32_t y, uint32_t k, int32_t w, int32_t h) {
  static const Rgb kBars[8] = {{3800, 3800, 3800}, {3800, 3800, 300}, {300, 3800, 3800},
                               {300, 3800, 300},   {3800, 300, 3800}, {3800, 300, 300},
                               {300, 300, 3800},   {300, 300, 300}};
  // A ball that swings across the middle once every 400 images.
  const double radius = h / 8.0;
  const double cx = w * (0.5 + 0.4 * std::sin(2 * kPi * k / 400.0));
  const double cy = h * 0.45;
  const double dx = x - cx, dy = y - cy;
  if (dx * dx + dy * dy <= radius * radius) return {4000, 2500, 700};
  if (y < h * 2 / 3) {
    const int64_t shifted = ((x - 2 * int64_t{k}) % w + w) % w;  // two pixels per image
    return kBars[shifted * 8 / w];
  }
  const double v = double{kWhite} * x / std::max(1, w - 1);
  return {v, v, v};
}

// The sample under the filter of pattern 1 (G B R G / R G G B from the top
// row of the picture) at picture pixel (x, y).
double Filtered(const Rgb &c, int32_t x, int32_t y) {
  static const char kPattern[2][4] = {{'G', 'B', 'R', 'G'}, {'R', 'G', 'G', 'B'}};
  switch (kPattern[y % 2][x % 4]) {
    case 'R': return c.r;
    case 'B': return c.b;
    default: return c.g;
  }
}

uint8_t Bcd(uint32_t v) { return static_cast<uint8_t>((v / 10) << 4 | (v % 10)); }

// A Time64 `offset` seconds after `t`, with the flag bits given.
Time64 After(const Time64 &t, double offset, uint32_t flags) {
  const int64_t units = (int64_t{t.seconds} << 32 | (t.fractions & ~3u)) +
                        static_cast<int64_t>(std::llround(offset * kTwoTo32));
  Time64 out{};
  out.seconds = static_cast<uint32_t>(units >> 32);
  out.fractions = (static_cast<uint32_t>(units & 0xFFFFFFFF) & ~3u) | flags;
  return out;
}

// The timecode of a time of day, local time, at kTimecodeRate frames.
TC TimecodeOf(const Time64 &t) {
  const time_t seconds = static_cast<time_t>(t.seconds);
  struct tm tm {};
  localtime_r(&seconds, &tm);
  const uint32_t frame = static_cast<uint32_t>((t.fractions & ~3u) / kTwoTo32 * kTimecodeRate);
  TC tc{};
  tc.frames = Bcd(frame);
  tc.seconds = Bcd(static_cast<uint32_t>(tm.tm_sec % 60));
  tc.minutes = Bcd(static_cast<uint32_t>(tm.tm_min));
  tc.hours = Bcd(static_cast<uint32_t>(tm.tm_hour));
  return tc;
}

void PutText(char *field, size_t size, const char *text) {
  std::memset(field, 0, size);
  std::strncpy(field, text, size - 1);
}

Setup DemoSetup(uint32_t width, uint32_t height, uint32_t frames, bool gray, const Time64 &trigger) {
  Setup s;
  std::memset(&s, 0, sizeof s);
  s.TrigFrame = 0;  // the camera's own clock
  s.ImWidth = static_cast<uint16_t>(width);
  s.ImHeight = static_cast<uint16_t>(height);
  s.ImWidthAcq = width;
  s.ImHeightAcq = height;
  s.Serial = 21871;
  s.CameraVersion = 7;
  s.FirmwareVersion = 312;
  s.SoftwareVersion = 705;
  s.FrameRate = kRate;
  s.Shutter = kShutterNs / 1000;
  s.ShutterNs = kShutterNs;
  s.PostTrigger = frames - frames / 2;
  s.bEnableColor = gray ? 0 : 1;
  s.CFA = gray ? 0 : 1;
  s.RealBPP = kBits;
  s.BlackLevel = 0;
  s.WhiteLevel = static_cast<int32_t>(kWhite);
  for (WBGAIN &g : s.WBGain) g = WBGAIN{1.0f, 1.0f};
  s.WBView = WBGAIN{1.0f, 1.0f};
  s.fGain = 1.0f;
  s.fGamma = 1.0f;
  s.Gamma = 100;
  s.fSaturation = 1.0f;
  s.fGain16_8 = 16.0f;  // the 12 bits onto 0..255
  for (uint32_t &serial : s.HeadSerial) serial = 0xFFFFFFFFu;
  s.HeadSerial[0] = 21871;
  const time_t t = static_cast<time_t>(trigger.seconds);
  struct tm tm {};
  localtime_r(&t, &tm);
  s.RecordingTimeZone = static_cast<int32_t>(-tm.tm_gmtoff);
  PutText(s.Description, sizeof s.Description,
          "xefile demo: colour bars scrolling over a gray ramp, a ball swinging across; "
          "event input active for a tenth of the recording from the trigger.");
  PutText(s.CineName, sizeof s.CineName, "demo");
  PutText(s.LensDescription, sizeof s.LensDescription, "50 mm f/1.4");
  s.LensAperture = 2.8f;
  s.LensFocalLength = 50.0f;
  s.BinChannels = 4;
  s.SamplesPerImage = 1;
  const char *binNames[4] = {"Event", "Ready", "Strobe", "Sync"};
  for (int i = 0; i < 4; ++i) PutText(s.BinName[i], sizeof s.BinName[i], binNames[i]);
  s.AnaChannels = 2;
  PutText(s.AnaName[0], sizeof s.AnaName[0], "Accel");
  PutText(s.AnaUnit[0], sizeof s.AnaUnit[0], "g");
  PutText(s.AnaName[1], sizeof s.AnaName[1], "Pressure");
  PutText(s.AnaUnit[1], sizeof s.AnaUnit[1], "kPa");
  s.AnaGain[0] = s.AnaGain[1] = 1.0f;
  s.RangeCode = 1;  // antenna angles
  s.RangeSize = 6;
  s.TimeCode = TimecodeOf(trigger);
  s.TCRate = s.TCBaseRate = static_cast<float>(kTimecodeRate);
  return s;
}

// Three little-endian bytes of an angle in 1/2^24 of a full circle.
void PutAngle(uint8_t *out, double degrees) {
  const double turns = std::fmod(degrees / 360.0 + 1.0, 1.0);
  const uint32_t v = static_cast<uint32_t>(turns * 16777216.0) & 0xFFFFFF;
  out[0] = static_cast<uint8_t>(v);
  out[1] = static_cast<uint8_t>(v >> 8);
  out[2] = static_cast<uint8_t>(v >> 16);
}

// The writer, closed on every way out.
struct Writer {
  CineWriterHandle h = nullptr;
  ~Writer() {
    if (h) XefCineWriterClose(h);
  }
};

void RunDemo(const DemoOptions &o) {
  unsigned width = 0, height = 0;
  int used = 0;
  if (std::sscanf(o.size.c_str(), "%ux%u%n", &width, &height, &used) != 2 ||
      static_cast<size_t>(used) != o.size.size() || width < 16 || height < 16 || width > 8192 ||
      height > 8192)
    FailWith("--size " + o.size + ": give WxH, each 16 to 8192", kExitUsage);
  Library lib;

  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto us = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  Time64 trigger{};
  trigger.seconds = static_cast<uint32_t>(us / 1000000);
  trigger.fractions = (static_cast<uint32_t>(static_cast<double>(us % 1000000) * kTwoTo32 / 1e6) & ~3u) | 1u;
  const int32_t firstImage = -static_cast<int32_t>(o.frames / 2);
  const Setup setup = DemoSetup(width, height, o.frames, o.gray, trigger);

  XeCineWriterParams p{};
  p.Setup = &setup;
  p.Bmih.biSize = sizeof(BitmapInfoHeader);
  p.Bmih.biWidth = static_cast<int32_t>(width);
  p.Bmih.biHeight = static_cast<int32_t>(height);
  p.Bmih.biPlanes = 1;
  p.Bmih.biBitCount = 16;
  p.Bmih.biClrImportant = 1u << kBits;
  p.Compression = o.gray ? XE_COMPRESSION_GRAY_COLOR : XE_COMPRESSION_RAW;
  p.Timecode = 1;
  p.FirstImageNo = firstImage;
  p.TriggerTime = trigger;
  p.MaxImages = o.frames;
  Writer w;
  int32_t status = XefCineWriterOpen(o.out.c_str(), &p, &w.h);
  if (status < 0 || !w.h) Fail(o.out + ": cannot be created", status < 0 ? status : XE_ERR_FILE_OPEN);

  const uint64_t stride = (uint64_t{width} * 16 + 31) / 32 * 4;
  std::vector<uint8_t> pixels(stride * height, 0);
  Noise noise;
  const uint32_t eventImages = std::max(1u, o.frames / 10);
  for (uint32_t k = 0; k < o.frames; ++k) {
    const int32_t n = firstImage + static_cast<int32_t>(k);
    // Rows are stored bottom-up: memory row r is picture row height - 1 - r.
    for (uint32_t r = 0; r < height; ++r) {
      const int32_t y = static_cast<int32_t>(height - 1 - r);
      uint8_t *row = pixels.data() + stride * r;
      for (uint32_t x = 0; x < width; ++x) {
        const Rgb c = Scene(static_cast<int32_t>(x), y, k, static_cast<int32_t>(width),
                            static_cast<int32_t>(height));
        const double v = o.gray ? 0.299 * c.r + 0.587 * c.g + 0.114 * c.b
                                : Filtered(c, static_cast<int32_t>(x), y);
        const double noisy = std::clamp(v + 6.0 * noise.Next(), 0.0, double{kWhite});
        const auto sample = static_cast<uint16_t>(std::lround(noisy));
        row[2 * x] = static_cast<uint8_t>(sample & 0xFF);
        row[2 * x + 1] = static_cast<uint8_t>(sample >> 8);
      }
    }
    const bool event = n >= 0 && static_cast<uint32_t>(n) < eventImages;
    // Bit 0: a free-running clock; bit 1: the event input.
    const Time64 time = After(trigger, double(n) / kRate + 3e-6 * noise.Next(), 1u | (event ? 2u : 0u));
    const uint32_t exposure =
        static_cast<uint32_t>(std::llround((kShutterNs + 40.0 * noise.Next()) * 1e-9 * kTwoTo32));
    const uint8_t bin = static_cast<uint8_t>((event ? 1 : 0) | (n < 0 ? 2 : 0) | (k % 2 ? 4 : 0) |
                                             ((k / 10) % 2 ? 8 : 0));
    const int16_t ana[2] = {static_cast<int16_t>(std::lround(12000 * std::sin(2 * kPi * k / 100.0))),
                            static_cast<int16_t>(std::min<uint32_t>(1000 + 20 * k, 32767))};
    uint8_t range[6];
    PutAngle(range, 30.0 + 0.02 * k);
    PutAngle(range + 3, 10.0 + 5.0 * std::sin(2 * kPi * k / 500.0));
    const TC tc = TimecodeOf(time);
    const XeCineImageExtra extra{range, &bin, ana, &tc};
    status = XefCineWriterAddImage(w.h, pixels.data(), &time, exposure, &extra);
    if (status < 0) Fail(o.out + ": image " + std::to_string(n) + " cannot be written", status);
  }
  status = XefCineWriterClose(w.h);
  w.h = nullptr;
  if (status < 0) Fail(o.out + ": cannot be finished", status);
  std::printf("%s: %u images (%d to %d), %u x %u, 12-bit %s, %u images/s\n", o.out.c_str(), o.frames,
              firstImage, firstImage + static_cast<int32_t>(o.frames) - 1, width, height,
              o.gray ? "gray" : "raw colour (filter pattern 1)", kRate);
}

}  // namespace

void AddDemoCommand(CLI::App &app) {
  auto o = std::make_shared<DemoOptions>();
  CLI::App *sub = app.add_subcommand(
      "demo", "Makes a realistic recording: a 12-bit raw colour scene with motion, the trigger\n"
              "in the middle, per-image times, exposures, signals, range data and timecode.");
  sub->add_option("OUT", o->out, "the cine file to write")->required();
  sub->add_option("--frames,-n", o->frames, "number of images")->check(CLI::Range(1u, 1000000u));
  sub->add_option("--size", o->size, "image size WxH");
  sub->add_flag("--gray", o->gray, "a gray recording instead of a colour mosaic");
  sub->callback([o] { RunDemo(*o); });
}

}  // namespace xetool
