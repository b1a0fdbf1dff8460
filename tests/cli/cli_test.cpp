// The xefile tool run as a program on generated cines: its outputs against
// the library's own answers, its exit statuses and one-line messages, and a
// save stopped by SIGINT.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>


#include "cli_support.h"

namespace {

using namespace clitest;
using Json = nlohmann::json;

TEST_F(CliTest, HelpOfEverySubcommand) {
  for (const char *sub : {"", "info", "times", "extract", "convert", "search", "demo"}) {
    std::vector<std::string> args;
    if (*sub) args.push_back(sub);
    args.push_back("--help");
    Outcome r = Tool(args);
    EXPECT_EQ(r.code, 0) << sub;
    EXPECT_NE(r.out.find("Usage:"), std::string::npos) << sub;
    EXPECT_EQ(r.err, "") << sub;
  }
  EXPECT_NE(Tool({"convert", "--help"}).out.find("tiff16"), std::string::npos);
}

TEST_F(CliTest, InfoJsonAgreesWithTheLibrary) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"info", file, "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json j = Json::parse(r.out);
  Opened c(file);
  ASSERT_GE(c.status, 0);
  BitmapInfoHeader bmih{};
  XeGetCineBMIH(c.h, &bmih);
  EXPECT_EQ(j["width"], bmih.biWidth);
  EXPECT_EQ(j["height"], bmih.biHeight);
  EXPECT_EQ(j["bits_per_pixel"], bmih.biBitCount);
  EXPECT_EQ(j["bits_per_sample"], c.Get(CIS_RealBPP));
  EXPECT_EQ(j["color"], XefIsColorCine(c.h) == 1);
  EXPECT_EQ(j["compression"], c.Get(CIS_Compression));
  EXPECT_EQ(j["camera"]["serial"], c.Get(CIS_Serial));
  EXPECT_EQ(j["frame_rate"], c.Get(CIS_FrameRate));
  EXPECT_EQ(j["shutter_ns"], c.Get(CIS_ShutterNs));
  EXPECT_EQ(j["cine_name"], "fixture");
  int32_t first = 0, last = 0;
  XeGetCineRange(c.h, &first, &last);
  EXPECT_EQ(j["recorded_range"]["first"], first);
  EXPECT_EQ(j["recorded_range"]["last"], last);
  EXPECT_EQ(j["stored_range"]["first"], static_cast<int32_t>(c.Get(CIS_FirstImageNo)));
  EXPECT_EQ(j["stored_range"]["count"], c.Get(CIS_ImageCount));
  EXPECT_EQ(j["trigger_time"]["seconds"], c.Get(CIS_TriggerSeconds));
  EXPECT_EQ(j["trigger_time"]["fractions"], c.Get(CIS_TriggerFractions));
  double fromTrigger = 0;
  XefTimeFromTrigger(c.h, kFirst + kCount - 1, &fromTrigger);
  EXPECT_DOUBLE_EQ(j["time_range"]["last_from_trigger_s"].get<double>(), fromTrigger);
  uint32_t e0 = 0, e9 = 0;
  XefCineImageExposure(c.h, kFirst, &e0);
  XefCineImageExposure(c.h, kFirst + kCount - 1, &e9);
  EXPECT_NEAR(j["exposure_us"]["min"].get<double>(), e0 * 1e6 / 4294967296.0, 1e-9);
  EXPECT_NEAR(j["exposure_us"]["max"].get<double>(), e9 * 1e6 / 4294967296.0, 1e-9);
  EXPECT_NEAR(j["frame_interval_us"]["mean"].get<double>(), 4294967u * 1e6 / 4294967296.0, 1e-3);
  EXPECT_EQ(j["timecode"]["first_image"], "12:15:30:00");
  EXPECT_EQ(j["signals"]["binary_channels"], 4);
  EXPECT_EQ(j["signals"]["analog_channels"], 2);
  EXPECT_EQ(j["range_data"]["code"], 1);
  EXPECT_EQ(j["blocks"], Json({"times", "exposures", "range_data", "binary_signals", "analog_signals",
                               "timecode"}));
  // The text form tells the same.
  r = Tool({"info", file});
  EXPECT_EQ(r.code, 0);
  EXPECT_NE(r.out.find("-3 to 6 (10 images)"), std::string::npos) << r.out;
}

