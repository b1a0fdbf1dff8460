// Output names of a save: the expansion of the pattern with each token, the
// time names that count up past existing files, the directory made on the
// way, the header-file and extension rules, and the file-system queries.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "cinefile/cine_test_support.h"
#include "saving/file_names.h"

using cinetest::Opened;
using fixture::CineBuilder;

namespace {

constexpr uint32_t kJuly12At1030 = 1720780200;  // Fri Jul 12 2024 10:30:00 UTC

class ExpandName : public testing::Test {
 protected:
  ExpandName() : cine_(CineBuilder().Images(0, 10).TriggerTime(0, kJuly12At1030).Build()) {}
  void SetUp() override {
    ASSERT_EQ(cine_.status, 0);
    ASSERT_EQ(XevSetCineInfo(c(), CIS_TimeFormat, 1), 0);  // UTC
  }
  CineHandle c() { return cine_.cine; }
  // The output name of image `imageNo` by `pattern`.
  std::string Expand(const std::string &pattern, int32_t imageNo) {
    std::snprintf(c()->FileName, sizeof c()->FileName, "%s", pattern.c_str());
    char out[xe::kPathSize];
    EXPECT_EQ(XefExpandFileName(c(), imageNo, out), 0);
    return out;
  }
  std::string In(const std::string &name) { return dir_.path() + "/" + name; }
  void Touch(const std::string &name) { std::ofstream(In(name)) << "x"; }

