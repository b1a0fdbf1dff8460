// The tool's reading side: info of several files and its image check, times
// as JSON, the exit status of a search that finds nothing, the demo's
// depths, patterns and packing, extract of ranges and to standard output,
// what a file that is no cine is called, and --quiet / --verbose.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <tuple>

#include "cli_support.h"

namespace {

using namespace clitest;
using Json = nlohmann::json;

TEST_F(CliTest, InfoDescribesSeveralFilesAndChecksTheirImages) {
  const std::string good = Recording(Path("good.cine"));
  // Cut inside the record of image 5: images 5 and 6 are lost, 4 is whole.
  std::string bytes = ReadText(good);
  uint64_t offset5 = 0;
  std::memcpy(&offset5, bytes.data() + *reinterpret_cast<const uint32_t *>(bytes.data() + 32) + 8 * 8, 8);
  std::ofstream(Path("cut.cine"), std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(offset5 + 4));

  Outcome r = Tool({"info", good, Path("cut.cine"), "--json", "--check"});
  EXPECT_EQ(r.code, 4) << r.err;
  EXPECT_EQ(r.err, "xefile: " + Path("cut.cine") + ": damaged: 2 of 10 images cannot be read\n");
  const Json j = Json::parse(r.out);
  ASSERT_EQ(j.size(), 2u);
  EXPECT_EQ(j[0]["check"], Json({{"images", 10}, {"unreadable", 0}, {"failures", Json::array()}}));
  const Json &failures = j[1]["check"]["failures"];
  ASSERT_EQ(failures.size(), 1u);
  EXPECT_EQ(std::tuple(failures[0]["first"], failures[0]["last"], failures[0]["status"]),
            std::tuple(Json(5), Json(6), Json(XE_ERR_FILE_READ)));

  // Text: a block per file; a file that does not open is told and the rest
  // still described.
  r = Tool({"info", good, Path("missing.cine"), good});
  EXPECT_EQ(r.code, 1);
  EXPECT_EQ(Lines(r.err).size(), 2u) << r.err;
  size_t blocks = 0;
  for (const std::string &line : Lines(r.out)) blocks += line.rfind("file ", 0) == 0;
  EXPECT_EQ(blocks, 2u);
  EXPECT_EQ(Tool({"info", good, "--check"}).code, 0);
}

TEST_F(CliTest, TimesAsJson) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"times", file, "--json", "--range", "0:1"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json j = Json::parse(r.out);
  ASSERT_EQ(j.size(), 2u);
  // The fixture's event is on images 1 and 2; image 0 holds timecode 12:15:30:03.
  EXPECT_EQ(std::tuple(j[1]["image"], j[0]["event"], j[1]["event"], j[0]["timecode"]),
            std::tuple(Json(1), Json(0), Json(1), Json("12:15:30:03")));
  EXPECT_EQ(Tool({"times", file, "--json", "--csv"}).code, 2);
}

// The fixture's event bit is set on images 1 and 2. The last image of the
// direction is not examined: from 3 forward, 4 to 5 are, and none is set.
TEST_F(CliTest, SearchFindsByDirectionAndConditionAndExitsThreeOnNothing) {
  const std::string file = Recording(Path("rec.cine"));
  const struct {
    std::vector<std::string> args;
    int code;
    std::string out;
  } cases[] = {
      {{"--from", "1", "--event", "changed"}, 0, "image 3 "},
      {{"--backward", "--event", "1"}, 0, "image 2 "},
      {{"--from", "3"}, 3, ""},
  };
  for (const auto &k : cases) {
    std::vector<std::string> all{"search", file};
    all.insert(all.end(), k.args.begin(), k.args.end());
    const Outcome r = Tool(all);
    EXPECT_EQ(r.code, k.code) << k.args[1];
    if (k.code == 3) ExpectOneLineFailure(r, "no image found");
    EXPECT_EQ(r.out.rfind(k.out, 0), 0u) << k.args[1] << ": " << r.out;
  }
}

TEST_F(CliTest, DemoMakesEveryPatternAndDepth) {
  // Picture row 10 crosses the colour bars: bar 1 is yellow, with no blue.
  struct Case {
    std::string cfa, bits;
  } cases[] = {{"1", "12"}, {"2", "8"}, {"3", "16"}, {"4", "10"}};
  for (const Case &k : cases) {
    const std::string cine = Path("c" + k.cfa + ".cine"), ppm = Path("c" + k.cfa + ".ppm");
    ASSERT_EQ(Tool({"demo", cine, "-n", "2", "--size", "64x32", "--cfa", k.cfa, "--bits", k.bits}).code, 0);
    const Json j = Json::parse(Tool({"info", cine, "--json"}).out);
    EXPECT_EQ(j["bits_per_sample"], std::stoi(k.bits));
    ASSERT_EQ(Tool({"extract", cine, "-i", "0", "-o", ppm}).code, 0);
    const std::vector<uint16_t> v = PnmSamples(ReadText(ppm));
    const size_t yellow = 10 * 64 * 3 + 12 * 3;
    ASSERT_GT(v.size(), yellow + 2);
    EXPECT_LT(v[yellow + 2], 15000) << k.cfa;
  }
  Opened c(Path("c4.cine"));
  BitmapInfoHeader b{};
  XeGetCineBMIH(c.h, &b);
  EXPECT_EQ(b.biYPelsPerMeter, 2835);  // 72 dpi
}

