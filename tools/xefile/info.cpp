// xefile info: what a user wants to know of recordings, as text (a block per
// file) or as JSON with stable keys (an object, or an array of them for
// several files). The text is made from the JSON object, so the two always
// agree. --check reads every image as stored and tells which cannot be read.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <vector>

#include "tool.h"

namespace xetool {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::vector<std::string> files;
  bool json = false;
  bool check = false;
};

constexpr uint32_t kUseCaseRaw = 3;

const char *CompressionName(uint32_t c) {
  switch (c) {
    case XE_COMPRESSION_GRAY_COLOR: return "processed";
    case XE_COMPRESSION_JPEG: return "jpeg";
    case XE_COMPRESSION_RAW: return "raw";
    case XE_COMPRESSION_MOVIE: return "movie";
    default: return "unknown";
  }
}

// Whether the cine stores a block of `tag`. Times and exposures are asked of
// the tagged area; for the others a one-byte request tells a stored block
// from an absent one (a computed timecode needs 8 bytes).
bool BlockStored(CineHandle cine, int32_t first, uint32_t tag) {
  if (tag == XE_TAG_TIME || tag == XE_TAG_EXPOSURE) return XefGetCineTaggedBlock(cine, tag) != nullptr;
  unsigned char byte = 0;
  const int32_t r = XeGetCineAuxData(cine, first, tag, 1, &byte);
  return r != XE_ERR_AUX_TAG_ABSENT && r != XE_ERR_AUX_TOO_SMALL;
}

// The range data of an image as text: antenna angles (code 1) item by item,
// any other code as the library writes the whole record.
std::string RangeDataText(CineHandle cine, int32_t image, uint32_t code) {
  char text[256] = "";
  if (code != 1) {
    XefFormatRangeData(cine, image, code, 0, text);
    return FieldText(text, sizeof text);
  }
  XefFormatRangeData(cine, image, code, 1, text);
  std::string out = "azimuth " + FieldText(text, sizeof text);
  text[0] = '\0';
  XefFormatRangeData(cine, image, code, 2, text);
  return out + ", elevation " + FieldText(text, sizeof text);
}

Json TimeJson(const Time64 &t) {
  return Json{{"utc", IsoTime(t, true)}, {"local", IsoTime(t, false)}, {"seconds", +t.seconds},
              {"fractions", +t.fractions}};
}

// Minimum, maximum, mean and standard deviation of a series.
struct Stats {
  double min = 0, max = 0, sum = 0, sumSq = 0;
  uint64_t n = 0;
  void Add(double v) {
    min = n ? std::min(min, v) : v;
    max = n ? std::max(max, v) : v;
    sum += v;
    sumSq += v * v;
    ++n;
  }
  double Mean() const { return n ? sum / static_cast<double>(n) : 0; }
  double StdDev() const {
    if (n < 2) return 0;
    const double m = Mean();
    return std::sqrt(std::max(0.0, sumSq / static_cast<double>(n) - m * m));
  }
};

