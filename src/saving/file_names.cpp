#include "saving/file_names.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>

#include "companions/con/status.h"
#include "companions/int/time_print.h"
#include "frame/file_paths.h"

namespace xe {
namespace {

// A text being built in a buffer of kPathSize bytes: whatever does not fit
// before the terminator is dropped.
class PathWriter {
 public:
  explicit PathWriter(char *buffer) : buf_(buffer) { buf_[0] = 0; }
  bool Put(char ch) {
    if (len_ >= kPathSize - 1) return false;
    buf_[len_++] = ch;
    return true;
  }
  void Put(const char *text, size_t n) {
    for (size_t i = 0; i < n && Put(text[i]); ++i) {
    }
  }
  void Put(const char *text) { Put(text, std::strlen(text)); }
  size_t size() const { return len_; }
  const char *data() { buf_[len_] = 0; return buf_; }
  void Terminate() { buf_[len_] = 0; }

 private:
  char *buf_;
  size_t len_ = 0;
};

// `n` printed with at least `digits` places, zero-padded behind a minus sign,
// of which only the last `digits` characters are kept.
void PutNumber(PathWriter &out, int32_t n, int digits) {
  char text[32];
  int len = std::snprintf(text, sizeof text, "%0*ld", digits, static_cast<long>(n));
  if (len <= 0) return;
  int keep = len < digits ? len : digits;
  out.Put(text + len - keep, static_cast<size_t>(keep));
}

// Positions in "Ddd Mmm DD YYYY HH:MM:SS".
constexpr size_t kMonth = 4, kDay = 8, kHour = 16, kMinute = 19;
constexpr size_t kFirstColon = 18, kSecondColon = 21;
constexpr size_t kNameDigits = 6;        // day, hour, minute
constexpr long kLastNameNumber = 999999;

// The eight-character time name: two month letters ("JA", "FE", "MA", "AP",
// "MA", "JU", "JL", "AU", ...), then day, hour and minute. While a file or
// directory of the whole name exists (with `rest` of the pattern when it
// begins with '.'), the six digits are counted up. False when the time has
// no text.
bool TimeName(const Cine *c, char name[9]) {
  char text[intl::kTimeTextSize];
  if (intl::XefPrintTime(text, c->H.Header.TriggerTime.seconds, c->TimeFormat, &c->H.Setup) != XE_OK ||
      std::strlen(text) < kMinute + 2)
    return false;
  name[0] = text[kMonth];
  name[1] = text[kMonth + 2] == 'l' ? 'L' : static_cast<char>(std::toupper(static_cast<unsigned char>(text[kMonth + 1])));
  std::memcpy(name + 2, text + kDay, 2);
  std::memcpy(name + 4, text + kHour, 2);
  std::memcpy(name + 6, text + kMinute, 2);
  name[8] = 0;
  return true;
}

void PutUniqueTimeName(PathWriter &out, const Cine *c, const char *rest, size_t restLen) {
  char name[9];
  if (!TimeName(c, name)) return;
  std::string candidate(out.data(), out.size());
  size_t at = candidate.size() + 2;  // the digits
  candidate += name;
  if (restLen && rest[0] == '.') candidate.append(rest, restLen);
  while (XefIsFileOrDirectory(candidate.c_str()) != 0) {
    long number = std::strtol(candidate.substr(at, kNameDigits).c_str(), nullptr, 10);
    if (number >= kLastNameNumber) break;  // every name of the day is taken
    char digits[24];
    std::snprintf(digits, sizeof digits, "%06ld", number + 1);
    candidate.replace(at, kNameDigits, digits, kNameDigits);
  }
  out.Put(candidate.c_str() + at - 2, 8);
}

// The whole trigger time, with the colons of the clock blanked: a file name
// cannot hold them.
void PutTimeText(PathWriter &out, const Cine *c) {
  char text[intl::kTimeTextSize];
  if (intl::XefPrintTime64(text, &c->H.Header.TriggerTime, c->TimeFormat, &c->H.Setup) != XE_OK) return;
  if (std::strlen(text) > kSecondColon) {
    text[kFirstColon] = ' ';
    text[kSecondColon] = ' ';
  }
  out.Put(text);
}

// n + 1 - first, in the 32-bit arithmetic of the image numbers.
int32_t Rebase(int32_t n, int32_t first) {
  return static_cast<int32_t>(static_cast<uint32_t>(n) + 1u - static_cast<uint32_t>(first));
}

}  // namespace

int32_t XefExpandFileName(Cine *c, int32_t imageNo, char *out) {
  PathWriter w(out);
  const char *p = c->FileName;
  size_t len = strnlen(p, sizeof c->FileName);
  int32_t n = imageNo;
  size_t lastSeparator = 0;
  for (size_t i = 0; i < len; ++i) {
    char ch = p[i];
    bool counted = i + 1 < len && std::isdigit(static_cast<unsigned char>(p[i + 1]));
    int digits = counted ? p[i + 1] - '0' : 0;
    switch (ch) {
      case '+':
        if (!counted) break;
        n = Rebase(n, c->Saving.SaveFirst);
        [[fallthrough]];
      case '!':
        if (!counted) break;
        PutNumber(w, n, digits);
        ++i;
        continue;
      case '@':
        if (!counted) break;
        PutNumber(w, c->Save.SaveJobNumber, digits);
        ++i;
        continue;
      // '$' with a digit would print the counter of the cine folder whose
      // first letter the pattern starts with; those counters are all 0 here,
      // so '$' and its digit are copied like any text.
      case '~':
        if (i + 1 < len && p[i + 1] == '8') {
          PutUniqueTimeName(w, c, p + i + 2, len - i - 2);
          ++i;
        } else {
          PutTimeText(w, c);
        }
        continue;
      case kSeparator:
        if (w.Put(ch)) lastSeparator = w.size() - 1;
        continue;
      default: break;
    }
    w.Put(ch);
  }
  w.Terminate();
  // The directory part is made here. A pattern without a separator has its
  // first character given up for one: patterns are expected to carry a path.
  out[lastSeparator] = 0;
  XefMakeDirectory(out);
  bool wasEmpty = w.size() == 0;
  out[lastSeparator] = kSeparator;
  if (wasEmpty) out[1] = 0;
  return XE_OK;
}

void ChdFileName(const char *name, char *out) {
  PathWriter w(out);
  if (!name) return;
  const char *dot = ExtensionDot(name);
  if (dot) {
    w.Put(name, static_cast<size_t>(dot - name));
    w.Put(dot + 1);  // "clip.tif" keeps "tif" in its base name
  } else {
    w.Put(name);
  }
  w.Put(".chd");
  w.Terminate();
}

const char *DefaultExtension(int16_t fileType) {
  switch (fileType) {
    case 0:
    case 1: return ".cine";
    case 2: return ".cci";
    case 3: return ".avi";
    case 4: return ".tif";
    default: return "";
  }
}

void ApplyDefaultExtension(char *name, int16_t fileType) {
  if (!name || std::strchr(LastComponent(name), '.')) return;
  size_t len = std::strlen(name);
  if (len >= kPathSize - 1) return;
  size_t n = strnlen(DefaultExtension(fileType), kPathSize - 1 - len);
  std::memcpy(name + len, DefaultExtension(fileType), n);
  name[len + n] = 0;
}

}  // namespace xe

using namespace xe;

extern "C" {

XEFILE_API int32_t XefExpandFileName(CineHandle cine, int32_t imageNo, char *out) {
  if (!cine) return XE_ERR_NULL_CINE;
  if (!out) return XE_ERR_NULL_ARGUMENT;
  return xe::XefExpandFileName(cine, imageNo, out);
}

}  // extern "C"
