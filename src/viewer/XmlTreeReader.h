// Reads an XML file into a tree of labels, a slice at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/FileSystem.h"
#include "viewer/XmlText.h"
#include "viewer/XmlTree.h"
#include "xml/Utf8Source.h"
#include "xml/XmlStreamReader.h"

namespace fieldpost {

/// Fills a tree while a file is read, so that what has been read can be shown already. Each element is one
/// node. Its label is the name, then for each attribute, in document order, the name in upper case (ASCII
/// letters), "=", the value in quotes and a blank, then for each text ":  " and the text.
///
/// Namespace declarations are attributes like others; attributes that the document type adds come last. Texts
/// have their references replaced and white space at both ends removed, unless the file says
/// xml:space="preserve"; texts of white space alone are left out. CDATA sections are texts of their own
/// (adjacent ones are one); elements, comments and processing instructions end a text.
///
/// Nothing outside the file is ever opened. Neither the depth nor the size of the file is limited.
class XmlTreeReader final : private XmlHandler {
 public:
  enum class State {
    Reading,     ///< there is more to read
    Done,        ///< the file is read, and is well-formed
    Malformed,   ///< the file is not well-formed, or exceeds a limit; what was read stays in the tree
    Unreadable,  ///< the file cannot be read to its end; what was read stays in the tree
  };

  /// How far a file is read.
  struct Slice {
    State state = State::Reading;
    std::string problem;  ///< why it is malformed or unreadable, in one line; else empty
  };

  /// Adds to the tree, which is empty and must outlive the reader.
  XmlTreeReader(XmlTree& tree, std::unique_ptr<FileReader> file);

  /// Reads about 8 KB more and returns the state after that. Never throws.
  [[nodiscard]] Slice ReadSlice();

  /// Returns how many bytes of text were read so far, in UTF-8, whatever the file's own encoding is.
  [[nodiscard]] std::uint64_t BytesRead() const { return bytesRead_; }

 private:
  void StartElement(const XmlStartTag& tag) override;
  void EndElement() override;
  void Text(std::string_view part) override { text_.Add(part, XmlText::Kind::Plain); }
  void Cdata(std::string_view part) override { text_.Add(part, XmlText::Kind::Cdata); }
  void Comment() override { text_.EndText(); }
  void ProcessingInstruction() override { text_.EndText(); }

  XmlTree& tree_;
  XmlText text_;
  Utf8Source source_;
  std::string_view unread_;  // of what the source returned last
  XmlStreamReader reader_;
  std::uint64_t bytesRead_ = 0;
  Slice slice_;  // the last one
};

}  // namespace fieldpost
