// xefile demo: a realistic recording made with the library's streaming
// writer. A raw colour scene (or gray): colour bars that scroll, a gray ramp
// and a ball that swings across, seen through the colour filters of the
// chosen pattern (--cfa) at the chosen depth (--bits, 10-bit packed with
// --packed) with a little sensor noise; the trigger in the
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
// The scene is drawn in 12-bit values and scaled to the depth asked for.
constexpr double kSceneWhite = 4095.0;
// 72 dots per inch, in pixels per metre: what image tools assume of a
// picture without another size.
constexpr int32_t kPelsPerMeter = 2835;
constexpr uint32_t kTimecodeRate = 30;
constexpr double kTwoTo32 = 4294967296.0;
constexpr double kPi = 3.14159265358979323846;

struct DemoOptions {
  std::string out;
  uint32_t frames = 200;
  std::string size = "320x240";
  bool gray = false;
  uint32_t cfa = 1;
  uint32_t bits = 12;
  bool packed = false;
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
  const double v = kSceneWhite * x / std::max(1, w - 1);
  return {v, v, v};
}

// The colour filter patterns by CFA code, in picture coordinates from the top
// row: codes 1 and 2 repeat every four columns, the Bayer patterns 3 and 4
// every two.
constexpr const char *kPatterns[5][2] = {{"", ""},
                                         {"GBRG", "RGGB"},
                                         {"BGGR", "GRBG"},
                                         {"GBGB", "RGRG"},
                                         {"RGRG", "GBGB"}};

std::string PatternText(uint32_t cfa) {
  if (cfa == 0) return "gray";
  const char *top = kPatterns[cfa][0], *bottom = kPatterns[cfa][1];
  const size_t n = cfa <= 2 ? 4 : 2;
  std::string text = "filter pattern " + std::to_string(cfa) + ", ";
  for (size_t i = 0; i < n; ++i) text += std::string(i ? " " : "") + top[i];
  text += " / ";
  for (size_t i = 0; i < n; ++i) text += std::string(i ? " " : "") + bottom[i];
  return text;
}

