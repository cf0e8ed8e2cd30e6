// The part of a text that is still needed while it is read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "xml/XmlError.h"

namespace fieldpost {

/// Keeps the text fed to an XmlStreamReader, so that the source text of an element can be copied. Positions
/// count bytes from the beginning of the text, as XmlStreamReader::Position does.
class XmlTextWindow {
 public:
  void Append(std::string_view text) { text_ += text; }

  /// Returns the text between two positions, valid until the next change. Throws XmlError when it is not
  /// kept.
  [[nodiscard]] std::string_view Between(std::uint64_t from, std::uint64_t to) const {
    if (from < begin_ || to < from || to > begin_ + text_.size()) throw XmlError(NotKnown);
    return std::string_view(text_).substr(static_cast<std::size_t>(from - begin_),
                                          static_cast<std::size_t>(to - from));
  }

  /// Returns where the tag begins that `position` lies in: at the last "<", as no value may contain one.
  /// Throws XmlError when it is not kept.
  [[nodiscard]] std::uint64_t TagBefore(std::uint64_t position) const {
    const std::size_t at = Between(begin_, position).rfind('<');
    if (at == std::string_view::npos) throw XmlError(NotKnown);
    return begin_ + at;
  }

  /// Drops the text before a position.
  void DropBefore(std::uint64_t position) {
    text_.erase(0, Between(begin_, position).size());
    begin_ = position;
  }

 private:
  static constexpr const char* NotKnown = "the place of an element is not known";

  std::string text_;
  std::uint64_t begin_ = 0;  // position of its first byte
};

}  // namespace fieldpost
