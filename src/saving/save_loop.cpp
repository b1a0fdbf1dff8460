// One save job: the writer, the reader and the output description made from
// the cine, the output format's writer opened around the group loop (or the
// format's own loop), and the final steps (".chd", XML header, destruction)
// that run after a stop too.
#include "saving/save_loop.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "companions/con/log.h"
#include "companions/con/services.h"
#include "companions/con/settings.h"
#include "companions/con/status.h"
#include "companions/int/dib.h"
#include "formats/cine/cine_writer.h"
#include "formats/xml/xml_header.h"
#include "frame/start.h"
#include "processing/process_cine.h"
#include "processing/use_case.h"
#include "saving/file_names.h"
#include "saving/output_formats.h"
#include "saving/save_range.h"
#include "saving/saving_thread.h"
#include "saving/still_image.h"

namespace xe {
namespace {

bool IsCineFileType(int16_t t) { return t == kTypeRawCine || t == kTypeCine || t == kTypeJpegCine; }

uint32_t PtrWord(const void *p) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p)); }

// The setting SaveNoThread=1 writes cine files on the job's own thread.
bool NoThreadSetting() {
  uint32_t v = 0;
  con::XefGetIntAlgoRegistryVal("SaveNoThread", &v);
  return v != 0;
}

// The three duplicates of one job and the buffer of its groups.
struct SaveJob {
  Cine *Source = nullptr;  // the caller's cine: progress reports name it
  Cine *Writer = nullptr;
  Cine *Reader = nullptr;
  Cine *Out = nullptr;
  pfnCallback Callback = nullptr;
  bool NoThread = false;
  ImageWriter *Output = nullptr;  // the format's open writer
  ThreadySave *Thread = nullptr;
  uint8_t *Buffer = nullptr;
  uint32_t BufferSize = 0;
  ImageHeader Header{};  // header of the last group fetched
  uint32_t Done = 0;     // images of whole groups handed on
  bool Stopped = false;
  bool Failed = false;
};

int32_t Duplicate(Cine *src, Cine **out) {
  int32_t status = XefDuplicateCine(out, src);
  if (status < 0) *out = nullptr;
  return status;
}

void CopyName(char *dst, const char *src) {
  size_t n = strnlen(src, kPathSize - 1);
  std::memmove(dst, src, n);
  dst[n] = 0;
}

int32_t AllocateBuffer(SaveJob &job) {
  uint32_t one = 0;
  int32_t status = MaxImageSizeColor(job.Writer, &one);
  uint64_t size = uint64_t{one} * static_cast<uint32_t>(job.Writer->ImageRangeCnt);
  if (status < 0 || size == 0 || size > 0xFFFFFFFFull) return status < 0 ? status : XE_ERR_NO_MEMORY;
  job.Buffer = static_cast<uint8_t *>(std::malloc(size));
  if (!job.Buffer) return XE_ERR_NO_MEMORY;
  job.BufferSize = static_cast<uint32_t>(size);
  return XE_OK;
}

void FreeBuffer(SaveJob &job) {
  if (LogOn()) con::Debprintf("\nSave Cine: Before free pPixBuffer=0x%x", PtrWord(job.Buffer));
  std::free(job.Buffer);
  job.Buffer = nullptr;
  if (LogOn()) con::Debprintf("\nSave Cine: After free pPixBuffer");
}

// Fetches the writer's present group and passes it on: to the saving thread
// or straight to the file. A failed fetch still writes what the buffer holds.
int32_t WriteImage(SaveJob &job) {
  Cine *w = job.Writer;
  uint32_t start = con::XefMilisec();
  ImageRange range{w->ImageRangeFirst, static_cast<uint32_t>(w->ImageRangeCnt)};
  int32_t status = XeGetCineImage(job.Reader, &range, job.Buffer, job.BufferSize, &job.Header);
  if (job.Thread && ThreadySaveRunning(job.Thread)) {
    Merge(status, QueueReadBuffer(job.Thread, w, &job.Buffer, &job.Header));
    if (LogOn() && (frame::LogFlags.load() & (1u << 16)))
      con::Debprintf("\nWriteImage -  Buffer queued for saving thread");
  } else {
    Merge(status, WriteImageToFile(w, job.Buffer, job.Output, &job.Header, false, 0, 0));
  }
  if (LogOn() && (frame::LogFlags.load() & (1u << 16))) {
    const BitmapInfoHeader *b = intl::AsBmih(&job.Header);
    con::Debprintf("\nWriteImage: Options: %d, ImCntGrp: %d, size: %dx%dx%dbpp dur = %d", 0,
                   w->ImageRangeCnt, b->biWidth, b->biHeight, b->biBitCount,
                   con::XefMilisec() - start);
  }
  return status;
}

