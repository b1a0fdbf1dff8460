// The xefile tool run as a program on generated cines: what info tells, a
// converted range, the demo recording, and the exit statuses and one-line
// messages of bad inputs.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <tuple>

#include "cli_support.h"

namespace {

using namespace clitest;
using Json = nlohmann::json;

TEST_F(CliTest, InfoJsonTellsTheRecordingAndWhatItsBlocksHold) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"info", file, "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json j = Json::parse(r.out).flatten();
  // The fixture's header, its stored times and the first image's timecode.
  const Json want = Json{
      {"width", 16}, {"height", 8}, {"bits_per_sample", 12}, {"color", true}, {"frame_rate", 1000},
      {"camera", {{"serial", 4711}}}, {"cine_name", "fixture"},
      {"recorded_range", {{"first", -3}, {"last", 6}}}, {"stored_range", {{"first", -3}, {"count", 10}}},
      {"timecode", {{"first_image", "12:15:30:00"}}}}.flatten();
  for (const auto &[key, value] : want.items()) EXPECT_EQ(j.value(key, Json()), value) << key;
  EXPECT_EQ(Json::parse(r.out)["blocks"], Json({"times", "exposures", "timecode"}));
  // Image 6 is 6 ms after the trigger (times rounded to the tick); exposures
  // are 2^-32 s units.
  EXPECT_NEAR(j.at("/time_range/last_from_trigger_s").get<double>(), 0.006, 1e-6);
  EXPECT_NEAR(j.at("/exposure_us/min").get<double>(), 1073742 * 1e6 / 4294967296.0, 1e-9);
}

TEST_F(CliTest, ConvertedRangeReadsBack) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"convert", file, Path("part.cine"), "--to", "cine", "--range=-1:4"});
  ASSERT_EQ(r.code, 0) << r.err;
  Opened out(Path("part.cine"));
  ASSERT_GE(out.status, 0);
  EXPECT_EQ(std::tuple(static_cast<int32_t>(out.Get(CIS_FirstImageNo)), out.Get(CIS_ImageCount)),
            std::tuple(-1, 6u));
}

TEST_F(CliTest, BadInputsGiveOneLineAndNonZero) {
  const std::string file = Recording(Path("rec.cine"));
  ExpectOneLineFailure(Tool({"info", dir.path()}), ": is a directory");
  ExpectOneLineFailure(Tool({"extract", file, "-i", "99", "-o", Path("x.ppm")}), "-2004");
  EXPECT_FALSE(fs::exists(Path("x.ppm")));
  ExpectOneLineFailure(Tool({"convert", file, Path("x.cine"), "--to", "tiff17"}), "-2018");
  ExpectOneLineFailure(Tool({"convert", file, Path("x.cine"), "--to", "cine", "--range", "100:200"}),
                       "2001");
  EXPECT_FALSE(fs::exists(Path("x.cine")));
}

TEST_F(CliTest, DemoMakesARecordingThatInfoDescribes) {
  Outcome r = Tool({"demo", Path("demo.cine"), "--frames", "30", "--size", "64x48"});
  ASSERT_EQ(r.code, 0) << r.err;
  r = Tool({"info", Path("demo.cine"), "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json j = Json::parse(r.out);
  EXPECT_EQ(j["stored_range"], Json({{"first", -15}, {"last", 14}, {"count", 30}}));
  EXPECT_EQ(j["blocks"].size(), 6u);
  EXPECT_GT(j["frame_interval_us"]["stddev"].get<double>(), 0.0);  // jitter
  ExpectOneLineFailure(Tool({"demo", Path("bad.cine"), "--size", "64by48"}), "--size");
}

}  // namespace
