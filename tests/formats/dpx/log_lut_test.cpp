// The printing-density tables and their LUT text files.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "formats/dpx/log_lut.h"

namespace {

using xe::DpxOptions;

TEST(LogLut, ReferenceWhiteAndBlackEndTheCurves) {
  const DpxOptions p;  // white 685, black 95, gamma 1.0, film gamma 0.6
  std::vector<uint16_t> lin(1024), log(xe::kLogCodes);
  xe::BuildLinToLogLut(lin.data(), 10, p);
  xe::BuildLogToLinLut(log.data(), 10, p);
  EXPECT_EQ(cinetest::Fields(lin[0], lin[1023], log[94], log[95], log[685], log[686], log[1023]),
            cinetest::Fields<uint16_t>(95, 685, 0, 0, 1023, 1023, 1023));
  EXPECT_TRUE(std::is_sorted(lin.begin(), lin.end()));
  EXPECT_TRUE(std::is_sorted(log.begin(), log.end()));
  // The two curves undo each other to within a code at mid grey.
  EXPECT_NEAR(log[lin[512]], 512, 8);
}

TEST(LogLut, FilesOfA10BitImage) {
  fixture::TempDir dir;
  const std::string image = dir.path() + "/shot0001.dpx";
  const std::string l2l = xe::LutFileName(image.c_str(), true), lin = xe::LutFileName(image.c_str(), false);
  EXPECT_EQ(l2l, dir.path() + "/shot0001log2lin.lut");
  EXPECT_EQ(lin, dir.path() + "/shot0001lin2log.lut");
  DpxOptions p;
  p.DpxSoftClip = 7;
  ASSERT_EQ(xe::WriteLutFiles(l2l.c_str(), lin.c_str(), 10, p, true), 0);
  auto text = [](const std::string &path) {
    fixture::Bytes b = cinetest::FileBytes(path);
    return std::string(b.begin(), b.end());
  };
  const std::string head =
      "# Reference white value 685\n# Reference black value 95\n# Gamma 1.00\n# Film gamma value 0.60\n"
      "# Soft clip value 7\n\n\nLUT: 3 ";
  // The lin-to-log file announces 1024 entries and holds 1023 in each pass:
  // readers of these files count on it.
  const std::string a = text(lin);
  EXPECT_EQ(a.find("# LUT to convert 10 bit linear to 10bit log\n" + head + "1024\n\n95\n"), 0u);
  EXPECT_EQ(std::count(a.begin(), a.end(), '\n'), 10 + 3 * 1023);
  // With the 8-bit flag the log-to-lin file is for 8-bit linear values.
  const std::string b = text(l2l);
  EXPECT_EQ(b.find("# LUT to convert 10bit log to 8 bit linear\n" + head + "1024\n\n0\n"), 0u);
  EXPECT_EQ(std::count(b.begin(), b.end(), '\n'), 10 + 3 * 1024);
  EXPECT_EQ(b.substr(b.size() - 5), "\n255\n");
}

}  // namespace
