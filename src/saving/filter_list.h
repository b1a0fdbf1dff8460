// The list of save formats that the save dialogs offer: "label|wildcard|"
// pairs with the FileType of each pair, in the order the user sees them.
// Formats that need a plugin are listed only while it is loaded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace xe {

struct SaveFilterList {
  std::string text;            // "Cine, *.cine|*.cine|Cine JPEG, *.cci|*.cci|..."
  std::vector<int16_t> codes;  // codes[k]: FileType of pair k
};

// The list as it stands with the plugins loaded now. Between the movie
// formats and the still images a row of underscores separates the two
// groups; its code is 0.
SaveFilterList BuildSaveFilterList();

}  // namespace xe