TEST_F(CliTest, DemoPacksTenBitSamples) {
  Outcome r = Tool({"demo", Path("p.cine"), "-n", "1", "--size", "48x16", "--bits", "10", "--packed"});
  ASSERT_EQ(r.code, 0) << r.err;
  const std::string file = ReadText(Path("p.cine"));
  BitmapInfoHeader b{};
  std::memcpy(&b, file.data() + *reinterpret_cast<const uint32_t *>(file.data() + 24), sizeof b);
  EXPECT_EQ(b.biCompression, static_cast<uint32_t>(XE_BI_PACKED));
  EXPECT_EQ(b.biSizeImage, 48u * 16 * 10 / 8);
  ExpectOneLineFailure(Tool({"demo", Path("x.cine"), "--packed"}), "--bits 10");
  EXPECT_EQ(Tool({"demo", Path("x.cine"), "--cfa", "5"}).code, 2);
}

TEST_F(CliTest, ExtractWritesRangesByPatternAndRawVideo) {
  const std::string file = Recording(Path("rec.cine"));
  ASSERT_EQ(Tool({"extract", file, "-i", "0", "-o", Path("one.ppm")}).code, 0);
  Outcome r = Tool({"extract", file, "--range=-1:1", "-o", Path("f/img_!3.ppm")});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_TRUE(fs::exists(Path("f/img_-01.ppm")));
  EXPECT_FALSE(fs::exists(Path("f/img_002.ppm")));
  EXPECT_EQ(ReadText(Path("f/img_000.ppm")), ReadText(Path("one.ppm")));
  // Without a token the files are numbered from 1.
  ASSERT_EQ(Tool({"extract", file, "-r", "5:", "--raw", "-o", Path("n.pgm")}).code, 0);
  EXPECT_TRUE(fs::exists(Path("n_0002.pgm")));
  EXPECT_FALSE(fs::exists(Path("n_0003.pgm")));

  // Raw video: rgb48le frames, top row first, the PPM's samples.
  r = Tool({"extract", file, "--range", "0:1", "-o", "-"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.err.find("ffmpeg -f rawvideo -pixel_format rgb48le -video_size 16x8 -framerate 1000 -i -"),
            std::string::npos)
      << r.err;
  const std::vector<uint16_t> ppm = PnmSamples(ReadText(Path("one.ppm")));
  ASSERT_EQ(r.out.size(), 2 * ppm.size() * 2);
  std::vector<uint16_t> frame(ppm.size());
  std::memcpy(frame.data(), r.out.data(), frame.size() * 2);
  EXPECT_EQ(frame, ppm);

  EXPECT_EQ(Tool({"extract", file, "-i", "0", "--raw", "--gamma", "2", "-o", Path("x.pgm")}).code, 2);
  // --no-clobber looks at every name of a range before writing any.
  fs::remove(Path("f/img_001.ppm"));
  EXPECT_EQ(Tool({"extract", file, "--range=0:1", "-n", "-o", Path("f/img_!3.ppm")}).code, 1);
  EXPECT_FALSE(fs::exists(Path("f/img_001.ppm")));
  EXPECT_EQ(Tool({"extract", file, "-i", "0", "-n", "-o", Path("one.ppm")}).code, 1);

  // The adjustments reach the viewed image: a quarter turn exchanges the sides.
  ASSERT_EQ(Tool({"extract", file, "-i", "0", "--rotate", "90", "-o", Path("turned.ppm")}).code, 0);
  EXPECT_EQ(ReadText(Path("turned.ppm")).substr(0, 8), "P6\n8 16\n");
}

TEST_F(CliTest, FilesThatAreNoCinesAreNamed) {
  const std::string good = ReadText(Recording(Path("rec.cine")));
  std::string negative = good, odd = good;
  const uint32_t bmih = *reinterpret_cast<const uint32_t *>(good.data() + 24);
  const int32_t width = -16;
  const uint16_t bits = 12;
  std::memcpy(negative.data() + bmih + 4, &width, 4);
  std::memcpy(odd.data() + bmih + 14, &bits, 2);
  const struct {
    std::string name, bytes, message;
  } cases[] = {
      {"empty.cine", "", "not a cine file: empty"},
      {"text.cine", "hello there\n", "not a cine file: unknown header (first bytes 68 65 6c 6c"},
      {"tif.cine", std::string("II*\0\x08\0\0\0", 8), "not a cine file: a TIFF file"},
      {"negative.cine", negative, "damaged cine header: image width -16"},
      {"odd.cine", odd, "damaged cine header: 12 bits per pixel"},
  };
  for (const auto &k : cases) {
    std::ofstream(Path(k.name), std::ios::binary) << k.bytes;
    ExpectOneLineFailure(Tool({"info", Path(k.name)}), k.message);
  }
}

TEST_F(CliTest, QuietAndVerbose) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"--quiet", "extract", file, "-i", "0", "-o", Path("a.ppm")});
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out + r.err, "");
  // The library's log comes to standard error; the output stays the same.
  r = Tool({"times", file, "--csv", "--verbose"});
  EXPECT_EQ(r.code, 0);
  EXPECT_EQ(r.out, Tool({"times", file, "--csv"}).out);
  EXPECT_GT(Lines(r.err).size(), 2u);
}

}  // namespace
