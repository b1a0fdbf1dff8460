// Movies saved through the public calls as FFmpeg reads them: frame count,
// size, rate, codec and pixel format, and the MD5 of every decoded frame
// against the library's own processed image after the flip and the swap.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "cinefile/cine_test_support.h"
#include "fixtures/cine_builder.h"
#include "support/shell.h"
#include "xefile/xefile.h"

namespace {

using fixture::Bytes;
using testsupport::Shell;

// Ten images from -3 of 16 x 8 pixels, gray (8 bits) or colour (24).
Bytes Recording(uint16_t bits) {
  fixture::CineBuilder b;
  b.Image(16, 8, bits).Images(-3, 10);
  b.setup().SetU32(fixture::setup::kEnableColor, bits == 24 ? 1 : 0);
  return b.Build();
}

// The frames a movie holds for the first `count` images of a Recording as
// a save processes them: rows top-down, colour pixels red first.
Bytes MovieFrames(CineHandle c, uint32_t count, uint32_t bits) {
  const Bytes images = cinetest::Images(c, -3, count, 2);
  const size_t row = 16 * bits / 8, frame = row * 8;
  Bytes out(images.size());
  for (size_t k = 0; k < images.size(); ++k) {
    const size_t n = k / frame, r = k % frame / row, x = k % row;
    const size_t from = bits == 8 || x % 3 == 1 ? x : x - x % 3 + 2 - x % 3;
    out[k] = images[n * frame + (7 - r) * row + from];
  }
  return out;
}

class QuickTimeInterop : public ::testing::Test {
 protected:
  void SetUp() override {
    XeStartXeFile();
    for (const char *tool : {"ffprobe", "ffmpeg", "md5sum"})
      if (!testsupport::Has(tool)) GTEST_SKIP() << "no " << tool;
  }
  void TearDown() override { XeStopXeFile(); }
  // The type set by its selector takes the default rate of a file cine, 30;
  // the save options alone would leave the rate 0.
  int32_t Save(CineHandle c, const std::string &path, pfnCallback cb = nullptr) {
    EXPECT_EQ(XevSetCineInfo(c, CIS_FileType, 8), 0);
    EXPECT_EQ(XeSetCineSaveOptions(c, path.c_str(), 8, 0, 100), 0);
    return XeWriteCineFile(c, cb);
  }
  static std::string Probe(const std::string &path, const std::string &entries) {
    return Shell("ffprobe -v error -count_frames -show_entries stream=" + entries + " -of default=nw=1 " + path);
  }
  fixture::TempDir dir;
};

// The MD5 of each frame of `frames`, `size` bytes each, by md5sum.
std::vector<std::string> Md5s(const Bytes &frames, size_t size) {
  std::vector<std::string> out;
  for (size_t at = 0; at + size <= frames.size(); at += size) {
    fixture::TempFile f(Bytes(frames.begin() + static_cast<long>(at), frames.begin() + static_cast<long>(at + size)),
                        ".frame");
    out.push_back(Shell("md5sum " + f.path()).substr(0, 32));
  }
  return out;
}

// The last field of each frame line of `ffmpeg -f framemd5`.
std::vector<std::string> FrameMd5s(const std::string &path, const char *pixFmt) {
  std::istringstream lines(Shell("ffmpeg -v error -i " + path + " -pix_fmt " + pixFmt + " -f framemd5 -"));
  std::vector<std::string> out;
  for (std::string line; std::getline(lines, line);)
    if (line.rfind("0,", 0) == 0) out.push_back(line.substr(line.rfind(' ') + 1));
  return out;
}

TEST_F(QuickTimeInterop, FfmpegDecodesEveryFrameAsTheLibraryProcessedIt) {
  // An 8-bit movie holds its grey ramp as a palette: FFmpeg's pal8, asked for as gray.
  const struct {
    uint16_t bits;
    const char *pixFmt, *asked;
  } cases[] = {{8, "pal8", "gray"}, {24, "rgb24", "rgb24"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.bits);
    cinetest::Opened src(Recording(c.bits));
    const std::string path = dir.path() + "/m" + std::to_string(c.bits) + ".mov";
    ASSERT_EQ(Save(src.cine, path), 0);
    EXPECT_EQ(Probe(path, "codec_name,width,height,pix_fmt,r_frame_rate,nb_read_frames"),
              std::string("codec_name=rawvideo\nwidth=16\nheight=8\npix_fmt=") + c.pixFmt +
                  "\nr_frame_rate=30/1\nnb_read_frames=10\n");
    EXPECT_EQ(FrameMd5s(path, c.asked), Md5s(MovieFrames(src.cine, 10, c.bits), 16 * 8 * c.bits / 8));
  }
}

int32_t StopAt30(uint32_t percent, CineHandle) { return percent < 30; }

TEST_F(QuickTimeInterop, StoppedMovieOpensWithTheFramesWritten) {
  cinetest::Opened src(Recording(24));
  const std::string path = dir.path() + "/stopped.mov";
  ASSERT_EQ(Save(src.cine, path, StopAt30), 0);
  // The head keeps the 10 frames promised at the open, by design; the frames read are the 3 written.
  EXPECT_EQ(Probe(path, "codec_name,nb_frames,nb_read_frames"),
            "codec_name=rawvideo\nnb_frames=10\nnb_read_frames=3\n");
  EXPECT_EQ(FrameMd5s(path, "rgb24"), Md5s(MovieFrames(src.cine, 3, 24), 16 * 8 * 3));
}

}  // namespace
