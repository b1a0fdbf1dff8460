// The cine harness: everything a user of a cine file does with it, in the
// order a viewer and a save would do it. What the harness allocates is sized
// by the library's own answers, exactly, so that a write past them is seen;
// an image that claims more than kMaxFetchBytes is not fetched at all.
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_targets.h"
#include "scratch.h"
#include "xefile/xefile.h"

namespace xefuzz {
namespace {

// Bounds of what the harness itself allocates and writes.
constexpr uint32_t kMaxFetchBytes = 64u << 20;
constexpr uint32_t kMaxSaveImageBytes = 4u << 20;

struct Selector {
  uint32_t number;
  uint32_t size;
};
// Selectors whose answers are read from the file's header parts, with the
// room each answer takes.
constexpr Selector kSelectors[] = {
    {CIS_CFA, 4},           {CIS_FrameRate, 4},      {CIS_RealBPP, 4},
    {CIS_Is16Bit, 4},       {CIS_IsColor, 4},        {CIS_Compression, 4},
    {CIS_ImWidth, 4},       {CIS_ImageCount, 4},     {CIS_FirstImageNo, 4},
    {CIS_CineName, 256},    {CIS_FRPImgNr, 64},      {CIS_TC, 8},
    {CIS_TCU, 44},          {CIS_MaxImageSize, 4},   {CIS_ProcessedHeader, 48},
    {CIS_LensDescription, 256}, {CIS_UserFilter, 112}, {CIS_SaveRange, 8},
};

// Per-image data of every tag, with a room that fits and one that is too
// small or too large for the entry.
constexpr uint32_t kAuxTags[] = {XE_TAG_TIME_1, XE_TAG_TIME,    XE_TAG_EXPOSURE, XE_TAG_RANGE_DATA,
                                 XE_TAG_BINSIG, XE_TAG_ANASIG,  XE_TAG_TIMECODE, XE_TAG_TCU};
constexpr uint32_t kAuxSizes[] = {1, 8, 44, 300};

// The FileTypes a save is tried in: raw and processed cine, 8 and 16-bit
// TIFF stills, a multipage TIFF.
struct SaveType {
  int16_t type;
  const char *name;
};
constexpr SaveType kSaveTypes[] = {
    {0, "out.cine"}, {1, "out.cine"}, {-8, "img!2.tif"}, {-10, "img!2.tif"}, {4, "pages.tif"}};

void Ask(CineHandle c, int32_t first, int32_t last) {
  for (const Selector &s : kSelectors) {
    std::vector<uint8_t> value(s.size);
    XeGetCineInfo(c, s.number, value.data());
  }
  for (int32_t image : {first - 1, first, last}) {
    for (uint32_t tag : kAuxTags) {
      for (uint32_t size : kAuxSizes) {
        std::vector<uint8_t> out(size);
        XeGetCineAuxData(c, image, tag, size, out.data());
      }
    }
    Time64 t;
    uint32_t exposure;
    char text[64];
    XefCineImageTime(c, image, &t);
    XefCineImageExposure(c, image, &exposure);
    XePrintTime(c, static_cast<uint32_t>(image), 0, text);
  }
}

// Images first and first + 1, and the last, in the raw and view use cases
// (the save runs the save use case); then the decoded and adjusted form of
// the first.
void Fetch(CineHandle c, int32_t first, int32_t last, uint32_t one) {
  std::vector<uint8_t> pixels(uint64_t{one} * 2);
  ImageHeader header;
  for (uint32_t useCase : {3u, 1u}) {
    XeSetUseCase(c, useCase);
    ImageRange two{first, 2};
    XeGetCineImage(c, &two, pixels.data(), static_cast<uint32_t>(pixels.size()), &header);
    ImageRange end{last, 1};
    XeGetCineImage(c, &end, pixels.data(), one, &header);
  }
  std::vector<uint8_t> decoded(one);
  XeReadCineProcessedImage(c, first, decoded.data());
}

void Save(CineHandle c, int32_t first, int16_t type, const char *name) {
  const std::string dir = OutputDir();
  if (dir.empty()) return;
  const std::string out = dir + "/" + name;
  XeSetCineSaveOptions(c, out.c_str(), static_cast<uint16_t>(type), 0, 90);
  XeSetCineSaveRange(c, first, first + 1);
  if (XeWriteCineFile(c, nullptr) >= 0 && type >= 0 && type <= 1) {
    // What the save wrote must open and give its first image back.
    CineHandle back = nullptr;
    if (XeNewCineFromFile(out.c_str(), &back) >= 0) {
      uint32_t one = 0;
      if (XeGetCineInfo(back, CIS_MaxImageSizeColor, &one) >= 0 && one && one <= kMaxFetchBytes) {
        std::vector<uint8_t> pixels(one);
        ImageRange r{first, 1};
        ImageHeader header;
        XeGetCineImage(back, &r, pixels.data(), one, &header);
      }
      XeDestroyCine(back);
    }
  }
  RemoveOutputs();
}

void RunAs(const char *fileName, const uint8_t *data, size_t size, bool images) {
  const std::string path = WriteScratch(fileName, data, size);
  if (path.empty()) return;
  CineHandle c = nullptr;
  if (XeNewCineFromFile(path.c_str(), &c) < 0 || !c) return;
  uint32_t count = 0;
  int32_t first = 0;
  XeGetCineInfo(c, CIS_FirstImageNo, &first);
  XeGetCineInfo(c, CIS_ImageCount, &count);
  const int32_t last = static_cast<int32_t>(static_cast<int64_t>(first) + (count ? count - 1 : 0));
  Ask(c, first, last);
  uint32_t one = 0;
  if (images && XeGetCineInfo(c, CIS_MaxImageSizeColor, &one) >= 0 && one > 0 &&
      one <= kMaxFetchBytes) {
    Fetch(c, first, last, one);
    if (one <= kMaxSaveImageBytes) {
      const SaveType &s = kSaveTypes[data[size - 1] % std::size(kSaveTypes)];
      Save(c, first, s.type, s.name);
    }
  }
  XeDestroyCine(c);
}

}  // namespace

void StartLibraryOnce() {
  static const bool started = [] {
    XeStartXeFile();
    return true;
  }();
  (void)started;
}

void RunCineInput(const uint8_t *data, size_t size) {
  if (size == 0) return;
  StartLibraryOnce();
  RunAs("in.cine", data, size, true);
  // The same bytes as a header file: no image offsets, images from a TIFF
  // that is not there.
  RunAs("in.chd", data, size, false);
}

}  // namespace xefuzz