// The group loop over the writer's save range. Stopped and failed jobs
// record the whole groups done in the writer's ImageCount, and with
// `recordInOut` in the output description too.
int32_t GroupLoop(SaveJob &job, bool recordInOut) {
  Cine *w = job.Writer;
  const uint32_t count = w->Saving.SaveCount;
  const int32_t group = w->ImageRangeCnt;
  int32_t status = XE_OK;
  uint32_t i = 0;
  while (i < count) {
    w->ImageRangeFirst = static_cast<int32_t>(static_cast<int64_t>(w->Saving.SaveFirst) + i);
    if (count <= i + static_cast<uint32_t>(w->ImageRangeCnt))
      w->ImageRangeCnt = static_cast<int32_t>(count - i);
    // Percent by the group size of the moment: it can jump in a last
    // shorter group.
    uint32_t g = static_cast<uint32_t>(w->ImageRangeCnt);
    uint32_t percent = i * 100u / g / (count / g);
    if (!CallCB(job.Callback, job.Source, percent)) {
      job.Stopped = true;
      break;
    }
    Merge(status, WriteImage(job));
    if (status < 0) {
      job.Failed = true;
      break;
    }
    i += g;
  }
  w->ImageRangeCnt = group;
  job.Done = i;
  if (job.Stopped || job.Failed) {
    if (LogOn()) con::Debprintf("\nSave Cine: Loop error, error code: %d", status);
    w->H.Header.ImageCount = i;
    if (recordInOut) {
      job.Out->Saving.SaveCount = i;
      job.Out->H.Header.ImageCount = i;
    }
  }
  return status;
}

// The save of a format with a writer: the group loop between the writer's
// open and close. The saving thread, where the format has it, writes each
// group while the next is fetched; a write that failed on it is known only
// when it ends, possibly after the loop: the output then holds the images
// before that group.
int32_t SaveThroughWriter(SaveJob &job, const OutputFormat &f) {
  Cine *w = job.Writer;
  int32_t status = AllocateBuffer(job);
  if (status < 0) return status;
  WriterPtr output = f.FileType < 0 ? MakeStillSeries(f) : f.Make(f.FileType);
  if (output) {
    OutputDescription d;
    d.FileName = job.Out->FileName;
    d.Options = &w->Saving;
    d.Header = &job.Out->H.Bmih;
    d.CineSetup = &w->H.Setup;
    d.Out = job.Out;
    d.Writer = w;
    d.Pattern = job.Source->FileName;
    Merge(status, output->Open(d));
  } else {
    Merge(status, XE_ERR_NO_MEMORY);
  }
  if (status < 0) {
    FreeBuffer(job);
    return status;
  }
  job.Output = output.get();
  if ((f.Traits & kThreaded) && !job.NoThread &&
      BeginThreadySave(job.Output, &job.Thread, &job.Buffer, job.BufferSize) < 0) {
    // Without its second buffer or thread the job writes on its own.
    EndThreadySave(job.Thread, &job.Buffer);
    job.Thread = nullptr;
  }
  Merge(status, GroupLoop(job, f.Traits & kCountInOut));
  // The thread writes what was queued before it ends; a stop is not an error.
  if (job.Thread) {
    uint32_t firstFailed = UINT32_MAX;
    EndThreadySave(job.Thread, &job.Buffer, &firstFailed);
    if (firstFailed < w->Saving.SaveCount && (firstFailed < job.Done || !job.Failed)) {
      if (!job.Failed) status = MergeStatus(status, XE_ERR_FILE_WRITE);
      job.Failed = true;
      w->H.Header.ImageCount = std::min(firstFailed, job.Done);
    }
    job.Thread = nullptr;
  }
  Merge(status, output->Close(!job.Stopped && !job.Failed));
  job.Output = nullptr;
  FreeBuffer(job);
  if (f.Traits & kLastProgress) CallCB(job.Callback, job.Source, 100);
  return status;
}

// The save of the job's target type: a format that writes nothing, runs
// its own loop, has a writer, or waits on a plugin.
int32_t Dispatch(SaveJob &job) {
  const OutputFormat *f = FindOutputFormat(job.Writer->Saving.FileType);
  if (!f) return XE_ERR_NOT_SUPPORTED;
  if (f->Traits & kNeverWritten) return XE_OK;
  if (f->OwnLoop) return f->OwnLoop(job.Source, job.Reader, job.Out, job.Callback);
  if (f->FileType < 0 || f->Make) return SaveThroughWriter(job, *f);
  const int32_t status = NoWriterStatus(*f);
  if (status > 0 && (f->Traits & kLastProgress)) CallCB(job.Callback, job.Source, 100);
  return status;
}