Json Recording(const OpenCine &c) {
  CineHandle cine = c.get();
  const Setup &s = c.setup();
  const CineFileHeader &h = c.header();
  BitmapInfoHeader bmih{};
  XeGetCineBMIH(cine, &bmih);
  int32_t recFirst = 0, recLast = 0;
  XeGetCineRange(cine, &recFirst, &recLast);
  Time64 trigger{};
  XeGetCineTriggerTime(cine, &trigger);

  Json j;
  j["file"] = c.path();
  j["compression"] = +h.Compression;
  j["compression_name"] = CompressionName(h.Compression);
  j["width"] = +bmih.biWidth;
  j["height"] = +bmih.biHeight;
  j["bits_per_sample"] = +s.RealBPP;
  j["bits_per_pixel"] = +bmih.biBitCount;
  j["color"] = XefIsColorCine(cine) != 0;
  j["cfa"] = +s.CFA;
  j["camera"] = Json{{"version", +s.CameraVersion},
                     {"serial", +s.Serial},
                     {"firmware", +s.FirmwareVersion},
                     {"software", +s.SoftwareVersion}};
  j["description"] = FieldText(s.Description, sizeof s.Description);
  j["cine_name"] = FieldText(s.CineName, sizeof s.CineName);
  j["lens"] = FieldText(s.LensDescription, sizeof s.LensDescription);
  j["recorded_range"] = Json{{"first", recFirst}, {"last", recLast}, {"count", +h.TotalImageCount}};
  j["stored_range"] = Json{{"first", c.first()}, {"last", c.last()}, {"count", c.count()}};
  j["trigger_time"] = TimeJson(trigger);
  j["frame_rate"] = +s.FrameRate;
  j["shutter_ns"] = +s.ShutterNs;
  j["frame_sync"] = s.TrigFrame == 0 ? "internal" : s.TrigFrame == 1 ? "external" : "irig";

  // Times, exposures and intervals of the stored images.
  Stats exposure, interval;
  Time64 firstTime{}, lastTime{}, previous{};
  for (uint32_t k = 0; k < c.count(); ++k) {
    const int32_t n = static_cast<int32_t>(int64_t{c.first()} + k);
    Time64 t{};
    XefCineImageTime(cine, n, &t);
    uint32_t e = 0;
    XefCineImageExposure(cine, n, &e);
    exposure.Add(ExposureMicroseconds(e));
    if (k) interval.Add(SecondsBetween(previous, t) * 1e6);
    if (k == 0) firstTime = t;
    lastTime = previous = t;
  }
  if (c.count()) {
    double fromFirst = 0, fromLast = 0;
    XefTimeFromTrigger(cine, c.first(), &fromFirst);
    XefTimeFromTrigger(cine, c.last(), &fromLast);
    j["time_range"] = Json{{"first", IsoTime(firstTime, true)},
                           {"last", IsoTime(lastTime, true)},
                           {"first_from_trigger_s", fromFirst},
                           {"last_from_trigger_s", fromLast},
                           {"duration_s", SecondsBetween(firstTime, lastTime)}};
    j["exposure_us"] = Json{{"min", exposure.min}, {"max", exposure.max}, {"mean", exposure.Mean()}};
  } else {
    j["time_range"] = nullptr;
    j["exposure_us"] = nullptr;
  }
  if (interval.n) {
    j["frame_interval_us"] = Json{{"nominal", s.FrameRate ? 1e6 / s.FrameRate : 0.0},
                                  {"mean", interval.Mean()},
                                  {"min", interval.min},
                                  {"max", interval.max},
                                  {"stddev", interval.StdDev()}};
  } else {
    j["frame_interval_us"] = nullptr;
  }

  Json binary = Json::array(), analog = Json::array();
  const int binChannels = std::clamp<int>(s.BinChannels, 0, 8);
  const int anaChannels = std::clamp<int>(s.AnaChannels, 0, 8);
  for (int i = 0; i < binChannels; ++i) binary.push_back(FieldText(s.BinName[i], sizeof s.BinName[i]));
  for (int i = 0; i < anaChannels; ++i)
    analog.push_back(Json{{"name", FieldText(s.AnaName[i], sizeof s.AnaName[i])},
                          {"unit", FieldText(s.AnaUnit[i], sizeof s.AnaUnit[i])},
                          {"gain", +s.AnaGain[i]}});
  j["signals"] = Json{{"samples_per_image", +s.SamplesPerImage},
                      {"binary_channels", +s.BinChannels},
                      {"binary_stored", BlockStored(cine, c.first(), XE_TAG_BINSIG)},
                      {"binary", binary},
                      {"analog_channels", +s.AnaChannels},
                      {"analog_stored", BlockStored(cine, c.first(), XE_TAG_ANASIG)},
                      {"analog", analog}};

  const bool rangeStored = BlockStored(cine, c.first(), XE_TAG_RANGE_DATA);
  std::string rangeText;
  if (rangeStored && c.count()) rangeText = RangeDataText(cine, c.first(), s.RangeCode);
  j["range_data"] = Json{{"stored", rangeStored},
                         {"code", +s.RangeCode},
                         {"size", +s.RangeSize},
                         {"first_image", rangeText}};
  j["timecode"] = Json{{"stored", BlockStored(cine, c.first(), XE_TAG_TIMECODE)},
                       {"first_image", c.count() ? ImageTimecode(cine, c.first()) : ""},
                       {"rate", +s.TCRate}};

  static const struct {
    uint32_t tag;
    const char *name;
  } kBlocks[] = {{XE_TAG_TIME, "times"},           {XE_TAG_EXPOSURE, "exposures"},
                 {XE_TAG_RANGE_DATA, "range_data"}, {XE_TAG_BINSIG, "binary_signals"},
                 {XE_TAG_ANASIG, "analog_signals"}, {XE_TAG_TIMECODE, "timecode"}};
  Json blocks = Json::array();
  for (const auto &b : kBlocks)
    if (BlockStored(cine, c.first(), b.tag)) blocks.push_back(b.name);
  j["blocks"] = blocks;
  return j;
}