  fixture::TempDir dir_;
  Opened cine_;
};

TEST_F(ExpandName, NumberTokens) {
  EXPECT_EQ(Expand(In("a/img!4.tif"), 12345), In("a/img2345.tif"));
  EXPECT_EQ(Expand(In("a/img!4.tif"), -3), In("a/img-003.tif"));
  EXPECT_EQ(Expand(In("a/img!0.tif"), 77), In("a/img.tif"));  // '!0' prints nothing
  // '+' rebases the number for everything behind it, each time it appears.
  c()->Saving.SaveFirst = 100;
  EXPECT_EQ(Expand(In("a/+3_!3.tif"), 100), In("a/001_001.tif"));
  EXPECT_EQ(Expand(In("a/+3_+3.tif"), 100), In("a/001_-98.tif"));
  c()->Save.SaveJobNumber = 7;
  EXPECT_EQ(Expand(In("a/job@2_!2.tif"), 5), In("a/job07_05.tif"));
  // Copied: '$' with its digit, and token characters without a digit.
  EXPECT_EQ(Expand(In("a/x!+@.tif"), 1), In("a/x!+@.tif"));
  EXPECT_EQ(Expand(In("a/end!"), 1), In("a/end!"));
}

TEST_F(ExpandName, DirectoryIsMadeAndAPathIsRequired) {
  std::string out = Expand(In("deep/er/img!2.tif"), 3);
  EXPECT_EQ(out, In("deep/er/img03.tif"));
  EXPECT_EQ(XefIsFileOrDirectory(In("deep/er").c_str()), 1);
  EXPECT_EQ(XefIsFileOrDirectory(out.c_str()), 0);  // only the folder
  // Without a separator the first character gives way to one.
  EXPECT_EQ(Expand("img!2.tif", 3), "/mg03.tif");
  EXPECT_EQ(Expand("", 3), "/");
  // An expansion longer than a path is cut, still terminated.
  std::string out2 = Expand(std::string(xe::kPathSize - 1, '~'), 0);
  EXPECT_EQ(out2.size(), xe::kPathSize - 1);
  EXPECT_EQ(out2.substr(0, 9), "/ri Jul 1");
}

TEST_F(ExpandName, TimeNamesCountUpPastExistingFiles) {
  EXPECT_EQ(Expand(In("~8.tif"), 0), In("JL121030.tif"));
  Touch("JL121030.tif");
  EXPECT_EQ(Expand(In("~8.tif"), 0), In("JL121031.tif"));
  // Only a '.' right behind the token joins the test; a directory counts too.
  EXPECT_EQ(Expand(In("~8_!2.tif"), 4), In("JL121030_04.tif"));
  mkdir(In("JL121030").c_str(), 0755);
  EXPECT_EQ(Expand(In("~8_!2.tif"), 4), In("JL121031_04.tif"));
  // Month letters: the third letter 'l' makes the second 'L'; June stays "JU".
  c()->H.Header.TriggerTime.seconds = kJuly12At1030 - 31 * 86400;  // Jun 11
  EXPECT_EQ(Expand(In("~8.tif"), 0), In("JU111030.tif"));
}

TEST(FileNames, HeaderFileNames) {
  char out[xe::kPathSize];
  const struct {
    const char *in, *out;
  } rows[] = {{"/d/clip.tif", "/d/cliptif.chd"}, {"/d/clip", "/d/clip.chd"}, {"/d/clip.", "/d/clip.chd"},
              {"/d.x/clip", "/d.x/clip.chd"},   {"/d/a.b.dng", "/d/a.bdng.chd"}};
  for (const auto &r : rows) {
    xe::ChdFileName(r.in, out);
    EXPECT_STREQ(out, r.out) << r.in;
  }
  std::string longName(xe::kPathSize + 10, 'n');
  xe::ChdFileName(longName.c_str(), out);
  EXPECT_EQ(std::strlen(out), xe::kPathSize - 1);
}

TEST(FileNames, ExtensionHelpers) {
  EXPECT_TRUE(XefIsFileExtension("/a/b.TIF", ".tif"));
  EXPECT_FALSE(XefIsFileExtension("/a.tif/b", ".tif"));
  EXPECT_FALSE(XefIsFileExtension("/a/b.tiff", ".tif"));

  char path[xe::kPathSize] = "/a/b.tif";
  XefReplaceFileExtension(path, ".dng");
  EXPECT_STREQ(path, "/a/b.dng");
  std::strcpy(path, "/a.d/b");
  XefReplaceFileExtension(path, ".dng");
  EXPECT_STREQ(path, "/a.d/b.dng");
  std::memset(path, 'p', xe::kPathSize - 3);
  path[xe::kPathSize - 3] = 0;
  XefReplaceFileExtension(path, ".dng");
  EXPECT_EQ(std::strlen(path), xe::kPathSize - 1);
  EXPECT_EQ(std::string(path + xe::kPathSize - 3), ".d");

  const struct {
    const char *in;
    int16_t type;
    const char *out;
  } rows[] = {{"/a/clip", 1, "/a/clip.cine"}, {"/a/clip", 2, "/a/clip.cci"},
              {"/a.d/clip", 3, "/a.d/clip.avi"}, {"/a/clip", 4, "/a/clip.tif"},
              {"/a/clip", -8, "/a/clip"},     {"/a/clip.x", 0, "/a/clip.x"}};
  for (const auto &r : rows) {
    std::strcpy(path, r.in);
    xe::ApplyDefaultExtension(path, r.type);
    EXPECT_STREQ(path, r.out) << r.in << " " << r.type;
  }
}

TEST(FileSystem, DirectoriesAndSpace) {
  fixture::TempDir dir;
  std::string nested = dir.path() + "/x/y/z/";
  EXPECT_EQ(XefIsFileOrDirectory(nested.c_str()), 0);
  EXPECT_EQ(XefMakeDirectory(nested.c_str()), 1);
  EXPECT_EQ(XefIsFileOrDirectory((dir.path() + "/x/y/z").c_str()), 1);
  std::string file = dir.path() + "/f";
  std::ofstream(file) << "x";
  EXPECT_EQ(XefIsFileOrDirectory(file.c_str()), 2);
  EXPECT_EQ(XefMakeDirectory((file + "/sub").c_str()), 0);

  // A path to come is asked about through its nearest existing folder.
  uint64_t total = 0, freeBytes = 0;
  uint32_t totalMB = 0, freeMB = 0, cluster = 0;
  ASSERT_EQ(XefGetDiskSpaceOfPath((dir.path() + "/not/yet").c_str(), &total, &freeBytes, &totalMB,
                                  &freeMB, &cluster),
            1);
  EXPECT_GT(cluster, 0u);
  EXPECT_LE(freeBytes, total);
}

}  // namespace
