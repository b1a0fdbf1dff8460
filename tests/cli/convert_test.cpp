// xefile convert: options that would do nothing are refused, outputs that
// cannot be written are refused before the save, and a save that fails or
// is stopped says why and what it left.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <tuple>

#include "cli_support.h"

namespace {

using namespace clitest;

// A small file system of `size` for the life of the object; mounted() is
// false where the test may not mount one (not root, or in a container).
class SmallTmpfs {
 public:
  SmallTmpfs(const std::string &dir, const char *options, unsigned long flags = 0) : dir_(dir) {
    fs::create_directories(dir);
    mounted_ = mount("tmpfs", dir.c_str(), "tmpfs", flags, options) == 0;
  }
  ~SmallTmpfs() {
    if (mounted_) umount2(dir_.c_str(), MNT_DETACH);
  }
  bool mounted() const { return mounted_; }

 private:
  std::string dir_;
  bool mounted_ = false;
};

// The pages tiffinfo reads from a file, -1 when it reports an error.
int TiffinfoPages(const std::string &path) {
  const std::string text = Shell("tiffinfo " + path);
  if (text.find("Error") != std::string::npos || text.find("Failed") != std::string::npos) return -1;
  int pages = 0;
  for (size_t at = 0; (at = text.find("TIFF Directory at offset", at)) != std::string::npos; ++at) ++pages;
  return pages;
}

class ConvertTest : public CliTest {
 protected:
  // A colour demo recording of 320 x 240: 460 KB per 16-bit TIFF image.
  std::string Demo(int frames) {
    const std::string path = Path("demo" + std::to_string(frames) + ".cine");
    Outcome r = Tool({"demo", path, "--frames", std::to_string(frames), "--size", "320x240"});
    EXPECT_EQ(r.code, 0) << r.err;
    return path;
  }
};

TEST_F(ConvertTest, OptionsThatWouldDoNothingAreRefusedWithTheirRange) {
  const std::string file = Recording(Path("rec.cine"));
  const struct {
    std::vector<std::string> args;
    const char *says;
  } refused[] = {
      {{"--bright", "1001"}, "1001 is outside -1000 to 1000"},
      {{"--contrast=-101"}, "outside -100 to 100"},
      {{"--hue", "361"}, "outside -360 to 360"},
      {{"--wb=1,-0.5"}, "-0.5 is outside 0 to 100"},
      {{"--gamma", "0"}, "0 is outside 0.01 to 100"},
      {{"--gamma", "nan"}, "outside 0.01 to 100"},
      {{"--stamp-time"}, "not available in this build"},
      {{"--to", "tiff16", "--8bit"}, "--8bit: type tiff16"},
      {{"--to", "tiff16", "--quality", "50"}, "--quality: type tiff16"},
      {{"--to", "cine-raw", "--crop", "16x8+0+0"}, "--crop: type cine-raw"},
      {{"--to", "cine-raw", "--demosaic", "Best"}, "--demosaic: type cine-raw"},
      {{"--range=-99999999999:0"}, "-99999999999 is out of range"},
      {{"--range", "4:3"}, "the first image 4 comes after the last 3"},
      {{"--dpx-log"}, "--dpx-log: type cine is not DPX"},
      {{"--to", "dpx", "--dpx-ref-white", "1024"}, "1024 is outside 0 to 1023"},
      {{"--to", "dpx", "--dpx-ref-black", "900"}, "900 is above the reference white 685"},
  };
  for (const auto &k : refused) {
    std::vector<std::string> args{"convert", file, Path("out.cine")};
    args.insert(args.end(), k.args.begin(), k.args.end());
    Outcome r = Tool(args);
    ExpectOneLineFailure(r, k.says);
    EXPECT_EQ(r.code, 2) << k.says;
    EXPECT_FALSE(fs::exists(Path("out.cine"))) << k.says;
  }
  // The ends of each range are taken.
  EXPECT_EQ(Tool({"convert", file, Path("ok.tif"), "--to", "tiff8", "--range", "0:0", "--bright", "1000",
                  "--contrast=-100", "--gamma", "0.01", "--wb", "0,100"}).code, 0);
}

TEST_F(ConvertTest, FormatsTellWhatThisBuildWritesAndTypesGoByNumber) {
  Outcome r = Tool({"formats"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("  tiff16 "), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("-10  .tif  16, 48"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("not yet built"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("-27  .dpx  8, 16, 24, 48  available"), std::string::npos) << r.out;
  EXPECT_NE(Tool({"convert", "--help"}).out.find("not yet built"), std::string::npos);

  const std::string file = Recording(Path("rec.cine"));
  r = Tool({"convert", file, Path("n.tif"), "--to", "-10", "--range", "0:0"});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("1 image (0 to 0), tiff16"), std::string::npos) << r.out;
  ExpectOneLineFailure(Tool({"convert", file, Path("x.avi"), "--to", "3"}), "type avi is not available");
  EXPECT_FALSE(fs::exists(Path("xavi.chd")));
}

TEST_F(ConvertTest, DpxOptionsReachTheFiles) {
  const std::string file = Recording(Path("rec.cine"));
  Outcome r = Tool({"convert", file, Path("d.dpx"), "--range", "0:1", "--dpx-log", "--dpx-big-endian",
                    "--dpx-packing", "2"});
  ASSERT_EQ(r.code, 0) << r.err;
  const std::string head = ReadText(Path("d_0002.dpx")).substr(0, 2080);
  // Big-endian magic, printing-density transfer, 10 bits, packing 2.
  EXPECT_EQ(head.substr(0, 4) + head.substr(801, 1) + head.substr(803, 3), std::string("SDPX\1\12\0\2", 8));
}

TEST_F(ConvertTest, OutputsThatCannotBeWrittenAreRefusedBeforeTheSave) {
  const std::string file = Recording(Path("rec.cine"));
  const std::string before = ReadText(file);
  fs::create_directory(Path("folder.cine"));
  std::ofstream(Path("old.cine")) << "keep";
  const struct {
    std::vector<std::string> args;
    const char *says;
  } refused[] = {
      {{Path("folder.cine")}, "the output is a directory"},
      {{file}, "the output is the input file"},
      {{Path("old.cine"), "--no-clobber"}, "exists (--no-clobber)"},
  };
  for (const auto &k : refused) {
    std::vector<std::string> args{"convert", file};
    args.insert(args.end(), k.args.begin(), k.args.end());
    args.insert(args.end(), {"--to", "cine"});
    ExpectOneLineFailure(Tool(args), k.says);
  }
  EXPECT_EQ(ReadText(file), before);
  EXPECT_EQ(ReadText(Path("old.cine")), "keep");

  // A folder this user cannot write: read-only for root, mode 555 for others.
  const std::string ro = Path("ro");
  std::unique_ptr<SmallTmpfs> mounted;
  if (geteuid() == 0) {
    mounted = std::make_unique<SmallTmpfs>(ro, "size=64k", MS_RDONLY);
    if (!mounted->mounted()) GTEST_SKIP() << "root here cannot mount a read-only tmpfs";
  } else {
    fs::create_directory(ro);
    chmod(ro.c_str(), 0555);
  }
  ExpectOneLineFailure(Tool({"convert", file, ro + "/a.cine"}), "cannot write in " + ro);
  chmod(ro.c_str(), 0755);
}

TEST_F(ConvertTest, FullDiskNamesTheCauseAndWhatEachFileHolds) {
  const std::string file = Demo(24);
  const std::string disk = Path("disk");
  SmallTmpfs tmpfs(disk, "size=2m");
  if (!tmpfs.mounted()) GTEST_SKIP() << "a 2 MB tmpfs cannot be mounted here (needs root)";
  const struct {
    const char *type, *out;
    std::vector<std::string> holds;  // parts of the report
  } cases[] = {
      {"tiff16", "s.tif", {"s_0001.tif ... ", " whole files", "incomplete, ", "s_0001tif.chd: empty"}},
      {"tiff-multipage", "m.tif", {"m.tif: a multipage TIFF of ", "mtif.chd: empty"}},
      {"cine", "c.cine", {"c.cine: a cine of "}},
  };
  for (const auto &k : cases) {
    for (const auto &entry : fs::directory_iterator(disk)) fs::remove(entry.path());
    Outcome r = Tool({"convert", file, disk + "/" + k.out, "--to", k.type});
    EXPECT_EQ(r.code, 1) << k.type;
    const std::vector<std::string> lines = Lines(r.err);
    ASSERT_FALSE(lines.empty()) << k.type;
    EXPECT_NE(lines.back().find("the save failed: no space left on device"), std::string::npos) << r.err;
    EXPECT_NE(lines.back().find("-2014"), std::string::npos) << r.err;
    for (const std::string &part : k.holds) EXPECT_NE(r.err.find(part), std::string::npos) << part << "\n" << r.err;
    if (std::string(k.type) == "cine") {
      // The cine left counts the images it holds.
      Opened cine(disk + "/c.cine");
      ASSERT_GE(cine.status, 0);
      EXPECT_GT(cine.Get(CIS_ImageCount), 0u);
    } else if (std::string(k.type) == "tiff-multipage" && Has("tiffinfo")) {
      // Read to its last whole page.
      const std::string said = "a multipage TIFF of ";
      const size_t at = r.err.find(said);
      ASSERT_NE(at, std::string::npos) << r.err;
      EXPECT_EQ(TiffinfoPages(disk + "/m.tif"), std::stoi(r.err.substr(at + said.size())));
    }
  }
}

// A save stopped by SIGINT reports the images its file holds. A stopped
// multipage TIFF keeps a next-page offset past the end of its last page (the
// library leaves it so): the tool closes the chain.
TEST_F(ConvertTest, StoppedSavesCountWhatTheirFilesHold) {
  const std::string file = Demo(400);
  const struct {
    std::vector<std::string> args;
    std::string out;
  } cases[] = {{{"--to", "cine", "--8bit"}, Path("stopped.cine")},
               {{"--to", "tiff-multipage"}, Path("stopped.tif")}};
  for (const auto &k : cases) {
    std::vector<std::string> args{"convert", file, k.out};
    args.insert(args.end(), k.args.begin(), k.args.end());
    int stopped = -1;
    Outcome r = Interrupted(args, dir.path(), k.out, 4 * 320 * 240 * 3, &stopped);
    ASSERT_EQ(r.code, 130) << r.err;
    EXPECT_GE(stopped, 2) << r.err;
    EXPECT_LT(stopped, 400);
    if (k.args[1] == "cine") {
      Opened c(k.out);
      ASSERT_GE(c.status, 0);
      EXPECT_EQ(std::tuple(c.Get(CIS_ImageCount), static_cast<int32_t>(c.Get(CIS_FirstImageNo))),
                std::tuple(static_cast<uint32_t>(stopped), -200));
    } else if (Has("tiffinfo")) {
      EXPECT_EQ(TiffinfoPages(k.out), stopped);
    }
  }
}

TEST_F(ConvertTest, FailedSaveOfAHeaderFileSaysWhatItLeft) {
  fixture::CineBuilder b;
  b.Compression(0).Image(16, 8, 8).Images(0, 3).HeaderOnly();
  WriteBytes(Path("h.chd"), b.Build());
  Outcome r = Tool({"convert", Path("h.chd"), Path("out.cine"), "--to", "cine"});
  EXPECT_EQ(r.code, 1);
  const std::vector<std::string> lines = Lines(r.err);
  ASSERT_EQ(lines.size(), 2u) << r.err;
  EXPECT_EQ(lines[0], "xefile: left " + Path("out.cine") + ": a cine of 0 images");
  EXPECT_NE(lines[1].find("cannot be read"), std::string::npos) << lines[1];
}

}  // namespace
