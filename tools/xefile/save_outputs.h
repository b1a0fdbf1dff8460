// The files one save writes, named as the library names them: checked
// before the save, and looked at after a save that failed or was stopped,
// to say what each file holds and why the save failed.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include <xefile/xefile.h>

namespace xetool {

// A file a save wrote, and what it holds ("a cine with 3 images").
struct LeftFile {
  std::string path, holds;
};

struct SaveLeftovers {
  std::vector<LeftFile> files;
  // The images the outputs hold whole: a cine's images, a multipage TIFF's
  // pages, the complete files of a series.
  uint32_t images = 0;
};

class SaveOutputs {
 public:
  // Once the save options are set on `cine` (pattern, FileType, range and
  // the XML option): the names are asked for before the save makes files.
  SaveOutputs(CineHandle cine, int16_t fileType, int32_t first, int32_t last, bool xml);

  // The output file, or the first file of a series.
  const std::string &output() const { return output_; }
  // "out.cine", or "a_0001.tif ... a_0100.tif".
  std::string Names() const;

  // Refuses outputs that cannot be written (CheckOutputPath), and outputs
  // that exist when `noClobber`; warns when the file system has less room
  // than the library's estimate of the output. Call just before the save.
  void CheckBefore(const std::string &input, bool noClobber);

  // After a failed or stopped save: the files it wrote and what they hold.
  // A multipage TIFF is repaired first (its last page ends the chain).
  SaveLeftovers Inspect() const;

  // Why a failed save failed as far as the file system tells ("no space
  // left on device (needs about 7.5 MB, 5.0 MB were free)"), or "".
  std::string Cause(int32_t status) const;

 private:
  struct Single {
    std::string path;
    bool existed = false;
    timespec mtime{};
  };
  bool Written(const Single &s) const;

  CineHandle cine_;
  int16_t type_;
  int32_t first_, last_;
  std::string output_, lastOutput_;
  std::vector<Single> singles_;  // the one-file output, the .chd, the .xml
  timespec start_{};
  uint64_t estimate_ = 0, freeBefore_ = 0;
  bool freeKnown_ = false;
};

}  // namespace xetool
