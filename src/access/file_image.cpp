#include "access/file_image.h"

#include <cstring>

#include "companions/con/log.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "formats/tiff/tiff.h"
#include "frame/plugins.h"

namespace xe {
namespace {

// The largest part of the pixel buffer logged with each fetch.
constexpr uint32_t kLoggedPixelBytes = 64;

bool InStoredRange(const Cine *c, int32_t image) {
  const CineFileHeader &h = c->H.Header;
  int64_t index = static_cast<int64_t>(image) - h.FirstImageNo;
  return index >= 0 && index < static_cast<int64_t>(h.ImageCount);
}

// Images of a JPEG cine are decoded by the imaging plugin, whose table has
// no decoder entry in this build.
int32_t ReadJpegImage() { return XE_ERR_ENTRY_POINT; }

// Images of movie files come through the movie plugin, whose reader is not
// part of this build: the image cannot be loaded.
int32_t ReadPluginImage() { return XE_ERR_FILE_READ; }

}  // namespace

void RawImageHeader(const Cine *c, ImageHeader *header) {
  std::memcpy(header, &c->H.Bmih, sizeof(BitmapInfoHeader));
  header->biSize = sizeof(ImageHeader);
  header->BlackLevel = c->H.Setup.BlackLevel;
  header->WhiteLevel = c->H.Setup.WhiteLevel;
}

int32_t ReadRawFileImage(Cine *c, ImageHeader *header, uint8_t *pixels, uint64_t room) {
  RawImageHeader(c, header);
  if (!InStoredRange(c, c->ImageRangeFirst)) return XE_OK;
  // A header file's images are the pages of the multipage TIFF beside it.
  if (c->SourceFileType == kSourceTiffCine)
    return intl::XefPixarSize(&c->H.Bmih) > room ? XE_ERR_BUFFER_TOO_SMALL
                                                  : ReadTiffCineImage(c, pixels);
  if (c->SourceFileType == kSourceAvi || c->SourceFileType == kSourceMpeg) return ReadPluginImage();

  uint64_t offset = 0;
  uint32_t index = static_cast<uint32_t>(static_cast<int64_t>(c->ImageRangeFirst) - c->H.Header.FirstImageNo);
  if (!GetImageOffset(c, index, &offset)) return XE_ERR_FILE_READ;
  int32_t status = XefFileSeek64(c->FileHandle, offset);
  if (status < 0) return status;
  // The annotation is skipped whatever its size says.
  uint32_t annotationSize = 0;
  status = XefFileRead(c->FileHandle, &annotationSize, sizeof annotationSize);
  if (status < 0) return status;
  status = XefFileSeekRel(c->FileHandle, static_cast<int32_t>(annotationSize - 4));
  if (status < 0) return status;

  if (c->H.Header.Compression == XE_COMPRESSION_JPEG) return ReadJpegImage();
  uint32_t size = intl::XefPixarSize(&c->H.Bmih);
  if (size > room) return XE_ERR_BUFFER_TOO_SMALL;
  return XefFileRead(c->FileHandle, pixels, size);
}

int32_t GetFileImage(Cine *c, const ImageRange *range, uint8_t *pixels, uint64_t room,
                     ImageHeader *header) {
  if (!range) {
    // Logged as the 16-bit value it was once kept in.
    if (LogOn()) con::Debprintf(" ErrCode= %d", XE_ERR_NULL_ARGUMENT & 0xFFFF);
    return XE_ERR_NULL_ARGUMENT;
  }
  c->ImageRangeFirst = range->First;
  int32_t status = ReadRawFileImage(c, header, pixels, room);
  const uint64_t stride = intl::XefPixarSize(intl::AsBmih(header));
  for (uint32_t k = 1; k < range->Cnt; ++k) {
    c->ImageRangeFirst = static_cast<int32_t>(static_cast<int64_t>(range->First) + k);
    uint64_t at = stride * k;
    if (at >= room) {
      Merge(status, XE_ERR_BUFFER_TOO_SMALL);
      break;
    }
    Merge(status, ReadRawFileImage(c, header, pixels + at, room - at));
  }
  if (LogOn()) {
    con::Debprintf("\nGetFileImage returns:  CineNr at exit: %d, res: %dx%dx%d ImSize: %d", c->CineNr,
                   header->biWidth, header->biHeight, header->biBitCount,
                   static_cast<int>(stride));
    con::DebPrMem(pixels, static_cast<uint32_t>(stride < kLoggedPixelBytes ? stride : kLoggedPixelBytes),
                  "Image:");
  }
  return status;
}

}  // namespace xe
