// Names of outputs written one file per image: the name tokens are the
// library's (!d the image number in d digits, +d counted from the first
// image of the range, @d the save job, ~8 a name from the trigger time), and
// the library expands them, so extract and convert name files alike.
#include <algorithm>
#include <vector>

#include "tool.h"

namespace xetool {

std::string NumberedPattern(const std::string &path, uint32_t count) {
  for (size_t i = 0; i + 1 < path.size(); ++i)
    if ((path[i] == '!' || path[i] == '+') && path[i + 1] >= '0' && path[i + 1] <= '9') return path;
  if (count <= 1) return path;
  const int digits = std::max(4, static_cast<int>(std::to_string(count).size()));
  const size_t slash = path.find_last_of('/');
  size_t dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) dot = path.size();
  std::string out = path.substr(0, dot) + "_+" + std::to_string(std::min(digits, 9)) + path.substr(dot);
  Note("one file per image, named " + out);
  return out;
}

std::string ExpandedFileName(CineHandle cine, int32_t image) {
  std::vector<char> name(XE_MAX_PATH, '\0');
  XefExpandFileName(cine, image, name.data());
  name.back() = '\0';
  return name.data();
}

}  // namespace xetool
