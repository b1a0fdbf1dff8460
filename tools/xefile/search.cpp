// xefile search: from an image, forward or backward, to the first image whose
// event bit is 0, 1, or differs from the start image's.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <optional>

#include "tool.h"

namespace xetool {
namespace {

constexpr uint32_t kForward = 0, kBackward = 1;

struct SearchOptions {
  std::string file;
  std::optional<int64_t> from;
  bool backward = false;
  std::string event = "1";
};

void RunSearch(const SearchOptions &o) {
  uint32_t condition = o.event == "0" ? 0u : o.event == "1" ? 1u : 2u;
  Library lib;
  OpenCine c(o.file);
  const uint32_t direction = o.backward ? kBackward : kForward;
  const int64_t from = o.from ? *o.from : (o.backward ? c.last() : c.first());
  c.RequireImage(from);
  const std::string wanted = o.event == "changed" ? "whose event bit changes"
                                                  : "whose event bit is " + o.event;
  // The library does not examine the last image of the direction.
  const int64_t end = o.backward ? c.first() : c.last();
  const auto notFound = [&] {
    const std::string last = o.backward ? "first" : "last";
    FailWith("no image found " + wanted + (o.backward ? " before" : " after") + " image " +
                 std::to_string(from) +
                 (from == end ? " (it is the " + last + " stored image)"
                              : " (image " + std::to_string(end) + ", the " + last + ", is not examined)"),
             kExitNotFound);
  };
  // A forward walk from the last image would look past the recording.
  if (!o.backward && from == c.last()) notFound();

  int32_t *current = nullptr;
  XeGetCineInfo(c.get(), CIS_PtrImageRangeFirst, &current);
  if (!current) Fail("the cine's current image is not available", XE_ERR_NULL_ARGUMENT);
  *current = static_cast<int32_t>(from);
  int32_t found = 0;
  const int32_t status =
      XefCineImageSearch(c.get(), direction, 0, &condition, sizeof condition, &found, nullptr);
  if (status == XE_INFO_SEARCH_AT_END) notFound();
  if (status != XE_OK) Fail("the search from image " + std::to_string(from) + " failed", status);

  Time64 t{};
  XefCineImageTime(c.get(), found, &t);
  double fromTrigger = 0;
  XefTimeFromTrigger(c.get(), found, &fromTrigger);
  std::printf("image %d  %s  %.9f s from the trigger  event %u\n", found, IsoTime(t, true).c_str(),
              fromTrigger, (t.fractions >> 1) & 1u);
}

}  // namespace

void AddSearchCommand(CLI::App &app) {
  auto o = std::make_shared<SearchOptions>();
  CLI::App *sub = app.add_subcommand(
      "search", "Finds the next image, after --from, whose event bit is 0, 1 or changes\n"
                "from that of the start image. The last image of the direction is not\n"
                "examined. Exit status 3 when none is found.");
  sub->add_option("FILE", o->file, "the cine file")->required();
  sub->add_option("--from", o->from, "the start image, not examined itself (default: the first, "
                                     "or with --backward the last stored image)");
  sub->add_flag("--backward,-b", o->backward, "search towards earlier images");
  sub->add_option("--event", o->event, "0, 1 (the default) or changed")
      ->check(CLI::IsMember({"0", "1", "changed"}));
  sub->callback([o] { RunSearch(*o); });
}

}  // namespace xetool