void FinalSteps(SaveJob &job, int32_t &status) {
  Cine *out = job.Out;
  if (out) {
    if (!IsCineFileType(out->Saving.FileType)) {
      char chd[kPathSize];
      ChdFileName(out->FileName, chd);
      Merge(status, WriteChdFile(chd, out));
    }
    Merge(status, WriteXmlHeader(out));
  }
  if (job.Writer) XeDestroyCine(job.Writer);
  if (job.Reader && job.Reader != job.Writer) XeDestroyCine(job.Reader);
  if (out) XeDestroyCine(out);
  if (LogOn()) con::Debprintf("\nSave Cine: After DestroyCine");
}

}  // namespace

uint32_t ImagesPerGroup(const Cine *c) {
  if (c->IsFileCine) return 1;
  uint32_t budget;
  switch (c->H.Setup.CameraVersion) {
    case 4: budget = 0x40000; break;
    case 5:
    case 6: budget = 0x100000; break;
    default: budget = 0xA00000; break;
  }
  const BitmapInfoHeader &b = c->H.Bmih;
  uint64_t area = static_cast<uint64_t>(b.biWidth < 0 ? -int64_t{b.biWidth} : b.biWidth) *
                  static_cast<uint64_t>(b.biHeight < 0 ? -int64_t{b.biHeight} : b.biHeight);
  uint64_t n = area ? budget / area : 1;
  if (intl::XefIs16BitDIB(&b)) n /= 2;
  return n < 1 ? 1 : static_cast<uint32_t>(n);
}

int32_t WriteImageToFile(Cine *writer, const uint8_t *pixels, ImageWriter *output, const ImageHeader *header,
                         bool explicitRange, int32_t first, uint32_t count) {
  if (!explicitRange) {
    first = writer->ImageRangeFirst;
    count = static_cast<uint32_t>(writer->ImageRangeCnt);
  }
  const uint32_t stride = intl::XefPixarSize(intl::AsBmih(header));
  int32_t status = XE_OK;
  for (uint32_t k = 0; k < count; ++k) {
    ImageHeader h = *header;
    OutputImage image;
    image.Header = &h;
    image.Pixels = pixels + static_cast<uint64_t>(k) * stride;
    image.ImageNo = static_cast<int32_t>(static_cast<int64_t>(first) + k);
    Merge(status, output->Write(image));
    if (status < 0) return status;
  }
  return status;
}

int32_t SaveCine(Cine *cine, pfnCallback cb) {
  const OutputFormat *format = FindOutputFormat(cine->Saving.FileType);
  if (format && (format->Traits & kColourOnly) && !XefIsColorCine(cine)) return XE_ERR_NOT_SUPPORTED;
  SaveJob job;
  job.Source = cine;
  job.Callback = cb;
  job.NoThread = NoThreadSetting();

  int32_t status = Duplicate(cine, &job.Writer);
  if (!job.Writer) return status;
  Cine *w = job.Writer;
  Merge(status, ClipSaveRange(w));
  // A save crops and resamples to what the view of the present settings
  // would show: the view chain is brought up to date first.
  if (w->CineUseCase == kUseCaseView) Merge(status, RefreshCineProcessingParams(w));
  else Merge(status, XeSetUseCase(w, kUseCaseView));
  Merge(status, XeSetUseCase(w, kUseCaseSave));
  if (w->IsFileCine) {
    Merge(status, Duplicate(w, &job.Reader));
    if (job.Reader) Merge(status, XeSetUseCase(job.Reader, kUseCaseSave));
    // The output path is the writer's job: the file a duplicate opened on
    // its source is not needed by it.
    CloseCineFile(w);
  } else {
    job.Reader = w;
  }
  Merge(status, Duplicate(w, &job.Out));
  if (!job.Reader || !job.Out) {
    FinalSteps(job, status);
    return status;
  }
  Merge(status, ApplyChainToCine(job.Out));
  // Duplicates start with clean save words; names use this job's number.
  w->Save.SaveJobNumber = job.Out->Save.SaveJobNumber = cine->Save.SaveJobNumber;
  // What a fetch that fails before its first image leaves in the header.
  std::memcpy(&job.Header, &job.Out->H.Bmih, sizeof(BitmapInfoHeader));

  char name[kPathSize];
  Merge(status, xe::XefExpandFileName(job.Out, w->Saving.SaveFirst, name));
  CopyName(job.Out->FileName, name);
  CopyName(w->FileName, name);
  w->ImageRangeCnt = static_cast<int32_t>(ImagesPerGroup(w));

  Merge(status, Dispatch(job));
  FinalSteps(job, status);
  return status;
}

}  // namespace xe
