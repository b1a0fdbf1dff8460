// The xefile command-line tool: what its subcommands share. The tool uses
// only the public interface of the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <xefile/xefile.h>

namespace CLI {
class App;
}

namespace xetool {

// Exit statuses of the tool.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNotFound = 3;  // search: no image meets the condition
constexpr int kExitDamaged = 4;   // info --check: images of the file cannot be read
constexpr int kExitInterrupted = 130;

// How much the tool says beside its results, warnings and errors: the
// global --quiet (no progress, no notes) and --verbose (also the library's
// log) options.
enum class Verbosity { kQuiet, kNormal, kVerbose };
void SetVerbosity(Verbosity v);
bool Quiet();
// Called once the library has started (and read its settings).
void LibraryStarted();
// Prints "xefile: note: <what>" on standard error unless --quiet.
void Note(const std::string &what);

// "1 image", "0 images", "2 images": the number and the noun, plural unless
// the number is 1.
std::string Count(uint64_t n, const std::string &noun);

// A failure that ends the command: main prints "xefile: <message>" and
// exits with `exitCode`.
struct Failure {
  std::string message;
  int exitCode = kExitFailure;
};

// The meaning of a status number of the library, from its table of
// statuses; "unknown status" for a number it does not list.
const char *StatusMeaning(int32_t status);
// "<status> (<meaning>)".
std::string StatusText(int32_t status);
// Throws Failure "<what>: <status> (<meaning>)".
[[noreturn]] void Fail(const std::string &what, int32_t status);
// Throws Failure "<what>" with the exit status given.
[[noreturn]] void FailWith(const std::string &what, int exitCode = kExitFailure);
// Prints "xefile: warning: <what>: <status> (<meaning>)" on standard error.
void Warn(const std::string &what, int32_t status);

// "<path>: <why it does not open as a cine>" for a path the library refused
// with `status`: the file system's reason, "not a cine file: empty", "not a
// cine file: unknown header (...)", "damaged cine header: image width -5
// (status -2013)", ...
std::string OpenFailureText(const std::string &path, int32_t status);

// The library started for the life of the object.
class Library {
 public:
  Library();
  ~Library();
  Library(const Library &) = delete;
  Library &operator=(const Library &) = delete;
};

// A cine opened from a file for the life of the object. Opening a path that
// is missing, a directory, unreadable or not a cine throws a Failure that
// says which.
class OpenCine {
 public:
  explicit OpenCine(const std::string &path);
  ~OpenCine();
  OpenCine(const OpenCine &) = delete;
  OpenCine &operator=(const OpenCine &) = delete;

  CineHandle get() const { return cine_; }
  const std::string &path() const { return path_; }
  const Setup &setup() const { return *setup_; }
  const CineFileHeader &header() const { return *header_; }
  // The stored images: first, last (first - 1 when none) and count.
  int32_t first() const { return header_->FirstImageNo; }
  uint32_t count() const { return header_->ImageCount; }
  int32_t last() const { return static_cast<int32_t>(int64_t{first()} + count() - 1); }
  bool Holds(int64_t image) const { return count() && image >= first() && image <= last(); }
  // Throws -2004 with the stored range when `image` is not stored.
  void RequireImage(int64_t image) const;

 private:
  std::string path_;
  CineHandle cine_ = nullptr;
  const Setup *setup_ = nullptr;
  const CineFileHeader *header_ = nullptr;
};

// Images first to last of a range option "FIRST:LAST" (either may be left
// out: the stored range's end), cut to the stored images. A text that is no
// range is a usage failure; a range that does not meet the stored images
// fails with XE_WARN_RANGE_EMPTY.
struct ImageSpan {
  int32_t first = 0, last = -1;
  uint32_t count() const { return static_cast<uint32_t>(int64_t{last} - first + 1); }
};
ImageSpan ParseRange(const std::string &text, const OpenCine &c);

// "first to last (n images)", or "none".
std::string RangeText(int64_t first, uint32_t count);

// Texts of a fixed-size field that may lack its terminator.
std::string FieldText(const char *field, size_t size);

// ---- Times ----------------------------------------------------------------
// A Time64 as ISO 8601 with nanoseconds: UTC ("...Z") or the local time of
// this machine with its offset ("...+02:00"). The flag bits are masked.
std::string IsoTime(const Time64 &t, bool utc);
// Seconds from `a` to `b`, exact to the unit of the fractions (flag bits
// masked).
double SecondsBetween(const Time64 &a, const Time64 &b);
// An exposure in units of 2^-32 s as microseconds.
double ExposureMicroseconds(uint32_t units);
// "HH:MM:SS:FF" of a packed timecode.
std::string TimecodeText(const TC &tc);
// The image's timecode text, or "" when the cine has none for it.
std::string ImageTimecode(CineHandle cine, int32_t image);

// ---- Output names -------------------------------------------------------------
// A name for the files of `count` images, one per image: a name with an
// image number token (!d or +d) stays; another gets "_+N" before its
// extension when there is more than one image (with a note).
std::string NumberedPattern(const std::string &path, uint32_t count);
// The name of image `image` by the save pattern set on the cine (selector
// CIS_FileName, range by XeSetCineSaveRange); its folder is created.
std::string ExpandedFileName(CineHandle cine, int32_t image);

// ---- Image files ------------------------------------------------------------
// True for the extensions WriteImageFile knows (.pgm .ppm .pnm .tif .tiff).
bool IsImageFileName(const std::string &path);
// Writes one delivered image (8, 16, 24 or 48 bits, rows bottom-up unless
// `topDown`) to a PGM/PPM or a baseline TIFF by the file's extension.
// Samples of more than 8 bits are scaled to 16 bits; with `stored` (raw
// images) they are written as they are, in 8 or 16 bits, with the largest
// value 2^RealBPP - 1 (PNM maxval, TIFF SMaxSampleValue). Returns a
// description ("320 x 240, colour, 16 bits per sample"); throws Failure on
// errors.
std::string WriteImageFile(const std::string &path, const ImageHeader &h, const uint8_t *pixels,
                           bool topDown, bool stored = false);

// One delivered image as a frame of raw video: top row first, red first,
// 8-bit samples, or 16-bit little-endian ones scaled or `stored` as
// WriteImageFile writes them (gray, gray16le, rgb24 or rgb48le). Answers the
// largest value a sample can have.
uint32_t VideoFrameBytes(const ImageHeader &h, const uint8_t *pixels, bool topDown, bool stored,
                         std::vector<uint8_t> *out);

// ---- Subcommands --------------------------------------------------------------
void AddInfoCommand(CLI::App &app);
void AddTimesCommand(CLI::App &app);
void AddExtractCommand(CLI::App &app);
void AddConvertCommand(CLI::App &app);
void AddSearchCommand(CLI::App &app);
void AddDemoCommand(CLI::App &app);

}  // namespace xetool