// Reads every stored image as stored, one at a time. Runs of images that
// fail with the same status are one entry of "failures".
Json CheckImages(const OpenCine &c) {
  CineHandle cine = c.get();
  Json failures = Json::array();
  uint64_t unreadable = 0;
  const auto fail = [&](int64_t image, int32_t status) {
    ++unreadable;
    if (!failures.empty()) {
      Json &run = failures.back();
      if (run["status"] == status && run["last"].get<int64_t>() + 1 == image) {
        run["last"] = image;
        return;
      }
    }
    failures.push_back(
        Json{{"first", image}, {"last", image}, {"status", status}, {"meaning", StatusMeaning(status)}});
  };
  int32_t status = XeSetUseCase(cine, kUseCaseRaw);
  const uint32_t size = XevGetCineInfo(cine, CIS_MaxImageSizeColor);
  std::vector<uint8_t> pixels;
  if (status >= 0 && size) pixels.resize(size);
  for (uint32_t k = 0; k < c.count(); ++k) {
    const int64_t image = int64_t{c.first()} + k;
    if (pixels.empty()) {
      fail(image, status < 0 ? status : XE_ERR_BUFFER_TOO_SMALL);
      continue;
    }
    ImageRange range{static_cast<int32_t>(image), 1};
    ImageHeader h{};
    status = XeGetCineImage(cine, &range, pixels.data(), size, &h);
    if (status < 0) fail(image, status);
  }
  return Json{{"images", c.count()}, {"unreadable", unreadable}, {"failures", failures}};
}

std::string Fixed(double v, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, v);
  return text;
}

std::string Joined(const Json &list, const char *empty) {
  std::string out;
  for (const Json &item : list) {
    if (!out.empty()) out += ", ";
    out += item.is_string() ? item.get<std::string>() : item["name"].get<std::string>() + " [" +
                                                           item["unit"].get<std::string>() + "]";
  }
  return out.empty() ? empty : out;
}

void Line(const char *label, const std::string &value) {
  std::printf("%-22s %s\n", label, value.c_str());
}

void PrintText(const Json &j) {
  const Json &cam = j["camera"];
  Line("file", j["file"].get<std::string>());
  Line("compression", std::to_string(j["compression"].get<int>()) + " (" +
                          j["compression_name"].get<std::string>() + ")");
  Line("image size", std::to_string(j["width"].get<int>()) + " x " + std::to_string(j["height"].get<int>()));
  Line("depth", std::to_string(j["bits_per_sample"].get<int>()) + " bits per sample, " +
                    std::to_string(j["bits_per_pixel"].get<int>()) + " bits per pixel delivered");
  Line("colour", j["color"].get<bool>() ? "colour (filter pattern " + std::to_string(j["cfa"].get<uint32_t>() & 0xFF) + ")"
                                        : std::string("gray"));
  Line("camera", "version " + cam["version"].dump() + ", serial " + cam["serial"].dump() +
                     ", firmware " + cam["firmware"].dump() + ", software " + cam["software"].dump());
  if (!j["description"].get<std::string>().empty()) Line("description", j["description"].get<std::string>());
  if (!j["cine_name"].get<std::string>().empty()) Line("cine name", j["cine_name"].get<std::string>());
  if (!j["lens"].get<std::string>().empty()) Line("lens", j["lens"].get<std::string>());
  const Json &rec = j["recorded_range"], &st = j["stored_range"];
  Line("recorded range", RangeText(rec["first"].get<int64_t>(), rec["count"].get<uint32_t>()));
  Line("stored range", RangeText(st["first"].get<int64_t>(), st["count"].get<uint32_t>()));
  Line("trigger time", j["trigger_time"]["utc"].get<std::string>() + "  (local " +
                           j["trigger_time"]["local"].get<std::string>() + ")");
  Line("frame rate", j["frame_rate"].dump() + " images per second, " +
                         j["frame_sync"].get<std::string>() + " sync");
  Line("shutter", Fixed(j["shutter_ns"].get<double>() / 1000.0, 3) + " us");
  if (!j["time_range"].is_null()) {
    const Json &t = j["time_range"];
    Line("first image time", t["first"].get<std::string>() + "  (" +
                                 Fixed(t["first_from_trigger_s"].get<double>(), 6) + " s from the trigger)");
    Line("last image time", t["last"].get<std::string>() + "  (" +
                                Fixed(t["last_from_trigger_s"].get<double>(), 6) + " s from the trigger)");
    Line("duration", Fixed(t["duration_s"].get<double>(), 6) + " s");
    const Json &e = j["exposure_us"];
    Line("exposure", Fixed(e["min"].get<double>(), 3) + " to " + Fixed(e["max"].get<double>(), 3) +
                         " us (mean " + Fixed(e["mean"].get<double>(), 3) + ")");
  }
  if (!j["frame_interval_us"].is_null()) {
    const Json &f = j["frame_interval_us"];
    Line("frame interval", "mean " + Fixed(f["mean"].get<double>(), 3) + " us, min " +
                               Fixed(f["min"].get<double>(), 3) + ", max " +
                               Fixed(f["max"].get<double>(), 3) + ", std dev " +
                               Fixed(f["stddev"].get<double>(), 3) + " (nominal " +
                               Fixed(f["nominal"].get<double>(), 3) + ")");
  }
  const Json &sig = j["signals"];
  Line("binary signals", sig["binary_channels"].dump() + " channels" +
                             (sig["binary_stored"].get<bool>() ? ", stored: " : ", not stored: ") +
                             Joined(sig["binary"], "-"));
  Line("analog signals", sig["analog_channels"].dump() + " channels" +
                             (sig["analog_stored"].get<bool>() ? ", stored: " : ", not stored: ") +
                             Joined(sig["analog"], "-"));
  const Json &range = j["range_data"];
  if (range["stored"].get<bool>())
    Line("range data", "code " + range["code"].dump() + ", " + range["size"].dump() +
                           " bytes per image; first image: " + range["first_image"].get<std::string>());
  else
    Line("range data", "none");
  const Json &tc = j["timecode"];
  if (!tc["first_image"].get<std::string>().empty())
    Line("timecode, first image", tc["first_image"].get<std::string>() +
                                      (tc["stored"].get<bool>() ? "" : " (computed)"));
  std::string blocks = Joined(j["blocks"], "none");
  std::replace(blocks.begin(), blocks.end(), '_', ' ');
  Line("tagged blocks", blocks);
  if (!j.contains("check")) return;
  const Json &check = j["check"];
  const uint64_t images = check["images"].get<uint64_t>(), bad = check["unreadable"].get<uint64_t>();
  if (bad == 0) {
    Line("check", "all " + Count(images, "image") + " read");
    return;
  }
  Line("check", Count(bad, "image") + " of " + std::to_string(images) + " cannot be read:");
  for (const Json &run : check["failures"]) {
    const int64_t first = run["first"].get<int64_t>(), last = run["last"].get<int64_t>();
    Line("", (first == last ? "image " + std::to_string(first)
                            : "images " + std::to_string(first) + " to " + std::to_string(last)) +
                 ": " + StatusText(run["status"].get<int32_t>()));
  }
}

