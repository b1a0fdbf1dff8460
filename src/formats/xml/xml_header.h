// The XML header: a text file beside the output of a save that mirrors the
// cine header, the bitmap header, the Setup and the per-image blocks of what
// was saved, for readers who cannot take the binary header apart. The library
// writes it and never reads it.
//
// The file is named after the output with the extension ".xml". Its first
// line is the XML declaration; then, on one line without indentation, a
// comment and the root element chd with CineFileHeader, BitmapInfoHeader,
// CameraSetup, the elements of the tagged blocks, and RANGEBLOCK when there
// is range data. Text fields go out as they stand: only the angles of range
// data are escaped, so a '<' or '&' in a description makes the file
// ill-formed, and that is kept as it is.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string_view>

#include "frame/cine.h"

namespace xe {

// Writes the XML header of a save from its output description: FileName the
// output file, Saving.SaveFirst and SaveCount the saved images. 0 and
// nothing written when Saving.XmlHeader is 0; otherwise the merged status of
// the creation (-2012) and all writes (-2014). Writing goes on after a
// failure, and nothing is removed.
int32_t WriteXmlHeader(Cine *out);

// The element writer of the XML header. Elements are written without line
// ends; attributes as name="value". A start tag is built in 128 bytes and
// each attribute in 256, so longer ones are cut. Output collects in a buffer
// and goes to the file in large writes; every write failure is folded into
// the status (-2014), and writing goes on.
class XmlWriter {
 public:
  explicit XmlWriter(FileHandle file);
  XmlWriter(const XmlWriter &) = delete;
  XmlWriter &operator=(const XmlWriter &) = delete;

  // Bytes as they stand.
  void Raw(std::string_view text);
  // <tag>, <tag a="v">, <tag a1="v1" a2="v2">.
  void Open(const char *tag);
  void Open(const char *tag, const char *attr, const char *value);
  void Open(const char *tag, const char *attr1, const char *value1, const char *attr2,
            const char *value2);
  // </tag>.
  void Close(const char *tag);
  // <tag>value</tag> and <tag a="v">value</tag>.
  void Element(const char *tag, std::string_view value);
  void Element(const char *tag, const char *attr, const char *attrValue, std::string_view value);
  // <tag>value</tag> with the value printed by `format`.
  void Value(const char *tag, const char *format, ...) __attribute__((format(printf, 3, 4)));
  // <tag a="n">value</tag>: the attribute is the number `attrValue`, the
  // value is printed by `format`.
  void ValueAt(const char *tag, const char *attr, int32_t attrValue, const char *format, ...)
      __attribute__((format(printf, 5, 6)));

  // Writes what is buffered; the status of all writes so far.
  int32_t Flush();

 private:
  void StartTag(const char *tag, const char *attr1, const char *value1, const char *attr2,
                const char *value2);
  void VElement(const char *tag, const char *attr, const char *attrValue, const char *format,
                va_list args);

  FileHandle file_;
  std::unique_ptr<char[]> buffer_;
  uint32_t used_ = 0;
  int32_t status_ = 0;
};

// The CameraSetup element: the fields of the Setup in record order, each
// only when Length is greater than its offset.
void WriteXmlCameraSetup(XmlWriter &w, const ::Setup &s);

}  // namespace xe
