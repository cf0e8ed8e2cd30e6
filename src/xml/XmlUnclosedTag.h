// A start tag whose end was not read yet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace fieldpost {

/// Whether more than `most` "=" stand between two "<" of a text. Only then can a tag have more than `most`
/// attributes.
[[nodiscard]] bool MayExceedAttributes(std::string_view text, std::size_t most);

/// Counts the attributes of a start tag whose end was not read yet. libxml2 parses all attributes at once
/// when the end arrives, in time that grows with the square of their number.
class XmlUnclosedTag {
 public:
  /// Reads the new part of the tag. `at` is the tag's position in the document, `text` all of the tag that
  /// was read so far. Another position begins another tag.
  void Read(std::uint64_t at, std::string_view text);

  /// How many bytes of the tag were read.
  [[nodiscard]] std::size_t Bytes() const { return bytes_; }

  /// Returns the number of attributes, counted as the "=" outside quotes.
  [[nodiscard]] std::size_t Attributes() const { return attributes_; }

 private:
  std::uint64_t at_ = 0;
  std::size_t bytes_ = 0;
  std::size_t attributes_ = 0;
  char quote_ = 0;
};

}  // namespace fieldpost
