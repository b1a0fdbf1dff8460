// XeNewCineFromFile: a cine from a file, told by its content, not its name.
#include <cstdio>
#include <cstring>

#include "access/new_cine.h"
#include "cinefile/cine_reader.h"
#include "companions/con/log.h"
#include "companions/con/status.h"
#include "frame/cine.h"
#include "frame/plugins.h"

namespace xe {
namespace {

// The source type of a cine file by its Compression; a movie-coded file reads
// as a raw cine.
int16_t SourceTypeOfCompression(uint16_t compression) {
  switch (compression) {
    case XE_COMPRESSION_GRAY_COLOR: return kSourceCine;
    case XE_COMPRESSION_JPEG: return kSourceJpegCine;
    default: return kSourceRawCine;
  }
}

// Source types whose samples may have more than 8 bits.
bool CarriesDeepSamples(int16_t type) {
  switch (type) {
    case -27: case -26: case -25: case -10: case -9: case -8: case 0: case 1: return true;
    default: return false;
  }
}

void CopyPath(char (&dst)[kPathSize], const char *path) {
  std::snprintf(dst, sizeof dst, "%s", path);
}

// A file that is not a cine file: a TIFF set through the imaging plugin, else
// a movie through the movie plugin. Neither reader is part of this build yet,
// so such files are refused.
int32_t OpenOtherFile(const char * /*path*/, Cine **out) {
  *out = nullptr;
  if (LogOn()) con::Debprintf("\nTry New cine from avi file");
  return XE_ERR_MOVIE_IMPORT;
}

int32_t OpenCineFile(FileHandle fd, const char *path, const CineFileHeader &header, int32_t status,
                     Cine **out) {
  status = ReadCineFile(fd, path, header, status, out);
  if (status < 0) return status;
  Cine *c = *out;
  c->IsFileCine = 1;
  c->FileHandle = fd;
  CopyPath(c->FileName, path);
  CopyPath(c->OpenedFileName, path);
  c->CN = -1;
  c->CineNr = 1;
  FillCreationFields(c);
  c->SourceFileType = IsHeaderFilePath(path) ? static_cast<int16_t>(kSourceTiffCine)
                                               : SourceTypeOfCompression(header.Compression);
  if (!CarriesDeepSamples(c->SourceFileType)) c->H.Setup.RealBPP = 8;
  return FinishNewCine(c, status);
}

}  // namespace
}  // namespace xe

using namespace xe;

extern "C" XEFILE_API int32_t XeNewCineFromFile(const char *path, CineHandle *out) {
  int32_t status = XE_OK;
  ErrCodeOnExit log(status);
  if (LogOn())
    con::Debprintf("\n\nNewCineFromFile(\"%s\", %d)", path ? path : "",
                   static_cast<int>(reinterpret_cast<uintptr_t>(out)));
  if (!out) return status = XE_ERR_NULL_ARGUMENT;
  *out = nullptr;

  FileHandle fd = kNoFile;
  status = XefFileOpenRead(path, &fd);
  if (status != XE_OK) return status;

  CineFileHeader header{};
  Merge(status, XefFileRead(fd, &header, sizeof header));
  if (header.Type != CINE_TYPE_CI) {
    XefFileClose(fd);
    return status = OpenOtherFile(path, out);
  }
  if (header.Version >= 2) {
    XefFileClose(fd);
    return status = XE_ERR_FILE_VERSION;
  }
  if (header.Compression == XE_COMPRESSION_JPEG && !frame::ImagingAvailable()) {
    XefFileClose(fd);
    return status = XE_ERR_NOT_SUPPORTED;
  }
  Cine *c = nullptr;
  status = OpenCineFile(fd, path, header, status, &c);
  if (!c) {
    XefFileClose(fd);
    return status;
  }
  *out = c;
  return status;
}
