// The XML header beside a saved file: the header elements, the per-image
// blocks of the save range, range data and its escapes, and a check of the
// whole text by a real XML parser.
#include "formats/xml/xml_header.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "cinefile/cine_test_support.h"

using namespace fixture;
using cinetest::Opened;

namespace {

constexpr size_t kBinName = 151;  // 8 x 11 characters
constexpr size_t kAnaName = 341;  // 8 x 11 characters

size_t Count(const std::string &text, const std::string &part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// Writes the XML header of a save of `first`, `count` from a duplicate of
// `src` into a folder of the test, in UTC.
class XmlHeaderTest : public ::testing::Test {
 protected:
  int32_t Write(CineHandle src, int32_t first, uint32_t count,
                const std::function<void(Cine *)> &change = {}) {
    CineHandle out = nullptr;
    EXPECT_EQ(XefDuplicateCine(&out, src), 0);
    if (!out) return -1;
    std::snprintf(out->FileName, sizeof out->FileName, "%s/clip.cine", dir.path().c_str());
    out->Saving.XmlHeader = 1;
    out->Saving.SaveFirst = first;
    out->Saving.SaveCount = count;
    out->TimeFormat = 1;
    if (change) change(out);
    int32_t status = xe::WriteXmlHeader(out);
    XeDestroyCine(out);
    const fixture::Bytes bytes = cinetest::FileBytes(XmlPath());
    text.assign(bytes.begin(), bytes.end());
    return status;
  }
  std::string XmlPath() const { return dir.path() + "/clip.xml"; }
  void Has(const std::string &part) const {
    EXPECT_TRUE(testsupport::Contains(text, part)) << part << "\n" << text;
  }

  TempDir dir;
  std::string text;
};

TEST_F(XmlHeaderTest, WithoutBlocksTheRootHoldsThreeElements) {
  CineBuilder b;
  b.setup().SetText(setup::kDescription, "a<b & c");
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(Write(o.cine, 1, 2), 0);
  const std::string start = "<?xml version=\"1.0\"?>\n<!-- xml cine header file --><chd><CineFileHeader>";
  EXPECT_EQ(text.rfind(start, 0), 0u) << text;
  EXPECT_EQ(text.substr(text.size() - 20), "</CameraSetup></chd>");
  Has("<FirstImageNo>1</FirstImageNo><ImageCount>2</ImageCount>");
  // Text goes out as it stands.
  Has("<Description>a<b & c</Description>");
}

TEST_F(XmlHeaderTest, CompoundSetupElements) {
  Opened o(CineBuilder().Build());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(Write(o.cine, 0, 1, [](Cine *c) {
              ::Setup &s = c->H.Setup;
              s.CropRect = XeRect{-5, 6, 7, 8};
              s.UserFilter.dim = 2;
              s.UserFilter.Coef[1][0] = -9;
              s.AnaChannels = 12;
              s.ChOption[7] = 3;
              s.FRPSteps = 40;  // more than the record holds
            }),
            0);
  Has("<CropRect><left>-5</left><right>7</right><top>6</top><bottom>8</bottom></CropRect>");
  EXPECT_EQ(Count(text, "<Coef i="), 4u);
  Has("<Coef i=\"1\" j=\"0\">-9</Coef>");
  EXPECT_EQ(Count(text, "<ChOption no="), 8u);
  Has("<ChOption no=\"7\">3</ChOption></ChOption>");
  EXPECT_EQ(Count(text, "<FRPImgNr no="), 16u);
}

TEST_F(XmlHeaderTest, TimesAndExposuresOfTheSavedImages) {
  CineBuilder b;
  b.Images(0, 200);
  Payload times, exposures;
  for (uint32_t k = 0; k < 200; ++k) {
    times.Time(0, 1700000000 + k);
    exposures.U32(k << 24);  // k x 3906.25 us
  }
  b.AddBlock(1002, times).AddBlock(1003, exposures);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(Write(o.cine, 100, 2), 0);
  Has("<EXPOSUREBLOCK><Exp frame=\"100\">390625.000</Exp>"
      "<Exp frame=\"101\">394531.250</Exp></EXPOSUREBLOCK>");
  Has("<TIMEBLOCK><Date frame=\"100\">Tue Nov 14 2023</Date>"
      "<Time frame=\"100\">22:15:00.000 000.000 us</Time>");
  Has("<Time frame=\"101\">22:15:01.000 000.000 us</Time></TIMEBLOCK>");
  // A time block whose entries end before the save range gives what it holds.
  ASSERT_EQ(Write(o.cine, 198, 5), 0);
  EXPECT_EQ(Count(text, "<Date frame="), 2u);
}

TEST_F(XmlHeaderTest, SignalBlocksNameOnlyTheFirstEightChannels) {
  CineBuilder b;
  b.setup().SetI16(setup::kBinChannels, 10).SetU8(setup::kSamplesPerImage, 2);
  b.setup().SetI16(setup::kAnaChannels, 2).SetF32(setup::kAnaGain + 4, 2.0f);
  for (size_t k = 0; k < 8; ++k) b.setup().SetText(kBinName + 11 * k, "b" + std::to_string(k));
  b.setup().SetText(kAnaName, "volt").SetText(kAnaName + 11, "amp");
  Bytes binary(3 * 2 * 2, 0);
  binary[4] = 0x01;  // image 1, sample 0, channel 0
  binary[7] = 0x02;  // image 1, sample 1, channel 9
  Payload analog;
  // Image 1, sample 0, channel 1: -16384; all others 16384.
  for (int k = 0; k < 12; ++k) analog.U16(k == 5 ? 0xC000 : 0x4000);
  b.AddBlock(1005, binary).AddBlock(1006, analog);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(Write(o.cine, 1, 1), 0);
  EXPECT_EQ(Count(text, "<BinName no="), 8u);
  Has("<BinName no=\"7\">b7</BinName></BinName>");
  Has("<BINSIGBLOCK><frame no=\"1\"><BinCh no=\"0\" name=\"b0\"><sample no=\"0\">1</sample>"
      "<sample no=\"1\">0</sample></BinCh>");
  Has("<BinCh no=\"9\"><sample no=\"0\">0</sample><sample no=\"1\">1</sample></BinCh>"
      "</frame></BINSIGBLOCK>");
  // Each channel by its own gain: 16384 is 5 V at gain 1, -16384 -10 V at gain 2.
  Has("<ANASIGBLOCK><frame no=\"1\"><AnaCh no=\"0\" name=\"volt\"><sample no=\"0\">5.000000");
  Has("<AnaCh no=\"1\" name=\"amp\"><sample no=\"0\">-10.000000</sample>");
}

TEST_F(XmlHeaderTest, RangeDataAnglesCountFramesFromTheSaveAndAreEscaped) {
  CineBuilder b;
  b.setup().SetU32(setup::kRangeCode, 1).SetU32(setup::kRangeSize, 6);
  Bytes records(18, 0);
  records[8] = 0x40;  // image 1: azimuth 90 degrees
  b.AddBlock(1004, records);
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(Write(o.cine, 1, 2), 0);
  Has("<RANGEBLOCK><Azimuth frame=\"0\">90&#176;00&#39;00.00&quot;</Azimuth>"
      "<Elevation frame=\"0\">0&#176;00&#39;00.00&quot;</Elevation><Azimuth frame=\"1\">");
  ASSERT_EQ(Write(o.cine, 1, 2, [](Cine *c) { c->H.Setup.RangeCode = 7; }), 0);
  Has("<RANGEBLOCK><RangeData frame=\"1\">000040000000</RangeData>"
      "<RangeData frame=\"2\">000000000000</RangeData></RANGEBLOCK></chd>");
}

TEST_F(XmlHeaderTest, SwitchAndFailures) {
  Opened o(CineBuilder().Build());
  ASSERT_EQ(o.status, 0);
  EXPECT_EQ(Write(o.cine, 0, 3, [](Cine *c) { c->Saving.XmlHeader = 0; }), 0);
  EXPECT_TRUE(text.empty());
  int32_t status = Write(o.cine, 0, 3, [this](Cine *c) {
    std::snprintf(c->FileName, sizeof c->FileName, "%s/missing/clip.cine", dir.path().c_str());
  });
  EXPECT_EQ(status, XE_ERR_FILE_WRITE);
}

TEST_F(XmlHeaderTest, FullHeaderIsWellFormed) {
  if (std::system("command -v xmllint >/dev/null 2>&1") != 0) GTEST_SKIP() << "no xmllint";
  CineBuilder b;
  b.Images(-2, 4);
  b.setup().SetText(setup::kDescription, "Bridge test, run 4").SetU32(setup::kRangeCode, 2);
  b.setup().SetU32(setup::kRangeSize, 16).SetI16(setup::kBinChannels, 3);
  b.setup().SetU8(setup::kSamplesPerImage, 1).SetI16(setup::kAnaChannels, 1);
  b.setup().SetText(kBinName, "trig").SetText(kAnaName, "volt");
  Payload times, exposures;
  for (uint32_t k = 0; k < 4; ++k) times.Time(0x40000000, 1700000000 + k);
  for (uint32_t k = 0; k < 4; ++k) exposures.U32(0x100000);
  b.AddBlock(1002, times).AddBlock(1003, exposures);
  b.AddBlock(1005, Bytes(4, 0x05)).AddBlock(1006, Bytes(8, 0x11)).AddBlock(1004, Bytes(64, 0x21));
  Opened o(b.Build());
  ASSERT_EQ(o.status, 0);
  ASSERT_EQ(Write(o.cine, -1, 3), 0);
  for (const char *tag : {"<TIMEBLOCK>", "<EXPOSUREBLOCK>", "<BINSIGBLOCK>", "<ANASIGBLOCK>",
                          "<RANGEBLOCK><RangeData frame=\"-1\">Site ID"})
    Has(tag);
  std::string command = "xmllint --noout '" + XmlPath() + "'";
  EXPECT_EQ(std::system(command.c_str()), 0) << text;
}

}  // namespace
