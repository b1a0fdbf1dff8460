// The registered save: the table of running saves and the progress that a
// job reports into its cine.
#pragma once

#include <cstdint>

#include "frame/cine.h"

namespace xe {

// The progress callback of a registered job: stores SavePercent, answers 0
// when StopSave is set, else passes every percent but 100 to the caller's
// callback (which hears 100 once, at the end of the job).
int32_t SaveProgressOf(uint32_t percent, Cine *c);

// XeWriteCineFile: registers the cine (a cine found in the table is a
// background job registered already), runs its job or its heads' jobs,
// stores SaveResult and makes the last report.
int32_t WriteCineFile(Cine *c, pfnCallback callback);

}  // namespace xe
