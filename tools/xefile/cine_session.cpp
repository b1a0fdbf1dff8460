// The library's start and stop, cines opened from files, and the texts of
// image ranges and counts.
#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <stdexcept>

#include "tool.h"

namespace xetool {
Library::Library() {
  int32_t status = XeStartXeFile();
  LibraryStarted();
  if (status < 0) {
    XeStopXeFile();
    Fail("the library did not start", status);
  }
}

Library::~Library() { XeStopXeFile(); }

OpenCine::OpenCine(const std::string &path) : path_(path) {
  // A directory opens as a file on this system; it is refused before the
  // library reads from it.
  struct stat st {};
  const bool isFile = stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
  int32_t status = isFile ? XeNewCineFromFile(path.c_str(), &cine_) : XE_ERR_FILE_OPEN;
  if (status < 0 || !cine_) {
    if (cine_) XeDestroyCine(cine_);
    cine_ = nullptr;
    FailWith(OpenFailureText(path, status < 0 ? status : XE_ERR_FILE_OPEN));
  }
  XeGetCineInfo(cine_, CIS_PtrSetup, &setup_);
  XeGetCineInfo(cine_, CIS_PtrHeader, &header_);
  if (!setup_ || !header_) {
    XeDestroyCine(cine_);
    cine_ = nullptr;
    Fail(path + ": the cine's records are not available", XE_ERR_NULL_CINE);
  }
}

OpenCine::~OpenCine() { XeDestroyCine(cine_); }

void OpenCine::RequireImage(int64_t image) const {
  if (Holds(image)) return;
  Fail("image " + std::to_string(image) + " is not in " + path_ + " (stored: " +
           RangeText(first(), count()) + ")",
       XE_ERR_AUX_OUT_OF_RANGE);
}

namespace {

// An image number of a range text; false when it is not a number. A
// number beyond the 32-bit image numbers is a usage failure that says so.
bool ParseImageNumber(const std::string &text, const std::string &range, int64_t *out) {
  const size_t digits = text.find_first_not_of("+-") == 1 ? 1 : 0;
  if (text.size() <= digits || text.find_first_not_of("0123456789", digits) != std::string::npos) return false;
  try {
    *out = std::stoll(text);
  } catch (const std::out_of_range &) {
    *out = INT64_MAX;
  }
  if (*out < INT32_MIN || *out > INT32_MAX)
    FailWith("--range " + range + ": " + text + " is out of range (image numbers are " +
                 std::to_string(INT32_MIN) + " to " + std::to_string(INT32_MAX) + ")",
             kExitUsage);
  return true;
}

}  // namespace

ImageSpan ParseRange(const std::string &text, const OpenCine &c) {
  int64_t first = c.first(), last = c.last();
  const size_t colon = text.find(':');
  const std::string a = colon == std::string::npos ? text : text.substr(0, colon);
  const std::string b = colon == std::string::npos ? "" : text.substr(colon + 1);
  if (colon == std::string::npos || (!a.empty() && !ParseImageNumber(a, text, &first)) ||
      (!b.empty() && !ParseImageNumber(b, text, &last)))
    FailWith("--range " + text + ": give FIRST:LAST (FIRST: or :LAST for the stored ends)", kExitUsage);
  if (first > last)
    FailWith("--range " + text + ": the first image " + std::to_string(first) + " comes after the last " +
                 std::to_string(last),
             kExitUsage);
  if (!c.count() || last < c.first() || first > c.last())
    Fail("range " + text + " does not meet the stored images of " + c.path() + " (" +
             RangeText(c.first(), c.count()) + ")",
         XE_WARN_RANGE_EMPTY);
  ImageSpan span;
  span.first = static_cast<int32_t>(std::max<int64_t>(first, c.first()));
  span.last = static_cast<int32_t>(std::min<int64_t>(last, c.last()));
  return span;
}

std::string Count(uint64_t n, const std::string &noun) {
  return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
}

std::string RangeText(int64_t first, uint32_t count) {
  if (count == 0) return "none";
  return std::to_string(first) + " to " + std::to_string(first + count - 1) + " (" +
         Count(count, "image") + ")";
}

namespace {

bool IsValidUtf8(const std::string &s) {
  for (size_t i = 0; i < s.size();) {
    const auto c = static_cast<unsigned char>(s[i]);
    const size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (n == 0 || i + n > s.size()) return false;
    for (size_t k = 1; k < n; ++k)
      if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return false;
    i += n;
  }
  return true;
}

}  // namespace

std::string FieldText(const char *field, size_t size) {
  std::string text(field, strnlen(field, size));
  if (IsValidUtf8(text)) return text;
  // Older records hold Latin-1 text (the degree sign of angles, names).
  std::string utf8;
  for (unsigned char c : text) {
    if (c < 0x80) {
      utf8 += static_cast<char>(c);
    } else {
      utf8 += static_cast<char>(0xC0 | (c >> 6));
      utf8 += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return utf8;
}

}  // namespace xetool
