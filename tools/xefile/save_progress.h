// The progress of a save: a bar with images per second and the time left
// when standard error is a terminal, quiet otherwise; Ctrl-C stops the save
// through the progress callback.
#pragma once

#include <cstdint>

#include <xefile/xefile.h>

namespace xetool {

// Watches one save from construction to destruction: installs the SIGINT
// handler (a second Ctrl-C ends the program at once) and restores the
// previous one at the end.
class SaveProgress {
 public:
  explicit SaveProgress(uint32_t totalImages);
  ~SaveProgress();
  SaveProgress(const SaveProgress &) = delete;
  SaveProgress &operator=(const SaveProgress &) = delete;

  // The callback to give to the save.
  static pfnCallback Callback();
  // True when Ctrl-C stopped the save.
  bool Interrupted() const;
  // Images the save went on to write (every report it was told to go on).
  uint32_t ImagesDone() const;
  // Seconds since the start.
  double Elapsed() const;
  // Ends the bar's line.
  void Finish();
};

}  // namespace xetool