// The sample under the filter of pattern `cfa` at picture pixel (x, y).
double Filtered(const Rgb &c, uint32_t cfa, int32_t x, int32_t y) {
  switch (kPatterns[cfa][y % 2][x % 4]) {
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

Setup DemoSetup(uint32_t width, uint32_t height, uint32_t frames, const DemoOptions &o,
                const Time64 &trigger) {
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
  s.bEnableColor = o.cfa ? 1 : 0;
  s.CFA = o.cfa;
  s.RealBPP = o.bits;
  s.BlackLevel = 0;
  s.WhiteLevel = static_cast<int32_t>((1u << o.bits) - 1);
  for (WBGAIN &g : s.WBGain) g = WBGAIN{1.0f, 1.0f};
  s.WBView = WBGAIN{1.0f, 1.0f};
  s.fGain = 1.0f;
  s.fGamma = 1.0f;
  s.Gamma = 100;
  s.fSaturation = 1.0f;
  s.fGain16_8 = static_cast<float>(1u << (o.bits - 8));  // the samples onto 0..255
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

// One image of samples in memory order (rows bottom-up) as the writer takes
// it: 8-bit, or 16-bit little-endian samples, rows padded to 4 bytes; or the
// packed 10-bit stream: four samples in five bytes, most significant bit
// first, rows without padding.
void StoreImage(const std::vector<uint16_t> &samples, uint32_t width, const DemoOptions &o,
                std::vector<uint8_t> *out) {
  if (o.packed) {
    uint64_t acc = 0;
    unsigned held = 0;
    size_t at = 0;
    for (const uint16_t v : samples) {
      acc = (acc << 10 | (v & 1023u)) & 0xFFFFF;  // at most 17 bits are held
      held += 10;
      while (held >= 8) {
        held -= 8;
        (*out)[at++] = static_cast<uint8_t>(acc >> held);
      }
    }
    if (held) (*out)[at] = static_cast<uint8_t>(acc << (8 - held));
    return;
  }
  const uint32_t bytes = o.bits == 8 ? 1 : 2;
  const uint64_t stride = (uint64_t{width} * bytes + 3) / 4 * 4;
  for (size_t i = 0; i < samples.size(); ++i) {
    uint8_t *p = out->data() + i / width * stride + i % width * bytes;
    p[0] = static_cast<uint8_t>(samples[i]);
    if (bytes == 2) p[1] = static_cast<uint8_t>(samples[i] >> 8);
  }
}

std::string DepthText(const DemoOptions &o) {
  return std::to_string(o.bits) + "-bit " + (o.packed ? "packed " : "") +
         (o.cfa ? "raw colour (" + PatternText(o.cfa) + ")" : std::string("gray"));
}

void RunDemo(DemoOptions o) {
  unsigned width = 0, height = 0;
  int used = 0;
  if (std::sscanf(o.size.c_str(), "%ux%u%n", &width, &height, &used) != 2 ||
      static_cast<size_t>(used) != o.size.size() || width < 16 || height < 16 || width > 8192 ||
      height > 8192)
    FailWith("--size " + o.size + ": give WxH, each 16 to 8192", kExitUsage);
  if (o.packed && o.bits != 10)
    FailWith("--packed: packed samples are 10-bit; give --bits 10 with it", kExitUsage);
  if (o.gray) o.cfa = 0;
  Library lib;

  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto us = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  Time64 trigger{};
  trigger.seconds = static_cast<uint32_t>(us / 1000000);
  trigger.fractions = (static_cast<uint32_t>(static_cast<double>(us % 1000000) * kTwoTo32 / 1e6) & ~3u) | 1u;
  const int32_t firstImage = -static_cast<int32_t>(o.frames / 2);
  const Setup setup = DemoSetup(width, height, o.frames, o, trigger);

  XeCineWriterParams p{};
  p.Setup = &setup;
  p.Bmih.biSize = sizeof(BitmapInfoHeader);
  p.Bmih.biWidth = static_cast<int32_t>(width);
  p.Bmih.biHeight = static_cast<int32_t>(height);
  p.Bmih.biPlanes = 1;
  p.Bmih.biBitCount = o.bits == 8 ? 8 : 16;
  p.Bmih.biCompression = o.packed ? XE_BI_PACKED : 0;
  p.Bmih.biClrImportant = o.bits == 8 ? 0 : 1u << o.bits;
  p.Bmih.biXPelsPerMeter = p.Bmih.biYPelsPerMeter = kPelsPerMeter;
  p.Compression = o.cfa ? XE_COMPRESSION_RAW : XE_COMPRESSION_GRAY_COLOR;
  p.Timecode = 1;
  p.FirstImageNo = firstImage;
  p.TriggerTime = trigger;
  p.MaxImages = o.frames;
  Writer w;
  int32_t status = XefCineWriterOpen(o.out.c_str(), &p, &w.h);
  if (status < 0 || !w.h) Fail(o.out + ": cannot be created", status < 0 ? status : XE_ERR_FILE_OPEN);

  const double white = static_cast<double>((1u << o.bits) - 1);
  const double toDepth = white / kSceneWhite;
  std::vector<uint16_t> samples(uint64_t{width} * height);
  const uint64_t stride = (uint64_t{width} * (o.bits == 8 ? 1 : 2) + 3) / 4 * 4;
  std::vector<uint8_t> pixels(o.packed ? (samples.size() * 10 + 7) / 8 : stride * height, 0);
  Noise noise;
  const uint32_t eventImages = std::max(1u, o.frames / 10);
  for (uint32_t k = 0; k < o.frames; ++k) {
    const int32_t n = firstImage + static_cast<int32_t>(k);
    // Rows are stored bottom-up: memory row r is picture row height - 1 - r.
    for (uint32_t r = 0; r < height; ++r) {
      const int32_t y = static_cast<int32_t>(height - 1 - r);
      for (uint32_t x = 0; x < width; ++x) {
        const Rgb c = Scene(static_cast<int32_t>(x), y, k, static_cast<int32_t>(width),
                            static_cast<int32_t>(height));
        const double v = o.cfa ? Filtered(c, o.cfa, static_cast<int32_t>(x), y)
                               : 0.299 * c.r + 0.587 * c.g + 0.114 * c.b;
        const double noisy = std::clamp((v + 6.0 * noise.Next()) * toDepth, 0.0, white);
        samples[uint64_t{r} * width + x] = static_cast<uint16_t>(std::lround(noisy));
      }
    }
    StoreImage(samples, width, o, &pixels);
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
  if (!Quiet())
    std::printf("%s: %s (%d to %d), %u x %u, %s, %u images/s\n", o.out.c_str(),
                Count(o.frames, "image").c_str(), firstImage,
                firstImage + static_cast<int32_t>(o.frames) - 1, width, height, DepthText(o).c_str(),
                kRate);
}

}  // namespace

void AddDemoCommand(CLI::App &app) {
  auto o = std::make_shared<DemoOptions>();
  CLI::App *sub = app.add_subcommand(
      "demo", "Makes a realistic recording: a raw colour scene with motion, the trigger in the\n"
              "middle, per-image times, exposures, signals, range data and timecode.");
  sub->add_option("OUT", o->out, "the cine file to write")->required();
  sub->add_option("--frames,-n", o->frames, "number of images")->check(CLI::Range(1u, 1000000u));
  sub->add_option("--size", o->size, "image size WxH");
  CLI::Option *gray = sub->add_flag("--gray", o->gray, "a gray recording instead of a colour mosaic");
  sub->add_option("--cfa", o->cfa,
                  "colour filter pattern, from the top row: 1 G B R G / R G G B (the default),\n"
                  "2 B G G R / G R B G, 3 G B / R G, 4 R G / G B (3 and 4 are Bayer patterns);\n"
                  "0 gray")
      ->check(CLI::Range(0u, 4u))
      ->excludes(gray);
  sub->add_option("--bits", o->bits, "bits per sample: 8, 10, 12 (the default) or 16")
      ->check(CLI::IsMember({8u, 10u, 12u, 16u}));
  sub->add_flag("--packed", o->packed, "10-bit samples packed four in five bytes (with --bits 10)");
  sub->callback([o] { RunDemo(*o); });
}

}  // namespace xetool
