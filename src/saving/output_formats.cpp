#include "saving/output_formats.h"

#include "companions/con/status.h"
#include "formats/cine/cine_writer.h"
#include "formats/dpx/dpx_writer.h"
#include "formats/quicktime/quicktime_writer.h"
#include "formats/raw/raw_image.h"
#include "formats/tiff/tiff.h"
#include "frame/plugins.h"
#include "saving/multipage_tiff.h"

namespace xe {
namespace {

constexpr PluginNeed kLibrary = PluginNeed::kNothing;
constexpr PluginNeed kImaging = PluginNeed::kImaging;
constexpr PluginNeed kEncoder = PluginNeed::kEncoder;
constexpr uint32_t kCine = kThreaded | kLastProgress;
constexpr uint32_t kStill = kLastProgress | kCountInOut;
constexpr uint32_t kMovie = kCountInOut;

constexpr OutputFormat kFormats[] = {
    {1, "Cine, *.cine", ".cine", kLibrary, MakeCineFileWriter, kCine, nullptr},
    {2, "Cine JPEG, *.cci", ".cci", kImaging, nullptr, kLastProgress, nullptr},
    {0, "Cine Raw, *.cine", ".cine", kLibrary, MakeCineFileWriter, kCine, nullptr},
    {3, "AVI, *.avi", ".avi", kLibrary, nullptr, 0, nullptr},
    {4, "Multipage TIFF, *.tif", ".tif", kLibrary, MakeTiffPagesWriter, 0, SaveMultipageTiff},
    {5, "MPEG, *.mpg", ".mpg", kLibrary, nullptr, kNeverWritten, nullptr},
    {6, "MXF PAL, *.mxf", ".mxf", kEncoder, nullptr, kMovie, nullptr},
    {7, "MXF NTSC, *.mxf", ".mxf", kEncoder, nullptr, kMovie, nullptr},
    {8, "Quick Time, *.mov", ".mov", kLibrary, MakeQuickTimeWriter, kMovie, nullptr},
    {-1, "Windows BMP 24 images", ".bmp", kImaging, nullptr, kStill, nullptr},
    {-2, "Windows BMP 8 images", ".bmp", kImaging, nullptr, kStill, nullptr},
    {-3, "Windows BMP 4 images", ".bmp", kImaging, nullptr, kStill, nullptr},
    {-4, "OS/2 BMP 4 images", ".bmp", kImaging, nullptr, kStill, nullptr},
    {-5, "OS/2 BMP 8 images", ".bmp", kImaging, nullptr, kStill, nullptr},
    {-6, "OS/2 BMP 24 images", ".bmp", kImaging, nullptr, kStill, nullptr},
    {-7, "TIFF 1 images", ".tif", kImaging, nullptr, kStill, nullptr},
    {-8, "TIFF 8,24 images", ".tif", kLibrary, MakeTiffStillWriter, kStill, nullptr},
    {-9, "TIFF 12,36 images", ".tif", kLibrary, MakeTiffStillWriter, kStill | kKeeps16Bit, nullptr},
    {-10, "TIFF 16,48 images", ".tif", kLibrary, MakeTiffStillWriter, kStill | kKeeps16Bit, nullptr},
    {-11, "PCX 1 images", ".pcx", kImaging, nullptr, kStill, nullptr},
    {-12, "PCX 8 images", ".pcx", kImaging, nullptr, kStill, nullptr},
    {-13, "PCX 24 images", ".pcx", kImaging, nullptr, kStill, nullptr},
    {-14, "TGA 8 images", ".tga", kImaging, nullptr, kStill, nullptr},
    {-15, "TGA 16 images", ".tga", kImaging, nullptr, kStill, nullptr},
    {-16, "TGA 24 images", ".tga", kImaging, nullptr, kStill, nullptr},
    {-17, "TGA 32 images", ".tga", kImaging, nullptr, kStill, nullptr},
    {-18, "LEAD images", ".cmp", kImaging, nullptr, kStill, nullptr},
    {-19, "LEAD JFIF 4:1:1 images", ".jff", kImaging, nullptr, kStill, nullptr},
    {-20, "LEAD JFIF 4:2:2 images", ".jff", kImaging, nullptr, kStill, nullptr},
    {-21, "LEAD JTIF 4:1:1 images", ".jtf", kImaging, nullptr, kStill, nullptr},
    {-22, "LEAD JTIF 4:2:2 images", ".jtf", kImaging, nullptr, kStill, nullptr},
    {-23, "JPEG images", ".jpg", kImaging, nullptr, kStill, nullptr},
    {-24, "JTIF images", ".jpg", kImaging, nullptr, kStill, nullptr},
    {-25, "RAW images", ".raw", kLibrary, MakeRawWriter, kStill | kKeeps16Bit, nullptr},
    {-26, "DNG images", ".dng", kLibrary, nullptr, kStill | kKeeps16Bit | kColourOnly, nullptr},
    {-27, "DPX images", ".dpx", kLibrary, MakeDpxWriter, kStill | kKeeps16Bit | kTimeCode, nullptr},
};

}  // namespace

const OutputFormat *FindOutputFormat(int16_t fileType) {
  for (const OutputFormat &f : kFormats)
    if (f.FileType == fileType) return &f;
  return nullptr;
}

int32_t NoWriterStatus(const OutputFormat &f) {
  switch (f.Needs) {
    case PluginNeed::kImaging: return frame::ImagingAvailable() ? XE_ERR_ENTRY_POINT : XE_WARN_NO_IMAGING;
    case PluginNeed::kEncoder: return frame::EncoderAvailable() ? XE_ERR_ENTRY_POINT : XE_WARN_NO_ENCODER;
    case PluginNeed::kNothing: break;
  }
  return XE_ERR_NOT_SUPPORTED;
}

}  // namespace xe