TEST_F(CliTest, ExtractWritesTheImageFormatOfTheExtension) {
  const std::string file = Recording(Path("rec.cine"));
  struct Case {
    std::string name;
    std::vector<std::string> extra;
    std::string head;
    size_t samples;
  } cases[] = {{"a.ppm", {}, "P6\n16 8\n65535\n", 16 * 8 * 3},
               {"r.pgm", {"--raw"}, "P5\n16 8\n4095\n", 16 * 8},
               {"a.tif", {}, std::string("II*\0", 4), 16 * 8 * 3}};
  for (const Case &k : cases) {
    std::vector<std::string> args{"extract", file, "--image", "-2", "-o", Path(k.name)};
    args.insert(args.end(), k.extra.begin(), k.extra.end());
    Outcome r = Tool(args);
    ASSERT_EQ(r.code, 0) << k.name << r.err;
    const std::string bytes = ReadText(Path(k.name));
    EXPECT_EQ(bytes.substr(0, k.head.size()), k.head) << k.name;
    EXPECT_GE(bytes.size(), k.head.size() + 2 * k.samples) << k.name;
    EXPECT_LE(bytes.size(), 320 + 2 * k.samples) << k.name;
  }
  // The TIFF's width and height tags (behind NewSubfileType).
  const std::string tif = ReadText(Path("a.tif"));
  auto u32 = [&tif](size_t at) {
    return static_cast<uint32_t>(static_cast<uint8_t>(tif[at]) | static_cast<uint8_t>(tif[at + 1]) << 8 |
                                 static_cast<uint8_t>(tif[at + 2]) << 16 |
                                 static_cast<uint32_t>(static_cast<uint8_t>(tif[at + 3])) << 24);
  };
  const uint32_t ifd = u32(4);
  EXPECT_EQ(u32(ifd + 2 + 12 + 8), 16u);  // ImageWidth
  EXPECT_EQ(u32(ifd + 2 + 24 + 8), 8u);   // ImageLength
}

TEST_F(CliTest, ConvertedRangesReadBack) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"convert", file, Path("part.cine"), "--to", "cine", "--range=-1:4"});
  ASSERT_EQ(r.code, 0) << r.err;
  {
    Opened out(Path("part.cine"));
    Opened src(file);
    ASSERT_GE(out.status, 0);
    EXPECT_EQ(static_cast<int32_t>(out.Get(CIS_FirstImageNo)), -1);
    EXPECT_EQ(out.Get(CIS_ImageCount), 6u);
    for (int32_t n = -1; n <= 4; ++n) {
      Time64 a{}, b{};
      XefCineImageTime(out.h, n, &a);
      XefCineImageTime(src.h, n, &b);
      EXPECT_EQ(a.fractions, b.fractions) << n;
    }
  }
  // Still images: one file per image, numbered from 1, and a header file.
  r = Tool({"convert", file, Path("st.tif"), "--to", "tiff16", "--range", "0:2"});
  ASSERT_EQ(r.code, 0) << r.err;
  for (const char *name : {"st_0001.tif", "st_0002.tif", "st_0003.tif"}) {
    const std::string bytes = ReadText(Path(name));
    ASSERT_GE(bytes.size(), 16 * 8 * 6u) << name;
    EXPECT_EQ(bytes.substr(0, 4), std::string("II*\0", 4)) << name;
  }
  EXPECT_FALSE(fs::exists(Path("st_0004.tif")));
  Opened header(Path("st_0001tif.chd"));
  ASSERT_GE(header.status, 0);
  EXPECT_EQ(static_cast<int32_t>(header.Get(CIS_FirstImageNo)), 0);
  EXPECT_EQ(header.Get(CIS_ImageCount), 3u);
}

