// A multipage file of a 12-bit and a 16-bit page as libtiff's tiffinfo reads
// it: both directories, their depths and their strips.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "fixtures/cine_builder.h"
#include "saving/tiff.h"
#include "support/bitmap.h"

namespace {

std::string Shell(const std::string &command) {
  std::string out;
  std::unique_ptr<FILE, int (*)(FILE *)> p(popen((command + " 2>&1").c_str(), "r"), pclose);
  char buf[4096];
  size_t n;
  while (p && (n = fread(buf, 1, sizeof buf, p.get())) > 0) out.append(buf, n);
  return out;
}

TEST(TiffDeepPagesInterop, TiffinfoReadsBothPages) {
  if (Shell("command -v tiffinfo").empty()) GTEST_SKIP() << "no tiffinfo";
  fixture::TempFile out(".tif");
  xe::FileHandle f = xe::kNoFile;
  ASSERT_EQ(xe::XefFileCreate(out.c_str(), &f), 0);
  const uint32_t head[2] = {0x002A4949u, 8};
  ASSERT_EQ(xe::XefFileWrite(f, head, sizeof head), 0);
  const Time64 t{3, 1700000000};
  uint32_t position = 8;
  for (int16_t type : {-9, -10}) {
    BitmapInfoHeader h = testsupport::Bitmap(4, 2, 16, 0, 0x10000);
    uint16_t px[8] = {0x1234, 0xABCD, 0x0010, 0xFFFF, 0x0100, 0x0200, 0x0300, 0x0400};
    ASSERT_EQ(xe::WriteTiffPage(f, &h, reinterpret_cast<uint8_t *>(px), &position, type, &t, type == -10, true), 0);
  }
  xe::XefFileClose(f);
  const std::string text = Shell("tiffinfo -d " + out.path());
  size_t pages = 0;
  for (size_t at = 0; (at = text.find("TIFF Directory at offset", at)) != std::string::npos; ++at) ++pages;
  EXPECT_EQ(pages, 2u) << text;
  const size_t second = text.find("TIFF Directory at offset", text.find("TIFF Directory at offset") + 1);
  const std::string first = text.substr(0, second), last = text.substr(second);
  EXPECT_NE(first.find("Bits/Sample: 12"), std::string::npos) << text;
  // Each sample's top twelve bits, most significant first.
  EXPECT_NE(first.find("Strip 0:\n 12 3a bc 00 1f ff\n 01 00 20 03 00 40\n"), std::string::npos) << text;
  EXPECT_NE(last.find("Bits/Sample: 16"), std::string::npos) << text;
  EXPECT_NE(last.find("Strip 0:\n 34 12 cd ab 10 00 ff ff\n 00 01 00 02 00 03 00 04\n"), std::string::npos)
      << text;
  EXPECT_EQ(text.find("Error"), std::string::npos) << text;
}

}  // namespace
