// Reads an XML file into a tree of labels, a slice at a time.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/FileSystem.h"
#include "viewer/XmlTree.h"

namespace fieldpost {

/// Fills a tree while a file is read, so that what has been read can be shown already. One node an element;
/// its label is the name, then for each attribute, in the order of the document, its name in upper case
/// (ASCII letters), "=", the value in quotes and a blank, then for each text in it ":  " and the text.
///
/// Attributes that declare name spaces count as others do; those that a document type adds come last. Text is
/// what the parser makes of it: entities resolved, white space at both ends off, none kept that is white
/// space only; where the file says xml:space="preserve", it is kept as it stands. CDATA sections are texts of
/// their own (those that follow one another at once are one); elements, comments and processing instructions
/// end a text.
///
/// Nothing outside the file is ever opened. Depth is not bounded, nor is the file's size.
class XmlTreeReader {
 public:
  /// Most bytes that entities and default values of attributes may add to what the file holds.
  static constexpr std::uint64_t MaxExpandedBytes = 16 * 1024 * 1024;

  /// Most attributes of one element: the parser's time grows with the square of their number.
  static constexpr std::size_t MaxAttributes = 10'000;

  enum class State {
    Reading,  ///< there is more to read
    Done,     ///< the file is read, and is well-formed
    Failed,   ///< the file is not well-formed or cannot be read; the tree is empty
  };

  /// Empties the tree, which outlives the reader.
  XmlTreeReader(XmlTree& tree, std::unique_ptr<FileReader> file);
  XmlTreeReader(const XmlTreeReader&) = delete;
  XmlTreeReader& operator=(const XmlTreeReader&) = delete;
  ~XmlTreeReader();

  /// Reads some 8 KB more, and says how things stand then. Never throws.
  State ReadSlice();

  /// How many bytes of text were read so far; in a file that is not UTF-8 this differs from what was read of
  /// it.
  [[nodiscard]] std::uint64_t BytesRead() const;

 private:
  class Parser;

  State Fail();

  XmlTree& tree_;
  std::unique_ptr<Parser> parser_;
  State state_ = State::Reading;
};

}  // namespace fieldpost