TEST_F(CliTest, BadInputsGiveOneLineAndNonZero) {
  const std::string file = Recording(Path("rec.cine"));
  ExpectOneLineFailure(Tool({"info", dir.path()}), ": is a directory");
  ExpectOneLineFailure(Tool({"times", Path("missing.cine")}), "No such file or directory");
  ExpectOneLineFailure(Tool({"extract", file, "-i", "99", "-o", Path("x.ppm")}), "-2004");
  EXPECT_FALSE(fs::exists(Path("x.ppm")));
  ExpectOneLineFailure(Tool({"convert", file, Path("x.cine"), "--to", "tiff17"}), "-2018");
  ExpectOneLineFailure(Tool({"convert", file, Path("x.cine"), "--to", "cine", "--range", "100:200"}),
                       "2001");
  EXPECT_FALSE(fs::exists(Path("x.cine")));
  // A type of a plugin or writer this build lacks.
  Outcome r = Tool({"convert", file, Path("x.avi"), "--to", "avi"});
  if (r.code != 0) {
    ExpectOneLineFailure(r, "not available in this build");
    EXPECT_FALSE(fs::exists(Path("xavi.chd")));
  }
  ExpectOneLineFailure(Tool({"frobnicate"}), "unknown subcommand");
  r = Tool({"extract", file});
  ExpectOneLineFailure(r, "required");
  EXPECT_EQ(r.code, 2);
}

TEST_F(CliTest, SearchAnswersAsTheLibrary) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"search", file, "--from", "-3"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(r.out.rfind("image 1 ", 0), 0u) << r.out;
  r = Tool({"search", file, "--from", "1", "--event", "changed"});
  EXPECT_EQ(r.out.rfind("image 3 ", 0), 0u) << r.out;
  r = Tool({"search", file, "--backward", "--event", "1"});
  EXPECT_EQ(r.out.rfind("image 2 ", 0), 0u) << r.out;
}

TEST_F(CliTest, DemoMakesARecordingThatInfoDescribes) {
  Outcome r = Tool({"demo", Path("demo.cine"), "--frames", "30", "--size", "64x48"});
  ASSERT_EQ(r.code, 0) << r.err;
  r = Tool({"info", Path("demo.cine"), "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json j = Json::parse(r.out);
  EXPECT_EQ(j["stored_range"], Json({{"first", -15}, {"last", 14}, {"count", 30}}));
  EXPECT_EQ(j["width"], 64);
  EXPECT_EQ(j["color"], true);
  EXPECT_EQ(j["compression_name"], "raw");
  EXPECT_EQ(j["bits_per_sample"], 12);
  EXPECT_EQ(j["blocks"].size(), 6u);
  EXPECT_NEAR(j["frame_interval_us"]["mean"].get<double>(), 1000.0, 5.0);
  EXPECT_GT(j["frame_interval_us"]["stddev"].get<double>(), 0.0);  // jitter
  EXPECT_LT(j["time_range"]["first_from_trigger_s"].get<double>(), 0.0);
  // The event input is active from the trigger.
  r = Tool({"search", Path("demo.cine"), "--from", "-15"});
  EXPECT_EQ(r.out.rfind("image 0 ", 0), 0u) << r.out;

  r = Tool({"demo", Path("gray.cine"), "--frames", "4", "--size", "32x16", "--gray"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_EQ(Json::parse(Tool({"info", Path("gray.cine"), "--json"}).out)["color"], false);
  ExpectOneLineFailure(Tool({"demo", Path("bad.cine"), "--size", "64by48"}), "--size");
}

TEST_F(CliTest, InterruptedConvertLeavesAValidFile) {
  Outcome r = Tool({"demo", Path("long.cine"), "--frames", "400", "--size", "320x240"});
  ASSERT_EQ(r.code, 0) << r.err;
  const std::string out = Path("stopped.cine");
  // Stopped once a few images are on disk.
  int stopped = -1;
  r = Interrupted({"convert", Path("long.cine"), out, "--to", "cine", "--8bit"}, dir.path(), out,
                  4 * 320 * 240 * 3, &stopped);
  ASSERT_EQ(r.code, 130) << r.err << r.out;
  ASSERT_GT(stopped, 0) << r.err;
  const uint32_t written = static_cast<uint32_t>(stopped);
  EXPECT_LT(written, 400u);
  Opened c(out);
  ASSERT_GE(c.status, 0);
  EXPECT_EQ(c.Get(CIS_ImageCount), written);
  EXPECT_EQ(static_cast<int32_t>(c.Get(CIS_FirstImageNo)), -200);
  // The last image written reads back.
  std::vector<uint8_t> pixels(c.Get(CIS_MaxImageSizeColor));
  ImageRange range{-200 + static_cast<int32_t>(written) - 1, 1};
  ImageHeader h{};
  EXPECT_GE(XeGetCineImage(c.h, &range, pixels.data(), static_cast<uint32_t>(pixels.size()), &h), 0);
  EXPECT_EQ(h.biWidth, 320);
}

}  // namespace
