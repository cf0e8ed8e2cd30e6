// Reads an XML file as UTF-8, whatever its encoding.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "xml/XmlEncoding.h"

namespace fieldpost {

/// Reads a file from front to back as UTF-8, in pieces of some 64 KB. Its encoding is that of its byte order
/// mark, else the declared one, else UTF-8; the mark is skipped.
class Utf8Source {
 public:
  explicit Utf8Source(std::unique_ptr<FileReader> reader);

  /// Returns the next piece, valid until the next call; empty at the end. Throws FileError, or XmlError for
  /// bytes that are no text in the encoding. UTF-8 itself is not checked.
  std::string_view Next();

 private:
  std::string_view First();
  std::string_view Read();

  std::unique_ptr<FileReader> reader_;
  std::string block_;
  std::unique_ptr<XmlEncoding> encoding_;
};

}  // namespace fieldpost
