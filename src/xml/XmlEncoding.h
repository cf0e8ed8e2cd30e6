// Converts text between UTF-8 and any encoding that libxml2 knows.
#pragma once

#include <memory>
#include <string>
#include <string_view>

struct _xmlBuffer;               // NOLINT(bugprone-reserved-identifier): libxml2's own names
struct _xmlCharEncodingHandler;  // NOLINT(bugprone-reserved-identifier)

namespace fieldpost {

struct FreeXmlBuffer {
  void operator()(_xmlBuffer* buffer) const;
};
struct CloseXmlEncoding {
  void operator()(_xmlCharEncodingHandler* handler) const;
};

/// Returns the encoding that the XML declaration at the beginning of a text names; empty when there is none.
/// `beginning` has no byte order mark.
std::string DeclaredEncoding(std::string_view beginning);

/// Whether any document can be written in this encoding without a change of meaning. ASCII characters must be
/// written as themselves, so that markup stays markup: UTF-16 counts too, UTF-7 does not. A character that
/// the encoding lacks must be written as a reference to it; some of iconv's encodings write a reference to
/// another one. False for an unknown encoding.
[[nodiscard]] bool CanHoldAnyText(const std::string& encoding);

/// Whether the encoding is stateless: equal texts have equal bytes at every position. False for UTF-7 and the
/// encodings of ISO 2022, where the bytes depend on the text before, and for an unknown encoding.
[[nodiscard]] bool CanBeWrittenInPieces(const std::string& encoding);

/// Converts text between one encoding and UTF-8, piece by piece.
class XmlEncoding {
 public:
  /// An empty name means UTF-8. Throws XmlError when the encoding is unknown or CanBeWrittenInPieces() is
  /// false for it.
  explicit XmlEncoding(const std::string& name);
  XmlEncoding(const XmlEncoding&) = delete;
  XmlEncoding& operator=(const XmlEncoding&) = delete;
  ~XmlEncoding() = default;

  /// Whether the encoding is UTF-8, so that nothing is converted.
  [[nodiscard]] bool IsUtf8() const { return handler_ == nullptr; }

  /// Returns the next bytes as UTF-8, valid until the next call. A character cut off at the end is kept for
  /// the next call. Throws XmlError for bytes that are not in the encoding.
  std::string_view ToUtf8(std::string_view bytes);

  /// Whether the bytes so far end within a character.
  [[nodiscard]] bool IsCutOff() const;

  /// Appends a UTF-8 text of whole characters, in the encoding. A character that the encoding lacks becomes a
  /// character reference.
  void AppendTo(std::string& target, std::string_view utf8);

 private:
  std::string name_;
  std::unique_ptr<_xmlCharEncodingHandler, CloseXmlEncoding> handler_;
  std::unique_ptr<_xmlBuffer, FreeXmlBuffer> in_;
  std::unique_ptr<_xmlBuffer, FreeXmlBuffer> out_;
};

}  // namespace fieldpost
