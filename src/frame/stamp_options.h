// The side-stamp and signal-stamp options kept in each cine's save options.
// The stamping code fills in their meaning; a new cine starts them at their
// start values through InitStampOptions.
#pragma once

#include <cstdint>

struct Cine;

namespace xe {

struct SideStampOptions {
  uint32_t SideStampMode;   // 0 none; codes 1 to 6 as the stamping code reads them
  uint32_t Reserved[63];
};

struct SignalStampOptions {
  uint32_t StampSignals;    // non-zero: draw the signals into the images
  uint32_t Reserved[63];
};

struct StampOptions {
  SideStampOptions Side;
  SignalStampOptions Signal;
};

// Puts the start values of both option blocks in place.
void InitStampOptions(Cine *cine);

}  // namespace xe