// One file's description; the message of a damage --check found, or "".
std::string Describe(const std::string &file, const InfoOptions &o, Json *all, bool first) {
  OpenCine c(file);
  Json j = Recording(c);
  std::string damaged;
  if (o.check) {
    j["check"] = CheckImages(c);
    if (const uint64_t bad = j["check"]["unreadable"].get<uint64_t>())
      damaged = file + ": damaged: " + std::to_string(bad) + " of " + Count(c.count(), "image") +
                " cannot be read";
  }
  if (o.json && o.files.size() > 1)
    all->push_back(std::move(j));
  else if (o.json)
    std::printf("%s\n", j.dump(2).c_str());
  else {
    if (!first) std::printf("\n");
    PrintText(j);
  }
  return damaged;
}

// Every file is described; one that does not open is told on standard error
// and the others still are.
void RunInfo(const InfoOptions &o) {
  Library lib;
  Json all = Json::array();
  uint64_t failed = 0;
  std::vector<std::string> damaged;
  bool first = true;
  for (const std::string &file : o.files) {
    try {
      const std::string damage = Describe(file, o, &all, first);
      if (!damage.empty()) damaged.push_back(damage);
      first = false;
    } catch (const Failure &f) {
      if (o.files.size() == 1) throw;
      std::fflush(stdout);
      std::fprintf(stderr, "xefile: %s\n", f.message.c_str());
      ++failed;
    }
  }
  if (o.json && o.files.size() > 1) std::printf("%s\n", all.dump(2).c_str());
  std::fflush(stdout);
  if (failed)
    FailWith(Count(failed, "file") + " of " + std::to_string(o.files.size()) + " cannot be described");
  if (damaged.size() == 1) FailWith(damaged[0], kExitDamaged);
  if (!damaged.empty())
    FailWith(Count(damaged.size(), "file") + " of " + std::to_string(o.files.size()) +
                 " hold images that cannot be read",
             kExitDamaged);
}

}  // namespace

void AddInfoCommand(CLI::App &app) {
  auto o = std::make_shared<InfoOptions>();
  CLI::App *sub = app.add_subcommand(
      "info", "What recordings hold: geometry, depth, camera, ranges, times, exposures,\n"
              "frame intervals, signals, range data and timecode.");
  sub->add_option("FILE", o->files, "the cine files")->required();
  sub->add_flag("--json", o->json, "JSON with stable keys: an object, an array for several files");
  sub->add_flag("--check", o->check,
                "read every image as stored and list those that cannot be read (a truncated\n"
                "or damaged file); exit status 4 when there are any");
  sub->callback([o] { RunInfo(*o); });
}

}  // namespace xetool
