// Why a path does not open as a cine, in words about the file: what the file
// system says, what the first bytes say, or which field of the cine header
// cannot be right. The library's status alone names its own step ("the movie
// import component ...", "out of memory ..."), not the fault of the file.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "tool.h"

namespace xetool {
namespace {

// Signatures of files that people take for recordings.
struct Signature {
  const char *bytes;
  size_t size;
  const char *what;
};
constexpr Signature kSignatures[] = {
    {"II*\0", 4, "a TIFF file"},      {"MM\0*", 4, "a TIFF file"},
    {"RIFF", 4, "a RIFF (AVI or WAV) file"}, {"\x89PNG", 4, "a PNG file"},
    {"\xFF\xD8\xFF", 3, "a JPEG file"}, {"P5", 2, "a PGM file"},
    {"P6", 2, "a PPM file"},           {"<?xml", 5, "an XML file"},
};

constexpr uint16_t kCineType = 0x4943;  // "CI"

std::string Hex(const unsigned char *bytes, size_t n) {
  std::string out;
  char text[4];
  for (size_t i = 0; i < n; ++i) {
    std::snprintf(text, sizeof text, i ? " %02x" : "%02x", bytes[i]);
    out += text;
  }
  return out;
}

// The fault a cine header shows against a file of `size` bytes, or "".
std::string HeaderFault(std::ifstream &in, uint64_t size) {
  CineFileHeader h{};
  in.seekg(0);
  in.read(reinterpret_cast<char *>(&h), sizeof h);
  const auto past = [size](uint64_t at, uint64_t bytes) { return at > size || bytes > size - at; };
  if (past(h.OffImageHeader, sizeof(BitmapInfoHeader)))
    return "the image header lies past the end of the file";
  if (past(h.OffSetup, 2)) return "the setup lies past the end of the file";
  BitmapInfoHeader b{};
  in.seekg(static_cast<std::streamoff>(h.OffImageHeader));
  in.read(reinterpret_cast<char *>(&b), sizeof b);
  if (b.biWidth <= 0) return "image width " + std::to_string(b.biWidth);
  if (b.biHeight == 0) return "image height 0";
  const uint16_t bits = b.biBitCount;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 48)
    return std::to_string(bits) + " bits per pixel (images have 8, 16, 24 or 48)";
  const uint64_t offsetBytes = h.Version == 0 ? 4 : 8;
  if (past(h.OffImageOffsets, offsetBytes * h.ImageCount))
    return "the offsets of " + Count(h.ImageCount, "image") + " do not fit in the file";
  // Compared by division: the product of the sides may not fit in 64 bits.
  const uint64_t width = static_cast<uint32_t>(b.biWidth);
  const uint64_t height = static_cast<uint64_t>(std::abs(int64_t{b.biHeight}));
  if (h.ImageCount && width > size * 8 / bits / height)
    return "images of " + std::to_string(b.biWidth) + " x " + std::to_string(b.biHeight) +
           " pixels cannot lie in a file of " + Count(size, "byte");
  return {};
}

// What the bytes of a regular file say about it.
std::string ContentReason(const std::string &path, int32_t status) {
  std::ifstream in(path, std::ios::binary);
  unsigned char head[8] = {};
  in.read(reinterpret_cast<char *>(head), sizeof head);
  const auto got = static_cast<size_t>(in.gcount());
  in.clear();
  in.seekg(0, std::ios::end);
  const auto size = static_cast<uint64_t>(std::max<std::streamoff>(0, in.tellg()));
  if (size == 0) return "not a cine file: empty";
  if (got < 2 || (head[0] | head[1] << 8) != kCineType) {
    for (const Signature &s : kSignatures)
      if (got >= s.size && std::memcmp(head, s.bytes, s.size) == 0)
        return std::string("not a cine file: ") + s.what;
    return "not a cine file: unknown header (first bytes " + Hex(head, got) + ")";
  }
  if (size < sizeof(CineFileHeader))
    return "not a cine file: " + Count(size, "byte") + ", too short for a cine header";
  const std::string fault = HeaderFault(in, size);
  if (!fault.empty()) return "damaged cine header: " + fault + " (status " + std::to_string(status) + ")";
  return "cannot be opened as a cine: " + StatusText(status);
}

}  // namespace

std::string OpenFailureText(const std::string &path, int32_t status) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) return path + ": " + std::strerror(errno);
  if (S_ISDIR(st.st_mode)) return path + ": is a directory";
  if (access(path.c_str(), R_OK) != 0) return path + ": " + std::strerror(errno);
  if (!S_ISREG(st.st_mode)) return path + ": not a regular file";
  return path + ": " + ContentReason(path, status);
}

}  // namespace xetool
