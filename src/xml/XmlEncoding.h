// Text of any encoding that the XML library knows, as UTF-8 and back.
#pragma once

#include <memory>
#include <string>
#include <string_view>

struct _xmlBuffer;               // NOLINT(bugprone-reserved-identifier): libxml2's own names
struct _xmlCharEncodingHandler;  // NOLINT(bugprone-reserved-identifier)

namespace fieldpost {

/// The encoding that an XML declaration names at the beginning of a text; empty when there is none. A byte
/// order mark is no part of `beginning`.
std::string DeclaredEncoding(std::string_view beginning);

/// Turns text between one encoding and UTF-8, piece by piece.
class XmlEncoding {
 public:
  /// Throws XmlError when no such encoding is known, or none that can be written in pieces. An empty name
  /// means UTF-8.
  explicit XmlEncoding(const std::string& name);
  XmlEncoding(const XmlEncoding&) = delete;
  XmlEncoding& operator=(const XmlEncoding&) = delete;
  ~XmlEncoding() = default;

  /// Whether there is nothing to be turned: UTF-8 itself, or ASCII.
  [[nodiscard]] bool IsUtf8() const { return handler_ == nullptr; }

  /// The UTF-8 text of the next bytes; a character cut off at the end is kept for the next call. Throws
  /// XmlError for bytes that this encoding does not have. Valid until the next call.
  std::string_view ToUtf8(std::string_view bytes);

  /// Whether a character was begun that no call has ended.
  [[nodiscard]] bool IsCutOff() const;

  /// Appends the bytes of a UTF-8 text of whole characters. A character that this encoding lacks becomes a
  /// character reference.
  void AppendTo(std::string& target, std::string_view utf8);

 private:
  struct Free {
    void operator()(_xmlBuffer* buffer) const;
  };
  struct Close {
    void operator()(_xmlCharEncodingHandler* handler) const;
  };
  using Buffer = std::unique_ptr<_xmlBuffer, Free>;

  std::string name_;
  std::unique_ptr<_xmlCharEncodingHandler, Close> handler_;
  Buffer in_;
  Buffer out_;
};

}  // namespace fieldpost
