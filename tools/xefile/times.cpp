// xefile times: one line per stored image: number, time in UTC and in local
// time, seconds from the trigger, exposure, event bit and timecode; as a
// table, CSV or JSON.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

#include "tool.h"

namespace xetool {
namespace {

struct TimesOptions {
  std::string file;
  std::string range;
  bool csv = false;
  bool json = false;
};

void RunTimes(const TimesOptions &o) {
  Library lib;
  OpenCine c(o.file);
  ImageSpan span{c.first(), c.last()};
  if (!o.range.empty()) span = ParseRange(o.range, c);
  // JSON rows are written as they come: a long recording is not held.
  const char *separator = "[\n  ";
  if (o.csv)
    std::printf("image,time_utc,time_local,from_trigger_s,exposure_us,event,timecode\n");
  else if (!o.json)
    std::printf("%8s  %-30s  %-35s  %15s  %12s  %5s  %s\n", "image", "time (UTC)", "time (local)",
                "from trigger s", "exposure us", "event", "timecode");
  for (int64_t n = span.first; c.count() && n <= span.last; ++n) {
    const int32_t image = static_cast<int32_t>(n);
    Time64 t{};
    XefCineImageTime(c.get(), image, &t);
    double fromTrigger = 0;
    XefTimeFromTrigger(c.get(), image, &fromTrigger);
    uint32_t exposure = 0;
    XefCineImageExposure(c.get(), image, &exposure);
    const unsigned event = (t.fractions >> 1) & 1u;
    const std::string utc = IsoTime(t, true), local = IsoTime(t, false);
    const std::string tc = ImageTimecode(c.get(), image);
    if (o.json) {
      const nlohmann::ordered_json row = {{"image", image},
                                          {"time_utc", utc},
                                          {"time_local", local},
                                          {"from_trigger_s", fromTrigger},
                                          {"exposure_us", ExposureMicroseconds(exposure)},
                                          {"event", event},
                                          {"timecode", tc}};
      std::printf("%s%s", separator, row.dump().c_str());
      separator = ",\n  ";
    } else if (o.csv)
      std::printf("%d,%s,%s,%.9f,%.3f,%u,%s\n", image, utc.c_str(), local.c_str(), fromTrigger,
                  ExposureMicroseconds(exposure), event, tc.c_str());
    else
      std::printf("%8d  %-30s  %-35s  %15.9f  %12.3f  %5u  %s\n", image, utc.c_str(), local.c_str(),
                  fromTrigger, ExposureMicroseconds(exposure), event, tc.c_str());
  }
  if (o.json) std::printf("%s]\n", *separator == '[' ? "[" : "\n");
}

}  // namespace

void AddTimesCommand(CLI::App &app) {
  auto o = std::make_shared<TimesOptions>();
  CLI::App *sub = app.add_subcommand(
      "times", "Per stored image: number, time (UTC and local), seconds from the trigger,\n"
               "exposure in microseconds, event bit and timecode.");
  sub->add_option("FILE", o->file, "the cine file")->required();
  CLI::Option *csv = sub->add_flag("--csv", o->csv, "comma-separated values with a header line");
  sub->add_flag("--json", o->json, "one JSON array of one object per image, keys as the CSV columns")
      ->excludes(csv);
  sub->add_option("--range", o->range, "only images FIRST:LAST");
  sub->callback([o] { RunTimes(*o); });
}

}  // namespace xetool
