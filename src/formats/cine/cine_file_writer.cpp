// The writer of a save to a cine file (FileType 0 and 1). Open creates the
// file with its head from the output description, then writes through the
// writer cine, which holds the file open for update at its end and the table
// of image offsets. Each image is one record; Close patches the counts of a
// stopped or failed save and writes the table.
#include <chrono>
#include <cstring>
#include <thread>

#include "companions/con/camera_driver.h"
#include "companions/con/status.h"
#include "formats/cine/cine_writer.h"
#include "formats/image_writer.h"
#include "frame/start.h"

namespace xe {
namespace {

class CineFileWriter final : public ImageWriter {
 public:
  int32_t Open(const OutputDescription &d) override {
    Cine *out = d.Out;
    w_ = d.Writer;
    // The file a duplicate opened on its source is not the output's.
    CloseCineFile(out);
    int32_t status = CreateCineFileNew(out, out->FileName);
    // A camera that transfers packed images is given time to settle when no
    // one is told of the save.
    if (!frame::MessagesEnabled.load() && !w_->IsFileCine && con::XevGet(w_->CN, con::kGetPackedTransfer))
      std::this_thread::sleep_for(std::chrono::milliseconds(500));
    std::memcpy(&w_->H.Header, &out->H.Header, sizeof(CineFileHeader));
    XefFileClose(out->FileHandle);
    out->FileHandle = kNoFile;
    if (status < 0) return status;
    CloseCineFile(w_);
    Merge(status, XefFileOpenUpdate(w_->FileName, &w_->FileHandle));
    Merge(status, XefFileSeekEnd(w_->FileHandle));
    return status;
  }

  // The record's file position goes into the table entry of its place in
  // the save range.
  int32_t Write(const OutputImage &image) override {
    const SavingOptions &o = w_->Saving;
    const int64_t slot = static_cast<int64_t>(image.ImageNo) - o.SaveFirst;
    uint8_t *table = ImageOffsetSlots(w_, o.SaveCount);
    uint64_t position = 0;
    if (table && slot >= 0 && slot < int64_t{o.SaveCount} && w_->FileHandle != kNoFile &&
        XefFileTell64(w_->FileHandle, &position) >= 0)
      std::memcpy(table + 8 * slot, &position, 8);
    return WriteImageRecord(w_, image.Pixels, image.Header->biSizeImage);
  }

  int32_t Close(bool complete) override {
    int32_t status = complete ? XE_OK : PatchImageCounts(w_);
    Merge(status, WriteImageOffsets(w_));
    XefFileClose(w_->FileHandle);
    w_->FileHandle = kNoFile;
    return status;
  }

 private:
  Cine *w_ = nullptr;
};

}  // namespace

WriterPtr MakeCineFileWriter(int16_t) { return NewWriter<CineFileWriter>(); }

}  // namespace xe
