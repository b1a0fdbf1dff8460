// RAW still files: the binary and text forms with and without a size header.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fixtures/cine_builder.h"
#include "formats/raw/raw_image.h"
#include "support/bitmap.h"

namespace {

std::string Read(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(RawImage, BinarySizeHeaderAndRowPadding) {
  fixture::TempDir dir;
  std::string path = dir.path() + "/a.raw";
  BitmapInfoHeader h = testsupport::Bitmap(1000, 2, 8);
  std::vector<uint8_t> px(2000);  // the row order is checked by the save of a still
  ASSERT_EQ(xe::WriteRawImage(path.c_str(), &h, px.data(), xe::kRawSizeHeader), 0);
  std::string f = Read(path);
  ASSERT_EQ(f.size(), 6u + 2000u);
  EXPECT_EQ(f.substr(0, 6), std::string("\xE8\x03\x02\x00\x08\x00", 6));
  // Rows keep their padding to whole words: 3 pixels of 8 bits take 4 bytes.
  h = testsupport::Bitmap(3, 1, 8);
  ASSERT_EQ(xe::WriteRawImage(path.c_str(), &h, px.data(), 0), 0);
  EXPECT_EQ(Read(path).size(), 4u);
}

TEST(RawImage, TextFormsOfGrayAndColour) {
  fixture::TempDir dir;
  std::string path = dir.path() + "/t.raw";
  BitmapInfoHeader h = testsupport::Bitmap(2, 1, 8);
  uint8_t gray[4] = {1, 2, 0, 0};
  ASSERT_EQ(xe::WriteRawImage(path.c_str(), &h, gray, xe::kRawText | xe::kRawSizeHeader), 0);
  EXPECT_EQ(Read(path), "2 1 8\n1 2 \r\n");
  // 8-bit colour steps one byte per pixel: the second pixel overlaps the first.
  h = testsupport::Bitmap(2, 1, 24);
  uint8_t bgr[8] = {10, 20, 30, 40, 50, 60, 0, 0};
  ASSERT_EQ(xe::WriteRawImage(path.c_str(), &h, bgr, xe::kRawText), 0);
  EXPECT_EQ(Read(path), "30,20,10 40,30,20 \r\n");
}

TEST(RawImage, UncreatableFileIsReportedNotFailed) {
  BitmapInfoHeader h = testsupport::Bitmap(2, 1, 8);
  uint8_t px[4] = {};
  EXPECT_EQ(xe::WriteRawImage("/nonexistent-dir/x.raw", &h, px, 0), 0);
}

}  // namespace
